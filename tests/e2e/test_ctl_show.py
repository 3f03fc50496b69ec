"""The companion's overview: installed models, handlers, and the session with its owner."""
from __future__ import annotations

import os

import companion
import pytest
from framework import (AUX, BASE, BROKEN, CALLER_LOCK, CONFIG, LIST, LIST_BAK, LOCK, MISSING, NAMELESS, PUMP, ROOTLESS,
                       SESSION, Framework, apply_on, config, installed, model, participant)
from sandbox import PATH, Result, Sandbox

pytestmark = pytest.mark.unsound("the tests start with broken files")

NOON, NOON_TEXT = 1769860800, "2026-01-31T12:00:00Z"


def listed(file: str, root_class: str | None, *handlers: str, exists: bool = True) -> dict[str, object]:
    """A model file, as the answer shows it."""
    return {"file": file, "exists": exists, "rootClass": root_class, "handlers": list(handlers)}


def handler(name: str, *root_classes: str, mo: str = "1", tr: str = "1", placeholder: bool = False) -> dict[str, object]:
    """A handler, as the answer shows it."""
    return {"name": name, "placeholder": placeholder, "managedObjectVersion": mo, "transactionalResourceVersion": tr,
            "rootClasses": list(root_classes)}


HANDLERS = [handler("baseHandler", "Base"), handler("auxHandler", "Aux")]
OVERVIEW = {"command": "show", "framework": "/opt/qor", "status": 0, "models": [listed(BASE, "Base", "baseHandler")],
            "handlers": HANDLERS, "session": None, "backup": None}


def test_show_reports_a_session_until_it_is_committed(framework: Framework, tool: Sandbox, other: Sandbox) -> None:
    """The session is shown with host and actions, and the commit's backup afterwards; no file is changed."""
    assert companion.answer(tool, "show") == OVERVIEW
    tool.run("--addModelFile", PUMP, "--modelHandler", "auxHandler", "--managedObjectVersion", "2")
    os.utime(framework.path(LOCK), (NOON, NOON))
    before = framework.snapshot()

    session = {"host": "alpha", "thisHost": True, "since": NOON_TEXT,
               "actions": [{"kind": "AddModelFileWithHandler", "file": PUMP, "handler": "auxHandler",
                            "managedObjectVersion": "2", "transactionalResourceVersion": "1"}]}
    assert companion.answer(tool, "show") == {**OVERVIEW, "session": session}
    assert companion.answer(other, "show") == {**OVERVIEW, "session": {**session, "thisHost": False}}
    assert framework.snapshot() == before

    tool.run("--commit")
    os.utime(framework.path(LIST_BAK), (NOON, NOON))
    assert companion.answer(tool, "show") == {
        **OVERVIEW, "models": [listed(BASE, "Base", "baseHandler"), listed(PUMP, "Pump", "auxHandler")],
        "handlers": [HANDLERS[0], handler("auxHandler", "Aux", "Pump")], "backup": {"since": NOON_TEXT}}


def test_show_prints_text(framework: Framework, tool: Sandbox) -> None:
    """Aligned, one line per item."""
    framework.session(f"0:{PUMP}\n2:{BASE}\n", host="beta")
    os.utime(framework.path(LOCK), (NOON, NOON))

    assert companion.run(tool, "show") == Result(0, f"""\
framework /opt/qor
1 model
  {BASE}  Base  baseHandler
2 handlers
  baseHandler  versions 1, 1    Base
  auxHandler   versions 1, 1    Aux
session of beta, since {NOON_TEXT}, 2 actions
  --addModelFile={PUMP}
  --removeModelFile={BASE}
no backup
""", "", [])


def test_show_reports_every_model_file_of_the_list(framework: Framework, tool: Sandbox) -> None:
    framework.write(LIST, f"{ROOTLESS}\n\n {AUX} \n{NAMELESS}\n{BROKEN}\n{MISSING}\nmodels/base.xml\n{AUX}\n")

    assert companion.answer(tool, "show")["models"] == [
        listed(ROOTLESS, None), listed(AUX, "Aux", "auxHandler"), listed(NAMELESS, None), listed(BROKEN, None),
        listed(MISSING, None, exists=False), listed("models/base.xml", None, exists=False),
        listed(AUX, "Aux", "auxHandler")]


