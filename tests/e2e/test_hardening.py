"""The hardening of the release build, read from the program file."""
from __future__ import annotations

import re
import subprocess

import pytest

from sandbox import tool_path


def readelf(*options: str) -> str:
    """The output of readelf for the program."""
    return subprocess.run(["readelf", "--wide", *options, str(tool_path())], capture_output=True, check=True, text=True,
                          env={"LC_ALL": "C", "PATH": "/usr/bin"}).stdout


@pytest.fixture(autouse=True)
def shipped() -> None:
    """Debug and instrumented builds are not hardened."""
    if tool_path().parent.name not in ("release", "armhf", "arm64", "sbin"):
        pytest.skip("not a release build")


def test_program_is_position_independent() -> None:
    assert re.search(r"Type:\s+DYN", readelf("--file-header"))
    assert re.search(r"\bPIE\b", readelf("--dynamic"))


def test_relocations_are_resolved_at_start_and_read_only() -> None:
    assert "GNU_RELRO" in readelf("--program-headers")
    assert re.search(r"\(FLAGS(_1)?\).*\b(BIND_NOW|NOW)\b", readelf("--dynamic"))


def test_stack_is_not_executable() -> None:
    stack = re.search(r"GNU_STACK.*", readelf("--program-headers"))
    assert stack is not None and " RW " in stack[0]


def test_no_segment_is_writable_and_executable() -> None:
    segments = re.findall(r"^\s+LOAD.*0x\S+ ([RWE ]{3}) 0x", readelf("--program-headers"), re.MULTILINE)
    assert segments and not [flags for flags in segments if "W" in flags and "E" in flags]


def test_stack_protector_and_fortified_calls_are_used() -> None:
    symbols = readelf("--dyn-syms")
    assert "__stack_chk_fail" in symbols
    assert re.search(r"__\w+_chk@", symbols.replace("__stack_chk_fail@", ""))


def test_standard_library_checks_its_preconditions() -> None:
    """The text of a precondition: the function that reports it may be linked in, without a symbol."""
    assert b"!this->empty()" in tool_path().read_bytes()


@pytest.mark.parametrize("flag", ["-D_FORTIFY_SOURCE=3", "-ftrivial-auto-var-init=zero"])
def test_program_is_compiled_with_the_flag(flag: str) -> None:
    """These two flags leave no trace in the program file."""
    rules = tool_path().parent / "build.ninja"
    if not rules.exists():
        pytest.skip("not the directory of a build")
    flags = re.findall(r"^build CMakeFiles/qor_mim_tool\w*\.dir/.*\n(?:  .*\n)*?  FLAGS = (.*)$", rules.read_text(),
                       re.MULTILINE)
    assert flags and all(flag in line.split() for line in flags)


def test_jumps_are_guarded_on_x86_64() -> None:
    """Count the landing pads: the IBT property is not set, since Debian's start-up files have none."""
    if "X86-64" not in readelf("--file-header"):
        pytest.skip("no such guards on this processor")
    command = ["objdump", "--disassemble", "--no-show-raw-insn", "--section=.text", str(tool_path())]
    code = subprocess.run(command, capture_output=True, check=True, text=True).stdout
    assert code.count("endbr64") > 100


def test_program_has_no_library_path() -> None:
    assert not re.search(r"\((RPATH|RUNPATH)\)", readelf("--dynamic"))
