#!/usr/bin/python3
"""Press Tab in a real shell: ``completing_shell.py (bash|zsh) COMPLETIONS LINE...``.

Starts an interactive shell on a terminal of its own with the completions of the directory COMPLETIONS, types each LINE
and prints a JSON list with one object for each:

    line      what the line became after one Tab
    all       what it becomes when every candidate is put in
    output    what else appeared on the terminal after the Tab

It is a program of its own so that a test can run it in the sandbox, where the framework is what the test made it.
"""
from __future__ import annotations

import fcntl
import json
import os
import pty
import re
import select
import signal
import struct
import sys
import tempfile
import termios
from pathlib import Path

TAB = b"\t"
REPORT = b"\x18b"
ALL = b"\x18a"
CLEAR = b"\x05\x15"
BEGIN, END = b"\x01", b"\x02"
TIMEOUT = 30.0
# No line of a test is to be wrapped by the shell's line editor.
COLUMNS, ROWS = 2000, 50

BASH = """
PS1= PS2=
source /usr/share/bash-completion/bash_completion
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
# Only ours and what every completion stands on is looked through; the rest is there by name. All of it would be a
# thousand files a start.
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


class Terminal:
    """A shell at the other end of a pseudo terminal."""

    def __init__(self, command: list[str], env: dict[str, str]):
        self._pid, self._fd = pty.fork()
        if self._pid == 0:
            os.execvpe(command[0], command, env)
        fcntl.ioctl(self._fd, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, COLUMNS, 0, 0))

    def close(self) -> None:
        os.kill(self._pid, signal.SIGKILL)
        os.waitpid(self._pid, 0)
        os.close(self._fd)

    def send(self, keys: bytes) -> None:
        os.write(self._fd, keys)

    def read_report(self) -> tuple[str, str]:
        """What appeared before the next report of the line, and the line."""
        data = b""
        while END not in data:
            if not select.select([self._fd], [], [], TIMEOUT)[0]:
                raise TimeoutError(f"the shell does not answer; so far: {data!r}")
            data += os.read(self._fd, 65536)
        before, _, rest = data.partition(BEGIN)
        return before.decode(), rest.partition(END)[0].decode()

    def press(self, keys: bytes) -> tuple[str, str]:
        self.send(keys + REPORT)
        return self.read_report()


def visible(output: str, line: str) -> str:
    """Without what only moves the cursor, and without the line itself, which a shell may write once more."""
    return " ".join(re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|[\b\a]", "", output).replace(line, "").split())


def complete(terminal: Terminal, line: str) -> dict[str, str]:
    terminal.press(line.encode())
    _, every = terminal.press(ALL)
    terminal.press(CLEAR)
    terminal.press(line.encode())
    output, completed = terminal.press(TAB)
    terminal.press(CLEAR)
    return {"line": completed, "all": every, "output": visible(output, completed)}


def start(shell: str, completions: Path, scratch: Path) -> Terminal:
    """The shell, ready for input: its settings are read, and it has said so."""
    settings = scratch / "settings"
    settings.write_text({"bash": BASH, "zsh": ZSH}[shell].format(completions=completions))
    env = dict(os.environ, TERM="dumb", HOME=str(scratch), LC_ALL="C.UTF-8", INPUTRC="/dev/null")
    if shell == "bash":
        command = ["bash", "--noprofile", "--rcfile", str(settings), "-i"]
    else:
        command = ["zsh", "-f", "-i"]
    terminal = Terminal(command, env)
    if shell == "zsh":
        terminal.send(f"source {settings}\n".encode())
    terminal.send(b"printf '\\001ready\\002'\n")
    while terminal.read_report()[1] != "ready":
        pass
    return terminal


def main() -> None:
    shell, completions, *lines = sys.argv[1:]
    with tempfile.TemporaryDirectory() as scratch:
        terminal = start(shell, Path(completions).resolve(), Path(scratch))
        try:
            print(json.dumps([complete(terminal, line) for line in lines]))
        finally:
            terminal.close()


if __name__ == "__main__":
    main()
