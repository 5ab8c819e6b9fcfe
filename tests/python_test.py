#!/usr/bin/env python3
"""The Python package in bindings/python: its examples (doctest), what it reads and writes, its errors, its wheel."""

import ctypes
import doctest
import http.client
import json
import os
import pathlib
import subprocess
import sys
import zipfile

from tool_case import ROOT, SAMPLES, SANITIZED, SKIPPED, TOOL, expect, run_tests, same, zforms as tool

LIBRARY = pathlib.Path(TOOL).resolve().parent.parent / "libzforms.so"
PACKAGE = ROOT / "bindings/python"
if SANITIZED or not LIBRARY.is_file():
    sys.exit(SKIPPED)  # an interpreter without sanitizers cannot load the library; c_interface tests the C functions
os.environ["ZFORMS_LIBRARY"] = str(LIBRARY)
sys.path[:0] = [str(PACKAGE)]
import zforms

FORM = SAMPLES / "membership_form.pdf"


def exported(path):
    """The values of a form as the tool reads them."""
    return json.loads(tool("export", path, "--format", "json", "--all")[1])


def test_examples(folder):
    finder, runner = doctest.DocTestFinder(), doctest.DocTestRunner()
    found = [example for name in ("__doc__", *zforms.__all__, "_form.values_of")
             for example in finder.find(zforms if name == "__doc__" else eval(f"zforms.{name}"), name, module=False)]
    for example in found:
        runner.run(example, out=lambda text: expect(False, "an example", text))
    expect(len([example for example in found if example.examples]) >= 9, "examples are found", str(len(found)))


def test_values(folder):
    cases = [("adherent.nom", "Łoś 😀", "Łoś 😀"), ("adherent.pays", "Belgique", "BE"), ("accords.statuts", True, "Oui"),
             ("accords.statuts", False, "Off"), ("paiement.don", 12, "12"), ("adherent.nom", None, ""),
             ("adherent.adresse", "a\nb", "a\r\nb"), ("activites.ateliers", ["SEMIS", "FÊTE"], ["SEMIS", "FÊTE"])]
    out = folder / "out.pdf"
    with zforms.open(FORM) as form:
        for name, value, after in cases:
            form[name] = value
            same(f"{name} = {value!r}", form[name], after)
        form.save(out)
        same("the file", form.file, str(out))
        again = zforms.open(form.to_bytes())
        same("bytes hold what the file holds", dict(again), dict(form))
        same("the names", set(form), {field.name for field in form.fields if field.has_data})
        place = form.field("adherent.nom").widgets[0]
        expect(place.page == 1 and place.left < place.right and place.bottom < place.top, "a place", str(place))
    expect(out.read_bytes().startswith(FORM.read_bytes()), "an update leaves the bytes that were there")
    tool_values = exported(out)
    same("the tool reads the same", [tool_values["activites.ateliers"], tool_values["paiement.don"]],
         [["SEMIS", "FÊTE"], "12"])


def test_drawing(folder):
    size = FORM.stat().st_size
    for title, options, draws in [("viewers draw", {}, False), ("drawn when filled", {"draw": True}, False),
                                  ("drawn", {}, True)]:
        with zforms.open(FORM, **options) as form:
            form["adherent.nom"] = "Lebœuf"
            if draws:
                form.draw()
            same(title, b"/BBox" in form.to_bytes()[size:], bool(options or draws))
            form.flatten("adherent.nom")
            same(f"{title}: flattened", ("adherent.nom" in form, form["adherent.pays"]), (False, "FR"))
        row = next(zforms.batch(zforms.open(FORM, **options), [{"adherent.nom": "Lebœuf"}]))
        same(f"{title}: a row", b"/BBox" in row.data[size:], bool(options))


def test_data(folder):
    data = {"adherent": {"nom": "Lebœuf", "ville": None}, "activites.ateliers": ["SEMIS"], "accords.statuts": True}
    files = {"data.json": json.dumps(data).encode(), "data.csv": "adherent.nom;accords.statuts\nLebœuf;1\n".encode()}
    for name, text in files.items():
        (folder / name).write_bytes(text)
    for title, source in {"a dict": data, "bytes": files["data.csv"], **{name: folder / name for name in files}}.items():
        with zforms.open(FORM) as form:
            same(f"{title}: messages", form.fill(source), [])
            same(title, [form["adherent.nom"], form["accords.statuts"]], ["Lebœuf", "Oui"])
            with zforms.open(FORM) as other:
                for format, start in {"xfdf": b"<?xml", "fdf": b"%FDF", "json": b"{\n", "jsonl": b'{"', "csv": b"Num"}.items():
                    exported = form.export(format)
                    same(f"{title}: {format}", exported[:len(start)], start)
                    other.fill(exported)
                    same(f"{title} by {format}", other["adherent.nom"], "Lebœuf")


