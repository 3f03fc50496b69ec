#!/usr/bin/python3
"""Mutation testing: make small faults in the program, one at a time, and count those that the tests detect.

A mutant is compiled, linked with the other objects, and tested: first by the unit tests of its source file, then by all
unit tests.  Survivors go to the end-to-end tests.  Results are cached in build/mutation/results.json; they are valid

  killed      while the mutated file and the file of the test that killed it are unchanged
  survived    while all sources and all tests are unchanged
"""
from __future__ import annotations

import argparse
import concurrent.futures
import dataclasses
import functools
import hashlib
import json
import os
import random
import re
import resource
import shlex
import shutil
import subprocess
import sys
import threading
from collections import Counter
from pathlib import Path
from typing import Any

from mutants import Mutant, mutants_of

PROJECT = Path(__file__).resolve().parents[2]
HOME = PROJECT / "build" / "mutation"
RESULTS = HOME / "results.json"
FOLDERS = tuple((PROJECT / "cmake" / "SourceFolders.txt").read_text(encoding="utf-8").split())
UNIT = PROJECT / "tests" / "unit"
END_TO_END = PROJECT / "tests" / "e2e"
SUPPORT = PROJECT / "tests" / "support"
# End-to-end tests that do not test the program, and two that take longer than all others together.  Without these two,
# a few more mutants may survive.
OTHER_TESTS = (
    "test_completion.py",
    "test_hardening.py",
    "test_hostile_input.py",
    "test_manual.py",
    "test_sandbox.py",
    "test_sanitizers_in_sandbox.py",
    "test_signals_and_streams.py",
)

MARK = 95.5
# Seconds of processor time, so that a busy machine kills no mutant; and of wall time, for a mutant that waits.
UNIT_CPU, UNIT_CLOCK = 30, 120
END_TO_END_CLOCK = 1800
MEMORY = 1 << 30

# The programs and their main sources. The other sources form one library.
ENTRIES = {"qor_mim_tool": "app/main.cpp", "qor_mim_ctl": "ctl/main.cpp"}

KILLED = ("killed by unit tests", "killed by end-to-end tests")
SURVIVED = "survived"
NOT_COMPILED = "not compiled"


def digest(*paths: Path) -> str:
    total = hashlib.sha256()
    for path in sorted(paths):
        total.update(str(path.relative_to(PROJECT)).encode() + b"\0" + path.read_bytes() + b"\0")
    return total.hexdigest()[:16]


def files_of(folder: Path) -> list[Path]:
    return [path for path in folder.rglob("*") if path.is_file() and "__pycache__" not in path.parts]


def sources() -> list[str]:
    return [str(path.relative_to(PROJECT)) for folder in FOLDERS for path in sorted((PROJECT / folder).glob("*.cpp"))]


def headers() -> list[str]:
    return [str(path.relative_to(PROJECT)) for folder in FOLDERS for path in sorted((PROJECT / folder).glob("*.h"))]


# --- building ------------------------------------------------------------------------------------------------------


