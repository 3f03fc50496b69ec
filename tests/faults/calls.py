"""The system calls of a run, and the faults that each of them can meet.

The run counts from the first call that the program itself makes: setting its handler for SIGPIPE.  Everything before
that is the dynamic loader's and the libraries' start-up.
"""
from __future__ import annotations

import dataclasses
import re
from collections import Counter
from collections.abc import Iterator

LINE = re.compile(r"(\w+)\((.*)")
START = ("rt_sigaction", "SIGPIPE")
END = "exit_group"

KILL = "KILL"
SHORT = "short"

# What the manual pages of the calls allow, from the list that is swept: ENOSPC, EIO, EACCES, EMFILE, EINTR, EAGAIN;
# and ENOMEM, EPIPE or EBUSY where a call knows none of these or that one is its likely failure.
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
    """One system call of the undisturbed run."""

    index: int
    """Its place in the run, from 0."""
    name: str
    nth: int
    """Which call of this name it is, counted from the execution of the program."""
    text: str

    @property
    def faults(self) -> tuple[str, ...]:
        """Every fault that this call can meet; each can be the last thing that the program does."""
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
        """How much a write wants to write."""
        match = re.search(r", (\d+)\) += ", self.text)
        return int(match[1]) if match else 0

    @property
    def to_stream(self) -> bool:
        """Whether a write goes to the console and not to a file."""
        return re.match(r"[12]<", self.text) is not None

    @property
    def on_pipe(self) -> bool:
        """Whether the call works on a pipe or a socket, which no file system can spoil."""
        return re.match(r"\d+<(pipe|socket):", self.text) is not None

    @property
    def where(self) -> str:
        """The file that the call works on, as far as it belongs to the framework."""
        match = re.match(r'\d+<([^>]*)>', self.text) or re.match(r'(?:AT_FDCWD<[^>]*>, )?"([^"]*)"', self.text)
        return match[1].removeprefix("/opt/qor/") if match and match[1].startswith("/opt/qor/") else ""


def parse(trace: str) -> list[Call]:
    """The calls of a run from what strace wrote, without those before the program's own first one."""
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
    """strace's options for one fault."""
    what = f"signal={fault}" if fault == KILL else f"error={fault}"
    return ["-e", f"trace={call.name}", "-e", f"inject={call.name}:{what}:when={call.nth}"]


def was_injected(call: Call, fault: str, trace: str) -> bool:
    """Whether strace reports that the fault met the very call that it was meant for."""
    if fault == KILL:
        return "+++ killed by SIGKILL +++" in trace
    hit = [text for name, text in lines(trace) if name == call.name and text.endswith("(INJECTED)")]
    return len(hit) == 1 and Call(0, call.name, 0, hit[0]).where == call.where
