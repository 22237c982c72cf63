#!/usr/bin/env python3
"""Makes the reference: Doxygen does not warn, everything that the library exports is in a group and is found by the search,
and no link of a page is dead.

Usage: check_reference.py SOURCE DIRECTORY EXPORTS…; the reference is then DIRECTORY/html/index.html.
"""

import html.parser
import subprocess
import sys
import urllib.parse
import xml.etree.ElementTree
from pathlib import Path

from exported_names import exported_names


class Page(html.parser.HTMLParser):
    """The links of a page, and what links may lead to in it."""

    def __init__(self, path: Path):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("href", "src") and value:
                self.links.append(value)
            elif name in ("id", "name"):
                self.anchors.add(value)


def dead_links(folder: Path) -> list[str]:
    pages = {path: Page(path) for path in folder.rglob("*.html")}
    dead = []
    for path, page in pages.items():
        for link in page.links:
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc:
                continue
            target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
            anchor = urllib.parse.unquote(parts.fragment)
            if not target.exists() or (anchor and target in pages and anchor not in pages[target].anchors):
                dead.append(f"{path.name}: {link} leads nowhere")
    return dead


def searchable(folder: Path) -> str:
    return "".join(path.read_text(encoding="utf-8") for path in (folder / "search").glob("*.js"))


def grouped(tag_file: Path) -> set[str]:
    """Members of groups, and of the classes and namespaces in them."""
    compounds = xml.etree.ElementTree.parse(tag_file).findall("compound")
    by_name = {compound.findtext("name"): compound for compound in compounds}
    names = set()
    for group in compounds:
        if group.get("kind") != "group":
            continue
        inner = [by_name[child.text] for child in group if child.tag in ("class", "namespace")]
        for compound in [group, *inner]:
            names |= {member.findtext("name") for member in compound.findall("member")}
    return names


def main() -> int:
    source, directory, *exports = map(Path, sys.argv[1:])
    if subprocess.run([source / "scripts" / "reference.sh", directory]).returncode != 0:
        return 1
    exported = set().union(*map(exported_names, exports))
    known, found = grouped(directory / "reference.tag"), searchable(directory / "html")
    problems = [f"{name}: exported, but in no group of the reference" for name in sorted(exported - known)]
    problems += [f"{name}: exported, but not found by the search" for name in sorted(exported) if f"['{name}'," not in found]
    problems += dead_links(directory / "html")
    print("\n".join(problems))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
