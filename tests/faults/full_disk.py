"""Run the tool on full disks: small file systems in memory, with a few free pages."""
from __future__ import annotations

import shutil
import subprocess
import tempfile
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path
from typing import Any

import frameworks
import judge
import recovery
import sandbox
import sweep

PAGE = 4096
PLENTY = 64 << 20
# The record of mounts would stay on the machine.
UNRECORDED = "--no-mtab"


def can_mount() -> bool:
    """Whether this machine lets us mount a file system."""
    try:
        with _disk():
            return True
    except subprocess.CalledProcessError:
        return False


@contextmanager
def _disk() -> Iterator[Path]:
    with tempfile.TemporaryDirectory(prefix="qmt-") as scratch:
        place = Path(scratch) / "disk"
        place.mkdir()
        subprocess.run(["mount", UNRECORDED, "-t", "tmpfs", "-o", f"size={PLENTY}", "tmpfs", str(place)], check=True,
                       capture_output=True, stdin=subprocess.DEVNULL)
        try:
            yield place
        finally:
            subprocess.run(["umount", UNRECORDED, str(place)], check=True, stdin=subprocess.DEVNULL)


def _resize(place: Path, size: int) -> None:
    subprocess.run(["mount", UNRECORDED, "-o", f"remount,size={size}", str(place)], check=True,
                   stdin=subprocess.DEVNULL)


def run(prepared: frameworks.Prepared) -> Iterator[dict[str, Any]]:
    """Run the scenario with no free page, one, two and so on, until the run is as without faults."""
    for pages in range(1 << 10):
        record = _run(prepared, pages)
        yield record
        if record["outcome"] == judge.UNDISTURBED:
            return


def _run(prepared: frameworks.Prepared, pages: int) -> dict[str, Any]:
    with _disk() as place:
        framework = place / "framework"
        shutil.copytree(prepared.framework, framework)
        usage = shutil.disk_usage(place)
        _resize(place, usage.used + pages * PAGE)
        result = sandbox.Sandbox(framework).sleepless().run(*prepared.scenario.args, timeout=sweep.TIMEOUT)
        files = frameworks.state(framework)
        verdict = judge.judge(prepared, result, files)
        _resize(place, PLENTY)
        violations = list(verdict.violations)
        if verdict.outcome != judge.UNDISTURBED:
            violations += _recover(prepared, framework)
    return {"key": f"{prepared.name}/disk with {pages} pages", "fault": "full disk", "outcome": verdict.outcome,
            "violations": violations}


def _recover(prepared: frameworks.Prepared, framework: Path) -> list[str]:
    recovery.recover(framework, recovery.assumption(prepared))
    return [f"after recovery: {text}" for text in recovery.violations(prepared, frameworks.state(framework))]
