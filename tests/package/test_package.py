"""The Debian packages: what is in them, and their life on a machine."""
from __future__ import annotations

import os
import re
import shutil
import stat
import subprocess
from pathlib import Path

import pytest

import packages
from expect import version
from framework import LIST, LOCK, SESSION, Framework
from machine import PACKAGE, PROGRAM, Machine
from sandbox import PROJECT, Sandbox

DOCUMENTS = f"usr/share/doc/{PACKAGE}"
EXAMPLE = PROJECT / "examples" / "framework"
STAGED = "--addModelFile=/opt/qor/models/pump.xml"


def files_below(directory: Path) -> set[str]:
    return {str(path.relative_to(directory)) for path in directory.rglob("*") if path.is_file()}


def installed_tool(machine: Machine, framework: Framework, monkeypatch: pytest.MonkeyPatch) -> Sandbox:
    for name, value in machine.environment().items():
        monkeypatch.setenv(name, value)
    return Sandbox(framework.root)


def older(package: Path, scratch: Path) -> Path:
    """An earlier version of the package, with a file that this one lacks."""
    tree = scratch / "older"
    packages.run("dpkg-deb", "--raw-extract", package, tree)
    control = tree / "DEBIAN" / "control"
    control.write_text(re.sub(r"(?m)^Version: .*", "Version: 0.1", control.read_text()))
    (tree / DOCUMENTS / "outdated.txt").write_text("outdated\n")
    target = scratch / f"older_{package.name}"
    packages.run("dpkg-deb", "--root-owner-group", "--build", tree, target)
    return target


@pytest.fixture
def framework(tmp_path: Path) -> Framework:
    return Framework.create(tmp_path / "qor")


def test_install_brings_all_files_and_no_other(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    documents = {"changelog.gz", "copyright"}
    documents |= {f"docs/{path.name}" for path in (PROJECT / "docs").iterdir() if path.suffix in (".md", ".svg")}
    documents |= {f"examples/framework/{name}" for name in files_below(EXAMPLE)}
    assert machine.files() == {PROGRAM, "usr/share/man/man8/qor_mim_tool.8.gz",
                               "usr/share/bash-completion/completions/qor_mim_tool",
                               "usr/share/zsh/vendor-completions/_qor_mim_tool",
                               *(f"{DOCUMENTS}/{name}" for name in documents)}


def test_install_brings_the_whole_example_framework(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    example = machine.root / DOCUMENTS / "examples" / "framework"
    for name in files_below(EXAMPLE):
        assert (example / name).read_bytes() == (EXAMPLE / name).read_bytes()
        assert os.access(example / name, os.X_OK) == os.access(EXAMPLE / name, os.X_OK)


def test_version_is_that_of_the_project(package: Path) -> None:
    assert packages.field(package, "Version") == version()


def test_dependencies_are_the_linked_libraries(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    linked = re.findall(r"\(NEEDED\) .*\[(.*)\]", packages.run("readelf", "--dynamic", machine.root / PROGRAM))
    query = ["dpkg-query", *packages.database(machine.architecture), "--search"]
    owners = {owner.partition(":")[0] for library in linked
              for owner in packages.run(*query, f"*/{library}").splitlines()
              if machine.architecture in owner.partition(" ")[0]}
    assert len(linked) >= 5
    assert owners == set(packages.dependencies(package))


def test_install_needs_the_dependencies(package: Path, tmp_path: Path) -> None:
    bare = Machine(tmp_path / "bare", packages.field(package, "Architecture"), ["libc6"])
    answer = bare.dpkg("--install", package)
    assert answer.returncode != 0
    assert "depends on libpocoutil80" in answer.stderr
    assert bare.state() == "install ok unpacked"


def test_program_is_smaller_than_200_kilobytes(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    assert (machine.root / PROGRAM).stat().st_size < 200_000


def test_program_is_hardened(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    program = machine.root / PROGRAM
    assert stat.S_IMODE(program.stat().st_mode) == 0o755
    dynamic = packages.run("readelf", "--wide", "--dynamic", "--program-headers", "--symbols", program)
    assert re.search(r"FLAGS_1.*NOW.*PIE", dynamic)
    assert "GNU_RELRO" in dynamic
    assert "__stack_chk_fail" in dynamic
    assert "RUNPATH" not in dynamic and "RPATH" not in dynamic
    assert re.search(r"GNU_STACK .* RW ", dynamic)


def test_demo_runs_with_the_installed_program(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    answer = subprocess.run([str(PROJECT / "scripts" / "demo.py")], env={**os.environ, **machine.environment()},
                            capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False)
    assert answer.returncode == 0, answer.stdout + answer.stderr
    assert "Operation completed." in answer.stdout


def test_upgrade_keeps_an_open_session(machine: Machine, package: Path, framework: Framework, tmp_path: Path,
                                       monkeypatch: pytest.MonkeyPatch) -> None:
    machine.succeed("--install", older(package, tmp_path))
    assert machine.version() == "0.1"
    tool = installed_tool(machine, framework, monkeypatch)
    assert tool.run(STAGED).status == 0

    machine.succeed("--install", package)
    assert machine.version() == packages.field(package, "Version")
    assert f"{DOCUMENTS}/outdated.txt" not in machine.files()
    assert STAGED in tool.run("--status").console
    assert tool.run("--commit").status == 0
    assert framework.read(LIST).endswith("/opt/qor/models/pump.xml\n")


@pytest.mark.parametrize("command", ["--remove", "--purge"])
def test_removal_leaves_nothing_but_the_framework(machine: Machine, package: Path, framework: Framework, command: str,
                                                  monkeypatch: pytest.MonkeyPatch) -> None:
    machine.succeed("--install", package)
    tool = installed_tool(machine, framework, monkeypatch)
    assert tool.run(STAGED).status == 0
    machine.succeed(command, f"{PACKAGE}:{machine.architecture}")
    assert machine.files() == set()
    assert machine.state() == "unknown"
    # The framework, and a session in it, belong to the operator.
    assert framework.read(SESSION) == "0:/opt/qor/models/pump.xml\n"
    assert framework.path(LOCK).exists()


def test_build_elsewhere_gives_the_same_bytes(built: dict[str, Path], tmp_path: Path) -> None:
    clone = tmp_path / "somewhere" / "else"
    packages.run("git", "clone", "--quiet", PROJECT, clone)
    # The working tree may be ahead of what is committed.
    tracked = packages.run("git", "-C", PROJECT, "ls-files", "-z", "--cached", "--others", "--exclude-standard")
    for name in filter(None, tracked.split("\0")):
        (clone / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(PROJECT / name, clone / name)
    sysroot = tmp_path / "another-sysroot"
    sysroot.symlink_to(packages.SYSROOT)
    umask = os.umask(0o077)
    try:
        again = packages.build(clone, SYSROOT=str(sysroot), TZ="Asia/Kolkata", LC_ALL="C.UTF-8")
    finally:
        os.umask(umask)
    assert {name: path.read_bytes() == built[name].read_bytes() for name, path in again.items()} == {
        "amd64": True, "armhf": True}
