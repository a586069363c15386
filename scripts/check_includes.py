#!/usr/bin/env python3
"""Holds the edges between the modules of the library.

Every folder of the library has a layer. A file includes files of its own layer or a lower one only, and
headers include one another without a circle. One exception, for sources only: a .cpp of layers 1 and 2 may
include vakenv/core/environment_impl.h, because allocators, object bases and identifiers look into the
environment. Includes in quotes name the file from the root of the repository, a source includes its own
header first, and the layers below the solver include no library but the standard one.

Prints one line per offence and ends with 1 if there is any.

usage: check_includes.py [ROOT]
"""

import re
import sys

from offences import report

# The most specific entry that fits a file counts: a file before its folder, a folder before its parent.
LAYERS = {
    "vakbase": 0,
    "vakenv/fwd.h": 1,
    "vakenv/types": 1,
    "vakenv/memory": 1,
    "vakenv/tables": 1,
    "vakenv/arrays": 1,
    "vakenv/utilities": 1,
    "vaksupport": 2,
    "vakenv/properties": 2,
    "vakenv/plugins": 2,
    "vakmodel/contract": 2,
    "vakmodel/domains": 2,
    # The application headers stand above the subsystems that they gather.
    "vakenv": 3,
    "vakenv/core": 3,
    "vakenv/registry": 3,
    "vakenv/domains": 3,
    "vakenv/inspect": 3,
    "vakmodel": 4,
    "vaksolver": 5,
}
SOLVER_LAYER = LAYERS["vaksolver"]
ENVIRONMENT_IMPLEMENTATION = "vakenv/core/environment_impl.h"
MAY_LOOK_INTO_ENVIRONMENT = (1, 2)
SYSTEM_HEADERS = {
    "cxxabi.h",
    "sanitizer/asan_interface.h",
    "sys/mman.h",
    "sys/times.h",
    "unistd.h",
}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def layer_of(path):
    """The layer of a file named from the root, or None if it belongs to no module."""
    parts = path.split("/")
    for length in range(len(parts), 0, -1):
        layer = LAYERS.get("/".join(parts[:length]))
        if layer is not None:
            return layer
    return None


def read_includes(root):
    """Maps every file of the library to its includes as (line, bracket, name)."""
    includes = {}
    for folder in sorted({entry.split("/")[0] for entry in LAYERS}):
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                text = path.read_text(encoding="utf-8")
                includes[path.relative_to(root).as_posix()] = [
                    (text.count("\n", 0, match.start(2)) + 1, match[1], match[2])
                    for match in INCLUDE.finditer(text)
                ]
    return includes


def edge_offence(file, bracket, name, root):
    """Says what is wrong with one include, or returns None."""
    layer = layer_of(file)
    if bracket == "<":
        if layer < SOLVER_LAYER and "." in name and name not in SYSTEM_HEADERS:
            return f"includes <{name}>, which is not of the standard library"
        return None
    if not (root / name).is_file():
        return f'includes "{name}", which is no file named from the root of the repository'
    target = layer_of(name)
    if target is None:
        return f'includes "{name}", which is not part of the library'
    if target <= layer:
        return None
    if (
        name == ENVIRONMENT_IMPLEMENTATION
        and file.endswith(".cpp")
        and layer in MAY_LOOK_INTO_ENVIRONMENT
    ):
        return None
    return f'of layer {layer} includes "{name}" of layer {target}'


def find_circles(includes):
    """Returns every circle of headers once, as the files along it."""
    circles, done, path = [], set(), []

    def visit(file):
        if file in path:
            circles.append(path[path.index(file) :] + [file])
            return
        if file in done:
            return
        path.append(file)
        for _, bracket, name in includes[file]:
            if bracket == '"' and name in includes:
                visit(name)
        path.pop()
        done.add(file)

    for file in includes:
        visit(file)
    return circles


def find_offences(root):
    includes = read_includes(root)
    if not includes:
        return [f"{root}: no file of the library found"]
    offences = []
    for file, lines in includes.items():
        for line, bracket, name in lines:
            offence = edge_offence(file, bracket, name, root)
            if offence:
                offences.append(f"{file}:{line}: {offence}")
        own = file.removesuffix(".cpp") + ".h"
        if own != file and own in includes and (not lines or lines[0][2] != own):
            offences.append(f'{file}:1: does not include its own header "{own}" first')
    offences += [f"{circle[0]}:1: circle {' -> '.join(circle)}" for circle in find_circles(includes)]
    return offences


if __name__ == "__main__":
    sys.exit(report(find_offences, sys.argv[1:]))
