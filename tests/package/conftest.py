"""Fixtures of the package tests: the packages, freshly built, and a machine to install them on."""
from __future__ import annotations

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from machine import Machine  # noqa: E402 (path set above)
from sandbox import PROJECT  # noqa: E402

import packages  # noqa: E402


@pytest.fixture(scope="session")
def built() -> dict[str, Path]:
    """The package of each architecture, built from this checkout."""
    return packages.build(PROJECT)


@pytest.fixture(params=packages.ARCHITECTURES)
def package(request: pytest.FixtureRequest, built: dict[str, Path]) -> Path:
    """Each package."""
    return built[request.param]


@pytest.fixture
def machine(package: Path, tmp_path: Path) -> Machine:
    """A machine with the dependencies of the package, and nothing else."""
    return Machine(tmp_path / "machine", packages.field(package, "Architecture"), packages.dependencies(package))
