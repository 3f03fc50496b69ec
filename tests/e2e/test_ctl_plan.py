"""The companion's preview of a commit, and of an apply."""
from __future__ import annotations

import fcntl
import os
import random
import shutil
from pathlib import Path

import companion
import pytest
from framework import (AUX, BASE, BROKEN, CALLER_LOCK, CONFIG, LIST, MISSING, NAMELESS, PUMP, ROOTLESS, VALIDATOR,
                       VALVE, Framework, config, participant)
from sandbox import Result, Sandbox

pytestmark = pytest.mark.unsound("the tests start with broken files")

NO_DIFF = {"qor.cfg": "", "model_file_list.cfg": ""}
PREFIX = "ConsoleLogger: "
# The difference that the addition of PUMP with a new handler makes.
ADDED_PUMP = {
    "qor.cfg": "--- qor.cfg\n+++ qor.cfg\n@@ -14,6 +14,13 @@\n"
               + "".join(f" {line}\n" for line in participant("auxHandler", "Aux").splitlines()[-3:])
               + "".join(f"+{line}\n" for line in participant("pumpHandler", "Pump").splitlines())
               + ' \t</participants>\n \t<limits requests="8"/>\n </qor>\n',
    "model_file_list.cfg": f"--- model_file_list.cfg\n+++ model_file_list.cfg\n@@ -1 +1,2 @@\n {BASE}\n+{PUMP}\n"}


def added(file: str, handler: str, result: str, *messages: str, mo: str = "1", tr: str = "1") -> dict[str, object]:
    """An addition with a handler, as the answer shows it."""
    return {"kind": "AddModelFileWithHandler", "file": file, "handler": handler, "managedObjectVersion": mo,
            "transactionalResourceVersion": tr, "result": result, "messages": list(messages)}


def test_plan_shows_the_outcome_of_each_staged_action(framework: Framework, tool: Sandbox) -> None:
    """Each action is shown with its outcome; nothing changes, and nothing is left behind."""
    tool.run("--addModelFile", PUMP, "--modelHandler", "pumpHandler")
    tool.run("--addModelFile", BASE)
    before = framework.snapshot()

    plan = companion.answer(tool, "plan")

    assert plan == {
        "command": "plan", "framework": "/opt/qor", "status": 0, "result": "would-succeed",
        "actions": [
            added(PUMP, "pumpHandler", "done", "Adding new handler: pumpHandler with root class: Pump"),
            {"kind": "AddModelFile", "file": BASE, "result": "skipped",
             "messages": [f"Modelfile entry already exists: {BASE}\nSkipping adding of modelfile."]}],
        "validator": "accepted", "report": "",
        "diff": ADDED_PUMP}
    assert framework.snapshot() == before


def test_plan_reports_failures_and_the_verdict(framework: Framework, tool: Sandbox) -> None:
    """Failures are reported, and the validator's verdict on the rest."""
    framework.script(VALIDATOR, 'cat "$3"; exit 3')
    framework.session(f"0:{MISSING}\n0:{PUMP}\n9:strange\n4:no-fields\n")

    plan = companion.answer(tool, "plan")

    assert (plan["status"], plan["result"], plan["validator"]) == (1, "would-fail", "rejected")
    assert plan["report"] == f"{BASE}\n{PUMP}\n"
    assert plan["actions"] == [
        {"kind": "AddModelFile", "file": MISSING, "result": "failed",
         "messages": [f"Cannot find the model file: {MISSING}"]},
        {"kind": "AddModelFile", "file": PUMP, "result": "done", "messages": []},
        {"kind": "9", "text": "strange", "result": "skipped", "messages": []},
        {"kind": "RemoveModelFileWithHandler", "text": "no-fields", "result": "failed",
         "messages": ["Unable to locate model handler.\nAborting."]}]


def test_plan_stops_where_a_commit_stops(framework: Framework, tool: Sandbox) -> None:
    """An action that ends a commit leaves the others undone."""
    framework.write(CONFIG, config(participant("VELDA_OAM_COMPONENT")))
    framework.session(f"3:|handler|1|1\n0:{PUMP}\n")

    plan = companion.answer(tool, "plan")

    assert (plan["result"], plan["validator"]) == ("would-fail", "not-asked")
    assert [action["result"] for action in plan["actions"]] == ["failed", "failed"]
    assert plan["diff"] == NO_DIFF


