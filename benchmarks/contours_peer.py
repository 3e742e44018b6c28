#!/usr/bin/python3
"""Times contourpy (Debian's python3-contourpy, serial) on the surface of contours_benchmark.

usage: QV_BENCH_SURFACE=FILE contours_benchmark ...; contours_peer.py FILE [level]
"""
import statistics
import sys
import time

import contourpy
import numpy

z = numpy.fromfile(sys.argv[1], dtype=numpy.float32)
side = int(len(z) ** 0.5)
z = z.reshape(side, side).astype(float)
level = float(sys.argv[2]) if len(sys.argv) > 2 else 0.0
x = numpy.arange(side, dtype=float)
times = []
for _ in range(7):
    start = time.perf_counter()
    generator = contourpy.contour_generator(x, x, z, name="serial", chunk_size=0)
    lines = generator.lines(level)
    times.append(1e3 * (time.perf_counter() - start))
print(f"contourpy {contourpy.__version__}: median {statistics.median(times):.2f} ms, {len(lines)} lines")
