#!/usr/bin/env python3
"""Usage: tools/draw_rooms.py [--check]

Draws docs/images/rooms.svg: the rooms of src/ and lomix.h, and which room includes which, as the files
really do. A room's floor is one above the highest room that it includes, so that every arrow points
down. An include that a path of other arrows implies has no arrow of its own.
With --check nothing is written: the exit code is 1 if the drawing is not up to date.
"""
import math
import random
import sys
import textwrap
from html import escape

sys.dont_write_bytecode = True  # Nothing but the drawing is written into the source tree.
import check_includes

DRAWING = check_includes.ROOT / "docs/images/rooms.svg"

# Readable on light and dark pages: dark text on the boxes, everything else in a medium grey.
PLUGIN, LIBRARY, OUTSIDE = "#f3d9a4", "#bfe3c6", "#c5daf3"
LEGEND = [(PLUGIN, "the effect and its row engine"), (LIBRARY, "the C library"),
          (OUTSIDE, "host, files and command")]
GREY = "#7d8590"
ROOMS = {
    "support": (OUTSIDE, "files written whole, streams, errors, paths"),
    "hostapi": (PLUGIN, "the host's C records and suites, layout pinned"),
    "effect/numeric": (PLUGIN, "sines, float to integer"),
    "effect": (PLUGIN, "the effect as After Effects sees it"),
    "engine": (PLUGIN, "the row engine: same pixels, whole rows"),
    "looks": (LIBRARY, "parameters over time, presets, JSON"),
    "library": (LIBRARY, "implements lomix.h: frames, threads, errors"),
    "lomix.h": (LIBRARY, "the C API of every front end"),
    "plugins": (OUTSIDE, "front ends for other hosts"),
    "web": (OUTSIDE, "the WebAssembly page"),
    "host": (OUTSIDE, "headless After Effects, Premiere Pro"),
    "media/picture": (OUTSIDE, "picture files, numbered sequences"),
    "media/video": (OUTSIDE, "video files by FFmpeg"),
    "media/drawing": (OUTSIDE, "text, shapes, the test pictures"),
    "batch": (OUTSIDE, "sources, sinks, pipeline, progress, report"),
    "cli": (OUTSIDE, "the lomix command"),
}

# Pixels.
BOX_WIDTH, BOX_HEIGHT, LINE_WIDTH, GAP, FLOOR, MARGIN = 172, 58, 12, 20, 112, 30


class Fault(Exception):
    """A message of one line."""


def read_rooms():
    """The rooms that have files, each with the rooms that it includes."""
    includes, _ = check_includes.read_includes(check_includes.ROOT / "src")
    below = {}
    for name, targets in includes.items():
        rooms = [check_includes.room(file) for file in (name, *targets)]
        for room in rooms:
            if room is None:
                raise Fault(f"{name}: its folder has no rule (add the room to RULES in "
                            "tools/check_includes.py)")
            if room not in ROOMS:
                raise Fault(f"room '{room}' has no purpose (add it to ROOMS in tools/draw_rooms.py)")
            below.setdefault(room, set())
        below[rooms[0]].update(set(rooms[1:]) - {rooms[0]})
    return below


def floors_of(below):
    floors = {}

    def visit(room, trail):
        if room in trail:
            raise Fault(f"src: rooms include each other in a circle: {' -> '.join(trail)} -> {room}")
        if room not in floors:
            floors[room] = 1 + max((visit(b, (*trail, room)) for b in sorted(below[room])), default=-1)
        return floors[room]

    for room in sorted(below):
        visit(room, ())
    return floors


def direct_arrows(below):
    """The includes that no other path implies."""
    def reached(room):
        return {room}.union(*(reached(b) for b in below[room]))

    return [(room, b) for room in sorted(below) for b in sorted(below[room])
            if not any(b in reached(other) for other in below[room] - {b})]


def with_bends(arrows, floors):
    """Splits arrows into pieces from one floor to the next. A point that an arrow passes on a floor is
    (target, source, floor), and arrows to one target from one floor have the same points."""
    nodes = [[room for room in sorted(floors) if floors[room] == f]
             for f in range(max(floors.values()) + 1)]
    pieces, paths = [], []
    for room, target in arrows:
        path = [room]
        for floor in range(floors[room] - 1, floors[target], -1):
            path.append((target, room, floor))
            nodes[floor].append(path[-1])
        path.append(target)
        pieces += zip(path, path[1:])
        paths.append(path)
    return nodes, pieces, paths


def crossings(nodes, pieces):
    place = {node: i for floor in nodes for i, node in enumerate(floor)}
    level = {node: f for f, floor in enumerate(nodes) for node in floor}
    return sum((place[a] - place[c]) * (place[b] - place[d]) < 0
               for i, (a, b) in enumerate(pieces) for c, d in pieces[:i] if level[a] == level[c])


def ordered(nodes, pieces):
    """Orders each floor so that few arrows cross: the best of many starts, each improved by moving
    nodes to the mean place of their neighbours. The same rooms give the same order."""
    near = {node: [] for floor in nodes for node in floor}
    for a, b in pieces:
        near[a].append(b)
        near[b].append(a)
    generator = random.Random(1)
    best = None
    for _ in range(300):
        trial = [generator.sample(floor, len(floor)) for floor in nodes]
        for _ in range(12):
            for f, floor in enumerate(trial):
                place = {n: i / len(other) for other in trial for i, n in enumerate(other)}
                means = {n: math.fsum(place[o] for o in near[n]) / max(len(near[n]), 1) for n in floor}
                trial[f] = sorted(floor, key=means.get)
            count = crossings(trial, pieces)
            if best is None or count < best[0]:
                best = (count, [list(floor) for floor in trial])
    return best[1], near


