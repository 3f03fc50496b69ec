"""The judge: which results are violations, and which of them a message excuses."""
from __future__ import annotations

from collections.abc import Callable

import pytest

import frameworks
import judge
import sandbox
from frameworks import CONFIGURATION, LIST, LOCK, SESSION

Get = Callable[[str], frameworks.Prepared]


def _judged(prepared: frameworks.Prepared, files: dict[str, bytes], said: str = "", status: int = 0,
            silence: str = "") -> judge.Verdict:
    result = sandbox.Result(status, "", prepared.result.console + (f"{said}\n" if said else ""), [])
    return judge.judge(prepared, result, files, silence)


def _left_out(prepared: frameworks.Prepared) -> frameworks.Pair:
    """A pair where only the list lacks an action."""
    return next(pair for pair in prepared.explained - set(prepared.versions)
                if pair[0] == prepared.versions[-1][0] and pair[1] != prepared.versions[0][1])


def test_judge_accepts_the_run_without_faults(prepared: Get) -> None:
    ready = prepared("commit")
    assert _judged(ready, ready.state) == judge.Verdict(judge.UNDISTURBED)


def test_judge_rejects_a_framework_without_a_complete_pair(prepared: Get) -> None:
    ready = prepared("commit")
    assert "no matching pair is left" in _judged(ready, {name: b"" for name in ready.state}).violations


@pytest.mark.parametrize("said, excused", [("Unable to write to FIFO file!", True), ("Unable to find hostname", False),
                                           ("Session already in progress", False)])
def test_judge_rejects_a_lost_queue_without_a_message(prepared: Get, said: str, excused: bool) -> None:
    ready = prepared("stage-joined")
    verdict = _judged(ready, {**ready.state, SESSION: b"0:another\n"}, said)
    assert verdict.outcome == judge.QUEUE_CHANGED
    assert verdict.violations == (() if excused else ("the queue is lost",))


def test_judge_accepts_a_skipped_action_with_a_message(prepared: Get) -> None:
    ready = prepared("commit")
    files = {**ready.state, LIST: _left_out(ready)[1]}
    assert _judged(ready, files, "Unable to find model file, skipping removal.").violations == ()
    assert _judged(ready, files, "Unable to find model file, skipping removal.").outcome == judge.LEFT_OUT
    assert len(_judged(ready, files).violations) == 1


@pytest.mark.parametrize("name, said", [(CONFIGURATION, "Unable to wite updated XML file!"),
                                        (LIST, "Unable to open: x")])
def test_judge_accepts_an_incomplete_file_with_a_message(prepared: Get, name: str, said: str) -> None:
    ready = prepared("commit")
    files = {**ready.state, name: b"half"}
    assert _judged(ready, files, said) == judge.Verdict(judge.INCOMPLETE)
    other = {**ready.state, CONFIGURATION: b"half", LIST: b"half"}
    assert len(_judged(ready, other, said).violations) == 1


@pytest.mark.parametrize("status", [0, 255])
def test_judge_rejects_live_files_that_do_not_match(prepared: Get, status: int) -> None:
    ready = prepared("commit")
    mixed = {**ready.state, CONFIGURATION: ready.before[CONFIGURATION]}
    assert "the live files do not match" in _judged(ready, mixed, "Operation failed!", status).violations


def test_judge_accepts_a_dropped_session_with_a_message(prepared: Get) -> None:
    ready = prepared("commit")
    dropped = {name: content for name, content in ready.before.items() if name not in (SESSION, LOCK)}
    assert _judged(ready, dropped, "Unable to commit!").violations == ()
    verdict = _judged(ready, dropped, "Unable to find model")
    assert "the session is over, and its commit is not done" in verdict.violations


def test_judge_rejects_a_change_after_a_failed_stat(prepared: Get) -> None:
    ready = prepared("commit")
    assert _judged(ready, ready.before, silence=judge.EXISTENCE_TEST) == judge.Verdict(judge.EXISTENCE_TEST)
    files = {**ready.before, SESSION: b"0:another\n"}
    violations = _judged(ready, files, silence=judge.EXISTENCE_TEST).violations
    assert "files changed after a failed existence test" in violations
