"""The page on messages and the program hold the same messages, with the same priorities, and neither has one more.

A message of the sources is followed from the call that gives it to the logger or to the system log back to its words:
through variables, constants and the arguments of the program's own operations.  What is filled in at run time is "{}".
"""
from __future__ import annotations

import functools
import re
from collections.abc import Iterator
from pathlib import Path

import pytest

PROJECT = Path(__file__).resolve().parents[2]
PAGE = PROJECT / "docs" / "messages.md"

CONSOLE, SYSTEM_LOG = "console", "system log"
PRIORITIES = {"LOG_ERR": "error", "LOG_WARNING": "warning", "LOG_INFO": "information", "LOG_DEBUG": "debug"}
FUNCTION = re.compile(r"^[^\s#/].*?(?:\w+::)*(~?\w+)\(([^;{}]*?)\)[^;{}()]*\n\{\n(.*?)^\}", re.MULTILINE | re.DOTALL)
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
CONSOLE_PRIORITIES = ("critical", "error", "warning", "information")
# Words that the library finds, not the program: the names of exceptions.
FROM_THE_LIBRARY = {"Exception", "Assertion violation"}
# Where the program passes on words that are found elsewhere: the operation, the priority and what it passes on.
PASSED_ON = {
    ("getEnvDir", "information", "exc.what()"),
    ("announceEntry", "information", "line"),
    ("handleStatus", "information", "statusLine(entry->first, entry->second)"),
    ("stage", "debug", "line.c_str()"),
}

Message = tuple[str, str, str]


# --- the messages of the sources -------------------------------------------------------------------------------------


@functools.lru_cache(maxsize=None)
def program() -> str:
    folders = (PROJECT / "cmake" / "SourceFolders.txt").read_text(encoding="utf-8").split()
    files = [file for folder in folders for file in sorted((PROJECT / folder).glob("*.cpp"))]
    text = "\n".join(file.read_text(encoding="utf-8") for file in files)
    return re.sub(r"^\s*//.*$", "", text, flags=re.MULTILINE)


@functools.lru_cache(maxsize=None)
def functions() -> list[tuple[str, list[str], str]]:
    """Name, parameters and body of every function."""
    found = []
    for name, parameters, body in FUNCTION.findall(program()):
        names = [parameter.split()[-1].strip("&*") for parameter in split(parameters, ",") if parameter.split()]
        found.append((name, names, body))
    return found


def split(text: str, separator: str) -> list[str]:
    """The parts of an expression, as far as the separator stands outside parentheses and literals."""
    parts, depth, begin = [], 0, 0
    for match in re.finditer(r'"(?:[^"\\]|\\.)*"|.', text, re.DOTALL):
        depth += (match.group() in "([{") - (match.group() in ")]}")
        if match.group() == separator and depth == 0:
            parts.append(text[begin : match.start()])
            begin = match.end()
    return [part.strip() for part in [*parts, text[begin:]]]


def calls(body: str, name: str) -> Iterator[list[str]]:
    """The arguments of each call in the body."""
    for match in re.finditer(rf"\b{name}\(", body):
        depth = 1
        for part in re.finditer(r'"(?:[^"\\]|\\.)*"|.', body[match.end() :], re.DOTALL):
            depth += (part.group() == "(") - (part.group() == ")")
            if depth == 0:
                yield split(body[match.end() : match.end() + part.start()], ",")
                break


def words(expression: str, function: tuple[str, list[str], str]) -> set[str]:
    """All texts that the expression may have."""
    texts = {""}
    for part in split(expression, "+"):
        choices = words_of_part(part, function)
        texts = {text + choice for text in texts for choice in choices}
    return texts


def words_of_part(part: str, function: tuple[str, list[str], str]) -> set[str]:
    if re.fullmatch(rf"(?:{LITERAL.pattern}\s*)+", part):
        return {"".join(LITERAL.findall(part)).replace("\\n", "\n")}
    name = part.removesuffix(".c_str()")
    if not re.fullmatch(r"\w+", name):
        return {"{}"}
    defined = re.search(rf"\b{name} \+?=\s+([^;]+);", function[2]) or re.search(rf"^const \S+ {name} = ([^;]+);", program(), re.M)
    if defined:
        return words(defined.group(1), function)
    if name in function[1]:
        found = set()
        for caller in functions():
            for arguments in calls(caller[2], function[0]):
                found |= words(arguments[function[1].index(name)], caller)
        return {text if re.search("[A-Za-z]", text) else "{}" for text in found} or {"{}"}
    return {"{}"}


def messages_of_the_program() -> set[Message]:
    found = set()
    for function in functions():
        for priority in CONSOLE_PRIORITIES:
            for (text,) in calls(function[2], f"_logger->{priority}"):
                found |= {(CONSOLE, priority, text) for text in words(text, function)}
        for priority, form, *values in calls(function[2], "syslog"):
            for text in words(form, function):
                for value in words(values[0], function) if values else {""}:
                    found.add((SYSTEM_LOG, PRIORITIES[priority], text.replace("%s", value)))
    return {message for message in found if re.search(r"[A-Za-z]", message[2])}


