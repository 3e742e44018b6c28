"""Exchange of height maps with Gwyddion, where that is installed: what qv3d writes is read there, what Gwyddion reads of
the samples is what qv3d reads, and what Gwyddion writes qv3d reads. Nothing of this is needed by the other tests."""

import math
import os
import shutil
import struct
import subprocess
import sys
import unittest

import format_samples
from support import ProgramTest, read_rows

GWYDDION = shutil.which("gwyddion")
XVFB = shutil.which("xvfb-run")
WHY_NOT = ("gwyddion is not installed" if not GWYDDION else "xvfb-run is not installed" if not XVFB else None)


class Gwy:
    """The channels of a GWY file: serialised objects of typed items."""

    NUMBERS = {"b": "<B", "c": "<B", "i": "<i", "q": "<q", "d": "<d"}
    ARRAYS = {"C": "B", "I": "i", "Q": "q", "D": "d"}

    def __init__(self, content):
        assert content[:4] == b"GWYP"
        self.content, self.at = content, 4
        self.items = self.read_object()

    def text(self):
        end = self.content.index(b"\0", self.at)
        text, self.at = self.content[self.at:end].decode("utf-8", "replace"), end + 1
        return text

    def number(self, code):
        value, = struct.unpack_from(code, self.content, self.at)
        self.at += struct.calcsize(code)
        return value

    def read_object(self):
        items = {"class": self.text()}
        end = self.number("<I") + self.at
        while self.at < end:
            key, kind = self.text(), chr(self.number("<B"))
            items[key] = self.read_item(kind)
        return items

    def read_item(self, kind):
        if kind in self.NUMBERS:
            return self.number(self.NUMBERS[kind])
        if kind == "s":
            return self.text()
        if kind == "o":
            return self.read_object()
        count = self.number("<I")
        if kind in self.ARRAYS:
            code = "<%d%s" % (count, self.ARRAYS[kind])
            values = struct.unpack_from(code, self.content, self.at)
            self.at += struct.calcsize(code)
            return values
        return [self.text() if kind == "S" else self.read_object() for _ in range(count)]


def unit(field, key):
    return field.get(key, {}).get("unitstr", "")


class Exchange(ProgramTest):
    def run_on_display(self, *command):
        """With a home of its own, so that nobody's settings count."""
        return subprocess.run([XVFB, "-a", *command], capture_output=True, timeout=120, check=False, cwd=self.folder, text=True,
                              env={**os.environ, "HOME": self.folder, "LC_ALL": "C.UTF-8", "PYTHONDONTWRITEBYTECODE": "1"})


class Reading(Exchange):
    def in_gwyddion(self, name):
        """Rows of heights from the first in the file to the last, None where masked; and the field itself."""
        out = self.path("out.gwy")
        if os.path.exists(out):
            os.remove(out)
        self.run_on_display(GWYDDION, "--convert-to-gwy=" + out, self.path(name))
        self.assertTrue(os.path.exists(out), name + " was not understood")
        with open(out, "rb") as file:
            items = Gwy(file.read()).items
        field, mask = items["/0/data"], items.get("/0/mask")
        heights = [None if mask and mask["data"][k] else z for k, z in enumerate(field["data"])]
        width = field["xres"]
        return [heights[k:k + width] for k in range(0, len(heights), width)], field

    def expect_rows(self, rows, wanted, factor):
        self.assertEqual(len(rows), len(wanted))
        for row, wanted_row in zip(rows, wanted):
            for z, w in zip(row, wanted_row):
                if w != w:
                    self.assertIsNone(z)
                else:
                    self.assertAlmostEqual(z / factor, w, delta=1e-5)

    def test_what_is_written_is_understood(self):
        self.write("plate.csv", format_samples.text_matrix())
        for name, first_on_top in (("out.sdf", False), ("out.x3p", False), ("out.gsf", True)):
            with self.subTest(name):
                self.run_program("convert", "plate.csv", "-o", name)
                rows, field = self.in_gwyddion(name)
                self.expect_rows(rows[::-1] if first_on_top else rows, format_samples.PLATE, 1e-6)
                self.assertAlmostEqual(field["xreal"], 5 * format_samples.DX, delta=1e-10)
                self.assertAlmostEqual(field["yreal"], 3 * format_samples.DY, delta=1e-10)
                self.assertEqual((unit(field, "si_unit_xy"), unit(field, "si_unit_z")), ("m", "m"))

    def test_float_picture_has_the_heights(self):
        self.write("plate.csv", format_samples.text_matrix())
        self.run_program("convert", "plate.csv", "-o", "out.tif", "--unit", "um")
        self.expect_rows(self.in_gwyddion("out.tif")[0][::-1], format_samples.PLATE, 1)

    def test_samples_are_read_alike(self):
        # Without what Gwyddion 2.62 does not take: "BAD" in SDF as text, the largest negative double as a missing sample of
        # SDF, an AL3D file without room for more tags.
        for name in ("plate.gsf", "plate.x3p", "listed.x3p", "plate.bcr", "plate.bcrf", "integer.sdf"):
            with self.subTest(name):
                self.write(name, format_samples.all_samples()[name])
                origin = self.run_json("info", name)["firstRow"]
                self.run_program("convert", name, "-o", "rows.csv", "--unit", "um", "--output-origin", origin)
                self.expect_rows(self.in_gwyddion(name)[0], read_rows(self.path("rows.csv")), 1e-6)


