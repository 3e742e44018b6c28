"""The filter, resample and roundness commands: waves with known attenuation, holes, edges and refusals."""

import math
import os
import unittest

from support import Picture, ProgramTest, binary_stl, sheet

PAPER = (250, 250, 248)
MISSING = (205, 205, 205)


class FilterTest(ProgramTest):
    def write_map(self, rows, name="map.csv", spacing=0.01):
        """Heights, None where one is missing, `spacing` millimetres apart."""
        size = "# Width: %.12g mm\n# Height: %.12g mm\n# Value units: mm\n" % (spacing * len(rows[0]), spacing * len(rows))
        lines = (",".join("nan" if h is None else "%.9g" % h for h in row) for row in rows)
        return self.write(name, (size + "\n".join(lines) + "\n").encode())

    def read_map(self, name):
        with open(self.path(name), encoding="ascii") as file:
            return [[None if field == "nan" else float(field) for field in line.split(",")]
                    for line in file if line[0] != "#"]

    def wave(self, wavelength, width=160, height=160, mean=0.0):
        return [[mean + 0.001 * math.cos(2 * math.pi * x / wavelength) for x in range(width)] for _ in range(height)]

    def split(self, *arguments, status=0):
        """Filtered and residual of map.csv, not levelled."""
        report = self.run_json("filter", "map.csv", "--no-level", *arguments, "-o", "out.csv", "--residual", "rest.csv",
                               status=status)
        return report, self.read_map("out.csv"), self.read_map("rest.csv")


class Waves(FilterTest):
    def amplitude(self, rows):
        values = [h for row in rows for h in row]
        return (max(values) - min(values)) / 2

    def test_half_of_a_wave_passes_at_the_cut_off(self):
        # 40 samples; the height of the surface above zero does not matter.
        self.write_map(self.wave(40, mean=5))
        for arguments in (("--gaussian", "0.4"), ("--spline", "0.4")):
            report, filtered, rest = self.split(*arguments)
            middle = [row[40:80] for row in filtered[40:80]]
            self.assertAlmostEqual(self.amplitude(middle), 0.0005, delta=0.00002)
            self.assertAlmostEqual(sum(middle[0]) / 40, 5, places=4)
            self.assertAlmostEqual(self.amplitude([row[40:80] for row in rest[40:80]]), 0.0005, delta=0.00002)

    def test_short_waves_stop_and_long_ones_pass(self):
        for wavelength, share in ((10, 0.0), (400, 1.0)):
            self.write_map(self.wave(wavelength, width=800, height=80))
            for arguments in (("--gaussian", "0.6", "--keep-edges"), ("--spline", "0.6")):
                _, filtered, _ = self.split(*arguments)
                self.assertAlmostEqual(self.amplitude([filtered[40][200:600]]), 0.001 * share, delta=0.00003, msg=arguments)

    def test_windows_do_what_they_are_called(self):
        rows = [[float((7 * x + 13 * y * y) % 101) for x in range(24)] for y in range(20)]
        self.write_map(rows)

        def window(x, y, half):
            return sorted(rows[v][u] for v in range(y - half, y + half + 1) for u in range(x - half, x + half + 1))

        for name, pick in (("--min", lambda w: w[0]), ("--max", lambda w: w[-1]), ("--median", lambda w: w[12]),
                           ("--rank", lambda w: w[2])):
            report, filtered, rest = self.split(name, 5)
            self.assertEqual((report["result"]["width"], report["result"]["height"]), (20, 16))
            self.assertEqual(report["cropped"], {"x": 2, "y": 2})
            for y in range(16):
                for x in range(20):
                    self.assertEqual(filtered[y][x], pick(window(x + 2, y + 2, 2)), name)
                    self.assertEqual(rest[y][x], rows[y + 2][x + 2] - filtered[y][x], name)
        _, mean, _ = self.split("--mean", 5)
        self.assertEqual((len(mean[0]), len(mean)), (24, 20))
        self.assertAlmostEqual(mean[10][10], sum(window(10, 10, 2)) / 25, places=4)
        self.assertAlmostEqual(mean[0][0], sum(rows[y][x] for x in range(3) for y in range(3)) / 9, places=4)
        _, laplacian, _ = self.split("--laplacian", 3)
        self.assertAlmostEqual(laplacian[5][5], (10 * rows[6][6] - sum(window(6, 6, 1))) / 9, places=3)
        _, binomial, _ = self.split("--binomial")
        weights = (1, 2, 1)
        self.assertAlmostEqual(binomial[5][5], sum(weights[i] * weights[j] * rows[5 + j][5 + i]
                                                   for i in range(3) for j in range(3)) / 16, places=4)

    def test_circle_rests_on_the_peaks(self):
        rows = [[0.0] * 80 for _ in range(4)]
        for row in rows:
            row[40] = 0.02
        self.write_map(rows)
        _, rolled, _ = self.split("--circle", 0.5)
        for x in range(80):
            arc = 0.02 - (0.5 - math.sqrt(0.25 - (0.01 * (x - 40)) ** 2))
            self.assertAlmostEqual(rolled[2][x], max(arc, 0), places=6)


