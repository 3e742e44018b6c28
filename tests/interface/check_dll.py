"""The DLL exports exactly the table, undecorated, and imports only what Windows has. On 32-bit Windows every export
takes its arguments from the stack and aligns the stack. Moves of wide vectors are unaligned ones: the compiler aligns
the stack to 16 bytes only."""
import argparse
import re

from common import WINDOWS_LIBRARIES, Checks, imported_libraries, read_table, run

parser = argparse.ArgumentParser()
for option in ("--library", "--import-library", "--table", "--objdump", "--nm"):
    parser.add_argument(option, required=True)
arguments = parser.parse_args()
checks = Checks()
table = read_table(arguments.table)
names = [name for name, _ in table]


def section(text, start):
    """The indented rows that follow a heading."""
    return re.search(start + r".*\n((?:[ \t].*\n)+)", text).group(1)


headers = run([arguments.objdump, "-p", arguments.library])
is_32_bit = "file format pei-i386" in headers
exported = re.findall(r"\[ *\d+\] (\S+)", section(headers, r"\[Ordinal/Name Pointer\] Table"))
checks.same_names(exported, names, "exported names")
checks.that("Forwarder RVA" not in headers, "an export is forwarded")
imported = imported_libraries(headers)
checks.that(imported != [], "no imports were found")
for name in imported:
    checks.that(name in WINDOWS_LIBRARIES, f"imports {name}")

# Callers are compiled to ask the import library for these names.
decorated = [f"_{name}@{size}" if is_32_bit else name for name, size in table]
offered = re.findall(r" T (\S+)", run([arguments.nm, arguments.import_library]))
checks.same_names(offered, decorated, "the import library's functions")
for what in re.findall(r"^.*\.dll$", run(["strings", arguments.import_library]), re.MULTILINE):
    checks.that(what == "QV_3D.dll", f"the import library names {what}")

# symbol -> its instructions, up to the next symbol; the compiler's jumps between parts of one function are followed.
code = {}
body = None
for line in run([arguments.objdump, "-d", "--no-show-raw-insn", arguments.library]).splitlines():
    label = re.fullmatch(r"[0-9a-f]+ <(.*)>:", line)
    if label:
        body = code.setdefault(label.group(1), [])
    elif re.match(r" *[0-9a-f]+:\t", line):
        body.append(line.split("\t", 1)[1].strip())

wide_moves = 0
for symbol, instructions in code.items():
    for instruction in instructions:
        if re.match(r"v?mov\w+ .*%[yz]mm\d+", instruction):
            wide_moves += 1
            if "(" in instruction:
                checks.that(not re.match(r"vmov(ap|dqa)", instruction), f"{symbol}: {instruction}")
checks.that(wide_moves > 100, "no code for wide vectors was seen")


def parts(symbol):
    """The symbols whose code belongs to a function: itself and what it jumps to."""
    found, waiting = set(), [symbol]
    while waiting:
        part = waiting.pop()
        if part in found:
            continue
        found.add(part)
        for instruction in code[part]:
            target = re.match(r"(?:bnd )?j\w+ +[0-9a-f]+ <([^+>]+)(?:\+0x[0-9a-f]+)?>", instruction)
            if target:
                waiting.append(target.group(1))
    return found


def check_32_bit(name, size):
    symbol = f"_{name}@{size}"
    if symbol not in code:
        checks.that(False, f"{symbol}: no code was found")
        return
    instructions = [instruction for part in parts(symbol) for instruction in code[part]]
    returns = [instruction for instruction in instructions if re.match(r"ret\b", instruction)]
    expected = f"ret $0x{size:x}" if size else "ret"
    checks.that(returns != [] or has_noreturn_end(instructions), f"{name} never returns")
    for instruction in returns:
        checks.that(" ".join(instruction.split()) == expected, f"{name}: {instruction}, should be {expected}")
    for instruction in instructions:
        leaves = re.match(r"jmp +\*(?!.*,4\))", instruction)
        checks.that(not leaves, f"{name} leaves by {instruction}: cannot see how it returns")
    aligns = any(re.match(r"and +\$0xf+[0ec8],%esp", instruction) for instruction in instructions)
    calls = any(instruction.startswith("call") for instruction in instructions)
    spills = any(re.match(r"v?mov(ap|dqa)\w* .*\(%e[bs]p", instruction) for instruction in instructions)
    checks.that(aligns or not (calls or spills), f"{name} needs an aligned stack and does not align it")


def has_noreturn_end(instructions):
    return bool(instructions) and instructions[-1].startswith("ud2")


if is_32_bit:
    for name, size in table:
        check_32_bit(name, size)
checks.finish()
