"""A scratch machine for dpkg: a root directory with a package database."""
from __future__ import annotations

import os
import subprocess
from collections.abc import Iterable
from pathlib import Path

import packages
from sandbox import PATH

PROGRAM = "usr/sbin/qor_mim_tool"
COMPANION = "usr/sbin/qor_mim_ctl"
PACKAGE = "qor-mim-tool"
# The emulator and the C compiler of each foreign architecture.
EMULATORS = {"armhf": ("qemu-arm-static", "arm-linux-gnueabihf-gcc"),
             "arm64": ("qemu-aarch64-static", "aarch64-linux-gnu-gcc")}


class Machine:
    """Runs the real dpkg on a root directory, without privilege."""

    def __init__(self, root: Path, architecture: str, installed: Iterable[str]):
        self.root = root
        self.architecture = architecture
        database = root / "var" / "lib" / "dpkg"
        for name in ("info", "updates", "triggers"):
            (database / name).mkdir(parents=True)
        (root / "var" / "log").mkdir()
        (database / "arch").write_text("".join(f"{name}\n" for name in packages.ARCHITECTURES))
        (database / "status").write_text("\n".join(self._record(name) for name in installed))

    def _record(self, name: str) -> str:
        """The database record of an installed package."""
        query = ["dpkg-query", *packages.database(self.architecture)]
        return packages.run(*query, "--status", f"{name}:{self.architecture}")

    def dpkg(self, *command: str | Path) -> subprocess.CompletedProcess[str]:
        """Run dpkg on this machine."""
        words = ["fakeroot", "dpkg", f"--root={self.root}", "--force-not-root", "--force-script-chrootless",
                 *map(str, command)]
        return subprocess.run(words, capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False,
                              env={"PATH": PATH, "LC_ALL": "C", "HOME": "/nonexistent"})

    def succeed(self, *command: str | Path) -> None:
        """Run dpkg; its only complaint may be that the file lists of the dependencies are missing."""
        answer = self.dpkg(*command)
        assert answer.returncode == 0, answer.stderr
        complaints = [line for line in answer.stderr.splitlines() if "files list file for package" not in line]
        assert complaints == []

    def state(self) -> str:
        """The state of the package in the database."""
        answer = self.dpkg("--status", f"{PACKAGE}:{self.architecture}")
        lines = answer.stdout.splitlines()
        return next((line.removeprefix("Status: ") for line in lines if line.startswith("Status: ")), "unknown")

    def version(self) -> str:
        """The installed version."""
        return packages.run("dpkg-query", f"--admindir={self.root}/var/lib/dpkg", "--show",
                            "--showformat=${Version}", f"{PACKAGE}:{self.architecture}")

    def files(self) -> set[str]:
        """Every file outside the package database and its log."""
        found = set()
        for directory, _, names in os.walk(self.root):
            found.update(str((Path(directory) / name).relative_to(self.root)) for name in names)
        return {name for name in found if not name.startswith("var/")}

    def environment(self) -> dict[str, str]:
        """The variables that make the sandbox run the installed program."""
        environment = {"QOR_MIM_TOOL": str(self.root / PROGRAM)}
        root = packages.sysroot(self.architecture)
        if root is not None:
            emulator, compiler = EMULATORS[self.architecture]
            environment["QOR_MIM_TOOL_EMULATOR"] = f"{emulator} -L {root}"
            environment["QOR_MIM_TOOL_PRELOAD_CC"] = compiler
        return environment
