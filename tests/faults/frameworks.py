"""The frameworks and runs of the fault sweep.

A scenario is one run of the tool in a prepared framework directory.  The framework has older backups from an earlier
commit: a recovery that takes those for the last version is caught.
"""
from __future__ import annotations

import contextlib
import dataclasses
import shutil
import sys
import tempfile
from collections.abc import Callable, Iterator, Mapping
from pathlib import Path
from typing import Optional

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

import sandbox  # noqa: E402
from framework import AGENT, VALIDATOR, Framework, model, participant  # noqa: E402

CONFIGURATION = "qor.cfg"
LIST = "model/model_file_list.cfg"
LOCK = "model/qor_mim_tool.lock"
SESSION = "model/cmdfifo.dat"
MODELS = "/opt/qor/models"

SIZES = {"small": 0, "large": 1300}
"""The number of handlers in the configuration besides those of the scenarios."""

Pair = tuple[Optional[bytes], Optional[bytes]]
"""Contents of the configuration and of the list; None for one that is missing."""


def _configuration(handlers: int) -> str:
    participants = [participant("VELDA_OAM_COMPONENT"), participant("stationHandler", "Station", "Door")]
    participants += [participant(f"handler{number}", f"Class{number}") for number in range(handlers)]
    return f"<framework>\n\t<participants>\n{''.join(participants)}\t</participants>\n</framework>\n"


