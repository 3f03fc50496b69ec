#!/usr/bin/python3
"""The tool at work on a copy of the sample framework, step by step, each step checked.

Every step prints the command as an operator types it, the answer, the exit status, what went to the system log, and how
the two configuration files changed.  What each of these must be is written down here; the first difference ends the
demonstration with status 1.
"""
from __future__ import annotations

import argparse
import difflib
import os
import shlex
import shutil
import sys
import tempfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(PROJECT / "tests" / "support"))
os.environ.setdefault("QOR_MIM_TOOL", str(PROJECT / "build" / "release" / "qor_mim_tool"))

from expect import COMPLETED, NEW_SESSION, UPDATED, version  # noqa: E402 (path set above)
from framework import participant  # noqa: E402 (path set above)
from sandbox import LogLine, Result, Sandbox, SandboxError, launcher_name  # noqa: E402 (path set above)

CONFIGURATION = "etc/qor.cfg"
MODEL_LIST = "etc/model/model_file_list.cfg"
SESSION = {"etc/qor.cfg.tmp", "etc/model/model_file_list.cfg.tmp", "etc/model/cmdfifo.dat",
           "etc/model/qor_mim_tool.lock"}
BACKUPS = {"etc/qor.cfg.bak", "etc/model/model_file_list.cfg.bak"}
PRIORITIES = ("emergency", "alert", "critical", "error", "warning", "notice", "info", "debug")

STATION = "/opt/qor/models/station.xml"
POWER = "/opt/qor/models/power.xml"
CLIMATE = "/opt/qor/models/climate.xml"
DOOR = "/opt/qor/models/door.xml"
BROKEN = "/opt/qor/models/lighting-broken.xml"
ROOTLESS = "/opt/qor/models/units-rootless.xml"

OPTIONS = ("-h, --help", "-a<absolute model file path>, --addModelFile=<absolute model file path>",
           "-x<absolute model file path>, --removeModelFile=<absolute model file path>",
           "-m<model handler name>, --modelHandler=<model handler name>",
           "-o<managed object version>, --managedObjectVersion=<managed object version>",
           "-t<transactional resource version>, --transactionalResourceVersion=<transactional resource version>",
           "-c, --commit", "-r, --rollback", "-s, --status")


class Surprise(Exception):
    """A step did not go as the story says."""


class Demo:
    """The scratch framework, and the story told so far."""

    def __init__(self, scratch: Path, launcher: str):
        self.framework = scratch / "framework"
        shutil.copytree(PROJECT / "examples" / "framework", self.framework)
        self.tool = Sandbox(self.framework, launcher=launcher)
        self.steps = 0
        self.before, _, rest = self.read(CONFIGURATION).partition("\t\t<participant>\n")
        self.after = "\t</participants>\n" + rest.partition("\t</participants>\n")[2]
        self.participants = [participant("VELDA_OAM_COMPONENT"), participant("stationHandler", "Station")]
        self.models = [STATION]
        self.present = self.files()
        self.expect_files()

    def read(self, name: str) -> str:
        return (self.framework / name).read_text(encoding="utf-8")

    def files(self) -> set[str]:
        return {str(path.relative_to(self.framework)) for path in self.framework.rglob("*") if path.is_file()}

    def chapter(self, title: str) -> None:
        """A heading over the steps that follow."""
        print(f"\n==== {title} ====")

    def step(self, *args: str, host: str = "alpha", console: list[str], stdout: str | None = "", status: int = 0,
             syslog: list[LogLine] | None = None, error: bool = False, tool: Sandbox | None = None) -> Result:
        """Run the tool once, show everything, check everything but the help text (``stdout`` none)."""
        self.steps += 1
        old = {name: self.read(name) for name in (CONFIGURATION, MODEL_LIST)}
        result = (tool or self.tool).on(host).run(*args)
        print(f"\n[{self.steps}] {host}# {shlex.join(['qor_mim_tool', *args])}")
        self.show(result, old)
        lines = ["Using QOR path: /opt/qor", *console]
        expected = [f"ConsoleLogger: Information: {line}\n" for line in lines]
        if error:
            expected[-1] = f"ConsoleLogger: Error: {lines[-1]}\n"
        self.compare("console", "".join(expected), result.console)
        self.compare("status", status, result.status)
        self.compare("system log", syslog or [], result.syslog)
        if stdout is not None:
            self.compare("standard output", stdout, result.stdout)
        self.expect_files()
        return result

    def show(self, result: Result, old: dict[str, str]) -> None:
        for text in (result.console, result.stdout):
            print(text.rstrip("\n"), end="\n" if text else "")
        print(f"    status: {result.status}")
        for priority, text in result.syslog:
            print(f"    system log, {PRIORITIES[priority]}: " + text.replace("\n", "\n        "))
        for name, text in old.items():
            diff = difflib.unified_diff(text.splitlines(), self.read(name).splitlines(), f"{name} before",
                                        f"{name} after", n=2, lineterm="")
            for line in diff:
                print(f"    {line}")

    def compare(self, what: str, expected: object, found: object) -> None:
        if expected != found:
            raise Surprise(f"step {self.steps}: {what}\n  expected: {expected!r}\n  found:    {found!r}")

    def expect_files(self) -> None:
        """Both configuration files and the set of files are what the story has come to."""
        self.compare(CONFIGURATION, self.before + "".join(self.participants) + self.after, self.read(CONFIGURATION))
        self.compare(MODEL_LIST, "".join(f"{model}\n" for model in self.models), self.read(MODEL_LIST))
        self.compare("files of the framework", sorted(self.present), sorted(self.files()))


