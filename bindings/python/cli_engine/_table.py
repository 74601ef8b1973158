"""Tables: rows and columns that the library lays out and draws, or gives as data."""

from __future__ import annotations

import ctypes
import json
from collections.abc import Callable, Sequence

from . import _native
from ._native import encoded, lib

_ALIGNMENT = {"left": 0, "center": 1, "right": 2}
_HEADER_RULE, _COLUMN_SEPARATOR = 0x02, 0x08  # TABLE_HEADER_RULE, TABLE_COL_SEP


class Table:
    """A table with a header text for each column.

    Keyword arguments change how it is drawn, by the names of the fields of `table_style` (cli_engine/table.h):
    `col_sep=" "`, `pad_left=1`, `show_total=0`, `flags=...`.
    """

    def __init__(self, headers: Sequence[str], **style: str | int):
        self._texts = [encoded(value) if isinstance(value, str) else value for value in style.values()]
        record = _native.table_style(pad_left=3, pad_right=3, flags=_HEADER_RULE | _COLUMN_SEPARATOR, show_total=1)
        for name, value in zip(style, self._texts):
            if name not in _native.STYLE_TEXTS + _native.STYLE_NUMBERS:
                raise TypeError(f"a table's style has no {name!r}")
            setattr(record, name, value)
        self._columns = len(headers)
        if not headers:
            raise ValueError("a table has at least one column")
        self._table = lib.table_new(len(headers), record)
        for column, text in enumerate(headers):
            lib.table_set_header(self._table, column, encoded(text), None)

    def __del__(self):
        lib.table_free(self.__dict__.pop("_table", None))

    def add(self, *cells: object, label: str | None = None) -> int:
        """Appends a row, each cell's text that of str(); returns its number, counted from 0."""
        if len(cells) > self._columns:
            raise ValueError(f"{len(cells)} cells for {self._columns} columns")
        row = lib.table_new_row(self._table, None if label is None else encoded(label), None)
        for column, cell in enumerate(cells):
            self.set(row, column, cell)
        return row

    def set(self, row: int, column: int, cell: object, *, align: str = "left", attr: int = 0) -> None:
        """Replaces a cell. `align` is "left", "center" or "right", `attr` a colour and renditions as in table.h."""
        look = _native.cell_attr(attr, _ALIGNMENT[align], 0)
        if lib.table_set_cell(self._table, row, column, encoded(str(cell)), look) != 0:
            raise IndexError(f"there is no cell {row}, {column}")

    def sort(self, column: int, key: Callable[[str], object] = str) -> None:
        """Sorts the rows by what `key` makes of the first line of the column's cells; -1 sorts by the labels."""
        failures: list[BaseException] = []

        def compare(a: int, b: int) -> int:
            try:
                first, second = (key(_native.decoded(lib.cell_get_line(cell, 0))) for cell in (a, b))
                return int(first > second)  # type: ignore[operator]
            except BaseException as failure:  # raised below: the library's frames know no exceptions
                failures.append(failure)
                return 0

        lib.table_sort(self._table, column, _native.Compare(compare))
        if failures:
            raise failures[0]

    def rows(self) -> list[dict[str, str]]:
        """The table as data: a dictionary for each row, from header to text."""
        with _native.OwnedJson(lib.table_to_json(self._table)) as rows:
            return json.loads(_native.json_text(rows) or "[]")

    def __str__(self) -> str:
        """The table as it is drawn, a line each."""
        pager = _native.pager()
        lib.pager_open(ctypes.byref(pager), -1, -1)
        self.draw(ctypes.addressof(pager), True)
        lines, entry = [], pager.lines.first
        while entry:
            line = _native.pager_line_entry.from_address(entry)
            lines.append(_native.decoded(lib.dyn_string_text(line.text)))
            entry = line.next
        lib.pager_close(ctypes.byref(pager))
        return "\n".join(lines)

    def draw(self, pager: int, with_header: bool) -> None:
        lib.table_print(self._table, pager, int(with_header))
