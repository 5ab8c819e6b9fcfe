#!/usr/bin/env python3
"""zforms fill, export and map: checks that one reads what the other writes, in every format, and that Python's readers
and pdftk agree."""

import csv
import io
import json
import random
import shutil

import peers
from tool_case import (ODD_VALUES, SAMPLES, Name, PageForm, WideText, expect, odd_form, page_fields, run_tests, same,
                       zforms)

NONE = "the data contain no value"
SAMPLE = SAMPLES / "membership_form.pdf"
NAME, USUAL, CITY = "adherent.nom", "adherent.prénom d'usage", "adherent.ville"


def export(form, kind="json"):
    status, out, err = zforms("export", form, "--format", kind)
    expect(status == 0, f"export of {form.name} as {kind}", err)
    return out


def fill(form, data, folder, suffix, wanted=0):
    """Fills the form from data in this format; returns the path of the filled form."""
    source, target = folder / f"data.{suffix}", folder / f"from_{suffix}.pdf"
    source.write_bytes(data if isinstance(data, bytes) else data.encode("utf-8", "surrogateescape"))
    target.unlink(missing_ok=True)
    status, _, err = zforms("fill", form, source, "-o", target)
    same(f"fill from {suffix}", (status, err if status != wanted else ""), (wanted, ""))
    return target


def test_every_format_brings_the_values_back(folder):
    draw = random.Random(7)
    odd = odd_form(folder / "odd.pdf")
    values = {name: draw.choice(choices[:3]) for name, choices in ODD_VALUES.items()}
    cases = [(odd, fill(odd, json.dumps(values), folder, "json").rename(folder / "odd_filled.pdf"))]
    for name in ("membership_form", "tax_return"):
        target = folder / f"{name}.pdf"
        zforms("fill", SAMPLES / f"{name}.pdf", SAMPLES / f"{name}.xfdf", "-o", target)
        cases.append((SAMPLES / f"{name}.pdf", target))
    for form, filled in cases:
        wanted = json.loads(export(filled))
        expect(sum(value is not None for value in wanted.values()) > 4, f"values of {form.name}", wanted)
        for kind in ("xfdf", "fdf", "json", "csv"):
            back = json.loads(export(fill(form, export(filled, kind), folder, kind)))
            same(f"{form.name} by {kind}", {n: v for n, v in back.items() if v}, {n: v for n, v in wanted.items() if v})
        rows = list(csv.reader(io.StringIO(export(filled, "csv"), newline="")))
        same(f"{form.name} as Python reads CSV", dict(zip(*rows)),
             {n: "\n".join(v) if isinstance(v, list) else v or "" for n, v in wanted.items()})


def test_its_own_export_changes_nothing(folder):
    odd, filled = odd_form(folder / "odd.pdf"), folder / "filled.pdf"
    zforms("fill", SAMPLE, SAMPLES / "membership_form.xfdf", "-o", filled)
    pages = fill(page_fields(folder / "pages.pdf"), '{"choix": "deux", "nom": "A"}', folder, "json").rename(folder / "p.pdf")
    for form in (odd, filled, pages):
        for kind in ("xfdf", "fdf", "json", "csv"):
            same(f"{form.name} and its {kind}", fill(form, export(form, kind), folder, kind).read_bytes(),
                 form.read_bytes())


def test_fields_of_one_name_with_different_values(folder):
    """The value of the first field is exported, with a warning. Filling it in again changes nothing; another value sets
    all fields of the name."""
    document = PageForm()
    fields = [document.add({"FT": Name("Tx"), "T": WideText("a"), "V": WideText(value)}) for value in ("eins", "zwei")]
    form = document.write(folder / "form.pdf", {"Fields": fields})
    for kind in ("xfdf", "fdf", "json", "csv"):
        status, out, err = zforms("export", form, "--format", kind)
        same(f"export as {kind}", (status, "eins" in out, "zwei" in out, 'is exported: "a"' in err), (3, True, False, True))
        same(f"{kind} given back", fill(form, out, folder, kind, 3).read_bytes(), form.read_bytes())
    err = zforms("export", fill(form, '{"a": "zwei"}', folder, "json", 3), "--format", "json")[2]
    expect("different values" not in err, "another value is for all", err)


