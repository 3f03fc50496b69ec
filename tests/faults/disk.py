"""Every possible state of the disk after a power cut, from the trace of a run.

A disk replays the traced calls and distinguishes what the program sees from what is durable.  ``states()`` yields each
possible state of the directory after a cut, under one of three models:

    ordered    one journal: changes of names and sizes reach the disk in order, any sync commits all earlier ones;
               unsynced data may be missing or zero
    two        the same, where etc and etc/model are two file systems with a journal each
    posix      only what POSIX promises: the sync of a file covers its content alone, the sync of a directory its names;
               every other change may independently be missing
"""
from __future__ import annotations

import codecs
import dataclasses
import itertools
import math
import os.path
import random
import re
from collections.abc import Callable, Container, Iterable, Iterator, Mapping, Sequence
from typing import Any, Union

import calls

ROOT = "/opt/qor/etc"
ORDERED, TWO, POSIX = MODELS = ("ordered", "two", "posix")

# Calls that change files or make the changes durable; the trace must have all of them, with untruncated strings.
TRACED = ("open,openat,creat,close,write,pwrite64,writev,pwritev,lseek,truncate,ftruncate,fallocate,unlink,unlinkat,"
          "rename,renameat,renameat2,mkdir,mkdirat,rmdir,link,linkat,symlink,symlinkat,dup,dup2,dup3,"
          "fsync,fdatasync,sync,syncfs,"
          "sync_file_range,copy_file_range,sendfile,splice,exit_group")
UNKNOWN = {"creat", "fallocate", "truncate", "pwritev", "link", "linkat", "symlink", "symlinkat", "dup", "dup2", "dup3",
           "copy_file_range", "sendfile", "splice", "open"}
OPTIONS = ["-y", "-s", str(1 << 22), "-e", f"trace={TRACED}"]

STRING = re.compile(r'"((?:[^"\\]|\\.)*)"')
RESULT = re.compile(r"\) += (-?\d+)")

Files = Mapping[str, bytes]
"""Contents by path below etc/."""
DIRECTORY = -1
"""The value of a name that is a directory; the value of a file is the number of its content."""


@dataclasses.dataclass(frozen=True)
class Name:
    """A name was changed: to a file's number, to DIRECTORY, or to None when it was removed."""

    path: str
    value: int | None
    source: str | None = None
    """The old name, for a rename."""


@dataclasses.dataclass(frozen=True)
class Size:
    """A file was truncated or extended."""

    file: int
    size: int


@dataclasses.dataclass(frozen=True)
class Data:
    """Bytes were written into a file."""

    file: int
    offset: int
    data: bytes


IDLE = "nothing to do"


@dataclasses.dataclass(frozen=True)
class Sync:
    """A file's content (a number), a directory's names (a path), or everything (None) was made durable."""

    target: int | str | None
    path: str
    site: str
    """The name of this sync among those of a run.

    Empty for a sync by the library's copy; ``IDLE`` for a sync without unsynced changes.
    """


@dataclasses.dataclass(frozen=True)
class Answer:
    """The run reported its end to the caller."""


Operation = Union[Name, Size, Data, Sync, Answer]
Event = Union[Size, Data]


