#!/usr/bin/env python3
"""Usage: tools/fill_docs.py LOMIX [--check]

Writes docs/preset.schema.json and the text between the markers of README.md and docs/*.md from the
lists that the lomix command prints: its parameters and presets. With --check nothing is written: a
document that is not up to date is named and the exit code is 1.
"""
import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCS = ROOT / "docs"
MARKED = re.compile(r"(<!-- made: (.+?) -->\n).*?(<!-- /made -->)", re.DOTALL)


def ask(lomix, *arguments):
    return subprocess.run([lomix, *arguments], check=True, capture_output=True, text=True).stdout


def number(value):
    return f"{value:g}".replace("-", "−")


def amount(value, unit):
    """A value with its unit: "20 %", "1 row"."""
    return f"{number(value)} {unit.replace('rows', 'row') if value == 1 else unit}"


def values(parameter):
    """The values that a parameter takes, and its default."""
    if parameter["kind"] == "popup":
        choices = parameter["choices"]
        return " or ".join(choices), choices[int(parameter["default"]) - 1]
    unit, low, high = parameter["unit"], parameter["minimum"], parameter["maximum"]
    if high < 1e30:
        span = f"{number(low)} to {amount(high, unit)}"
    else:
        span = f"{amount(low, unit)} and up"
    return span, amount(parameter["default"], unit)


def facts(parameter):
    """One line about a parameter's values."""
    kind = "Choices" if parameter["kind"] == "popup" else "Range"
    span, default = values(parameter)
    return f"{kind}: {span}. Default: {default}.\n"


def table(parameters):
    rows = ["| name | values | default | what it does to the picture |", "|---|---|---|---|"]
    for parameter in parameters:
        span, default = values(parameter)
        rows.append(f"| {parameter['name']} | {span} | {default} | {parameter['help']} |")
    return "\n".join(rows) + "\n"


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

    texts = {name: facts(parameter) for name, parameter in parameters.items()}
    texts |= {"gallery": gallery(presets), "parameter table": table(parameters.values())}

    def fill(match):
        if match[2] not in texts:
            sys.exit(f"error: '{match[2]}': nothing is generated under this name "
                     f"(use {', '.join(texts)})")
        return match[1] + texts[match[2]] + match[3]

    wanted = {DOCS / "preset.schema.json": ask(lomix, "presets", "--schema")}
    for document in (ROOT / "README.md", *sorted(DOCS.glob("*.md"))):
        wanted[document] = MARKED.sub(fill, document.read_text(encoding="utf-8"))
    stale = [f for f, text in wanted.items()
             if not f.exists() or f.read_text(encoding="utf-8") != text]
    for file in stale:
        if check:
            print(f"{file.relative_to(ROOT)}: not up to date (run tools/make_docs.sh)")
        else:
            file.write_text(wanted[file], encoding="utf-8")
    return 1 if check and stale else 0


if __name__ == "__main__":
    sys.exit(main())
