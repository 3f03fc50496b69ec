"""A fault in one system call of the companion's transaction: a sample, or all of them with QOR_APPLY_FAULT_STEP=1."""
from __future__ import annotations

import os
import shutil
from pathlib import Path

import apply_faults
import calls
import pytest

STEP = int(os.environ.get("QOR_APPLY_FAULT_STEP", "199"))


@pytest.mark.parametrize("scenario", apply_faults.SCENARIOS, ids=lambda scenario: scenario.name)
@pytest.mark.parametrize("kind", ["kill", "error"])
def test_apply_leaves_matching_files_after_a_fault(scenario: apply_faults.Scenario, kind: str, tmp_path: Path) -> None:
    """After a kill, recovery restores the files before or after; after an error, the answer matches the files."""
    run, after = apply_faults.reference(scenario, tmp_path / "reference")
    before = apply_faults.live(apply_faults.prepare(scenario, tmp_path / "before"))
    cases = [(call, fault) for call in run for fault in call.faults
             if (fault == calls.KILL) == (kind == "kill") and fault != calls.SHORT]
    chosen = cases[len(scenario.name) % STEP::STEP]
    assert chosen
    found = []
    for call, fault in chosen:
        root = tmp_path / "case"
        framework, result = apply_faults.disturbed(scenario, root, call, fault)
        if kind == "kill":
            violations = apply_faults.violations_after_kill(scenario, framework, before, after)
        else:
            violations = apply_faults.violations_after_error(scenario, framework, call, result, before, after)
        found += [f"{call.index}:{call.name} {call.where} {fault}: {violation}" for violation in violations]
        shutil.rmtree(root)
    assert found == []
