"""The shared library: finding it, the prototypes of its functions, and errors."""

from __future__ import annotations

import ctypes
import os
import pathlib
import sys
from ctypes import POINTER, c_char_p, c_double, c_int, c_size_t, c_uint, c_uint32, c_uint64, c_void_p
from typing import Any, Callable, Optional, Union

# The major and minor version of the library that these prototypes belong to.
VERSION = "0.1"

OK, END, ERROR_ARGUMENT, ERROR_LENGTH, ERROR_FORM, ERROR_DATA, ERROR_NOT_FOUND = range(7)
ERROR_MEMORY = 9


class FieldInfo(ctypes.Structure):
    """The C structure zforms_field."""

    _fields_ = [("size", c_size_t), ("kind", c_int), ("flags", c_uint32), ("page", c_uint32),
                ("max_length", c_uint32), ("is_exported", c_int), ("value_count", c_size_t),
                ("default_count", c_size_t), ("option_count", c_size_t), ("state_count", c_size_t),
                ("widget_count", c_size_t)]


class WidgetInfo(ctypes.Structure):
    """The C structure zforms_widget."""

    _fields_ = [("page", c_uint32), ("left", c_double), ("bottom", c_double), ("right", c_double), ("top", c_double)]


class MessageInfo(ctypes.Structure):
    """The C structure zforms_message."""

    _fields_ = [("severity", c_int), ("about", c_int), ("text", c_char_p)]


MESSAGE_CALLBACK = ctypes.CFUNCTYPE(None, c_void_p, POINTER(MessageInfo))

_ShortBuffer = ctypes.c_char * 256
_SIZE = POINTER(c_size_t)
_TEXT = [c_void_p, c_size_t, _SIZE]
_TEXTS = POINTER(c_char_p)
_NUMBER = POINTER(c_uint64)

# The types of the arguments that follow the handle. All these functions return a status.
_CALLS: dict[str, list[Any]] = {
    "zforms_on_message": [MESSAGE_CALLBACK, c_void_p],
    "zforms_open_file": [c_char_p, c_char_p, c_uint],
    "zforms_open_bytes": [c_char_p, c_size_t, c_char_p, c_uint],
    "zforms_add_font": [c_char_p],
    "zforms_draw": [],
    "zforms_flatten": [_TEXTS, c_size_t],
    "zforms_field_count": [_SIZE],
    "zforms_find_field": [c_char_p, _SIZE],
    "zforms_get_field": [c_size_t, POINTER(FieldInfo)],
    "zforms_field_text": [c_size_t, c_int, c_size_t, *_TEXT],
    "zforms_get_widget": [c_size_t, c_size_t, POINTER(WidgetInfo)],
    "zforms_set_value": [c_char_p, c_char_p],
    "zforms_set_values": [c_char_p, _TEXTS, c_size_t],
    "zforms_fill_file": [c_char_p],
    "zforms_fill_bytes": [c_char_p, c_size_t, c_char_p],
    "zforms_save_file": [c_char_p, c_int],
    "zforms_save_bytes": [c_int, *_TEXT],
    "zforms_export": [c_int, c_int, *_TEXT],
    "zforms_batch_open_file": [c_char_p],
    "zforms_batch_open_bytes": [c_char_p, c_size_t],
    "zforms_batch_next": [_NUMBER, _NUMBER],
    "zforms_batch_set": [c_char_p, c_char_p],
    "zforms_batch_set_values": [c_char_p, _TEXTS, c_size_t],
    "zforms_batch_fill": [],
    "zforms_batch_bytes": [*_TEXT],
    "zforms_batch_write": [c_char_p, c_char_p, c_uint],
    "zforms_batch_path": [*_TEXT],
}


# For each function that sets one value, the function that sets several.
_SEVERAL = {"zforms_set_value": "zforms_set_values", "zforms_batch_set": "zforms_batch_set_values"}


class Error(Exception):
    """An error in a form, its data or a file. `file` names the file, `fault` says what is wrong."""

    def __init__(self, file: str, fault: str) -> None:
        super().__init__(file, fault)
        self.file = file
        self.fault = fault

    def __str__(self) -> str:
        return f"{self.file}: {self.fault}" if self.file else self.fault


class FormError(Error):
    """The document cannot be read, changed or written."""


class DataError(Error, ValueError):
    """The data cannot be read, or a field does not take a value."""


class FieldNotFoundError(Error, KeyError):
    """No field has the name."""


