"""The companion's search for faults: each finding has a scenario that produces it and a remedy that ends it."""
from __future__ import annotations

import shlex
from collections.abc import Callable

import companion
import pytest
from framework import (AGENT, AUX, BASE, BROKEN, CONFIG, LIST, LIST_BAK, LOCK, MISSING, NAMELESS, PLACEHOLDER, PUMP,
                       ROOTLESS, SESSION, VALIDATOR, VALVE, Framework, apply_on, config, installed, participant)
from sandbox import Result, Sandbox, tool_path

Step = Callable[[Framework, Sandbox], None]
AGENT_PATH, VALIDATOR_PATH, CONFIG_PATH, LIST_PATH, LOCK_PATH, SESSION_PATH = map(
    installed, (AGENT, VALIDATOR, CONFIG, LIST, LOCK, SESSION))
BASE_HANDLER, AUX_HANDLER = participant("baseHandler", "Base"), participant("auxHandler", "Aux")
SOUND_CONFIG, SOUND_LIST = config(BASE_HANDLER, AUX_HANDLER), f"{BASE}\n{AUX}\n"


@pytest.fixture
def sound(framework: Framework) -> Framework:
    """A framework without a finding."""
    framework.write(LIST, SOUND_LIST)
    return framework


def findings(sandbox: Sandbox) -> list[tuple[str, str, str | None]]:
    """The findings: identifier, severity, file."""
    answer = companion.answer(sandbox, "check")
    assert answer["status"] == (1 if "error" in {finding["severity"] for finding in answer["findings"]} else 0)
    return [(finding["id"], finding["severity"], finding["file"]) for finding in answer["findings"]]


def type_in(sandbox: Sandbox, command: str) -> None:
    """Run a remedy that is a command, on its host."""
    host, _, words = command.rpartition(": ")
    sandbox = sandbox.on(host.removeprefix("on the host ")) if host else sandbox
    names = "".join(f'{path.name}() {{ {shlex.join(sandbox.tool_command(path))} "$@"; }}\n'
                    for path in (tool_path(), companion.companion_path()))
    result = sandbox.execute("/bin/sh", "-c", names + words)
    assert result.status == 0, result


def writes(name: str, content: str) -> Step:
    """The content of a file is replaced."""
    return lambda framework, _: framework.write(name, content)


def removes(name: str) -> Step:
    """A file is lost."""
    return lambda framework, _: framework.remove(name)


def changes_mode(name: str) -> Step:
    """A file loses its permissions for others and for execution."""
    return lambda framework, _: framework.path(name).chmod(0o600)


def commits(framework: Framework, tool: Sandbox) -> None:
    """Backups of a finished commit exist."""
    tool.run("--addModelFile", PUMP, "--modelHandler", "pumpHandler")
    assert tool.run("--commit").status == 0


def commits_then(step: Step) -> Step:
    """Something happens after a commit."""
    def both(framework: Framework, tool: Sandbox) -> None:
        commits(framework, tool)
        step(framework, tool)
    return both


def stages(entries: str, host: str = "alpha") -> Step:
    """A session is open."""
    return lambda framework, _: framework.session(entries, host)


def stages_beside_an_edit(framework: Framework, _: Sandbox) -> None:
    """Somebody edits the list while a session is open."""
    framework.session(f"0:{PUMP}\n")
    framework.write(LIST, SOUND_LIST + f"{VALVE}\n")


def cuts_rollback(framework: Framework, tool: Sandbox) -> None:
    """A rollback is killed between its two files."""
    commits(framework, tool)
    framework.write(LIST, framework.read(LIST_BAK))
    framework.remove(LIST_BAK)


def moves_contained(framework: Framework, _: Sandbox) -> None:
    """A model file is moved to a path that is part of no other."""
    framework.path("models/base.xml").rename(framework.path("models/first.xml"))
    framework.write(LIST, f"{installed('models/first.xml')}\n{AUX}\n{BASE}.old\n")


def lists_contained(framework: Framework, _: Sandbox) -> None:
    """One path is the beginning of another."""
    framework.write("models/base.xml.old", "<model><class name='Old'><root/></class></model>")
    framework.write(LIST, SOUND_LIST + f"{BASE}.old\n")


