"""contour, section and cut on shapes whose lines are known."""

import math
import unittest
import xml.etree.ElementTree as xml

from support import Picture, ProgramTest, binary_stl, grid, png_size, read_rows, sheet


def dxf_polylines(text):
    """Layer, closedness and points of every polyline of a DXF file."""
    lines = text.split("\n")
    groups = [(int(lines[k]), lines[k + 1]) for k in range(0, len(lines) - 1, 2)]
    polylines = []
    kind = None
    for code, value in groups:
        if code == 0:
            kind = value
            if kind == "POLYLINE":
                polylines.append({"points": []})
            if kind == "VERTEX":
                polylines[-1]["points"].append([0, 0, 0])
        elif kind == "POLYLINE" and code == 8:
            polylines[-1]["layer"] = value
        elif kind == "POLYLINE" and code == 70:
            polylines[-1]["closed"] = value == "1"
        elif kind == "VERTEX" and code in (10, 20, 30):
            polylines[-1]["points"][-1][code // 10 - 1] = float(value)
    return polylines


class Contour(ProgramTest):
    def cone(self):
        # Circles around (1.3, 1.1); the height is the distance.
        self.write("cone.csv", grid(130, 110, 0.02, lambda x, y: math.hypot(x - 1.3, y - 1.1)))
        return "cone.csv"

    def test_circles_are_closed_and_have_their_length(self):
        report = self.run_json("contour", self.cone(), "--no-level", "--at", "0.4,0.8")
        self.assertEqual([round(level["height"], 6) for level in report["levels"]], [0.4, 0.8])
        for level in report["levels"]:
            self.assertEqual((level["lines"], level["closed"]), (1, 1))
            self.assertAlmostEqual(level["length"], 2 * math.pi * level["height"], delta=0.002 * level["height"])

    def test_circles_beyond_the_rim_are_open(self):
        level = self.run_json("contour", self.cone(), "--no-level", "--at", "1.2")["levels"][0]
        self.assertEqual((level["lines"], level["closed"]), (2, 0))

    def test_picture_marks_the_heights_in_its_legend(self):
        plain, lined = (self.run_picture("--at", at) for at in ("9", "0.4"))
        # The bar lies right of the map; nothing else is drawn there.
        bar = [(x, y) for y in range(plain.height) for x in range(plain.width * 8 // 10, plain.width)]
        changed = [at for at in bar if plain.pixel(*at) != lined.pixel(*at)]
        self.assertTrue(changed)
        self.assertLess(max(y for _, y in changed) - min(y for _, y in changed), 4)

    def run_picture(self, *arguments):
        self.run_program("contour", self.cone(), "--no-level", *arguments, "-o", "picture.png", "--size", "480x360")
        return Picture(self.path("picture.png"))

    def test_files_hold_the_same_lines(self):
        self.run_program("contour", self.cone(), "--no-level", "--at", "0.4,0.8,1.2", "-o", "c.svg", "-o", "c.dxf", "-o",
                         "c.csv")
        with open(self.path("c.dxf"), encoding="ascii") as file:
            polylines = dxf_polylines(file.read())
        self.assertEqual([(p["layer"], p["closed"]) for p in polylines],
                         [("LEVEL_01", True), ("LEVEL_02", True), ("LEVEL_03", False), ("LEVEL_03", False)])
        for polyline in polylines:
            for x, y, z in polyline["points"]:
                self.assertAlmostEqual(math.hypot(x - 1.3, y - 1.1), z, places=3)
        space = "{http://www.w3.org/2000/svg}"
        root = xml.parse(self.path("c.svg")).getroot()
        paths = [path.get("d") for path in root.iter(space + "path")]
        self.assertEqual([path.endswith("Z") for path in paths], [True, True, False, False])
        self.assertEqual([path.count("L") + 1 for path in paths], [len(p["points"]) for p in polylines])
        left, top, width, height = map(float, root.get("viewBox").split())
        self.assertAlmostEqual(left, 0, places=5)
        self.assertAlmostEqual(-top, 109 * 0.02, places=5)
        self.assertAlmostEqual(width / height, 129 / 109, places=5)
        segments = read_rows(self.path("c.csv"))
        self.assertEqual(sum(len(p["points"]) - (0 if p["closed"] else 1) for p in polylines), len(segments))

    def test_levels_are_round_and_inside(self):
        levels = self.run_json("contour", self.cone(), "--no-level", "--levels", "8")["levels"]
        self.assertEqual([round(level["height"], 6) for level in levels], [0.2, 0.4, 0.6, 0.8, 1.0, 1.2, 1.4, 1.6])

    def test_picture_has_dark_lines_on_the_map(self):
        for extra in ([], ["--perspective"]):
            self.run_program("contour", self.cone(), "--no-level", "--at", "9", "-o", "none.png", "--size", "480x360", *extra)
            self.run_program("contour", self.cone(), "--no-level", "--at", "0.3,0.6", "-o", "two.png", "--size", "480x360", *extra)
            self.assertEqual(png_size(self.path("two.png")), (480, 360))
            none, two = Picture(self.path("none.png")), Picture(self.path("two.png"))
            darker = [(x, y) for y in range(360) for x in range(480) if sum(two.pixel(x, y)) < sum(none.pixel(x, y)) - 60]
            lighter = [(x, y) for y in range(360) for x in range(480) if sum(two.pixel(x, y)) > sum(none.pixel(x, y)) + 60]
            self.assertGreater(len(darker), 200, extra)
            # Below the lowest colours a line is lighter than the surface.
            self.assertLess(len(lighter), len(darker) / 4, extra)

    def test_wrong_usage_is_1(self):
        file = self.cone()
        for arguments in (["-o", "c.doc"], ["--levels", "0"], ["--levels", "3", "--at", "1"], ["--at", "one"]):
            self.run_program("contour", file, *arguments, status=1)


class Section(ProgramTest):
    def surface(self):
        self.write("s.csv", grid(40, 30, 0.1, lambda x, y: 0.01 * x * x + 0.02 * y + (0.005 if y == 1.0 else 0)))
        return "s.csv"

    def test_rows_and_columns_are_those_of_the_surface(self):
        report = self.run_json("section", self.surface(), "--row", "7", "--no-level", "-o", "p.csv")
        self.assertEqual((report["section"]["along"], report["section"]["samples"]), ("x", 40))
        self.assertAlmostEqual(report["section"]["at"], 0.7, places=6)
        for k, (x, z) in enumerate(read_rows(self.path("p.csv"))):
            self.assertAlmostEqual(x, 0.1 * k, places=6)
            self.assertAlmostEqual(z, 0.01 * (0.1 * k) ** 2 + 0.014, places=6)
        self.run_program("section", "s.csv", "--column", "30", "--no-level", "-o", "p.csv")
        for k, (y, z) in enumerate(read_rows(self.path("p.csv"))):
            self.assertAlmostEqual(y, 0.1 * k, places=6)
            self.assertAlmostEqual(z, 0.09 + 0.002 * k + (0.005 if k == 10 else 0), places=6)

    def test_position_is_interpolated_and_bands_are_combined(self):
        self.run_program("section", self.surface(), "--y", "0.75", "--no-level", "-o", "p.csv")
        for x, z in read_rows(self.path("p.csv")):
            self.assertAlmostEqual(z, 0.01 * x * x + 0.015, places=6)
        for which, height in (("mean", 0.02 + 0.005 / 3), ("highest", 0.025), ("lowest", 0.018)):
            self.run_program("section", "s.csv", "--row", "10", "--band", "3", "--of-band", which, "--no-level", "-o", "p.csv")
            for x, z in read_rows(self.path("p.csv")):
                self.assertAlmostEqual(z, 0.01 * x * x + height, places=6)

    def test_statistics_are_about_the_mean(self):
        self.write("w.csv", grid(100, 5, 0.1, lambda x, y: 7 + 0.001 * math.sin(2 * math.pi * x / 2.5)))
        s = self.run_json("section", "w.csv", "--row", "2", "--no-level")["statistics"]
        self.assertAlmostEqual(s["Pa"], 0.001 * 2 / math.pi, delta=1e-5)
        self.assertAlmostEqual(s["Pq"], 0.001 / math.sqrt(2), delta=1e-5)
        self.assertAlmostEqual(s["Pt"], 0.002, delta=2e-5)
        text = self.run_program("section", "w.csv", "--row", "2", "--no-level").stdout
        self.assertRegex(text, r"Pt +[0-9.]+ µm")

    def test_plots_have_axes_and_gaps(self):
        self.write("g.csv", grid(40, 9, 0.1, lambda x, y: None if 1 < x < 2 else 0.001 * x))
        self.run_program("section", "g.csv", "--y", "0.4", "--no-level", "-o", "p.svg", "-o", "p.png", "-o", "p.csv")
        with open(self.path("p.svg"), encoding="utf-8") as svg:
            text = svg.read()
        xml.fromstring(text.encode())
        self.assertEqual(text.count("<polyline"), 2)
        self.assertIn("x / mm", text)
        self.assertIn("height / µm", text)
        self.assertEqual(png_size(self.path("p.png")), (1600, 700))
        self.assertEqual(sum(math.isnan(z) for _, z in read_rows(self.path("p.csv"))), 9)

    def test_errors(self):
        file = self.surface()
        for arguments in ([], ["--row", "1", "--column", "1"], ["--row", "30"], ["--x", "4.2"], ["--y", "-1"], ["--row", "-1"],
                          ["--row", "1", "-o", "p.doc"], ["--row", "1", "--band", "0"]):
            self.run_program("section", file, *arguments, status=1)
        self.write("m.csv", grid(9, 9, 0.1, lambda x, y: None if 0.35 < y < 0.45 else x))
        self.run_program("section", "m.csv", "--row", "4", "--no-level", status=4)


class Cut(ProgramTest):
    def box(self):
        """A box of 4 x 2 x 1 from (10, 20, 30)."""
        x, y, z = (10, 14), (20, 22), (30, 31)
        corners = [(x[i & 1], y[i >> 1 & 1], z[i >> 2]) for i in range(8)]
        faces = ((0, 1, 3, 2), (4, 5, 7, 6), (0, 1, 5, 4), (2, 3, 7, 6), (0, 2, 6, 4), (1, 3, 7, 5))
        triangles = []
        for a, b, c, d in faces:
            triangles += [(corners[a], corners[b], corners[c]), (corners[a], corners[c], corners[d])]
        return self.write("box.stl", binary_stl(triangles))

    def test_outlines_of_a_box_have_their_length_and_place(self):
        file = self.box()
        for arguments, length, horizontal, vertical in (
                (["--z", "30.4"], 12, (10, 14), (20, 22)), (["--x", "11"], 6, (20, 22), (30, 31)),
                (["--y", "21.5"], 10, (10, 14), (30, 31)), (["--plane", "0,0,-2,-60.5"], 12, (-14, -10), (20, 22)),
                (["--plane", "1,1,0,33"], 2 * (1 + 2 * math.sqrt(2)), None, (30, 31))):
            report = self.run_json("cut", file, *arguments, "-o", "c.png", "--size", "400x300")
            self.assertAlmostEqual(report["length"], length, delta=0.01)
            self.assertEqual(png_size(self.path("c.png")), (400, 300))
            for name, expected in (("horizontal", horizontal), ("vertical", vertical)):
                if expected:
                    self.assertAlmostEqual(report[name][0], expected[0], delta=0.005)
                    self.assertAlmostEqual(report[name][1], expected[1], delta=0.005)

    def test_picture_shows_the_outline_in_its_frame(self):
        self.run_program("cut", self.box(), "--z", "30.5", "-o", "c.png", "--size", "600x500")
        picture = Picture(self.path("c.png"))
        blue = [(x, y) for y in range(500) for x in range(600)
                if picture.pixel(x, y)[2] > picture.pixel(x, y)[0] + 60]
        columns, rows = [x for x, _ in blue], [y for _, y in blue]
        self.assertAlmostEqual((max(columns) - min(columns)) / (max(rows) - min(rows)), 2, delta=0.05)

    def test_open_sheet_is_cut_too(self):
        file = self.write("sheet.stl", binary_stl(sheet(12, height=lambda x, y: 0.5 * x)))
        report = self.run_json("cut", file, "--y", "3.3", "-o", "c.png")
        self.assertAlmostEqual(report["length"], math.hypot(10, 5), delta=0.01)

    def test_errors(self):
        file = self.box()
        self.assertIn("does not cut", self.run_program("cut", file, "--z", "99", "-o", "c.png", status=4).stderr)
        for arguments in ([], ["--z", "1", "--x", "1"], ["--plane", "1,2,3"], ["--plane", "0,0,0,1"]):
            self.run_program("cut", file, *arguments, "-o", "c.png", status=1)
        self.run_program("cut", file, "--z", "30.5", status=1)
        self.run_program("cut", file, "--z", "30.5", "-o", "c.jpg", status=1)
        self.run_program("cut", "nothing.stl", "--z", "1", "-o", "c.png", status=2)
        self.write("cut.stl", binary_stl(sheet(12))[:50])
        self.run_program("cut", "cut.stl", "--z", "1", "-o", "c.png", status=3)


if __name__ == "__main__":
    unittest.main()