class Toolchain:
    """Compiles and links like the debug preset, without warnings and debug information."""

    def __init__(self) -> None:
        preset = PROJECT / "build" / "debug" / "compile_commands.json"
        self.commands = {}
        for entry in json.loads(preset.read_text(encoding="utf-8")):
            self.commands[str(Path(entry["file"]).relative_to(PROJECT))] = self._plain(shlex.split(entry["command"]))

    @staticmethod
    def _plain(command: list[str]) -> list[str]:
        if Path(command[0]).name == "ccache":
            command = command[1:]
        plain, skip = [], False
        for word in command:
            if skip or word in ("-o", "-MF", "-MT", "-c"):
                skip = not skip and word in ("-o", "-MF", "-MT")
            elif not word.startswith(("-W", "-g", "-MD", "-fPI", "-O")) and not word.endswith(".cpp"):
                plain.append(word)
        return plain + ["-w", "-O0", "-fPIC"]

    def precompile(self, file: str) -> None:
        """Precompile the includes of a source, once for all its mutants."""
        prefix = prefix_of(file)
        prefix.parent.mkdir(parents=True, exist_ok=True)
        lines = re.findall(r"^#include .*$", (PROJECT / file).read_text(encoding="utf-8"), re.MULTILINE)
        prefix.write_text("\n".join(lines) + "\n", encoding="utf-8")
        command = self.commands[file] + ["-x", "c++-header", "-o", f"{prefix}.gch", str(prefix)]
        subprocess.run(command, stdin=subprocess.DEVNULL, check=True)

    def compile(self, file: str, text: Path, target: Path, overlay: Path | None = None) -> bool:
        command = list(self.commands[file])
        if overlay is not None:
            command.insert(1, f"-I{overlay}")
        elif text != PROJECT / file:
            command += ["-include", str(prefix_of(file))]
        command += ["-o", str(target), "-c", str(text)]
        return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False).returncode == 0

    @staticmethod
    def link(target: Path, objects: list[Path], shared: bool) -> bool:
        command = ["c++", "-fuse-ld=gold", "-o", str(target), *map(str, objects)]
        if shared:
            # A mutant with undefined symbols does not count: the test program would not start.
            command += ["-shared", f"-Wl,-soname,{target.name}", "-Wl,--no-undefined"]
        else:
            command += ["-rdynamic", "-Wl,-rpath,$ORIGIN", "-Wl,--allow-shlib-undefined"]
        command += ["-lPocoJSON", "-lPocoUtil", "-lPocoXML", "-lPocoFoundation", "-ldl"]
        return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False).returncode == 0


def built(name: str, folder: str) -> Path:
    return HOME / folder / (re.sub("[/ ]", "-", name) + ".o")


def linked_by_tests() -> list[str]:
    """The sources of the library that the unit tests link."""
    return [file for file in sources() if file not in ENTRIES.values()]


def prefix_of(file: str) -> Path:
    return HOME / "prefix" / (file.replace("/", "-") + ".h")


def build_original(toolchain: Toolchain, jobs: int) -> None:
    """Build the objects of the unchanged program and of the unit tests, and link the test program to the library."""
    for folder in ("core", "tests"):
        (HOME / folder).mkdir(parents=True, exist_ok=True)
    tests = [str(path.relative_to(PROJECT)) for path in sorted(UNIT.rglob("*.cpp"))]
    work = [(file, built(file, "core")) for file in sources()]
    work += [(file, built(file, "tests")) for file in tests]
    everything = digest(*[PROJECT / file for file in headers()], *sorted(UNIT.rglob("*.h")))
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for job in [pool.submit(build_object, toolchain, file, target, everything) for file, target in work]:
            job.result()
    core = [built(file, "core") for file in linked_by_tests()]
    library = HOME / "libcore.so"
    checked(toolchain.link(library, core, shared=True), "the library")
    gtest = [Path("-lgtest_main"), Path("-lgtest"), Path("-lpthread")]
    objects = [built(file, "tests") for file in tests] + [library] + gtest
    checked(toolchain.link(HOME / "unit_tests", objects, shared=False), "the unit tests")


def check_original(toolchain: Toolchain, end_to_end: bool) -> None:
    """Exit if a test fails on the unchanged program: it would kill every mutant."""
    failed = run_unit_tests(HOME / "unit_tests", None)
    if failed is None and end_to_end:
        checked(link_programs(toolchain, HOME, {}), "the programs")
        failed = run_end_to_end_tests(HOME, "")
    if failed is not None:
        sys.exit(f"{failed}: fails on the unchanged program")


def link_programs(toolchain: Toolchain, place: Path, objects: dict[str, Path]) -> bool:
    """Link both programs to the library in ``place``; ``objects`` replace the unchanged ones."""
    return all(
        toolchain.link(place / name, [objects.get(entry, built(entry, "core")), place / "libcore.so"], shared=False)
        for name, entry in ENTRIES.items()
    )


def build_object(toolchain: Toolchain, file: str, target: Path, everything: str) -> None:
    stamp = target.with_suffix(".stamp")
    source = PROJECT / file
    state = everything + digest(source)
    if not (target.exists() and stamp.exists() and stamp.read_text(encoding="utf-8") == state):
        checked(toolchain.compile(file, source, target), file)
        if target.parent.name == "core":
            toolchain.precompile(file)
        stamp.write_text(state, encoding="utf-8")


