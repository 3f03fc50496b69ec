"""The status report: what is queued, in the order of staging, and nothing else happens."""
from __future__ import annotations

import pytest

from expect import COMPLETED, NO_HANDLER, NOTHING_PENDING, WARNING, answer, critical, warning
from framework import BASE, LOCK, PUMP, SESSION, Framework
from sandbox import Result, Sandbox


def listed(*lines: str) -> Result:
    """A report on these actions."""
    return answer("Queued actions:", *lines, COMPLETED)


def report(tool: Sandbox, framework: Framework) -> Result:
    """The answer to --status, which must change nothing."""
    before = framework.snapshot()
    result = tool.run("--status")
    assert framework.changes(before) == {}
    return result


def test_without_a_session_there_is_nothing_pending(tool: Sandbox, framework: Framework) -> None:
    assert report(tool, framework) == answer(NOTHING_PENDING, COMPLETED)


def test_a_session_file_without_a_lock_is_not_looked_at(tool: Sandbox, framework: Framework) -> None:
    framework.write(SESSION, f"0:{PUMP}\n")
    assert report(tool, framework) == answer(NOTHING_PENDING, COMPLETED)


def test_a_lock_without_a_session_file_has_nothing_pending(tool: Sandbox, framework: Framework) -> None:
    framework.write(LOCK, "alpha")
    assert report(tool, framework) == answer(NOTHING_PENDING, COMPLETED)


def test_all_five_kinds_are_listed_oldest_first(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n4:{BASE}|h|7|8\n3:{PUMP}|g|2|3\n1:f|4|5\n0:{PUMP}\n")
    assert report(tool, framework) == listed(
        f"--removeModelFile={BASE}", f"--removeModelFile={BASE} --modelHandler=h",
        f"--addModelFile={PUMP} --modelHandler=g --managedObjectVersion=2 --transactionalResourceVersion=3",
        "--modelHandler=f --managedObjectVersion=4 --transactionalResourceVersion=5", f"--addModelFile={PUMP}")


@pytest.mark.parametrize("host", ["beta", "", "Alpha", "alpha2"])
def test_another_hosts_session_is_listed_too(tool: Sandbox, framework: Framework, host: str) -> None:
    framework.session(f"0:{PUMP}\n", host=host)
    assert report(tool, framework) == listed(f"--addModelFile={PUMP}")


@pytest.mark.parametrize("lock", ["alpha", "alpha\n", "  alpha beta\n"])
def test_the_own_session_is_listed_once(tool: Sandbox, framework: Framework, lock: str) -> None:
    framework.session(f"0:{PUMP}\n", host=lock)
    assert report(tool, framework) == listed(f"--addModelFile={PUMP}")


def test_an_action_of_an_unknown_kind_is_shown_as_it_stands(tool: Sandbox, framework: Framework) -> None:
    framework.session("7:some|thing\n-3:else\n")
    assert report(tool, framework) == listed("some|thing", "else")


def test_empty_versions_are_shown_empty(tool: Sandbox, framework: Framework) -> None:
    framework.session("1:h||\n")
    assert report(tool, framework) == listed("--modelHandler=h --managedObjectVersion= --transactionalResourceVersion=")


@pytest.mark.parametrize("entry, line", [
    ("1:h|2", "--modelHandler=h --managedObjectVersion=2 --transactionalResourceVersion=2"),
    ("1:h|2|3|4", "--modelHandler=h --managedObjectVersion=2 --transactionalResourceVersion=3|4"),
    ("3:p|h", "--addModelFile=p --modelHandler=h --managedObjectVersion=h --transactionalResourceVersion=h"),
    ("3:p|h|2", "--addModelFile=p --modelHandler=h --managedObjectVersion=2 --transactionalResourceVersion=2"),
    ("3:p|h|2|3|4", "--addModelFile=p --modelHandler=h --managedObjectVersion=2 --transactionalResourceVersion=3|4"),
    ("3:|||", "--addModelFile= --modelHandler= --managedObjectVersion= --transactionalResourceVersion="),
    ("4:p|h", "--removeModelFile=p --modelHandler=h"),
], ids=lambda value: value[:12])
def test_missing_separators_fill_the_later_fields_with_the_rest(tool: Sandbox, framework: Framework, entry: str,
                                                                line: str) -> None:
    framework.session(f"{entry}\n")
    assert report(tool, framework) == listed(line)


@pytest.mark.parametrize("kind, line", [
    (1, "--modelHandler= --managedObjectVersion= --transactionalResourceVersion="),
    (3, "--addModelFile= --modelHandler= --managedObjectVersion= --transactionalResourceVersion="),
    (4, "--removeModelFile= --modelHandler="),
])
def test_an_action_without_any_separator_is_warned_of_and_shown_empty(tool: Sandbox, framework: Framework, kind: int,
                                                                      line: str) -> None:
    framework.session(f"3:{PUMP}|g|2|3\n{kind}:alone\n")
    assert report(tool, framework) == answer(
        "Queued actions:",
        f"--addModelFile={PUMP} --modelHandler=g --managedObjectVersion=2 --transactionalResourceVersion=3",
        warning(NO_HANDLER), line, COMPLETED, syslog=[(WARNING, NO_HANDLER)])


def test_another_hosts_invalid_session_is_reported(tool: Sandbox, framework: Framework) -> None:
    framework.session("", host="beta")
    assert report(tool, framework) == answer(critical("Invalid command queue, aborting!"), NOTHING_PENDING, COMPLETED)


def test_status_with_rollback_lists_what_is_then_dropped(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    assert tool.run("--rollback", "--status") == answer("Queued actions:", f"--addModelFile={PUMP}", "Rolling back.")
    assert not framework.path(SESSION).exists()
