"""The string literals of the programs' sources."""
from __future__ import annotations

import re
from collections.abc import Iterable

from sandbox import PROJECT

FOLDERS = (PROJECT / "cmake" / "SourceFolders.txt").read_text(encoding="utf-8").split()
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')


def literals(folders: Iterable[str] = FOLDERS) -> list[str]:
    """Every string literal in the folders, adjacent ones joined."""
    found = []
    for folder in folders:
        for source in sorted((PROJECT / folder).glob("*.cpp")):
            code = re.sub(r"^\s*(//|#include).*|'\\?.'", "", source.read_text(encoding="utf-8"), flags=re.MULTILINE)
            found += LITERAL.findall(re.sub(r'"\s*\n\s*"', "", code))
    return found
