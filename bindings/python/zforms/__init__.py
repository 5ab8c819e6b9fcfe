"""Fill PDF forms.

>>> import os, tempfile, zforms
>>> with tempfile.TemporaryDirectory() as folder:
...     with zforms.open("samples/membership_form.pdf") as form:
...         form["adherent.nom"] = "Lebœuf"
...         form.save(os.path.join(folder, "filled.pdf"))
...     with zforms.open(os.path.join(folder, "filled.pdf")) as form:
...         form["adherent.nom"]
'Lebœuf'
"""

from ._batch import Row, batch
from ._form import Field, Form, Kind, Message, Severity, Widget, open
from ._library import DataError, Error, FieldNotFoundError, FormError, version

__version__ = version()
__all__ = ["DataError", "Error", "Field", "FieldNotFoundError", "Form", "FormError", "Kind", "Message", "Row",
           "Severity", "Widget", "batch", "open", "version"]

for _name in __all__:
    if isinstance(globals()[_name], type):
        globals()[_name].__module__ = __name__
