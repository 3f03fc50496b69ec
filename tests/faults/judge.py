"""The judgement on one disturbed run."""
from __future__ import annotations

import dataclasses
import signal
from collections import Counter
from collections.abc import Sequence

import frameworks
import sandbox

# The tool goes on after these, and says so: the step concerned reports and the run's status does not tell of it.
TOLD_AND_CONTINUED = (
    "Unable to write to FIFO file!",
    "Unable to create lockfile",
    "Unable to find hostname",
    "Unable to wite updated XML file!",
    "Unable to open: ",
    "Unable to commit!",
    "There is nothing to commit!",
    "Unable to open existing FIFO file!",
    "Invalid command queue, aborting!",
    "Unable to locate model tool.",
    "Unable to determine QOR path!",
    "Unable to find model",
    "Session already in progress",
    "ntry missing, skipping removal",
    "Error opening/reading file",
)


UNDISTURBED = "as if nothing had happened"

# Failures that the tool is made to pass over without a word.
CLEARING = "left over, unsaid: clearing away ignores what it cannot remove"
LOOKING = "session not seen, unsaid: an existence test that fails answers no"
TALKING = "other output only: the console itself failed"


@dataclasses.dataclass(frozen=True)
class Verdict:
    """What a disturbed run came to.

    ``outcome`` is one word of the table of results; ``violations`` is empty unless something is wrong.
    """

    outcome: str
    violations: tuple[str, ...] = ()
    said: tuple[str, ...] = ()


def lost(prepared: frameworks.Prepared, files: dict[str, bytes]) -> list[str]:
    """The configuration files that are complete nowhere."""
    missing = []
    for place, name in enumerate((frameworks.CONFIGURATION, frameworks.LIST)):
        complete = {pair[place] for pair in prepared.versions}
        if not any(files.get(name + suffix) in complete for suffix in ("", ".tmp", ".bak")):
            missing.append(name)
    return missing


def more_said(prepared: frameworks.Prepared, result: sandbox.Result) -> tuple[str, ...]:
    """Console lines that the undisturbed run does not have."""
    extra = Counter(result.console.splitlines()) - Counter(prepared.result.console.splitlines())
    return tuple(extra)


def ended_in_order(result: sandbox.Result) -> bool:
    """Whether the program came to its end by itself, or by the run-time's report of an exception nobody caught."""
    return result.status >= 0 or (result.status == -signal.SIGABRT and "terminate called after" in result.console)


def judge(prepared: frameworks.Prepared, result: sandbox.Result, files: dict[str, bytes],
          silence: str = "") -> Verdict:
    """Judge a run that met an error (a killed one is judged by what it left, see ``lost``, and by its recovery).

    ``silence`` is the reason why the faulted call may change the result without a word, if there is one.
    """
    violations = [f"{name} is lost" for name in lost(prepared, files)]
    said = more_said(prepared, result)
    if not ended_in_order(result):
        violations.append(f"crashed with {result.status}")
    same = files == prepared.state and result.status == prepared.result.status
    if same:
        outcome = UNDISTURBED
    elif result.status < 0:
        outcome = "ended by the run-time's report"
    elif result.status != 0 and result.console:
        outcome = f"reported, status {result.status}"
    elif result.status != 0:
        outcome = "ended without a word"
        violations.append(f"status {result.status}, but nothing was said")
    elif _continued(said):
        outcome = "reported, status 0"
    elif silence:
        outcome = silence
    else:
        outcome = "wrong"
        violations.append(f"status 0 and another result, and nothing was said of it: {_difference(prepared, files)}")
    return Verdict(outcome, tuple(violations), said)


def _continued(said: Sequence[str]) -> bool:
    return any(message in line for line in said for message in TOLD_AND_CONTINUED)


def _difference(prepared: frameworks.Prepared, files: dict[str, bytes]) -> list[str]:
    names = sorted(set(files) | set(prepared.state))
    return [name for name in names if files.get(name) != prepared.state.get(name)]