class Edges(FilterTest):
    def test_what_the_edges_spoil_is_cut_off_unless_kept(self):
        # 0.183 of 40 samples is 7: three such windows reach 21 samples, and one more at the end of a line.
        self.write_map([[0.1 * x for x in range(160)] for _ in range(100)])
        report, filtered, rest = self.split("--gaussian", "0.4")
        self.assertEqual(report["cropped"], {"x": 22, "y": 22})
        self.assertEqual((len(filtered[0]), len(filtered)), (116, 56))
        self.assertLess(max(abs(h) for row in rest for h in row), 1e-4)
        report, filtered, rest = self.split("--gaussian", "0.4", "--keep-edges")
        self.assertEqual((len(filtered[0]), len(filtered)), (160, 100))
        self.assertGreater(abs(rest[50][0]), 3)


class Holes(FilterTest):
    def rows(self):
        rows = self.wave(40)
        for y in range(70, 80):
            rows[y][60:75] = [None] * 15
        return rows

    def test_filters_that_would_take_holes_for_heights_refuse(self):
        self.write_map(self.rows())
        for arguments in (("--gaussian", "0.4"), ("--spline", "0.4"), ("--median", "5"), ("--rank", "5"), ("--circle", "1")):
            result = self.run_program("filter", "map.csv", *arguments, "-o", "out.csv", status=1)
            self.assertIn("150 samples are missing", result.stderr)
            self.assertIn("--fill", result.stderr)
            self.assertFalse(os.path.exists(self.path("out.csv")))

    def test_filled_holes_are_put_back(self):
        self.write_map(self.rows())
        for arguments in (("--gaussian", "0.4"), ("--spline", "0.4"), ("--median", "5"), ("--mean", "5")):
            report, filtered, rest = self.split("--fill", *arguments)
            crop = report["cropped"]["x"]
            self.assertTrue(report["filled"])
            self.assertEqual(report["result"]["missingSamples"], 150)
            for rows in (filtered, rest):
                holes = [(x + crop, y + crop) for y, row in enumerate(rows) for x, h in enumerate(row) if h is None]
                self.assertEqual(holes, [(x, y) for y in range(70, 80) for x in range(60, 75)], arguments)
            # Filled from around and not with -1e10: no trace of the hole beside it.
            self.assertLess(max(abs(h) for row in filtered for h in row if h is not None), 0.0011)

    def test_windows_that_know_holes_need_no_fill(self):
        self.write_map(self.rows())
        _, mean, _ = self.split("--mean", "5")
        self.assertEqual(sum(row.count(None) for row in mean), 150)
        self.assertLess(max(abs(h) for row in mean for h in row if h is not None), 0.0011)
        _, low, _ = self.split("--min", "5")
        self.assertEqual(sum(row.count(None) for row in low), 14 * 19)
        _, high, _ = self.split("--max", "5")
        self.assertEqual(sum(row.count(None) for row in high), 150)


