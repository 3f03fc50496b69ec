"""The usage of every script, and the set-up of a machine."""
from __future__ import annotations

import os
import subprocess
from pathlib import Path

import pexpect
import pytest

PROJECT = Path(__file__).resolve().parents[2]
SCRIPTS = sorted(path for path in (PROJECT / "scripts").iterdir()
                 if path.suffix == "" and path.is_file() and os.access(path, os.X_OK))
BASICS = ("awk", "bash", "cat", "chmod", "comm", "dirname", "env", "grep", "mkdir", "mktemp", "realpath",
          "rm", "sed", "sort", "tee")


class Machine:
    """A machine whose package manager only records its calls."""

    def __init__(self, directory: Path):
        self.programs = directory / "bin"
        self.asked = directory / "asked"
        self.list = directory / "packages.txt"
        self.programs.mkdir()
        self.list.write_text("# comment\nfirst one\nsecond two\nnew|old three\n")
        for name in BASICS:
            (self.programs / name).symlink_to(f"/usr/bin/{name}")
        self.stub("id", "echo 0")
        self.stub("dpkg-query", 'for last; do :; done; [ "$last" = first ] && printf installed')
        self.stub("apt-cache", """case $1 in
                               show) [ "$3" != new ] && echo found ;;
                               depends) shift 9; printf '%s\\n' "$@" library ;;
                               esac""")
        self.stub("apt", 'printf "Listing...\\nlibrary/stable 2 amd64 [upgradable from: 1]\\nother/stable 2 amd64\\n"')
        self.stub("apt-mark", 'case $1 in showauto) echo library ;; *) echo "apt-mark $*" >>$ASKED ;; esac')
        self.stub("apt-get", """while [[ $1 != update && $1 != install ]]; do shift; done
                             echo "$*" >>$ASKED""")
        self.stub("sleep", 'echo "sleep $1" >>$ASKED')

    def stub(self, name: str, script: str) -> None:
        """Replace a program of the machine by a shell script."""
        (self.programs / name).write_text(f"#!/usr/bin/bash\n{script}\n")
        (self.programs / name).chmod(0o755)

    @property
    def environment(self) -> dict[str, str]:
        """The whole environment of a script."""
        return {"PATH": str(self.programs), "ASKED": str(self.asked), "PACKAGE_LIST": str(self.list)}

    def requests(self) -> list[str]:
        """The recorded calls of the package manager."""
        return self.asked.read_text().splitlines() if self.asked.exists() else []

    def setup(self, *args: str) -> subprocess.CompletedProcess[str]:
        """Run ``scripts/setup`` without a terminal."""
        return subprocess.run([str(PROJECT / "scripts" / "setup"), *args], env=self.environment, text=True,
                              capture_output=True, stdin=subprocess.DEVNULL, start_new_session=True, check=False)


@pytest.fixture
def machine(tmp_path: Path) -> Machine:
    """A machine on which only the package "first" is installed."""
    return Machine(tmp_path)


@pytest.mark.parametrize("script", SCRIPTS, ids=lambda path: path.name)
def test_help_prints_the_usage_and_does_nothing_else(script: Path, tmp_path: Path) -> None:
    for name in ("bash", "dirname", "realpath", "sed"):
        (tmp_path / name).symlink_to(f"/usr/bin/{name}")
    answer = subprocess.run([str(script), "--help"], env={"PATH": str(tmp_path)}, capture_output=True, text=True,
                            check=False)
    assert (answer.returncode, answer.stderr) == (0, "")
    assert answer.stdout.startswith(f"usage: scripts/{script.name}")


def test_setup_does_nothing_when_nothing_is_missing(machine: Machine) -> None:
    assert machine.setup("one").stdout == "setup: nothing to install\n"
    assert machine.requests() == []


def test_setup_installs_packages_and_upgrades_dependencies(machine: Machine) -> None:
    assert machine.setup("one", "two").returncode == 0
    assert machine.requests() == ["update", "install first second", "install --only-upgrade library",
                                  "apt-mark -qq auto library"]


def test_setup_installs_the_name_that_the_release_has(machine: Machine) -> None:
    assert machine.setup("three").returncode == 0
    assert machine.requests()[1] == "install old"


def test_setup_accepts_either_installed_name(machine: Machine) -> None:
    machine.stub("dpkg-query", 'for last; do :; done; [ "$last" = old ] && printf installed')
    assert machine.setup("three").stdout == "setup: nothing to install\n"


def test_setup_fails_for_a_package_that_no_release_has(machine: Machine) -> None:
    machine.stub("apt-cache", "exit 100")
    answer = machine.setup("three")
    assert answer.returncode == 1
    assert "setup: no package of this release is called new|old\n" in answer.stderr


def test_setup_upgrades_installed_packages_on_request(machine: Machine) -> None:
    assert machine.setup("--upgrade", "one").returncode == 0
    assert machine.requests()[:3] == ["update", "install first", "install --only-upgrade library"]


def test_setup_waits_for_another_package_manager(machine: Machine) -> None:
    machine.stub("apt-get", """[ ! -e $ASKED ] || exit 0
                            : >$ASKED
                            echo 'E: Could not get lock /var/lib/apt/lists/lock. It is held by process 7 (apt-get)'
                            exit 100""")
    answer = machine.setup("two")
    assert answer.returncode == 0
    assert "setup: waiting for another package manager\n" in answer.stdout
    assert machine.requests()[0] == "sleep 5"


def test_setup_fails_when_apt_fails(machine: Machine) -> None:
    machine.stub("apt-get", "exit 100")
    assert machine.setup("two").returncode == 1


def test_setup_prints_its_command_without_a_terminal(machine: Machine) -> None:
    machine.stub("id", "echo 1000")
    machine.stub("sudo", '[ "$1" = -n ] && exit 1')
    answer = machine.setup("two")
    assert answer.returncode == 1
    assert answer.stderr.endswith(f"PACKAGE_LIST={machine.list} {PROJECT}/scripts/setup two\n")


def test_setup_lets_sudo_ask_on_a_terminal(machine: Machine) -> None:
    machine.stub("id", "echo 1000")
    machine.stub("sudo", 'read -rp "password: " word </dev/tty 2>/dev/tty; [ "$word" = sesame ] && exec "$@"')
    terminal = pexpect.spawn(str(PROJECT / "scripts" / "setup"), ["two"], env=machine.environment, encoding="utf-8")
    while terminal.expect(["password: ", pexpect.EOF]) == 0:
        terminal.sendline("sesame")
    terminal.close()
    assert terminal.exitstatus == 0
    assert machine.requests()[1] == "install second"


def test_setup_refuses_an_unknown_group(machine: Machine) -> None:
    answer = machine.setup("four")
    assert (answer.returncode, answer.stderr) == (2, "setup: no package in: four\n")
