#!/usr/bin/env python3
"""Prints the coverage of each folder, and of the library as a whole, after tests ran in the preset coverage.

usage: coverage_report.py BUILD_FOLDER REASONS.md [--gaps]

Run at the root of the repository; asks gcov for what the objects below BUILD_FOLDER counted. A line is reached
when any function, or instance of a template, that it is compiled into is. Branches are the ways out of
decisions, again of all instances together: that a call returns or throws is none, for nobody wrote it down;
gcovr cannot tell the two apart where a call was never made, which is why it only draws the pages.

REASONS.md names every line of the library, vakbase to vakmodel, that no test reaches, in a table:

    | `file` | `line` | why no test reaches it |

with the line as it stands in the file. Ends with 1 when the library is below one of the limits, when a line is
neither reached nor named, or when there is nothing to count. Named lines that are reached or gone are told: some
are reached when threads meet, the others have no place on the page any more.

--gaps lists every line and every line with a branch that no test takes, and judges nothing.
"""

import json
import os
import re
import subprocess
import sys
from collections import defaultdict

LEAST_LINES = 97.0
LEAST_BRANCHES = 90.0
LIBRARY = ("vakbase", "vakenv", "vaksupport", "vakmodel")
COUNTED = re.compile(r"vak(base|env|support|model|solver)/")
BATCH = 40  # objects that gcov is asked about at once
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


def is_library(path):
    return path.split("/")[0] in LIBRARY


def decisions(branches):
    """The counts of the ways out of decisions: without calls, of which gcov lists "returns" and "throws"."""
    counts = []
    for branch in branches:
        if branch["throw"]:
            if counts and counts[-1][1]:
                counts.pop()
            continue
        counts.append((branch["count"], branch["fallthrough"]))
    return [taken for taken, _ in counts]


def measure(folder):
    """What gcov counted: for each file, by line number, the executions and the counts of the branches."""
    notes = sorted(
        os.path.join(root, name)
        for root, _, names in os.walk(folder)
        for name in names
        if name.endswith(".gcno") and ".dir" in root and "vak_header_check.dir" not in root
    )
    executions = defaultdict(int)
    branches = {}
    here = os.getcwd()
    for first in range(0, len(notes), BATCH):
        command = ["gcov", "--json-format", "--stdout", "--branch-probabilities", "--branch-counts"]
        command += ["--relative-only", "--source-prefix", here]
        output = subprocess.run(
            command + notes[first : first + BATCH], check=True, capture_output=True, text=True
        ).stdout
        for unit in filter(None, output.splitlines()):
            for file in json.loads(unit)["files"]:
                path = os.path.relpath(file["file"], here)
                if not COUNTED.match(path):
                    continue
                for line in file["lines"]:
                    place = (path, line["line_number"])
                    executions[place] += line["count"]
                    taken = decisions(line["branches"])
                    if taken:
                        merged = branches.setdefault(place, {}).setdefault(len(taken), [0] * len(taken))
                        for i, number in enumerate(taken):
                            merged[i] += number
    files = defaultdict(list)
    for path, number in sorted(executions):
        ways = [way for group in branches.get((path, number), {}).values() for way in group]
        files[path].append({"line_number": number, "count": executions[path, number], "branches": ways})
    return files


def count(lines):
    """The four counts of a file."""
    counts = dict.fromkeys(KINDS, 0)
    for line in lines:
        counts["line_total"] += 1
        counts["line_covered"] += line["count"] > 0
        counts["branch_total"] += len(line["branches"])
        counts["branch_covered"] += sum(taken > 0 for taken in line["branches"])
    return counts


def read_source(path):
    with open(path, encoding="utf-8") as source:
        return source.read().splitlines()


def print_gaps(files):
    for path, lines in files.items():
        source = read_source(path)
        for line in lines:
            number = line["line_number"]
            missed = line["branches"].count(0)
            if line["count"] and not missed:
                continue
            mark = "line" if not line["count"] else f"{missed} of {len(line['branches'])}"
            print(f"{path}:{number}: {mark}: {source[number - 1].strip()}")


def unreached(files):
    """Path and text of every line of the library that no test reaches."""
    found = {}
    for path, lines in files.items():
        if not is_library(path):
            continue
        source = read_source(path)
        for line in lines:
            if not line["count"]:
                found.setdefault((path, source[line["line_number"] - 1].strip()), line["line_number"])
    return found


def read_reasons(path):
    """Path and text of every line that a table of the page names."""
    named = set()
    with open(path, encoding="utf-8") as page:
        for text in page:
            if not text.startswith("| `"):
                continue
            file, line, reason = (cell.strip() for cell in text.strip().strip("|").split(" | ", 2))
            if not reason:
                sys.exit(f"coverage_report.py: {path}: no reason for {line}")
            named.add((file.strip("`"), line.strip("`").strip().replace("\\|", "|")))
    return named


def compare(files, page):
    """Prints what the page and the lines that no test reaches do not have in common; true if all are named."""
    found = unreached(files)
    named = read_reasons(page)
    for path, line in sorted(set(found) - named):
        print(f"{path}:{found[path, line]}: no test reaches this, and {page} does not say why: {line}")
    for path, line in sorted(named - set(found)):
        print(f"{path}: note: {page} names a line that is reached or gone: {line}")
    return set(found) <= named


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--gaps"]
    if len(arguments) != 2:
        sys.exit(__doc__)
    files = measure(arguments[0])
    if not any(is_library(path) for path in files):
        sys.exit("coverage_report.py: no file of the library was counted")
    if "--gaps" in sys.argv:
        print_gaps(files)
        return

    folders = defaultdict(lambda: dict.fromkeys(KINDS, 0))
    library = dict.fromkeys(KINDS, 0)
    for path, lines in files.items():
        for kind, number in count(lines).items():
            folders[os.path.dirname(path)][kind] += number
            if is_library(path):
                library[kind] += number
    print(f"{'folder':<24} {'lines':>25}  {'branches':>25}")
    for folder in sorted(folders):
        row(folder, folders[folder])
    lines, branches = row("vakbase to vakmodel", library)
    agrees = compare(files, arguments[1])
    if lines < LEAST_LINES or branches < LEAST_BRANCHES:
        sys.exit(f"below {LEAST_LINES} % of lines or {LEAST_BRANCHES} % of branches")
    if not agrees:
        sys.exit(1)


if __name__ == "__main__":
    main()
