"""The sample framework: its agent, its validator, and its models with the tool."""
from __future__ import annotations

import shutil
from pathlib import Path

import pytest

from expect import COMPLETED, FAILED, answer
from framework import Framework
from sandbox import PROJECT, Result, Sandbox

SAMPLE = PROJECT / "examples" / "framework"
MODELS = "/opt/qor/models"


@pytest.fixture
def framework(tmp_path: Path) -> Framework:
    """A copy of the sample instead of the small framework of the other tests."""
    shutil.copytree(SAMPLE, tmp_path / "qor")
    return Framework(tmp_path / "qor")


def judge(tool: Sandbox, framework: Framework, *models: str, quiet: bool = True) -> tuple[int, str]:
    """Status and report of the validator on a list of model files."""
    framework.write("list", "".join(f"{name}\n" for name in models))
    options = ["-q"] if quiet else []
    result: Result = tool.execute("/opt/qor/bin/pel_model_validator", *options, "-c", "/opt/qor/list")
    assert result.console == ""
    return result.status, result.stdout


def test_agent_names_the_framework_directory(tool: Sandbox) -> None:
    assert tool.execute("/opt/qor/qorea/bin/qorea", "pso", "config") == Result(0, "/opt/qor\n", "", [])


@pytest.mark.parametrize("words", [[], ["pso"], ["config"], ["pso", "config", "more"]])
def test_agent_refuses_any_other_call(tool: Sandbox, words: list[str]) -> None:
    assert tool.execute("/opt/qor/qorea/bin/qorea", *words) == Result(2, "", "usage: qorea pso config\n", [])


def test_validator_accepts_good_models_quietly(tool: Sandbox, framework: Framework) -> None:
    good = [f"{MODELS}/{name}.xml" for name in ("station", "power", "climate", "door")]
    assert judge(tool, framework, *good) == (0, "")


def test_validator_sums_up_unless_quiet(tool: Sandbox, framework: Framework) -> None:
    assert judge(tool, framework, f"{MODELS}/door.xml", "/nowhere.xml", quiet=False) == (
        1, "/nowhere.xml: no such file\n2 model files checked, 1 rejected\n")


def test_validator_names_every_bad_model(tool: Sandbox, framework: Framework) -> None:
    assert judge(tool, framework, f"{MODELS}/lighting-broken.xml", "", f"{MODELS}/power.xml",
                 f"{MODELS}/units-rootless.xml", "/nowhere.xml") == (1, (
                     f"{MODELS}/lighting-broken.xml: line 6: </class> where </attribute> is due\n"
                     f"{MODELS}/units-rootless.xml: no root class\n/nowhere.xml: no such file\n"))


def test_validator_accepts_an_empty_list(tool: Sandbox, framework: Framework) -> None:
    assert judge(tool, framework) == (0, "")


def test_validator_needs_a_list(tool: Sandbox) -> None:
    validator = "/opt/qor/bin/pel_model_validator"
    usage = "usage: pel_model_validator [-q] -c LIST\n"
    for words in ([], ["-q"], ["-c"], ["-x"]):
        assert tool.execute(validator, *words) == Result(2, "", usage, [])
    assert tool.execute(validator, "-q", "-c", "/nowhere") == Result(1, "/nowhere: no such list\n", "", [])


@pytest.mark.parametrize("text, complaint", [
    ('<m><c name="A"><root/></c></m>', ""),
    ('<?xml version="1.0"?><!DOCTYPE m><!-- < --><m a="x>y"><c name=\'A\'><root  /><![CDATA[<<]]></c ></m>\n', ""),
    ('<!DOCTYPE m [<!ENTITY e "x">]><m name="A"><root/>&e; &#65; &amp;</m>', ""),
    ("", "line 1: no document element"),
    ("text", "line 1: text outside the document element"),
    ("<m>\n<c>\n</m>", "line 3: </m> where </c> is due"),
    ("<m>", "line 1: <m> is never closed"),
    ("</m>", "line 1: </m> closes nothing"),
    ('<m name="A"><root/></m><n/>', "line 1: <n> after the end of the document element"),
    ('<m name="A"><root/></m> more', "line 1: text outside the document element"),
    ('<m name="A', "line 1: tag without end"),
    ("<m name=A><root/></m>", "line 1: malformed attribute in <m>"),
    ("<m name='A'><root/>this & that</m>", 'line 1: "&" without a reference'),
    ("<m name='A' of='this&that'><root/></m>", 'line 1: "&" without a reference'),
    ('<m name="A" name="B"><root/></m>', "line 1: attribute name twice in <m>"),
    ('<m name="<"><root/></m>', "line 1: \"<\" in attribute name"),
    ("<m><!-- <root/></m>", "line 1: comment without end"),
    ("<m><![CDATA[</m>", "line 1: CDATA section without end"),
    ("<1/>", "line 1: malformed tag"),
    ("<m><root/></m>", "line 1: the root class has no name"),
    ("<root/>", "line 1: the root class has no name"),
    ("<m/>", "no root class"),
])
def test_validator_judges_a_model(tool: Sandbox, framework: Framework, text: str, complaint: str) -> None:
    framework.write("models/judged.xml", text)
    judged = f"{MODELS}/judged.xml"
    assert judge(tool, framework, judged) == ((1, f"{judged}: {complaint}\n") if complaint else (0, ""))


def test_commit_fails_for_a_bad_model(tool: Sandbox, framework: Framework) -> None:
    before = framework.snapshot()
    framework.session(f"0:{MODELS}/power.xml\n0:{MODELS}/units-rootless.xml\n")
    assert tool.run("--commit") == answer(
        FAILED, status=255, stdout=f"{MODELS}/units-rootless.xml: no root class\n\n\n")
    assert framework.changes(before) == {}


def test_commit_installs_a_good_model(tool: Sandbox, framework: Framework) -> None:
    framework.session(f"0:{MODELS}/power.xml\n")
    assert tool.run("--commit") == answer(COMPLETED)


def test_commit_reads_the_root_classes_of_the_models(tool: Sandbox, framework: Framework) -> None:
    framework.session("".join(f"3:{MODELS}/{name}.xml|{name}Handler|1|1\n" for name in ("climate", "door")))
    assert tool.run("--commit") == answer(
        "Replaced default QOR component tag with: climateHandler", "Found handler: climateHandler",
        "Adding new handler: doorHandler with root class: DoorAccess", COMPLETED)
    assert '<root name="ClimateControl"/>' in framework.read("etc/qor.cfg")
