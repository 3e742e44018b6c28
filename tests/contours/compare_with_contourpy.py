"""Total length and enclosed area of contours agree with those of contourpy, an independent program.

Both draw straight pieces through a smooth surface, through different points inside a cell: lengths and areas agree to
the order of the squared spacing. Levels at which contours leave the grid are compared by length only.

usage: compare_with_contourpy.py PROGRAM
"""
import math
import struct
import subprocess
import sys
from array import array

try:
    import contourpy
    import numpy
except ImportError as error:
    print(f"skipped: {error}; needs Debian's python3-contourpy")
    sys.exit(77)

LENGTH_TOLERANCE = 2e-3  # relative
AREA_TOLERANCE = 1e-3


def segments(x, y, z, level):
    """Those of the library, one row per segment."""
    request = struct.pack("<iid", len(x), len(y), level) + x.tobytes() + y.tobytes() + z.tobytes()
    values = array("d", subprocess.run([sys.argv[1]], input=request, stdout=subprocess.PIPE, check=True).stdout)
    return numpy.array(values).reshape(-1, 4)


def measures(pieces, inside):
    """Length, and the area of closed contours around higher ground by Green's formula: a piece counts with the sign
    that leaves the higher ground, the point `inside`, on its left."""
    length = area = 0.0
    for x1, y1, x2, y2 in pieces:
        length += math.hypot(x2 - x1, y2 - y1)
        cross = (x1 - inside[0]) * (y2 - inside[1]) - (x2 - inside[0]) * (y1 - inside[1])
        area += abs(cross) / 2
    return length, area


def peer_pieces(x, y, z, level):
    for line in contourpy.contour_generator(x, y, z, name="serial").lines(level):
        for (x1, y1), (x2, y2) in zip(line[:-1], line[1:]):
            yield x1, y1, x2, y2


def main():
    failures = 0
    u = numpy.linspace(-1, 1, 201)
    stretched = numpy.ascontiguousarray(numpy.sinh(1.3 * u) / math.sinh(1.3))
    surfaces = {
        # A hill around (0.1, -0.05) whose contours are seen whole from there.
        "hill": (lambda x, y: numpy.exp(-3 * (x - 0.1) ** 2 - 2 * (y + 0.05) ** 2), (0.35, 0.5, 0.7, 0.9), (0.1, -0.05)),
        "waves": (lambda x, y: numpy.sin(5 * x) * numpy.cos(4 * y), (-0.6, -0.1, 0.05, 0.4, 0.8), None),
    }
    for name, (surface, levels, inside) in surfaces.items():
        for spacing, axis in (("even", u), ("uneven", stretched)):
            y = numpy.ascontiguousarray(axis[::2])
            z = numpy.ascontiguousarray(surface(axis[None, :], y[:, None]))
            for level in levels:
                ours = measures(segments(axis, y, z, level), inside or (0, 0))
                peer = measures(peer_pieces(axis, y, z, level), inside or (0, 0))
                good = peer[0] > 0.5 and abs(ours[0] / peer[0] - 1) < LENGTH_TOLERANCE
                if inside is not None:
                    good = good and abs(ours[1] / peer[1] - 1) < AREA_TOLERANCE
                failures += not good
                print(f"{'ok  ' if good else 'FAIL'} {name} {spacing} level {level}: length {ours[0]:.5f} {peer[0]:.5f}"
                      + (f", area {ours[1]:.5f} {peer[1]:.5f}" if inside else ""))
    sys.exit(failures > 0)


main()
