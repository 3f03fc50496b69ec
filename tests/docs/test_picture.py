"""The README's picture of a terminal matches the program's output."""
from __future__ import annotations

import subprocess
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]


def test_picture_matches_a_run_of_the_program(tmp_path: Path) -> None:
    drawn = tmp_path / "terminal.svg"
    subprocess.run(["/usr/bin/python3", str(PROJECT / "scripts" / "picture.py"), str(drawn)], check=True)
    assert drawn.read_text(encoding="utf-8") == (PROJECT / "docs" / "terminal.svg").read_text(encoding="utf-8")
