"""The workload: frameworks of given sizes, with a session ready to be committed."""
from __future__ import annotations

import dataclasses
import shutil
import xml.etree.ElementTree as ElementTree
from pathlib import Path

HOST = "bench"
ROOTS_PER_HANDLER = 5
MODELS = "/opt/qor/models"

AGENT = "#!/bin/sh\necho /opt/qor\n"
VALIDATOR = "#!/bin/sh\nexit 0\n"


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
    lines = ["<qor>", "\t<participants>"]
    for handler in range(handlers):
        lines += ["\t\t<participant>", "\t\t\t<roots>"]
        lines += [f'\t\t\t\t<root name="{class_name(handler, root)}"/>' for root in range(ROOTS_PER_HANDLER)]
        lines.append("\t\t\t</roots>")
        for tag, interface in (("managedObject", "PelOamSpiManagedObject"),
                               ("txResource", "PelOamSpiTransactionalResource")):
            lines.append(f'\t\t\t<{tag} compName="{handler_name(handler)}" ifName="{interface}" version="1"/>')
        lines.append("\t\t</participant>")
    return "\n".join([*lines, "\t</participants>", "</qor>", ""])


def write_executable(path: Path, text: str) -> None:
    """Write an executable file."""
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
    path.chmod(0o755)


def write_model(path: Path, name: str) -> None:
    """Write a model file with the root class ``name``."""
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(f'<models>\n\t<class name="{name}">\n\t\t<root/>\n\t</class>\n</models>\n', encoding="utf-8")


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
        model_directory = self.template / "model"
        model_directory.mkdir(parents=True)
        write_executable(self.directory / "qorea/bin/qorea", AGENT)
        write_executable(self.directory / "bin/pel_model_validator", VALIDATOR)
        actions = case.session_actions()
        for index, (kind, path, handler) in enumerate(actions):
            name = f"Added{index:04d}" if kind == "3" else class_name(int(handler.removeprefix("handler")), 0)
            write_model(self._host_path(path), name)
        if case.command in ("stage", "apply"):
            write_model(self._host_path(case.next_model()), "AddedNext")
        if case.command == "show":
            for index, path in enumerate(self._list().split()):
                write_model(self._host_path(path), class_name(index, 0))
        self._write_pair(self.template / "qor.cfg", document(case.handlers))
        self._write_pair(model_directory / "model_file_list.cfg", self._list())
        if actions:
            session = "".join(f"{kind}:{path}|{handler}|1|1\n" for kind, path, handler in actions)
            (model_directory / "cmdfifo.dat").write_text(session, encoding="utf-8")
            (model_directory / "qor_mim_tool.lock").write_text(HOST, encoding="utf-8")
        self.edits.write_text("".join(
            f"remove {path} {handler}\n" if kind == "4" else f"add {path} {handler} 1 1\n"
            for kind, path, handler in actions), encoding="utf-8")
        write_executable(self.resetter, "#!/bin/sh\nset -e\n"
                         f"rm -rf {self.directory}/etc\ncp -a {self.template} {self.directory}/etc\n")

    def _host_path(self, path: str) -> Path:
        """The path outside the sandbox of a file below /opt/qor."""
        return self.directory / Path(path).relative_to("/opt/qor")

    def _list(self) -> str:
        lines = [f"{MODELS}/installed/{handler}_{root}.xml\n" for handler in range(self.case.handlers)
                 for root in range(ROOTS_PER_HANDLER)]
        wanted = self.case.list_lines or len(lines)
        return "".join((lines + [f"{MODELS}/filler/{i}.xml\n" for i in range(wanted - len(lines))])[:wanted])

    def _write_pair(self, path: Path, text: str) -> None:
        """Write a live file and, if a session is open, its working copy."""
        path.write_text(text, encoding="utf-8")
        if self.case.actions:
            path.with_name(path.name + ".tmp").write_text(text, encoding="utf-8")

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