def tell(demo: Demo) -> None:
    """The story."""
    look_around(demo)
    install(demo)
    reject(demo)
    remove_and_bring_back(demo)
    two_hosts(demo)


def look_around(demo: Demo) -> None:
    demo.chapter("Look around")
    answer = demo.step("--help", console=[COMPLETED], stdout=None)
    demo.compare("head of the help", ["usage: qor_mim_tool [-] [--] OPTIONS", f"qor_mim_tool v{version()}", ""],
                 answer.stdout.split("\n")[:3])
    for option in OPTIONS:
        demo.compare(f"help on {option}", 1, answer.stdout.count(f"\n{option}  "))
    demo.step("--status", console=["There are no pending actions.", COMPLETED])


def install(demo: Demo) -> None:
    demo.chapter("Install three models: the first handler takes the placeholder's place, the second is new")
    power = f"--addModelFile={POWER} --modelHandler=powerHandler"
    climate = f"--addModelFile={CLIMATE} --modelHandler=climateHandler"
    versions = " --managedObjectVersion=2 --transactionalResourceVersion=3"
    defaults = " --managedObjectVersion=1 --transactionalResourceVersion=1"
    door = f"--addModelFile={DOOR}"
    demo.present |= SESSION
    demo.step(*power.split(), console=[NEW_SESSION, UPDATED, power + defaults, COMPLETED],
              syslog=[(7, power + defaults)])
    demo.step(*(climate + versions).split(), console=["handleManagedObjectVersion: 2", UPDATED, climate + versions,
                                                      COMPLETED], syslog=[(7, climate + versions)])
    demo.step(door, console=[UPDATED, door, COMPLETED], syslog=[(7, door)])
    demo.step("--status", console=["Queued actions:", power + defaults, climate + versions, door, COMPLETED])

    demo.participants[0] = participant("powerHandler", "PowerSupply")
    demo.participants.append(participant("climateHandler", "ClimateControl", mo="2", tr="3"))
    demo.models += [POWER, CLIMATE, DOOR]
    demo.present = demo.present - SESSION | BACKUPS
    demo.step("--commit", console=["Replaced default QOR component tag with: powerHandler",
                                   "Found handler: powerHandler",
                                   "Adding new handler: climateHandler with root class: ClimateControl", COMPLETED])


