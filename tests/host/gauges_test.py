"""The gauges in examples/gauges: they are what the program writes, and have the parameters that their page states."""

import math
import os
import re
import shutil
import struct
import unittest

from support import ProgramTest

GAUGES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "examples", "gauges")
HEADER_BYTES = 81
ROUNDING = 2**-22  # of 32-bit floats: mathematical libraries differ in the last bit


def contents(path):
    with open(path, "rb") as file:
        content = file.read()
    return content[:HEADER_BYTES], [sample for sample, in struct.iter_unpack("<d", content[HEADER_BYTES:])]


def sdf_files(folder):
    return sorted(name for name in os.listdir(folder) if name.endswith(".sdf"))


def table(columns):
    """Rows of the page's table that has so many columns, without their quotes."""
    with open(os.path.join(GAUGES, "README.md"), encoding="utf-8") as file:
        lines = [line.strip() for line in file if line.startswith("| `")]
    rows = [[cell.strip().replace("\\|", "|").strip("`") for cell in re.split(r"(?<!\\)\|", line)[1:-1]] for line in lines]
    return [row for row in rows if len(row) == columns]


def value_of(formula):
    names = {"sqrt": math.sqrt, "pi": math.pi, "cot": lambda x: 1 / math.tan(x)}
    return eval(formula.replace("^", "**"), {"__builtins__": {}}, names)


class Gauges(ProgramTest):
    def test_files_are_what_the_program_writes(self):
        self.run_program("selftest", "--write-gauges", self.path("gauges"))
        names = sdf_files(GAUGES)
        self.assertEqual(names, sdf_files(self.path("gauges")))
        self.assertEqual(names, sorted(row[0] for row in table(3)))
        for name in names:
            with self.subTest(name):
                header, heights = contents(os.path.join(GAUGES, name))
                written_header, written = contents(os.path.join(self.path("gauges"), name))
                # The dates in it are always the same.
                self.assertEqual(header, written_header)
                self.assertEqual(len(heights), len(written))
                for z, w in zip(heights, written):
                    self.assertTrue(math.isnan(w) if math.isnan(z) else abs(z - w) <= ROUNDING * max(1, abs(w)), (z, w))

    def test_files_hold_what_the_page_says(self):
        for name, samples, _ in table(3):
            with self.subTest(name):
                report = self.run_json("info", os.path.join(GAUGES, name), "--unit", "um")
                grid = report["grid"]
                self.assertEqual("%d x %d" % (grid["width"], grid["height"]), samples)
                self.assertEqual((round(grid["spacingX"], 5), round(grid["spacingY"], 5)), (10, 10))
                self.assertTrue(all(report["stated"].values()))

    def test_parameters_are_those_of_the_page(self):
        wanted = {}
        for name, steps, *rest in table(6):
            wanted.setdefault((name, steps), []).append(rest)
        self.assertEqual({name for name, _ in wanted}, set(sdf_files(GAUGES)))
        for (name, steps), rows in wanted.items():
            shutil.copy(os.path.join(GAUGES, name), self.path(name))
            results = self.run_json("pipe", name, steps, "--unit", "um")["results"]
            for parameter, formula, value, within in rows:
                with self.subTest(f"{name}: {parameter} of {steps}"):
                    self.assertAlmostEqual(float(value), value_of(formula), delta=5e-7)
                    self.assertAlmostEqual(results[parameter], value_of(formula), delta=float(within))


if __name__ == "__main__":
    unittest.main()
