"""The public header compiles alone under every dialect, includes nothing and defines only names of its own."""
import argparse
import os
import tempfile

from common import Checks, run

DIALECTS = {"c": ["c89", "c99", "c11"], "c++": ["c++98", "c++20"]}
WARNINGS = ["-pedantic", "-Wall", "-Wextra", "-Wundef", "-Werror"]

parser = argparse.ArgumentParser()
parser.add_argument("--header", required=True)
parser.add_argument("--c", action="append", required=True)
parser.add_argument("--cxx", action="append", required=True)
arguments = parser.parse_args()
checks = Checks()


def macros(compiler, language, dialect, source):
    text = run([compiler, "-x", language, f"-std={dialect}", "-dM", "-E", source])
    return set(text.splitlines())


with tempfile.TemporaryDirectory() as folder:
    alone = os.path.join(folder, "alone.c")
    empty = os.path.join(folder, "empty.c")
    with open(alone, "w", encoding="utf-8") as file:
        file.write(f'#include "{arguments.header}"\n#include "{arguments.header}"\ntypedef int not_empty;\n')
    with open(empty, "w", encoding="utf-8") as file:
        file.write("typedef int not_empty;\n")
    for language, compilers in (("c", arguments.c), ("c++", arguments.cxx)):
        for compiler in compilers:
            for dialect in DIALECTS[language]:
                what = f"{compiler} -std={dialect}"
                run([compiler, "-x", language, f"-std={dialect}", *WARNINGS, "-nostdinc", "-fsyntax-only", alone])
                added = macros(compiler, language, dialect, alone) - macros(compiler, language, dialect, empty)
                names = [line.split()[1].split("(")[0] for line in added]
                checks.that("QV_BAD_SAMPLE" in names, f"{what}: no macros were seen")
                for name in names:
                    checks.that(name.startswith("QV_"), f"{what}: the header defines {name}")
                files = run([compiler, "-x", language, f"-std={dialect}", "-nostdinc", "-M", alone]).replace("\\\n", " ").split()
                checks.that(files[1:] == [alone, arguments.header], f"{what}: the header includes {files[2:]}")
checks.finish()
