#!/usr/bin/env python3
"""Usage: tools/make_kdenlive.py LOMIX [--check]

Writes packaging/kdenlive/frei0r_lomix.xml, the panel of the frei0r plug-in in Kdenlive, from the parameters
and presets of the command LOMIX. With --check nothing is written: the exit code is 1 if the file is not
up to date.
"""
import json
import pathlib
import subprocess
import sys
from xml.sax.saxutils import escape, quoteattr

FILE = pathlib.Path(__file__).resolve().parent.parent / "packaging/kdenlive/frei0r_lomix.xml"


def ask(lomix, *arguments):
    return json.loads(subprocess.run([lomix, *arguments, "--json"], check=True, capture_output=True,
                                     text=True).stdout)


def parameter(name, kind, index, default, *display, **attributes):
    given = "".join(f" {key}={quoteattr(str(value))}" for key, value in attributes.items())
    return [f'  <parameter type="{kind}" name="{index}" default="{default}"{given}>',
            *(f"    <paramlistdisplay>{escape(text)}</paramlistdisplay>" for text in display),
            f"    <name>{escape(name)}</name>",
            "  </parameter>"]


def panel(parameters, presets):
    lines = ['<?xml version="1.0"?>', "<!DOCTYPE kpartgui>",
             '<effect tag="frei0r.lomix" id="frei0r.lomix">',
             "  <name>Lomix</name>",
             "  <description>Makes a picture look like a badly received television signal</description>",
             "  <author>Lomix maintainers</author>"]
    ids = [preset["id"] for preset in presets]
    names = [preset["name"] for preset in presets]
    lines += parameter("Preset", "list", 0, "", "None: the values below," + ",".join(names),
                       paramlist=";" + ";".join(ids))
    lines += parameter("Time in milliseconds", "hidden", 1, 0)
    for index, one in enumerate(parameters, start=2):
        if "choices" in one:
            last = len(one["choices"]) - 1
            places = [number / last for number in range(last + 1)]
            lines += parameter(one["name"], "list", index, f"{places[int(one['default']) - 1]:g}",
                               ",".join(one["choices"]), paramlist=";".join(f"{p:g}" for p in places))
            continue
        low, size = one["sliderMinimum"], one["sliderMaximum"] - one["sliderMinimum"]
        name = one["name"] if low == 0 else f"{one['name']} (above {low:g})"
        lines += parameter(name, "animated", index, f"{one['default'] - low:g}", min=0,
                           max=f"{size:g}", factor=f"{size:g}",
                           suffix=f" {one['unit']}" if one["unit"] else "")
    return "\n".join([*lines, "</effect>", ""])


def main():
    lomix = sys.argv[1]
    text = panel(ask(lomix, "params")["parameters"], ask(lomix, "presets")["presets"])
    if sys.argv[2:] == ["--check"]:
        if FILE.read_text(encoding="utf-8") != text:
            print(f"{FILE}: not up to date (run tools/make_kdenlive.py LOMIX)")
            return 1
        return 0
    FILE.write_text(text, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
