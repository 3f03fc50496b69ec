"""Where the framework is found: the agent, then QORPATH, then qor.env, then the default; and its model directory."""
from __future__ import annotations

from pathlib import Path

import pytest

from expect import (COMPLETED, DEBUG, NEW_SESSION, NOTHING_PENDING, UPDATED, WARNING, Bare, Line, answer, critical,
                    warning)
from framework import AGENT, CONFIG, LIST, LIST_BAK, PUMP, SESSION, VALIDATOR, Framework
from sandbox import Result, Sandbox, find_launcher

OTHER = "/opt/qor/other"
NO_PATH = critical("Unable to determine QOR path!")
NO_PATH_LOG = (WARNING, "Unable to determine QOR path")
# What an agent that cannot be run, or that fails, is told by: the kind of the exception.
NO_AGENT = "Exception"
DEFAULT = "Using QOR path: /opt/qor/"


@pytest.fixture
def nested(framework: Framework) -> Framework:
    """A second framework, which the program sees as /opt/qor/other."""
    return Framework.create(framework.path("other"))


def status(*lines: str, syslog: list[tuple[int, str]] | None = None) -> Result:
    """A status report on nothing, after what the search for the framework has told."""
    return answer(*lines, NOTHING_PENDING, COMPLETED, path=None, syslog=syslog or [])


def without_agent(framework: Framework) -> None:
    framework.remove(AGENT)


# --- the agent ---------------------------------------------------------------------------------------------------------


def test_agent_is_asked_for_pso_config(tool: Sandbox, framework: Framework) -> None:
    framework.recording(AGENT, "agent.args", "echo /opt/qor")
    assert tool.run("--status") == status("Using QOR path: /opt/qor")
    assert framework.read("agent.args") == "pso\nconfig\n"


def test_agent_decides_over_the_environment_and_the_file(tool: Sandbox, framework: Framework,
                                                         nested: Framework) -> None:
    framework.script(AGENT, f"echo {OTHER}")
    framework.write("qor.env", "/opt/qor\n")
    assert tool.with_env(QORPATH="/opt/qor").run("--status") == status(f"Using QOR path: {OTHER}")


def test_the_answered_directory_is_the_one_worked_on(tool: Sandbox, framework: Framework, nested: Framework) -> None:
    framework.script(AGENT, f"echo {OTHER}")
    before = framework.snapshot()
    line = f"--addModelFile={PUMP}"
    assert tool.run(line) == answer(NEW_SESSION, UPDATED, line, COMPLETED, path=OTHER, syslog=[(DEBUG, line)])
    assert nested.read(SESSION) == f"0:{PUMP}\n"
    assert {name.partition("/")[0] for name in framework.changes(before)} == {"other"}


@pytest.mark.parametrize("ending", ["", "\\n", "\\n\\t ", " \\n\\n"])
def test_blanks_tabs_and_newlines_after_the_answer_are_dropped(tool: Sandbox, framework: Framework,
                                                               ending: str) -> None:
    framework.script(AGENT, f"printf '/opt/qor{ending}'")
    assert tool.run("--status") == status("Using QOR path: /opt/qor")


def test_errors_of_the_agent_are_part_of_its_answer(tool: Sandbox, framework: Framework) -> None:
    framework.script(AGENT, "printf /opt/ >&2; printf qor")
    assert tool.run("--status") == status("Using QOR path: /opt/qor")


def test_the_agent_has_the_standard_input_of_the_caller(tool: Sandbox, framework: Framework) -> None:
    framework.script(AGENT, "cat")
    assert tool.run("--status", stdin=b"/opt/qor\n") == status("Using QOR path: /opt/qor")


def test_a_carriage_return_stays_in_the_answer(tool: Sandbox, framework: Framework, nested: Framework) -> None:
    framework.script(AGENT, f"printf '{OTHER}\\r\\n'")
    before = framework.snapshot()
    assert tool.run("--status") == status(NO_PATH, syslog=[NO_PATH_LOG])
    assert framework.changes(before) == {"other\r/": "", "other\r/etc/": "", "other\r/etc/model/": ""}


