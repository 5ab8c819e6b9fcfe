#!/usr/bin/env python3
"""fill and batch compute, check and format values as the scripts of a form say, and other readers see the results."""

import json
import shutil

import peers
from tool_case import Name, Text, expect, run_tests, same, zforms
from form_writer import READ_ONLY, Form

MONEY = "AFNumber_Format(2, 2, 0, 0, ' EUR', false);"
FIELDS = (  # name, value, scripts; in the order of the form; sums are computed in the order of "/CO"
    ("total", "", {"C": "AFSimple_Calculate('SUM', ['net', 'tax', 'lines']);", "F": MONEY}),
    ("net", "", {"F": MONEY}),
    ("tax", "", {"C": "/** BVCALC net * 0.2 EVCALC **/ event.value = AFMakeNumber(getField('net').value) * 0.2;", "F": MONEY}),
    ("lines.a", "1", {}),
    ("lines.b", "", {}),
    ("date", "", {"F": "AFDate_FormatEx('dd/mm/yyyy');"}),
    ("limited", "", {"V": "AFRange_Validate(true, 0, true, 400);"}),
    ("own", "", {"C": "event.value = net * 2;", "F": "shout(event.value);"}),
)


def scripted_form(path, order=("tax", "total", "own")):
    form = Form("Sums", "SUMS")
    form.page()
    for i, (name, value, scripts) in enumerate(FIELDS):
        form.text_field(name, (40, 40 + 30 * i, 120, 17), flags=READ_ONLY if "C" in scripts else 0)
        entries = form.node(name).entries
        if value:
            entries["V"] = Text(value)
        if scripts:
            entries["AA"] = {event: {"S": Name("JavaScript"), "JS": Text(code)} for event, code in scripts.items()}
    form.form_entries["CO"] = [form.node(name).ref for name in order]
    path.write_bytes(form.file()[0])
    return path


CASES = (  # values, options, (values afterwards), (texts on the page), messages, exit status
    ({"net": "100,5"}, (), {"net": "100,5", "tax": "20.1", "total": "121.6"}, ["100,50 EUR", "20,10 EUR", "121,60 EUR"], "", 0),
    ({"net": "100,5"}, ("--calculate", "no"), {"net": "100,5", "tax": "", "total": ""}, ["100,5"], None, 0),
    ({"date": "2024-03-04"}, (), {"date": "2024-03-04", "total": ""}, ["04/03/2024"], "", 0),
    ({"date": "soon"}, (), {"date": "soon"}, ["soon"], '"soon" is not a date (dd/mm/yyyy), and is shown as it is', 3),
    ({"net": "10", "tax": "5"}, (), {"tax": "5", "total": "16"}, ["16,00 EUR"],
     'the data contain "5", which is kept; the form computes 2', 3),
    ({"net": "10", "tax": "2.000", "total": ""}, (), {"tax": "2.000", "total": "13"}, ["13,00 EUR"], "", 0),
    ({"lines.b": "two"}, (), {"lines.b": "two", "total": ""}, ["two"], 'not computed, because field "lines.b" holds "two"', 3),
    ({"lines.b": "2"}, ("--draw", "no"), {"lines.b": "2", "total": "3"}, [], "", 0),
    ({"limited": "401"}, (), {"limited": ""}, [], '"401" is not between 0 and 400', 3),
)


def test_fill_and_batch_follow_the_scripts(folder):
    form = scripted_form(folder / "form.pdf")
    for number, (values, options, after, seen, said, wanted) in enumerate(CASES):
        data, filled, rows = folder / "data.json", folder / "filled.pdf", folder / f"rows{number}"
        data.write_text(json.dumps(values))
        status, _, err = zforms("fill", form, data, "-o", filled, *options)
        skipped = 'such as AFNumber_Format: "own" (format), "own" (calculate)'
        lines = [line for line in err.splitlines() if skipped not in line]
        same(f"{values} {options}: status", status, wanted)
        expect(bool(lines) == bool(said) and (said or "") in err, f"{values}: messages", err)
        expect((skipped in err) == (said is not None), f"{values}: what is skipped", err)
        got = json.loads(zforms("export", filled, "--format", "json")[1])
        same(f"{values}: values", {name: got[name] or "" for name in after}, after)
        if shutil.which("pdftotext"):
            text = peers.run("pdftotext", filled, "-").out.decode()
            expect(all(one in text for one in seen), f"{values}: seen", text)
        # Each row begins from the original form.
        data.write_text("\n".join(json.dumps(row) for row in ({"net": "7"}, values, {"net": "8"}, values)) + "\n")
        zforms("batch", form, "--data", data, "--out", rows, "--jobs", "1", *options)
        made = [path.read_bytes() for path in sorted(rows.glob("*.pdf"))]
        same(f"{values}: batch", [one == filled.read_bytes() for one in made],
             [False, False] if "limited" in values else [False, True, False, True])


def test_scripts_are_named(folder):
    form = scripted_form(folder / "form.pdf")
    said = zforms("check", form)[1]
    for line in ('AFNumber_Format (format) of "total", "net", "tax"', 'a custom script (calculate) of "own"',
                 'an expression in simplified field notation (calculate) of "tax"', "AFRange_Validate (validate)"):
        expect(line in said, "check", said)
    said = zforms("import", form, "-o", folder / "served.pdf")[2]
    expect('script: AFSimple_Calculate (calculate) of "total"' in said, "import", said)


def test_sums_outside_the_order_are_left(folder):
    data = folder / "data.json"
    data.write_text('{"net": "10"}')
    zforms("fill", scripted_form(folder / "form.pdf", ("total",)), data, "-o", folder / "filled.pdf")
    got = json.loads(zforms("export", folder / "filled.pdf", "--format", "json")[1])
    same("only what the order lists", (got["tax"], got["total"]), (None, "11"))


run_tests(globals())