def reject(demo: Demo) -> None:
    demo.chapter("The validator rejects a commit: the files come back as they were")
    broken = f"--addModelFile={BROKEN}"
    rootless = f"--addModelFile={ROOTLESS}"
    demo.present |= SESSION
    demo.step(broken, console=[NEW_SESSION, UPDATED, broken, COMPLETED], syslog=[(7, broken)])
    demo.step(rootless, console=[UPDATED, rootless, COMPLETED], syslog=[(7, rootless)])
    demo.present = demo.present - SESSION - BACKUPS
    report = f"{BROKEN}: line 6: </class> where </attribute> is due\n{ROOTLESS}: no root class\n"
    demo.step("--commit", console=["Operation failed!"], error=True, status=255, stdout=f"{report}\n\n")


def remove_and_bring_back(demo: Demo) -> None:
    demo.chapter("Remove a model, and the handler with it")
    removal = f"--removeModelFile={CLIMATE} --modelHandler=climateHandler"
    demo.present |= SESSION
    demo.step(*removal.split(), console=[NEW_SESSION, UPDATED, removal, COMPLETED], syslog=[(7, removal)])
    climate = demo.participants.pop()
    demo.models = [STATION, POWER, DOOR]
    demo.present = demo.present - SESSION | BACKUPS
    demo.step("--commit", console=["Found handler: climateHandler",
                                   "Removed root entry ClimateControl from climateHandler",
                                   "Removed handler: climateHandler",
                                   f"Found and removed model entry: {CLIMATE}", COMPLETED])

    demo.chapter("Change your mind: first about a pending action, then about the last commit")
    removal = f"--removeModelFile={DOOR}"
    demo.present |= SESSION
    demo.step(removal, console=[NEW_SESSION, UPDATED, removal, COMPLETED], syslog=[(7, removal)])
    demo.present -= SESSION
    demo.step("--rollback", console=["Rolling back."])
    demo.participants.append(climate)
    demo.models = [STATION, POWER, CLIMATE, DOOR]
    demo.present -= BACKUPS
    demo.step("--rollback", console=["Rolling back.", COMPLETED], syslog=[(6, "lock file not present, Rolling back.")])


def two_hosts(demo: Demo) -> None:
    demo.chapter("Two hosts share the framework: a session belongs to the host that began it")
    removal = f"--removeModelFile={DOOR}"
    addition = f"--addModelFile={ROOTLESS}"
    demo.present |= SESSION
    demo.step(removal, console=[NEW_SESSION, UPDATED, removal, COMPLETED], syslog=[(7, removal)])
    demo.step("--status", host="beta", console=["Queued actions:", removal, COMPLETED])
    refusal = "WARNING: Session already in progress and locked by: alpha\nPending action canceled."
    with tempfile.TemporaryDirectory(prefix="qmt-") as work:
        patient = demo.tool.using(work=Path(work)).sleepless()
        demo.step(addition, host="beta", console=[refusal], syslog=[(7, addition), (6, refusal)], tool=patient)
        sleeps = int((Path(work) / "sleeps").read_text(encoding="ascii"))
        print(f"    ({sleeps} waits of a second each, shortened here)")
        demo.compare("waits", 30, sleeps)
    demo.step("--status", console=["Queued actions:", removal, COMPLETED])
    demo.present -= SESSION
    demo.step("--rollback", console=["Rolling back."])


def main() -> int:
    """Tell the story in a scratch directory."""
    parser = argparse.ArgumentParser(description="Show the tool at work on a copy of the sample framework.")
    parser.add_argument("--fallback", action="store_true", help="run the sandbox that needs no namespaces")
    launcher = "proot" if parser.parse_args().fallback else "auto"
    with tempfile.TemporaryDirectory(prefix="qmt-demo-") as scratch:
        try:
            demo = Demo(Path(scratch), launcher)
            tell(demo)
        except (Surprise, SandboxError) as problem:
            print(f"\ndemo: not as the story says\n{problem}", file=sys.stderr)
            return 1
    print(f"\ndemo: {demo.steps} steps, all as expected (sandbox: {launcher_name(launcher)})")
    return 0


if __name__ == "__main__":
    sys.exit(main())
