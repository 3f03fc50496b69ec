"""The session file: what is read back, what is refused, and what a broken one does to the session."""
from __future__ import annotations

import pytest

from expect import (COMPLETED, DEBUG, INFO, NOTHING_PENDING, UPDATED, WARNING, answer, critical, staged)
from framework import BASE, CONFIG_BAK, LIST, LIST_BAK, LOCK, PUMP, SESSION, VALVE, Framework, installed
from sandbox import Result, Sandbox

INVALID = critical("Invalid command queue, aborting!")
NOT_A_NUMBER = critical("Invalid command queue, aborting")
ADD = f"--addModelFile={PUMP}"


def status(tool: Sandbox, framework: Framework, content: str | bytes) -> Result:
    """What --status says about a session file; reading it must not change it."""
    framework.session("")
    framework.write(SESSION, content)
    before = framework.snapshot()
    result = tool.run("--status")
    assert framework.changes(before) == {}
    return result


def listed(*lines: str, told: tuple[str, ...] = ()) -> Result:
    return answer(*told, "Queued actions:", *lines, COMPLETED)


@pytest.mark.parametrize("content", ["", "\n", " \n\t\n", ":::\n", "0\n", "0:a:b\n", "0:a\n1\n"],
                         ids=["empty", "empty line", "blank lines", "colons", "one word", "three words", "odd"])
def test_a_file_without_whole_pairs_is_an_invalid_queue(tool: Sandbox, framework: Framework, content: str) -> None:
    assert status(tool, framework, content) == answer(INVALID, NOTHING_PENDING, COMPLETED)


@pytest.mark.parametrize("kind", ["x", "1.5", "0x1", "99999999999", "--1", "1 2"])
def test_a_kind_that_is_no_number_is_an_invalid_queue(tool: Sandbox, framework: Framework, kind: str) -> None:
    assert status(tool, framework, f"{kind}:{PUMP}\n") == answer(NOT_A_NUMBER, NOTHING_PENDING, COMPLETED)


def test_actions_before_a_bad_kind_stay_queued(tool: Sandbox, framework: Framework) -> None:
    assert status(tool, framework, f"0:{PUMP}\nx:abc\n2:{BASE}\n") == listed(ADD, told=(NOT_A_NUMBER,))


def test_any_number_is_a_kind(tool: Sandbox, framework: Framework) -> None:
    assert status(tool, framework, "7:abc\n-1:def\n2147483647:ghi\n") == listed("abc", "def", "ghi")


def test_blank_lines_and_surrounding_blanks_are_ignored(tool: Sandbox, framework: Framework) -> None:
    assert status(tool, framework, f"\n\n  0 :  {PUMP}\t\n \n2: {BASE} \n\n") == listed(ADD, f"--removeModelFile={BASE}")


def test_line_ends_of_another_system_are_ignored(tool: Sandbox, framework: Framework) -> None:
    assert status(tool, framework, f"0:{PUMP}\r\n2:{BASE}\r\n") == listed(ADD, f"--removeModelFile={BASE}")


def test_a_last_line_without_line_end_counts(tool: Sandbox, framework: Framework) -> None:
    assert status(tool, framework, f"0:{PUMP}") == listed(ADD)


def test_blanks_inside_a_path_survive(tool: Sandbox, framework: Framework) -> None:
    line = "--addModelFile=/opt/qor/models/two words.xml"
    tool.run(line)
    assert tool.run("--status") == listed(line)


def test_blanks_around_a_path_are_lost_when_it_is_read_back(tool: Sandbox, framework: Framework) -> None:
    tool.run("--addModelFile= /a ")
    assert framework.read(SESSION) == "0: /a \n"
    assert tool.run("--status") == listed("--addModelFile=/a")


def test_a_colon_in_a_path_makes_the_session_invalid(tool: Sandbox, framework: Framework) -> None:
    assert tool.run("--addModelFile=/a:b") == staged("--addModelFile=/a:b", new=True)
    assert framework.read(SESSION) == "0:/a:b\n"
    assert tool.run("--status") == answer(INVALID, NOTHING_PENDING, COMPLETED)


