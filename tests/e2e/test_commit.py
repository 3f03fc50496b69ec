"""The commit: its road with the state of every file, each kind of action, and each way to end."""
from __future__ import annotations

import pytest

from expect import (COMPLETED, DEBUG, FAILED, INFO, NEW_SESSION, NO_HANDLER, ROLLING_BACK, UPDATED, WARNING,
                    Bare, answer, critical, staged, warning)
from framework import (AUX, BASE, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, MISSING,
                       PLACEHOLDER, PUMP, SESSION, VALIDATOR, VALVE, Framework, config, installed, participant)
from sandbox import Sandbox

WORKING = (SESSION, LOCK, CONFIG_TMP, LIST_TMP)
MISMATCH = answer("Unable to commit!\nRolling back...",
                  syslog=[(INFO, "check of qor.cfg or Model files failed, Unable to commit rolling back")])


def committed(framework: Framework, new_list: str, new_config: str | None = None) -> dict[str, str | None]:
    """The files that a commit changes, given what becomes of the two; call it before the commit."""
    changes: dict[str, str | None] = dict.fromkeys(WORKING)
    changes |= {LIST_BAK: framework.read(LIST), CONFIG_BAK: framework.read(CONFIG)}
    if new_list != framework.read(LIST):
        changes[LIST] = new_list
    if new_config is not None and new_config != framework.read(CONFIG):
        changes[CONFIG] = new_config
    return changes


def backed_up(framework: Framework) -> dict[str, str | None]:
    """The files that a commit makes before it applies anything."""
    return {LIST_BAK: framework.read(LIST), CONFIG_BAK: framework.read(CONFIG)}


# --- the whole road ----------------------------------------------------------------------------------------------------


def test_the_road_of_a_commit_with_the_state_of_all_files_after_each_step(tool: Sandbox, framework: Framework) -> None:
    old_config = config(participant(PLACEHOLDER), participant("baseHandler", "Base"))
    old_list = f"{BASE}\n"
    framework.write(CONFIG, old_config)

    state = framework.snapshot()
    line = f"--addModelFile={PUMP} --modelHandler=pumpHandler --managedObjectVersion=2 --transactionalResourceVersion=3"
    assert tool.run(*line.split()) == answer("handleManagedObjectVersion: 2", NEW_SESSION, UPDATED, line, COMPLETED,
                                             syslog=[(DEBUG, line)])
    first = f"3:{PUMP}|pumpHandler|2|3\n"
    assert framework.changes(state) == {CONFIG_TMP: old_config, LIST_TMP: old_list, SESSION: first, LOCK: "alpha"}

    state = framework.snapshot()
    line = f"--removeModelFile={BASE} --modelHandler=baseHandler"
    assert tool.run(*line.split()) == staged(line)
    second = f"4:{BASE}|baseHandler|1|1\n"
    assert framework.changes(state) == {SESSION: first + second}

    state = framework.snapshot()
    line = f"--addModelFile={VALVE}"
    assert tool.run(line) == staged(line)
    third = f"0:{VALVE}\n"
    assert framework.changes(state) == {SESSION: first + second + third}

    state = framework.snapshot()
    assert tool.run("--status") == answer(
        "Queued actions:",
        f"--addModelFile={PUMP} --modelHandler=pumpHandler --managedObjectVersion=2 --transactionalResourceVersion=3",
        f"--removeModelFile={BASE} --modelHandler=baseHandler", f"--addModelFile={VALVE}", COMPLETED)
    assert framework.changes(state) == {}

    new_config = config(participant("pumpHandler", "Pump", mo="2", tr="3"))
    new_list = f"{PUMP}\n{VALVE}\n"
    assert tool.run("--commit") == answer(
        "Replaced default QOR component tag with: pumpHandler", "Found handler: pumpHandler",
        "Found handler: baseHandler", "Removed root entry Base from baseHandler", "Removed handler: baseHandler",
        f"Found and removed model entry: {BASE}", COMPLETED)
    assert framework.changes(state) == {CONFIG: new_config, LIST: new_list, CONFIG_BAK: old_config,
                                        LIST_BAK: old_list, **dict.fromkeys(WORKING)}

    state = framework.snapshot()
    assert tool.run("--status") == answer("There are no pending actions.", COMPLETED)
    assert framework.changes(state) == {}

    assert tool.run("--rollback") == answer(ROLLING_BACK, COMPLETED,
                                            syslog=[(INFO, "lock file not present, Rolling back.")])
    assert framework.changes(state) == {CONFIG: old_config, LIST: old_list, CONFIG_BAK: None, LIST_BAK: None}


