"""A small framework directory for tests."""
from __future__ import annotations

import os
from pathlib import Path

CONFIG = "etc/qor.cfg"
LIST = "etc/model/model_file_list.cfg"
CONFIG_TMP, LIST_TMP = f"{CONFIG}.tmp", f"{LIST}.tmp"
CONFIG_BAK, LIST_BAK = f"{CONFIG}.bak", f"{LIST}.bak"
SESSION = "etc/model/cmdfifo.dat"
LOCK = "etc/model/qor_mim_tool.lock"
CALLER_LOCK = "etc/model/qor_mim_ctl.lock"
AGENT = "qorea/bin/qorea"
VALIDATOR = "bin/pel_model_validator"

PLACEHOLDER = "VELDA_OAM_COMPONENT"

# Model files of the default framework, as the program sees them.
BASE, AUX, PUMP, VALVE, ROOTLESS, NAMELESS, BROKEN, MISSING = (
    f"/opt/qor/models/{name}.xml"
    for name in ("base", "aux", "pump", "valve", "rootless", "nameless", "broken", "missing"))

Snapshot = dict[str, bytes | None]


def participant(handler: str, *roots: str, mo: str = "1", tr: str = "1") -> str:
    """A handler, as the tool writes it into the configuration document."""
    inner = "".join(f'\t\t\t\t<root name="{root}"/>\n' for root in roots)
    return ("\t\t<participant>\n"
            + (f"\t\t\t<roots>\n{inner}\t\t\t</roots>\n" if roots else "\t\t\t<roots/>\n")
            + f'\t\t\t<managedObject compName="{handler}" ifName="PelOamSpiManagedObject" version="{mo}"/>\n'
            + f'\t\t\t<txResource compName="{handler}" ifName="PelOamSpiTransactionalResource" version="{tr}"/>\n'
            + "\t\t</participant>\n")


def config(*participants: str) -> str:
    """A configuration document, as the tool writes it."""
    inner = "".join(participants)
    return f"<qor>\n\t<participants>\n{inner}\t</participants>\n\t<limits requests=\"8\"/>\n</qor>\n"


def model(root_class: str) -> str:
    """A model file whose root class is ``root_class``."""
    return f'<model>\n\t<class name="{root_class}">\n\t\t<root/>\n\t</class>\n</model>\n'


def installed(name: str) -> str:
    """The path of a framework file as the program under test sees it."""
    return f"/opt/qor/{name}"


def apply_on(host: str) -> str:
    """The content of the lock file during an apply on ``host``."""
    return f"qor_mim_ctl@{host}"


class Framework:
    """A framework directory.  Names are relative to it; ``installed()`` gives the program's view of one."""

    def __init__(self, root: Path):
        self.root = root

    @classmethod
    def create(cls, root: Path) -> Framework:
        """Two handlers, one installed model, others to install, an agent and a validator that accepts everything."""
        framework = cls(root)
        framework.write(CONFIG, config(participant("baseHandler", "Base"), participant("auxHandler", "Aux")))
        framework.write(LIST, f"{installed('models/base.xml')}\n")
        for name in ("base", "aux", "pump", "valve"):
            framework.write(f"models/{name}.xml", model(name.capitalize()))
        framework.write("models/rootless.xml", '<model><class name="Unit"/></model>\n')
        framework.write("models/nameless.xml", "<model><class><root/></class></model>\n")
        framework.write("models/broken.xml", '<model><class name="Broken"><root/></model>\n')
        framework.script(AGENT, "echo /opt/qor")
        framework.script(VALIDATOR, "exit 0")
        return framework

    def path(self, name: str) -> Path:
        """The path of a framework file outside the sandbox."""
        return self.root / name

    def write(self, name: str, content: str | bytes) -> None:
        """Write a file, with the directories it needs."""
        path = self.path(name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())

    def read(self, name: str) -> str:
        """A file's text."""
        return self.path(name).read_bytes().decode()

    def remove(self, *names: str) -> None:
        """Remove files."""
        for name in names:
            self.path(name).unlink()

    def script(self, name: str, body: str) -> None:
        """Write an executable shell script."""
        self.write(name, f"#!/bin/sh\n{body}\n")
        self.path(name).chmod(0o755)

    def recording(self, name: str, record: str, body: str) -> None:
        """Write a script that first adds its arguments, one a line, to the file ``record``."""
        self.script(name, f"printf '%s\\n' \"$@\" >>{installed(record)}\n{body}")

    def session(self, entries: str, host: str = "alpha") -> None:
        """Create a session as if ``host`` had staged it."""
        self.write(SESSION, entries)
        self.write(LOCK, host)
        self.write(CONFIG_TMP, self.path(CONFIG).read_bytes())
        self.write(LIST_TMP, self.path(LIST).read_bytes())

    def snapshot(self) -> Snapshot:
        """All entries below the directory: a file's bytes, a link's target, None for a directory (name with slash)."""
        found: Snapshot = {}
        for directory, subdirectories, files in os.walk(self.root):
            for name in subdirectories + files:
                path = Path(directory) / name
                key = str(path.relative_to(self.root))
                if path.is_symlink():
                    found[key] = b"-> " + os.fsencode(os.readlink(path))
                elif path.is_dir():
                    found[f"{key}/"] = None
                else:
                    found[key] = path.read_bytes()
        return found

    def changes(self, before: Snapshot) -> dict[str, str | None]:
        """The differences from ``before``: new contents, None for a removed entry, an empty string for a directory."""
        now = self.snapshot()
        changed: dict[str, str | None] = {name: None for name in before.keys() - now.keys()}
        for name in now:
            if name not in before or now[name] != before[name]:
                changed[name] = (now[name] or b"").decode(errors="surrogateescape")
        return changed
