"""Languages and engines: what a document declares, and the lines that are run against it."""

from __future__ import annotations

import codecs
import contextlib
import ctypes
import enum
import json
import keyword
import os
import re
import sys
import weakref
from collections.abc import Callable, Iterable, Iterator, Mapping
from dataclasses import dataclass, field
from typing import Any, Optional, Union

from . import _native
from ._native import decoded, encoded, lib
from ._table import Table

Document = Union[str, "os.PathLike[str]", Mapping[str, Any]]
Function = Callable[..., Optional[int]]


class Flag(enum.IntFlag):
    """How an engine writes (`Engine.flags`)."""

    NONE = 0
    NO_COLOUR = 1  # no escape sequence anywhere
    NO_ECHO = 2  # a command's line is not written before its output
    DATA = 8  # commands write data: one JSON document each, see Outcome.data
    SHORT_ERRORS = 16  # a failed line lists only what resembles the word at fault
    EXPLAIN_LEVELS = 32  # Engine.explain may name words of higher levels


class Kind(enum.IntEnum):
    """What became of a line."""

    SKIPPED = 0  # a comment, or left out of a text
    RAN = 1  # a command: its handler ran
    ENTERED = 2  # a mode was entered
    REFUSED = 3  # a mode was not entered
    LISTED = 4  # the beginning of commands: what may follow was listed
    FAILED = 5  # it matches nothing
    PENDING = 6  # its handler called Engine.defer: Engine.finish ends it
    BUSY = 7  # not run: another line is pending


class Error(enum.IntEnum):
    """Why a line failed."""

    OK = 0
    INVALID_ARGUMENT = 1
    AMBIGUOUS = 2
    EXTRA_INPUT = 3
    INCOMPLETE = 4


@dataclass(frozen=True)
class Outcome:
    """What became of a line. `column` and `length` are the characters of the line that an error blames, length 0 at its
    end; `result` is what the handler returned, `name` the word that the line led to, or where it failed."""

    kind: Kind
    error: Error = Error.OK
    result: int = 0
    interrupted: bool = False
    column: int = 0
    length: int = 0
    name: str | None = None
    output: str = field(default="", compare=False)  # what the line printed, when the engine collects that

    @property
    def failed(self) -> bool:
        return self.kind in (Kind.FAILED, Kind.BUSY)

    @property
    def data(self) -> Any:
        """The document that a command of an engine with Flag.DATA wrote; None for other lines."""
        return json.loads(self.output) if self.kind is Kind.RAN and self.output else None


@dataclass(frozen=True)
class Choice:
    """What can stand for the word at the cursor; `kind` is "word", "keyword", "value" or "alias"."""

    text: str
    help: str
    kind: str


@dataclass(frozen=True)
class Fault:
    """What is wrong with a document and where: `file`, `line` and `column` (from 1 on, in bytes) as far as known, `path`
    the keys down to the place, `rule` a stable name, `text` a sentence that says how to mend it."""

    severity: str  # "error", "warning" or "note"
    file: str | None
    line: int
    column: int
    path: str
    rule: str
    text: str

    def __str__(self) -> str:
        place = f"{self.file}:" if self.file else ""
        place += f"{self.line}:{self.column}:" if self.line else ""
        return f"{place}{' ' if place else ''}{self.severity}: {self.text}"


class DocumentError(ValueError):
    """The documents cannot be loaded. `faults` has every fault, warnings among them."""

    def __init__(self, faults: list[Fault]):
        super().__init__("\n".join(map(str, faults)))
        self.faults = faults


def _is_json(document: Document) -> bool:
    return isinstance(document, Mapping) or (isinstance(document, str) and document.lstrip()[:1] in ("{", "["))


