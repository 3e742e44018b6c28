"""Pictures: size and content, whichever way the OpenGL context is made, and what is said when there is none."""

import math
import os
import shutil
import unittest

from support import Picture, ProgramTest, binary_stl, sheet

PAPER = (250, 250, 248)
MISSING = (205, 205, 205)


def wavy():
    return binary_stl([t for t in sheet(40, height=lambda x, y: 0.2 * math.sin(1.5 * x) * math.cos(y))
                       if not all(3 < x < 6 and 3 < y < 6 for x, y, _ in t)])


class Render(ProgramTest):
    def draw(self, *arguments, size="480x320"):
        mesh = self.write("wavy.stl", wavy())
        report = self.run_json("render", mesh, "-o", "out.png", "--size", size, *arguments)
        picture = Picture(self.path("out.png"))
        self.assertEqual(f"{picture.width}x{picture.height}", size)
        self.assertEqual((report["picture"]["width"], report["picture"]["height"]), (picture.width, picture.height))
        return report["picture"], picture

    def inked(self, picture):
        """Share of the picture that is not paper, and the number of colours."""
        colours = picture.colours()
        return 1 - colours.get(PAPER, 0) / (picture.width * picture.height), len(colours)

    def test_every_style_fills_its_picture(self):
        for style in ("texture", "sidelight", "normals", "map"):
            _, picture = self.draw("--style", style)
            share, colours = self.inked(picture)
            self.assertGreater(share, 0.2, style)
            self.assertLess(share, 0.9, style)
            self.assertGreater(colours, 200, style)

    def test_nothing_touches_the_border(self):
        # Whatever the direction: surface, floor and numbers lie inside.
        for azimuth in (-150, -30, 0, 100):
            for elevation in (10, 90):
                _, picture = self.draw("--azimuth", azimuth, "--elevation", elevation, size="320x240")
                for x in range(picture.width):
                    self.assertEqual(picture.pixel(x, 0), PAPER)
                    self.assertEqual(picture.pixel(x, picture.height - 1), PAPER)
                for y in range(picture.height):
                    self.assertEqual(picture.pixel(0, y), PAPER)
                    self.assertEqual(picture.pixel(picture.width - 1, y), PAPER)

    def test_map_shows_missing_samples_grey_in_their_place(self):
        _, picture = self.draw("--style", "map", size="640x480")
        grey = [(x, y) for y in range(480) for x in range(640) if picture.pixel(x, y) == MISSING]
        rows = [y for _, y in grey]
        columns = [x for x, _ in grey]
        # The hole spans 3 to 6 of 10 in both directions; y points up.
        width = max(columns) - min(columns) + 1
        self.assertAlmostEqual(width, max(rows) - min(rows) + 1, delta=3)
        self.assertGreater(len(grey), 0.9 * width * width)
        filled = self.draw("--style", "map", "--fill", size="640x480")[1].colours()
        self.assertLess(filled.get(MISSING, 0), 20)

    def test_side_light_is_grey(self):
        _, picture = self.draw("--style", "sidelight")
        coloured = sum(n for (r, g, b), n in picture.colours().items() if max(r, g, b) - min(r, g, b) > 12)
        self.assertEqual(coloured, 0)

    def test_z_scale_is_stated_and_obeyed(self):
        report, flat = self.draw("--z-scale", "0.01")
        self.assertAlmostEqual(report["zScale"], 0.01)
        report, steep = self.draw("--z-scale", "8", "--title", "same")
        self.assertEqual(report["zScale"], 8)
        self.assertNotEqual(flat.rows, steep.rows)

    def test_step_draws_fewer_samples_of_the_same_surface(self):
        _, fine = self.draw("--style", "map")
        _, coarse = self.draw("--style", "map", "--step", "16")
        different = sum(fine.pixel(x, y) != coarse.pixel(x, y) for y in range(320) for x in range(480))
        self.assertGreater(different, 50)
        self.assertLess(different, 0.6 * 480 * 320)

    def test_picture_that_cannot_be_written_is_2(self):
        mesh = self.write("wavy.stl", wavy())
        self.run_program("render", mesh, "-o", "no/such/folder.png", status=2)


class Contexts(ProgramTest):
    def draw(self, gl, env=None, status=0):
        mesh = self.write("wavy.stl", wavy())
        return self.run_program("render", mesh, "-o", gl + ".png", "--size", "320x240", "--json", "--gl", gl, env=env,
                                status=status)

    def test_egl_needs_no_display(self):
        self.assertIn('"EGL"', self.draw("egl", {"DISPLAY": ""}).stdout)
        self.assertIn('"EGL"', self.draw("auto", {"DISPLAY": ""}).stdout)

    @unittest.skipUnless(shutil.which("Xvfb"), "Xvfb is not installed")
    def test_glx_starts_its_own_server_and_draws_the_same(self):
        self.draw("egl")
        for display in ("", ":987"):
            self.assertIn('"GLX"', self.draw("glx", {"DISPLAY": display}).stdout)
            egl, glx = Picture(self.path("egl.png")), Picture(self.path("glx.png"))
            # The same software renderer may stand behind both, but need not.
            worst = max(abs(a - b) for one, two in zip(egl.rows, glx.rows) for a, b in zip(one, two))
            self.assertLessEqual(worst, 24)

    def test_neither_there_names_the_packages(self):
        # No server is found on an empty path, and none answers at that display.
        result = self.draw("glx", {"DISPLAY": ":987", "PATH": self.folder}, status=4)
        self.assertIn("xvfb", result.stderr)
        self.assertIn("libegl1", result.stderr)
        self.assertFalse(os.path.exists(self.path("glx.png")))


if __name__ == "__main__":
    unittest.main()
