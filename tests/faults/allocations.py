"""Make every allocation of the tool fail once, and judge the files afterwards."""
from __future__ import annotations

import shutil
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import frameworks
import judge
import sandbox
import sweep

COUNT = "allocations"
LOOKUP = "user-lookup"
IN_LIBRARY = "crashed inside the C library's look-up of the user"


def _sandbox(framework: Path, work: Path, **variables: str) -> sandbox.Sandbox:
    return sandbox.Sandbox(framework, work=work, preload=("allocation",)).sleepless().with_env(**variables)


def count(prepared: frameworks.Prepared) -> int:
    """The number of allocations in a run without faults."""
    with frameworks.scratch() as scratch:
        framework = scratch / "framework"
        work = scratch / "work"
        shutil.copytree(prepared.framework, framework)
        _sandbox(framework, work, QOR_SANDBOX_ALLOCATIONS=f"{sandbox.WORK}/{COUNT}").run(*prepared.scenario.args)
        return int((work / COUNT).read_text(encoding="ascii"))


def keys(prepared: frameworks.Prepared) -> Iterator[tuple[str, int]]:
    """Every allocation, by its key in the journal."""
    for number in range(1, count(prepared) + 1):
        yield f"{prepared.name}/allocation {number}", number


def run(prepared: frameworks.Prepared, key: str, number: int) -> dict[str, Any]:
    """Run the scenario with one failing allocation; return the record for the journal."""
    with frameworks.scratch() as scratch:
        framework = scratch / "framework"
        shutil.copytree(prepared.framework, framework)
        work = scratch / "work"
        box = _sandbox(framework, work, QOR_SANDBOX_ALLOCATION=str(number),
                       QOR_SANDBOX_ALLOCATION_LOOKUP=f"{sandbox.WORK}/{LOOKUP}")
        try:
            result = box.run(*prepared.scenario.args, timeout=sweep.TIMEOUT)
        except sandbox.SandboxError as error:
            if "no end after" not in str(error):
                raise
            return {"key": key, "fault": "allocation fails", "outcome": "hang", "violations": [str(error)]}
        verdict = judge.judge(prepared, result, frameworks.state(framework))
        if not judge.ended_cleanly(result) and (work / LOOKUP).exists():
            violations = [text for text in verdict.violations if not text.startswith("crashed")]
            verdict = judge.Verdict(IN_LIBRARY, tuple(violations))
        violations = list(verdict.violations) + sweep.recovered_after(prepared, result, framework)
    return {"key": key, "fault": "allocation fails", "outcome": verdict.outcome, "violations": violations}
