"""The session lock: the owner of a session, the rights of another host, and its wait."""
from __future__ import annotations

import contextlib
import os
import time
from pathlib import Path

import pytest

from expect import (COMPLETED, DEBUG, INFO, NEW_SESSION, ROLLING_BACK, UPDATED, WARNING, Bare, answer, staged,
                    warning)
from framework import BASE, CONFIG, CONFIG_TMP, LIST, LIST_TMP, LOCK, PUMP, SESSION, VALVE, Framework, installed
from gate import held_at_gate
from sandbox import Result, Sandbox

ADD = f"--addModelFile={PUMP}"
ADD_OTHER = f"--addModelFile={VALVE}"
MISMATCH = answer("Unable to commit!\nRolling back...",
                  syslog=[(INFO, "check of qor.cfg or Model files failed, Unable to commit rolling back")])


def refused(owner: str, line: str = ADD, new: bool = False) -> Result:
    """The answer to a host that may not join the session; ``new``: there was no session when it started."""
    start = (NEW_SESSION,) if new else ()
    warning = f"WARNING: Session already in progress and locked by: {owner}\nPending action canceled."
    return answer(*start, warning, syslog=[(DEBUG, line), (INFO, warning)])


def taken_over() -> Result:
    """The answer to a host that got the lock while it waited."""
    return staged(ADD, new=True)


def sleeps(work: Path) -> int:
    """How many seconds the last run waited."""
    counter = work / "sleeps"
    return int(counter.read_text()) if counter.exists() else 0


# --- one session, several hosts ---------------------------------------------------------------------------------------


@pytest.mark.parametrize(("umask", "mode"), [(0o077, 0o600), (0o000, 0o666)])
def test_modes_of_lock_and_session_file_follow_the_umask(tool: Sandbox, framework: Framework, umask: int,
                                                         mode: int) -> None:
    before = os.umask(umask)
    try:
        tool.run(ADD)
    finally:
        os.umask(before)
    assert [framework.path(name).stat().st_mode & 0o777 for name in (LOCK, SESSION)] == [mode, mode]


def test_hosts_see_each_others_session_and_take_turns(tool: Sandbox, other: Sandbox, framework: Framework,
                                                      work: Path) -> None:
    assert tool.run(ADD) == staged(ADD, new=True)
    before = framework.snapshot()
    assert other.run("--status") == answer("Queued actions:", ADD, COMPLETED)
    assert other.sleepless().run(ADD_OTHER, "--commit") == refused("alpha", ADD_OTHER)
    assert sleeps(work) == 30
    assert framework.changes(before) == {}
    assert other.run("--commit") == answer(COMPLETED)
    assert other.run(ADD_OTHER) == staged(ADD_OTHER, new=True)
    assert framework.read(LOCK) == "beta"
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n{VALVE}\n"
    assert other.run("--rollback").status == 0
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"


