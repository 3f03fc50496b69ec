#!/usr/bin/python3
"""Mutants of C++ sources: small faults that a maintainer might introduce.

Works on tokens, which is feasible since all sources have the same format.  Mutants that do not compile are not counted.
"""
from __future__ import annotations

import dataclasses
import re
from collections.abc import Iterator
from pathlib import Path

TOKEN = re.compile(
    r"""(?P<skip>//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\\n|\\.)*|\s+)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<char>'(?:[^'\\\n]|\\.)+')
      | (?P<number>\d[\w.']*)
      | (?P<name>[A-Za-z_]\w*)
      | (?P<operator>->|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||\+=|-=|\.\.\.|.)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

# A mutant replaces a name by the next one of its group: names of the program, then names of its libraries.
OWN_GROUPS = (
    ("SUCCESS", "FAILURE"),
    ("SUCCESS", "NO_ROOT_CLASS"),
    ("NO_ROOT_CLASS", "FAILURE"),
    ("QUEUE_VALID", "QUEUE_INVALID"),
    ("LOCK_EXISTED", "LOCK_CREATED", "LOCK_FAILED"),
    ("PRESENT", "ABSENT", "UNKNOWN"),
    ("ACCEPTED", "REJECTED", "ABSENT"),
    ("READ", "MISSING", "NOT_OPENED", "FAILED"),
    ("READ", "ROOTLESS", "NAMELESS", "MALFORMED", "UNREADABLE", "MISSING", "RELATIVE"),
    ("ADDED", "APPLIED", "FAILED"),
    ("DONE", "SKIPPED", "FAILED"),
    ("YES", "UNKNOWN", "NO"),
    ("NO", "USAGE", "BUSY", "CANNOT"),
    ("NONE", "INCOMPLETE", "NO_KIND"),
    ("SAME", "ASKED", "OTHER"),
    ("ELSEWHERE", "HANDLER", "ROOTS"),
    ("NOTHING", "STAGING_INTERRUPTED", "COMMIT_INTERRUPTED", "ROLLBACK_INTERRUPTED", "UNCLEAR"),
    ("COMMIT", "ROLLBACK", "NOTHING"),
    ("CONFIGURATION_MISSING", "LIST_MISSING", "CONFIGURATION_UNREADABLE", "LIST_UNREADABLE"),
    ("HANDLER_TWICE", "ROOT_TWICE", "MODEL_TWICE"),
    ("MODEL_MISSING", "MODEL_UNREADABLE", "MODEL_ROOTLESS", "MODEL_RELATIVE"),
    ("SESSION_FOREIGN", "SESSION_STALE", "SESSION_LEFTOVER", "SESSION_INVALID"),
    ("live", "workingCopy", "backup"),
    ("REFUSED", "HANDLER_REMOVED", "SEARCH_ON", "EDITED"),
    ("ENTRY_ADD", "ENTRY_REMOVE_HANDLER", "ENTRY_REMOVE_ROOT"),
    ("AddModelFile", "ModelHandler", "RemoveModelFile", "AddModelFileWithHandler", "RemoveModelFileWithHandler"),
    ("ROOTS", "ROOT"),
    ("PARTICIPANTS", "PARTICIPANT"),
    ("MANAGED_OBJECT", "TX_RESOURCE"),
    ("NAME", "COMP_NAME", "IF_NAME", "VERSION"),
    ("moVersion", "trVersion"),
)
LIBRARY_GROUPS = (
    ("true", "false"),
    ("EXIT_OK", "EXIT_CONFIG", "EXIT_SOFTWARE"),
    ("LOG_ERR", "LOG_WARNING", "LOG_INFO", "LOG_DEBUG"),
    ("critical", "error", "warning", "information"),
    ("TOK_IGNORE_EMPTY", "TOK_TRIM"),
    ("SIGHUP", "SIGINT", "SIGQUIT", "SIGTERM", "SIGUSR1"),
    ("O_RDWR", "O_RDONLY"),
    ("front", "back"),
    ("emplace_front", "emplace_back"),
    ("pop_back", "pop_front"),
    ("trunc", "app"),
    ("firstChild", "lastChild"),
    ("none_of", "any_of", "all_of"),
    ("max", "min"),
)
GROUPS = OWN_GROUPS + LIBRARY_GROUPS
OPERATORS = {
    "==": ("!=",),
    "!=": ("==",),
    "<": ("<=", ">="),
    ">": (">=", "<="),
    "<=": ("<",),
    ">=": (">",),
    "&&": ("||",),
    "||": ("&&",),
    "+": ("-",),
    "-": ("+",),
    "%": ("*",),
    "+=": ("=", "-="),
    "++": ("--",),
    "--": ("++",),
}
# Statements that begin with one of these are not dropped: they declare something, or another mutation covers them.
KEPT = {"return", "using", "case", "default", "if", "else", "for", "while", "do", "switch", "namespace", "class"}
KEPT |= {"struct", "enum", "template", "public", "private", "protected", "friend", "typedef", "try", "catch"}
VALUES = {"empty text", "other text", "off by one", "character"}


@dataclasses.dataclass(frozen=True)
class Token:
    """A token and its offset in the text."""

    kind: str
    text: str
    start: int

    @property
    def end(self) -> int:
        return self.start + len(self.text)


@dataclasses.dataclass(frozen=True)
class Mutant:
    """One change of one file."""

    file: str
    start: int
    end: int
    replacement: str
    operator: str
    line: int
    before: str

    def apply(self, source: str) -> str:
        return source[: self.start] + self.replacement + source[self.end :]

    def __str__(self) -> str:
        change = f"{' '.join(self.before.split())}  ->  {' '.join(self.replacement.split()) or '(nothing)'}"
        return f"{self.file}:{self.line}: {self.operator}: {change}"


def tokens_of(source: str) -> list[Token]:
    """The tokens except comments, directives and white space, in order."""
    found = []
    for match in TOKEN.finditer(source):
        if match.lastgroup != "skip":
            found.append(Token(str(match.lastgroup), match.group(), match.start()))
    return found


class Scan:
    """All mutants of one file."""

    def __init__(self, file: str, source: str) -> None:
        self.file = file
        self.source = source
        self.tokens = tokens_of(source)

    def mutant(self, start: int, end: int, replacement: str, operator: str) -> Mutant:
        line = self.source.count("\n", 0, start) + 1
        return Mutant(self.file, start, end, replacement, operator, line, self.source[start:end])

    def replaced(self, token: Token, replacement: str, operator: str) -> Mutant:
        return self.mutant(token.start, token.end, replacement, operator)

    def mutants(self) -> Iterator[Mutant]:
        for index, token in enumerate(self.tokens):
            if token.kind == "string":
                yield from self.strings(token)
            elif token.kind == "char":
                yield self.replaced(token, "'~'", "character")
            elif token.kind == "number":
                yield from self.numbers(token)
            elif token.kind == "name":
                yield from self.names(index, token)
            else:
                yield from self.operators(index, token)
        yield from self.statements()

    def strings(self, token: Token) -> Iterator[Mutant]:
        inside = token.text[1:-1]
        if inside:
            yield self.replaced(token, '""', "empty text")
            # Add a character at the end, but before a final line feed.
            cut = len(inside) - (2 if inside.endswith("\\n") and len(inside) > 2 else 0)
            yield self.replaced(token, f'"{inside[:cut]}~{inside[cut:]}"', "other text")
        else:
            yield self.replaced(token, '"~"', "other text")

    def numbers(self, token: Token) -> Iterator[Mutant]:
        match = re.fullmatch(r"(0[xX][0-9a-fA-F]+|\d+)([uUlL]*)", token.text)
        if match is None:
            return
        value = int(match.group(1), 16 if match.group(1)[:2] in ("0x", "0X") else 8 if match.group(1)[0] == "0" else 10)
        yield self.replaced(token, str(value + 1) + match.group(2), "off by one")
        if value > 0:
            yield self.replaced(token, str(value - 1) + match.group(2), "off by one")

    def names(self, index: int, token: Token) -> Iterator[Mutant]:
        for group in GROUPS:
            if token.text in group:
                yield self.replaced(token, group[(group.index(token.text) + 1) % len(group)], "other name")
        if token.text in ("if", "while") and self.text(index + 1) == "(":
            yield self.negated(index + 2, self.closing(index + 1), "negated condition")
        if token.text == "return" and self.text(index + 1) not in (";", "true", "false"):
            yield self.negated(index + 1, self.end_of_statement(index), "negated result")
        if token.text == "bool" and self.text(index + 2) == "=" and self.text(index + 3) not in ("true", "false"):
            yield self.negated(index + 3, self.end_of_statement(index), "negated value")

    def operators(self, index: int, token: Token) -> Iterator[Mutant]:
        for other in OPERATORS.get(token.text, ()):
            yield self.replaced(token, other, "other operator")
        if token.text == "!" and self.text(index + 1) != "=":
            yield self.replaced(token, "", "dropped not")
        if token.text == "?":
            yield self.replaced(token, "== false ?", "negated choice")
        if token.text == "(":
            yield from self.swapped_arguments(index)

    def swapped_arguments(self, index: int) -> Iterator[Mutant]:
        last = self.closing(index)
        parts, begin, depth = [], index + 1, 0
        for position in range(index + 1, last):
            text = self.text(position)
            depth += (text in "([{") - (text in ")]}")
            if text == "," and depth == 0:
                parts.append((begin, position))
                begin = position + 1
        parts.append((begin, last))
        for (a, b), (c, d) in zip(parts, parts[1:]):
            if a < b and c < d:
                first, second = self.span(a, b), self.span(c, d)
                between = self.source[self.tokens[b - 1].end : self.tokens[c].start]
                if first != second:
                    start, end = self.tokens[a].start, self.tokens[d - 1].end
                    yield self.mutant(start, end, second + between + first, "swapped arguments")

    def statements(self) -> Iterator[Mutant]:
        depths = self.depths()
        for index, token in enumerate(self.tokens):
            if index == 0 or self.text(index - 1) not in ("{", "}", ";", ":") or token.kind != "name":
                continue
            if token.text in KEPT or depths[index] != 0:
                continue
            end = self.end_of_statement(index)
            # Nothing uses a deleted function, with or without its declaration.
            if end is not None and self.text(end - 1) != "delete":
                yield self.mutant(token.start, self.tokens[end].end, ";", "dropped statement")

    # --- the text between tokens ---

    def text(self, index: int) -> str:
        return self.tokens[index].text if index < len(self.tokens) else ""

    def span(self, begin: int, end: int) -> str:
        return self.source[self.tokens[begin].start : self.tokens[end - 1].end]

    def negated(self, begin: int, end: int | None, operator: str) -> Mutant:
        stop = end if end is not None else begin + 1
        expression = self.span(begin, stop)
        return self.mutant(self.tokens[begin].start, self.tokens[stop - 1].end, f"!({expression})", operator)

    def closing(self, index: int) -> int:
        depth = 0
        for position in range(index, len(self.tokens)):
            depth += (self.text(position) == "(") - (self.text(position) == ")")
            if depth == 0:
                return position
        return len(self.tokens) - 1

    def depths(self) -> list[int]:
        """For each token how many parentheses are open before it."""
        found, depth = [], 0
        for token in self.tokens:
            found.append(depth)
            depth += (token.text == "(") - (token.text == ")")
        return found

    def end_of_statement(self, index: int) -> int | None:
        depth = 0
        for position in range(index, len(self.tokens)):
            text = self.text(position)
            if text == ";" and depth == 0:
                return position
            depth += (text in ("(", "[", "{")) - (text in (")", "]", "}"))
            if depth < 0:
                return None
        return None


def mutants_of(project: Path, file: str) -> list[Mutant]:
    """All mutants of the file, in the order of the text.  In a header only values are mutated: other mutants have no
    effect or do not compile.
    """
    scan = Scan(file, (project / file).read_text(encoding="utf-8"))
    found = set(scan.mutants())
    if file.endswith(".h"):
        found = {mutant for mutant in found if mutant.operator in VALUES or mutant.before in ("true", "false")}
    return sorted(found, key=lambda mutant: (mutant.start, mutant.end, mutant.replacement))
