#!/usr/bin/env python3
"""Usage: check_pages.py

Makes the documents of each package and reads them as a browser does: every link and picture is there, and
nothing is about another system or about the sources.
"""
import html.parser
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
# What no page of a system says, and what its page about the installation says.
SYSTEMS = {
    "windows": (r"sudo|shasum|sha256sum|\bapt\b", ["msiexec /i Lomix-1.2.3-win64.msi", "Get-FileHash"]),
    "macos": (r"msiexec|Get-FileHash|\bapt\b|lomix render INPUT",
              ["cd ~/Downloads/Lomix-1.2.3-macos", "shasum -a 256", "signed ad hoc"]),
    "linux": (r"msiexec|Get-FileHash|shasum|ProgramFiles", ["lomix_1.2.3-1_amd64.deb", "sha256sum --check"]),
}
SOURCES = r"tools/\w+\.sh|cmake --preset|\bVERSION[-_]|[-_]VERSION\b"


class Page(html.parser.HTMLParser):
    def __init__(self, file):
        super().__init__()
        self.names, self.links, self.pictures = set(), [], []
        self.text = re.sub(r'src="data:[^"]*"', 'src="data:picture"', file.read_text(encoding="utf-8"))
        self.feed(self.text)

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.names |= {values["id"]} if "id" in values else set()
        self.links += [values["href"]] if "href" in values else []
        self.pictures += [values.get("src", "")] if tag == "img" else []


def faults(system, folder):
    pages = {f.name: Page(f) for f in folder.iterdir()}
    foreign, wanted = SYSTEMS[system]
    for name in ("README.html", "install.html", "CHANGELOG.html"):
        if name not in pages:
            yield f"{system}: there is no {name}"
            return
    for name, page in pages.items():
        for link in page.links:
            if "://" in link:
                continue
            target, _, anchor = link.partition("#")
            linked = pages.get(target or name)
            if linked is None or (anchor and anchor not in linked.names):
                yield f"{system}: {name} has a broken link, '{link}'"
        yield from (f"{system}: {name} has a picture outside of it, '{p}'"
                    for p in page.pictures if p != "data:picture")
        pattern = f"<!--|{SOURCES}|{foreign}" if name in ("README.html", "install.html") else "<!--"
        yield from (f"{system}: {name} says '{found[0]}'" for found in re.finditer(pattern, page.text))
    yield from (f"{system}: install.html does not say '{text}'"
                for text in wanted if text not in pages["install.html"].text)
    licence = (ROOT / "LICENCE.txt").read_text(encoding="utf-8").strip()
    if licence not in " ".join(pages["README.html"].text.split()):
        yield f"{system}: README.html does not say '{licence}'"


def main():
    found = []
    for system in SYSTEMS:
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([ROOT / "tools/make_pages.py", system, "1.2.3", folder], check=True)
            found += faults(system, pathlib.Path(folder))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
