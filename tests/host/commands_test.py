"""The subcommands on files in order: what they print and write, and how they take their arguments."""

import json
import math
import os
import unittest

from support import Picture, ProgramTest, ascii_stl, binary_stl, grid, sheet


class Help(ProgramTest):
    def test_help_and_version_end_well(self):
        for arguments in (["--help"], ["demo", "--help"], ["info", "--help"], ["stats", "--help"],
                          ["mesh2grid", "--help"], ["render", "--help"], ["spectrum", "--help"],
                          ["autocorrelate", "--help"], ["fft-filter", "--help"], ["contour", "--help"], ["section", "--help"],
                          ["cut", "--help"]):
            self.assertIn("qv3d", self.run_program(*arguments).stdout)
        self.assertRegex(self.run_program("--version").stdout, r"^qv3d \d+\.\d+\.\d+\n$")

    def test_wrong_usage_is_1(self):
        mesh = self.write("sheet.stl", binary_stl(sheet(12)))
        for arguments in ([], ["frobnicate"], ["stats"], ["stats", mesh, "--nx", "one"], ["stats", mesh, "--nx", "1"],
                          ["stats", mesh, "--frobnicate"], ["render", mesh], ["render", mesh, "-o", "a.png", "--size", "9"],
                          ["render", mesh, "-o", "a.png", "--size", "300x200x2"],
                          ["render", mesh, "-o", "a.png", "--style", "shiny"], ["stats", mesh, "--unit", "furlong"],
                          ["stats", mesh, "--nx", "20", "--spacing", "0.1"], ["stats", mesh, "--spacing", "100"],
                          ["stats", mesh, "--timeout", "-1"], ["mesh2grid", mesh, "-o", "grid.doc"]):
            result = self.run_program(*arguments, status=1)
            self.assertNotEqual(result.stderr + result.stdout, "")
        self.assertEqual(os.listdir(self.folder), ["sheet.stl"])


class Info(ProgramTest):
    def test_text_names_format_count_and_extents(self):
        for content, kind in ((binary_stl(sheet(12)), "binary STL"), (ascii_stl(sheet(12)), "ASCII STL")):
            text = self.run_program("info", self.write("sheet.stl", content)).stdout
            self.assertIn(kind, text)
            self.assertIn("288", text)
            self.assertIn("extent 10", text)
            self.assertIn("In order.", text)

    def test_json_holds_check_and_mesh(self):
        json_report = self.run_json("info", self.write("sheet.stl", binary_stl(sheet(12))))
        self.assertEqual(json_report["check"]["findings"], [])
        self.assertEqual(json_report["check"]["announcedTriangles"], 288)
        self.assertEqual(json_report["mesh"]["triangles"], 288)
        self.assertEqual(json_report["mesh"]["x"], [0, 10])

    def test_too_few_triangles_are_told_but_no_failure(self):
        json_report = self.run_json("info", self.write("few.stl", binary_stl(sheet(3))))
        self.assertEqual([f["id"] for f in json_report["check"]["findings"]], ["few-triangles"])
        self.assertEqual(json_report["mesh"]["triangles"], 18)


