#!/usr/bin/env python3
"""Turns Google Benchmark JSON files into one Markdown table of medians and ratios.

Benchmarks are named case/contender[/arguments]; the contender QV_3D is compared with each other one of its case and
arguments. Contenders without a partner are listed by themselves. Contenders that were called in turn
(alternating.h) bring both times and the median ratio of their pairs.

usage: summary.py result.json ...
"""

import json
import re
import sys
from collections import defaultdict

OURS = "QV_3D"
TO_MILLISECONDS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def medians(path):
    """Yields (case with arguments, contender, milliseconds, ratio of a pair or None) of a result file."""
    with open(path, encoding="utf-8") as file:
        results = json.load(file)
    for row in results["benchmarks"]:
        if row.get("aggregate_name") != "median":
            continue
        case, contender, *arguments = row["run_name"].split("/")
        # How it was run is no part of the case.
        arguments = [a for a in arguments if a not in ("real_time", "process_time") and ":" not in a]
        case = " ".join([case, *arguments])
        if "ratio" in row:
            yield case, OURS, row["ours_ms"], None
            yield case, contender, row["theirs_ms"], row["ratio"]
        else:
            yield case, contender, row["real_time"] * TO_MILLISECONDS[row["time_unit"]], None


def natural(item):
    """Sizes as numbers: 3 before 15."""
    return [(int(part), "") if part.isdigit() else (-1, part.lower()) for part in re.split(r"(\d+)", item[0])]


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    cases = defaultdict(dict)
    ratios = {}
    for path in sys.argv[1:]:
        for case, contender, time, ratio in medians(path):
            cases[case][contender] = time
            if ratio is not None:
                ratios[case, contender] = ratio
    print("| case | contender | ms | QV_3D / contender |")
    print("|---|---|---:|---:|")
    for case, times in sorted(cases.items(), key=natural):
        ours = times.get(OURS)
        for contender, time in sorted(times.items(), key=lambda item: (item[0] != OURS, item[0])):
            ratio = "" if ours is None or contender == OURS else f"{ratios.get((case, contender), ours / time):.3f}"
            print(f"| {case} | {contender} | {time:.3g} | {ratio} |")


if __name__ == "__main__":
    main()
