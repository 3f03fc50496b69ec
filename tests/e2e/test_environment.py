"""The search for the framework: the agent, then QORPATH, then qor.env, then the default directory."""
from __future__ import annotations

from pathlib import Path

import pytest

from expect import COMPLETED, DEBUG, NEW_SESSION, NOTHING_PENDING, UPDATED, WARNING, answer, critical, warning
from framework import AGENT, LIST, PUMP, VALIDATOR, Framework
from sandbox import Sandbox, find_launcher

OTHER = "/opt/qor/other"
# The message for an agent that fails: the class of the library's exception.
NO_AGENT = "Exception"
ADD = f"--addModelFile={PUMP}"


@pytest.fixture
def nested(framework: Framework) -> Framework:
    """A second framework, which the program sees as /opt/qor/other."""
    return Framework.create(framework.path("other"))


def test_agent_names_the_directory_of_a_whole_session(tool: Sandbox, framework: Framework, nested: Framework) -> None:
    framework.recording(AGENT, "agent.args", f"echo {OTHER}")
    framework.recording(VALIDATOR, "validator.args", "exit 0")
    framework.write("qor.env", "/opt/qor\n")
    nested.script(VALIDATOR, "exit 1")
    before = framework.snapshot()
    misled = tool.with_env(QORPATH="/opt/qor")
    assert misled.run(ADD) == answer(NEW_SESSION, UPDATED, ADD, COMPLETED, path=OTHER, syslog=[(DEBUG, ADD)])
    assert misled.run("--commit") == answer(COMPLETED, path=OTHER)
    assert framework.read("agent.args") == 2 * "pso\nconfig\n"
    assert framework.read("validator.args") == f"-q\n-c\n{OTHER}/etc/model/model_file_list.cfg\n"
    assert {name.partition("/")[0] for name in framework.changes(before)} == {"agent.args", "validator.args", "other"}


def test_agent_reads_the_standard_input_of_the_caller(tool: Sandbox, framework: Framework) -> None:
    framework.script(AGENT, "cat")
    assert tool.run("--status", stdin=b"/opt/qor\n") == answer(NOTHING_PENDING, COMPLETED)


@pytest.mark.parametrize("env, lines", [({"QORPATH": OTHER}, []), ({}, [f"Using QOR path: {OTHER}"])],
                         ids=["QORPATH", "qor.env"])
def test_failing_agent_leaves_the_choice_to_others(tool: Sandbox, framework: Framework, nested: Framework,
                                                   env: dict[str, str], lines: list[str]) -> None:
    framework.script(AGENT, "printf /opt/qor/nowhere; exit 1")
    framework.write("qor.env", "/opt/qor\n" if env else f"{OTHER}\n/opt/qor\n")
    nested.session(f"0:{PUMP}\n")
    assert tool.run("--status", env=env) == answer(NO_AGENT, *lines, "Queued actions:", ADD, COMPLETED, path=None)


@pytest.mark.parametrize("broken", ["missing", "not executable", "status 255", "killed"])
def test_failing_agent_leads_to_the_default_directory(tool: Sandbox, framework: Framework, broken: str) -> None:
    framework.script(AGENT, "kill -9 $$" if broken == "killed" else f"echo {OTHER}; exit 255")
    if broken == "missing":
        framework.remove(AGENT)
    elif broken == "not executable":
        framework.path(AGENT).chmod(0o644)
    assert tool.run("--status") == answer(NO_AGENT, "Using QOR path: /opt/qor/", NOTHING_PENDING, COMPLETED, path=None)


def test_empty_qorpath_means_the_working_directory(tool: Sandbox, framework: Framework, work: Path) -> None:
    framework.remove(AGENT)
    before = framework.snapshot()
    assert tool.run("--status", env={"QORPATH": ""}) == answer(NO_AGENT, NOTHING_PENDING, COMPLETED, path=None)
    assert framework.changes(before) == {}
    assert (work / "etc" / "model").is_dir()


def test_no_framework_means_the_working_directory(tool: Sandbox, work: Path) -> None:
    if find_launcher() == "proot":
        pytest.skip("proot cannot hide this machine's /opt/qor, and makes one while other tests run")
    assert tool.using(framework=None).run("--status") == answer(
        NO_AGENT, critical("Unable to determine QOR path!"), NOTHING_PENDING, COMPLETED, path=None,
        syslog=[(WARNING, "Unable to determine QOR path")])
    assert (work / "etc" / "model").is_dir()


@pytest.mark.parametrize("command, lines, logged", [
    ("--commit", ["There is nothing to commit!"], "lock file not present, There is nothing to commit."),
    ("--rollback", ["Rolling back.", COMPLETED], "lock file not present, Rolling back."),
], ids=["commit", "rollback"])
@pytest.mark.unsound("the model directory is a file")
def test_invalid_environment_does_not_end_the_run(tool: Sandbox, framework: Framework, command: str, lines: list[str],
                                                  logged: str) -> None:
    framework.remove(LIST)
    framework.path("etc/model").rmdir()
    framework.write("etc/model", "a file\n")
    before = framework.snapshot()
    assert tool.run(command) == answer(
        warning("Unable to create directory structure: /opt/qor/etc/model/"), warning("Invaild environment, exiting."),
        *lines, syslog=[(WARNING, "unable to create directory structure /opt/qor/etc/model/"),
                       (WARNING, "Invalid Environment, exiting"), (6, logged)])
    assert framework.changes(before) == {}
