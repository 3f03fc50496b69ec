"""The session lock: who owns a session, what another host may do, and how it waits."""
from __future__ import annotations

import contextlib
import os
import time
from pathlib import Path

import pytest

from expect import (COMPLETED, DEBUG, INFO, NEW_SESSION, NOTHING_PENDING, ROLLING_BACK, UPDATED, WARNING, Bare, answer,
                    staged, warning)
from framework import (BASE, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, PUMP, SESSION, VALVE,
                       Framework, installed)
from gate import held_at_gate
from sandbox import Result, Sandbox

ADD = f"--addModelFile={PUMP}"
ADD_OTHER = f"--addModelFile={VALVE}"


MISMATCH = answer("Unable to commit!\nRolling back...",
                  syslog=[(INFO, "check of qor.cfg or Model files failed, Unable to commit rolling back")])


def refused(owner: str, line: str = ADD, new: bool = False) -> Result:
    """What a host gets that may not add to the session; with ``new`` it has seen none when it began."""
    start = (NEW_SESSION,) if new else ()
    warning = f"WARNING: Session already in progress and locked by: {owner}\nPending action canceled."
    return answer(*start, warning, syslog=[(DEBUG, line), (INFO, warning)])


def taken_over() -> Result:
    """What a host gets whose wait for the lock was not in vain."""
    return staged(ADD, new=True)


def sleeps(work: Path) -> int:
    """How many seconds the last run has waited."""
    counter = work / "sleeps"
    return int(counter.read_text()) if counter.exists() else 0


# --- the lock file -----------------------------------------------------------------------------------------------------


def test_the_lock_holds_the_host_name_and_nothing_else(tool: Sandbox, framework: Framework) -> None:
    tool.on("gamma-7.example").run(ADD)
    assert framework.path(LOCK).read_bytes() == b"gamma-7.example"


@pytest.mark.parametrize(("umask", "mode"), [(0o077, 0o600), (0o000, 0o666)])
def test_modes_of_lock_and_session_file_follow_the_umask(tool: Sandbox, framework: Framework, umask: int,
                                                         mode: int) -> None:
    before = os.umask(umask)
    try:
        tool.run(ADD)
    finally:
        os.umask(before)
    assert [framework.path(name).stat().st_mode & 0o777 for name in (LOCK, SESSION)] == [mode, mode]


@pytest.mark.parametrize("content", ["alpha", "alpha\n", " \talpha\n", "alpha beta"])
def test_the_first_word_of_the_lock_is_the_owner(tool: Sandbox, framework: Framework, work: Path,
                                                 content: str) -> None:
    framework.session(f"2:{BASE}\n", host=content)
    before = framework.snapshot()
    assert tool.sleepless().run(ADD) == staged(ADD)
    assert framework.changes(before) == {SESSION: f"2:{BASE}\n0:{PUMP}\n"}
    assert sleeps(work) == 0


@pytest.mark.parametrize("owner", ["beta", "Alpha", "alph", "alpha2"])
def test_the_owner_must_be_this_host_to_the_letter(tool: Sandbox, framework: Framework, owner: str) -> None:
    framework.session(f"2:{BASE}\n", host=owner)
    before = framework.snapshot()
    assert tool.sleepless().run(ADD) == refused(owner)
    assert framework.changes(before) == {}


@pytest.mark.parametrize("content", ["", " \n"], ids=["empty", "blank"])
def test_a_lock_without_a_name_belongs_to_nobody(tool: Sandbox, framework: Framework, content: str) -> None:
    framework.session(f"2:{BASE}\n", host=content)
    before = framework.snapshot()
    assert tool.sleepless().run(ADD) == refused("")
    assert framework.changes(before) == {}


UNKNOWN_OWNER = warning("Unable to find hostname")
UNKNOWN_OWNER_LOG = (WARNING, "Unable to find hostname")


def sealed_session(framework: Framework) -> None:
    """A session of this host whose lock cannot be read."""
    framework.session(f"0:{PUMP}\n")
    framework.path(LOCK).chmod(0o200)