def test_the_validator_sees_the_installed_result_and_no_session(tool: Sandbox, framework: Framework) -> None:
    old = {name: framework.read(name) for name in (CONFIG, LIST)}
    framework.script(VALIDATOR, "cd /opt/qor/etc && cat qor.cfg model/model_file_list.cfg >/opt/qor/seen\n"
                                "echo qor.cfg* model/* >>/opt/qor/seen")
    framework.session(f"3:{PUMP}|pumpHandler|1|1\n")
    assert tool.run("--commit") == answer("Adding new handler: pumpHandler with root class: Pump", COMPLETED)
    new_config = config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"),
                        participant("pumpHandler", "Pump"))
    assert framework.read("seen") == (
        new_config + f"{BASE}\n{PUMP}\n"
        "qor.cfg qor.cfg.bak model/model_file_list.cfg model/model_file_list.cfg.bak\n")
    assert {CONFIG: framework.read(CONFIG_BAK), LIST: framework.read(LIST_BAK)} == old


def test_backups_are_of_the_last_commit_only(tool: Sandbox, framework: Framework) -> None:
    for name in (PUMP, VALVE):
        tool.run(f"--addModelFile={name}")
        assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST_BAK) == f"{BASE}\n{PUMP}\n"
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n{VALVE}\n"


@pytest.mark.parametrize("mode", [0o640, 0o600, 0o644])
def test_installed_files_keep_their_mode(tool: Sandbox, framework: Framework, mode: int) -> None:
    for name in (CONFIG, LIST):
        framework.path(name).chmod(mode)
    tool.run(f"--addModelFile={PUMP}", "--modelHandler=pumpHandler")
    assert tool.run("--commit").status == 0
    modes = {framework.path(name).stat().st_mode & 0o7777 for name in (CONFIG, LIST, CONFIG_BAK, LIST_BAK)}
    assert modes == {mode}


# --- adding a model file -----------------------------------------------------------------------------------------------


def test_an_added_model_file_is_listed_and_the_configuration_is_the_same_to_the_byte(tool: Sandbox,
                                                                                     framework: Framework) -> None:
    framework.write(CONFIG, '<?xml version="1.0"?>\r\n<a  c="1"   b="2"><managedObject/></a>\n<!-- end -->')
    framework.session(f"0:{PUMP}\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n{PUMP}\n")
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.changes(before) == expected