def test_plan_fails_for_a_malformed_document(framework: Framework, tool: Sandbox) -> None:
    framework.write(CONFIG, "<qor>")
    framework.session(f"0:{PUMP}\n")

    assert companion.answer(tool, "plan") == {
        "command": "plan", "framework": "/opt/qor", "status": 4,
        "error": "Bad data format: the document cannot be parsed: /opt/qor/etc/qor.cfg"}


def test_plan_previews_given_actions_instead_of_the_session(framework: Framework, tool: Sandbox, work: Path) -> None:
    framework.session(f"0:{VALVE}\n")
    (work / "own.xml").write_text('<m><class name="Own"><root/></class></m>')
    before = framework.snapshot()

    plan = companion.answer(tool, "plan", "--add=./own.xml", "--handler=own", "--mo-version=2", f"--add={BASE}",
                            "--handler=baseHandler", f"--remove={PUMP}")

    assert (plan["status"], plan["result"], plan["validator"]) == (0, "would-succeed", "accepted")
    assert plan["actions"] == [
        added("/opt/scratch/own.xml", "own", "done", "Adding new handler: own with root class: Own", mo="2"),
        added(BASE, "baseHandler", "skipped"),
        {"kind": "RemoveModelFile", "file": PUMP, "result": "skipped", "messages": []}]
    assert framework.snapshot() == before


@pytest.mark.parametrize("options, reason", [
    ([f"--add={NAMELESS}", "--handler=h"], "the model file has no root class, or cannot be read"),
    ([f"--remove={BASE}", "--handler=nosuch"], "the root class Base is served by another handler: baseHandler"),
    ([f"--add={VALVE}", "--handler=\udcff"], "the handler's name is not valid UTF-8"),
    ([f"--remove={BASE}", "--handler=baseHandler", f"--remove={AUX}", "--handler=auxHandler"],
     "the model or its handler cannot be removed, the last handler stays"),
])
def test_plan_refuses_what_apply_would_refuse(framework: Framework, tool: Sandbox, options: list[str],
                                              reason: str) -> None:
    framework.write(LIST, f"{BASE}\n{AUX}\n")
    before = framework.snapshot()

    plan = companion.answer(tool, "plan", *options)

    assert (plan["status"], plan["result"], plan["validator"]) == (1, "would-fail", "not-asked")
    assert plan["actions"][-1]["result"] == "failed"
    assert plan["actions"][-1]["messages"][-1] == reason
    assert framework.snapshot() == before


def test_plan_expects_a_new_handler_for_the_placeholder(framework: Framework, tool: Sandbox) -> None:
    """An existing handler would be registered twice."""
    framework.write(CONFIG, config(participant("VELDA_OAM_COMPONENT"), participant("auxHandler", "Aux")))

    plan = companion.answer(tool, "plan", f"--add={PUMP}", "--handler=auxHandler", f"--add={PUMP}",
                            "--handler=pumpHandler", f"--add={VALVE}", "--handler=auxHandler")

    assert [action["result"] for action in plan["actions"]] == ["failed", "done", "done"]
    assert "placeholder" in plan["actions"][0]["messages"][0]


def test_plan_prints_text(tool: Sandbox) -> None:
    """Outcomes and difference go to standard output, messages and failures to standard error."""
    addition = (f"--addModelFile={PUMP} --modelHandler=pumpHandler --managedObjectVersion=1 "
                "--transactionalResourceVersion=1")

    assert companion.run(tool, "plan", f"--add={PUMP}", "--handler=pumpHandler", f"--add={MISSING}") == Result(
        1, f"would-fail\n  done     {addition}\n  failed   --addModelFile={MISSING}\n" + "".join(ADDED_PUMP.values()),
        "Adding new handler: pumpHandler with root class: Pump\nthe model file does not exist\n"
        f"qor_mim_ctl: failed: --addModelFile={MISSING}\n", [])


def test_plan_rejects_versions_without_a_handler(framework: Framework, tool: Sandbox) -> None:
    """A wrong command line is reported before anything is done."""
    before = framework.snapshot()

    plan = companion.answer(tool, "plan", "--add=/a", "--mo-version=1")

    assert plan.keys() == {"command", "framework", "status", "error"}
    assert (plan["status"], plan["framework"]) == (2, None)
    assert framework.snapshot() == before


def test_plan_fails_without_room_for_copies(tool: Sandbox) -> None:
    assert companion.answer(tool.with_env(TMPDIR="/opt/missing"), "plan", f"--add={PUMP}") == {
        "command": "plan", "framework": "/opt/qor", "status": 4,
        "error": "Cannot create file: No such file or directory: /opt/missing"}


