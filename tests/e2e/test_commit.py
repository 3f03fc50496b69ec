"""The commit: one story with every file after each step, and how it ends when something fails."""
from __future__ import annotations

import pytest

from expect import (COMPLETED, DEBUG, FAILED, INFO, NEW_SESSION, ROLLING_BACK, UPDATED, WARNING, Bare, answer, staged,
                    warning)
from framework import (BASE, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, MISSING, PLACEHOLDER, PUMP,
                       SESSION, VALIDATOR, VALVE, Framework, config, installed, participant)
from sandbox import Sandbox

WORKING = (SESSION, LOCK, CONFIG_TMP, LIST_TMP)


def backed_up(framework: Framework) -> dict[str, str | None]:
    """The files that a commit makes before it applies anything."""
    return {LIST_BAK: framework.read(LIST), CONFIG_BAK: framework.read(CONFIG)}


def test_commit_story_with_every_file_after_each_step(tool: Sandbox, framework: Framework) -> None:
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


def test_commit_shows_the_validator_the_result_and_no_session(tool: Sandbox, framework: Framework) -> None:
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


@pytest.mark.parametrize("mode", [0o640, 0o600, 0o644])
def test_commit_keeps_the_modes_of_the_files(tool: Sandbox, framework: Framework, mode: int) -> None:
    for name in (CONFIG, LIST):
        framework.path(name).chmod(mode)
    tool.run(f"--addModelFile={PUMP}", "--modelHandler=pumpHandler")
    assert tool.run("--commit").status == 0
    modes = {framework.path(name).stat().st_mode & 0o7777 for name in (CONFIG, LIST, CONFIG_BAK, LIST_BAK)}
    assert modes == {mode}


@pytest.mark.unsound("the document has no participants")
def test_commit_leaves_a_document_without_edits_as_it_is(tool: Sandbox, framework: Framework) -> None:
    document = '<?xml version="1.0"?>\r\n<a  c="1"   b="2"><managedObject/></a>\n<!-- end -->'
    framework.write(CONFIG, document)
    framework.session(f"0:{PUMP}\n")
    assert tool.run("--commit") == answer(COMPLETED)
    assert (framework.read(CONFIG), framework.read(LIST)) == (document, f"{BASE}\n{PUMP}\n")


def test_commit_keeps_what_it_does_not_know_in_the_document(tool: Sandbox, framework: Framework) -> None:
    base = participant("baseHandler", "Base")
    surroundings = ("<any:thing xmlns:any=\"urn:any\" z=\"&lt;&amp;\">\n\t<!-- a comment -->\n\t<?hint at=\"all\"?>\n"
                    "\t<text>words &amp; words</text>\n\t<data><![CDATA[<raw>]]></data>\n\t<participants>\n{}"
                    "\t</participants>\n</any:thing>\n")
    framework.write(CONFIG, surroundings.format(base))
    framework.session(f"3:{PUMP}|h|1|1\n")
    assert tool.run("--commit") == answer("Adding new handler: h with root class: Pump", COMPLETED)
    assert framework.read(CONFIG) == surroundings.format(base + participant("h", "Pump"))


def test_commit_with_a_failed_action_can_be_undone(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    framework.session(f"0:{PUMP}\n0:{MISSING}\n0:{VALVE}\n")
    assert tool.run("--commit") == answer(f"Cannot find the model file: {MISSING}", FAILED, status=255)
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n{VALVE}\n"
    assert tool.run("--rollback").status == 0
    assert framework.changes(before) == {}


def test_commit_continues_when_a_removal_cannot_be_written(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"2:{BASE}\n")
    framework.path(LIST_TMP).chmod(0o444)
    text = f"Unable to open: {installed(LIST_TMP)}"
    assert tool.run("--commit") == answer(f"Found and removed model entry: {BASE}", warning(text), COMPLETED,
                                          syslog=[(WARNING, text)])
    assert framework.read(LIST) == f"{BASE}\n"


# --- exceptions -------------------------------------------------------------------------------------------------------


@pytest.mark.unsound("the commit stops halfway")
def test_commit_ends_with_status_70_at_an_empty_path(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{VALVE}\n")
    before = framework.snapshot()
    result = tool.run("--addModelFile=", "--commit")
    assert (result.status, result.stdout, result.syslog) == (70, "", [(DEBUG, "--addModelFile=")])
    assert result.console.startswith(answer(UPDATED, "--addModelFile=").console + "Assertion violation")
    assert framework.changes(before) == {**backed_up(framework), SESSION: f"0:{VALVE}\n0:\n",
                                         LIST_TMP: f"{BASE}\n{VALVE}\n"}


@pytest.mark.unsound("a live file is missing")
@pytest.mark.parametrize("lost, made", [((CONFIG, CONFIG_TMP), ()), ((LIST, LIST_TMP), (CONFIG_BAK,))],
                         ids=["configuration", "list"])
def test_commit_makes_no_backup_of_a_lost_file(tool: Sandbox, framework: Framework, lost: tuple[str, ...],
                                               made: tuple[str, ...]) -> None:
    backups = backed_up(framework)
    framework.session(f"0:{PUMP}\n")
    framework.remove(*lost)
    before = framework.snapshot()
    assert tool.run("--commit") == answer(Bare(f"File not found: {installed(lost[0])}"), status=70)
    assert framework.changes(before) == {name: backups[name] for name in made}


def test_commit_stops_in_a_read_only_model_directory(tool: Sandbox, framework: Framework) -> None:
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


def test_commit_changes_nothing_when_it_can_make_no_backup(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.path("etc").chmod(0o555)
    before = framework.snapshot()
    try:
        result = tool.run("--commit")
    finally:
        framework.path("etc").chmod(0o755)
    assert (result.status, result.stdout, result.syslog) == (70, "", [])
    assert framework.changes(before) == {}
