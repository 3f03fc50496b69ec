"""The system calls of a run, and the faults that can be injected into each.

The program's first own call sets its SIGPIPE handler; counting starts there.  Earlier calls belong to the start-up of
the dynamic loader and the libraries.
"""
from __future__ import annotations

import dataclasses
import re
from collections import Counter
from collections.abc import Iterator
from pathlib import Path

LINE = re.compile(r"(\w+)\((.*)")
START = ("rt_sigaction", "SIGPIPE")
END = "exit_group"

KILL = "KILL"
SHORT = "short"

# Errors documented in the manual pages, out of those swept: ENOSPC, EIO, EACCES, EMFILE, EINTR, EAGAIN; and ENOMEM,
# EPIPE or EBUSY where a call has none of these or that error is more likely.
ERRORS = {
    "openat": ("EIO", "EACCES", "EMFILE", "EINTR"),
    "newfstatat": ("EIO", "EACCES"),
    "read": ("EIO", "EINTR"),
    "close": ("EIO", "EINTR", "ENOSPC"),
    "fsync": ("EIO", "ENOSPC", "EINTR"),
    "unlink": ("EIO", "EACCES"),
    "pipe2": ("EMFILE",),
    "clone": ("EAGAIN", "ENOMEM"),
    "wait4": ("EINTR",),
    "fcntl": ("EBUSY",),
    "socket": ("EACCES", "EMFILE"),
    "connect": ("EACCES", "EAGAIN", "EINTR"),
    "sendto": ("EAGAIN", "EINTR"),
    "getcwd": ("EACCES",),
    "getrandom": ("EINTR",),
    "mmap": ("EAGAIN", "ENOMEM"),
}
FILE_WRITE = ("ENOSPC", "EIO", "EINTR", SHORT)
STREAM_WRITE = ("EIO", "EPIPE", "EINTR", "EAGAIN", SHORT)


@dataclasses.dataclass(frozen=True)
class Call:
    """One system call of the run without faults."""

    index: int
    """Its place in the run, from 0."""
    name: str
    nth: int
    """Its number among the calls of this name since the program's execve."""
    text: str

    @property
    def faults(self) -> tuple[str, ...]:
        """Every fault that can be injected into this call; the program can be killed at any call."""
        if self.name == "write":
            errors: tuple[str, ...] = STREAM_WRITE if self.to_stream else FILE_WRITE
            # A write of one byte cannot be cut short.
            return (KILL, *(fault for fault in errors if fault != SHORT or self.size > 1))
        if self.name == "close" and self.on_pipe:
            return (KILL,)
        errors = ERRORS.get(self.name, ())
        if self.name == "openat" and "O_CREAT" in self.text:
            errors += ("ENOSPC",)
        return (KILL, *errors)

    @property
    def size(self) -> int:
        """The size of a write."""
        match = re.search(r", (\d+)\) += ", self.text)
        return int(match[1]) if match else 0

    @property
    def to_stream(self) -> bool:
        """Whether a write goes to standard output or standard error."""
        return re.match(r"[12]<", self.text) is not None

    @property
    def on_pipe(self) -> bool:
        """Whether the call works on a pipe or a socket, where no file system error can occur."""
        return re.match(r"\d+<(pipe|socket):", self.text) is not None

    @property
    def where(self) -> str:
        """The framework's file that the call works on; empty for any other file."""
        match = re.match(r'\d+<([^>]*)>', self.text) or re.match(r'(?:AT_FDCWD<[^>]*>, )?"([^"]*)"', self.text)
        return match[1].removeprefix("/opt/qor/") if match and match[1].startswith("/opt/qor/") else ""


def trace_in(work: Path) -> str:
    """strace's output for the run with this working directory."""
    return (work / "trace").read_text(encoding="utf-8", errors="replace")


def parse(trace: str) -> list[Call]:
    """The calls of a run from strace's output, starting with the program's first own one."""
    counts: Counter[str] = Counter()
    calls: list[Call] = []
    for name, text in lines(trace):
        counts[name] += 1
        if calls or (name == START[0] and text.startswith(START[1])):
            calls.append(Call(len(calls), name, counts[name], text))
    if not calls or calls[-1].name != END:
        raise ValueError("not the trace of a whole run")
    return calls


def lines(trace: str) -> Iterator[tuple[str, str]]:
    for line in trace.splitlines():
        match = LINE.match(line)
        if match is not None:
            yield match[1], match[2]


def injection(call: Call, fault: str) -> list[str]:
    """The strace options that inject one fault."""
    what = f"signal={fault}" if fault == KILL else f"error={fault}"
    return ["-e", f"trace={call.name}", "-e", f"inject={call.name}:{what}:when={call.nth}"]


def was_injected(call: Call, fault: str, trace: str) -> bool:
    """Whether strace reports the fault at the intended call."""
    if fault == KILL:
        return "+++ killed by SIGKILL +++" in trace
    hit = [text for name, text in lines(trace) if name == call.name and text.endswith("(INJECTED)")]
    return len(hit) == 1 and Call(0, call.name, 0, hit[0]).where == call.where
