"""The companion's recovery: its findings, steps, copies and questions."""
from __future__ import annotations

import fcntl
import itertools
import os
import stat
from collections.abc import Callable

import companion
import pytest
from framework import (AUX, BASE, CALLER_LOCK, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, PUMP,
                       SESSION, VALIDATOR, VALVE, Framework, Snapshot, config, installed, participant)
from sandbox import Result, Sandbox

STAGE = ("--addModelFile", PUMP, "--modelHandler", "pumpHandler")
STAGED = f"3:{PUMP}|pumpHandler|1|1\n"
OLD_CONFIG = config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"))
NEW_CONFIG = config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"),
                    participant("pumpHandler", "Pump"))
OLD_LIST, NEW_LIST = f"{BASE}\n", f"{BASE}\n{PUMP}\n"
# What undoes the commit below.
STEPS = (f"put back {installed(LIST)} from {installed(LIST_BAK)}", f"made {installed(CONFIG_TMP)} anew",
         f"made {installed(LIST_TMP)} anew")


def answered(found: str, *done: str, status: int = 0, copy: str | None = None) -> dict[str, object]:
    """The complete answer."""
    return {"command": "recover", "framework": "/opt/qor", "status": status, "found": found, "done": list(done),
            "copy": copy}


def of_framework(snapshot: Snapshot) -> Snapshot:
    """All files except the callers' lock file and the copies made by recoveries."""
    return {name: content for name, content in snapshot.items()
            if name != CALLER_LOCK and not name.startswith("etc/recovery-")}


@pytest.fixture
def cut(framework: Framework) -> Framework:
    """A commit that was interrupted after it moved the live list to its backup."""
    framework.session(STAGED)
    framework.write(CONFIG_TMP, NEW_CONFIG)
    framework.write(LIST_TMP, NEW_LIST)
    framework.write(CONFIG_BAK, OLD_CONFIG)
    framework.path(LIST).rename(framework.path(LIST_BAK))
    return framework


def test_recover_undoes_an_interrupted_commit(cut: Framework, tool: Sandbox) -> None:
    """The files from before the commit are restored, the queue is kept, and the replaced files are copied."""
    before = cut.snapshot()
    planned = companion.answer(tool, "recover", "--dry-run")
    assert cut.snapshot() == before

    answer = companion.answer(tool, "recover")

    copy = answer["copy"]
    assert answer == {**planned, "copy": copy} == answered("commit-interrupted", *STEPS, copy=copy)
    place = cut.path(copy.removeprefix("/opt/qor/"))
    assert stat.S_IMODE(place.stat().st_mode) == 0o700
    assert {path.name: path.read_text(encoding="ascii") for path in place.iterdir()} == {
        "qor.cfg.tmp": NEW_CONFIG, "model_file_list.cfg.tmp": NEW_LIST}
    assert [cut.read(name) for name in (CONFIG, LIST, SESSION, LOCK)] == [OLD_CONFIG, OLD_LIST, STAGED, "alpha"]
    assert companion.answer(tool, "recover") == answered("nothing")
    assert tool.run("--commit").status == 0
    assert (cut.read(CONFIG), cut.read(LIST)) == (NEW_CONFIG, NEW_LIST)


@pytest.mark.unsound("nothing was repaired")
def test_recover_dry_run_prints_the_steps_as_text(cut: Framework, tool: Sandbox) -> None:
    result = companion.run(tool, "recover", "--dry-run")

    assert result == Result(0, "found: commit-interrupted\n" + "".join(f"  {step}\n" for step in STEPS), "", [])


@pytest.mark.parametrize(("assumed", "found", "live"), [
    ("commit", "commit-interrupted", (OLD_CONFIG, OLD_LIST)),
    ("rollback", "rollback-interrupted", (OLD_CONFIG, OLD_LIST)),
    ("nothing", "nothing", (NEW_CONFIG, OLD_LIST))])
def test_recover_asks_what_it_cannot_tell(framework: Framework, tool: Sandbox, assumed: str, found: str,
                                          live: tuple[str, str]) -> None:
    """The list equals its backup, the document does not: an interrupted rollback, or a commit that kept the list."""
    framework.write(CONFIG, NEW_CONFIG)
    framework.write(CONFIG_BAK, OLD_CONFIG)
    framework.write(LIST_BAK, OLD_LIST)
    before = framework.snapshot()
    asked = companion.answer(tool, "recover")
    assert (asked["status"], asked["found"], asked["done"], asked["copy"]) == (1, "unclear", [], None)
    assert of_framework(framework.snapshot()) == before

    assert companion.answer(tool, "recover", f"--assume={assumed}")["found"] == found

    assert (framework.read(CONFIG), framework.read(LIST)) == live


def test_recover_waits_for_another_caller(cut: Framework, tool: Sandbox) -> None:
    cut.write(CALLER_LOCK, "")
    with cut.path(CALLER_LOCK).open("r+b") as lock:
        fcntl.lockf(lock, fcntl.LOCK_EX)
        assert companion.answer(tool, "recover")["status"] == 3
        assert companion.answer(tool, "recover", "--dry-run")["status"] == 3
        waiting = companion.start(tool, "recover", "--wait=60", "--json")

    assert companion.parsed(waiting.wait())["found"] == "commit-interrupted"