def test_what_is_not_to_be_exported(folder):
    odd = odd_form(folder / "odd.pdf")
    for kind in ("xfdf", "fdf", "json", "csv"):
        status, out, err = zforms("export", odd, "--format", kind)
        same(f"{kind} is told", (status, "interne" in out, err.count('"interne"')), (0, False, 1))
        status, out, err = zforms("export", odd, "--format", kind, "--all")
        same(f"{kind} with all", (status, "interne" in out, err), (0, True, ""))


def test_fields_that_pages_alone_know(folder):
    form = page_fields(folder / "pages.pdf")
    fields = json.loads(zforms("fields", form, "--json")[1])["fields"]
    same("fields", [(field["name"], field["listed"]) for field in fields],
         [("choix", True), ("nom", True), ("choix", False), ("choix", False), ("adresse.ville", False)])
    status, _, err = zforms("check", form)
    same("check", (status, err.count('(\"/Fields\")')), (3, 3))
    values = {"choix": "deux", "nom": "A", "adresse.ville": "B"}
    filled = fill(form, json.dumps(values), folder, "json")
    same("export", json.loads(export(filled)), values)
    (folder / "rows.csv").write_text("choix,nom,adresse.ville\ndeux,A,B\n")
    same("batch", zforms("batch", form, "--data", folder / "rows.csv", "--out", folder, "--name", "{nom}.pdf")[::2], (0, ""))
    same("the bytes of batch", (folder / "A.pdf").read_bytes(), filled.read_bytes())
    if shutil.which("qpdf"):
        read = json.loads(peers.run("qpdf", "--json=1", "--json-key=acroform", filled).out)["acroform"]["fields"]
        same("qpdf reads", sorted((one["fullname"], one["value"], one["annotation"]["appearancestate"]) for one in read),
             [("adresse.ville", "B", ""), *(("choix", "/deux", state) for state in ("/Off", "/Off", "/deux")),
              ("nom", "A", "")])


def test_pdftk_agrees(folder):
    if not shutil.which("pdftk"):
        print("skipped: pdftk is not installed")
        return
    filled = folder / "filled.pdf"
    zforms("fill", SAMPLE, SAMPLES / "membership_form.xfdf", "-o", filled)
    ours, theirs, form = folder / "ours.fdf", folder / "theirs.fdf", folder / "theirs.pdf"
    zforms("export", filled, "--format", "fdf", "-o", ours)
    peers.run("pdftk", SAMPLE, "fill_form", ours, "output", form)
    same("pdftk reads our FDF", json.loads(export(form)), json.loads(export(filled)))
    peers.run("pdftk", filled, "generate_fdf", "output", theirs)
    same("we read pdftk's", json.loads(export(fill(SAMPLE, theirs.read_bytes(), folder, "fdf"))),
         json.loads(export(filled)))


