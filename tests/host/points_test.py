#!/usr/bin/env python3
"""Tests of qv3d points2grid: scattered points as height maps."""

import math
import random
import unittest

from support import ProgramTest, ply


def read_grid(path):
    with open(path, encoding="ascii") as file:
        return [[float(v) for v in line.split(",")] for line in file if line[0] != "#"]


def scattered(count, height, seed=7):
    """Points in the unit square, its corners among them."""
    generator = random.Random(seed)
    places = [(0, 0), (1, 0), (0, 1), (1, 1)]
    places += [(generator.random(), generator.random()) for _ in range(count - 4)]
    return [(x, y, height(x, y)) for x, y in places]


def lines(points, separator=" "):
    return "".join(separator.join("%.17g" % v for v in p) + "\n" for p in points).encode()


class Points2Grid(ProgramTest):
    def test_triangles_give_a_plane_back(self):
        self.write("p.xyz", lines(scattered(500, lambda x, y: 1 + 2 * x - 3 * y)))
        report = self.run_json("points2grid", "p.xyz", "--triangles", "--nx", "21", "--ny", "11", "-o", "g.csv")
        self.assertEqual((report["grid"]["missingSamples"], report["points"]), (0, 500))
        for j, row in enumerate(read_grid(self.path("g.csv"))):
            for i, z in enumerate(row):
                self.assertAlmostEqual(z, 1 + 2 * (i / 20) - 3 * (j / 10), places=5)

    def test_tiny_triangles_keep_their_heights(self):
        points = [(x * 1e-6, y * 1e-6, z) for x, y, z in scattered(400, lambda x, y: 5 + x)]
        self.write("p.xyz", lines(points))
        self.run_program("points2grid", "p.xyz", "--triangles", "--nx", "9", "--ny", "9", "-o", "g.csv")
        for row in read_grid(self.path("g.csv")):
            for i, z in enumerate(row):
                self.assertAlmostEqual(z, 5 + i / 8, places=4)

    def test_hull_and_long_sides_leave_holes(self):
        ring = [(math.cos(a) * r, math.sin(a) * r, 0.5) for r in (0.8, 0.9, 1.0) for a in
                (2 * math.pi * k / 180 for k in range(180))]
        self.write("ring.csv", b"x,y,z\n" + lines(ring, ","))
        whole = self.run_json("points2grid", "ring.csv", "--triangles", "--nx", "41", "-o", "g.csv")["grid"]
        self.assertAlmostEqual(whole["missingShare"], 1 - math.pi / 4, delta=0.05)
        self.run_program("points2grid", "ring.csv", "--triangles", "--nx", "41", "--longest-side", "0.2", "-o", "h.csv")
        grid = read_grid(self.path("h.csv"))
        self.assertTrue(math.isnan(grid[20][20]))
        self.assertEqual(grid[20][2], 0.5)

    def test_inverse_distance_passes_through_the_points_and_is_the_right_way_up(self):
        self.write("p.csv", b"# five\n0;0;1\n1;0;2\n0;1;3\n1;1;4\n0.5;0.5;9\n")
        self.run_program("points2grid", "p.csv", "--nx", "3", "--ny", "3", "-o", "g.csv")
        grid = read_grid(self.path("g.csv"))
        self.assertEqual((grid[0][0], grid[0][2], grid[2][0], grid[2][2], grid[1][1]), (1, 2, 3, 4, 9))

    def test_smoothing_and_power_flatten(self):
        self.write("p.xyz", lines(scattered(60, lambda x, y: x)))
        spans = []
        for options in (["--power", "4"], ["--power", "1"], ["--power", "1", "--smoothing", "10"]):
            self.run_program("points2grid", "p.xyz", "--nx", "12", *options, "-o", "g.csv")
            # The corners lie on points.
            values = [z for row in read_grid(self.path("g.csv"))[1:-1] for z in row[1:-1]]
            spans.append(max(values) - min(values))
        self.assertGreater(spans[0], spans[1])
        self.assertGreater(spans[1], 10 * spans[2])

    def test_bands_of_rows_join_without_a_seam(self):
        # So many points that the nodes are computed in several bands.
        self.write("p.xyz", lines(scattered(40000, lambda x, y: 2 + x + y)))
        self.run_program("points2grid", "p.xyz", "--nx", "120", "--ny", "100", "--smoothing", "0.05", "-o", "g.csv")
        grid = read_grid(self.path("g.csv"))
        for below, above in zip(grid, grid[1:]):
            self.assertLess(max(abs(a - b) for a, b in zip(below, above)), 0.02)
        self.assertGreater(grid[99][119] - grid[0][0], 0.5)

    def test_grid_can_be_left_to_the_program(self):
        self.write("p.xyz", lines(scattered(400, lambda x, y: x)))
        report = self.run_json("points2grid", "p.xyz")
        self.assertEqual((report["grid"]["width"], report["grid"]["height"]), (20, 20))
        self.assertEqual(report["written"], ["p-grid.csv"])
        report = self.run_json("points2grid", "p.xyz", "--spacing", "0.25")
        self.assertEqual((report["grid"]["width"], report["grid"]["height"]), (5, 5))

    def test_points_that_are_no_numbers_are_left_out(self):
        self.write("p.xyz", b"0 0 1\n1 0 1\nnan 1 1\n0 1 inf\n0 1 1\n")
        result = self.run_program("points2grid", "p.xyz", "--nx", "3")
        self.assertIn("2 points with a coordinate that is not a number", result.stderr)

    def test_vertices_of_ply_files_are_points(self):
        points = [tuple(round(v, 3) for v in p) for p in scattered(300, lambda x, y: 1 + 2 * x - 3 * y)]
        self.write("p.xyz", lines(points))
        self.run_program("points2grid", "p.xyz", "--triangles", "--nx", "9", "--ny", "9", "-o", "g.csv")
        wanted = read_grid(self.path("g.csv"))
        for encoding in ("ascii", "binary_little_endian", "binary_big_endian"):
            self.write("p.ply", ply(points, [[0, 1, 2]], encoding=encoding))
            report = self.run_json("points2grid", "p.ply", "--triangles", "--nx", "9", "--ny", "9", "-o", "h.csv")
            self.assertEqual(report["points"], 300)
            for row, expected in zip(read_grid(self.path("h.csv")), wanted, strict=True):
                for z, other in zip(row, expected, strict=True):
                    self.assertAlmostEqual(z, other, delta=1e-5)
        self.write("p.ply", ply(points, []).replace(b"\n", b"\r\n"))
        self.assertEqual(self.run_json("points2grid", "p.ply")["points"], 300)

    def test_ply_files_that_are_not_whole_say_so(self):
        whole = ply([(0, 0, 1), (1, 0, 1), (0, 1, 1)], [])
        for content, says in ((whole[:-6], "announces 3 vertices, but only 2"), (whole[:40], "end_header"),
                              (whole.replace(b"float z", b"float w"), 'no property "z"')):
            self.write("p.ply", content)
            self.assertIn(says, self.run_program("points2grid", "p.ply", status=3).stderr)

    def test_matrices_of_heights_are_not_taken_for_points(self):
        self.write("map.csv", b"".join(b",".join(b"%d" % (i * j) for i in range(20)) + b"\n" for j in range(9)))
        self.assertIn("a height map already", self.run_program("points2grid", "map.csv", status=3).stderr)
        self.write("coloured.xyz", b"".join(b"%d %d %d 255 128 0 0.5\n" % (i, j, i) for i in range(3) for j in range(3)))
        self.assertEqual(self.run_json("points2grid", "coloured.xyz")["points"], 9)

    def test_what_cannot_be_gridded_says_so(self):
        for content, status in ((b"", 4), (b"1 2\n", 3), (b"1 2 three\n", 3), (b"0 0 1\n1 0 1\n2 0 1\n", 4)):
            self.write("p.xyz", content)
            self.run_program("points2grid", "p.xyz", status=status)
        self.write("line.xyz", b"0 0 1\n1 1 1\n2 2 1\n")
        self.assertIn("all on a line", self.run_program("points2grid", "line.xyz", "--triangles", status=4).stderr)
        self.run_program("points2grid", "nowhere.xyz", status=2)
        self.run_program("points2grid", "line.xyz", "--triangles", "--power", "3", status=1)


if __name__ == "__main__":
    unittest.main()
