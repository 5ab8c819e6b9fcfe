#!/usr/bin/env python3
"""batch --merge: one file with the pages of all rows, in their order, as the flattened forms of single rows show them."""

import os
import re
import shutil
import subprocess

import peers
from batch_test import SAMPLE, SCRIPTS, table
from tool_case import SANITIZED, TOOL, WINDOWS, PageForm, Name, Ref, Text, expect, run_tests, same, zforms

NOM = "adherent.nom"


def text_of(path, *options):
    return subprocess.run(["pdftotext", "-layout", *options, path, "-"], stdout=subprocess.PIPE, check=True).stdout.decode("utf-8")


def merged(folder, form, data, *options):
    path = folder / "Łoś €.pdf"
    status, _, err = zforms("batch", form, "--data", data, "--merge", path, *options)
    return path, status, err


def objects_of(path):
    done = subprocess.run(["qpdf", "--qdf", "--object-streams=disable", path, "-"], stdout=subprocess.PIPE, check=True)
    return done.stdout


def two_pages(path):
    """Two pages that inherit box, resources and rotation, link to each other, share an object, and have a layer."""
    document = PageForm()
    box, more = document.reserve(), document.reserve()
    layer = document.add({"Type": Name("OCG"), "Name": Text("Ebene")})
    font = document.add({"Type": Name("Font"), "Subtype": Name("Type1"), "BaseFont": Name("Helvetica")})
    field = document.add(document.widget(FT=Name("Tx"), T=Text("a"), DA=Text("/H 9 Tf"), Rect=[0, 0, 90, 20]))
    links = [document.add({"Type": Name("Annot"), "Subtype": Name("Link"), "Rect": [0, 50, 9, 60], "Dest": [Ref(to), Name("Fit")]})
             for to in (more, document.page)]
    content = document.add({}, b"/OC /L BDC BT /H 9 Tf 5 50 Td (page) Tj ET EMC")
    document.put(document.page, {"Type": Name("Page"), "Parent": Ref(box), "Contents": content, "Annots": [field, links[0]]})
    document.put(more, {"Type": Name("Page"), "Parent": Ref(box), "Contents": content, "Annots": [links[1]]})
    document.put(box, {"Type": Name("Pages"), "Kids": [Ref(document.page), Ref(more)], "Count": 2, "MediaBox": [0, 0, 100, 100],
                       "Rotate": 90, "Resources": {"Font": {"H": font}, "Properties": {"L": layer}}})
    document.put(document.catalog, {"Type": Name("Catalog"), "Pages": Ref(box),
                                    "AcroForm": {"Fields": [field], "DR": {"Font": {"H": font}}, "DA": Text("/H 9 Tf")},
                                    "OCProperties": {"OCGs": [layer], "D": {"Order": [layer]}}})
    path.write_bytes(document.finish(document.catalog, document.add({"Title": Text("form")}))[0])
    return path