class Trace:
    """The operations of one or several consecutive runs on a directory that was completely synced before."""

    def __init__(self, files: Files, directories: Iterable[str] = ("model",)):
        self.contents = dict(enumerate(files.values()))
        self.names: dict[str, int] = {path: number for number, path in enumerate(files)}
        self.names.update({path: DIRECTORY for path in directories})
        self.operations: list[Operation] = []
        self._last = ""
        self._changed: set[int | str] = set()
        self._now = dict(self.names)
        self._sizes = {number: len(content) for number, content in self.contents.items()}

    def add(self, text: str) -> None:
        """Append a run from the output of strace with ``OPTIONS``."""
        run = _Run(self)
        for name, rest in calls.lines(text):
            run.take(name, rest)

    def without(self, sites: Container[str]) -> Trace:
        """A copy without some of the syncs."""
        other = Trace({})
        other.__dict__.update(self.__dict__)
        other.operations = [operation for operation in self.operations
                            if not (isinstance(operation, Sync) and operation.site in sites)]
        return other

    def merged(self) -> Trace:
        """A copy in which consecutive, adjoining writes to a file are one write."""
        other = self.without(())
        other.operations = []
        for operation in self.operations:
            last = other.operations[-1] if other.operations else None
            if (isinstance(operation, Data) and isinstance(last, Data)
                    and (operation.file, operation.offset) == (last.file, last.offset + len(last.data))):
                other.operations[-1] = Data(last.file, last.offset, last.data + operation.data)
            else:
                other.operations.append(operation)
        return other

    @property
    def sites(self) -> list[str]:
        """The program's own syncs."""
        return [operation.site for operation in self.operations
                if isinstance(operation, Sync) and operation.site not in ("", IDLE)]

    # The operations of a run.

    def name(self, path: str, value: int | None, source: str | None = None) -> None:
        self._now[path] = value
        if source is not None:
            self._now[source] = None
        self._last = f"{'removing' if value is None else 'making'} {path}"
        self._changed |= {_directory(name) for name in (path, source) if name is not None}
        self.operations.append(Name(path, value, source))

    def file(self, path: str) -> int | None:
        return self._now.get(path)

    def new_file(self, path: str) -> int:
        number = len(self._sizes)
        self._sizes[number] = 0
        self.contents[number] = b""
        self.name(path, number)
        return number

    def size(self, file: int) -> int:
        return self._sizes[file]

    def resize(self, file: int, size: int) -> None:
        if size != self._sizes[file]:
            self._sizes[file] = size
            self._changed.add(file)
            self.operations.append(Size(file, size))

    def write(self, path: str, file: int, offset: int, data: bytes) -> None:
        self._last = f"writing {path}"
        self._changed.add(file)
        self._sizes[file] = max(self._sizes[file], offset + len(data))
        self.operations.append(Data(file, offset, data))

    def sync(self, target: int | str | None, path: str, by_library: bool) -> None:
        idle = target not in self._changed if target is not None else not self._changed
        site = "" if by_library else IDLE if idle else f"{path or 'etc'} after {self._last}"
        self._changed -= self._changed if target is None else {target}
        self.operations.append(Sync(target, path, site))


@dataclasses.dataclass
class _Open:
    path: str
    file: int
    offset: int
    appending: bool
    by_library: bool


