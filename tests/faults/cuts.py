"""Power cuts: runs and chains of two runs, every state that a cut may leave of them, and what is wrong with it."""
from __future__ import annotations

import dataclasses
import shutil
from collections import Counter
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import disk
import frameworks
import judge
import recovery
import sweep
from frameworks import LOCK, MODELS, SESSION, Scenario

STAGE = ("-a", f"{MODELS}/climate.xml", "-m", "climateHandler")
COMMIT = ("--commit",)
ROLLBACK = ("--rollback",)

SINGLE = (*frameworks.SCENARIOS, *(
    Scenario(f"commit-kind-{kind}", frameworks.FIRST_COMMIT + (action,), COMMIT) for kind, action in (
        ("add", ("-a", f"{MODELS}/bare.xml")),
        ("add-handler", ("-a", f"{MODELS}/power.xml", "-m", "powerHandler")),
        ("remove", ("-x", f"{MODELS}/plain.xml")),
        ("remove-handler", ("-x", f"{MODELS}/station.xml", "-m", "stationHandler")))))
FOLLOWING = {"stage": STAGE, "commit": COMMIT, "rollback": ROLLBACK}

EVERY = 1 << 30
SAMPLE = 8
"""How many states of each moment are looked at with the large documents."""


@dataclasses.dataclass(frozen=True)
class Step:
    """One run of a chain: the files before and after it, and the pairs that are whole while it works."""

    args: tuple[str, ...]
    before: disk.Files
    after: disk.Files
    pairs: frozenset[frameworks.Pair]
    rejected: bool

    @property
    def commits(self) -> bool:
        return self.args == COMMIT

    @property
    def keeps_live_files(self) -> bool:
        """Whether the run has nothing to do with the live files."""
        return self.pairs == {frameworks.live(self.before)}


@dataclasses.dataclass(frozen=True)
class Chain:
    """One run or two, one after the other, and all that they did to the disk."""

    name: str
    steps: tuple[Step, ...]
    trace: disk.Trace


@dataclasses.dataclass(frozen=True)
class Plan:
    """A chain that is to be run: its first run, and the arguments of those that follow."""

    name: str
    scenario: Scenario
    following: tuple[tuple[str, ...], ...] = ()


def plans(size: str = "small") -> Iterator[Plan]:
    """Each single run, and each followed by another one."""
    for scenario in SINGLE if size == "small" else frameworks.SCENARIOS:
        yield Plan(scenario.name, scenario)
    for scenario in frameworks.SCENARIOS if size == "small" else ():
        for name, args in FOLLOWING.items():
            yield Plan(f"{scenario.name}, {name}", scenario, (args,))


def record(plan: Plan, size: str, directory: Path) -> Chain:
    """Run a chain under the tracer, in a framework built below ``directory``."""
    scenario = plan.scenario
    framework = frameworks.prepare(scenario, size, directory).framework
    trace = disk.Trace(frameworks.state(framework))
    steps = [_step(framework, directory, args, scenario.rejected, trace) for args in (scenario.args, *plan.following)]
    return Chain(plan.name, tuple(steps), trace)


def _step(framework: Path, directory: Path, args: tuple[str, ...], rejected: bool, trace: disk.Trace) -> Step:
    before = frameworks.state(framework)
    pairs = frozenset({frameworks.live(before), frameworks.accepted(framework, args)})
    trace.add(sweep.trace(framework, directory / "work", args, disk.OPTIONS))
    return Step(args, before, frameworks.state(framework), pairs, rejected)


def complaint(chain: Chain, left: disk.Left) -> str:
    """What is wrong with a state; the empty text if nothing is."""
    if not left.running:
        done = chain.steps[left.answers - 1].after if left.answers else chain.steps[0].before
        return "" if left.files == done else "the run had answered, and the disk has something else"
    step = chain.steps[left.answers]
    live = frameworks.live(left.files)
    if step.keeps_live_files and live not in step.pairs:
        return "live files have changed that nobody touched"
    if not judge.is_whole(step.pairs, left.files):
        return "no matching pair"
    if step.commits and not step.keeps_live_files:
        return _lost_session(step, left.files, live)
    return ""


def _lost_session(step: Step, files: disk.Files, live: frameworks.Pair) -> str:
    if files.get(SESSION) not in (step.before[SESSION], None):
        return "the queue is damaged"
    over = SESSION not in files or LOCK not in files
    # A rejected commit has ended its session before it puts the previous files back.
    if over and not step.rejected and live == frameworks.live(step.before):
        return "the session is over, but its commit is not done"
    return "" if not over or step.rejected or live in step.pairs else "the session is over in the middle of its commit"


def allowed_pairs(chain: Chain, left: disk.Left) -> frozenset[frameworks.Pair]:
    """The pairs that may be live once the framework has been brought back."""
    if left.running:
        return chain.steps[left.answers].pairs
    return frozenset({frameworks.live(left.files)})


def bad_states(chain: Chain, trace: disk.Trace) -> Iterator[str]:
    """The complaints about the states of a trace that was changed, as they are found."""
    for model in disk.MODELS:
        for left in disk.states(trace, model, EVERY):
            if found := complaint(chain, left):
                yield f"{model}: {found}"


def run(key: str, plan: Plan, size: str, model: str) -> dict[str, Any]:
    """Judge all states of one chain under one model, and bring each back; the record of it for the journal."""
    outcomes: Counter[str] = Counter()
    violations = []
    with frameworks.scratch() as directory:
        chain = record(plan, size, directory)
        for left in disk.states(chain.trace, model, SAMPLE if size == "large" else EVERY):
            outcome, wrong = "matching pair on the disk", complaint(chain, left)
            if not wrong:
                outcome, wrong = recovery.bring_back(left.files, allowed_pairs(chain, left), directory / "left")
            outcomes[wrong or outcome] += 1
            violations += [wrong] if wrong else []
    return {"key": key, "fault": f"power cut, {model}", "outcomes": outcomes, "violations": violations, "said": []}
