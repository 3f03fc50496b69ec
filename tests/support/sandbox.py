#!/usr/bin/python3
"""Run the tool as if it were installed: scratch framework, own host name, own system log.

The program knows fixed places (/opt/qor, /dev/log), so a test that called it directly would touch the machine.  Here
every run gets its own view of the file system instead:

    /opt/qor       a scratch framework directory, writable
    /opt/scratch   the working directory, empty and writable
    /dev/log       a socket of ours, whose datagrams become ``Result.syslog``
    the rest       the machine's, read-only where bubblewrap is the launcher; /opt has nothing else

Bubblewrap is the launcher of choice.  Where namespaces are refused, proot gives the same view without privilege, and a
preloaded ``gethostname`` stands in for the host name that it cannot set.  ``launcher_name()`` says which one is used.

As a command: ``sandbox.py --framework DIR --host NAME [--env K=V]... -- qor_mim_tool --status``.

Environment: QOR_MIM_TOOL (the program; default build/release/qor_mim_tool), QOR_MIM_TOOL_EMULATOR (a command prefix for
a foreign program, for instance ``qemu-arm-static -L SYSROOT``), QOR_MIM_TOOL_PRELOAD_CC (the C compiler for what is
preloaded into it), QOR_SANDBOX_LAUNCHER (auto, bwrap or proot), QOR_SANDBOX_WRITABLE (further writable directories,
separated by colons; a program built for coverage needs its build directory).
"""
from __future__ import annotations

import argparse
import contextlib
import dataclasses
import functools
import hashlib
import os
import re
import select
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
from collections.abc import Callable, Iterable, Mapping, Sequence
from pathlib import Path
from typing import IO, Any

SUPPORT = Path(__file__).resolve().parent
PROJECT = SUPPORT.parents[1]
CACHE = PROJECT / "build" / "support"

FRAMEWORK = "/opt/qor"
WORK = "/opt/scratch"
LOG = "/dev/log"
PATH = "/usr/sbin:/usr/bin:/sbin:/bin"
# What proot shows of the machine's /dev, much the same as bubblewrap does.
DEVICES = tuple(f"/dev/{name}" for name in ("full", "null", "ptmx", "pts", "random", "shm", "tty", "urandom", "zero"))
# The signal at which proot ends what it traces, and then removes its temporary files and ends.
PROOT_END = signal.SIGQUIT
PROOT_PATIENCE = 10.0

# Long enough for a busy machine.
DEFAULT_TIMEOUT = 300.0
# What an instrumented program reads; everything else of the caller's environment stays outside.
INSTRUMENTATION = re.compile(r"^(ASAN|UBSAN|LSAN|TSAN|MSAN)_OPTIONS$|^GCOV_|^LLVM_PROFILE_FILE$")
DATAGRAM = re.compile(rb"^<(\d+)>\w{3} [ \d]\d \d\d:\d\d:\d\d [\w-]+: (.*)$", re.DOTALL)
USER_FACILITY = 1

LogLine = tuple[int, str]


class SandboxError(RuntimeError):
    """The sandbox itself failed; what the program did is unknown."""


@dataclasses.dataclass(frozen=True)
class Result:
    """What one run left behind: ``status`` is the exit status, or minus the number of the signal that ended it."""

    status: int
    stdout: str
    console: str
    syslog: list[LogLine]


# --- the program and what is compiled for it ---------------------------------------------------------------------------


def tool_path() -> Path:
    """The program under test."""
    path = Path(os.environ.get("QOR_MIM_TOOL") or PROJECT / "build" / "release" / "qor_mim_tool").absolute()
    if not path.is_file():
        raise SandboxError(f"{path} does not exist: build it first (scripts/build release)")
    return path


def emulator() -> list[str]:
    """The command prefix that runs a program of a foreign architecture; usually none."""
    prefix = shlex.split(os.environ.get("QOR_MIM_TOOL_EMULATOR", ""))
    if prefix:
        found = shutil.which(prefix[0])
        if found is None:
            raise SandboxError(f"emulator {prefix[0]} not found")
        prefix[0] = found
    return prefix


