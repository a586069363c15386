#!/usr/bin/env python3
"""Holds that every public call says by which threads and in which phases of life it may be used, and what it owes.

A class or struct that an installed header defines has, in the comment above it, a line that begins with
"Threads:" and one that begins with "Phases:"; vakenv/environment.h says what their words mean. The first word
behind each is one of those. An exception has the contract of VakException, and a class that is nested in
another one the contract of that one, unless they have lines of their own.

A class has a line that begins with "Gives back:" too if one of its public functions is named after handing out
(make, allocate, clone, lock, ...) or taking back (end, free, release, ...), or if it derives from the objects
that `delete` gives back.

A free function has the contract of the class of its first argument that has one. One without such an argument
says in its comment "Threads:" and "Phases:" as a class does, on lines of their own or both on one; functions
below one comment share it. One that is named after handing out says "Gives back:", unless it returns a class,
which says it where anything is owed for its objects.

Prints one line per offence and ends with 1 if there is any.

usage: check_contracts.py [ROOT]
"""

import re
import sys

from offences import report
from public_functions import (
    declarations_with_places,
    drop_templates,
    function_name,
    headers,
    public_functions,
    skip_balanced,
    strip,
)

DEFINITION = re.compile(r"^(?:class|struct) (\w+)((?:::\w+|<)?)[^;]*$")
ROOT_OF_EXCEPTIONS = "VakException"
OBJECT_BASES = ("VakEnvObjectI", "VakRttiEnvObjectI", "VakMemoryManagerObjectI", "VakRttiMemoryManagerObjectI")
HANDS_OUT = re.compile(r"(make|new|take|alloc|allocate|create|construct|copy|clone|strDup|lock|book|open|read|initMT)(?![a-z])")
TAKES_BACK = re.compile(r"(free|release|giveBack|unlock|deallocate|recycle)(?![a-z])")
GIVES_BACK = "Gives back:"
NO_FUNCTION = re.compile(r"(?:friend\s+)?(class|struct|enum|namespace|concept|using|typedef|extern|static_assert)\b")
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


def derives_from(name, roots, bases_of):
    """True when a class is one of `roots` or derives from one."""
    waiting, seen = [name], set()
    while waiting:
        at = waiting.pop()
        if at in roots:
            return True
        if at not in seen:
            seen.add(at)
            waiting += bases_of.get(at, [])
    return False


def says(comment, title):
    """True when a line of the comment begins with the title."""
    return any(line.startswith(title) for line in comment)


def begins_with_word(text, words):
    return any(re.match(rf"{word}\b", text) for word in words)


def find_comment_offences(comment):
    """What the comment of a class lacks."""
    for title, words in WORDS.items():
        line = next((line for line in comment if line.startswith(f"{title}:")), None)
        if line is None:
            yield f'has no line "{title}:"'
        elif not begins_with_word(line.removeprefix(f"{title}:").strip(), words):
            yield f'has behind "{title}:" none of the words {", ".join(words)}'


def find_debts(name, members, bases_of):
    """Why a class owes a line about giving back: the names of its functions, or its base."""
    names = sorted(member[:1].lower() + member[1:] for member in members)
    for member in names:
        is_end = member == "end" and "begin" not in names
        if HANDS_OUT.match(member) or TAKES_BACK.match(member) or is_end:
            yield member
    if name not in OBJECT_BASES and derives_from(name, OBJECT_BASES, bases_of):
        yield "delete"


def find_class_offences(classes, members_of):
    bases_of = {name: bases for _, name, bases, _ in classes}
    for file, name, _, comment in classes:
        if name != ROOT_OF_EXCEPTIONS and derives_from(name, (ROOT_OF_EXCEPTIONS,), bases_of):
            continue
        for offence in find_comment_offences(comment):
            yield f"{file}: {name} {offence}"
        debts = list(find_debts(name, members_of.get(name, ()), bases_of))
        if debts and not says(comment, GIVES_BACK):
            yield f'{file}: {name} has {debts[0]} and no line "{GIVES_BACK}"'


def find_comment_above(lines, at):
    """The comment that holds for the declaration in line `at`: the next one above it, up to an empty line."""
    while at > 0 and lines[at - 1].strip() and not lines[at - 1].startswith("///"):
        at -= 1
    comment = []
    while at > 0 and lines[at - 1].startswith("///"):
        at -= 1
        comment.insert(0, lines[at][3:].strip())
    return comment


def find_free_functions(text):
    """Quadruples of name, what stands before it, parameters and comment of the free functions of a header."""
    lines = text.split("\n")
    bare = strip(text)
    for head, _, start in declarations_with_places(bare):
        declaration = drop_templates(head)
        name = None if NO_FUNCTION.match(declaration) else function_name(declaration)
        place = name and re.search(re.escape(name).replace("operator", r"operator\s*") + r"\s*\(", declaration)
        # A member that is defined outside its class has the contract of the class.
        if not place or declaration[: place.start()].endswith("::"):
            continue
        opening = place.end() - 1
        parameters = declaration[opening + 1 : skip_balanced(declaration, opening, "(", ")") - 1]
        first = start + len(head) - len(head.lstrip())
        comment = find_comment_above(lines, bare.count("\n", 0, first))
        yield name, declaration[: place.start()], parameters, comment


def find_function_offences(name, result, parameters, comment, comment_of):
    """What the comment of a free function lacks; `comment_of` are the comments of the classes."""
    has_class = any(word in comment_of for word in re.findall(r"\w+", parameters))
    text = " ".join(comment)
    for title, words in WORDS.items():
        said = re.search(rf"\b{title}: (.*)", text)
        if said is None and not has_class:
            yield f'has no argument of a class and does not say "{title}:"'
        elif said is not None and not begins_with_word(said[1], words):
            yield f'has behind "{title}:" none of the words {", ".join(words)}'
    verb = name.removeprefix("Vak")
    if not HANDS_OUT.match(verb[:1].lower() + verb[1:]) or says(comment, GIVES_BACK):
        return
    if not any(word in comment_of for word in re.findall(r"\w+", result)):
        yield f'hands something out and does not say "{GIVES_BACK}"'


def find_offences(root):
    texts = {header: header.read_text(encoding="utf-8") for header in sorted(set(headers(root)))}
    names = {header: header.relative_to(root).as_posix() for header in texts}
    classes = [(names[header], *each) for header, text in texts.items() for each in find_definitions(text)]
    if not classes:
        return ["no public class was found"]
    members_of = {}
    for function in public_functions(root):
        scope, _, member = function.rpartition("::")
        members_of.setdefault(scope, set()).add(member)
    offences = list(find_class_offences(classes, members_of))
    comment_of = {name: comment for _, name, _, comment in classes}
    for header, text in texts.items():
        for name, *function in find_free_functions(text):
            for offence in find_function_offences(name, *function, comment_of):
                offences.append(f"{names[header]}: {name} {offence}")
    return offences


if __name__ == "__main__":
    sys.exit(report(find_offences, sys.argv[1:]))
