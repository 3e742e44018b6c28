"""Height maps for tests, written as text: rows of heights in millimetres, samples one millimetre apart."""

import math


def height_map(width, height, z):
    """The file of the heights z(column, row); None where nothing was measured."""
    rows = [[z(i, j) for i in range(width)] for j in range(height)]
    lines = [",".join("nan" if v is None else "%.6f" % v for v in row) for row in rows]
    comments = f"# Width: {width} mm\n# Height: {height} mm\n# Value units: mm\n"
    return (comments + "\n".join(lines) + "\n").encode()


def workpiece(i, j):
    """A dome, a groove, a step and a round hole: what a style should show. 64 x 48 samples."""
    if (i - 25)**2 + (j - 10)**2 < 30:
        return None
    z = 6 * math.exp(-((i - 16)**2 + (j - 31)**2) / 64)
    if 35 <= i < 41:
        z -= 4 * math.sin(math.pi * (i - 35) / 6)
    return z + 5 if i >= 49 and j >= 14 else z


WORKPIECE = height_map(64, 48, workpiece)