def test_show_distinguishes_the_placeholder_of_a_new_framework(framework: Framework, tool: Sandbox) -> None:
    framework.write(CONFIG, config(participant("VELDA_OAM_COMPONENT", mo="7")))
    framework.write(LIST, "")

    assert companion.answer(tool, "show") == {
        **OVERVIEW, "models": [], "handlers": [handler("VELDA_OAM_COMPONENT", mo="7", placeholder=True)]}


@pytest.mark.parametrize(("lock", "host", "this_host", "is_apply"), [
    ("alpha\n", "alpha", True, False), ("", None, False, False), (apply_on("alpha"), "alpha", True, True),
    (apply_on("beta"), "beta", False, True)])
def test_show_names_the_owner_of_a_session(framework: Framework, tool: Sandbox, lock: str, host: str | None,
                                           this_host: bool, is_apply: bool) -> None:
    framework.session(f"0:{PUMP}\n", host=lock)

    session = companion.answer(tool, "show")["session"]

    assert (session["host"], session["thisHost"], session.get("apply", False)) == (host, this_host, is_apply)


def test_show_reports_a_queue_up_to_its_fault(framework: Framework, tool: Sandbox) -> None:
    framework.session("1:h|2\n1:h\n5:odd\n2:/m\nx:/n\n0:/o\n")

    assert companion.answer(tool, "show")["session"]["actions"] == [
        {"kind": "ModelHandler", "handler": "h", "managedObjectVersion": "2", "transactionalResourceVersion": "2"},
        {"kind": "ModelHandler", "text": "h"}, {"kind": "5", "text": "odd"}, {"kind": "RemoveModelFile", "file": "/m"}]


@pytest.mark.parametrize(("name", "content", "key", "why"), [
    (CONFIG, None, "handlers", "the file is missing"), (LIST, None, "models", "the file is missing"),
    (CONFIG, b"<qor>", "handlers", "the document cannot be parsed"),
    (CONFIG, b"<a>" * 200_000, "handlers", "the document cannot be parsed")])
def test_show_reports_the_intact_parts_of_a_broken_framework(framework: Framework, tool: Sandbox, name: str,
                                                             content: bytes | None, key: str, why: str) -> None:
    """The answer has all its keys, and the message names the file."""
    if content is None:
        framework.remove(name)
    else:
        framework.write(name, content)

    models = [listed(BASE, "Base")] if key == "handlers" else None
    handlers = None if key == "handlers" else HANDLERS
    assert companion.answer(tool, "show") == {**OVERVIEW, "status": 4, "models": models, "handlers": handlers,
                                              "error": f"{why}: {installed(name)}"}
    assert companion.run(tool, "show").console == f"qor_mim_ctl: {why}: {installed(name)}\n"


@pytest.mark.parametrize("name", [CONFIG, LIST, SESSION, LOCK])
def test_show_names_a_directory_in_place_of_a_file(framework: Framework, tool: Sandbox, name: str) -> None:
    framework.session(f"0:{PUMP}\n")
    framework.remove(name)
    framework.path(name).mkdir()

    answer = companion.answer(tool, "show")

    assert answer.keys() == {*OVERVIEW, "error"}
    assert (answer["status"], answer["error"]) == (4, f"the file cannot be read: {installed(name)}")


def test_show_keeps_its_keys_without_a_framework(tool: Sandbox, framework: Framework) -> None:
    """Agent, environment and default directory name no framework."""
    framework.script("qorea/bin/qorea", "echo /opt/nowhere")

    result = companion.run(tool, "show", "--json")

    assert companion.parsed(result) == {
        "command": "show", "framework": None, "status": 4, "models": None, "handlers": None, "session": None,
        "backup": None, "error": "the framework directory cannot be determined"}


def test_show_creates_no_model_directory(framework: Framework, tool: Sandbox) -> None:
    framework.remove(LIST)
    framework.path("etc/model").rmdir()
    before = framework.snapshot()

    assert companion.answer(tool, "show")["error"] == f"the file is missing: {installed(LIST)}"
    assert framework.snapshot() == before


