#!/usr/bin/python3
"""The fault sweep: failing system calls and allocations, power cuts, concurrent runs.

Results go into a journal below build/, so that an interrupted sweep resumes.  Each build of the program has its own
journal.
"""
from __future__ import annotations

import argparse
import hashlib
import json
import os
import sys
from collections import Counter
from collections.abc import Callable, Iterable, Iterator, Sequence
from concurrent.futures import ProcessPoolExecutor, as_completed
from pathlib import Path
from typing import Any

import allocations
import companion
import calls
import cuts
import frameworks
import full_disk
import races
import sandbox
import sweep

JOURNALS = sandbox.PROJECT / "build" / "faults"
QUICK_STEP = 101
QUICK_PLAN_STEP = 5
QUICK_ORDER_STEP = 29
"""The quick sweep takes every n-th case, pair of commands, and order of two runs."""
QUICK_STATES = 3
"""The quick sweep's number of states after a power cut at one moment of a run."""
LARGE_ALLOCATION_STEP = 499
"""With a large document, a commit makes tens of thousands of similar allocations."""
LARGE = ("stage-new", "commit", "rollback-session", "rollback-commit")
"""One run of each kind with the large document; the others copy files in the same way."""
FURTHER_ORDERS = 60
"""The number of orders with several turns for each pair of commands."""

SHOWN = 3
"""The number of violations printed for one case."""

PARTS = (KILLS := "kills", CUTS := "cuts")
KINDS = (KILLED := "killed at a system call", CALL := "a system call fails", "allocation fails", "full disk",
         cuts.FAULT, "two runs at once")
"""The rows of the table."""

Record = dict[str, Any]
Job = tuple[str, Callable[..., Record], tuple[Any, ...]]


def _arguments(argv: Sequence[str]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="scripts/faults", description=__doc__.splitlines()[0], allow_abbrev=False)
    parser.add_argument("--quick", action="store_true", help="a sample, with the small documents, without a journal")
    parser.add_argument("--only", choices=PARTS, help="one part of the sweep: killed at every call, or power cuts")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="runs at a time (default: one for each core)")
    return parser.parse_args(argv)


class Journal:
    """The results so far, by case; each is written immediately."""

    def __init__(self, path: Path | None):
        self._path = path
        self.records: dict[str, Record] = {}
        if path is not None and path.exists():
            for line in path.read_text(encoding="utf-8").splitlines():
                record = json.loads(line)
                self.records[record["key"]] = record

    def add(self, record: Record) -> None:
        """Record one result."""
        self.records[record["key"]] = record
        if self._path is not None:
            self._path.parent.mkdir(parents=True, exist_ok=True)
            with self._path.open("a", encoding="utf-8") as file:
                file.write(json.dumps(record) + "\n")


def _journal_path() -> Path:
    digest = hashlib.sha256(sandbox.tool_path().read_bytes() + companion.companion_path().read_bytes())
    for source in sorted(sweep.HERE.glob("*.py")):
        digest.update(source.read_bytes())
    for source in sorted((sandbox.SUPPORT / "preload").iterdir()):
        digest.update(source.read_bytes())
    return JOURNALS / f"{digest.hexdigest()[:16]}.jsonl"


def _scenarios(quick: bool) -> Iterator[tuple[frameworks.Scenario, str]]:
    for size in ["small"] if quick else list(frameworks.SIZES):
        for scenario in frameworks.SCENARIOS:
            if size == "small" or scenario.name in LARGE:
                yield scenario, size


def _sweep_jobs(prepared: frameworks.Prepared, quick: bool, kills: bool) -> list[Job]:
    jobs: list[Job] = [(case.key, sweep.run, (prepared, case)) for case in sweep.cases(prepared)
                       if not kills or case.fault == calls.KILL]
    if kills:
        return jobs
    step = LARGE_ALLOCATION_STEP if prepared.size == "large" else 1
    numbers = list(allocations.keys(prepared))[::step]
    jobs += [(key, allocations.run, (prepared, key, number)) for key, number in numbers]
    return jobs[::QUICK_STEP] if quick else jobs