@pytest.mark.skipif("QOR_SANDBOX_WRITABLE" in os.environ, reason="coverage counters are files of limited size, too")
def test_recover_changes_nothing_on_a_full_disk(cut: Framework, tool: Sandbox) -> None:
    """Without room for the copy nothing is changed, and no part of the copy is left."""
    before = cut.snapshot()
    console = []
    for limit in itertools.count(0, 97):
        limited = tool.using(wrapper=("/usr/bin/prlimit", f"--fsize={limit}"))
        result = limited.execute(*tool.tool_command(companion.companion_path()), "recover")
        if result.status == 0:
            break
        assert (result.status, result.stdout) == (4, "")
        console.append(result.console)
        assert cut.snapshot() in (before, {**before, CALLER_LOCK: b""})
    assert "the copy cannot be written: /dev/shm/qor_mim_ctl-" in console[0]
    size = len(NEW_CONFIG + NEW_LIST)
    assert f"there is no room for the copy, which takes {size} bytes: /opt/qor/etc/recovery-" in console[-1]


def test_recover_keeps_attributes(cut: Framework, tool: Sandbox) -> None:
    """A missing file is restored with the attributes of its backup."""
    cut.path(LIST_BAK).chmod(0o640)
    cut.path(CONFIG_TMP).chmod(0o604)

    companion.run(tool, "recover")

    assert [stat.S_IMODE(cut.path(name).stat().st_mode) for name in (LIST, CONFIG_TMP)] == [0o640, 0o604]


# The history of a framework, including edits by hand; recover may be called after each step.
Step = Callable[[Framework, Sandbox], object]
LIFE: tuple[tuple[str, Step], ...] = (
    ("new", lambda framework, tool: None),
    ("staged", lambda framework, tool: tool.run(*STAGE)),
    ("joined", lambda framework, tool: tool.run("--addModelFile", VALVE)),
    ("document edited", lambda framework, tool: framework.write(CONFIG, framework.read(CONFIG).replace('"8"', '"9"'))),
    ("dropped by the commit", lambda framework, tool: tool.run("--commit")),
    ("staged again", lambda framework, tool: tool.run(*STAGE)),
    ("committed", lambda framework, tool: tool.run("--commit")),
    ("staged what is there", lambda framework, tool: tool.run(*STAGE)),
    ("committed again", lambda framework, tool: tool.run("--commit")),
    ("list edited", lambda framework, tool: framework.write(LIST, framework.read(LIST) + AUX)),
    ("staged beside the edit", lambda framework, tool: tool.run("--removeModelFile", BASE)),
    ("rolled back", lambda framework, tool: tool.run("--rollback")),
    ("undone", lambda framework, tool: tool.run("--rollback")),
    ("handler alone", lambda framework, tool: tool.run("--modelHandler", "lonely", "--commit")),
    ("committed alone", lambda framework, tool: tool.run("--commit")),
    ("rejecting", lambda framework, tool: framework.script(VALIDATOR, "exit 1")),
    ("staged to be rejected", lambda framework, tool: tool.run("--addModelFile", VALVE)),
    ("rejected", lambda framework, tool: tool.run("--commit")),
    ("document broken", lambda framework, tool: framework.write(CONFIG, "<qor>")),
)


@pytest.mark.unsound("the document is broken at the end")
def test_recover_changes_nothing_on_a_healthy_framework(framework: Framework, tool: Sandbox) -> None:
    """Without an interrupted run it finds nothing or asks, whatever happened before."""
    for name, step in LIFE:
        step(framework, tool)
        before = framework.snapshot()

        answer = companion.answer(tool, "recover")

        assert (answer["status"], answer["found"]) in ((0, "nothing"), (1, "unclear")), name
        before[CALLER_LOCK] = b""
        assert framework.changes(before) == {}, name


def test_recover_undoes_a_killed_commit_that_is_rejected(framework: Framework, tool: Sandbox) -> None:
    """Only the lock file is left, as after an interruption between the last two removals."""
    tool.run(*STAGE)
    tool.run("--commit")
    framework.write(LOCK, "alpha")
    framework.script(VALIDATOR, "exit 1")
    assert companion.answer(tool, "recover")["found"] == "unclear"

    answer = companion.answer(tool, "recover", "--assume=commit")

    assert (answer["status"], answer["found"]) == (0, "commit-interrupted")
    assert framework.read(LIST) == f"{BASE}\n"
    assert not framework.path(LOCK).exists()


@pytest.mark.unsound("nothing was repaired")
def test_recover_rejects_an_unknown_assumption(framework: Framework, tool: Sandbox) -> None:
    """No file is changed or created, not even the callers' lock file."""
    framework.write(SESSION, "0:/left/behind\n")
    before = framework.snapshot()

    assert companion.run(tool, "recover", "--assume=maybe").status == 2
    assert framework.changes(before) == {}


def test_recover_completes_without_a_reader_of_its_answer(framework: Framework, tool: Sandbox) -> None:
    """A repeated call reports the state."""
    framework.write(CONFIG_BAK, config(participant("older", "Older")))
    framework.write(LIST_BAK, f"{BASE}\n{AUX}\n")
    framework.remove(LIST)
    with open("/dev/full", "wb") as full:
        run = tool.with_env(TMPDIR="/opt/scratch").launch(*companion.command(), "recover", stdout=full)
        assert run.wait().status == 4

    assert framework.read(LIST) == f"{BASE}\n{AUX}\n"
    assert companion.answer(tool, "recover")["found"] == "nothing"
