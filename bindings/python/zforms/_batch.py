"""Filling a form once for each row."""

from __future__ import annotations

import ctypes
import os
import pathlib
from collections.abc import Iterable, Iterator, Mapping
from typing import Any, NamedTuple, Optional, Union

from ._form import Form, Path, open, values_of
from ._library import END, ERROR_DATA, ERROR_FORM, OK, FormError, Handle, encode, library, path_bytes

_OVERWRITE = 1


class Row(NamedTuple):
    """The outcome of one row. `error` says why the row was not filled or its file not written."""

    number: int  # from 1
    line: int  # in the table, from 1; 0 for a row that was given as a mapping
    file: Optional[str]  # the path of the file that was written
    data: Optional[bytes]  # the filled form, when no file was wanted
    error: Optional[str]

    @property
    def path(self) -> Optional[pathlib.Path]:
        """`file` as a path object."""
        return None if self.file is None else pathlib.Path(self.file)


class _Batch:
    def __init__(self, form: Form, out: Optional[Path], overwrite: bool) -> None:
        pointer = library.zforms_batch_new(form._handle.pointer)
        if not pointer:
            raise FormError(form.file, form._handle.fault())
        self.handle = Handle(pointer, library.zforms_batch_free, form.file)
        self._callback = form._callback  # gets the messages of the batch too
        self._names = None if out is None else tuple(map(encode, os.path.split(os.fspath(out))))
        self._flags = _OVERWRITE if overwrite else 0

    def outcome(self, status: int, number: int, line: int) -> Row:
        handle, names = self.handle, self._names
        if status == OK and names is None:
            return Row(number, line, None, handle.read("zforms_batch_bytes"), None)
        if status == OK and names is not None:
            status = library.zforms_batch_write(handle.pointer, names[0], names[1], self._flags)
        if status == OK:
            return Row(number, line, handle.text("zforms_batch_path"), None, None)
        if status in (ERROR_DATA, ERROR_FORM):
            return Row(number, line, None, None, handle.fault())
        raise handle.error(status)

    def rows_of_table(self) -> Iterator[Row]:
        number, line = ctypes.c_uint64(), ctypes.c_uint64()
        places = ctypes.byref(number), ctypes.byref(line)
        while True:
            before = number.value
            status = library.zforms_batch_next(self.handle.pointer, *places)
            if status == END:
                return
            if status != OK and number.value == before:
                raise self.handle.error(status)  # the table cannot be read to its end
            yield self.outcome(status, number.value, line.value)

    def rows_of_host(self, rows: Iterable[Mapping[str, Any]]) -> Iterator[Row]:
        for number, row in enumerate(rows, 1):
            for name, value in row.items():
                if value is not None:
                    self.handle.set("zforms_batch_set", name, values_of(value))
            yield self.outcome(self.handle.status("zforms_batch_fill"), number, 0)


def batch(form: Union[Form, Path], rows: Union[Path, bytes, Iterable[Mapping[str, Any]]], out: Optional[Path] = None, *,
          overwrite: bool = False) -> Iterator[Row]:
    """Fills the form once for each row, each time from its state at the call, and yields the outcome of each.

    `rows` is a file or bytes (CSV, or JSON with one object on each line), or mappings from field names to values.
    `out` names the files: in "filled/{id}-{name}.pdf" the columns "id" and "name" of the row are inserted; "{row}"
    inserts the number of the row. The folder must exist; only the last part of the path may contain columns. Without
    `out` each Row has the filled form as `data`. A row that is not accepted does not stop the others. An existing file
    is kept, and its row has an error, unless `overwrite` is true.

    >>> import tempfile, zforms
    >>> people = [{"id": 7, "adherent.nom": "Łoś"}, {"id": 8, "adherent.pays": "ZZ"}]
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     for row in zforms.batch("samples/membership_form.pdf", people, folder + "/{id}-{adherent.nom}.pdf"):
    ...         print(row.number, row.path.name if row.path else row.error.split(";")[0])
    1 7-Łoś.pdf
    2 field "adherent.pays": "ZZ" is not a choice of the field
    """
    opened = form if isinstance(form, Form) else open(form)
    made = _Batch(opened, out, overwrite)
    if isinstance(rows, bytes):
        made.handle.call("zforms_batch_open_bytes", rows, len(rows), file="the rows")
    elif isinstance(rows, (str, os.PathLike)):
        made.handle.call("zforms_batch_open_file", path_bytes(rows), file=os.fspath(rows))
    else:
        return made.rows_of_host(rows)
    return made.rows_of_table()