def _cut_jobs(quick: bool) -> Iterator[Job]:
    for size in ["small"] if quick else frameworks.SIZES:
        limit = QUICK_STATES if quick else cuts.EVERY
        for scenario in dict.fromkeys(plan.scenario for plan in cuts.plans(size)):
            key = f"{scenario.name}/{size}/cuts"
            yield key, cuts.run, (key, scenario, size, limit)


def _race_jobs(quick: bool) -> Iterator[Job]:
    for plan in list(races.plans())[::QUICK_PLAN_STEP if quick else 1]:
        yield plan.name, races.run, (plan.name, plan, FURTHER_ORDERS, QUICK_ORDER_STEP if quick else 1)


class Report:
    """All results, and the table of them."""

    def __init__(self, journal: Journal):
        self._journal = journal
        self.records: list[Record] = []

    def add(self, record: Record) -> None:
        """Add a new record, to the journal too."""
        self._journal.add(record)
        self._take(record)

    def run(self, jobs: Iterable[Job], workers: int) -> None:
        """Run the jobs that have no record in the journal."""
        with ProcessPoolExecutor(workers) as pool:
            futures = []
            for key, function, args in jobs:
                if key in self._journal.records:
                    self._take(self._journal.records[key])
                else:
                    futures.append(pool.submit(function, *args))
            for future in as_completed(futures):
                self.add(future.result())

    def _take(self, record: Record) -> None:
        self.records.append(record)
        for violation in record["violations"][:SHOWN]:
            print(f"VIOLATION {record['key']}: {violation}", flush=True)

    def table(self) -> str:
        """The table of outcomes, in Markdown."""
        lines = ["| fault | cases | violations | outcomes |", "|---|---|---|---|"]
        for kind in KINDS:
            chosen = [record for record in self.records if _kind(record["fault"]) == kind]
            if not chosen:
                continue
            outcomes: Counter[str] = Counter()
            for record in chosen:
                outcomes.update(record.get("outcomes") or {record["outcome"]: 1})
            violations = sum(len(record["violations"]) for record in chosen)
            summary = "; ".join(f"{count:,} {outcome}" for outcome, count in outcomes.most_common())
            lines.append(f"| {kind} | {sum(outcomes.values()):,} | {violations} | {summary} |")
        return "\n".join(lines)


def _kind(fault: str) -> str:
    return KILLED if fault == calls.KILL else fault if fault in KINDS else CALL


def _sweep(report: Report, wanted: argparse.Namespace) -> None:
    disks = wanted.only is None and full_disk.can_mount()
    if not wanted.only and not disks:
        print("skipped: full disks, since no file system can be mounted here")
    with frameworks.scratch() as directory:
        for scenario, size in _scenarios(wanted.quick):
            prepared = frameworks.prepare(scenario, size, directory)
            report.run(_sweep_jobs(prepared, wanted.quick, wanted.only == KILLS), wanted.jobs)
            if disks:
                # Each run decides whether there is a next one. They are few, so they are not looked up in the journal.
                for record in full_disk.run(prepared):
                    report.add(record)
            print(f"{prepared.name}: done", file=sys.stderr, flush=True)


def main(argv: Sequence[str]) -> int:
    """Sweep and print the table; return 1 if there are violations."""
    wanted = _arguments(argv)
    if sandbox.find_launcher() != "bwrap":
        print("skipped: the sandbox is proot, which traces the program, so that nothing else can")
        return 0
    report = Report(Journal(None if wanted.quick else _journal_path()))
    if wanted.only != CUTS:
        _sweep(report, wanted)
    # Not part of the quick sweep: the tests cover the single runs.
    if wanted.only == CUTS or not (wanted.only or wanted.quick):
        report.run(_cut_jobs(wanted.quick), wanted.jobs)
        print("power cuts: done", file=sys.stderr, flush=True)
    if not wanted.only:
        report.run(_race_jobs(wanted.quick), wanted.jobs)
    print(report.table())
    return 1 if any(record["violations"] for record in report.records) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
