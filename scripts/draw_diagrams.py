#!/usr/bin/env python3
"""Draws the diagrams of docs/architecture.md and of the guide from the code, with Graphviz.

    layers.svg      the modules in their layers; an arrow means that headers of one include headers of the other
    objects.svg     what derives from the root of run-time types
    handles.svg     the handles and values of the public headers
    exceptions.svg  what is thrown
    life.svg        the life of an environment, with the steps of its end as the code has them

An arrow between modules that others imply is left out. Each file carries the digest of the description that it
was drawn from, so that a check needs no second drawing, which other versions of Graphviz make differently.

usage: draw_diagrams.py [--check] [FOLDER]      FOLDER is docs/diagrams if it is not given
"""

import argparse
import hashlib
import re
import subprocess
import sys
from pathlib import Path

from check_includes import LAYERS, layer_of, read_includes

ROOT = Path(__file__).resolve().parent.parent
NAMES_ONLY = {"vakenv/fwd.h", "vakmodel/fwd.h", "vaksolver/fwd.h"}
LAYER_TITLES = {
    0: "the pool",
    1: "building blocks",
    2: "services and contracts",
    3: "the environment",
    4: "models",
    5: "solvers",
}
CLASS = re.compile(
    r"^(?:template <[^\n]*>\n)?(?:class|struct) ((?:\w|::)+)(?: final)?\s*:\s*(?:public|private)\s([^{;]+?)\s*{",
    re.MULTILINE,
)
BASE = re.compile(r"(?:public|private|protected)\s+")
STYLE = (
    'graph [fontname="Helvetica", bgcolor="transparent"]',
    'node [fontname="Helvetica", fontsize=11, shape=box, style="rounded,filled", fillcolor="#f4f7fb", '
    'color="#4a6785"]',
    'edge [color="#4a6785", arrowsize=0.7]',
)


# ---- Modules -----------------------------------------------------------------------------------------------


def module_of(file):
    """The folder of a file; the application headers at the top of vakenv are a module of their own."""
    folder = file.rsplit("/", 1)[0]
    return "vakenv/*.h" if folder == "vakenv" else folder


def module_edges(includes):
    """Which module includes headers of which, as seen by headers alone."""
    edges = set()
    for file, lines in includes.items():
        for _, bracket, name in lines:
            if bracket == '"' and file.endswith(".h") and not {file, name} & NAMES_ONLY:
                if name in includes and module_of(file) != module_of(name):
                    edges.add((module_of(file), module_of(name)))
    return edges


def reach(edges, start, without):
    """What can be reached from a module by other edges than one."""
    found, waiting = set(), [start]
    while waiting:
        at = waiting.pop()
        for edge in edges:
            if edge[0] == at and edge != without and edge[1] not in found:
                found.add(edge[1])
                waiting.append(edge[1])
    return found


def reduce_edges(edges):
    """Leaves out, one after the other, the edges that the rest implies."""
    kept = sorted(edges)
    for edge in sorted(edges):
        if edge[1] in reach(kept, edge[0], without=edge):
            kept.remove(edge)
    return kept


def describe_layers(includes):
    modules = sorted({module_of(file) for file in includes})
    lines = ["digraph layers {", *STYLE, "rankdir=TB; ranksep=0.6; nodesep=0.25; compound=true"]
    for layer in sorted(set(LAYERS.values()), reverse=True):
        members = [each for each in modules if layer_of(each.removesuffix("/*.h")) == layer]
        if not members:
            continue
        title = LAYER_TITLES.get(layer, "")
        lines.append(f"subgraph cluster_{layer} {{")
        lines.append(f'label="layer {layer}: {title}"; labeljust=l; fontsize=10; color="#c5d2e0"')
        lines += [f'"{module}"' for module in members]
        lines.append("}")
    lines += [f'"{start}" -> "{end}"' for start, end in reduce_edges(module_edges(includes))]
    return "\n".join([*lines, "}"]) + "\n"


# ---- Classes -----------------------------------------------------------------------------------------------


def read_classes(includes):
    """Maps each class of the library's headers to the bases that belong to the library, in their order."""
    classes = {}
    for file in includes:
        if not file.endswith(".h"):
            continue
        for match in CLASS.finditer((ROOT / file).read_text(encoding="utf-8")):
            bases = [re.sub(r"[<,\s].*", "", base, flags=re.DOTALL) for base in BASE.split("public " + match[2])]
            own = [base for base in bases if base.startswith("Vak")]
            if own and match[1].startswith("Vak"):
                classes[match[1]] = own
    return classes


def below(classes, root):
    """A class and all that derive from it."""
    found = {root}
    while True:
        more = {name for name, bases in classes.items() if found.intersection(bases)} - found
        if not more:
            return found
        found |= more


def describe_classes(classes, name, members):
    lines = [f"digraph {name} {{", *STYLE, "rankdir=LR; ranksep=0.4; nodesep=0.08"]
    lines.append("edge [dir=back, arrowtail=onormal]")
    for each in sorted(members):
        lines.append(f'"{each}"')
        lines += [f'"{base}" -> "{each}"' for base in classes.get(each, []) if base in members]
    return "\n".join([*lines, "}"]) + "\n"


