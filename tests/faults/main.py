#!/usr/bin/python3
"""The fault sweep: every system call and every allocation of the tool fails once.

Results go into a journal beside the build, so that an interrupted sweep goes on where it was.  The journal belongs to
one build of the program; another one begins anew.
"""
from __future__ import annotations

import argparse
import hashlib
import json
import os
import sys
import tempfile
from collections import Counter
from collections.abc import Callable, Iterable, Iterator, Sequence
from concurrent.futures import ProcessPoolExecutor, as_completed
from pathlib import Path
from typing import Any

import allocations
import calls
import frameworks
import full_disk
import recovery
import sandbox
import sweep

JOURNALS = sandbox.PROJECT / "build" / "faults"
QUICK_STEP = 29
"""The short form takes every so manieth case."""
LARGE_ALLOCATION_STEP = 499
"""A large document makes allocations by the ten thousand, all alike."""
LARGE = ("stage-new", "commit", "rollback-session", "rollback-commit")
"""One run of each kind with the large document; the others differ from these in their steps, not in their copying."""

Job = tuple[str, Callable[..., dict[str, Any]], tuple[Any, ...]]


def _arguments(argv: Sequence[str]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="scripts/faults", description=__doc__.splitlines()[0], allow_abbrev=False)
    parser.add_argument("--quick", action="store_true",
                        help=f"every {QUICK_STEP}th case of the small documents, without a journal")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="runs at a time (default: one for each core)")
    return parser.parse_args(argv)


class Journal:
    """What is known already, by case; every result is written at once."""

    def __init__(self, path: Path | None):
        self._path = path
        self.records: dict[str, dict[str, Any]] = {}
        if path is not None and path.exists():
            for line in path.read_text(encoding="utf-8").splitlines():
                record = json.loads(line)
                self.records[record["key"]] = record

    def add(self, record: dict[str, Any]) -> None:
        """Keep one result."""
        self.records[record["key"]] = record
        if self._path is not None:
            self._path.parent.mkdir(parents=True, exist_ok=True)
            with self._path.open("a", encoding="utf-8") as file:
                file.write(json.dumps(record) + "\n")


def _journal_path() -> Path:
    digest = hashlib.sha256(sandbox.tool_path().read_bytes())
    for source in sorted(sweep.HERE.glob("*.py")):
        digest.update(source.read_bytes())
    digest.update(recovery.rules().encode())
    return JOURNALS / f"{digest.hexdigest()[:16]}.jsonl"


def _scenarios(quick: bool) -> Iterator[tuple[frameworks.Scenario, str]]:
    for size in ["small"] if quick else list(frameworks.SIZES):
        for scenario in frameworks.SCENARIOS:
            if size == "small" or scenario.name in LARGE:
                yield scenario, size


def _jobs(prepared: frameworks.Prepared, quick: bool) -> list[Job]:
    jobs: list[Job] = [(case.key, sweep.run, (prepared, case)) for case in sweep.cases(prepared)]
    step = LARGE_ALLOCATION_STEP if prepared.size == "large" else 1
    numbers = list(allocations.keys(prepared))[::step]
    jobs += [(key, allocations.run, (prepared, key, number)) for key, number in numbers]
    return jobs[::QUICK_STEP] if quick else jobs


def _run_all(jobs: Iterable[Job], journal: Journal, workers: int) -> None:
    with ProcessPoolExecutor(workers) as pool:
        futures = [pool.submit(function, *args) for key, function, args in jobs if key not in journal.records]
        for future in as_completed(futures):
            record = future.result()
            journal.add(record)
            for violation in record["violations"]:
                print(f"VIOLATION {record['key']}: {violation}", flush=True)


def _run_disks(prepared: frameworks.Prepared, journal: Journal) -> None:
    """Disk sizes depend on one another and are few: one after the other, anew each time."""
    for record in full_disk.run(prepared):
        journal.add(record)
        for violation in record["violations"]:
            print(f"VIOLATION {record['key']}: {violation}", flush=True)


def _count(records: Iterable[dict[str, Any]], chosen: Callable[[dict[str, Any]], bool]) -> int:
    return sum(1 for record in records if chosen(record))


COLUMNS: dict[str, Callable[[dict[str, Any]], bool]] = {
    "runs": lambda record: True,
    "killed": lambda record: record["fault"] == calls.KILL,
    "recovered": lambda record: record["fault"] == calls.KILL and not record["violations"],
    "failed calls": lambda record: record["fault"] not in (calls.KILL, "allocation", "full disk"),
    "failed allocations": lambda record: record["fault"] == "allocation",
    "full disks": lambda record: record["fault"] == "full disk",
    "hangs": lambda record: record["outcome"] == "hang",
    "violations": lambda record: bool(record["violations"]),
}


def _row(cells: Iterable[object]) -> str:
    return "| " + " | ".join(str(cell) for cell in cells) + " |"


def _print_tables(per_scenario: dict[str, tuple[int, list[dict[str, Any]]]]) -> None:
    print(_row(["run / document", "system calls", *COLUMNS]))
    print(_row(["---"] * (len(COLUMNS) + 2)))
    for name, (number, records) in per_scenario.items():
        print(_row([name, number, *(_count(records, chosen) for chosen in COLUMNS.values())]))
    everything = [record for _, records in per_scenario.values() for record in records]
    total = sum(number for number, _ in per_scenario.values())
    print(_row(["all", total, *(_count(everything, chosen) for chosen in COLUMNS.values())]))
    outcomes = Counter((record["outcome"], _kind(record)) for record in everything)
    kinds = ["killed", "failed call", "failed allocation", "full disk"]
    print("\n" + _row(["how it ended", *kinds]))
    print(_row(["---"] * (len(kinds) + 1)))
    for outcome in sorted({outcome for outcome, _ in outcomes}):
        print(_row([outcome, *(outcomes[outcome, kind] for kind in kinds)]))


def _kind(record: dict[str, Any]) -> str:
    names = {calls.KILL: "killed", "allocation": "failed allocation", "full disk": "full disk"}
    return names.get(record["fault"], "failed call")


def main(argv: Sequence[str]) -> int:
    """Sweep, print the tables, and tell by the status whether all went well."""
    wanted = _arguments(argv)
    if sandbox.find_launcher() != "bwrap":
        print("left out: where proot stands in for bubblewrap, nothing else can trace the program")
        return 0
    journal = Journal(None if wanted.quick else _journal_path())
    disks = full_disk.possible()
    if not disks:
        print("no file system can be mounted here: full disks are left out")
    per_scenario: dict[str, tuple[int, list[dict[str, Any]]]] = {}
    with tempfile.TemporaryDirectory(prefix="qmt-", dir=sweep.scratch_root()) as directory:
        for scenario, size in _scenarios(wanted.quick):
            prepared = frameworks.prepare(scenario, size, Path(directory))
            jobs = _jobs(prepared, wanted.quick)
            _run_all(jobs, journal, wanted.jobs)
            if disks:
                _run_disks(prepared, journal)
            own = [record for key, record in journal.records.items() if key.startswith(prepared.name + "/")]
            swept = len({key.split("/")[2] for key in (record["key"] for record in own) if ":" in key})
            per_scenario[prepared.name] = (swept, own)
            if not wanted.quick:
                print(f"{prepared.name}: {len(own)} runs", file=sys.stderr, flush=True)
    _print_tables(per_scenario)
    return 1 if any(record["violations"] for _, records in per_scenario.values() for record in records) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
