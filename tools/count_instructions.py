#!/usr/bin/env python3
"""Usage: tools/count_instructions.py count BUILD --counter FILE [OPTIONS...] -- EMULATOR... PROGRAM
       tools/count_instructions.py docs [--check]

count: counts the instructions a pixel of lomix_draw_frames (PROGRAM) in an emulator with the counting
plug-in FILE, and prints them. One frame's work is the difference of two runs of 1 and 3 frames, so that
the start of the program does not count; profiles and set-up do. Exits 1 where a count is more than 5 %
above the one recorded for BUILD in tests/counts/instructions.tsv, or where none is recorded.
docs: writes the recorded counts into docs/performance.md. --check: exits 1 where they are not there.
"""
import argparse
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "tests/counts/instructions.tsv"
DOCUMENT = ROOT / "docs/performance.md"
LOOKS = ["geometry", "overlays", "grain", "everything"]
TITLES = ["geometry", "+ bars and scanlines", "+ grain", "+ blend: everything"]
PIXELS = 960 * 270
TOLERANCE = 1.05
HEADING = """\
# Instructions a pixel: 960 x 270 pixels, one thread, profiles and set-up included. Columns, separated by
# tabs: build, target, depth, alpha, look, instructions. Written by tools/count_instructions.sh --update.
"""
# The builds that docs/performance.md shows, with what it calls them.
DOCUMENTED = {"release": "x86-64", "arm64": "64-bit ARM"}


class CountError(Exception):
    """A count that cannot be made: a message of one line."""


def read_table():
    """The recorded counts by (build, target, depth, alpha, look), in the order of the file."""
    counts = {}
    if TABLE.exists():
        for line in TABLE.read_text(encoding="utf-8").splitlines():
            if line and not line.startswith("#"):
                *cell, count = line.split("\t")
                counts[tuple(cell)] = float(count)
    return counts


def write_table(counts):
    rows = ["\t".join(cell) + f"\t{count:.2f}\n" for cell, count in counts.items()]
    TABLE.write_text(HEADING + "".join(rows), encoding="utf-8")


def targets_of(command, wanted):
    """The targets to count; "best" is the fastest that the program knows."""
    result = subprocess.run([*command, "--targets"], capture_output=True, text=True, check=False)
    available = result.stdout.split()
    if result.returncode != 0 or not available:
        raise CountError(f"{command[-1]}: does not run ({result.stderr.strip() or 'no message'})")
    targets = [available[0] if target == "best" else target for target in wanted]
    for target in targets:
        if target not in available + ["reference"]:
            raise CountError(f"{command[-1]}: has no target {target} (it has {', '.join(available)})")
    return targets


def count_pixel(command, counter, cell):
    """Instructions a pixel of one frame."""
    _, target, depth, alpha, look = cell

    def run(frames):
        arguments = [target, look, depth, alpha, str(frames)]
        emulator = [command[0], "-plugin", str(counter), "-d", "plugin"]
        result = subprocess.run(emulator + command[1:] + arguments, capture_output=True, text=True,
                                check=False)
        found = re.search(r"^instructions (\d+)$", result.stderr, re.MULTILINE)
        if result.returncode != 0 or not found:
            raise CountError(f"{' '.join(cell)}: nothing was counted ({result.stderr.strip()})")
        return int(found.group(1))

    return (run(3) - run(1)) / 2 / PIXELS


def print_table(counts, title):
    print(f"{title:<30}" + "".join(f"{heading:>22}" for heading in TITLES))
    rows = list(dict.fromkeys(cell[:4] for cell in counts))
    for row in rows:
        _, target, depth, alpha = row
        name = f"{target}, {'8-bit' if depth == '8' else 'float'}, {alpha}"
        print(f"{name:<30}" + "".join(f"{counts[(*row, look)]:22.1f}" for look in LOOKS))


def faults_of(counts, recorded, mixed_limit):
    """What is wrong with counts, one line each."""
    for cell, count in counts.items():
        name = " ".join(cell)
        before = recorded.get(cell)
        if before is None:
            yield f"{name}: {count:.1f}, and no count is recorded"
        elif count > TOLERANCE * before:
            yield f"{name}: {count:.1f} instructions a pixel, {(count / before - 1) * 100:.0f} % more " \
                  f"than the {before:.1f} recorded"
        elif count < before / TOLERANCE:
            print(f"note: {name}: {count:.1f}, fewer than the {before:.1f} recorded")
    for cell, count in counts.items():
        opaque = counts.get((*cell[:3], "opaque", cell[4]))
        if mixed_limit and cell[3] == "mixed" and opaque and count > mixed_limit * opaque:
            yield f"{' '.join(cell)}: {count / opaque:.2f} times opaque alpha (the limit is {mixed_limit})"