def test_an_answer_that_does_not_exist_is_final(tool: Sandbox, framework: Framework) -> None:
    framework.script(AGENT, "echo /opt/qor/nowhere")
    framework.write("qor.env", "/opt/qor\n")
    before = framework.snapshot()
    assert tool.with_env(QORPATH="/opt/qor").run("--status") == status(NO_PATH, syslog=[NO_PATH_LOG])
    assert framework.changes(before) == {"nowhere/": "", "nowhere/etc/": "", "nowhere/etc/model/": ""}


def test_an_answer_of_blanks_only_is_kept_whole(tool: Sandbox, framework: Framework, work: Path) -> None:
    framework.script(AGENT, "printf ' \\t\\n'")
    before = framework.snapshot()
    assert tool.run("--status") == status(NO_PATH, syslog=[NO_PATH_LOG])
    assert framework.changes(before) == {}
    assert (work / " \t\n" / "etc" / "model").is_dir()


def test_an_agent_that_says_nothing_is_passed_over(tool: Sandbox, framework: Framework) -> None:
    framework.script(AGENT, "exit 0")
    assert tool.run("--status") == status("Assertion violation", DEFAULT)


@pytest.mark.parametrize("ending", ["exit 1", "exit 255", "kill -9 $$"], ids=["status 1", "status 255", "killed"])
def test_an_agent_that_fails_is_passed_over(tool: Sandbox, framework: Framework, ending: str) -> None:
    framework.script(AGENT, f"echo {OTHER}\n{ending}")
    assert tool.run("--status") == status(NO_AGENT, DEFAULT)


def test_an_agent_that_is_missing_is_passed_over(tool: Sandbox, framework: Framework) -> None:
    without_agent(framework)
    assert tool.run("--status") == status(NO_AGENT, DEFAULT)


def test_an_agent_that_is_not_executable_is_passed_over(tool: Sandbox, framework: Framework) -> None:
    framework.path(AGENT).chmod(0o644)
    assert tool.run("--status") == status(NO_AGENT, DEFAULT)


# --- QORPATH -----------------------------------------------------------------------------------------------------------


def test_environment_names_the_framework_without_a_word(tool: Sandbox, framework: Framework, nested: Framework) -> None:
    without_agent(framework)
    framework.write("qor.env", "/opt/qor\n")
    line = f"--addModelFile={PUMP}"
    assert tool.with_env(QORPATH=OTHER).run(line) == answer(
        NO_AGENT, NEW_SESSION, UPDATED, line, COMPLETED, path=None, syslog=[(DEBUG, line)])
    assert nested.read(SESSION) == f"0:{PUMP}\n"


def test_a_trailing_slash_makes_no_difference(tool: Sandbox, framework: Framework, nested: Framework) -> None:
    without_agent(framework)
    line = f"--addModelFile={PUMP}"
    assert tool.with_env(QORPATH=f"{OTHER}/").run(line).status == 0
    assert nested.read(SESSION) == f"0:{PUMP}\n"


def test_environment_is_believed_even_when_the_directory_does_not_exist(tool: Sandbox, framework: Framework) -> None:
    without_agent(framework)
    before = framework.snapshot()
    assert tool.with_env(QORPATH="/opt/qor/nowhere").run("--status") == status(NO_AGENT)
    assert framework.changes(before) == {"nowhere/": "", "nowhere/etc/": "", "nowhere/etc/model/": ""}


def test_staging_in_an_empty_framework_fails_for_want_of_its_configuration(tool: Sandbox,
                                                                           framework: Framework) -> None:
    without_agent(framework)
    assert tool.with_env(QORPATH="/opt/qor/nowhere").run(f"--addModelFile={PUMP}") == answer(
        NO_AGENT, NEW_SESSION, Bare("File not found: /opt/qor/nowhere/etc/qor.cfg"), path=None, status=70)


def test_an_empty_environment_variable_means_the_working_directory(tool: Sandbox, framework: Framework,
                                                                   work: Path) -> None:
    without_agent(framework)
    framework.write("qor.env", "/opt/qor\n")
    before = framework.snapshot()
    assert tool.with_env(QORPATH="").run("--status") == status(NO_AGENT)
    assert framework.changes(before) == {}
    assert (work / "etc" / "model").is_dir()


def test_environment_replaces_what_a_failing_agent_has_printed(tool: Sandbox, framework: Framework,
                                                               nested: Framework) -> None:
    framework.script(AGENT, "printf /opt/qor/nowhere; exit 1")
    before = framework.snapshot()
    assert tool.with_env(QORPATH=OTHER).run("--status") == status(NO_AGENT)
    assert framework.changes(before) == {}