class Language:
    """A command language, loaded once for any number of engines of one thread.

    `definitions` and `privileges` are each a mapping, JSON text, or the name of a file (a string that begins with "{"
    or "[" is text). `handlers` gives the function for each "#handler" name, "*" the one for all other names. `types`
    gives, for each "#type" beyond the built-in ones, a function that takes a text and returns True for a value, None
    for the beginning of one, False for neither.

    Raises DocumentError with all faults; `warnings` are those that do not prevent loading.
    """

    def __init__(self, definitions: Document, privileges: Document | None = None, *,
                 handlers: Mapping[str, Function] | None = None,
                 types: Mapping[str, Callable[[str], bool | None]] | None = None):
        self.warnings: list[Fault] = []
        self._engines = 0
        self._failure: BaseException | None = None  # of a type, for the engine whose line it was
        self._language = None
        self._types = lib.validator_typesystem_new()
        self._kept = [self._add_type(name, match) for name, match in (types or {}).items()]
        rows = [(encoded(name), _native.Handler(_handler(function))) for name, function in (handlers or {}).items()]
        table = (_native.cli_handler_entry * (len(rows) + 1))()
        for row, (name, callback) in zip(table, rows):
            row.name, row.handler = name, _address(callback)
        self._kept += [rows, table]
        source = _native.cli_language_source(handlers=ctypes.addressof(table), flags=4,  # CLI_HANDLERS_ONLY
                                             exit_handler=_address(_EXIT), end_handler=_address(_END))
        try:
            self._load(source, definitions, privileges)
        except BaseException:
            self.close()
            raise

    def close(self) -> None:
        """Releases the language, whose engines must be closed before."""
        if self._engines > 0:
            raise RuntimeError("the language has engines that are not closed")
        lib.cli_language_free(self._language)
        lib.validator_typesystem_free(self._types)
        self._language = self._types = None

    def __enter__(self) -> Language:
        return self

    def __exit__(self, *_exception: object) -> None:
        self.close()

    def __del__(self):
        if self.__dict__.get("_types") and not sys.is_finalizing():
            self.close()

    def _load(self, source: Any, definitions: Document, privileges: Document | None) -> None:
        names: dict[str, str | None] = {}  # what the library reads, and what its faults say instead
        faults: list[Fault] = []

        def report(_data: int, reported: Any) -> None:
            fault = reported.contents
            file = None if fault.file is None else os.fsdecode(fault.file)
            shown = names.get(file, file) if file else None
            known = shown is not None
            faults.append(Fault(("error", "warning", "note")[fault.severity], shown, fault.line if known else 0,
                                fault.column if known else 0, decoded(fault.path), decoded(fault.rule),
                                decoded(fault.text)))

        with contextlib.ExitStack() as files:
            for member, document in (("definitions", definitions), ("privileges", privileges)):
                if document is not None:
                    name = self._file_of(files, member, document, names)
                    setattr(source, member, os.fsencode(name))
            self._language = lib.cli_language_load(self._types, source, _native.Report(report), None)
        if not self._language:
            raise DocumentError(faults)
        self.warnings = faults

    @staticmethod
    def _file_of(files: contextlib.ExitStack, member: str, document: Document, names: dict[str, str | None]) -> str:
        """The name of a file with the document: one of memory for what is no file."""
        if not _is_json(document):
            return os.fspath(document)  # type: ignore[arg-type]
        is_text = isinstance(document, str)
        file = files.enter_context(os.fdopen(os.memfd_create(member), "wb"))
        file.write((document if is_text else json.dumps(document)).encode("utf-8"))
        file.flush()
        name = f"/proc/self/fd/{file.fileno()}"
        names[name] = f"<{member}>" if is_text else None
        return name

    def _add_type(self, name: str, match: Callable[[str], bool | None]) -> Any:
        def matches(_validator: int, text: int, length: int) -> int:
            try:
                answer = match(decoded(ctypes.string_at(text, length)))
                return 0 if answer is None else 1 if answer else -1
            except BaseException as failure:
                self._failure = failure
                return -1

        callback = _native.MatchText(matches)
        record = _native.validator_type(name=encoded(name))
        record.match_fn.text = _address(callback)
        lib.validator_typesystem_add_custom_type(self._types, record)
        return callback, record


