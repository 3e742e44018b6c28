"""Links between the pages lead to files, and to headings, that are there."""
import argparse
import os
import re
import sys

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "interface"))
from common import Checks  # noqa: E402

parser = argparse.ArgumentParser()
parser.add_argument("--source", required=True)
arguments = parser.parse_args()
checks = Checks()


def without_code(path):
    with open(path, encoding="utf-8") as file:
        return re.sub(r"(?ms)^```.*?^```$", "", file.read())


def anchors(path):
    """Of the headings, as they are made where pages are shown: small letters, no punctuation, dashes for blanks."""
    headings = re.findall(r"(?m)^#+ (.*)$", without_code(path))
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def pages():
    for folder, folders, names in os.walk(arguments.source):
        folders[:] = [name for name in folders if name not in (".git", "build", "out")]
        yield from (os.path.join(folder, name) for name in sorted(names) if name.endswith(".md"))


links = 0
for page in pages():
    for target in re.findall(r"\]\(([^)\s]+)\)", without_code(page)):
        if re.match(r"\w+:", target):
            continue
        path, _, anchor = target.partition("#")
        path = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
        where = f"{os.path.relpath(page, arguments.source)}: {target}"
        checks.that(os.path.exists(path), f"{where} is not there")
        if anchor and os.path.exists(path):
            checks.that(anchor in anchors(path), f"{where}: no such heading")
        links += 1
checks.that(links > 50, f"only {links} links found")
checks.finish()
