#!/usr/bin/env python3
"""Usage: check_symbols.py LIBLOMIX LOMIX_H MODULE...

Checks the symbol tables: the library exports every function that the header declares, under the
version LOMIX_2, and nothing else; a module exports EntryPointFunc and nothing else; neither needs other
libraries than the C and C++ runtimes. Prints one line per fault and exits 1 if there is any.
"""
import pathlib
import re
import subprocess
import sys

RUNTIMES = {"libstdc++.so", "libm.so", "libgcc_s.so", "libc.so", "ld-linux-x86-64.so",
            "ld-linux-aarch64.so", "libpthread.so"}


def readelf(option, file):
    return subprocess.run(["readelf", "--wide", option, file], check=True, capture_output=True,
                          text=True).stdout


def exports(file):
    """The names that a file defines for others; nodes of the version script are no symbols."""
    names = set()
    for line in readelf("--dyn-syms", file).splitlines():
        fields = line.split()
        if len(fields) >= 8 and fields[0].rstrip(":").isdigit() and \
                fields[6] not in ("UND", "ABS") and fields[4] in ("GLOBAL", "WEAK", "UNIQUE"):
            names.add(fields[7])
    return names


def dynamic(file, tag):
    return re.findall(rf"\({tag}\).*\[(.+)\]", readelf("--dynamic", file))


def main():
    library, header, *modules = sys.argv[1:]
    text = pathlib.Path(header).read_text(encoding="utf-8")
    declared = set(re.findall(r"^LOMIX_API .*?\b(lomix_\w+)\(", text, re.MULTILINE))
    faults = []
    if len(declared) < 20:
        faults.append(f"{header}: only {len(declared)} declarations were found")
    expected = {library: {f"{name}@@LOMIX_2" for name in declared}}
    expected |= {module: {"EntryPointFunc"} for module in modules}
    for file, names in expected.items():
        found = exports(file)
        faults += [f"{file}: does not export {name}" for name in sorted(names - found)]
        faults += [f"{file}: exports {name}" for name in sorted(found - names)]
        needed = {re.sub(r"\.[0-9.]+$", "", name) for name in dynamic(file, "NEEDED")}
        faults += [f"{file}: needs {name}" for name in sorted(needed - RUNTIMES)]
        if not needed:
            faults.append(f"{file}: needs no library at all, which cannot be right")
    if dynamic(library, "SONAME") != ["liblomix.so.2"]:
        faults.append(f"{library}: its name is {dynamic(library, 'SONAME')}, not liblomix.so.2")
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
