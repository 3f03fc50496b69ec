"""Two concurrent runs, stepped from system call to system call in chosen orders."""
from __future__ import annotations

import dataclasses
import itertools
import random
import shutil
import socket
from collections import Counter
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import Any

import frameworks
import sandbox
from frameworks import MODELS, Pair, Scenario

STAGE = ("-a", f"{MODELS}/climate.xml", "-m", "climateHandler")
QUEUE = ("-a", f"{MODELS}/power.xml", "-m", "powerHandler")
COMMANDS = {"stage": STAGE, "commit": ("--commit",), "rollback": ("--rollback",), "status": ("--status",)}
EFFECT = (b"powerHandler", b"power.xml")
"""What the queue of the open session adds to the configuration and to the list."""

IN_ORDER = "same result as in one of the two orders"
UNDONE = "an earlier commit is undone"
REJECTED = "a rejected configuration is live"
TOUCHED = "commands that keep the live files have changed them"
STATUS = "--status has changed a file"
NEVER = (UNDONE, REJECTED, TOUCHED, STATUS)
BROKEN = "not promised: a live file is missing or torn"
MIXED = "not promised: the two live files do not match"
SESSION = "not promised: the live files match, but the session is not as in either order"


@dataclasses.dataclass(frozen=True)
class Plan:
    """Two commands, the state that they find, and their hosts."""

    commands: tuple[str, str]
    open: bool
    """Whether the first host has a session open."""
    other_host: bool
    rejected: bool

    @property
    def name(self) -> str:
        """The name in tables and journals."""
        return " and ".join(self.commands) + (", open session" if self.open else "") + (
            ", two hosts" if self.other_host else "") + (", rejected" if self.rejected else "")


Order = tuple[int, ...]
"""Which run begins, and the number of steps of each turn; then both run to their ends in the same turns."""
END = 1 << 30


def plans() -> Iterator[Plan]:
    """All pairs of commands in all circumstances that matter."""
    for commands in itertools.combinations_with_replacement(COMMANDS, 2):
        for is_open, other_host, rejected in itertools.product((False, True), repeat=3):
            can_commit = "commit" in commands and (is_open or "stage" in commands)
            if (not rejected or can_commit) and (is_open or commands[0] != commands[1] or commands[0] == "stage"):
                yield Plan(commands, is_open, other_host, rejected)


class _SteppedRun:
    """A run that stops before each of its calls."""

    def __init__(self, framework: Path, work: Path, host: str, args: tuple[str, ...]):
        work.mkdir()
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(str(work / "step"))
            listener.listen()
            box = sandbox.Sandbox(framework, host, work=work, preload=("step",))
            self._run = box.with_env(QOR_SANDBOX_STEP=f"{sandbox.WORK}/step").start(*args)
            self._socket, _ = listener.accept()
        self._lines = self._socket.makefile("r")
        self.calls: list[str] = []
        self.at = self._lines.readline()

    @property
    def ended(self) -> bool:
        return not self.at

    @property
    def sleeps(self) -> bool:
        return self.at.startswith("sleep")

    def go(self) -> None:
        """Execute the next call."""
        self._socket.send(b".")
        self.calls.append(self.at.strip())
        self.at = self._lines.readline()

    def result(self) -> sandbox.Result:
        self._lines.close()
        self._socket.close()
        return self._run.wait()


@dataclasses.dataclass(frozen=True)
class Outcome:
    """The outcome of two runs."""

    results: tuple[sandbox.Result, sandbox.Result]
    calls: tuple[list[str], list[str]]
    """The calls of each run, in order."""
    files: dict[str, bytes]


def interleave(plan: Plan, framework: Path, order: Order) -> Outcome:
    """Run both commands on a copy of the framework, in one order."""
    with frameworks.scratch() as scratch:
        copy = scratch / "framework"
        shutil.copytree(framework, copy)
        hosts = ("alpha", "beta" if plan.other_host else "alpha")
        runs = [_SteppedRun(copy, scratch / str(place), host, COMMANDS[command])
                for place, (host, command) in enumerate(zip(hosts, plan.commands))]
        begins, *steps = order
        for turn, count in enumerate((*steps, END, END)):
            place = (begins + turn) % 2
            _advance(runs[place], runs[1 - place], count)
        return Outcome((runs[0].result(), runs[1].result()), (runs[0].calls, runs[1].calls), frameworks.state(copy))


