"""Files that are not in order: the program says what is wrong, ends with the right status and mends what it can."""

import math
import os
import pty
import struct
import subprocess
import unittest

from support import PROGRAM, SANITIZED, ProgramTest, ascii_stl, binary_stl, ply, ply_sheet, sheet

COMMANDS = (["stats"], ["mesh2grid", "-o", "out.csv"], ["render", "-o", "out.png"])


class BadFileTest(ProgramTest):
    def expect(self, name, status, says, info_status=None):
        """All commands that need the file in order end alike."""
        for command, *rest in COMMANDS:
            result = self.run_program(command, name, *rest, status=status)
            self.assertIn(says, result.stderr)
            self.assertEqual(result.stdout, "")
        self.run_program("info", name, status=status if info_status is None else info_status)
        self.assertFalse({"out.csv", "out.png"} & set(os.listdir(self.folder)))


class BadFiles(BadFileTest):
    def test_missing_file(self):
        self.expect("missing.stl", 2, "No such file")

    def test_folder(self):
        self.expect(self.folder, 2, "is a directory")

    def test_device(self):
        self.expect("/dev/null", 2, "is not a file")

    @unittest.skipIf(os.geteuid() == 0, "root may read everything")
    def test_forbidden_file(self):
        os.chmod(self.write("secret.stl", binary_stl(sheet(12))), 0)
        self.expect("secret.stl", 2, "cannot be read")

    def test_empty_file(self):
        self.write("empty.stl", b"")
        self.expect("empty.stl", 3, "is empty")

    def test_truncated_header(self):
        self.write("short.stl", binary_stl(sheet(12))[:50])
        self.expect("short.stl", 3, "50 bytes long")

    def test_truncated_records(self):
        self.write("cut.stl", binary_stl(sheet(12))[:-1000])
        self.expect("cut.stl", 3, "announces 288 triangles, but the file ends after 268")

    def test_garbage(self):
        self.write("garbage.stl", bytes((i * i * 31 + 7 * i) % 256 for i in range(1, 5000)))
        self.expect("garbage.stl", 3, "announces")

    def test_misleading_header(self):
        self.write("solid.stl", binary_stl(sheet(12), header=b"solid part"))
        self.expect("solid.stl", 3, 'starts with "solid"')

    def test_few_triangles(self):
        self.write("few.stl", binary_stl(sheet(9)))
        self.expect("few.stl", 4, "162 triangles", info_status=0)

    def test_no_extent(self):
        self.write("edge.stl", binary_stl([tuple((x, 1, z) for x, y, z in t) for t in sheet(12)]))
        self.expect("edge.stl", 4, "no extent in y", info_status=0)

    def test_not_finite(self):
        mesh = sheet(12)
        mesh[5] = ((math.nan, 0, 0), *mesh[5][1:])
        self.write("nan.stl", binary_stl(mesh))
        self.expect("nan.stl", 3, "1 of 288 triangles")

    def test_no_triangles(self):
        self.write("none.stl", b"solid none\nendsolid none\n")
        self.expect("none.stl", 3, "no triangles")

    def test_text_with_a_bad_vertex(self):
        self.write("bad.stl", ascii_stl(sheet(12)).replace(b"vertex", b"vertex x", 1))
        self.expect("bad.stl", 3, "the first on line 4")

    def test_other_formats(self):
        self.write("mesh.ply", b"nothing to see here")
        self.expect("mesh.ply", 2, "no PLY file")
        self.write("notes.doc", b"nothing to see here")
        self.expect("notes.doc", 2, "not supported yet")


class BadPlyFiles(BadFileTest):
    def test_no_vertices(self):
        self.write("mesh.ply", b"ply\nformat ascii 1.0\nend_header\n")
        self.expect("mesh.ply", 3, "no vertices")

    def test_carriage_returns(self):
        self.write("mesh.ply", ply_sheet(12).replace(b"\n", b"\r\n"))
        self.expect("mesh.ply", 3, "carriage return")

    def test_truncated(self):
        for encoding in ("ascii", "binary_little_endian", "binary_big_endian"):
            self.write("mesh.ply", ply_sheet(12, encoding=encoding)[:-40])
            self.expect("mesh.ply", 3, 'announces 288 records of "face"')

    def test_what_the_import_would_lose(self):
        for content, says in ((ply_sheet(15, corners=4), "225 of 225 faces have more than three corners"),
                              (ply_sheet(12, corners_list="vertex_index"), "knows only"),
                              (ply([(0, 0, 0), (1, 1, 1)], []), "cloud of points"),
                              (ply_sheet(9), "162 faces")):
            self.write("mesh.ply", content)
            self.expect("mesh.ply", 4, says, info_status=0)


