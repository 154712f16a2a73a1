#!/usr/bin/python3
"""Usage: tools/make_pages.py SYSTEM VERSION FOLDER

Writes the documents of a package for windows, macos or linux into FOLDER as HTML pages with their pictures in
them: README.html, install.html, CHANGELOG.html and others. Text between <!-- for: NAMES --> and <!-- /for -->
is written only where NAMES contains the system; the name "sources" stands for readers of the sources.
VERSION in a file's name becomes the version. A link to a file that is not in the package becomes plain text.
Fails where a page, a picture or a heading that is linked does not exist.
"""
import base64
import html
import mimetypes
import pathlib
import re
import sys

import markdown
from markdown.extensions import Extension
from markdown.treeprocessors import Treeprocessor

ROOT = pathlib.Path(__file__).resolve().parent.parent
COMMON = ["README.md", "CHANGELOG.md", "docs/install.md", "docs/parameters.md", "docs/presets.md"]
PAGES = {"windows": COMMON, "macos": COMMON,
         "linux": [*COMMON, "docs/cookbook.md", "docs/embedding.md"]}
CHOICE = re.compile(r"<!-- for: (.*?) -->\n(.*?)<!-- /for -->\n?", re.DOTALL)
FRAME = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{title}</title>
<style>
body {{ font: 16px/1.5 sans-serif; max-width: 56rem; margin: 2rem auto; padding: 0 1rem; }}
img {{ max-width: 100%; height: auto; }}
table {{ border-collapse: collapse; }}
th, td {{ border: 1px solid #bbb; padding: 0.2rem 0.6rem; text-align: left; vertical-align: top; }}
code {{ font-size: 90%; }}
pre {{ background: #f3f3f3; padding: 0.6rem; overflow-x: auto; }}
</style>
</head>
<body>
{body}
</body>
</html>
"""


class Fault(Exception):
    pass


def slug(heading, separator):
    """The name of a heading's anchor, as the hosts of repositories write it."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", separator)


class Packaged(Extension, Treeprocessor):
    """Puts pictures into the page, and directs links to the pages of the package."""

    def __init__(self, document, pages):
        Extension.__init__(self)
        self.document, self.pages, self.targets = document, pages, []

    def extendMarkdown(self, md):
        Treeprocessor.__init__(self, md)
        md.treeprocessors.register(self, "packaged", 0)

    def run(self, root):
        for element in root.iter():
            if element.tag == "img":
                file = self.document.parent / element.get("src")
                if not file.is_file():
                    raise Fault(f"{self.document}: there is no picture '{element.get('src')}'")
                data = base64.b64encode(file.read_bytes()).decode()
                element.set("src", f"data:{mimetypes.guess_type(file.name)[0]};base64,{data}")
            elif element.tag == "a" and "://" not in element.get("href"):
                self.direct(element)

    def direct(self, element):
        name, _, anchor = element.get("href").partition("#")
        file = (self.document.parent / name).resolve() if name else self.document
        if not file.exists():
            raise Fault(f"{self.document}: there is no '{name}'")
        if file in self.pages:
            page = self.pages[file]
            self.targets.append((page, anchor))
            element.set("href", (page if name else "") + (f"#{anchor}" if anchor else ""))
        else:
            del element.attrib["href"]
            element.tag = "span"


def text_for(system, text):
    kept = CHOICE.sub(lambda match: match[2] if system in match[1].split() else "", text)
    if stray := re.search(r"<!-- /?for\b.*", kept):
        raise Fault(f"'{stray[0]}' has no partner")
    return re.sub(r"<!--.*?-->\n?", "", kept, flags=re.DOTALL)


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in PAGES:
        print(__doc__, file=sys.stderr)
        return 2
    system, version, folder = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
    pages = {ROOT / name: pathlib.Path(name).stem + ".html" for name in PAGES[system]}
    folder.mkdir(parents=True, exist_ok=True)
    anchors, targets = {}, []
    try:
        for document, page in pages.items():
            text = text_for(system, document.read_text(encoding="utf-8"))
            text = re.sub(r"(?<=[-_])VERSION(?=[-_])", version, text)
            packaged = Packaged(document, pages)
            body = markdown.markdown(text, output_format="html", extensions=[
                "tables", "fenced_code", "sane_lists", "toc", packaged],
                extension_configs={"toc": {"slugify": slug}})
            title = re.search(r"^# (.+)", text, re.MULTILINE)[1]
            anchors[page] = set(re.findall(r'\bid="([^"]+)"', body))
            targets += [(document.name, *target) for target in packaged.targets]
            (folder / page).write_text(FRAME.format(title=html.escape(title), body=body), encoding="utf-8")
        for document, page, anchor in targets:
            if anchor and anchor not in anchors[page]:
                raise Fault(f"{document}: {page} for {system} has no heading #{anchor}")
    except Fault as fault:
        print(f"error: make_pages.py: {fault}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
