#!/usr/bin/env python3
"""Usage: tools/check_docs.py LOMIX [--with FEATURE]...

Runs the commands of *.md and docs/*.md as a reader would paste them: every block fenced as sh, in an
empty folder for each document. In a document with a heading "Preparation" each other heading starts
from a copy of the folder after the preparation. A block below <!-- needs: FEATURE --> runs only with
that feature. Then checks that generated text is up to date, that linked files exist, that the README names
every option of the command, that every room of the sources is described, that presets follow their schema,
and that docs stays small. Prints every fault; exits 1 if there is any.
"""
import argparse
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import jsonschema

sys.dont_write_bytecode = True  # Nothing is written into the source tree.
import draw_rooms

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAX_DOCS_BYTES = 4_000_000
PART = re.compile(r"^(?P<heading>#{1,6} [^\n]*)$"
                  r"|(?:<!-- needs: (?P<needs>\S+) -->\n)?^```(?P<kind>\w*)\n(?P<code>.*?)^```$",
                  re.MULTILINE | re.DOTALL)
# Printed where a machine is slow.
PROGRESS = re.compile(r"^\d+ (of \d+ )?frames.*\n", re.MULTILINE)
LINK = re.compile(r"\]\(([^)#]+)")


def blocks(text):
    """(heading, feature or None, kind, code) of every fenced block."""
    heading = ""
    for match in PART.finditer(text):
        if match["heading"]:
            heading = match["heading"].lstrip("# ")
        else:
            yield heading, match["needs"], match["kind"], match["code"]


def run(code, folder, environment):
    """Runs commands. Returns what went wrong, or None."""
    done = subprocess.run(["bash", "-euo", "pipefail", "-c", code], cwd=folder, env=environment,
                          stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if done.returncode != 0:
        return f"exit code {done.returncode}: {done.stderr.strip()}"
    messages = PROGRESS.sub("", done.stderr).strip()
    return f"unexpected messages: {messages}" if messages else None


def command_faults(document, features, environment):
    found = list(blocks(document.read_text(encoding="utf-8")))
    for heading, _, kind, code in found:
        if kind == "" and re.search(r"^lomix ", code, re.MULTILINE):
            yield f"under \"{heading}\": a block of commands is not fenced as sh or text"
    runnable = [(h, n, c) for h, n, k, c in found if k == "sh" and (n is None or n in features)]
    with tempfile.TemporaryDirectory() as scratch:
        prepared = pathlib.Path(scratch, "prepared")
        prepared.mkdir()
        preparation = [c for h, _, c in runnable if h == "Preparation"]
        for code in preparation:
            if fault := run(code, prepared, environment):
                yield f"preparation: {fault}"
        folder, last = prepared, "Preparation"
        for number, (heading, _, code) in enumerate(runnable):
            if heading == "Preparation":
                continue
            if preparation and heading != last:
                folder = pathlib.Path(scratch, str(number))
                shutil.copytree(prepared, folder)
                last = heading
            if fault := run(code, folder, environment):
                yield f"under \"{heading}\": {fault}"


def link_faults(document):
    for target in LINK.findall(document.read_text(encoding="utf-8")):
        if "://" not in target and not (document.parent / target).exists():
            yield f"there is no '{target}'"


def option_faults(lomix):
    """The options of the subcommands that the README does not name."""
    def options_of(*command):
        text = subprocess.run([lomix, *command, "--help"], check=True, capture_output=True, text=True).stdout
        return text, set(re.findall(r"^ +(?:-\w,)?(--[a-z][a-z-]*)", text, re.MULTILINE))

    readme = (ROOT / "README.md").read_text(encoding="utf-8")
    whole, _ = options_of()
    commands = re.findall(r"^  ([a-z]+) {2,}\S", whole.split("Subcommands:")[1].split("Examples:")[0],
                          re.MULTILINE)
    for command in commands:
        for option in sorted(options_of(command)[1]):
            if not re.search(rf"{option}(?![a-z-])", readme):
                yield f"README.md: 'lomix {command}' has the option {option}, which is not described"


def room_faults():
    try:
        rooms_of_sources = set(draw_rooms.read_rooms()) - {"lomix.h"}
    except draw_rooms.Fault as fault:
        yield str(fault)
        return
    for document, rooms in (
            ("docs/architecture.md", rooms_of_sources),
            ("README.md", [f"src/{f.name}" for f in (ROOT / "src").iterdir() if f.is_dir()])):
        tables = re.findall(r"^\| (`[^|]*`) \|", (ROOT / document).read_text(encoding="utf-8"), re.MULTILINE)
        for room in sorted(rooms):
            if not any(f"`{room}`" in cell for cell in tables):
                yield f"{document}: no table has a row for `{room}` (add one)"


def preset_faults():
    schema = json.loads((ROOT / "docs/preset.schema.json").read_text(encoding="utf-8"))
    validator = jsonschema.Draft7Validator(schema)
    texts = {f.name: f.read_text(encoding="utf-8") for f in sorted((ROOT / "presets").glob("*.json"))}
    page = (ROOT / "docs/presets.md").read_text(encoding="utf-8")
    texts |= {f"docs/presets.md, \"{h}\"": c for h, _, kind, c in blocks(page) if kind == "json"}
    for name, text in texts.items():
        for error in validator.iter_errors(json.loads(text)):
            yield f"{name}: {error.message}"
    for wrong in ({"format": 2}, {"parameters": {"Noise": 101}}, {"keys": {"Time Control": []}}):
        if validator.is_valid({"format": 1, "name": "N", "description": "D", **wrong}):
            yield f"the schema allows {wrong}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("lomix", type=pathlib.Path)
    parser.add_argument("--with", dest="features", action="append", default=[])
    arguments = parser.parse_args()
    environment = dict(os.environ)
    environment["PATH"] = f"{arguments.lomix.resolve().parent}:{environment['PATH']}"

    faults = []
    for document in [*sorted(ROOT.glob("*.md")), *sorted((ROOT / "docs").glob("*.md"))]:
        name = document.relative_to(ROOT)
        faults += [f"{name}: {f}" for f in command_faults(document, arguments.features, environment)]
        faults += [f"{name}: {f}" for f in link_faults(document)]
    faults += option_faults(arguments.lomix.resolve())
    faults += room_faults()
    faults += [f"presets: {f}" for f in preset_faults()]
    size = sum(f.stat().st_size for f in (ROOT / "docs").rglob("*") if f.is_file())
    if size > MAX_DOCS_BYTES:
        faults.append(f"docs: {size} bytes are more than {MAX_DOCS_BYTES} (make the pictures smaller)")
    made = subprocess.run([ROOT / "tools/fill_docs.py", arguments.lomix.resolve(), "--check"],
                          capture_output=True, text=True)
    if made.returncode != 0:
        faults.append((made.stdout + made.stderr).strip())
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
