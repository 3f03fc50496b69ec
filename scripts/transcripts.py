#!/usr/bin/python3
"""Hold the documents' transcripts against the program: ``transcripts.py (--check | --write) [DOCUMENT...]``.

A transcript is a fenced block of the kind ``console``.  Its lines are

    $ command            run by a shell; ``beta$ command`` on the host beta, otherwise the host is alpha
    > more of it         a continued line
    [...]                in place of everything a command said but its last line
    anything else        what the command said, exactly, as a terminal shows it

Every section, that is everything up to the next heading, starts from a fresh copy of the sample framework, seen as
/opt/qor, and from an empty working directory.  A fenced block of the kind ``sh NAME`` puts the script NAME there.
"""
from __future__ import annotations

import argparse
import dataclasses
import difflib
import errno
import os
import pty
import re
import select
import shlex
import shutil
import sys
import tempfile
import tty
from collections.abc import Iterator, Sequence
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(PROJECT / "tests" / "support"))

from sandbox import PATH, Run, Sandbox, SandboxError, launcher_name  # noqa: E402 (path set above)

SAMPLE = PROJECT / "examples" / "framework"
DOCUMENTS = ("*.md", "docs/**/*.md", "examples/**/*.md")

HEADING = re.compile(r"#{1,6} +(.*)")
FENCE = re.compile(r"```(.*)")
PROMPT = re.compile(r"([a-z]*)\$ (.*)")
CONTINUATION = "> "
ABRIDGED = "[...]"
HOST = "alpha"

SILENCE = 120.0


class TranscriptError(RuntimeError):
    """A document's transcript cannot be understood or told."""


@dataclasses.dataclass(frozen=True)
class Script:
    """A file that a document gives its reader."""

    name: str
    text: str


@dataclasses.dataclass(frozen=True)
class Exchange:
    """A command and what the document says that it says; ``first`` is the number of that answer's first line."""

    host: str
    command: str
    said: list[str]
    first: int


@dataclasses.dataclass
class Section:
    """What belongs to one heading."""

    document: Path
    heading: str
    steps: list[Script | Exchange] = dataclasses.field(default_factory=list)

    @property
    def exchanges(self) -> list[Exchange]:
        """The steps that have an answer."""
        return [step for step in self.steps if isinstance(step, Exchange)]


# --- reading documents -----------------------------------------------------------------------------------------------


def documents() -> list[Path]:
    """Every document of the project that has a transcript."""
    found = sorted(path for pattern in DOCUMENTS for path in PROJECT.glob(pattern))
    return [path for path in found if sections(path)]


def sections(document: Path) -> list[Section]:
    """The sections of a document that have a transcript."""
    found = [Section(document, "")]
    lines = iter(enumerate(document.read_text(encoding="utf-8").splitlines()))
    for _, line in lines:
        if heading := HEADING.fullmatch(line):
            found.append(Section(document, heading[1]))
        elif fence := FENCE.fullmatch(line):
            kind, _, name = fence[1].partition(" ")
            block = list(_block(document, lines))
            if kind == "console":
                found[-1].steps += _exchanges(document, block)
            elif kind == "sh" and name:
                found[-1].steps.append(Script(name, "".join(f"{line}\n" for _, line in block)))
    return [section for section in found if section.exchanges]


def _block(document: Path, lines: Iterator[tuple[int, str]]) -> Iterator[tuple[int, str]]:
    for number, line in lines:
        if line == "```":
            return
        yield number, line
    raise TranscriptError(f"{document.name}: a fenced block has no end")


def _exchanges(document: Path, block: list[tuple[int, str]]) -> list[Exchange]:
    found: list[Exchange] = []
    for number, line in block:
        last = found[-1] if found else None
        if prompt := PROMPT.fullmatch(line):
            found.append(Exchange(prompt[1] or HOST, prompt[2], [], number + 1))
        elif last is None:
            raise TranscriptError(f"{document.name}:{number + 1}: a transcript starts with a command")
        elif line.startswith(CONTINUATION) and not last.said:
            command = f"{last.command}\n{line.removeprefix(CONTINUATION)}"
            found[-1] = dataclasses.replace(last, command=command, first=number + 1)
        else:
            last.said.append(line)
    return found


# --- running them ----------------------------------------------------------------------------------------------------


