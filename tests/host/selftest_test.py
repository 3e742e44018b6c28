"""The selftest command: as a customer runs it, where a gauge is disturbed, and where there is no OpenGL."""

import os
import unittest

from support import ProgramTest, SANITIZED, read_rows

FAMILIES = ("height statistics", "normalisation and conversion", "plane fit and cropping", "neighbourhood filters",
            "Gaussian, spline and circle", "roundness", "resampling", "spectra", "contours and sections", "mesh import",
            "gridding", "surface normals", "points, index lists, shadow structure", "occlusion, checkerboard", "drawing")


class Selftest(ProgramTest):
    def test_all_checks_hold(self):
        report = self.run_json("selftest")
        self.assertEqual(report["failed"], 0)
        self.assertEqual(report["skipped"], 0)
        self.assertGreater(report["passed"], 100)
        self.assertEqual(report["passed"], len(report["checks"]))
        self.assertEqual(tuple(dict.fromkeys(check["family"] for check in report["checks"])), FAMILIES)
        for check in report["checks"]:
            self.assertEqual(check["state"], "ok")
            self.assertLessEqual(abs(check["found"] - check["expected"]), check["tolerance"], check)

    def test_table_names_numbers_and_states(self):
        text = self.run_program("selftest").stdout
        lines = text.splitlines()
        for word in ("check", "expected", "found", "deviation", "tolerance"):
            self.assertIn(word, lines[0])
        for family in FAMILIES:
            self.assertIn(family, lines)
        row = next(line for line in lines if "sine: Sku" in line).split()
        self.assertEqual(float(row[-5]), 1.5)
        self.assertEqual(row[-1], "ok")
        self.assertRegex(lines[-1], r"^\d+ checks hold, 0 failed$")
        self.assertNotIn("FAILED", text)
        # The numbers stand in columns.
        ends = {line.rfind("  ok") for line in lines if line.endswith("  ok")}
        self.assertEqual(len(ends), 1)

    def test_a_disturbed_gauge_fails(self):
        for gauge in ("sine", "cap", "flat", "lobes"):
            result = self.run_program("selftest", "--disturb", gauge, status=4)
            self.assertIn("FAILED", result.stdout)
            self.assertIn("checks failed", result.stderr)
            report = self.run_json("selftest", "--disturb", gauge, status=4)
            failed = [check for check in report["checks"] if check["state"] == "FAILED"]
            self.assertEqual(len(failed), report["failed"])
            self.assertTrue(any(check["gauge"] == gauge for check in failed if "gauge" in check))
        self.run_program("selftest", "--disturb", "none", status=1)

    def test_what_was_not_drawn_counts_as_skipped(self):
        report = self.run_json("selftest", "--no-gl")
        self.assertEqual((report["failed"], report["skipped"]), (0, 1))
        self.assertEqual(report["checks"][-1]["state"], "skipped")
        self.assertEqual(report["passed"], len(report["checks"]) - 1)
        text = self.run_program("selftest", "--no-gl").stdout
        self.assertIn("no display/GL: skipped (not asked for (--no-gl))", text)
        self.assertRegex(text.splitlines()[-1], r"^\d+ checks hold, 0 failed; 1 part skipped$")

    @unittest.skipIf(SANITIZED, "the sanitizer's memory does not fit into the limit that keeps drivers out")
    def test_without_drivers_the_reason_is_told(self):
        # Neither EGL nor an X server is found.
        nowhere = {"__EGL_VENDOR_LIBRARY_FILENAMES": "/none.json", "DISPLAY": "", "PATH": "/nonexistent"}
        result = self.run_program("selftest", env=nowhere)
        self.assertIn("no display/GL: skipped (cannot draw without a display:", result.stdout)
        self.assertIn("1 part skipped", result.stdout)

    def test_gauges_are_written(self):
        written = self.run_json("selftest", "--write-gauges", self.path("gauges"))["written"]
        names = {os.path.basename(file) for file in written}
        self.assertEqual(names, set(os.listdir(self.path("gauges"))))
        for name in ("sine.sdf", "cosines.sdf", "plane.sdf", "cap.sdf", "step.sdf", "noise.sdf", "holes.sdf", "flat.sdf",
                     "lobes.txt", "cap.stl", "cap.ply"):
            self.assertIn(name, names)
        self.run_program("convert", "gauges/sine.sdf", "-o", "sine.csv", "--unit", "um")
        rows = read_rows(self.path("sine.csv"))
        self.assertEqual((len(rows), len(rows[0])), (64, 256))
        self.assertEqual(rows[3][8], 2)
        report = self.run_json("stats", self.path("gauges/sine.sdf"), "--unit", "um", "--no-level")
        self.assertAlmostEqual(report["statistics"]["Sku"], 1.5, places=6)
        self.assertAlmostEqual(report["grid"]["spacingX"], 10, places=6)
        report = self.run_json("roundness", self.path("gauges/lobes.txt"), "--unit", "um", "-o", "r.png")
        self.assertAlmostEqual(report["unfiltered"]["RONt"], 4, places=4)
        for mesh in ("cap.stl", "cap.ply"):
            self.assertEqual(self.run_json("info", self.path("gauges/" + mesh))["mesh"]["triangles"], 20000)
        self.write("file", b"")
        self.run_program("selftest", "--write-gauges", self.path("file/below"), status=2)


if __name__ == "__main__":
    unittest.main()
