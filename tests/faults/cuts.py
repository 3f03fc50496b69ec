"""Power cuts: runs and chains of two runs, every state that a cut may leave of them, and what is wrong with it."""
from __future__ import annotations

import dataclasses
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

LOST = (
    Scenario("commit-lost", frameworks.FIRST_COMMIT + frameworks.ONE_KIND, COMMIT, lost=frameworks.CONFIGURATION),
    Scenario("rollback-session-lost", frameworks.FIRST_COMMIT + frameworks.ONE_KIND, ROLLBACK, lost=frameworks.CONFIGURATION),
    Scenario("rollback-commit-lost", frameworks.FIRST_COMMIT, ROLLBACK, lost=frameworks.CONFIGURATION),
)
"""Runs that find no configuration."""
SINGLE = (*frameworks.SCENARIOS, *LOST, *(
    Scenario(f"commit-kind-{kind}", frameworks.FIRST_COMMIT + (action,), COMMIT) for kind, action in (
        ("add", ("-a", f"{MODELS}/bare.xml")),
        ("add-handler", ("-a", f"{MODELS}/power.xml", "-m", "powerHandler")),
        ("remove", ("-x", f"{MODELS}/plain.xml")),
        ("remove-handler", ("-x", f"{MODELS}/station.xml", "-m", "stationHandler")))))
FOLLOWING = {"stage": STAGE, "commit": COMMIT, "rollback": ROLLBACK}

FAULT = "power cut"
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
    whole: frozenset[frameworks.Pair] = frozenset()
    """Further pairs to which a recovery may lead."""

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
    framework: Path
    """The directory in which it was run."""


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
    prepared = frameworks.prepare(scenario, size, directory)
    framework = prepared.framework
    trace = disk.Trace(prepared.before)
    steps = [_step(framework, directory, args, scenario.rejected, trace) for args in (scenario.args, *plan.following)]
    steps[0] = dataclasses.replace(steps[0], whole=frozenset(prepared.versions))
    return Chain(plan.name, tuple(steps), trace, framework)


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
    if _hides_a_cut(step, left.files):
        return "a live file is cut, and its working copy is cut alike"
    if step.commits and not step.keeps_live_files:
        return _lost_session(step, left.files, live)
    return ""


def _hides_a_cut(step: Step, files: disk.Files) -> bool:
    """Whether a live file that is not whole cannot be told from one that the session has found so."""
    whole = step.pairs | step.whole
    return any(files.get(name) is not None and files.get(name) == files.get(f"{name}.tmp")
               and files.get(name) not in {pair[index] for pair in whole}
               for index, name in enumerate((frameworks.CONFIGURATION, frameworks.LIST)))


def _lost_session(step: Step, files: disk.Files, live: frameworks.Pair) -> str:
    if files.get(SESSION) not in (step.before[SESSION], None):
        return "the queue is damaged"
    over = SESSION not in files or LOCK not in files
    # A rejected commit has ended its session before it puts the previous files back.
    if over and not step.rejected and live == frameworks.live(step.before):
        return "the session is over, but its commit is not done"
    return "" if not over or step.rejected or live in step.pairs else "the session is over in the middle of its commit"


def case(chain: Chain, left: disk.Left) -> recovery.Case:
    """The recovery of a state: which pairs may be live once the framework has been brought back, and which backups."""
    step = chain.steps[min(left.answers, len(chain.steps) - 1)]
    live = frameworks.live(left.files)
    pairs = step.pairs | step.whole if left.running else frozenset({live})
    if None in frameworks.live(step.before):
        pairs |= step.whole | {frameworks.backups(step.before)}
    kept = {frameworks.backups(files) for files in (step.before, step.after)}
    assume = "commit" if step.commits else "rollback" if step.args == ROLLBACK else "nothing"
    return recovery.Case(frozenset(left.files.items()), assume if left.running else "nothing", pairs,
                         pairs | kept | {(None, None)})


def bad_states(chain: Chain, trace: disk.Trace) -> Iterator[str]:
    """The complaints about the states of a trace that was changed, as they are found."""
    for model in disk.MODELS:
        for left in disk.states(trace, model, EVERY):
            if found := complaint(chain, left):
                yield f"{model}: {found}"


def run(key: str, scenario: Scenario, size: str, limit: int) -> dict[str, Any]:
    """Judge all states of a run, and of the chains that it begins, and bring each back; the record for the journal."""
    outcomes: Counter[str] = Counter()
    violations = []
    tried: set[bytes] = set()
    for plan in plans(size):
        if plan.scenario != scenario:
            continue
        with frameworks.scratch() as directory:
            chain = record(plan, size, directory)
            bad: list[str] = []
            for outcome, wrong in recovery.bring_back(chain.framework, _cases(chain, limit, tried, bad)):
                if wrong:
                    bad.append(wrong)
                else:
                    outcomes[outcome] += 1
            outcomes.update(bad)
            violations += [f"{plan.name}: {wrong}" for wrong in bad]
    return {"key": key, "fault": FAULT, "outcomes": outcomes, "violations": violations, "said": []}


def _cases(chain: Chain, limit: int, tried: set[bytes], bad: list[str]) -> Iterator[recovery.Case]:
    """The states of a chain without a complaint that were not tried; adds them to those, and the complaints to ``bad``."""
    for model in disk.MODELS:
        for left in disk.states(chain.trace, model, limit):
            if wrong := complaint(chain, left):
                bad.append(wrong)
                continue
            found = case(chain, left)
            digest = found.digest()
            if digest not in tried:
                tried.add(digest)
                yield found
