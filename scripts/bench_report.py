#!/usr/bin/env python3
"""Makes the table and the plots of what scripts/bench.sh measured.

A row of the benchmarks is named subject/contender[/size]; the library's contender is vak. A ratio is the time
of a peer over the time of the library: above 1 the library is faster. It is the ratio of the medians of all
repetitions; in brackets stand the quartiles of the ratios of the single repetitions, which were taken in turn.

usage: bench_report.py DIRECTORY [--write]
"""

import collections
import datetime
import json
import os
import platform
import re
import shutil
import statistics
import subprocess
import sys
from pathlib import Path

HEAPS = "mimalloc jemalloc tcmalloc"
BUILD = [("glpk_by_column", 3), ("coin_model_by_column", 4), ("clp_arrays", 1.1)]
BUILD_SMALL_PAGES = [("glpk_by_column", 2), ("coin_model_by_column", 3), ("clp_arrays", 0.9)]
BUILD_BYTES = [("glpk_by_column", 1.6), ("coin_model_by_column", 1.1), ("clp_arrays", 1.2)]
# Title, subject with size, and for each group of peers the ratio that is aimed at. Of several peers the
# fastest counts.
TARGETS = [
    ("take and give back, 16 bytes", "take_and_give_back/16", [("glibc", 1.8), (HEAPS, 1.0)]),
    ("take and give back, 48 bytes", "take_and_give_back/48", [("glibc", 1.8), (HEAPS, 1.0)]),
    ("take and give back, 512 bytes", "take_and_give_back/512", [("glibc", 1.8), (HEAPS, 1.0)]),
    ("take and give back, 4096 bytes", "take_and_give_back/4096", [("glibc", 1.8), (HEAPS, 1.0)]),
    ("batch of 1000, 48 bytes", "batch/48", [("glibc", 2.3), (HEAPS, 1.2)]),
    ("churn over 100,000, 48 bytes", "churn/48", [("glibc", 3.4), (HEAPS, 1.35)]),
    ("the same through the allocator", "churn_virtual/48", [(HEAPS, 1.1)]),
    ("first million, fresh process", "first_million", [("glibc", 4), ("pmr_monotonic", 2)]),
    ("first million, no huge pages", "first_million_small_pages", [("glibc", 1.9), ("pmr_monotonic", 0.9)]),
    ("next million", "next_million", [("glibc", 2.3), ("mimalloc_arena pmr_monotonic", 1.0)]),
    ("a million, deleted at random", "million_in_random_order", [("glibc", 6), (HEAPS, 1.0)]),
    ("a million registered", "registered_make_and_end/1000000", [("vector_of_unique_ptr", 3.5)]),
    ("identifiers, churn", "identifier_churn/100000", [("vector_with_stack", 1.0), ("vector_with_set", 4.5)]),
    ("array append, 1,000,000", "array_append/1000000", [("vector", 1.0), ("deque", 1.1)]),
    ("array bulk append, array", "array_bulk_append_array/1000000", [("vector", 1.4)]),
    ("array bulk append, span", "array_bulk_append_span/1000000", [("vector", 1.4)]),
    ("array sum by chunk, 8 MB", "array_sum_by_chunk/1000000", [("vector", 0.95)]),
    ("array sum by chunk, 800 MB", "array_sum_by_chunk/100000000", [("vector", 0.95)]),
    ("array sum by iterator", "array_sum_by_iterator/10000", [("vector", 0.9)]),
    ("array sum by index", "array_sum_by_index/10000", [("deque", 1.4)]),
    ("array random read", "array_random_read/10000", [("deque", 1.3)]),
    ("array remove front, 100,000", "array_remove_front/100000", [("vector", 0.9)]),
    ("table insert, in order", "hash_insert_in_order/100000", [("unordered_map", 4)]),
    ("table hit, in order", "hash_hit_in_order/100000", [("unordered_map", 3)]),
    ("table miss, in order", "hash_miss_in_order/100000", [("unordered_map", 1.8)]),
    ("table erase, in order", "hash_erase_in_order/100000", [("unordered_map", 4.5)]),
    ("table insert, random", "hash_insert_at_random/100000", [("unordered_map", 2.5)]),
    ("table hit, random", "hash_hit_at_random/100000", [("unordered_map", 0.7)]),
    ("table miss, random", "hash_miss_at_random/100000", [("unordered_map", 1.0)]),
    ("table erase, random", "hash_erase_at_random/100000", [("unordered_map", 3.5)]),
    ("heap table insert", "heap_hash_insert_in_order/100000", [("unordered_map", 1.5)]),
    ("isType, depth 1", "is_type_depth_1", [("dynamic_cast", 3.5)]),
    ("isType, depth 4", "is_type_depth_4", [("dynamic_cast", 6.5)]),
    ("isType, no", "is_type_no", [("dynamic_cast", 6.5)]),
    ("telling 1 observer", "tell_observers/1", [("boost_signals2", 15)]),
    ("telling 4 observers", "tell_observers/4", [("boost_signals2", 8)]),
    ("destroyables in and out", "destroyables_in_and_out/30000", [("list_with_index", 1.5)]),
    ("model, 100,000 columns", "build_from_arrays/100000", BUILD),
    ("model, 1,000,000 columns", "build_from_arrays/1000000", BUILD),
    ("model, 100,000, no huge pages", "build_from_arrays_small_pages/100000", BUILD_SMALL_PAGES),
    ("model, 1,000,000, no huge pages", "build_from_arrays_small_pages/1000000", BUILD_SMALL_PAGES),
    ("peak bytes a column", "build_from_arrays_bytes/1000000", BUILD_BYTES),
    ("one bound, nobody told", "change_bound_untold", [("glpk", 1.0)]),
    ("one bound, one algorithm told", "change_bound_told", [("glpk", 0.5)]),
]
PLOTS = [
    "array_append",
    "hash_hit_at_random",
    "hash_insert_at_random",
    "identifier_churn",
    "registered_make_and_end",
]
FLAG = re.compile(r"(manual_time|real_time|iterations:\d+|repeats:\d+)$")
BEGIN, END = "<!-- measured -->", "<!-- end -->"


