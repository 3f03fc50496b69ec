"""Recovery of a framework by the companion, as the operator's guide has it after a power cut."""
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
    """What the operator, who knows what was interrupted, answers when he is asked."""
    if prepared.scenario.keeps_live_files:
        return "nothing"
    return "rollback" if prepared.scenario.name == "rollback-commit" else "commit"


def recover(framework: Path, assume: str) -> str:
    """Recover a framework, and answer when asked; what was found."""
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
"""Recovers each framework, answers when asked, and recovers it once more."""
CUT_AT_A_LINE = "a list that was cut at a line's end is taken for whole"
BATCH = 200
TIMEOUT = 600.0


@dataclasses.dataclass(frozen=True)
class Case:
    """What a run has left below etc/, and what is right after its recovery."""

    files: frozenset[tuple[str, bytes]]
    assume: str
    pairs: frozenset[frameworks.Pair]
    backups: frozenset[frameworks.Pair]

    def digest(self) -> bytes:
        """Tells it from other cases; the files of all would not fit into the memory."""
        parts = (self.files, self.pairs, self.backups)
        return hashlib.sha256(repr([self.assume, *(sorted(part, key=repr) for part in parts)]).encode()).digest()


def bring_back(framework: Path, cases: Iterable[Case]) -> Iterator[tuple[str, str]]:
    """Recover all cases by the companion, with models and validator of ``framework``; what each came to, and what is
    wrong with it."""
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
    wrong = session_complaints(files)
    if answer["status"] != 0:
        wrong.append(f"not recovered, status {answer['status']}")
    if again["status"] not in (0, ASKED) or again["found"] not in ("nothing", "unclear"):
        wrong.append(f"a second recovery finds {again.get('found')}")
    live, backups = frameworks.live(files), frameworks.backups(files)
    if not wrong and (_is_cut_at_a_line(live, case.pairs) or _is_cut_at_a_line(backups, case.backups) or
                      _is_put_back_to_a_line(live, case)):
        return CUT_AT_A_LINE, ""
    if live not in case.pairs:
        wrong.append("the live files are not a complete, matching pair")
    if backups not in case.backups:
        wrong.append("the backups were not live together")
    return "asked, then recovered" if asked else "nothing to do" if first["found"] == "nothing" else "recovered", "; ".join(wrong)


def _is_cut_at_a_line(pair: frameworks.Pair, pairs: Collection[frameworks.Pair]) -> bool:
    """Whether a pair has the beginning of one's list, which nothing tells from a list of its own."""
    configuration, lines = pair
    return pair not in pairs and lines is not None and lines[-1:] in (b"", b"\n") and any(
        configuration == other and (whole or b"").startswith(lines) for other, whole in pairs)


def _is_put_back_to_a_line(live: frameworks.Pair, case: Case) -> bool:
    """Whether a rollback of a rejected commit had put back the list up to the end of a line, and not the document."""
    files = dict(case.files)
    (configuration, lines), (_, backup) = live, frameworks.backups(files)
    return (lines is not None and lines[-1:] == b"\n" and frameworks.LOCK not in files and
            backup != lines and (backup or b"").startswith(lines) and configuration in {pair[0] for pair in case.pairs})


def complaints(prepared: frameworks.Prepared, files: dict[str, bytes]) -> Sequence[str]:
    """What is wrong with a recovered framework; nothing if it is as the guide promises."""
    wrong = []
    if frameworks.live(files) not in prepared.versions:
        wrong.append("the live files are not a complete, matching pair")
    return wrong + session_complaints(files)


def session_complaints(files: Mapping[str, bytes]) -> list[str]:
    """What is wrong with the session: it is as it was, or it is over."""
    copies = {f"{name}.tmp" for name in (frameworks.CONFIGURATION, frameworks.LIST)}
    of_session = {frameworks.LOCK, frameworks.SESSION, *copies}
    if of_session <= set(files) or of_session.isdisjoint(files):
        return []
    return [f"of the session there is left {sorted(of_session.intersection(files))}"]
