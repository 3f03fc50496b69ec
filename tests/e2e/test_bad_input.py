"""Input that nobody should give: nothing crashes, nothing is lost, and what happened is told."""
from __future__ import annotations

import os

import pytest

from expect import COMPLETED, FAILED, INFO, NEW_SESSION, UPDATED, answer, critical, error, staged
from framework import (BASE, CONFIG, CONFIG_TMP, LIST, LIST_TMP, LOCK, PUMP, SESSION, VALIDATOR, Framework, config,
                       installed, participant)
from sandbox import Sandbox

ADD = f"--addModelFile={PUMP}"
UNREADABLE = "Unable to parse and get the root class name from the model file."


# --- arguments ---------------------------------------------------------------------------------------------------------


@pytest.mark.parametrize("name", ["a'b", 'a"b', "a<b>&c", "a b", "$(reboot)", "`id`", "a;b", "a\\nb", "-a", "ä€😀",
                                  "%s%n%d", "a\x01b", "\udcff\udcfe"], ids=ascii)
def test_any_file_name_can_be_staged_and_installed(tool: Sandbox, framework: Framework, name: str) -> None:
    path = f"/opt/qor/models/{name}"
    framework.path("models").joinpath(name).write_text("", encoding="utf-8")
    assert tool.run(f"--addModelFile={path}") == staged(f"--addModelFile={path}", new=True)
    assert framework.path(SESSION).read_bytes() == os.fsencode(f"0:{path}\n")
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.path(LIST).read_bytes() == os.fsencode(f"{BASE}\n{path}\n")


def test_a_separator_in_a_path_shifts_the_fields_of_an_action_with_handler(tool: Sandbox, framework: Framework) -> None:
    line = "--addModelFile=/a --modelHandler=b --managedObjectVersion=h --transactionalResourceVersion=1|1"
    assert tool.run("--addModelFile=/a|b", "--modelHandler=h") == staged(line, new=True)
    assert framework.read(SESSION) == "3:/a|b|h|1|1\n"


def test_a_separator_in_a_path_means_nothing_without_handler(tool: Sandbox, framework: Framework) -> None:
    framework.write("models/a|b", "")
    path = "/opt/qor/models/a|b"
    assert tool.run(f"--addModelFile={path}") == staged(f"--addModelFile={path}", new=True)
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{path}\n"


def test_a_very_long_path_is_refused_at_the_commit(tool: Sandbox, framework: Framework) -> None:
    path = "/" + "x" * 100_000
    assert tool.run(f"--addModelFile={path}") == staged(f"--addModelFile={path}", new=True)
    assert tool.run("--commit") == answer(f"Cannot find the model file: {path}", FAILED, status=255)
    assert framework.read(LIST) == f"{BASE}\n"


# --- files of the wrong kind -------------------------------------------------------------------------------------------


