"""docs/pipeline.md: it has every step with its parameters, and its examples run. What it calls the same is the same: a command
so marked gives the file, or the numbers, of the last pipeline before it."""

import math
import os
import re
import shlex
import unittest

from support import ProgramTest, grid, read_rows

PAGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "docs", "pipeline.md")
WAYS = {"kept", "spread", "passed over", "refused"}


def page():
    with open(PAGE, encoding="utf-8") as file:
        return file.read()


def sections():
    """Name with parameters, and text, of every step."""
    parts = re.split(r"(?m)^##+ (.*)$", page())
    return [(title.strip("`"), text) for title, text in zip(parts[1::2], parts[2::2]) if title.startswith("`")]


def surface(hole=lambda x, y: False, height_there=None):
    def height_at(x, y):
        if hole(x, y):
            return height_there
        return 0.001 * math.sin(2 * math.pi * x / 0.3) + 0.0004 * math.cos(2 * math.pi * y / 0.05) + 0.02 * x
    return grid(120, 90, 0.01, height_at)


def leaves(json):
    """Every number of a report by its own name."""
    found = {}
    for key, value in json.items():
        if isinstance(value, dict):
            found.update(leaves(value))
        else:
            found[key] = value
    return found


class Page(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("map.csv", surface())
        self.write("holes.csv", surface(lambda x, y: 0.3 < x < 0.4 and 0.2 < y < 0.3))
        one = lambda x, y: (round(100 * x), round(100 * y)) == (35, 25)
        self.write("hole.csv", surface(one))
        self.write("spike.csv", surface(one, 0.5))

    def listed(self):
        """Name and parameters of every step that the program knows, in its order."""
        lines = self.run_program("pipe", "--list").stdout.splitlines()
        return [line[2:53].strip() for line in lines]

    def test_every_step_is_there_with_its_parameters(self):
        self.assertGreater(len(self.listed()), 20)
        self.assertEqual([title for title, _ in sections()], self.listed())

    def test_every_step_has_an_example_of_its_own(self):
        for title, text in sections():
            name = title.split()[0]
            self.assertRegex(text, rf"(?m)^qv3d pipe \S+ '(.*\| )?{re.escape(name)}\b", title)

    def test_missing_samples_fare_as_the_page_says(self):
        for title, text in sections():
            name = title.split()[0]
            said = {way for way in WAYS if re.search(rf"(?i)(^|\. |\n){way}[.,]", text)}
            if name in ("fill", "unfill", "render"):
                continue
            with self.subTest(name):
                self.assertEqual(len(said), 1, text)
                self.assertEqual(said, {self.way_of(name)})

    def way_of(self, name):
        """How one missing sample fares that is a spike in a whole map."""
        parameters = {"scale": "2", "offset": "1", "crop": "0 0 1.1 0.8", "trim": "20um", "resample": "239x179", "gaussian": "0.15",
                      "spline": "0.15", "circle": "0.4", "low-pass": "0.2", "high-pass": "0.2", "section": "row 25",
                      "write": "o.csv"}
        windows = {"mean", "min", "max", "median", "rank", "laplacian"}
        step = f"{name} {parameters.get(name, '5' if name in windows else '')}"
        result = self.run_program("pipe", "hole.csv", step, status=None)
        if result.returncode == 1:
            self.assertIn("samples are missing", result.stderr)
            return "refused"
        report = self.run_json("pipe", "hole.csv", step + " | write with.csv")
        whole = self.run_json("pipe", "spike.csv", step + " | write without.csv")
        self.assertEqual(whole["result"]["missingSamples"], 0)
        if report["results"]:
            self.assertNotEqual(report["results"], whole["results"])
            return "passed over"
        missing = report["result"]["missingSamples"]
        self.assertGreater(missing, 0)
        if missing > 1:
            return "spread"
        others = [(a, b) for rows in zip(read_rows(self.path("with.csv")), read_rows(self.path("without.csv")))
                  for a, b in zip(*rows) if not math.isnan(a)]
        return "kept" if all(a == b for a, b in others) else "passed over"

    def test_examples_run_and_what_is_called_the_same_is(self):
        lines = [line for block in re.findall(r"(?ms)^```sh\n(.*?)^```", page()) for line in block.splitlines()]
        self.assertGreater(len(lines), 40)
        piped, same = None, 0
        for line in lines:
            program, *words = shlex.split(line, comments=True)
            self.assertEqual(program, "qv3d")
            with self.subTest(line):
                if line.endswith("# the same"):
                    self.expect_same(piped, words)
                    same += 1
                else:
                    self.run_program(*words)
                    piped = words if words[0] == "pipe" else piped
        self.assertGreater(same, 20)

    def expect_same(self, piped, words):
        report = self.run_json(*piped)
        other = self.run_json(*words)
        if report["written"]:
            name = next(word for word in reversed(words) if word.startswith("same."))
            self.expect_same_file(report["written"][-1], name)
            return
        numbers = leaves(other)
        numbers["missing"] = numbers.get("missingSamples")
        self.assertTrue(report["results"])
        for key, value in report["results"].items():
            self.assertEqual(value, numbers[key], key)

    def expect_same_file(self, piped, name):
        if name.endswith(".png"):
            with open(self.path(piped), "rb") as one, open(self.path(name), "rb") as two:
                self.assertEqual(one.read(), two.read())
            return
        one, two = read_rows(self.path(piped)), read_rows(self.path(name))
        self.assertEqual((len(one), len(one[0])), (len(two), len(two[0])))
        for a, b in ((a, b) for rows in zip(one, two) for a, b in zip(*rows)):
            # A float more or less, where heights are scaled in another precision.
            self.assertTrue(math.isnan(b) if math.isnan(a) else abs(a - b) <= 2**-22 * max(abs(a), 1e-3), (a, b))


if __name__ == "__main__":
    unittest.main()