def checked(done: bool, what: str) -> None:
    if not done:
        sys.exit(f"{what}: does not build unchanged")


# --- tests ---------------------------------------------------------------------------------------------------------


@functools.lru_cache(maxsize=None)
def suites() -> dict[str, list[str]]:
    """The test suites of each unit test file."""
    found = {}
    for path in UNIT.rglob("*_test.cpp"):
        names = re.findall(r"^TEST(?:_F)?\((\w+),", path.read_text(encoding="utf-8"), re.MULTILINE)
        found[str(path.relative_to(PROJECT))] = sorted(set(names))
    return found


def test_file_of(suite: str) -> str | None:
    return next((file for file, names in suites().items() if suite in names), None)


@functools.lru_cache(maxsize=None)
def sandbox() -> tuple[str, ...]:
    """A sandbox for mutants: the machine is read-only, /tmp private."""
    if shutil.which("bwrap") is None:
        sys.exit("bubblewrap is missing: a mutant may write anywhere")
    return ("bwrap", "--die-with-parent", "--ro-bind", "/", "/", "--tmpfs", "/tmp", "--dev", "/dev", "--proc", "/proc",
            "--ro-bind", str(PROJECT), str(PROJECT), "--chdir", "/tmp", "--unshare-pid", "--")


def limit() -> None:
    resource.setrlimit(resource.RLIMIT_CPU, (UNIT_CPU, UNIT_CPU))
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))


def run_unit_tests(program: Path, chosen: list[str] | None) -> str | None:
    """The first failing test, or None."""
    command = [*sandbox(), str(program), "--gtest_fail_fast", "--gtest_brief=0"]
    if chosen is not None:
        command.append("--gtest_filter=" + ":".join(f"{suite}.*" for suite in chosen))
    try:
        run = subprocess.run(
            command, stdin=subprocess.DEVNULL, capture_output=True, preexec_fn=limit, timeout=UNIT_CLOCK, check=False
        )
        output, status = run.stdout, run.returncode
    except subprocess.TimeoutExpired as late:
        output, status = late.stdout or b"", -1
    if status == 0:
        return None
    # After a failure the other tests are started and skipped; after a crash only the last one started is known.
    failed = re.findall(rb"^\[  FAILED  \] (\S+) \(", output, re.MULTILINE)
    started = re.findall(rb"^\[ RUN      \] (\S+)$", output, re.MULTILINE)
    return (failed[:1] or started[-1:] or [b"start"])[0].decode()


def end_to_end_files(mutated: str) -> list[str]:
    """The end-to-end tests that test the programs, those of the mutated program first."""
    files = [path for path in sorted(END_TO_END.glob("test_*.py")) if path.name not in OTHER_TESTS]
    is_companion = mutated.startswith("ctl/")
    return [str(path) for path in sorted(files, key=lambda path: path.name.startswith("test_ctl_") != is_companion)]


def run_end_to_end_tests(place: Path, mutated: str) -> str | None:
    """The first failing test of the programs in ``place``, or None."""
    command = ["/usr/bin/python3", "-m", "pytest", "-x", "-q", "-p", "no:cacheprovider", *end_to_end_files(mutated)]
    environment = {**os.environ, "QOR_MIM_TOOL": str(place / "qor_mim_tool")}
    try:
        run = subprocess.run(
            command, stdin=subprocess.DEVNULL, capture_output=True, env=environment, timeout=END_TO_END_CLOCK,
            check=False
        )
    except subprocess.TimeoutExpired:
        return "time"
    if run.returncode == 0:
        return None
    failed = re.search(rb"^(?:FAILED|ERROR) (\S+)", run.stdout, re.MULTILINE)
    return failed.group(1).decode() if failed else "start"


# --- one mutant ----------------------------------------------------------------------------------------------------