TABLES = [  # label, bytes of a CSV file, the values or the message
    ("separator ;", "adherent.nom;adherent.ville\nA;B, C\n", {NAME: "A", CITY: "B, C"}),
    ("tabs", "adherent.nom\tadherent.ville\nA\tB;C", {NAME: "A", CITY: "B;C"}),
    ("a word on the separator", "sep=|\r\nadherent.nom|adherent.ville\r\nA|B\r\n", {NAME: "A", CITY: "B"}),
    ("other separators within a quoted name", '"x;y;z",adherent.nom\n1,A\n', ({NAME: "A"}, '"x;y;z"')),
    ("one column", "adherent.nom\n\n\nA\n\n", {NAME: "A"}),
    ("lines ended by CR", "adherent.nom,adherent.ville\rA,B\r", {NAME: "A", CITY: "B"}),
    ("quotes, line ends and separators in a value", 'adherent.nom,adherent.adresse\n"a ""b"", c","1\r\n2\n3"\n',
     {NAME: 'a "b", c', "adherent.adresse": "1\n2\n3"}),
    ("a quoted name, a quote inside a value", '"adherent.nom"\na"b\n', {NAME: 'a"b'}),
    ("a column without a name, a separator at the end", "adherent.nom,\nA,\n", {NAME: "A"}),
    ("a value without a name", "adherent.nom,\nA,B\n", ({NAME: "A"}, "a value has no field name and is left out")),
    ("a mark", "\ufeffadherent.prénom d'usage\nMaé\n", {USUAL: "Maé"}),
    ("windows-1252", "adherent.prénom d'usage;adherent.nom\nMaé;Œuf €\n".encode("cp1252"), {USUAL: "Maé", NAME: "Œuf €"}),
    ("damaged UTF-8", b"adherent.nom,adherent.ville\n\xc3\xa9,\xe9\n", 'line 2: column "adherent.ville": the text is not'),
    ("two rows", "adherent.nom\nA\nB\n", "the data have more than one row"),
    ("no row", "adherent.nom,adherent.ville\n", {}),
    ("an open quote", 'adherent.nom\n"A\nB\n',
     "opening quote of a value in line 2 has no closing quote: everything up to line 3 became part of the value"),
    ("an open quote, closed by the next one", 'adherent.nom\n"A\nB\n"C"\n',
     "line 2: text follows the closing quote of a value; its opening quote is in line 2"),
    ("an open quote and much behind it", 'adherent.nom\nA\n"' + 'B\n' * (9 << 20),
     "the opening quote of a value in line 3 has no closing quote within 16 MB"),
    ("UTF-16", "adherent.nom\tadherent.prénom d'usage\r\nA\tŁoś\r\n".encode("utf-16"), {NAME: "A", USUAL: "Łoś"}),
    ("UTF-16 that is cut", "\ufeffadherent.nom\r\nA".encode("utf-16-le")[:-1], "the UTF-16 text ends in the middle"),
    ("a cut name without rows", "adherent.no", "did you mean adherent.nom?"),
    ("UTF-16, the high byte first", "\ufeffadherent.nom\r\nŁ\r\n".encode("utf-16-be"), {NAME: "Ł"}),
    ("two columns of a name", "a,a\n1,2\n", 'two columns are named "a"'),
    ("a fault of its line", 'adherent.nom,adherent.ville\n"1\n2"x,3\n', "line 2: text follows the closing quote"),
]
OBJECTS = [
    ("an object within", '{"adherent": {"nom": "A", "ville": null}}', {NAME: "A"}),
    ("numbers keep their digits", '{"adherent.nom": 1.50, "adherent.ville": 12345678901234567890123}',
     {NAME: "1.50", CITY: "12345678901234567890123"}),
    ("truth", '{"adherent.premiere": true, "adherent.nom": false}', {"adherent.premiere": "Oui", NAME: "false"}),
    ("a list of one object", '\ufeff[ {"adherent.nom": "A"} ]\n', {NAME: "A"}),
    ("a list of values", '{"activites.ateliers": ["SEMIS", "RUCHER"]}', {"activites.ateliers": ["SEMIS", "RUCHER"]}),
    ("an empty list", '{"activites.ateliers": [], "adherent.nom": "A"}', {NAME: "A"}),
    ("two of a name", '{"adherent.ville": "A",\n "adherent": {"ville": "B"}}',
     'line 2, column 15: two members are named "adherent.ville"'),
    ("UTF-16", '{"adherent.nom": "Ł"}'.encode("utf-16"), {NAME: "Ł"}),
    ("no object", "[1]", "not a JSON object"),
    ("a list of lists", '{"adherent.nom": [["A"]]}',
     'the list "adherent.nom" contains a list'),
    ("broken off", '{"adherent.nom": "A"', "line 1, column 21: not valid JSON: unexpected end of input"),
    ("too deep", '{"a":' * 5000, "objects are nested too deeply"),
    ("two rows", '{"adherent.nom": "A"}\n{"adherent.nom": "B"}\n', '"zforms batch" fills one form for each row'),
    ("a list of two", '[{"adherent.nom": "A"},\n {"adherent.nom": "B"}]', '"zforms batch" fills one form for each row'),
    ("an empty list", "[ ]", {}),
    ("the column of the file in our tables", '{"file": "a.pdf", "adherent.nom": "A"}', {NAME: "A"}),
    ("no name", '{"": "A"}', ({}, "a value has no field name and is left out")),
]
ONE_OF_EACH = "%FDF-1.2\n" + " ".join(f"{number} 0 obj<</FDF<</Fields[<</T(adherent.nom)/V({value})>>]>>>>endobj"
                                      for number, value in ((1, "first"), (2, "last")))


def form_data(fields, more="", end="trailer<</Root 1 0 R>>"):
    return f"%FDF-1.2\n1 0 obj<</FDF<<{more}/Fields[{fields}]>>>>endobj {end}"


def encoded(encoding, value):
    return form_data(f"<</T(adherent.nom)/V<{value.hex()}>>>", f"/Encoding/{encoding}")