class Writing(Exchange):
    """Gwyddion reads a GSF file that format_samples makes, and writes it anew."""

    # Its modules, the file, whether it holds the unit, and whether the rows come out upside down: in files of points
    # Gwyddion counts y from the top downwards.
    TEXTS = [("gsffile", "out.gsf", True, False), ("sdfile-txt", "out.sdf", True, False),
             ("asciiexport", "out.txt", True, False), ("xyzexport", "out.xyz", False, True)]
    PICTURES = [("pngcairo", "out.png", True, False)]

    def let_gwyddion_write(self, formats, *options):
        self.write("plate.gsf", format_samples.gsf())
        writer = os.path.join(os.path.dirname(os.path.abspath(__file__)), "gwyddion_writer.py")
        done = self.run_on_display(sys.executable, writer, *options, "plate.gsf",
                                   *(module + "=" + name for module, name, *_ in formats))
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def expect_file(self, name, unit_of_file, hole, tolerance=1e-5, options=()):
        """Size, spacing and heights are the plate's; where that has its hole, `hole` says what must be there."""
        factor = 1 if unit_of_file else 1e-6
        unit_option = "um" if unit_of_file else "m"
        report = self.run_json("convert", name, "-o", "rows.csv", "--unit", unit_option, *options)
        grid = report["grid"]
        self.assertEqual((grid["width"], grid["height"]), (format_samples.WIDTH, format_samples.HEIGHT))
        self.assertAlmostEqual(grid["spacingX"], 1e6 * format_samples.DX * factor, delta=1e-5 * factor)
        self.assertAlmostEqual(grid["spacingY"], 1e6 * format_samples.DY * factor, delta=1e-5 * factor)
        rows = read_rows(self.path("rows.csv"))
        for row, wanted_row in zip(rows, format_samples.PLATE):
            for z, wanted in zip(row, wanted_row):
                if math.isnan(wanted):
                    self.assertTrue(hole(z / factor), z)
                else:
                    self.assertAlmostEqual(z / factor, wanted, delta=tolerance)
        return report

    def expect_files(self, formats, hole, tolerance=1e-5):
        for _, name, has_unit, upside_down in formats:
            with self.subTest(name):
                if upside_down:
                    self.run_program("convert", name, "-o", "turned.csv", "--unit", "m")
                    self.run_program("convert", "turned.csv", "-o", "said.csv", "--unit", "m", "--origin", "top")
                    name = "said.csv"
                self.expect_file(name, has_unit, hole, tolerance)

    @staticmethod
    def is_made_up(z):
        """Gwyddion fills holes from around; the hole's neighbours have 3.5 to 13 micrometres."""
        return 3.5 < z < 13

    def test_what_gwyddion_writes_is_read(self):
        self.let_gwyddion_write(self.TEXTS + self.PICTURES)
        self.expect_files(self.TEXTS, self.is_made_up)
        # Gwyddion rounds to a level, of which 65535 make the range.
        self.expect_files(self.PICTURES, self.is_made_up, tolerance=29.5 / 65535)

    def test_missing_samples_that_gwyddion_writes_are_missing(self):
        self.let_gwyddion_write(self.TEXTS, "--nan")
        self.expect_files(self.TEXTS, math.isnan)

    def test_picture_without_notes_needs_its_scale(self):
        self.let_gwyddion_write([("tiffcairo", "out.tif")])
        self.run_program("convert", "out.tif", "-o", "rows.csv", "--unit", "um", "--height-scale", repr(29.5 / 65535),
                         "--height-offset", "-14.5")
        rows = read_rows(self.path("rows.csv"))
        for row, wanted_row in zip(rows, format_samples.PLATE):
            for z, wanted in zip(row, wanted_row):
                self.assertTrue(self.is_made_up(z) if math.isnan(wanted) else abs(z - wanted) < 30 / 65535, (z, wanted))

    def test_first_row_is_where_gwyddion_says_its_own(self):
        self.let_gwyddion_write(self.TEXTS + self.PICTURES)
        for name in ("out.gsf", "out.sdf", "out.txt", "out.png"):
            self.assertEqual(self.run_json("info", name)["firstRow"], "top", name)


if __name__ == "__main__":
    if WHY_NOT:
        print("skipped: " + WHY_NOT)
        sys.exit(77)
    unittest.main()
