"""The rollback: dropping a session, undoing the last commit, and both in a row."""
from __future__ import annotations

import pytest

from expect import COMPLETED, INFO, ROLLING_BACK, answer
from framework import BASE, CONFIG, CONFIG_BAK, LIST, LIST_BAK, PUMP, Framework
from sandbox import Sandbox

DROPPED = answer(ROLLING_BACK)
UNDONE = answer(ROLLING_BACK, COMPLETED, syslog=[(INFO, "lock file not present, Rolling back.")])


def test_rollback_drops_the_session_then_undoes_one_commit(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    framework.session(f"3:{PUMP}|pumpHandler|1|1\n2:{BASE}\n")
    assert tool.run("--commit").status == 0
    committed = framework.snapshot()
    tool.run(f"--removeModelFile={PUMP}")
    assert tool.run("--rollback") == DROPPED
    assert framework.changes(committed) == {}
    for _ in range(2):
        assert tool.run("--rollback") == UNDONE
        assert framework.changes(before) == {}


@pytest.mark.unsound("a live file is missing, or a document without participants")
@pytest.mark.parametrize("lost", [CONFIG, LIST])
def test_rollback_restores_a_lost_configuration_but_no_list(tool: Sandbox, framework: Framework, lost: str) -> None:
    framework.remove(lost)
    framework.write(LIST_BAK, "/older.xml\n")
    framework.write(CONFIG_BAK, "<older/>\n")
    before = framework.snapshot()
    assert tool.run("--rollback") == UNDONE
    restored = {LIST: "/older.xml\n", LIST_BAK: None, CONFIG: "<older/>\n", CONFIG_BAK: None}
    assert framework.changes(before) == ({} if lost == LIST else restored)


@pytest.mark.unsound("the backups are neither a document nor a list of paths")
def test_rollback_keeps_the_modes_of_the_live_files(tool: Sandbox, framework: Framework) -> None:
    for name in (CONFIG_BAK, LIST_BAK):
        framework.write(name, "<older/>\n")
        framework.path(name).chmod(0o600)
    for name in (CONFIG, LIST):
        framework.path(name).chmod(0o640)
    assert tool.run("--rollback") == UNDONE
    assert {framework.path(name).stat().st_mode & 0o7777 for name in (CONFIG, LIST)} == {0o640}
