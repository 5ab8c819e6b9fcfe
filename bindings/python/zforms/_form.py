"""A form and its fields."""

from __future__ import annotations

import ctypes
import enum
import json
import os
from collections.abc import Iterable, Iterator, Mapping, Sequence
from dataclasses import dataclass
from typing import Any, Optional, Union

from ._library import MESSAGE_CALLBACK, FieldInfo, FieldNotFoundError, Handle, WidgetInfo, encode, library, path_bytes

Path = Union[str, "os.PathLike[str]"]
# What a field can be set to: see values_of.
Settable = Union[str, bool, int, float, None, Sequence[str]]

_NAME, _LABEL, _VALUE, _DEFAULT, _OPTION_VALUE, _OPTION_TEXT, _STATE = range(7)
_FORMATS = {name: number for number, name in enumerate(["xfdf", "fdf", "json", "jsonl", "csv"])}
_UPDATE, _NEW_FILE = range(2)
_RECOVER, _KEEP_XFA, _FORCE, _DRAW, _NO_CALCULATION = 1, 2, 4, 8, 16


class Kind(enum.Enum):
    """The kind of a field."""

    TEXT = 0
    CHECK_BOX = 1
    RADIO_BUTTON = 2
    PUSH_BUTTON = 3
    COMBO_BOX = 4
    LIST_BOX = 5
    SIGNATURE = 6
    NONE = 7


class Severity(enum.Enum):
    """How serious a message is."""

    NOTE = 0
    WARNING = 1
    FAILURE = 2


@dataclass(frozen=True)
class Message:
    """A message of the library about a form or its data."""

    severity: Severity
    text: str


@dataclass(frozen=True)
class Widget:
    """A place where a page shows a field, in points from the lower left corner.

    `page` counts from 1; it is 0 for a widget that is on no page.
    """

    page: int
    left: float
    bottom: float
    right: float
    top: float


@dataclass(frozen=True)
class Field:
    """A field as it was when it was read; it does not follow later changes."""

    name: str
    kind: Kind
    label: str
    values: tuple[str, ...]
    defaults: tuple[str, ...]
    options: tuple[tuple[str, str], ...]  # the value of each choice, and the text that viewers show for it
    states: tuple[str, ...]  # the states of a button, without "Off"
    widgets: tuple[Widget, ...]
    page: int
    max_length: int  # in characters; 0 without a limit
    read_only: bool
    required: bool
    exported: bool

    @property
    def value(self) -> str:
        """The first value, or an empty text."""
        return self.values[0] if self.values else ""

    @property
    def has_data(self) -> bool:
        """Whether the field can have a value: it has a name, and is neither a push button nor a signature."""
        return bool(self.name) and self.kind not in (Kind.PUSH_BUTTON, Kind.SIGNATURE)


def values_of(value: Settable) -> list[str]:
    """The texts that a field is set to for this value.

    >>> from zforms._form import values_of
    >>> values_of("a"), values_of(True), values_of(None), values_of(["a", "b"])
    (['a'], ['yes'], [''], ['a', 'b'])
    """
    if isinstance(value, str):
        return [value]
    if value is None:
        return [""]
    if isinstance(value, bool):
        return ["yes" if value else "no"]
    if isinstance(value, (int, float)):
        return [str(value)]
    return list(value) or [""]