def count(options):
    command = options.command
    cells = [(options.build, target, depth, alpha, look)
             for target in targets_of(command, options.targets.split(","))
             for depth in options.depths.split(",")
             for alpha in options.alphas.split(",") if target != "reference" or alpha == "opaque"
             for look in LOOKS]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as threads:
        results = threads.map(lambda cell: count_pixel(command, options.counter.resolve(), cell), cells)
        counts = dict(zip(cells, results))
    print_table(counts, f"Instructions a pixel, {options.build}")
    recorded = read_table()
    if options.update:
        kept = {cell: n for cell, n in recorded.items() if cell[0] != options.build}
        write_table(kept | counts)
        write_documents()
        return 0
    faults = list(faults_of(counts, recorded, options.mixed_limit))
    for fault in faults:
        print(f"error: {fault}", file=sys.stderr)
    if faults:
        print("(make the code cheaper, or record the counts: tools/count_instructions.sh --update)",
              file=sys.stderr)
    return 1 if faults else 0


def documents():
    """The text of docs/performance.md with the recorded counts."""
    recorded = read_table()
    lines = ["| processor, target, depth | " + " | ".join(TITLES) + " | mixed / opaque alpha |",
             "|---|" + "---:|" * (len(TITLES) + 1)]
    for build, processor in DOCUMENTED.items():
        for row in dict.fromkeys(cell[:3] for cell in recorded if cell[0] == build):
            opaque = [recorded[(*row, "opaque", look)] for look in LOOKS]
            mixed = [recorded.get((*row, "mixed", look)) for look in LOOKS]
            name = "reference path" if row[1] == "reference" else row[1]
            share = "" if None in mixed else \
                f"{min(m / o for m, o in zip(mixed, opaque)):.2f} to " \
                f"{max(m / o for m, o in zip(mixed, opaque)):.2f}"
            lines.append(f"| {processor}, {name}, {'8-bit' if row[2] == '8' else 'float'} | " +
                         " | ".join(f"{n:.1f}" if n < 1000 else f"{n:,.0f}" for n in opaque) +
                         f" | {share} |")
    begin, end = "<!-- counts: begin -->\n", "<!-- counts: end -->"
    text = DOCUMENT.read_text(encoding="utf-8")
    if begin not in text or end not in text:
        raise CountError(f"{DOCUMENT}: the marks of the counts are gone (restore {begin.strip()})")
    return text[:text.index(begin) + len(begin)] + "\n".join(lines) + "\n" + text[text.index(end):]


def write_documents():
    DOCUMENT.write_text(documents(), encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(usage="see below", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    actions = parser.add_subparsers(dest="action", required=True, prog="count_instructions.py")
    counting = actions.add_parser("count", help="count, print and compare")
    counting.add_argument("build", help="name of the build in the table")
    counting.add_argument("--counter", type=pathlib.Path, required=True, help="the counting plug-in")
    counting.add_argument("--targets", default="best", help="SIMD targets, best, reference; commas between")
    counting.add_argument("--depths", default="8,32")
    counting.add_argument("--alphas", default="opaque,mixed")
    counting.add_argument("--mixed-limit", type=float, help="most that mixed alpha may cost, times opaque")
    counting.add_argument("--update", action="store_true", help="record the counts")
    counting.add_argument("command", nargs="+", help="emulator with its options, then lomix_draw_frames")
    documenting = actions.add_parser("docs", help="write the counts into docs/performance.md")
    documenting.add_argument("--check", action="store_true")
    options = parser.parse_args()
    if options.action == "count":
        return count(options)
    if not options.check:
        write_documents()
    elif documents() != DOCUMENT.read_text(encoding="utf-8"):
        print(f"error: {DOCUMENT.relative_to(ROOT)}: the instruction counts are not those recorded "
              "(run tools/count_instructions.py docs)", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except CountError as error:
        print(f"error: {error}", file=sys.stderr)
        sys.exit(1)
