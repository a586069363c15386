#!/usr/bin/env python3
"""Holds the Debian packages in a folder to what they promise, and unpacks them all into one root.

Each expected package has to be there, with its dependencies, a copyright and both changelogs; its files have
to agree with its checksums; pages of the manual are compressed; and no two packages may hold the same file.

Prints one line per offence and ends with 1 if there is any.

usage: check_packages.py FOLDER ROOT VERSION PACKAGE...
"""

import hashlib
import shutil
import subprocess
import sys
from pathlib import Path

ARCHITECTURE_INDEPENDENT = {"vak-gdb"}
DEPENDENCIES = {
    "libvak-dev": [],
    "libvak-solver-dev": ["libvak-dev (= VERSION)", "coinor-libcbc-dev", "zlib1g-dev", "pkg-config"],
    "vak-solve": ["libc6", "libstdc++6", "coinor-libcbc3"],
    "vak-gdb": ["gdb"],
}


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def check_control(name, package, version):
    offences = []
    fields = dict(
        line.split(": ", 1) for line in run("dpkg-deb", "--field", package).splitlines() if ": " in line
    )
    architecture = (
        "all" if name in ARCHITECTURE_INDEPENDENT else run("dpkg", "--print-architecture").strip()
    )
    for field, value in (("Package", name), ("Version", version), ("Architecture", architecture)):
        if fields.get(field) != value:
            offences.append(f"{name}: has {field} {fields.get(field)}")
    if "built using CMake" in fields.get("Description", "built using CMake"):
        offences.append(f"{name}: does not describe itself")
    depends = [entry.strip() for entry in fields.get("Depends", "").split(",")]
    for dependency in DEPENDENCIES[name]:
        dependency = dependency.replace("VERSION", version)
        if not any(entry == dependency or entry.split(" ")[0] == dependency for entry in depends):
            offences.append(f"{name}: does not depend on {dependency} but on {depends}")
    return offences


def check_content(name, package, root, owners):
    offences = []
    control = root.parent / f"{name}-control"
    shutil.rmtree(control, ignore_errors=True)
    run("dpkg-deb", "--control", package, control)
    run("dpkg-deb", "--extract", package, root)
    sums = (control / "md5sums").read_text(encoding="utf-8").splitlines()
    for line in sums:
        digest, file = line.split(maxsplit=1)
        if file in owners:
            offences.append(f"{name}: holds {file}, as does {owners[file]}")
        owners[file] = name
        if hashlib.md5((root / file).read_bytes()).hexdigest() != digest:
            offences.append(f"{name}: {file} does not agree with its checksum")
        if file.startswith("usr/share/man/") and not file.endswith(".gz"):
            offences.append(f"{name}: {file} is not compressed")
        if not file.startswith("usr/"):
            offences.append(f"{name}: holds {file}")
    for document in ("copyright", "changelog.gz", "changelog.Debian.gz"):
        if owners.get(f"usr/share/doc/{name}/{document}") != name:
            offences.append(f"{name}: has no {document}")
    return offences


def main(arguments):
    folder, root, version, expected = Path(arguments[0]), Path(arguments[1]), arguments[2], arguments[3:]
    packages = {path.name.split("_")[0]: path for path in sorted(folder.glob("*.deb"))}
    offences = [f"{name}: was not expected" for name in packages if name not in expected]
    offences += [f"{name}: was not made" for name in expected if name not in packages]
    shutil.rmtree(root, ignore_errors=True)
    root.mkdir(parents=True)
    owners = {}
    for name in expected:
        if name in packages:
            offences += check_control(name, packages[name], version)
            offences += check_content(name, packages[name], root, owners)
    for offence in offences:
        print(offence)
    return 1 if offences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
