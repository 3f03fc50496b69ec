"""Stop a run of the program at a chosen moment, so that a test can act meanwhile."""
from __future__ import annotations

import contextlib
import errno
import os
from collections.abc import Iterator

from sandbox import WORK, Run, Sandbox


@contextlib.contextmanager
def held_at_gate(caller: Sandbox, *words: str, at: str | None = None) -> Iterator[Run]:
    """Start a run and wait until it blocks at its gate; the end of the context opens the gate.

    The gate is before the first message to the system log, or, with ``at`` ("N:PATH"), before the N-th open of PATH
    with O_CREAT.  ``caller`` needs a working directory of the test.
    """
    assert caller.work is not None
    name = f"gate-{caller.host}"
    gate = caller.work / name
    os.mkfifo(gate)
    place = {} if at is None else {"QOR_SANDBOX_GATE_AT": at}
    gated = caller.using(preload=(*caller.preload, "gate")).with_env(QOR_SANDBOX_GATE=f"{WORK}/{name}", **place)
    run = gated.start(*words)
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
