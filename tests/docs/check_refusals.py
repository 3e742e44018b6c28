"""check_samples.py must refuse a page whose samples are wrong. Its options are passed on to it."""
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.append(os.path.join(HERE, "..", "interface"))
from common import Checks  # noqa: E402

SAMPLE = """<!-- program: sample -->
```c
#include <QV_3D.h>
#include <stdio.h>
int main(void) {
  float z[1] = {2}, sa;
  ComputeAverage(z, 1, &sa);
  printf("%g\\n", sa);
  return 0;
}
```
<!-- prints: sample -->
```text
2
```
"""
# What is replaced in the page, by what, and what must be said of it; nothing where the page holds.
CASES = [
    ("", "", None),
    ("ComputeAverage(z, 1, &sa)", "ComputeAverage(z, &sa)", "too few arguments"),
    ("  printf", "  int unused;\n  printf", "unused"),
    ("```text\n2\n", "```text\n3\n", "should print"),
    ("```text\n2\n", "```text\n2\n2\n", "should print"),
    ("return 0", "return 3", "FAILED (3)"),
    ("<!-- program: sample -->\n", "", "a sample that nobody builds"),
    ("<!-- prints: sample -->", "<!-- prints: other -->", "which is not there"),
    ("<!-- prints: sample -->", "<!-- shows: sample -->", "none that is known"),
]

checks = Checks()
with tempfile.TemporaryDirectory() as folder:
    page = os.path.join(folder, "page.md")
    for old, new, complaint in CASES:
        assert old in SAMPLE
        with open(page, "w", encoding="utf-8") as file:
            file.write(SAMPLE.replace(old, new) if old else SAMPLE)
        done = subprocess.run([sys.executable, "-B", f"{HERE}/check_samples.py", *sys.argv[1:], page],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if complaint is None:
            checks.that(done.returncode == 0, f"the page that holds is refused:\n{done.stdout}")
        else:
            checks.that(done.returncode != 0 and complaint in done.stdout,
                        f"{old!r} as {new!r} gives {done.returncode} and\n{done.stdout}")
checks.finish()