def test_plan_notices_a_caller_that_comes_meanwhile(framework: Framework, tool: Sandbox) -> None:
    """What it has read may be another caller's half-made work."""
    os.mkfifo(framework.path("gate"))
    framework.script(VALIDATOR, "read word </opt/qor/gate")
    framework.write(CALLER_LOCK, "")
    run = companion.start(tool, "plan", f"--add={PUMP}", "--json")
    with framework.path(CALLER_LOCK).open("r+b") as lock:
        with framework.path("gate").open("w") as gate:
            fcntl.lockf(lock, fcntl.LOCK_EX)
            gate.write("go\n")

        assert companion.parsed(run.wait())["status"] == 3


def test_plan_leaves_nothing_when_a_signal_ends_it(framework: Framework, tool: Sandbox, work: Path) -> None:
    """The scratch directory is removed, and the validator's verdict counts no more."""
    framework.script(VALIDATOR, "kill -TERM $PPID; exit 1")

    ended = companion.answer(tool, "plan", f"--add={PUMP}")

    assert (ended["status"], ended["error"]) == (4, "ended by a signal, and nothing was done")
    assert not list(work.iterdir())


def test_plan_creates_no_missing_directory(framework: Framework, tool: Sandbox) -> None:
    """A framework without its directories stays as it is."""
    shutil.rmtree(framework.path("etc"))
    before = framework.snapshot()

    assert companion.answer(tool, "plan") == {
        "command": "plan", "framework": "/opt/qor", "status": 1, "result": "nothing-staged", "actions": [],
        "validator": "not-asked", "report": "", "diff": NO_DIFF}
    assert companion.answer(tool, "plan", f"--add={PUMP}")["status"] == 4
    assert framework.snapshot() == before


def random_session(choice: random.Random, framework: Framework) -> None:
    """Open a session, which may hold what the tool's own options cannot stage."""
    models = [BASE, AUX, PUMP, VALVE, ROOTLESS, NAMELESS, BROKEN, MISSING, "/opt/qor/models"]
    handlers = ["baseHandler", "auxHandler", "pumpHandler", "VELDA_OAM_COMPONENT"]
    lines = ""
    for _ in range(choice.randint(0, 6)):
        kind = choice.choice([0, 1, 2, 3, 3, 3, 4, 4, 5])
        fields = [choice.choice(models)] if kind not in (1,) else []
        fields += [choice.choice(handlers), "2", "3"] if kind in (1, 3, 4) else []
        lines += f"{kind}:{'|'.join(fields)}\n"
    if choice.random() < 0.1:
        lines += choice.choice(["3:text without fields\n", "torn", "x:y\n"])
    framework.session(lines)
    if choice.random() < 0.1:
        framework.write(LIST, framework.read(LIST) + "/edited\n")


@pytest.mark.parametrize("seed", range(40))
def test_plan_equals_the_commit(framework: Framework, tool: Sandbox, seed: int) -> None:
    """Outcomes, messages, verdict and files of the preview are those of the commit that follows."""
    choice = random.Random(seed)
    if choice.random() < 0.4:
        framework.write(CONFIG, config(participant("VELDA_OAM_COMPONENT"), participant("auxHandler", "Aux")))
    if choice.random() < 0.3:
        framework.write(LIST, f"{BASE}\n\n  {VALVE}  ")
    framework.script(VALIDATOR, 'echo judged; grep -q valve "$3" && exit 1; exit 0')
    random_session(choice, framework)
    before = framework.read(CONFIG), framework.read(LIST)

    plan = companion.answer(tool, "plan")
    commit = tool.run("--commit")

    after = framework.read(CONFIG), framework.read(LIST)
    messages = [message for action in plan["actions"] for message in action["messages"]]
    assert commit.console.startswith(f"{PREFIX}Information: Using QOR path: /opt/qor\n")
    for message in messages:
        assert f": {message}\n" in commit.console
    assert (plan["validator"] == "rejected") == (commit.stdout != "")
    assert commit.stdout == (plan["report"] + "\n\n" if plan["validator"] == "rejected" else "")
    if plan["result"] == "changed-meanwhile":
        assert "Unable to commit!" in commit.console
    elif plan["result"] == "nothing-staged":
        assert (commit.status, after) == (0, before)
    else:
        assert commit.status == (0 if plan["result"] == "would-succeed" else 255)
        diffs = plan["diff"]["qor.cfg"], plan["diff"]["model_file_list.cfg"]
        expected = tuple(companion.patched(text, diff) for text, diff in zip(before, diffs))
        assert after == (before if plan["validator"] == "rejected" else expected)
