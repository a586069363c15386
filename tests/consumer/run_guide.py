#!/usr/bin/env python3
"""Follows the README and the guide word by word: runs every block of commands and every session that they show.

Getting started comes first, and what it installs is what the other pages use. A home of its own is made below
FOLDER, with a folder for a user's project in it. There lie, as the pages have the user write them, solve.cpp and
CMakeLists.txt of Getting started, and plan.cpp. Blocks that name scripts or presets are run in the clone ROOT.

* A block marked sh is run by bash. It has to end well, and what it writes has to end with the page's next block
  marked text if Getting started says so.
* A block marked console is a session with vak-solve, or with GDB over the program of the page on debugging. What
  it shows has to be what comes out.

Nothing is installed on the machine: apt-get, sudo and dpkg-query are stand-ins, which note that a script called
them. Of scripts/test.sh, which runs this test, it is only checked that bash can run it.

Prints one line per offence and ends with 1 if there is any.

usage: run_guide.py ROOT FOLDER
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

PAGES = ("docs/guide/getting_started.md", "README.md", "docs/architecture.md", "docs/guide/*.md")
BLOCK = re.compile(r"^```(\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
# A script of which only the syntax is checked, because it runs this test.
NOT_RUN = "scripts/test.sh"
STAND_INS = {
    "apt-get": 'echo "$*" >>"$HOME/apt-get.log"\n',
    "sudo": 'exec "$@"\n',
    "dpkg-query": "exit 1\n",
}


class Block:
    """A block of a page, and where it stands."""

    def __init__(self, page, root, match, text):
        self.kind, self.text = match[1], match[2]
        self.place = f"{page.relative_to(root).as_posix()}:{text[: match.start()].count(chr(10)) + 1}"


def read_pages(root):
    """The blocks of each page, in the order in which they are followed."""
    pages = {}
    for pattern in PAGES:
        for page in sorted(root.glob(pattern)):
            text = page.read_text(encoding="utf-8")
            name = page.relative_to(root).as_posix()
            pages.setdefault(name, [Block(page, root, match, text) for match in BLOCK.finditer(text)])
    return pages


class User:
    """Somebody who has a clone, a home, and a project in it."""

    def __init__(self, root, folder, getting_started):
        self.root, self.home = root, folder / "home"
        self.project = self.home / "my_project"
        shutil.rmtree(folder, ignore_errors=True)
        self.project.mkdir(parents=True)
        stand_ins = folder / "bin"
        stand_ins.mkdir()
        for name, text in STAND_INS.items():
            (stand_ins / name).write_text("#!/bin/sh\n" + text)
            (stand_ins / name).chmod(0o755)
        for kind, name in (("cpp", "solve.cpp"), ("cmake", "CMakeLists.txt")):
            block = next(block for block in getting_started if block.kind == kind)
            (self.project / name).write_text(block.text)
        shutil.copy(root / "tests/consumer/program/plan.cpp", self.project)
        real_home = Path.home()
        self.environment = {
            # So that a compiler cache finds what it has.
            "XDG_CACHE_HOME": str(real_home / ".cache"),
            "XDG_CONFIG_HOME": str(real_home / ".config"),
            **os.environ,
            "HOME": str(self.home),
            "PATH": f"{stand_ins}:{self.home / 'vak/bin'}:{os.environ['PATH']}",
        }

    def run(self, command, in_clone, text=None):
        """The exit code of a command and what it writes."""
        environment = dict(self.environment)
        modules = list((self.home / "vak").glob("**/vak.pc"))
        if modules:
            environment["PKG_CONFIG_PATH"] = str(modules[0].parent)
        # A block that says where to look finds it by itself.
        if text is not None and "export PKG_CONFIG_PATH=" in text:
            environment.pop("PKG_CONFIG_PATH", None)
        done = subprocess.run(
            command,
            cwd=self.root if in_clone else self.project,
            env=environment,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            errors="replace",
            check=False,
        )
        return done.returncode, done.stdout


def follow_commands(user, block, expected):
    """What goes wrong with a block of commands."""
    lines = block.text.splitlines()
    offences = []
    for line in [line for line in lines if line.split("#")[0].strip() == NOT_RUN]:
        lines.remove(line)
        if not os.access(user.root / NOT_RUN, os.X_OK):
            offences.append(f"{block.place}: {NOT_RUN} cannot be run")
        code, said = user.run(["bash", "-n", NOT_RUN], True)
        if code != 0:
            offences.append(f"{block.place}: {NOT_RUN} is no script: {said}")
    text = "\n".join(lines)
    # Each line has to end well, also one of several commands; a line that goes on is no line yet.
    script = "\n".join(line if line.endswith("\\") else line + "\n[ $? = 0 ] || exit 1" for line in lines)
    in_clone = "scripts/" in text or "--preset" in text
    code, said = user.run(["bash", "-c", script], in_clone, text)
    if code != 0:
        offences.append(f"{block.place}: ends with {code}:\n{said}")
    elif expected is not None and not in_clone and not said.endswith(expected):
        offences.append(f"{block.place}: writes\n{said}and not\n{expected}")
    return offences


def follow_session(user, block):
    """What goes wrong with a session with vak-solve."""
    command, _, expected = block.text.partition("\n")
    code, said = user.run(["bash", "-c", command.removeprefix("$ ")], True)
    if code != 0 or said != expected:
        return [f"{block.place}: ends with {code} and shows\n{said}"]
    return []


def follow_debugging(user, block):
    """What goes wrong with a session with GDB, which loads the printers as ~/.gdbinit lets it."""
    program = user.project / "debugging"
    source = user.root / "examples/guide/debugging.cpp"
    build = f"g++ -std=c++20 -g $(pkg-config --cflags vak) {source} $(pkg-config --libs vak) -o {program}"
    code, said = user.run(["bash", "-c", build], False)
    if code != 0:
        return [f"{block.place}: examples/guide/debugging.cpp does not build:\n{said}"]
    lines = block.text.splitlines()
    prompts = [line.removeprefix("(gdb) ") for line in lines if line.startswith("(gdb) ")]
    expected = [line for line in lines if not line.startswith("(gdb) ")]
    commands = ["set debuginfod enabled off", "break VakDumpModel", "run", "up", *prompts]
    arguments = [word for command in commands for word in ("-ex", command)]
    _, said = user.run(["gdb", "-batch", *arguments, str(program)], False)
    shown = said.splitlines()[-len(expected) :]
    return [] if shown == expected else [f"{block.place}: GDB shows\n{said}"]


def follow(user, block, expected):
    if block.kind == "sh":
        return follow_commands(user, block, expected)
    if block.kind == "console" and block.text.startswith("$ vak-solve "):
        return follow_session(user, block)
    if block.kind == "console" and block.text.startswith("(gdb) "):
        return follow_debugging(user, block)
    return [f"{block.place}: nobody knows how to follow this {block.kind}"]


def main(arguments):
    root, folder = (Path(argument).resolve() for argument in arguments)
    pages = read_pages(root)
    getting_started = pages["docs/guide/getting_started.md"]
    user = User(root, folder, getting_started)
    answer = next(block.text for block in getting_started if block.kind == "text")
    offences = []
    for blocks in pages.values():
        # Each page has to say itself what GDB needs.
        (user.home / ".gdbinit").unlink(missing_ok=True)
        expected = answer if blocks is getting_started else None
        # What a session needs may be set up below it.
        for kind in ("sh", "console"):
            for block in [block for block in blocks if block.kind == kind]:
                offences += follow(user, block, expected)
    notes = user.home / "apt-get.log"
    calls = notes.read_text().splitlines() if notes.exists() else []
    if not any(call.startswith("--quiet install ") for call in calls):
        offences.append(f"no script asked apt-get for packages, but for {calls}")
    for offence in offences:
        print(offence)
    return 1 if offences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