# The event; the finding; the edit in the remedy, or the beginning of the command that it is.
STORIES = [
    (removes(AGENT), ("agent-missing", "warning", AGENT_PATH),
     lambda framework, _: framework.script(AGENT, "echo /opt/qor")),
    (changes_mode(AGENT), ("agent-missing", "warning", AGENT_PATH), "chmod a+x"),
    (removes(VALIDATOR), ("validator-missing", "warning", VALIDATOR_PATH),
     lambda framework, _: framework.script(VALIDATOR, "exit 0")),
    (changes_mode(VALIDATOR), ("validator-missing", "warning", VALIDATOR_PATH), "chmod a+x"),
    (removes(CONFIG), ("configuration-missing", "error", CONFIG_PATH), writes(CONFIG, SOUND_CONFIG)),
    (removes(LIST), ("list-missing", "error", LIST_PATH), writes(LIST, SOUND_LIST)),
    (writes(CONFIG, "<qor>"), ("configuration-unreadable", "error", CONFIG_PATH), writes(CONFIG, SOUND_CONFIG)),
    (commits_then(writes(CONFIG, "<qor>")), ("configuration-unreadable", "error", CONFIG_PATH), "qor_mim_ctl recover"),
    (writes(CONFIG, "<qor/>"), ("participants-not-one", "error", CONFIG_PATH), writes(CONFIG, SOUND_CONFIG)),
    (writes(CONFIG, config(BASE_HANDLER, AUX_HANDLER, participant(PLACEHOLDER))),
     ("placeholder-not-first", "warning", CONFIG_PATH),
     writes(CONFIG, config(participant(PLACEHOLDER), BASE_HANDLER, AUX_HANDLER))),
    (writes(CONFIG, config(BASE_HANDLER, participant("baseHandler", "Aux"))), ("handler-twice", "error", CONFIG_PATH),
     writes(CONFIG, config(participant("baseHandler", "Base", "Aux")))),
    (writes(CONFIG, config(BASE_HANDLER, participant("auxHandler", "Aux", "Base"))),
     ("root-twice", "error", CONFIG_PATH), writes(CONFIG, SOUND_CONFIG)),
    (writes(LIST, f"{BASE}\n"), ("root-unlisted", "warning", CONFIG_PATH),
     lambda _, tool: type_in(tool, f"qor_mim_ctl apply --add={AUX}")),
    (writes(LIST, SOUND_LIST + f"{MISSING}\n"), ("model-missing", "error", MISSING), writes(LIST, SOUND_LIST)),
    (writes(LIST, SOUND_LIST + f"{BROKEN}\n"), ("model-unreadable", "error", BROKEN), writes(LIST, SOUND_LIST)),
    (writes(LIST, SOUND_LIST + f"{NAMELESS}\n"), ("model-unreadable", "error", NAMELESS),
     writes("models/nameless.xml", "<model><class name='Named'><root/></class></model>")),
    (writes(LIST, SOUND_LIST + f"{ROOTLESS}\n"), ("model-rootless", "warning", ROOTLESS),
     writes("models/rootless.xml", "<model><class name='Unit'><root/></class></model>")),
    (writes(LIST, SOUND_LIST + "models/pump.xml\n"), ("model-relative", "error", "models/pump.xml"),
     writes(LIST, SOUND_LIST + f"{PUMP}\n")),
    (writes(LIST, SOUND_LIST + f"{BASE}\n"), ("model-twice", "warning", BASE), writes(LIST, SOUND_LIST)),
    (lists_contained, ("model-contained", "warning", BASE), moves_contained),
    (writes(LIST, SOUND_LIST.removesuffix("\n")), ("list-end", "error", LIST_PATH), "echo >>"),
    (stages(f"0:{PUMP}\n", "beta"), ("session-foreign", "warning", LOCK_PATH),
     "on the host beta: qor_mim_tool --commit"),
    (writes(LOCK, "alpha"), ("session-stale", "error", LOCK_PATH), "qor_mim_ctl recover"),
    (stages(f"0:{PUMP}\n", ""), ("session-stale", "error", LOCK_PATH), "qor_mim_ctl recover"),
    (writes(SESSION, f"0:{PUMP}\n"), ("session-leftover", "warning", SESSION_PATH), "qor_mim_ctl recover"),
    (stages(f"0:{PUMP}\nx:y\n"), ("session-invalid", "error", SESSION_PATH), writes(SESSION, f"0:{PUMP}\n")),
    (stages_beside_an_edit, ("live-changed", "error", LIST_PATH), "cp -p "),
    (commits_then(writes(LOCK, apply_on("alpha"))), ("commit-interrupted", "error", None), "qor_mim_ctl recover"),
    (cuts_rollback, ("rollback-interrupted", "error", None), "qor_mim_ctl recover"),
    (commits_then(changes_mode(CONFIG)), ("ownership", "warning", CONFIG_PATH), "chown "),
]


@pytest.mark.parametrize(("happens", "found", "follow"), STORIES, ids=[found[0] for _, found, _ in STORIES])
def test_check_finds_what_its_remedy_ends(sound: Framework, tool: Sandbox, happens: Step,
                                          found: tuple[str, str, str | None], follow: Step | str) -> None:
    assert findings(tool) == []
    happens(sound, tool)
    before = sound.snapshot()
    assert found in findings(tool)
    assert sound.snapshot() == before

    if isinstance(follow, str):
        command = next(finding["remedy"] for finding in companion.answer(tool, "check")["findings"]
                       if finding["id"] == found[0])
        assert command.startswith(follow)
        type_in(tool, command)
    else:
        follow(sound, tool)

    assert findings(tool) == []


@pytest.mark.unsound("the list has no line feed at its end")
def test_check_prints_findings_as_text(sound: Framework, tool: Sandbox) -> None:
    sound.write(LIST, SOUND_LIST.removesuffix("\n"))

    assert companion.run(tool, "check") == Result(1, f"""\
error: {LIST_PATH}: the last line has no line feed [list-end]
  remedy: echo >>{LIST_PATH}
""", "", [])
