"""The pipe command: steps in a row against the commands that do one each, refusals, and many files in one table."""

import csv
import io
import json
import math
import os
import unittest

from support import ProgramTest, binary_stl, grid, png_size, read_rows, sheet


class PipeTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("map.csv", self.surface())

    def surface(self, width=120, height=90, hole=False, scale=1.0):
        def height_at(x, y):
            if hole and 0.3 < x < 0.4 and 0.2 < y < 0.3:
                return None
            return scale * (0.001 * math.sin(2 * math.pi * x / 0.3) + 0.0004 * math.cos(2 * math.pi * y / 0.05) + 0.02 * x)
        return grid(width, height, 0.01, height_at)

    def pipe(self, steps, *arguments, file="map.csv"):
        return self.run_json("pipe", file, steps, *arguments)

    def refuse(self, steps, *words, file="map.csv", status=1):
        text = self.run_program("pipe", file, steps, status=status).stderr
        for word in words:
            self.assertIn(word, text, steps)
        return text


class SameAsCommands(PipeTest):
    def assert_same(self, steps, *command):
        self.pipe(steps + " | write piped.csv")
        self.run_program(*command, "-o", "alone.csv")
        piped, alone = read_rows(self.path("piped.csv")), read_rows(self.path("alone.csv"))
        self.assertEqual((len(piped), len(piped[0])), (len(alone), len(alone[0])))
        self.assertEqual(piped, alone, steps)
        os.remove(self.path("piped.csv"))

    def test_filters(self):
        for name, parameter in (("mean", "5"), ("min", "3"), ("max", "5"), ("median", "7"), ("rank", "5"), ("laplacian", "3"),
                                ("gaussian", "0.15"), ("spline", "0.15"), ("circle", "0.4")):
            self.assert_same(f"level | {name} {parameter}", "filter", "map.csv", f"--{name}", parameter)
        self.assert_same("level | binomial", "filter", "map.csv", "--binomial")
        self.assert_same("level | gaussian 0.15 keep-edges", "filter", "map.csv", "--gaussian", "0.15", "--keep-edges")

    def test_residual_is_that_of_the_command(self):
        self.run_program("filter", "map.csv", "--gaussian", "0.15", "-o", "smooth.csv", "--residual", "alone.csv")
        self.pipe("level | gaussian 0.15 residual | write piped.csv")
        self.assertEqual(read_rows(self.path("piped.csv")), read_rows(self.path("alone.csv")))

    def test_frequencies_and_samples(self):
        self.assert_same("level | low-pass 0.2", "fft-filter", "map.csv", "--low-pass", "--cutoff", "0.2")
        self.assert_same("level | high-pass 0.2 butterworth", "fft-filter", "map.csv", "--high-pass", "--cutoff", "0.2", "--kind",
                         "butterworth")
        self.assert_same("resample 60x40", "resample", "map.csv", "--nx", "60", "--ny", "40")
        self.assert_same("resample 60", "resample", "map.csv", "--nx", "60")
        self.assert_same("resample 20um", "resample", "map.csv", "--spacing", "0.02")
        self.assert_same("resample 60x45 bicubic", "resample", "map.csv", "--nx", "60", "--ny", "45", "--bicubic")

    def test_numbers(self):
        found = self.pipe("level | stats | section y 0.4 | spectrum | autocorrelate")["results"]
        stats = self.run_json("stats", "map.csv")["statistics"]
        for name in ("Sa", "Sq", "Sz", "Ssk", "Sku", "tenPointHeight"):
            self.assertEqual(found[name], stats[name])
        section = self.run_json("section", "map.csv", "--y", "0.4")["statistics"]
        for name in ("Pa", "Pq", "Pt", "Pku"):
            self.assertEqual(found[name], section[name])
        wave = self.run_json("spectrum", "map.csv")["dominant"]
        for name in ("wavelength", "amplitude", "direction"):
            self.assertEqual(found[name], wave[name])
        self.assertAlmostEqual(wave["wavelength"], 0.3, delta=0.01)
        text = self.run_program("autocorrelate", "map.csv").stdout
        self.assertIn(f"{found['Sal'] * 1000:.4g} µm", text)

    def test_filled_holes_come_back(self):
        self.write("holed.csv", self.surface(hole=True))
        self.run_program("filter", "holed.csv", "--gaussian", "0.15", "--fill", "-o", "alone.csv")
        self.pipe("level | fill | gaussian 150um | unfill | write piped.csv", file="holed.csv")
        piped, alone = read_rows(self.path("piped.csv")), read_rows(self.path("alone.csv"))
        self.assertEqual(str(piped), str(alone))  # which has "nan" where numbers are missing
        self.assertIn("nan", str(piped))


