"""Builds packages, and reads their content."""
from __future__ import annotations

import gzip
import os
import re
import subprocess
from pathlib import Path

from sandbox import PROJECT

# The architectures that are built and tested.
ARCHITECTURES = tuple(os.environ.get("PACKAGE_ARCHITECTURES", "amd64 armhf arm64").split())
SYSROOTS = PROJECT / "build"


def run(*command: str | Path, **options: object) -> str:
    """The standard output of a command that must succeed."""
    answer = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL,
                            text=True, check=True, **options)  # type: ignore[call-overload]
    return str(answer.stdout)


def build(checkout: Path, **environment: str) -> dict[str, Path]:
    """Build the packages of a checkout; return their paths by architecture."""
    run(checkout / "scripts" / "package", *ARCHITECTURES, env={**os.environ, **environment})
    output = checkout / "build" / "packages"
    return {architecture: next(output.glob(f"*_{architecture}.deb")) for architecture in ARCHITECTURES}


def sources(checkout: Path) -> list[Path]:
    """The files of the source package that ``build`` made."""
    return sorted((checkout / "build" / "packages").glob("*.dsc")) + \
        sorted((checkout / "build" / "packages").glob("*.tar.*"))


def field(package: Path, name: str) -> str:
    """A field of the package's control information."""
    return run("dpkg-deb", "--field", package, name).strip()


def dependencies(package: Path) -> list[str]:
    """The names of the packages that this one depends on."""
    return [re.split(r"[ :]", alternative)[0] for alternative in field(package, "Depends").split(", ")]


def dead_references(documents: Path, prefix: Path) -> list[str]:
    """The links and paths in installed documents and manuals whose target is not installed."""
    missing = []
    for page in documents.rglob("*.md"):
        text = page.read_text(encoding="utf-8")
        missing += [link for link in re.findall(r"\]\(([^)#]+)", text) if not (page.parent / link).exists()]
        missing += re.findall(r"\b(?:scripts|tests|build|packaging|docs/development)/[\w./-]*", text)
    others = [*documents.glob("README*"), *prefix.glob("README"), *prefix.glob("share/man/*/*")]
    for path in others:
        data = gzip.decompress(path.read_bytes()) if path.suffix == ".gz" else path.read_bytes()
        named = re.findall(r"\bshare/(?:doc|man)/[\w./-]*\w", data.decode())
        missing += [name for name in named if not (prefix / name).exists()]
    return missing


def sysroot(architecture: str) -> Path | None:
    """The directory with the libraries of a foreign architecture; None for the machine's own."""
    native = run("dpkg", "--print-architecture").strip()
    return None if architecture == native else SYSROOTS / f"sysroot-{architecture}"


def database(architecture: str) -> list[str]:
    """The options of dpkg-query that select the package database of an architecture."""
    root = sysroot(architecture)
    return [] if root is None else [f"--admindir={root}/var/lib/dpkg"]
