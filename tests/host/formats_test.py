"""File formats of height maps by the command line: convert, info, orientation, and what goes wrong."""

import math
import os
import unittest

import format_samples
from support import Picture, ProgramTest, read_rows

PLATES = format_samples.all_samples()
READ = sorted(PLATES)
WRITTEN = ("csv", "xyz", "sdf", "x3p", "gsf", "tif", "png")


def unit_of(name):
    return "mm" if name.endswith(".xyz") else "um"  # points name no unit


class FormatTest(ProgramTest):
    def setUp(self):
        super().setUp()
        for name, content in PLATES.items():
            self.write(name, content)

    def expect_plate(self, name, tolerance=1e-6, factor=1.0):
        rows = read_rows(self.path(name))
        self.assertEqual(len(rows), len(format_samples.PLATE))
        for row, wanted in zip(rows, format_samples.PLATE):
            self.assertEqual([math.isnan(z) for z in row], [math.isnan(z) for z in wanted])
            for z, w in zip(row, wanted):
                if not math.isnan(w):
                    self.assertAlmostEqual(z, factor * w, delta=tolerance)


class Convert(FormatTest):
    def test_every_format_becomes_rows_of_numbers(self):
        for name in READ:
            with self.subTest(name):
                unit = unit_of(name)
                report = self.run_json("convert", name, "-o", "out.csv", "--unit", unit)
                self.expect_plate("out.csv", factor=1e-3 if unit == "mm" else 1)
                self.assertAlmostEqual(report["grid"]["spacingX"], 20 if unit == "um" else 0.02, places=5)
                self.assertAlmostEqual(report["grid"]["spacingY"], 50 if unit == "um" else 0.05, places=5)
                self.assertEqual(report["grid"]["missingSamples"], 1)

    def test_chains_of_formats_keep_the_plate(self):
        for ends in (WRITTEN, tuple(reversed(WRITTEN))):
            last = "plate.gsf"
            for end in ends:
                self.run_program("convert", last, "-o", "next." + end, "--unit", "um")
                last = "next." + end
            self.run_program("convert", last, "-o", "last.csv", "--unit", "um")
            self.expect_plate("last.csv", tolerance=2e-3)

    def test_what_is_told_of_the_measurement_goes_along(self):
        told = {"created": "2020-01-01T00:00:00", "modified": "2020-01-01T00:00:00", "maker": "test"}
        self.assertEqual(self.run_json("info", "plate.sdf")["provenance"], told)
        self.run_program("convert", "plate.sdf", "-o", "one.sdf", "-o", "one.x3p")
        self.assertEqual(self.run_json("info", "one.sdf")["provenance"], told)
        self.run_program("convert", "one.x3p", "-o", "two.x3p", "-o", "two.sdf")
        del told["modified"]  # which X3P has no room for
        for name in ("one.x3p", "two.x3p", "two.sdf"):
            self.assertEqual(self.run_json("info", name)["provenance"], told, name)
        self.assertRegex(self.run_program("info", "two.sdf").stdout, r"(?m)^maker +test$")
        self.assertEqual(self.run_json("info", "plate.csv")["provenance"], {})
        # A filter makes another surface.
        self.run_program("filter", "plate.sdf", "--mean", "3", "-o", "filtered.sdf")
        self.assertEqual(self.run_json("info", "filtered.sdf")["provenance"], {})

    def test_variants_are_chosen_by_name(self):
        self.run_program("convert", "plate.sdf", "-o", "out.sdf", "-o", "out.dat", "--format", "sdf-ascii")
        with open(self.path("out.dat"), "rb") as file:
            self.assertEqual(file.read(8), b"aISO-1.0")
        self.assertEqual(self.run_json("info", "out.dat")["format"]["kind"], "SDF, text")
        self.run_program("convert", "plate.sdf", "-o", "out.tif", "--format", "tiff16")
        self.assertIn("16-bit", self.run_json("info", "out.tif")["format"]["kind"])

    def test_top_and_bottom_turn_the_rows(self):
        self.run_program("convert", "plate.csv", "-o", "top.csv", "--unit", "um", "--origin", "top")
        self.assertEqual([row[0] for row in read_rows(self.path("top.csv"))], [11, 6, 1.5])
        # The file says so itself, and is understood.
        self.run_program("convert", "plate.csv", "-o", "said.csv", "--unit", "um", "--output-origin", "top")
        self.assertEqual([row[0] for row in read_rows(self.path("said.csv"))], [11, 6, 1.5])
        self.assertEqual(self.run_json("info", "said.csv")["firstRow"], "top")
        self.run_program("convert", "said.csv", "-o", "back.csv", "--unit", "um")
        self.expect_plate("back.csv")

    def test_first_row_of_every_format_lies_where_the_table_says(self):
        for name, origin in (("plate.csv", "bottom"), ("plate.sdf", "bottom"), ("plate.x3p", "bottom"), ("plate.gsf", "top"),
                             ("plate.bcr", "bottom"), ("plate.bcrf", "bottom"), ("plate.al3d", "top"), ("float.tif", "top"),
                             ("grey.tif", "bottom"), ("plate.png", "top"), ("gwyddion.sdf", "top"), ("gwyddion.txt", "top")):
            self.assertEqual(self.run_json("info", name)["firstRow"], origin, name)

    def test_bodies_are_closed_meshes_that_measure_alike(self):
        rows = "\n".join(",".join("%g" % (0.1 * math.sin(i / 6) + 0.01 * j) for i in range(120)) for j in range(40))
        self.write("map.csv", ("# Width: 120 mm\n# Height: 40 mm\n" + rows + "\n").encode())
        wanted = self.run_json("stats", "map.csv")["statistics"]["Sa"]
        self.run_program("convert", "map.csv", "-o", "map.stl")
        self.run_program("convert", "map.csv", "-o", "map.ply", "--format", "ply-turned")
        for name in ("map.stl", "map.ply"):
            report = self.run_json("stats", name, "--nx", "238")
            self.assertAlmostEqual(report["statistics"]["Sa"], wanted, delta=0.04 * wanted)

    def test_spacing_and_scale_can_be_given(self):
        self.write("bare.csv", b"1,2,3\n4,5,6\n")
        self.run_program("convert", "bare.csv", "-o", "out.csv", "--height-scale", "2", "--height-offset", "-1", "--spacing", "0.5")
        self.assertEqual(read_rows(self.path("out.csv")), [[1, 3, 5], [7, 9, 11]])
        self.assertAlmostEqual(self.run_json("info", "out.csv")["grid"]["spacingX"], 0.5)

    def test_picture_without_scale_is_read_with_a_warning(self):
        self.write("bare.tif", format_samples.tiff(16, 1, b"".join(v.to_bytes(2, "little") for v in range(1, 16)), []))
        result = self.run_program("convert", "bare.tif", "-o", "out.csv")
        self.assertIn("--height-scale", result.stderr)
        self.assertEqual(read_rows(self.path("out.csv"))[0], [11, 12, 13, 14, 15])
        result = self.run_program("convert", "bare.tif", "-o", "out.csv", "--height-scale", "0.5")
        self.assertEqual(result.stderr, "")
        self.assertEqual(read_rows(self.path("out.csv"))[0][0], 5.5)

    def test_row_that_a_file_names_counts_more_than_its_maker(self):
        said = format_samples.gwyddion_matrix().replace(b"# Value", b"# First row: bottom\n# Value")
        for content in (said, b"# First row: bottom\n" + format_samples.gwyddion_matrix()):
            self.write("said.txt", content)
            self.assertEqual(self.run_json("info", "said.txt")["firstRow"], "bottom")

    def test_notes_of_gwyddions_pictures_are_understood(self):
        # A level is a nanometre.
        levels = [round(1000 * ((8.25 if math.isnan(z) else z) + 20)) for z in format_samples.TOP]
        self.write("noted.png", format_samples.png(format_samples.GWYDDION_NOTES, levels))
        result = self.run_program("convert", "noted.png", "-o", "out.csv", "--unit", "um")
        self.assertEqual(result.stderr, "")
        wanted = [[8.25 if math.isnan(z) else z for z in row] for row in format_samples.PLATE]
        for row, wanted_row in zip(read_rows(self.path("out.csv")), wanted):
            for z, w in zip(row, wanted_row):
                self.assertAlmostEqual(z, w, delta=1e-4)
        grid = self.run_json("info", "noted.png", "--unit", "um")["grid"]
        self.assertAlmostEqual(grid["spacingX"], 20, places=5)
        self.assertAlmostEqual(grid["spacingY"], 50, places=5)
        for note in (("Gwy::XYUnit", "V"), ("Gwy::XReal", "-1")):
            self.write("bad.png", format_samples.png(format_samples.GWYDDION_NOTES + [note], levels))
            self.assertIn("extent", self.run_program("info", "bad.png", status=3).stderr)

    def test_written_picture_is_a_picture(self):
        self.run_program("convert", "plate.csv", "-o", "out.png")
        picture = Picture(self.path("out.png"))
        self.assertEqual((picture.width, picture.height), (5, 3))
        self.assertEqual(picture.pixel(2, 1), (0,))
        self.assertEqual(picture.pixel(3, 0), (1,))
        self.assertEqual(picture.pixel(4, 0), (65535,))


