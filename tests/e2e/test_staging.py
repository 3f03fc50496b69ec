"""Staging: each kind of action, the beginning of a session, and the combinations that are refused."""
from __future__ import annotations

import pytest

from expect import (COMPLETED, DEBUG, INFO, NEW_SESSION, NOTHING_PENDING, ROLLING_BACK, UPDATED, WARNING, Bare, answer,
                    critical, staged, warning)
from framework import (BASE, CONFIG, CONFIG_TMP, LIST, LIST_TMP, LOCK, PUMP, SESSION, VALVE, Framework, installed)
from sandbox import Result, Sandbox

ADD = f"--addModelFile={PUMP}"
REMOVE = f"--removeModelFile={BASE}"
SEPARATE = "Invalid command!\nSeparate calls to add and remove of model files."
VERSIONS = "--managedObjectVersion={} --transactionalResourceVersion={}"


def new_session(framework: Framework, entries: str) -> dict[str, str]:
    """The files that a first staging call leaves."""
    return {SESSION: entries, LOCK: "alpha", CONFIG_TMP: framework.read(CONFIG), LIST_TMP: framework.read(LIST)}


def stage_first(tool: Sandbox, framework: Framework, *words: str, line: str, entry: str,
                told: tuple[str, ...] = ()) -> None:
    """Stage on a clean framework; nothing but the session's four files may appear."""
    before = framework.snapshot()
    assert tool.run(*words) == answer(*told, NEW_SESSION, UPDATED, line, COMPLETED, syslog=[(DEBUG, line)])
    assert framework.changes(before) == new_session(framework, entry)


# --- the five kinds ----------------------------------------------------------------------------------------------------


def test_an_addition_starts_a_session_with_working_copies(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, ADD, line=ADD, entry=f"0:{PUMP}\n")


def test_a_handler_alone_is_shown_with_a_leading_blank(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, "--modelHandler=h", line=" --modelHandler=h " + VERSIONS.format(1, 1),
                entry="1:h|1|1\n")


def test_a_removal_is_staged(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, REMOVE, line=REMOVE, entry=f"2:{BASE}\n")


def test_an_addition_with_handler_is_staged_with_default_versions(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, ADD, "--modelHandler=h", line=f"{ADD} --modelHandler=h " + VERSIONS.format(1, 1),
                entry=f"3:{PUMP}|h|1|1\n")


def test_a_handler_before_the_addition_stages_the_same(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, "--modelHandler=h", ADD, line=f"{ADD} --modelHandler=h " + VERSIONS.format(1, 1),
                entry=f"3:{PUMP}|h|1|1\n")


def test_a_removal_with_handler_hides_the_versions_but_keeps_them(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, REMOVE, "--modelHandler=h", "--managedObjectVersion=2",
                "--transactionalResourceVersion=3", told=("handleManagedObjectVersion: 2",),
                line=f"{REMOVE} --modelHandler=h", entry=f"4:{BASE}|h|2|3\n")


# --- versions ----------------------------------------------------------------------------------------------------------


@pytest.mark.parametrize("words", [
    ["--managedObjectVersion=2", "--transactionalResourceVersion=3", ADD, "--modelHandler=h"],
    [ADD, "--managedObjectVersion=2", "--modelHandler=h", "--transactionalResourceVersion=3"],
    [ADD, "--modelHandler=h", "--transactionalResourceVersion=3", "--managedObjectVersion=2"],
], ids=["first", "between", "last"])
def test_versions_may_stand_anywhere(tool: Sandbox, framework: Framework, words: list[str]) -> None:
    stage_first(tool, framework, *words, told=("handleManagedObjectVersion: 2",),
                line=f"{ADD} --modelHandler=h " + VERSIONS.format(2, 3), entry=f"3:{PUMP}|h|2|3\n")


def test_explicit_empty_versions_are_empty(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, "--modelHandler=h", "--managedObjectVersion=", "--transactionalResourceVersion=",
                told=("handleManagedObjectVersion: ",), line=" --modelHandler=h " + VERSIONS.format("", ""),
                entry="1:h||\n")


def test_versions_mean_nothing_to_an_addition_without_handler(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, ADD, "--transactionalResourceVersion=9", line=ADD, entry=f"0:{PUMP}\n")


def test_versions_mean_nothing_to_a_removal_without_handler(tool: Sandbox, framework: Framework) -> None:
    stage_first(tool, framework, REMOVE, "--transactionalResourceVersion=9", line=REMOVE, entry=f"2:{BASE}\n")


# --- a session goes on -------------------------------------------------------------------------------------------------