class Stage:
    """A fresh framework and working directory, and a shell on each host that sees them."""

    def __init__(self, scratch: Path):
        self.framework = scratch / "framework"
        self.work = scratch / "work"
        shutil.copytree(SAMPLE, self.framework)
        self.work.mkdir()
        programs = scratch / "sbin"
        programs.mkdir()
        # Nobody wants to read, or to wait for, the thirty seconds that a call waits for another host's session.
        self._sandbox = Sandbox(self.framework, preload=("sleep",), work=self.work).with_env(PATH=f"{programs}:{PATH}")
        tool = programs / "qor_mim_tool"
        tool.write_text(f'#!/bin/sh\nexec {shlex.join(self._sandbox.tool_command())} "$@"\n', encoding="utf-8")
        tool.chmod(0o755)
        self.status = 0

    def add(self, script: Script) -> None:
        """Put a script into the working directory."""
        path = self.work / script.name
        path.write_text(script.text, encoding="utf-8")
        path.chmod(0o755)

    def run(self, host: str, command: str) -> str:
        """Everything that a command says to a terminal.  It finds the last command's status in ``$?``."""
        master, slave = pty.openpty()
        try:
            tty.setraw(slave)
            run = self._sandbox.on(host).launch("/bin/sh", "-c", f"(exit {self.status})\n{command}", stdout=slave,
                                                console=slave)
        finally:
            os.close(slave)
        try:
            said = _read_terminal(master, run)
        finally:
            os.close(master)
        status = run.wait().status
        self.status = status if status >= 0 else 128 - status
        return said.decode(errors="replace")


def _read_terminal(master: int, run: Run) -> bytes:
    """All that arrives until the last writer has closed its end."""
    said = b""
    while select.select([master], [], [], SILENCE)[0]:
        try:
            chunk = os.read(master, 1 << 16)
        except OSError as end:
            if end.errno != errno.EIO:
                raise
            return said
        said += chunk
    run.kill()
    raise TranscriptError(f"no word for {SILENCE} s after\n{said.decode(errors='replace')}")


def answers(section: Section) -> list[list[str]]:
    """What the section's commands say really, line by line, abridged where the document abridges."""
    found = []
    with tempfile.TemporaryDirectory(prefix="qmt-") as scratch:
        stage = Stage(Path(scratch))
        for step in section.steps:
            if isinstance(step, Script):
                stage.add(step)
            else:
                found.append(_answer(stage, step))
    return found


def _answer(stage: Stage, exchange: Exchange) -> list[str]:
    text = stage.run(exchange.host, exchange.command)
    if text and not text.endswith("\n"):
        raise TranscriptError(f"the last line of what this says has no end: {exchange.command}")
    lines = text.splitlines()
    return [ABRIDGED, *lines[-1:]] if exchange.said[:1] == [ABRIDGED] else lines


# --- comparing and writing -------------------------------------------------------------------------------------------


def difference(section: Section) -> str:
    """How the section differs from what the program says; nothing if it does not."""
    told: list[str] = []
    found: list[str] = []
    for exchange, said in zip(section.exchanges, answers(section)):
        prompt = f"{exchange.host}$ {exchange.command}"
        told += [prompt, *exchange.said]
        found += [prompt, *said]
    where = f"{section.document.name}, {section.heading}"
    return "\n".join(difflib.unified_diff(told, found, where, "the program", n=len(told), lineterm=""))


def rewrite(document: Path) -> bool:
    """Put into a document what the program says; true if that changed it."""
    old = document.read_text(encoding="utf-8")
    lines = old.splitlines()
    for section in reversed(sections(document)):
        for exchange, said in reversed(list(zip(section.exchanges, answers(section)))):
            lines[exchange.first:exchange.first + len(exchange.said)] = said
    new = "".join(f"{line}\n" for line in lines)
    if new != old:
        document.write_text(new, encoding="utf-8")
    return new != old


def check(chosen: Sequence[Path]) -> bool:
    """Show every difference; true if there is none."""
    count = 0
    differences = []
    for document in chosen:
        for section in sections(document):
            count += len(section.exchanges)
            differences.append(difference(section))
    found = [text for text in differences if text]
    print("\n".join([*found, f"transcripts: {count} commands, {len(found)} sections differ "
                             f"(sandbox: {launcher_name()})"]))
    return not found


def main() -> int:
    """The command line's entry."""
    parser = argparse.ArgumentParser(description="Hold the documents' transcripts against the program.")
    mode = parser.add_mutually_exclusive_group(required=True)
    mode.add_argument("--check", action="store_true", help="show the differences; status 1 if there are any")
    mode.add_argument("--write", action="store_true", help="put into the documents what the program says")
    parser.add_argument("document", nargs="*", type=Path, help="default: every document that has a transcript")
    wanted = parser.parse_args()
    try:
        chosen = [path.resolve() for path in wanted.document] or documents()
        if wanted.check:
            return 0 if check(chosen) else 1
        for document in chosen:
            print(f"{'written' if rewrite(document) else 'unchanged'}: {document.name}")
    except (SandboxError, TranscriptError) as problem:
        print(f"transcripts: {problem}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