class Refusals(FilterTest):
    def test_bad_parameters_are_1_and_told(self):
        self.write_map(self.wave(40, width=60, height=50))
        for arguments, message in ((("--mean", "4"), "odd"), (("--median", "1"), "odd"), (("--min", "-3"), "odd"),
                                   (("--max", "51"), "too large"), (("--laplacian", "99"), "too large"),
                                   (("--gaussian", "0"), "greater than 0"), (("--spline", "-1"), "greater than 0"),
                                   (("--gaussian", "0.05"), "smooths nothing"), (("--gaussian", "9"), "larger than the grid"),
                                   (("--gaussian", "0.5"), "nothing is left"), (("--spline", "0.02"), "apart"),
                                   (("--circle", "0.001"), "touches every sample"), (("--spline", "1", "--keep-edges"), "--keep-edges"),
                                   (("--mean", "3", "--median", "3"), "Exactly 1"), ((), "Exactly 1"),
                                   (("--gaussian", "wide"), "wide")):
            result = self.run_program("filter", "map.csv", *arguments, "-o", "out.csv", status=1)
            self.assertIn(message, result.stderr, arguments)
        self.run_program("filter", "map.csv", "--mean", "3", "-o", "out.doc", status=1)
        self.run_program("filter", "map.csv", "--mean", "3", status=1)
        self.run_program("filter", "none.csv", "--mean", "3", "-o", "out.csv", status=2)
        self.run_program("filter", "map.csv", "--mean", "3", "-o", "no/such/folder.csv", status=2)
        self.assertEqual(os.listdir(self.folder), ["map.csv"])

    def test_windows_full_of_holes_are_4(self):
        self.write_map([[1.0 if (x + y) % 2 else None for x in range(9)] for y in range(9)])
        report = self.run_json("filter", "map.csv", "--laplacian", "3", "-o", "out.csv", status=4)
        self.assertIn("missing", report["error"]["message"])

    def test_help_names_units(self):
        for command, words in (("filter", ("unit of the file", "--fill", "samples")),
                               ("roundness", ("undulations per revolution", "degrees")),
                               ("resample", ("unit of the file", "Samples along x"))):
            text = self.run_program(command, "--help").stdout
            for word in words:
                self.assertIn(word, " ".join(text.split()), command)


class Sheet(FilterTest):
    def test_three_maps_stand_side_by_side(self):
        rows = self.wave(40, width=120, height=90)
        for y in range(40, 50):
            rows[y][50:60] = [None] * 10
        self.write_map(rows)
        self.run_program("filter", "map.csv", "--mean", "9", "-o", "out.csv", "--picture", "sheet.png", "--size", "1200x300")
        picture = Picture(self.path("sheet.png"))
        self.assertEqual((picture.width, picture.height), (1200, 300))
        for panel in range(3):
            pixels = [picture.pixel(x, y) for y in range(300) for x in range(400 * panel, 400 * panel + 400)]
            self.assertGreater(pixels.count(MISSING), 50, panel)
            self.assertGreater(len(set(pixels)), 100, panel)
            # Between the panels there is paper.
            self.assertTrue(all(picture.pixel(400 * panel, y) == PAPER for y in range(300)))
        self.run_program("filter", "map.csv", "--mean", "9", "-o", "out.csv", "--picture", "sheet.png")
        self.assertEqual(Picture(self.path("sheet.png")).width, 2400)
        self.run_program("filter", "map.csv", "--mean", "9", "-o", "out.csv", "--picture", "s.png", "--size", "100x300", status=1)

    def test_mesh_is_filtered_like_its_grid(self):
        mesh = self.write("sheet.stl", binary_stl(sheet(20)))
        self.run_program("filter", mesh, "--nx", "60", "--gaussian", "2", "-o", "of_mesh.csv")
        self.run_program("mesh2grid", mesh, "--nx", "60", "-o", "grid.csv")
        self.run_program("filter", "grid.csv", "--gaussian", "2", "-o", "of_grid.csv")
        for a, b in zip(self.read_map("of_mesh.csv"), self.read_map("of_grid.csv")):
            for x, y in zip(a, b):
                self.assertAlmostEqual(x, y, places=5)


