"""Makes the packages and looks at them as their user would. The Debian packages are unpacked into an empty folder, where
the program runs and a program is built; so is the zip file for Windows, whose program checks that installation."""
import argparse
import glob
import os
import re
import shutil
import tempfile
import zipfile

from common import WINDOWS_LIBRARIES, Checks, imported_libraries, run

parser = argparse.ArgumentParser()
for option in ("--build", "--source", "--config", "--version", "--c"):
    parser.add_argument(option, required=True)
parser.add_argument("--host", action="store_true", help="the reference host program was built too")
parser.add_argument("--windows", action="store_true", help="a zip file for Windows")
parser.add_argument("--objdump", help="for Windows: shows what a program imports")
parser.add_argument("--emulator", help="runs Windows programs")
arguments = parser.parse_args()
checks = Checks()
major = arguments.version.split(".", maxsplit=1)[0]


def files_below(folder):
    return {os.path.relpath(os.path.join(where, name), folder) for where, _, names in os.walk(folder) for name in names}


def control_fields(package):
    return dict(re.findall(r"(?m)^([\w-]+): (.*(?:\n .*)*)", run(["dpkg-deb", "--field", package])))


def check_control(name, fields):
    checks.that(fields["Version"] == arguments.version, f"{name}: version {fields['Version']}")
    checks.that(fields["Maintainer"] == "QV_3D developers <noreply@example.org>", f"{name}: {fields['Maintainer']}")
    checks.that(len(fields["Description"].split("\n")) > 1, f"{name}: {fields['Description']}")
    needs = {
        f"libqv3d{major}": ["libc6", "libglew", "libgl1", "libstdc++6"],
        "libqv3d-dev": [f"libqv3d{major} (= {arguments.version})"],
        "qv3d": [f"libqv3d{major} (= {arguments.version})", "libc6", "libpng16", "libfreetype6"],
    }
    for need in needs[name]:
        checks.that(need in fields["Depends"], f"{name} does not depend on {need}: {fields['Depends']}")


def check_debian_files(root, names):
    config = arguments.config.lower()
    expected = {f"usr/lib/libQV_3D.so.{major}", f"usr/lib/libQV_3D.so.{arguments.version}", "usr/lib/libQV_3D.so",
                "usr/include/QV_3D.h", "usr/lib/pkgconfig/QV_3D.pc", "usr/share/doc/QV_3D/LICENSE",
                *(f"usr/lib/cmake/QV_3D/QV_3DConfig{end}.cmake" for end in ("", f"-{config}", "Version")),
                *(f"usr/share/doc/{name}/copyright" for name in names)}
    if arguments.host:
        expected.add("usr/bin/qv3d")
    checks.same_names(files_below(root), expected, "files of the packages")


def check_program(root, folder):
    """Without a word about where the library is."""
    environment = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
    program = f"{root}/usr/bin/qv3d"
    options = {"env": environment, "cwd": folder}
    checks.that(arguments.version in run([program, "--version"], **options), "the program's version")
    libraries = run(["ldd", program], **options)
    checks.that(f"{root}/usr/" in re.search(r"libQV_3D\S+ => (\S+)", libraries)[1], f"another library:\n{libraries}")
    passed = re.search(r"(\d+) checks hold, 0 failed", run([program, "selftest"], **options))
    checks.that(passed and int(passed[1]) > 100, "the program's own test")
    run([program, "demo", "-o", "demo"], **options)
    part = glob.glob(f"{folder}/demo/*.stl")[0]
    checks.that("Sq" in run([program, "stats", part], **options), "the statistics of a mesh")


def check_development(root, folder):
    example = os.path.join(arguments.source, "examples", "c_consumer", "main.c")
    environment = {**os.environ, "PKG_CONFIG_PATH": f"{root}/usr/lib/pkgconfig", "LD_LIBRARY_PATH": f"{root}/usr/lib"}
    flags = run(["pkg-config", "--cflags", "--libs", "QV_3D"], env=environment).split()
    run([arguments.c, example, "-o", f"{folder}/program", *flags])
    checks.that("Sa 0.1" in run([f"{folder}/program"], env=environment), "a program built from the packages")


def check_debian(folder):
    packages = {control_fields(path)["Package"]: path for path in glob.glob(f"{folder}/*.deb")}
    checks.same_names(packages, [f"libqv3d{major}", "libqv3d-dev", *["qv3d"] * arguments.host], "packages")
    root = f"{folder}/root"
    for name, path in packages.items():
        check_control(name, control_fields(path))
        run(["dpkg-deb", "--extract", path, root])
    check_debian_files(root, packages)
    if arguments.host:
        check_program(root, folder)
    check_development(root, folder)


def check_windows_program(root):
    """The program in the unpacked zip file: it needs nothing but Windows and the DLL beside it, and finds both whole."""
    program = f"{root}/bin/qv3d.exe"
    imported = imported_libraries(run([arguments.objdump, "-p", program]))
    checks.that("qv_3d.dll" in imported, "the program does not import the DLL")
    for name in imported:
        checks.that(name == "qv_3d.dll" or name in WINDOWS_LIBRARIES, f"the program imports {name}")
    if not arguments.emulator:
        print(f"{program} is built but not run: no emulator")
        return

    # Windows gets the letters of arguments right where the locale knows them.
    environment = {**os.environ, "LC_ALL": "C.UTF-8"}

    def answer(*words, status=0):
        return run([arguments.emulator, program, *words], status, cwd=root, env=environment).replace("\r\n", "\n")

    checks.that(answer("--version") == f"qv3d {arguments.version}\n", "the program's version")
    text = answer("selftest")
    checks.that(re.search(r"(?m)^\d{3} checks hold, 0 failed$", text), f"the installation's check:\n{text}")
    checks.that("skipped" not in text, f"the installation's check left something out:\n{text}")
    checks.that("FAILED" in answer("selftest", "--disturb", "cap", status=4), "a disturbed gauge goes unnoticed")
    answer("selftest", "--write-gauges", "Prüfkörper")
    checks.that(os.path.exists(f"{root}/Prüfkörper/cap.stl"), "gauges in a folder whose name is not ASCII")


def check_zip(folder):
    (path,) = glob.glob(f"{folder}/*.zip")
    with zipfile.ZipFile(path) as archive:
        archive.extractall(f"{folder}/zip")
    (root,) = glob.glob(f"{folder}/zip/*")
    config = arguments.config.lower()
    expected = {"bin/QV_3D.dll", "lib/libQV_3D.dll.a", "include/QV_3D.h", "README.md", "share/doc/QV_3D/LICENSE",
                "lib/pkgconfig/QV_3D.pc", "share/doc/QV_3D/linked_in/glew",
                *(f"lib/cmake/QV_3D/QV_3DConfig{end}.cmake" for end in ("", f"-{config}", "Version"))}
    if arguments.host:
        expected.add("bin/qv3d.exe")
        expected.update(f"share/doc/QV_3D/linked_in/{name}" for name in ("libcli11-dev", "libfmt-dev", "nlohmann-json3-dev"))
    checks.same_names(files_below(root), expected, f"files of {os.path.basename(path)}")
    if arguments.host:
        check_windows_program(root)


with tempfile.TemporaryDirectory() as work:
    # A name without links on its way, for ldd's answer.
    work = os.path.realpath(work)
    run(["cpack", "--config", f"{arguments.build}/CPackConfig.cmake", "-B", work, "-C", arguments.config])
    shutil.rmtree(f"{work}/_CPack_Packages")
    if arguments.windows:
        check_zip(work)
    else:
        check_debian(work)
checks.finish()
