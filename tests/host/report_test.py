"""The report command: one page that needs nothing else, and says what was measured and done."""

import base64
import html.parser
import math
import os
import re
import unittest

from support import ProgramTest, SANITIZED, binary_stl, grid, sheet

TITLES = ["View in space", "Height map", "Contour map", "Histogram", "Bearing curve", "Section along x", "Section along y", "Spectrum"]


class Page(html.parser.HTMLParser):
    """Checks that tags are closed in order, and keeps texts, tables and pictures."""

    EMPTY = {"meta", "img"}

    def __init__(self, text):
        super().__init__()
        self.open, self.pictures, self.rows, self.items, self.references = [], [], [], [], []
        self.text = text
        self.feed(text)
        assert not self.open, self.open

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.references += [value for name, value in attributes.items() if name in ("src", "href")]
        if tag == "img":
            self.pictures.append((attributes["alt"], attributes["src"]))
        if tag == "tr":
            self.rows.append([])
        if tag == "td":
            self.rows[-1].append("")
        if tag == "li":
            self.items.append("")
        if tag not in self.EMPTY:
            self.open.append(tag)

    def handle_endtag(self, tag):
        assert self.open and self.open[-1] == tag, (tag, self.open)
        self.open.pop()

    def handle_data(self, text):
        if "td" in self.open:
            self.rows[-1][-1] += text
        if "li" in self.open:
            self.items[-1] += text

    def number(self, name):
        return next(row[1] for row in self.rows if row[0] == name)