FORM_DATA = [
    ("names in any order, comments, kids",
     "%FDF-1.2\n7 0 obj <</FDF <</Fields 8 0 R>> >> endobj % x\n8 0 obj [<</T(adherent)/Kids[<</V(A\\rB)/T(nom)>>"
     "<</T<FEFF00700072>/V()>> <</T(ville)/V 9 0 R>>]>> <</T(formule)/V/Famille>>] endobj 9 0 obj (Ici) endobj\n"
     "xref\n0 1\n0000000000 65535 f \ntrailer<</Size 10>>\nstartxref\n0\n%%EOF\n",
     {NAME: "A\nB", CITY: "Ici", "formule": "Famille"}),
    ("kids that go round", "%FDF-1.2\n1 0 obj<</FDF<</Fields[2 0 R]>>>>endobj 2 0 obj<</T(adherent)/Kids[2 0 R "
     "<</T(nom)/V(A)>>]>>endobj trailer<<>>", {NAME: "A"}),
    ("no fields", form_data(""), {}),
    ("the root of the last trailer",
     f"{ONE_OF_EACH} trailer<</Root 3 0 R>> trailer<</Root 1 0 R>> startxref 0 %%EOF trailer<</Size 9>>", {NAME: "first"}),
    ("a trailer without a root", f"{ONE_OF_EACH} trailer<</Size 3>>", {NAME: "last"}),
    ("a root that is not there", f"{ONE_OF_EACH} trailer<</Root 7 0 R>>", {NAME: "last"}),
    ("a root without fields", f"{ONE_OF_EACH} 5 0 obj<</Pages 6 0 R>>endobj trailer<</Root 5 0 R>>",
     'no catalog with an "/FDF" dictionary'),
    ("UTF-8", encoded("utf-8", "Łoś".encode()), {NAME: "Łoś"}),
    ("UTF-8 with a mark", encoded("utf_8", "\ufeffŁoś".encode()), {NAME: "Łoś"}),
    ("UTF-16 where it is UTF-8", encoded("utf_8", "\ufeffŁoś".encode("utf-16-be")), {NAME: "Łoś"}),
    ("no UTF-8 after all", encoded("utf-8", "é".encode("latin-1")), {NAME: "é"}),
    ("PDFDocEncoding", encoded("PDFDocEncoding", "é".encode("latin-1")), {NAME: "é"}),
    ("Shift_JIS", encoded("Shift_JIS", "表".encode("shift-jis")), 'encoding "Shift_JIS", which is not supported'),
    ("Shift_JIS that is ASCII", encoded("Shift_JIS", b"A"), {NAME: "A"}),
    ("no FDF", "%FDF-1.2\n1 0 obj<</FD", 'no catalog with an "/FDF"'),
    ("cut short in a value", form_data("<</T(adherent.nom)/V(A)>>")[:54], "offset 52: object 1 0: a string is not closed"),
    ("cut short before the trailer", form_data("<</T(adherent.nom)/V(A)>>", end=""), "the trailer is missing"),
    ("cut short in the trailer", form_data("<</T(adherent.nom)/V(A)>>")[:-2], "offset "),
    ("cut short in the word", form_data("<</T(adherent.nom)/V(A)>>", end="trail"),
     '"trail" is not the start of an object'),
    ("a token out of place", form_data("<</T(adherent.nom)/V(A)>> ) <</T(a)>>"), "offset 58: object 1 0: \")\" is unexpected here"),
    ("no field", form_data("<</T(adherent.nom)/V(A)>> 5 0 R"),
     'entry 2 of "/Fields" is not a field'),
    ("a key twice", form_data("<</T(adherent.nom)/V(A)/V(B)>>"), "object 1 0: "),
    ("two of a name", form_data("<</T(adherent.nom)/V(A)>><</T(adherent)/Kids[<</T(nom)/V(B)>>]>>"),
     'two fields have the name "adherent.nom" but different values'),
    ("two of a name, alike", form_data("<</T(adherent.nom)/V(A)>><</T(adherent)/Kids[<</T(nom)/V(A)>>]>>"), {NAME: "A"}),
    ("a number as a value", form_data("<</T(adherent.pays)/V 5>>"), ({}, "is neither text nor a name")),
    ("rich text alone", form_data("<</T(adherent.nom)/RV(<?xml version=\"1.0\"?><body><p>A</p></body>)>>"), {NAME: "A"}),
    ("rich text that is not XML", form_data("<</T(adherent.nom)/RV(<body>)>>"),
     ({}, "is not a string of well-formed XML")),
    ("no name", form_data("<</V(A)>>"), ({}, 'a field without a name ("/T")')),
]


