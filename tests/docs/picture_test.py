#!/usr/bin/python3
"""Compares the picture of README.md, docs/explain.svg, with a screen of the built tool.

usage: picture_test.py SOURCE-DIRECTORY BUILD-DIRECTORY

With SYSCONF_RENEW_GOLDEN=1 in the environment it writes the picture and fails, because a new
picture must be reviewed first.
"""

import html
import os
import pathlib
import re
import subprocess
import sys

COMMAND = ["explain", "float-node-id", "--env-file", "samples/ha-pair/standby.env"]
COLUMNS = 78
COLUMN, ROW, MARGIN = 8.4, 19, 16
BACKGROUND, TEXT = "#17202a", "#d7dde3"
STYLES = {
    "": f'fill="{TEXT}"',
    "1": 'fill="#ffffff" font-weight="bold"',
    "1;32": 'fill="#7ddc8a" font-weight="bold"',
}


def screen(source, build):
    environment = {"PATH": os.environ["PATH"], "LANG": "C.UTF-8", "COLUMNS": str(COLUMNS)}
    for name in ("LSAN_OPTIONS", "LD_LIBRARY_PATH"):
        if name in os.environ:
            environment[name] = os.environ[name]
    shown = subprocess.run(
        [build / "tools/sysconfctl/sysconfctl", *COMMAND, "--color", "always"],
        cwd=source,
        env=environment | {"NO_EM_CLIENT": "1"},
        stdout=subprocess.PIPE,
        text=True,
        check=True,
    ).stdout
    return [" ".join(["$ sysconfctl", *COMMAND]), *shown.splitlines()]


def pieces(line):
    """Yields the pieces of a line: column, colour sequence, text."""
    style, column = "", 0
    for part in re.split(r"(\x1b\[[0-9;]*m)", line):
        if part.startswith("\x1b"):
            style = part[2:-1].removeprefix("0")
        elif part:
            if part.strip():
                yield column, style, part
            column += len(part)


def picture(lines):
    width = 2 * MARGIN + COLUMN * COLUMNS
    height = 2 * MARGIN + ROW * len(lines)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height}" '
        f'viewBox="0 0 {width:.0f} {height}">',
        f'<rect width="100%" height="100%" rx="8" fill="{BACKGROUND}"/>',
        "<g font-family=\"ui-monospace, Menlo, Consolas, 'DejaVu Sans Mono', monospace\" "
        'font-size="14">',
    ]
    for row, line in enumerate(lines):
        for column, style, text in pieces(line):
            column += len(text) - len(text.lstrip())
            text = text.strip()
            parts.append(
                f'<text x="{MARGIN + COLUMN * column:.1f}" y="{MARGIN + ROW * row + 14}" '
                f'textLength="{COLUMN * len(text):.1f}" xml:space="preserve" {STYLES[style]}>'
                f"{html.escape(text)}</text>"
            )
    return "\n".join([*parts, "</g>", "</svg>", ""])


def main():
    source, build = map(pathlib.Path, sys.argv[1:])
    path = source / "docs/explain.svg"
    made = picture(screen(source, build))
    if os.environ.get("SYSCONF_RENEW_GOLDEN") == "1":
        path.write_text(made, encoding="utf-8")
        print(f"{path} is written: review it", file=sys.stderr)
        return 1
    if path.read_text(encoding="utf-8") != made:
        print(f"{path} is not the tool's present screen: SYSCONF_RENEW_GOLDEN=1", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
