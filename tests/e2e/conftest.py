"""Fixtures of the end-to-end tests: a fresh framework and the real program, in a sandbox, on two hosts."""
from __future__ import annotations

import sys
from collections.abc import Iterator
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

import companion  # noqa: E402
from framework import Framework  # noqa: E402 (path set above)
from sandbox import Sandbox, SandboxError, launcher_name, tool_path  # noqa: E402


def pytest_configure(config: pytest.Config) -> None:
    """Declare the marker."""
    config.addinivalue_line("markers", "unsound(reason): the test does not leave a sound framework")


def pytest_report_header() -> str:
    """Name the program under test and the sandbox."""
    try:
        return f"program: {tool_path()}\nsandbox: {launcher_name()}"
    except SandboxError as error:
        pytest.exit(str(error), returncode=2)


@pytest.fixture
def framework(tmp_path: Path) -> Framework:
    """A fresh framework directory, seen as /opt/qor by the program."""
    return Framework.create(tmp_path / "qor")


@pytest.fixture
def work(tmp_path: Path) -> Path:
    """The program's working directory, seen as /opt/scratch."""
    path = tmp_path / "work"
    path.mkdir()
    return path


@pytest.fixture
def tool(framework: Framework, work: Path, request: pytest.FixtureRequest) -> Iterator[Sandbox]:
    """The program on the host alpha.  After the test the framework must be sound, unless the test is ``unsound``."""
    sandbox = Sandbox(framework.root, work=work)
    yield sandbox
    if request.node.get_closest_marker("unsound") is None:
        assert companion.faults(sandbox) == []


@pytest.fixture
def other(tool: Sandbox) -> Sandbox:
    """The program on another host, beta, that shares the framework."""
    return tool.on("beta")
