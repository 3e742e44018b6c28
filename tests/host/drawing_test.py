"""What the styles and options of drawing show, told from pixels."""

import json
import os
import unittest

from support import Picture, ProgramTest
from surfaces import WORKPIECE, height_map, workpiece

PAPER = (250, 250, 248)
MISSING = (205, 205, 205)
BUFFERED = ("texture", "surface", "grey", "sidelight", "normals", "slope")


class DrawingTest(ProgramTest):
    def draw(self, content, *arguments, size="240x180", name="out.png"):
        """A picture of a height map as it stands, without any text."""
        self.run_program("render", self.write("surface.csv", content), "-o", name, "--no-level", "--bare", "--size", size,
                         *arguments)
        return Picture(self.path(name))

    def from_above(self, content, *arguments, size="240x180", **named):
        return self.draw(content, "--elevation", 90, "--azimuth", 0, *arguments, size=size, **named)


def difference(a, b):
    """Mean and largest difference of two pictures."""
    steps = [abs(p - q) for one, two in zip(a.rows, b.rows) for p, q in zip(one, two)]
    return sum(steps) / len(steps), max(steps)


def brightness(pixel):
    return sum(pixel) / 3


def drawn_columns(picture):
    """From the first to the last column, in the middle row, that is not paper."""
    y = picture.height // 2
    columns = [x for x in range(picture.width) if picture.pixel(x, y) != PAPER]
    return columns[0], columns[-1]


class Strips(DrawingTest):
    def test_buffers_draw_what_the_immediate_mode_draws(self):
        for style in BUFFERED:
            for step in ("1", "3,2"):
                immediate = self.draw(WORKPIECE, "--style", style, "--step", step)
                buffers = self.draw(WORKPIECE, "--style", style, "--step", step, "--buffers")
                # Positions are rounded differently in the last bit.
                mean, _ = difference(immediate, buffers)
                self.assertLess(mean, 0.02, (style, step))

    def test_styles_that_have_no_buffers_say_so(self):
        for style in ("waterfall", "shadows", "map"):
            result = self.run_program("render", self.write("s.csv", WORKPIECE), "-o", "out.png", "--style", style,
                                      "--buffers", status=1)
            self.assertIn(style, result.stderr)

    def test_grey_levels_know_holes_and_both_ways_of_drawing_agree(self):
        whole = height_map(64, 48, lambda i, j: workpiece(i, j) or 0)
        # Without holes and with one step the library has a form of its own; otherwise index lists are drawn.
        one = self.draw(whole, "--style", "grey", "--step", "3")
        other = self.draw(whole, "--style", "grey", "--step", "3", "--buffers")
        self.assertLess(difference(one, other)[0], 0.25)
        holed = self.from_above(WORKPIECE, "--style", "grey", size="640x480")
        shown = self.from_above(WORKPIECE, "--style", "texture", size="640x480")
        hole = [(x, y) for y in range(480) for x in range(640) if shown.pixel(x, y) == MISSING]
        self.assertGreater(len(hole), 1000)
        self.assertEqual({holed.pixel(x, y) for x, y in hole}, {MISSING})

    def test_steps_may_differ_by_axis(self):
        fine, columns, rows, both = (self.draw(WORKPIECE, "--step", s) for s in ("1", "8,1", "1,8", "8,8"))
        pictures = [fine, columns, rows, both]
        for a in range(4):
            for b in range(a):
                self.assertGreater(difference(pictures[a], pictures[b])[0], 0.3, (a, b))

    def test_grey_is_grey_and_slope_is_not(self):
        for style, coloured in (("grey", False), ("surface", False), ("slope", True), ("shader", True)):
            colours = self.draw(WORKPIECE, "--style", style).colours()
            strong = sum(n for (r, g, b), n in colours.items() if max(r, g, b) - min(r, g, b) > 40)
            self.assertEqual(strong > 500, coloured, style)