def compiled(source: Path, compiler: str, flags: Sequence[str], suffix: str) -> Path:
    """Compile one C file once; its contents are part of the result's name, so a stale one is never used."""
    parts = [source.read_bytes(), compiler.encode(), " ".join(flags).encode()]
    parts += [header.read_bytes() for header in sorted(source.parent.glob("*.h"))]
    digest = hashlib.sha256(b"\0".join(parts)).hexdigest()[:12]
    target = CACHE / f"{source.stem}-{digest}{suffix}"
    if not target.exists():
        CACHE.mkdir(parents=True, exist_ok=True)
        scratch = target.with_suffix(f".{os.getpid()}")
        command = [compiler, "-std=gnu11", "-O2", "-Wall", "-Wextra", *flags, "-o", str(scratch), str(source)]
        subprocess.run(command, check=True, stdin=subprocess.DEVNULL)
        scratch.replace(target)
    return target


@functools.lru_cache(maxsize=None)
def runner() -> Path:
    """The program that the launchers start: it reports process id and wait status of what it runs."""
    return compiled(SUPPORT / "runner.c", "cc", [], "")


@functools.lru_cache(maxsize=None)
def preload(name: str, compiler: str = "cc") -> Path:
    """The stand-in library ``name`` (a file of preload/), for the machine or for a foreign program."""
    return compiled(SUPPORT / "preload" / f"{name}.c", compiler, ["-shared", "-fPIC"], ".so")


# --- launchers ---------------------------------------------------------------------------------------------------------


@dataclasses.dataclass(frozen=True)
class View:
    """What a sandboxed program is to see."""

    framework: Path | None
    scratch: Path
    """Room for what the launcher itself needs."""
    work: Path
    log: Path
    host: str
    writable: tuple[Path, ...] = ()
    readable: tuple[Path, ...] = ()


def _bwrap(view: View) -> list[str]:
    command = ["bwrap", "--die-with-parent", "--ro-bind", "/", "/", "--tmpfs", "/opt"]
    # /opt is hidden as a whole: a checkout that happens to live there has to be let in again.
    for path in view.readable:
        if path.is_relative_to("/opt"):
            command += ["--ro-bind", str(path), str(path)]
    for path in view.writable:
        command += ["--bind", str(path), str(path)]
    if view.framework is not None:
        command += ["--bind", str(view.framework), FRAMEWORK]
    command += ["--bind", str(view.work), WORK, "--dev", "/dev", "--bind", str(view.log), LOG]
    return command + ["--unshare-uts", "--hostname", view.host, "--chdir", WORK, "--"]


def _proot(view: View) -> list[str]:
    # proot makes the missing place of a bind on the machine itself, and leaves it there when it is killed. So /opt and
    # /dev are directories of ours that have every place.
    binds = [(view.work, WORK), (view.log, LOG)]
    binds += [(path, str(path)) for path in map(Path, DEVICES) if path.exists()]
    binds += [(path, str(path)) for path in view.readable if path.is_relative_to("/opt")]
    if view.framework is not None:
        binds.append((view.framework, FRAMEWORK))
    for outside, inside in binds:
        place = view.scratch / inside.lstrip("/")
        if outside.is_dir():
            place.mkdir(parents=True, exist_ok=True)
        else:
            place.parent.mkdir(parents=True, exist_ok=True)
            place.touch()
    for number, name in enumerate(("stdin", "stdout", "stderr")):
        (view.scratch / "dev" / name).symlink_to(f"/proc/self/fd/{number}")
    (view.scratch / "dev" / "fd").symlink_to("/proc/self/fd")
    # The end of the caller ends proot in the way that lets it clean up. The run starts in WORK, where a stray path does
    # no harm: old versions let newer system calls (statx, faccessat2) through as they are, and what the runner does
    # against that may be refused.
    command = ["setpriv", "--pdeathsig", PROOT_END.name, "proot", "-v", "-1"]
    for outside, inside in [(view.scratch / "opt", "/opt"), (view.scratch / "dev", "/dev"), *binds]:
        command += ["-b", f"{outside}:{inside}"]
    return command + ["-w", WORK]


LAUNCHERS: dict[str, Callable[[View], list[str]]] = {"bwrap": _bwrap, "proot": _proot}
NAMES = {"bwrap": "bubblewrap", "proot": "proot"}


