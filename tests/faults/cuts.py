"""Power cuts: runs and chains of two runs, every possible state after a cut, and the violations in it."""
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
    Scenario("rollback-session-lost", frameworks.FIRST_COMMIT + frameworks.ONE_KIND, ROLLBACK,
             lost=frameworks.CONFIGURATION),
    Scenario("rollback-commit-lost", frameworks.FIRST_COMMIT, ROLLBACK, lost=frameworks.CONFIGURATION),
)
"""Runs without a configuration."""
SINGLE = (*frameworks.SCENARIOS, *LOST, *(
    Scenario(f"commit-kind-{kind}", frameworks.FIRST_COMMIT + (action,), COMMIT) for kind, action in (
        ("add", ("-a", f"{MODELS}/bare.xml")),
        ("add-handler", ("-a", f"{MODELS}/power.xml", "-m", "powerHandler")),
        ("remove", ("-x", f"{MODELS}/plain.xml")),
        ("remove-handler", ("-x", f"{MODELS}/station.xml", "-m", "stationHandler")))))
FOLLOWING = {"stage": STAGE, "commit": COMMIT, "rollback": ROLLBACK}

FAULT = "power cut"
EVERY = 1 << 30


@dataclasses.dataclass(frozen=True)
class Step:
    """One run of a chain: the files before and after it, and the pairs of which one must be complete during the run."""

    args: tuple[str, ...]
    before: disk.Files
    after: disk.Files
    pairs: frozenset[frameworks.Pair]
    rejected: bool
    whole: frozenset[frameworks.Pair] = frozenset()
    """Further pairs allowed after a recovery."""

    @property
    def commits(self) -> bool:
        return self.args == COMMIT

    @property
    def keeps_live_files(self) -> bool:
        """Whether the run does not change the live files."""
        return self.pairs == {frameworks.live(self.before)}


@dataclasses.dataclass(frozen=True)
class Chain:
    """One run or two consecutive ones, and the trace of both."""

    name: str
    steps: tuple[Step, ...]
    trace: disk.Trace
    framework: Path
    """The framework directory of the runs."""


@dataclasses.dataclass(frozen=True)
class Plan:
    """A chain to be recorded: its first run, and the arguments of the following ones."""

    name: str
    scenario: Scenario
    following: tuple[tuple[str, ...], ...] = ()


def plans(size: str = "small") -> Iterator[Plan]:
    """Each single run, and each run followed by another one."""
    for scenario in SINGLE if size == "small" else frameworks.SCENARIOS:
        yield Plan(scenario.name, scenario)
    for scenario in frameworks.SCENARIOS if size == "small" else ():
        for name, args in FOLLOWING.items():
            yield Plan(f"{scenario.name}, {name}", scenario, (args,))


def record(plan: Plan, size: str, directory: Path) -> Chain:
    """Run a chain under strace, in a framework built below ``directory``."""
    scenario = plan.scenario
    prepared = frameworks.prepare(scenario, size, directory)
    framework = prepared.framework
    trace = disk.Trace(prepared.before)
    steps = [_step(framework, directory, args, scenario.rejected, trace) for args in (scenario.args, *plan.following)]
    steps[0] = dataclasses.replace(steps[0], whole=frozenset(prepared.versions))
    # A large document takes hundreds of writes. Merged into one, they leave the same few kinds of states as the
    # write of a small document.
    return Chain(plan.name, tuple(steps), trace.merged() if size == "large" else trace, framework)


def _step(framework: Path, directory: Path, args: tuple[str, ...], rejected: bool, trace: disk.Trace) -> Step:
    before = frameworks.state(framework)
    pairs = frozenset({frameworks.live(before), frameworks.accepted(framework, args)})
    trace.add(sweep.trace(framework, directory / "work", args, disk.OPTIONS))
    return Step(args, before, frameworks.state(framework), pairs, rejected)


def violation(chain: Chain, left: disk.Left) -> str:
    """The violation in a state, or the empty string."""
    if not left.running:
        done = chain.steps[left.answers - 1].after if left.answers else chain.steps[0].before
        return "" if left.files == done else "the run had answered, but the disk has other contents"
    step = chain.steps[left.answers]
    live = frameworks.live(left.files)
    if step.keeps_live_files and live not in step.pairs:
        return "a run that keeps the live files has changed them"
    if not judge.is_whole(step.pairs, left.files):
        return "no matching pair"
    if _hides_torn_file(step, left.files):
        return "a live file is cut, and its working copy is cut alike"
    if step.commits and not step.keeps_live_files:
        return _lost_session(step, left.files, live)
    return ""


def _hides_torn_file(step: Step, files: disk.Files) -> bool:
    """Whether a torn live file equals its working copy, as if the session had found it in that state."""
    whole = step.pairs | step.whole
    return any(files.get(name) is not None and files.get(name) == files.get(f"{name}.tmp")
               and files.get(name) not in {pair[index] for pair in whole}
               for index, name in enumerate((frameworks.CONFIGURATION, frameworks.LIST)))


def _lost_session(step: Step, files: disk.Files, live: frameworks.Pair) -> str:
    if files.get(SESSION) not in (step.before[SESSION], None):
        return "the queue is damaged"
    over = SESSION not in files or LOCK not in files
    # A rejected commit ends its session before it restores the previous files.
    if over and not step.rejected and live == frameworks.live(step.before):
        return "the session is over, but its commit is not done"
    return "" if not over or step.rejected or live in step.pairs else "the session is over in the middle of its commit"


def case(chain: Chain, left: disk.Left) -> recovery.Case:
    """The recovery case of a state: the live files and the backups that are allowed after it."""
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
    """The violations in the states of a modified trace."""
    for model in disk.MODELS:
        for left in disk.states(trace, model, EVERY):
            if found := violation(chain, left):
                yield f"{model}: {found}"


def run(key: str, scenario: Scenario, size: str, limit: int) -> dict[str, Any]:
    """Judge and recover all states of a run and of the chains that begin with it; return the record for the journal."""
    outcomes: Counter[str] = Counter()
    violations = []
    tried: set[bytes] = set()
    for plan in plans(size):
        if plan.scenario != scenario:
            continue
        with frameworks.scratch() as directory:
            chain = record(plan, size, directory)
            bad: list[str] = []
            for outcome, wrong in recovery.recover_all(chain.framework, _cases(chain, limit, tried, bad)):
                if wrong:
                    bad.append(wrong)
                else:
                    outcomes[outcome] += 1
            outcomes.update(bad)
            violations += [f"{plan.name}: {wrong}" for wrong in bad]
    return {"key": key, "fault": FAULT, "outcomes": outcomes, "violations": violations}


def _cases(chain: Chain, limit: int, tried: set[bytes], bad: list[str]) -> Iterator[recovery.Case]:
    """The recovery cases of a chain that are not in ``tried`` yet; adds them there, and violations to ``bad``."""
    for model in disk.MODELS:
        for left in disk.states(chain.trace, model, limit):
            if wrong := violation(chain, left):
                bad.append(wrong)
                continue
            found = case(chain, left)
            digest = found.digest()
            if digest not in tried:
                tried.add(digest)
                yield found
