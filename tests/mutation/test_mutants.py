"""The mutants of small sources."""
from __future__ import annotations

import re

import pytest

from mutants import OWN_GROUPS, Scan
from run import FOLDERS, PROJECT


def changed(source: str) -> set[str]:
    return {mutant.apply(source) for mutant in Scan("file.cpp", source).mutants()}


@pytest.mark.parametrize(
    ("source", "expected"),
    [
        ("void f() { if (a && !b) { return; } }", "void f() { if (!(a && !b)) { return; } }"),
        ("void f() { if (a && !b) { return; } }", "void f() { if (a || !b) { return; } }"),
        ("void f() { if (a && !b) { return; } }", "void f() { if (a && b) { return; } }"),
        ("int f() { return a == 3; }", "int f() { return a != 3; }"),
        ("int f() { return a == 3; }", "int f() { return a == 4; }"),
        ("int f() { return a == 3; }", "int f() { return a == 2; }"),
        ("int f() { return a == 3; }", "int f() { return !(a == 3); }"),
        ("bool f() { return true; }", "bool f() { return false; }"),
        ('void f() { g("a", b); }', 'void f() { g(b, "a"); }'),
        ('void f() { g("a", b); }', "void f() { ; }"),
        ('void f() { g("a", b); }', 'void f() { g("", b); }'),
        ('void f() { g("a\\n", b); }', 'void f() { g("a~\\n", b); }'),
        ("void f() { g(h(1, 2), b); }", "void f() { g(b, h(1, 2)); }"),
        ("void f() { c = a ? b : d; }", "void f() { c = a == false ? b : d; }"),
        ("void f() { l->warning(t); }", "void f() { l->information(t); }"),
    ],
)
def test_scan_makes_the_fault(source: str, expected: str) -> None:
    assert expected in changed(source)


def test_scan_skips_comments_and_directives() -> None:
    assert changed('#include "a.h"\n// if (a == 3)\n/* "text" */\n') == set()


def test_scan_keeps_the_parts_of_a_loop_header() -> None:
    assert not any("(i = 0; ;" in text for text in changed("void f() { for (i = 0; ok(i); ++i) { g(); } }"))


def test_deleted_function_stays() -> None:
    assert changed("class A { A(const A&) = delete; };") == set()


def test_names_that_are_exchanged_occur_in_the_program() -> None:
    sources = (source for folder in FOLDERS for source in (PROJECT / folder).glob("*.cpp"))
    names = {name for source in sources for name in re.findall(r"\w+", source.read_text(encoding="utf-8"))}

    assert {name for group in OWN_GROUPS for name in group} <= names
