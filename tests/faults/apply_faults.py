"""The companion's transaction with a fault in one of its system calls, and its recovery."""
from __future__ import annotations

import dataclasses
import signal
from collections.abc import Iterator, Sequence
from pathlib import Path

import calls
import companion
import sandbox
from framework import (BASE, CONFIG, CONFIG_BAK, CONFIG_TMP, LIST, LIST_BAK, LIST_TMP, LOCK, PUMP, SESSION, VALIDATOR,
                       Framework, config, participant)

TIMEOUT = 60.0
OLDER = config(participant("older", "Older")).encode(), b"/opt/qor/models/older.xml\n"

Pair = tuple[bytes | None, bytes | None]


@dataclasses.dataclass(frozen=True)
class Scenario:
    """One transaction: its options, and the state before it."""

    name: str
    options: tuple[str, ...]
    has_backups: bool = True
    is_accepted: bool = True


ADD = (f"--add={PUMP}", "--handler=pumpHandler")
SCENARIOS = (
    Scenario("add", ADD),
    Scenario("add-first", ADD, has_backups=False),
    Scenario("add-rejected", ADD, is_accepted=False),
    Scenario("add-first-rejected", ADD, has_backups=False, is_accepted=False),
    Scenario("list-alone", (f"--add={PUMP}",)),
    Scenario("list-alone-rejected", (f"--add={PUMP}",), is_accepted=False),
    Scenario("document-alone", (f"--add={BASE}", "--handler=second")),
    Scenario("document-alone-rejected", (f"--add={BASE}", "--handler=second"), is_accepted=False),
    Scenario("several", (*ADD, f"--remove={BASE}", f"--remove={PUMP}", "--handler=pumpHandler", f"--add={PUMP}")),
)


def prepare(scenario: Scenario, root: Path) -> Framework:
    """Create the framework before the transaction."""
    framework = Framework.create(root)
    if scenario.name.startswith("document-alone"):
        framework.write(CONFIG, config(participant("auxHandler", "Aux")))
    if scenario.has_backups:
        for name, content in zip((CONFIG_BAK, LIST_BAK), OLDER):
            framework.write(name, content)
    framework.script(VALIDATOR, f"exit {0 if scenario.is_accepted else 1}")
    return framework


def pair(framework: Framework, *names: str) -> Pair:
    """The contents of two files."""
    one, other = (framework.path(name).read_bytes() if framework.path(name).exists() else None for name in names)
    return one, other


def live(framework: Framework) -> Pair:
    """The contents of the live files."""
    return pair(framework, CONFIG, LIST)


def backups(framework: Framework) -> Pair:
    """The contents of the backups."""
    return pair(framework, CONFIG_BAK, LIST_BAK)


def traced(framework: Framework, work: Path, options: Sequence[str]) -> sandbox.Sandbox:
    """A sandbox that runs the program under strace."""
    return sandbox.Sandbox(framework.root, work=work, wrapper=("strace", "-o", f"{sandbox.WORK}/trace", *options))


def reference(scenario: Scenario, root: Path) -> tuple[list[calls.Call], Pair]:
    """The calls of the transaction without faults, and the live files after it."""
    root.mkdir()
    framework = prepare(scenario, root / "qor")
    (root / "work").mkdir()
    result = companion.run(traced(framework, root / "work", ["-y"]), "apply", *scenario.options)
    assert result.status == (0 if scenario.is_accepted else 1), result
    return calls.parse(calls.trace_in(root / "work")), live(framework)


def disturbed(scenario: Scenario, root: Path, call: calls.Call, fault: str) -> tuple[Framework, sandbox.Result]:
    """Run the transaction with ``fault`` injected into ``call``."""
    root.mkdir()
    framework = prepare(scenario, root / "qor")
    (root / "work").mkdir()
    box = traced(framework, root / "work", ["-y", *calls.injection(call, fault)])
    result = companion.run(box, "apply", *scenario.options)
    assert calls.was_injected(call, fault, calls.trace_in(root / "work")), f"{call}: the fault missed its call"
    assert (fault == calls.KILL) == (result.status == -signal.SIGKILL), result
    return framework, result


def violations_after_kill(scenario: Scenario, framework: Framework, before: Pair, after: Pair) -> Iterator[str]:
    """Violations after the recovery of a killed transaction."""
    box = sandbox.Sandbox(framework.root)
    was = backups(framework)
    if not framework.path(LOCK).exists() and live(framework) == after and after[1] == before[1]:
        # The files of a finished transaction that kept the list also look like an interrupted rollback.
        return
    recovered = companion.run(box, "recover")
    if recovered.status != 0:
        yield f"recover ends with {recovered.status}: {recovered.console}"
    if live(framework) not in (before, after):
        yield "the live files are neither those before nor those after"
    if not scenario.is_accepted and live(framework) != before:
        yield "a rejected configuration is live"
    if backups(framework) not in ((None, None), OLDER if scenario.has_backups else (None, None), before):
        yield f"the backups were not live together (before the recovery: {was})"
    for name in (LOCK, SESSION, CONFIG_TMP, LIST_TMP):
        if framework.path(name).exists():
            yield f"{name} is left"
    if live(framework) == after and after[1] == before[1]:
        return
    again = companion.run(box, "recover", "--json")
    if again.status != 0 or '"found":"nothing"' not in again.stdout:
        yield f"a second recovery finds something: {again.stdout}"


def violations_after_error(scenario: Scenario, framework: Framework, call: calls.Call, result: sandbox.Result,
                           before: Pair, after: Pair) -> Iterator[str]:
    """Violations after a transaction that met an error, compared with its answer."""
    wanted = OLDER if scenario.has_backups else (None, None)
    if result.status == 0:
        # A failed existence test counts as "absent", as in the tool: the validator is skipped, and the answer says so.
        if live(framework) != after and "validator: absent" not in result.stdout:
            yield "status 0, but the files are not those after"
        return
    if result.status not in (1, 3, 4):
        yield f"status {result.status}"
    if not result.console and not (call.name == "write" and call.to_stream):
        yield "no message"
    if "qor_mim_ctl recover" in result.console and framework.path(LOCK).exists():
        return
    if (live(framework), backups(framework)) == (after, before) and "the answer could not" in result.console:
        return
    if (live(framework), backups(framework)) != (before, wanted):
        yield f"status {result.status}, but the files are not those before: {result.console}"
    for name in (LOCK, SESSION, CONFIG_TMP, LIST_TMP):
        if framework.path(name).exists():
            yield f"{name} is left: {result.console}"