def _load() -> ctypes.CDLL:
    names = {"win32": ["zforms.dll"], "darwin": [f"libzforms.{VERSION}.dylib"]}.get(
        sys.platform, [f"libzforms.so.{VERSION}"])
    beside = [str(path) for name in names for path in [pathlib.Path(__file__).with_name(name)] if path.exists()]
    named = os.environ.get("ZFORMS_LIBRARY")
    reasons = []
    for name in [named] if named else [*beside, *names]:
        try:
            return ctypes.CDLL(name)
        except OSError as error:
            reasons.append(str(error))
    raise ImportError("the zforms library cannot be loaded (ZFORMS_LIBRARY can give its path): " + "; ".join(reasons))


def _prepare(library: ctypes.CDLL) -> ctypes.CDLL:
    library.zforms_version.restype = c_char_p
    version: str = library.zforms_version().decode()
    if not version.startswith(VERSION + "."):
        raise ImportError(f"the zforms library has version {version}, but version {VERSION} is needed")
    for name in ("zforms_form_new", "zforms_batch_new"):
        getattr(library, name).restype = c_void_p
    for name in ("zforms_batch_new", "zforms_form_free", "zforms_batch_free", "zforms_last_error"):
        getattr(library, name).argtypes = [c_void_p]
    library.zforms_last_error.restype = c_char_p
    for name, arguments in _CALLS.items():
        getattr(library, name).argtypes = [c_void_p, *arguments]
    return library


library = _prepare(_load())


def version() -> str:
    """The version of the library, such as "0.1.0"."""
    text: bytes = library.zforms_version()
    return text.decode()


def encode(text: str) -> bytes:
    """A text for the library, in UTF-8. Raises ValueError when it contains U+0000."""
    if "\0" in text:
        raise ValueError("a text contains the character U+0000")
    try:
        return text.encode()
    except UnicodeEncodeError:
        return text.encode("utf-8", "surrogateescape")


def path_bytes(path: Union[str, os.PathLike[str]]) -> bytes:
    """A path for the library."""
    return encode(os.fspath(path))


class Handle:
    """A handle of the library, and the file that its errors are about."""

    def __init__(self, pointer: Optional[int], free: Callable[[Any], Any], file: str) -> None:
        if not pointer:
            raise MemoryError
        self.pointer: Optional[int] = pointer
        self.file = file
        self._free = free

    def close(self) -> None:
        """Frees the handle; further calls do nothing."""
        pointer, self.pointer = self.pointer, None
        if pointer:
            self._free(pointer)

    __del__ = close

    def status(self, name: str, *arguments: Any) -> int:
        """Calls the function of that name, and returns its status."""
        if self.pointer is None:
            raise ValueError("the form is closed")
        status: int = getattr(library, name)(self.pointer, *arguments)
        return status

    def fault(self) -> str:
        """Why the last call failed."""
        text: bytes = library.zforms_last_error(self.pointer)
        return text.decode("utf-8", "replace")

    def error(self, status: int, file: Optional[str] = None) -> Exception:
        """The exception for a status."""
        if status == ERROR_MEMORY:
            return MemoryError()
        kinds = {ERROR_DATA: DataError, ERROR_NOT_FOUND: FieldNotFoundError, ERROR_FORM: FormError}
        return kinds.get(status, Error)(self.file if file is None else file, self.fault())

    def call(self, name: str, *arguments: Any, file: Optional[str] = None) -> None:
        """Calls the function, and raises an exception unless it returns ZFORMS_OK."""
        status = self.status(name, *arguments)
        if status != OK:
            raise self.error(status, file)

    def read(self, name: str, *arguments: Any) -> bytes:
        """Calls a function that writes a text or bytes into a buffer. Calls it again with a longer buffer when the first is
        too short."""
        length, buffer = c_size_t(), _ShortBuffer()
        status = self.status(name, *arguments, buffer, len(buffer), ctypes.byref(length))
        if status == ERROR_LENGTH:
            long_buffer = ctypes.create_string_buffer(length.value + 1)
            self.call(name, *arguments, long_buffer, len(long_buffer), ctypes.byref(length))
            return long_buffer.raw[:length.value]
        if status != OK:
            raise self.error(status)
        return buffer.raw[:length.value]

    def text(self, name: str, *arguments: Any) -> str:
        """Calls `read` and decodes the bytes as UTF-8."""
        return self.read(name, *arguments).decode("utf-8", "replace")

    def set(self, name: str, field: str, values: list[str]) -> None:
        """Calls the function that takes the value of a field, or the one that takes several."""
        if len(values) == 1:
            self.call(name, encode(field), encode(values[0]))
        else:
            texts = (c_char_p * len(values))(*map(encode, values))
            self.call(_SEVERAL[name], encode(field), texts, len(values))
