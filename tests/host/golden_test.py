"""Every style against a picture of it that was looked at and checked in.

The pictures are compared by the program itself. Renderers may differ in how they smooth edges and round colours: a
channel may differ by MEAN on average over the picture, and by LARGEST anywhere, of 255. A failing test leaves what was
expected, what was drawn and the difference, eight times as bright, in the folder that it names.

QV3D_UPDATE_GOLDEN=1 writes the pictures anew: look at each of them before they are checked in."""

import os
import shutil
import unittest

from support import ProgramTest
from surfaces import WORKPIECE

MEAN = 1.0
LARGEST = 90
GOLDEN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "golden")
KEPT = os.environ["QV3D_TEST_OUTPUT"]
STYLES = ("texture", "surface", "grey", "sidelight", "normals", "slope", "walls", "waterfall", "silhouette", "shadows",
          "occlusion", "skylight", "shader", "map")


class Golden(ProgramTest):
    def draw(self, style, *arguments, status=0):
        # Without text, which depends on the fonts that are installed.
        return self.run_program("render", self.write("workpiece.csv", WORKPIECE), "-o", style + ".png", "--no-level",
                                "--style", style, "--bare", "--size", "160x120", *arguments, status=status)

    def keep(self, style, golden):
        os.makedirs(KEPT, exist_ok=True)
        shutil.copy(golden, os.path.join(KEPT, style + ".expected.png"))
        shutil.copy(self.path(style + ".png"), os.path.join(KEPT, style + ".actual.png"))
        shutil.copy(self.path(style + ".difference.png"), os.path.join(KEPT, style + ".difference.png"))

    def test_every_style_looks_as_it_did(self):
        for style in STYLES:
            golden = os.path.join(GOLDEN, style + ".png")
            with self.subTest(style=style):
                if os.environ.get("QV3D_UPDATE_GOLDEN"):
                    self.draw(style)
                    shutil.copy(self.path(style + ".png"), golden)
                    continue
                try:
                    self.draw(style, "--reference", golden, "--threshold", f"{MEAN},{LARGEST}")
                except AssertionError as error:
                    self.keep(style, golden)
                    raise AssertionError(f"{error}\nSee {KEPT}") from error

    def test_every_style_has_a_picture(self):
        sheet = self.run_json("gallery", self.write("workpiece.csv", WORKPIECE), "-o", "sheet.png", "--size", "640x480")
        self.assertEqual(sorted(sheet["sheet"]["styles"]), sorted(STYLES))
        self.assertEqual(sorted(os.listdir(GOLDEN)), sorted(style + ".png" for style in STYLES))

    def test_no_two_styles_would_pass_for_each_other(self):
        # Otherwise the tolerance would be too wide to tell anything.
        for style in STYLES:
            for other in STYLES:
                if other != style and {style, other} & {"texture", "surface"}:
                    self.draw(style, "--reference", os.path.join(GOLDEN, other + ".png"), "--threshold",
                              f"{MEAN},{LARGEST}", status=4)


if __name__ == "__main__":
    unittest.main()
