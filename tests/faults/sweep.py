"""Make every system call of the tool fail once, and judge the files afterwards."""
from __future__ import annotations

import dataclasses
import shutil
import signal
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import Any

import calls
import companion
import frameworks
import judge
import recovery
import sandbox

TRACER = "strace"
TIMEOUT = 60.0
CANNOT_RUN = 127
HERE = Path(__file__).resolve().parent


@dataclasses.dataclass(frozen=True)
class Case:
    """One call and one fault."""

    scenario: str
    call: calls.Call
    fault: str

    @property
    def key(self) -> str:
        """The key in the journal; it is stable for one build of the program."""
        return f"{self.scenario}/{self.call.index}:{self.call.name}/{self.fault}"


def reference(prepared: frameworks.Prepared) -> list[calls.Call]:
    """The calls of the run without faults."""
    with frameworks.scratch() as scratch:
        framework = scratch / "framework"
        shutil.copytree(prepared.framework, framework)
        return calls.parse(trace(framework, scratch / "work", prepared.scenario.args))


def trace(framework: Path, work: Path, args: tuple[str, ...], options: Sequence[str] = ("-y",)) -> str:
    """strace's output for a run without faults."""
    _traced(framework, work, options).run(*args, timeout=TIMEOUT)
    return calls.trace_in(work)


def cases(prepared: frameworks.Prepared) -> Iterator[Case]:
    """Every call with every fault that can be injected.

    A large document is read and written in hundreds of similar calls.  Each call within such a row gets KILL and one of
    its errors in turn; the calls at the ends of the row get all errors.
    """
    run = reference(prepared)
    for call in run:
        alike = prepared.size == "large" and _is_within_row(run, call)
        for number, fault in enumerate(call.faults):
            if fault == calls.KILL or not alike or number == 1 + call.nth % (len(call.faults) - 1):
                yield Case(prepared.name, call, fault)


def _is_within_row(run: list[calls.Call], call: calls.Call) -> bool:
    """Whether there are similar calls on the same file shortly before and after."""
    alike = [other.name == call.name and other.where == call.where != "" for other in run]
    return all(any(alike[max(first, 0):last]) for first, last in ((call.index - 4, call.index),
                                                                  (call.index + 1, call.index + 5)))


def _traced(framework: Path, work: Path, options: Sequence[str]) -> sandbox.Sandbox:
    tracer = (TRACER, "-o", f"{sandbox.WORK}/trace", *options)
    return sandbox.Sandbox(framework, work=work, wrapper=tracer).sleepless()


def _injected(framework: Path, work: Path, call: calls.Call, fault: str) -> sandbox.Sandbox:
    tracer = sandbox.compiled(HERE / "disturb.c", "cc", [], "")
    return sandbox.Sandbox(framework, work=work, wrapper=(str(tracer), fault, str(call.nth))).sleepless()


def run(prepared: frameworks.Prepared, case: Case) -> dict[str, Any]:
    """Run one case; return the record for the journal."""
    with frameworks.scratch() as scratch:
        framework = scratch / "framework"
        shutil.copytree(prepared.framework, framework)
        record = _record(prepared, case, framework, scratch / "work")
    return {"key": case.key, "call": case.call.name, "where": case.call.where, "fault": case.fault, **record}


def _record(prepared: frameworks.Prepared, case: Case, framework: Path, work: Path) -> dict[str, Any]:
    try:
        result = _disturbed(prepared, case, framework, work)
    except sandbox.SandboxError as error:
        if "no end after" in str(error):
            return {"outcome": "hang", "violations": [str(error)]}
        raise
    files = frameworks.state(framework)
    if case.fault == calls.KILL:
        return _judge_killed(prepared, framework, files)
    verdict = judge.judge(prepared, result, files, silence=_reason_for_silence(prepared, case.call))
    violations = list(verdict.violations) + recovered_after(prepared, result, framework)
    return {"outcome": verdict.outcome, "violations": violations}


def recovered_after(prepared: frameworks.Prepared, result: sandbox.Result, framework: Path) -> list[str]:
    """Violations after the recovery of a run that an exception ended; empty for any other end."""
    return _recovered(prepared, framework)["violations"] if result.status in (70, -signal.SIGABRT) else []


def _disturbed(prepared: frameworks.Prepared, case: Case, framework: Path, work: Path) -> sandbox.Result:
    call, fault = case.call, case.fault
    # An error injected by strace replaces the close and leaves the file open; a real failing close closes it.
    if fault == calls.SHORT or (call.name == "close" and fault != calls.KILL):
        result = _injected(framework, work, call, fault).run(*prepared.scenario.args, timeout=TIMEOUT)
        if result.status == CANNOT_RUN:
            raise sandbox.SandboxError(f"{case.key}: {result.console}")
        return result
    box = _traced(framework, work, ["-y", *calls.injection(call, fault)])
    result = box.run(*prepared.scenario.args, timeout=TIMEOUT)
    is_killed = result.status == -signal.SIGKILL
    trace_text = calls.trace_in(work)
    if not calls.was_injected(call, fault, trace_text) or (fault == calls.KILL) != is_killed:
        raise sandbox.SandboxError(f"{case.key}: the fault missed its call\n{trace_text}")
    return result


def _reason_for_silence(prepared: frameworks.Prepared, call: calls.Call) -> str:
    """Why a call may fail without a message; empty when it may not."""
    if call.name in ("unlink", "newfstatat") and prepared.scenario.name == "rollback-session":
        return judge.CLEANUP
    if call.name == "newfstatat" and call.where.startswith("etc/"):
        return judge.EXISTENCE_TEST
    return ""


def _judge_killed(prepared: frameworks.Prepared, framework: Path, files: dict[str, bytes]) -> dict[str, Any]:
    violations = [] if judge.is_whole(prepared.versions, files) else ["no matching pair is left"]
    recovered = _recovered(prepared, framework)
    return {"outcome": recovered["outcome"], "violations": violations + recovered["violations"]}


def _recovered(prepared: frameworks.Prepared, framework: Path) -> dict[str, Any]:
    """Recover twice; the second recovery must find nothing."""
    found = recovery.recover(framework, recovery.assumption(prepared))
    violations = list(recovery.violations(prepared, frameworks.state(framework)))
    again = companion.answer(sandbox.Sandbox(framework), "recover")
    if again["status"] == 0 and again["found"] != "nothing":
        violations.append(f"a second recovery finds something: {again}")
    return {"outcome": f"recovered, found {found}",
            "violations": [f"after recovery, found {found}: {violation}" for violation in violations]}
