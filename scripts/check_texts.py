#!/usr/bin/env python3
"""Holds the texts for people to the code and to their own form.

In every text, a path between back quotes that begins with a folder of the repository is there, a class or
function whose name begins with Vak occurs in the code, and a link to a file leads to one. A block of commands is
one that bash can read; its scripts can be run and its presets are known. CHANGELOG.md has
its fixed headings: releases from the newest to the oldest, below each of them kinds of change in their order,
none empty, every entry a list item. The table of modules in README.md says of every module that check_includes.py
knows what it may depend on, as that script has it.

Prints one line per offence and ends with 1 if there is any.

usage: check_texts.py [ROOT]
"""

import datetime
import json
import os
import re
import subprocess
import sys

from check_includes import LAYERS
from offences import report

TEXTS = ("*.md", "docs/**/*.md")
KINDS = ("Added", "Changed", "Deprecated", "Removed", "Fixed", "Security")
CODE = re.compile(r"```.*?```|`([^`\n]+)`", re.DOTALL)
LINK = re.compile(r"\]\(([^)#:]+)(?:#[^)]*)?\)")
NAME = re.compile(r"\bVak[A-Z]\w*(?:::\w+)*")
PATH = re.compile(r"[\w.-]+/[\w./-]*")
COMMANDS = re.compile(r"^```sh\n(.*?)^```$", re.MULTILINE | re.DOTALL)
SCRIPT = re.compile(r"(?<![\w./-])scripts/[\w.-]+")
PRESET = re.compile(r"\b(cmake|cmake --build|ctest) --preset[ =]([\w-]+)")
PRESETS_OF = {"cmake": "configurePresets", "cmake --build": "buildPresets", "ctest": "testPresets"}
RELEASE = re.compile(r"\[(\d+)\.(\d+)\.(\d+)\] - (\d{4}-\d{2}-\d{2})")
SOURCES = (".h", ".cpp", ".py", ".cmake", ".in", ".txt")


def read_code(root, folders):
    """All text of the code, in which names must occur."""
    texts = []
    for folder in folders:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in SOURCES and path.is_file():
                texts.append(path.read_text(encoding="utf-8", errors="replace"))
    return "\n".join(texts)


def find_reference_offences(root, name, text, code, folders):
    """What a text names and is not there."""
    offences = []
    for match in CODE.finditer(text):
        span = match[1]
        if span is None:
            continue
        if PATH.fullmatch(span) and span.split("/")[0] in folders and not (root / span).exists():
            offences.append(f"{name}: names {span}, which is not there")
        for full in NAME.findall(span):
            if not all(re.search(rf"\b{part}\b", code) for part in full.split("::")):
                offences.append(f"{name}: names {full}, which is not in the code")
    for target in LINK.findall(CODE.sub("", text)):
        if not ((root / name).parent / target).exists():
            offences.append(f"{name}: links to {target}, which is not there")
    return offences


def read_presets(root):
    """Maps each command that takes a preset to the names of those it knows."""
    path = root / "CMakePresets.json"
    presets = json.loads(path.read_text(encoding="utf-8")) if path.is_file() else {}
    return {
        command: {preset["name"] for preset in presets.get(kind, []) if not preset.get("hidden")}
        for command, kind in PRESETS_OF.items()
    }


def find_command_offences(root, name, text, presets):
    """What is wrong with the blocks of commands of a text; nothing of them is run."""
    offences = []
    for match in COMMANDS.finditer(text):
        place = f"{name}:{text.count(chr(10), 0, match.start()) + 1}"
        read = subprocess.run(["bash", "-n"], input=match[1], capture_output=True, text=True, check=False)
        if read.returncode != 0:
            offences.append(f"{place}: bash cannot read these commands: {read.stderr.strip()}")
        for script in SCRIPT.findall(match[1]):
            if not os.access(root / script, os.X_OK):
                offences.append(f"{place}: {script} cannot be run")
        for command, preset in PRESET.findall(match[1]):
            if preset not in presets[command]:
                offences.append(f"{place}: {command} knows no preset {preset}")
    return offences