class Commands(FormatTest):
    def test_commands_take_every_format(self):
        for name in READ:
            with self.subTest(name):
                self.assertEqual(self.run_json("stats", name)["grid"]["missingSamples"], 1)
        self.run_program("resample", "plate.x3p", "--nx", "9", "-o", "out.sdf")
        self.run_program("section", "plate.gsf", "--y", "0.05", "-o", "out.png")
        self.run_program("render", "plate.bcrf", "-o", "out.png", "--size", "200x150")

    def test_info_describes_every_format(self):
        for name in READ:
            with self.subTest(name):
                report = self.run_json("info", name)
                self.assertEqual((report["grid"]["width"], report["grid"]["height"]), (5, 3))
                self.assertAlmostEqual(report["grid"]["missingShare"], 1 / 15)
                self.assertEqual(report["bytes"], os.path.getsize(self.path(name)))
                low, high = report["heights"]
                self.assertAlmostEqual(low, -0.0145, delta=1e-8)
                self.assertAlmostEqual(high, 0.015, delta=1e-8)
                text = self.run_program("info", name).stdout
                for word in ("5 x 3", "6.67 %", "first row"):
                    self.assertIn(word, text)


class Failures(FormatTest):
    def test_missing_file_is_2(self):
        for end in ("sdf", "x3p", "gsf", "tif", "bcr", "al3d", "xyz"):
            self.assertIn("No such file", self.run_program("convert", "missing." + end, "-o", "out.csv", status=2).stderr)

    def test_truncated_file_is_3_and_says_so(self):
        for name in READ:
            if name.endswith((".csv", ".txt", ".xyz")):
                continue
            with open(self.path(name), "rb") as file:
                content = file.read()
            self.write(name, content[:-60])
            for command in (["info", name], ["stats", name], ["convert", name, "-o", "out.csv"]):
                self.assertIn(name, self.run_program(*command, status=3).stderr)
            self.assertFalse(os.path.exists(self.path("out.csv")))

    def test_wrong_usage_is_1(self):
        for arguments in (["plate.csv"], ["plate.csv", "-o", "out.doc"], ["plate.csv", "-o", "out.bcr"],
                          ["plate.csv", "-o", "out.csv", "--origin", "left"], ["plate.xyz", "-o", "out.csv", "--origin", "top"],
                          ["plate.csv", "-o", "out.csv", "--format", "doc"], ["mesh.stl", "-o", "out.csv"]):
            self.run_program("convert", *arguments, status=1)

    def test_folder_that_is_not_there_is_2(self):
        self.run_program("convert", "plate.csv", "-o", "no/such/folder.x3p", status=2)


