"""What the checks of the public face share."""
import re
import subprocess
import sys


def run(command, status=0, **options):
    """Runs a command and returns what it printed; another exit status ends the check with the command and its words."""
    command = [str(word) for word in command]
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    if done.returncode != status:
        sys.exit(f"FAILED ({done.returncode}): {' '.join(command)}\n{done.stdout}")
    return done.stdout


def read_table(path):
    """The export table: a list of (name, bytes of arguments)."""
    rows = []
    with open(path, encoding="utf-8") as file:
        for line in file:
            if line.startswith("QV_EXPORT"):
                name, size = re.fullmatch(r"QV_EXPORT\((\w+), (\d+)\)\n", line).groups()
                rows.append((name, int(size)))
    if not rows:
        sys.exit(f"{path} has no rows")
    return rows


# What every Windows has.
WINDOWS_LIBRARIES = {"kernel32.dll", "msvcrt.dll", "user32.dll", "gdi32.dll", "opengl32.dll"}


def imported_libraries(headers):
    """The names, in lower case, of the DLLs that `objdump -p` says a file imports."""
    return [name.lower() for name in re.findall(r"DLL Name: (\S+)", headers)]


class Checks:
    """Counts what was checked and prints what failed."""

    def __init__(self):
        self.passed = 0
        self.failed = 0

    def that(self, holds, complaint):
        if holds:
            self.passed += 1
        else:
            self.failed += 1
            print(f"FAILED: {complaint}")

    def same_names(self, actual, expected, what):
        for name in sorted(set(expected) - set(actual)):
            self.that(False, f"{what}: {name} is missing")
        for name in sorted(set(actual) - set(expected)):
            self.that(False, f"{what}: {name} should not be there")
        self.that(sorted(actual) == sorted(expected), f"{what}: the lists differ")

    def finish(self):
        print(f"{self.passed} passed, {self.failed} failed")
        sys.exit(1 if self.failed or not self.passed else 0)
