#!/usr/bin/env python3
"""Usage: tools/plot_performance.py FILE...

From what runs of `tools/bench.sh --json FILE` wrote, draws docs/images/performance.svg and
docs/images/performance-growth.svg, and writes the tables between the markers in
docs/performance.md. Of several runs with the same SIMD target each cell is the median;
other targets than the first file's get a column in the table. Needs runs without --quick and --filter.
"""
import json
import math
import pathlib
import sys
from html import escape

DOCS = pathlib.Path(__file__).resolve().parent.parent / "docs"
BEGIN, END = "<!-- figures: begin -->", "<!-- figures: end -->"
LOOKS = {
    "geometry": "geometry",
    "overlays": "+ bars and scanlines",
    "grain": "+ grain",
    "everything": "+ blend: everything",
}
WORLDS = [(8, 1920, "8-bit 1080p"), (8, 3840, "8-bit 4K"),
          (32, 1920, "float 1080p"), (32, 3840, "float 4K")]
COLOURS = ["#4477aa", "#66ccee", "#228833", "#ccbb44"]
PATH_COLOURS = {"memory copy": "#777777", "without copies": "#ee6677", "reference path": "#aa3377"}


class Svg:
    def __init__(self, width, height, title):
        self.parts = [
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
            f'width="{width}" height="{height}" font-family="sans-serif" font-size="12">',
            f"<title>{escape(title)}</title>",
            f'<rect width="{width}" height="{height}" fill="white"/>']
        self.text(width / 2, 22, title, "middle", 15)

    def text(self, x, y, text, anchor="start", size=12):
        self.parts.append(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" '
                          f'font-size="{size}">{escape(text)}</text>')

    def line(self, x1, y1, x2, y2, colour="#dddddd"):
        self.parts.append(f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" '
                          f'stroke="{colour}"/>')

    def box(self, x, y, width, height, colour):
        self.parts.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" '
                          f'height="{height:.1f}" fill="{colour}"/>')

    def curve(self, points, colour):
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        self.parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" '
                          'stroke-width="2"/>')
        for x, y in points:
            self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="{colour}"/>')

    def write(self, path):
        path.parent.mkdir(exist_ok=True)
        path.write_text("\n".join(self.parts + ["</svg>"]) + "\n", encoding="utf-8")


def cell_of(cells, look, depth, width):
    for cell in cells:
        if (cell["look"], cell["depth"], cell["width"]) == (look, depth, width):
            return cell
    sys.exit(f"error: {look}, {depth} bits, {width} columns: not in the file "
             "(run tools/bench.sh without --quick and --filter)")


def median(cell, ratio):
    return cell["ratios"][ratio]["median"]


def to_copy(cell, threads):
    return cell["ratios"]["engineToCopy"][threads]["median"]


def threads_text(threads):
    return f"{threads} thread" + ("" if threads == "1" else "s")


def growth_cells(cells, depth):
    found = [c for c in cells if c["look"] == "everything" and c["depth"] == depth]
    return sorted(found, key=lambda c: c["width"])


def growth_paths(cell):
    """Label and nanoseconds a pixel of every path."""
    times = cell["milliseconds"]
    paths = {"memory copy": times["copy"]}
    for threads, time in times["engine"].items():
        paths[f"row engine, {threads_text(threads)}"] = time
    paths["without copies"] = times["uncopied"]
    paths["reference path"] = times["reference"]
    return {name: time * 1e6 / (cell["width"] * cell["height"]) for name, time in paths.items()}


def draw_looks(cells):
    svg = Svg(800, 380, "Row engine on one thread against a memory copy of the frame")
    values = [[to_copy(cell_of(cells, look, depth, width), "1") for depth, width, _ in WORLDS]
              for look in LOOKS]
    left, bottom, width, height = 50, 310, 730, 240
    top = max(max(row) for row in values) * 1.1
    step = next(s for s in (0.5, 1, 2, 5, 10, 20, 50, 100) if top / s <= 10)
    for i in range(int(top / step) + 1):
        y = bottom - height * i * step / top
        svg.line(left, y, left + width, y, "#777777" if i * step == 1 else "#dddddd")
        svg.text(left - 6, y + 4, f"{i * step:g}×", "end")
    group = width / len(LOOKS)
    bar = group / (len(WORLDS) + 1)
    for g, (label, row) in enumerate(zip(LOOKS.values(), values)):
        for b, value in enumerate(row):
            x = left + g * group + (b + 0.5) * bar
            y = bottom - height * value / top
            svg.box(x, y, bar * 0.9, bottom - y, COLOURS[b])
            svg.text(x + bar * 0.45, y - 4, f"{value:.2f}", "middle", 11)
        svg.text(left + (g + 0.5) * group, bottom + 18, label, "middle")
    for b, (_, _, label) in enumerate(WORLDS):
        svg.box(left + 120 + b * 140, bottom + 38, 12, 12, COLOURS[b])
        svg.text(left + 137 + b * 140, bottom + 49, label)
    svg.write(DOCS / "images" / "performance.svg")


