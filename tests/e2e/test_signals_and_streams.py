"""Signals, standard streams that are closed, full or without a reader, and a missing system log."""
from __future__ import annotations

import itertools
import os
import shutil
import signal
import time
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from pathlib import Path
from xml.etree import ElementTree

import pytest

from expect import (COMPLETED, DEBUG, INFO, NEW_SESSION, ROLLING_BACK, UPDATED, WARNING, Bare, answer, critical,
                    staged)
from framework import (AGENT, BASE, CONFIG, CONFIG_TMP, LIST, LIST_TMP, LOCK, PUMP, SESSION, VALIDATOR, Framework,
                       installed)
import sandbox
from sandbox import Result, Run, Sandbox

STAGE = (f"--addModelFile={PUMP}", "--modelHandler=pumpHandler")
COMMITTED = f"{BASE}\n{PUMP}\n"


@pytest.fixture
def session(tool: Sandbox) -> Sandbox:
    """A session with one addition, ready to be committed."""
    assert tool.run(*STAGE).status == 0
    return tool


def complete(framework: Framework) -> None:
    """Both live files exist and are whole."""
    ElementTree.fromstring(framework.read(CONFIG))
    assert framework.read(LIST) in (f"{BASE}\n", COMMITTED)


def slow(framework: Framework, name: str, ending: str = "exit 0") -> str:
    """Make an executable that creates a file when it runs, and waits for permission to end."""
    wait = f"touch {installed('running')}\nwhile [ ! -e {installed('go')} ]; do sleep 0.01; done"
    framework.script(name, f"{wait}\n{ending}")
    return name


def interrupt_during(run: Run, framework: Framework, number: int) -> Result:
    """Send a signal while the slow child runs; the child continues to its own end."""
    run.wait_for(framework.path("running").exists)
    run.signal(number)
    time.sleep(0.05)
    framework.write("go", "")
    return run.wait()


# --- signals ----------------------------------------------------------------------------------------------------------


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_signal_during_the_agent_changes_nothing(tool: Sandbox, framework: Framework, number: int) -> None:
    slow(framework, AGENT, "echo /opt/qor")
    before = framework.snapshot()
    result = interrupt_during(tool.start(*STAGE), framework, number)
    assert result.status == -number
    assert set(framework.changes(before)) == {"running", "go"}


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_signal_during_the_validator_leaves_the_commit(session: Sandbox, framework: Framework, number: int) -> None:
    slow(framework, VALIDATOR)
    result = interrupt_during(session.start("--commit"), framework, number)
    assert result.status == -number
    complete(framework)
    assert framework.read(LIST) == COMMITTED
    assert not framework.path(LOCK).exists()
    framework.script(VALIDATOR, "exit 0")
    assert session.run("--rollback").status == 0
    assert framework.read(LIST) == f"{BASE}\n"


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_signal_ends_the_wait_for_the_lock(tool: Sandbox, framework: Framework, number: int) -> None:
    framework.session("0:/x\n", host="elsewhere")
    before = framework.snapshot()
    run = tool.start(*STAGE)
    run.wait_for(lambda: run.syslog)
    time.sleep(0.1)
    run.signal(number)
    assert run.wait().status == -number
    assert framework.changes(before) == {}


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_signal_at_any_step_of_a_commit_leaves_whole_files(session: Sandbox, framework: Framework,
                                                           number: int) -> None:
    """The signal is sent as soon as a file changes."""
    moments = [lambda: framework.path(f"{CONFIG}.bak").exists(), lambda: framework.path(f"{LIST}.bak").exists(),
               lambda: not framework.path(LIST_TMP).exists(), lambda: not framework.path(CONFIG_TMP).exists(),
               lambda: not framework.path(LOCK).exists()]
    for moment in moments:
        run = session.start("--commit")
        while run.running and not moment():
            pass
        try:
            run.signal(number)
        except ProcessLookupError:
            pass
        assert run.wait().status in (0, -number)
        complete(framework)
        # A new live list comes with a new configuration.
        assert (framework.read(LIST) == COMMITTED) == ("pumpHandler" in framework.read(CONFIG))
        assert session.run("--rollback").status == 0
        for name in (CONFIG, LIST):
            framework.path(f"{name}.bak").unlink(missing_ok=True)
        if framework.read(LIST) == COMMITTED:
            session.run(f"--removeModelFile={PUMP}", "--modelHandler=pumpHandler")
            assert session.run("--commit").status == 0
            for name in (CONFIG, LIST):
                framework.path(f"{name}.bak").unlink()
        assert session.run(*STAGE).status == 0