class Resample(FilterTest):
    def test_sizes_spacing_and_heights(self):
        self.write_map([[x + 0.5 * y for x in range(40)] for y in range(20)])
        for arguments, size in ((("--nx", "20", "--ny", "10"), (20, 10)), (("--nx", "80"), (80, 40)), (("--ny", "10"), (20, 10)),
                                (("--spacing", "0.04"), (10, 5)), (("--nx", "20", "--bilinear"), (20, 10))):
            report = self.run_json("resample", "map.csv", *arguments, "-o", "out.csv")
            result = report["result"]
            self.assertEqual((result["width"], result["height"]), size)
            rows = self.read_map("out.csv")
            self.assertEqual((len(rows[0]), len(rows)), size)
            for y, row in enumerate(rows):
                for x, h in enumerate(row):
                    u, v = x * result["spacingX"] / 0.01, y * result["spacingY"] / 0.01
                    if u <= 39 and v <= 19:
                        self.assertAlmostEqual(h, u + 0.5 * v, places=3)
        # The file that was written says the same.
        self.assertAlmostEqual(self.run_json("stats", "out.csv")["grid"]["spacingX"], 0.02, places=6)

    def test_bicubic_warns_where_it_errs(self):
        self.write_map([[1.0 if y < 10 else -1.0 for _ in range(40)] for y in range(20)])
        result = self.run_program("resample", "map.csv", "--nx", "80", "--ny", "20", "--bicubic", "-o", "out.csv")
        self.assertIn("25.0 %", result.stderr)
        self.assertAlmostEqual(max(self.read_map("out.csv")[3]), 1.25, places=5)
        result = self.run_program("resample", "map.csv", "--nx", "20", "--bicubic", "-o", "out.csv")
        self.assertNotIn("warning", result.stderr)

    def test_holes_stay_holes(self):
        self.write_map([[None if x == 10 and y == 10 else 1.0 for x in range(40)] for y in range(20)])
        self.assertEqual(self.run_json("resample", "map.csv", "--nx", "20", "-o", "out.csv")["result"]["missingSamples"], 1)

    def test_wrong_use_is_1(self):
        self.write_map([[1.0] * 4] * 4)
        mesh = self.write("sheet.stl", binary_stl(sheet(12)))
        for arguments in (("map.csv",), ("map.csv", "--nx", "1"), ("map.csv", "--nx", "5", "--spacing", "1"),
                          ("map.csv", "--spacing", "1e9"), ("map.csv", "--spacing", "-1"), ("map.csv", "--spacing", "1e-9"),
                          ("map.csv", "--nx", "5", "--bilinear", "--bicubic"), (mesh, "--nx", "5"),
                          ("map.csv", "--nx", "65536", "--ny", "65536")):
            self.assertNotEqual(self.run_program("resample", *arguments, "-o", "out.csv", status=1).stderr, "")
        self.run_program("resample", "map.csv", "--nx", "5", status=1)
        self.assertIn("mesh2grid", self.run_program("resample", mesh, "--nx", "5", "-o", "o.csv", status=1).stderr)


