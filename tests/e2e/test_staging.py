"""Staging and status: a session with all kinds of action, and calls that stage and do something else too."""
from __future__ import annotations

import pytest

from expect import (COMPLETED, DEBUG, INFO, NEW_SESSION, ROLLING_BACK, UPDATED, WARNING, answer, critical, staged,
                    warning)
from framework import BASE, CONFIG, CONFIG_TMP, LIST, LIST_TMP, LOCK, PUMP, SESSION, VALVE, Framework
from sandbox import Sandbox

ADD = f"--addModelFile={PUMP}"
# An unreadable queue: nothing after the faulty action is read.
DAMAGED = f"0:{PUMP}\nx:lost\n0:{VALVE}\n"
FAULTY = critical("Invalid command queue, aborting")


def test_staging_keeps_all_kinds_in_order_and_status_lists_them(tool: Sandbox, framework: Framework) -> None:
    for words in ([ADD], ["-m", "h"], [f"-x{BASE}"], [f"-a{VALVE}", "-mg", "-o7"], [f"-x{BASE}", "-mf", "-t8"]):
        assert tool.run(*words).status == 0
    assert framework.read(SESSION) == f"0:{PUMP}\n1:h|1|1\n2:{BASE}\n3:{VALVE}|g|7|1\n4:{BASE}|f|1|8\n"
    before = framework.snapshot()
    assert tool.run("--status") == answer(
        "Queued actions:", ADD, "--modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=1",
        f"--removeModelFile={BASE}",
        f"--addModelFile={VALVE} --modelHandler=g --managedObjectVersion=7 --transactionalResourceVersion=1",
        f"--removeModelFile={BASE} --modelHandler=f", COMPLETED)
    assert framework.changes(before) == {}


@pytest.mark.unsound("a backup of the list alone, which no commit leaves")
def test_staging_with_rollback_keeps_a_session_that_it_begins(tool: Sandbox, framework: Framework) -> None:
    framework.write(f"{LIST}.bak", "/old\n")
    before = framework.snapshot()
    assert tool.run(ADD, "--rollback") == answer(
        NEW_SESSION, UPDATED, ADD, ROLLING_BACK, COMPLETED,
        syslog=[(DEBUG, ADD), (INFO, "lock file not present, Rolling back.")])
    assert framework.changes(before) == {SESSION: f"0:{PUMP}\n", LOCK: "alpha", CONFIG_TMP: framework.read(CONFIG),
                                         LIST_TMP: framework.read(LIST)}


def test_staging_with_commit_and_rollback_only_stages(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{VALVE}\n")
    before = framework.snapshot()
    assert tool.run(ADD, "--rollback", "--commit") == staged(
        ADD, "Invalid command!\nSeparate calls to commit and rollback.")
    assert framework.changes(before) == {SESSION: f"0:{VALVE}\n0:{PUMP}\n"}


@pytest.mark.unsound("the staging call stops halfway")
def test_staging_in_a_read_only_directory_is_reported_stepwise(tool: Sandbox, framework: Framework) -> None:
    framework.write(LIST_TMP, "")
    framework.path("etc/model").chmod(0o555)
    before = framework.snapshot()
    try:
        result = tool.run(ADD)
    finally:
        framework.path("etc/model").chmod(0o755)
    assert result == answer(
        NEW_SESSION, critical("Unable to create lockfile"), warning("Unable to find hostname"),
        critical("Unable to create lockfile"), NEW_SESSION, UPDATED, ADD, critical("Unable to write to FIFO file!"),
        COMPLETED,
        syslog=[(WARNING, "unable to create lockfile"), (DEBUG, ADD), (WARNING, "Unable to find hostname"),
                (WARNING, "unable to create lockfile"), (WARNING, "Unable to write to FIFO file")])
    assert framework.changes(before) == {CONFIG_TMP: framework.read(CONFIG), LIST_TMP: framework.read(LIST)}


# --- a damaged session file -------------------------------------------------------------------------------------------


def test_staging_into_a_damaged_queue_replaces_it(tool: Sandbox, framework: Framework) -> None:
    framework.session(DAMAGED)
    line = f"--removeModelFile={BASE}"
    assert tool.run(line) == answer(FAULTY, UPDATED, line, COMPLETED, syslog=[(DEBUG, line)])
    assert framework.read(SESSION) == f"0:{PUMP}\n2:{BASE}\n"


def test_commit_of_a_damaged_queue_applies_what_it_can_read(tool: Sandbox, framework: Framework) -> None:
    framework.session(DAMAGED)
    assert tool.run("--status") == answer(FAULTY, "Queued actions:", ADD, COMPLETED)
    assert tool.run("--commit") == answer(FAULTY, COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"