def test_show_needs_only_read_permission(framework: Framework, tool: Sandbox) -> None:
    framework.session(f"0:{PUMP}\n")
    before = framework.snapshot()
    places = [framework.root, *framework.root.rglob("*")]
    for place in places:
        place.chmod(place.stat().st_mode & ~0o222)
    try:
        answer = companion.answer(tool, "show")
    finally:
        for place in places:
            place.chmod(place.stat().st_mode | 0o200)
    assert (answer["status"], len(answer["models"]), answer["session"]["host"]) == (0, 1, "alpha")
    assert framework.snapshot() == before


def test_show_escapes_control_characters(framework: Framework, tool: Sandbox) -> None:
    """JSON holds names unchanged, except for invalid UTF-8."""
    framework.path(LIST).write_bytes(b"/m/\x1b[2J\xff.xml\n")
    framework.write(CONFIG, '<qor><participants><participant><managedObject compName="a&#10;b"/></participant>'
                            "</participants></qor>")

    text = companion.run(tool, "show").stdout
    answer = companion.answer(tool, "show")

    assert "  /m/\\x1b[2J\ufffd.xml  (missing)\n" in text
    assert "  a\\nb  versions ,\n" in text
    assert answer["models"][0]["file"] == "/m/\x1b[2J\ufffd.xml"
    assert answer["handlers"][0]["name"] == "a\nb"


def test_show_reports_40000_models(framework: Framework, tool: Sandbox) -> None:
    framework.write(LIST, f"{BASE}\n" * 20_000 + f"{MISSING}\n" * 20_000)

    models = companion.answer(tool, "show")["models"]

    assert len(models) == 40_000
    assert models[19_999:20_001] == [listed(BASE, "Base", "baseHandler"), listed(MISSING, None, exists=False)]


def test_show_reports_3000_handlers_and_models(framework: Framework, tool: Sandbox) -> None:
    count = 3000
    for number in range(count):
        framework.write(f"models/{number}.xml", model(f"Class{number}"))
    framework.write(LIST, "".join(f"{installed(f'models/{number}.xml')}\n" for number in range(count)))
    framework.write(CONFIG, config(*(participant(f"h{number}", f"Class{number}") for number in range(count))))

    answer = companion.answer(tool, "show")

    assert answer["models"] == [listed(installed(f"models/{number}.xml"), f"Class{number}", f"h{number}")
                                for number in range(count)]
    assert len(answer["handlers"]) == count


@pytest.mark.parametrize("option", ["--wait=1", "--add=/m"])
def test_show_rejects_options_of_other_commands(tool: Sandbox, framework: Framework, option: str) -> None:
    before = framework.snapshot()

    assert companion.run(tool, "show", option) == Result(
        2, "", f"qor_mim_ctl: Unknown option specified: {option.removeprefix('--')} (see qor_mim_ctl --help)\n", [])

    assert framework.snapshot() == before


@pytest.mark.parametrize("words", [(), ("--json",)])
@pytest.mark.parametrize("output", [">/dev/full", ">&-"])
def test_show_fails_when_its_answer_cannot_be_written(tool: Sandbox, output: str, words: tuple[str, ...]) -> None:
    """The disk is full, or standard output is closed."""
    result = tool.execute("/bin/sh", "-c", f'"$@" {output}', "sh", *companion.command(), "show", *words)

    assert result == Result(4, "", "qor_mim_ctl: the answer could not be written\n", [])


def test_show_ignores_the_lock_of_another_caller(tool: Sandbox) -> None:
    script = ("import fcntl, subprocess, sys\n"
              f"with open('{installed(CALLER_LOCK)}', 'w') as file:\n"
              "    fcntl.lockf(file, fcntl.LOCK_EX)\n"
              "    sys.exit(subprocess.run(sys.argv[1:]).returncode)\n")
    result = tool.with_env(PATH=PATH).execute("/usr/bin/python3", "-c", script, *companion.command(), "show",
                                              "--json")

    assert companion.parsed(result) == OVERVIEW
