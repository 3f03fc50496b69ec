"""The companion's transaction: all or nothing, and reported correctly."""
from __future__ import annotations

import fcntl
import itertools
import os
import stat
import time
from pathlib import Path

import companion
import pytest
from framework import (BASE, CALLER_LOCK, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, MISSING, PUMP,
                       ROOTLESS, SESSION, VALIDATOR, VALVE, Framework, apply_on, config, model, participant)
from sandbox import Result, Sandbox

ADD_PUMP = (f"--add={PUMP}", "--handler=pumpHandler")
BOTH = (CONFIG, LIST)
BACKUPS = (CONFIG_BAK, LIST_BAK)

OLD_CONFIG, OLD_LIST = config(participant("older", "Older")), "/opt/qor/models/older.xml\n"


def state(framework: Framework) -> dict[str, bytes | None]:
    """Everything in the framework but the callers' lock file."""
    found = framework.snapshot()
    found.pop(CALLER_LOCK, None)
    return found


def attributes(framework: Framework, *names: str) -> list[tuple[int, int, int, int, list[tuple[str, bytes]]]]:
    """Mode, owner, group, time and extended attributes of files."""
    found = []
    for name in names:
        status = framework.path(name).stat()
        extended = [(key, os.getxattr(framework.path(name), key)) for key in os.listxattr(framework.path(name))]
        found.append((stat.S_IMODE(status.st_mode), status.st_uid, status.st_gid, status.st_mtime_ns, extended))
    return found


@pytest.fixture
def backups(framework: Framework) -> Framework:
    """The framework with the backups of an earlier commit."""
    framework.write(CONFIG_BAK, OLD_CONFIG)
    framework.write(LIST_BAK, OLD_LIST)
    for name in BACKUPS:
        os.utime(framework.path(name), ns=(10**18, 10**18 + 1))
        framework.path(name).chmod(0o604)
    return framework


def test_apply_makes_the_same_files_as_a_commit(framework: Framework, tool: Sandbox, tmp_path: Path) -> None:
    """The files are those that the tool makes of the same actions, backups included."""
    twin = Framework.create(tmp_path / "twin")
    twin_tool = Sandbox(twin.root)
    twin_tool.run("--addModelFile", PUMP, "--modelHandler", "pumpHandler", "--managedObjectVersion", "2")
    twin_tool.run("--removeModelFile", BASE, "--modelHandler", "baseHandler")
    twin_tool.run("--addModelFile", VALVE)
    twin_tool.run("--commit")

    done = companion.answer(tool, "apply", *ADD_PUMP, "--mo-version=2", f"--remove={BASE}", "--handler=baseHandler",
                            f"--add={VALVE}")

    assert done == {
        "command": "apply", "framework": "/opt/qor", "status": 0, "result": "applied",
        "actions": [
            {"kind": "AddModelFileWithHandler", "file": PUMP, "handler": "pumpHandler", "managedObjectVersion": "2",
             "transactionalResourceVersion": "1", "result": "done",
             "messages": ["Adding new handler: pumpHandler with root class: Pump"]},
            {"kind": "RemoveModelFileWithHandler", "file": BASE, "handler": "baseHandler", "managedObjectVersion": "1",
             "transactionalResourceVersion": "1", "result": "done",
             "messages": ["Found handler: baseHandler", "Removed root entry Base from baseHandler",
                          "Removed handler: baseHandler", f"Found and removed model entry: {BASE}"]},
            {"kind": "AddModelFile", "file": VALVE, "result": "done", "messages": []}],
        "validator": "accepted", "report": "", "warnings": []}
    assert state(framework) == state(twin)


def test_apply_can_be_rolled_back(framework: Framework, tool: Sandbox) -> None:
    """The tool undoes it like a commit of its own."""
    before = state(framework)
    companion.answer(tool, "apply", *ADD_PUMP)

    tool.run("--rollback")

    assert state(framework) == before


