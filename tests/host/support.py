"""What the tests of the qv3d program share: running it, making STL files, reading PNG pictures."""

import json
import math
import os
import struct
import subprocess
import tempfile
import unittest
import zlib

PROGRAM = os.environ["QV3D"]
SANITIZED = bool(os.environ.get("QV3D_SANITIZE"))


class ProgramTest(unittest.TestCase):
    """A test with a folder of its own."""

    def setUp(self):
        self._folder = tempfile.TemporaryDirectory(prefix="qv3d-test-")
        self.addCleanup(self._folder.cleanup)
        self.folder = self._folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
        return self.path(name)

    def run_program(self, *arguments, status=0, env=None):
        """Runs qv3d in the test's folder and checks how it ends, unless the status is None."""
        result = subprocess.run([PROGRAM, *map(str, arguments)], cwd=self.folder, capture_output=True, timeout=300,
                                env={**os.environ, **(env or {})})
        result.stdout = result.stdout.decode("utf-8")
        result.stderr = result.stderr.decode("utf-8")
        if status is not None:
            self.assertEqual(result.returncode, status, f"{arguments}\n{result.stdout}\n{result.stderr}")
        return result

    def run_json(self, *arguments, status=0):
        return json.loads(self.run_program(*arguments, "--json", status=status).stdout)


def sheet(cells, side=10.0, height=lambda x, y: 0.01 * x + 0.05 * math.sin(x) * math.cos(y)):
    """Triangles of a square sheet of cells x cells squares."""
    d = side / cells
    triangles = []
    for j in range(cells):
        for i in range(cells):
            x, y = i * d, j * d
            a, b = (x, y, height(x, y)), (x + d, y, height(x + d, y))
            c, e = (x, y + d, height(x, y + d)), (x + d, y + d, height(x + d, y + d))
            triangles += [(a, b, c), (b, e, c)]
    return triangles


def binary_stl(triangles, header=b"made by a test", count=None):
    records = b"".join(
        struct.pack("<12fH", 0, 0, 1, *triangle[0], *triangle[1], *triangle[2], 0) for triangle in triangles)
    return header.ljust(80, b"\0")[:80] + struct.pack("<I", len(triangles) if count is None else count) + records


def ascii_stl(triangles):
    facets = "".join(
        "facet normal 0 0 1\nouter loop\n" + "".join("vertex %.9g %.9g %.9g\n" % corner for corner in triangle) +
        "endloop\nendfacet\n" for triangle in triangles)
    return ("solid test\n" + facets + "endsolid test\n").encode()


def ply(vertices, faces, encoding="ascii", corners_list="vertex_indices"):
    """Vertices as they are, in the file's own axes; faces as lists of any length."""
    header = ("ply\nformat %s 1.0\nelement vertex %d\n" % (encoding, len(vertices)) +
              "".join("property float %s\n" % axis for axis in "xyz") +
              "element face %d\nproperty list uchar int %s\nend_header\n" % (len(faces), corners_list)).encode()
    if encoding == "ascii":
        rows = ["%.9g %.9g %.9g" % tuple(v) for v in vertices]
        rows += [" ".join(map(str, [len(face), *face])) for face in faces]
        return header + "".join(row + "\n" for row in rows).encode()
    order = ">" if encoding == "binary_big_endian" else "<"
    return (header + b"".join(struct.pack(order + "3f", *v) for v in vertices) +
            b"".join(struct.pack(order + "B%di" % len(face), len(face), *face) for face in faces))


def ply_sheet(cells, side=10.0, corners=3, **kind):
    """The surface of sheet() as a PLY file that is turned so that the import turns it back."""
    places = {}
    number = lambda corner: places.setdefault(tuple(round(v, 9) for v in corner), len(places))
    faces = [[number(corner) for corner in triangle] for triangle in sheet(cells, side)]
    if corners == 4:  # every two triangles share their second side
        faces = [[b, e, c, a] for (a, b, c), (_, e, _) in zip(faces[::2], faces[1::2])]
    return ply([(z, x, -y) for x, y, z in places], faces, **kind)


def grid(width, height, spacing, function):
    """A height map in millimetres as text; `function` gives a height, or None where a sample is missing."""
    lines = ["# Width: %.9g mm" % (width * spacing), "# Height: %.9g mm" % (height * spacing), "# Value units: mm"]
    for j in range(height):
        heights = [function(i * spacing, j * spacing) for i in range(width)]
        lines.append(",".join("nan" if h is None else "%.7g" % h for h in heights))
    return ("\n".join(lines) + "\n").encode()


def read_rows(path):
    """The numbers of a .csv file, row by row, without its comments."""
    with open(path, encoding="utf-8") as file:
        return [[float(v) for v in line.split(",")] for line in file if line[0] != "#"]


def png_size(path):
    with open(path, "rb") as file:
        head = file.read(24)
    assert head[:8] == b"\x89PNG\r\n\x1a\n", path
    return struct.unpack(">II", head[16:24])


class Picture:
    """A PNG of 8-bit RGB or of 8-bit or 16-bit grey, decoded."""

    def __init__(self, path):
        with open(path, "rb") as file:
            data = file.read()
        assert data[:8] == b"\x89PNG\r\n\x1a\n", path
        at, packed = 8, b""
        while at < len(data):
            length, kind = struct.unpack(">I4s", data[at:at + 8])
            body = data[at + 8:at + 8 + length]
            if kind == b"IHDR":
                self.width, self.height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
                assert (depth, colour) in ((8, 0), (16, 0), (8, 2)) and interlace == 0
                self.channels = 3 if colour == 2 else 1
                self.sample_bytes = depth // 8
            elif kind == b"IDAT":
                packed += body
            at += 12 + length
        self.rows = self._unfilter(zlib.decompress(packed))

    def _unfilter(self, raw):
        n = self.channels * self.sample_bytes
        stride = self.width * n
        rows, above = [], bytearray(stride)
        for y in range(self.height):
            kind = raw[y * (stride + 1)]
            row = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
            for i in range(stride if kind else 0):
                left = row[i - n] if i >= n else 0
                up = above[i]
                corner = above[i - n] if i >= n else 0
                if kind == 1:
                    guess = left
                elif kind == 2:
                    guess = up
                elif kind == 3:
                    guess = (left + up) // 2
                else:
                    p = left + up - corner
                    guess = min((abs(p - left), 0, left), (abs(p - up), 1, up), (abs(p - corner), 2, corner))[2]
                row[i] = (row[i] + guess) & 255
            rows.append(bytes(row))
            above = row
        return rows

    def pixel(self, x, y):
        if self.sample_bytes == 2:
            return struct.unpack_from(">H", self.rows[y], 2 * x)
        return tuple(self.rows[y][self.channels * x:self.channels * (x + 1)])

    def colours(self):
        """How many pixels there are of each colour."""
        counts = {}
        for y in range(self.height):
            for x in range(self.width):
                colour = self.pixel(x, y)
                counts[colour] = counts.get(colour, 0) + 1
        return counts
