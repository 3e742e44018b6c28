#!/usr/bin/python3
"""Times SciPy's rank filters (Debian's python3-scipy) on the grid of neighbourhood_benchmark: the position size/2 of
LowRank/QV_3D and the true median of Median/QV_3D. At 31 one call takes many seconds.

usage: QV_BENCH_GRID=FILE neighbourhood_benchmark ...; ranks_peer.py FILE [size ...]
"""
import sys
import time

import numpy
import scipy
from scipy import ndimage

z = numpy.fromfile(sys.argv[1], dtype=numpy.float32)
side = int(len(z) ** 0.5)
z = z.reshape(side, side)
sizes = [int(size) for size in sys.argv[2:]] or [7, 15, 31]
result = numpy.empty_like(z)
print(f"SciPy {scipy.__version__}")
for size in sizes:
    for name, rank in (("LowRank", size // 2), ("Median", size * size // 2)):
        start = time.perf_counter()
        ndimage.rank_filter(z, rank, size=size, output=result)
        print(f"{name}/SciPy_rank_filter/{size}: {1e3 * (time.perf_counter() - start):.0f} ms", flush=True)
