"""Links and file names in the documents are valid, and only one file has the version."""
from __future__ import annotations

import re
import sys
from collections.abc import Iterator
from pathlib import Path

import pytest

PROJECT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "tests" / "support"))

from expect import version  # noqa: E402 (path set above)

FOLDERS = sorted(path.name for path in PROJECT.iterdir() if path.is_dir() and path.name != "build"
                 and not path.name.startswith("."))
FENCED = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\[[^\]]*\]\(([^)#\s]*)(?:#([^)\s]*))?\)")
# A file of the project, without the arguments behind it.
NAMED = re.compile(rf"`((?:{'|'.join(map(re.escape, FOLDERS))})/[^`\s*]*)")


def files() -> Iterator[Path]:
    """Every file of the source tree."""
    for top in sorted(PROJECT.iterdir()):
        if top.is_file():
            yield top
        elif top.name in FOLDERS:
            yield from sorted(path for path in top.rglob("*") if path.is_file() and "__pycache__" not in path.parts)


DOCUMENTS = [path for path in files() if path.suffix == ".md"]


def prose(document: Path) -> str:
    """The text without fenced blocks."""
    return FENCED.sub("", document.read_text(encoding="utf-8"))


def anchors(document: Path) -> set[str]:
    """The anchors of the headings, as Markdown renderers make them."""
    headings = re.findall(r"^#+ (.*)$", prose(document), re.MULTILINE)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def dead_links(document: Path) -> list[str]:
    """The links of a document whose target does not exist."""
    dead = []
    for target, anchor in LINK.findall(prose(document)):
        if re.match(r"\w+:", target):
            continue
        path = document.parent / target if target else document
        if not path.exists() or (anchor and anchor not in anchors(path)):
            dead.append(f"{target}#{anchor}" if anchor else target)
    return dead


def test_documents_are_found() -> None:
    assert {"README.md", "CONTRIBUTING.md", "CHANGELOG.md", "operations.md"} <= {path.name for path in DOCUMENTS}


@pytest.mark.parametrize("document", DOCUMENTS, ids=lambda path: str(path.relative_to(PROJECT)))
def test_every_link_has_a_target(document: Path) -> None:
    assert dead_links(document) == []


@pytest.mark.parametrize("document", DOCUMENTS, ids=lambda path: str(path.relative_to(PROJECT)))
def test_every_named_file_exists(document: Path) -> None:
    assert [name for name in NAMED.findall(prose(document)) if not (PROJECT / name).exists()
            and not (document.parent / name).exists()] == []


@pytest.mark.parametrize("link, dead", [
    ("[a](there.md)", []),
    ("[a](there.md#a-heading-with-code_and-signs)", []),
    ("[a](#here)", []),
    ("[a](https://example.org/x)", []),
    ("```sh\n[a](gone.md)\n```", []),
    ("[a](gone.md)", ["gone.md"]),
    ("[a](there.md#gone)", ["there.md#gone"]),
    ("[a](#gone)", ["#gone"]),
])
def test_dead_links_finds_every_missing_target(tmp_path: Path, link: str, dead: list[str]) -> None:
    (tmp_path / "there.md").write_text("## A heading with `code_and` signs!\n", encoding="utf-8")
    document = tmp_path / "document.md"
    document.write_text(f"# Here\n\n{link}\n", encoding="utf-8")
    assert dead_links(document) == dead


def test_version_is_in_one_file_only() -> None:
    """A release changes one line; whatever else shows the version takes it from there."""
    shown = [f"VERSION {version()}", f"Version: {version()}"]
    holders = [str(path.relative_to(PROJECT)) for path in files()
               if any(text in path.read_text(encoding="utf-8", errors="replace") for text in shown)]
    assert holders == ["CMakeLists.txt"]