class Report(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("map.csv", grid(80, 60, 0.01, self.height))
        self.write("holed.csv", grid(80, 60, 0.01, lambda x, y: None if 0.2 < x < 0.3 and y < 0.1 else self.height(x, y)))

    def height(self, x, y):
        return 0.001 * math.sin(2 * math.pi * x / 0.2) + 0.0004 * math.cos(2 * math.pi * y / 0.1) + 0.01 * x

    def page(self, *arguments, **kinds):
        self.run_program("report", *arguments, "-o", "out.html", **kinds)
        with open(self.path("out.html"), encoding="utf-8") as file:
            return Page(file.read())

    def test_everything_is_inside(self):
        page = self.page("map.csv")
        self.assertEqual([title for title, _ in page.pictures], TITLES)
        self.assertEqual(len(page.references), len(TITLES))
        for reference in page.references:
            kind, data = re.fullmatch(r"data:image/(png|svg\+xml);base64,([A-Za-z0-9+/=]+)", reference).groups()
            data = base64.b64decode(data, validate=True)
            self.assertTrue(data.startswith(b"\x89PNG") if kind == "png" else data.rstrip().endswith(b"</svg>"))
        with open(self.path("out.html"), encoding="utf-8") as file:
            text = file.read()
        self.assertNotIn("http", text)
        self.assertNotIn("<script", text)
        self.assertIn("@media print", text)

    def test_numbers_are_those_of_stats(self):
        page = self.page("map.csv")
        for line in self.run_program("stats", "map.csv").stdout.splitlines():
            name = line.split("  ")[0]
            if name in ("Sa", "Sq", "Sp", "Sv", "Sz", "Ssk", "Sku", "ten-point height"):
                self.assertIn(page.number(name), line)
        self.assertEqual(page.number("Samples"), "80 × 60")
        self.assertEqual(page.number("Sample spacing"), "10 × 10 µm")
        self.assertEqual(page.number("Missing samples"), "0 (0.00 %)")

    def test_every_step_is_told_with_its_parameters(self):
        steps = "level | stats before | fill | gaussian 60um residual | unfill | section row 20"
        page = self.page("holed.csv", "--steps", steps, "--title", "A <b> & c")
        for step in steps.split(" | "):
            self.assertTrue(any(item.startswith(step + ":") for item in page.items), step)
        self.assertTrue(page.number("Missing samples, as read").endswith("%)"))
        piped = self.run_json("pipe", "holed.csv", steps + " | stats last")
        self.assertEqual(page.number("Samples, evaluated"), "%d × %d" % (piped["result"]["width"], piped["result"]["height"]))
        self.assertEqual(page.number("Missing samples, evaluated").split()[0], str(piped["result"]["missingSamples"]))
        self.assertAlmostEqual(float(page.number("before.Sku")), piped["results"]["before.Sku"], places=4)
        self.assertAlmostEqual(float(page.number("Sku")), piped["results"]["last.Sku"], places=3)
        with open(self.path("out.html"), encoding="utf-8") as file:
            text = file.read()
        self.assertIn("<h1>A &lt;b&gt; &amp; c</h1>", text)
        self.assertIn("filled from around", text)

    def test_how_the_file_was_understood_is_told(self):
        item = self.page("map.csv").items[0]
        self.assertIn("first row lies at the bottom; it states the unit of its heights.", item)
        item = self.page("map.csv", "--origin", "top", "--height-scale", "2", "--height-offset", "0.5", "--spacing", "0.25").items[0]
        for words in ("lies at the top", "a 1 in it was taken for a height of 2 mm", "0.5 mm was added", "taken to be 0.25 mm apart"):
            self.assertIn(words, item)
        self.write("plain.csv", b"1,2,4\n4,5,6\n7,9,9\n")
        page = self.page("plain.csv", "--unit", "um")
        self.assertIn("names no unit for its heights, µm was taken", page.items[0])
        self.assertIn("does not state how far its samples are apart, 1 µm was taken", page.items[0])
        self.assertEqual(page.number("Format"), "rows of numbers as text")

    def test_lines_of_a_fine_texture_are_those_of_a_smoothed_map(self):
        self.write("fine.csv", grid(160, 120, 0.01, lambda x, y: 0.01 * x * x + 0.002 * math.sin(300 * x) * math.cos(311 * y)))
        self.assertRegex(self.page("fine.csv").text, r"smoothed by two moving means of (\d+) × \1 samples")
        self.write("smooth.csv", grid(160, 120, 0.01, lambda x, y: 0.01 * math.sin(5 * x) * math.cos(4 * y)))
        text = self.page("smooth.csv").text
        self.assertNotIn("smoothed", text)
        self.assertRegex(text, r"Lines of equal height, \d+ µm apart\.")

    def test_two_runs_write_the_same(self):
        pages = []
        for _ in range(2):
            self.page("map.csv")
            with open(self.path("out.html"), "rb") as file:
                pages.append(file.read())
        self.assertEqual(pages[0], pages[1])

    def test_meshes_have_their_facts(self):
        page = self.page(self.write("sheet.stl", binary_stl(sheet(20))), "--nx", "64")
        self.assertEqual(page.number("Mesh"), "800 triangles")
        self.assertEqual(page.number("Mesh, extent"), "10 × 10 mm")

    @unittest.skipIf(SANITIZED, "with the sanitizer's preloads a program without a PATH does not start")
    def test_without_opengl_the_plots_remain_and_the_reason_is_told(self):
        nowhere = {"__EGL_VENDOR_LIBRARY_FILENAMES": "/none.json", "DISPLAY": "", "PATH": "/nonexistent"}
        page = self.page("map.csv", env=nowhere)
        self.assertEqual([title for title, _ in page.pictures], TITLES[3:])
        self.assertTrue(any("not drawn" in item for item in page.items))

    def test_flat_surfaces(self):
        self.write("flat.csv", grid(20, 20, 0.01, lambda x, y: 2.0))
        page = self.page("flat.csv")
        self.assertEqual(page.number("Sal, Str"), "-")

    def test_wrong_use(self):
        self.run_program("report", "map.csv", status=1)
        self.run_program("report", "map.csv", "-o", "out.pdf", status=1)
        self.assertIn("gaussian", self.run_program("report", "map.csv", "-o", "o.html", "--steps", "gausian 1", status=1).stderr)
        self.run_program("report", "map.csv", "-o", "o.html", "--steps", "max 71", status=1)
        self.run_program("report", "none.csv", "-o", "o.html", status=2)
        self.run_program("report", "map.csv", "-o", "no/such/o.html", status=2)
        self.assertFalse(os.path.exists(self.path("o.html")))
        report = self.run_json("report", "map.csv", "-o", "o.html")
        self.assertEqual((report["steps"], report["pictures"], report["written"]), (["level"], 8, ["o.html"]))


if __name__ == "__main__":
    unittest.main()
