"""Recovery of a framework by the companion, as the operator's guide describes it."""
from __future__ import annotations

import dataclasses
import hashlib
import itertools
import json
from collections.abc import Collection, Iterable, Iterator, Mapping, Sequence
from pathlib import Path

import companion
import frameworks
import sandbox

ASKED = 1


def assumption(prepared: frameworks.Prepared) -> str:
    """The operator's answer to the recovery's question: which command was interrupted."""
    if prepared.scenario.keeps_live_files:
        return "nothing"
    return "rollback" if prepared.scenario.name == "rollback-commit" else "commit"


def recover(framework: Path, assume: str) -> str:
    """Recover a framework, answering the question if there is one; return what was found."""
    box = sandbox.Sandbox(framework)
    answer = companion.answer(box, "recover")
    asked = answer["status"] == ASKED
    if asked:
        answer = companion.answer(box, "recover", f"--assume={assume}")
    if answer["status"] != 0:
        raise sandbox.SandboxError(f"the recovery failed: {json.dumps(answer)}")
    return f"{answer['found']}{' (asked)' if asked else ''}"


SCRIPT = """
for directory in {work}/*/; do
    recover() {{ "$0" recover --json --qor-path="$directory" "$@"; }}
    recover > "$directory/first"
    [ $? != 1 ] || recover --assume="$(cat "$directory/assume")" > "$directory/answered"
    recover > "$directory/again"
done
"""
"""Recovers each framework, answers the question if there is one, and recovers again."""
CUT_AT_LINE_END = "a list that was cut at a line's end is taken for whole"
RESTORED_TO_LINE_END = "a list that was restored up to a line's end is taken for whole, beside another document"
BATCH = 200
TIMEOUT = 600.0


@dataclasses.dataclass(frozen=True)
class Case:
    """The files below etc/ after an interrupted run, and the pairs allowed after the recovery."""

    files: frozenset[tuple[str, bytes]]
    assume: str
    pairs: frozenset[frameworks.Pair]
    backups: frozenset[frameworks.Pair]

    def digest(self) -> bytes:
        """A key of the case: the files of all cases would not fit into the memory."""
        parts = (self.files, self.pairs, self.backups)
        return hashlib.sha256(repr([self.assume, *(sorted(part, key=repr) for part in parts)]).encode()).digest()


def recover_all(framework: Path, cases: Iterable[Case]) -> Iterator[tuple[str, str]]:
    """Recover all cases with the models and the validator of ``framework``; yield the outcome and the violations of
    each.
    """
    remaining = iter(cases)
    while chosen := list(itertools.islice(remaining, BATCH)):
        with frameworks.scratch() as work:
            batch = {work / str(number): case for number, case in enumerate(chosen)}
            for directory, case in batch.items():
                _write(directory, case)
            box = sandbox.Sandbox(framework, work=work).with_env(TMPDIR="/dev/shm")
            box.launch("/bin/sh", "-c", SCRIPT.format(work=sandbox.WORK), str(companion.companion_path())).wait(TIMEOUT)
            for directory, case in batch.items():
                yield _judged(directory, case)


def _write(directory: Path, case: Case) -> None:
    (directory / "etc/model").mkdir(parents=True)
    (directory / "assume").write_text(case.assume, encoding="ascii")
    for name, content in case.files:
        (directory / "etc" / name).write_bytes(content)


def _judged(directory: Path, case: Case) -> tuple[str, str]:
    first = json.loads((directory / "first").read_text(encoding="utf-8"))
    asked = first["status"] == ASKED
    answer = json.loads((directory / "answered").read_text(encoding="utf-8")) if asked else first
    again = json.loads((directory / "again").read_text(encoding="utf-8"))
    files = frameworks.state(directory)
    wrong = session_violations(files)
    if answer["status"] != 0:
        wrong.append(f"not recovered, status {answer['status']}")
    if again["status"] not in (0, ASKED) or again["found"] not in ("nothing", "unclear"):
        wrong.append(f"a second recovery finds {again.get('found')}")
    live, backups = frameworks.live(files), frameworks.backups(files)
    if not wrong and (_is_cut_at_line_end(live, case.pairs) or _is_cut_at_line_end(backups, case.backups)):
        return CUT_AT_LINE_END, ""
    if not wrong and backups in case.backups and _is_restored_to_line_end(live, case):
        return RESTORED_TO_LINE_END, ""
    if live not in case.pairs:
        wrong.append("the live files are not a complete, matching pair")
    if backups not in case.backups:
        wrong.append("the backups were not live together")
    if asked:
        return "asked, then recovered", "; ".join(wrong)
    return "nothing to do" if first["found"] == "nothing" else "recovered", "; ".join(wrong)


def _is_cut_at_line_end(pair: frameworks.Pair, pairs: Collection[frameworks.Pair]) -> bool:
    """Whether the list is a prefix of an allowed one and ends at a line's end, so that it looks complete."""
    configuration, lines = pair
    return pair not in pairs and lines is not None and lines[-1:] in (b"", b"\n") and any(
        configuration == other and (whole or b"").startswith(lines) for other, whole in pairs)


def _is_restored_to_line_end(live: frameworks.Pair, case: Case) -> bool:
    """Whether a rollback had restored the list up to the end of a line, and not yet the document."""
    files = dict(case.files)
    (configuration, lines), (_, backup) = live, frameworks.backups(files)
    return (live not in case.pairs and lines is not None and lines[-1:] == b"\n" and frameworks.LOCK not in files and
            backup != lines and (backup or b"").startswith(lines) and configuration in {pair[0] for pair in case.pairs})


def violations(prepared: frameworks.Prepared, files: dict[str, bytes]) -> Sequence[str]:
    """Violations of what the guide promises of a recovered framework."""
    wrong = []
    if frameworks.live(files) not in prepared.versions:
        wrong.append("the live files are not a complete, matching pair")
    return wrong + session_violations(files)


def session_violations(files: Mapping[str, bytes]) -> list[str]:
    """Violations of the rule that a session is left complete or removed."""
    copies = {f"{name}.tmp" for name in (frameworks.CONFIGURATION, frameworks.LIST)}
    of_session = {frameworks.LOCK, frameworks.SESSION, *copies}
    if of_session <= set(files) or of_session.isdisjoint(files):
        return []
    return [f"of the session there is left {sorted(of_session.intersection(files))}"]
