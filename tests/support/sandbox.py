#!/usr/bin/python3
"""Run the tool as if it were installed, with a scratch framework, host name and system log of its own.

The program uses fixed paths (/opt/qor, /dev/log), so a test that called it directly would touch the machine.  In the
sandbox every run has its own view of the file system:

    /opt/qor       a scratch framework directory, writable
    /opt/scratch   the working directory, empty and writable
    /dev/log       a socket of ours, whose datagrams become ``Result.syslog``
    the rest       the machine's files, read-only under bubblewrap; /opt has no other entries

Bubblewrap is the preferred launcher.  Where namespaces are refused, proot gives the same view without privilege; it
cannot set a host name, so ``gethostname`` is preloaded.  ``launcher_name()`` says which one is used.

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
# The entries of the machine's /dev that proot shows, much like bubblewrap.
DEVICES = tuple(f"/dev/{name}" for name in ("full", "null", "ptmx", "pts", "random", "shm", "tty", "urandom", "zero"))
# On this signal proot ends its tracees, removes its temporary files and exits.
PROOT_END = signal.SIGQUIT
PROOT_PATIENCE = 10.0

# Long enough for a busy machine.
DEFAULT_TIMEOUT = 300.0
# Variables for instrumented programs; nothing else of the caller's environment is passed on.
INSTRUMENTATION = re.compile(r"^(ASAN|UBSAN|LSAN|TSAN|MSAN)_OPTIONS$|^GCOV_|^LLVM_PROFILE_FILE$")
DATAGRAM = re.compile(rb"^<(\d+)>\w{3} [ \d]\d \d\d:\d\d:\d\d [\w-]+: (.*)$", re.DOTALL)
USER_FACILITY = 1

LogLine = tuple[int, str]


class SandboxError(RuntimeError):
    """The sandbox itself failed; the program's result is unknown."""


@dataclasses.dataclass(frozen=True)
class Result:
    """The result of one run: ``status`` is the exit status, or minus the number of the signal that ended it."""

    status: int
    stdout: str
    console: str
    syslog: list[LogLine]


# --- the program and what is compiled for it --------------------------------------------------------------------------


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
    """Compile a C file unless it is cached.  The name in the cache has a digest of the sources and the command."""
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
    """The program that the launchers start: it reports process id and wait status of its command."""
    return compiled(SUPPORT / "runner.c", "cc", [], "")


@functools.lru_cache(maxsize=None)
def preload(name: str, compiler: str = "cc") -> Path:
    """The preload library ``name`` (a file in preload/), built by ``compiler``."""
    return compiled(SUPPORT / "preload" / f"{name}.c", compiler, ["-shared", "-fPIC"], ".so")


# --- launchers --------------------------------------------------------------------------------------------------------


@dataclasses.dataclass(frozen=True)
class View:
    """The file system and host name that a sandboxed program sees."""

    framework: Path | None
    scratch: Path
    """The launcher's own files."""
    work: Path
    log: Path
    host: str
    writable: tuple[Path, ...] = ()
    readable: tuple[Path, ...] = ()


def _bwrap(view: View) -> list[str]:
    command = ["bwrap", "--die-with-parent", "--ro-bind", "/", "/", "--tmpfs", "/opt", "--dev", "/dev"]
    # /opt is hidden as a whole: a checkout below /opt must be bound again.
    for path in view.readable:
        if path.is_relative_to("/opt"):
            command += ["--ro-bind", str(path), str(path)]
    for path in view.writable:
        command += ["--bind", str(path), str(path)]
    if view.framework is not None:
        command += ["--bind", str(view.framework), FRAMEWORK]
    command += ["--bind", str(view.work), WORK, "--bind", str(view.log), LOG]
    return command + ["--unshare-uts", "--hostname", view.host, "--chdir", WORK, "--"]


def _proot(view: View) -> list[str]:
    # proot creates a missing mount point on the machine itself, and leaves it there when it is killed. So /opt and /dev
    # are scratch directories with all mount points.
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
    # When the caller dies, proot gets the signal that lets it clean up. The run starts in WORK, where a stray path does
    # no harm: old versions do not translate the paths of newer system calls (statx, faccessat2), and the kernel may
    # refuse the runner's filter against those.
    command = ["setpriv", "--pdeathsig", PROOT_END.name, "proot", "-v", "-1"]
    for outside, inside in [(view.scratch / "opt", "/opt"), (view.scratch / "dev", "/dev"), *binds]:
        command += ["-b", f"{outside}:{inside}"]
    return command + ["-w", WORK]


LAUNCHERS: dict[str, Callable[[View], list[str]]] = {"bwrap": _bwrap, "proot": _proot}
NAMES = {"bwrap": "bubblewrap", "proot": "proot"}


def _probe(name: str) -> str:
    """Try a launcher with everything that a real run needs; return why it fails, or an empty string."""
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
    """The launcher to use: the requested one, or the first that works on this machine."""
    if wanted == "auto":
        wanted = os.environ.get("QOR_SANDBOX_LAUNCHER", "auto")
    candidates = list(LAUNCHERS) if wanted == "auto" else [wanted]
    failures = []
    for name in candidates:
        if name not in LAUNCHERS:
            raise SandboxError(f"unknown launcher {name}")
        failure = _probe(name)
        if not failure:
            return name
        failures.append(f"{NAMES[name]}: {failure}")
    raise SandboxError("no sandbox can be started here\n" + "\n".join(failures))


def launcher_name(wanted: str = "auto") -> str:
    """The name of the sandbox in use, for messages."""
    return NAMES[find_launcher(wanted)]


# --- the system log ---------------------------------------------------------------------------------------------------


