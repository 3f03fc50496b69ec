"""The command line: how options are given, what help says, and what a wrong call gets."""
from __future__ import annotations

from pathlib import Path

import pytest

from expect import COMPLETED, DEBUG, INFO, NEW_SESSION, NOTHING_PENDING, UPDATED, Bare, answer, staged
from framework import LOCK, PUMP, SESSION, VALVE, Framework
from sandbox import Sandbox

HELP = (Path(__file__).parent / "help.txt").read_text(encoding="utf-8")
NOTHING_TO_COMMIT = "There is nothing to commit!"
HANDLER_ALONE = " --modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=1"


def test_without_arguments_help_is_shown_and_the_run_completes(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    assert tool.run() == answer(COMPLETED, stdout=HELP)
    assert framework.changes(before) == {}


@pytest.mark.parametrize("option", ["--help", "-h"])
def test_help_is_shown_and_the_run_completes(tool: Sandbox, framework: Framework, option: str) -> None:
    before = framework.snapshot()
    assert tool.run(option) == answer(COMPLETED, stdout=HELP)
    assert framework.changes(before) == {}


def test_help_starts_with_usage_and_version_and_is_at_most_128_columns_wide(tool: Sandbox) -> None:
    lines = tool.run("--help").stdout.split("\n")
    assert lines[:2] == ["usage: qor_mim_tool [-] [--] OPTIONS", "qor_mim_tool v1.0"]
    assert max(map(len, lines)) <= 128


def test_help_does_not_keep_a_commit_from_running(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    assert tool.run("--help", "--commit") == answer(COMPLETED, stdout=HELP)
    assert not framework.path(LOCK).exists()


def test_help_does_not_keep_an_action_from_being_staged(tool: Sandbox, framework: Framework) -> None:
    line = f"--addModelFile={PUMP}"
    assert tool.run("--help", line) == answer(NEW_SESSION, UPDATED, line, COMPLETED, stdout=HELP,
                                              syslog=[(DEBUG, line)])
    assert framework.read(SESSION) == f"0:{PUMP}\n"


def test_words_that_are_no_options_bring_help(tool: Sandbox) -> None:
    assert tool.run("status") == answer(COMPLETED, stdout=HELP)


def test_options_after_two_dashes_are_no_options(tool: Sandbox) -> None:
    assert tool.run("--", "--rollback") == answer(COMPLETED, stdout=HELP)


@pytest.mark.parametrize("words", [
    ["--addModelFile=" + PUMP], ["--addModelFile:" + PUMP], ["--addModelFile", PUMP], ["-a", PUMP], ["-a" + PUMP],
    ["--addmodelfile=" + PUMP], ["--add=" + PUMP],
], ids=["equals sign", "colon", "next word", "letter and next word", "letter joined", "lower case", "abbreviated"])
def test_every_way_to_give_a_value_stages_the_same(tool: Sandbox, framework: Framework, words: list[str]) -> None:
    assert tool.run(*words) == staged(f"--addModelFile={PUMP}", new=True)
    assert framework.read(SESSION) == f"0:{PUMP}\n"


@pytest.mark.parametrize("short, long, session", [
    (["-x", PUMP], [f"--removeModelFile={PUMP}"], f"2:{PUMP}\n"),
    (["-m", "h"], ["--modelHandler=h"], "1:h|1|1\n"),
    (["-m", "h", "-t", "5"], ["--modelHandler=h", "--transactionalResourceVersion=5"], "1:h|1|5\n"),
    (["-m", "h", "-o", "4"], ["--modelHandler=h", "--managedObjectVersion=4"], "1:h|4|1\n"),
], ids=["removeModelFile", "modelHandler", "transactionalResourceVersion", "managedObjectVersion"])
def test_short_staging_options_mean_the_long_ones(tool: Sandbox, framework: Framework, short: list[str],
                                                  long: list[str], session: str) -> None:
    answers = []
    for words in (short, long):
        answers.append(tool.run(*words))
        assert framework.read(SESSION) == session
        tool.run("--rollback")
    assert answers[0] == answers[1]


def test_short_status_commit_and_rollback_mean_the_long_ones(tool: Sandbox, framework: Framework) -> None:
    assert tool.run("-s") == answer(NOTHING_PENDING, COMPLETED)
    assert tool.run("-c") == answer(NOTHING_TO_COMMIT,
                                    syslog=[(INFO, "lock file not present, There is nothing to commit.")])
    assert tool.run("-r") == answer("Rolling back.", COMPLETED,
                                    syslog=[(INFO, "lock file not present, Rolling back.")])


def test_an_option_that_needs_a_value_takes_the_next_word_even_an_option(tool: Sandbox, framework: Framework) -> None:
    line = " --modelHandler=--commit --managedObjectVersion=1 --transactionalResourceVersion=1"
    assert tool.run("--modelHandler", "--commit") == staged(line, new=True)
    assert framework.read(SESSION) == "1:--commit|1|1\n"


def wrong(message: str, *before: str):
    """What a call gets that cannot be understood."""
    return answer(*before, Bare(message), status=78)


@pytest.mark.parametrize("words, message", [
    (["--bogus"], "Unknown option specified: bogus"),
    (["-z"], "Unknown option specified: z"),
    (["--m=h"], "Ambiguous option specified: m=h"),
    (["--commit=now"], "Unexpected option argument: commit=now"),
    (["--removeModelFile"], "Missing option argument: removeModelFile requires <absolute model file path>"),
    (["--addModelFile"], "Missing option argument: addModelFile requires <absolute model file path>"),
    (["--modelHandler"], "Missing option argument: modelHandler requires <model handler name>"),
    (["--managedObjectVersion"],
     "Missing option argument: managedObjectVersion requires <managed object version>"),
    (["--transactionalResourceVersion"],
     "Missing option argument: transactionalResourceVersion requires <transactional resource version>"),
    (["--status", "--status"], "Option must not be given more than once: status"),
], ids=lambda value: " ".join(value) if isinstance(value, list) else "")
def test_a_wrong_option_ends_with_status_78_and_changes_nothing(tool: Sandbox, framework: Framework, words: list[str],
                                                                message: str) -> None:
    before = framework.snapshot()
    result = tool.run(*words)
    told = [NOTHING_PENDING] if words[0] == "--status" else []
    assert result == wrong(message, *told)
    assert framework.changes(before) == {}


def test_an_action_before_a_wrong_option_is_not_staged(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    assert tool.run(f"--addModelFile={PUMP}", "--bogus") == wrong("Unknown option specified: bogus")
    assert framework.changes(before) == {}


def test_a_model_file_given_twice_is_refused(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    assert tool.run(f"--addModelFile={PUMP}", f"--addModelFile={VALVE}") == wrong(
        "Option must not be given more than once: addModelFile")
    assert framework.changes(before) == {}


def test_a_wrong_option_ends_the_run_before_a_later_status(tool: Sandbox) -> None:
    assert tool.run("--bogus", "--status") == wrong("Unknown option specified: bogus")


def test_a_wrong_option_leaves_a_session_alone(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    before = framework.snapshot()
    assert tool.run("--commit", "--removeModelFile") == wrong(
        "Missing option argument: removeModelFile requires <absolute model file path>")
    assert framework.changes(before) == {}


def test_managed_object_version_alone_is_told_and_stages_nothing(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    assert tool.run("--managedObjectVersion=5") == answer("handleManagedObjectVersion: 5", COMPLETED)
    assert framework.changes(before) == {}


def test_transactional_resource_version_alone_stages_nothing(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    assert tool.run("--transactionalResourceVersion=5") == answer(COMPLETED)
    assert framework.changes(before) == {}
