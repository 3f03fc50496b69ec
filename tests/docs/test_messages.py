"""Every message of the program is explained to its reader."""
from __future__ import annotations

import re
from pathlib import Path

import pytest

PROJECT = Path(__file__).resolve().parents[2]
MESSAGES = (PROJECT / "docs" / "messages.md").read_text(encoding="utf-8")

LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
# What looks like a message and is none: the help text and the pattern of a console line.
OPTION_TEXT = re.compile(r"<.*>|.*\.\\n|\[-\] \[--\] OPTIONS|%s: %p: %t")


def messages() -> list[str]:
    """The fixed texts of several words in the program's sources, each without what is filled in at run time."""
    found = set()
    for folder in ("app", "impl", "xml"):
        for source in (PROJECT / folder).glob("*.cpp"):
            for line in source.read_text(encoding="utf-8").splitlines():
                # What is thrown is caught before anybody sees its text.
                if not line.lstrip().startswith(("//", "#", "throw ")):
                    found |= {text for text in LITERAL.findall(line) if not OPTION_TEXT.fullmatch(text)}
    parts = {part.strip() for text in found for part in re.split(r"\\n|%s", text)}
    return sorted(part for part in parts if re.search(r"[A-Za-z].* ", part))


def explains(text: str) -> bool:
    """Whether the page on messages has this text, on however many lines."""
    return text in " ".join(MESSAGES.split())


def test_the_messages_are_found() -> None:
    assert {"Operation completed.", "Unable to write to FIFO file!", "already exist in"} <= set(messages())


@pytest.mark.parametrize("text", messages())
def test_message_is_explained(text: str) -> None:
    assert explains(text)


def test_unknown_message_is_noticed() -> None:
    assert not explains("Unable to find the moon!")
