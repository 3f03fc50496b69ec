#!/usr/bin/python3
"""Play chapters of the operator's guide live, and compare each command's output and exit status with the guide."""
from __future__ import annotations

import argparse
import contextlib
import difflib
import os
import re
import signal
import subprocess
import sys
import tempfile
from collections.abc import Iterator
from pathlib import Path

from transcripts import PROJECT, Playback, Step, sections
from sandbox import SandboxError, launcher_name  # transcripts adds its folder to the path

GUIDE = PROJECT / "docs" / "operations.md"
# Headings of the guide. A sentence stands before every command below them.
STORY = ("A first session", "Change your mind", "A change in one call", "The validator rejects the result",
         "Several hosts", "An interrupted commit", "All options")

BOLD, RED, GREEN, CYAN = "1", "31", "32", "1;36"
COLOURED = sys.stdout.isatty() and "NO_COLOR" not in os.environ and os.environ.get("TERM") != "dumb"

INTRODUCTION = """The operator's guide, played live. Each chapter starts with a fresh copy of the sample framework,
which the tool and its companion see as /opt/qor in a sandbox: nothing on this machine is changed. Waits are cut
short."""


def colour(code: str, text: str) -> str:
    """The text, coloured if the terminal and the environment allow it."""
    return f"\033[{code}m{text}\033[0m" if COLOURED else text


def show(output: bytes) -> None:
    """Forward the program's output as it arrives."""
    wrong = r"(?m)^ConsoleLogger: (Error|Critical|Warning): .*|^.* WARNING: .*|^qor_mim_ctl: .*|^\[exit status.*"
    print(re.sub(wrong, lambda line: colour(RED, line[0]), output.decode(errors="replace")), end="", flush=True)


def play(heading: str, steps: list[Step]) -> str:
    """Play a chapter; return the difference from the guide, or an empty string."""
    print(f"\n{colour(BOLD, heading)}\n{colour(BOLD, '=' * len(heading))}")
    with tempfile.TemporaryDirectory() as scratch:
        playback = Playback(Path(scratch), COLOURED)
        for step in steps:
            sentence = re.sub("`(.*?)`", lambda name: colour(BOLD, name[1]), step.sentence)
            print(f"\n{sentence}\n\n{colour(CYAN, f'{step.host}$ {step.command}')}", flush=True)
            output = playback.play(step, show)
            if output != step.answer:
                return "\n".join(difflib.unified_diff(step.answer.splitlines(), output.splitlines(), "the guide",
                                                      "the program", lineterm=""))
    return ""


def play_story() -> int:
    """Play all chapters, then print a summary."""
    guide = sections(GUIDE)
    print(INTRODUCTION)
    for heading in STORY:
        if difference := play(heading, guide[heading]):
            print(f"\ndemo: not as the guide shows it\n{difference}", file=sys.stderr)
            return 1
    print("\n" + colour(BOLD, f"{'chapter':36}{'commands':>8}   answers and exit statuses"))
    for heading in STORY:
        print(f"{heading:36}{len(guide[heading]):8}   {colour(GREEN, 'as the guide shows them')}")
    print(f"\ndemo: {sum(len(guide[heading]) for heading in STORY)} commands, all as the guide shows them "
          f"(sandbox: {launcher_name()})", flush=True)
    return 0


@contextlib.contextmanager
def temporary_files() -> Iterator[None]:
    """Keep all temporary files in one directory.  A separate process removes it, even if this one is killed."""
    script = 'scratch=$(mktemp -d -t qmt-demo-XXXXXX) && echo "$scratch"; read -r _; rm -rf "$scratch"'
    keeper = subprocess.Popen(["/bin/sh", "-c", script], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                              start_new_session=True)
    assert keeper.stdout is not None
    tempfile.tempdir = keeper.stdout.readline().strip() or sys.exit("demo: no temporary directory")
    try:
        yield
    finally:
        keeper.communicate()


def end(number: int, _: object) -> None:
    """Exit cleanly on a signal, without a traceback."""
    sys.exit(128 + number)


def main() -> int:
    """The command line's entry."""
    argparse.ArgumentParser(description=__doc__).parse_args()
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, end)
    with temporary_files():
        try:
            return play_story()
        except BrokenPipeError:
            os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
            return 128 + signal.SIGPIPE
        except (OSError, SandboxError) as problem:
            print(f"demo: {problem}", file=sys.stderr)
            return 1


if __name__ == "__main__":
    sys.exit(main())
