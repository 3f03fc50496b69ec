"""Sanitizers work in the sandbox; without their reports a leaking program would pass all other tests."""
from __future__ import annotations

import subprocess
from pathlib import Path

import pytest

from sandbox import Sandbox, find_launcher, launcher_name

LEAK = """
#include <stdlib.h>
int main(void)
{
    volatile char* block = malloc(42);
    block[0] = 1;
    block = NULL;
    return 0;
}
"""
OVERRUN = """
#include <stdlib.h>
int main(int argc, char** argv)
{
    char* block = malloc(argc);
    (void)argv;
    return block[argc];
}
"""


def build(directory: Path, source: str) -> Path:
    """Compile a faulty program as the project's own are with sanitizers."""
    program = directory / "faulty"
    command = ["cc", "-O0", "-g", "-fsanitize=address", "-no-pie", "-x", "c", "-o", str(program), "-"]
    subprocess.run(command, input=source.encode(), check=True)
    return program


@pytest.mark.parametrize("source, word", [(LEAK, "LeakSanitizer: detected memory leaks"),
                                          (OVERRUN, "AddressSanitizer: heap-buffer-overflow")], ids=["leak", "overrun"])
def test_sanitizer_reports_a_faulty_program(tool: Sandbox, tmp_path: Path, source: str, word: str) -> None:
    if find_launcher() != "bwrap" and source is LEAK:
        pytest.skip(f"{launcher_name()} traces the program itself, which the leak check needs to do")
    result = tool.with_env(ASAN_OPTIONS="exitcode=99").execute(str(build(tmp_path, source)))
    assert result.status == 99
    assert word in result.console