def test_a_second_action_joins_the_session_behind_the_first(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    before = framework.snapshot()
    assert tool.run(REMOVE) == staged(REMOVE)
    assert framework.changes(before) == {SESSION: f"0:{PUMP}\n2:{BASE}\n"}


def test_joining_a_session_leaves_its_working_copies_alone(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.write(CONFIG, "<changed/>\n")
    framework.write(LIST, "/changed\n")
    before = framework.snapshot()
    assert tool.run(REMOVE) == staged(REMOVE)
    assert framework.changes(before) == {SESSION: f"0:{PUMP}\n2:{BASE}\n"}


def test_the_same_action_may_be_staged_twice(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    assert tool.run(ADD) == staged(ADD)
    assert framework.read(SESSION) == f"0:{PUMP}\n0:{PUMP}\n"


def test_a_session_holds_all_five_kinds_in_the_order_of_staging(tool: Sandbox, framework: Framework) -> None:
    for words in ([ADD], ["-m", "h"], [REMOVE], [f"-a{VALVE}", "-mg", "-o7"], [f"-x{BASE}", "-mf", "-t8"]):
        assert tool.run(*words).status == 0
    assert framework.read(SESSION) == (f"0:{PUMP}\n1:h|1|1\n2:{BASE}\n3:{VALVE}|g|7|1\n4:{BASE}|f|1|8\n")


def test_a_new_session_takes_over_from_a_left_behind_session_file(tool: Sandbox, framework: Framework) -> None:
    framework.write(SESSION, f"2:{BASE}\n")
    stage_first(tool, framework, ADD, line=ADD, entry=f"0:{PUMP}\n")


def test_working_copies_of_an_earlier_session_are_overwritten(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG_TMP, "a longer old copy " * 1000)
    framework.write(LIST_TMP, "old\n")
    stage_first(tool, framework, ADD, line=ADD, entry=f"0:{PUMP}\n")


# --- combinations ------------------------------------------------------------------------------------------------------


@pytest.mark.parametrize("session", [False, True], ids=["no session", "in a session"])
@pytest.mark.parametrize("words, message", [
    ([ADD, REMOVE], SEPARATE),
    ([REMOVE, ADD], SEPARATE),
    ([REMOVE, "--modelHandler=h", ADD], SEPARATE),
    ([ADD, "--modelHandler=h", REMOVE], SEPARATE),
    (["--modelHandler=h", REMOVE], "Invalid command!"),
    (["--modelHandler=h", ADD, REMOVE], "Invalid command!"),
    (["--modelHandler=h", REMOVE, "--commit"], "Invalid command!"),
    ([ADD, REMOVE, "--rollback"], SEPARATE),
], ids=["add remove", "remove add", "remove handler add", "add handler remove", "handler remove",
        "handler add remove", "handler remove commit", "add remove rollback"])
def test_a_contradictory_call_is_refused_and_writes_nothing(tool: Sandbox, framework: Framework, session: bool,
                                                            words: list[str], message: str) -> None:
    if session:
        framework.session(f"0:{PUMP}\n")
    before = framework.snapshot()
    assert tool.run(*words) == answer(message)
    assert framework.changes(before) == {}


def test_staging_and_commit_without_a_session_stages_and_has_nothing_to_commit(tool: Sandbox,
                                                                               framework: Framework) -> None:
    before = framework.snapshot()
    assert tool.run(ADD, "--commit") == answer(
        NEW_SESSION, UPDATED, ADD, "There is nothing to commit!",
        syslog=[(DEBUG, ADD), (INFO, "lock file not present, There is nothing to commit.")])
    assert framework.changes(before) == new_session(framework, f"0:{PUMP}\n")


def test_staging_and_commit_in_a_session_commits_both_actions(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{VALVE}\n")
    assert tool.run(ADD, "--commit") == staged(ADD)
    assert framework.read(LIST) == f"{BASE}\n{VALVE}\n{PUMP}\n"
    assert not framework.path(SESSION).exists()


def test_staging_and_rollback_without_a_session_keeps_the_new_session(tool: Sandbox, framework: Framework) -> None:
    framework.write(f"{LIST}.bak", "/old\n")
    before = framework.snapshot()
    assert tool.run(ADD, "--rollback") == answer(
        NEW_SESSION, UPDATED, ADD, ROLLING_BACK, COMPLETED,
        syslog=[(DEBUG, ADD), (INFO, "lock file not present, Rolling back.")])
    assert framework.changes(before) == new_session(framework, f"0:{PUMP}\n")


def test_staging_and_rollback_in_a_session_drops_everything(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{VALVE}\n")
    before = framework.snapshot()
    assert tool.run(ADD, "--rollback") == answer(UPDATED, ADD, ROLLING_BACK, syslog=[(DEBUG, ADD)])
    assert framework.changes(before) == dict.fromkeys((SESSION, LOCK, CONFIG_TMP, LIST_TMP))


def test_staging_commit_and_rollback_together_stages_only(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{VALVE}\n")
    before = framework.snapshot()
    assert tool.run(ADD, "--rollback", "--commit") == staged(
        ADD, "Invalid command!\nSeparate calls to commit and rollback.")
    assert framework.changes(before) == {SESSION: f"0:{VALVE}\n0:{PUMP}\n"}


def test_status_before_the_action_lists_the_session_without_it(tool: Sandbox, framework: Framework) -> None:
    assert tool.run("--status", ADD) == answer(NOTHING_PENDING, NEW_SESSION, UPDATED, ADD, COMPLETED,
                                               syslog=[(DEBUG, ADD)])


def test_status_after_the_action_lists_it_before_it_is_saved(tool: Sandbox, framework: Framework) -> None:
    assert tool.run(ADD, "--status") == answer("Queued actions:", ADD, NEW_SESSION, UPDATED, ADD, COMPLETED,
                                               syslog=[(DEBUG, ADD)])


# --- when files fail ---------------------------------------------------------------------------------------------------


def ended(*lines: str) -> Result:
    """A staging call that an exception has ended at the start of the session."""
    return answer(NEW_SESSION, *lines, status=70)


def test_without_a_configuration_no_session_starts(tool: Sandbox, framework: Framework) -> None:
    framework.remove(CONFIG)
    before = framework.snapshot()
    assert tool.run(ADD) == ended(Bare("File not found: /opt/qor/etc/qor.cfg"))
    assert framework.changes(before) == {}


def test_without_a_model_file_list_no_session_starts(tool: Sandbox, framework: Framework) -> None:
    framework.remove(LIST)
    before = framework.snapshot()
    assert tool.run(ADD) == ended(Bare("File not found: /opt/qor/etc/model/model_file_list.cfg"))
    assert framework.changes(before) == {CONFIG_TMP: framework.read(CONFIG)}


def test_an_unwritable_session_file_is_told_and_the_run_completes(tool: Sandbox, framework: Framework) -> None:
    framework.path(SESSION).mkdir()
    before = framework.snapshot()
    assert tool.run(ADD) == answer(NEW_SESSION, UPDATED, ADD, critical("Unable to write to FIFO file!"), COMPLETED,
                                   syslog=[(DEBUG, ADD), (WARNING, "Unable to write to FIFO file")])
    assert framework.changes(before) == {LOCK: "alpha", CONFIG_TMP: framework.read(CONFIG),
                                         LIST_TMP: framework.read(LIST)}


def test_a_full_disk_under_the_session_file_is_told(tool: Sandbox, framework: Framework) -> None:
    framework.path(SESSION).symlink_to("/dev/full")
    before = framework.snapshot()
    assert tool.run(ADD) == answer(NEW_SESSION, UPDATED, ADD, critical("Unable to write to FIFO file!"), COMPLETED,
                                   syslog=[(DEBUG, ADD), (WARNING, "Unable to write to FIFO file")])
    assert framework.changes(before) == {LOCK: "alpha", CONFIG_TMP: framework.read(CONFIG),
                                         LIST_TMP: framework.read(LIST)}


def test_a_full_disk_under_a_working_copy_ends_the_run(tool: Sandbox, framework: Framework) -> None:
    framework.path(CONFIG_TMP).symlink_to("/dev/full")
    before = framework.snapshot()
    result = tool.run(ADD)
    assert (result.status, result.stdout, result.syslog) == (70, "", [])
    assert framework.changes(before) == {}


def test_a_read_only_model_directory_is_told_at_every_step(tool: Sandbox, framework: Framework) -> None:
    framework.write(LIST_TMP, "")
    framework.path("etc/model").chmod(0o555)
    before = framework.snapshot()
    try:
        result = tool.run(ADD)
    finally:
        framework.path("etc/model").chmod(0o755)
    assert result == answer(
        NEW_SESSION, critical("Unable to create lockfile"), warning("Unable to find hostname"),
        critical("Unable to create lockfile"), NEW_SESSION, UPDATED, ADD, critical("Unable to write to FIFO file!"),
        COMPLETED,
        syslog=[(WARNING, "unable to create lockfile"), (DEBUG, ADD), (WARNING, "Unable to find hostname"),
                (WARNING, "unable to create lockfile"), (WARNING, "Unable to write to FIFO file")])
    assert framework.changes(before) == {CONFIG_TMP: framework.read(CONFIG), LIST_TMP: framework.read(LIST)}


def test_the_system_log_takes_the_action_as_it_is(tool: Sandbox, framework: Framework) -> None:
    line = "--addModelFile=/opt/qor/models/%s%n%d.xml"
    assert tool.run(line) == staged(line, new=True)


def test_a_model_file_need_not_exist_to_be_staged(tool: Sandbox, framework: Framework) -> None:
    line = f"--addModelFile={installed('models/later.xml')}"
    stage_first(tool, framework, line, line=line, entry="0:/opt/qor/models/later.xml\n")
