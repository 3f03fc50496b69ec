#!/usr/bin/python3
"""Update the transcripts in the documents from real runs: ``transcripts.py [DOCUMENT...]``.

A transcript is a fenced block of the kind ``console``, with these lines:

    $ command            a shell command; ``beta$ command`` runs on the host beta, otherwise the host is alpha
    [...]                stands for all output before the last line
    [exit status N]      the exit status, unless it is 0
    anything else        the output as on a terminal, without colours; times are replaced by those of TIMES

Every section (the text up to the next heading) starts with a fresh copy of the sample framework as /opt/qor, and with
an empty working directory.  A fenced block of the kind ``sh NAME`` creates the script NAME there.
"""
from __future__ import annotations

import dataclasses
import os
import pty
import re
import select
import shlex
import shutil
import sys
import tempfile
import tty
from collections.abc import Callable
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(PROJECT / "tests" / "support"))

from sandbox import DEFAULT_TIMEOUT, PATH, WORK, Sandbox, tool_directory  # noqa: E402 (path set above)

DOCUMENTS = sorted(path for pattern in ("*.md", "docs/**/*.md", "examples/**/*.md") for path in PROJECT.glob(pattern))
PIECE = re.compile(r"^#+ +(?P<heading>.*)$|^```(?P<kind>\w*) ?(?P<name>.*)\n(?P<text>(?:.*\n)*?)```$", re.MULTILINE)
STEP = re.compile(r"^(?P<host>[a-z]*)\$ (?P<command>.*)\n(?P<answer>(?:(?![a-z]*\$ ).*\n)*)", re.MULTILINE)
ABRIDGED = "[...]\n"
COLOUR = re.compile(r"\033\[[0-9;]*m")
# The forms of a UTC time, each with its replacement in the documents.
TIMES = ((re.compile(r"\b\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"), "2026-01-31T12:00:00Z"),
         (re.compile(r"\b\d{8}T\d{6}Z"), "20260131T120000Z"))


def normalized(output: str) -> str:
    """The output without colours, and with fixed times."""
    output = COLOUR.sub("", output)
    for time, shown in TIMES:
        output = time.sub(shown, output)
    return output


@dataclasses.dataclass(frozen=True)
class Step:
    """A command, its output at ``place`` in the document, and the sentence before the block."""

    host: str
    command: str
    answer: str = ""
    place: tuple[int, int] = (0, 0)
    sentence: str = ""


def sections(document: Path) -> dict[str, list[Step]]:
    """The steps of each section that has any, by heading."""
    text = document.read_text(encoding="utf-8")
    found: dict[str, list[Step]] = {}
    heading, end = "", 0
    for piece in PIECE.finditer(text):
        paragraph = " ".join(text[end:piece.start()].strip().rpartition("\n\n")[2].split())
        end = piece.end()
        heading = piece["heading"] or heading
        steps = found.setdefault(heading, [])
        if piece["kind"] == "console":
            for step in STEP.finditer(text, *piece.span("text")):
                steps.append(Step(step["host"] or "alpha", step["command"], step["answer"], step.span("answer"),
                                  paragraph.rpartition(". ")[2]))
                paragraph = ""
        elif piece["kind"] == "sh" and piece["name"]:
            name, script = shlex.quote(piece["name"]), shlex.quote(piece["text"])
            steps.append(Step("alpha", f"printf %s {script} >{name} && chmod +x {name}"))
    return {heading: steps for heading, steps in found.items() if steps}


class Playback:
    """Runs the steps of one section, with a framework and a working directory of its own."""

    def __init__(self, scratch: Path, coloured: bool = False):
        self.framework = scratch / "framework"
        work, programs = scratch / "work", scratch / "sbin"
        shutil.copytree(PROJECT / "examples" / "framework", self.framework)
        work.mkdir()
        programs.mkdir()
        # Skip the thirty seconds that a call waits for another host's session.
        self._sandbox = Sandbox(self.framework, preload=("sleep",), work=work).with_env(
            PATH=f"{programs}:{PATH}", TMPDIR=WORK, NO_COLOR="" if coloured else "1")
        for name, built in (("qor_mim_tool", None), ("qor_mim_ctl", tool_directory() / "qor_mim_ctl")):
            command = shlex.join(self._sandbox.tool_command(built))
            program = programs / name
            program.write_text(f'#!/bin/sh\nexec {command} "$@"\n', encoding="utf-8")
            program.chmod(0o755)
        self._status = 0

    def play(self, step: Step, show: Callable[[bytes], object] = lambda _: None) -> str:
        """Run a step; return its output as a document shows it.  ``show`` receives all output as it arrives."""
        output = normalized(self._run(step.host, step.command, show))
        note = f"[exit status {self._status}]\n" if self._status else ""
        show(note.encode())
        if step.answer.startswith(ABRIDGED):
            output = ABRIDGED + output[output.rstrip("\n").rfind("\n") + 1:]
        return output + note

    def _run(self, host: str, command: str, show: Callable[[bytes], object]) -> str:
        """Run a command on a terminal; return its output.  ``$?`` is the status of the previous command."""
        master, slave = pty.openpty()
        tty.setraw(slave)
        run = self._sandbox.on(host).launch("/bin/sh", "-c", f"(exit {self._status})\n{command}", stdout=slave,
                                            console=slave)
        os.close(slave)
        output = b""
        try:
            while chunk := _read_terminal(master):
                output += chunk
                show(chunk)
        finally:
            os.close(master)
            status = run.wait().status
        self._status = status if status >= 0 else 128 - status
        return output.decode(errors="replace")


def _read_terminal(master: int) -> bytes:
    """The next output; empty when all writers have closed the terminal, or after the timeout."""
    try:
        return os.read(master, 1 << 16) if select.select([master], [], [], DEFAULT_TIMEOUT)[0] else b""
    except OSError:
        return b""


def rewrite(document: Path) -> None:
    """Update the transcripts of a document."""
    text = document.read_text(encoding="utf-8")
    answers = []
    for steps in sections(document).values():
        with tempfile.TemporaryDirectory(prefix="qmt-") as scratch:
            playback = Playback(Path(scratch))
            answers += [(step.place, playback.play(step)) for step in steps]
    for (start, end), answer in reversed(answers):
        text = text[:start] + answer + text[end:]
    document.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    for name in sys.argv[1:] or DOCUMENTS:
        rewrite(Path(name))