def xfdf(fields):
    return f"<xfdf><fields>{fields}</fields></xfdf>"


DOCUMENTS = [
    ("no such entity", "<xfdf><fields><field name='adherent.nom'>\n<value>A&eacute;</value></field></fields></xfdf>",
     'line 2, column 9: the entity "&eacute;" is not defined'),
    ("no fields", "<xfdf/>", {}),
    ("an attribute twice", "<xfdf>\n<fields><field name='a' name='b'/></fields></xfdf>",
     'line 2, column 25: a second attribute "name" in one element'),
    ("two of a name", xfdf("<field name='adherent.nom'><value>A</value></field><field name='adherent'><field name='nom'>"
                           "<value>B</value></field></field>"), 'two fields have the name "adherent.nom" but different'),
    ("two groups of a name", xfdf("<field name='adherent'><field name='nom'><value>A</value></field></field>"
                                  "<field name='adherent'><field name='ville'><value>B</value></field></field>"),
     {NAME: "A", CITY: "B"}),
    ("rich text alone", xfdf("<field name='adherent.nom'><value-richtext><body><p>A</p></body></value-richtext></field>"),
     {NAME: "A"}),
    ("no name", xfdf("<field><value>A</value></field>"), ({}, "a field without a name is left out")),
    ("a name that is too long beside two of a name",
     xfdf("<field name='adherent.nom'><value>A</value></field>" * 2 + f"<field name='{'n' * 5000}'><value>B</value></field>"),
     ({NAME: "A"}, "the name of a field is too long: nnn")),
]


def test_what_is_read(folder):
    empty = {name: value for name, value in json.loads(export(SAMPLE)).items()}
    for kind, cases in (("csv", TABLES), ("json", OBJECTS), ("fdf", FORM_DATA), ("xfdf", DOCUMENTS)):
        for label, data, wanted in cases:
            label = f"{kind}: {label}"
            source, target = folder / f"data.{kind}", folder / "out.pdf"
            source.write_bytes(data if isinstance(data, bytes) else data.encode("utf-8"))
            target.unlink(missing_ok=True)
            status, _, err = zforms("fill", SAMPLE, source, "-o", target)
            if isinstance(wanted, tuple):
                wanted, said = wanted
                expect(status == 3 and said in err and (NONE not in err or "cut" in label), label, (status, err))
            if isinstance(wanted, str):
                expect(status == 2 and wanted in err and not target.exists(), label, (status, err))
            elif expect(target.exists(), label, err):
                got = json.loads(export(target))
                same(label, {name: value for name, value in got.items() if value != empty[name]}, wanted)


GUARDED = ["=1+1", "@SUM(A1)", "\t=1", "\r=1", "+cmd|' /C calc'!A0", "-2+3", "+1e", "-", "+", "+12ab", "-1 e 5", "+1-2"]
UNGUARDED = ["", "x=1", " =1", "-12", "+1 234,50", "-.5e-3", "-12%", "+33 (0)1 23.45-67/89", "-1\u00a0234", "'=1", "é"]


def test_no_cell_runs_as_a_formula(folder):
    document = PageForm()
    fields = [document.add({"FT": Name("Tx"), "T": WideText(f"{'=' if i == 0 else ''}f{i}"), "V": WideText(value)})
              for i, value in enumerate(GUARDED + UNGUARDED)]
    document.write(folder / "form.pdf", {"Fields": fields})
    for options, mark in (([], ""), (["--spreadsheet"], "'")):
        status, out, err = zforms("export", folder / "form.pdf", "--format", "csv", *options)
        names, values = csv.reader(io.StringIO(out, newline=""))
        same(f"names with {options}", (status, err, names[0], names[1]), (0, "", mark + "=f0", "f1"))
        wanted = [mark + value for value in GUARDED] + UNGUARDED
        same(f"values with {options}", values, [value.replace("\r", "\n") for value in wanted])
    same("another format", zforms("export", SAMPLE, "--spreadsheet")[0], 2)