def test_apply_changes_nothing_when_repeated(framework: Framework, tool: Sandbox) -> None:
    """A repeated call finds nothing to do, and touches no file."""
    framework.script(VALIDATOR, "exit 0")
    companion.answer(tool, "apply", *ADD_PUMP)
    framework.script(VALIDATOR, "exit 1")
    before = state(framework), attributes(framework, *BOTH, *BACKUPS)

    again = companion.answer(tool, "apply", *ADD_PUMP, f"--remove={VALVE}", "--handler=gone")

    assert (again["status"], again["result"], again["validator"]) == (0, "unchanged", "not-asked")
    assert (again["report"], again["warnings"]) == ("", [])
    assert [action["result"] for action in again["actions"]] == ["skipped", "skipped"]
    assert (state(framework), attributes(framework, *BOTH, *BACKUPS)) == before


def test_apply_refuses_all_actions_when_one_would_fail(backups: Framework, tool: Sandbox) -> None:
    before = state(backups), attributes(backups, *BOTH, *BACKUPS)

    refused = companion.answer(tool, "apply", *ADD_PUMP, f"--add={MISSING}", f"--add={BASE}")

    assert (refused["status"], refused["result"], refused["validator"]) == (1, "refused", "not-asked")
    assert [action["result"] for action in refused["actions"]] == ["done", "failed", "skipped"]
    assert refused["actions"][1]["messages"] == ["the model file does not exist"]
    assert refused["warnings"] == []
    assert (state(backups), attributes(backups, *BOTH, *BACKUPS)) == before


def test_apply_names_the_refused_action(tool: Sandbox) -> None:
    """The message is on standard error."""
    refused = f"--addModelFile={ROOTLESS} --modelHandler=h --managedObjectVersion=1 --transactionalResourceVersion=1"

    assert companion.run(tool, "apply", f"--add={VALVE}", f"--add={ROOTLESS}", "--handler=h") == Result(
        1, f"refused\n  done     --addModelFile={VALVE}\n  failed   {refused}\n",
        f"the model file has no root class, or cannot be read\nqor_mim_ctl: failed: {refused}\n", [])


@pytest.mark.parametrize("options", [ADD_PUMP, (f"--add={VALVE}",), (f"--add={BASE}", "--handler=h2"),
                                     (f"--remove={BASE}",), (f"--remove={BASE}", "--handler=baseHandler")])
def test_apply_undoes_a_rejected_result(backups: Framework, tool: Sandbox, options: tuple[str, ...]) -> None:
    """After a rejection everything is as it was, the backups of an earlier commit included."""
    if options[-1] == "--handler=h2":
        backups.write(CONFIG, config(participant("auxHandler", "Aux")))
    backups.script(VALIDATOR, "echo no; echo way >&2; exit 1")
    before = state(backups), attributes(backups, *BOTH, *BACKUPS)

    rejected = companion.answer(tool, "apply", *options)

    assert (rejected["status"], rejected["result"], rejected["validator"]) == (1, "rejected", "rejected")
    assert (rejected["report"], rejected["warnings"]) == ("no\nway\n", [])
    assert [action["result"] for action in rejected["actions"]] == ["done"]
    assert (state(backups), attributes(backups, *BOTH, *BACKUPS)) == before


@pytest.mark.unsound("there are leftovers of a session")
def test_apply_leaves_no_backups_where_there_were_none(framework: Framework, tool: Sandbox) -> None:
    """Nor does it remove the leftovers of a session without a lock file."""
    framework.script(VALIDATOR, "exit 1")
    framework.write(SESSION, "0:/left/over\n")
    framework.write(LIST_TMP, "left over")
    before = state(framework)

    assert companion.answer(tool, "apply", *ADD_PUMP)["status"] == 1

    assert state(framework) == before


