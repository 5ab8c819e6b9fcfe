"""Functions shared by the tests of the command line tool: running it, and small forms as input."""

import os
import pathlib
import signal
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parent.parent
SAMPLES = ROOT / "samples"
TOOL = os.environ.get("ZFORMS_TOOL", "")
# True when the tool runs under sanitizers, which need more memory and time.
SANITIZED = "ZFORMS_SANITIZED" in os.environ
# True when the tool is the program for Windows, run by Wine. It stops at Ctrl+C, which SIGINT stands for here.
WINDOWS = "ZFORMS_WINDOWS" in os.environ
STOP = signal.SIGINT if WINDOWS else signal.SIGTERM
sys.path.insert(0, str(SAMPLES))
from form_writer import COMBO, MULTI_SELECT, MULTILINE, NO_EXPORT, RADIO, Document, Name, Ref, Text, WideText

SKIPPED = 77
failures = []
skipped = []


def skip(reason):
    """Records that a test was skipped. If no test fails, the script then ends with the status SKIPPED."""
    skipped.append(reason)


def expect(condition, label, text=""):
    if not condition:
        failures.append(f"{label}: {text}")
    return condition


def same(label, got, wanted):
    return expect(got == wanted, label, f"\n    got    {got!r}\n    wanted {wanted!r}")


def zforms(*arguments, stdin=None):
    """Runs the tool; returns (exit status, standard output, standard error). Bytes that are not UTF-8 become
    surrogates."""
    done = subprocess.run([TOOL, *map(str, arguments)], input=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          timeout=300)
    return done.returncode, done.stdout.decode("utf-8", "surrogateescape"), done.stderr.decode("utf-8")


def run_tests(module):
    """Runs the functions test_... of a script that its arguments name, or all, each in a folder of its own; ends the
    script. NOT_ON_WINDOWS in the script is {test that is skipped with the program for Windows: reason}."""
    name, wanted = pathlib.Path(module["__file__"]).stem, sys.argv[1:]
    if not TOOL or not pathlib.Path(TOOL).is_file():
        print(f"{name}: no zforms program at {TOOL!r} (ZFORMS_TOOL)")
        sys.exit(SKIPPED)
    tests = [key for key in module if key.startswith("test_") and (key in wanted or not wanted)]
    for test, reason in module.get("NOT_ON_WINDOWS", {}).items() if WINDOWS else ():
        if test in tests:
            tests.remove(test)
        print(f"{name}: {test} is skipped on Windows: {reason}")
    with tempfile.TemporaryDirectory() as folder:
        for test in tests:
            place = pathlib.Path(folder) / test
            place.mkdir()
            module[test](place)
    for line in [*failures, *(f"skipped: {reason}" for reason in skipped)]:
        print(line)
    print(f"{name}:", f"{len(failures)} failures" if failures else f"{len(tests) - len(skipped)} tests passed")
    sys.exit(1 if failures or not tests else SKIPPED if skipped else 0)


class PageForm(Document):
    """A document of one page with a form; the catalog is object 1."""

    def __init__(self):
        super().__init__()
        self.catalog, self.page = self.reserve(), self.reserve()

    def widget(self, **entries):
        return {"Type": Name("Annot"), "Subtype": Name("Widget"), "Rect": [0, 0, 10, 10], "P": Ref(self.page), **entries}

    def states(self, on):
        return {"N": {on: self.add({}, b""), "Off": self.add({}, b"")}}

    def write(self, path, form, annotations=(), **catalog):
        pages = self.add({"Type": Name("Pages"), "Kids": [self.page], "Count": 1})
        self.put(self.page, {"Type": Name("Page"), "Parent": pages, "MediaBox": [0, 0, 100, 100], "Annots": list(annotations)})
        self.put(self.catalog, {"Type": Name("Catalog"), "Pages": pages, "AcroForm": form, **catalog})
        path.write_bytes(self.finish(self.catalog, self.add({"Title": Text("form")}))[0])
        return path