class Stats(ProgramTest):
    def test_json_holds_what_a_program_needs(self):
        report = self.run_json("stats", self.write("sheet.stl", binary_stl(sheet(40))))
        self.assertEqual(set(report), {"file", "unit", "mesh", "mended", "grid", "filled", "levelled", "plane", "statistics"})
        self.assertEqual(set(report["statistics"]), {"Sa", "Sq", "Sp", "Sv", "Sz", "Ssk", "Sku", "tenPointHeight"})
        self.assertEqual((report["grid"]["width"], report["grid"]["height"]), (512, 512))
        self.assertEqual(report["grid"]["missingSamples"], 0)
        self.assertEqual(report["unit"], "mm")

    def test_numbers_of_a_wave_are_those_of_a_wave(self):
        # Amplitude 0.05 on a tilted plane; over four whole waves Sa is 2/pi and Sq 1/sqrt(2) of it. A cosine has no
        # slope of its own.
        mesh = sheet(96, height=lambda x, y: 0.02 * x - 0.01 * y + 0.05 * math.cos(2 * math.pi * x / 2.5))
        s = self.run_json("stats", self.write("wave.stl", binary_stl(mesh)), "--nx", "384")
        self.assertAlmostEqual(s["statistics"]["Sa"], 0.05 * 2 / math.pi, delta=0.03 * 0.05)
        self.assertAlmostEqual(s["statistics"]["Sq"], 0.05 / math.sqrt(2), delta=0.03 * 0.05)
        self.assertAlmostEqual(s["statistics"]["Sz"], 0.1, delta=0.03 * 0.1)
        self.assertAlmostEqual(s["plane"]["slopeY"], -0.01, delta=2e-5)
        raw = self.run_json("stats", self.path("wave.stl"), "--no-level")
        self.assertFalse(raw["levelled"])
        self.assertGreater(raw["statistics"]["Sz"], 0.25)

    def test_text_has_units_and_a_decimal_point_whatever_the_locale(self):
        mesh = self.write("sheet.stl", ascii_stl(sheet(40, height=lambda x, y: 0.001 * math.sin(3 * x))))
        for unit, shown in (("mm", "µm"), ("um", "nm"), ("in", "in")):
            text = self.run_program("stats", mesh, "--unit", unit, env={"LC_ALL": "de_DE.UTF-8", "LANG": "de_DE.UTF-8"}).stdout
            self.assertRegex(text, r"Sa +[0-9.]+ " + shown)
            self.assertNotRegex(text, r"[0-9],[0-9]")

    def test_holes_stay_missing_or_are_filled(self):
        mesh = [t for t in sheet(40) if not all(3 < x < 6 and 3 < y < 6 for x, y, _ in t)]
        file = self.write("hole.stl", binary_stl(mesh))
        kept = self.run_json("stats", file)
        filled = self.run_json("stats", file, "--fill")
        # The triangles left out lie whole inside the square; the others reach into it by up to a cell.
        self.assertGreaterEqual(kept["grid"]["missingShare"], 2.5 * 2.5 / 100)
        self.assertLess(kept["grid"]["missingShare"], 3 * 3 / 100)
        self.assertEqual(filled["grid"]["missingSamples"], kept["grid"]["missingSamples"])
        self.assertTrue(filled["filled"])
        self.assertGreater(filled["statistics"]["Sq"], kept["statistics"]["Sq"])
        self.assertEqual(filled["statistics"]["Sv"], kept["statistics"]["Sv"])

    def test_grid_is_as_asked_for(self):
        file = self.write("sheet.stl", binary_stl(sheet(12)))
        grid = self.run_json("stats", file, "--nx", "50", "--ny", "20")["grid"]
        self.assertEqual((grid["width"], grid["height"]), (50, 20))
        self.assertAlmostEqual(grid["spacingY"], 0.5, places=5)
        grid = self.run_json("stats", file, "--spacing", "0.3")["grid"]
        self.assertEqual((grid["width"], grid["height"]), (33, 33))
        self.assertAlmostEqual(grid["spacingX"], 0.3, places=5)


class Mesh2Grid(ProgramTest):
    def test_csv_and_xyz_hold_the_heights_of_the_mesh(self):
        mesh = sheet(20, height=lambda x, y: 0.5 * x + 0.25 * y)
        file = self.write("plane.stl", binary_stl(mesh))
        report = self.run_json("mesh2grid", file, "-o", "grid.csv", "-o", "grid.xyz", "--nx", "8", "--ny", "4")
        self.assertEqual(report["written"], ["grid.csv", "grid.xyz"])
        with open(self.path("grid.csv"), encoding="ascii") as csv:
            rows = [[float(v) for v in line.split(",")] for line in csv if line[0] != "#"]
        self.assertEqual([len(row) for row in rows], [8] * 4)
        for j, row in enumerate(rows):
            for i, z in enumerate(row):
                self.assertAlmostEqual(z, 0.5 * 1.25 * (i + 0.5) + 0.25 * 2.5 * (j + 0.5), places=4)
        with open(self.path("grid.xyz"), encoding="ascii") as xyz:
            points = [tuple(map(float, line.split())) for line in xyz]
        self.assertEqual(len(points), 32)
        for x, y, z in points:
            self.assertAlmostEqual(z, 0.5 * x + 0.25 * y, places=4)

    def test_missing_samples_are_nan_left_out_and_black(self):
        mesh = [t for t in sheet(20, height=lambda x, y: 1 + 0.1 * y) if min(x for x, _, _ in t) >= 5 or min(y for _, y, _ in t) >= 5]
        file = self.write("corner.stl", binary_stl(mesh))
        self.run_program("mesh2grid", file, "-o", "g.csv", "-o", "g.xyz", "-o", "g.png", "--nx", "40")
        with open(self.path("g.csv"), encoding="ascii") as csv:
            rows = [line.strip().split(",") for line in csv if line[0] != "#"]
        self.assertEqual(sum(row.count("nan") for row in rows), 400)
        self.assertEqual(rows[0][0], "nan")
        with open(self.path("g.xyz"), encoding="ascii") as xyz:
            self.assertEqual(len(xyz.readlines()), 1200)
        picture = Picture(self.path("g.png"))
        self.assertEqual((picture.width, picture.height, picture.channels), (40, 40, 1))
        self.assertEqual(picture.pixel(0, 39), (0,))
        self.assertEqual(picture.pixel(39, 0), (65535,))
        self.assertEqual(picture.pixel(39, 39), (1,))

    def test_without_a_name_the_grid_goes_beside(self):
        self.run_program("mesh2grid", self.write("sheet.stl", binary_stl(sheet(12))), "--nx", "10")
        self.assertTrue(os.path.exists(self.path("sheet.csv")))

    def test_folder_that_is_not_there_is_2(self):
        file = self.write("sheet.stl", binary_stl(sheet(12)))
        self.run_program("mesh2grid", file, "-o", "no/such/folder.csv", status=2)


