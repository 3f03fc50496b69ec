"""The recovery, killed at one of its system calls and then run again."""
from __future__ import annotations

import dataclasses
import signal
from collections.abc import Callable, Iterator
from pathlib import Path

import apply_faults
import calls
import companion
import sandbox
from framework import (BASE, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, PUMP, SESSION, VALIDATOR,
                       Framework, apply_on, config, participant)

OLD = config(participant("baseHandler", "Base"), participant("auxHandler", "Aux")), f"{BASE}\n"
NEW = config(participant("baseHandler", "Base"), participant("auxHandler", "Aux"),
             participant("pumpHandler", "Pump")), f"{BASE}\n{PUMP}\n"
QUEUE = f"3:{PUMP}|pumpHandler|1|1\n"
HALF = 150

Text = tuple[str, str]


@dataclasses.dataclass(frozen=True)
class State:
    """The state after an interrupted run, and the option that answers the recovery's question."""

    name: str
    leave: Callable[[Framework], None]
    options: tuple[str, ...] = ()


def _live(framework: Framework, pair: Text) -> None:
    framework.write(CONFIG, pair[0])
    framework.write(LIST, pair[1])


def _backups(framework: Framework, pair: Text) -> None:
    framework.write(CONFIG_BAK, pair[0])
    framework.write(LIST_BAK, pair[1])


def _commit(framework: Framework) -> None:
    """A commit that installed the list and half of the document."""
    framework.session(QUEUE)
    _backups(framework, OLD)
    _live(framework, (NEW[0][:HALF], NEW[1]))
    framework.write(CONFIG_TMP, NEW[0])
    framework.remove(LIST_TMP)


def _first_backups(framework: Framework) -> None:
    """A commit that made one backup and half of the other; its working copies are torn."""
    framework.session(QUEUE)
    _backups(framework, (OLD[0], OLD[1][:4]))
    framework.write(CONFIG_TMP, NEW[0][:HALF])


def _staging(framework: Framework) -> None:
    """A staging call that wrote parts of the host name and of the first action, after an earlier commit."""
    _live(framework, NEW)
    framework.session(QUEUE[:9], "al")
    _backups(framework, OLD)


def _rollback(framework: Framework) -> None:
    """A rollback that restored the list and removed the document."""
    _backups(framework, OLD)
    framework.remove(CONFIG, LIST_BAK)


def _rejected_apply(framework: Framework) -> None:
    """An apply interrupted before the validator rejects it."""
    _live(framework, NEW)
    _backups(framework, OLD)
    framework.write(LOCK, apply_on("alpha"))
    framework.script(VALIDATOR, f"! grep -q {PUMP} \"$3\"")


def _interrupted_apply(framework: Framework) -> None:
    """An apply interrupted after it opened its session."""
    _live(framework, NEW)
    framework.session(QUEUE, apply_on("alpha"))
    _backups(framework, OLD)


def _unclear(framework: Framework) -> None:
    """An edited document, which differs from its backup, and a missing list."""
    framework.session(QUEUE)
    _backups(framework, OLD)
    framework.write(CONFIG, config(participant("edited", "Edited")))
    framework.remove(LIST, LIST_TMP, CONFIG_TMP)


STATES = (
    State("commit", _commit),
    State("first-backups", _first_backups),
    State("staging", _staging),
    State("rollback", _rollback),
    State("rejected-apply", _rejected_apply),
    State("begun-apply", _interrupted_apply),
    State("unclear-commit", _unclear, ("--assume=commit",)),
)


def _framework(state: State, root: Path) -> Framework:
    framework = Framework.create(root)
    state.leave(framework)
    return framework


def _files(framework: Framework) -> dict[str, bytes]:
    """The tool's files, without the copies that a recovery makes."""
    names = (CONFIG, LIST, CONFIG_TMP, LIST_TMP, CONFIG_BAK, LIST_BAK, SESSION, LOCK)
    return {name: framework.path(name).read_bytes() for name in names if framework.path(name).exists()}


def reference(state: State, root: Path) -> tuple[list[calls.Call], dict[str, bytes]]:
    """The calls of an uninterrupted recovery, and the files after it."""
    (root / "work").mkdir(parents=True)
    framework = _framework(state, root / "qor")
    result = companion.run(apply_faults.traced(framework, root / "work", ["-y"]), "recover", *state.options)
    assert result.status == 0, result
    return calls.parse(calls.trace_in(root / "work")), _files(framework)


def violations(state: State, root: Path, call: calls.Call, end: dict[str, bytes]) -> Iterator[str]:
    """Violations after a recovery that was killed at ``call``, and two further ones."""
    (root / "work").mkdir(parents=True)
    framework = _framework(state, root / "qor")
    tracer = apply_faults.traced(framework, root / "work", ["-y", *calls.injection(call, calls.KILL)])
    result = companion.run(tracer, "recover", *state.options)
    assert result.status == -signal.SIGKILL, result
    box = sandbox.Sandbox(framework.root)
    second = companion.answer(box, "recover", *state.options)
    if second["status"] != 0:
        yield f"the second recovery ends with {second}"
    if _files(framework) != end:
        yield f"the second recovery ends otherwise: {second}"
    if left := [path.name for path in framework.path("etc").rglob("*.replacement")]:
        yield f"left over: {left}"
    third = companion.answer(box, "recover")
    if third.get("found") != "nothing":
        yield f"the third recovery finds something: {third}"