class SingleSteps(PipeTest):
    def assert_same(self, step, *parameters, file="map.csv"):
        self.pipe(" ".join((step, *parameters)) + " | write piped.csv", file=file)
        self.run_program(step, file, *parameters, "-o", "alone.csv")
        with open(self.path("piped.csv"), "rb") as piped, open(self.path("alone.csv"), "rb") as alone:
            self.assertEqual(piped.read(), alone.read(), step)

    def test_every_step_that_makes_a_map_is_a_command(self):
        self.write("holed.csv", self.surface(hole=True))
        for step in (("level",), ("centre",), ("invert",), ("scale", "-2.5"), ("offset", "-3um"), ("crop", "0.1", "0.2", "30samples", "40samples"),
                     ("trim", "50um"), ("mean", "5"), ("min", "3"), ("max", "50um"), ("median", "5"), ("rank", "5"), ("laplacian", "3"),
                     ("binomial",), ("gaussian", "0.15mm", "residual"), ("spline", "150um"), ("circle", "0.4"), ("low-pass", "0.2", "ideal"),
                     ("high-pass", "200", "um")):
            self.assert_same(*step)
        for step in (("fill",), ("fill", "lowest"), ("fill", "-1um"), ("mean", "3")):
            self.assert_same(*step, file="holed.csv")

    def test_each_step_of_the_list_has_a_command(self):
        steps = [line.split()[0] for line in self.run_program("pipe", "--list").stdout.splitlines()]
        self.assertIn("circle", steps)
        # "unfill" is the option --fill of a single step, "write" is the command convert.
        for step in set(steps) - {"unfill", "write"}:
            self.run_program(step, "--help")

    def test_holes_are_put_back(self):
        self.write("holed.csv", self.surface(hole=True))
        self.assertIn("missing", self.run_program("gaussian", "holed.csv", "150um", "-o", "a.csv", status=1).stderr)
        self.run_program("gaussian", "holed.csv", "150um", "--fill", "-o", "a.csv")
        self.pipe("fill | gaussian 150um | unfill | write b.csv", file="holed.csv")
        with open(self.path("a.csv"), "rb") as a, open(self.path("b.csv"), "rb") as b:
            self.assertEqual(a.read(), b.read())

    def test_many_outputs_and_wrong_use(self):
        report = self.run_json("trim", "-o", "a.sdf", "map.csv", "5samples", "-o", "{stem}_b.png")
        self.assertEqual(report["written"], ["a.sdf", "map_b.png"])
        for arguments, word in ((("gaussian", "map.csv", "-o", "a.csv"), "needs a length"), (("level", "map.csv"), "--output"),
                                (("level", "map.csv", "-o", "map.csv"), "to be read"), (("trim", "map.csv", "5samples | level", "-o", "a.csv"), "one step"),
                                (("median", "map.csv", "4", "-o", "a.csv"), "odd"), (("level", "map.csv", "-o", "a.doc"), "must end in")):
            self.assertIn(word, self.run_program(*arguments, status=1).stderr)

    def test_the_first_row_may_lie_on_top(self):
        self.run_program("invert", "map.csv", "--origin", "top", "-o", "alone.csv")
        self.pipe("invert | write piped.csv", "--origin", "top")
        rows = read_rows(self.path("map.csv"))
        self.assertEqual(read_rows(self.path("alone.csv")), [[-h for h in row] for row in reversed(rows)])
        self.assertEqual(read_rows(self.path("piped.csv")), read_rows(self.path("alone.csv")))


