"""The manual pages, compared with the program: its options, its examples, its messages and its exit statuses."""
from __future__ import annotations

import re
import shlex
import shutil
import subprocess
import tempfile
from pathlib import Path

import pytest

import companion
from framework import CONFIG, Framework
from sandbox import PROJECT, WORK, emulator, Sandbox, tool_directory
from sources import literals

MANUAL = PROJECT / "docs" / "qor_mim_tool.8"
COMPANION = PROJECT / "docs" / "qor_mim_ctl.8"
MANUALS = pytest.mark.parametrize("manual", [MANUAL, COMPANION], ids=["tool", "companion"])


def section(name: str, manual: Path = MANUAL) -> list[str]:
    """The source lines of a section or subsection."""
    lines = manual.read_text(encoding="utf-8").splitlines()
    start = next(number for number, line in enumerate(lines) if re.fullmatch(rf"\.S[hs] {name}", line))
    level = lines[start][:3]
    inner = lines[start + 1:]
    end = next((number for number, line in enumerate(inner) if line.startswith(".Sh") or line.startswith(level)), None)
    return inner[:end]


def documented_options() -> set[tuple[str, str, bool]]:
    """The letter, name and presence of a value for each option in the manual."""
    found = set()
    for line in section("Options"):
        item = re.fullmatch(r"\.It Fl (\w)(?: Ar (\w+))? , Fl Fl (\w+)(?: Ns = Ns Ar (\w+))?", line)
        if item is not None:
            letter, value, name, same_value = item.groups()
            assert value == same_value, line
            found.add((letter, name, value is not None))
    return found


def examples(manual: Path) -> list[tuple[str, str]]:
    """The commands of the examples, each with its output."""
    prompt = f"# {manual.stem} "
    commands: list[tuple[str, str]] = []
    shown = False
    for line in section("EXAMPLES", manual):
        if line.startswith((".Bd", ".Ed")):
            shown = line.startswith(".Bd")
        elif shown and line.startswith(prompt):
            commands.append((line[len(prompt):], ""))
        elif shown:
            command, answer = commands[-1]
            commands[-1] = (command, f"{answer}{line}\n")
    return commands


def diagnostics() -> list[str]:
    """The messages that the manual explains, up to their first variable part."""
    items = [line.removeprefix(".It ").strip('"') for line in section("DIAGNOSTICS") if line.startswith(".It ")]
    return [item.partition(": ")[0] for item in items]


def messages() -> set[str]:
    """Every string in the program's sources, up to its first variable part."""
    return {part.partition(": ")[0] for text in literals() for part in text.split(r"\n")}


@MANUALS
def test_formatter_accepts_the_manual(manual: Path) -> None:
    answer = subprocess.run(["mandoc", "-T", "lint", "-W", "all", str(manual)], capture_output=True, text=True,
                            check=False)
    # Only an operating system's own manuals omit its name. The referenced manuals need not be installed.
    accepted = (r"operating system explicitly specified: Os qor_mim_tool \(NetBSD\)",
                r"referenced manual not found: Xr (qor_mim_\w+ 8|flock 1|journalctl 1)( \(\d+ times\))?")
    complaints = [line for line in answer.stdout.splitlines()
                  if not re.search(rf"STYLE: ({'|'.join(accepted)})$", line)]
    silent = [line for line in answer.stderr.splitlines() if not line.startswith("mandoc: outdated mandoc.db lacks ")]
    assert (complaints, silent) == ([], [])


@MANUALS
def test_header_and_footer_name_the_tool(manual: Path) -> None:
    lines = subprocess.run(["mandoc", str(manual)], capture_output=True, text=True, check=True).stdout.splitlines()
    title = re.escape(f"{manual.stem.upper()}(8)")
    assert re.fullmatch(rf"{title} +System Manager's Manual +{title}", lines[0])
    assert re.fullmatch(r"qor_mim_tool +\w+ \d+, \d+ +qor_mim_tool", lines[-1])


def test_manual_describes_the_options_of_the_help_text(tool: Sandbox) -> None:
    listed = re.findall(r"^-(\w)(?:<[\w ]+>)?, --(\w+)(=<)?", tool.run("--help").stdout, re.MULTILINE)
    assert len(listed) == 9
    assert documented_options() == {(letter, name, value != "") for letter, name, value in listed}


def test_manual_describes_the_options_of_the_companion(tool: Sandbox) -> None:
    described = {line.split()[3] for line in section("Options", COMPANION) if line.startswith(".It Fl Fl ")}
    commands = re.findall(r"^  (\w+) ", companion.run(tool, "--help").stdout, re.MULTILINE)
    listed = {option for command in commands
              for option in re.findall(r"^--([\w-]+)", companion.run(tool, command, "--help").stdout, re.MULTILINE)}
    assert set(commands) <= {line.removeprefix(".It Cm ") for line in section("Commands", COMPANION)}
    assert len(commands) >= 4 and described == listed


@MANUALS
def test_manual_examples_match_the_program(tool: Sandbox, tmp_path: Path, manual: Path) -> None:
    root = tmp_path / "example"
    shutil.copytree(PROJECT / "examples" / "framework", root)
    # In the sandbox the rest of the machine, /tmp included, is read-only.
    example = tool.using(framework=root).with_env(TMPDIR=WORK)
    commands = examples(manual)
    assert len(commands) >= 5
    shown, happened = [], []
    for command, answer in commands:
        with tempfile.TemporaryFile() as terminal:
            program = str(tool_directory() / manual.stem)
            example.launch(*emulator(), program, *shlex.split(command), stdout=terminal, console=terminal).wait()
            terminal.seek(0)
            shown.append((command, answer))
            happened.append((command, terminal.read().decode()))
    assert happened == shown


def test_manual_explains_messages_of_the_program() -> None:
    explained = diagnostics()
    assert len(explained) >= 10
    assert set(explained) - messages() == set()


@pytest.mark.unsound("the configuration is missing")
@pytest.mark.parametrize("status", ["0", "70", "78", "255"])
def test_manual_lists_the_exit_statuses(tool: Sandbox, framework: Framework, status: str) -> None:
    listed = [line.removeprefix(".It ") for line in section("EXIT STATUS") if line.startswith(".It ")]
    if status == "70":
        framework.remove(CONFIG)
    command = {"0": "--status", "70": "--modelHandler=pump", "78": "--unknown", "255": "--commit"}[status]
    if status == "255":
        framework.session("0:/opt/qor/models/missing.xml\n")
    assert str(tool.run(command).status) == status
    assert status in listed and len(listed) == 4
