"""The expected output of the program: ``assert tool.run("--status") == answer(...)``."""
from __future__ import annotations

import re
from collections.abc import Iterable

from sandbox import PROJECT, LogLine, Result

COMPLETED = "Operation completed."
NEW_SESSION = "Starting new session:\nUse -s to list queued actions."
UPDATED = "Updated session file with new entry."
NOTHING_PENDING = "There are no pending actions."
ROLLING_BACK = "Rolling back."

ERROR, WARNING, INFO, DEBUG = 3, 4, 6, 7


def version() -> str:
    """The project's version, from CMakeLists.txt."""
    text = (PROJECT / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.findall(r"^project\(qor_mim_tool VERSION ([\d.]+) ", text, re.MULTILINE)[0]


class Line(str):
    """A console line with a priority other than information."""

    priority = "Information"


def _line(priority: str, text: str) -> Line:
    line = Line(text)
    line.priority = priority
    return line


def critical(text: str) -> Line:
    """A line at priority critical."""
    return _line("Critical", text)


def error(text: str) -> Line:
    """A line at priority error."""
    return _line("Error", text)


def warning(text: str) -> Line:
    """A line at priority warning."""
    return _line("Warning", text)


class Bare(str):
    """A console line of the application framework, which has no logger prefix."""


FAILED = error("Operation failed!")


def console(*lines: str, path: str | None = "/opt/qor") -> str:
    """The console output of a run; it starts with the framework path from the agent, unless ``path`` is None."""
    if path is not None:
        lines = (f"Using QOR path: {path}", *lines)
    return "".join(line + "\n" if isinstance(line, Bare)
                   else f"ConsoleLogger: {getattr(line, 'priority', 'Information')}: {line}\n" for line in lines)


def answer(*lines: str, path: str | None = "/opt/qor", status: int = 0, stdout: str = "",
           syslog: Iterable[LogLine] = ()) -> Result:
    """The complete output of a run."""
    return Result(status, stdout, console(*lines, path=path), list(syslog))


def staged(line: str, *more: str, new: bool = False) -> Result:
    """The output of a successful staging call with the action ``line``; ``more`` follows on the console."""
    start = (NEW_SESSION,) if new else ()
    return answer(*start, UPDATED, line, *(more or (COMPLETED,)), syslog=[(DEBUG, line)])
