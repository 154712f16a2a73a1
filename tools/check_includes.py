#!/usr/bin/env python3
"""Checks the direction of includes under src/: no cycle between files, and no layer that reaches up.

Prints one line per fault and exits 1 if there is any.
"""
import pathlib
import re
import sys

# Folders that may include nothing but the folders named; every other folder is checked for cycles
# and for the border of the plug-in only.
ALLOWED = {
    "hostapi": {"hostapi"},
    "geometry": {"geometry", "hostapi"},
    "noise": {"noise", "geometry"},
    "host": {"host", "hostapi"},
}
OUTSIDE_THE_PLUG_IN = {"host", "media", "cli"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def read_includes(src):
    includes = {}
    for file in sorted(src.rglob("*")):
        if file.suffix in (".h", ".cpp"):
            name = file.relative_to(src).as_posix()
            includes[name] = INCLUDE.findall(file.read_text(encoding="utf-8"))
    return includes


def folder(name):
    return name.split("/")[0]


def layer_faults(includes):
    for name, targets in includes.items():
        own = folder(name)
        for target in targets:
            if target not in includes:
                yield f"{name}: includes \"{target}\", which is no file under src/"
                continue
            other = folder(target)
            if own in ALLOWED and other not in ALLOWED[own]:
                yield f"{name}: {own} must not include {other} ({target})"
            elif own not in OUTSIDE_THE_PLUG_IN and other in OUTSIDE_THE_PLUG_IN:
                yield f"{name}: the plug-in must not include {other} ({target})"


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
    src = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "src")
    includes = read_includes(src)
    if not includes:
        print(f"{src}: no source files found")
        return 1
    faults = list(layer_faults(includes)) + list(cycles(includes))
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
