#!/usr/bin/env python3
"""Usage: tools/check_includes.py

Checks the direction of includes between the rooms under src/: every room includes only the rooms that
RULES names for it, and no two files include each other in a circle. Prints one line per fault and
exits 1 if there is any.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# What a room may include beside itself. "lomix.h" is include/lomix/lomix.h. A folder under effect/ or
# media/ is a room of its own where it has a rule of its own.
EFFECT = {"hostapi", "effect", "effect/numeric"}
RULES = {
    "support": set(),
    "hostapi": set(),
    "effect/numeric": set(),
    "effect": EFFECT,
    "engine": EFFECT,
    "looks": {"support", "effect"},
    "library": {"lomix.h", "support", "looks", "engine"},
    "plugins": {"lomix.h"},
    "web": {"lomix.h"},
    "host": {"support", "hostapi"},
    "media/picture": {"support"},
    "media/video": {"support", "media/picture"},
    "media/drawing": {"support", "media/picture", "effect"},
    "batch": {"lomix.h", "support", "looks", "library", "host", "media/picture", "media/video"},
    "cli": {"lomix.h", "support", "looks", "library", "host", "batch", "media/picture", "media/video",
            "media/drawing"},
}
PUBLIC_HEADER = "lomix/lomix.h"


def read_includes(src):
    """The files under src/ with the files of the project that each includes."""
    names = {file.relative_to(src).as_posix(): file for file in sorted(src.rglob("*"))
             if file.suffix in (".h", ".cpp")}
    includes = {}
    unknown = []
    for name, file in names.items():
        includes[name] = []
        for line in re.findall(r'^\s*#\s*include\s+("[^"]+"|<lomix/[^>]+>)',
                               file.read_text(encoding="utf-8"), re.MULTILINE):
            target = line[1:-1]
            if target in names or target == PUBLIC_HEADER:
                includes[name].append(target)
            else:
                unknown.append(f'{name}: includes {line}, which is no file of the project')
    return includes, unknown


def room(name):
    """The room of a file: the longest folder that has a rule."""
    if name == PUBLIC_HEADER:
        return "lomix.h"
    folder = pathlib.PurePosixPath(name).parent
    while folder.as_posix() != ".":
        if folder.as_posix() in RULES:
            return folder.as_posix()
        folder = folder.parent
    return None


def room_faults(includes):
    for name, targets in includes.items():
        own = room(name)
        if own is None:
            yield f"{name}: its folder has no rule (add the room to RULES in tools/check_includes.py)"
            continue
        for target in targets:
            other = room(target)
            if other != own and other not in RULES[own]:
                yield f"{name}: {own} must not include {other} ({target})"


def cycles(includes):
    done = set()

    def visit(name, trail):
        if name in trail:
            yield "cycle: " + " -> ".join(trail[trail.index(name):] + [name])
            return
        if name in done:
            return
        for target in includes.get(name, []):
            yield from visit(target, trail + [name])
        done.add(name)

    for name in includes:
        yield from visit(name, [])


def main():
    includes, faults = read_includes(ROOT / "src")
    if not includes:
        print("src: no source files found")
        return 1
    faults += list(room_faults(includes)) + list(cycles(includes))
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
