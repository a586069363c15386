#!/usr/bin/env python3
"""Holds that every public class says by which threads and in which phases of life it may be used.

A class or struct that an installed header defines has, in the comment above it, a line that begins with
"Threads:" and one that begins with "Phases:"; vakenv/environment.h says what their words mean. The first word
behind each is one of those. An exception has the contract of VakException, and a class that is nested in
another one the contract of that one, unless they have lines of their own.

Prints one line per offence and ends with 1 if there is any.

usage: check_contracts.py [ROOT]
"""

import re
import sys

from offences import report
from public_functions import headers

DEFINITION = re.compile(r"^(?:class|struct) (\w+)((?:::\w+|<)?)[^;]*$")
ROOT_OF_EXCEPTIONS = "VakException"
WORDS = {
    "Threads": ("thread safe", "confined", "read-shared"),
    "Phases": ("any", "open", "told", "ending"),
}


def find_definitions(text):
    """Triples of name, bases and comment of the classes that a header defines at its outermost level."""
    lines = text.split("\n")
    for at, line in enumerate(lines):
        match = DEFINITION.match(line)
        if not match or match[2] or line.rstrip().endswith(";"):
            continue
        head = " ".join(lines[at : at + 3]).split("{")[0]
        if ";" in head:
            continue
        bases = re.findall(r"(?:public|private|protected)\s+((?:\w|::)+)", head)
        first = at
        while first > 0 and re.match(r"template\b|requires\b", lines[first - 1]):
            first -= 1
        comment = []
        while first > 0 and lines[first - 1].startswith("///"):
            first -= 1
            comment.insert(0, lines[first][3:].strip())
        yield match[1], bases, comment


def is_exception(name, bases_of):
    """True when a class derives from the root of exceptions."""
    waiting, seen = [name], set()
    while waiting:
        at = waiting.pop()
        if at == ROOT_OF_EXCEPTIONS:
            return True
        if at not in seen:
            seen.add(at)
            waiting += bases_of.get(at, [])
    return False


def find_comment_offences(comment):
    """What the comment of a class lacks."""
    for title, words in WORDS.items():
        line = next((line for line in comment if line.startswith(f"{title}:")), None)
        if line is None:
            yield f'has no line "{title}:"'
        elif not line.removeprefix(f"{title}:").strip().startswith(words):
            yield f'has behind "{title}:" none of the words {", ".join(words)}'


def find_offences(root):
    classes = []
    for header in sorted(set(headers(root))):
        name = header.relative_to(root).as_posix()
        classes += [(name, *each) for each in find_definitions(header.read_text(encoding="utf-8"))]
    bases_of = {name: bases for _, name, bases, _ in classes}
    if not classes:
        return ["no public class was found"]
    offences = []
    for file, name, _, comment in classes:
        if name != ROOT_OF_EXCEPTIONS and is_exception(name, bases_of):
            continue
        offences += [f"{file}: {name} {offence}" for offence in find_comment_offences(comment)]
    return offences


if __name__ == "__main__":
    sys.exit(report(find_offences, sys.argv[1:]))
