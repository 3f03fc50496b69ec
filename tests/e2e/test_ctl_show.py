"""The companion's overview: installed models, handlers, and the session with its owner."""
from __future__ import annotations

import os

import companion
import pytest
from framework import (BASE, CALLER_LOCK, CONFIG, LIST, LIST_BAK, LOCK, MISSING, PUMP, Framework, config, installed,
                       model, participant)
from sandbox import PATH, Result, Sandbox

pytestmark = pytest.mark.unsound("the tests start with broken files")

NOON, NOON_TEXT = 1769860800, "2026-01-31T12:00:00Z"


def listed(file: str, root_class: str | None, *handlers: str, exists: bool = True) -> dict[str, object]:
    """A model file, as the answer shows it."""
    return {"file": file, "exists": exists, "rootClass": root_class, "handlers": list(handlers)}


def handler(name: str, *root_classes: str) -> dict[str, object]:
    """A handler, as the answer shows it."""
    return {"name": name, "placeholder": False, "managedObjectVersion": "1", "transactionalResourceVersion": "1",
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


def test_show_reports_the_models_beside_a_deeply_nested_document(framework: Framework, tool: Sandbox) -> None:
    framework.write(CONFIG, "<a>" * 200_000)

    assert companion.answer(tool, "show") == {
        **OVERVIEW, "status": 4, "models": [listed(BASE, "Base")], "handlers": None,
        "error": f"the document cannot be parsed: {installed(CONFIG)}"}


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


def test_show_keeps_control_characters_in_json(framework: Framework, tool: Sandbox) -> None:
    """The names are unchanged, except for invalid UTF-8."""
    framework.path(LIST).write_bytes(b"/m/\x1b[2J\xff.xml\n")
    framework.write(CONFIG, '<qor><participants><participant><managedObject compName="a&#10;b"/></participant>'
                            "</participants></qor>")

    answer = companion.answer(tool, "show")

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


def test_show_rejects_an_option_of_another_command(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()

    assert companion.run(tool, "show", "--wait=1") == Result(
        2, "", "qor_mim_ctl: Unknown option specified: wait=1 (see qor_mim_ctl --help)\n", [])

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