class Engine:
    """A session of a language: runs lines, completes and explains them.

    Takes a Language, or what makes one (which is then the engine's own). `output` is called with each piece of text
    that is printed; without it the text is collected, and each call returns what it printed. `complete` is asked for
    what a value could be: it is called with the value's name and what was typed of it, and returns whole words.

    Handlers are called as handler(engine, **arguments): the arguments that the line gave between the present mode and
    the command, by their names ("-" and other signs become "_", and a name of Python's own gets a "_" behind it): a
    value as int or str; a keyword as its value, or as True when it has none; groups are looked through. What was not
    given is not passed, so optional arguments want a default. For commands the result is an Outcome's `result`; a
    mode's handler refuses the entry with a result other than 0 (None counts as 0). print(..., file=engine) writes. What
    a handler raises makes it fail (-1) and is raised again by the call that ran the line, when that is over.

    An engine belongs to one thread; only `interrupt` may be called from others. It may not be used from inside its own
    handlers, but for reading, writing, `set_prompt`, `defer` and the like.
    """

    _open = False

    def __init__(self, language: Language | Document, privileges: Document | None = None, *,
                 handlers: Mapping[str, Function] | None = None,
                 types: Mapping[str, Callable[[str], bool | None]] | None = None,
                 output: Callable[[str], object] | None = None,
                 complete: Callable[[str, str], Iterable[str]] | None = None,
                 flags: Flag = Flag.NO_COLOUR, privilege: int = 1):
        self._owns_language = not isinstance(language, Language)
        if not isinstance(language, Language):
            language = Language(language, privileges, handlers=handlers, types=types)
        elif privileges is not None or handlers is not None or types is not None:
            raise TypeError("privileges, handlers and types belong to the language")
        self._language = language
        self._output, self._complete = output, complete
        self._pieces: list[str] = []
        self._decoder = codecs.getincrementaldecoder("utf-8")("replace")
        self._failure: BaseException | None = None
        self._running = False
        self._record = _native.cli(flags=int(flags))
        self._address = ctypes.addressof(self._record)
        self._record.write = _address(_WRITE)
        self._record.write_data = self._address
        if complete is not None:
            self._record.complete = _address(_COMPLETE)
        _engines[self._address] = self
        if not lib.cli_init_language(self._address, language._language, None):
            raise ValueError("the language is closed")
        self._open = True
        language._engines += 1
        lib.parser_set_privilege(self._parser, privilege)

    # ---- Life ----

    def close(self) -> None:
        """Takes the engine down; a second call does nothing."""
        if not self._open:
            return
        if self._running:
            raise RuntimeError("the engine is running a line")
        self._open = False
        lib.cli_free(self._address)
        self._language._engines -= 1
        if self._owns_language:
            self._language.close()

    def __enter__(self) -> Engine:
        return self

    def __exit__(self, *_exception: object) -> None:
        self.close()

    def __del__(self):
        if self._open and not sys.is_finalizing():
            self.close()

    # ---- Lines ----

    def run(self, line: str, *, dry_run: bool = False, config: bool = False) -> Outcome:
        """Runs a line. `dry_run` matches it and follows modes, without handlers and output; `config` takes blank lines
        and indented comments as comments."""
        data, outcome = encoded(line), _native.cli_outcome()
        with self._busy():
            lib.cli_run(self._address, data, dry_run * 1 + config * 2, outcome)
        return _outcome_of(outcome, line, self._taken())

    def replay(self, text: str, *, dry_run: bool = False, stay: bool = False,
               report: Callable[[int, str, Outcome], object] | None = None) -> int:
        """Runs the lines of a configuration text and returns how many failed or were left out; lines that belong to one
        that failed are left out. `report` is called with the number, text and outcome of each line, its output included;
        with `stay` nothing outside the present mode is run. A first call with `dry_run` makes it all or nothing."""
        data = text.encode("utf-8", "surrogateescape")

        def each(_data: int, number: int, line: bytes, outcome: Any) -> None:
            with self._kept_failure():
                shown, printed = decoded(line), self._taken()
                if report is not None:
                    report(number, shown, _outcome_of(outcome.contents, shown, printed))

        with self._busy():
            options = dry_run * 1 + stay * 4
            return lib.cli_replay(self._address, data, len(data), options, _native.LineReport(each), None)

    @property
    def outcome(self) -> Outcome:
        """The outcome of the last line that ran, without its output; columns count bytes here."""
        return _outcome_of(lib.cli_last_outcome(self._up()).contents, None, "")

    def explain(self) -> list[str]:
        """What would help a user whose line just failed, a sentence each."""
        text = lib.dyn_string_new()
        try:
            with self._busy():
                lib.cli_explain(self._address, text)
            return decoded(lib.dyn_string_text(text)).splitlines()
        finally:
            lib.dyn_string_free(text)

    def help(self, line: str = "") -> str:
        """What may follow the line or complete its last word, as "?" shows it; "" when it went to `output`."""
        data = encoded(line)
        with self._busy():
            lib.cli_help(self._address, data)
        return self._taken()

    def complete(self, line: str, cursor: int | None = None) -> tuple[int, list[Choice]]:
        """What can stand for the word at the cursor (the line's end unless it is given), and the character from which a
        choice replaces what was typed up to the cursor."""
        typed = encoded(line[:cursor])
        with _native.OwnedJson(lib.json_array()) as found:
            with self._busy():
                start = lib.cli_complete(self._address, typed, len(typed), found)
            choices = json.loads(_native.json_text(found) or "[]")
        return len(decoded(typed[:start])), [Choice(**choice) for choice in choices]

    # ---- Commands that end later, interrupts ----

    def defer(self) -> None:
        """In a handler: the command is not over when it returns. The outcome is PENDING until `finish`."""
        lib.cli_defer(self._up())

    def finish(self, result: int = 0) -> Outcome:
        """Ends the pending line and returns its outcome."""
        lib.cli_finish(self._up(), result)
        last = lib.cli_last_outcome(self._address).contents
        return _outcome_of(last, None, "" if self._running else self._taken())

    def flush(self) -> bool:
        """Prints what a command wrote so far. False when it was interrupted and does well to end."""
        return lib.pager_flush(self._pager) == 0

    def interrupt(self) -> None:
        """Ends the output of the line that runs or is pending; from any thread."""
        lib.cli_interrupt(self._up())

    # ---- In handlers ----

    def write(self, text: str) -> int:
        """Feeds text to the present command's output, so that print(..., file=engine) does."""
        for index, line in enumerate(text.split("\n")):
            if index > 0:
                lib.pager_newline(self._pager)
            if line:
                lib.pager_feed(self._pager, encoded(line))
        return len(text)

    def write_table(self, table: Table, *, header: bool = True) -> None:
        """Draws a table into the present command's output, or with Flag.DATA hands its rows over."""
        table.draw(self._pager, header)

    def write_output_of(self, command: str) -> int:
        """Runs a shell command, writes the lines that it prints, and returns its status as os.waitpid gives it."""
        return lib.pager_feed_popen(self._pager, encoded(command))

    def argument(self, path: str, default: Any = None) -> Any:
        """What the last line, or the lines of the open modes, gave at a path of names from the top level down
        ("interface name", "port speed rate"): an int or str; True for a keyword."""
        found = lib.cli_node_find(self._up() + _native.cli.root.offset, encoded(path))
        value = _value_of(found)
        return default if value is None else value

    # ---- Prompt and settings ----

    @property
    def prompt(self) -> str:
        """The prompt to show before a line is read."""
        self._up()
        return decoded(self._record.prompt_text)

    def set_prompt(self, *, host: str | None = None, name: str | None = None, mode: str | None = None,
                   end: str | None = None) -> None:
        """Replaces parts of the prompt."""
        texts = [None if text is None else encoded(text) for text in (host, name, mode)]
        lib.cli_set_prompt(self._up(), *texts, encoded(end)[:1] if end else b"\0")

    @property
    def flags(self) -> Flag:
        return Flag(self._record.flags)

    @flags.setter
    def flags(self, flags: Flag) -> None:
        self._record.flags = int(flags)

    @property
    def privilege(self) -> int:
        """The user's level: commands of a higher one are invisible."""
        return lib.parser_get_privilege(self._parser)

    @privilege.setter
    def privilege(self, level: int) -> None:
        lib.parser_set_privilege(self._parser, level)

    # ---- The other side ----

    def _up(self) -> int:
        if not self._open:
            raise RuntimeError("the engine is closed")
        return self._address

    @property
    def _parser(self) -> int:
        return self._up() + _native.cli.parser.offset

    @property
    def _pager(self) -> int:
        return self._up() + _native.cli.pager.offset

    @contextlib.contextmanager
    def _busy(self) -> Iterator[None]:
        """Around a call that may call back; raises afterwards what was raised in there."""
        self._up()
        if self._running:
            raise RuntimeError("a handler may not run lines of its own engine")
        self._running = True
        try:
            yield
        finally:
            self._running = False
        failure, self._failure = self._failure or self._language._failure, None
        self._language._failure = None
        if failure is not None:
            self._taken()
            raise failure

    @contextlib.contextmanager
    def _kept_failure(self) -> Iterator[None]:
        """Around code of the host's: an exception ends the line's output and waits for the line's end."""
        try:
            yield
        except BaseException as failure:
            self._failure = self._failure or failure
            lib.cli_interrupt(self._address)

    def _call(self, function: Function, node: int) -> int:
        result: int | None = -1
        with self._kept_failure():
            result = function(self, **_arguments_of(node))
            result = 0 if result is None else int(result)
        return result

    def _take(self, text: str) -> None:
        if self._output is None:
            self._pieces.append(text)
        elif text:
            self._output(text)

    def _taken(self) -> str:
        self._take(self._decoder.decode(b"", True))
        pieces, self._pieces = self._pieces, []
        return "".join(pieces)


