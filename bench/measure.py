"""Measure the wall time, instructions and peak memory of a program in a framework of its own.

Every measurement runs under bubblewrap, which binds the scratch framework to /opt/qor, so that the machine's own
framework is not touched.  proot is no alternative: it traces every system call, and the measurement would include that.
"""
from __future__ import annotations

import contextlib
import json
import re
import subprocess
import tempfile
from collections.abc import Iterable, Iterator, Sequence
from pathlib import Path

from sandbox import LAUNCHERS, PATH, PROJECT, LogSocket, View
from workload import HOST, Framework

# The usual RLIMIT_NOFILE of a login.  The library closes every descriptor below it in each child process.
DESCRIPTORS = 1024


class Bench:
    """Measures programs in frameworks below one scratch directory, with one system log."""

    def __init__(self, scratch: Path, log: LogSocket):
        self.scratch = scratch
        self._log = log

    def sandbox(self, framework: Framework, command: Sequence[str]) -> list[str]:
        """The command line that runs ``command`` with the framework at /opt/qor."""
        view = View(framework=framework.directory, scratch=self.scratch, work=self.scratch, log=self._log.path,
                    host=HOST, writable=(self.scratch,), readable=(PROJECT,))
        return [*LAUNCHERS["bwrap"](view), "/bin/sh", "-c", f'ulimit -n {DESCRIPTORS} && exec "$@"', "sh", *command]

    def _run(self, framework: Framework, command: Sequence[str]) -> subprocess.CompletedProcess[str]:
        env = {"PATH": PATH, "LANG": "C.UTF-8", "TMPDIR": str(self.scratch)}
        done = subprocess.run(self.sandbox(framework, command), env=env, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise SystemExit(f"{' '.join(command)} ended with {done.returncode}\n{done.stdout}{done.stderr}")
        return done

    def wall_time(self, framework: Framework, command: Sequence[str], runs: int) -> float:
        """The shortest run in seconds, since the longer ones include other work of the machine."""
        export = framework.directory.parent / "wall.json"
        self._run(framework, ["hyperfine", "--shell=none", "--warmup", "1", "--runs", str(runs),
                              "--prepare", str(framework.resetter), "--export-json", str(export),
                              " ".join(command)])
        return float(json.loads(export.read_text(encoding="utf-8"))["results"][0]["min"])

    def peak_memory(self, framework: Framework, command: Sequence[str]) -> int:
        """The peak resident size in KiB of the program or of one of its children, whichever is greater."""
        framework.reset()
        report = framework.directory.parent / "memory"
        self._run(framework, ["/usr/bin/time", "--format=%M", f"--output={report}", *command])
        return int(report.read_text(encoding="utf-8"))

    def profile(self, framework: Framework, command: Sequence[str]) -> Path:
        """Run once under callgrind; return the report on the program's own process.

        A forked child drops its report when it executes another program; a second report is an error.
        """
        framework.reset()
        place = framework.directory.parent
        for old in place.glob("callgrind.*"):
            old.unlink()
        self._run(framework, ["valgrind", "--quiet", "--tool=callgrind", "--trace-children=no",
                              f"--callgrind-out-file={place}/callgrind.%p", *command])
        report, = place.glob("callgrind.*")
        return report

    def instructions(self, framework: Framework, command: Sequence[str]) -> int:
        """The number of instructions in the program's own process, the dynamic loader included."""
        return total(self.profile(framework, command))


@contextlib.contextmanager
def new_bench(directory: Path) -> Iterator[Bench]:
    """A bench with a scratch directory below ``directory``."""
    with tempfile.TemporaryDirectory(dir=directory, prefix="qmt-bench-") as name, LogSocket(Path(name) / "log") as log:
        yield Bench(Path(name), log)


def total(report: Path) -> int:
    """The sum of a callgrind report."""
    found = re.search(r"^(?:summary|totals): (\d+)", report.read_text(encoding="utf-8"), re.MULTILINE)
    assert found is not None
    return int(found[1])


# The parts of a profile: library functions whose inclusive cost counts as one part.
PARTS = {"parser": ":Poco::XML::DOMParser::parseString(", "writer": ":Poco::XML::DOMWriter::writeNode("}
# Called back by the writer: the program's buffer for the text.
CALLED_BY_WRITER = ":QMT::CTextBuffer::"
# The name of a loader function without debugging symbols.
LOADER = re.compile(r"/ld-linux[^]]*\]$")
COST = re.compile(r"^\s*([\d,]+) \([^)]*\)\s+(.*)$")


def annotated(report: Path, inclusive: str) -> Iterable[tuple[int, str]]:
    """The cost and name of every function in a report."""
    text = subprocess.run(["callgrind_annotate", "--threshold=100", "--tree=none", "--auto=no", "--show-percs=yes",
                           f"--inclusive={inclusive}", str(report)], capture_output=True, text=True,
                          check=True).stdout
    for line in text.splitlines():
        match = COST.match(line)
        if match is not None:
            yield int(match[1].replace(",", "")), match[2]


def shares(report: Path, program: Path) -> dict[str, float]:
    """The shares of a run: loader, the parts above, the program's own code, and other libraries."""
    whole = total(report)
    result: dict[str, int] = {"loader": 0, **{part: 0 for part in PARTS}}
    for cost, name in annotated(report, "yes"):
        for part, function in PARTS.items():
            if function in name:
                result[part] += cost
    own = 0
    for cost, name in annotated(report, "no"):
        if name.endswith(f"[{program}]"):
            own += cost
            result["writer"] -= cost if CALLED_BY_WRITER in name else 0
        elif name.startswith("./elf/") or LOADER.search(name):
            result["loader"] += cost
    result["the program's own code"] = own
    result["other libraries"] = whole - sum(result.values())
    return {part: cost / whole for part, cost in result.items()}
