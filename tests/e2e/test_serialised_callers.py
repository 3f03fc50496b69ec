"""Several callers on one host: the session lock does not keep them apart, flock(1) does."""
from __future__ import annotations

import contextlib
import errno
import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from expect import answer, staged
from framework import SESSION, Framework
from sandbox import FRAMEWORK, WORK, Run, Sandbox

EARLIER = "0:/opt/qor/models/pump.xml\n"
FIRST = "--addModelFile=/opt/qor/models/aux.xml"
SECOND = "--addModelFile=/opt/qor/models/valve.xml"
FIRST_ENTRY = "0:/opt/qor/models/aux.xml\n"
SECOND_ENTRY = "0:/opt/qor/models/valve.xml\n"

LOCK_FILE = f"{FRAMEWORK}/callers"
FLOCK = ("/usr/bin/flock", LOCK_FILE)
BUSY = 1


@contextlib.contextmanager
def held_at_gate(slow: Sandbox, work: Path) -> Iterator[Run]:
    """The first caller, after it has read the queue and before it saves it; the end of the context lets it go on."""
    gate = work / "gate"
    os.mkfifo(gate)
    run = slow.using(preload=("gate",)).with_env(QOR_SANDBOX_GATE=f"{WORK}/gate").start(FIRST)
    opened: list[int] = []

    def arrived() -> bool:
        try:
            opened.append(os.open(gate, os.O_WRONLY | os.O_NONBLOCK))
        except OSError as closed:
            if closed.errno != errno.ENXIO:
                raise
        return bool(opened)

    run.wait_for(arrived)
    try:
        yield run
    finally:
        os.close(opened[0])


@pytest.fixture
def session(framework: Framework) -> Framework:
    """A session of this host with one action."""
    framework.session(EARLIER)
    return framework


def test_two_callers_at_once_lose_an_action(tool: Sandbox, work: Path, session: Framework) -> None:
    with held_at_gate(tool, work) as slow:
        assert tool.run(SECOND) == staged(SECOND)
        assert session.read(SESSION) == EARLIER + SECOND_ENTRY
    assert slow.wait() == staged(FIRST)
    assert session.read(SESSION) == EARLIER + FIRST_ENTRY


def test_flock_lets_only_one_caller_in(tool: Sandbox, work: Path, session: Framework) -> None:
    impatient = tool.using(wrapper=(FLOCK[0], "--nonblock", *FLOCK[1:]))
    with held_at_gate(tool.using(wrapper=FLOCK), work) as slow:
        assert impatient.run(SECOND) == answer(path=None, status=BUSY)
        assert session.read(SESSION) == EARLIER
    assert slow.wait() == staged(FIRST)
    assert impatient.run(SECOND) == staged(SECOND)
    assert session.read(SESSION) == EARLIER + FIRST_ENTRY + SECOND_ENTRY


def test_callers_behind_flock_lose_nothing(tool: Sandbox, work: Path, session: Framework) -> None:
    with held_at_gate(tool.using(wrapper=FLOCK), work) as slow:
        patient = tool.using(wrapper=FLOCK).start(SECOND)
        patient.wait_for(lambda: is_waiting(session.path("callers")))
    assert slow.wait() == staged(FIRST)
    assert patient.wait() == staged(SECOND)
    assert session.read(SESSION) == EARLIER + FIRST_ENTRY + SECOND_ENTRY


def test_the_program_file_can_be_the_lock(tool: Sandbox, work: Path, session: Framework) -> None:
    session.write("bin/program", "")
    session.path("bin/program").chmod(0o555)
    lock = f"{FRAMEWORK}/bin/program"
    with held_at_gate(tool.using(wrapper=(FLOCK[0], lock)), work) as slow:
        assert tool.using(wrapper=(FLOCK[0], "--nonblock", lock)).run(SECOND).status == BUSY
    assert slow.wait() == staged(FIRST)
    assert session.read(SESSION) == EARLIER + FIRST_ENTRY


def is_waiting(lock: Path) -> bool:
    """Whether somebody waits for a lock on the file: the kernel marks such a line with an arrow."""
    inode = f":{lock.stat().st_ino} "
    return any("->" in line and inode in line for line in Path("/proc/locks").read_text(encoding="ascii").splitlines())
