"""Concurrent callers on one host: the session lock does not separate them, flock(1) does."""
from __future__ import annotations

from pathlib import Path

import pytest

from expect import answer, staged
from framework import SESSION, Framework
from gate import held_at_gate
from sandbox import FRAMEWORK, Sandbox

EARLIER = "0:/opt/qor/models/pump.xml\n"
FIRST = "--addModelFile=/opt/qor/models/aux.xml"
SECOND = "--addModelFile=/opt/qor/models/valve.xml"
FIRST_ENTRY = "0:/opt/qor/models/aux.xml\n"
SECOND_ENTRY = "0:/opt/qor/models/valve.xml\n"

LOCK_FILE = f"{FRAMEWORK}/callers"
FLOCK = ("/usr/bin/flock", LOCK_FILE)
BUSY = 1


@pytest.fixture
def session(framework: Framework) -> Framework:
    """A session of this host with one action."""
    framework.session(EARLIER)
    return framework


def test_concurrent_callers_lose_an_action(tool: Sandbox, session: Framework) -> None:
    with held_at_gate(tool, FIRST) as slow:
        assert tool.run(SECOND) == staged(SECOND)
        assert session.read(SESSION) == EARLIER + SECOND_ENTRY
    assert slow.wait() == staged(FIRST)
    assert session.read(SESSION) == EARLIER + FIRST_ENTRY


def test_flock_admits_one_caller(tool: Sandbox, session: Framework) -> None:
    impatient = tool.using(wrapper=(FLOCK[0], "--nonblock", *FLOCK[1:]))
    with held_at_gate(tool.using(wrapper=FLOCK), FIRST) as slow:
        assert impatient.run(SECOND) == answer(path=None, status=BUSY)
        assert session.read(SESSION) == EARLIER
    assert slow.wait() == staged(FIRST)
    assert impatient.run(SECOND) == staged(SECOND)
    assert session.read(SESSION) == EARLIER + FIRST_ENTRY + SECOND_ENTRY


def test_flock_keeps_the_actions_of_all_callers(tool: Sandbox, session: Framework) -> None:
    with held_at_gate(tool.using(wrapper=FLOCK), FIRST) as slow:
        patient = tool.using(wrapper=FLOCK).start(SECOND)
        patient.wait_for(lambda: is_waiting(session.path("callers")))
    assert slow.wait() == staged(FIRST)
    assert patient.wait() == staged(SECOND)
    assert session.read(SESSION) == EARLIER + FIRST_ENTRY + SECOND_ENTRY


def test_flock_can_lock_the_program_file(tool: Sandbox, session: Framework) -> None:
    session.write("bin/program", "")
    session.path("bin/program").chmod(0o555)
    lock = f"{FRAMEWORK}/bin/program"
    with held_at_gate(tool.using(wrapper=(FLOCK[0], lock)), FIRST) as slow:
        assert tool.using(wrapper=(FLOCK[0], "--nonblock", lock)).run(SECOND).status == BUSY
    assert slow.wait() == staged(FIRST)
    assert session.read(SESSION) == EARLIER + FIRST_ENTRY


def is_waiting(lock: Path) -> bool:
    """Whether a process waits for a lock on the file; the kernel marks such a line with an arrow."""
    inode = f":{lock.stat().st_ino} "
    return any("->" in line and inode in line for line in Path("/proc/locks").read_text(encoding="ascii").splitlines())