def test_status_with_commit_on_another_host_loads_twice(other: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    assert other.run("--status", "--commit") == answer(
        "Queued actions:", ADD, f"Modelfile entry already exists: {PUMP}\nSkipping adding of modelfile.", COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"


def test_unreadable_lock_refuses_actions_but_no_commit(tool: Sandbox, framework: Framework) -> None:
    unknown, logged = warning("Unable to find hostname"), (WARNING, "Unable to find hostname")
    framework.session(f"0:{PUMP}\n")
    framework.path(LOCK).chmod(0o200)
    assert tool.run("--status") == answer(unknown, unknown, "Queued actions:", ADD, COMPLETED, syslog=[logged] * 2)
    refusal = "WARNING: Session already in progress and locked by: \nPending action canceled."
    assert tool.sleepless().run(ADD_OTHER) == answer(
        unknown, unknown, unknown, refusal, syslog=[logged, (DEBUG, ADD_OTHER), logged, logged, (INFO, refusal)])
    assert tool.run("--commit") == answer(unknown, unknown, COMPLETED, syslog=[logged] * 2)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"


# --- waiting for the lock ---------------------------------------------------------------------------------------------


def test_waiting_takes_real_time(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    run = tool.start(ADD)
    run.wait_for(lambda: run.syslog)
    # The line is written before the lock is checked for the first time.
    time.sleep(1.5)
    assert run.running
    framework.remove(LOCK)
    assert run.wait() == taken_over()
    assert framework.read(LOCK) == "alpha"


@pytest.mark.unsound("the list is missing")
def test_waiting_host_keeps_the_lock_without_working_copies(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    framework.remove(LIST)
    before = framework.snapshot()
    result = tool.sleepless(unlink=installed(LOCK), at=1).run(ADD)
    assert result == answer(NEW_SESSION, UPDATED, ADD, Bare(f"File not found: {installed(LIST)}"), status=70,
                            syslog=[(DEBUG, ADD)])
    assert framework.changes(before) == {LOCK: "alpha"}


@pytest.mark.parametrize("ending", ["--rollback", "--commit"])
def test_waiting_host_takes_over_an_ended_session(tool: Sandbox, other: Sandbox, framework: Framework,
                                                  ending: str) -> None:
    tool.run(ADD_OTHER)
    with held_at_gate(other.sleepless(), ADD, at=f"3:{installed(LOCK)}") as waiting:
        assert tool.run(ending).status == 0
        before = framework.snapshot()
    assert waiting.wait() == taken_over()
    assert framework.changes(before) == {LOCK: "beta", SESSION: f"0:{PUMP}\n", CONFIG_TMP: framework.read(CONFIG),
                                         LIST_TMP: framework.read(LIST)}


def test_last_attempt_after_a_commit_leaves_a_lock(tool: Sandbox, other: Sandbox, framework: Framework,
                                                   work: Path) -> None:
    tool.run(ADD_OTHER)
    with held_at_gate(other.sleepless(), ADD, at=f"31:{installed(LOCK)}") as waiting:
        assert tool.run("--commit") == answer(COMPLETED)
        before = framework.snapshot()
    assert waiting.wait() == refused("beta")
    assert framework.changes(before) == {LOCK: "beta"}
    assert sleeps(work) == 30
    assert tool.run("--rollback") == answer(ROLLING_BACK)
    assert framework.changes(before) == {}


# --- two hosts at the same moment -------------------------------------------------------------------------------------

BEFORE_ITS_COPIES = f"1:{installed(CONFIG_TMP)}"
BEFORE_THE_LOCK = f"1:{installed(LOCK)}"
BEFORE_ITS_NAME_IS_WRITTEN = f"2:{installed(LOCK)}"


def session_of(framework: Framework, host: str, entry: str) -> dict[str, str]:
    """The files of a session with one action."""
    return {LOCK: host, SESSION: entry, CONFIG_TMP: framework.read(CONFIG), LIST_TMP: framework.read(LIST)}


@pytest.mark.parametrize("at", [BEFORE_ITS_COPIES, BEFORE_THE_LOCK], ids=["working copies", "lock"])
def test_late_host_is_refused_at_the_lock(tool: Sandbox, other: Sandbox, framework: Framework, at: str) -> None:
    before = framework.snapshot()
    with held_at_gate(other.sleepless(), ADD_OTHER, at=at) as late:
        assert tool.run(ADD) == staged(ADD, new=True)
    assert late.wait() == refused("alpha", ADD_OTHER, new=True)
    assert framework.changes(before) == session_of(framework, "alpha", f"0:{PUMP}\n")
    assert tool.run("--commit") == answer(COMPLETED)


def test_host_is_refused_by_a_lock_without_a_name(tool: Sandbox, other: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    with held_at_gate(tool, ADD, at=BEFORE_ITS_NAME_IS_WRITTEN) as owner:
        assert framework.read(LOCK) == ""
        assert other.sleepless().run(ADD_OTHER) == refused("", ADD_OTHER)
    assert owner.wait() == staged(ADD, new=True)
    assert framework.changes(before) == session_of(framework, "alpha", f"0:{PUMP}\n")


def test_host_is_refused_before_the_owner_has_saved(tool: Sandbox, other: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    with held_at_gate(tool, ADD) as owner:
        assert not framework.path(SESSION).exists()
        assert other.sleepless().run(ADD_OTHER) == refused("alpha", ADD_OTHER)
    assert owner.wait() == staged(ADD, new=True)
    assert framework.changes(before) == session_of(framework, "alpha", f"0:{PUMP}\n")


def test_session_without_its_working_copies_is_dropped(tool: Sandbox, other: Sandbox, framework: Framework) -> None:
    with held_at_gate(other, ADD_OTHER, at=BEFORE_THE_LOCK) as late:
        tool.run(ADD)
        assert tool.run("--commit") == answer(COMPLETED)
        before = framework.snapshot()
    assert late.wait() == staged(ADD_OTHER, new=True)
    assert framework.changes(before) == {LOCK: "beta", SESSION: f"0:{VALVE}\n"}
    assert other.run("--commit") == MISMATCH
    assert framework.changes(before) == {}


@pytest.mark.parametrize("winner", ["alpha", "beta"])
def test_first_host_at_the_lock_owns_the_session(tool: Sandbox, other: Sandbox, framework: Framework,
                                                 winner: str) -> None:
    before = framework.snapshot()
    lines = {"alpha": ADD, "beta": ADD_OTHER}
    loser = {"alpha": "beta", "beta": "alpha"}[winner]
    with contextlib.ExitStack() as first, contextlib.ExitStack() as second:
        gates = {winner: first, loser: second}
        runs = {host.host: gates[host.host].enter_context(
            held_at_gate(host.sleepless(), lines[host.host], at=BEFORE_THE_LOCK)) for host in (tool, other)}
        first.close()
        assert runs[winner].wait() == staged(lines[winner], new=True)
    assert runs[loser].wait() == refused(winner, lines[loser], new=True)
    assert framework.changes(before) == session_of(framework, winner, f"0:{lines[winner].partition('=')[2]}\n")


def expect_one_owner(framework: Framework, answers: dict[str, Result], lines: dict[str, str], new: set[bool]) -> None:
    """Expect one host to own the session and the other to be refused; ``new``: whether that one may have seen none."""
    owner = framework.read(LOCK)
    loser = {"alpha": "beta", "beta": "alpha"}[owner]
    assert answers[owner] == staged(lines[owner], new=True)
    # The owner creates the lock file before it writes its name into it.
    assert answers[loser] in [refused(name, lines[loser], new=seen) for name in (owner, "") for seen in new]
    assert framework.read(SESSION) == f"0:{lines[owner].partition('=')[2]}\n"


@pytest.mark.parametrize("attempt", range(5))
def test_hosts_that_start_together_have_one_owner(tool: Sandbox, other: Sandbox, framework: Framework, tmp_path: Path,
                                                  attempt: int) -> None:
    lines = {"alpha": ADD, "beta": ADD_OTHER}
    runs = {}
    for host in (tool, other) if attempt % 2 else (other, tool):
        work = tmp_path / host.host
        work.mkdir()
        runs[host.host] = host.using(work=work).sleepless().start(lines[host.host])
    expect_one_owner(framework, {host: run.wait() for host, run in runs.items()}, lines, new={True, False})


@pytest.mark.parametrize("attempt", range(5))
def test_hosts_that_make_the_lock_together_have_one_owner(tool: Sandbox, other: Sandbox, framework: Framework,
                                                          attempt: int) -> None:
    lines = {"alpha": ADD, "beta": ADD_OTHER}
    with contextlib.ExitStack() as gates:
        runs = {host.host: gates.enter_context(held_at_gate(host.sleepless(), lines[host.host], at=BEFORE_THE_LOCK))
                for host in ((tool, other) if attempt % 2 else (other, tool))}
    expect_one_owner(framework, {host: run.wait() for host, run in runs.items()}, lines, new={True})
