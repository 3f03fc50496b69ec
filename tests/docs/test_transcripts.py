"""The transcripts in the documents match the program, and the demonstration plays them."""
from __future__ import annotations

import os
import pty
import re
import signal
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator
from pathlib import Path
from typing import IO

import pytest

PROJECT = Path(__file__).resolve().parents[2]
DEMO = PROJECT / "scripts" / "demo.py"
sys.path.insert(0, str(DEMO.parent))

from demo import STORY  # noqa: E402 (path set above)
from transcripts import DOCUMENTS, Playback, Step, normalized, rewrite, sections  # noqa: E402

GUIDE = sections(PROJECT / "docs" / "operations.md")
SECTIONS = [(document, heading) for document in DOCUMENTS for heading in sections(document)]

STATUS = """$ qor_mim_tool --status
ConsoleLogger: Information: Using QOR path: /opt/qor
ConsoleLogger: Information: There are no pending actions.
ConsoleLogger: Information: Operation completed.
"""
STAGED = """beta$ qor_mim_tool --modelHandler=powerHandler
[...]
ConsoleLogger: Information: Operation completed.
$ cat /opt/qor/etc/model/cmdfifo.dat /opt/qor/etc/model/qor_mim_tool.lock; echo
1:powerHandler|1|1
beta
$ exit 7
[exit status 7]
$ echo $?
7
"""


def answer(playback: Playback, command: str) -> str:
    return playback.play(Step("alpha", command))


# --- transcripts -----------------------------------------------------------------------------------------------------


@pytest.mark.parametrize("document, heading", SECTIONS, ids=[f"{path.name}: {name}" for path, name in SECTIONS])
def test_transcript_matches_the_program(document: Path, heading: str, tmp_path: Path) -> None:
    playback = Playback(tmp_path)
    steps = sections(document)[heading]
    assert [playback.play(step) for step in steps] == [step.answer for step in steps]


def test_sections_contain_every_command_of_a_document() -> None:
    assert {"operations.md", "files.md"} <= {document.name for document, _ in SECTIONS}
    for document in DOCUMENTS:
        text = document.read_text(encoding="utf-8")
        played = [step for steps in sections(document).values() for step in steps if step.place != (0, 0)]
        assert len(re.findall(r"^[a-z]*\$ ", text, re.MULTILINE)) == len(played)
        assert re.findall(r"^```console\n(?![a-z]*\$ )", text, re.MULTILINE) == []


def test_rewrite_updates_the_transcripts(tmp_path: Path) -> None:
    document = tmp_path / "document.md"
    text = f"Before\n\n```console\n{STAGED}```\n\n# Between\n\n```console\n{STATUS}```\n\n```sh\n$ after\n```\n"
    wrong = text.replace("completed", "failed").replace("beta\n", "").replace("status 7", "3").replace("7\n```", "```")
    document.write_text(wrong, encoding="utf-8")
    rewrite(document)
    assert document.read_text(encoding="utf-8") == text


def test_playback_keeps_the_order_of_a_terminal(tmp_path: Path) -> None:
    said = answer(Playback(tmp_path), "qor_mim_tool --help")
    assert said.index("Using QOR path") < said.index("usage:") < said.index("Operation completed.")


# --- the demonstration -----------------------------------------------------------------------------------------------


@pytest.fixture
def scratch() -> Iterator[Path]:
    """An empty directory with a short name, since the path of a socket is limited."""
    with tempfile.TemporaryDirectory(prefix="qmt-") as directory:
        yield Path(directory)


def start_demo(scratch: Path, stdout: int = subprocess.PIPE, **env: str) -> subprocess.Popen[bytes]:
    """The demonstration, with its temporary files in ``scratch``."""
    inherited = {name: value for name, value in os.environ.items() if name != "NO_COLOR"}
    return subprocess.Popen([str(DEMO)], stdin=subprocess.DEVNULL, stdout=stdout, stderr=subprocess.PIPE,
                            env={**inherited, "TMPDIR": str(scratch), "TERM": "xterm", **env})


