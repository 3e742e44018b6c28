#!/usr/bin/python3
"""Times the library beside programs that only Python reaches: contourpy (serial) for contours, SciPy for ranks.

Both are called in turns, in this one process. Writes what Google Benchmark writes, as far as summary.py reads it.

usage: python_peers.py LIBRARY OUT.json
"""

import ctypes
import json
import statistics
import sys
import time

import contourpy
import numpy
import scipy.ndimage

SIDE = 2048
FLOATS = numpy.ctypeslib.ndpointer(dtype=numpy.float32, flags="C_CONTIGUOUS")


def rough_surface():
    """White noise smoothed three times by a mean of 43 x 43: features of some fifty samples."""
    noise = numpy.random.default_rng(7).uniform(-1, 1, (SIDE, SIDE))
    for _ in range(3):
        noise = scipy.ndimage.uniform_filter(noise, 43, mode="wrap")
    return noise.astype(numpy.float32)


def contours(library):
    z = rough_surface()
    at = numpy.arange(SIDE, dtype=numpy.float32)
    x, heights = at.astype(float), z.astype(float)
    segments = numpy.empty(16 * SIDE * SIDE, dtype=numpy.float32)
    ours = library.ComputeContoursf
    ours.argtypes = [FLOATS, ctypes.c_int, ctypes.c_int, FLOATS, FLOATS, ctypes.c_float, FLOATS]
    count = ours(z, SIDE, SIDE, at, at, 0, segments)
    print(f"contours: {count} segments, contourpy {contourpy.__version__}")
    return {
        "QV_3D": lambda: ours(z, SIDE, SIDE, at, at, 0, segments),
        "contourpy": lambda: contourpy.contour_generator(x, x, heights, name="serial", chunk_size=0).lines(0.0),
    }


def ranks(z, ours, peer):
    """Contenders for each size, made of (size, output) calls."""
    out = numpy.empty_like(z)
    return lambda size: {"QV_3D": lambda: ours(size, out), "SciPy": lambda: peer(size, out)}


def rank_contests(library):
    z = numpy.random.default_rng(8).normal(size=(SIDE, SIDE)).astype(numpy.float32)
    residual = numpy.empty_like(z)
    library.FilterMedianf.argtypes = [ctypes.c_int] * 3 + [FLOATS] * 2
    library.FilterMedianf2.argtypes = [ctypes.c_int] * 3 + [FLOATS] * 3
    return {
        "Low_rank_in_Python": ranks(
            z,
            lambda n, out: library.FilterMedianf(n, SIDE, SIDE, z, out),
            lambda n, out: scipy.ndimage.rank_filter(z, n // 2, size=n, output=out),
        ),
        "Median_in_Python": ranks(
            z,
            lambda n, out: library.FilterMedianf2(n, SIDE, SIDE, z, out, residual),
            lambda n, out: scipy.ndimage.median_filter(z, size=n, output=out),
        ),
    }


def in_turns(contenders, repetitions):
    """Milliseconds of each, after one untimed call of ours."""
    times = {name: [] for name in contenders}
    contenders["QV_3D"]()
    for _ in range(repetitions):
        for name, run in contenders.items():
            start = time.perf_counter()
            run()
            times[name].append(1e3 * (time.perf_counter() - start))
    return times


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    library = ctypes.CDLL(sys.argv[1])
    cases = [("Contours_in_Python", contours(library), 9)]
    for case, contest in rank_contests(library).items():
        # Seconds to half a minute a call: once says enough.
        cases += [(f"{case}/{size}", contest(size), 1) for size in (7, 15, 31)]

    rows = []
    for case, contenders, repetitions in cases:
        for contender, times in in_turns(contenders, repetitions).items():
            name, *arguments = case.split("/")
            run_name = "/".join([name, contender, *arguments])
            middle = statistics.median(times)
            rows.append({"run_name": run_name, "aggregate_name": "median", "real_time": middle, "time_unit": "ms"})
            print(f"{run_name}: {middle:.3f} ms", flush=True)
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        json.dump({"benchmarks": rows}, file, indent=1)


if __name__ == "__main__":
    main()