class LibraryEnds(ProgramTest):
    """Without the check the library meets the file itself and ends its process: the program must live on."""

    def expect(self, content, status, says):
        name = self.write("mesh.stl", content)
        result = self.run_program("stats", name, "--no-check", status=status)
        self.assertIn(says, result.stderr)

    def test_empty_file(self):
        self.expect(b"", 2, "Failed to open or recognise the STL file")

    def test_truncated_header(self):
        self.expect(binary_stl(sheet(12))[:60], 2, "Error reading binary file header")

    def test_misleading_header(self):
        self.expect(binary_stl(sheet(12), header=b"solid part"), 3, "Failed to read any triangles")

    def test_few_triangles(self):
        self.expect(binary_stl(sheet(9)), 4, "Bad cell index")

    def test_no_extent(self):
        self.expect(binary_stl([tuple((1, y, z) for x, y, z in t) for t in sheet(12)]), 4, "Bad cell index")

    def test_missing_file(self):
        result = self.run_program("stats", "missing.stl", "--no-check", status=2)
        self.assertIn("Failed to open", result.stderr)

    def test_remarks_of_the_library_are_passed_on(self):
        mesh = self.write("cut.stl", binary_stl(sheet(12))[:-10])
        result = self.run_program("stats", mesh, "--no-check")
        self.assertIn("ReadSTL - Error reading triangle vertices", result.stderr)


class Repair(ProgramTest):
    def good(self):
        return self.run_json("stats", self.write("good.stl", binary_stl(sheet(12))), "--nx", "100")["statistics"]

    def mend(self, content, says):
        name = self.write("bad.stl", content)
        report = self.run_json("stats", name, "--nx", "100", "--repair")
        self.assertTrue(any(says in action for action in report["mended"]), report["mended"])
        with open(name, "rb") as file:
            self.assertEqual(file.read(), content)
        return report

    def test_file_in_order_is_not_touched(self):
        report = self.run_json("stats", self.write("good.stl", binary_stl(sheet(12))), "--repair")
        self.assertEqual(report["mended"], [])

    def test_misleading_header(self):
        report = self.mend(binary_stl(sheet(12), header=b"solid part"), "header")
        self.assertEqual(report["statistics"], self.good())

    def test_count_of_zero(self):
        self.assertEqual(self.mend(binary_stl(sheet(12), count=0), "count from 0 to the 288")["statistics"], self.good())

    def test_too_short(self):
        report = self.mend(binary_stl(sheet(12))[:-1000], "count from 288 to the 268")
        self.assertEqual(report["mesh"]["triangles"], 268)
        self.assertGreater(report["grid"]["missingShare"], 0.05)

    def test_few_triangles_keep_their_shape(self):
        # Two flat halves that meet in a ridge: any division gives the same heights.
        roof = [((0, 0, 0), (5, 0, 1), (0, 10, 0)), ((5, 0, 1), (5, 10, 1), (0, 10, 0)),
                ((5, 0, 1), (10, 0, 0), (5, 10, 1)), ((10, 0, 0), (10, 10, 0), (5, 10, 1))]
        report = self.mend(binary_stl(roof), "divided 4 triangles into 256")
        self.assertEqual(report["grid"]["missingSamples"], 0)
        self.assertAlmostEqual(report["statistics"]["Sa"], 0.25, delta=0.001)

    def test_tiny_mesh_is_measured_as_it_is(self):
        # A plate of 6 micrometres given in millimetres.
        wave = lambda x, y: 1e-4 * math.cos(2 * math.pi * x / 2e-3)
        tiny = binary_stl(sheet(24, side=0.006, height=wave))
        unmended = self.run_json("stats", self.write("tiny.stl", tiny))
        self.assertEqual(unmended["statistics"]["Sa"], 0)
        self.assertIn("(100 %)", self.run_program("stats", "tiny.stl").stderr)
        report = self.mend(tiny, "times larger")
        self.assertAlmostEqual(report["statistics"]["Sa"], 1e-4 * 2 / math.pi, delta=0.04e-4)
        self.assertAlmostEqual(report["mesh"]["x"][1], 0.006, delta=1e-8)
        self.assertAlmostEqual(report["grid"]["spacingX"], 6e-5, delta=1e-8)

    def test_not_finite(self):
        mesh = sheet(12)
        mesh[5] = ((math.inf, 0, 0), *mesh[5][1:])
        self.assertEqual(self.mend(binary_stl(mesh), "left out 1 triangles")["mesh"]["triangles"], 287)

    def test_text(self):
        content = ascii_stl(sheet(12))
        self.assertEqual(self.mend(content.replace(b".", b","), "commas")["mesh"]["triangles"], 288)
        self.assertEqual(self.mend(content.replace(b"vertex", b"vertex x", 1), "incomplete")["mesh"]["triangles"], 287)
        self.assertEqual(self.mend(content[:-60], "unfinished")["mesh"]["triangles"], 287)

    def test_what_cannot_be_mended(self):
        for content, status in ((b"", 3), (b"garbage", 3), (binary_stl([]), 3),
                                (binary_stl([tuple((x, 1, z) for x, y, z in t) for t in sheet(12)]), 4)):
            self.run_program("stats", self.write("bad.stl", content), "--repair", status=status)

    def test_copies_are_removed(self):
        temporary = self.path("tmp")
        os.mkdir(temporary)
        name = self.write("bad.stl", binary_stl(sheet(12), header=b"solid"))
        self.run_program("stats", name, "--repair", env={"TMPDIR": temporary})
        self.assertEqual(os.listdir(temporary), [])
        self.run_program("stats", name, "--repair", env={"TMPDIR": "/no/such/folder"}, status=2)


