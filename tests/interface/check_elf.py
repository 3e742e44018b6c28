"""The shared library exports exactly the table, under its version node, and needs no more than it should."""
import argparse
import re

from common import Checks, read_table, run

# The C and C++ run times, and what the library is said to depend on.
ALLOWED = r"lib(c|m|stdc\+\+|gcc_s|GL|OpenGL|GLX|GLEW)\.so\.[\d.]+|ld-linux-x86-64\.so\.2"

parser = argparse.ArgumentParser()
parser.add_argument("--library", required=True)
parser.add_argument("--table", required=True)
parser.add_argument("--major", required=True)
arguments = parser.parse_args()
checks = Checks()

names = [name for name, _ in read_table(arguments.table)]
node = f"QV_3D_{arguments.major}"
symbols = [line.split() for line in run(["nm", "-D", "--defined-only", "--with-symbol-versions",
                                         arguments.library]).splitlines()]
checks.same_names([symbol[2] for symbol in symbols if symbol[1] != "A"],
                  [f"{name}@@{node}" for name in names], "exported symbols")
checks.same_names([symbol[2] for symbol in symbols if symbol[1] == "A"], [node], "version nodes")
checks.that(all(symbol[1] in "TA" for symbol in symbols), "something else than code is exported")

dynamic = run(["readelf", "-dW", arguments.library])
checks.that(re.findall(r"Library soname: \[(.*)\]", dynamic) == [f"libQV_3D.so.{arguments.major}"], "wrong soname")
for needed in re.findall(r"Shared library: \[(.*)\]", dynamic):
    checks.that(re.fullmatch(ALLOWED, needed), f"depends on {needed}")
checks.that("TEXTREL" not in dynamic, "has text relocations")

# Calls among exports are bound inside the library, whatever a host's own functions are called.
relocations = run(["readelf", "-rW", arguments.library])
for name in names:
    checks.that(not re.search(rf"JUMP_SLO\w*\s.*\b{name}@", relocations), f"a call of {name} could be captured")
checks.finish()
