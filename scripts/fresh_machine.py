"""Run the README's two commands in bare roots of Debian releases and compare what they leave: see fresh-machine."""
from __future__ import annotations

import argparse
import os
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator
from pathlib import Path

import pexpect

PROJECT = Path(__file__).resolve().parents[1]
LOGS = PROJECT / "build" / "fresh-machine"
RELEASES = ("bookworm", "trixie")
WAYS = ("root", "sudo", "confined")
USER, PASSWORD = "visitor", "open sesame"
KEYRING = "debian-archive"
# The apt options of this machine that configure the access to an archive.
ACCESS = re.compile(r"^Acquire::(?:https?::|Retries |Check-)")

# Directories that packages write, virtual file systems, and what sudo notes of a first use. The rest is compared.
NOT_COMPARED = ("dev/pts", "etc", f"home/{USER}/.sudo_as_admin_successful", "lib", "lib32", "lib64", "libx32", "proc",
                "run/sudo", "sys", "usr", "var/backups", "var/cache", "var/lib", "var/log")

# In a chroot the kernel refuses user namespaces; without CAP_SYS_ADMIN it refuses all others.
CONFINED = "exec chroot . setpriv --bounding-set=-sys_admin"
FREE = "mount --move . / && exec chroot ."
ENTER = """
mount --bind "$1" "$1" && cd "$1"
mount -t proc proc proc
mount -t sysfs -o ro sysfs sys
mount -t devpts -o newinstance,ptmxmode=0666 devpts dev/pts
hostname fresh
shift
{enter} "$@"
"""
# Kills the demonstration in the middle, with all its child processes.
KILLED_DEMO = """
set -m
PYTHONUNBUFFERED=1 scripts/demo >build/killed-demo.log 2>&1 &
until [ "$(grep -c '^alpha[$] ' build/killed-demo.log)" -ge 5 ]; do sleep 0.1; jobs %1 >/dev/null; done
kill -KILL -- "-$!"
sleep 5
"""


def remove(directory: Path) -> None:
    """Remove a directory, even one that is too deep for shutil.rmtree."""
    subprocess.run(["rm", "-rf", "--one-file-system", str(directory)], check=True)


class Failure(Exception):
    """A command failed, or left something behind."""


def sources(release: str) -> Iterator[str]:
    """This machine's apt sources of Debian, rewritten for another release; a line or stanza each."""
    here = re.search(r"^VERSION_CODENAME=(\w+)", Path("/etc/os-release").read_text(encoding="utf-8"), re.MULTILINE)
    etc = Path("/etc/apt")
    entries: list[str] = []
    for path in [etc / "sources.list", *sorted((etc / "sources.list.d").glob("*.list"))]:
        entries += path.read_text(encoding="utf-8").splitlines() if path.exists() else []
    for path in sorted((etc / "sources.list.d").glob("*.sources")):
        entries += re.split(r"\n\s*\n", path.read_text(encoding="utf-8"))
    for entry in entries:
        text = "\n".join(line for line in entry.splitlines() if line and not line.startswith("#"))
        signed = re.search(r"signed-by\s*[:=]\s*(\S+)", text, re.IGNORECASE)
        if here and here[1] in text and (not signed or KEYRING in signed[1]):
            yield text.replace(here[1], release)


