"""The archive of the portable programs: its content, and that the programs need only a C library."""
from __future__ import annotations

import re
from pathlib import Path

import pytest

import packages
from expect import version
from sandbox import PROJECT

DOCUMENTS = "share/doc/qor-mim-tool"


@pytest.fixture(scope="module", params=[name for name in ("amd64", "armhf") if name in packages.ARCHITECTURES])
def unpacked(request: pytest.FixtureRequest, tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The archive of an architecture, built from this checkout and unpacked."""
    archive = packages.run(PROJECT / "scripts" / "portable", request.param).splitlines()[-1]
    directory = tmp_path_factory.mktemp("portable")
    packages.run("tar", "--extract", "--file", archive, "--directory", directory)
    return directory / f"qor-mim-tool-{version()}-{request.param}"


def test_archive_contains_the_files_of_the_package(unpacked: Path) -> None:
    files = {str(path.relative_to(unpacked)) for path in unpacked.rglob("*") if path.is_file()}
    programs = {name.format(program) for program in ("qor_mim_tool", "qor_mim_ctl")
                for name in ("sbin/{}", "share/man/man8/{}.8", "share/bash-completion/completions/{}",
                             "share/zsh/vendor-completions/_{}")}
    assert {"README", *programs, f"{DOCUMENTS}/docs/operations.md",
            f"{DOCUMENTS}/examples/try", f"{DOCUMENTS}/examples/framework/etc/qor.cfg"} <= files
    assert not [name for name in files if "development" in name]


def test_archive_lists_every_linked_library_with_its_licence(unpacked: Path) -> None:
    licences = unpacked / DOCUMENTS / "licences"
    versions = (licences / "VERSIONS").read_text(encoding="utf-8").splitlines()
    linked = {line.split()[0] for line in versions if re.fullmatch(r"\S+ \d\S+", line)}
    assert {re.sub(r"\d.*$", "", name) for name in linked} == {"gcc", "libexpat", "libpcre", "poco", "zlib"}
    assert {path.name for path in licences.iterdir() if path.stat().st_size > 0} == {
        "VERSIONS", "qor-mim-tool", *linked}


def test_documents_name_no_file_that_the_archive_lacks(unpacked: Path) -> None:
    assert packages.dead_references(unpacked / DOCUMENTS, unpacked) == []


def test_programs_need_only_the_stated_c_library(unpacked: Path) -> None:
    stated = re.search(r"as new as GLIBC ([\d.]+)", (unpacked / "README").read_text(encoding="utf-8"))
    assert stated is not None
    for program in (unpacked / "sbin").iterdir():
        found = packages.run("readelf", "--wide", "--dynamic", "--version-info", program)
        libraries = {name.partition(".so")[0] for name in re.findall(r"\(NEEDED\).*\[(.*)\]", found)}
        assert libraries <= {"libc", "libm", "ld-linux-x86-64", "ld-linux-armhf"}
        versions = re.findall(r"GLIBC_([\d.]+)", found)
        assert max(tuple(map(int, text.split("."))) for text in versions) <= tuple(map(int, stated[1].split(".")))
