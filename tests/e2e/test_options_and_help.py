"""The command line: the help text, every way to give a value, and wrong options."""
from __future__ import annotations

from pathlib import Path

import pytest

from expect import COMPLETED, NOTHING_PENDING, Bare, answer, staged
from framework import PUMP, SESSION, Framework
from sandbox import Sandbox

HELP = (Path(__file__).parent / "help.txt").read_text(encoding="utf-8")
PATH = "requires <absolute model file path>"


@pytest.mark.parametrize("words", [[], ["--help"], ["-h"], ["status"], ["--", "--rollback"]],
                         ids=["nothing", "long", "short", "no option", "behind two dashes"])
def test_help_is_shown_and_changes_nothing(tool: Sandbox, framework: Framework, words: list[str]) -> None:
    before = framework.snapshot()
    assert tool.run(*words) == answer(COMPLETED, stdout=HELP)
    assert framework.changes(before) == {}


@pytest.mark.parametrize("words", [
    ["--addModelFile=" + PUMP], ["--addModelFile:" + PUMP], ["--addModelFile", PUMP], ["-a", PUMP], ["-a" + PUMP],
    ["--addmodelfile=" + PUMP], ["--add=" + PUMP],
], ids=["equals sign", "colon", "next word", "letter and next word", "letter joined", "lower case", "abbreviated"])
def test_value_may_be_given_in_every_way(tool: Sandbox, framework: Framework, words: list[str]) -> None:
    assert tool.run(*words) == staged(f"--addModelFile={PUMP}", new=True)
    assert framework.read(SESSION) == f"0:{PUMP}\n"


def test_value_is_the_next_word_even_if_it_is_an_option(tool: Sandbox, framework: Framework) -> None:
    line = " --modelHandler=--commit --managedObjectVersion=1 --transactionalResourceVersion=1"
    assert tool.run("--modelHandler", "--commit") == staged(line, new=True)
    assert framework.read(SESSION) == "1:--commit|1|1\n"


@pytest.mark.parametrize("words, message", [
    (["--bogus"], "Unknown option specified: bogus"),
    (["-z"], "Unknown option specified: z"),
    (["--bogus", "--status"], "Unknown option specified: bogus"),
    (["-a", PUMP, "--bogus"], "Unknown option specified: bogus"),
    (["--m=h"], "Ambiguous option specified: m=h"),
    (["--commit=now"], "Unexpected option argument: commit=now"),
    (["--commit", "--removeModelFile"], f"Missing option argument: removeModelFile {PATH}"),
    (["--addModelFile"], f"Missing option argument: addModelFile {PATH}"),
    (["--modelHandler"], "Missing option argument: modelHandler requires <model handler name>"),
    (["--managedObjectVersion"],
     "Missing option argument: managedObjectVersion requires <managed object version>"),
    (["--transactionalResourceVersion"],
     "Missing option argument: transactionalResourceVersion requires <transactional resource version>"),
    (["--status", "--status"], "Option must not be given more than once: status"),
    (["-a", PUMP, "-a", PUMP], "Option must not be given more than once: addModelFile"),
], ids=lambda value: " ".join(value) if isinstance(value, list) else "")
def test_wrong_option_ends_the_run_with_status_78(tool: Sandbox, framework: Framework, words: list[str],
                                                  message: str) -> None:
    before = framework.snapshot()
    # A status report is given as soon as its option is read.
    report = [NOTHING_PENDING] if words[0] == "--status" else []
    assert tool.run(*words) == answer(*report, Bare(message), status=78)
    assert framework.changes(before) == {}
