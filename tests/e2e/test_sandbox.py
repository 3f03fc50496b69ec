"""The sandbox itself, with each launcher."""
from __future__ import annotations

import os
import signal
import subprocess
import tempfile
from pathlib import Path

import pytest

import sandbox
from expect import COMPLETED, DEBUG, NEW_SESSION, NOTHING_PENDING, UPDATED, answer
from framework import LIST, LOCK, SESSION, Framework, installed
from sandbox import Sandbox, SandboxError, emulator, find_launcher, parse_datagram, tool_path

LAUNCHER = Path(sandbox.__file__)


@pytest.fixture(params=["first choice", "proot"])
def boxed(request: pytest.FixtureRequest, tool: Sandbox) -> Sandbox:
    """A sandbox of each kind."""
    return tool.using(launcher="auto" if request.param == "first choice" else "proot")


def test_program_sees_its_framework_host_and_system_log(boxed: Sandbox, framework: Framework) -> None:
    line = "--addModelFile=/opt/qor/models/pump.xml"
    assert boxed.on("gamma").run(line) == answer(NEW_SESSION, UPDATED, line, COMPLETED, syslog=[(DEBUG, line)])
    assert framework.read(LOCK) == "gamma"
    assert framework.read(SESSION) == "0:/opt/qor/models/pump.xml\n"


def test_commit_is_the_same_with_each_launcher(boxed: Sandbox, framework: Framework) -> None:
    framework.session("0:/opt/qor/models/pump.xml\n")
    framework.recording("bin/pel_model_validator", "validator.args", "exit 0")
    assert boxed.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == "/opt/qor/models/base.xml\n/opt/qor/models/pump.xml\n"
    assert framework.read("validator.args") == "-q\n-c\n/opt/qor/etc/model/model_file_list.cfg\n"