def refused_by_nobody(line: str) -> Result:
    """What a host gets whose question for the owner has no answer: at the start, before the wait and after it."""
    text = "WARNING: Session already in progress and locked by: \nPending action canceled."
    return answer(UNKNOWN_OWNER, UNKNOWN_OWNER, UNKNOWN_OWNER, text,
                  syslog=[UNKNOWN_OWNER_LOG, (DEBUG, line), UNKNOWN_OWNER_LOG, UNKNOWN_OWNER_LOG, (INFO, text)])


def test_a_lock_that_is_a_directory_belongs_to_nobody(tool: Sandbox, framework: Framework) -> None:
    framework.path(LOCK).mkdir()
    before = framework.snapshot()
    assert tool.sleepless().run(ADD) == refused_by_nobody(ADD)
    assert framework.changes(before) == {}


def test_a_lock_that_cannot_be_read_refuses_an_action(tool: Sandbox, framework: Framework) -> None:
    sealed_session(framework)
    line = f"--removeModelFile={BASE}"
    assert tool.sleepless().run(line) == refused_by_nobody(line)
    assert framework.read(SESSION) == f"0:{PUMP}\n"


def test_a_lock_that_cannot_be_read_does_not_hide_the_actions(tool: Sandbox, framework: Framework) -> None:
    sealed_session(framework)
    assert tool.run("--status") == answer(UNKNOWN_OWNER, UNKNOWN_OWNER, "Queued actions:", ADD, COMPLETED,
                                          syslog=[UNKNOWN_OWNER_LOG] * 2)


def test_a_lock_that_cannot_be_read_does_not_keep_a_commit_from_running(tool: Sandbox, framework: Framework) -> None:
    sealed_session(framework)
    assert tool.run("--commit") == answer(UNKNOWN_OWNER, UNKNOWN_OWNER, COMPLETED, syslog=[UNKNOWN_OWNER_LOG] * 2)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"
    assert not framework.path(LOCK).exists()


# --- waiting for the lock ----------------------------------------------------------------------------------------------


def test_a_lock_that_is_never_released_is_waited_for_30_seconds(tool: Sandbox, framework: Framework,
                                                               work: Path) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    before = framework.snapshot()
    assert tool.sleepless().run(ADD) == refused("beta")
    assert framework.changes(before) == {}
    assert sleeps(work) == 30


@pytest.mark.parametrize("at", [1, 5, 29])
def test_a_lock_released_during_the_wait_is_taken_over(tool: Sandbox, framework: Framework, work: Path,
                                                       at: int) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    framework.write(CONFIG_TMP, "stale\n")
    framework.write(LIST_TMP, "stale\n")
    before = framework.snapshot()
    assert tool.sleepless(unlink=installed(LOCK), at=at).run(ADD) == taken_over()
    assert framework.changes(before) == {LOCK: "alpha", SESSION: f"0:{PUMP}\n", CONFIG_TMP: framework.read(CONFIG),
                                         LIST_TMP: framework.read(LIST)}
    assert sleeps(work) == at


def test_a_lock_released_at_the_last_attempt_is_refused_and_stays_behind(tool: Sandbox, framework: Framework,
                                                                        work: Path) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    before = framework.snapshot()
    assert tool.sleepless(unlink=installed(LOCK), at=30).run(ADD) == refused("alpha")
    assert framework.changes(before) == {LOCK: "alpha"}
    assert sleeps(work) == 30


