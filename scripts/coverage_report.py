#!/usr/bin/env python3
"""Prints the coverage of each folder from a summary that gcovr wrote, and of the library as a whole.

usage: coverage_report.py SUMMARY.json

Ends with 1 when the library, vakbase to vakmodel, is below one of the limits, or the summary has no files.
"""

import json
import os
import sys
from collections import defaultdict

LEAST_LINES = 97.0
LEAST_BRANCHES = 90.0
LIBRARY = ("vakbase", "vakenv", "vaksupport", "vakmodel")
KINDS = ("line_covered", "line_total", "branch_covered", "branch_total")


def percent(covered, total):
    return 100.0 * covered / total if total else 100.0


def row(name, counts):
    lines = percent(counts["line_covered"], counts["line_total"])
    branches = percent(counts["branch_covered"], counts["branch_total"])
    print(
        f"{name:<24} {counts['line_covered']:>6} of {counts['line_total']:>6} {lines:>6.1f} %"
        f"  {counts['branch_covered']:>6} of {counts['branch_total']:>6} {branches:>6.1f} %"
    )
    return lines, branches


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as summary:
        files = json.load(summary)["files"]
    folders = defaultdict(lambda: dict.fromkeys(KINDS, 0))
    library = dict.fromkeys(KINDS, 0)
    for file in files:
        folder = os.path.dirname(file["filename"])
        counted = [folders[folder]]
        if folder.split("/")[0] in LIBRARY:
            counted.append(library)
        for counts in counted:
            for kind in KINDS:
                counts[kind] += file[kind]
    if not library["line_total"]:
        sys.exit("coverage_report.py: the summary has no file of the library")

    print(f"{'folder':<24} {'lines':>25}  {'branches':>25}")
    for folder in sorted(folders):
        row(folder, folders[folder])
    lines, branches = row("vakbase to vakmodel", library)
    if lines < LEAST_LINES or branches < LEAST_BRANCHES:
        sys.exit(f"below {LEAST_LINES} % of lines or {LEAST_BRANCHES} % of branches")


if __name__ == "__main__":
    main()