# ---- The life of an environment ------------------------------------------------------------------------------

END_STEPS = "vakenv/core/environment_end.cpp"
STEP = re.compile(r"\{&VakEnvI::(\w+), (true|false)\}")
# What goes in a step, by the function that does it; those in which destructors of users run.
STEP_TITLES = {
    "endExtension": ("name, user object, properties", True),
    "endDestroyables": ("destroyables, newest first", True),
    "endAlgorithms": ("algorithms", True),
    "forgetExpander": ("the expander", False),
    "endTypedLists": ("typed lists", False),
    "unsetDeleter": ("the deleter", True),
    "endExtractables": ("without the pool: objects one by one", True),
    "endIdentifiers": ("identifiers", False),
    "endDomains": ("shared domains", False),
    "endRandom": ("the random generator", False),
    "endPlugIns": ("plug-ins and add-ons", True),
    "endManagers": ("managers of identifiers and copies", False),
    "endSymbols": ("symbols", False),
    "endTerms": ("the pool of terms", False),
    "endAllocator": ("the allocator", False),
    "endMarksAndLocalEnv": ("mark arrays, local environments", False),
}


def describe_life():
    steps = [match[1] for match in STEP.finditer((ROOT / END_STEPS).read_text(encoding="utf-8"))]
    if set(steps) != set(STEP_TITLES):
        raise SystemExit(f"{END_STEPS}: STEP_TITLES does not name the steps {', '.join(steps)}")
    rows = "".join(
        f'<TR><TD ALIGN="RIGHT">{number}</TD><TD ALIGN="LEFT">'
        + (f"<B>{STEP_TITLES[step][0]}</B>" if STEP_TITLES[step][1] else STEP_TITLES[step][0])
        + "</TD></TR>"
        for number, step in enumerate(steps, 1)
    )
    table = (
        '<<TABLE BORDER="0" CELLBORDER="0" CELLSPACING="2"><TR><TD COLSPAN="2"><B>ending</B>: what goes, in order'
        f'</TD></TR>{rows}<TR><TD COLSPAN="2">bold: destructors of users run</TD></TR></TABLE>>'
    )
    lines = ["digraph life {", *STYLE, "rankdir=LR; ranksep=0.35; nodesep=0.3"]
    lines.append('begin [label="VakEnv()\\nVakEnvOwner", shape=plaintext, style=""]')
    lines.append(
        'open [label=<<TABLE BORDER="0" CELLBORDER="0" CELLSPACING="4"><TR><TD><B>open</B></TD></TR>'
        "<TR><TD>make, read, change, ask</TD></TR><HR/>"
        "<TR><TD><I>told</I>: listeners hear of a change</TD></TR>"
        "<TR><TD><I>solving</I>: its model is read only</TD></TR>"
        "<TR><TD><I>removing</I>: others drop what goes</TD></TR></TABLE>>]"
    )
    lines.append(f"ending [label={table}]")
    lines.append('over [label="over\\nmemory released;\\nother handles\\ndangle"]')
    lines.append("begin -> open")
    lines.append('open -> ending [label="end()", fontname="Helvetica", fontsize=9]')
    lines.append("ending -> over")
    return "\n".join([*lines, "}"]) + "\n"


def describe_all():
    """The descriptions of all diagrams by their names."""
    includes = read_includes(ROOT)
    classes = read_classes(includes)
    objects = below(classes, "VakRtti")
    exceptions = below(classes, "VakExceptionBase")
    parents = {base for bases in classes.values() for base in bases}
    handles = {
        name
        for root in ("VakExtractable", "VakAlgorithm", "VakNamedProperty", "VakArray")
        for name in below(classes, root)
    }
    handles = {name for name in handles if name in parents | set(classes)} - objects - exceptions
    return {
        "layers": describe_layers(includes),
        "objects": describe_classes(classes, "objects", objects),
        "handles": describe_classes(classes, "handles", handles),
        "exceptions": describe_classes(classes, "exceptions", exceptions),
        "life": describe_life(),
    }


# ---- Files -------------------------------------------------------------------------------------------------


def digest_line(description):
    return f"<!-- drawn from {hashlib.sha256(description.encode()).hexdigest()} -->\n"


def draw(description):
    """The diagram as an SVG document that begins with its digest, without what differs from run to run."""
    command = ["dot", "-Tsvg"]
    svg = subprocess.run(command, input=description, capture_output=True, text=True, check=True).stdout
    svg = svg[svg.index("<svg") :]
    return digest_line(description) + re.sub(r"<!--.*?-->\n?", "", svg, flags=re.DOTALL)


def main(arguments):
    parser = argparse.ArgumentParser()
    parser.add_argument("--check", action="store_true")
    parser.add_argument("folder", nargs="?", type=Path, default=ROOT / "docs" / "diagrams")
    options = parser.parse_args(arguments)
    stale = []
    for name, description in describe_all().items():
        path = options.folder / f"{name}.svg"
        if not options.check:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(draw(description), encoding="utf-8")
        elif not path.is_file() or not path.read_text(encoding="utf-8").startswith(
            digest_line(description)
        ):
            stale.append(path)
    for path in stale:
        print(f"{path}: does not show the code as it is; run scripts/draw_diagrams.py")
    return 1 if stale else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
