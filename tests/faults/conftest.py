"""Let the tests find the modules beside them."""
from __future__ import annotations

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent))

import frameworks  # noqa: E402, F401 (finds the sandbox)
import sandbox  # noqa: E402


@pytest.fixture(autouse=True)
def tracing() -> None:
    """Where proot stands in for bubblewrap, nothing else can trace the program."""
    if sandbox.find_launcher() != "bwrap":
        pytest.skip("proot is the tracer here")
