"""Import path and fixtures of the fault tests."""
from __future__ import annotations

import sys
from collections.abc import Callable
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent))

import frameworks  # noqa: E402
import sandbox  # noqa: E402


@pytest.fixture(autouse=True, scope="session")
def tracing() -> None:
    """Skip under proot: it traces the program itself, so that strace cannot."""
    if sandbox.find_launcher() != "bwrap":
        pytest.skip("proot is the tracer here")


@pytest.fixture(scope="session")
def prepared(tmp_path_factory: pytest.TempPathFactory) -> Callable[[str], frameworks.Prepared]:
    """Scenarios ready to run, by name."""
    scenarios = {scenario.name: scenario for scenario in frameworks.SCENARIOS}
    directory = tmp_path_factory.mktemp("frameworks")
    ready: dict[str, frameworks.Prepared] = {}

    def get(name: str) -> frameworks.Prepared:
        if name not in ready:
            ready[name] = frameworks.prepare(scenarios[name], "small", directory)
        return ready[name]

    return get
