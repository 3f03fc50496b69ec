#!/usr/bin/python3
"""Measure the tool against its baselines; print the tables, then the targets.

The baselines: an empty application on the same libraries, the floor (the library calls that the work needs), and the
scripts that an administrator would write instead.  Every figure is a ratio of two measurements of this run.
"""
from __future__ import annotations

import argparse
import copy
import dataclasses
import math
import os
import re
import shutil
import subprocess
import sys
import tempfile
from collections.abc import Callable, Iterable, Iterator, Sequence
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests" / "support"))

from measure import PROJECT, Bench, new_bench, shares  # noqa: E402 (path set above)
from workload import Case, Framework  # noqa: E402

COMPETITORS = PROJECT / "bench" / "competitors"

IDLE = Case("status, no session", "`--status` without a session", command="status", runs=120)
SMALL = Case("1 + 10", "1 addition, 10 handlers", actions=1, runs=120)
MEDIUM = Case("1 + 1000", "1 addition, 1,000 handlers", handlers=1000, actions=1, runs=30)
LARGE = Case("100 + 1000", "100 additions, 1,000 handlers", handlers=1000, actions=100, runs=6)
HUGE = Case("100 + 3000", "100 additions, 3,000 handlers", handlers=3000, actions=100, runs=3)
REMOVAL = Case("100 - 1000", "100 removals, 1,000 handlers", handlers=1000, actions=100, remove=True, runs=6)
LIST = Case("long list", "1 addition, 10 handlers, a list of 100,000 lines", actions=1, list_lines=100_000)
STATUS = Case("status 1000", "`--status`, 1,000 queued actions", actions=1000, command="status")
STAGING = Case("stage 1000th", "staging the 1,000th action", actions=999, command="stage")
SHOW = Case("show", "`show`, 1,000 handlers and models", handlers=1000, list_lines=1000, command="show")
CASES = (IDLE, SMALL, MEDIUM, LARGE, HUGE, REMOVAL, LIST, STATUS, STAGING)
QUICK = (IDLE, SMALL, MEDIUM, LIST, STATUS, STAGING)
PORTABLE = (IDLE, SMALL, LARGE)
ROUNDS = 3
GROWTH = (10, 30, 100, 300, 1000, 3000, 10000)


@dataclasses.dataclass
class Figures:
    """The measurements of one program in one case; instructions are not counted for the competitors."""

    wall: float
    memory: int
    instructions: int = 0


Table = dict[tuple[str, str], Figures]


def native_architecture() -> str:
    """Debian's name of this machine's architecture."""
    return subprocess.run(["dpkg", "--print-architecture"], capture_output=True, text=True, check=True).stdout.strip()


