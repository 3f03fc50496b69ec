"""Rollback: dropping pending actions, and undoing the last commit."""
from __future__ import annotations

import pytest

from expect import COMPLETED, INFO, ROLLING_BACK, answer
from framework import (BASE, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, PUMP, SESSION, Framework,
                       config, participant)
from sandbox import Sandbox

WORKING = (SESSION, LOCK, CONFIG_TMP, LIST_TMP)
DROPPED = answer(ROLLING_BACK)
UNDONE = answer(ROLLING_BACK, COMPLETED, syslog=[(INFO, "lock file not present, Rolling back.")])


def test_pending_actions_are_dropped_and_the_backups_stay(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.write(CONFIG_BAK, "<older/>\n")
    framework.write(LIST_BAK, "/older.xml\n")
    before = framework.snapshot()
    assert tool.run("--rollback") == DROPPED
    assert framework.changes(before) == dict.fromkeys(WORKING)


@pytest.mark.parametrize("missing", [SESSION, CONFIG_TMP, LIST_TMP])
def test_a_file_missing_from_the_session_does_not_keep_the_others(tool: Sandbox, framework: Framework,
                                                                  missing: str) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.remove(missing)
    before = framework.snapshot()
    assert tool.run("--rollback") == DROPPED
    assert framework.changes(before) == {name: None for name in WORKING if name != missing}


def test_a_lock_alone_is_dropped(tool: Sandbox, framework: Framework) -> None:
    framework.write(LOCK, "alpha")
    before = framework.snapshot()
    assert tool.run("--rollback") == DROPPED
    assert framework.changes(before) == {LOCK: None}


def test_a_session_with_an_unreadable_configuration_can_be_dropped(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG, "not XML")
    framework.session(f"0:{PUMP}\n")
    assert tool.run("--commit").status == 255
    before = framework.snapshot()
    assert tool.run("--rollback") == DROPPED
    assert framework.changes(before) == dict.fromkeys(WORKING)


def test_the_last_commit_is_undone(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    framework.session(f"3:{PUMP}|pumpHandler|1|1\n2:{BASE}\n")
    assert tool.run("--commit").status == 0
    assert framework.read(CONFIG) == config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"),
                                            participant("pumpHandler", "Pump"))
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {}


def test_a_commit_is_undone_only_once(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    tool.run("--commit")
    tool.run("--rollback")
    before = framework.snapshot()
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {}


def test_a_commit_is_undone_after_the_pending_actions_are_dropped(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    framework.session(f"0:{PUMP}\n")
    tool.run("--commit")
    tool.run(f"--removeModelFile={BASE}")
    assert tool.run("--rollback") == DROPPED
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {}


def test_without_backups_nothing_is_undone(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {}


def test_without_a_backup_of_the_list_nothing_is_undone(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG_BAK, "<older/>\n")
    before = framework.snapshot()
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {}


def test_without_a_backup_of_the_configuration_the_list_is_restored(tool: Sandbox, framework: Framework) -> None:
    framework.write(LIST_BAK, "/older.xml\n")
    before = framework.snapshot()
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {LIST: "/older.xml\n", LIST_BAK: None}


def test_without_a_live_list_nothing_is_undone(tool: Sandbox, framework: Framework) -> None:
    framework.remove(LIST)
    framework.write(LIST_BAK, "/older.xml\n")
    framework.write(CONFIG_BAK, "<older/>\n")
    before = framework.snapshot()
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {}


def test_a_missing_configuration_is_restored(tool: Sandbox, framework: Framework) -> None:
    framework.remove(CONFIG)
    framework.write(LIST_BAK, "/older.xml\n")
    framework.write(CONFIG_BAK, "<older/>\n")
    before = framework.snapshot()
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {LIST: "/older.xml\n", LIST_BAK: None, CONFIG: "<older/>\n", CONFIG_BAK: None}


def test_leftovers_of_a_session_without_lock_are_not_touched(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.remove(LOCK)
    before = framework.snapshot()
    assert tool.run("--rollback") == UNDONE
    assert framework.changes(before) == {}


def test_restored_files_keep_the_mode_of_the_backups(tool: Sandbox, framework: Framework) -> None:
    for name in (CONFIG_BAK, LIST_BAK):
        framework.write(name, "<older/>\n")
        framework.path(name).chmod(0o600)
    for name in (CONFIG, LIST):
        framework.path(name).chmod(0o640)
    assert tool.run("--rollback") == UNDONE
    # A move copies into the existing file, which keeps its own mode.
    assert {framework.path(name).stat().st_mode & 0o7777 for name in (CONFIG, LIST)} == {0o640}
