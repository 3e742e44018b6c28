"""Builds and runs the C and C++ samples of the documentation against the installed package, as a reader would.

A comment before a fenced block says what the block is:

    <!-- program: NAME -->            C or C++, by the block's language. Blocks of one name are joined.
    <!-- program: NAME body -->       statements, which get their main function here
    <!-- program: NAME needs egl -->  further pkg-config packages to build with; where it needs "threads", threads
    <!-- file: NAME -->               a file beside the page's programs: a header, a CMakeLists.txt
    <!-- prints: NAME -->             what the program prints, all of it

The programs of one page run in one folder in the page's order, so that one may read what another has written. The page
whose files have a CMakeLists.txt is built by that, the others by the compiler and pkg-config. A block of C or C++
without such a comment is an error."""
import argparse
import os
import re
import sys
import tempfile
from dataclasses import dataclass, field

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "interface"))
from common import Checks, run  # noqa: E402

MARKER = re.compile(r"<!-- (program|file|prints): (\S+)( body)?(?: needs ([\w ]+?))? -->")
# A header that programs of a page share may offer more than each of them uses.
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wno-unused-function", "-Wno-unused-const-variable", "-Werror", "-O1"]
STANDARDS = {"c": ["-std=c99"], "cpp": ["-std=c++17"]}


@dataclass
class Program:
    name: str
    language: str
    body: bool = False
    needs: list = field(default_factory=list)
    text: str = ""

    def source(self):
        if not self.body:
            return self.text
        lines = self.text.splitlines()
        includes = [line for line in lines if line.startswith("#include")]
        statements = [line for line in lines if not line.startswith("#include")]
        return "\n".join(["#include <stdio.h>", *includes, "int main(void) {", *statements, "return 0;", "}", ""])


@dataclass
class Page:
    path: str
    programs: dict = field(default_factory=dict)
    files: dict = field(default_factory=dict)
    prints: dict = field(default_factory=dict)


def fenced_blocks(path):
    """(line number, line before, language, text) of every fenced block."""
    with open(path, encoding="utf-8") as file:
        lines = file.read().splitlines()
    opened = None
    for number, line in enumerate(lines):
        if not line.lstrip().startswith("```"):
            continue
        if opened is None:
            opened = number
        else:
            above = lines[opened - 1] if opened else ""
            yield opened + 1, above, lines[opened].strip()[3:], "\n".join(lines[opened + 1:number]) + "\n"
            opened = None


def read_page(path, checks):
    page = Page(path)
    for number, above, language, text in fenced_blocks(path):
        marker = MARKER.fullmatch(above)
        where = f"{path}:{number}"
        if not marker:
            checks.that(language not in ("c", "cpp", "c++", "C"), f"{where}: a sample that nobody builds")
            checks.that(not above.startswith("<!-- "), f"{where}: the comment above is none that is known: {above}")
            continue
        kind, name, body, needs = marker.groups()
        if kind == "file":
            page.files[name] = page.files.get(name, "") + text
        elif kind == "prints":
            checks.that(name in page.programs, f"{where}: prints of {name}, which is not there")
            page.prints[name] = text
        else:
            checks.that(language in STANDARDS, f"{where}: language {language}")
            program = page.programs.setdefault(name, Program(name, language))
            program.body = program.body or bool(body)
            program.needs += (needs or "").split()
            program.text += text
    return page


def build_by_cmake(folder):
    """The page's own CMakeLists.txt."""
    run(["cmake", "-S", folder, "-B", f"{folder}/build", f"-DCMAKE_PREFIX_PATH={prefix}",
         f"-DCMAKE_C_COMPILER={arguments.c}", f"-DCMAKE_CXX_COMPILER={arguments.cxx}", "-DCMAKE_BUILD_TYPE=Release"])
    run(["cmake", "--build", f"{folder}/build"])


def build_by_pkg_config(program, folder, environment):
    packages = [word for word in program.needs if word != "threads"]
    flags = run(["pkg-config", "--cflags", "--libs", "QV_3D", *packages], env=environment).split()
    if "threads" in program.needs:
        flags.append("-pthread")
    compiler = arguments.c if program.language == "c" else arguments.cxx
    run([compiler, *STANDARDS[program.language], *WARNINGS, f"{folder}/{program.name}.{program.language}",
         "-o", f"{folder}/{program.name}", *flags, *(["-lm"] if program.language == "c" else [])])


def check_page(page, folder, checks):
    os.makedirs(folder)
    environment = {**os.environ, "LD_LIBRARY_PATH": f"{prefix}/lib", "PKG_CONFIG_PATH": f"{prefix}/lib/pkgconfig"}
    for name, text in page.files.items():
        write(f"{folder}/{name}", text)
    for program in page.programs.values():
        write(f"{folder}/{program.name}.{program.language}", program.source())
    by_cmake = "CMakeLists.txt" in page.files
    if by_cmake:
        build_by_cmake(folder)
    for program in page.programs.values():
        # Every warning is an error here, whatever the page's own CMakeLists.txt asks for.
        build_by_pkg_config(program, folder, environment)
        for built in [f"{folder}/build/{program.name}"] * by_cmake + [f"{folder}/{program.name}"]:
            printed = run([built], env=environment, cwd=folder)
            expected = page.prints.get(program.name, printed)
            checks.that(printed == expected, f"{page.path}: {program.name} should print\n{expected}and prints\n{printed}")
    if page.programs:
        print(f"{page.path}: {len(page.programs)} programs, {len(page.prints)} with what they print")


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


parser = argparse.ArgumentParser()
for option in ("--build", "--source", "--config", "--c", "--cxx"):
    parser.add_argument(option, required=True)
parser.add_argument("--keep", help="a folder that does not exist yet, for the programs to stay in")
parser.add_argument("pages", nargs="*", help="pages instead of all, from the top of the tree")
arguments = parser.parse_args()

with tempfile.TemporaryDirectory() as temporary:
    work = arguments.keep or f"{temporary}/work"
    prefix = os.path.abspath(f"{work}/prefix")
    all_checks = Checks()
    run(["cmake", "--install", arguments.build, "--prefix", prefix, "--config", arguments.config])
    docs = sorted(f"docs/{name}" for name in os.listdir(f"{arguments.source}/docs") if name.endswith(".md"))
    os.chdir(arguments.source)
    for path in arguments.pages or ["README.md", "CONTRIBUTING.md", *docs]:
        check_page(read_page(path, all_checks), os.path.abspath(f"{work}/{os.path.basename(path)[:-3]}"), all_checks)
all_checks.finish()
