#!/usr/bin/env python3
"""Holds the fault matrix to the public functions of the library.

Every function that public_functions.py finds is named by an operation of tests/fault/matrix/*_faults.cpp, or
stands in tests/fault/matrix/undriven.txt with a reason. An operation names no function that does not exist.
The source that names a function also has its name in its code, unless it is named with a star: such a
function is reached through those that are called.

Prints one line per offence and ends with 1 if there is any.

usage: check_fault_matrix.py [ROOT]
"""

import re
import sys
from fnmatch import fnmatchcase

from offences import report
from public_functions import public_functions

TEXT = r'"(?:[^"\\]|\\.)*"'
OPERATION = re.compile(rf"\{{\s*{TEXT},\s*((?:{TEXT}\s*)+),")


def named_functions(source):
    """The functions that the operations of a source name."""
    for operation in OPERATION.finditer(source):
        text = "".join(part[1:-1] for part in re.findall(TEXT, operation[1]))
        yield from text.split()


def is_operator(function):
    return function.split("::")[-1].startswith("operator")


def is_used(function, code):
    """Whether the code, in which texts are left out, has the function's own name as a word."""
    name = function.split("::")[-1]
    if not is_operator(function):
        return re.search(rf"\b{name}\b", code) is not None
    return name.startswith("operator_") or name.removeprefix("operator")[0] in code


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
    offences, driven = [], set()
    for path in sorted(matrix.glob("*_faults.cpp")):
        source = path.read_text(encoding="utf-8")
        code = re.sub(TEXT, '""', re.sub(r"//[^\n]*", "", source))
        for named in named_functions(source):
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
