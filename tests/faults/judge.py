"""The verdict on one run with a fault."""
from __future__ import annotations

import dataclasses
import signal
from collections import Counter
from collections.abc import Collection, Mapping

import frameworks
import sandbox
from frameworks import CONFIGURATION, LIST, LOCK, SESSION, Pair

QUEUE = "the queue"

# The files that each message of a continued run reports as not written, or not completely. A message without files
# reports a skipped step only.
EXCUSED_BY: Mapping[str, Collection[str]] = {
    "Unable to write to FIFO file!": (QUEUE,),
    "Unable to open existing FIFO file!": (QUEUE,),
    "Invalid command queue, aborting!": (QUEUE,),
    "Unable to create lockfile": (LOCK,),
    "Unable to wite updated XML file!": (CONFIGURATION,),
    "Unable to write the new model!": (LIST,),
    "Unable to open: ": (LIST,),
    "Unable to find hostname": (),
    "Unable to commit!": (),
    "There is nothing to commit!": (),
    "Unable to locate model tool.": (),
    "Unable to determine QOR path!": (),
    "Unable to find model": (),
    "Session already in progress": (),
    "ntry missing, skipping removal": (),
    "Error opening/reading file": (),
    "Unable to parse XML file": (),
    "Operation failed!": (),
}
DROPPED = "Unable to commit!"

UNDISTURBED = "same result as without the fault"
INCOMPLETE = "an incomplete file installed, with a message"
LEFT_OUT = "an action skipped, with a message"
QUEUE_CHANGED = "the queue incomplete, with a message"

# Failures that the tool ignores without a message, by design.
CLEANUP = "files left over, without a message: the cleanup ignores what it cannot remove"
EXISTENCE_TEST = "nothing changed, without a message: a failed existence test counts as absent"


@dataclasses.dataclass(frozen=True)
class Verdict:
    """The outcome of a run with a fault.

    ``outcome`` is a row of the table of results; ``violations`` is empty for a correct run.
    """

    outcome: str
    violations: tuple[str, ...] = ()


def is_whole(pairs: Collection[Pair], files: Mapping[str, bytes]) -> bool:
    """Whether the live files, working copies and backups contain one of the pairs."""
    configurations, lists = ({files.get(name + suffix) for suffix in ("", ".tmp", ".bak")}
                             for name in (CONFIGURATION, LIST))
    return any(configuration in configurations and list_ in lists for configuration, list_ in pairs)


def extra_lines(prepared: frameworks.Prepared, result: sandbox.Result) -> tuple[str, ...]:
    """The console lines that the run without faults does not have."""
    extra = Counter(result.console.splitlines()) - Counter(prepared.result.console.splitlines())
    return tuple(extra)


def ended_cleanly(result: sandbox.Result) -> bool:
    """Whether the program exited, or aborted with the run-time's report of an uncaught exception."""
    return result.status >= 0 or (result.status == -signal.SIGABRT and "terminate called after" in result.console)


def judge(prepared: frameworks.Prepared, result: sandbox.Result, files: dict[str, bytes],
          silence: str = "") -> Verdict:
    """Judge a run that met an error.  A killed run is judged by ``is_whole`` and by its recovery.

    ``silence`` is the reason, if any, why the failed call may change the result without a message.
    """
    violations = [] if is_whole(prepared.explained, files) else ["no matching pair is left"]
    said = extra_lines(prepared, result)
    if not ended_cleanly(result):
        violations.append(f"crashed with {result.status}")
    if files == prepared.state and result.status == prepared.result.status:
        outcome = UNDISTURBED
    elif result.status < 0:
        outcome = "ended by an uncaught exception"
    elif result.status in (0, 255):
        outcome, wrong = _judge_ended(prepared, result.status, files, said, silence)
        violations += wrong
    else:
        outcome = f"reported, status {result.status}"
        if not result.console:
            violations.append(f"status {result.status} without a message")
    return Verdict(outcome, tuple(violations))


def _judge_ended(prepared: frameworks.Prepared, status: int, files: dict[str, bytes], said: tuple[str, ...],
                 silence: str) -> tuple[str, list[str]]:
    """The outcome of a run that completed, and the changes that its messages do not report."""
    messages = [message for message in EXCUSED_BY if any(message in line for line in said)]
    excused = {thing for message in messages for thing in EXCUSED_BY[message]}
    outcome, wrong = f"reported, status {status}", []
    live = frameworks.live(files)
    if live not in prepared.explained:
        outcome = INCOMPLETE
        wrong += [f"no message explains the live {name}" for place, name in enumerate((CONFIGURATION, LIST))
                  if name not in excused and live[place] not in {pair[place] for pair in prepared.explained}]
        wrong += [] if excused & {CONFIGURATION, LIST} else ["the live files do not match"]
    elif live not in prepared.versions or (_is_dropped(prepared, files) and excused & {CONFIGURATION, LIST}):
        outcome = LEFT_OUT
    if files.get(SESSION) not in (prepared.before.get(SESSION), prepared.state.get(SESSION)):
        outcome = QUEUE_CHANGED
        wrong += [] if QUEUE in excused else ["the queue is lost"]
    if _is_dropped(prepared, files) and outcome != LEFT_OUT and DROPPED not in messages:
        wrong.append("the session is over, and its commit is not done")
    if not messages:
        outcome = silence
        if not silence:
            wrong.append(f"another result without a message: {_difference(prepared, files)}")
        elif silence == EXISTENCE_TEST and any(files.get(name) != prepared.before.get(name)
                                               for name in (CONFIGURATION, LIST, SESSION)):
            wrong.append("files changed after a failed existence test")
    return outcome, wrong


def _is_dropped(prepared: frameworks.Prepared, files: dict[str, bytes]) -> bool:
    """Whether a commit removed its queue without changing the live files."""
    commits = SESSION in prepared.before and not prepared.scenario.keeps_live_files and not prepared.scenario.rejected
    return commits and SESSION not in files and frameworks.live(files) == frameworks.live(prepared.before)


def _difference(prepared: frameworks.Prepared, files: dict[str, bytes]) -> list[str]:
    names = sorted(set(files) | set(prepared.state))
    return [name for name in names if files.get(name) != prepared.state.get(name)]
