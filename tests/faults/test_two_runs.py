"""Two concurrent runs, in the orders that once did harm."""
from __future__ import annotations

from pathlib import Path

import races
from races import END, Plan, Race

LOCK = f"/opt/qor/etc/{races.frameworks.LOCK}"


def _harm(race: Race, orders: list[races.Order]) -> list[str]:
    assert orders
    return [f"{order}: {judged}" for order in orders if (judged := race.judge(race.interleave(order))) in races.NEVER]


def test_interleave_repeats_a_race_exactly(tmp_path: Path) -> None:
    race = Race(Plan(("stage", "commit"), True, False, False), tmp_path)
    first, second = race.interleave((0, 9, 40, 3)), race.interleave((0, 9, 40, 3))
    assert (first.calls, first.files) == (second.calls, second.files)
    assert len(first.calls[0]) > 20 and len(first.calls[1]) > 100


def test_commit_is_undone_during_a_new_session_when_rejected(tmp_path: Path) -> None:
    """A session is staged between the end of the commit's session and the restoring of the previous files."""
    race = Race(Plan(("stage", "commit"), True, True, True), tmp_path)
    calls = race.serial[1].calls[1]
    gone = calls.index(f"unlink {LOCK}")
    looks = next(place for place in range(gone + 1, len(calls)) if calls[place] == f"stat {LOCK}")
    moments = range(gone + 1, looks + 1)
    assert _harm(race, [(1, moment, END) for moment in moments]) == []
    # If the session is dropped as soon as it is opened, the staging call opens another one.
    staging = race.interleave((1, looks, END)).calls[0]
    opened = staging.index(f"open {LOCK}", staging.index(f"create {LOCK}"))
    assert _harm(race, [(1, looks, opened, again, END) for again in range(1, 25)]) == []


def test_commit_of_changed_files_keeps_another_commit(tmp_path: Path) -> None:
    """One commit finishes after both have seen the session and before the other one compares the files."""
    race = Race(Plan(("commit", "commit"), True, False, False), tmp_path)
    compares = race.serial[0].calls[0].index(f"open /opt/qor/etc/{races.frameworks.CONFIGURATION}")
    assert _harm(race, [(0, moment, END) for moment in range(compares - 4, compares + 1)]) == []


def test_status_changes_nothing_during_a_commit(tmp_path: Path) -> None:
    race = Race(Plan(("commit", "status"), True, False, False), tmp_path)
    assert _harm(race, [(0, moment, END) for moment in range(5, len(race.serial[0].calls[0]), 9)]) == []