def test_environment_is_scrubbed(boxed: Sandbox, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setenv("QORPATH", "/somewhere/else")
    result = boxed.with_env(GIVEN="given value").execute("/usr/bin/env")
    names = {line.partition("=")[0] for line in result.stdout.splitlines()}
    assert "GIVEN=given value" in result.stdout.splitlines()
    assert "PATH=/usr/sbin:/usr/bin:/sbin:/bin" in result.stdout.splitlines()
    instrumentation = {name for name in names if sandbox.INSTRUMENTATION.match(name)}
    assert names - instrumentation - {"QOR_SANDBOX_HOST"} <= {"PATH", "LANG", "GIVEN", "PWD"}


def test_working_directory_is_the_scratch_directory(boxed: Sandbox, work: Path) -> None:
    assert boxed.execute("sh", "-c", "pwd; echo left >behind").stdout == "/opt/scratch\n"
    assert (work / "behind").read_text() == "left\n"


def test_shells_and_tools_see_the_framework_too(boxed: Sandbox, framework: Framework) -> None:
    framework.write("a file", "text")
    script = "[[ -r '/opt/qor/a file' && ! -e /opt/qor/gone ]] && stat -c %s '/opt/qor/a file'"
    seen = boxed.execute("bash", "-c", script)
    assert (seen.status, seen.stdout) == (0, "4\n")


def test_host_name_is_that_of_the_sandbox(boxed: Sandbox) -> None:
    assert boxed.on("delta").execute("hostname").stdout == "delta\n"


def test_exit_status_is_that_of_the_program(boxed: Sandbox) -> None:
    assert boxed.execute("sh", "-c", "exit 139").status == 139


def test_exit_by_signal_differs_from_an_exit_status(boxed: Sandbox) -> None:
    assert boxed.execute("sh", "-c", "kill -SEGV $$").status == -signal.SIGSEGV


def test_standard_input_reaches_the_program(boxed: Sandbox) -> None:
    assert boxed.execute("cat", stdin=b"said\n").stdout == "said\n"


def test_standard_input_is_empty_unless_given(boxed: Sandbox) -> None:
    assert boxed.execute("cat").stdout == ""


def test_signal_reaches_the_running_program(boxed: Sandbox) -> None:
    run = boxed._start(["sh", "-c", "exec sleep 60"], [], subprocess.DEVNULL, subprocess.PIPE, subprocess.PIPE)
    assert run.running
    run.signal(signal.SIGTERM)
    assert run.wait().status == -signal.SIGTERM


@pytest.mark.parametrize("number", [signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM])
def test_signal_ignored_outside_ends_the_program(boxed: Sandbox, number: signal.Signals) -> None:
    before = signal.signal(number, signal.SIG_IGN)
    try:
        run = boxed._start(["sh", "-c", f"kill -{number} $$"], [], subprocess.DEVNULL, subprocess.PIPE, subprocess.PIPE)
    finally:
        signal.signal(number, before)
    assert run.wait().status == -number


def test_hanging_program_is_killed_and_reported(boxed: Sandbox) -> None:
    with pytest.raises(SandboxError, match="no end after 0.2 s"):
        boxed.execute("sleep", "60", timeout=0.2)


def test_killed_program_leaves_nothing_behind(boxed: Sandbox) -> None:
    before = os.listdir("/opt")
    run = boxed.launch("sleep", "60")
    run.kill()
    with pytest.raises(SandboxError, match="the sandbox failed"):
        run.wait()
    assert os.listdir("/opt") == before
    assert list(Path("/tmp").glob(f"proo*-{run.launcher_pid}-*")) == []


def test_program_ends_with_its_caller(framework: Framework) -> None:
    script = (f"from sandbox import *\n"
              f"Sandbox(Path({str(framework.root)!r}), launcher={find_launcher()!r})"
              f".launch('sh', '-c', 'echo started; sleep 5 >&-; echo survived', stdout=sys.stdout, console=sys.stderr)\n"
              f"input()\n")
    # With a long path, the sandbox itself would use /tmp, where a killed caller leaves its files.
    with tempfile.TemporaryDirectory(prefix="qmt-", dir="/tmp") as scratch:
        caller = subprocess.Popen(["/usr/bin/python3", "-c", script], cwd=LAUNCHER.parent, stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True, env={**os.environ, "TMPDIR": scratch})
        assert caller.stdout is not None
        assert caller.stdout.readline() == "started\n"
        caller.kill()
        assert caller.communicate()[0] == ""


def test_log_is_read_below_a_long_path(boxed: Sandbox, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    far = tmp_path / ("x" * 100)
    far.mkdir()
    monkeypatch.setattr(tempfile, "tempdir", str(far))
    assert boxed.execute("/usr/bin/python3", "-c", "import syslog; syslog.syslog('said')").syslog == [(6, "said")]


def test_end_of_another_sandbox_changes_nothing(boxed: Sandbox, work: Path) -> None:
    os.mkfifo(work / "gate")
    other = boxed.launch("sleep", "60")
    listing = boxed.launch("sh", "-c", "read line <gate; ls /opt")
    other.signal(signal.SIGTERM)
    other.wait()
    (work / "gate").write_text("go on\n")
    assert listing.wait().stdout == "qor\nscratch\n"


def test_missing_command_is_an_error() -> None:
    with pytest.raises(SandboxError, match="nowhere"):
        Sandbox(Path("/tmp")).execute("nowhere")


def test_permissions_bind_root_too(boxed: Sandbox, framework: Framework) -> None:
    framework.write("sealed", "")
    framework.path("sealed").chmod(0o400)
    assert boxed.execute("sh", "-c", f"echo broken >{installed('sealed')}").status != 0
    assert framework.read("sealed") == ""


def test_system_log_keeps_messages_apart(boxed: Sandbox) -> None:
    script = ("import syslog\n"
              "for i in range(200): syslog.syslog(syslog.LOG_ERR, f'number {i}: first\\nsecond')\n"
              "syslog.syslog(syslog.LOG_DEBUG, 'x' * 50000)\n")
    lines = boxed.execute("/usr/bin/python3", "-c", script).syslog
    assert lines[:-1] == [(3, f"number {i}: first\nsecond") for i in range(200)]
    assert lines[-1] == (7, "x" * 50000)


def test_log_datagram_is_parsed() -> None:
    assert parse_datagram(b"<12>Jan  2 03:04:05 tool: a: b\nc") == (4, "a: b\nc")


def test_malformed_log_datagram_is_refused() -> None:
    with pytest.raises(SandboxError, match="not a system log message"):
        parse_datagram(b"hello")


def test_shortened_sleep_counts_and_unlinks(tool: Sandbox, framework: Framework, work: Path) -> None:
    framework.session("", host="beta")
    held = tool.sleepless(unlink=installed(LOCK), at=7)
    assert held.run("--modelHandler=h").status == 0
    assert (work / "sleeps").read_text() == "7\n"
    assert framework.read(LOCK) == "alpha"


def test_preload_does_not_reach_children(boxed: Sandbox, framework: Framework) -> None:
    framework.script("qorea/bin/qorea", f'echo "[$LD_PRELOAD]" >{installed("seen")}\necho /opt/qor')
    assert boxed.sleepless().run("--status") == answer(NOTHING_PENDING, COMPLETED)
    assert framework.read("seen") == "[]\n"


def test_tracer_can_run_the_program(tool: Sandbox, work: Path) -> None:
    if find_launcher() == "proot":
        pytest.skip("proot is a tracer itself, and there can be only one")
    traced = tool.using(wrapper=("strace", "-o", "/opt/scratch/trace")).sleepless()
    assert traced.run("--status") == answer(NOTHING_PENDING, COMPLETED)
    started = emulator()[0] if emulator() else str(tool_path())
    assert (work / "trace").read_text().startswith(f'execve("{started}"')


def test_rest_of_opt_is_hidden(boxed: Sandbox) -> None:
    assert boxed.execute("ls", "/opt").stdout == "qor\nscratch\n"


def test_machine_cannot_be_written(tool: Sandbox) -> None:
    if find_launcher() != "bwrap":
        pytest.skip("proot shows the machine as it is")
    assert tool.execute("sh", "-c", ": >/usr/written").status != 0


def test_unknown_launcher_is_refused(tool: Sandbox) -> None:
    with pytest.raises(SandboxError, match="unknown launcher chroot"):
        tool.using(launcher="chroot").run()


def command_line(framework: Framework, *args: str) -> subprocess.CompletedProcess[str]:
    """The launcher as a command of its own."""
    return subprocess.run(["/usr/bin/python3", str(LAUNCHER), "--framework", str(framework.root), *args],
                          capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False)


@pytest.mark.parametrize("fallback", [[], ["--fallback"]], ids=["first choice", "fallback"])
def test_command_line_shows_output_system_log_and_status(framework: Framework, fallback: list[str]) -> None:
    shown = command_line(framework, *fallback, "--host", "delta", "--", "qor_mim_tool", "--modelHandler=h")
    line = " --modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=1"
    assert shown.stderr == answer(NEW_SESSION, UPDATED, line, COMPLETED).console + f"<7> {line}\n"
    assert (shown.stdout, shown.returncode) == ("", 0)
    assert framework.read(LOCK) == "delta"


def test_command_line_passes_on_the_status_of_a_command(framework: Framework, tmp_path: Path) -> None:
    log = tmp_path / "log"
    shown = command_line(framework, "--env", "WORD=x=y", "--syslog", str(log), "--", "sh", "-c",
                         "echo $WORD; echo oops >&2; kill -9 $$")
    assert (shown.stdout, shown.stderr, shown.returncode) == ("x=y\n", "oops\n", 128 + signal.SIGKILL)
    assert log.read_text() == ""


@pytest.mark.unsound("there is no program")
def test_missing_program_is_explained(monkeypatch: pytest.MonkeyPatch, tool: Sandbox) -> None:
    monkeypatch.setenv("QOR_MIM_TOOL", "/nowhere/qor_mim_tool")
    with pytest.raises(SandboxError, match="build it first"):
        tool.run("--status")