def width_of(node):
    return BOX_WIDTH if isinstance(node, str) else LINE_WIDTH


def columns(nodes, near):
    """The middle of every node: as near to the mean of its neighbours as the order allows."""
    x = {}
    for floor in nodes:
        at = 0
        for node in floor:
            x[node] = at + width_of(node) / 2
            at += width_of(node) + GAP
    for _ in range(200):
        for floor in nodes:
            # Least squares under the order: nodes that would overlap move as one block.
            blocks, offset, previous = [], 0.0, None
            for node in floor:
                if previous is not None:
                    offset += (width_of(previous) + width_of(node)) / 2 + GAP
                wanted = math.fsum(x[o] for o in near[node]) / len(near[node])
                blocks.append([wanted - offset, 1, [(node, offset)]])
                while len(blocks) > 1 and blocks[-2][0] > blocks[-1][0]:
                    mean, count, members = blocks.pop()
                    other = blocks[-1]
                    other[0] = (other[0] * other[1] + mean * count) / (other[1] + count)
                    other[1] += count
                    other[2] += members
                previous = node
            for mean, _, members in blocks:
                x.update({node: mean + offset for node, offset in members})
    left = min(x[n] - width_of(n) / 2 for n in x)
    return {node: round(at - left + MARGIN) for node, at in x.items()}


def arrow(path, x, y):
    """A smooth line from box to box, straight down past the floors between."""
    start, *bends, end = path
    side = sorted((-1, (x[bends[0] if bends else end] - x[start]) / 8, 1))[1] * 60
    side_end = sorted((-1, (x[bends[-1] if bends else start] - x[end]) / 8, 1))[1] * 60
    points = [(round(x[start] + side), y[start] + BOX_HEIGHT)]
    for bend in bends:
        points += [(x[bend], y[bend]), (x[bend], y[bend] + BOX_HEIGHT)]
    points.append((round(x[end] + side_end), y[end] - 7))
    commands = [f"M{points[0][0]},{points[0][1]}"]
    for i, ((x0, y0), (x1, y1)) in enumerate(zip(points, points[1:])):
        half = (y0 + y1) // 2
        commands.append(f"L{x1},{y1}" if i % 2 == 1 else f"C{x0},{half} {x1},{half} {x1},{y1}")
    return f'<path d="{" ".join(commands)}" marker-end="url(#head)"/>'


def box(room, x, y):
    colour, purpose = ROOMS[room]
    name = check_includes.PUBLIC_HEADER if room == "lomix.h" else room
    parts = [f'<rect x="{x - BOX_WIDTH // 2}" y="{y}" width="{BOX_WIDTH}" height="{BOX_HEIGHT}" rx="6" '
             f'fill="{colour}" stroke="{GREY}"/>',
             f'<text x="{x}" y="{y + 19}" font-size="14" font-weight="bold">{escape(name)}</text>']
    for i, line in enumerate(textwrap.wrap(purpose, 28)):
        parts.append(f'<text x="{x}" y="{y + 35 + 14 * i}" font-size="11">{escape(line)}</text>')
    return parts


def draw():
    below = read_rooms()
    floors = floors_of(below)
    nodes, pieces, paths = with_bends(direct_arrows(below), floors)
    nodes, near = ordered(nodes, pieces)
    x = columns(nodes, near)
    y = {node: 20 + FLOOR * (len(nodes) - 1 - f) for f, floor in enumerate(nodes) for node in floor}
    width = max(x[n] + width_of(n) // 2 for n in x) + MARGIN
    bottom = 20 + FLOOR * (len(nodes) - 1) + BOX_HEIGHT
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {bottom + 56}" '
             f'width="{width}" height="{bottom + 56}" font-family="sans-serif" text-anchor="middle">',
             "<title>The rooms of the sources; an arrow points to what a room includes</title>",
             f'<defs><marker id="head" markerWidth="8" markerHeight="8" refX="1" refY="4" orient="auto">'
             f'<path d="M0,0 L8,4 L0,8 z" fill="{GREY}"/></marker></defs>',
             f'<g fill="none" stroke="{GREY}" stroke-width="1.4">',
             *(arrow(path, x, y) for path in paths), "</g>", '<g fill="#1c2128">']
    for room in sorted(floors):
        parts += box(room, x[room], y[room])
    parts += ["</g>", f'<g fill="{GREY}" font-size="12" text-anchor="start">']
    at = MARGIN
    for colour, text in LEGEND:
        parts.append(f'<rect x="{at}" y="{bottom + 26}" width="14" height="14" fill="{colour}" '
                     f'stroke="{GREY}"/><text x="{at + 20}" y="{bottom + 38}">{escape(text)}</text>')
        at += 60 + 7 * len(text)
    parts += [f'<text x="{at}" y="{bottom + 38}">arrow: includes</text>', "</g>", "</svg>"]
    return "\n".join(parts) + "\n"


def main():
    if sys.argv[1:] not in ([], ["--check"]):
        print(__doc__.splitlines()[0], file=sys.stderr)
        return 2
    try:
        drawing = draw()
    except Fault as fault:
        print(f"error: {fault}", file=sys.stderr)
        return 1
    if not sys.argv[1:]:
        DRAWING.write_text(drawing, encoding="utf-8")
    elif not DRAWING.exists() or DRAWING.read_text(encoding="utf-8") != drawing:
        print(f"error: {DRAWING.relative_to(check_includes.ROOT)}: not up to date "
              "(run tools/draw_rooms.py)", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
