"""The workload: frameworks of given sizes, with a session ready to be committed."""
from __future__ import annotations

import dataclasses
import shutil
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import framework
from framework import AGENT, CONFIG, LIST, VALIDATOR, config, installed, model, participant

HOST = "bench"
ROOTS_PER_HANDLER = 5
MODELS = installed("models")


@dataclasses.dataclass(frozen=True)
class Case:
    """One workload with ``actions`` queued actions; a staging case stages one more of the same kind."""

    name: str
    title: str
    handlers: int = 10
    actions: int = 0
    remove: bool = False
    list_lines: int | None = None
    command: str = "commit"
    runs: int = 60

    def session_actions(self) -> list[tuple[str, str, str]]:
        """Kind, model file and handler of each queued action.  Every second addition is to a new handler."""
        if self.remove:
            return [("4", f"{MODELS}/installed/{self.spread(i)}_0.xml", handler_name(self.spread(i)))
                    for i in range(self.actions)]
        return [("3", f"{MODELS}/added/{i}.xml",
                 f"new{i:04d}" if i % 2 else handler_name(self.spread(i))) for i in range(self.actions)]

    def spread(self, index: int) -> int:
        """A handler for an action; indices below the number of handlers get different ones."""
        return index * 7 % self.handlers

    def staged_line(self) -> str:
        """The action of a staging case, as a line of the session file."""
        return f"3:{self.next_model()}|new{self.actions:04d}|1|1"

    def tool_arguments(self) -> list[str]:
        """The tool's arguments for the case."""
        if self.command == "stage":
            return [f"--addModelFile={self.next_model()}", f"--modelHandler=new{self.actions:04d}"]
        return [f"--{self.command}"]

    def apply_arguments(self) -> list[str]:
        """The companion's arguments with the effect of a staging case and its commit."""
        return [f"--add={self.next_model()}", f"--handler=new{self.actions:04d}"]

    def next_model(self) -> str:
        """The model file of a staging case."""
        return f"{MODELS}/added/{self.actions}.xml"

    def floor_arguments(self) -> list[str]:
        """The floor program's arguments for the case."""
        return [self.command] + ([self.staged_line()] if self.command == "stage" else [])

    @property
    def edits_document(self) -> bool:
        """Whether the scripts can do the same work."""
        return self.command == "commit"


def handler_name(index: int) -> str:
    """The name of an installed handler."""
    return f"handler{index:04d}"


def class_name(handler: int, root: int) -> str:
    """A root class of an installed handler."""
    return f"C{handler:04d}_{root}"


def document(handlers: int) -> str:
    """A configuration in the tool's own format."""
    return config(*(participant(handler_name(number), *(class_name(number, root) for root in range(ROOTS_PER_HANDLER)))
                    for number in range(handlers)))


class Framework:
    """The framework of one case, in ``directory``; ``reset()`` restores its initial state."""

    def __init__(self, scratch: Path, case: Case):
        self.case = case
        self.directory = scratch / "framework"
        self.template = scratch / "template"
        self.edits = scratch / "edits"
        self.resetter = scratch / "reset"
        self._build()
        self.reset()

    def _build(self) -> None:
        case = self.case
        actions = case.session_actions()
        models = {path: f"Added{index:04d}" if kind == "3" else class_name(int(handler.removeprefix("handler")), 0)
                  for index, (kind, path, handler) in enumerate(actions)}
        if case.command in ("stage", "apply"):
            models[case.next_model()] = "AddedNext"
        if case.command == "show":
            models = {path: class_name(index, 0) for index, path in enumerate(self._list().split())}
        files = framework.Framework(self.directory)
        for path, name in models.items():
            files.write(path.removeprefix(installed("")), model(name))
        files.script(AGENT, "echo /opt/qor")
        files.script(VALIDATOR, "exit 0")
        files.write(CONFIG, document(case.handlers))
        files.write(LIST, self._list())
        if actions:
            files.session("".join(f"{kind}:{path}|{handler}|1|1\n" for kind, path, handler in actions), HOST)
        (self.directory / "etc").rename(self.template)
        self.edits.write_text("".join(
            f"remove {path} {handler}\n" if kind == "4" else f"add {path} {handler} 1 1\n"
            for kind, path, handler in actions), encoding="utf-8")
        framework.Framework(self.resetter.parent).script(
            self.resetter.name, f"set -e\nrm -rf {self.directory}/etc\ncp -a {self.template} {self.directory}/etc")

    def _list(self) -> str:
        lines = [f"{MODELS}/installed/{handler}_{root}.xml\n" for handler in range(self.case.handlers)
                 for root in range(ROOTS_PER_HANDLER)]
        wanted = self.case.list_lines or len(lines)
        return "".join((lines + [f"{MODELS}/filler/{i}.xml\n" for i in range(wanted - len(lines))])[:wanted])

    def reset(self) -> None:
        """Restore the state before any run."""
        shutil.rmtree(self.directory / "etc", ignore_errors=True)
        shutil.copytree(self.template, self.directory / "etc")

    def result(self) -> tuple[str, str]:
        """The two live files after a run.  Fails unless their backups are right."""
        etc = self.directory / "etc"
        for name in "qor.cfg", "model/model_file_list.cfg":
            backup, before = etc / (name + ".bak"), self.template / name
            if backup.read_bytes() != before.read_bytes():
                raise AssertionError(f"{self.case.name}: {name} was not backed up")
        text = ElementTree.canonicalize(from_file=str(etc / "qor.cfg"), strip_text=True)
        return text, (etc / "model/model_file_list.cfg").read_text(encoding="utf-8")

    def expected(self) -> tuple[str, str]:
        """The expected live files, computed independently of the programs."""
        tree = ElementTree.fromstring((self.template / "qor.cfg").read_text(encoding="utf-8"))
        participants = tree.find("participants")
        assert participants is not None
        handlers = {participant.find("managedObject").get("compName"): participant for participant in participants}
        lines = self._list().splitlines(keepends=True)
        for index, (kind, path, handler) in enumerate(self.case.session_actions()):
            if kind == "4":
                roots = handlers[handler].find("roots")
                roots.remove(roots[0])
                lines.remove(path + "\n")
                continue
            if handler not in handlers:
                handlers[handler] = new_participant(participants, handler)
            ElementTree.SubElement(handlers[handler].find("roots"), "root", name=f"Added{index:04d}")
            lines.append(path + "\n")
        text = ElementTree.canonicalize(ElementTree.tostring(tree, encoding="unicode"), strip_text=True)
        return text, "".join(lines)


def new_participant(participants: ElementTree.Element, handler: str) -> ElementTree.Element:
    """Append an empty handler to the participants."""
    participant = ElementTree.SubElement(participants, "participant")
    ElementTree.SubElement(participant, "roots")
    for tag, interface in (("managedObject", "PelOamSpiManagedObject"),
                           ("txResource", "PelOamSpiTransactionalResource")):
        ElementTree.SubElement(participant, tag, compName=handler, ifName=interface, version="1")
    return participant