@dataclasses.dataclass
class Bench:
    """A worker's own directory."""

    toolchain: Toolchain
    place: Path
    end_to_end: bool

    def prepare(self) -> None:
        shutil.rmtree(self.place, ignore_errors=True)
        self.place.mkdir(parents=True)
        os.link(HOME / "unit_tests", self.place / "unit_tests")

    def judge(self, mutant: Mutant) -> dict[str, str]:
        objects = self.compile(mutant)
        if objects is None or not self.toolchain.link(self.place / "libcore.so", self.core(objects), shared=True):
            return {"status": NOT_COMPILED, "by": ""}
        by = self.unit(mutant)
        if by is not None:
            return {"status": KILLED[0], "by": by}
        if not self.end_to_end:
            return {"status": SURVIVED, "by": "unit tests alone"}
        if not link_programs(self.toolchain, self.place, objects):
            return {"status": NOT_COMPILED, "by": ""}
        by = run_end_to_end_tests(self.place, mutant.file)
        return {"status": KILLED[1] if by else SURVIVED, "by": by or ""}

    def compile(self, mutant: Mutant) -> dict[str, Path] | None:
        """The objects that the mutant changes."""
        text = mutant.apply((PROJECT / mutant.file).read_text(encoding="utf-8"))
        overlay = self.place / "overlay"
        shutil.rmtree(overlay, ignore_errors=True)
        changed = overlay / mutant.file
        changed.parent.mkdir(parents=True)
        changed.write_text(text, encoding="utf-8")
        is_header = mutant.file.endswith(".h")
        objects = {}
        for file in dependents(mutant.file) if is_header else [mutant.file]:
            target = self.place / (re.sub("[/ ]", "-", file) + ".o")
            source = PROJECT / file if is_header else changed
            if not self.toolchain.compile(file, source, target, overlay if is_header else None):
                return None
            objects[file] = target
        return objects

    @staticmethod
    def core(objects: dict[str, Path]) -> list[Path]:
        return [objects.get(file, built(file, "core")) for file in linked_by_tests()]

    def unit(self, mutant: Mutant) -> str | None:
        own = suites().get(f"tests/unit/{Path(mutant.file).with_suffix('')}_test.cpp")
        by = run_unit_tests(self.place / "unit_tests", own) if own else None
        return by or run_unit_tests(self.place / "unit_tests", None)


@functools.lru_cache(maxsize=None)
def dependents(header: str) -> list[str]:
    """The sources that include the header, directly or indirectly."""

    def includes(file: str) -> set[str]:
        text = (PROJECT / file).read_text(encoding="utf-8")
        direct = set(re.findall(r'^#include "([^"]+)"', text, re.MULTILINE))
        return direct.union(*(includes(name) for name in direct))

    return [file for file in sources() if header in includes(file)]


# --- the run -------------------------------------------------------------------------------------------------------


def key_of(mutant: Mutant) -> str:
    text = mutant.apply((PROJECT / mutant.file).read_text(encoding="utf-8"))
    return hashlib.sha256(f"{mutant.file}\0{text}".encode()).hexdigest()[:24]


class Cache:
    """Results of earlier runs."""

    def __init__(self, fresh: bool) -> None:
        self.lock = threading.Lock()
        self.entries: dict[str, dict[str, Any]] = {}
        if RESULTS.exists() and not fresh:
            self.entries = json.loads(RESULTS.read_text(encoding="utf-8"))
        tests = [*UNIT.rglob("*.cpp"), *UNIT.rglob("*.h"), *files_of(END_TO_END), *files_of(SUPPORT)]
        self.everything = digest(*[PROJECT / file for file in [*sources(), *headers()]], *tests)

    def state(self, result: dict[str, str]) -> str:
        """A digest of the files on which the result depends."""
        if result["status"] == NOT_COMPILED:
            return ""
        if result["status"] == KILLED[0]:
            file = test_file_of(result["by"].split(".")[0])
            if file is not None:
                return digest(PROJECT / file)
        if result["status"] == KILLED[1]:
            test = PROJECT / result["by"].split("::")[0]
            if test.is_file():
                return digest(test)
        return self.everything

    def get(self, mutant: Mutant) -> dict[str, str] | None:
        entry = self.entries.get(key_of(mutant))
        return entry["result"] if entry and entry["state"] == self.state(entry["result"]) else None

    def put(self, mutant: Mutant, result: dict[str, str]) -> None:
        with self.lock:
            self.entries[key_of(mutant)] = {"what": str(mutant), "result": result, "state": self.state(result)}

    def save(self) -> None:
        with self.lock:
            scratch = RESULTS.with_suffix(".new")
            scratch.write_text(json.dumps(self.entries, indent=1), encoding="utf-8")
            scratch.replace(RESULTS)


