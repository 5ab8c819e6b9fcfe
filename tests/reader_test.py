#!/usr/bin/env python3
"""zforms serve's page for browsers, driven in headless Chromium by reader/run.mjs on forms that are made here.

ZFORMS_SCREENSHOTS names the folder for the screenshots, by default build/screenshots.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from tool_case import ROOT, SAMPLES, SKIPPED, TOOL
from form_writer import COMB, COMBO, MULTI_SELECT, MULTILINE, READ_ONLY, REQUIRED, Form, Name, Text

PASSWORD, EDITABLE, NO_EXPORT = 1 << 13, 1 << 18, 1 << 2
NO_VIEW = 32
PACKAGES = ROOT / "build/npm/reader-tests/node_modules"


def labelled(form, x, y, label):
    form.canvas.text(x, y - 3, label, 7.5)


def every_kind():
    """A form with each kind of field on two pages, with hidden, read-only and unused ones."""
    form = Form("Every kind of field", "KINDS")
    form.accent = (0.35, 0.2, 0.5)

    def text(name, x, y, w, label, h=17, **field):
        labelled(form, x, y, label)
        form.canvas.rect(x, y, w, h, stroke=form.accent, line=0.4)
        form.text_field(name, (x, y, w, h), tip=label, **field)

    form.page()
    form.canvas.text(40, 50, "Every kind of field", 18, bold=True, colour=form.accent)
    text("person.name", 40, 80, 200, "Name *", flags=REQUIRED)
    text("person.née", 260, 80, 200, "Née", max_length=12)
    text("person.notes", 40, 120, 420, "Notes", h=70, flags=MULTILINE)
    text("comb", 40, 210, 120, "Eight digits", flags=COMB, max_length=8)
    text("amount", 180, 210, 100, "Amount (€)", quadding=2)
    text("secret", 300, 210, 160, "Pass phrase", flags=PASSWORD)
    text("fixed", 40, 250, 120, "Given", value="cannot change", flags=READ_ONLY)
    text("private", 180, 250, 120, "Not sent", flags=NO_EXPORT)
    text("auto.size", 320, 250, 140, "Size of its own", size=0)
    for i, state in enumerate(["Oui", "Été", "A&B"]):
        form.check_box(f"boxes.{i}", (40 + 100 * i, 290, 12, 12), state=state, tip=f"Box {i}")
        form.canvas.text(58 + 100 * i, 300, state, 9)
    for i, state in enumerate(["one", "Étudiant", "three"]):
        form.radio_button("choice.radio", (40 + 100 * i, 320, 12, 12), state, tip="One of three")
        form.canvas.text(58 + 100 * i, 330, state, 9)
    options = [("r", "Red"), ("g", "Green"), ("b", "Bleu «ciel»")]
    labelled(form, 40, 360, "Colour")
    form.choice("choice.combo", (40, 360, 120, 17), options, value="g", tip="Colour")
    labelled(form, 180, 360, "Town, or another")
    form.choice("choice.typed", (180, 360, 120, 17), ["Sète", "Béziers"], flags=COMBO | EDITABLE, tip="Town, or another")
    labelled(form, 320, 360, "One")
    form.choice("choice.one", (320, 360, 60, 45), ["a", "b", "c"], flags=0, tip="One of a list")
    labelled(form, 400, 360, "Several")
    form.choice("choice.many", (400, 360, 60, 45), ["1", "2", "3"], flags=MULTI_SELECT, tip="Several of a list")
    form.text_field("unseen", (300, 700, 90, 17), value="kept", tip="Never on the screen")
    form.node("unseen").widgets[0][2]["F"] = NO_VIEW
    reset = form.node("buttons.reset")
    form.submit_button("buttons.reset", (40, 430, 80, 20), "Reset name", "none")
    reset.entries["A"] = {"S": Name("ResetForm"), "Fields": [Text("person.née")], "Flags": 0}

    form.page()
    form.canvas.text(40, 50, "Second page", 18, bold=True, colour=form.accent)
    text("last", 40, 80, 200, "Last", h=60, flags=MULTILINE)
    text("person.again", 260, 80, 200, "Again", size=9)
    form.submit_button("buttons.save", (300, 120, 80, 20), "Save it", "save.cgi")
    form.submit_button("buttons.modify", (390, 120, 80, 20), "Change it", "modify.cgi")
    form.session_field()
    return form


def odd():
    """A form with: fields in another order than that of their rows, which "/Tabs" asks for; a rotated page; a field
    with two widgets; check boxes of one name with different states; a default value without a value; a session field
    that no page lists."""
    form = Form("Odd & ends", "ODD")
    form.page_entries = {"Tabs": Name("R"), "Rotate": 90}
    form.page()
    for name, x, y in (("d", 300, 101), ("b", 300, 50), ("c", 40, 98), ("a", 40, 52)):
        form.text_field(name, (x, y, 120, 17), tip=name)
    form.node("a").entries["DV"] = Text("only when reset")
    twice = form.node("twice")
    twice.entries.update(FT=Name("Tx"), DA=b"/HelveticaLTStd-Bold 10 Tf 0 g", TU=Text("Twice"))
    for y in (150, 180):
        form.widget(twice, (40, y, 120, 17), merged=False)
    for i, state in enumerate(("left", "right")):
        form.check_box("side", (300 + 30 * i, 150, 12, 12), state=state)
    side = form.node("side")
    side.widgets = [(form.document.reserve(), False, widget) for _, _, widget in side.widgets]
    form.pages[0][2][-2:] = [ref for ref, _, _ in side.widgets]
    form.submit_button("save", (40, 220, 80, 20), "Save", "save.cgi")
    form.submit_button("modify", (140, 220, 80, 20), "Modify", "modify.cgi")
    form.session_field()
    form.pages[0][2].pop()
    return form


def save_and_modify(form, listed=()):
    form.submit_button("save", (40, 700, 80, 20), "Save", "save.cgi")
    form.submit_button("modify", (140, 700, 80, 20), "Modify", "modify.cgi")
    form.session_field()
    if listed:
        form.node("save").entries["A"]["Fields"] = [Text(name) for name in listed]
    return form


def plain():
    form = Form("Plain", "PLAIN")
    form.page()
    for i, name in enumerate(("line", "two", "three")):
        form.text_field(name, (40, 80 + 30 * i, 200, 17), tip=name)
    return save_and_modify(form)


def awkward():
    """A form with difficult cases: field names that are also properties of JavaScript objects, states shared by several
    buttons, a value that contradicts the appearance, required fields that cannot be filled in, fields that are not
    sent, and fields that no page shows."""
    form = Form("Awkward", "AWKWARD")
    form.page()
    for i, name in enumerate(("constructor", "__proto__", "group.a", "group.b", "other", "unsent")):
        form.text_field(name, (40, 40 + 30 * i, 200, 17), flags=REQUIRED if name == "unsent" else 0)
    form.text_field("ghost", (40, 230, 200, 17), flags=REQUIRED, hidden=True)
    form.text_field("local", (40, 260, 200, 17), flags=NO_EXPORT)
    for name, y, flags in (("unison", 300, 1 << 25), ("apart", 320, 0)):
        for i, state in enumerate(("A", "A", "B")):
            form.radio_button(name, (40 + 40 * i, y, 12, 12), state)
        form.node(name).entries["Ff"] = 1 << 15 | 1 << 14 | flags
    form.check_box("told", (40, 350, 12, 12), state="Oui")
    form.node("told").entries["V"] = Name("Oui")
    form.check_box("nowhere", (40, 380, 12, 12), state="Oui")
    form.node("nowhere").entries["V"] = Name("Oui")
    form.pages[0][2].pop()
    for i, (name, fields) in enumerate((("by_ref", [form.node("group.a").ref]), ("by_parent", [Text("group")]), ("all", None))):
        form.submit_button(name, (300, 80 + 30 * i, 80, 20), name, "none")
        form.node(name).entries["A"] = {"S": Name("ResetForm"), "Flags": 0, **({"Fields": fields} if fields else {})}
    listed = ("constructor", "__proto__", "group", "other", "unison", "apart", "told", "nowhere", "local", "ZOR.SessionID")
    return save_and_modify(form, listed)


def thousand_fields():
    form = Form("A thousand fields", "MANY")
    for page in range(10):
        form.page()
        form.canvas.text(40, 40, f"Page {page + 1}", 14, bold=True)
        for i in range(100):
            x, y = 40 + 130 * (i % 4), 60 + 28 * (i // 4)
            name = f"p{page}.f{i:02}"
            form.canvas.text(x, y - 2, name, 6)
            form.canvas.rect(x, y, 110, 16, stroke=(0.4, 0.4, 0.5), line=0.4)
            if i % 10 == 9:
                form.check_box(name, (x, y, 14, 14), tip=name)
            else:
                form.text_field(name, (x, y, 110, 16), tip=name)
    form.submit_button("save", (40, 790, 80, 20), "Save", "save.cgi")
    form.submit_button("modify", (140, 790, 80, 20), "Modify", "modify.cgi")
    form.session_field()
    return form


def scripted():
    """A form with scripts of every kind: sums, formats, refused keys, a custom script, a button that clears, a faulty
    script."""
    form = Form("Scripted", "SCRIPTS")
    form.page()

    def script(name, **events):
        form.node(name).entries["AA"] = {event: {"S": Name("JavaScript"), "JS": Text(code)} for event, code in events.items()}

    for i, name in enumerate(("hours", "rate", "pay", "half", "date", "extra")):
        form.text_field(name, (40, 40 + 30 * i, 120, 17), tip=name, flags=READ_ONLY if name in ("pay", "half") else 0)
    script("hours", K="AFNumber_Keystroke(2, 0, 0, 0, '', false);", F="AFNumber_Format(2, 0, 0, 0, '', false);",
           V="AFRange_Validate(true, 0, true, 400);")
    script("rate", K="AFNumber_Keystroke(2, 2, 0, 0, '', false);", F="AFNumber_Format(2, 2, 0, 0, ' EUR', false);")
    script("pay", C="AFSimple_Calculate('PRD', new Array('hours', 'rate'));", F="AFNumber_Format(2, 2, 0, 0, ' EUR', false);")
    script("half", C="event.value = this.getField('pay').value / 2;")
    script("date", K="AFDate_KeystrokeEx('dd/mm/yyyy');", F="AFDate_FormatEx('dd/mm/yyyy');")
    form.text_field("short", (300, 40, 120, 17), tip="short", max_length=9)
    script("short", K="AFDate_KeystrokeEx('dd/mm/yyyy');", F="AFDate_FormatEx('dd/mm/yyyy');")
    form.check_box("more", (40, 240, 12, 12), state="Oui", tip="more")
    script("more", U="this.getField('extra').hidden = event.target.value != 'Oui';")
    for i, (name, code) in enumerate((("clear", "this.resetForm(['hours', 'rate']);"), ("faulty", "nothing.here();"))):
        form.submit_button(name, (300, 80 + 30 * i, 80, 20), name, "none")
        form.node(name).entries["A"] = {"S": Name("JavaScript"), "JS": Text(code)}
    form.form_entries["CO"] = [form.node(name).ref for name in ("pay", "half")]
    return save_and_modify(form)


def make_templates(folder):
    for code, form in (("kinds", every_kind()), ("odd", odd()), ("plain", plain()), ("awkward", awkward()),
                       ("many", thousand_fields()), ("scripted", scripted())):
        (folder / f"{code}.pdf").write_bytes(form.file()[0])
    for path in SAMPLES.glob("*.pdf"):
        shutil.copy(path, folder)
    for i in range(1, 6):
        shutil.copy(SAMPLES / "membership_form.pdf", folder / f"Copie n° {i}.pdf")


# The scenarios that run with sanitizers: those that use the server most. Sanitizers do not check the page.
SERVED = ["every_kind_round", "failures_lose_nothing", "stored_all_the_same", "what_is_served", "printed_and_downloaded",
          "saved_forms_are_found", "page_of_submissions"]


def main():
    node, chromium = shutil.which("node"), shutil.which("chromium")
    page = pathlib.Path(TOOL).parent.parent / "share/zforms/reader/pdfjs"
    missing = [what for what, there in (("node", node), ("chromium", chromium), (f"packages in {PACKAGES}",
                                        PACKAGES.is_dir()), (f"pdf.js in {page}", page.is_dir()), ("zforms (ZFORMS_TOOL)", TOOL)) if not there]
    if missing:
        print("reader_test: missing:", ", ".join(missing), "(./run test installs them)")
        return 1 if os.environ.get("CI") else SKIPPED
    pictures = pathlib.Path(os.environ.get("ZFORMS_SCREENSHOTS", ROOT / "build/screenshots"))
    pictures.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        templates = pathlib.Path(folder) / "templates"
        templates.mkdir()
        make_templates(templates)
        return subprocess.run([node, str(ROOT / "tests/reader/run.mjs"), TOOL, chromium, str(PACKAGES), folder,
                               str(pictures), *(sys.argv[1:] or (SERVED if "ZFORMS_SANITIZED" in os.environ else []))],
                              timeout=1500).returncode


if __name__ == "__main__":
    sys.exit(main())