class Ply(ProgramTest):
    def statistics(self, name, content, *options):
        self.write(name, content)
        return self.run_json("stats", name, "--nx", "100", *options)

    def test_mesh_is_measured_like_its_twin(self):
        wanted = self.statistics("twin.stl", binary_stl(sheet(12)))
        for encoding in ("ascii", "binary_little_endian", "binary_big_endian"):
            report = self.statistics("mesh.ply", ply_sheet(12, encoding=encoding))
            self.assertEqual(report["mended"], [])
            self.assertEqual(report["mesh"]["triangles"], 288)
            self.assertAlmostEqual(report["statistics"]["Sa"], wanted["statistics"]["Sa"], delta=1e-6)
            for axis in "xyz":
                for end, other in zip(report["mesh"][axis], wanted["mesh"][axis]):
                    self.assertAlmostEqual(end, other, delta=1e-5)

    def test_mended_meshes_are_measured_like_the_good_one(self):
        wanted = self.statistics("good.ply", ply_sheet(12))["statistics"]["Sa"]
        binary = {"encoding": "binary_big_endian"}
        for content, says in ((ply_sheet(12).replace(b"\n", b"\r\n"), "carriage returns"),
                              (ply_sheet(12).replace(b"\n", b"\r"), "carriage returns"),
                              (ply_sheet(12, corners_list="vertex_index", **binary), "took the list"),
                              (ply_sheet(12, corners=4, **binary), "divided 144 faces"),
                              (ply_sheet(12).replace(b"1.0\n", b"\n", 1), "format")):
            with self.subTest(says):
                report = self.statistics("bad.ply", content, "--repair")
                self.assertTrue(any(says in action for action in report["mended"]), report["mended"])
                self.assertAlmostEqual(report["statistics"]["Sa"], wanted, delta=1e-6)
                with open(self.path("bad.ply"), "rb") as file:
                    self.assertEqual(file.read(), content)

    def test_other_damage_is_mended(self):
        for content, says in ((ply_sheet(12)[:-40], 'count of "face"'),
                              (ply_sheet(12, encoding="binary_little_endian")[:-40], "to the 284 that are there"),
                              (ply_sheet(9), "divided 162 triangles into 648"),
                              (ply_sheet(12, side=1e-4), "times larger"),
                              (ply_sheet(12).replace(b"int vertex", b"foo vertex"), "type that does not exist"),
                              (ply_sheet(12).replace(b"end_header\n", b"end_header\nx "), "numbers that are none"),
                              (ply_sheet(12).replace(b"end_header\n", b"end_header\nnan "), "not finite")):
            with self.subTest(says):
                report = self.statistics("bad.ply", content, "--repair")
                self.assertTrue(any(says in action for action in report["mended"]), report["mended"])

    def test_info_tells_vertices_and_faces(self):
        self.write("quads.ply", ply_sheet(15, corners=4))
        check = self.run_json("info", "quads.ply")["check"]
        self.assertEqual((check["format"], check["vertices"], check["faces"], check["triangles"]),
                         ("ASCII PLY", 256, 225, 450))
        self.assertIn("faces       225", self.run_program("info", "quads.ply").stdout)

    def test_commands_take_it(self):
        self.write("mesh.ply", ply_sheet(12, encoding="binary_little_endian"))
        for command, *rest in (*COMMANDS, ["info"], ["filter", "--gaussian", "2.5", "-o", "f.csv"], ["cut", "--x", "5.1", "-o", "c.png"],
                               ["gallery", "-o", "g.png"], ["spectrum"], ["autocorrelate"]):
            self.run_program(command, "mesh.ply", *rest)

    def test_library_meets_the_file_itself(self):
        for content, status, says in ((ply_sheet(12).replace(b"\n", b"\r\n"), 2, "does not take it"),
                                      (ply_sheet(12)[:-40], 4, "unexpected end of file"),
                                      (ply_sheet(9), 4, "Bad cell index"),
                                      (ply_sheet(12, corners_list="vertex_index"), 4, "every sample is missing")):
            self.write("mesh.ply", content)
            self.assertIn(says, self.run_program("stats", "mesh.ply", "--no-check", status=status).stderr)
        self.assertIn("could not open", self.run_program("stats", "missing.ply", "--no-check", status=2).stderr)