def live(root: Path) -> tuple[str, str]:
    """The two live files of a framework."""
    return (root / CONFIG).read_text(), (root / LIST).read_text()


PHASES = {
    "opening a session": ((), STAGE),
    "joining a session": ((("--modelHandler=otherHandler",),), STAGE),
    "a commit": ((STAGE,), ("--commit",)),
    "dropping a session": ((STAGE,), ("--rollback",)),
    "undoing a commit": ((STAGE, ("--commit",)), ("--rollback",)),
}


@pytest.mark.parametrize("earlier, words", PHASES.values(), ids=PHASES.keys())
def test_signal_at_any_write_leaves_files_that_match(tool: Sandbox, framework: Framework, work: Path, tmp_path: Path,
                                                     earlier: tuple, words: tuple) -> None:
    """The tracer sends SIGINT and SIGTERM in turn, at each call."""
    if sandbox.find_launcher() != "bwrap" or sandbox.emulator():
        pytest.skip("strace works neither beside proot nor with an emulator")
    if sandbox.tool_path().parent.name == "coverage":
        pytest.skip("the program writes its coverage counters at exit, which a signal prevents")
    for arguments in earlier:
        assert tool.run(*arguments).status == 0
    before = live(framework.root)
    whole = shutil.copytree(framework.root, tmp_path / "whole")
    assert tool.using(framework=whole).run(*words).status == 0
    for call in ("write", "unlink"):
        for nth, number in zip(itertools.count(1), itertools.cycle((signal.SIGINT, signal.SIGTERM))):
            scratch = shutil.copytree(framework.root, tmp_path / f"{call}-{nth}")
            tracer = ("strace", "-o", f"{sandbox.WORK}/trace", "-e", f"trace={call}", "-e",
                      f"inject={call}:signal={number.name}:when={nth}")
            status = tool.using(framework=scratch, wrapper=tracer).run(*words).status
            assert live(scratch) in (before, live(whole))
            if f"--- {number.name} " not in (work / "trace").read_text():
                break
            assert status == -number
            again = tool.using(framework=scratch)
            if (scratch / LOCK).exists():
                assert again.run("--rollback").status == 0
            assert "There are no pending actions." in again.run("--status").console
        # The last run had no N-th call, so it met no signal. Staging removes no file.
        assert (status, nth > 1) == (0, call == "write" or words != STAGE)


# --- standard streams -------------------------------------------------------------------------------------------------


@contextmanager
def no_reader() -> Iterator[int]:
    """A pipe without a reader."""
    read, write = os.pipe()
    os.close(read)
    try:
        yield write
    finally:
        os.close(write)


def committed(framework: Framework) -> None:
    """The addition is installed, and the session is over."""
    assert framework.read(LIST) == COMMITTED
    assert "pumpHandler" in framework.read(CONFIG)
    assert not framework.path(LOCK).exists()


@pytest.mark.parametrize("closing", [">&-", "2>&-", "<&-", ">&- 2>&-", "<&- >&- 2>&-"])
def test_commit_does_not_need_its_streams(session: Sandbox, framework: Framework, closing: str) -> None:
    result = session.execute("/bin/sh", "-c", f"exec {' '.join(session.tool_command())} --commit {closing}")
    assert result.status == 0
    committed(framework)
    assert (COMPLETED in result.console) == ("2" not in closing)


@pytest.mark.parametrize("closing", [">&-", "2>&-", "<&- >&- 2>&-"])
def test_staging_writes_no_console_line_into_a_file(tool: Sandbox, framework: Framework, closing: str) -> None:
    result = tool.execute("/bin/sh", "-c", f"exec {' '.join([*tool.tool_command(), *STAGE])} {closing}")
    assert result.status == 0
    assert framework.read(SESSION) == f"3:{PUMP}|pumpHandler|1|1\n"
    assert framework.read(LOCK) == "alpha"


@pytest.mark.parametrize("number", [0, 1, 2])
def test_closed_stream_is_opened_on_dev_null(tool: Sandbox, framework: Framework, number: int) -> None:
    framework.script(AGENT, f"readlink /proc/$PPID/fd/{number} >{installed('stream')}\necho /opt/qor")
    tool.execute("/bin/sh", "-c", f"exec {' '.join(tool.tool_command())} --status {number}>&-")
    assert framework.read("stream") == "/dev/null\n"


