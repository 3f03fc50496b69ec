"""Completion in real shells: Tab is pressed, and the resulting line is checked."""
from __future__ import annotations

import json
import shlex
from pathlib import Path

import pytest

import completing_shell
from framework import CONFIG, LIST, Framework, config, participant
from sandbox import PROJECT, Sandbox

pytestmark = pytest.mark.unsound("the tests start with arbitrary files")

COMPLETIONS = PROJECT / "completions"
OPTIONS = {"--help", "--addModelFile", "--removeModelFile", "--modelHandler", "--managedObjectVersion",
           "--transactionalResourceVersion", "--commit", "--rollback", "--status"}
TOOL = "qor_mim_tool "
COMPANION = "qor_mim_ctl "
GENERAL = {"--help", "--version", "--json", "--qor-path"}
ACTIONS = {"--add", "--remove", "--handler", "--mo-version", "--tr-version"}
OF_COMMAND = {"show": GENERAL, "check": GENERAL, "plan": GENERAL | ACTIONS, "apply": GENERAL | ACTIONS | {"--wait"},
              "recover": GENERAL | {"--wait", "--dry-run", "--force", "--assume"}}


class Shell:
    """A shell in a sandbox."""

    def __init__(self, name: str, sandbox: Sandbox, program: str = TOOL):
        self.name = name
        self.sandbox = sandbox
        self.program = program

    def with_env(self, **variables: str) -> Shell:
        return Shell(self.name, self.sandbox.with_env(**variables), self.program)

    def press_tab(self, *lines: str) -> list[dict[str, str]]:
        """Each line after completion."""
        answer = self.sandbox.execute("/usr/bin/python3", completing_shell.__file__, self.name, str(COMPLETIONS),
                                      *(self.program + line for line in lines))
        assert (answer.status, answer.console) == (0, "")
        return json.loads(answer.stdout)

    def line(self, line: str) -> str:
        """What the line becomes, without the command."""
        return self.press_tab(line)[0]["line"].removeprefix(self.program)

    def candidates(self, line: str) -> set[str]:
        """All candidates for the last word, as the tool would get them, without ``--option=``."""
        before, _, last = line.rpartition(" ")
        option, equals, _ = last.partition("=")
        words = shlex.split(self.press_tab(line)[0]["all"].removeprefix(self.program))[len(shlex.split(before)):]
        return {word.removeprefix(option + equals) if equals else word for word in words}


@pytest.fixture(params=["bash", "zsh"])
def shell(request: pytest.FixtureRequest, tool: Sandbox) -> Shell:
    """Each shell, on a machine with a framework."""
    return Shell(request.param, tool)


@pytest.fixture
def companion(shell: Shell) -> Shell:
    """Each shell, for lines that call the companion."""
    return Shell(shell.name, shell.sandbox, COMPANION)


def names(candidates: set[str]) -> set[str]:
    """Options without the ``=`` before a value."""
    return {candidate.rstrip("=") for candidate in candidates}


def test_completion_offers_every_long_option(shell: Shell) -> None:
    assert names(shell.candidates("--")) == OPTIONS


def test_completion_offers_every_short_option(shell: Shell) -> None:
    assert names(shell.candidates("-")) == OPTIONS | {f"-{letter}" for letter in "haxmotcrs"}


def test_completion_completes_a_single_option(shell: Shell) -> None:
    assert shell.line("--com") == "--commit "
    assert shell.line("--addM").rstrip() == "--addModelFile="


def test_completion_omits_given_and_contradicted_options(shell: Shell) -> None:
    assert names(shell.candidates("--commit --")) == OPTIONS - {"--commit", "--rollback"}
    assert names(shell.candidates("-a /x.xml --")) == OPTIONS - {"--addModelFile", "--removeModelFile"}
    assert names(shell.candidates("-mhandler --")) == OPTIONS - {"--modelHandler", "--removeModelFile"}
    assert names(shell.candidates("--removeModelFile=/x.xml --")) == OPTIONS - {"--addModelFile", "--removeModelFile"}


