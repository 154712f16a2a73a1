#!/usr/bin/env python3
"""Usage: check_exports.py FILE NAME...

Checks that a plug-in exports the names and nothing else, and needs no library but those of the C
runtime: a host brings its own C++ runtime, which must not meet the plug-in's. Prints one line per fault
and exits 1 if there is any.
"""
import re
import subprocess
import sys

RUNTIME = {"libc.so.6", "libm.so.6", "libpthread.so.0", "ld-linux-x86-64.so.2", "ld-linux-aarch64.so.1"}


def readelf(option, file):
    return subprocess.run(["readelf", "--wide", option, file], check=True, capture_output=True,
                          text=True).stdout


def main():
    file, *names = sys.argv[1:]
    found = set()
    for line in readelf("--dyn-syms", file).splitlines():
        fields = line.split()
        if len(fields) >= 8 and fields[0].rstrip(":").isdigit() and fields[6] != "UND":
            found.add(fields[7])
    needed = set(re.findall(r"\(NEEDED\).*\[(.+)\]", readelf("--dynamic", file)))
    faults = [f"{file}: does not export {name}" for name in sorted(set(names) - found)]
    faults += [f"{file}: exports {name}" for name in sorted(found - set(names))]
    faults += [f"{file}: needs {name}" for name in sorted(needed - RUNTIME)]
    if not needed:
        faults.append(f"{file}: needs no library at all, which cannot be right")
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
