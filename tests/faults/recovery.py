"""Recovery of a framework by the companion, as the operator's guide has it after a power cut."""
from __future__ import annotations

import json
import shutil
from collections.abc import Collection, Mapping, Sequence
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


def bring_back(files: Mapping[str, bytes], pairs: Collection[frameworks.Pair], directory: Path) -> tuple[str, str]:
    """Let the companion recover a framework with these files below etc/; what it did, and what is wrong with that."""
    shutil.rmtree(directory, ignore_errors=True)
    for name, content in files.items():
        path = directory / "etc" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
    result = companion.run(sandbox.Sandbox(directory), "recover", "--qor-path=/opt/qor")
    if result.status == ASKED:
        return "asked", ""
    if result.status != 0 or frameworks.live(frameworks.state(directory)) not in pairs:
        return "", f"not recovered, status {result.status}"
    return "recovered", ""


def complaints(prepared: frameworks.Prepared, files: dict[str, bytes]) -> Sequence[str]:
    """What is wrong with a recovered framework; nothing if it is as the guide promises."""
    wrong = []
    if frameworks.live(files) not in prepared.versions:
        wrong.append("the live files are not a complete, matching pair")
    copies = {f"{name}.tmp" for name in (frameworks.CONFIGURATION, frameworks.LIST)}
    of_session = {frameworks.LOCK, frameworks.SESSION, *copies}
    # The session is as it was, or it is over.
    if not of_session <= set(files) and not of_session.isdisjoint(files):
        wrong.append(f"of the session there is left {sorted(of_session.intersection(files))}")
    return wrong
