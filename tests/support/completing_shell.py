#!/usr/bin/python3
"""Press Tab in a real shell: ``completing_shell.py (bash|zsh) COMPLETIONS LINE...``.

Starts an interactive shell on a pseudo-terminal with the completions in COMPLETIONS, types each LINE and prints a JSON
list with one object for each:

    line      the line after one Tab
    all       the line with all candidates inserted
    output    the other output on the terminal after the Tab

It is a program of its own so that a test can run it in the sandbox, with the test's framework.
"""
from __future__ import annotations

import json
import os
import re
import sys
import tempfile
from pathlib import Path

import pexpect

TAB = "\t"
REPORT = "\x18b"
ALL = "\x18a"
CLEAR = "\x05\x15"
# Wide enough that the shell's line editor wraps no line of a test.
SIZE = (50, 2000)
# Seconds for one answer of the shell; enough on a busy machine.
TIMEOUT = 120

BASH = """
PS1= PS2=
source /usr/share/bash-completion/bash_completion
source {completions}/qor_mim_ctl.bash
source {completions}/qor_mim_tool.bash
bind 'set bell-style none'
bind 'set enable-bracketed-paste off'
bind 'set completion-query-items -1'
bind 'set page-completions off'
bind 'set show-all-if-ambiguous off'
bind '"\\C-xa": insert-completions'
_report() {{ printf '\\001%s\\002' "$READLINE_LINE"; }}
bind -x '"\\C-xb": _report'
"""

ZSH = """
PS1= PS2= RPS1=
setopt no_beep no_prompt_cr no_prompt_sp
unsetopt zle_bracketed_paste 2>/dev/null
unset zle_bracketed_paste
# compinit scans only our completions and zsh's base functions. The other functions are autoloaded by name: a scan would
# read a thousand files at each start.
library=($fpath)
fpath=({completions} /usr/share/zsh/functions/Completion /usr/share/zsh/functions/Completion/Base)
autoload -U compinit
compinit -u -D
fpath=({completions} $library)
autoload -U $^library/_*(N.:t)
LISTMAX=0
report() {{ printf '\\001%s\\002' "$BUFFER" }}
zle -N report
bindkey '^Xb' report
zle -C every complete-word _generic
bindkey '^Xa' every
zstyle ':completion:every::::' completer _all_matches _complete
zstyle ':completion:every:*' insert yes
"""


def press(shell: pexpect.spawn, keys: str) -> tuple[str, str]:
    """Send keys; return the output before the shell's report of its line, and the line."""
    shell.send(keys + REPORT)
    shell.expect("\x01([^\x02]*)\x02")
    return shell.before, shell.match[1]


def visible(output: str, line: str) -> str:
    """The output without cursor movements and without the line itself, which the shell may redraw."""
    return " ".join(re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|[\b\a]", "", output).replace(line, "").split())


def complete(shell: pexpect.spawn, line: str) -> dict[str, str]:
    press(shell, line)
    _, every = press(shell, ALL)
    press(shell, CLEAR)
    press(shell, line)
    output, completed = press(shell, TAB)
    press(shell, CLEAR)
    return {"line": completed, "all": every, "output": visible(output, completed)}


def start(name: str, completions: Path, scratch: Path) -> pexpect.spawn:
    """Start a shell and wait until it has read its settings."""
    settings = scratch / "settings"
    settings.write_text({"bash": BASH, "zsh": ZSH}[name].format(completions=completions))
    env = dict(os.environ, TERM="dumb", HOME=str(scratch), LC_ALL="C.UTF-8", INPUTRC="/dev/null")
    options = ["--noprofile", "--rcfile", str(settings), "-i"] if name == "bash" else ["-f", "-i"]
    shell = pexpect.spawn(name, options, env=env, encoding="utf-8", dimensions=SIZE, timeout=TIMEOUT)
    shell.delaybeforesend = None
    if name == "zsh":
        shell.sendline(f"source {settings}")
    shell.sendline("printf '\\001ready\\002'")
    shell.expect_exact("\x01ready\x02")
    return shell


def main() -> None:
    name, completions, *lines = sys.argv[1:]
    with tempfile.TemporaryDirectory(dir=".") as scratch:
        with start(name, Path(completions), Path(scratch).resolve()) as shell:
            print(json.dumps([complete(shell, line) for line in lines]))


if __name__ == "__main__":
    main()
