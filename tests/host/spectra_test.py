"""spectrum, autocorrelate and fft-filter on surfaces whose waves are known."""

import math
import os
import unittest

from support import Picture, ProgramTest, grid, png_size, read_rows


def wave(wavelength, degrees, amplitude):
    a = math.radians(degrees)
    return lambda x, y: amplitude * math.sin(2 * math.pi * (x * math.cos(a) + y * math.sin(a)) / wavelength)


class SurfaceTest(ProgramTest):
    def surface(self, function, width=128, height=96, spacing=0.02, name="surface.csv"):
        self.write(name, grid(width, height, spacing, function))
        return name


class Spectrum(SurfaceTest):
    def test_wavelength_direction_and_amplitude_of_a_wave_are_found(self):
        for degrees in (0, 35, 90, -50):
            file = self.surface(wave(0.17, degrees, 0.003))
            dominant = self.run_json("spectrum", file)["dominant"]
            self.assertAlmostEqual(dominant["wavelength"], 0.17, delta=0.001)
            self.assertAlmostEqual(dominant["direction"], degrees, delta=0.5)
            self.assertAlmostEqual(dominant["amplitude"], 0.003, delta=0.0001)

    def test_text_has_units(self):
        file = self.surface(wave(0.3, 20, 0.0004))
        text = self.run_program("spectrum", file).stdout
        self.assertRegex(text, r"dominant wave +0\.30*\d* mm|dominant wave +0\.29\d* mm")
        self.assertIn("µm", text)
        self.assertIn("° from x", text)

    def test_radial_average_peaks_at_the_frequency(self):
        file = self.surface(wave(0.1, 60, 1), width=256, height=256)
        report = self.run_json("spectrum", file, "--csv", "radial.csv", "--plot", "radial.svg")
        self.assertEqual(report["written"], ["radial.csv", "radial.svg"])
        rows = read_rows(self.path("radial.csv"))
        frequency, wavelength, _, _ = max(rows, key=lambda row: row[2])
        self.assertAlmostEqual(frequency, 10, delta=0.2)
        self.assertAlmostEqual(wavelength * frequency, 1, places=6)
        self.assertAlmostEqual(rows[-1][0], 25, places=3)
        with open(self.path("radial.svg"), encoding="utf-8") as svg:
            text = svg.read()
        self.assertIn("frequency / (1/mm)", text)
        self.assertEqual(text.count("<polyline"), 1)

    def test_picture_is_brightest_where_the_wave_is(self):
        # Along y: two spots above and below the middle of the field.
        file = self.surface(wave(0.08, 90, 0.01), width=128, height=128)
        self.run_program("spectrum", file, "-o", "s.png", "--size", "640x480")
        self.assertEqual(png_size(self.path("s.png")), (640, 480))
        picture = Picture(self.path("s.png"))
        bright = [(x, y) for y in range(80, 430) for x in range(100, 480)
                  if sum(picture.pixel(x, y)[:2]) > 430 and picture.pixel(x, y)[2] < 235]
        self.assertGreater(len(bright), 1)
        self.assertLess(len(bright), 200)
        rows = [y for _, y in bright]
        self.assertGreater(max(rows) - min(rows), 100)

    def test_missing_samples_are_refused_unless_filled(self):
        plain = wave(0.2, 0, 1)
        file = self.surface(lambda x, y: None if 0.4 < x < 0.5 and 0.4 < y < 0.5 else plain(x, y))
        for command in (["spectrum", file, "-o", "s.png"], ["autocorrelate", file, "-o", "s.png"],
                        ["fft-filter", file, "--low-pass", "--cutoff", "0.5", "-o", "f.csv"]):
            error = self.run_program(*command, status=4).stderr
            self.assertIn("missing", error)
            self.assertIn("--fill", error)
            self.run_program(*command, "--fill")

    def test_wrong_outputs_are_usage_errors(self):
        file = self.surface(wave(0.2, 0, 1))
        self.run_program("spectrum", file, "-o", "s.jpg", status=1)
        self.run_program("spectrum", file, "--plot", "s.csv", status=1)
        self.run_program("spectrum", file, "--decades", "0", status=1)
        self.run_program("spectrum", "nothing.csv", status=2)
        self.run_program("spectrum", file, "-o", "no/such/folder.png", status=2)