class Clipping(DrawingTest):
    def test_clipped_samples_look_like_missing_ones(self):
        def within(i, j):
            z = workpiece(i, j)
            return z if z is not None and -1 <= z <= 3 else None

        for style in ("texture", "surface", "shadows", "map"):
            clipped = self.draw(WORKPIECE, "--style", style, "--clip", "-1,3")
            missing = self.draw(height_map(64, 48, within), "--style", style)
            self.assertEqual(clipped.rows, missing.rows, style)
        self.assertNotEqual(clipped.rows, self.draw(WORKPIECE, "--style", style).rows)

    def test_range_must_be_one_and_hold_something(self):
        file = self.write("s.csv", WORKPIECE)
        self.run_program("render", file, "-o", "out.png", "--clip", "3,-1", status=1)
        self.run_program("render", file, "-o", "out.png", "--clip", "1", status=1)
        self.run_program("render", file, "-o", "out.png", "--clip", "100,200", status=4)
        self.assertFalse(os.path.exists(self.path("out.png")))


class Light(DrawingTest):
    RIDGE = height_map(101, 61, lambda i, j: 10.0 if 40 <= i <= 42 else 0.0)

    def shadowed(self, *arguments):
        """Brightness along the middle row, by position in x from the middle of the surface, its width being 1."""
        picture = self.from_above(self.RIDGE, "--style", "shadows", "--z-scale", "1", *arguments, size="600x400")
        first, last = drawn_columns(picture)
        y = picture.height // 2
        return lambda x: brightness(picture.pixel(round(first + (x + 0.5) * (last - first)), y))

    def test_shadow_falls_behind_the_step_as_far_as_rays_reach(self):
        # The ridge is 0.1 high (lengths in widths) with its right edge at -0.08, the lamp 0.42 above the middle of the
        # heights and one to the left: the ray over the edge meets the ground 0.1/(0.42-0.05) * 0.92 behind it.
        at = self.shadowed("--light", "-1,0,0.42")
        end = -0.08 + 0.92 * 0.1 / (0.42 - 0.05)
        lit, dark = at(0.4), at(end - 0.03)
        self.assertLess(dark, 0.6 * lit)
        self.assertGreater(at(end + 0.03), 0.9 * lit)
        self.assertLess(at(-0.04), 0.6 * lit)
        self.assertGreater(at(-0.3), 0.9 * lit)

    def test_shadow_moves_to_the_other_side_with_the_lamp(self):
        at = self.shadowed("--light", "1,0,0.42")
        self.assertLess(at(-0.2), 0.6 * at(0.2))

    def test_every_way_of_counting_gives_the_same_shadows(self):
        ways = [self.draw(WORKPIECE, "--style", "shadows", "--shadow-count", way)
                for way in ("separate", "two-sides", "two-passes")]
        self.assertEqual(ways[0].rows, ways[2].rows)
        self.assertEqual(ways[1].rows, ways[2].rows)

    def test_lamp_inside_of_the_surface_or_below_it_is_a_usage_error(self):
        file = self.write("ridge.csv", self.RIDGE)
        for light in ("0,0,0", "0,0,-1", "-2,0,-1"):
            result = self.run_program("render", file, "-o", "out.png", "--style", "shadows", "--light", light, status=1)
            self.assertIn("--light", result.stderr)
        self.run_program("render", file, "-o", "out.png", "--style", "shadows", "--light", "1,2", status=1)

    def test_occlusion_darkens_the_groove(self):
        # A groove with a flat bottom: its light is that of the ground beside it, but less of the sky is seen.
        groove = height_map(81, 61, lambda i, j: -6.0 if 38 <= i <= 42 else 0.0)
        ratio = {}
        for style in ("surface", "texture", "occlusion", "skylight"):
            picture = self.from_above(groove, "--style", style, "--z-scale", "1", size="400x300")
            first, last = drawn_columns(picture)
            middle, y = (first + last) // 2, picture.height // 2
            ratio[style] = brightness(picture.pixel(middle, y)) / brightness(picture.pixel((first + middle) // 2, y))
        self.assertAlmostEqual(ratio["surface"], 1, delta=0.03)
        self.assertLess(ratio["occlusion"], 0.8)
        # This one is coloured by height as well.
        self.assertLess(ratio["skylight"], 0.8 * ratio["texture"])


class Lines(DrawingTest):
    RAMP = height_map(101, 61, lambda i, j: 0.1 * i)

    def test_contours_of_a_ramp_lie_evenly(self):
        plain = self.draw(self.RAMP, "--style", "map", size="400x300")
        lined = self.draw(self.RAMP, "--style", "map", "--contours", "5", size="400x300")
        first, last = drawn_columns(plain)
        y = plain.height // 2
        changed = [x for x in range(400) if difference_of(plain.pixel(x, y), lined.pixel(x, y)) > 25]
        starts = [x for x in changed if x - 1 not in changed]
        self.assertEqual(len(starts), 5)
        for k, x in enumerate(starts):
            self.assertAlmostEqual(x, first + (k + 0.5) / 5 * (last - first), delta=2.5)

    def test_contours_lie_on_every_style(self):
        for style in ("texture", "surface", "walls", "skylight"):
            plain = self.draw(WORKPIECE, "--style", style)
            lined = self.draw(WORKPIECE, "--style", style, "--contours", "6")
            darker = sum(brightness(plain.pixel(x, y)) - brightness(lined.pixel(x, y)) > 50
                         for y in range(180) for x in range(240))
            self.assertGreater(darker, 100, style)
            self.assertLess(darker, 6000, style)

    def runs(self, picture):
        """How often lines are met along the middle row and along the middle column."""
        def count(pixels):
            inked = [brightness(p) < 225 for p in pixels]
            return sum(b and not a for a, b in zip([False] + inked, inked))

        w, h = picture.width, picture.height
        return (count([picture.pixel(x, h // 2) for x in range(w)]), count([picture.pixel(w // 2, y) for y in range(h)]))

    def test_waterfall_shows_rows_or_columns_by_the_angle(self):
        for arguments, rows in ((["--waterfall-angle", "0"], True), (["--waterfall-angle", "90"], False),
                                (["--waterfall-angle", "180"], True), (["--waterfall-angle", "-60"], False), ([], True)):
            picture = self.from_above(self.RAMP, "--style", "waterfall", "--step", "6", *arguments, size="600x400")
            across, along = self.runs(picture)
            self.assertEqual(along > across, rows, arguments)
            self.assertEqual(max(along, across), 11 if rows else 17)

    def test_silhouette_has_wires_both_ways(self):
        picture = self.from_above(self.RAMP, "--style", "silhouette", "--step", "20,12", size="600x400")
        self.assertEqual(self.runs(picture), (6, 6))

    def test_walls_are_those_of_the_library_and_reach_the_base(self):
        picture = self.draw(WORKPIECE, "--style", "walls", "--azimuth", "0", "--elevation", "10")
        x = picture.width // 2
        column = [picture.pixel(x, y) for y in range(picture.height)]
        lowest = max(y for y, p in enumerate(column) if p != PAPER)
        wall = column[lowest - 4]
        self.assertLess(max(wall) - min(wall), 8)
        self.assertLess(brightness(wall), 130)


def difference_of(a, b):
    return max(abs(p - q) for p, q in zip(a, b))


class Backgrounds(DrawingTest):
    def test_checkerboard_lies_behind_the_surface_only(self):
        for style in ("texture", "map"):
            plain = self.draw(WORKPIECE, "--style", style)
            checker = self.draw(WORKPIECE, "--style", style, "--background", "checker")
            squares = {checker.pixel(x, 2) for x in range(0, 40, 10)}
            self.assertEqual(len(squares), 2, style)
            inside = [(x, y) for y in range(180) for x in range(240)
                      if plain.pixel(x, y) == checker.pixel(x, y) and plain.pixel(x, y) != PAPER]
            self.assertGreater(len(inside), 6000)
            for y in range(180):
                for x in range(240):
                    if plain.pixel(x, y) == PAPER:
                        self.assertIn(checker.pixel(x, y), squares)

    def test_scales_leave_the_drawing_clear_and_bare_leaves_them_out(self):
        file = self.write("s.csv", WORKPIECE)
        self.run_program("render", file, "-o", "full.png", "--size", "240x180")
        bare = self.draw(WORKPIECE)
        self.assertNotEqual(Picture(self.path("full.png")).rows, bare.rows)


class References(DrawingTest):
    def test_the_same_picture_passes_and_another_does_not(self):
        self.draw(WORKPIECE, name="old.png")
        file = self.path("surface.csv")
        common = ["render", file, "-o", "new.png", "--no-level", "--bare", "--size", "240x180", "--reference", "old.png"]
        same = self.run_json(*common, "--threshold", "0,0")["reference"]
        self.assertEqual((same["meanDifference"], same["maxDifference"], same["within"]), (0, 0, True))
        other = self.run_json(*common, "--style", "slope", "--threshold", "0.5", status=4)["reference"]
        expected = difference(Picture(self.path("old.png")), Picture(self.path("new.png")))
        self.assertAlmostEqual(other["meanDifference"], expected[0], places=9)
        self.assertEqual(other["maxDifference"], expected[1])
        self.assertFalse(other["within"])
        shown = Picture(self.path(other["difference"]))
        self.assertEqual((shown.width, shown.height), (240, 180))
        self.assertEqual(max(max(row) for row in shown.rows), 255)
        text = self.run_program(*common, "--style", "slope", "--threshold", "255,255").stdout
        self.assertRegex(text, r"mean difference \d+\.\d+, max \d+")
        # The largest difference counts only where it is asked for.
        self.run_program(*common, "--style", "slope", "--threshold", f"255,{expected[1] - 1}", status=4)

    def test_what_cannot_be_compared_is_told(self):
        self.draw(WORKPIECE, name="old.png")
        file = self.path("surface.csv")
        self.write("text.png", b"no picture")
        for reference, size, status in (("old.png", "320x180", 4), ("text.png", "240x180", 3), ("none.png", "240x180", 2)):
            self.run_program("render", file, "-o", "new.png", "--size", size, "--reference", reference, status=status)
        self.run_program("render", file, "-o", "new.png", "--threshold", "1", status=1)


class Picking(DrawingTest):
    def pick(self, content, x, y, *arguments, status=0, size="640x480"):
        file = self.write("surface.csv", content)
        return self.run_json("pick", file, x, y, "--no-level", "--bare", "--size", size, *arguments, status=status)

    def test_peak_is_found_where_it_is_seen(self):
        # A bowl upside down: only its top faces upwards, and the style normals shows where that is.
        dome = height_map(64, 48, lambda i, j: 5 - 0.01 * ((i - 22)**2 + (j - 30)**2))
        for view in ((), ("--azimuth", "110", "--elevation", "60"), ("--zoom", "1.5", "--elevation", "50"),
                     ("--azimuth", "200", "--elevation", "90")):
            picture = self.draw(dome, "--style", "normals", "--z-scale", "3", *view, size="640x480")
            up = [(x, y) for y in range(480) for x in range(640)
                  if difference_of(picture.pixel(x, y), (128, 128, 255)) <= 5]
            x, y = (round(sum(v) / len(up)) for v in zip(*up))
            sample = self.pick(dome, x, y, "--style", "normals", "--z-scale", "3", *view)["sample"]
            self.assertEqual((sample["column"], sample["row"], sample["exactly"]), (22, 30, True), view)
            self.assertAlmostEqual(sample["height"], 5, places=5)
            self.assertAlmostEqual(sample["y"], 30, places=4)

    def test_nothing_hidden_is_picked(self):
        wall = height_map(41, 41, lambda i, j: 12.0 if j == 15 else 0.0)
        view = ("--azimuth", "0", "--elevation", "15", "--z-scale", "1")
        rows = []
        for y in range(20, 480, 6):
            result = self.run_program("pick", self.write("w.csv", wall), 320, y, "--no-level", "--bare", "--size", "640x480",
                                      "--json", *view, status=None)
            if result.returncode == 0:
                rows.append(json.loads(result.stdout)["sample"]["row"])
        # From the back to the front; what lies right behind the wall is not seen.
        self.assertEqual(rows, sorted(rows, reverse=True))
        self.assertIn(15, rows)
        self.assertIn(0, rows)
        self.assertFalse({17, 18, 19, 20, 25} & set(rows))

    def test_map_is_picked_in_straight_proportion(self):
        ramp = height_map(41, 31, lambda i, j: i + 100 * j)
        picture = self.draw(ramp, "--style", "map", size="640x480")
        first, last = drawn_columns(picture)
        rows = [y for y in range(480) if picture.pixel(320, y) != PAPER]
        for column, row in ((3, 4), (20, 15), (37, 28)):
            x = round(first + column / 40 * (last + 1 - first) - 0.5)
            y = round(rows[-1] + 1 - row / 30 * (rows[-1] + 1 - rows[0]) - 0.5)
            sample = self.pick(ramp, x, y, "--style", "map")["sample"]
            self.assertEqual((sample["column"], sample["row"]), (column, row))
            self.assertEqual(sample["height"], column + 100 * row)

    def test_holes_and_paper_have_no_sample_but_rims_have(self):
        holed = height_map(64, 48, lambda i, j: None if 20 <= i <= 43 and 14 <= j <= 33 else 0.1 * i)
        error = self.pick(holed, 320, 240, "--style", "map", status=4)["error"]
        self.assertIn("320, 240", error["message"])
        self.pick(holed, 2, 2, "--style", "map", status=4)
        picture = self.draw(holed, "--style", "map", size="640x480")
        grey = [x for x in range(640) if picture.pixel(x, 240) == MISSING]
        sample = self.pick(holed, grey[0] + 1, 240, "--style", "map")["sample"]
        self.assertFalse(sample["exactly"])
        self.assertEqual(sample["column"], 19)

    def test_pixel_outside_of_the_picture_is_a_usage_error(self):
        file = self.write("surface.csv", WORKPIECE)
        for x, y in ((640, 0), (0, 480), (-1, 0)):
            self.run_program("pick", file, "--size", "640x480", "--", x, y, status=1)
        text = self.run_program("pick", file, 320, 240, "--size", "640x480").stdout
        self.assertRegex(text, r"column \d+, row \d+")
        self.assertRegex(text, r"height +.*mm")


class Gallery(DrawingTest):
    def test_every_cell_of_the_sheet_is_drawn_and_no_two_are_alike(self):
        file = self.write("surface.csv", WORKPIECE)
        report = self.run_json("gallery", file, "-o", "sheet.png", "--size", "800x650")
        self.assertGreaterEqual(len(report["sheet"]["styles"]), 14)
        sheet = Picture(self.path("sheet.png"))
        self.assertEqual((sheet.width, sheet.height), (800, 650))
        cells = set()
        for row in range(4):
            for column in range(4):
                x, y = column * 200 + 10, 24 + row * 156 + 4
                cell = tuple(sheet.rows[v][3 * x:3 * (x + 180)] for v in range(y, y + 115))
                self.assertGreater(len({cell[v][3 * u:3 * u + 3] for v in range(0, 115, 3) for u in range(180)}), 15)
                cells.add(cell)
        self.assertEqual(len(cells), 16)


if __name__ == "__main__":
    unittest.main()
