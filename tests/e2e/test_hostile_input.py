"""Hostile files, names and children: the tool exits with a status, and the configuration stays complete."""
from __future__ import annotations

import os
from pathlib import Path
from xml.etree import ElementTree

import pytest

from expect import (COMPLETED, DEBUG, FAILED, NEW_SESSION, NOTHING_PENDING, ROLLING_BACK, UPDATED, WARNING, Bare,
                    answer, critical, error, staged, warning)
from framework import (AGENT, BASE, CONFIG, CONFIG_TMP, LIST, LIST_TMP, LOCK, PUMP, SESSION, VALIDATOR, Framework,
                       config, installed, participant)
from sandbox import Result, Sandbox

pytestmark = pytest.mark.unsound("the tests start with broken files")

WORLD = "models/hostile.xml"
HOSTILE = installed(WORLD)
UNREADABLE = "Unable to parse and get the root class name from the model file."


def exited(result: Result) -> bool:
    """The program exited with one of its own statuses; no signal and no uncaught exception ended it."""
    return result.status in (0, 70, 78, 255)


def live(framework: Framework) -> tuple[bytes, bytes]:
    """The two live files."""
    return framework.path(CONFIG).read_bytes(), framework.path(LIST).read_bytes()


def root_classes(framework: Framework) -> list[str | None]:
    """The names of all root classes of the live configuration, in its order."""
    return [root.get("name") for root in ElementTree.fromstring(framework.read(CONFIG)).iter("root")]


def commit_addition(tool: Sandbox, *words: str) -> Result:
    """Stage an addition and commit it."""
    assert tool.run(*words).status == 0
    return tool.run("--commit")


# --- documents --------------------------------------------------------------------------------------------------------


def nested(depth: int) -> str:
    """Nested elements."""
    return "<a>" * depth + "</a>" * depth


def nested_by_entities(levels: int, each: int) -> str:
    """Elements nested only after the expansion of entities."""
    entities = '<!ENTITY e0 "">' + "".join(
        f'<!ENTITY e{level} "{"<a>" * each}&e{level - 1};{"</a>" * each}">' for level in range(1, levels + 1))
    return f"<!DOCTYPE m [{entities}]><m>&e{levels};</m>"


def entity_chain(links: int) -> str:
    """Entities that each refer to the one before."""
    entities = '<!ENTITY e0 "x">' + "".join(f'<!ENTITY e{n} "&e{n - 1};">' for n in range(1, links + 1))
    return f"<!DOCTYPE m [{entities}]><m>&e{links};</m>"


def laughs(generations: int) -> str:
    """A few bytes that expand to gigabytes."""
    entities = '<!ENTITY e0 "ha">' + "".join(
        f'<!ENTITY e{n} "{f"&e{n - 1};" * 10}">' for n in range(1, generations + 1))
    return f"<!DOCTYPE m [{entities}]><m>&e{generations};</m>"


REFUSED = {
    "elements nested 200,000 deep": nested(200_000),
    "elements nested 200,000 deep and never closed": "<a>" * 200_000,
    "elements nested deep by entities": nested_by_entities(100, 100),
    "a chain of 10,000 entities": entity_chain(10_000),
    "a chain of 100,000 entities": entity_chain(100_000),
    "entities that multiply": laughs(12),
    "an external entity": '<!DOCTYPE m [<!ENTITY e SYSTEM "file:///etc/passwd">]><m>&e;</m>',
    "an attribute given twice": '<m><c name="A" name="B"><root/></c></m>',
    "zeros": "\0" * 100_000,
    "nothing": "",
    "blanks": " " * 100_000,
    "half a document": '<m><c name="Half"><root/>',
    "two documents": "<m/><m/>",
    "no markup": "configuration",
    "invalid UTF-8": b'<m><c name="\xff"><root/></c></m>',
    "an overlong UTF-8 sequence": b'<m><c name="\xc0\xaf"><root/></c></m>',
    "an unknown encoding": '<?xml version="1.0" encoding="no-such"?><m><c name="N"><root/></c></m>',
    "half a UTF-16 character": "<m/>".encode("utf-16") + b"\0",
    "a zero in the middle": '<m><c name="A\0B"><root/></c></m>',
}


