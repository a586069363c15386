#!/usr/bin/env python3
"""Picks the inputs of a fuzz target that are worth keeping.

Reads the control file of a libFuzzer merge (-set_cover_merge=1 -merge_control_file=CONTROL), which says what each
input reaches, and copies into FOLDER, which is made anew, one after the other the input that reaches most of what
none before it reached, until nothing is missing or there are LIMIT inputs.

usage: pick_corpus.py CONTROL FOLDER LIMIT
"""

import shutil
import sys
from pathlib import Path


def read_control(path):
    """The files of a merge, and for each one what it reaches."""
    lines = Path(path).read_text(encoding="utf-8").splitlines()
    count = int(lines[0])
    files = lines[2 : 2 + count]
    reached = {}
    for line in lines[2 + count :]:
        word, *numbers = line.split()
        if word == "FT":
            reached[files[int(numbers[0])]] = {int(feature) for feature in numbers[1:]}
    return reached


def pick(reached, limit):
    """The best inputs, each chosen for what those before it leave; of equally good ones the shortest."""
    picked = []
    missing = set().union(*reached.values())
    left = dict(sorted(reached.items(), key=lambda item: (Path(item[0]).stat().st_size, item[0])))
    while missing and len(picked) < limit:
        best = max(left, key=lambda file: len(left[file] & missing))
        missing -= left.pop(best)
        picked.append(best)
    return picked, len(missing)


def main():
    control, folder, limit = sys.argv[1], Path(sys.argv[2]), int(sys.argv[3])
    picked, missing = pick(read_control(control), limit)
    contents = [Path(file).read_bytes() for file in picked]
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for number, content in enumerate(contents):
        (folder / f"{number:03}").write_bytes(content)
    print(f"{folder.name}: {len(picked)} inputs, {sum(map(len, contents))} bytes, {missing} features given up")


if __name__ == "__main__":
    main()
