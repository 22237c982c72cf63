#!/usr/bin/env python3
"""Makes the reference: Doxygen does not warn, and everything that the library exports is in a group.

Usage: check_reference.py DOXYGEN SOURCE DIRECTORY EXPORTS…; the reference is then DIRECTORY/html/index.html.
"""

import subprocess
import sys
import xml.etree.ElementTree
from pathlib import Path

from exported_names import exported_names


def make(doxygen: str, source: Path, directory: Path) -> bool:
    directory.mkdir(parents=True, exist_ok=True)
    settings = (source / "docs" / "Doxyfile").read_text()
    settings += f"OUTPUT_DIRECTORY = {directory}\nGENERATE_TAGFILE = {directory / 'reference.tag'}\n"
    return subprocess.run([doxygen, "-"], input=settings.encode(), cwd=source).returncode == 0


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
    doxygen, source, directory, *exports = sys.argv[1], *map(Path, sys.argv[2:])
    if not make(doxygen, source, directory):
        return 1
    exported = set().union(*map(exported_names, exports))
    missing = exported - grouped(directory / "reference.tag")
    for name in sorted(missing):
        print(f"{name}: exported, but in no group of the reference")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