@pytest.mark.parametrize("content", REFUSED.values(), ids=REFUSED.keys())
def test_unreadable_model_is_refused(tool: Sandbox, framework: Framework, content: str | bytes) -> None:
    framework.write(WORLD, content)
    before = live(framework)
    assert commit_addition(tool, f"--addModelFile={HOSTILE}", "--modelHandler=hostileHandler") == answer(
        UNREADABLE, "Aborting", FAILED, status=255)
    assert live(framework) == before


@pytest.mark.parametrize("content", REFUSED.values(), ids=REFUSED.keys())
def test_unreadable_configuration_stays_as_it_is(tool: Sandbox, framework: Framework, content: str | bytes) -> None:
    framework.write(CONFIG, content)
    before = live(framework)
    assert commit_addition(tool, f"--addModelFile={PUMP}", "--modelHandler=h") == answer(
        critical(f"Unable to parse XML file: {installed(CONFIG_TMP)}"), FAILED, status=255)
    assert live(framework) == before


# A model, and the name of its root class.
ACCEPTED = {
    "elements nested 1,000 deep": ('<m><c name="Deep"><root/></c>' + nested(1000) + "</m>", "Deep"),
    "10,000 attributes": ('<m><c name="Wide" ' + " ".join(f'a{n}="{n}"' for n in range(10_000)) + "><root/></c></m>",
                          "Wide"),
    "20,000 references beside an entity":
        ('<!DOCTYPE m [<!ENTITY e "">]><m><c name="Referring"><root/></c>' + "&amp;" * 20_000 + "</m>", "Referring"),
    "100,000 elements": ('<m><c name="Many"><root/></c>' + "<a/>" * 100_000 + "</m>", "Many"),
    "an attribute of a megabyte": (f'<m><c name="Long" text="{"x" * (1 << 20)}"><root/></c></m>', "Long"),
    "a text of ten megabytes": (f'<m>{"x" * (10 << 20)}<c name="Text"><root/></c></m>', "Text"),
    "UTF-16": ('<?xml version="1.0" encoding="UTF-16"?><m><c name="Äußeres"><root/></c></m>'.encode("utf-16"),
               "Äußeres"),
    "UTF-8 with a byte order mark": ('<m><c name="Marked"><root/></c></m>'.encode("utf-8-sig"), "Marked"),
    "Latin-1": ('<?xml version="1.0" encoding="ISO-8859-1"?><m><c name="Äu"><root/></c></m>'.encode("latin-1"), "Äu"),
    "an internal entity": ('<!DOCTYPE m [<!ENTITY n "Named">]><m><c name="&n;"><root/></c></m>', "Named"),
    "markup in a comment": ('<m><!-- <root/> <a><a><a> --><c name="Plain"><root/></c></m>', "Plain"),
    "markup in a CDATA section": ('<m><![CDATA[<root/><a><a>]]><c name="Plain"><root/></c></m>', "Plain"),
    "markup in an attribute's value": ('<m><c name="a&lt;b&amp;&quot;c&apos;"><root/></c></m>', "a<b&\"c'"),
}


@pytest.mark.parametrize(("content", "root_class"), ACCEPTED.values(), ids=ACCEPTED.keys())
def test_unusual_model_is_installed(tool: Sandbox, framework: Framework, content: str | bytes, root_class: str) -> None:
    framework.write(WORLD, content)
    assert commit_addition(tool, f"--addModelFile={HOSTILE}", "--modelHandler=baseHandler") == answer(
        "Found handler: baseHandler", COMPLETED)
    assert framework.read(LIST) == f"{BASE}\n{HOSTILE}\n"
    assert root_classes(framework) == ["Base", root_class, "Aux"]


