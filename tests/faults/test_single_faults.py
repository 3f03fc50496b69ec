"""Single faults that once did harm, and the promises that a sweep cannot see."""
from __future__ import annotations

import pytest

import frameworks
import sweep

def _violations(prepared: frameworks.Prepared, name: str, where: str, fault: str) -> list[str]:
    chosen = [case for case in sweep.cases(prepared)
              if (case.call.name, case.call.where, case.fault) == (name, where, fault)]
    assert chosen, "there is no such call"
    return [f"{case.key}: {text}" for case in chosen for text in sweep.run(prepared, case)["violations"]]


@pytest.mark.parametrize("name, fault", [("read", "EIO"), ("openat", "EMFILE")])
def test_a_list_that_cannot_be_read_is_not_rewritten_as_empty(prepared, name, fault):
    """What a failed reading leaves is no list; writing it back would drop every installed model."""
    assert _violations(prepared("commit"), name, f"etc/{frameworks.LIST}.tmp", fault) == []


@pytest.mark.parametrize("scenario, where", [("rollback-session", frameworks.LOCK),
                                             ("rollback-commit", frameworks.CONFIGURATION + ".bak"),
                                             ("rollback-commit", frameworks.LIST + ".bak")])
def test_a_rollback_takes_nothing_for_missing_that_it_cannot_see(prepared, scenario, where):
    """Half of the backups put back, or backups put over an open session, would mix versions with status 0."""
    # The constructor's look at the lock is the library's, and only delays the run.
    found = _violations(prepared(scenario), "newfstatat", f"etc/{where}", "EIO")
    assert found == []


def test_the_sweep_sees_every_kind_of_call_that_changes_a_file(prepared):
    """A trace that misses the interesting calls would make every sweep pass."""
    seen = {(call.name, call.where) for call in sweep.reference(prepared("commit"))}
    for name in (frameworks.CONFIGURATION, frameworks.LIST):
        for suffix in ("", ".tmp", ".bak"):
            assert ("write", f"etc/{name}{suffix}") in seen
    assert {where for name, where in seen if name == "fsync"} >= {"etc", "etc/model", f"etc/{frameworks.CONFIGURATION}"}
    assert {name for name, _ in seen} >= {"clone", "wait4", "pipe2", "unlink", "read", "openat", "close"}


@pytest.mark.parametrize("name, where", [("newfstatat", frameworks.LOCK), ("newfstatat", frameworks.SESSION),
                                         ("openat", frameworks.LOCK), ("read", frameworks.LOCK)])
def test_a_session_that_cannot_be_seen_keeps_its_queue(prepared, name, where):
    """The new action alone, saved as the whole queue, would drop the others with status 0."""
    assert _violations(prepared("stage-joined"), name, f"etc/{where}", "EIO") == []