class Runner:
    """Runs all contenders through all cases."""

    def __init__(self, build: Path, bench: Bench):
        self.tool = build / "qor_mim_tool"
        self.portable = PROJECT / "build" / "portable" / native_architecture() / "sbin" / "qor_mim_tool"
        self.companion = build / "qor_mim_ctl"
        self.empty = build / "bench" / "empty_application"
        self.floor = build / "bench" / "commit_floor"
        self.bench = bench

    def framework(self, case: Case) -> Framework:
        """A new framework for one measurement."""
        return Framework(Path(tempfile.mkdtemp(dir=self.bench.scratch)), case)

    def contenders(self, case: Case, edits: Path) -> Iterator[tuple[str, list[str]]]:
        """The names and commands.  The floor of an idle run is the empty application."""
        yield "tool", [str(self.tool), *case.tool_arguments()]
        if case in PORTABLE:
            yield "portable", [str(self.portable), *case.tool_arguments()]
        yield "empty", [str(self.empty)]
        if case.actions:
            yield "floor", [str(self.floor), *case.floor_arguments()]
        if case.edits_document:
            yield "xmlstarlet", [str(COMPETITORS / "xmlstarlet_edit"), str(edits)]
            yield "python3", [str(COMPETITORS / "elementtree_edit"), str(edits)]
            if case.actions > 1:
                yield "python3, each", [str(COMPETITORS / "elementtree_edit"), str(edits), "--write-each"]
            yield "augtool", [str(COMPETITORS / "augtool_edit"), str(edits)]

    def measure(self, case: Case, progress: Callable[[str], None]) -> Table:
        """Check the result of every contender, and measure its wall time and memory."""
        framework = self.framework(case)
        contenders = dict(self.contenders(case, framework.edits))
        table: Table = {}
        for name, command in contenders.items():
            progress(f"{case.title}: {name}")
            memory = self.bench.peak_memory(framework, command)
            if case.edits_document and name != "empty" and framework.result() != framework.expected():
                raise SystemExit(f"{case.title}: the result of {name} is wrong")
            table[case.name, name] = Figures(math.inf, memory)
        # In rounds, so that a busy minute affects all contenders.
        for name in [*contenders] * ROUNDS:
            progress(f"{case.title}: time of {name}")
            figures = table[case.name, name]
            figures.wall = min(figures.wall, self.bench.wall_time(framework, contenders[name], case.runs // ROUNDS))
        shutil.rmtree(framework.directory.parent)
        return table

    def count(self, case: Case, name: str) -> int:
        """The instructions of one contender."""
        return self._alone(case, name, self.bench.instructions)

    def memory(self, case: Case, name: str) -> int:
        """The peak memory of one contender."""
        return self._alone(case, name, self.bench.peak_memory)

    def _alone(self, case: Case, name: str, measurement: Callable[[Framework, Sequence[str]], int]) -> int:
        framework = self.framework(case)
        result = measurement(framework, dict(self.contenders(case, framework.edits))[name])
        shutil.rmtree(framework.directory.parent)
        return result

    def show(self) -> float:
        """The instructions of the companion's ``show`` over those of parsing the same files."""
        return self._count(SHOW, [str(self.companion), "show"]) / self._count(SHOW, [str(self.floor), "show"])

    def apply(self, handlers: int) -> float:
        """The instructions of ``apply`` of one action over those of staging and committing it with the tool."""
        apply = Case("apply", "", handlers=handlers, command="apply")
        steps = (Case("stage", "", handlers=handlers, command="stage"),
                 Case("commit", "", handlers=handlers, actions=1))
        return (self._count(apply, [str(self.companion), "apply", *apply.apply_arguments()])
                / sum(self._count(step, [str(self.tool), *step.tool_arguments()]) for step in steps))

    def _count(self, case: Case, command: Sequence[str]) -> int:
        framework = self.framework(case)
        result = self.bench.instructions(framework, command)
        shutil.rmtree(framework.directory.parent)
        return result

    def durability(self, case: Case) -> tuple[float, float]:
        """The seconds of a commit on the frameworks' file system, with syncs and without."""
        framework = self.framework(case)
        command = [str(self.tool), *case.tool_arguments()]
        kept, dropped = (self.bench.wall_time(framework, ["env", setting, *command], case.runs)
                         for setting in ("LD_PRELOAD=", "LD_PRELOAD=libeatmydata.so"))
        shutil.rmtree(framework.directory.parent)
        return kept, dropped

    def growth(self) -> Iterator[tuple[int, ...]]:
        """The instructions of a commit of one action by number of handlers: of the tool, then of the floor."""
        cases = [Case(f"growth {handlers}", "", handlers=handlers, actions=1) for handlers in GROWTH]
        names = ("tool", "floor")
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            counts = list(pool.map(lambda job: self.count(*job), [(case, name) for name in names for case in cases]))
        return zip(GROWTH, counts[:len(cases)], counts[len(cases):])

    def profile(self, case: Case) -> dict[str, float]:
        """The shares of the tool's instructions by part."""
        framework = self.framework(case)
        command = [str(self.tool), *case.tool_arguments()]
        return shares(self.bench.profile(framework, command), self.tool)


def progress(text: str) -> None:
    """Show the progress."""
    if sys.stderr.isatty():
        sys.stderr.write(f"\r\033[K{text}")
        sys.stderr.flush()


def measure_all(runner: Runner, cases: Sequence[Case]) -> Table:
    """Measure wall times sequentially, then count instructions in parallel, since load does not change them."""
    table: Table = {}
    for case in cases:
        table.update(runner.measure(case, progress))
    jobs = [(case, name) for case in cases for name in ("tool", "portable", "empty", "floor")
            if (case.name, name) in table]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for (case, name), count in zip(jobs, pool.map(lambda job: runner.count(*job), jobs)):
            progress(f"{case.title}: instructions of {name}")
            table[case.name, name].instructions = count
    progress("")
    return table


# --- the table

COLUMNS = (("wall", "empty"), ("wall", "floor"), ("wall", "xmlstarlet"), ("wall", "python3"),
           ("wall", "python3, each"), ("wall", "augtool"), ("instructions", "empty"), ("instructions", "floor"),
           ("memory", "floor"))
PORTABLE_COLUMNS = (("wall", "empty"), ("wall", "tool"), ("instructions", "empty"), ("instructions", "tool"),
                    ("instructions", "floor"), ("memory", "tool"))
HEADS = {"wall": "time", "instructions": "instr.", "memory": "memory"}


def ratio(table: Table, case: Case, what: str, other: str, program: str = "tool") -> float | None:
    """A program's figure over another's; None if the other was not measured."""
    if (case.name, other) not in table:
        return None
    return getattr(table[case.name, program], what) / getattr(table[case.name, other], what)


def rows(table: Table, cases: Sequence[Case], program: str,
         columns: Sequence[tuple[str, str]]) -> Iterator[list[str]]:
    """The cells of a program's table."""
    yield [f"the {program} against", *(f"{HEADS[what]} / {other}" for what, other in columns)]
    for case in cases:
        ratios = [ratio(table, case, what, other, program) for what, other in columns]
        yield [case.title,
               *("" if value is None else f"{value:.3f}" if value < 10 else f"{value:.1f}" for value in ratios)]


def print_table(lines: Sequence[Sequence[str]]) -> None:
    """Print a Markdown table with aligned columns."""
    widths = [max(len(line[column]) for line in lines) for column in range(len(lines[0]))]
    for index, line in enumerate(lines):
        cells = [cell.ljust(width) if column == 0 else cell.rjust(width)
                 for column, (cell, width) in enumerate(zip(line, widths))]
        print("| " + " | ".join(cells) + " |")
        if index == 0:
            print("|" + "|".join("-" * (width + 2) if column == 0 else "-" * (width + 1) + ":"
                                 for column, width in enumerate(widths)) + "|")


# --- the targets


def targets(table: Table, cases: Sequence[Case]) -> Iterator[tuple[str, float, float]]:
    """The targets: a description, the value, and its maximum."""
    def instructions(case: Case, name: str) -> int:
        return table[case.name, name].instructions

    idle, empty = instructions(IDLE, "tool"), instructions(IDLE, "empty")
    yield "instructions, idle status / empty application", idle / empty, 1.05
    unavoidable = instructions(SMALL, "floor") - empty
    yield ("instructions, 1 addition over 10 handlers / (1.15 empty applications + the floor's work)",
           instructions(SMALL, "tool") / (1.15 * empty + unavoidable), 1.0)
    if LARGE in cases:
        yield ("instructions, 100 additions over 1,000 handlers / floor",
               instructions(LARGE, "tool") / instructions(LARGE, "floor"), 1.10)
        yield ("instructions, 3,000 handlers / 1,000 handlers",
               instructions(HUGE, "tool") / instructions(LARGE, "tool"), 3.2)
    for case in cases:
        memory = ratio(table, case, "memory", "floor")
        if memory is not None:
            yield f"memory, {case.title} / floor", memory, 1.10
    for case in cases:
        # Compare with the Python script that writes as often as the commit.
        python = "python3" if case.actions == 1 else "python3, each"
        for other in (python, "augtool", *(["xmlstarlet"] if case is SMALL else [])):
            wall = ratio(table, case, "wall", other)
            if wall is not None:
                yield f"time, {case.title} / {other}", wall, 1.0
    yield ("instructions, idle status of the portable program / empty application",
           instructions(IDLE, "portable") / empty, 0.15)
    if LARGE in cases:
        yield ("instructions, 100 additions over 1,000 handlers of the portable program / floor",
               instructions(LARGE, "portable") / instructions(LARGE, "floor"), 0.90)


def companion_targets(runner: Runner) -> Iterator[tuple[str, float, float]]:
    """The targets of the companion, in the same form."""
    yield "instructions, show of 1,000 handlers and models / parsing them", runner.show(), 1.5
    for handlers in (10, 1000):
        yield (f"instructions, apply of 1 addition over {handlers:,} handlers / staging and commit of the tool",
               runner.apply(handlers), 1.3)


def durability(runner: Runner) -> str:
    """The cost of syncs on the file system of the build directory."""
    with new_bench(PROJECT / "build") as bench:
        on_disk = copy.copy(runner)
        on_disk.bench = bench
        kept, dropped = on_disk.durability(SMALL)
        kind = subprocess.run(["stat", "--file-system", "--format=%T", bench.scratch], capture_output=True, text=True,
                              check=True).stdout.strip()
    return (f"{SMALL.title}, on a disk ({kind}): {kept / dropped:.3f} times as long as without syncs, "
            f"{1000 * (kept - dropped):.1f} ms more")


def faster_scripts(table: Table, cases: Sequence[Case]) -> Iterator[str]:
    """The cases where a script that writes once is faster than the commit."""
    for case in cases:
        for script in ("python3", "xmlstarlet"):
            wall = ratio(table, case, "wall", script)
            if wall is not None and wall > 1:
                yield f"a script with {script} that writes once is {wall:.1f} times as fast: {case.title}"


LIBRARIES = {"libPocoUtil", "libPocoXML", "libPocoFoundation", "libstdc++", "libgcc_s", "libc"}


def stray_libraries(program: Path) -> int:
    """The number of libraries that only LIBRARIES or only the program names."""
    dynamic = subprocess.run(["readelf", "--dynamic", "--wide", str(program)], capture_output=True, text=True,
                             check=True).stdout
    return len(LIBRARIES ^ set(re.findall(r"\(NEEDED\).*\[(.*?)\.so", dynamic)))


def print_targets(table: Table, cases: Sequence[Case], runner: Runner) -> bool:
    """Print one line for each target; return whether all are met."""
    missed = 0
    for description, value, limit in [*targets(table, cases), *companion_targets(runner),
                                      ("libraries that are missing or unexpected", stray_libraries(runner.tool), 0)]:
        met = value <= limit
        missed += not met
        print(f"{'met   ' if met else 'MISSED'}  {value:6.3f} of {limit:.2f}  {description}")
    return missed == 0


def sizes(runner: Runner) -> Iterator[str]:
    """The sizes of the stripped programs."""
    for name, program in (("tool", runner.tool), ("portable", runner.portable)):
        stripped = runner.bench.scratch / "stripped"
        subprocess.run(["strip", "-o", str(stripped), str(program)], check=True)
        yield f"size of the {name}: {stripped.stat().st_size:,} bytes"


# --- the curve


def draw_growth(curve: Iterable[tuple[int, ...]], data: Path, picture: Path) -> None:
    """Draw the curve with gnuplot, which reads it from the file ``data``."""
    data.write_text("".join(" ".join(map(str, point)) + "\n" for point in curve), encoding="ascii")
    subprocess.run(["gnuplot", "-e", f"data='{data}'; picture='{picture}'",
                    str(PROJECT / "bench" / "growth.gnuplot")], check=True)


# --- two builds of the tool


def compare(runner: Runner, other: Path) -> Iterator[list[str]]:
    """The cells of a table: this build against the tool at ``other``."""
    rival = copy.copy(runner)
    rival.tool = other.absolute()
    yield ["this build against the other", "instr.", "memory"]
    for case in (IDLE, SMALL, MEDIUM, LARGE):
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            ours, theirs = pool.map(lambda one: one.count(case, "tool"), (runner, rival))
        memory = runner.memory(case, "tool") / rival.memory(case, "tool")
        yield [case.title, f"{ours / theirs:.3f}", f"{memory:.3f}"]


# --- command line


def run_operations(runner: Runner, build: Path, arguments: Sequence[str]) -> None:
    """Run the benchmark of single operations in a new framework."""
    framework = runner.framework(SMALL)
    subprocess.run(runner.bench.sandbox(framework, [str(build / "bench" / "operations"), *arguments]), check=True)


def arguments() -> argparse.Namespace:
    """The parsed command line."""
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__.splitlines()[0], allow_abbrev=False)
    parser.add_argument("--build", type=Path, default=PROJECT / "build" / "bench")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--profile", action="store_true")
    parser.add_argument("--growth", type=Path)
    parser.add_argument("--against", type=Path)
    parser.add_argument("--operations", nargs=argparse.REMAINDER)
    parser.add_argument("--directory", type=Path, default=Path("/dev/shm"))
    return parser.parse_args()


def main() -> int:
    """The command line's entry."""
    wanted = arguments()
    with new_bench(wanted.directory) as bench:
        runner = Runner(wanted.build.absolute(), bench)
        if wanted.operations is not None:
            run_operations(runner, wanted.build.absolute(), wanted.operations)
        elif wanted.profile:
            print_table([["a commit of 100 additions over 1,000 handlers", "share"],
                         *([part, f"{share:.1%}"] for part, share in runner.profile(LARGE).items())])
        elif wanted.against is not None:
            print_table(list(compare(runner, wanted.against)))
        elif wanted.growth is not None:
            draw_growth(runner.growth(), bench.scratch / "growth", wanted.growth)
        else:
            cases = QUICK if wanted.quick else CASES
            table = measure_all(runner, cases)
            print_table(list(rows(table, cases, "tool", COLUMNS)))
            print()
            print_table(list(rows(table, [case for case in cases if case in PORTABLE], "portable", PORTABLE_COLUMNS)))
            print()
            met = print_targets(table, cases, runner)
            print("", *faster_scripts(table, cases), durability(runner), *sizes(runner), sep="\n")
            return 0 if met else 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