def test_commit_continues_without_a_reader_of_the_console(session: Sandbox, framework: Framework) -> None:
    with no_reader() as console:
        assert session.start("--commit", console=console).wait().status == 0
    committed(framework)


def test_rejection_is_undone_without_a_reader_of_the_report(session: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo rejected; exit 1")
    with no_reader() as output:
        assert session.start("--commit", stdout=output).wait().status == 255
    assert framework.read(LIST) == f"{BASE}\n"
    complete(framework)


def test_child_is_ended_by_sigpipe(session: Sandbox, framework: Framework) -> None:
    """The tool catches SIGPIPE; its children must not inherit that."""
    framework.script(VALIDATOR, "(sh -c 'kill -PIPE $$'; echo $? >" + installed("pipe") + "); exit 0")
    assert session.run("--commit").status == 0
    assert framework.read("pipe") == f"{128 + signal.SIGPIPE}\n"


@pytest.mark.parametrize("stream", ["stdout", "console"])
def test_commit_continues_with_a_full_device_as_stream(session: Sandbox, framework: Framework, stream: str) -> None:
    with open("/dev/full", "wb") as full:
        assert session.start("--commit", **{stream: full}).wait().status == 0
    committed(framework)


def test_help_without_a_reader_exits_with_status_0(tool: Sandbox) -> None:
    with no_reader() as output:
        assert tool.start("--help", stdout=output).wait().status == 0


def test_staging_never_reads_standard_input(tool: Sandbox) -> None:
    line = f"--addModelFile={PUMP}"
    read, write = os.pipe()
    try:
        assert tool.start(line, stdin=read).wait() == staged(line, new=True)
    finally:
        os.close(read)
        os.close(write)


def test_staging_continues_without_a_system_log(tool: Sandbox, framework: Framework) -> None:
    line = f"--addModelFile={PUMP}"
    assert tool.using(log=False).run(line) == answer(NEW_SESSION, UPDATED, line, COMPLETED)
    assert framework.read(SESSION) == f"0:{PUMP}\n"


# --- a framework that cannot be written -------------------------------------------------------------------------------


@pytest.fixture
def read_only(tool: Sandbox, monkeypatch: pytest.MonkeyPatch) -> Callable[..., Sandbox]:
    """The framework, after some calls, on a file system that has become read-only; only bubblewrap can do that."""
    if sandbox.find_launcher() != "bwrap":
        pytest.skip("proot has no read-only view")
    bind = sandbox.LAUNCHERS["bwrap"]

    def bind_read_only(view: sandbox.View) -> list[str]:
        command = bind(view)
        command[command.index(sandbox.FRAMEWORK) - 2] = "--ro-bind"
        return command

    def after(*earlier: tuple[str, ...]) -> Sandbox:
        for words in earlier:
            assert tool.run(*words).status == 0
        monkeypatch.setitem(sandbox.LAUNCHERS, "bwrap", bind_read_only)
        return tool

    return after


LINE = " ".join((*STAGE, "--managedObjectVersion=1", "--transactionalResourceVersion=1"))


@pytest.mark.parametrize("earlier, words, expected", [
    ((), STAGE, answer(NEW_SESSION, Bare(f"File is read-only: {installed(CONFIG_TMP)}"), status=70)),
    ((), ("--commit",), answer("There is nothing to commit!",
                               syslog=[(INFO, "lock file not present, There is nothing to commit.")])),
    ((STAGE,), STAGE, answer(UPDATED, LINE, critical("Unable to write to FIFO file!"), COMPLETED,
                             syslog=[(DEBUG, LINE), (WARNING, "Unable to write to FIFO file")])),
    ((STAGE,), ("--status",), answer("Queued actions:", LINE, COMPLETED)),
    ((STAGE,), ("--commit",), answer(Bare(f"File is read-only: {installed(f'{CONFIG}.bak')}"), status=70)),
    ((STAGE,), ("--rollback",), answer(ROLLING_BACK)),
    ((STAGE, ("--commit",)), ("--rollback",), answer(
        ROLLING_BACK, Bare(f"File is read-only: {installed(LIST)}"), status=70)),
], ids=["open", "commit without a session", "join", "status", "commit", "drop", "undo"])
def test_read_only_framework_stays_as_it_is(read_only: Callable[..., Sandbox], framework: Framework,
                                            earlier: tuple[tuple[str, ...], ...], words: tuple[str, ...],
                                            expected: Result) -> None:
    tool = read_only(*earlier)
    before = framework.snapshot()
    assert tool.run(*words) == expected
    assert framework.changes(before) == {}