def test_apply_asks_the_validator_about_the_live_list(framework: Framework, tool: Sandbox) -> None:
    """The lock file then names the apply."""
    framework.script(VALIDATOR, 'cp "$3" /opt/qor/judged; cp /opt/qor/etc/model/qor_mim_tool.lock /opt/qor/owner')

    assert companion.answer(tool, "apply", f"--remove={BASE}")["validator"] == "accepted"

    assert framework.read("judged") == ""
    assert framework.read("owner") == apply_on("alpha")
    assert not framework.path(LOCK).exists()


def test_apply_reports_a_missing_validator(framework: Framework, tool: Sandbox) -> None:
    framework.remove(VALIDATOR)

    done = companion.answer(tool, "apply", *ADD_PUMP)

    assert (done["status"], done["result"], done["validator"]) == (0, "applied", "absent")


def test_apply_makes_its_copies_elsewhere_without_tmpdir(framework: Framework, tool: Sandbox) -> None:
    """When copies cannot be made in the usual place, another one is used."""
    done = companion.answer(tool.with_env(TMPDIR="/opt/missing"), "apply", *ADD_PUMP)

    assert done["result"] == "applied"
    assert not list(framework.path("etc/model").glob("qor_mim_ctl-*"))


def test_apply_keeps_attributes(framework: Framework, tool: Sandbox) -> None:
    """Both live files and their backups have the mode, owner, group and extended attributes that the files had."""
    wanted = {}
    for name, mode in ((CONFIG, 0o640), (LIST, 0o664)):
        path = framework.path(name)
        path.chmod(mode)
        try:
            os.setxattr(path, "user.origin", b"shop")
        except OSError:
            pass
        wanted[name] = attributes(framework, name)[0]

    done = companion.answer(tool, "apply", *ADD_PUMP)

    assert (done["result"], done["warnings"]) == ("applied", [])
    for name in BOTH:
        for kept in attributes(framework, name, f"{name}.bak"):
            assert kept[:3] + kept[4:] == wanted[name][:3] + wanted[name][4:]


def test_apply_creates_the_callers_lock_with_the_lists_mode(framework: Framework, tool: Sandbox) -> None:
    """The file stays, for everyone who may edit the list."""
    framework.path(LIST).chmod(0o660)

    companion.answer(tool, "apply", f"--add={BASE}")

    assert stat.S_IMODE(framework.path(CALLER_LOCK).stat().st_mode) == 0o660


def test_apply_follows_links(framework: Framework, tool: Sandbox) -> None:
    """A live file that is a link stays one."""
    framework.path(CONFIG).rename(framework.path("etc/real.cfg"))
    framework.path(CONFIG).symlink_to("real.cfg")

    assert companion.answer(tool, "apply", *ADD_PUMP)["result"] == "applied"

    assert os.readlink(framework.path(CONFIG)) == "real.cfg"
    assert "pumpHandler" in framework.read("etc/real.cfg")


def test_apply_is_refused_during_a_session_of_its_host(framework: Framework, tool: Sandbox) -> None:
    framework.session(f"0:{VALVE}\n")
    before = state(framework)

    assert companion.answer(tool, "apply", *ADD_PUMP) == {
        "command": "apply", "framework": "/opt/qor", "status": 3, "error": "the host alpha has a session open"}

    assert state(framework) == before


def test_apply_waits_for_a_session_to_end(framework: Framework, tool: Sandbox) -> None:
    """With --wait it begins when the session is over."""
    framework.session(f"0:{VALVE}\n")
    run = companion.start(tool, "apply", *ADD_PUMP, "--wait=60", "--json")
    run.wait_for(framework.path(CALLER_LOCK).exists)

    tool.run("--commit")

    assert companion.parsed(run.wait())["result"] == "applied"
    assert framework.read(LIST) == f"{BASE}\n{VALVE}\n{PUMP}\n"


