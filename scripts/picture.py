#!/usr/bin/python3
"""Draw the README's picture of a terminal from a real run: ``picture.py [FILE]``."""
from __future__ import annotations

import sys
import tempfile
import textwrap
from collections.abc import Iterator
from html import escape
from pathlib import Path

from transcripts import PROJECT, Playback, Step

PICTURE = PROJECT / "docs" / "terminal.svg"
STORY = ("qor_mim_tool --addModelFile=/opt/qor/models/power.xml --modelHandler=powerHandler",
         "qor_mim_tool --commit",
         "qor_mim_tool --addModelFile=/opt/qor/models/lighting-broken.xml",
         "qor_mim_tool --commit",
         "cat /opt/qor/etc/model/model_file_list.cfg")

COLUMNS, CELL, LINE, MARGIN = 100, 8, 18, 16
PROMPT, PLAIN, WRONG = "#8fd7ff", "#d8dee9", "#ff8f8f"


def lines() -> Iterator[tuple[str, str]]:
    """The lines of the terminal, each with its colour."""
    with tempfile.TemporaryDirectory() as scratch:
        playback = Playback(Path(scratch))
        for command in STORY:
            yield PROMPT, f"# {command}"
            for line in playback.play(Step("alpha", command)).splitlines():
                colour = WRONG if line.startswith(("ConsoleLogger: Error", "[exit status")) else PLAIN
                for part in textwrap.wrap(line, COLUMNS, drop_whitespace=False, break_on_hyphens=False) or [""]:
                    yield colour, part


def draw(shown: list[tuple[str, str]]) -> str:
    """The picture as SVG.  Each line is stretched to its columns, so that the reader's font does not matter."""
    width, height = COLUMNS * CELL + 2 * MARGIN, len(shown) * LINE + 2 * MARGIN
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
             'font-family="monospace" font-size="13">',
             "<title>A commit that succeeds, and one that the validator rejects</title>",
             f'<rect width="{width}" height="{height}" rx="6" fill="#1e222a"/>']
    parts += [f'<text x="{MARGIN}" y="{MARGIN + LINE * number + 13}" fill="{colour}" xml:space="preserve" '
              f'textLength="{len(text) * CELL}">{escape(text)}</text>'
              for number, (colour, text) in enumerate(shown) if text]
    return "\n".join([*parts, "</svg>", ""])


if __name__ == "__main__":
    Path(*sys.argv[1:2] or [PICTURE]).write_text(draw(list(lines())), encoding="utf-8")