def draw_growth(cells):
    svg = Svg(800, 420, "Time of a pixel as the frame grows, everything on")
    names = list(growth_paths(growth_cells(cells, 8)[0]))
    engines = [name for name in names if name.startswith("row engine")]
    colours = dict(PATH_COLOURS, **{name: COLOURS[i % 4] for i, name in enumerate(engines)})
    series = {depth: [(c["width"] * c["height"] / 1e6, growth_paths(c))
                      for c in growth_cells(cells, depth)] for depth in (8, 32)}
    times = [t for points in series.values() for _, paths in points for t in paths.values()]
    low, high = math.floor(math.log10(min(times))), math.ceil(math.log10(max(times)))
    sizes = [size for size, _ in series[8]]
    first, last = math.log10(sizes[0]), math.log10(sizes[-1])
    bottom, width, height = 340, 310, 270
    for left, depth, label in ((70, 8, "8-bit"), (460, 32, "float")):
        def place(size, time):
            return (left + width * (math.log10(size) - first) / (last - first),
                    bottom - height * (math.log10(time) - low) / (high - low))
        svg.text(left + width / 2, 50, f"{label}, nanoseconds a pixel", "middle")
        for power in range(low, high + 1):
            y = place(sizes[0], 10.0 ** power)[1]
            svg.line(left, y, left + width, y)
            svg.text(left - 6, y + 4, f"{10.0 ** power:g}", "end")
        for size in sizes:
            svg.text(place(size, 1)[0], bottom + 18, f"{size:.2g}", "middle")
        svg.text(left + width / 2, bottom + 36, "megapixels", "middle")
        for name in names:
            svg.curve([place(size, paths[name]) for size, paths in series[depth]], colours[name])
    for i, name in enumerate(names):
        x, y = 70 + i % 4 * 180, bottom + 54 + i // 4 * 20
        svg.box(x, y, 12, 12, colours[name])
        svg.text(x + 17, y + 10, name)
    svg.write(DOCS / "images" / "performance-growth.svg")


def markdown_row(cells):
    return "| " + " | ".join(cells) + " |"


def markdown_table(heading, rows):
    rule = ["---"] + ["---:"] * (len(heading) - 1)
    return [markdown_row(heading), "|" + "|".join(rule) + "|"] + [markdown_row(r) for r in rows]


def tables(result, others):
    """others: results of other SIMD targets."""
    machine, cells = result["machine"], result["cells"]
    thread_counts = list(cells[0]["ratios"]["engineToCopy"])
    lines = [f"Measured on: {machine['processor']}, {machine['hardwareThreads']} hardware threads; "
             f"vector code: {machine['target']}; clock: {machine['clock']}.", ""]
    rows = []
    for depth, width, world in WORLDS:
        for look, label in LOOKS.items():
            cell = cell_of(cells, look, depth, width)
            rows.append([f"{world}, {label}"] +
                        [f"{to_copy(cell, threads):.2f}" for threads in thread_counts] +
                        [f"{to_copy(cell_of(other['cells'], look, depth, width), '1'):.2f}"
                         for other in others] +
                        [f"{median(cell, 'uncopiedToEngine'):.0f}",
                         f"{median(cell, 'referenceToEngine'):.0f}",
                         f"{median(cell, 'mixedToOpaque'):.2f}"])
    heading = (["frame and look"] +
               [f"engine / copy, {threads_text(threads)}" for threads in thread_counts] +
               [f"the same with {other['machine']['target']} on 1 thread" for other in others] +
               ["without copies / engine", "reference path / engine", "mixed / opaque alpha"])
    lines += markdown_table(heading, rows) + ["", "Nanoseconds a pixel with everything on:", ""]
    rows = []
    for depth, world in ((8, "8-bit"), (32, "float")):
        for cell in growth_cells(cells, depth):
            rows.append([f"{world}, {cell['width']} × {cell['height']}"] +
                        [f"{time:.3g}" if time < 100 else f"{time:.0f}"
                         for time in growth_paths(cell).values()])
    lines += markdown_table(["frame"] + list(growth_paths(growth_cells(cells, 8)[0])), rows)
    return "\n".join(lines)


def read(name):
    try:
        return json.loads(pathlib.Path(name).read_text(encoding="utf-8"))
    except (OSError, ValueError) as error:
        sys.exit(f"error: {name}: {error}")


def middle_of(runs):
    """The run whose every cell is the middle one of those of all runs."""
    if len({tuple(cell["name"] for cell in run["cells"]) for run in runs}) > 1:
        sys.exit("error: runs with the same target have different cells (run them alike)")
    cells = [sorted(group, key=lambda cell: to_copy(cell, "1"))[len(group) // 2]
             for group in zip(*(run["cells"] for run in runs))]
    return {"machine": runs[0]["machine"], "cells": cells}


def main():
    if len(sys.argv) < 2 or sys.argv[1] in ("-h", "--help"):
        sys.exit(__doc__.strip())
    by_target = {}
    for run in map(read, sys.argv[1:]):
        by_target.setdefault(run["machine"]["target"], []).append(run)
    result, *others = map(middle_of, by_target.values())
    page = DOCS / "performance.md"
    text = page.read_text(encoding="utf-8")
    if text.count(BEGIN) != 1 or text.count(END) != 1:
        sys.exit(f"error: {page.name}: must have each of the markers {BEGIN} and {END} once")
    before, _, rest = text.partition(BEGIN)
    after = rest.partition(END)[2]
    new_text = f"{before}{BEGIN}\n{tables(result, others)}\n{END}{after}"
    draw_looks(result["cells"])
    draw_growth(result["cells"])
    page.write_text(new_text, encoding="utf-8")


if __name__ == "__main__":
    main()