class Limits(ProgramTest):
    def large(self):
        # One record over and over: quick to write, and enough to keep the import busy.
        record = struct.pack("<12fH", *range(12), 0)
        other = struct.pack("<12fH", *range(9, 21), 0)
        count = 400000
        return self.write("large.stl", b"large".ljust(80, b"\0") + struct.pack("<I", count) + (record + other) * (count // 2))

    def test_time_limit_acts(self):
        result = self.run_program("stats", self.large(), "--timeout", "0.001", status=4)
        self.assertIn("longer than the allowed 0.001 s", result.stderr)

    @unittest.skipIf(SANITIZED, "the address sanitizer ends the process when memory runs out")
    def test_memory_limit_acts(self):
        large = self.large()
        for mebibytes in (1, 4, 8, 12):
            result = self.run_program("stats", large, "--memory-limit", mebibytes, status=4)
            self.assertIn(f"more than the allowed {mebibytes} MiB", result.stderr)

    @unittest.skipIf(SANITIZED, "the address sanitizer ends the process when memory runs out")
    def test_memory_limit_acts_on_the_grid(self):
        sheet_file = self.write("sheet.stl", binary_stl(sheet(12)))
        result = self.run_program("stats", sheet_file, "--nx", "20000", "--memory-limit", "100", status=4)
        self.assertIn("converting the mesh needs more than the allowed 100 MiB", result.stderr)

    def test_long_work_is_reported(self):
        # Piped, so one line per phase that takes longer than a second; --quiet silences it.
        sheet_file = self.write("sheet.stl", binary_stl(sheet(12)))
        arguments = ("stats", sheet_file, "--nx", "7000", "--ny", "7000")
        text = self.run_program(*arguments).stderr
        self.assertRegex(text, r"qv3d: (converting to heights|measuring).*: [0-9.]+ s")
        self.assertEqual(self.run_program(*arguments, "--quiet").stderr, "")

    def test_terminal_sees_one_line_that_is_wiped(self):
        sheet_file = self.write("sheet.stl", binary_stl(sheet(12)))
        mine, its = pty.openpty()
        process = subprocess.Popen([PROGRAM, "stats", sheet_file, "--nx", "7000", "--ny", "7000"],
                                   stdout=subprocess.DEVNULL, stderr=its)
        os.close(its)
        shown = b""
        try:
            while piece := os.read(mine, 65536):
                shown += piece
        except OSError:  # how a terminal says that the other side is gone
            pass
        os.close(mine)
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertRegex(shown, rb"\r\x1b\[K(converting to heights|measuring) \.\.\. [0-9.]+ s")
        self.assertTrue(shown.endswith(b"\r\x1b[K"))
        self.assertNotIn(b"\n", shown)


if __name__ == "__main__":
    unittest.main()