class Form(Mapping[str, Union[str, list[str]]]):
    """A PDF form: a mapping from the full names of its fields to their values.

    Open one with zforms.open. A list box has a list of values, every other field one text. Fields without data, such as
    push buttons and signatures, are only in `fields`. Only one thread at a time may use a form.

    >>> import zforms
    >>> with zforms.open("samples/membership_form.pdf") as form:
    ...     form["adherent.nom"] = "Lebœuf"
    ...     form["accords.statuts"] = True
    ...     form["activites.ateliers"] = ["SEMIS", "RUCHER"]
    ...     form["adherent.nom"], form["accords.statuts"], form["activites.ateliers"]
    ('Lebœuf', 'Oui', ['SEMIS', 'RUCHER'])
    """

    def __init__(self, file: str) -> None:
        self._handle = Handle(library.zforms_form_new(), library.zforms_form_free, file)
        messages: list[Message] = []

        # Must not refer to the form: this cycle of references would keep it alive until the garbage collector runs.
        def keep(_user: Any, message: Any) -> None:
            said = message.contents
            messages.append(Message(Severity(said.severity), said.text.decode("utf-8", "replace")))

        self._messages = messages
        self._callback = MESSAGE_CALLBACK(keep)
        self._handle.call("zforms_on_message", self._callback, None)

    def close(self) -> None:
        """Frees the form. Nothing is saved."""
        self._handle.close()

    def __enter__(self) -> Form:
        return self

    def __exit__(self, *_error: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<zforms.Form {self._handle.file!r}>"

    @property
    def file(self) -> str:
        """The file that the form was opened from or last saved to; "" for bytes."""
        return self._handle.file

    def take_messages(self) -> list[Message]:
        """Returns and removes the messages since the last call: notes, warnings, and faults found in the file."""
        taken = list(self._messages)
        self._messages.clear()
        return taken

    # --- fields ---

    def _field(self, index: int) -> Field:
        info = FieldInfo(size=ctypes.sizeof(FieldInfo))
        self._handle.call("zforms_get_field", index, ctypes.byref(info))

        def text(part: int, n: int = 0) -> str:
            return self._handle.text("zforms_field_text", index, part, n)

        def texts(part: int, count: int) -> tuple[str, ...]:
            return tuple(text(part, n) for n in range(count))

        options = ((text(_OPTION_VALUE, n), text(_OPTION_TEXT, n)) for n in range(info.option_count))
        return Field(name=text(_NAME), kind=Kind(info.kind), label=text(_LABEL), values=texts(_VALUE, info.value_count),
                     defaults=texts(_DEFAULT, info.default_count),
                     options=tuple((value, shown or value) for value, shown in options),
                     states=texts(_STATE, info.state_count),
                     widgets=tuple(self._widget(index, n) for n in range(info.widget_count)), page=info.page,
                     max_length=info.max_length, read_only=bool(info.flags & 1), required=bool(info.flags & 2),
                     exported=bool(info.is_exported))

    def _widget(self, index: int, n: int) -> Widget:
        info = WidgetInfo()
        self._handle.call("zforms_get_widget", index, n, ctypes.byref(info))
        return Widget(info.page, info.left, info.bottom, info.right, info.top)

    def _index(self, name: str) -> int:
        index = ctypes.c_size_t()
        self._handle.call("zforms_find_field", encode(name), ctypes.byref(index))
        return index.value

    def _info(self, index: int) -> FieldInfo:
        info = FieldInfo(size=ctypes.sizeof(FieldInfo))
        self._handle.call("zforms_get_field", index, ctypes.byref(info))
        return info

    def _count(self) -> int:
        count = ctypes.c_size_t()
        self._handle.call("zforms_field_count", ctypes.byref(count))
        return count.value

    @property
    def fields(self) -> Iterator[Field]:
        """All fields, in the order of the form.

        >>> import zforms
        >>> with zforms.open("samples/membership_form.pdf") as form:
        ...     [field.name for field in form.fields if field.kind is zforms.Kind.RADIO_BUTTON]
        ['formule', 'paiement.mode']
        """
        return (self._field(index) for index in range(self._count()))

    def field(self, name: str) -> Field:
        """The first field with this full name. Raises FieldNotFoundError, a KeyError, when there is none.

        >>> import zforms
        >>> with zforms.open("samples/membership_form.pdf") as form:
        ...     form.field("adherent.pays").options[1]
        ('BE', 'Belgique')
        """
        return self._field(self._index(name))

    def __getitem__(self, name: str) -> Union[str, list[str]]:
        index = self._index(name)
        info = self._info(index)
        if Kind(info.kind) in (Kind.PUSH_BUTTON, Kind.SIGNATURE):
            raise FieldNotFoundError(self.file, f'field "{name}" is a push button or a signature and has no value')
        values = [self._handle.text("zforms_field_text", index, _VALUE, n) for n in range(info.value_count)]
        if Kind(info.kind) is Kind.LIST_BOX:
            return values
        return values[0] if values else ""

    def __setitem__(self, name: str, value: Settable) -> None:
        """Sets all fields of that full name. Raises DataError when a field refuses the value; the
        message lists the accepted values."""
        self._handle.set("zforms_set_value", name, values_of(value))

    def __iter__(self) -> Iterator[str]:
        names: dict[str, None] = {}
        for index in range(self._count()):
            if Kind(self._info(index).kind) in (Kind.PUSH_BUTTON, Kind.SIGNATURE):
                continue
            names[self._handle.text("zforms_field_text", index, _NAME, 0)] = None
        names.pop("", None)
        return iter(names)

    def __len__(self) -> int:
        return sum(1 for _ in self)

    # --- filling and saving ---

    def fill(self, data: Union[Mapping[str, Any], Path, bytes]) -> list[Message]:
        """Fills the form from a dict, a file, or bytes of XFDF, FDF, JSON or CSV with one row.

        A nested dict gives names with dots, and None keeps the value of a field. A value that a field does not take is
        not written; the result has a warning for it.

        >>> import zforms
        >>> with zforms.open("samples/membership_form.pdf") as form:
        ...     [message.text.split(":")[0] for message in form.fill({"adherent": {"nom": "Łoś", "pays": "ZZ"}})
        ...      if message.severity is zforms.Severity.WARNING]
        ...     form["adherent.nom"]
        ['line 1']
        'Łoś'
        """
        before = len(self._messages)
        if isinstance(data, Mapping):
            data = json.dumps(data, ensure_ascii=False).encode("utf-8", "surrogatepass")
        if isinstance(data, bytes):
            self._handle.call("zforms_fill_bytes", data, len(data), None)
        else:
            self._handle.call("zforms_fill_file", path_bytes(data), file=os.fspath(data))
        return [message for message in self._messages[before:] if message.severity is not Severity.NOTE]

    def draw(self) -> None:
        """Draws all fields, so that every viewer shows their values.

        Raises FormError when the form forbids it, or when a field could not be drawn completely; all others are drawn.
        """
        self._handle.call("zforms_draw")

    def flatten(self, *names: str) -> None:
        """Makes fields part of the page contents, so that they are no longer fields.

        Takes the fields with these full names and all fields below them; without names, every field.
        Raises FormError when there is nothing to flatten, or when the form is signed and was opened without `force`.
        """
        texts = (ctypes.c_char_p * len(names))(*map(encode, names))
        self._handle.call("zforms_flatten", texts, len(names))

    def save(self, path: Optional[Path] = None, *, new: bool = False) -> None:
        """Saves the form to a file, as an update of its bytes or as a new file. The default is the file that it was opened
        from, or last saved to."""
        file = self._handle.file if path is None else os.fspath(path)
        if not file:
            raise ValueError("the form was opened from bytes: save() needs a path")
        self._handle.call("zforms_save_file", encode(file), _NEW_FILE if new else _UPDATE, file=file)
        self._handle.file = file

    def to_bytes(self, *, new: bool = False) -> bytes:
        """The form as bytes, saved as `save` does."""
        return self._handle.read("zforms_save_bytes", _NEW_FILE if new else _UPDATE)

    def export(self, format: str = "json", *, all: bool = False) -> bytes:
        """The values as "xfdf", "fdf", "json", "jsonl" or "csv"; `all` includes fields with the flag NoExport.

        >>> import json, zforms
        >>> with zforms.open("samples/membership_form.pdf") as form:
        ...     json.loads(form.export())["adherent.pays"]
        'FR'
        """
        if format not in _FORMATS:
            raise ValueError(f"the format {format!r} is not one of {', '.join(_FORMATS)}")
        return self._handle.read("zforms_export", _FORMATS[format], int(all))


def open(file: Union[Path, bytes], *, password: Optional[str] = None, recover: bool = False, keep_xfa: bool = False,
         force: bool = False, draw: bool = False, fonts: Iterable[Path] = (), calculate: bool = True) -> Form:
    """Opens a PDF form: a file, or its bytes.

    `recover` reads a damaged file by searching it for objects. `keep_xfa` keeps the XFA form, which still has the old
    values. `force` allows changes that signatures forbid. `draw` draws the fields that are filled in, instead of leaving
    that to viewers; `fonts` are font files for characters that the form's own fonts do not have. `calculate` follows
    scripts of the form that only call standard functions such as AFSimple_Calculate: fields are computed from others, numbers out
    of range are refused, and values are drawn in their formats. Raises FormError when the document cannot be read.

    >>> import zforms
    >>> zforms.open("missing.pdf")
    Traceback (most recent call last):
        ...
    zforms.FormError: missing.pdf: No such file or directory
    """
    form = Form("" if isinstance(file, bytes) else os.fspath(file))
    flags = recover * _RECOVER + keep_xfa * _KEEP_XFA + force * _FORCE + draw * _DRAW + (not calculate) * _NO_CALCULATION
    word = None if password is None else encode(password)
    try:
        for font in fonts:
            form._handle.call("zforms_add_font", path_bytes(font), file=os.fspath(font))
        if isinstance(file, bytes):
            form._handle.call("zforms_open_bytes", file, len(file), word, flags)
        else:
            form._handle.call("zforms_open_file", path_bytes(file), word, flags)
    except BaseException:
        form.close()
        raise
    return form
