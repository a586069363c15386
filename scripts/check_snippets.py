#!/usr/bin/env python3
"""Holds that what the guide, the README and the architecture page show is what the tests build and run.

Every block marked cpp stands word for word, but for its indentation, in one of the programs below examples/; a
block marked text stands in what one of them writes, which its test compares; a block marked cmake stands in one
of the projects below tests/consumer/. Other blocks are marked too: sh for commands and console for sessions, which
tests/consumer/run_guide.py follows, and diagram for drawings.

Prints one line per offence and ends with 1 if there is any.

usage: check_snippets.py [ROOT]
"""

import re
import sys
import textwrap

from offences import report

TEXTS = ("README.md", "docs/architecture.md", "docs/guide/*.md")
SOURCES = {
    "cpp": ("examples/**/*.cpp",),
    "text": ("examples/**/*.txt",),
    "cmake": ("tests/consumer/*/CMakeLists.txt",),
}
FREE = ("sh", "console", "diagram")
BLOCK = re.compile(r"^( *)```(\w*)\n(.*?)^ *```$", re.MULTILINE | re.DOTALL)


def normalize(lines):
    """The lines without common indentation and blanks at their ends, between line ends."""
    return "\n" + textwrap.dedent("\n".join(line.rstrip() for line in lines)).strip("\n") + "\n"


def occurs(block, text):
    """True when the lines of a block follow each other in a text, all indented by the same."""
    wanted = normalize(block.split("\n")).strip("\n").split("\n")
    lines = [line.rstrip() for line in text.split("\n")]
    for at in range(len(lines) - len(wanted) + 1):
        if lines[at].strip() != wanted[0].strip():
            continue
        if normalize(lines[at : at + len(wanted)]).strip("\n").split("\n") == wanted:
            return True
    return False


def find_offences(root):
    texts = {
        kind: [path.read_text(encoding="utf-8") for pattern in patterns for path in sorted(root.glob(pattern))]
        for kind, patterns in SOURCES.items()
    }
    offences, count = [], 0
    for pattern in TEXTS:
        for page in sorted(root.glob(pattern)):
            text = page.read_text(encoding="utf-8")
            for match in BLOCK.finditer(text):
                kind, block = match[2], match[3]
                place = f"{page.relative_to(root).as_posix()}:{text[: match.start()].count(chr(10)) + 1}"
                if kind in FREE:
                    continue
                if kind not in SOURCES:
                    offences.append(f'{place}: a block is marked "{kind}", none of {", ".join([*SOURCES, *FREE])}')
                    continue
                count += 1
                if not any(occurs(block, source) for source in texts[kind]):
                    offences.append(f"{place}: nothing in {SOURCES[kind][0]} has this block of {kind}")
    return offences if count else [*offences, "no block was found"]


if __name__ == "__main__":
    sys.exit(report(find_offences, sys.argv[1:]))