# ---- What the library calls ----

_engines: weakref.WeakValueDictionary[int, Engine] = weakref.WeakValueDictionary()


def _address(callback: Any) -> int:
    return ctypes.cast(callback, ctypes.c_void_p).value or 0


def _handler(function: Function) -> Callable[[int, int], int]:
    def call(engine: int, node: int) -> int:
        return _engines[engine]._call(function, node)

    return call


@_native.Write
def _WRITE(engine: int, text: int, length: int) -> int:
    session = _engines[engine]
    with session._kept_failure():
        session._take(session._decoder.decode(ctypes.string_at(text, length)))
        return 0
    return -1


@_native.CompleteValue
def _COMPLETE(engine: int, node: int, typed: bytes, result: int) -> None:
    session = _engines[engine]
    with session._kept_failure():
        name = decoded(_native.cli_node.from_address(node).name)
        for word in session._complete(name, decoded(typed)):  # type: ignore[misc]
            data = encoded(word)
            lib.json_array_append_new(result, lib.json_stringn(data, len(data)))


@_native.Handler
def _EXIT(engine: int, _node: int) -> int:
    lib.cli_pop_subconfig(engine)
    return 0


@_native.Handler
def _END(engine: int, _node: int) -> int:
    lib.cli_reset_subconfig(engine)
    return 0


