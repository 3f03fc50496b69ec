"""Validation: when the framework's validator is run, and what its verdict does."""
from __future__ import annotations

from pathlib import Path

import pytest

from expect import COMPLETED, ERROR, FAILED, INFO, WARNING, answer, console, error, warning
from framework import (BASE, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, MISSING, PLACEHOLDER, PUMP,
                       SESSION, VALIDATOR, VALVE, Framework, config, installed, participant)
from sandbox import Result, Sandbox, emulator, find_launcher

WORKING = (SESSION, LOCK, CONFIG_TMP, LIST_TMP)
CALLED = "validator.args"
ADD = f"0:{PUMP}\n"


def rejected(report: str) -> Result:
    """What is said when the validator has rejected the result after this report."""
    return answer(FAILED, status=255, stdout=f"{report}\n\n")


def commit(tool: Sandbox, framework: Framework, entries: str) -> tuple[Result, bool]:
    """Commit these actions; tell the answer and whether the validator was run."""
    framework.recording(VALIDATOR, CALLED, "exit 0")
    framework.session(entries)
    result = tool.run("--commit")
    return result, framework.path(CALLED).exists()


def test_the_validator_is_run_on_the_list(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, ADD) == (answer(COMPLETED), True)
    assert framework.read(CALLED) == f"-q\n-c\n{installed(LIST)}\n"


def test_an_addition_with_handler_is_validated(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"3:{PUMP}|auxHandler|1|1\n") == (
        answer("Found handler: auxHandler", COMPLETED), True)


def test_an_addition_that_was_listed_already_is_validated(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"0:{BASE}\n") == (
        answer(f"Modelfile entry already exists: {BASE}\nSkipping adding of modelfile.", COMPLETED), True)


def test_removals_are_not_validated(tool: Sandbox, framework: Framework) -> None:
    result, run = commit(tool, framework, f"2:{BASE}\n2:{PUMP}\n4:{BASE}|nobody|1|1\n")
    assert (result.status, run) == (0, False)


def test_a_handler_alone_is_not_validated(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG, config(participant(PLACEHOLDER)))
    assert commit(tool, framework, "1:h|1|1\n") == (
        answer("Replaced default QOR component tag with: h", COMPLETED), False)


def test_a_failed_addition_alone_is_not_validated(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"0:{MISSING}\n") == (
        answer(f"Cannot find the model file: {MISSING}", FAILED, status=255), False)


def test_a_failed_addition_beside_a_good_one_is_validated_and_fails(tool: Sandbox, framework: Framework) -> None:
    assert commit(tool, framework, f"0:{MISSING}\n0:{PUMP}\n") == (
        answer(f"Cannot find the model file: {MISSING}", FAILED, status=255), True)


