"""Installs the library to a temporary folder and builds the example programs against it, outside the source tree, by
the CMake package and by pkg-config; runs them and compares what they print."""
import argparse
import os
import shutil
import tempfile

from common import Checks, run

EXPECTED = {
    "c_consumer": "plane z = 0.5*x + 0.25*y + 3\nSa 0.1, Sq 0.1\n",
    "cpp_consumer": "plane z = 0.5*x + 0.25*y + 3\nSa 0.1, Sq 0.1\n",
}

parser = argparse.ArgumentParser()
for option in ("--build", "--source", "--config", "--version", "--c", "--cxx"):
    parser.add_argument(option, required=True)
parser.add_argument("--toolchain", help="of a Windows build")
parser.add_argument("--host", action="store_true", help="the reference host was built too")
parser.add_argument("--emulator", help="runs Windows programs")
arguments = parser.parse_args()
checks = Checks()
windows = bool(arguments.toolchain)


def check_files(prefix):
    """Exactly the files that a package should have."""
    major = arguments.version.split(".", maxsplit=1)[0]
    libraries = {"libQV_3D.so", f"libQV_3D.so.{major}", f"libQV_3D.so.{arguments.version}"}
    if windows:
        libraries = {"QV_3D.dll", "libQV_3D.dll.a"}
    config = arguments.config.lower()
    expected = libraries | {"QV_3D.h", "LICENSE", "QV_3D.pc", "QV_3DConfig.cmake", f"QV_3DConfig-{config}.cmake",
                            "QV_3DConfigVersion.cmake"}
    if arguments.host:
        expected.add("qv3d.exe" if windows else "qv3d")
    files = {name: os.path.join(folder, name) for folder, _, names in os.walk(prefix) for name in names}
    checks.same_names(list(files), expected, "installed files")
    if not windows:
        for link in ("libQV_3D.so", f"libQV_3D.so.{major}"):
            checks.that(os.path.islink(files[link]), f"{link} is not a link")
        checks.that("RUNPATH" not in run(["readelf", "-d", files["libQV_3D.so"]]), "the library has a run path")
    for name in ("QV_3D.pc", "QV_3DConfig.cmake", f"QV_3DConfig-{config}.cmake"):
        with open(files[name], encoding="utf-8") as file:
            text = file.read()
        checks.that(prefix not in text and arguments.source not in text, f"{name} cannot be moved")
    return files


def build_by_cmake(example, work, prefix):
    command = ["cmake", "-S", example, "-B", work, f"-DCMAKE_PREFIX_PATH={prefix}", "-DCMAKE_BUILD_TYPE=Release"]
    if windows:
        command += [f"-DCMAKE_TOOLCHAIN_FILE={arguments.toolchain}", f"-DQV_3D_DIR={prefix}/lib/cmake/QV_3D",
                    "-DCMAKE_EXE_LINKER_FLAGS=-static"]
    else:
        command += [f"-DCMAKE_C_COMPILER={arguments.c}", f"-DCMAKE_CXX_COMPILER={arguments.cxx}"]
    run(command)
    run(["cmake", "--build", work])
    return os.path.join(work, os.path.basename(example) + (".exe" if windows else ""))


def build_by_pkg_config(example, work, package_file):
    os.makedirs(work)
    environment = {**os.environ, "PKG_CONFIG_PATH": os.path.dirname(package_file)}
    flags = run(["pkg-config", "--cflags", "--libs", "QV_3D"], env=environment).split()
    version = run(["pkg-config", "--modversion", "QV_3D"], env=environment).strip()
    checks.that(version == arguments.version, f"pkg-config says version {version}")
    program = os.path.join(work, "program" + (".exe" if windows else ""))
    is_c = os.path.exists(os.path.join(example, "main.c"))
    source = os.path.join(example, "main.c" if is_c else "main.cpp")
    compiler = arguments.c if is_c else arguments.cxx
    # On Windows the compiler's own run time is linked in, so that the program runs where no MinGW is.
    own_runtime = ["-static", "-Wl,-Bdynamic"] if windows else []
    run([compiler, source, "-o", program, *own_runtime, *flags, *(["-Wl,-Bstatic"] if windows else [])])
    return program


def check_output(program, name, files):
    environment = dict(os.environ)
    if windows:
        if not arguments.emulator:
            checks.that(os.path.exists(program), f"{name} was not built")
            print(f"{program} is built but not run: no emulator")
            return
        shutil.copy(files["QV_3D.dll"], os.path.dirname(program))
        text = run([arguments.emulator, program]).replace("\r\n", "\n")
    else:
        environment["LD_LIBRARY_PATH"] = os.path.dirname(files["libQV_3D.so"])
        text = run([program], env=environment)
    checks.that(text.endswith(EXPECTED[name]), f"{program} printed:\n{text}")


with tempfile.TemporaryDirectory() as folder:
    run(["cmake", "--install", arguments.build, "--prefix", f"{folder}/first", "--config", arguments.config])
    # Moved, as a package that is unpacked elsewhere.
    prefix = f"{folder}/moved"
    os.rename(f"{folder}/first", prefix)
    installed = check_files(prefix)
    if arguments.host and not windows:
        checks.that("Usage" in run([installed["qv3d"], "--help"]), "the installed host program does not start")
    for name in EXPECTED:
        example = os.path.join(folder, name)
        shutil.copytree(os.path.join(arguments.source, "examples", name), example)
        check_output(build_by_cmake(example, f"{folder}/{name}-cmake", prefix), name, installed)
        check_output(build_by_pkg_config(example, f"{folder}/{name}-pc", installed["QV_3D.pc"]), name, installed)
checks.finish()
