"""docs/messages.md explains every message of the program, verbatim, and no other.

Texts are compared piece by piece: a message of several lines, or with a name filled in, has several pieces.
"""
from __future__ import annotations

import re
import sys
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
PAGE = PROJECT / "docs" / "messages.md"
sys.path.insert(0, str(PROJECT / "tests" / "support"))

from sources import FOLDERS, literals  # noqa: E402 (path set above)

TOOL_FOLDERS = [folder for folder in FOLDERS if folder != "ctl"]
# What the program fills in: a conversion in the sources, a word in capitals on the page.
FILLED_IN = r"%\w|\b(?!QOR |FIFO |XML |WARNING)[A-Z]{3,}\b:?"
# Names of POCO's exceptions, which the program prints as messages.
OF_THE_LIBRARY = {"Exception", "Assertion violation"}
# Texts of exceptions that the program catches itself, and the head of the help text.
NEVER_SHOWN = {"qor_mim_tool v1.0", "Failed to invoke: qorea", ", retval", "The file would replace itself"}


def pieces(texts: list[str]) -> set[str]:
    """The fixed parts of the texts that have a word in them."""
    found = {piece.strip() for text in texts for piece in re.split(rf"\\n|{FILLED_IN}", text)}
    return {piece for piece in found if re.search("[A-Za-z]", piece)}


def rows() -> list[list[str]]:
    """The cells of each row that explains a message."""
    lines = [line for line in PAGE.read_text(encoding="utf-8").splitlines() if line.startswith("| `")]
    return [[cell.strip() for cell in line.strip("|").split(" | ")] for line in lines]


def explained() -> set[str]:
    return pieces([text for row in rows() for cell in (row[0], row[2]) for text in re.findall("`([^`]+)`", cell)])


def test_every_message_is_explained() -> None:
    # Other single words are names. What the help text shows begins with "<" or ends with a line feed.
    messages = [text for text in literals(TOOL_FOLDERS) if re.search(r"\w[:,]? \w|[:!.=] ?$|^[A-Z][a-z]+$", text)
                and not text.startswith("<") and not text.endswith(r"\n")]
    assert pieces(messages) - explained() == NEVER_SHOWN


def test_every_explained_message_exists() -> None:
    assert explained() - pieces(literals()) == OF_THE_LIBRARY


def test_every_message_has_a_meaning() -> None:
    assert all(len(row) == 4 and len(row[3]) > 3 for row in rows())