def test_errors(folder):
    form = zforms.open(FORM)
    closed = zforms.open(FORM)
    closed.close()
    empty = folder / "empty.json"
    empty.touch()
    cases = [(lambda: zforms.open(b"no PDF"), zforms.FormError, ""), (lambda: form["no"], KeyError, str(FORM)),
             (lambda: form["boutons.enregistrer"], KeyError, str(FORM)),
             (lambda: form.__setitem__("adherent.pays", "ZZ"), zforms.DataError, str(FORM)),
             (lambda: form.__setitem__("adherent.pay", "ZZ"), zforms.FieldNotFoundError, str(FORM)),
             (lambda: form.__setitem__("adherent.nom", "a\0b"), ValueError, None),
             (lambda: form.fill(empty), zforms.DataError, str(empty)), (lambda: form.fill(b"{"), zforms.DataError, None),
             (lambda: form.save(folder / "no" / "f.pdf"), zforms.FormError, str(folder / "no" / "f.pdf")),
             (lambda: zforms.open(form.to_bytes()).save(), ValueError, None), (lambda: closed["a"], ValueError, None),
             (lambda: zforms.open(FORM, fonts=[FORM]), zforms.DataError, str(FORM)),
             (lambda: form.export("pdf"), ValueError, None),
             (lambda: zforms.batch(form, b"a,b\n1,2\n"), zforms.DataError, "the rows"),
             (lambda: zforms.batch(form, folder / "no.csv"), zforms.DataError, str(folder / "no.csv"))]
    for number, (call, kind, file) in enumerate(cases):
        try:
            call()
            expect(False, f"error {number}", "nothing was raised")
        except Exception as error:
            expect(isinstance(error, kind), f"error {number}", repr(error))
            if file is not None:
                same(f"error {number}: file", error.file, file)
                expect(error.fault and str(error).endswith(error.fault), f"error {number}: fault", str(error))
    form["adherent.nom"] = "still usable"


def test_batches(folder):
    table = "id,adherent.nom,adherent.pays\n1,Łoś,BE\n../2,Zoé,FR\n3,Noé,ZZ\n1,Łoś,FR\n"
    (folder / "people.csv").write_text(table)
    rows = [{"id": 1, "adherent.nom": "Łoś", "adherent.pays": "BE"}, {"id": "../2", "adherent.nom": "Zoé"},
            {"id": 3, "adherent.pays": "ZZ"}, {"id": 1, "adherent.nom": "Łoś"}]
    for title, source in {"file": folder / "people.csv", "bytes": table.encode(), "dicts": rows}.items():
        out = folder / title
        out.mkdir()
        done = list(zforms.batch(zforms.open(FORM, draw=True), source, out / "{id}-{adherent.nom}.pdf"))
        same(title, [row.path and row.path.name for row in done], ["1-Łoś.pdf", "_._2-Zoé.pdf", None, None])
        expect("is not a choice of the field" in done[2].error and "another row" in done[3].error, title, str(done))
        same(f"{title}: a row keeps nothing of another", exported(out / "_._2-Zoé.pdf")["adherent.pays"], "FR")
        same(f"{title}: lines", [row.line for row in done], [0] * 4 if title == "dicts" else [2, 3, 4, 5])
        tool("fill", FORM, "-", "-o", folder / "one.pdf", stdin=json.dumps(rows[0]).encode())
        same(f"{title}: as fill does it", done[0].path.read_bytes(), (folder / "one.pdf").read_bytes())
    first = next(zforms.batch(zforms.open(FORM), rows))
    same("without files", [first.path, zforms.open(first.data)["adherent.nom"]], [None, "Łoś"])


def test_a_submission_that_is_not_stored_can_be_sent_again(folder):
    """The server of the C interface reports a submission as saved to the reader only when the host has stored it."""
    library = zforms._library.library
    library.zforms_server_new.restype = ctypes.c_void_p
    server = ctypes.c_void_p(library.zforms_server_new(os.fsencode(SAMPLES), b"App", ctypes.c_uint16(0)))
    port, length, results = ctypes.c_uint16(), ctypes.c_size_t(), [0, 1]
    callback = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)(lambda user, form: results.pop(0))
    library.zforms_server_on_submission(server, callback, None)
    same("start", library.zforms_server_start(server), 0)
    library.zforms_server_port(server, ctypes.byref(port))
    opened = ctypes.create_string_buffer(1 << 16)
    library.zforms_server_open(server, b"membership_form", b'{"adherent.nom": "Zo\xc3\xa9"}', ctypes.c_size_t(24), 1, opened,
                               ctypes.c_size_t(len(opened)), ctypes.byref(length))
    body = opened.raw[:length.value]
    expect("Zoé".encode() in body, "the form is filled when it is opened", str(body))
    answers = []
    for _ in range(3):
        connection = http.client.HTTPConnection("localhost", port.value, timeout=60)
        connection.request("POST", "/App/xfdf/save.cgi?code=membership_form", body)
        answer = connection.getresponse()
        answers.append((answer.status, (answer.headers["Content-Location"] or "").rpartition("=")[2]))
        connection.close()
    same("not stored, stored, stale", answers, [(503, ""), (200, "consult"), (200, "modify")])
    library.zforms_server_free(server)


def test_wheel(folder):
    build = [sys.executable, PACKAGE / "wheel_builder.py", LIBRARY, folder]
    name = subprocess.run(build, check=True, stdout=subprocess.PIPE, text=True).stdout.strip()
    first = (folder / name).read_bytes()
    subprocess.run(build, check=True, stdout=subprocess.DEVNULL)
    expect(first == (folder / name).read_bytes(), "two builds give the same bytes")
    zipfile.ZipFile(folder / name).extractall(folder / "site")
    program = ("import sys, zforms; form = zforms.open(sys.argv[1]); form['adherent.nom'] = 'Łoś';"
               "print(zforms.__file__, form['adherent.nom'])")
    environment = {key: value for key, value in os.environ.items() if key != "ZFORMS_LIBRARY"}
    environment["PYTHONPATH"] = str(folder / "site")
    said = subprocess.run([sys.executable, "-c", program, FORM], env=environment, stdout=subprocess.PIPE, text=True)
    same("the wheel alone", said.stdout, f"{folder / 'site/zforms/__init__.py'} Łoś\n")


if __name__ == "__main__":
    run_tests(globals())