# --- qor.env -----------------------------------------------------------------------------------------------------------


@pytest.mark.parametrize("content", [f"{OTHER}\n", OTHER, f"{OTHER}\n/opt/qor/nowhere\n"],
                         ids=["one line", "no line end", "two lines"])
def test_first_line_of_the_file_names_the_framework(tool: Sandbox, framework: Framework, nested: Framework,
                                                    content: str) -> None:
    without_agent(framework)
    framework.write("qor.env", content)
    line = f"--addModelFile={PUMP}"
    assert tool.run(line) == answer(NO_AGENT, f"Using QOR path: {OTHER}", NEW_SESSION, UPDATED, line, COMPLETED,
                                    path=None, syslog=[(DEBUG, line)])
    assert nested.read(SESSION) == f"0:{PUMP}\n"


def test_a_file_that_names_nothing_existing_is_final(tool: Sandbox, framework: Framework, work: Path) -> None:
    without_agent(framework)
    framework.write("qor.env", "/opt/qor/nowhere\n")
    before = framework.snapshot()
    assert tool.run("--status") == status(NO_AGENT, NO_PATH, syslog=[NO_PATH_LOG])
    assert framework.changes(before) == {}
    assert (work / "etc" / "model").is_dir()


@pytest.mark.parametrize("content", ["", "\n", "\n/opt/qor/other\n"], ids=["empty", "empty line", "second line"])
def test_an_empty_first_line_accepts_what_the_agent_has_printed(tool: Sandbox, framework: Framework, nested: Framework,
                                                                content: str) -> None:
    framework.script(AGENT, f"printf {OTHER}; exit 3")
    framework.write("qor.env", content)
    nested.session(f"0:{PUMP}\n")
    assert tool.run("--status") == answer(NO_AGENT, "Queued actions:", f"--addModelFile={PUMP}", COMPLETED, path=None)


def test_an_empty_file_and_a_silent_agent_mean_the_working_directory(tool: Sandbox, framework: Framework,
                                                                     work: Path) -> None:
    without_agent(framework)
    framework.write("qor.env", "")
    assert tool.run("--status") == status(NO_AGENT)
    assert (work / "etc" / "model").is_dir()


def test_a_file_that_cannot_be_read_is_final(tool: Sandbox, framework: Framework, work: Path) -> None:
    without_agent(framework)
    framework.write("qor.env", "/opt/qor\n")
    framework.path("qor.env").chmod(0)
    assert tool.run("--status") == status(NO_AGENT, NO_PATH, syslog=[NO_PATH_LOG])
    assert (work / "etc" / "model").is_dir()


def test_at_most_255_characters_of_the_line_count(tool: Sandbox, framework: Framework) -> None:
    without_agent(framework)
    name = "n" * (255 - len("/opt/qor/"))
    framework.path(name).mkdir()
    framework.write("qor.env", f"/opt/qor/{name}tail\n")
    before = framework.snapshot()
    assert tool.run("--status") == status(NO_AGENT, f"Using QOR path: /opt/qor/{name}")
    assert framework.changes(before) == {f"{name}/etc/": "", f"{name}/etc/model/": ""}


def test_without_any_source_the_default_is_used(tool: Sandbox, framework: Framework) -> None:
    without_agent(framework)
    line = f"--addModelFile={PUMP}"
    assert tool.run(line) == answer(NO_AGENT, DEFAULT, NEW_SESSION, UPDATED, line, COMPLETED, path=None,
                                    syslog=[(DEBUG, line)])
    assert framework.read(SESSION) == f"0:{PUMP}\n"


def test_without_a_framework_there_is_no_path(tool: Sandbox, work: Path) -> None:
    if find_launcher() == "proot":
        pytest.skip("proot cannot hide this machine's /opt/qor, and makes one while other tests run")
    assert tool.using(framework=None).run("--status") == status(NO_AGENT, NO_PATH, syslog=[NO_PATH_LOG])
    assert (work / "etc" / "model").is_dir()


# --- the validator stays where it is -----------------------------------------------------------------------------------