class Autocorrelate(SurfaceTest):
    def test_wave_decays_across_its_crests(self):
        file = self.surface(wave(0.3, 30, 1), width=200, height=200)
        decay = self.run_json("autocorrelate", file)["decay"]
        self.assertAlmostEqual(decay["fastest"], 0.3 * math.acos(0.2) / (2 * math.pi), delta=0.002)
        self.assertAlmostEqual(decay["fastestDirection"], 30, delta=3)
        self.assertIsNone(decay["slowest"])
        self.assertIn("does not decay", self.run_program("autocorrelate", file).stdout)

    def test_grid_has_one_in_the_middle_and_is_symmetrical(self):
        file = self.surface(lambda x, y: math.sin(9 * x * x + 5 * y) + math.cos(14 * y * x + 3 * x), width=50, height=40)
        self.run_program("autocorrelate", file, "--csv", "c.csv", "-o", "c.png", "--size", "400x300")
        rows = read_rows(self.path("c.csv"))
        self.assertEqual((len(rows), len(rows[0])), (41, 51))
        self.assertAlmostEqual(rows[20][25], 1, places=5)
        for j in range(41):
            for i in range(51):
                self.assertAlmostEqual(rows[j][i], rows[40 - j][50 - i], places=3)
        self.assertEqual(png_size(self.path("c.png")), (400, 300))
        # The lags are understood as a height map's extent is.
        self.assertAlmostEqual(self.run_json("stats", "c.csv")["grid"]["spacingX"], 0.02, places=6)

    def test_isotropic_surface_has_an_aspect_near_one(self):
        def bumps(x, y):
            return sum(math.cos(2 * math.pi * (x * math.cos(a) + y * math.sin(a)) / 0.4 + 7 * a) for a in
                       [k * math.pi / 12 for k in range(12)])
        decay = self.run_json("autocorrelate", self.surface(bumps, width=150, height=150))["decay"]
        self.assertGreater(decay["aspect"], 0.7)
        self.assertLessEqual(decay["aspect"], 1)

    def test_flat_surface_is_not_computable(self):
        self.run_program("autocorrelate", self.surface(lambda x, y: 1.0, width=8, height=8), "--no-level", status=4)


class FftFilter(SurfaceTest):
    def middle_rms(self, rows):
        h, w = len(rows), len(rows[0])
        values = [v for row in rows[h // 4:3 * h // 4] for v in row[w // 4:3 * w // 4]]
        return math.sqrt(sum(v * v for v in values) / len(values))

    def test_every_kind_keeps_what_its_name_says(self):
        for degrees in (0, 60):
            for wavelength, kept, lost in ((1.28, "--low-pass", "--high-pass"), (0.06, "--high-pass", "--low-pass")):
                file = self.surface(wave(wavelength, degrees, 1), width=128, height=128)
                before = self.middle_rms(read_rows(self.path(file)))
                for kind in ("gaussian", "butterworth", "ideal"):
                    for option, check in ((kept, lambda share: share > 0.85), (lost, lambda share: share < 0.15)):
                        self.run_program("fft-filter", file, option, "--cutoff", "0.3", "--kind", kind, "-o", "out.csv",
                                         "--no-level")
                        share = self.middle_rms(read_rows(self.path("out.csv"))) / before
                        self.assertTrue(check(share), (degrees, wavelength, kind, option, share))

    def test_picture_shows_three_surfaces(self):
        file = self.surface(lambda x, y: math.sin(2 * x) + 0.2 * math.sin(60 * y), width=96, height=96)
        report = self.run_json("fft-filter", file, "--low-pass", "--cutoff", "0.4", "--picture", "p.png", "-o", "f.csv",
                               "-o", "f.xyz")
        self.assertEqual(report["written"], ["f.csv", "f.xyz", "p.png"])
        self.assertEqual(png_size(self.path("p.png")), (2000, 680))
        self.assertTrue(os.path.exists(self.path("f.xyz")))
        self.assertGreater(report["filtered"]["Sq"], 2 * report["residual"]["Sq"])

    def test_missing_samples_come_back_missing(self):
        plain = wave(0.5, 0, 1)
        file = self.surface(lambda x, y: None if x < 0.1 and y < 0.1 else plain(x, y), width=40, height=40)
        self.run_program("fft-filter", file, "--high-pass", "--cutoff", "0.3", "--fill", "-o", "f.csv")
        rows = read_rows(self.path("f.csv"))
        self.assertEqual(sum(math.isnan(v) for row in rows for v in row), 25)

    def test_unequal_spacing_is_told(self):
        rows = "\n".join(",".join("%g" % math.sin(i + j) for i in range(32)) for j in range(32))
        self.write("u.csv", ("# Width: 3.2 mm\n# Height: 6.4 mm\n# Value units: mm\n" + rows + "\n").encode())
        result = self.run_program("fft-filter", "u.csv", "--low-pass", "--cutoff", "1")
        self.assertIn("not equally far apart", result.stderr)

    def test_wrong_usage_is_1(self):
        file = self.surface(wave(0.3, 0, 1), width=32, height=32)
        for arguments in (["--low-pass"], ["--cutoff", "0.3"], ["--low-pass", "--high-pass", "--cutoff", "0.3"],
                          ["--low-pass", "--cutoff", "0.01"], ["--low-pass", "--cutoff", "9"],
                          ["--low-pass", "--cutoff", "0.3", "--kind", "nice"],
                          ["--low-pass", "--cutoff", "0.3", "-o", "f.doc"]):
            self.run_program("fft-filter", file, *arguments, status=1)


if __name__ == "__main__":
    unittest.main()
