"""Single faults that once did harm, and promises that the sweep does not check."""
from __future__ import annotations

from collections.abc import Callable

import pytest

import frameworks
import sweep

Get = Callable[[str], frameworks.Prepared]


def _violations(prepared: frameworks.Prepared, name: str, where: str, fault: str) -> list[str]:
    chosen = [case for case in sweep.cases(prepared)
              if (case.call.name, case.call.where, case.fault) == (name, where, fault)]
    assert chosen, "there is no such call"
    return [f"{case.key}: {text}" for case in chosen for text in sweep.run(prepared, case)["violations"]]


@pytest.mark.parametrize("name, fault", [("read", "EIO"), ("openat", "EMFILE")])
def test_commit_keeps_an_unreadable_list(prepared: Get, name: str, fault: str) -> None:
    """Writing back the result of a failed read would drop every installed model."""
    assert _violations(prepared("commit"), name, f"etc/{frameworks.LIST}.tmp", fault) == []


@pytest.mark.parametrize("scenario, where", [("rollback-session", frameworks.LOCK),
                                             ("rollback-commit", frameworks.CONFIGURATION + ".bak"),
                                             ("rollback-commit", frameworks.LIST + ".bak")])
def test_rollback_restores_nothing_after_a_failed_stat(prepared: Get, scenario: str, where: str) -> None:
    """Restoring half of the backups, or restoring during an open session, would mix versions with status 0."""
    assert _violations(prepared(scenario), "newfstatat", f"etc/{where}", "EIO") == []


def test_reference_has_the_calls_that_change_files(prepared: Get) -> None:
    """Without them in the trace, every sweep would pass."""
    seen = {(call.name, call.where) for call in sweep.reference(prepared("commit"))}
    for name in (frameworks.CONFIGURATION, frameworks.LIST):
        for suffix in ("", ".tmp", ".bak"):
            assert ("write", f"etc/{name}{suffix}") in seen
    assert {where for name, where in seen if name == "fsync"} >= {"etc", "etc/model", f"etc/{frameworks.CONFIGURATION}"}
    assert {name for name, _ in seen} >= {"clone", "wait4", "pipe2", "unlink", "read", "openat", "close"}


@pytest.mark.parametrize("name, where", [("newfstatat", frameworks.LOCK), ("newfstatat", frameworks.SESSION),
                                         ("openat", frameworks.LOCK), ("read", frameworks.LOCK)])
def test_staging_keeps_the_queue_when_the_session_is_unreadable(prepared: Get, name: str, where: str) -> None:
    """Saving only the new action would drop the others with status 0."""
    assert _violations(prepared("stage-joined"), name, f"etc/{where}", "EIO") == []
