#!/usr/bin/env python3
"""Turns headers and pages into what Doxygen reads.

Of what headers say in plain words, the comment at the top of a file becomes
that of the file, and the contract of a class three paragraphs with titles. Names of headers in angle brackets are no tags. What tells the
language's own templates of a class is left out, because Doxygen cannot place it.

Pages of text refer to pictures by their file names alone, and the README is called so.

usage: doxygen_filter.py FILE
"""

import re
import sys
from pathlib import Path

CONTRACT = re.compile(r"^(\s*)/// (Threads|Phases|Gives back): (.*)$")
# A line of a comment, with a header's name in it.
HEADER_NAME = re.compile(r"(/// {0,3}[^ ].*?)<([a-z_]+)>")
SPECIALISATION = re.compile(r"(?:^///.*\n)*^template <[^\n]*>\n[^;\n]*\bstd::ranges::[^;]*;\n", re.MULTILINE)


def convert_head(lines):
    """The comment behind the first line, as one of the file; what is indented in it stays as it is set."""
    if lines[:2] != ["#pragma once", ""] or len(lines) < 3 or not re.match(r"//( |$)", lines[2]):
        return lines
    at, head, former = 2, ["/// @file"], ""
    while at < len(lines) and re.match(r"//( |$)", lines[at]):
        text = lines[at][2:]
        if re.match(r" {3}", text):
            if former.strip() and not re.match(r" {3}", former):
                head.append("///")
            head.append(f"///    {text}")
        else:
            if re.match(r" {3}", former) and text.strip():
                head.append("///")
            head.append(f"///{text}")
        former = text
        at += 1
    return [lines[0], *head, *lines[at:]]


def convert_contracts(lines):
    for line in lines:
        match = CONTRACT.match(line)
        if match:
            yield f"{match[1]}/// @par {match[2]}"
            yield f"{match[1]}/// {match[3]}"
        else:
            yield line


def convert_page(path, text):
    text = re.sub(r"\]\((?:\.\./)?diagrams/(\w+\.svg)\)", r"](\1)", text)
    if path.name == "README.md":
        text = re.sub(r"^# .*", "# README", text)
    return text


def main(arguments):
    path = Path(arguments[0])
    text = path.read_text(encoding="utf-8")
    if path.suffix == ".md":
        sys.stdout.write(convert_page(path, text))
        return
    text = SPECIALISATION.sub("", text)
    lines = convert_contracts(convert_head(text.split("\n")))
    sys.stdout.write("\n".join(HEADER_NAME.sub(r"\1\\<\2\\>", line) for line in lines))


if __name__ == "__main__":
    main(sys.argv[1:])