@pytest.mark.parametrize("command", [("apply", *ADD_PUMP), ("plan",), ("plan", *ADD_PUMP), ("check",)])
def test_commands_are_busy_while_another_caller_has_the_lock(framework: Framework, tool: Sandbox,
                                                             command: tuple[str, ...]) -> None:
    framework.write(CALLER_LOCK, "")
    before = state(framework)
    with framework.path(CALLER_LOCK).open("r+b") as lock:
        fcntl.lockf(lock, fcntl.LOCK_EX)

        busy = companion.answer(tool, *command)

    assert busy == {"command": command[0], "framework": "/opt/qor", "status": 3,
                    "error": f"another caller, process {os.getpid()}, has the lock /opt/qor/{CALLER_LOCK}"}
    assert state(framework) == before


def test_apply_succeeds_for_twelve_concurrent_callers(framework: Framework, tool: Sandbox) -> None:
    """In some order, one after the other."""
    names = [f"/opt/qor/models/m{number}.xml" for number in range(12)]
    for number, name in enumerate(names):
        framework.write(f"models/{Path(name).name}", model(f"Class{number}"))
    runs = [companion.start(tool, "apply", f"--add={name}", f"--handler=h{number}", "--wait=60", "--json")
            for number, name in enumerate(names)]
    results = [companion.parsed(run.wait())["result"] for run in runs]

    assert results == ["applied"] * 12
    lines = framework.read(LIST).splitlines()
    assert (lines[0], sorted(lines[1:])) == (BASE, sorted(names))
    assert all(f'compName="h{number}"' in framework.read(CONFIG) for number in range(12))
    assert not any(framework.path(name).exists() for name in (LOCK, SESSION, CONFIG_TMP, LIST_TMP))


@pytest.mark.unsound("the other run broke the session")
@pytest.mark.parametrize("action", ["rm etc/model/qor_mim_tool.lock", "echo beta >etc/model/qor_mim_tool.lock",
                                    "echo /edited >>etc/model/model_file_list.cfg", "echo '<edited/>' >etc/qor.cfg",
                                    "rm etc/qor.cfg"])
@pytest.mark.parametrize("verdict", [0, 1])
def test_apply_stops_when_another_run_interferes(framework: Framework, tool: Sandbox, action: str,
                                                 verdict: int) -> None:
    """Interference while the validator runs is noticed, and nothing more is changed."""
    framework.script(VALIDATOR, f"cd /opt/qor; {action}; mkdir kept; cp -r etc kept; exit {verdict}")

    stopped = companion.answer(tool, "apply", *ADD_PUMP)

    assert stopped.keys() == {"command", "framework", "status", "error"}
    assert stopped["status"] == 4
    assert "/opt/qor/etc/qor.cfg and /opt/qor/etc/model/model_file_list.cfg" in stopped["error"]
    now = state(framework)
    kept = {name.removeprefix("kept/"): content for name, content in now.items() if name.startswith("kept/etc/")}
    kept.pop(CALLER_LOCK)
    assert kept == {name: content for name, content in now.items() if name.startswith("etc/")}


@pytest.mark.parametrize("name", ["HUP", "INT", "QUIT", "TERM", "USR1", "ALRM"])
def test_apply_installs_an_accepted_list_despite_a_signal(framework: Framework, tool: Sandbox, name: str) -> None:
    """A signal while the validator works does not keep an accepted list from being installed."""
    framework.script(VALIDATOR, f"kill -{name} $PPID")

    assert companion.answer(tool, "apply", *ADD_PUMP)["result"] == "applied"

    assert framework.read(LIST) == f"{BASE}\n{PUMP}\n"


def test_apply_restores_the_files_when_a_signal_ends_it(backups: Framework, tool: Sandbox) -> None:
    """A signal that also ends the validator leaves everything as it was."""
    backups.script(VALIDATOR, "kill -INT $PPID; kill -INT $$")
    before = state(backups), attributes(backups, *BOTH, *BACKUPS)

    ended = companion.answer(tool, "apply", *ADD_PUMP)

    assert ended["status"] == 4
    assert ended["error"] == "Signal received: 2; the previous files are back"
    assert (state(backups), attributes(backups, *BOTH, *BACKUPS)) == before