def test_a_directory_in_place_of_the_working_list_reads_as_empty_and_drops_the_session(tool: Sandbox,
                                                                                       framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.remove(LIST_TMP)
    framework.path(LIST_TMP).mkdir()
    assert tool.run("--commit") == answer(
        "Unable to commit!\nRolling back...",
        syslog=[(INFO, f"Unable to load file {installed(LIST_TMP)}"),
                (INFO, "check of qor.cfg or Model files failed, Unable to commit rolling back")])
    assert (framework.read(LIST), framework.path(LOCK).exists()) == (f"{BASE}\n", False)


def test_a_directory_in_place_of_a_model_file_is_an_unreadable_model(tool: Sandbox, framework: Framework) -> None:
    framework.session("3:/opt/qor/models|h|1|1\n")
    before = framework.read(CONFIG)
    assert tool.run("--commit") == answer(error("Error opening/reading file"), UNREADABLE, "Aborting", FAILED, status=255)
    assert framework.read(CONFIG) == before


def test_a_model_file_of_zeros_is_an_unreadable_model(tool: Sandbox, framework: Framework) -> None:
    framework.write("models/zeros.xml", bytes(1_000_000))
    framework.session("3:/opt/qor/models/zeros.xml|h|1|1\n")
    assert tool.run("--commit") == answer(UNREADABLE, "Aborting", FAILED, status=255)


def test_an_unreadable_model_file_is_an_unreadable_model(tool: Sandbox, framework: Framework) -> None:
    framework.path("models/pump.xml").chmod(0)
    framework.session(f"3:{PUMP}|h|1|1\n")
    assert tool.run("--commit") == answer(UNREADABLE, "Aborting", FAILED, status=255)


def test_the_configuration_may_be_a_link(tool: Sandbox, framework: Framework) -> None:
    framework.path(CONFIG).rename(framework.path("elsewhere.cfg"))
    framework.path(CONFIG).symlink_to(installed("elsewhere.cfg"))
    assert tool.run(ADD) == staged(ADD, new=True)
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.read(CONFIG) == framework.read("elsewhere.cfg")


# --- documents ---------------------------------------------------------------------------------------------------------


DEPTH = 200_000
DEEP = "<a>" * DEPTH + "</a>" * DEPTH
BOMB = ("<!DOCTYPE a [<!ENTITY a0 \"xxxxxxxxxx\">"
        + "".join(f"<!ENTITY a{n + 1} \"{f'&a{n};' * 10}\">" for n in range(9)) + "]><a>&a9;</a>")
EXTERNAL = '<!DOCTYPE a [<!ENTITY e SYSTEM "file:///etc/hostname">]><a name="x">&e;<root/></a>'


@pytest.mark.parametrize("document", [DEEP, BOMB], ids=["nested too deep", "entity that grows"])
def test_a_malicious_configuration_is_refused_and_kept(tool: Sandbox, framework: Framework, document: str) -> None:
    framework.write(CONFIG, document)
    framework.session(f"3:{PUMP}|h|1|1\n")
    assert tool.run("--commit") == answer(critical(f"Unable to parse XML file: {installed(CONFIG_TMP)}"), FAILED,
                                          status=255)
    assert framework.read(CONFIG) == document


@pytest.mark.parametrize("document", [DEEP, BOMB, EXTERNAL],
                         ids=["nested too deep", "entity that grows", "entity from outside"])
def test_a_malicious_model_file_is_refused(tool: Sandbox, framework: Framework, document: str) -> None:
    framework.write("models/pump.xml", document)
    framework.session(f"3:{PUMP}|h|1|1\n")
    before = framework.read(CONFIG)
    assert tool.run("--commit") == answer(UNREADABLE, "Aborting", FAILED, status=255)
    assert framework.read(CONFIG) == before


def test_a_document_in_an_unknown_encoding_is_refused(tool: Sandbox, framework: Framework) -> None:
    framework.write("models/pump.xml", '<?xml version="1.0" encoding="KLINGON"?><m name="A"><root/></m>')
    framework.session(f"3:{PUMP}|h|1|1\n")
    assert tool.run("--commit") == answer(UNREADABLE, "Aborting", FAILED, status=255)


def test_a_document_with_bytes_that_are_no_text_is_refused(tool: Sandbox, framework: Framework) -> None:
    framework.write("models/pump.xml", b'<m name="\xff\xfe"><root/></m>')
    framework.session(f"3:{PUMP}|h|1|1\n")
    assert tool.run("--commit") == answer(UNREADABLE, "Aborting", FAILED, status=255)


# --- around the process ------------------------------------------------------------------------------------------------


def test_closed_standard_streams_do_not_keep_a_commit_from_running(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{PUMP}\n")
    closed = tool.using(wrapper=("sh", "-c", 'exec "$@" >&- 2>&- <&-', "sh"))
    assert closed.run("--commit").status == 0
    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"
    assert framework.read(CONFIG) == config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"))


def test_a_full_console_does_not_keep_a_commit_from_running(tool: Sandbox, framework: Framework) -> None:
    framework.script(VALIDATOR, "echo report; exit 1")
    before = framework.snapshot()
    framework.session(f"0:{PUMP}\n")
    with open("/dev/full", "wb") as full:
        assert tool.start("--commit", stdout=full, console=full).wait().status == 255
    assert framework.changes(before) == {}


def test_standard_input_is_never_read(tool: Sandbox, framework: Framework) -> None:
    read, write = os.pipe()
    try:
        assert tool.start(ADD, stdin=read).wait() == staged(ADD, new=True)
    finally:
        os.close(read)
        os.close(write)


def test_without_a_system_log_the_run_goes_on(tool: Sandbox, framework: Framework) -> None:
    assert tool.using(log=False).run(ADD) == answer(NEW_SESSION, UPDATED, ADD, COMPLETED)
    assert framework.read(SESSION) == f"0:{PUMP}\n"