def test_the_validator_does_not_follow_the_framework(tool: Sandbox, framework: Framework, nested: Framework) -> None:
    framework.script(AGENT, f"echo {OTHER}")
    framework.recording(VALIDATOR, "validator.args", "exit 0")
    nested.script(VALIDATOR, "exit 1")
    nested.session(f"0:{PUMP}\n")
    assert tool.run("--commit") == answer(COMPLETED, path=OTHER)
    assert framework.read("validator.args") == f"-q\n-c\n{OTHER}/etc/model/model_file_list.cfg\n"


def test_a_path_that_ends_in_a_slash_shows_in_the_validators_argument(tool: Sandbox, framework: Framework) -> None:
    without_agent(framework)
    framework.recording(VALIDATOR, "validator.args", "exit 0")
    framework.session(f"0:{PUMP}\n")
    assert tool.run("--commit") == answer(NO_AGENT, DEFAULT, COMPLETED, path=None)
    assert framework.read("validator.args") == "-q\n-c\n/opt/qor//etc/model/model_file_list.cfg\n"


# --- the model directory -----------------------------------------------------------------------------------------------


def invalid(reason: str, *lines: str, before: tuple[str, ...] = (),
            syslog: tuple[tuple[int, str], ...] = ()) -> Result:
    """A run in an environment that cannot be put right."""
    problem: list[Line] = [warning(f"Unable to create directory structure: {reason}"),
                           warning("Invaild environment, exiting.")]
    return answer(*before, *problem, *lines,
                  syslog=[(WARNING, f"unable to create directory structure {reason}"),
                          (WARNING, "Invalid Environment, exiting"), *syslog])


def test_an_existing_model_directory_is_not_touched(tool: Sandbox, framework: Framework) -> None:
    framework.path("etc/model").chmod(0o750)
    before = framework.path("etc/model").stat()
    tool.run("--status")
    after = framework.path("etc/model").stat()
    assert (after.st_mode, after.st_mtime_ns, after.st_ino) == (before.st_mode, before.st_mtime_ns, before.st_ino)


def test_a_missing_model_directory_is_made_with_its_parents(tool: Sandbox, framework: Framework) -> None:
    framework.remove(CONFIG, LIST)
    framework.path("etc/model").rmdir()
    framework.path("etc").rmdir()
    before = framework.snapshot()
    assert tool.run("--status") == status("Using QOR path: /opt/qor")
    assert framework.changes(before) == {"etc/": "", "etc/model/": ""}


def test_a_file_in_place_of_the_model_directory_makes_the_environment_invalid(tool: Sandbox,
                                                                              framework: Framework) -> None:
    framework.remove(LIST)
    framework.path("etc/model").rmdir()
    framework.write("etc/model", "a file\n")
    before = framework.snapshot()
    assert tool.run("--status") == invalid("/opt/qor/etc/model/", COMPLETED, before=(NOTHING_PENDING,))
    assert framework.changes(before) == {}


def test_an_unwritable_framework_makes_the_environment_invalid(tool: Sandbox, framework: Framework) -> None:
    framework.remove(CONFIG, LIST)
    framework.path("etc/model").rmdir()
    framework.path("etc").rmdir()
    framework.root.chmod(0o555)
    before = framework.snapshot()
    try:
        result = tool.run("--status")
    finally:
        framework.root.chmod(0o755)
    assert result == invalid("/opt/qor/etc", COMPLETED, before=(NOTHING_PENDING,))
    assert framework.changes(before) == {}


def test_an_invalid_environment_does_not_end_the_run(tool: Sandbox, framework: Framework) -> None:
    framework.remove(LIST)
    framework.path("etc/model").rmdir()
    framework.write("etc/model", "a file\n")
    assert tool.run("--commit") == invalid(
        "/opt/qor/etc/model/", "There is nothing to commit!",
        syslog=((6, "lock file not present, There is nothing to commit."),))


def test_a_rollback_goes_on_in_an_invalid_environment(tool: Sandbox, framework: Framework) -> None:
    framework.remove(LIST)
    framework.path("etc/model").rmdir()
    framework.write("etc/model", "a file\n")
    assert not framework.path(LIST_BAK).exists()
    assert tool.run("--rollback") == invalid("/opt/qor/etc/model/", "Rolling back.", COMPLETED,
                                             syslog=((6, "lock file not present, Rolling back."),))