def _probe(name: str) -> str:
    """Try a launcher with all that a real run needs; return why it fails, or an empty text."""
    with tempfile.TemporaryDirectory(prefix="qmt-") as scratch, LogSocket(Path(scratch) / "log") as log:
        work = Path(scratch) / "work"
        work.mkdir()
        command = LAUNCHERS[name](View(work, Path(scratch), work, log.path, "probe")) + ["/bin/true"]
        try:
            answer = subprocess.run(command, capture_output=True, stdin=subprocess.DEVNULL, env={"PATH": PATH},
                                    timeout=DEFAULT_TIMEOUT, check=False)
        except (OSError, subprocess.TimeoutExpired) as error:
            return str(error)
        return "" if answer.returncode == 0 else answer.stderr.decode(errors="replace").strip() or "it failed silently"


@functools.lru_cache(maxsize=None)
def find_launcher(wanted: str = "auto") -> str:
    """The launcher to use: the one asked for, or the first that works here."""
    if wanted == "auto":
        wanted = os.environ.get("QOR_SANDBOX_LAUNCHER", "auto")
    candidates = list(LAUNCHERS) if wanted == "auto" else [wanted]
    complaints = []
    for name in candidates:
        if name not in LAUNCHERS:
            raise SandboxError(f"unknown launcher {name}")
        complaint = _probe(name)
        if not complaint:
            return name
        complaints.append(f"{NAMES[name]}: {complaint}")
    raise SandboxError("no sandbox can be started here\n" + "\n".join(complaints))


def launcher_name(wanted: str = "auto") -> str:
    """The name of the sandbox in use, for messages."""
    return NAMES[find_launcher(wanted)]


# --- the system log ----------------------------------------------------------------------------------------------------


def parse_datagram(data: bytes) -> LogLine:
    """Priority and text of what ``syslog`` sent, which must name the program alone as the user's."""
    match = DATAGRAM.match(data)
    if match is None or int(match[1]) >> 3 != USER_FACILITY:
        raise SandboxError(f"not a system log message of a program: {data!r}")
    return int(match[1]) & 7, match[2].decode(errors="surrogateescape")


class LogSocket:
    """A system log of our own.  It is read all the time, since a full queue would make ``syslog`` wait."""

    def __init__(self, path: Path):
        self.path = path
        self.lines: list[LogLine] = []
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        # By way of its directory's descriptor, since a socket's path is limited to 108 bytes.
        directory = os.open(path.parent, os.O_PATH)
        self._socket.bind(f"/proc/self/fd/{directory}/{path.name}")
        os.close(directory)
        path.chmod(0o666)
        self._stop_read, self._stop_write = os.pipe()
        self._thread = threading.Thread(target=self._collect, daemon=True)
        self._failure: Exception | None = None

    def __enter__(self) -> LogSocket:
        self._thread.start()
        return self

    def __exit__(self, *_: object) -> None:
        """Everything that the program has sent is in the queue by now: read it, then close."""
        os.write(self._stop_write, b".")
        self._thread.join()
        self._socket.close()
        os.close(self._stop_read)
        os.close(self._stop_write)
        if self._failure is not None:
            raise self._failure

    def _collect(self) -> None:
        try:
            while self._stop_read not in select.select([self._socket, self._stop_read], [], [])[0]:
                self._take()
            while select.select([self._socket], [], [], 0)[0]:
                self._take()
        except Exception as failure:  # handed to whoever closes the log
            self._failure = failure

    def _take(self) -> None:
        self.lines.append(parse_datagram(self._socket.recv(1 << 20)))


# --- running -----------------------------------------------------------------------------------------------------------