# --- the messages of the page ----------------------------------------------------------------------------------------


def template(cell: str) -> str:
    """The words of a cell, its lines joined, names in capitals taken for what is filled in."""
    lines = re.findall(r"`([^`]+)`", cell)
    return re.sub(r"\b(?!QOR |FIFO |XML |WARNING|ERROR)[A-Z]{3,}\b", "{}", "\n".join(lines))


def rows() -> Iterator[tuple[str, str, str]]:
    """Message, console's priority and system log of each row of the page's tables."""
    for line in PAGE.read_text(encoding="utf-8").splitlines():
        cells = [cell.strip() for cell in line.strip("|").split(" | ")]
        if line.startswith("| ") and len(cells) == 4 and cells[0] != "message":
            yield cells[0], cells[1], cells[2]


def messages_of_the_page() -> set[Message]:
    found = set()
    for message, priority, log in rows():
        text = template(message)
        if priority != "none":
            found.add((CONSOLE, priority, text))
        for same, other, level in re.findall(r"(?:(the same)|((?:`[^`]+` ?)+)) \((\w+)\)", log):
            found.add((SYSTEM_LOG, level, text if same else template(other)))
    return {message for message in found if message[2] not in FROM_THE_LIBRARY and not message[2].startswith("--")}


def known(messages: set[Message]) -> set[Message]:
    """Without what is filled in at the end: a wait's message gets its number on the way."""
    return {(where, priority, re.sub(r"(\{\})+$", "", text)) for where, priority, text in messages}


# --- the tests -------------------------------------------------------------------------------------------------------


def test_messages_are_found_in_the_program() -> None:
    assert {
        (CONSOLE, "information", "Operation completed."),
        (CONSOLE, "critical", "Unable to write to FIFO file!"),
        (SYSTEM_LOG, "warning", "Unable to write to FIFO file"),
        (CONSOLE, "information", "Root element {} already exist in {}\nSkipping add."),
        (SYSTEM_LOG, "error", "ERROR:Cannot wait for child process: {}"),
        (CONSOLE, "information", "Modelfile entry missing, skipping removal."),
    } <= messages_of_the_program()


def test_every_call_that_tells_something_is_followed() -> None:
    loggers = re.findall(r"\w*[lL]ogger(?:\(\))?(?:->|\.)(\w+)\(", program())
    # What else is done with a logger: to give it its channel, and to log why an option was not understood.
    assert set(loggers) <= {*CONSOLE_PRIORITIES, "setChannel", "log"}
    followed = [name for function in functions() for name in CONSOLE_PRIORITIES
                for _ in calls(function[2], f"_logger->{name}")]
    assert sorted(followed) == sorted(name for name in loggers if name in CONSOLE_PRIORITIES)
    assert sum(len(list(calls(function[2], "syslog"))) for function in functions()) == len(
        re.findall(r"\bsyslog\(", program()))


def test_only_staged_actions_and_exceptions_are_passed_on_unread() -> None:
    found = set()
    for function in functions():
        told = [(priority, text) for priority in CONSOLE_PRIORITIES
                for (text,) in calls(function[2], f"_logger->{priority}")]
        told += [(PRIORITIES[priority], values[0]) for priority, form, *values in calls(function[2], "syslog")
                 if words(form, function) == {"%s"}]
        found |= {(function[0], priority, text) for priority, text in told
                  if not any(re.search("[A-Za-z]", choice) for choice in words(text, function))}
    assert found == PASSED_ON


@pytest.mark.parametrize("name", sorted(FROM_THE_LIBRARY))
def test_name_of_an_exception_is_explained(name: str) -> None:
    assert [(priority, log) for message, priority, log in rows() if template(message) == name] == [
        ("information", "nothing")]


@pytest.mark.parametrize("message", sorted(known(messages_of_the_program())), ids=lambda message: message[2])
def test_message_is_explained(message: Message) -> None:
    assert message in known(messages_of_the_page())


@pytest.mark.parametrize("message", sorted(known(messages_of_the_page())), ids=lambda message: message[2])
def test_explained_message_exists(message: Message) -> None:
    assert message in known(messages_of_the_program())


def test_every_row_says_what_the_message_means() -> None:
    lines = [line for line in PAGE.read_text(encoding="utf-8").splitlines() if line.startswith("| `")]
    assert lines
    assert all(len(line.strip("|").split(" | ")[-1].strip()) > 3 for line in lines)
    assert len(lines) == len(list(rows()))


def test_lines_of_staged_actions_are_explained() -> None:
    actions = (PROJECT / "app" / "Actions.cpp").read_text(encoding="utf-8")
    page = PAGE.read_text(encoding="utf-8")
    for words_of_line in re.findall(r'"( ?--\w+=)"', actions):
        assert words_of_line.strip() in page
    told = {(priority, log) for message, priority, log in rows() if template(message).startswith("--")}
    assert told == {("information", "the same (debug), when it is staged")}