def test_list_of_100_megabytes_is_extended(tool: Sandbox, framework: Framework) -> None:
    line = f"{installed('models/' + 'x' * 90 + '.xml')}\n"
    content = line * ((100 << 20) // len(line))
    framework.write(LIST, content)
    assert commit_addition(tool, f"--addModelFile={PUMP}") == answer(COMPLETED)
    assert framework.path(LIST).read_bytes() == f"{content}{PUMP}\n".encode()


def test_list_of_zeros_is_extended(tool: Sandbox, framework: Framework) -> None:
    framework.write(LIST, b"\0" * 10_000)
    assert commit_addition(tool, f"--addModelFile={PUMP}") == answer(COMPLETED)
    assert framework.path(LIST).read_bytes() == b"\0" * 10_000 + f"{PUMP}\n".encode()


@pytest.mark.parametrize("content", [b"\0" * 100_000, b":" * 100_000, b"3:" * 50_001, b"\xff\xfe:\xff\n",
                                     b"99999999999999999999:x\n", b"3:" + b"|" * 100_000 + b"\n", b"-1:x\n",
                                     b"1:" + b"x" * (10 << 20) + b"\n"],
                         ids=["zeros", "colons", "kinds only", "invalid UTF-8", "a huge kind", "separators", "minus one",
                              "ten megabytes"])
@pytest.mark.parametrize("command", ["--status", "--commit"])
def test_session_file_of_anything_does_no_harm(tool: Sandbox, framework: Framework, content: bytes,
                                               command: str) -> None:
    framework.session("")
    framework.write(SESSION, content)
    assert exited(tool.run(command))
    ElementTree.fromstring(framework.read(CONFIG))
    assert framework.read(LIST) == f"{BASE}\n"


# --- arguments --------------------------------------------------------------------------------------------------------

NAMES = ["\"quoted\"", "'", "<b>", "a&b", "a\nb", "|", ":", "a|b|c|d|e", "3:x", "%s%n", "--commit", "\t", "\x01", "ä",
         b"\xff\xfe".decode("utf-8", "surrogateescape"), "x" * 100_000, "../../../etc/passwd", "-", "]]>", "<!--",
         "&#0;"]


@pytest.mark.parametrize("name", NAMES, ids=[repr(name[:12]) for name in NAMES])
@pytest.mark.parametrize("words", [("--addModelFile={}",), ("--removeModelFile={}",), ("--modelHandler={}",),
                                   (f"--addModelFile={PUMP}", "--modelHandler={}"),
                                   (f"--removeModelFile={BASE}", "--modelHandler={}"),
                                   (f"--addModelFile={PUMP}", "--modelHandler=h", "--managedObjectVersion={}",
                                    "--transactionalResourceVersion={}")],
                         ids=["add", "remove", "handler", "add with", "remove with", "versions"])
def test_any_name_leaves_a_readable_configuration(tool: Sandbox, framework: Framework, words: tuple[str, ...],
                                                  name: str) -> None:
    staging = tool.run(*(word.format(name) for word in words))
    assert staging.status == 0
    assert exited(tool.run("--status"))
    assert exited(tool.run("--commit"))
    document = ElementTree.fromstring(framework.path(CONFIG).read_bytes())
    assert document.find(".//*[@compName='auxHandler']") is not None
    if words[0] != f"--removeModelFile={BASE}":
        assert BASE in framework.read(LIST).splitlines()


@pytest.mark.parametrize("name", ["a'b", 'a"b', "a<b>&c", "a b", "$(reboot)", "`id`", "a;b", "a\\nb", "-a", "ä€😀",
                                  "%s%n%d", "a\x01b", "\udcff\udcfe", "a|b"], ids=ascii)
def test_file_name_is_kept_byte_for_byte(tool: Sandbox, framework: Framework, name: str) -> None:
    path = f"/opt/qor/models/{name}"
    framework.path("models").joinpath(name).write_text("", encoding="utf-8")
    assert tool.run(f"--addModelFile={path}") == staged(f"--addModelFile={path}", new=True)
    assert framework.path(SESSION).read_bytes() == os.fsencode(f"0:{path}\n")
    assert tool.run("--commit") == answer(COMPLETED)
    assert framework.path(LIST).read_bytes() == os.fsencode(f"{BASE}\n{path}\n")


def test_handler_name_with_markup_is_kept(tool: Sandbox, framework: Framework) -> None:
    name = "<\"a\" & 'b'>"
    assert commit_addition(tool, f"--addModelFile={PUMP}", f"--modelHandler={name}").status == 0
    handlers = ElementTree.fromstring(framework.read(CONFIG)).iter("managedObject")
    assert name in [handler.get("compName") for handler in handlers]


# --- other things in place of files -----------------------------------------------------------------------------------

PLACES = [CONFIG, LIST, CONFIG_TMP, LIST_TMP, f"{CONFIG}.bak", f"{LIST}.bak", SESSION, LOCK]


def put_link(path: Path, target: str) -> None:
    """A symbolic link in place of whatever is there."""
    path.unlink(missing_ok=True)
    path.symlink_to(target)


def put_directory(path: Path, _: str) -> None:
    """A directory in place of whatever is there."""
    path.unlink(missing_ok=True)
    path.mkdir()


THINGS = {"a dangling link": (put_link, "nowhere"), "a link to itself": (put_link, "{name}"),
          "a link to a directory": (put_link, "."), "a directory": (put_directory, "")}


@pytest.mark.parametrize("thing", THINGS.values(), ids=THINGS.keys())
@pytest.mark.parametrize("place", PLACES)
@pytest.mark.parametrize("words", [(f"--addModelFile={PUMP}", "--modelHandler=h"), ("--status",), ("--commit",),
                                   ("--rollback",)], ids=["stage", "status", "commit", "rollback"])
def test_link_or_directory_in_place_of_a_file_is_survived(tool: Sandbox, framework: Framework, place: str, thing: tuple,
                                                          words: tuple[str, ...]) -> None:
    if words != (f"--addModelFile={PUMP}", "--modelHandler=h"):
        framework.session(f"0:{PUMP}\n")
    others = {name: framework.read(name) for name in (CONFIG, LIST) if name != place}
    put, target = thing
    put(framework.path(place), target.format(name=Path(place).name))
    assert exited(tool.sleepless().run(*words))
    for name, content in others.items():
        # A whole version exists: the one before, or the one with the addition.
        found = [framework.path(name + suffix) for suffix in ("", ".bak", ".tmp")]
        assert any(path.is_file() and path.read_text() in (content, f"{content}{PUMP}\n") for path in found), name


def test_live_file_that_is_a_link_is_replaced_by_a_file(tool: Sandbox, framework: Framework) -> None:
    before = framework.read(CONFIG)
    os.rename(framework.path(CONFIG), framework.path("etc/real.cfg"))
    framework.path(CONFIG).symlink_to("real.cfg")
    assert commit_addition(tool, f"--addModelFile={PUMP}", "--modelHandler=auxHandler").status == 0
    assert not framework.path(CONFIG).is_symlink()
    assert root_classes(framework) == ["Base", "Aux", "Pump"]
    assert framework.read("etc/real.cfg") == before


@pytest.mark.parametrize("mode", [0o000, 0o400, 0o100, 0o500])
@pytest.mark.parametrize("directory", ["etc", "etc/model"])
@pytest.mark.parametrize("words", [(f"--addModelFile={PUMP}",), ("--status",), ("--commit",), ("--rollback",)],
                         ids=["stage", "status", "commit", "rollback"])
def test_directory_without_permission_is_survived(tool: Sandbox, framework: Framework, directory: str, mode: int,
                                                  words: tuple[str, ...]) -> None:
    framework.session(f"0:{PUMP}\n")
    before = live(framework)
    framework.path(directory).chmod(mode)
    try:
        result = tool.sleepless().run(*words)
    finally:
        framework.path(directory).chmod(0o755)
    assert exited(result)
    assert result.console
    assert live(framework) == before


# --- children ---------------------------------------------------------------------------------------------------------

FLOOD = "head -c {} /dev/zero | tr '\\0' x"


@pytest.mark.parametrize("size", [65_536, 65_537, 1_000_000])
def test_validator_may_fill_a_pipe(tool: Sandbox, framework: Framework, size: int) -> None:
    framework.script(VALIDATOR, f"{FLOOD.format(size)}; exit 1")
    result = commit_addition(tool, f"--addModelFile={PUMP}")
    assert result.status == 255
    assert result.stdout == "x" * size + "\n\n"


@pytest.mark.parametrize("size", [65_537, 1_000_000])
def test_agent_may_fill_a_pipe(tool: Sandbox, framework: Framework, size: int) -> None:
    framework.script(AGENT, FLOOD.format(size))
    assert tool.run("--status").status == 0


CHILDREN = {
    "is killed": "kill -9 $$",
    "closes its output": "exec >&- 2>&-; exit {status}",
    "closes its output and works on": "exec >&- 2>&-; sleep 0.3; exit {status}",
    "stops reading": "exec <&-; exit {status}",
    "is no program": None,
}


@pytest.mark.parametrize("body", CHILDREN.values(), ids=CHILDREN.keys())
def test_misbehaving_validator_rejects(tool: Sandbox, framework: Framework, body: str | None) -> None:
    framework.script(VALIDATOR, "" if body is None else body.format(status=3))
    if body is None:
        framework.write(VALIDATOR, b"\x7fELF nothing")
    before = live(framework)
    result = commit_addition(tool, f"--addModelFile={PUMP}")
    assert (result.status, FAILED in result.console) == (255, True)
    assert live(framework) == before


@pytest.mark.parametrize("body", CHILDREN.values(), ids=CHILDREN.keys())
def test_misbehaving_agent_is_ignored(tool: Sandbox, framework: Framework, body: str | None) -> None:
    framework.script(AGENT, "" if body is None else body.format(status=3))
    if body is None:
        framework.write(AGENT, b"\x7fELF nothing")
    line = f"--addModelFile={PUMP}"
    assert tool.run(line) == answer("Exception", "Using QOR path: /opt/qor/", NEW_SESSION, UPDATED, line, COMPLETED,
                                    path=None, syslog=[(DEBUG, line)])
    assert framework.read(SESSION) == f"0:{PUMP}\n"


def test_report_includes_what_a_left_process_writes(tool: Sandbox, framework: Framework) -> None:
    """A script may exit before the program that its output goes through."""
    framework.script(VALIDATOR, "{ sleep 0.3; echo and why; } & echo rejected; exit 1")
    result = commit_addition(tool, f"--addModelFile={PUMP}")
    assert (result.status, result.stdout) == (255, "rejected\nand why\n\n\n")


def test_agent_answer_includes_what_a_left_process_writes(tool: Sandbox, framework: Framework) -> None:
    framework.script(AGENT, "{ sleep 0.3; echo qor; } & printf /opt/; exit 0")
    assert tool.run("--status") == answer(NOTHING_PENDING, COMPLETED)


def test_copy_onto_its_own_source_is_refused(tool: Sandbox, framework: Framework) -> None:
    """The library truncates the target before it copies."""
    before = live(framework)
    framework.path(CONFIG_TMP).symlink_to("qor.cfg")
    assert tool.run(f"--addModelFile={PUMP}") == answer(
        NEW_SESSION, Bare(f"File access error: The file would replace itself: {installed(CONFIG_TMP)}"), status=70)
    assert live(framework) == before


def test_backup_that_is_the_live_file_is_not_restored(tool: Sandbox, framework: Framework) -> None:
    before = live(framework)
    framework.path(f"{LIST}.bak").hardlink_to(framework.path(LIST))
    assert tool.run("--rollback") == answer(
        ROLLING_BACK, Bare(f"File access error: The file would replace itself: {installed(LIST)}"), status=70)
    assert live(framework) == before


@pytest.mark.skipif(os.geteuid() != 0, reason="only root can give a link to another user")
@pytest.mark.parametrize("name", [SESSION, LIST_TMP, CONFIG_TMP, f"{LIST}.bak", f"{CONFIG}.bak"])
def test_link_of_another_user_is_not_followed(tool: Sandbox, framework: Framework, name: str) -> None:
    framework.write("target", "untouched")
    framework.path(name).symlink_to(installed("target"))
    os.lchown(framework.path(name), 12345, -1)
    result = tool.run(f"--addModelFile={PUMP}")
    if name.endswith(".bak"):
        result = tool.run("--commit")
    assert (result.status, "Unable to write to FIFO file!" in result.console) == ((0, True) if name == SESSION
                                                                                  else (70, False))
    assert framework.read("target") == "untouched"
    assert live(framework) == (config(participant("baseHandler", "Base"), participant("auxHandler", "Aux")).encode(),
                               f"{BASE}\n".encode())


# --- the environment --------------------------------------------------------------------------------------------------


def test_qorpath_that_is_a_file_is_invalid(tool: Sandbox, framework: Framework) -> None:
    framework.script(AGENT, "exit 1")
    before = framework.snapshot()
    result = tool.with_env(QORPATH=installed(CONFIG)).run(f"--addModelFile={PUMP}")
    reason = f"not a directory: {installed(CONFIG)}/etc"
    assert result == answer(
        "Exception", warning(f"Unable to create directory structure: {reason}"),
        warning("Invaild environment, exiting."), NEW_SESSION,
        Bare(f"Cannot open file: not a directory: {installed(CONFIG)}/etc/qor.cfg"), path=None, status=70,
        syslog=[(WARNING, f"unable to create directory structure {reason}"), (WARNING, "Invalid Environment, exiting")])
    assert framework.changes(before) == {}


def test_qorpath_of_80000_characters_is_invalid(tool: Sandbox, framework: Framework) -> None:
    framework.script(AGENT, "exit 1")
    # Below /proc not even root can make a directory, so none is left behind on the machine.
    assert tool.with_env(QORPATH="/proc" + "/x" * 40_000).run("--status") == answer(
        "Exception", NOTHING_PENDING, warning("Unable to create directory structure: /proc/x"),
        warning("Invaild environment, exiting."), COMPLETED, path=None,
        syslog=[(WARNING, "unable to create directory structure /proc/x"), (WARNING, "Invalid Environment, exiting")])


def test_configuration_of_3000_handlers_is_edited(tool: Sandbox, framework: Framework) -> None:
    framework.write(CONFIG, config(*(participant(f"h{number}", f"C{number}") for number in range(3000))))
    assert commit_addition(tool, f"--addModelFile={PUMP}", "--modelHandler=h2999").status == 0
    roots = root_classes(framework)
    assert (len(roots), roots[-1]) == (3001, "Pump")


@pytest.mark.parametrize("name", [SESSION, LOCK, CONFIG, LIST, CONFIG_TMP, LIST_TMP, "qor.env"])
@pytest.mark.parametrize("option", ["--status", f"--addModelFile={PUMP}", "--commit", "--rollback"])
def test_pipe_in_place_of_a_file_is_not_waited_for(tool: Sandbox, framework: Framework, name: str, option: str) -> None:
    if name == "qor.env":
        framework.remove(AGENT)
    elif name not in (CONFIG, LIST):
        framework.session(f"0:{PUMP}\n")
    framework.path(name).unlink(missing_ok=True)
    os.mkfifo(framework.path(name))
    # Only a new session needs the live files and the framework directory.
    needed = option == f"--addModelFile={PUMP}" and name in (CONFIG, LIST, "qor.env")
    assert tool.sleepless().run(option, timeout=20).status == (70 if needed else 0)


def test_model_that_is_a_pipe_is_not_waited_for(tool: Sandbox, framework: Framework) -> None:
    os.mkfifo(framework.path("models/pipe.xml"))
    framework.session(f"3:{installed('models/pipe.xml')}|pumpHandler|1|1\n")
    assert tool.run("--commit", timeout=20) == answer(
        error("Error opening/reading file"), UNREADABLE, "Aborting", FAILED, status=255)


@pytest.mark.parametrize("name", [SESSION, LOCK, LIST_TMP, CONFIG_TMP])
def test_sparse_file_of_a_terabyte_is_not_read(tool: Sandbox, framework: Framework, name: str) -> None:
    framework.session(f"0:{PUMP}\n")
    os.truncate(framework.path(name), 1 << 40)
    assert tool.run("--status", timeout=20).status == 0
    assert tool.run("--commit", timeout=20).status in (0, 255)
