"""The demonstration: it writes what it says, twice the same, and its numbers are those of the part it makes."""

import hashlib
import json
import math
import os
import re
import struct
import unittest

from support import ProgramTest, png_size

FILES = ["map.png", "report.html", "report.json", "sample_part.stl", "side_light.png", "surface.png"]

# The form of the built-in part, written down a second time: lengths in millimetres from the middle of the plate.
SIDE, FEED, NOSE, BOW, BALL = 10.0, 0.25, 2.4, 0.004, 6.0
AXIS = (-1.2, 0.8)
DIMPLES = ((-3.1, 3.0, 0.012), (3.2, 3.1, 0.014), (-0.4, -3.3, 0.010), (-3.4, -1.4, 0.012))
HOLE = (2.3, -1.9, 1.25)


def nominal(x, y):
    form = lambda u, v: 0.0018 * u - 0.0011 * v - BOW * (u * u + v * v) / 25
    turns = math.hypot(x - AXIS[0], y - AXIS[1]) / FEED
    z = form(x, y) + ((turns % 1 - 0.5) * FEED)**2 / (2 * NOSE)
    for cx, cy, depth in DIMPLES:
        inside = BALL**2 - (x - cx)**2 - (y - cy)**2
        if inside > 0:
            z = min(z, form(cx, cy) + BALL - depth - math.sqrt(inside))
    return z


def nominal_statistics(samples=300):
    """Sa and Sq of the form, levelled by a plane, without the hole."""
    points = []
    for j in range(samples):
        for i in range(samples):
            x, y = ((i + 0.5) / samples - 0.5) * SIDE, ((j + 0.5) / samples - 0.5) * SIDE
            if math.hypot(x - HOLE[0], y - HOLE[1]) >= HOLE[2]:
                points.append((x, y, nominal(x, y)))
    n = len(points)
    mx, my, mz = (sum(p[k] for p in points) / n for k in range(3))
    sxx = sum((p[0] - mx)**2 for p in points)
    syy = sum((p[1] - my)**2 for p in points)
    sxy = sum((p[0] - mx) * (p[1] - my) for p in points)
    sxz = sum((p[0] - mx) * (p[2] - mz) for p in points)
    syz = sum((p[1] - my) * (p[2] - mz) for p in points)
    det = sxx * syy - sxy * sxy
    a, b = (sxz * syy - syz * sxy) / det, (syz * sxx - sxz * sxy) / det
    rest = [z - mz - a * (x - mx) - b * (y - my) for x, y, z in points]
    return {"Sa": sum(map(abs, rest)) / n, "Sq": math.sqrt(sum(r * r for r in rest) / n), "Sp": max(rest),
            "Sv": -min(rest), "slopeX": a, "slopeY": b}


class Demo(ProgramTest):
    def digest(self, *names):
        with open(self.path(os.path.join(*names)), "rb") as file:
            return hashlib.sha256(file.read()).hexdigest()

    def test_two_runs_write_the_same(self):
        text = self.run_program("demo", "-o", "one").stdout
        self.run_program("demo", "-o", "deep/two")
        self.assertEqual(sorted(os.listdir(self.path("one"))), FILES)
        for name in FILES:
            self.assertIn(name, text)
            if name != "report.html":  # it states how long the import took
                self.assertEqual(self.digest("one", name), self.digest("deep", "two", name), name)
        # And the same on every machine.
        self.assertEqual(self.digest("one", "sample_part.stl"),
                         "fb0ad4362ae4aa66720088faf6fe3f5c28ad4c20f929a3d2e78f6ae6179641cf")

    def test_numbers_are_those_of_the_form(self):
        report = self.run_json("demo", "-o", "out")
        with open(self.path("out/report.json"), encoding="utf-8") as file:
            self.assertEqual(json.load(file), report)
        # The hole: cells of 25 micrometres follow its circle to well below 1 % of its area.
        hole = math.pi * HOLE[2]**2 / SIDE**2
        self.assertAlmostEqual(report["grid"]["missingShare"], hole, delta=0.01 * hole)
        # Noise of 0.08 micrometres adds about 0.1 % to Sq; the mesh cuts the crests of the marks by a little.
        form, measured = nominal_statistics(), report["statistics"]
        self.assertAlmostEqual(measured["Sa"], form["Sa"], delta=0.02 * form["Sa"])
        self.assertAlmostEqual(measured["Sq"], form["Sq"], delta=0.02 * form["Sq"])
        self.assertAlmostEqual(measured["Sp"], form["Sp"], delta=0.0006)
        self.assertAlmostEqual(measured["Sv"], form["Sv"], delta=0.0006)
        self.assertAlmostEqual(measured["Sz"], measured["Sp"] + measured["Sv"], delta=1e-8)
        self.assertAlmostEqual(report["plane"]["slopeX"], form["slopeX"], delta=5e-6)
        self.assertAlmostEqual(report["plane"]["slopeY"], form["slopeY"], delta=5e-6)
        # Deep dimples: the heights lean to the low side.
        self.assertLess(measured["Ssk"], -0.5)
        self.assertGreater(measured["Sku"], 3)
        self.assertEqual(report["mesh"]["triangles"], 304280)

    def test_mesh_has_no_triangle_over_the_hole(self):
        self.run_program("demo", "-o", "out")
        with open(self.path("out/sample_part.stl"), "rb") as file:
            data = file.read()
        count = struct.unpack_from("<I", data, 80)[0]
        self.assertEqual(len(data), 84 + 50 * count)
        for k in range(0, count, 7):
            v = struct.unpack_from("<12f", data, 84 + 50 * k)[3:]
            x, y = sum(v[0::3]) / 3 - SIDE / 2, sum(v[1::3]) / 3 - SIDE / 2
            self.assertGreater(math.hypot(x - HOLE[0], y - HOLE[1]), HOLE[2] - 0.025)

    def test_report_is_one_page_with_pictures_and_units(self):
        self.run_program("demo", "-o", "out")
        with open(self.path("out/report.html"), encoding="utf-8") as file:
            page = file.read()
        self.assertEqual(len(re.findall(r'<img alt="[^"]+" src="data:image/png;base64,[A-Za-z0-9+/]+=*">', page)), 3)
        self.assertNotRegex(page, r'(src|href)="(?!data:)')
        for text in ("Sa", "Sku", "ten-point height", "µm", "Missing samples", "4.91 %", "qv3d stats"):
            self.assertIn(text, page)
        for name in ("surface.png", "side_light.png", "map.png"):
            self.assertEqual(png_size(self.path("out/" + name)), (1600, 1000))

    def test_folder_that_cannot_be_made_is_2(self):
        self.write("file", b"")
        self.run_program("demo", "-o", "file/out", status=2)


if __name__ == "__main__":
    unittest.main()
