"""The model of the disk after a power cut, and the syncs that the program needs."""
from __future__ import annotations

from collections.abc import Mapping

import pytest

import cuts
import disk
import frameworks

OLD, NEW = b"old\n", b"new one\n"


def _trace(*lines: str, files: Mapping[str, bytes] | None = None) -> disk.Trace:
    trace = disk.Trace({"file": OLD} if files is None else files)
    trace.add("\n".join((*lines, "exit_group(0) = ?")))
    return trace


def _files(trace: disk.Trace, model: str, answers: int = 1) -> list[dict[str, bytes]]:
    return [dict(left.files) for left in disk.states(trace, model) if left.answers == answers]


REPLACE = ('openat(AT_FDCWD</>, "/opt/qor/etc/file", O_WRONLY|O_CREAT|O_TRUNC, 0666) = 3</opt/qor/etc/file>',
           'write(3</opt/qor/etc/file>, "new one\\n", 8) = 8')
HALVES = ('write(3</opt/qor/etc/file>, "new ", 4) = 4', 'write(3</opt/qor/etc/file>, "one\\n", 4) = 4')
SYNC_FILE = "fsync(3</opt/qor/etc/file>) = 0"
SYNC_ETC = ('openat(AT_FDCWD</>, "/opt/qor/etc", O_RDONLY) = 4</opt/qor/etc>', "fsync(4</opt/qor/etc>) = 0")
REMOVE = 'unlink("/opt/qor/etc/file") = 0'
REMOVE_OTHER = 'unlink("/opt/qor/etc/model/other") = 0'
LOST = [b"", b"new ", b"new \0\0\0\0", b"\0\0\0\0\0\0\0\0"]


def _contents(trace: disk.Trace, model: str) -> set[bytes]:
    return {files["file"] for files in _files(trace, model)}


@pytest.mark.parametrize("model", disk.MODELS)
def test_unsynced_content_may_be_lost_wholly_or_partly(model: str) -> None:
    assert _contents(_trace(*REPLACE), model) == {OLD, NEW, *LOST}


def test_merged_joins_adjoining_writes_to_a_file() -> None:
    assert _trace(REPLACE[0], *HALVES).merged().operations == _trace(*REPLACE).operations


def test_merged_keeps_writes_before_and_after_a_sync_apart() -> None:
    trace = _trace(REPLACE[0], HALVES[0], SYNC_FILE, HALVES[1])

    assert trace.merged().operations == trace.operations


@pytest.mark.parametrize("model", disk.MODELS)
def test_synced_content_stays(model: str) -> None:
    assert _contents(_trace(*REPLACE, SYNC_FILE), model) == {NEW}


@pytest.mark.parametrize("model, kept", [(disk.ORDERED, False), (disk.TWO, False), (disk.POSIX, True)])
def test_journal_keeps_the_order_of_sizes(model: str, kept: bool) -> None:
    """With a journal, syncing the directory also commits the new size; POSIX does not promise that."""
    assert (OLD in _contents(_trace(*REPLACE, *SYNC_ETC), model)) == kept


@pytest.mark.parametrize("model", disk.MODELS)
def test_name_is_durable_after_the_sync_of_its_directory(model: str) -> None:
    assert _files(_trace(REMOVE), model) == [{"file": OLD}, {}]
    assert _files(_trace(REMOVE, *SYNC_ETC), model) == [{}]


@pytest.mark.parametrize("model, states", [
    (disk.ORDERED, [{"file": OLD, "model/other": OLD}, {"model/other": OLD}, {}]),
    (disk.TWO, [{"file": OLD, "model/other": OLD}, {"file": OLD}, {"model/other": OLD}, {}]),
    (disk.POSIX, [{"file": OLD, "model/other": OLD}, {"file": OLD}, {"model/other": OLD}, {}])])
def test_names_of_two_directories_are_ordered_in_one_journal(model: str, states: list[dict[str, bytes]]) -> None:
    trace = _trace(REMOVE, REMOVE_OTHER, files={"file": OLD, "model/other": OLD})
    assert _files(trace, model) == states


def test_fsync_makes_a_new_name_durable_only_in_a_journal() -> None:
    trace = _trace(*REPLACE, SYNC_FILE, files={})
    assert _files(trace, disk.ORDERED) == [{"file": NEW}]
    assert _files(trace, disk.POSIX) == [{}, {"file": NEW}]


@pytest.mark.parametrize("model", disk.MODELS)
def test_rename_keeps_at_least_one_name(model: str) -> None:
    trace = _trace('rename("/opt/qor/etc/file", "/opt/qor/etc/other") = 0')
    assert {"file": OLD} in _files(trace, model)
    assert {"other": OLD} in _files(trace, model)
    assert {} not in _files(trace, model)


def test_trace_rejects_an_unsupported_call() -> None:
    with pytest.raises(NotImplementedError, match="^link"):
        _trace('link("/opt/qor/etc/file", "/opt/qor/etc/other") = 0')


@pytest.fixture(scope="module", name="chains")
def _chains(tmp_path_factory: pytest.TempPathFactory) -> list[cuts.Chain]:
    return [cuts.record(plan, "small", tmp_path_factory.mktemp("chain")) for plan in cuts.plans() if not plan.following]


def test_power_cut_leaves_no_bad_state(chains: list[cuts.Chain]) -> None:
    assert [(chain.name, found) for chain in chains for found in cuts.bad_states(chain, chain.trace)] == []


def test_leaving_out_all_syncs_allows_a_bad_state(chains: list[cuts.Chain]) -> None:
    for chain in chains:
        assert any(cuts.bad_states(chain, chain.trace.without([*chain.trace.sites, disk.IDLE]))), chain.name


def test_leaving_out_any_sync_allows_a_bad_state(chains: list[cuts.Chain]) -> None:
    sites = {site for chain in chains for site in chain.trace.sites}
    assert len(sites) > len(frameworks.SCENARIOS)
    for site in sites:
        assert any(found for chain in chains if site in chain.trace.sites
                   for found in cuts.bad_states(chain, chain.trace.without([site]))), site