@pytest.mark.parametrize("option", ["--addModelFile=", "--addModelFile ", "-a "])
def test_addition_completes_model_files_and_directories(shell: Shell, framework: Framework, option: str) -> None:
    framework.write("models/notes.txt", "no model\n")
    framework.write("models/UPPER.XML", "<model/>\n")
    framework.write("models/deep/inner.xml", "<model/>\n")
    found = {path.rstrip("/") for path in shell.candidates(f"{option}/opt/qor/models/")}
    assert found == {f"/opt/qor/models/{name}" for name in
                     ("UPPER.XML", "aux.xml", "base.xml", "broken.xml", "deep", "nameless.xml", "pump.xml",
                      "rootless.xml", "valve.xml")}
    assert shell.line(f"{option}/opt/qor/models/pu") == f"{option}/opt/qor/models/pump.xml "
    assert shell.line(f"{option}/opt/qor/models/de") == f"{option}/opt/qor/models/deep/"


@pytest.mark.parametrize("option", ["--addModelFile=", "--addModelFile ", "-a "])
def test_addition_makes_paths_absolute(shell: Shell, work: Path, option: str) -> None:
    (work / "own model.xml").write_text("<model/>\n", encoding="utf-8")
    completed = shell.line(f"{option}ow").rstrip()
    assert shlex.split(completed) == shlex.split(f"{option}'/opt/scratch/own model.xml'")


@pytest.mark.parametrize("option", ["--removeModelFile=", "--removeModelFile ", "-x "])
def test_removal_completes_installed_models(shell: Shell, framework: Framework, option: str) -> None:
    framework.write(LIST, "/opt/qor/models/base.xml\n\n  /srv/other models/pump's.xml \n/nowhere/gone.xml\n")
    assert shell.candidates(option) == {"/opt/qor/models/base.xml", "/srv/other models/pump's.xml",
                                        "/nowhere/gone.xml"}
    assert shell.line(f"{option}/no") == f"{option}/nowhere/gone.xml "


@pytest.mark.parametrize("typed", ["/s", "/srv/other\\ m", '"/srv/other m', "'/srv/other m"])
@pytest.mark.parametrize("option", ["--removeModelFile=", "-x "])
def test_path_with_spaces_is_one_argument(shell: Shell, framework: Framework, option: str, typed: str) -> None:
    framework.write(LIST, "/opt/qor/models/base.xml\n/srv/other models/pump.xml\n")
    completed = shell.line(option + typed).rstrip()
    assert shlex.split(completed) == shlex.split(f"{option}'/srv/other models/pump.xml'")


@pytest.mark.parametrize("option", ["--modelHandler=", "--modelHandler ", "-m "])
def test_handler_completes_those_of_the_configuration(shell: Shell, option: str) -> None:
    assert shell.candidates(option) == {"baseHandler", "auxHandler"}
    assert shell.line(f"{option}au") == f"{option}auxHandler "


def test_handler_ignores_the_layout_of_the_configuration(shell: Shell, framework: Framework) -> None:
    framework.write(CONFIG, """<qor><!-- <managedObject compName="commented"/> --><participants><participant>
        <managedObject
            version = '1' compName = 'first'/><txResource compName="transaction"/>
        <managedObject ifName="a" compName="a &amp; b &quot;c&quot;"></managedObject>
        <!-- a > b
        <managedObject compName="commented too"/>
        --><managedObjects compName="another element"/><managedObject otherCompName="x"/>
        <managedObject compName="first"/></participant></participants></qor>""")
    assert shell.candidates("-m ") == {"first", 'a & b "c"'}


def test_handler_reads_a_large_configuration(shell: Shell, framework: Framework) -> None:
    handlers = [f"handler{number}" for number in range(3000)]
    framework.write(CONFIG, config(*(participant(handler, "Root") for handler in handlers)))
    assert shell.line("-m handler299") == "-m handler299"
    assert shell.line("-m handler2999") == "-m handler2999 "


@pytest.mark.parametrize("option", ["-o ", "--managedObjectVersion=", "-t ", "--transactionalResourceVersion="])
def test_version_has_no_candidates(shell: Shell, option: str) -> None:
    assert shell.press_tab(option) == [{"line": TOOL + option, "all": TOOL + option, "output": ""}]


def test_framework_is_found_by_qorpath(shell: Shell, work: Path) -> None:
    elsewhere = Framework.create(work / "else where")
    elsewhere.write(LIST, "/else/where.xml\n")
    elsewhere.write(CONFIG, config(participant("elseHandler")))
    there = shell.with_env(QORPATH="/opt/scratch/else where")
    assert there.line("-x ") == "-x /else/where.xml "
    assert there.line("-m ") == "-m elseHandler "


