#!/usr/bin/env python3
"""Usage: tools/fill_docs.py LOMIX [--check]

Writes docs/preset.schema.json and the text between the markers of docs/*.md from what the lomix
command says about its parameters and presets. With --check nothing is written: a document that is
not up to date is named and the exit code is 1.
"""
import json
import pathlib
import re
import subprocess
import sys

DOCS = pathlib.Path(__file__).resolve().parent.parent / "docs"
MARKED = re.compile(r"(<!-- made: (.+?) -->\n).*?(<!-- /made -->)", re.DOTALL)


def ask(lomix, *arguments):
    return subprocess.run([lomix, *arguments], check=True, capture_output=True, text=True).stdout


def number(value):
    return f"{value:g}".replace("-", "−")


def facts(parameter):
    """One line about a parameter's values."""
    if parameter["kind"] == "popup":
        choices = parameter["choices"]
        return f"Choices: {' or '.join(choices)}. Default: {choices[int(parameter['default']) - 1]}."
    unit = " %" if parameter["percent"] else ""
    low, high = number(parameter["minimum"]), number(parameter["maximum"])
    span = f"{low} to {high}{unit}" if parameter["maximum"] < 1e30 else f"{low} and up"
    return f"Range: {span}. Default: {number(parameter['default'])}{unit}."


def gallery(presets):
    parts = []
    for preset in presets:
        parts.append(f"### {preset['name']}\n\n`--preset {preset['id']}`: {preset['description']}.\n\n"
                     f"![{preset['name']}](images/presets/{preset['id']}.jpg)\n")
    return "\n" + "\n".join(parts) + "\n"


def main():
    lomix, check = sys.argv[1], "--check" in sys.argv[2:]
    parameters = {p["name"]: p for p in json.loads(ask(lomix, "params", "--json"))["parameters"]}
    presets = json.loads(ask(lomix, "presets", "--json"))["presets"]

    def fill(match):
        name = match[2]
        made = gallery(presets) if name == "gallery" else facts(parameters[name]) + "\n"
        return match[1] + made + match[3]

    wanted = {DOCS / "preset.schema.json": ask(lomix, "presets", "--schema")}
    for document in sorted(DOCS.glob("*.md")):
        wanted[document] = MARKED.sub(fill, document.read_text(encoding="utf-8"))
    stale = [f for f, text in wanted.items()
             if not f.exists() or f.read_text(encoding="utf-8") != text]
    for file in stale:
        if check:
            print(f"{file}: not up to date (run tools/make_docs.sh)")
        else:
            file.write_text(wanted[file], encoding="utf-8")
    return 1 if check and stale else 0


if __name__ == "__main__":
    sys.exit(main())