class Roundness(FilterTest):
    def write_profile(self, radius, samples=720, name="round.csv"):
        lines = ("%.9f" % radius(2 * math.pi * i / samples) for i in range(samples))
        return self.write(name, ("\n".join(lines) + "\n").encode())

    def test_circle_lobes_and_attenuation_are_found(self):
        self.write_profile(lambda a: 25 + 0.02 * math.cos(a - 1) + 0.003 * math.cos(3 * a) + 0.001 * math.cos(15 * a),
                           samples=3600)
        report = self.run_json("roundness", "round.csv", "--cutoff", "15", "-o", "plot.png", "--csv", "out.csv")
        self.assertEqual(report["samples"], 3600)
        self.assertAlmostEqual(report["circle"]["radius"], 25, places=6)
        self.assertAlmostEqual(report["circle"]["x"], 0.02 * math.cos(1), places=6)
        self.assertAlmostEqual(report["circle"]["y"], 0.02 * math.sin(1), places=6)
        self.assertAlmostEqual(report["unfiltered"]["RONt"], 0.008, delta=0.0001)
        with open(self.path("out.csv"), encoding="ascii") as file:
            rows = [list(map(float, line.split(","))) for line in file if line[0].isdigit()]
        self.assertEqual(len(rows), 3600)
        # Half of the 15 undulations per revolution passes, and exp(-ln 2 / 25) of the 3.
        kept = 0.003 * 2 ** (-1 / 25)
        for angle, measured, filtered in rows:
            a = math.radians(angle)
            self.assertAlmostEqual(measured, 0.003 * math.cos(3 * a) + 0.001 * math.cos(15 * a), places=7)
            self.assertAlmostEqual(filtered, kept * math.cos(3 * a) + 0.0005 * math.cos(15 * a), delta=0.00002)
        self.assertAlmostEqual(report["filtered"]["RONt"], max(r[2] for r in rows) - min(r[2] for r in rows), places=9)

    def test_rc_filters_pass_three_quarters(self):
        self.write_profile(lambda a: 0.001 * math.cos(50 * a), samples=3600)
        for option in ("--2rc", "--2rc-phase-corrected"):
            report = self.run_json("roundness", "round.csv", option, "-o", "plot.svg")
            self.assertAlmostEqual(report["filtered"]["RONt"], 0.0015, delta=0.00001)
            with open(self.path("plot.svg"), encoding="utf-8") as file:
                text = file.read()
            self.assertIn("RONt 1.5 µm", text)
            self.assertNotIn("settled", self.run_program("roundness", "round.csv", option, "-o", "plot.svg").stderr)
            self.assertIn("settled", self.run_program("roundness", "round.csv", option, "--cutoff", "3", "-o", "p.svg").stderr)
            self.assertTrue(text.rstrip().endswith("</svg>"))

    def test_plot_shows_both_profiles_round_the_circle(self):
        self.write_profile(lambda a: 0.003 * math.cos(3 * a) + 0.001 * math.cos(90 * a))
        self.run_program("roundness", "round.csv", "-o", "plot.png", "--size", "700x760")
        picture = Picture(self.path("plot.png"))
        self.assertEqual((picture.width, picture.height), (700, 760))
        colours = picture.colours()
        for colour in ((28, 84, 140), (196, 92, 30)):
            self.assertGreater(colours.get(colour, 0), 30)
        for x in range(700):
            self.assertEqual(picture.pixel(x, 0), PAPER)
            self.assertEqual(picture.pixel(x, 759), PAPER)

    def test_wrong_use_is_1_and_no_profile_3(self):
        self.write_profile(lambda a: 25 + 0.01 * math.cos(2 * a), samples=360)
        for arguments in (("--cutoff", "0"), ("--cutoff", "180"), ("--cutoff", "150"), ("--2rc", "--gaussian"), ("--cutoff", "x")):
            self.run_program("roundness", "round.csv", *arguments, "-o", "plot.png", status=1)
        self.run_program("roundness", "round.csv", "-o", "plot.pdf", status=1)
        self.run_program("roundness", "round.csv", status=1)
        self.run_program("roundness", "none.csv", "-o", "plot.png", status=2)
        for content in (b"", b"1\n2\n", b"1\n" * 20 + b"x\n", b"".join(b"%d,1\n" % (10 * i) for i in range(20))):
            self.write("bad.csv", content)
            self.assertIn("bad.csv", self.run_program("roundness", "bad.csv", "-o", "plot.png", status=3).stderr)
        self.assertFalse(os.path.exists(self.path("plot.png")))


if __name__ == "__main__":
    unittest.main()