def read_times(directory):
    """Maps subject[/size] to contender to the nanoseconds for one thing, repetition by repetition."""
    times = collections.defaultdict(lambda: collections.defaultdict(list))
    for path in sorted(directory.glob("*.json")):
        for row in json.loads(path.read_text(encoding="utf-8"))["benchmarks"]:
            parts = [part for part in row["name"].split("/") if not FLAG.match(part)]
            if row.get("run_type") != "iteration" or len(parts) < 2 or "items_per_second" not in row:
                continue
            if row.get("error_occurred"):
                print(f"{row['name']}: {row['error_message']}", file=sys.stderr)
                continue
            times["/".join(parts[:1] + parts[2:])][parts[1]].append(1e9 / row["items_per_second"])
            if "bytes" in row:
                times["/".join([parts[0] + "_bytes"] + parts[2:])][parts[1]].append(row["bytes"])
    return times


def compare(ours, theirs):
    """The ratio of the medians, and the quartiles of the ratios of single repetitions."""
    ratio = statistics.median(theirs) / statistics.median(ours)
    single = [their / our for our, their in zip(ours, theirs)]
    if len(single) < 2:
        return ratio, ratio, ratio
    low, _, high = statistics.quantiles(single, n=4, method="inclusive")
    return ratio, low, high


def make_table(times):
    """The rows with a target, as lines of Markdown, and the titles of those that miss it."""
    lines = ["| row | ns | peer | ratio | quartiles | aimed at |", "|---|--:|---|--:|---|--:|"]
    missed = []
    for title, subject, groups in TARGETS:
        found = times.get(subject, {})
        if "vak" not in found:
            lines.append(f"| {title} | not measured | | | | |")
            continue
        ours = found["vak"]
        for peers, aim in groups:
            there = [peer for peer in peers.split() if peer in found]
            if not there:
                lines.append(f"| {title} | {statistics.median(ours):.2f} | {peers} is not there | | | {aim} |")
                continue
            best = min(there, key=lambda peer: statistics.median(found[peer]))
            ratio, low, high = compare(ours, found[best])
            mark = "" if ratio >= aim else " missed"
            if mark:
                missed.append(f"{title} / {best}")
            lines.append(
                f"| {title} | {statistics.median(ours):.2f} | {best} | {ratio:.2f} | {low:.2f} to {high:.2f} |"
                f" {aim}{mark} |"
            )
    return lines, missed


def make_remainder(times):
    """Every row that has no target, with all contenders."""
    shown = {subject for _, subject, _ in TARGETS}
    lines = ["| row | ns | peers |", "|---|--:|---|"]
    for subject in sorted(set(times) - shown):
        found = times[subject]
        if "vak" not in found:
            continue
        peers = []
        for peer in sorted(set(found) - {"vak"}):
            peers.append(f"{peer} {compare(found['vak'], found[peer])[0]:.2f}")
        lines.append(f"| `{subject.replace('/', ' ')}` | {statistics.median(found['vak']):.2f} | {', '.join(peers)} |")
    return lines


def make_scale(directory):
    """The steps of a model's life by its number of columns."""
    path = directory / "scale.tsv"
    if not path.is_file():
        return []
    steps = collections.defaultdict(dict)
    for line in path.read_text(encoding="utf-8").splitlines():
        step, columns, nanoseconds, grown = line.split("\t")
        steps[step][int(columns)] = (float(nanoseconds), float(grown))
    sizes = sorted({size for row in steps.values() for size in row})
    lines = ["| ns a column (bytes a column) | " + " | ".join(f"{size:,}" for size in sizes) + " |"]
    lines.append("|---" + "|--:" * len(sizes) + "|")
    for step, row in steps.items():
        cells = [f"{row[size][0]:.0f} ({row[size][1]:.0f})" if size in row else "" for size in sizes]
        lines.append(f"| {step.replace('_', ' ')} | " + " | ".join(cells) + " |")
    return lines


