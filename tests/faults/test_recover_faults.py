"""A recovery killed at one of its system calls: a sample, or all of them with QOR_RECOVER_FAULT_STEP=1."""
from __future__ import annotations

import os
import shutil
from pathlib import Path

import pytest
import recover_faults

STEP = int(os.environ.get("QOR_RECOVER_FAULT_STEP", "31"))


@pytest.mark.parametrize("state", recover_faults.STATES, ids=lambda state: state.name)
def test_recovery_finishes_a_killed_recovery(state: recover_faults.State, tmp_path: Path) -> None:
    """The second recovery reaches the same end, and a third one finds nothing."""
    run, end = recover_faults.reference(state, tmp_path / "reference")
    chosen = run[len(state.name) % STEP::STEP]
    assert chosen
    found = []
    for call in chosen:
        root = tmp_path / "case"
        found += [f"{call.index}:{call.name} {call.where}: {violation}"
                  for violation in recover_faults.violations(state, root, call, end)]
        shutil.rmtree(root)
    assert found == []