class _Run:
    """Reads one run's calls into a trace."""

    def __init__(self, trace: Trace):
        self._trace = trace
        self._open: dict[int, _Open] = {}
        self._answered = False

    def take(self, name: str, rest: str) -> None:
        """One call."""
        result = RESULT.search(rest, rest.rfind(") "))
        code = int(result[1]) if result else 0
        if code < 0:
            return
        if name in UNKNOWN and ROOT in rest:
            raise NotImplementedError(f"{name}({rest[:200]}")
        action = getattr(self, f"_{name}", None)
        if action is not None:
            action(rest, code)

    def _openat(self, rest: str, code: int) -> None:
        self._open.pop(code, None)
        path = _path(rest)
        if path is None:
            return
        flags = set(re.search(r'", ([A-Z_|]+)', rest)[1].split("|"))
        file = self._trace.file(path) if path else DIRECTORY
        if file is None:
            file = self._trace.new_file(path)
        elif "O_TRUNC" in flags:
            self._trace.resize(file, 0)
        # The library's copy passes the file type in the mode, which the kernel ignores.
        self._open[code] = _Open(path, file, 0, "O_APPEND" in flags, ", 0100" in rest)

    def _close(self, rest: str, _: int) -> None:
        self._open.pop(int(re.match(r"\d+", rest)[0]), None)

    def _file(self, rest: str) -> _Open | None:
        return self._open.get(int(re.match(r"\d+", rest)[0]))

    def _lseek(self, rest: str, code: int) -> None:
        if file := self._file(rest):
            file.offset = code

    def _write(self, rest: str, code: int) -> None:
        data = b"".join(_strings(rest))[:code]
        if file := self._file(rest):
            offset = self._trace.size(file.file) if file.appending else file.offset
            self._trace.write(file.path, file.file, offset, data)
            file.offset = offset + len(data)
        elif data.startswith((b"ConsoleLogger: Information: Operation completed.",
                              b"ConsoleLogger: Error: Operation failed!")):
            self._answer()

    _writev = _write

    def _pwrite64(self, rest: str, code: int) -> None:
        if file := self._file(rest):
            offset = int(re.search(r", (\d+)\) += ", rest)[1])
            self._trace.write(file.path, file.file, offset, next(_strings(rest))[:code])

    def _ftruncate(self, rest: str, _: int) -> None:
        if file := self._file(rest):
            self._trace.resize(file.file, int(re.search(r", (\d+)\)", rest)[1]))

    def _unlink(self, rest: str, _: int) -> None:
        path = _path(rest)
        if path:
            self._trace.name(path, None)

    _unlinkat = _rmdir = _unlink

    def _rename(self, rest: str, _: int) -> None:
        source, target = _paths(rest)
        if source is None and target is None:
            return
        file = self._trace.file(source)
        if file is None or file == DIRECTORY:
            raise NotImplementedError(rest)
        self._trace.name(target, file, source)

    _renameat = _renameat2 = _rename

    def _mkdir(self, rest: str, _: int) -> None:
        path = _path(rest)
        if path:
            self._trace.name(path, DIRECTORY)

    _mkdirat = _mkdir

    def _fsync(self, rest: str, _: int) -> None:
        if file := self._file(rest):
            self._trace.sync(file.path if file.file == DIRECTORY else file.file, file.path, file.by_library)

    _fdatasync = _fsync

    def _sync(self, _rest: str, _: int) -> None:
        self._trace.sync(None, "", by_library=False)

    _syncfs = _sync

    def _exit_group(self, _rest: str, _: int) -> None:
        self._answer()

    def _answer(self) -> None:
        if not self._answered:
            self._answered = True
            self._trace.operations.append(Answer())


def _strings(rest: str) -> Iterator[bytes]:
    for match in STRING.finditer(rest):
        yield codecs.escape_decode(match[1].encode("latin-1"))[0]


def _paths(rest: str) -> list[str | None]:
    """The paths of a call, relative to etc/; None for a path outside, the empty string for etc/ itself."""
    found = []
    for match in re.finditer(r'(?:(?:AT_FDCWD|\d+)<([^>]*)>, )?' + STRING.pattern, rest):
        name = codecs.escape_decode(match[2].encode("latin-1"))[0].decode()
        path = os.path.normpath(os.path.join(match[1] or "", name))
        inside = path == ROOT or path.startswith(ROOT + "/")
        found.append(path[len(ROOT) + 1:] if inside else None)
    return found


def _path(rest: str) -> str | None:
    return _paths(rest)[0]


def _directory(path: str) -> str:
    return path.rpartition("/")[0]


def _applied(content: bytes, event: Event) -> bytes:
    if isinstance(event, Size):
        return content[:event.size].ljust(event.size, b"\0")
    return content[:event.offset].ljust(event.offset, b"\0") + event.data + content[event.offset + len(event.data):]