class Steps(PipeTest):
    def rows(self, steps, file="map.csv"):
        self.pipe(steps + " | write out.csv", file=file)
        rows = read_rows(self.path("out.csv"))
        os.remove(self.path("out.csv"))
        return rows

    def test_heights_are_moved(self):
        plain = read_rows(self.path("map.csv"))
        for steps, change in (("invert", lambda h: -h), ("scale 2.5", lambda h: 2.5 * h), ("offset 3um", lambda h: h + 0.003),
                              ("offset -0.5", lambda h: h - 0.5), ("scale 1000 | offset 2mm", lambda h: 1000 * h + 2)):
            for new, old in zip(self.rows(steps), plain):
                for a, b in zip(new, old):
                    self.assertAlmostEqual(a, change(b), places=5, msg=steps)
        values = [h for row in self.rows("centre") for h in row]
        self.assertAlmostEqual(sum(values) / len(values), 0, places=7)

    def test_parts_are_cut(self):
        plain = read_rows(self.path("map.csv"))
        self.assertEqual(self.rows("crop 10samples 20samples 30samples 40samples"), [row[10:40] for row in plain[20:60]])
        self.assertEqual(self.rows("crop 0.1 0.2mm 300um 400 um"), [row[10:40] for row in plain[20:60]])
        self.assertEqual(self.rows("trim 5samples"), [row[5:-5] for row in plain[5:-5]])
        self.assertEqual(self.rows("trim 50um | trim 0.05mm"), [row[10:-10] for row in plain[10:-10]])
        # What is cut twice lies where it lay.
        result = self.pipe("crop 10samples 20samples 30samples 40samples | section y 0.25 | section x 0.2 across")
        self.assertAlmostEqual(result["result"]["firstX"], 0.1)
        self.assertEqual((result["result"]["width"], result["result"]["height"]), (30, 40))

    def test_fill(self):
        self.write("holed.csv", self.surface(hole=True))
        holed = read_rows(self.path("holed.csv"))
        lowest = min(h for row in holed for h in row if h == h)
        for steps, value in (("fill lowest", lowest), ("fill 7um", 0.007), ("fill -1", -1.0)):
            for new, old in zip(self.rows(steps, "holed.csv"), holed):
                for a, b in zip(new, old):
                    self.assertAlmostEqual(a, b if b == b else value, places=6)
        around = self.rows("fill around", "holed.csv")
        self.assertEqual(around, self.rows("fill", "holed.csv"))
        self.assertTrue(all(abs(h) < 0.03 for row in around for h in row))
        back = self.rows("fill | trim 3samples | median 3 | unfill", "holed.csv")
        holes = [(x, y) for y, row in enumerate(back) for x, h in enumerate(row) if h != h]
        self.assertEqual(holes, [(x - 4, y - 4) for y, row in enumerate(holed) for x, h in enumerate(row) if h != h])

    def test_windows_may_be_lengths(self):
        self.assertEqual(self.rows("mean 50um"), self.rows("mean 5"))
        self.assertEqual(self.rows("mean 5 samples"), self.rows("mean 5"))
        self.assertEqual(self.rows("mean 0.058mm"), self.rows("mean 5"))
        self.assertEqual(self.rows("spline 15samples"), self.rows("spline 150µm"))

    def test_named_results_stand_beside_each_other(self):
        found = self.pipe("stats raw | level | stats levelled | gaussian 0.15 residual | stats")["results"]
        self.assertGreater(found["raw.Sq"], found["levelled.Sq"])
        self.assertGreater(found["levelled.Sq"], found["Sq"])

    def test_pictures_are_drawn(self):
        report = self.pipe("level | render one_{stem}.png | gaussian 0.15 | render two.png sidelight")
        self.assertEqual(report["written"], ["one_map.png", "two.png"])
        for name in report["written"]:
            self.assertEqual(png_size(self.path(name)), (1600, 1000))
        self.run_program("render", "map.csv", "-o", "alone.png")
        with open(self.path("alone.png"), "rb") as alone, open(self.path("one_map.png"), "rb") as piped:
            self.assertEqual(alone.read(), piped.read())

    def test_text_tells_steps_and_numbers_with_units(self):
        text = self.run_program("pipe", "map.csv", " level|gaussian  150um | stats | write \"a b.csv\" ").stdout
        self.assertIn("120 x 90 samples", text)
        self.assertIn("  2  gaussian  150um\n", text)
        self.assertIn("became 106 x 76 samples", text)
        self.assertRegex(text, r"Sa +[\d.]+ (µm|nm)\n")
        self.assertTrue(text.endswith("wrote a b.csv\n"))
        self.assertTrue(os.path.exists(self.path("a b.csv")))

    def test_list_and_help_name_all_steps(self):
        for text in (self.run_program("pipe", "--list").stdout, self.run_program("pipe", "--help").stdout):
            for step in ("level", "fill", "unfill", "crop", "trim", "mean", "min", "max", "median", "rank", "laplacian", "binomial",
                         "gaussian", "spline", "circle", "low-pass", "high-pass", "resample", "invert", "offset", "scale", "stats",
                         "spectrum", "autocorrelate", "section", "write", "render"):
                self.assertRegex(text, rf"(?m)^  {step} ", step)


