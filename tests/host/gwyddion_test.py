"""Exchange of height maps with Gwyddion, where that is installed: what qv3d writes is read there, and what Gwyddion
reads of the samples is what qv3d reads. Nothing of this is needed by the other tests."""

import os
import shutil
import struct
import subprocess
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


@unittest.skipIf(WHY_NOT, WHY_NOT)
class Exchange(ProgramTest):
    def in_gwyddion(self, name):
        """Rows of heights from the first in the file to the last, None where masked; and the field itself."""
        out = self.path("out.gwy")
        if os.path.exists(out):
            os.remove(out)
        subprocess.run([XVFB, "-a", GWYDDION, "--convert-to-gwy=" + out, self.path(name)], capture_output=True, timeout=120,
                       check=False, cwd=self.folder, env={**os.environ, "HOME": self.folder})
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


if __name__ == "__main__":
    if WHY_NOT:
        print("skipped: " + WHY_NOT)
    unittest.main()