class Machine:
    """A bare root, and a clone of the project in it."""

    def __init__(self, release: str, way: str, scratch: Path):
        self.name = f"{release}, {way}"
        self.root = scratch / f"{release}-{way}"
        self.way = way
        self.home = Path("home", USER) if way == "sudo" else Path("root")
        self.checkout = self.home / "qor_mim_tool"
        self.log = LOGS / f"{release}-{way}.log"
        self.log.write_bytes(b"")
        self._make(release)
        self.before = self.listing()

    def _make(self, release: str) -> None:
        archive = self.root.with_suffix(".sources")
        texts = list(sources(release))
        archive.write_text("\n\n".join(texts) + "\n", encoding="utf-8")
        wanted = ["git", *(["passwd", "sudo"] if self.way == "sudo" else []),
                  *(["ca-certificates"] if any("https:" in text for text in texts) else [])]
        access = subprocess.run(["apt-config", "dump"], check=True, capture_output=True, text=True).stdout.splitlines()
        options = [f"--aptopt={line}" for line in access if ACCESS.match(line)]
        # The mounts end with the mount namespace, even if mmdebstrap is killed.
        self._outside("unshare", "--mount", "mmdebstrap", "--mode=root", "--variant=apt",
                      f"--include={','.join(wanted)}", *options, release, str(self.root), str(archive))
        shutil.copy("/etc/resolv.conf", self.root / "etc")
        shutil.copy("/etc/hosts", self.root / "etc")
        with open(self.root / "etc" / "hosts", "a", encoding="utf-8") as hosts:
            hosts.write("127.0.1.1 fresh\n")
        if self.way == "sudo":
            self._outside("chroot", str(self.root), "useradd", "--create-home", "--groups=sudo", "--shell=/bin/bash",
                          USER)
            self._outside("chroot", str(self.root), "chpasswd", stdin=f"{USER}:{PASSWORD}\n")
        self._outside("git", "clone", "--quiet", str(PROJECT), str(self.root / self.checkout))
        if self.way == "sudo":
            self._outside("chroot", str(self.root), "chown", "--recursive", f"{USER}:", f"/{self.checkout}")

    def _outside(self, *command: str, stdin: str = "") -> None:
        with open(self.log, "a", encoding="utf-8") as log:
            subprocess.run(command, check=True, input=stdin, text=True, stdout=log, stderr=log)

    def command(self, script: str) -> list[str]:
        """The command line that runs a shell script in the root."""
        enter = CONFINED if self.way == "confined" else FREE
        user = ["setpriv", f"--reuid={USER}", f"--regid={USER}", "--init-groups"] if self.way == "sudo" else []
        environment = ["env", "-i", f"HOME=/{self.home}", "LANG=C.UTF-8", "TERM=dumb",
                       "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"]
        return ["unshare", "--mount", "--uts", "--pid", "--fork", "--kill-child", "bash", "-euc",
                ENTER.format(enter=enter), "enter", str(self.root), *environment, *user,
                "bash", "-euc", f"cd /{self.checkout}\n{script}"]

    def run(self, script: str) -> int:
        """Run a shell script without a terminal."""
        with open(self.log, "ab") as log:
            return subprocess.run(self.command(script), stdin=subprocess.DEVNULL, stdout=log, stderr=log, check=False,
                                  start_new_session=True).returncode

    def run_on_terminal(self, script: str) -> int:
        """Run a shell script on a terminal, and answer every password prompt."""
        command = self.command(script)
        with open(self.log, "ab") as log:
            terminal = pexpect.spawn(command[0], command[1:], timeout=None, logfile=log)
            while terminal.expect([rf"password for {USER}:", pexpect.EOF]) == 0:
                terminal.sendline(PASSWORD)
            terminal.close()
        return terminal.exitstatus if terminal.exitstatus is not None else -terminal.signalstatus

    def listing(self) -> set[str]:
        """The files to compare, each with type, mode and owner."""
        found = set()
        for directory, subdirectories, files in os.walk(self.root):
            inside = Path(directory).relative_to(self.root)
            skipped = {name for name in subdirectories + files
                       if str(inside / name) in NOT_COMPARED or inside / name == self.checkout}
            subdirectories[:] = [name for name in subdirectories if name not in skipped]
            for name in {*subdirectories, *files} - skipped:
                status = os.lstat(os.path.join(directory, name))
                found.add(f"{stat.filemode(status.st_mode)} {status.st_uid} /{inside / name}")
        return found

    def tail(self) -> str:
        """The last lines of the log."""
        return "\n".join(self.log.read_text(encoding="utf-8", errors="replace").splitlines()[-60:])

    def expect(self, what: str, status: int, wanted: int = 0) -> None:
        """Raise Failure unless a command ended as expected and left nothing behind."""
        if status != wanted:
            raise Failure(f"{what} ended with status {status}\n{self.tail()}")
        difference = sorted(self.listing() ^ self.before)
        if difference:
            raise Failure(f"{what} left behind, or took away:\n" + "\n".join(difference))

    def try_commands(self, quick: bool) -> Iterator[str]:
        """Run the README's commands; yield the name of each that passed."""
        run = self.run
        if self.way == "sudo":
            self.expect("scripts/demo without a terminal for the password", self.run("scripts/demo"), 1)
            if f"/{self.checkout}/scripts/setup build run\n" not in self.log.read_text(encoding="utf-8"):
                raise Failure(f"the command to run is not printed\n{self.tail()}")
            yield "scripts/demo without a terminal"
            run = self.run_on_terminal
        self.expect("scripts/demo", run("scripts/demo"))
        yield "scripts/demo"
        self.expect("scripts/demo, killed", self.run(KILLED_DEMO))
        yield "scripts/demo, killed"
        command = "scripts/test --quick" if quick else "scripts/test"
        self.expect(command, run(command))
        yield command


def trial(machine: tuple[str, str], quick: bool, scratch: Path) -> bool:
    """Try one release in one way; return whether it passed."""
    started = time.monotonic()
    try:
        here = Machine(*machine, scratch)
        for step in here.try_commands(quick):
            print(f"passed  {time.monotonic() - started:4.0f} s  fresh machine: {here.name}: {step}", flush=True)
            started = time.monotonic()
        remove(here.root)
        return True
    except (Failure, subprocess.CalledProcessError) as failure:
        print(f"{failure}\nFAILED  {time.monotonic() - started:4.0f} s  fresh machine: {', '.join(machine)}",
              flush=True)
        return False


def main() -> int:
    """The command line's entry."""
    parser = argparse.ArgumentParser(allow_abbrev=False)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--as", dest="ways", action="append", choices=WAYS)
    parser.add_argument("releases", nargs="*", metavar="RELEASE")
    wanted = parser.parse_args()
    LOGS.mkdir(parents=True, exist_ok=True)
    machines = [(release, way) for release in wanted.releases or RELEASES for way in wanted.ways or WAYS]
    scratch = Path(tempfile.mkdtemp())
    try:
        passed = [trial(machine, wanted.quick, scratch) for machine in machines]
    finally:
        remove(scratch)
    return 0 if all(passed) else 1


if __name__ == "__main__":
    sys.exit(main())