# Real files are large and belong to others: they lie beside the checkout, where there are any.
SURFACES = os.path.join(os.path.dirname(__file__), "../../../shared/data/surface")


@unittest.skipUnless(os.path.isdir(SURFACES), "no folder ../shared/data/surface beside the checkout")
class RealFiles(ProgramTest):
    def test_measured_surfaces_are_read(self):
        for name, size, spacing, heights in (
            ("al3d-1.al3d", (200, 296), 4.38027e-4, (76.32320, 76.35816)),
            ("bcrf-1.bcrf", (960, 600), 1.8514625e-3, (0.04936861, 0.05159237)),
            ("matrix-3.txt", (256, 256), 10e-3 / 256, (-1.6861e-4, 2.4022e-4)),
            ("sdf-1.sdf", (7, 4), 1e-3, (9.4907e-4, 1e-3)),
            ("x3p-2.x3p", (650, 650), 1.27656509837346e-4, (-3.1442069e-4, 2.3991551e-4))):
            report = self.run_json("info", os.path.join(SURFACES, name))
            self.assertEqual((report["grid"]["width"], report["grid"]["height"]), size)
            self.assertAlmostEqual(report["grid"]["spacingX"], spacing, delta=1e-6 * spacing)
            self.assertEqual(report["grid"]["missingSamples"], 0)
            for end, wanted in zip(report["heights"], heights):
                self.assertAlmostEqual(end, wanted, delta=1e-6 * abs(wanted))


if __name__ == "__main__":
    unittest.main()