def judge_all(mutants: list[Mutant], cache: Cache, options: argparse.Namespace) -> dict[Mutant, dict[str, str]]:
    results = {mutant: found for mutant in mutants if (found := cache.get(mutant)) is not None}
    if options.end_to_end:
        results = {mutant: found for mutant, found in results.items() if found["by"] != "unit tests alone"}
    pending = [mutant for mutant in mutants if mutant not in results]
    print(f"{len(mutants)} mutants, {len(results)} known from earlier runs", flush=True)
    if not pending:
        return results
    toolchain = Toolchain()
    build_original(toolchain, options.jobs)
    check_original(toolchain, options.end_to_end)
    local = threading.local()
    numbers = iter(range(options.jobs))

    def work(mutant: Mutant) -> tuple[Mutant, dict[str, str]]:
        if not hasattr(local, "bench"):
            local.bench = Bench(toolchain, HOME / f"bench-{next(numbers)}", options.end_to_end)
            local.bench.prepare()
        return mutant, local.bench.judge(mutant)

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        try:
            jobs = [pool.submit(work, mutant) for mutant in pending]
            for count, job in enumerate(concurrent.futures.as_completed(jobs), 1):
                mutant, result = job.result()
                results[mutant] = result
                cache.put(mutant, result)
                if result["status"] == SURVIVED:
                    print(f"survived: {mutant}", flush=True)
                if count % 25 == 0:
                    cache.save()
                    print(f"{count} of {len(pending)}", flush=True)
        finally:
            cache.save()
            pool.shutdown(cancel_futures=True)
    return results


def report(results: dict[Mutant, dict[str, str]]) -> float:
    print(f"\n{'file':<34}{'compiled':>10}{'unit':>8}{'e2e':>8}{'survived':>10}")
    total: Counter[str] = Counter()
    for file in sorted({mutant.file for mutant in results}):
        counts = Counter(result["status"] for mutant, result in results.items() if mutant.file == file)
        total += counts
        print(row(file, counts))
    print(row("all", total))
    compiled = sum(total.values()) - total[NOT_COMPILED]
    rate = 100.0 * (total[KILLED[0]] + total[KILLED[1]]) / compiled if compiled else 100.0
    print("\nsurvivors:")
    for mutant in sorted(results, key=lambda mutant: (mutant.file, mutant.start)):
        if results[mutant]["status"] == SURVIVED:
            print(f"  {mutant}")
    print(f"\n{compiled} mutants compile, {rate:.1f} % of them are killed")
    return rate


def row(name: str, counts: Counter[str]) -> str:
    compiled = sum(counts.values()) - counts[NOT_COMPILED]
    return f"{name:<34}{compiled:>10}{counts[KILLED[0]]:>8}{counts[KILLED[1]]:>8}{counts[SURVIVED]:>10}"


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("files", nargs="*")
    parser.add_argument("--sample", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--unit-only", dest="end_to_end", action="store_false")
    parser.add_argument("--fresh", action="store_true")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    parser.add_argument("--list", action="store_true")
    return parser.parse_args()


def main() -> int:
    options = arguments()
    mutants = [mutant for file in options.files or sources() + headers() for mutant in mutants_of(PROJECT, file)]
    if options.sample is not None:
        mutants = random.Random(options.seed).sample(mutants, min(options.sample, len(mutants)))
    if options.list:
        print("\n".join(map(str, mutants)))
        return 0
    HOME.mkdir(parents=True, exist_ok=True)
    rate = report(judge_all(mutants, Cache(options.fresh), options))
    return 0 if rate >= MARK else 1


if __name__ == "__main__":
    sys.exit(main())
