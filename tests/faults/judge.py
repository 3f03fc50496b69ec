"""The judgement on one disturbed run."""
from __future__ import annotations

import dataclasses
import signal
from collections import Counter
from collections.abc import Collection, Mapping

import frameworks
import sandbox
from frameworks import CONFIGURATION, LIST, LOCK, SESSION, Pair

QUEUE = "the queue"

# What each message of a run that goes on tells of, and so excuses: nothing more than a step that is not done, or a file
# that need not be whole.
TOLD: Mapping[str, Collection[str]] = {
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

UNDISTURBED = "as if nothing had happened"
INCOMPLETE = "installed a file that could not be written whole, as told"
LEFT_OUT = "an action is left out, as told"
QUEUE_CHANGED = "the queue is not whole, as told"

# Failures that the tool is made to pass over without a word.
CLEARING = "left over, unsaid: clearing away ignores what it cannot remove"
LOOKING = "not seen and not touched, unsaid: an existence test that fails answers no"


@dataclasses.dataclass(frozen=True)
class Verdict:
    """What a disturbed run came to.

    ``outcome`` is one line of the table of results; ``violations`` is empty unless something is wrong.
    """

    outcome: str
    violations: tuple[str, ...] = ()
    said: tuple[str, ...] = ()


def is_whole(pairs: Collection[Pair], files: Mapping[str, bytes]) -> bool:
    """Whether one of the pairs can be put together from live files, working copies and backups."""
    configurations, lists = ({files.get(name + suffix) for suffix in ("", ".tmp", ".bak")} for name in (CONFIGURATION, LIST))
    return any(configuration in configurations and list_ in lists for configuration, list_ in pairs)


def more_said(prepared: frameworks.Prepared, result: sandbox.Result) -> tuple[str, ...]:
    """Console lines that the undisturbed run does not have."""
    extra = Counter(result.console.splitlines()) - Counter(prepared.result.console.splitlines())
    return tuple(extra)


def ended_in_order(result: sandbox.Result) -> bool:
    """Whether the program came to its end by itself, or by the run-time's report of an exception nobody caught."""
    return result.status >= 0 or (result.status == -signal.SIGABRT and "terminate called after" in result.console)


def judge(prepared: frameworks.Prepared, result: sandbox.Result, files: dict[str, bytes],
          silence: str = "") -> Verdict:
    """Judge a run that met an error (a killed one is judged by what it left, see ``is_whole``, and by its recovery).

    ``silence`` is the reason why the faulted call may change the result without a word, if there is one.
    """
    violations = [] if is_whole(prepared.explained, files) else ["no matching pair is left"]
    said = more_said(prepared, result)
    if not ended_in_order(result):
        violations.append(f"crashed with {result.status}")
    if files == prepared.state and result.status == prepared.result.status:
        outcome = UNDISTURBED
    elif result.status < 0:
        outcome = "ended by the run-time's report"
    elif result.status in (0, 255):
        outcome, wrong = _ended(prepared, result.status, files, said, silence)
        violations += wrong
    else:
        outcome = f"reported, status {result.status}"
        if not result.console:
            violations.append(f"status {result.status}, but nothing was said")
    return Verdict(outcome, tuple(violations), said)


def _ended(prepared: frameworks.Prepared, status: int, files: dict[str, bytes], said: tuple[str, ...],
           silence: str) -> tuple[str, list[str]]:
    """The outcome of a run that came to the end of its work, and what its messages do not tell."""
    messages = [message for message in TOLD if any(message in line for line in said)]
    told = {thing for message in messages for thing in TOLD[message]}
    outcome, wrong = f"reported, status {status}", []
    live = frameworks.live(files)
    if live not in prepared.explained:
        outcome = INCOMPLETE
        wrong += [f"{name} is live and explained by nothing" for place, name in enumerate((CONFIGURATION, LIST))
                  if name not in told and live[place] not in {pair[place] for pair in prepared.explained}]
        wrong += [] if told & {CONFIGURATION, LIST} else ["the live files do not match"]
    elif live not in prepared.versions or (_is_dropped(prepared, files) and told & {CONFIGURATION, LIST}):
        outcome = LEFT_OUT
    if files.get(SESSION) not in (prepared.before.get(SESSION), prepared.state.get(SESSION)):
        outcome = QUEUE_CHANGED
        wrong += [] if QUEUE in told else ["the queue is lost"]
    if _is_dropped(prepared, files) and outcome != LEFT_OUT and DROPPED not in messages:
        wrong.append("the session is over, and its commit is not done")
    if not messages:
        outcome = silence
        if not silence:
            wrong.append(f"another result, and nothing was said of it: {_difference(prepared, files)}")
        elif silence == LOOKING and any(files.get(name) != prepared.before.get(name) for name in (CONFIGURATION, LIST, SESSION)):
            wrong.append("not seen, and changed")
    return outcome, wrong


def _is_dropped(prepared: frameworks.Prepared, files: dict[str, bytes]) -> bool:
    """Whether the queue of a commit is gone and the live files are as before it."""
    commits = SESSION in prepared.before and not prepared.scenario.keeps_live_files and not prepared.scenario.rejected
    return commits and SESSION not in files and frameworks.live(files) == frameworks.live(prepared.before)


def _difference(prepared: frameworks.Prepared, files: dict[str, bytes]) -> list[str]:
    names = sorted(set(files) | set(prepared.state))
    return [name for name in names if files.get(name) != prepared.state.get(name)]