class Refusals(PipeTest):
    def test_text_faults_show_step_and_place(self):
        for steps, message, place in (
                ("level | gausian 0.8mm", "gaussian", 8), ("level | | stats", "no step", 8), ("level |", "behind the last bar", 7),
                ("| level", "before", 0), ("", "no step at all", 0), ("level | mean 4", "odd", 8), ("mean", "number of samples", 4),
                ("mean 5 6", "does not take", 7), ("median 2.5", "odd", 0), ("gaussian 0.8parsec", "unknown unit", 9),
                ("gaussian much", "no number", 9), ("gaussian -1", "greater than 0", 9), ("spline 0", "greater than 0", 7),
                ("crop 1 2 3", "height", 10), ("resample 1x5", "65536", 9), ("resample 2.5", "65536", 9),
                ("section z 3", "none of", 8), ("section row 1.5", "whole number", 12), ("section row 5um", "whole number", 12),
                ("scale big", "factor", 6), ("offset 3samples", "samples", 7), ("write out.doc", ".csv", 0), ("render a.jpg", ".png", 7),
                ("render a.png oil", "no style", 13), ("write \"a.csv", "quote", 6), ("stats | level | stats", "name", 16),
                ("low-pass 0.3 sharp", "does not take", 13), ("fill deep", "does not take", 5)):
            text = self.refuse(steps, message)
            lines = text.splitlines()
            caret = next(i for i, line in enumerate(lines) if line.strip() == "^")
            self.assertEqual(lines[caret - 1], "  " + steps)
            self.assertEqual(lines[caret].index("^") - 2, place, steps)
        self.assertIn("step 3:", self.refuse("level | centre | gausian 1"))

    def test_what_the_grid_does_not_allow_is_told_before_any_work(self):
        self.write("holed.csv", self.surface(hole=True))
        for steps, message in (("max 91", "too large"), ("gaussian 0.01", "smooths nothing"), ("gaussian 9", "larger than the grid"),
                               ("gaussian 0.85", "nothing is left"), ("spline 0.02", "apart"), ("circle 5um", "touches every sample"),
                               ("low-pass 50", "two samples"), ("crop 0 0 5 5", "inside a grid"), ("trim 45samples", "inside a grid"),
                               ("trim 20samples | max 51", "too large"), ("resample 10 | median 9", "too large"),
                               ("section row 90", "outside"), ("unfill", "nothing was filled"), ("resample 1nm", "samples"),
                               ("fill | resample 60 | unfill", "resampled")):
            text = self.refuse("write early.csv | " + steps, message, "step ")
            self.assertNotIn("--", text)
            self.assertFalse(os.path.exists(self.path("early.csv")), steps)
        for steps in ("gaussian 0.15", "median 3", "spectrum", "low-pass 0.2", "fill | unfill | spline 0.2"):
            self.refuse(steps, "missing", "fill", file="holed.csv")

    def test_nothing_and_heights_beyond_measure_are_told(self):
        self.write("holed.csv", self.surface(hole=True))
        hole = "crop 32samples 22samples 5samples 5samples"
        for steps in (hole, hole + " | fill", hole + " | write none.csv", hole + " | level"):
            self.refuse(steps, "every sample is missing", "step 1", file="holed.csv", status=4)
        self.refuse("level | scale 1e30", "step 2", "more than can be measured", status=4)
        self.refuse("offset 1e39", "more than can be measured", status=4)
        self.refuse("fill -1e10", "stands for a missing sample", file="holed.csv")
        self.assertFalse(os.path.exists(self.path("none.csv")))

    def test_where_nothing_was_filled_no_hole_comes_back(self):
        self.assertEqual(self.pipe("fill | median 3 | unfill | spline 0.2 | stats")["results"]["missing"], 0)

    def test_wrong_use(self):
        self.run_program("pipe", status=1)
        self.run_program("pipe", "map.csv", status=1)
        self.run_program("pipe", "map.csv", "stats", "--csv", "--jsonl", status=1)
        self.refuse("stats", "none.csv", file="none.csv", status=2)
        self.refuse("write map.csv", "files to be read")
        self.refuse("write a.csv | level | write a.csv", "written before")
        self.refuse("write no/such/folder.csv", "folder.csv", status=2)
        self.assertEqual(self.run_json("pipe", "none.csv", "stats", status=2)["error"]["exitCode"], 2)


