"""The recovery in the operator's guide, read as the program that it is.

Whoever follows docs/operations.md after a power cut runs shell commands by its tables.  So do the tests: what is run
after a killed tool is taken from the page itself, so that page and proof cannot drift apart.
"""
from __future__ import annotations

import dataclasses
import functools
import re
import shutil
from collections.abc import Collection, Mapping, Sequence
from pathlib import Path

import frameworks
import sandbox

PAGE = sandbox.PROJECT / "docs" / "operations.md"
SESSION = "A staging call was interrupted, or a rollback that drops an open session"
COMMIT = "A commit was interrupted, or a rollback of a commit, or it is not known what"
FULL_DISK = "After a full disk"
ASKED = 1
FULL = re.compile(r"no space left on device: /opt/qor/etc/(.*)$", re.IGNORECASE | re.MULTILINE)
CODE = re.compile(r"`([^`]+)`")


@dataclasses.dataclass(frozen=True)
class Row:
    """One row of a table: the commands to run when the test holds."""

    number: str
    test: str
    commands: tuple[str, ...]


def _sections(page: str) -> dict[str, str]:
    parts = re.split(r"^#+ (.*)\n", page, flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2]))


def names(page: str) -> str:
    """The commands that give the files their short names."""
    return re.search(r"```sh\n(.*?)```", _sections(page)["After a power cut"], re.DOTALL)[1]


def table(page: str, section: str) -> list[Row]:
    """The rows of the table in a section."""
    rows = []
    for line in _sections(page)[section].splitlines():
        cells = [cell.strip() for cell in line.strip("|").split(" | ")]
        if line.startswith("|") and cells[0].isdigit():
            rows.append(Row(cells[0], CODE.fullmatch(cells[1])[1], tuple(CODE.findall(cells[2]))))
    return rows


def rules() -> str:
    """All that the page has the operator do, whatever words stand around it."""
    page = PAGE.read_text(encoding="utf-8")
    return names(page) + "".join(repr(table(page, section)) for section in (SESSION, COMMIT, FULL_DISK))


def script(page: str, section: str, stop_after: int | None = None) -> str:
    """The table as a shell script; it prints the number of each row that it uses.

    ``stop_after`` cuts it off after so many commands, as a second power cut would.
    """
    lines = ["set -e", "done=0", "step() { " + _stop(stop_after) + '"$@"; done=$((done + 1)); }', names(page)]
    for row in table(page, section):
        lines.append(f"if {row.test}; then echo {row.number}")
        lines += [f"step {command}" for command in row.commands]
        lines.append("fi")
    return "\n".join(lines)


def _stop(stop_after: int | None) -> str:
    return "" if stop_after is None else f"[ $done -lt {stop_after} ] || exit 0; "


def named_as_full(console: str) -> str:
    """The file that the tool could not write, as the page asks for it; the empty text if it named none."""
    found = FULL.findall(console)
    return found[-1] if found else ""


def recover(framework: Path, section: str, stop_after: int | None = None, full: str = "") -> list[str]:
    """Follow the page on a framework; the numbers of the rows that were used."""
    tool = f'qor_mim_tool() {{ {sandbox.tool_path()} "$@" >/dev/null 2>&1; }}\nFULL="{full}"\n'
    text = tool + script(PAGE.read_text(encoding="utf-8"), section, stop_after)
    result = sandbox.Sandbox(framework).execute("/bin/sh", "-c", text)
    if result.status != 0:
        raise sandbox.SandboxError(f"the recovery failed\n{result.console}")
    return result.stdout.split()


@functools.lru_cache(maxsize=None)
def companion() -> Path | None:
    """The program that brings a framework back, where it has been built and can do so."""
    program = sandbox.tool_directory() / "qor_mim_ctl"
    known = program.is_file() and sandbox.Sandbox(None).execute(str(program), "recover", "--help").status == 0
    return program if known else None


def bring_back(files: Mapping[str, bytes], pairs: Collection[frameworks.Pair], directory: Path) -> tuple[str, str]:
    """Let the companion recover a framework with these files below etc/; what it did, and what is wrong with that."""
    shutil.rmtree(directory, ignore_errors=True)
    for name, content in files.items():
        path = directory / "etc" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
    result = sandbox.Sandbox(directory).execute(str(companion()), "recover", "--qor-path=/opt/qor")
    if result.status == ASKED:
        return "asked", ""
    if result.status != 0 or frameworks.live(frameworks.state(directory)) not in pairs:
        return "", f"not recovered, status {result.status}"
    return "recovered", ""


def complaints(prepared: frameworks.Prepared, files: dict[str, bytes]) -> Sequence[str]:
    """What is wrong with a recovered framework; nothing if it is as the page promises."""
    wrong = []
    if frameworks.live(files) not in prepared.versions:
        wrong.append("the live files are not a complete, matching pair")
    for leftover in (frameworks.LOCK, frameworks.SESSION):
        if leftover in files:
            wrong.append(f"{leftover} is left")
    return wrong