class Run:
    """A program running in the sandbox.  ``wait()`` ends it and gives its ``Result``."""

    def __init__(self, sandbox: Sandbox, command: Sequence[str], env: Mapping[str, str], stdin: bytes | int | IO[Any],
                 stdout: int | IO[Any], console: int | IO[Any]):
        self._input = stdin if isinstance(stdin, bytes) else None
        self._own_session = sandbox.own_session
        with contextlib.ExitStack() as stack:
            self._launcher = find_launcher(sandbox.launcher)
            # proot passes on a socket's path as it is outside, and none longer than this.
            is_far = self._launcher == "proot" and len(tempfile.gettempdir()) > 80
            place = tempfile.TemporaryDirectory(prefix="qmt-", dir="/tmp" if is_far else None)
            scratch = Path(stack.enter_context(place))
            self._log = stack.enter_context(LogSocket(scratch / "log"))
            work = sandbox.work or scratch / "work"
            work.mkdir(exist_ok=True)
            view = dataclasses.replace(sandbox.view(), scratch=scratch, work=work, log=self._log.path)
            if not sandbox.log:
                view = dataclasses.replace(view, log=scratch / "no-log")
                view.log.touch()
            status_read, status_write = os.pipe()
            self._status = stack.enter_context(os.fdopen(status_read, "r"))
            # Ours is closed after the start: the end of the runner must be the end of the channel.
            with os.fdopen(status_write, "w"):
                launcher = LAUNCHERS[self._launcher](view)
                self._process = subprocess.Popen(
                    [*launcher, str(runner()), str(status_write), *command],
                    stdin=stdin if self._input is None else subprocess.PIPE, stdout=stdout, stderr=console,
                    env=dict(env), cwd=work, pass_fds=[status_write], start_new_session=self._own_session)
            self.launcher_pid = self._process.pid
            self.pid = self._read_status("pid")
            self._closing = stack.pop_all()

    def _read_status(self, wanted: str) -> int | None:
        """The next number that the runner reports; none when the launcher or the start of the program failed."""
        word, _, number = self._status.readline().partition(" ")
        return int(number) if word == wanted else None

    @property
    def syslog(self) -> list[LogLine]:
        """The system log so far."""
        return list(self._log.lines)

    @property
    def running(self) -> bool:
        """Whether the program has not ended yet."""
        return self._process.poll() is None

    def signal(self, number: int) -> None:
        """Send a signal to the program itself, not to what surrounds it."""
        if self.pid is None:
            raise SandboxError("no program to send a signal to")
        os.kill(self.pid, number)

    def wait_for(self, condition: Callable[[], object], timeout: float = DEFAULT_TIMEOUT) -> None:
        """Return when ``condition`` holds; an error when the program ends or the time runs out before."""
        deadline = time.monotonic() + timeout
        while not condition():
            if not self.running and not condition():
                raise SandboxError("the program ended before what was waited for")
            if time.monotonic() > deadline:
                self.kill()
                raise SandboxError("what was waited for did not happen")
            time.sleep(0.005)

    def kill(self) -> None:
        """End everything that belongs to this run."""
        if self._launcher == "proot":
            self._process.send_signal(PROOT_END)
            with contextlib.suppress(subprocess.TimeoutExpired):
                self._process.wait(PROOT_PATIENCE)
        if self._own_session:
            try:
                os.killpg(self._process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        self._process.kill()

    def wait(self, timeout: float = DEFAULT_TIMEOUT) -> Result:
        """Wait for the end of the program; one that does not end is killed and reported."""
        try:
            try:
                stdout, console = self._process.communicate(self._input, timeout=timeout)
            except subprocess.TimeoutExpired as hang:
                self.kill()
                stdout, console = self._process.communicate()
                raise SandboxError(f"no end after {timeout} s\n{_text(stdout)}{_text(console)}") from hang
        except BaseException:
            self.kill()
            raise
        finally:
            status = self._read_status("status")
            self._closing.close()
        if self.pid is None or status is None:
            raise SandboxError(f"the sandbox failed with {self._process.returncode}\n{_text(console)}")
        return Result(os.waitstatus_to_exitcode(status), _text(stdout), _text(console), list(self._log.lines))


def _text(output: bytes | None) -> str:
    return (output or b"").decode(errors="surrogateescape")


@dataclasses.dataclass(frozen=True)
class Sandbox:
    """One host that sees a framework directory.  Immutable: ``on()`` and ``using()`` give changed copies."""

    framework: Path | None
    """The scratch framework; without one, none is installed as far as the program can see."""
    host: str = "alpha"
    env: Mapping[str, str] = dataclasses.field(default_factory=dict)
    preload: tuple[str | Path, ...] = ()
    launcher: str = "auto"
    wrapper: tuple[str, ...] = ()
    """A command put before the program, for instance a tracer; it gets the preloads on (only strace can)."""
    work: Path | None = None
    """Where /opt/scratch lies outside; a scratch directory for each run unless given."""
    log: bool = True
    """Whether a system log listens; without one, a plain file lies in its place."""
    own_session: bool = True
    """Detach from the terminal, so that everything can be killed at once."""

    def on(self, host: str) -> Sandbox:
        """The same framework as another host sees it."""
        return dataclasses.replace(self, host=host)

    def using(self, **changes: Any) -> Sandbox:
        """A copy with other settings."""
        return dataclasses.replace(self, **changes)

    def with_env(self, **variables: str) -> Sandbox:
        """A copy with further environment variables."""
        return self.using(env={**self.env, **variables})

    def sleepless(self, count: str = f"{WORK}/sleeps", unlink: str | None = None, at: int = 0) -> Sandbox:
        """A copy whose sleeps take no time; during sleep number ``at`` the file ``unlink`` disappears."""
        variables = {"QOR_SANDBOX_SLEEP_COUNT": count}
        if unlink is not None:
            variables["QOR_SANDBOX_SLEEP_UNLINK"] = f"{at}:{unlink}"
        return self.using(preload=(*self.preload, "sleep")).with_env(**variables)

    def run(self, *args: str, stdin: bytes | int | IO[Any] = subprocess.DEVNULL, timeout: float = DEFAULT_TIMEOUT,
            env: Mapping[str, str] | None = None) -> Result:
        """Run the tool to its end."""
        return self.start(*args, stdin=stdin, env=env).wait(timeout)

    def start(self, *args: str, stdin: bytes | int | IO[Any] = subprocess.DEVNULL,
              stdout: int | IO[Any] = subprocess.PIPE, console: int | IO[Any] = subprocess.PIPE,
              env: Mapping[str, str] | None = None) -> Run:
        """Start the tool and leave it running."""
        sandbox = self if env is None else self.with_env(**env)
        return sandbox._start([str(tool_path()), *args], emulator(), stdin, stdout, console)

    def execute(self, *command: str, stdin: bytes | int | IO[Any] = subprocess.DEVNULL,
                timeout: float = DEFAULT_TIMEOUT) -> Result:
        """Run any other program of this machine in the sandbox, to its end."""
        return self.launch(*command, stdin=stdin).wait(timeout)

    def launch(self, *command: str, stdin: bytes | int | IO[Any] = subprocess.DEVNULL,
               stdout: int | IO[Any] = subprocess.PIPE, console: int | IO[Any] = subprocess.PIPE) -> Run:
        """Start any other program of this machine in the sandbox and leave it running."""
        return self._start(list(command), [], stdin, stdout, console)

    def tool_command(self, program: Path | None = None) -> list[str]:
        """The command line that runs the tool, or a program like it, for a script that runs in the sandbox itself."""
        prefix = emulator()
        libraries = self._libraries(find_launcher(self.launcher), foreign=bool(prefix))
        return self._preloading([str(path) for path in libraries], prefix, [str(program or tool_path())])

    def _start(self, command: list[str], prefix: list[str], stdin: bytes | int | IO[Any], stdout: int | IO[Any],
               console: int | IO[Any]) -> Run:
        launcher = find_launcher(self.launcher)
        libraries = [str(path) for path in self._libraries(launcher, foreign=bool(prefix))]
        env = self._environment(launcher, bool(libraries))
        return Run(self, self._preloading(libraries, prefix, command), env, stdin, stdout, console)

    def _environment(self, launcher: str, preloading: bool) -> dict[str, str]:
        env = {"PATH": PATH, "LANG": "C"}
        env.update({name: value for name, value in os.environ.items() if INSTRUMENTATION.match(name)})
        env.update(self.env)
        if preloading:
            # Our stand-ins replace no allocator, so that they may come before a sanitizer's run-time.
            _add_option(env, "ASAN_OPTIONS", "verify_asan_link_order=0")
        if launcher == "proot":
            env["QOR_SANDBOX_HOST"] = self.host
        if launcher == "proot" or self.wrapper:
            # A leak check traces its own process, and another tracer stands in its way.
            _add_option(env, "ASAN_OPTIONS", "detect_leaks=0")
        return env

    def _libraries(self, launcher: str, foreign: bool) -> Iterable[Path]:
        compiler = os.environ.get("QOR_MIM_TOOL_PRELOAD_CC", "cc") if foreign else "cc"
        names = (*self.preload, "hostname") if launcher == "proot" else self.preload
        return [name if isinstance(name, Path) else preload(name, compiler) for name in names]

    def _preloading(self, libraries: list[str], prefix: list[str], command: list[str]) -> list[str]:
        """The command line that preloads into the program, and into nothing that comes before it."""
        wrapper = [_absolute(word) if index == 0 else word for index, word in enumerate(self.wrapper)]
        command = [_absolute(command[0]), *command[1:]]
        if not libraries:
            return [*wrapper, *prefix, *command]
        variable = "LD_PRELOAD=" + ":".join(libraries)
        if prefix:
            return [*wrapper, prefix[0], "-E", variable, *prefix[1:], *command]
        if wrapper and Path(wrapper[0]).name == "strace":
            return [wrapper[0], "-E", variable, *wrapper[1:], *command]
        return [*wrapper, "/usr/bin/env", variable, *command]

    def view(self) -> View:
        """What this sandbox shows, as far as it does not depend on the single run."""
        writable = tuple(Path(path) for path in os.environ.get("QOR_SANDBOX_WRITABLE", "").split(":") if path)
        framework = None if self.framework is None else self.framework.absolute()
        return View(framework, Path(), Path(), Path(), self.host, writable, (PROJECT, tool_directory()))


def tool_directory() -> Path:
    """Where the program lies, whether or not it has been built yet."""
    return Path(os.environ.get("QOR_MIM_TOOL") or PROJECT / "build" / "release" / "qor_mim_tool").absolute().parent


def _absolute(word: str) -> str:
    found = word if "/" in word else shutil.which(word, path=PATH)
    if found is None:
        raise SandboxError(f"{word} not found")
    return found


def _add_option(env: dict[str, str], name: str, addition: str) -> None:
    """Add to a list of options as the sanitizers read them."""
    env[name] = f"{env[name]}:{addition}" if env.get(name) else addition


# --- command line ------------------------------------------------------------------------------------------------------


def _arguments(argv: Sequence[str]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(description="Run a command in the sandbox.", allow_abbrev=False)
    parser.add_argument("--framework", type=Path, required=True, help="the directory that is seen as /opt/qor")
    parser.add_argument("--host", default="alpha", help="the host name in the sandbox (default: alpha)")
    parser.add_argument("--env", action="append", default=[], metavar="NAME=VALUE", help="an environment variable")
    parser.add_argument("--preload", action="append", default=[], metavar="NAME", help="a stand-in: sleep")
    parser.add_argument("--fallback", action="store_true", help="use proot even where bubblewrap works")
    parser.add_argument("--syslog", type=Path, help="a file for the system log; standard error unless given")
    parser.add_argument("command", nargs="+", help="what to run; the word qor_mim_tool means the built program")
    return parser.parse_args(argv)


def main(argv: Sequence[str]) -> int:
    """The command line's entry."""
    wanted = _arguments(argv)
    env = dict(item.partition("=")[::2] for item in wanted.env)
    sandbox = Sandbox(wanted.framework, wanted.host, env, tuple(wanted.preload),
                      "proot" if wanted.fallback else "auto", own_session=False)
    command, *args = wanted.command
    if command == "qor_mim_tool":
        run = sandbox.start(*args, stdin=sys.stdin, stdout=sys.stdout, console=sys.stderr)
    else:
        run = sandbox._start(wanted.command, [], sys.stdin, sys.stdout, sys.stderr)
    result = run.wait(timeout=float(threading.TIMEOUT_MAX))
    lines = "".join(f"<{priority}> {text}\n" for priority, text in result.syslog)
    if wanted.syslog is not None:
        wanted.syslog.write_text(lines, encoding="utf-8", errors="surrogateescape")
    else:
        sys.stderr.write(lines)
    return result.status if result.status >= 0 else 128 - result.status


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except SandboxError as error:
        sys.exit(f"sandbox: {error}")