def odd_form(path):
    """A form with everything that filling changes or removes: selected indices, rich text, states of widgets, a value
    in another encoding, and fields that are direct objects inside their parents."""
    document = PageForm()
    states = document.states

    def widget(**entries):
        return document.widget(**{"Rect": [0, 0, 90, 60], **entries})

    fields = [
        document.add(widget(FT=Name("Ch"), Ff=MULTI_SELECT, T=Text("liste"), I=[1], V=Text("B"), DA=Text("/H 9 Tf"),
                            Opt=[Text("A"), Text("B"), Text("C")])),
        document.add(widget(FT=Name("Ch"), Ff=COMBO, T=Text("choix"), I=[0], V=Text("é"), Opt=[Text("é"), Text("è")])),
        document.add(widget(FT=Name("Tx"), RV=Text("<p>riche</p>"), T=Text("riche"), V=Text("riche"), MaxLen=8)),
        document.add(widget(FT=Name("Tx"), T=WideText("nom élu"), V=WideText("même"))),
        document.add({"T": Text("groupe"), "Kids": [
            widget(FT=Name("Tx"), T=Text("direct")),
            {"FT": Name("Btn"), "Ff": 1 << 15, "T": Text("radio"), "V": Name("x"),
             "Kids": [widget(AS=Name("x"), AP=states("x")), widget(AS=Name("Off"), AP=states("y"))]}]}),
        document.add(widget(FT=Name("Btn"), T=Text("case"), AS=Name("Off"), AP=states("Oui"))),
        document.add(widget(FT=Name("Tx"), Ff=MULTILINE, T=Text("lignes"), V=WideText("a\nb\rc\r\nd"))),
        document.add(widget(FT=Name("Tx"), Ff=NO_EXPORT, T=Text("interne"), V=Text("x"))),
    ]
    return document.write(path, document.add({"Fields": fields, "DA": Text("/H 9 Tf 0 g")}))


def restricted_form(path, signatures=(), xfa=False, rights=False, alone=False):
    """A form of the fields a, b and g.c, and signed fields: (name, /DocMDP level or None, /FieldMDP, /Lock)."""
    document = PageForm()

    def field(**entries):
        return document.add(document.widget(**{"DA": Text("/H 9 Tf"), **entries}))

    fields = [field(FT=Name("Tx"), T=Text("a"), V=Text("old")), field(FT=Name("Tx"), T=Text("b")),
              field(T=Text("g"), Kids=[field(FT=Name("Tx"), T=Text("c"))])]
    perms = {}
    for name, level, locked, lock in signatures:
        value = {"Type": Name("Sig"), "Filter": Name("X"), "Contents": b"12", "ByteRange": [0, 1, 2, 3], "Reference": []}
        for method, parameters in (("DocMDP", level and {"P": level}), ("FieldMDP", locked)):
            if parameters:
                value["Reference"].append({"TransformMethod": Name(method), "TransformParams": parameters})
        value = document.add(value)
        if level:
            perms["DocMDP"] = value
        fields.append(field(FT=Name("Sig"), T=Text(name), V=value, **({"Lock": lock} if lock else {})))
    if rights:
        perms["UR3"] = document.add({"Type": Name("Sig"), "Contents": b"34"})
    entries = {"Fields": [] if alone else fields, "DA": Text("/H 9 Tf 0 g")}
    if xfa:
        entries["XFA"] = [Text("datasets"), document.add({}, b"<xfa:datasets>old</xfa:datasets>")]
    return document.write(path, entries, entries["Fields"], **({"Perms": perms} if perms else {}),
                          **({"NeedsRendering": True} if xfa else {}))


ODD_VALUES = {  # values to set in each field of the odd form
    "liste": ["A", "B", "A\nC", "C", ""],
    "choix": ["é", "è", ""],
    "riche": ["riche", "autre", ""],
    "nom élu": ["même", "d'autres", "Łódź", "deux\nlignes", ""],
    "groupe.direct": ["", "x", "(y\\"],
    "groupe.radio": ["x", "y", "Off"],
    "case": ["Oui", "Off", "true", "false", ""],
}


def page_fields(path):
    """A form that lists one of three radio buttons of a group and one of two text fields; its page shows them all."""
    document = PageForm()
    group = document.reserve()

    def radio(state):
        return document.add(document.widget(FT=Name("Btn"), Ff=RADIO, T=Text("choix"), AS=Name("Off"), AP=document.states(state)))

    fields = [radio("un"), document.add(document.widget(FT=Name("Tx"), T=Text("nom")))]
    others = [radio("deux"), radio("trois"), document.add(document.widget(T=Text("ville"), Parent=Ref(group)))]
    document.put(group, {"FT": Name("Tx"), "T": Text("adresse"), "Kids": [others[2]]})
    return document.write(path, {"Fields": fields, "DA": Text("/H 9 Tf 0 g")}, fields + others)