def describe_machine():
    """Processor, memory, compiler, system and huge pages of this machine."""

    def first(pattern, path):
        match = re.search(pattern, Path(path).read_text(encoding="utf-8"), re.MULTILINE)
        return match[1].strip() if match else "unknown"

    compiler = subprocess.run(["g++", "--version"], capture_output=True, text=True, check=False).stdout
    memory = int(first(r"^MemTotal:\s*(\d+)", "/proc/meminfo")) / 2**20
    pages = first(r"\[(\w+)\]", "/sys/kernel/mm/transparent_hugepage/enabled")
    processor = first(r"^model name\s*:(.*)$", "/proc/cpuinfo")
    return (
        f"{processor}, {os.cpu_count()} cores, {memory:.0f} GiB, Linux "
        f"{platform.release()}, huge pages: {pages}, {compiler.splitlines()[0] if compiler else 'no g++'}; "
        f"{datetime.date.today().isoformat()}"
    )


def draw(name, ylabel, curves, folder):
    """Draws curves, a title to a list of points each, with gnuplot."""
    data = "\n\n\n".join("\n".join(f"{x} {y}" for x, y in points) for _, points in curves)
    (folder / f"{name}.dat").write_text(data + "\n", encoding="utf-8")
    plots = ", ".join(
        f"'{folder / name}.dat' index {i} with linespoints title '{title.replace('_', ' ')}'"
        for i, (title, _) in enumerate(curves)
    )
    script = (
        f"set terminal svg size 640,400; set output '{folder / name}.svg'; set logscale xy; set key outside;"
        f"set title '{name.replace('_', ' ')}'; set xlabel 'size'; set ylabel '{ylabel}'; plot {plots}"
    )
    subprocess.run(["gnuplot", "-e", script], check=True)


def draw_all(times, directory, folder):
    """Draws how cost grows with size; returns the names of the plots."""
    if shutil.which("gnuplot") is None:
        return []
    folder.mkdir(parents=True, exist_ok=True)
    names = []
    for subject in PLOTS:
        curves = collections.defaultdict(list)
        for key, found in times.items():
            name, _, size = key.partition("/")
            if name == subject and size.isdigit():
                for contender, values in found.items():
                    curves[contender].append((int(size), statistics.median(values)))
        if curves:
            draw(subject, "ns for one", [(title, sorted(curves[title])) for title in sorted(curves)], folder)
            names.append(subject)
    path = directory / "scale.tsv"
    if path.is_file():
        nanoseconds, grown = collections.defaultdict(list), collections.defaultdict(list)
        for line in path.read_text(encoding="utf-8").splitlines():
            step, columns, time, size = line.split("\t")
            nanoseconds[step].append((int(columns), float(time)))
            grown[step].append((int(columns), float(size)))
        draw("scale_time", "ns a column", list(nanoseconds.items()), folder)
        draw("scale_memory", "bytes a column", [(step, grown[step]) for step in ("build", "copy")], folder)
        names += ["scale_time", "scale_memory"]
    return names


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--write"]
    if len(arguments) != 1:
        sys.exit(__doc__)
    directory = Path(arguments[0])
    times = read_times(directory)
    table, missed = make_table(times)
    parts = [describe_machine() + ".", "\n".join(table), "\n".join(make_remainder(times))]
    scale = make_scale(directory)
    if scale:
        parts.append("\n".join(scale))
    instructions = directory / "instructions.txt"
    if instructions.is_file():
        count = instructions.read_text(encoding="utf-8").split()[1]
        parts.append(f"An empty environment made and ended takes {int(count):,} instructions.")
    root = Path(__file__).resolve().parent.parent
    write = "--write" in sys.argv
    plots = draw_all(times, directory, root / "docs/plots" if write else directory / "plots")
    text = "\n\n".join(parts)
    print(text)
    print(f"\n{len(missed)} of the ratios aimed at are missed" + "".join(f"\n  {title}" for title in missed))
    if write:
        if plots:
            text += "\n\n" + "\n".join(f"![{name.replace('_', ' ')}](plots/{name}.svg)" for name in plots)
        document = root / "docs/performance.md"
        old = document.read_text(encoding="utf-8")
        head, rest = old.split(BEGIN, 1)
        tail = rest.split(END, 1)[1]
        document.write_text(f"{head}{BEGIN}\n\n{text}\n\n{END}{tail}", encoding="utf-8")


if __name__ == "__main__":
    main()
