#!/usr/bin/env python3
"""Draws docs/terminal.svg, README's picture of a session: runs the commands below and shows what they print.

Usage: terminal.py TOOL [FILE]; the file is docs/terminal.svg unless given.
"""

import html
import os
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parent.parent
COMMANDS = [
    "derkit dn 'cn=user1, 2.5.4.10=\"Example, Inc.\"'",
    "derkit cert --order reversed tests/data/2012-256.cert.pem | head -7",
    "derkit p12 extract --password-file password --out . tests/data/2012-256.p12",
    "derkit p12 make --key key-1.pem --cert certificate-1.pem --password-file password --out new.p12",
    "derkit p12 show new.p12 | head -2",
    "derkit p12 show --pasword-file password new.p12",
]
PASSWORD = "секрет-2012-256\n"
FONT_SIZE, LINE_HEIGHT, MARGIN, COLUMNS = 14, 19, 16, 112


def session(tool: Path) -> list[tuple[bool, str]]:
    """Lines, and whether each is a command."""
    lines = []
    with tempfile.TemporaryDirectory() as folder:
        Path(folder, "password").write_text(PASSWORD, encoding="utf-8")
        Path(folder, "tests").symlink_to(SOURCE / "tests")
        Path(folder, "bin").mkdir()
        Path(folder, "bin", "derkit").symlink_to(tool)
        environment = os.environ | {"PATH": f"{folder}/bin:{os.environ['PATH']}", "LC_ALL": "C.UTF-8", "TZ": "UTC"}
        for command in COMMANDS:
            done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            lines.append((True, command))
            lines += [(False, line) for line in done.stdout.decode().splitlines()]
    return lines


def wrapped(lines):
    for is_command, text in lines:
        for start in range(0, max(len(text), 1), COLUMNS):
            yield is_command and start == 0, text[start:start + COLUMNS]


def draw(lines: list[tuple[bool, str]]) -> str:
    rows = []
    for number, (is_command, text) in enumerate(lines, 1):
        y = MARGIN + number * LINE_HEIGHT
        shown = html.escape(text, quote=False)
        if is_command:
            shown = f'<tspan fill="#7ec699">$</tspan> <tspan fill="#ffffff">{shown}</tspan>'
        rows.append(f'<text x="{MARGIN}" y="{y}" xml:space="preserve">{shown}</text>')
    width = round(2 * MARGIN + (COLUMNS + 2) * FONT_SIZE * 0.6)
    height = 2 * MARGIN + (len(lines) + 1) * LINE_HEIGHT - LINE_HEIGHT // 2
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}">',
        '<title>A terminal session with derkit</title>',
        f'<rect width="{width}" height="{height}" rx="8" fill="#1e2127"/>',
        f'<g fill="#c5cbd3" font-family="DejaVu Sans Mono, Menlo, Consolas, monospace" font-size="{FONT_SIZE}">',
        *rows, "</g>", "</svg>", ""])


def main() -> None:
    file = Path(sys.argv[2]) if len(sys.argv) > 2 else SOURCE / "docs" / "terminal.svg"
    file.write_text(draw(list(wrapped(session(Path(sys.argv[1]).resolve())))), encoding="utf-8")


if __name__ == "__main__":
    main()