# ---- What a line gave ----

_MODE, _KEY, _VALUE, _GROUP = 0, 3, 4, 5  # TYPE_SUBCONFIG, TYPE_KEY, TYPE_VALUE, TYPE_CONTAINER


def _value_of(node: int | None) -> Any:
    value = lib.cli_node_value(node) if node else None
    text = _native.json_text(value)
    if text is not None:
        return json.loads(text)
    return decoded(lib.json_string_value(value)) if value else None  # bytes that are no UTF-8


def _parameter(name: bytes) -> str:
    text = re.sub(r"\W", "_", decoded(name))
    return f"{text}_" if keyword.iskeyword(text) else text


def _members(node: int) -> Iterator[tuple[int, Any]]:
    """The arguments of a node that the line gave, with their records."""
    arg = lib.cli_node_first_arg(node)
    while arg:
        record = _native.cli_node.from_address(arg)
        if record.used:
            yield arg, record
        arg = lib.cli_node_next_arg(arg)


def _collect(node: int, given: dict[str, Any]) -> None:
    for arg, record in _members(node):
        if record.type == _VALUE:
            given[_parameter(record.name)] = _value_of(arg)
        elif record.type == _KEY:
            values = [_value_of(value) for value, member in _members(arg) if member.type == _VALUE]
            given[_parameter(record.name)] = values[0] if values else True
            for group, member in _members(arg):
                if member.type == _GROUP:
                    _collect(group, given)
        else:
            _collect(arg, given)


def _arguments_of(node: int) -> dict[str, Any]:
    """The arguments between the mode around a command or mode and itself, outermost first."""
    words = [node]
    while True:
        node = _native.cli_node.from_address(node).parent
        if not node or _native.cli_node.from_address(node).type == _MODE:
            break
        words.insert(0, node)
    given: dict[str, Any] = {}
    for word in words:
        _collect(word, given)
    return given


def _outcome_of(record: Any, line: str | None, output: str) -> Outcome:
    column, length = record.column, record.length
    if line is not None:  # bytes to characters
        data = line.encode("utf-8", "surrogateescape")
        column, length = len(decoded(data[:column])), len(decoded(data[column:column + length]))
    name = _native.cli_node.from_address(record.node).name if record.node else None
    return Outcome(Kind(record.kind), Error(record.errcode), record.result, bool(record.interrupted), column, length,
                   None if name is None else decoded(name), output)