def test_many_forms_make_one_table(folder):
    odd = odd_form(folder / "odd.pdf")
    broken = folder / "broken.pdf"
    broken.write_bytes(b"%PDF-1.4\n")
    status, out, err = zforms("export", odd, SAMPLE, broken, "--format", "csv")
    rows = list(csv.DictReader(io.StringIO(out, newline="")))
    same("exit status", status, 2)
    expect(str(broken) in err, "the broken one is named", err)
    same("files", [row["file"] for row in rows], [str(odd), str(SAMPLE)])
    same("values", [(row["riche"], row["adherent.pays"]) for row in rows], [("riche", ""), ("", "FR")])
    whole = json.loads(zforms("export", odd, SAMPLE, "--format", "json")[1])
    lines = [json.loads(line) for line in zforms("export", odd, SAMPLE, "--format", "jsonl")[1].splitlines()]
    same("json and jsonl", whole, lines)
    for kind in ("csv", "json", "jsonl"):
        data = folder / f"two.{kind}"
        data.write_text(zforms("export", SAMPLE, SAMPLE, "--format", kind)[1])
        same(f"{kind} given back", zforms("batch", SAMPLE, "--data", data, "--out", folder / kind)[::2], (0, ""))
        same(f"forms of {kind}", {form.read_bytes() for form in (folder / kind).glob("*.pdf")}, {SAMPLE.read_bytes()})
    same("one of many", {k: v for k, v in whole[1].items() if k != "file"}, json.loads(export(SAMPLE)))
    status, _, err = zforms("export", odd, SAMPLE)
    expect(status == 2 and "xfdf holds one form" in err, "many as XFDF", err)


def test_whole_cycle(folder):
    """Fills a form from rubrics in CSV and an INI map, and exports it; checks the listed maps, and that the values are
    those of the table."""
    (folder / "maps.ini").write_text("[Adhésion]\nadherent.nom=membre.NOM\nadherent.prénom d'usage=membre.prénom\n"
                                     "adherent.ville=club.ville\nNuméro d'adhérent=membre.numéro\n", encoding="utf-8")
    people = [{"numéro": f"JC-{i}", "nom": name, "prénom": usual}
              for i, (name, usual) in enumerate([("Lebœuf", "Maë"), ("Łoś", "Ægir"), ('A "b"; c,', "Zoé\nÉlise")])]
    with open(folder / "people.csv", "w", encoding="utf-8-sig", newline="") as file:
        writer = csv.DictWriter(file, ["numéro", "nom", "prénom"], delimiter=";")
        writer.writeheader()
        writer.writerows(people)
    (folder / "club.csv").write_text("ville\nSète\n", encoding="utf-8")
    rubrics = ["--rubric", f"club={folder / 'club.csv'}"]
    status, out, err = zforms("map", SAMPLE, "--ini", folder / "maps.ini", *rubrics, "--rubric",
                              f"MEMBRE={folder / 'people.csv'}")
    same("map", (status, err), (0, ""))
    table = [line.split() for line in out.splitlines()]
    same("what feeds it", [line[-3:] for line in table if line[0] in (NAME, CITY)],
         [["text", "membre.NOM", "Lebœuf"], ["text", "club.ville", "Sète"]])
    unmapped = [line[-1] == "-" for line in table[1:]]
    same("unmapped fields come last", unmapped, sorted(unmapped))
    status, _, err = zforms("batch", SAMPLE, "--data", folder / "people.csv", "--map", folder / "maps.ini", *rubrics,
                            "--section", "Adhésion", "--out", folder / "out", "--name", "{numéro}.pdf")
    same("batch", (status, err), (0, ""))
    forms = [folder / "out" / f"{person['numéro']}.pdf" for person in people]
    rows = list(csv.DictReader(io.StringIO(zforms("export", *forms, "--format", "csv")[1], newline="")))
    for person, row, form in zip(people, rows, forms):
        same(f"values of {form.name}", (row["Numéro d'adhérent"], row[NAME], row[USUAL], row[CITY]),
             (person["numéro"], person["nom"], person["prénom"], "Sète"))
        if shutil.which("qpdf"):
            same(f"qpdf on {form.name}", peers.qpdf_check(form), (0, 0))
    status, _, err = zforms("map", SAMPLE, "--ini", folder / "maps.ini", "--section", "none")
    expect(status == 2 and "maps.ini" in err, "no such section", err)


if __name__ == "__main__":
    run_tests(globals())