def test_several_actions_are_applied_oldest_first(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{VALVE}\n0:{PUMP}\n0:{AUX}\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n{VALVE}\n{PUMP}\n{AUX}\n")
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.changes(before) == expected


def test_a_listed_model_file_is_skipped_and_the_commit_succeeds(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{BASE}\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n")
    assert tool.run("--commit") == answer(
        f"Modelfile entry already exists: {BASE}\nSkipping adding of modelfile.", COMPLETED)
    assert framework.changes(before) == expected


def test_a_missing_model_file_fails_but_the_other_actions_are_applied(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n0:{MISSING}\n0:{VALVE}\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n{PUMP}\n{VALVE}\n")
    assert tool.run("--commit") == answer(f"Cannot find the model file: {MISSING}", FAILED, status=255)
    assert framework.changes(before) == expected


def test_a_failed_commit_can_be_undone(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    framework.session(f"0:{PUMP}\n0:{MISSING}\n")
    assert tool.run("--commit").status == 255
    assert tool.run("--rollback").status == 0
    assert framework.changes(before) == {}


def test_a_directory_counts_as_an_existing_model_file(tool: Sandbox, framework: Framework) -> None:
    framework.session("0:/opt/qor/models\n")
    framework.write(LIST, "")
    framework.write(LIST_TMP, "")
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == "/opt/qor/models\n"


def test_an_unwritable_working_list_fails_the_addition(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.path(LIST_TMP).chmod(0o444)
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n")
    assert tool.run("--commit") == answer(critical("Unable to write the new model!"), FAILED, status=255)
    assert framework.changes(before) == expected


# --- removing a model file ---------------------------------------------------------------------------------------------


def test_a_removed_model_file_is_no_longer_listed(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n")
    before = framework.snapshot()
    expected = committed(framework, "")
    assert tool.run("--commit") == answer(f"Found and removed model entry: {BASE}", COMPLETED)
    assert framework.changes(before) == expected


def test_removing_a_model_file_that_does_not_exist_is_skipped(tool: Sandbox, framework: Framework) -> None:
    framework.write(LIST, f"{BASE}\n{MISSING}\n")
    framework.session(f"2:{MISSING}\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n{MISSING}\n")
    assert tool.run("--commit") == answer("Unable to find model file, skipping removal.", COMPLETED)
    assert framework.changes(before) == expected


def test_removing_a_model_file_that_is_not_listed_is_skipped(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{PUMP}\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n")
    assert tool.run("--commit") == answer("Model file entry missing, skipping removal.", COMPLETED)
    assert framework.changes(before) == expected


def test_an_unwritable_working_list_is_told_and_the_removal_goes_on(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n")
    framework.path(LIST_TMP).chmod(0o444)
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n")
    text = f"Unable to open: {installed(LIST_TMP)}"
    assert tool.run("--commit") == answer(f"Found and removed model entry: {BASE}", warning(text), COMPLETED,
                                          syslog=[(WARNING, text)])
    assert framework.changes(before) == expected


def test_a_removal_with_handler_takes_root_and_file_out(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG, config(participant("baseHandler", "Base", "More")))
    framework.session(f"4:{BASE}|baseHandler|1|1\n")
    before = framework.snapshot()
    expected = committed(framework, "", config(participant("baseHandler", "More")))
    assert tool.run("--commit") == answer("Found handler: baseHandler", "Removed root entry Base from baseHandler",
                                          f"Found and removed model entry: {BASE}", COMPLETED)
    assert framework.changes(before) == expected


def test_a_removal_with_handler_words_an_unlisted_file_differently(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"4:{AUX}|auxHandler|1|1\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n", config(participant("baseHandler", "Base")))
    assert tool.run("--commit") == answer(
        "Found handler: auxHandler", "Removed root entry Aux from auxHandler", "Removed handler: auxHandler",
        "Modelfile entry missing, skipping removal.", COMPLETED)
    assert framework.changes(before) == expected


def test_a_removal_with_a_handler_nobody_knows_words_a_missing_file_differently(tool: Sandbox,
                                                                                framework: Framework) -> None:
    framework.session(f"4:{MISSING}|nobody|1|1\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n")
    assert tool.run("--commit") == answer("Unable to find modelfile, skipping removal.", COMPLETED)
    assert framework.changes(before) == expected


def test_a_failed_removal_with_handler_leaves_the_list_alone(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG, config(participant("baseHandler", "Base")))
    framework.session(f"4:{BASE}|baseHandler|1|1\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n")
    assert tool.run("--commit") == answer("Found handler: baseHandler", "Unable to remove root entry", FAILED,
                                          status=255)
    assert framework.changes(before) == expected


# --- entries that cannot be understood ---------------------------------------------------------------------------------


def test_an_action_of_an_unknown_kind_is_skipped(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"7:{PUMP}\n-1:{PUMP}\n0:{VALVE}\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n{VALVE}\n")
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.changes(before) == expected


@pytest.mark.parametrize("kind", [1, 3, 4])
def test_an_action_without_any_separator_fails_and_is_skipped(tool: Sandbox, framework: Framework, kind: int) -> None:
    framework.session(f"{kind}:{PUMP}\n0:{VALVE}\n")
    before = framework.snapshot()
    expected = committed(framework, f"{BASE}\n{VALVE}\n")
    assert tool.run("--commit") == answer(warning(NO_HANDLER), FAILED, status=255, syslog=[(WARNING, NO_HANDLER)])
    assert framework.changes(before) == expected


def test_versions_missing_in_an_action_are_the_rest_of_its_text(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"3:{PUMP}|newHandler\n")
    assert tool.run("--commit") == answer("Adding new handler: newHandler with root class: Pump", COMPLETED)
    assert participant("newHandler", "Pump", mo="newHandler", tr="newHandler") in framework.read(CONFIG)


def test_empty_versions_are_written_empty(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"3:{PUMP}|newHandler||\n")
    assert tool.run("--commit") == answer("Adding new handler: newHandler with root class: Pump", COMPLETED)
    assert participant("newHandler", "Pump", mo="", tr="") in framework.read(CONFIG)


def test_an_empty_path_in_a_commit_ends_the_run(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{VALVE}\n")
    before = framework.snapshot()
    result = tool.run("--addModelFile=", "--commit")
    assert (result.status, result.stdout, result.syslog) == (70, "", [(DEBUG, "--addModelFile=")])
    assert result.console.startswith(answer(UPDATED, "--addModelFile=").console + "Assertion violation")
    assert framework.changes(before) == {**backed_up(framework), SESSION: f"0:{VALVE}\n0:\n",
                                         LIST_TMP: f"{BASE}\n{VALVE}\n"}


# --- nothing to commit, or not allowed ---------------------------------------------------------------------------------


def test_without_a_session_there_is_nothing_to_commit(tool: Sandbox, framework: Framework) -> None:
    framework.write(SESSION, f"0:{PUMP}\n")
    before = framework.snapshot()
    assert tool.run("--commit") == answer("There is nothing to commit!",
                                          syslog=[(INFO, "lock file not present, There is nothing to commit.")])
    assert framework.changes(before) == {}


@pytest.mark.parametrize("session", [False, True], ids=["no session", "in a session"])
def test_commit_and_rollback_together_are_refused(tool: Sandbox, framework: Framework, session: bool) -> None:
    if session:
        framework.session(f"0:{PUMP}\n")
    before = framework.snapshot()
    assert tool.run("--commit", "--rollback") == answer("Invalid command!\nSeparate calls to commit and rollback.")
    assert framework.changes(before) == {}


# --- the live files have changed meanwhile -----------------------------------------------------------------------------


@pytest.mark.parametrize("name, content", [
    (CONFIG, "<changed/>\n"), (LIST, "/changed.xml\n"), (CONFIG_TMP, "<changed/>\n"), (LIST_TMP, ""),
    (CONFIG, ""), (LIST, ""),
], ids=["configuration", "list", "working copy of the configuration", "working copy of the list",
        "emptied configuration", "emptied list"])
def test_a_file_changed_during_the_session_drops_the_session(tool: Sandbox, framework: Framework, name: str,
                                                             content: str) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.write(CONFIG_BAK, "<older/>\n")
    framework.write(LIST_BAK, "/older.xml\n")
    framework.write(name, content)
    before = framework.snapshot()
    assert tool.run("--commit") == MISMATCH
    assert framework.changes(before) == dict.fromkeys(WORKING)


@pytest.mark.parametrize("name", [CONFIG, LIST, CONFIG_TMP, LIST_TMP])
def test_a_file_lost_during_the_session_drops_the_session(tool: Sandbox, framework: Framework, name: str) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.remove(name)
    before = framework.snapshot()
    assert tool.run("--commit") == MISMATCH
    assert framework.changes(before) == {working: None for working in WORKING if working != name}


def test_one_changed_bit_is_enough(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    changed = bytearray(framework.path(CONFIG_TMP).read_bytes())
    changed[10] ^= 1
    framework.write(CONFIG_TMP, bytes(changed))
    assert tool.run("--commit") == MISMATCH


def test_the_same_change_on_both_sides_is_none(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    for name in (LIST, LIST_TMP):
        framework.write(name, "/same.xml\n")
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == f"/same.xml\n{PUMP}\n"


def test_an_empty_list_matches_its_missing_working_copy(tool: Sandbox, framework: Framework) -> None:
    framework.write(LIST, "")
    framework.session(f"0:{PUMP}\n")
    framework.remove(LIST_TMP)
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == f"{PUMP}\n"


# --- a configuration that cannot be read -------------------------------------------------------------------------------


@pytest.mark.parametrize("entries", ["0:{}\n", "1:{}|1|1\n", "2:{}\n", "3:{}|h|1|1\n", "4:{}|h|1|1\n", "7:{}\n"],
                         ids=lambda entry: "kind " + entry[0])
@pytest.mark.parametrize("document", ["", "not XML", "<a><b></a>", "<a/><b/>"],
                         ids=["empty", "text", "unbalanced", "two documents"])
def test_an_unreadable_configuration_aborts_the_commit_before_any_action(tool: Sandbox, framework: Framework,
                                                                         document: str, entries: str) -> None:
    framework.write(CONFIG, document)
    framework.session(entries.format(PUMP))
    before = framework.snapshot()
    assert tool.run("--commit") == answer(critical(f"Unable to parse XML file: {installed(CONFIG_TMP)}"), FAILED,
                                          status=255)
    assert framework.changes(before) == backed_up(framework)


def test_an_unreadable_configuration_aborts_a_commit_without_actions_too(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG, "<a>")
    framework.session("")
    framework.remove(SESSION)
    before = framework.snapshot()
    assert tool.run("--commit") == answer(critical(f"Unable to parse XML file: {installed(CONFIG_TMP)}"), FAILED,
                                          status=255)
    assert framework.changes(before) == backed_up(framework)


# --- exceptions --------------------------------------------------------------------------------------------------------


def test_without_any_list_no_backup_can_be_made(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.remove(LIST, LIST_TMP)
    before = framework.snapshot()
    assert tool.run("--commit") == answer(Bare(f"File not found: {installed(LIST)}"), status=70)
    assert framework.changes(before) == {CONFIG_BAK: framework.read(CONFIG)}


def test_without_any_configuration_no_backup_can_be_made(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.remove(CONFIG, CONFIG_TMP)
    before = framework.snapshot()
    assert tool.run("--commit") == answer(Bare(f"File not found: {installed(CONFIG)}"), status=70)
    assert framework.changes(before) == {}


def test_a_lost_working_list_ends_the_commit_without_a_live_list(tool: Sandbox, framework: Framework) -> None:
    framework.write(LIST, "")
    framework.session("7:nothing\n")
    framework.remove(LIST_TMP)
    before = framework.snapshot()
    old = framework.read(CONFIG)
    assert tool.run("--commit") == answer(Bare(f"File not found: {installed(LIST_TMP)}"), status=70)
    assert framework.changes(before) == {LIST: None, LIST_BAK: "", CONFIG_BAK: old}


def test_a_directory_that_keeps_its_files_ends_the_commit(tool: Sandbox, framework: Framework) -> None:
    framework.session("7:nothing\n")
    framework.write(LIST_BAK, "older\n")
    framework.path("etc/model").chmod(0o555)
    before = framework.snapshot()
    try:
        result = tool.run("--commit")
    finally:
        framework.path("etc/model").chmod(0o755)
    assert result == answer(Bare(f"Access to file denied: {installed(LIST)}"), status=70)
    assert framework.changes(before) == backed_up(framework)


def test_a_commit_that_cannot_make_its_backups_changes_nothing(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.path("etc").chmod(0o555)
    before = framework.snapshot()
    try:
        result = tool.run("--commit")
    finally:
        framework.path("etc").chmod(0o755)
    assert (result.status, result.stdout, result.syslog) == (70, "", [])
    assert framework.changes(before) == {}