def test_two_colons_in_a_path_shift_kinds_and_texts(tool: Sandbox, framework: Framework) -> None:
    tool.run("--addModelFile=/a:2:b")
    assert tool.run("--status") == listed("--addModelFile=/a", "--removeModelFile=b")


def test_a_newline_in_a_path_makes_the_session_invalid(tool: Sandbox, framework: Framework) -> None:
    assert tool.run("--addModelFile=/a\nb") == staged("--addModelFile=/a\nb", new=True)
    assert framework.read(SESSION) == "0:/a\nb\n"
    assert tool.run("--status") == answer(INVALID, NOTHING_PENDING, COMPLETED)


def test_an_empty_path_makes_the_session_invalid(tool: Sandbox, framework: Framework) -> None:
    assert tool.run("--addModelFile=") == staged("--addModelFile=", new=True)
    assert framework.read(SESSION) == "0:\n"
    assert tool.run("--status") == answer(INVALID, NOTHING_PENDING, COMPLETED)


def test_staging_into_an_invalid_session_keeps_only_what_could_be_read(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\nx:lost\n0:{VALVE}\n")
    before = framework.snapshot()
    assert tool.run(ADD) == answer(NOT_A_NUMBER, UPDATED, ADD, COMPLETED, syslog=[(DEBUG, ADD)])
    assert framework.changes(before) == {SESSION: f"2:{BASE}\n0:{PUMP}\n"}


def test_staging_into_an_empty_session_file_begins_it_anew(tool: Sandbox, framework: Framework) -> None:
    framework.session("")
    before = framework.snapshot()
    assert tool.run(ADD) == answer(INVALID, UPDATED, ADD, COMPLETED, syslog=[(DEBUG, ADD)])
    assert framework.changes(before) == {SESSION: f"0:{PUMP}\n"}


def test_a_missing_session_file_is_written_again_without_a_word(tool: Sandbox, framework: Framework) -> None:
    framework.session("")
    framework.remove(SESSION)
    before = framework.snapshot()
    assert tool.run(ADD) == staged(ADD)
    assert framework.changes(before) == {SESSION: f"0:{PUMP}\n"}


def test_a_directory_in_place_of_the_session_file_cannot_be_read(tool: Sandbox, framework: Framework) -> None:
    framework.session("")
    framework.remove(SESSION)
    framework.path(SESSION).mkdir()
    assert tool.run("--status") == answer(
        critical("Unable to open existing FIFO file!"), NOTHING_PENDING, COMPLETED,
        syslog=[(INFO, f"Unable to load file {installed(SESSION)}"), (WARNING, "Unable to open existing FIFO file")])


def test_an_unreadable_session_file_reads_as_empty(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.path(SESSION).chmod(0)
    assert tool.run("--status") == answer(INVALID, NOTHING_PENDING, COMPLETED)


def test_a_session_file_of_zeros_is_invalid(tool: Sandbox, framework: Framework) -> None:
    assert status(tool, framework, bytes(100_000)) == answer(INVALID, NOTHING_PENDING, COMPLETED)


def test_a_commit_of_an_empty_session_file_does_nothing_and_keeps_the_session(tool: Sandbox,
                                                                              framework: Framework) -> None:
    framework.session("")
    before = framework.snapshot()
    assert tool.run("--commit") == answer(INVALID, COMPLETED)
    assert framework.changes(before) == {CONFIG_BAK: framework.read("etc/qor.cfg"), LIST_BAK: framework.read(LIST)}


def test_a_commit_without_a_session_file_does_nothing_and_keeps_the_session(tool: Sandbox,
                                                                            framework: Framework) -> None:
    framework.session("")
    framework.remove(SESSION)
    before = framework.snapshot()
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.changes(before) == {CONFIG_BAK: framework.read("etc/qor.cfg"), LIST_BAK: framework.read(LIST)}
    assert framework.path(LOCK).exists()


def test_a_commit_applies_what_could_be_read(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\nx:lost\n0:{VALVE}\n")
    assert tool.run("--commit") == answer(NOT_A_NUMBER, COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"


def test_status_and_commit_on_another_host_load_the_queue_twice(other: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    assert other.run("--status", "--commit") == answer(
        "Queued actions:", ADD, f"Modelfile entry already exists: {PUMP}\nSkipping adding of modelfile.", COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"