class ManyFiles(PipeTest):
    def setUp(self):
        super().setUp()
        for number in range(3):
            self.write(f"part{number}.csv", self.surface(width=60 + number, scale=1 + number))
        self.write("broken.csv", b"1,2\n3\n")
        self.write("holed.csv", self.surface(hole=True))
        self.write("sheet.stl", binary_stl(sheet(20)))

    def table(self, text):
        return list(csv.DictReader(io.StringIO(text)))

    def test_one_row_per_file_and_the_worst_status(self):
        result = self.run_program("pipe", "part0.csv", "broken.csv", "none.csv", "part*.csv", "sheet.stl", "level | stats", "--nx",
                                  "30", status=1)
        rows = self.table(result.stdout)
        # --nx is not for height maps.
        self.assertEqual([row["exitCode"] for row in rows], ["1", "1", "1", "1", "1", "1", "0"])
        result = self.run_program("pipe", "part0.csv", "broken.csv", "none.csv", "part*.csv", "sheet.stl", "level | stats", status=3)
        rows = self.table(result.stdout)
        self.assertEqual([row["file"] for row in rows],
                         ["part0.csv", "broken.csv", "none.csv", "part0.csv", "part1.csv", "part2.csv", "sheet.stl"])
        self.assertEqual([row["exitCode"] for row in rows], ["0", "3", "2", "0", "0", "0", "0"])
        self.assertIn("broken.csv", rows[1]["message"])
        self.assertEqual(rows[1]["Sa"], "")
        self.assertEqual(rows[0]["message"], "")
        for row in rows[3:6]:
            alone = self.run_json("stats", row["file"])
            self.assertEqual(float(row["Sq"]), alone["statistics"]["Sq"])
            self.assertEqual(int(row["width"]), alone["grid"]["width"])
        self.assertIn("broken.csv", result.stderr)

    def test_json_lines(self):
        result = self.run_program("pipe", "part*.csv", "holed.csv", "gaussian 0.1 | stats", "--jsonl", status=1)
        rows = [json.loads(line) for line in result.stdout.splitlines()]
        self.assertEqual([row["exitCode"] for row in rows], [0, 0, 0, 1])
        self.assertIn("fill", self.run_program("pipe", "holed.csv", "gaussian 0.1", status=1).stderr)
        self.assertIsNone(rows[0]["message"])
        self.assertIn("missing", rows[3]["message"])
        self.assertGreater(rows[2]["Sq"], rows[0]["Sq"])
        one = json.loads(self.run_program("pipe", "map.csv", "stats", "--jsonl").stdout)
        self.assertEqual(one["file"], "map.csv")

    def test_outputs_need_a_stem_and_get_it(self):
        self.refuse_many("write out.csv", "{stem}")
        self.run_program("pipe", "part*.csv", "level | write {stem}_flat.csv | render {stem}.png map")
        for number in range(3):
            self.assertEqual(len(read_rows(self.path(f"part{number}_flat.csv"))[0]), 60 + number)
            self.assertEqual(png_size(self.path(f"part{number}.png")), (1600, 1000))
        # Two inputs of one name would go to one output.
        os.mkdir(self.path("other"))
        self.write("other/part0.csv", self.surface())
        rows = self.table(self.run_program("pipe", "part0.csv", "other/part0.csv", "write {stem}_x.csv", status=1).stdout)
        self.assertEqual([row["exitCode"] for row in rows], ["0", "1"])

    def refuse_many(self, steps, word):
        self.assertIn(word, self.run_program("pipe", "part0.csv", "part1.csv", steps, status=1).stderr)

    def test_meshes_after_pictures(self):
        # The picture is drawn in a process of its own, so that the next import is not disturbed by a driver.
        self.write("other.stl", binary_stl(sheet(24)))
        rows = self.table(self.run_program("pipe", "sheet.stl", "other.stl", "--nx", "40", "level | render {stem}.png | stats").stdout)
        self.assertEqual([row["exitCode"] for row in rows], ["0", "0"])

    def test_stats_of_several_files(self):
        result = self.run_program("stats", "part*.csv", "none.csv", status=2)
        rows = self.table(result.stdout)
        self.assertEqual([row["exitCode"] for row in rows], ["0", "0", "0", "2"])
        self.assertEqual(float(rows[1]["Sa"]), self.run_json("stats", "part1.csv")["statistics"]["Sa"])
        lines = self.run_program("stats", "part0.csv", "part1.csv", "--jsonl").stdout.splitlines()
        self.assertEqual([json.loads(line)["file"] for line in lines], ["part0.csv", "part1.csv"])

    def test_names_with_commas_are_quoted(self):
        self.write('a,"b".csv', self.surface())
        rows = self.table(self.run_program("pipe", 'a,"b".csv', "stats", "--csv").stdout)
        self.assertEqual(rows[0]["file"], 'a,"b".csv')


if __name__ == "__main__":
    unittest.main()