def test_pages_are_those_of_single_forms(folder):
    names = [SCRIPTS[NOM][i % 4] + f" {i}" for i in range(150)]
    rows = [[name, SCRIPTS["adherent.ville"][i % 3] if i % 3 != 1 else "", ("Oui", "Off")[i % 2]] for i, name in enumerate(names)]
    data = table(folder / "rows.csv", [NOM, "adherent.ville", "adherent.premiere"], rows)
    path, status, err = merged(folder, SAMPLE, data, "--name", f"{{{NOM}}}", "--jobs", "3", "--report", folder / "r.json")
    same("merged", (status, err), (0, ""))
    first = path.read_bytes()
    merged(folder, SAMPLE, data, "--name", f"{{{NOM}}}", "--jobs", "1")
    same("threads change nothing", path.read_bytes() == first, True)
    zforms("batch", SAMPLE, "--data", data, "--out", folder / "out", "--flatten")
    singles = sorted((folder / "out").glob("*.pdf"))
    if shutil.which("pdftotext"):
        same("text of the pages, in order", text_of(path).split("\f"), "".join(map(text_of, singles)).split("\f"))
    if shutil.which("mutool"):
        outline = subprocess.run(["mutool", "show", path, "outline"], stdout=subprocess.PIPE, check=True).stdout.decode("utf-8")
        pages = len(text_of(path).split("\f")) - 1
        each = pages // len(names)
        same("outline", re.findall(r'"(.*?)"\t#page=(\d+)', outline), [(name, str(i * each + 1)) for i, name in enumerate(names)])
        for row in (0, 149):
            images = [subprocess.run(["mutool", "draw", "-r", "50", "-o", "-", "-F", "pam", file, str(page)],
                                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
                      for file, page in ((path, row * each + 1), (singles[row], 1))]
            same(f"the drawing of row {row}", images[0] == images[1] != b"", True)
    if shutil.which("qpdf"):
        same("qpdf", peers.qpdf_check(path), (0, 0))
        text = objects_of(path)
        same("nothing is left to fill in", (b"/AcroForm" in text, b"/Widget" in text), (False, False))
        # The file has the page content of the form only once. It has each font once too, in a few subsets for the names.
        expect(len(first) / len(rows) < 0.3 * len(singles[0].read_bytes()), "what rows share", len(first))
    same("our own check", zforms("check", path)[0], 0)


def test_inherited_entries_links_and_layers(folder):
    data = table(folder / "rows.csv", ["a"], [["x"], ["y"], ["z"]])
    path, status, err = merged(folder, two_pages(folder / "two.pdf"), data)
    same("merged", (status, err), (0, ""))
    if not shutil.which("qpdf"):
        return
    same("qpdf", peers.qpdf_check(path), (0, 0))
    objects = dict(re.findall(rb"(?m)^(\d+) 0 obj\n(.*?)\nendobj", objects_of(path), re.S))
    pages = [number for number, text in objects.items() if b"/Type /Page\n" in text]
    same("pages", len(pages), 6)
    for number in pages:
        expect(all(word in objects[number] for word in (b"/MediaBox", b"/Rotate 90", b"/Resources")), "inherited", objects[number])
    targets = [re.search(rb"/Dest \[\s*(\d+) 0 R", text)[1] for text in objects.values() if b"/Link" in text]
    same("links within the row", (len(targets), len(set(targets)), set(targets) <= set(pages)), (6, 6, True))
    same("one layer", sum(b"/Type /OCG" in text for text in objects.values()), 1)
    expect(any(b"/OCProperties" in text for text in objects.values()), "layers of the catalog", "")


def test_refused(folder):
    data = table(folder / "rows.csv", [NOM], [["x"]])
    locked = folder / "locked.pdf"
    zforms("permissions", SAMPLE, "--encrypt", "aes-256", "-o", locked)
    (folder / "all.pdf").write_text("old")
    for label, form, options, status, said in [
            ("encrypted", locked, (), 2, "rewrite --decrypt"), ("with --resume", SAMPLE, ("--resume",), 2, "need a folder"),
            ("over the form", SAMPLE, ("--merge", SAMPLE), 2, "both the input and the output"),
            ("into no folder", SAMPLE, ("--merge", folder / "none" / "x.pdf"), 75, "cannot be written"),
            ("with --out", SAMPLE, ("--merge", folder / "all.pdf", "--out", folder), 2, "--out")]:
        command = ["batch", form, "--data", data, *(options if "--merge" in options else ("--merge", folder / "all.pdf", *options))]
        got, _, err = zforms(*command)
        expect(got == status and said in err, label, (got, err))
    same("files", ((folder / "all.pdf").read_text(), sorted(path.name for path in folder.iterdir())),
         ("old", ["all.pdf", "locked.pdf", "rows.csv"]))


def test_memory(folder):
    """Rows keep no memory after they are written: ten times as many rows need hardly more memory."""
    if SANITIZED or WINDOWS:
        return
    peaks = []
    for count in (500, 5000):
        data = table(folder / "rows.csv", [NOM], [[f"Łoś {i}"] for i in range(count)])
        run = subprocess.Popen([TOOL, "batch", SAMPLE, "--data", data, "--merge", folder / "all.pdf", "--jobs", "1"])
        peaks.append(os.wait4(run.pid, 0)[2].ru_maxrss * 1024)
    # 64 bytes for each row, and 2 MB for the tables of constant size that fill up.
    expect(peaks[1] - peaks[0] < 64 * 4500 + 2_000_000, "bytes", peaks)


if __name__ == "__main__":
    run_tests(globals())