def test_framework_is_found_by_the_environment_file(shell: Shell, framework: Framework, work: Path) -> None:
    Framework.create(work / "elsewhere").write(CONFIG, config(participant("elseHandler")))
    framework.write("qor.env", "/opt/scratch/elsewhere\nignored\n")
    assert shell.line("-m ") == "-m elseHandler "


def test_completion_starts_no_program_of_the_framework(shell: Shell, framework: Framework) -> None:
    for program in ("qorea/bin/qorea", "bin/pel_model_validator"):
        framework.script(program, "touch /opt/qor/started")
    shell.press_tab("-m ", "-x ", "-a /opt/qor/", "--")
    assert not framework.path("started").exists()


SILENT = ["-m ", "-x ", "--modelHandler=", "--removeModelFile=/opt", "--modelHandler base"]


def assert_silent(shell: Shell) -> None:
    untouched = [{"line": TOOL + line, "all": TOOL + line, "output": ""} for line in SILENT]
    assert shell.press_tab(*SILENT) == untouched


def test_completion_is_silent_without_a_framework(shell: Shell, tmp_path: Path) -> None:
    empty = tmp_path / "empty"
    empty.mkdir()
    assert_silent(Shell(shell.name, shell.sandbox.using(framework=empty)))
    assert_silent(shell.with_env(QORPATH="/does/not exist"))
    assert_silent(shell.with_env(QORPATH=""))


@pytest.mark.parametrize("content", ["", "\n", "/does/not/exist\n", "\0\xff\n"])
def test_completion_ignores_a_bad_environment_file(shell: Shell, framework: Framework, content: str) -> None:
    framework.write("qor.env", content)
    assert_silent(shell)


def test_completion_ignores_bad_files(shell: Shell, framework: Framework) -> None:
    framework.write(CONFIG, b"\xff\xfe<managedObject compName=")
    framework.remove(LIST)
    framework.path(LIST).mkdir()
    assert_silent(shell)


# --- the companion ---------------------------------------------------------------------------------------------------


def test_companion_commands_are_offered(companion: Shell) -> None:
    assert companion.candidates("") == set(OF_COMMAND)
    assert companion.line("rec") == "recover "


@pytest.mark.parametrize("command", OF_COMMAND)
def test_companion_options_are_those_of_the_command(companion: Shell, command: str) -> None:
    assert names(companion.candidates(f"{command} --")) == OF_COMMAND[command]


def test_companion_completes_handlers_and_installed_models(companion: Shell, framework: Framework) -> None:
    framework.write(LIST, "/opt/qor/models/base.xml\n/nowhere/gone.xml\n")
    assert companion.candidates("apply --remove=") == {"/opt/qor/models/base.xml", "/nowhere/gone.xml"}
    assert companion.candidates("plan --remove /opt/qor/models/base.xml --handler=") == {"baseHandler", "auxHandler"}


@pytest.mark.parametrize("option", ["--add=", "--add "])
def test_companion_makes_paths_absolute(companion: Shell, work: Path, option: str) -> None:
    (work / "own model.xml").write_text("<model/>\n", encoding="utf-8")
    completed = companion.line(f"apply {option}ow").rstrip()
    assert shlex.split(completed) == shlex.split(f"apply {option}'/opt/scratch/own model.xml'")


def test_companion_reads_the_given_framework(companion: Shell, work: Path) -> None:
    elsewhere = Framework.create(work / "elsewhere")
    elsewhere.write(CONFIG, config(participant("elseHandler")))
    assert companion.line("apply --qor-path=/opt/scratch/elsewhere --remove=/x --handler ").endswith(" elseHandler ")


def test_companion_completes_the_values_of_assume(companion: Shell) -> None:
    assert companion.candidates("recover --assume=") == {"commit", "rollback", "nothing"}


def test_companion_is_silent_without_a_framework(companion: Shell, tmp_path: Path) -> None:
    empty = tmp_path / "empty"
    empty.mkdir()
    bare = Shell(companion.name, companion.sandbox.using(framework=empty), COMPANION)
    lines = ["apply --remove=", "apply --remove=/x --handler "]
    assert bare.press_tab(*lines) == [{"line": COMPANION + line, "all": COMPANION + line, "output": ""}
                                      for line in lines]
