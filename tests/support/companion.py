"""The companion program in the sandbox, and its answers."""
from __future__ import annotations

import json
from pathlib import Path
from typing import Any

from sandbox import WORK, Result, Run, Sandbox, SandboxError, emulator, tool_directory


def companion_path() -> Path:
    """The companion under test, in the tool's directory."""
    path = tool_directory() / "qor_mim_ctl"
    if not path.is_file():
        raise SandboxError(f"{path} does not exist: build it first (scripts/build release)")
    return path


def command() -> list[str]:
    """The command line of the companion inside the sandbox."""
    return [*emulator(), str(companion_path())]


def run(sandbox: Sandbox, *args: str) -> Result:
    """Run the companion to its end."""
    return start(sandbox, *args).wait()


def start(sandbox: Sandbox, *args: str) -> Run:
    """Start the companion and leave it running."""
    # In the sandbox the rest of the machine, /tmp included, is read-only.
    env = {"TMPDIR": WORK, **sandbox.env}
    return sandbox.with_env(**env).launch(*command(), *args)


def answer(sandbox: Sandbox, *args: str) -> dict[str, Any]:
    """Run the companion with --json; return its answer, which must be one line with the exit status."""
    return parsed(run(sandbox, *args, "--json"))


def parsed(result: Result) -> dict[str, Any]:
    """The JSON answer of a run."""
    assert result.stdout.count("\n") == 1 and result.stdout.endswith("\n"), result
    found = json.loads(result.stdout)
    assert isinstance(found, dict)
    assert found["status"] == result.status, result
    return found


def faults(sandbox: Sandbox) -> list[str]:
    """The faults of the framework at /opt/qor: errors found by ``check``, an interruption found by ``recover``, and
    failures of the two commands.  A question of ``recover`` and another host's session are not faults.
    """
    script = '"$@" check --qor-path=/opt/qor --json; "$@" recover --dry-run --qor-path=/opt/qor --json'
    result = sandbox.with_env(TMPDIR=WORK).execute("/bin/sh", "-c", script, "sh",
                                                   *sandbox.tool_command(companion_path()))
    check, recover = map(json.loads, result.stdout.splitlines())
    errors = [finding["id"] for finding in check.get("findings", ()) if finding["severity"] == "error"]
    failures = [answer["error"] for answer in (check, recover) if answer["status"] == 4]
    return errors + failures + [found for found in recover.values() if str(found).endswith("-interrupted")]


def patched(before: str, diff: str) -> str:
    """``before`` with a unified diff applied at the line numbers of its hunks."""
    old = before.splitlines(keepends=True)
    new: list[str] = []
    done = 0
    mark = ""
    for line in diff.splitlines(keepends=True)[2:]:
        if line.startswith("@@"):
            first, _, count = line.split()[1][1:].partition(",")
            start = int(first) - (0 if count == "0" else 1)
            new += old[done:start]
            done = start
        elif line.startswith("+"):
            new.append(line[1:])
        elif line.startswith("\\"):
            if mark == "+":
                new[-1] = new[-1].removesuffix("\n")
        else:
            assert old[done].removesuffix("\n") == line[1:].removesuffix("\n")
            new += old[done:done + 1] if line.startswith(" ") else []
            done += 1
        mark = line[0]
    return "".join(new + old[done:])