def test_a_quiet_word_of_an_accepting_validator_is_not_shown(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo all is well; echo really >&2")
    framework.session(ADD)
    assert tool.run("--commit") == answer(COMPLETED)


@pytest.mark.parametrize("status", [1, 2, 127, 255])
def test_a_rejected_commit_is_taken_back_and_the_report_is_shown(tool: Sandbox, framework: Framework,
                                                                 status: int) -> None:
    framework.script(VALIDATOR, f"echo first line; echo second line >&2; exit {status}")
    before = framework.snapshot()
    framework.session(f"{ADD}3:{VALVE}|valveHandler|1|1\n2:{BASE}\n")
    assert tool.run("--commit") == answer(
        "Adding new handler: valveHandler with root class: Valve", f"Found and removed model entry: {BASE}", FAILED,
        status=255, stdout="first line\nsecond line\n\n\n")
    assert framework.changes(before) == {}


def test_a_rejection_without_a_word_shows_two_empty_lines(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "exit 1")
    framework.session(ADD)
    assert tool.run("--commit") == rejected("")


def test_a_report_without_line_end_is_ended(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "printf 'no end'; exit 1")
    framework.session(ADD)
    assert tool.run("--commit") == rejected("no end")


def test_a_long_report_is_shown_whole(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "i=0; while [ $i -lt 2000 ]; do echo complaint number $i; i=$((i+1)); done; exit 1")
    framework.session(ADD)
    assert tool.run("--commit") == rejected("".join(f"complaint number {i}\n" for i in range(2000)))


def test_the_report_comes_before_the_verdict_where_both_go_to_one_file(tool: Sandbox, framework: Framework,
                                                                      tmp_path: Path) -> None:
    framework.script(VALIDATOR, "echo judged; exit 1")
    framework.session(f"{ADD}0:{MISSING}\n")
    together = tmp_path / "together"
    with together.open("wb") as file:
        assert tool.start("--commit", stdout=file, console=file).wait().status == 255
    assert together.read_text(encoding="utf-8") == (
        console(f"Cannot find the model file: {MISSING}") + "judged\n\n\n" + console(FAILED, path=None))


def test_after_a_rejection_there_is_nothing_left_to_undo(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "exit 1")
    framework.session(ADD)
    tool.run("--commit")
    before = framework.snapshot()
    assert tool.run("--rollback").status == 0
    assert framework.changes(before) == {}


def test_a_validator_ended_by_a_signal_rejects(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo $$ | tee /opt/qor/pid; kill -9 $$")
    before = framework.snapshot()
    framework.session(ADD)
    result = tool.run("--commit")
    pid = framework.read("pid").strip()
    message = f"Abnormal termination for child process: {pid}"
    assert result == answer(error(message), FAILED, status=255, stdout=f"{pid}\n\n{message}\n",
                            syslog=[(ERROR, f"ERROR:{message}")])
    assert framework.changes(before) == {"pid": f"{pid}\n"}


def faulted(tool: Sandbox, fault: str) -> Sandbox:
    """The program with a fault in its second wait for a child; the first child is the agent."""
    if find_launcher() == "proot" or emulator():
        pytest.skip("neither proot nor an emulator can be traced through")
    return tool.using(wrapper=("strace", "-o", "/opt/scratch/trace", "-e", f"inject=wait4:error={fault}:when=2"))


def test_a_validator_that_cannot_be_waited_for_rejects(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo $$ | tee /opt/qor/pid")
    before = framework.snapshot()
    framework.session(ADD)
    result = faulted(tool, "EINVAL").run("--commit")
    pid = framework.read("pid").strip()
    message = f"Cannot wait for child process: {pid}"
    assert result == answer(error(message), FAILED, status=255, stdout=f"{pid}\n\n{message}\n",
                            syslog=[(ERROR, f"ERROR:{message}")])
    assert framework.changes(before) == {"pid": f"{pid}\n"}


def test_an_interrupted_wait_for_the_validator_goes_on(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo judged; exit 1")
    framework.session(ADD)
    assert faulted(tool, "EINTR").run("--commit") == rejected("judged\n")


def test_a_caller_that_ignores_the_end_of_children_gets_the_verdict(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo judged; exit 1")
    framework.session(ADD)
    ignore = ("import os, signal, sys; signal.signal(signal.SIGCHLD, signal.SIG_IGN); "
              "os.execv(sys.argv[1], sys.argv[1:])")
    deaf = tool.using(wrapper=("/usr/bin/python3", "-c", ignore))
    assert deaf.run("--commit") == rejected("judged\n")


def test_a_missing_validator_lets_the_commit_pass(tool: Sandbox, framework: Framework) -> None:
    framework.remove(VALIDATOR)
    old = framework.read(LIST)
    framework.session(ADD)
    before = framework.snapshot()
    assert tool.run("--commit") == answer(
        warning("Unable to locate model tool."), COMPLETED,
        syslog=[(WARNING, "Unable to locate Model tool"), (INFO, "model tool does not exist")])
    assert framework.changes(before) == {LIST: f"{BASE}\n{PUMP}\n", LIST_BAK: old, CONFIG_BAK: framework.read(CONFIG),
                                         **dict.fromkeys(WORKING)}


def test_a_missing_validator_is_not_missed_by_removals(tool: Sandbox, framework: Framework) -> None:
    framework.remove(VALIDATOR)
    framework.session(f"2:{BASE}\n")
    assert tool.run("--commit") == answer(f"Found and removed model entry: {BASE}", COMPLETED)


@pytest.mark.parametrize("broken", ["not executable", "directory", "no program"])
def test_a_validator_that_cannot_be_run_rejects(tool: Sandbox, framework: Framework, broken: str) -> None:
    framework.remove(VALIDATOR)
    if broken == "directory":
        framework.path(VALIDATOR).mkdir()
    else:
        framework.write(VALIDATOR, "#!/nowhere/sh\n")
        framework.path(VALIDATOR).chmod(0o644 if broken == "not executable" else 0o755)
    before = framework.snapshot()
    framework.session(ADD)
    assert tool.run("--commit") == rejected("")
    assert framework.changes(before) == {}
