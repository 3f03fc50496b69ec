"""The frameworks and runs that the sweep disturbs.

Every scenario is one run of the tool from a prepared state of a framework directory.  The framework has had one commit
before, so that older backups lie about: a recovery that took those for the last version would be caught.
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
from framework import participant  # noqa: E402

CONFIGURATION = "qor.cfg"
LIST = "model/model_file_list.cfg"
LOCK = "model/qor_mim_tool.lock"
SESSION = "model/cmdfifo.dat"
MODELS = "/opt/qor/models"

SIZES = {"small": 0, "large": 1300}
"""How many handlers the configuration has besides those that the runs deal with."""

Pair = tuple[Optional[bytes], Optional[bytes]]
"""Contents of the configuration and of the list; None for one that is missing."""


def _configuration(handlers: int) -> str:
    participants = [participant("VELDA_OAM_COMPONENT"), participant("stationHandler", "Station", "Door")]
    participants += [participant(f"handler{number}", f"Class{number}") for number in range(handlers)]
    return f"<framework>\n\t<participants>\n{''.join(participants)}\t</participants>\n</framework>\n"


def _executable(path: Path, text: str) -> None:
    path.parent.mkdir(parents=True)
    path.write_text(text, encoding="ascii")
    path.chmod(0o755)


def build(target: Path, size: str) -> None:
    """A framework as it is installed, before the tool has ever run."""
    handlers = SIZES[size]
    (target / "etc/model").mkdir(parents=True)
    (target / "models").mkdir()
    installed = ["station", "door", "plain"]
    for name in installed + ["power", "climate", "bare"]:
        text = f'<model>\n\t<class name="{name.capitalize()}">\n\t\t<root/>\n\t</class>\n</model>\n'
        (target / "models" / f"{name}.xml").write_text(text, encoding="ascii")
    # Longer than one block of a copy when there are many handlers.
    installed += [f"model{number}" for number in range(handlers // 4)]
    (target / "etc" / LIST).write_text("".join(f"{MODELS}/{name}.xml\n" for name in installed), encoding="ascii")
    (target / "etc" / CONFIGURATION).write_text(_configuration(handlers), encoding="ascii")
    _executable(target / "qorea/bin/qorea", "#!/bin/sh\necho /opt/qor/\n")
    _executable(target / "bin/pel_model_validator", "#!/bin/sh\nexit 0\n")


@dataclasses.dataclass(frozen=True)
class Scenario:
    """One run: what was done before it, and its own arguments."""

    name: str
    earlier: tuple[tuple[str, ...], ...]
    args: tuple[str, ...]
    rejected: bool = False
    lost: str = ""
    """A file below etc/ that is gone by then."""

    @property
    def keeps_live_files(self) -> bool:
        """Whether the run only opens, extends or drops a session: the operator knows, and recovers accordingly."""
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
    """A directory where thousands of small copies cost little, if the machine has such a place."""
    with tempfile.TemporaryDirectory(prefix="qmt-", dir="/dev/shm" if Path("/dev/shm").is_dir() else None) as name:
        yield Path(name)


def state(framework: Path) -> dict[str, bytes]:
    """All files that the tool writes, by their path below etc/."""
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
    """A scenario ready to run, and what it does when nothing goes wrong."""

    scenario: Scenario
    size: str
    framework: Path
    versions: tuple[Pair, ...]
    """The pairs that count as complete and matching: before the run, and after it."""
    explained: frozenset[Pair]
    """These, and what a commit may come to that leaves out one of its actions, wholly or in one of the two files."""
    before: dict[str, bytes]
    result: sandbox.Result
    state: dict[str, bytes]

    @property
    def name(self) -> str:
        """The name in tables and journals."""
        return f"{self.scenario.name}/{self.size}"


def _judging(framework: Path, accepts: bool) -> None:
    validator = framework / "bin/pel_model_validator"
    validator.write_text(f"#!/bin/sh\necho judged\nexit {0 if accepts else 1}\n", encoding="ascii")


def _succeed(framework: Path, args: tuple[str, ...]) -> None:
    result = sandbox.Sandbox(framework).run(*args)
    if result.status != 0 or "Operation completed." not in result.console:
        raise sandbox.SandboxError(f"preparation failed: {args}\n{result.console}")


def _undisturbed(framework: Path, args: tuple[str, ...], change: Callable[[Path], None] = lambda _: None,
                 ) -> tuple[sandbox.Result, dict[str, bytes]]:
    """What a run does to a copy of the framework."""
    with scratch() as directory:
        copy = directory / "framework"
        shutil.copytree(framework, copy)
        change(copy)
        return sandbox.Sandbox(copy).run(*args), state(copy)


def accepted(framework: Path, args: tuple[str, ...]) -> Pair:
    """The live files after a run whose result the validator likes."""
    return live(_undisturbed(framework, args, lambda copy: _judging(copy, True))[1])


def prepare(scenario: Scenario, size: str, directory: Path) -> Prepared:
    """Build a scenario's framework below ``directory`` and run it once without a fault."""
    framework = directory / f"{scenario.name}-{size}"
    build(framework, size)
    for args in scenario.earlier:
        _succeed(framework, args)
    _judging(framework, not scenario.rejected)
    whole = live(state(framework))
    if scenario.lost:
        (framework / "etc" / scenario.lost).unlink()
    before = state(framework)
    versions = tuple(dict.fromkeys([live(before), accepted(framework, scenario.args), whole]))
    explained = frozenset(versions).union(*(_without(framework, scenario.args, place, versions[-1])
                                            for place in range(before.get(SESSION, b"").count(b"\n"))))
    result, files = _undisturbed(framework, scenario.args)
    return Prepared(scenario, size, framework, versions, explained, before, result, files)


def _without(framework: Path, args: tuple[str, ...], place: int, whole: Pair) -> set[Pair]:
    def leave_out(copy: Path) -> None:
        queue = copy / "etc" / SESSION
        lines = queue.read_bytes().splitlines(keepends=True)
        queue.write_bytes(b"".join(lines[:place] + lines[place + 1:]))
        _judging(copy, True)

    less = live(_undisturbed(framework, args, leave_out)[1])
    return {less, (less[0], whole[1]), (whole[0], less[1])}