def _advance(run: _SteppedRun, other: _SteppedRun, steps: int) -> None:
    """Execute steps of one run; while it sleeps, the other one runs on."""
    for _ in range(steps):
        if run.ended:
            return
        while run.sleeps and not other.ended and not other.sleeps:
            other.go()
        run.go()


def prepare(plan: Plan, directory: Path) -> tuple[Path, Pair]:
    """The framework of both runs, and its live files before the first commit."""
    earlier = frameworks.FIRST_COMMIT + ((QUEUE,) if plan.open else ())
    prepared = frameworks.prepare(Scenario("race", earlier, COMMANDS["status"], plan.rejected), "small", directory)
    original = directory / "original"
    frameworks.build(original, "small")
    return prepared.framework, frameworks.live(frameworks.state(original))


def orders(calls: Sequence[Sequence[str]], further: int, name: str) -> list[Order]:
    """Every order where one run is interrupted once, by the whole other one, and a sample of orders with more turns."""
    steps = [len(own) for own in calls]
    chosen: list[Order] = [(begins, first, END) for begins in (0, 1) for first in range(1, steps[begins])]
    rng = random.Random(name)
    for turns in itertools.islice(itertools.cycle((2, 3, 4)), further):
        begins = rng.randrange(2)
        # Most races need a short turn.
        chosen.append((begins, *(rng.randrange(1, rng.choice((8, steps[(begins + turn) % 2])))
                                 for turn in range(turns))))
    return chosen


class Race:
    """A plan and its framework, built below ``directory``."""

    def __init__(self, plan: Plan, directory: Path):
        self.plan = plan
        self.framework, self.original = prepare(plan, directory)
        self.before = frameworks.live(frameworks.state(self.framework))
        self.serial = [self.interleave((begins, END)) for begins in (0, 1)]

    def interleave(self, order: Order) -> Outcome:
        """Run both commands in one order."""
        return interleave(self.plan, self.framework, order)

    def judge(self, outcome: Outcome) -> str:
        """Classify the outcome of two runs, by a row of the table."""
        commands, live = self.plan.commands, frameworks.live(outcome.files)
        if any(outcome.files == other.files for other in self.serial):
            return IN_ORDER
        if "status" in commands:
            return STATUS
        if "commit" not in commands and "rollback" not in commands:
            return SESSION if live == self.before else TOUCHED
        if not _is_whole(live):
            return BROKEN
        if "rollback" not in commands and (live == self.original or _is_undone(self.plan, outcome, live)):
            return UNDONE
        if self.plan.rejected and live not in (self.before, self.original):
            return REJECTED if "stage" in commands else f"not promised: {REJECTED}"
        return SESSION if live in [self.before, *(frameworks.live(other.files) for other in self.serial)] else MIXED


def run(key: str, plan: Plan, further: int, step: int = 1) -> dict[str, Any]:
    """Run a plan in many orders, or every ``step``-th of them; return the record for the journal."""
    outcomes: Counter[str] = Counter()
    violations = []
    with frameworks.scratch() as directory:
        race = Race(plan, directory)
        for order in orders(race.serial[0].calls, further, plan.name)[::step]:
            outcome = race.interleave(order)
            judged = race.judge(outcome)
            outcomes[judged] += 1
            if judged in NEVER:
                violations.append(f"{judged}, order {order}, status {[result.status for result in outcome.results]}")
    return {"key": key, "fault": "two runs at once", "outcomes": outcomes, "violations": violations}


def _is_whole(live: Pair) -> bool:
    configuration, list_ = live
    return (configuration or b"").endswith(b"</framework>\n") and (list_ or b"").endswith(b"\n")


def _is_undone(plan: Plan, outcome: Outcome, live: Pair) -> bool:
    """Whether a commit reported success, but the live files lack its changes."""
    done = any(command == "commit" and result.status == 0 and "powerHandler" in result.console
               for command, result in zip(plan.commands, outcome.results))
    return done and not any(effect in content for effect, content in zip(EFFECT, live))
