#!/usr/bin/env python3
"""Turns headers and pages into what Doxygen reads.

Of what headers say in plain words, the comment at the top of a file becomes
that of the file, and the contract of a class three paragraphs with titles. A comment holds for each declaration that
follows it without an empty line between them and without a comment of its own, a plain one (//) also for a block
that it heads past an empty line; Doxygen gets it for each of them. What has its meaning
from the language or is the same for all classes, copies and the steps of an iterator, gets a fixed one. Names
of headers in angle brackets are no tags. What tells the language's own templates of a class is left out, because
Doxygen cannot place it.

Pages of text refer to pictures by their file names alone, and the README is called so.

usage: doxygen_filter.py FILE
"""

import re
import sys
from pathlib import Path

CONTRACT = re.compile(r"^(\s*)/// (Threads|Phases|Gives back): (.*)$")
# What free functions say on one line.
TWO_CONTRACTS = re.compile(r"^(\s*)/// (Threads: .*?\.) (Phases: .*)$", re.MULTILINE)
# A line of a comment, with a header's name in it.
HEADER_NAME = re.compile(r"(/// {0,3}[^ ].*?)<([a-z_]+)>")
SPECIALISATION = re.compile(r"(?:^///.*\n)*^template <[^\n]*>\n[^;\n]*\bstd::ranges::[^;]*;\n", re.MULTILINE)

# Where comments end to hold: scopes, access, preprocessor, stamps of the type system and titles of sections.
SCOPE = re.compile(r"\s*(?:template\s*<.*>\s*)?(?:class|struct|union|enum|namespace)\b")
BORDER = re.compile(r"\s*(?:(?:public|protected|private):|#|VAK_RTTI\w*\(|// ----|\})")
PLAIN = re.compile(r"(\s*)//(?: (?!NOLINT).*)?$")
# What is not itself shown: a comment reaches past it.
UNSEEN = re.compile(r"\s*(?:friend (?:class|struct)\b|using (?:\w+::)*\w+::[^=]*;|static_assert\b|(?:virtual )?~|.*= delete;)")
FIXED = (
    (
        re.compile(
            r"\s*using (?:(?:iterator|reverse|const)\w*|value_type|difference_type|size_type|pointer|reference"
            r"|result_type|propagate_\w+|is_always_equal) ="
        ),
        "As the standard library asks for it.",
    ),
    (
        re.compile(
            r".*\b(?:operator(?:\*|->)\(\) const|operator(?:\+\+|--)\((?:int)?\)|(?:begin|end)\(\) const"
            r"|operator(?:\[\]|\+=|-=)\(difference_type)"
        ),
        "As the standard library asks for it.",
    ),
    (re.compile(r"\s*class Iterator\b"), "An iterator, as the standard library asks for it."),
    (re.compile(r"\s*(?:constexpr |explicit )*(\w+)\(const \1(?:<\w+>)?& ?\w*\)"), "Copies."),
    (re.compile(r"\s*(\w+)& operator=\(const \1& ?\w*\)"), "Copies."),
    (re.compile(r"\s*(?:constexpr )?(\w+)\(\1&& ?\w*\)"), "Takes over what the other one holds."),
    (re.compile(r"\s*(\w+)& operator=\(\1&& ?\w*\)"), "Takes over what the other one holds."),
    (re.compile(r".*\boperator==\(const (\w+)& ?\w*\) const = default;"), "True when all members are equal."),
    (
        re.compile(r"\s*static void\* operator new\(std::size_t, void\* \w+\)"),
        "The language's own: places, takes nothing.",
    ),
    (re.compile(r"\s*static void operator delete\(void\*, void\*\)"), "The language's own: gives nothing back."),
    (re.compile(r".*\bfriend (?:constexpr )?(?:bool|auto) operator(?:==|<=>)"), "As the standard library asks for it."),
    (re.compile(r".*\* getImpl\(\) const"), "The implementation behind the handle, not owned; null for an empty one."),
    (re.compile(r".*\bisEmpty\(\) const \{ return _impl == nullptr"), "True for a handle of nothing."),
    (
        re.compile(r"\s*explicit \w+\(Vak\w+I\* impl\)"),
        "A handle of `impl`, which it does not own; null gives an empty one.",
    ),
    (
        re.compile(r"\s*explicit \w+\(VakEnvI\* (?:e|env|environment)\)"),
        "Of this environment, which is not owned and has to outlive it.",
    ),
    (re.compile(r"\s*explicit \w+\(VakMemoryManager manager\)"), "In the memory of this manager."),
    (
        re.compile(r"\s*explicit \w+\(const char\* message\)"),
        "With this text, which has to outlive the exception, as a literal does.",
    ),
)


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


def measure(line):
    """How many more brackets a line of code opens than it closes, and whether a declaration may end with it."""
    code = re.sub(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])\'', "0", line)
    code = re.sub(r"//.*", "", code).rstrip()
    return sum(code.count(c) for c in "({[") - sum(code.count(c) for c in ")}]"), code.endswith((";", "}"))


def find_end(lines, start):
    """The index behind the declaration that begins at `start`."""
    depth = 0
    for at in range(start, len(lines)):
        change, ends = measure(lines[at])
        depth += change
        if depth <= 0 and ends:
            return at + 1
    return len(lines)


def repeat_comments(lines):
    """The lines, where each declaration has the comment that holds for it."""
    comment, heading, own, heading_is_used, at = [], [], False, False, 0
    while at < len(lines):
        line = lines[at]
        if line.lstrip().startswith("///"):
            comment = []
            while at < len(lines) and lines[at].lstrip().startswith("///"):
                comment.append(lines[at])
                yield lines[at]
                at += 1
            own = True
            continue
        if BORDER.match(line) or not line.strip():
            comment, own = [], False
            if line.strip() or heading_is_used:
                heading = []
            yield line
            at += 1
            continue
        if PLAIN.match(line):
            comment, heading, own, heading_is_used = [], [], False, False
            while at < len(lines) and PLAIN.match(lines[at]):
                heading.append(lines[at].replace("//", "///", 1))
                yield lines[at]
                at += 1
            continue
        scope = SCOPE.match("".join(lines[at : at + 2]) if line.lstrip().startswith("template") else line)
        if scope:
            fixed = next((text for shape, text in FIXED if not own and shape.match(line)), None)
            if fixed:
                yield "/// " + fixed
            # What is in it is looked at like the rest.
            while at < len(lines):
                yield lines[at]
                at += 1
                if lines[at - 1].rstrip().endswith(("{", "}", ";")) or "{" in lines[at - 1]:
                    break
            comment, heading, own = [], [], False
            continue
        end = find_end(lines, at)
        # Doxygen takes what it says of an overridden function from the base.
        if not UNSEEN.match(line) and " override" not in "".join(lines[at:end]):
            if not own and "///<" not in "".join(lines[at:end]):
                fixed = next((text for shape, text in FIXED if shape.match(line)), None)
                yield from ["/// " + fixed] if fixed else comment or heading
            own, heading_is_used = False, True
        yield from lines[at:end]
        at = end


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
    text = TWO_CONTRACTS.sub(r"\1/// \2\n\1/// \3", text)
    lines = convert_contracts(repeat_comments(convert_head(text.split("\n"))))
    sys.stdout.write("\n".join(HEADER_NAME.sub(r"\1\\<\2\\>", line) for line in lines))


if __name__ == "__main__":
    main(sys.argv[1:])