def test_apply_does_nothing_when_a_signal_ends_its_wait(framework: Framework, tool: Sandbox) -> None:
    framework.session(f"0:{VALVE}\n")
    before = state(framework)
    run = companion.start(tool, "apply", *ADD_PUMP, "--wait=60", "--json")
    run.wait_for(framework.path(CALLER_LOCK).exists)
    time.sleep(0.2)

    run.signal(15)

    ended = companion.parsed(run.wait())
    assert (ended["status"], ended["error"]) == (4, "ended by a signal, and nothing was done")
    assert state(framework) == before


def test_apply_ends_with_status_4_when_it_cannot_answer(tool: Sandbox) -> None:
    """An answer that cannot be written is status 4; repeating the call reports the state."""
    with Path("/dev/full").open("wb") as full:
        run = tool.with_env(TMPDIR="/opt/scratch").launch(*companion.command(), "apply", *ADD_PUMP, "--json",
                                                          stdout=full)
        assert run.wait().status == 4
    reader, writer = os.pipe()
    os.close(reader)
    with os.fdopen(writer, "wb") as closed:
        run = tool.with_env(TMPDIR="/opt/scratch").launch(*companion.command(), "apply", *ADD_PUMP, stdout=closed)
        assert run.wait().status == 4

    assert companion.answer(tool, "apply", *ADD_PUMP)["result"] == "unchanged"


@pytest.mark.unsound("the list names model files that do not exist")
@pytest.mark.skipif("QOR_SANDBOX_WRITABLE" in os.environ, reason="coverage counters are files of limited size, too")
def test_apply_undoes_everything_on_a_full_disk(backups: Framework, tool: Sandbox) -> None:
    """Wherever the disk fills up, everything is installed or everything is as it was."""
    backups.write(LIST, BASE + "\n" + "".join(f"/opt/qor/models/more{number}.xml\n" for number in range(30)))
    before = state(backups), attributes(backups, *BOTH, *BACKUPS)
    seen = set()
    for limit in itertools.count(0, 97):
        limited = Sandbox(tool.framework, work=tool.work, env={"TMPDIR": "/opt/scratch"}, wrapper=(
            "/usr/bin/prlimit", f"--fsize={limit}"))

        result = limited.execute(*companion.command(), "apply", *ADD_PUMP)

        seen.add(result.status)
        if result.status == 0:
            break
        assert result.status == 4, result
        assert (state(backups), attributes(backups, *BOTH, *BACKUPS)) == before
    assert seen == {0, 4}


def test_apply_rejects_versions_without_a_handler(framework: Framework, tool: Sandbox) -> None:
    """A wrong command line is reported before anything is done."""
    before = framework.snapshot()

    wrong = companion.answer(tool, "apply", "--add=/a", "--mo-version=1")

    assert wrong.keys() == {"command", "framework", "status", "error"}
    assert (wrong["status"], wrong["framework"]) == (2, None)
    assert framework.snapshot() == before


@pytest.mark.skipif(os.geteuid() != 0, reason="only root can give files away")
def test_apply_warns_of_owners_that_it_cannot_keep(framework: Framework, tool: Sandbox) -> None:
    """The program may not change owners in the sandbox, and reports it."""
    os.chown(framework.path(LIST), 1234, 2345)
    framework.path(LIST).chmod(0o666)

    done = companion.answer(tool, "apply", f"--add={PUMP}")

    assert (done["status"], done["result"]) == (0, "applied")
    assert done["warnings"] == [f"the {what} of /opt/qor/{name} could not be kept" for name in (LIST_BAK, LIST)
                                for what in ("owner", "group")]
