"""The transcripts of the documents are what the program says, and a difference would be noticed."""
from __future__ import annotations

import re
import subprocess
import sys
from pathlib import Path

import pytest

PROJECT = Path(__file__).resolve().parents[2]
PROGRAM = PROJECT / "scripts" / "transcripts.py"
sys.path.insert(0, str(PROGRAM.parent))

from transcripts import Exchange, Script, Section, Stage, TranscriptError, documents, sections  # noqa: E402
from transcripts import difference  # noqa: E402

TOLD = [section for document in documents() for section in sections(document)]

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
"""


def written(directory: Path, *blocks: str, kind: str = "console") -> Path:
    """A document of one section for each block."""
    document = directory / "document.md"
    document.write_text("".join(f"# Section\n\n```{kind}\n{block}```\n\n" for block in blocks), encoding="utf-8")
    return document


def transcripts(*args: str | Path) -> subprocess.CompletedProcess[str]:
    """The program itself."""
    return subprocess.run(["/usr/bin/python3", str(PROGRAM), *map(str, args)], capture_output=True, text=True,
                          stdin=subprocess.DEVNULL, check=False)


@pytest.mark.parametrize("section", TOLD, ids=[f"{section.document.name}: {section.heading}" for section in TOLD])
def test_transcript_is_what_the_program_says(section: Section) -> None:
    assert difference(section) == ""


def test_documents_with_transcripts_are_found() -> None:
    assert {"README.md", "operations.md", "files.md"} <= {document.name for document in documents()}


def test_every_command_in_a_document_is_in_a_transcript() -> None:
    for document in documents():
        prompts = re.findall(r"^[a-z]*\$ ", document.read_text(encoding="utf-8"), re.MULTILINE)
        assert len(prompts) == sum(len(section.exchanges) for section in sections(document))


def test_check_accepts_what_is_true(tmp_path: Path) -> None:
    answer = transcripts("--check", written(tmp_path, STATUS, STAGED))
    assert (answer.returncode, answer.stderr) == (0, "")
    assert answer.stdout.startswith("transcripts: 3 commands, 0 sections differ")


@pytest.mark.parametrize("old, new", [
    ("pending actions", "pending action"),
    ("ConsoleLogger: Information: Operation completed.\n", ""),
    ("completed.\n", "completed.\n\n"),
    ("--status", "--commit"),
])
def test_check_shows_a_difference(tmp_path: Path, old: str, new: str) -> None:
    document = written(tmp_path, STATUS.replace(old, new))
    before = document.read_bytes()
    answer = transcripts("--check", document)
    assert answer.returncode == 1
    assert "1 sections differ" in answer.stdout and "--- document.md, Section" in answer.stdout
    assert document.read_bytes() == before


def test_last_line_of_an_abridged_answer_is_compared(tmp_path: Path) -> None:
    assert transcripts("--check", written(tmp_path, STAGED.replace("completed", "failed"))).returncode == 1


def test_write_puts_the_programs_words_in_and_leaves_the_rest(tmp_path: Path) -> None:
    true = written(tmp_path, STATUS, STAGED).read_text()
    document = written(tmp_path, STATUS.replace("no pending", "many pending"), STAGED.replace("beta\n", ""))
    assert transcripts("--write", document).stdout == "written: document.md\n"
    assert document.read_text() == true
    assert transcripts("--write", document).stdout == "unchanged: document.md\n"


def test_sections_know_nothing_of_each_other(tmp_path: Path) -> None:
    staged = "$ qor_mim_tool --modelHandler=h\n[...]\nConsoleLogger: Information: Operation completed.\n"
    assert transcripts("--check", written(tmp_path, staged, STATUS)).returncode == 0


def test_output_comes_in_the_order_of_a_terminal(tmp_path: Path) -> None:
    said = Stage(tmp_path).run("alpha", "qor_mim_tool --help")
    assert said.index("usage:") < said.index("Operation completed.")


def test_status_and_directory_carry_over(tmp_path: Path) -> None:
    stage = Stage(tmp_path)
    stage.add(Script("fail", "#!/bin/sh\nexit 7\n"))
    stage.run("alpha", "./fail")
    assert stage.run("beta", "echo $?") == "7\n"


def test_continued_command_is_one(tmp_path: Path) -> None:
    document = written(tmp_path, "$ echo a\n> echo b\na\nb\n> c\n")
    assert sections(document)[0].exchanges == [Exchange("alpha", "echo a\necho b", ["a", "b", "> c"], 5)]


def test_other_blocks_are_left_alone(tmp_path: Path) -> None:
    assert sections(written(tmp_path, "$ echo a\n", kind="sh")) == []


@pytest.mark.parametrize("text, complaint", [
    ("```console\nan answer\n```\n", "a transcript starts with a command"),
    ("```console\n$ true\n", "a fenced block has no end"),
])
def test_malformed_document_is_refused(tmp_path: Path, text: str, complaint: str) -> None:
    document = tmp_path / "document.md"
    document.write_text(text, encoding="utf-8")
    with pytest.raises(TranscriptError, match=complaint):
        sections(document)


def test_unfinished_line_is_refused(tmp_path: Path) -> None:
    answer = transcripts("--check", written(tmp_path, "$ printf a\na\n"))
    assert answer.returncode == 1
    assert answer.stderr == "transcripts: the last line of what this says has no end: printf a\n"


def install_model() -> Script:
    """The guide's script for other scripts."""
    guide = sections(PROJECT / "docs" / "operations.md")
    return next(step for section in guide for step in section.steps if isinstance(step, Script))


def test_guides_script_can_be_run_several_times_at_once(tmp_path: Path) -> None:
    stage = Stage(tmp_path)
    stage.add(install_model())
    models = [f"/opt/qor/models/{name}.xml" for name in ("power", "climate", "door")]
    calls = "".join(f"./install-model {model} handler & " for model in models)
    said = stage.run("alpha", f"{calls}wait")
    assert sorted(line for line in said.splitlines() if line.startswith("install-model")) == sorted(
        f"install-model: {model} is installed" for model in models)
    listed = (stage.framework / "etc/model/model_file_list.cfg").read_text().splitlines()
    assert sorted(listed) == sorted(["/opt/qor/models/station.xml", *models])


@pytest.mark.parametrize("hindrance, complaint", [
    ("qor_mim_tool --modelHandler=h 2>&1", "somebody has a session open"),
    ("rm /opt/qor/bin/pel_model_validator", "Warning: Unable to locate model tool."),
    ("chmod a-w /opt/qor/etc", "Access to file denied"),
    ("rm /opt/qor/models/power.xml", "Unable to parse and get the root class name"),
])
def test_guides_script_fails_when_something_is_wrong(tmp_path: Path, hindrance: str, complaint: str) -> None:
    stage = Stage(tmp_path)
    stage.add(install_model())
    stage.run("alpha", hindrance)
    assert complaint in stage.run("alpha", "./install-model /opt/qor/models/power.xml powerHandler")
    assert stage.status == 1


def test_guides_script_fails_when_another_host_begins_a_session(tmp_path: Path) -> None:
    stage = Stage(tmp_path)
    script = install_model()
    staging = 'call --addModelFile="$1"'
    assert script.text.count(staging) == 1
    interrupted = script.text.replace(staging, f"printf beta >/opt/qor/etc/model/qor_mim_tool.lock\n{staging}")
    stage.add(Script(script.name, interrupted))
    said = stage.run("alpha", "./install-model /opt/qor/models/power.xml powerHandler")
    assert "Pending action canceled." in said and stage.status == 1