def build(target: Path, size: str) -> None:
    """A framework as installed, before the tool's first run."""
    handlers = SIZES[size]
    framework = Framework(target)
    installed = ["station", "door", "plain"]
    for name in installed + ["power", "climate", "bare"]:
        framework.write(f"models/{name}.xml", model(name.capitalize()))
    # With many handlers, longer than one block of a copy.
    installed += [f"model{number}" for number in range(handlers // 4)]
    framework.write(f"etc/{LIST}", "".join(f"{MODELS}/{name}.xml\n" for name in installed))
    framework.write(f"etc/{CONFIGURATION}", _configuration(handlers))
    framework.script(AGENT, "echo /opt/qor/")
    framework.script(VALIDATOR, "exit 0")


@dataclasses.dataclass(frozen=True)
class Scenario:
    """One run: the earlier runs, and its own arguments."""

    name: str
    earlier: tuple[tuple[str, ...], ...]
    args: tuple[str, ...]
    rejected: bool = False
    lost: str = ""
    """A file below etc/ that is removed before the run."""

    @property
    def keeps_live_files(self) -> bool:
        """Whether the run only opens, extends or drops a session."""
        return self.name.startswith("stage") or self.name == "rollback-session"


FIRST_COMMIT = (("-x", f"{MODELS}/door.xml", "-m", "stationHandler"), ("-c",))
ALL_KINDS = (
    ("-m", "powerHandler"),
    ("-a", f"{MODELS}/power.xml", "-m", "powerHandler"),
    ("-a", f"{MODELS}/climate.xml", "-m", "climateHandler", "-o", "2", "-t", "3"),
    ("-a", f"{MODELS}/bare.xml"),
    ("-x", f"{MODELS}/station.xml", "-m", "stationHandler"),
    ("-x", f"{MODELS}/plain.xml"),
)
ONE_KIND = (("-m", "powerHandler"),)

SCENARIOS = (
    Scenario("stage-new", FIRST_COMMIT, ALL_KINDS[1]),
    Scenario("stage-joined", FIRST_COMMIT + ALL_KINDS[:1], ALL_KINDS[1]),
    Scenario("commit", FIRST_COMMIT + ALL_KINDS, ("--commit",)),
    Scenario("commit-first", ALL_KINDS, ("--commit",)),
    Scenario("commit-handler-only", FIRST_COMMIT + ONE_KIND, ("--commit",)),
    Scenario("commit-rejected", FIRST_COMMIT + ALL_KINDS, ("--commit",), rejected=True),
    Scenario("rollback-session", FIRST_COMMIT + ALL_KINDS, ("--rollback",)),
    Scenario("rollback-commit", FIRST_COMMIT, ("--rollback",)),
)


@contextlib.contextmanager
def scratch() -> Iterator[Path]:
    """A temporary directory, in memory if possible: the sweep makes thousands of small copies."""
    with tempfile.TemporaryDirectory(prefix="qmt-", dir="/dev/shm" if Path("/dev/shm").is_dir() else None) as name:
        yield Path(name)


def state(framework: Path) -> dict[str, bytes]:
    """The contents of all files below etc/, by path."""
    etc = framework / "etc"
    return {str(path.relative_to(etc)): path.read_bytes() for path in sorted(etc.rglob("*")) if path.is_file()}


def live(files: Mapping[str, bytes]) -> Pair:
    """The two live files."""
    return files.get(CONFIGURATION), files.get(LIST)


def backups(files: Mapping[str, bytes]) -> Pair:
    """The two backups."""
    return files.get(f"{CONFIGURATION}.bak"), files.get(f"{LIST}.bak")


@dataclasses.dataclass(frozen=True)
class Prepared:
    """A scenario ready to run, and its result without faults."""

    scenario: Scenario
    size: str
    framework: Path
    versions: tuple[Pair, ...]
    """The complete, matching pairs: those before and after the run."""
    explained: frozenset[Pair]
    """These, and the results of a commit that skips one action in one file or in both."""
    before: dict[str, bytes]
    result: sandbox.Result
    state: dict[str, bytes]

    @property
    def name(self) -> str:
        """The name in tables and journals."""
        return f"{self.scenario.name}/{self.size}"


def _install_validator(framework: Path, accepts: bool) -> None:
    Framework(framework).script(VALIDATOR, f"echo judged\nexit {0 if accepts else 1}")


def _run_successfully(framework: Path, args: tuple[str, ...]) -> None:
    result = sandbox.Sandbox(framework).run(*args)
    if result.status != 0 or "Operation completed." not in result.console:
        raise sandbox.SandboxError(f"preparation failed: {args}\n{result.console}")


def _run_on_copy(framework: Path, args: tuple[str, ...], change: Callable[[Path], None] = lambda _: None,
                 ) -> tuple[sandbox.Result, dict[str, bytes]]:
    """Run the tool on a copy of the framework; return the result and the files."""
    with scratch() as directory:
        copy = directory / "framework"
        shutil.copytree(framework, copy)
        change(copy)
        return sandbox.Sandbox(copy).run(*args), state(copy)


def accepted(framework: Path, args: tuple[str, ...]) -> Pair:
    """The live files after a run whose result the validator accepts."""
    return live(_run_on_copy(framework, args, lambda copy: _install_validator(copy, True))[1])


def prepare(scenario: Scenario, size: str, directory: Path) -> Prepared:
    """Build the framework of a scenario below ``directory`` and run it once without faults."""
    framework = directory / f"{scenario.name}-{size}"
    build(framework, size)
    for args in scenario.earlier:
        _run_successfully(framework, args)
    _install_validator(framework, not scenario.rejected)
    whole = live(state(framework))
    if scenario.lost:
        (framework / "etc" / scenario.lost).unlink()
    before = state(framework)
    versions = tuple(dict.fromkeys([live(before), accepted(framework, scenario.args), whole]))
    explained = frozenset(versions).union(*(_pairs_without(framework, scenario.args, place, versions[-1])
                                            for place in range(before.get(SESSION, b"").count(b"\n"))))
    result, files = _run_on_copy(framework, scenario.args)
    return Prepared(scenario, size, framework, versions, explained, before, result, files)


def _pairs_without(framework: Path, args: tuple[str, ...], place: int, whole: Pair) -> set[Pair]:
    def leave_out(copy: Path) -> None:
        queue = copy / "etc" / SESSION
        lines = queue.read_bytes().splitlines(keepends=True)
        queue.write_bytes(b"".join(lines[:place] + lines[place + 1:]))
        _install_validator(copy, True)

    less = live(_run_on_copy(framework, args, leave_out)[1])
    return {less, (less[0], whole[1]), (whole[0], less[1])}
