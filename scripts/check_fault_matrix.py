#!/usr/bin/env python3
"""Holds the fault matrix to the public functions of the library.

Every function that public_functions.py finds is named by an operation of tests/fault/matrix/*_faults.cpp, or
stands in tests/fault/matrix/undriven.txt with a reason. An operation names no function that does not exist.
The code of an operation that names a function has the function's name in it, or calls a function of its source
that has; unless it is named with a star: such a function is reached through those that are called.

Prints one line per offence and ends with 1 if there is any.

usage: check_fault_matrix.py [ROOT]
"""

import re
import sys
from fnmatch import fnmatchcase

from offences import report
from public_functions import declarations, drop_templates, function_name, public_functions, skip_balanced

TEXT = r'"(?:[^"\\]|\\.)*"'
CHARACTER = r"'(?:[^'\\]|\\.)'"
OPERATION = re.compile(rf"\{{\s*{TEXT},\s*((?:{TEXT}\s*)+),")


def without_comments(path):
    return re.sub(r"//[^\n]*|^#[^\n]*", "", path.read_text(encoding="utf-8"), flags=re.MULTILINE)


def blank_texts(source):
    """The source with as many blanks in place of every text and character."""
    return re.sub(rf"{TEXT}|{CHARACTER}", lambda text: " " * len(text[0]), source)


def helpers(body):
    """Maps the functions and classes that a source defines for its operations to their code."""
    found = {}
    for head, inner in declarations(body):
        if inner is None:
            continue
        head = drop_templates(head)
        named = re.match(r"(?:struct|class|union)\s+(\w+)", head)
        if head.startswith("namespace"):
            found |= helpers(inner)
        elif named:
            found[named[1]] = head + inner
        elif function_name(head):
            found[function_name(head)] = inner
    return found


def with_helpers(code, functions):
    """The code and that of all functions it leads to."""
    waiting, seen = [code], set()
    while waiting:
        part = waiting.pop()
        yield part
        for name in set(re.findall(r"\w+", part)) & functions.keys() - seen:
            seen.add(name)
            waiting.append(functions[name])


def operations(path, shared):
    """The operations of a source: the functions that each names, and its code."""
    source = without_comments(path)
    blank = blank_texts(source)
    functions = shared | helpers(blank)
    for operation in OPERATION.finditer(source):
        end = skip_balanced(blank, operation.start(), "{", "}")
        text = "".join(part[1:-1] for part in re.findall(TEXT, operation[1]))
        yield text.split(), "\n".join(with_helpers(blank[operation.end() : end], functions))


def is_operator(function):
    return function.split("::")[-1].startswith("operator")


def is_used(function, code):
    """Whether the code, in which texts are left out, has the function's own name as a word."""
    name = function.split("::")[-1]
    if not is_operator(function):
        return re.search(rf"\b{name}\b", code) is not None
    if name.startswith("operator_"):
        return True
    sign = re.match(r"\W+?(?=\(\w|$)", name.removeprefix("operator"))[0]
    return sign.removesuffix(")").removesuffix("]") in code


def read_exceptions(path):
    """Maps patterns to reasons."""
    exceptions = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            pattern, _, reason = line.partition(" ")
            exceptions[pattern] = reason.strip()
    return exceptions


def find_offences(root):
    matrix = root / "tests/fault/matrix"
    public = public_functions(root)
    offences, driven, shared = [], set(), {}
    for name in ("user_objects.h", "property_world.h"):
        shared |= helpers(blank_texts(without_comments(matrix / name)))
    for path in sorted(matrix.glob("*_faults.cpp")):
        for named, code in ((n, code) for names, code in operations(path, shared) for n in names):
            function = named.removesuffix("*") if not is_operator(named) else named
            driven.add(function)
            if function not in public:
                offences.append(f"{path.name}: names {function}, which is no public function")
            elif function == named and not is_used(function, code):
                offences.append(f"{path.name}: names {function} and does not use it")
    if not driven:
        return [f"{matrix}: no operation found"]
    exceptions = read_exceptions(matrix / "undriven.txt")
    fitted = set()
    for function in sorted(public - driven):
        pattern = next((p for p in exceptions if fnmatchcase(function, p)), None)
        if pattern is None:
            offences.append(f"{function} is driven by no operation")
        fitted.add(pattern)
    offences += [f"undriven.txt: {p} fits no function" for p in exceptions if p not in fitted]
    offences += [f"undriven.txt: {p} has no reason" for p, reason in exceptions.items() if not reason]
    return offences


if __name__ == "__main__":
    sys.exit(report(find_offences, sys.argv[1:]))