class HeightMaps(ProgramTest):
    def test_written_grid_measures_as_the_mesh_does(self):
        file = self.write("sheet.stl", binary_stl(sheet(20)))
        self.run_program("mesh2grid", file, "-o", "grid.csv", "--nx", "40")
        of_mesh, of_grid = self.run_json("stats", file, "--nx", "40"), self.run_json("stats", "grid.csv")
        self.assertEqual(of_grid["statistics"], of_mesh["statistics"])
        self.assertAlmostEqual(of_grid["grid"]["spacingX"], of_mesh["grid"]["spacingX"], places=6)
        self.assertNotIn("mesh", of_grid)

    def test_separators_missing_samples_and_scales_are_understood(self):
        rows = [[1e-6, 2e-6, 3e-6], [4e-6, None, 6e-6]]
        for separator in (",", ";", "\t", "   "):
            missing = "nan" if separator in ("\t", "   ") else ""
            lines = [separator.join(missing if v is None else "%.1e" % v for v in row) for row in rows]
            comments = "# Channel: heights\n# Width: 30 µm\n# Height: 10 µm\n# Value units: m\n"
            self.write("grid.txt", (comments + "\r\n".join(lines) + "\n").encode())
            report = self.run_json("stats", "grid.txt", "--unit", "um", "--no-level")
            self.assertEqual(report["grid"]["missingSamples"], 1, separator)
            self.assertAlmostEqual(report["grid"]["spacingX"], 10, places=5)
            self.assertAlmostEqual(report["grid"]["spacingY"], 5, places=5)
            self.assertAlmostEqual(report["statistics"]["Sp"], 6, places=5)

    def test_spacing_can_be_given(self):
        self.write("grid.csv", b"1,2,3\n4,5,6\n")
        self.assertAlmostEqual(self.run_json("stats", "grid.csv", "--spacing", "0.25")["grid"]["spacingY"], 0.25)

    def test_what_is_no_height_map_is_3(self):
        for content in (b"", b"1,2\n", b"1,2\n3\n", b"1,2\n3,x\n", b"1,2\n3,4,\n", b"\x00\x01\n\x02\n"):
            self.write("grid.csv", content)
            self.assertIn("grid.csv", self.run_program("stats", "grid.csv", status=3).stderr)

    def test_spreadsheets_and_decimal_commas(self):
        text = "\ufeff# Width: 0,03 mm\r\n# Height: 0,02 mm\r\n# Value units: um\r\n1,5;2,5;3\r\n4;5;6,75\r\n"
        self.write("grid.csv", text.encode())
        report = self.run_json("stats", "grid.csv", "--no-level", "--unit", "um")
        self.assertAlmostEqual(report["grid"]["spacingX"], 10, places=5)
        self.assertAlmostEqual(report["statistics"]["Sp"], 6.75, places=5)
        self.write("grid.csv", "\ufeff1,2,3\n4,5,6\n".encode())
        self.assertEqual(self.run_json("info", "grid.csv")["heights"], [1, 6])

    def test_heights_that_are_no_lengths_are_refused(self):
        self.write("volts.txt", b"# Width: 3 um\n# Height: 2 um\n# Value units: V\n1 2 3\n4 5 6\n")
        self.assertIn("no length", self.run_program("stats", "volts.txt", status=4).stderr)
        self.assertAlmostEqual(self.run_json("stats", "volts.txt", "--no-level", "--height-scale", "0.5")["statistics"]["Sp"], 3)

    def test_heights_along_a_line_give_no_plane(self):
        for line in (lambda x, y: x == 0.05, lambda x, y: y == 0.05, lambda x, y: abs(x - y) < 1e-9):
            self.write("line.csv", grid(20, 20, 0.01, lambda x, y: 1 + x + y if line(x, y) else None))
            self.assertIn("on a line", self.run_program("stats", "line.csv", status=4).stderr)
            self.assertEqual(self.run_json("info", "line.csv")["grid"]["missingSamples"], 380)
        # Two neighbouring rows are enough.
        self.write("two.csv", grid(20, 20, 0.01, lambda x, y: 1 + x + y if y < 0.015 else None))
        self.assertLess(self.run_json("stats", "two.csv")["statistics"]["Sz"], 1e-5)

    def test_long_strips_are_levelled(self):
        self.write("strip.csv", grid(200000, 3, 0.01, lambda x, y: 0.1 * x + 5 * y))
        self.assertLess(self.run_json("stats", "strip.csv")["statistics"]["Sz"], 1e-2)

    def test_nothing_is_not_written(self):
        self.write("line.csv", grid(20, 20, 0.01, lambda x, y: 1 if x == 0.05 else None))
        self.assertIn("every sample is missing", self.run_program("resample", "line.csv", "--nx", "7", "-o", "r.csv", status=4).stderr)
        self.assertFalse(os.path.exists(self.path("r.csv")))
        self.write("none.csv", grid(3, 3, 0.01, lambda x, y: None))
        self.assertIsNone(self.run_json("info", "none.csv")["heights"])
        self.assertNotIn("heights", self.run_program("info", "none.csv").stdout)

    def test_inputs_are_not_written_over(self):
        self.write("map.csv", grid(30, 20, 0.01, lambda x, y: x * y + (x > 0.1)))
        self.write("map.png", b"")
        os.symlink("map.csv", self.path("link.csv"))
        for arguments in (("filter", "map.csv", "--mean", "3", "-o", "map.csv"), ("filter", "map.csv", "--mean", "3", "-o", "link.csv"),
                          ("filter", "map.csv", "--mean", "3", "-o", "a.csv", "--residual", "a.csv"),
                          ("convert", "map.csv", "-o", "a.sdf", "-o", "./map.csv"), ("convert", "map.csv", "--format", "csv", "-o", "map.csv"),
                          ("resample", "map.csv", "--nx", "9", "-o", "map.csv"), ("mesh2grid", "map.csv"),
                          ("fft-filter", "map.csv", "--low-pass", "--cutoff", "0.1", "-o", "map.csv"), ("spectrum", "map.csv", "--csv", "map.csv"),
                          ("autocorrelate", "map.csv", "--csv", "map.csv"), ("contour", "map.csv", "-o", "map.csv"),
                          ("section", "map.csv", "--row", "3", "-o", "map.csv"), ("render", "map.png", "-o", "map.png"),
                          ("gallery", "map.png", "-o", "map.png"), ("points2grid", "map.csv", "-o", "map.csv"),
                          ("roundness", "map.csv", "-o", "a.png", "--csv", "map.csv", "--cutoff", "50")):
            before = sorted(os.listdir(self.folder))
            self.assertIn("files to be read, or was written", self.run_program(*arguments, status=1).stderr, arguments)
            self.assertEqual(sorted(os.listdir(self.folder)), before)

    def test_pictures_are_png(self):
        self.write("map.csv", grid(9, 9, 0.01, lambda x, y: x * y))
        for arguments in (("render", "map.csv", "-o", "a.jpg"), ("gallery", "map.csv", "-o", "a.jpg"),
                          ("filter", "map.csv", "--mean", "3", "-o", "a.csv", "--picture", "a.jpg")):
            self.assertIn("must end in .png", self.run_program(*arguments, status=1).stderr)
        self.assertEqual(os.listdir(self.folder), ["map.csv"])

    def test_map_without_samples_is_4_and_mesh_options_are_1(self):
        self.write("grid.csv", b"nan,nan\nnan,nan\n")
        self.run_program("stats", "grid.csv", status=4)
        self.run_program("stats", "grid.csv", "--nx", "10", status=1)


class Streams(ProgramTest):
    def test_results_go_to_one_stream_and_remarks_to_the_other(self):
        file = self.write("trailing.stl", binary_stl(sheet(12)) + b"trailer")
        result = self.run_program("stats", file, "--json")
        json.loads(result.stdout)
        self.assertIn("7 bytes follow", result.stderr)

    def test_failure_in_json_is_json(self):
        report = self.run_json("stats", self.write("few.stl", binary_stl(sheet(3))), status=4)
        self.assertEqual(report["error"]["exitCode"], 4)
        self.assertIn("--repair", report["error"]["advice"])


if __name__ == "__main__":
    unittest.main()
