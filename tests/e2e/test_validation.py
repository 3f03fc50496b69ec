"""The validator as a process: its verdict, its report, and its failures."""
from __future__ import annotations

from pathlib import Path

import pytest

from expect import ERROR, FAILED, answer, console, error
from framework import BASE, MISSING, PUMP, VALIDATOR, VALVE, Framework
from sandbox import Sandbox

ADD = f"0:{PUMP}\n"


@pytest.mark.parametrize("status", [1, 255])
def test_rejection_shows_the_report_and_restores_the_files(tool: Sandbox, framework: Framework, status: int) -> None:
    framework.script(VALIDATOR, f"echo first line; echo second line >&2; exit {status}")
    before = framework.snapshot()
    framework.session(f"{ADD}3:{VALVE}|valveHandler|1|1\n2:{BASE}\n")
    assert tool.run("--commit") == answer(
        "Adding new handler: valveHandler with root class: Valve", f"Found and removed model entry: {BASE}", FAILED,
        status=255, stdout="first line\nsecond line\n\n\n")
    assert framework.changes(before) == {}


def test_report_precedes_the_verdict_in_a_file_with_both(tool: Sandbox, framework: Framework, tmp_path: Path) -> None:
    framework.script(VALIDATOR, "echo judged; exit 1")
    framework.session(f"{ADD}0:{MISSING}\n")
    together = tmp_path / "together"
    with together.open("wb") as file:
        assert tool.start("--commit", stdout=file, console=file).wait().status == 255
    assert together.read_text(encoding="utf-8") == (
        console(f"Cannot find the model file: {MISSING}") + "judged\n\n\n" + console(FAILED, path=None))


def test_commit_is_undone_when_a_signal_kills_the_validator(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo $$ | tee /opt/qor/pid; kill -9 $$")
    before = framework.snapshot()
    framework.session(ADD)
    result = tool.run("--commit")
    pid = framework.read("pid").strip()
    message = f"Abnormal termination for child process: {pid}"
    assert result == answer(error(message), FAILED, status=255, stdout=f"{pid}\n\n{message}\n",
                            syslog=[(ERROR, f"ERROR:{message}")])
    assert framework.changes(before) == {"pid": f"{pid}\n"}


@pytest.mark.parametrize("broken", ["not executable", "directory", "no program"])
def test_commit_is_undone_when_the_validator_cannot_run(tool: Sandbox, framework: Framework, broken: str) -> None:
    framework.remove(VALIDATOR)
    if broken == "directory":
        framework.path(VALIDATOR).mkdir()
    else:
        framework.write(VALIDATOR, "#!/nowhere/sh\n")
        framework.path(VALIDATOR).chmod(0o644 if broken == "not executable" else 0o755)
    before = framework.snapshot()
    framework.session(ADD)
    assert tool.run("--commit") == answer(FAILED, status=255, stdout="\n\n")
    assert framework.changes(before) == {}


def test_validator_is_waited_for_when_sigchld_was_ignored(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo judged; exit 1")
    framework.session(ADD)
    ignore = ("import os, signal, sys; signal.signal(signal.SIGCHLD, signal.SIG_IGN); "
              "os.execv(sys.argv[1], sys.argv[1:])")
    deaf = tool.using(wrapper=("/usr/bin/python3", "-c", ignore))
    assert deaf.run("--commit") == answer(FAILED, status=255, stdout="judged\n\n\n")