def test_the_wait_is_a_real_one(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    run = tool.start(ADD)
    run.wait_for(lambda: run.syslog)
    # The line is written before the lock is looked at for the first time.
    time.sleep(1.5)
    assert run.running
    framework.remove(LOCK)
    assert run.wait() == taken_over()
    assert framework.read(LOCK) == "alpha"


def test_a_session_taken_over_by_waiting_can_be_committed(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    tool.sleepless(unlink=installed(LOCK), at=3).run(ADD)
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"


def test_a_host_that_gets_the_lock_but_no_working_copies_keeps_the_lock(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    framework.remove(LIST)
    before = framework.snapshot()
    result = tool.sleepless(unlink=installed(LOCK), at=1).run(ADD)
    assert result == answer(NEW_SESSION, UPDATED, ADD, Bare(f"File not found: {installed(LIST)}"), status=70,
                            syslog=[(DEBUG, ADD)])
    assert framework.changes(before) == {LOCK: "alpha"}


def test_actions_listed_before_the_wait_are_part_of_the_session_that_follows_it(tool: Sandbox,
                                                                               framework: Framework) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    line = f"--removeModelFile={BASE}"
    assert tool.sleepless(unlink=installed(LOCK), at=1).run("--status", ADD) == answer(
        "Queued actions:", line, NEW_SESSION, UPDATED, ADD, COMPLETED, syslog=[(DEBUG, ADD)])
    assert framework.read(SESSION) == f"2:{BASE}\n0:{PUMP}\n"


@pytest.mark.parametrize("entry, shown, line", [
    (f"2:{BASE}", f"--removeModelFile={BASE}", f"--removeModelFile={BASE}"),
    ("7:unknown", "unknown", ""),
], ids=["removal", "unknown kind"])
def test_of_actions_listed_behind_the_staged_one_the_last_is_announced(
        tool: Sandbox, framework: Framework, entry: str, shown: str, line: str) -> None:
    framework.session(f"{entry}\n", host="beta")
    assert tool.sleepless(unlink=installed(LOCK), at=1).run(ADD, "--status") == answer(
        "Queued actions:", ADD, shown, NEW_SESSION, UPDATED, line, COMPLETED, syslog=[(DEBUG, line)])
    assert framework.read(SESSION) == f"0:{PUMP}\n{entry}\n"


@pytest.mark.parametrize("ending", ["--rollback", "--commit"])
def test_a_waiting_host_takes_over_when_the_owner_ends_its_session(tool: Sandbox, other: Sandbox,
                                                                   framework: Framework, ending: str) -> None:
    tool.run(ADD_OTHER)
    with held_at_gate(other.sleepless(), ADD, at=f"3:{installed(LOCK)}") as waiting:
        assert tool.run(ending).status == 0
        before = framework.snapshot()
    assert waiting.wait() == taken_over()
    assert framework.changes(before) == {LOCK: "beta", SESSION: f"0:{PUMP}\n", CONFIG_TMP: framework.read(CONFIG),
                                         LIST_TMP: framework.read(LIST)}


def test_a_host_whose_last_attempt_comes_after_the_commit_leaves_a_lock_that_a_rollback_drops(
        tool: Sandbox, other: Sandbox, framework: Framework, work: Path) -> None:
    tool.run(ADD_OTHER)
    with held_at_gate(other.sleepless(), ADD, at=f"31:{installed(LOCK)}") as waiting:
        assert tool.run("--commit") == answer(COMPLETED)
        before = framework.snapshot()
    assert waiting.wait() == refused("beta")
    assert framework.changes(before) == {LOCK: "beta"}
    assert sleeps(work) == 30
    assert tool.run("--rollback") == answer(ROLLING_BACK)
    assert framework.changes(before) == {}


def test_a_refused_action_is_not_committed_in_the_same_run(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    before = framework.snapshot()
    assert tool.sleepless().run(ADD, "--commit") == refused("beta")
    assert framework.changes(before) == {}


@pytest.mark.parametrize("words, line", [
    (["--modelHandler=h"], " --modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=1"),
    ([f"--removeModelFile={BASE}"], f"--removeModelFile={BASE}"),
    ([f"--removeModelFile={BASE}", "--modelHandler=h"], f"--removeModelFile={BASE} --modelHandler=h"),
    ([ADD, "--modelHandler=h"], f"{ADD} --modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=1"),
], ids=["handler", "removal", "removal with handler", "addition with handler"])
def test_every_kind_of_action_is_refused_on_another_host(tool: Sandbox, framework: Framework, words: list[str],
                                                         line: str) -> None:
    framework.session(f"2:{BASE}\n", host="beta")
    before = framework.snapshot()
    assert tool.sleepless().run(*words) == refused("beta", line)
    assert framework.changes(before) == {}


# --- two hosts, one framework ------------------------------------------------------------------------------------------


def test_another_host_sees_the_session_and_is_refused(tool: Sandbox, other: Sandbox, framework: Framework) -> None:
    tool.run(ADD)
    before = framework.snapshot()
    assert other.run("--status") == answer("Queued actions:", ADD, COMPLETED)
    assert other.sleepless().run(f"--removeModelFile={BASE}") == refused("alpha", f"--removeModelFile={BASE}")
    assert framework.changes(before) == {}


def test_another_host_may_commit_the_session(tool: Sandbox, other: Sandbox, framework: Framework) -> None:
    tool.run(ADD)
    before = framework.snapshot()
    old = framework.read(LIST)
    assert other.run("--commit") == answer(COMPLETED)
    assert framework.changes(before) == {
        LIST: old + f"{PUMP}\n", LIST_BAK: old, CONFIG_BAK: framework.read(CONFIG),
        **dict.fromkeys((SESSION, LOCK, LIST_TMP, CONFIG_TMP))}


def test_another_host_that_finds_a_changed_file_drops_the_session(tool: Sandbox, other: Sandbox,
                                                                 framework: Framework) -> None:
    tool.run(ADD)
    framework.write(LIST, "/changed.xml\n")
    before = framework.snapshot()
    assert other.run("--commit") == MISMATCH
    assert framework.changes(before) == dict.fromkeys((SESSION, LOCK, LIST_TMP, CONFIG_TMP))
    assert tool.run("--status") == answer(NOTHING_PENDING, COMPLETED)


def test_another_host_may_drop_the_session_and_begin_its_own(tool: Sandbox, other: Sandbox,
                                                             framework: Framework) -> None:
    tool.run(ADD)
    assert other.run("--rollback") == answer(ROLLING_BACK)
    assert other.run(f"--addModelFile={VALVE}") == staged(f"--addModelFile={VALVE}", new=True)
    assert framework.read(LOCK) == "beta"
    assert framework.read(SESSION) == f"0:{VALVE}\n"
    assert tool.sleepless().run(ADD) == refused("beta")


def test_another_host_may_undo_the_last_commit(tool: Sandbox, other: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    tool.run(ADD)
    tool.run("--commit")
    assert other.run("--rollback") == answer(ROLLING_BACK, COMPLETED,
                                             syslog=[(INFO, "lock file not present, Rolling back.")])
    assert framework.changes(before) == {}


def test_hosts_take_turns_after_each_commit(tool: Sandbox, other: Sandbox, framework: Framework) -> None:
    for host, model in ((tool, PUMP), (other, VALVE)):
        assert host.run(f"--addModelFile={model}") == staged(f"--addModelFile={model}", new=True)
        assert framework.read(LOCK) == host.host
        assert host.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n{VALVE}\n"


# --- two hosts at the same moment --------------------------------------------------------------------------------------

BEFORE_ITS_COPIES = f"1:{installed(CONFIG_TMP)}"
BEFORE_THE_LOCK = f"1:{installed(LOCK)}"
BEFORE_ITS_NAME_IS_WRITTEN = f"2:{installed(LOCK)}"


def session_of(framework: Framework, host: str, entry: str) -> dict[str, str]:
    """The files of a session that has just begun."""
    return {LOCK: host, SESSION: entry, CONFIG_TMP: framework.read(CONFIG), LIST_TMP: framework.read(LIST)}


@pytest.mark.parametrize("at", [BEFORE_ITS_COPIES, BEFORE_THE_LOCK], ids=["working copies", "lock"])
def test_a_host_that_saw_no_session_but_is_too_late_for_the_lock_is_refused(tool: Sandbox, other: Sandbox,
                                                                           framework: Framework, at: str) -> None:
    before = framework.snapshot()
    with held_at_gate(other.sleepless(), ADD_OTHER, at=at) as late:
        assert tool.run(ADD) == staged(ADD, new=True)
    assert late.wait() == refused("alpha", ADD_OTHER, new=True)
    assert framework.changes(before) == session_of(framework, "alpha", f"0:{PUMP}\n")
    assert tool.run("--commit") == answer(COMPLETED)


def test_a_host_that_meets_a_lock_without_a_name_yet_is_refused(tool: Sandbox, other: Sandbox,
                                                               framework: Framework) -> None:
    before = framework.snapshot()
    with held_at_gate(tool, ADD, at=BEFORE_ITS_NAME_IS_WRITTEN) as owner:
        assert framework.read(LOCK) == ""
        assert other.sleepless().run(ADD_OTHER) == refused("", ADD_OTHER)
    assert owner.wait() == staged(ADD, new=True)
    assert framework.changes(before) == session_of(framework, "alpha", f"0:{PUMP}\n")


def test_a_host_that_comes_before_the_owner_has_saved_is_refused(tool: Sandbox, other: Sandbox,
                                                                framework: Framework) -> None:
    before = framework.snapshot()
    with held_at_gate(tool, ADD) as owner:
        assert not framework.path(SESSION).exists()
        assert other.sleepless().run(ADD_OTHER) == refused("alpha", ADD_OTHER)
    assert owner.wait() == staged(ADD, new=True)
    assert framework.changes(before) == session_of(framework, "alpha", f"0:{PUMP}\n")


def test_a_session_whose_working_copies_went_with_another_hosts_commit_is_dropped(tool: Sandbox, other: Sandbox,
                                                                                 framework: Framework) -> None:
    with held_at_gate(other, ADD_OTHER, at=BEFORE_THE_LOCK) as late:
        tool.run(ADD)
        assert tool.run("--commit") == answer(COMPLETED)
        before = framework.snapshot()
    assert late.wait() == staged(ADD_OTHER, new=True)
    assert framework.changes(before) == {LOCK: "beta", SESSION: f"0:{VALVE}\n"}
    assert other.run("--commit") == MISMATCH
    assert framework.changes(before) == {}


@pytest.mark.parametrize("winner", ["alpha", "beta"])
def test_of_two_hosts_that_both_saw_no_session_the_first_at_the_lock_owns_it(tool: Sandbox, other: Sandbox,
                                                                            framework: Framework, winner: str) -> None:
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
    """One host has the session, whole, and the other is refused; ``new``: what the other may have seen at its start."""
    owner = framework.read(LOCK)
    loser = {"alpha": "beta", "beta": "alpha"}[owner]
    assert answers[owner] == staged(lines[owner], new=True)
    # The owner has made the lock before it writes its name there.
    assert answers[loser] in [refused(name, lines[loser], new=seen) for name in (owner, "") for seen in new]
    assert framework.read(SESSION) == f"0:{lines[owner].partition('=')[2]}\n"


@pytest.mark.parametrize("attempt", range(5))
def test_of_two_hosts_that_start_together_exactly_one_owns_the_session(tool: Sandbox, other: Sandbox,
                                                                       framework: Framework, tmp_path: Path,
                                                                       attempt: int) -> None:
    lines = {"alpha": ADD, "beta": ADD_OTHER}
    runs = {}
    for host in (tool, other) if attempt % 2 else (other, tool):
        work = tmp_path / host.host
        work.mkdir()
        runs[host.host] = host.using(work=work).sleepless().start(lines[host.host])
    expect_one_owner(framework, {host: run.wait() for host, run in runs.items()}, lines, new={True, False})


@pytest.mark.parametrize("attempt", range(5))
def test_of_two_hosts_that_make_the_lock_together_exactly_one_owns_the_session(tool: Sandbox, other: Sandbox,
                                                                               framework: Framework,
                                                                               attempt: int) -> None:
    lines = {"alpha": ADD, "beta": ADD_OTHER}
    with contextlib.ExitStack() as gates:
        runs = {host.host: gates.enter_context(held_at_gate(host.sleepless(), lines[host.host], at=BEFORE_THE_LOCK))
                for host in ((tool, other) if attempt % 2 else (other, tool))}
    expect_one_owner(framework, {host: run.wait() for host, run in runs.items()}, lines, new={True})