def split_sections(text, mark):
    """Pairs of heading and body of the sections that begin with a mark."""
    parts = re.split(rf"^{mark} (.*)$", text, flags=re.MULTILINE)
    return list(zip(parts[1::2], parts[2::2]))


def find_release_offences(release, body):
    """What is wrong with the kinds of change of one release."""
    offences = []
    kinds = split_sections(body, "###")
    names = [kind for kind, _ in kinds]
    for kind in names:
        if kind not in KINDS:
            offences.append(f'{release} has the heading "{kind}", which is none of {", ".join(KINDS)}')
    known = [kind for kind in names if kind in KINDS]
    if known != sorted(set(known), key=KINDS.index):
        offences.append(f"{release} has its headings twice or out of order: {', '.join(known)}")
    for kind, entries in kinds:
        lines = [line for line in entries.split("\n") if line]
        if not any(line.startswith("- ") for line in lines):
            offences.append(f"{release} has nothing under {kind}")
        offences += [
            f'{release} has a line that is no entry: "{line}"'
            for line in lines
            if not line.startswith(("- ", "  "))
        ]
    return offences


def find_changelog_offences(text):
    """What is wrong with the form of the changelog."""
    if not text.startswith("# Changelog\n"):
        return ['CHANGELOG.md: does not begin with "# Changelog"']
    offences, former = [], None
    releases = split_sections(text, "##")
    for place, (release, body) in enumerate(releases):
        offences += find_release_offences(release, body)
        if release == "[Unreleased]":
            if place != 0:
                offences.append("[Unreleased] does not come first")
            continue
        match = RELEASE.fullmatch(release)
        if not match:
            offences.append(f'"{release}" is neither [Unreleased] nor [MAJOR.MINOR.PATCH] - DATE')
            continue
        try:
            datetime.date.fromisoformat(match[4])
        except ValueError:
            offences.append(f"{release} has no date of the calendar")
        number = tuple(int(match[i]) for i in (1, 2, 3))
        if former is not None and number >= former:
            offences.append(f"{release} does not come before a newer release")
        former = number
    if not releases:
        offences.append("there is no release")
    return [f"CHANGELOG.md: {offence}" for offence in offences]


def find_module_offences(text):
    """What the table of modules says otherwise than check_includes.py."""
    rows = dict(re.findall(r"^\| `([\w/]+)/(?:\*\.h)?` \|[^|]*\| ([^|]*?) \|$", text, re.MULTILINE))
    offences = []
    for module, layer in LAYERS.items():
        if module.endswith(".h"):
            continue
        expected = {0: "nothing", 1: "layers 0 and 1"}.get(layer, f"layers 0 to {layer}")
        if module not in rows:
            offences.append(f"README.md: the table of modules lacks {module}")
        elif not re.match(rf"{expected}(?!\d)", rows[module]):
            offences.append(
                f'README.md: {module} may depend on {expected}, and not, as the table says, "{rows[module]}"'
            )
    known = {module for module in LAYERS if not module.endswith(".h")}
    offences += [f"README.md: check_includes.py does not know {row}" for row in sorted(set(rows) - known)]
    return offences


def find_offences(root):
    folders = {
        path.name for path in root.iterdir() if path.is_dir() and path.name[0] != "." and path.name != "build"
    }
    code = read_code(root, sorted(folders - {"docs"}))
    presets = read_presets(root)
    offences = []
    for pattern in TEXTS:
        for path in sorted(root.glob(pattern)):
            name = path.relative_to(root).as_posix()
            text = path.read_text(encoding="utf-8")
            offences += find_reference_offences(root, name, text, code, folders)
            offences += find_command_offences(root, name, text, presets)
    readme = root / "README.md"
    if readme.is_file():
        offences += find_module_offences(readme.read_text(encoding="utf-8"))
    changelog = root / "CHANGELOG.md"
    if not changelog.is_file():
        return [*offences, "CHANGELOG.md: is not there"]
    return offences + find_changelog_offences(changelog.read_text(encoding="utf-8"))


if __name__ == "__main__":
    sys.exit(report(find_offences, sys.argv[1:]))