def contents(durable: bytes, events: Sequence[Event], journal: bool) -> list[bytes]:
    """The possible contents of a file after a cut, with the synced content ``durable`` and the later ``events``.

    With a journal, the last change of the size is durable; without one, every earlier content is possible too.
    """
    certain = -1
    if journal:
        certain = max((place for place, event in enumerate(events) if isinstance(event, Size)), default=-1)
    forms = [(-1, durable)]
    now = durable
    for place, event in enumerate(events):
        if isinstance(event, Data):
            half = len(event.data) // 2
            line = event.data.rfind(b"\n", 0, half + 1) + 1
            for kept in {0, line, half}:
                part = event.data[:kept]
                forms.append((place, _applied(now, Data(event.file, event.offset, part))))
                zeros = Data(event.file, event.offset, part.ljust(len(event.data), b"\0"))
                forms.append((place, _applied(now, zeros)))
        now = _applied(now, event)
        forms.append((place, now))
    # A lost write before one that reached the disk.
    for event in events:
        if isinstance(event, Data) and len(events) > 1:
            lost = _applied(now, Data(event.file, event.offset, bytes(len(event.data))))
            forms.append((len(events), lost[:len(now)]))
    return list(dict.fromkeys(content for place, content in forms if place >= certain))


@dataclasses.dataclass(frozen=True)
class Left:
    """One possible state after a cut."""

    answers: int
    """The number of runs that had reported their end."""
    running: bool
    """Whether the next run had begun to change files."""
    files: Files
    directories: frozenset[str] = frozenset()


def states(trace: Trace, model: str, limit: int = 1 << 30, seed: int = 1) -> Iterator[Left]:
    """Every possible state after a cut, each once; a sample of about ``limit`` for each moment with more states."""
    seen: set[tuple[int, bool, frozenset[tuple[str, bytes]], frozenset[str]]] = set()
    disk = _Posix(trace) if model == POSIX else _Journals(trace, _directory if model == TWO else lambda _: "")
    rng = random.Random(seed)
    answers, running = 0, False
    for operation in [None, *trace.operations]:
        if isinstance(operation, Answer):
            answers, running = answers + 1, False
        elif operation is not None:
            running = running or not isinstance(operation, Sync)
            disk.apply(operation)
        for files, directories in disk.states(limit, rng):
            key = (answers, running, frozenset(files.items()), directories)
            if key not in seen:
                seen.add(key)
                yield Left(answers, running, files, directories)


class _Content:
    """The content of one file: what is durable, and the events since."""

    def __init__(self, durable: bytes):
        self.durable = durable
        self.events: list[tuple[int, Event]] = []
        self._forms: dict[tuple[int, bool], list[bytes]] = {}

    def add(self, moment: int, event: Event) -> None:
        self.events.append((moment, event))

    def sync(self) -> None:
        for _, event in self.events:
            self.durable = _applied(self.durable, event)
        self.events.clear()
        self._forms.clear()

    def forms(self, journal: int | None) -> list[bytes]:
        """The possible contents; with a journal that is durable up to a moment, only events up to then count."""
        events = [event for moment, event in self.events if journal is None or moment <= journal]
        key = (len(events), journal is None)
        if key not in self._forms:
            self._forms[key] = contents(self.durable, events, journal is not None)
        return self._forms[key]


Choice = tuple[dict[str, Union[int, None]], dict[int, list[bytes]]]


class _Disk:
    """Base class of the models."""

    def __init__(self, trace: Trace):
        self._contents = {number: _Content(content) for number, content in trace.contents.items()}
        self._moment = 0

    def _record(self, operation: Operation) -> None:
        self._moment += 1
        if isinstance(operation, (Size, Data)):
            self._contents[operation.file].add(self._moment, operation)
        elif isinstance(operation, Sync):
            for number, content in self._contents.items():
                if operation.target in (number, None):
                    content.sync()

    def apply(self, operation: Operation) -> None:
        raise NotImplementedError

    def _choices(self, limit: int, rng: random.Random) -> Iterator[Choice]:
        raise NotImplementedError

    def states(self, limit: int, rng: random.Random) -> Iterator[tuple[dict[str, bytes], frozenset[str]]]:
        """The states that are possible now."""
        for names, forms in self._choices(limit, rng):
            directories = frozenset(path for path, value in names.items() if value == DIRECTORY)
            files = {path: value for path, value in names.items()
                     if value is not None and value != DIRECTORY and _directory(path) in directories | {""}}
            numbers = sorted(set(files.values()))
            for chosen in _sample([forms[number] for number in numbers], limit, rng):
                content = dict(zip(numbers, chosen))
                yield {path: content[number] for path, number in files.items()}, directories


