#!/usr/bin/env python3
"""Checks that every arrow in the diagram of docs/architecture.md is an #include of the sources, and the reverse.

Usage: check_layers.py SOURCE
"""

import re
import sys
from pathlib import Path

SUFFIXES = {".h", ".cpp"}
TOOL_LAYERS = {"commands", "formats", "io"}  # folders of tools/, which include each other by these names


def arrows(document: Path) -> set[tuple[str, str]]:
    diagram = re.search(r"^```mermaid\n(.*?)^```$", document.read_text(), re.MULTILINE | re.DOTALL)
    return set(re.findall(r"^ *(\w+) --> (\w+)$", diagram[1] if diagram else "", re.MULTILINE))


def layer(included: str) -> str:
    folder = included.partition("/")[0]
    return "include" if folder == "derkit" else folder


def sources(source: Path, folder: str) -> list[Path]:
    """The sources of a layer. Those of tools/ are the ones outside its three layers."""
    root = source / "tools" / folder if folder in TOOL_LAYERS else source / folder
    files = (path for path in root.rglob("*") if path.suffix in SUFFIXES)
    return sorted(path for path in files if not TOOL_LAYERS.intersection(path.relative_to(root).parts))


def includes(source: Path, folder: str) -> dict[tuple[str, str], str]:
    """The includes of other layers as (from, to), each with one place where it is written."""
    found = {}
    for path in sources(source, folder):
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if match := re.match(r'\s*#\s*include\s+(?:"([^"]+)"|<(derkit/[^>]+)>)', line):
                to = layer(match[1] or match[2])
                if to != folder:
                    found.setdefault((folder, to), f"{path.relative_to(source)}:{number}")
    return found


def cycle(edges: set[tuple[str, str]]) -> set[str]:
    """The layers on or before a cycle of arrows."""
    left = {folder for edge in edges for folder in edge}
    while ends := {folder for folder in left if not any(a == folder and b in left for a, b in edges)}:
        left -= ends
    return left


def main() -> int:
    source = Path(sys.argv[1])
    drawn = arrows(source / "docs" / "architecture.md")
    found = {}
    for folder in {folder for edge in drawn for folder in edge}:
        found |= includes(source, folder)
    problems = [f"{place}: {a} includes {b}, which is not in the diagram" for (a, b), place in found.items()
                if (a, b) not in drawn]
    problems += [f"docs/architecture.md: {a} --> {b}, but no file includes such a header" for a, b in drawn
                 if (a, b) not in found]
    if ring := cycle(drawn):
        problems.append(f"docs/architecture.md: the arrows form a cycle: {', '.join(sorted(ring))}")
    if not drawn:
        problems.append("docs/architecture.md: has no diagram")
    print("\n".join(problems) or f"{len(drawn)} arrows")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
