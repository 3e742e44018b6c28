"""Every export is declared in the header, in the order of the table, under a comment of its own; and nothing else is."""
import argparse
import re

from common import Checks, read_table

parser = argparse.ArgumentParser()
parser.add_argument("--header", required=True)
parser.add_argument("--table", required=True)
arguments = parser.parse_args()

with open(arguments.header, encoding="utf-8") as file:
    header = file.read()
names = [name for name, _ in read_table(arguments.table)]
checks = Checks()

# A declaration with the comment that ends right above it.
declaration = re.compile(r"(/\*(?:(?!\*/).)*\*/\n)?QV_API [^;]*? QV_CALL (\w+)\(", re.DOTALL)
found = declaration.findall(header)
checks.that([name for _, name in found] == names, "the header's declarations are not the table's, in its order")
checks.that(header.count("QV_API ") - header.count("#define QV_API ") == len(names), "a declaration was not understood")
for comment, name in found:
    text = comment.strip("/* \n")
    checks.that(len(text) >= 8 and not text.startswith("="), f"{name} has no documentation comment")
checks.finish()