def _sample(options: Sequence[Sequence[Any]], limit: int, rng: random.Random) -> Iterator[Sequence[Any]]:
    """All combinations, or ``limit`` of them that include the first and the last one."""
    if math.prod(len(option) for option in options) <= limit:
        yield from itertools.product(*options)
        return
    yield [option[0] for option in options]
    yield [option[-1] for option in options]
    for _ in range(limit - 2):
        yield [rng.choice(option) for option in options]


class _Journals(_Disk):
    """One journal of names and sizes for each file system."""

    def __init__(self, trace: Trace, journal_of: Callable[[str], str]):
        super().__init__(trace)
        self._journal_of = journal_of
        self._durable: dict[str, int | None] = dict(trace.names)
        self._home = {number: journal_of(path) for path, number in trace.names.items()}
        self._log: dict[str, list[tuple[int, Name | None]]] = {journal_of(path): [] for path in ("file", "model/file")}
        self._committed = {journal: 0 for journal in self._log}

    def apply(self, operation: Operation) -> None:
        self._record(operation)
        if isinstance(operation, Name):
            journal = self._journal_of(operation.path)
            if operation.value is not None:
                self._home.setdefault(operation.value, journal)
            self._log[journal].append((self._moment, operation))
        elif isinstance(operation, (Size, Data)):
            self._log[self._home[operation.file]].append((self._moment, None))
        elif isinstance(operation, Sync):
            inside = os.path.join(operation.path, "") if isinstance(operation.target, str) else operation.path
            for journal in self._log if operation.target is None else [self._journal_of(inside)]:
                self._durable = self._names({journal: self._moment})
                self._log[journal].clear()
                self._committed[journal] = self._moment

    def _names(self, reached: Mapping[str, int]) -> dict[str, int | None]:
        names = dict(self._durable)
        for journal, end in reached.items():
            for moment, name in self._log[journal]:
                if name is not None and moment <= end:
                    names[name.path] = name.value
                    if name.source is not None:
                        names[name.source] = None
        return names

    def _choices(self, limit: int, rng: random.Random) -> Iterator[Choice]:
        moments = [[self._committed[journal], *(moment for moment, _ in log)] for journal, log in self._log.items()]
        for ends in itertools.product(*moments):
            reached = dict(zip(self._log, ends))
            yield self._names(reached), {number: content.forms(reached[self._home.get(number, "")])
                                         for number, content in self._contents.items()}


class _Posix(_Disk):
    """Independent names; but a rename removes the old name only after the new one exists."""

    def __init__(self, trace: Trace):
        super().__init__(trace)
        self._values: dict[str, list[tuple[int, int | None]]] = {
            path: [(0, value)] for path, value in trace.names.items()}
        self._renames: list[tuple[str, str, int]] = []

    def apply(self, operation: Operation) -> None:
        self._record(operation)
        if isinstance(operation, Name):
            self._values.setdefault(operation.path, [(0, None)]).append((self._moment, operation.value))
            if operation.source is not None:
                self._values[operation.source].append((self._moment, None))
                self._renames.append((operation.source, operation.path, self._moment))
        elif isinstance(operation, Sync):
            for path, values in self._values.items():
                if operation.target is None or operation.target == _directory(path):
                    del values[:-1]

    def _choices(self, limit: int, rng: random.Random) -> Iterator[Choice]:
        forms = {number: content.forms(None) for number, content in self._contents.items()}
        for chosen in _sample(list(self._values.values()), limit, rng):
            names = dict(zip(self._values, chosen))
            if not any(names[source][0] >= moment > names[target][0] for source, target, moment in self._renames):
                yield {path: value for path, (_, value) in names.items()}, forms
