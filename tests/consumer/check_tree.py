#!/usr/bin/env python3
"""Holds an installed tree to what may be installed.

Every file has to be one that a rule below expects, every public header has to be there and none else, some file
has to be there for each PATTERN, in which a star stands for any text, no header may include one that is missing, no file may name a folder of the build, and permissions are those of
files that anybody may read.

Prints one line per offence and ends with 1 if there is any.

usage: check_tree.py PREFIX --headers FILE [--require PATTERN ...] [--without FOLDER ...]

FILE names the public headers, one a line, from the root of the repository; FOLDER is a path that no
installed file may name.
"""

import argparse
import fnmatch
import re
import stat
import sys
from pathlib import Path

HEADERS = "include/vak/"
RULES = [
    re.compile(pattern)
    for pattern in (
        r"include/vak/vak(base|env|support|model|solver)/([a-z_]+/)?[a-z0-9_]+\.h",
        r"lib/([a-z0-9_]+-linux-gnu/)?libvak(_solver)?\.a",
        r"lib/([a-z0-9_]+-linux-gnu/)?cmake/Vak/Vak(Solver)?Targets(-[a-z]+)?\.cmake",
        r"lib/([a-z0-9_]+-linux-gnu/)?cmake/Vak/Vak(Solver)?Config(Version)?\.cmake",
        r"lib/([a-z0-9_]+-linux-gnu/)?pkgconfig/vak(-solver)?\.pc",
        r"bin/vak-solve",
        r"share/man/man1/vak-solve\.1(\.gz)?",
        r"share/bash-completion/completions/vak-solve",
        r"share/vak/gdb/vak_printers\.py",
        r"share/doc/Vak/LICENSE",
        r"share/doc/(libvak-dev|libvak-solver-dev|vak-solve|vak-gdb)/"
        r"(copyright|changelog\.gz|changelog\.Debian\.gz)",
    )
]
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def find_offences(prefix, headers, patterns, folders):
    files = {
        path.relative_to(prefix).as_posix(): path
        for path in sorted(prefix.rglob("*"))
        if not path.is_dir() or path.is_symlink()
    }
    if not files:
        return [f"{prefix}: nothing is installed"]
    offences = []
    for name, path in files.items():
        if not any(rule.fullmatch(name) for rule in RULES):
            offences.append(f"{name}: no rule expects it")
        expected = 0o755 if name.startswith("bin/") else 0o644
        if stat.S_IMODE(path.lstat().st_mode) != expected:
            offences.append(f"{name}: has mode {stat.S_IMODE(path.lstat().st_mode):o}")
        content = path.read_bytes()
        offences += [f"{name}: names {folder}" for folder in folders if folder.encode() in content]
    offences += [f"{pattern}: is missing" for pattern in patterns if not fnmatch.filter(files, pattern)]
    installed = {name.removeprefix(HEADERS) for name in files if name.startswith(HEADERS)}
    offences += [f"{HEADERS}{name}: is missing" for name in sorted(headers - installed)]
    offences += [f"{HEADERS}{name}: is private" for name in sorted(installed - headers)]
    for name in sorted(installed):
        for included in INCLUDE.findall(files[HEADERS + name].read_text(encoding="utf-8")):
            if included not in installed:
                offences.append(f"{HEADERS}{name}: includes {included}, which is not installed")
    return offences


def main(arguments):
    parser = argparse.ArgumentParser()
    parser.add_argument("prefix", type=Path)
    parser.add_argument("--headers", type=Path, required=True)
    parser.add_argument("--require", action="append", default=[])
    parser.add_argument("--without", action="append", default=[])
    options = parser.parse_args(arguments)
    headers = set(options.headers.read_text(encoding="utf-8").split())
    offences = find_offences(options.prefix, headers, options.require, options.without)
    for offence in offences:
        print(offence)
    return 1 if offences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
