"""The Debian packages: their content, installation, upgrade and removal."""
from __future__ import annotations

import os
import re
import shlex
import shutil
import stat
import subprocess
from pathlib import Path

import pytest

import packages
from expect import COMPLETED, answer, version
from framework import BASE, CONFIG, LIST, LOCK, PUMP, SESSION, Framework
from machine import COMPANION, PACKAGE, PROGRAM, Machine
from sandbox import PROJECT, LogSocket, Sandbox, launcher_name

DOCUMENTS = f"usr/share/doc/{PACKAGE}"
EXAMPLE = PROJECT / "examples" / "framework"
UNIT = "qor-mim-recover.service"
STAGED = f"--addModelFile={PUMP}"


def files_below(directory: Path) -> set[str]:
    return {str(path.relative_to(directory)) for path in directory.rglob("*") if path.is_file()}


def installed_tool(machine: Machine, framework: Framework, monkeypatch: pytest.MonkeyPatch) -> Sandbox:
    for name, value in machine.environment().items():
        monkeypatch.setenv(name, value)
    return Sandbox(framework.root)


def older(package: Path, scratch: Path) -> Path:
    """An earlier version of the package, with a file that the current one does not have."""
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


def test_install_creates_exactly_the_listed_files(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    documents = {"changelog.gz", "copyright", "README.Debian", "examples/try"}
    documents |= {f"docs/{path.name}" for path in (PROJECT / "docs").glob("*.md")}
    documents |= {f"examples/framework/{name}" for name in files_below(EXAMPLE)}
    programs = {name.format(program) for program in ("qor_mim_tool", "qor_mim_ctl")
                for name in ("usr/sbin/{}", "usr/share/man/man8/{}.8.gz", "usr/share/bash-completion/completions/{}",
                             "usr/share/zsh/vendor-completions/_{}")}
    # The directory of units depends on the Debian release; on the machine both names are the same directory.
    files = {re.sub("^lib/", "usr/lib/", name) for name in machine.files()}
    assert files == {*programs, f"usr/lib/systemd/system/{UNIT}", f"usr/share/lintian/overrides/{PACKAGE}",
                     *(f"{DOCUMENTS}/{name}" for name in documents)}


def test_install_copies_the_example_framework(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    example = machine.root / DOCUMENTS / "examples" / "framework"
    for name in files_below(EXAMPLE):
        assert (example / name).read_bytes() == (EXAMPLE / name).read_bytes()
        assert os.access(example / name, os.X_OK) == os.access(EXAMPLE / name, os.X_OK)


def test_documents_name_no_file_that_is_not_installed(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    assert packages.dead_references(machine.root / DOCUMENTS, machine.root / "usr") == []


def test_try_leaves_the_installed_framework_alone(machine: Machine, package: Path, framework: Framework,
                                                  tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    if launcher_name() == "proot":
        pytest.skip("no namespaces to try it in")
    machine.succeed("--install", package)
    tool = shlex.join(installed_tool(machine, framework, monkeypatch).tool_command())
    before = {name: framework.read(name) for name in (CONFIG, LIST)}
    power = "/opt/qor/models/power.xml"
    with LogSocket(tmp_path / "log") as log:
        # The sandbox of the other tests drops the privilege that namespaces need.
        listed = packages.run("bwrap", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc", "--tmpfs", "/opt",
                              "--bind", framework.root, "/opt/qor", "--bind", log.path, "/dev/log", "--",
                              machine.root / DOCUMENTS / "examples" / "try", "/bin/sh", "-c",
                              f"set -e; {tool} -a {power} && {tool} --commit; cat etc/model/*.cfg")
    assert listed == f"/opt/qor/models/station.xml\n{power}\n"
    assert log.lines == []
    assert {name: framework.read(name) for name in (CONFIG, LIST)} == before


def test_package_has_the_version_of_the_project(package: Path) -> None:
    assert packages.field(package, "Version") == version()


def test_package_depends_on_the_linked_libraries(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    programs = (machine.root / PROGRAM, machine.root / COMPANION)
    linked = set(re.findall(r"\(NEEDED\) .*\[(.*)\]", packages.run("readelf", "--dynamic", *programs)))
    query = ["dpkg-query", *packages.database(machine.architecture), "--search"]
    owners = {owner.partition(":")[0] for library in linked
              for owner in packages.run(*query, f"*/{library}").splitlines()
              if machine.architecture in owner.partition(" ")[0]}
    assert len(linked) >= 5
    assert owners == set(packages.dependencies(package))


def test_install_fails_without_the_dependencies(package: Path, tmp_path: Path) -> None:
    bare = Machine(tmp_path / "bare", packages.field(package, "Architecture"), ["libc6"])
    refused = bare.dpkg("--install", package)
    assert refused.returncode != 0
    assert re.search(r"depends on libpocoutil\d", refused.stderr)
    assert bare.state() == "install ok unpacked"


# The embedded machines; elsewhere the compiler of Debian 13 makes larger programs for speed.
@pytest.mark.parametrize("package", ["armhf"], indirect=True)
def test_program_for_32_bit_arm_is_smaller_than_200_kilobytes(machine: Machine, package: Path) -> None:
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
    demo = subprocess.run([str(PROJECT / "scripts" / "demo.py")], env={**os.environ, **machine.environment()},
                          capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False)
    assert (demo.returncode, demo.stderr) == (0, ""), demo.stdout
    assert " commands, all as the guide shows them (sandbox: " in demo.stdout.splitlines()[-1]


def test_upgrade_keeps_an_open_session(machine: Machine, package: Path, framework: Framework, tmp_path: Path,
                                       monkeypatch: pytest.MonkeyPatch) -> None:
    machine.succeed("--install", older(package, tmp_path))
    assert machine.version() == "0.1"
    tool = installed_tool(machine, framework, monkeypatch)
    assert tool.run(STAGED).status == 0

    machine.succeed("--install", package)
    assert machine.version() == packages.field(package, "Version")
    assert f"{DOCUMENTS}/outdated.txt" not in machine.files()
    assert tool.run("--status") == answer("Queued actions:", STAGED, COMPLETED)
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"


@pytest.mark.parametrize("command, state", [("--remove", "deinstall ok config-files"), ("--purge", "unknown")])
def test_removal_leaves_only_the_framework(machine: Machine, package: Path, framework: Framework, command: str,
                                           state: str, monkeypatch: pytest.MonkeyPatch) -> None:
    machine.succeed("--install", package)
    tool = installed_tool(machine, framework, monkeypatch)
    assert tool.run(STAGED).status == 0
    machine.succeed(command, f"{PACKAGE}:{machine.architecture}")
    assert machine.files() == set()
    assert machine.state() == state
    # The package does not own the framework, nor a session in it.
    assert framework.read(SESSION) == f"0:{PUMP}\n"
    assert framework.read(LOCK) == "alpha"


def test_purge_disables_the_recovery_unit(machine: Machine, package: Path) -> None:
    machine.succeed("--install", package)
    wanted = machine.root / "etc/systemd/system/multi-user.target.wants" / UNIT
    assert not wanted.is_symlink()
    wanted.parent.mkdir(parents=True)
    wanted.symlink_to(f"/lib/systemd/system/{UNIT}")
    machine.succeed("--purge", f"{PACKAGE}:{machine.architecture}")
    assert not wanted.is_symlink()


def test_build_is_reproducible_in_another_directory(built: dict[str, Path], tmp_path: Path) -> None:
    clone = tmp_path / "somewhere" / "else"
    packages.run("git", "clone", "--quiet", PROJECT, clone)
    # The working tree may differ from the last commit.
    tracked = packages.run("git", "-C", PROJECT, "ls-files", "-z", "--cached", "--others", "--exclude-standard")
    for name in filter(None, tracked.split("\0")):
        (clone / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(PROJECT / name, clone / name)
    sysroots = tmp_path / "other-sysroots"
    sysroots.symlink_to(packages.SYSROOTS)
    umask = os.umask(0o077)
    try:
        again = packages.build(clone, SYSROOTS=str(sysroots), TZ="Asia/Kolkata", LC_ALL="C.UTF-8")
    finally:
        os.umask(umask)
    pairs = {**{built[name]: path for name, path in again.items()},
             **dict(zip(packages.sources(PROJECT), packages.sources(clone)))}
    assert len(pairs) == len(packages.ARCHITECTURES) + 2
    assert [path.name for path, other in pairs.items() if path.read_bytes() != other.read_bytes()] == []
