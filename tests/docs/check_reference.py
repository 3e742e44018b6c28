"""The reference builds without a warning, and has every export in a family, with its words."""
import argparse
import glob
import os
import re
import sys
import xml.etree.ElementTree as xml

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "interface"))
from common import Checks, read_table, run  # noqa: E402

parser = argparse.ArgumentParser()
for option in ("--build", "--table", "--header", "--doxygen"):
    parser.add_argument(option, required=True)
arguments = parser.parse_args()
if not os.path.exists(arguments.doxygen):
    print("skipped: doxygen is not installed")
    sys.exit(77)

checks = Checks()
run(["cmake", "--build", arguments.build, "--target", "reference"])
folder = f"{arguments.build}/reference"
families, words = {}, {}
for path in glob.glob(f"{folder}/xml/group__*.xml"):
    group = xml.parse(path).getroot().find("compounddef")
    for member in group.iter("memberdef"):
        name = member.findtext("name")
        families.setdefault(name, []).append(group.findtext("title"))
        words[name] = " ".join("".join(member.find(part).itertext()) for part in ("briefdescription", "detaileddescription"))
exports = [name for name, _ in read_table(arguments.table)]
checks.same_names(list(families), exports, "functions of the families")
for name in exports:
    checks.that(len(families.get(name, [])) == 1, f"{name} is in the families {families.get(name)}")
    checks.that(words.get(name, "").strip(), f"{name} has no words")
with open(arguments.header, encoding="utf-8") as file:
    header = file.read()
titles = re.findall(r"/\* ={20,}\n \* (.*)", header)
checks.same_names({title for in_families in families.values() for title in in_families}, titles, "families")
# What the filter must not lose on its way: messages with a backslash, comparisons, the essay.
messages = " ".join(words.values())
checks.that(messages.count("\\n") == header.count("\\n") > 0, "a message lost its end of line")
checks.that("\\\\" not in messages, "a backslash came twice")
checks.that("2^31" in words["ComputeFFTGrid"] + words["ComputeAmbientOcclusionData"], "a power is lost")
with open(f"{folder}/html/index.html", encoding="utf-8") as file:
    main_page = file.read()
for word in ("0 &lt;= x &lt; width", "QV_BAD_SAMPLE", "find_package", "<h2"):
    checks.that(word in main_page, f"the main page lacks {word}")
checks.finish()