def read_until(stream: IO[bytes], wanted: bytes) -> bytes:
    """Read a stream until ``wanted`` has occurred; return what was read."""
    said = b""
    while wanted not in said and (chunk := os.read(stream.fileno(), 4096)):
        said += chunk
    return said


def is_emptied(directory: Path) -> bool:
    """Wait until a directory is empty.  A separate process of the demonstration empties it, even after SIGKILL."""
    for _ in range(600):
        if not any(directory.iterdir()):
            return True
        time.sleep(0.1)
    return False


def test_demo_plays_its_chapters_of_the_guide(scratch: Path) -> None:
    said, errors = start_demo(scratch).communicate()
    for heading in STORY:
        chapter = "".join(f"\n{step.sentence}\n\n{step.host}$ {step.command}\n{step.answer}" for step in GUIDE[heading])
        # The help text is left out in the guide only.
        assert chapter.replace("`", "").partition("[...]")[0] in normalized(said.decode())
        assert all(step.sentence for step in GUIDE[heading])
    assert b" commands, all as the guide shows them (sandbox: " in said
    assert (errors, b"\033" in said, is_emptied(scratch)) == (b"", False, True)


@pytest.mark.parametrize("said, status", [("Nothing.\n", 0), (GUIDE[STORY[0]][0].answer, 3)], ids=["answer", "status"])
def test_demo_fails_where_the_program_differs(tmp_path: Path, scratch: Path, said: str, status: int) -> None:
    program = tmp_path / "qor_mim_tool"
    program.write_text(f"#!/bin/sh\ncat <<'END'\n{said}END\nexit {status}\n")
    program.chmod(0o755)
    demo = start_demo(scratch, QOR_MIM_TOOL=str(program), QOR_MIM_TOOL_EMULATOR="")
    assert "demo: not as the guide shows it" in demo.communicate()[1].decode()
    assert (demo.returncode, is_emptied(scratch)) == (1, True)


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGKILL])
def test_demo_leaves_nothing_when_ended_by_a_signal(scratch: Path, number: signal.Signals) -> None:
    with start_demo(scratch) as demo:
        read_until(demo.stdout, b"alpha$")
        demo.send_signal(number)
        assert demo.communicate()[1] == b""
    assert demo.returncode == (-number if number == signal.SIGKILL else 128 + number)
    assert is_emptied(scratch)


def test_demo_ends_silently_when_its_reader_is_gone(scratch: Path) -> None:
    with start_demo(scratch) as demo:
        read_until(demo.stdout, b"alpha$")
        demo.stdout.close()
        assert demo.stderr.read() == b""
    assert (demo.returncode, is_emptied(scratch)) == (128 + signal.SIGPIPE, True)


@pytest.mark.parametrize("env, coloured", [({}, True), ({"NO_COLOR": "1"}, False), ({"TERM": "dumb"}, False)])
def test_demo_uses_colours_on_a_terminal_that_has_them(scratch: Path, env: dict[str, str], coloured: bool) -> None:
    master, slave = pty.openpty()
    with open(master, "rb", buffering=0) as terminal, start_demo(scratch, slave, **env) as demo:
        os.close(slave)
        assert (b"\033[" in read_until(terminal, b"alpha$")) == coloured
        demo.terminate()


@pytest.mark.parametrize("words, status", [(["--help"], 0), (["--unknown"], 2), (["--fallback", "more"], 2)])
def test_demo_script_shows_its_usage(words: list[str], status: int) -> None:
    called = subprocess.run([str(DEMO.with_suffix("")), *words], capture_output=True, text=True, check=False)
    used, unused = (called.stderr, called.stdout) if status else (called.stdout, called.stderr)
    assert (called.returncode, used.partition("\n")[0], unused) == (status, "usage: scripts/demo [--fallback]", "")