def parse_datagram(data: bytes) -> LogLine:
    """The priority and text of a datagram from ``syslog``, which must have the facility user and no process id."""
    match = DATAGRAM.match(data)
    if match is None or int(match[1]) >> 3 != USER_FACILITY:
        raise SandboxError(f"not a system log message of a program: {data!r}")
    return int(match[1]) & 7, match[2].decode(errors="surrogateescape")


class LogSocket:
    """A private system log.  A thread reads it continuously, since ``syslog`` blocks when the queue is full."""

    def __init__(self, path: Path):
        self.path = path
        self.lines: list[LogLine] = []
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        # Bind through the directory's descriptor, since a socket's path is limited to 108 bytes.
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
        """Read the rest of the queue, which holds everything that the program has sent, then close."""
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
        except Exception as failure:  # raised again by __exit__
            self._failure = failure

    def _take(self) -> None:
        self.lines.append(parse_datagram(self._socket.recv(1 << 20)))


# --- running ----------------------------------------------------------------------------------------------------------


class Run:
    """A program running in the sandbox.  ``wait()`` ends it and gives its ``Result``."""

    def __init__(self, sandbox: Sandbox, command: Sequence[str], env: Mapping[str, str], stdin: bytes | int | IO[Any],
                 stdout: int | IO[Any], console: int | IO[Any]):
        self._input = stdin if isinstance(stdin, bytes) else None
        self._own_session = sandbox.own_session
        with contextlib.ExitStack() as stack:
            self._launcher = find_launcher(sandbox.launcher)
            # proot passes the socket's path outside to the kernel, which limits its length.
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
            # Close our end after the start, so that reading ends when the runner ends.
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
        """The next number from the runner; None when the launcher or the start of the program failed."""
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
        """Send a signal to the program itself, not to the launcher."""
        if self.pid is None:
            raise SandboxError("no program to send a signal to")
        os.kill(self.pid, number)

    def wait_for(self, condition: Callable[[], object], timeout: float = DEFAULT_TIMEOUT) -> None:
        """Wait until ``condition`` holds; raise SandboxError if the program ends or the timeout expires first."""
        deadline = time.monotonic() + timeout
        while not condition():
            if not self.running and not condition():
                raise SandboxError("the program ended before the awaited condition held")
            if time.monotonic() > deadline:
                self.kill()
                raise SandboxError("the awaited condition did not hold in time")
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
    """A host with a framework directory.  Immutable: ``on()`` and ``using()`` return modified copies."""

    framework: Path | None
    """The scratch framework; None if the program shall see no framework."""
    host: str = "alpha"
    env: Mapping[str, str] = dataclasses.field(default_factory=dict)
    preload: tuple[str | Path, ...] = ()
    launcher: str = "auto"
    wrapper: tuple[str, ...] = ()
    """A command that runs the program, for instance a tracer.  Only strace passes the preloads on by itself."""
    work: Path | None = None
    """The directory that is /opt/scratch inside; by default a temporary one for each run."""
    log: bool = True
    """Whether a system log listens; otherwise /dev/log is a plain file."""
    own_session: bool = True
    """Detach from the terminal, so that all processes can be killed at once."""

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
        """A copy whose sleeps take no time; sleep number ``at`` removes the file ``unlink``."""
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
        """The command line of the tool, or of ``program``, for a script inside the sandbox."""
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
            # A preload before the sanitizer's run-time does no harm unless it replaces the allocator.
            _add_option(env, "ASAN_OPTIONS", "verify_asan_link_order=0")
        if launcher == "proot":
            env["QOR_SANDBOX_HOST"] = self.host
        if launcher == "proot" or self.wrapper:
            # A leak check traces its own process, which fails under another tracer.
            _add_option(env, "ASAN_OPTIONS", "detect_leaks=0")
        return env

    def _libraries(self, launcher: str, foreign: bool) -> Iterable[Path]:
        compiler = os.environ.get("QOR_MIM_TOOL_PRELOAD_CC", "cc") if foreign else "cc"
        names = (*self.preload, "hostname") if launcher == "proot" else self.preload
        return [name if isinstance(name, Path) else preload(name, compiler) for name in names]

    def _preloading(self, libraries: list[str], prefix: list[str], command: list[str]) -> list[str]:
        """The command line that preloads into the program, but not into the commands before it."""
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
        """The part of the view that is the same for every run."""
        writable = tuple(Path(path) for path in os.environ.get("QOR_SANDBOX_WRITABLE", "").split(":") if path)
        framework = None if self.framework is None else self.framework.absolute()
        return View(framework, Path(), Path(), Path(), self.host, writable, (PROJECT, tool_directory()))


def tool_directory() -> Path:
    """The directory of the program, whether or not it has been built."""
    return Path(os.environ.get("QOR_MIM_TOOL") or PROJECT / "build" / "release" / "qor_mim_tool").absolute().parent


def _absolute(word: str) -> str:
    found = word if "/" in word else shutil.which(word, path=PATH)
    if found is None:
        raise SandboxError(f"{word} not found")
    return found


def _add_option(env: dict[str, str], name: str, addition: str) -> None:
    """Add to a list of options as the sanitizers read them."""
    env[name] = f"{env[name]}:{addition}" if env.get(name) else addition


# --- command line -----------------------------------------------------------------------------------------------------


def _arguments(argv: Sequence[str]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(description="Run a command in the sandbox.", allow_abbrev=False)
    parser.add_argument("--framework", type=Path, required=True, help="the directory that is seen as /opt/qor")
    parser.add_argument("--host", default="alpha", help="the host name in the sandbox (default: alpha)")
    parser.add_argument("--env", action="append", default=[], metavar="NAME=VALUE", help="an environment variable")
    parser.add_argument("--preload", action="append", default=[], metavar="NAME",
                        help="a library of preload/, such as sleep")
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
