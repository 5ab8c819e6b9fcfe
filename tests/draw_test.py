#!/usr/bin/env python3
"""Other readers find the values that zforms draws in the text of the page."""

import json
import pathlib
import shutil

import peers
from tool_case import SAMPLES, Name, Text, expect, restricted_form, run_tests, same, zforms

FORM = SAMPLES / "membership_form.pdf"
DEJAVU = pathlib.Path("/usr/share/fonts/truetype/dejavu")
VALUES = {  # only left to right, so that readers agree on the order
    "adherent.nom": "LEBŒUF d’Été",
    "adherent.prenom": "Ελληνικά",
    "adherent.ville": "Москва Łódź",
    "adherent.adresse": "12, rue des Écluses\nbâtiment C",
    "adherent.naissance": "14071989",
    "adherent.pays": "BE",
}
SEEN = ["LEBŒUF d’Été", "Ελληνικά", "Москва Łódź", "12, rue des Écluses", "bâtiment C", "Belgique"]


def page_texts(path):
    """(reader, its text of the first page) for each installed reader."""
    for program, command in (("mutool", ["mutool", "draw", "-q", "-F", "txt", path, "1"]),
                             ("pdftotext", ["pdftotext", "-l", "1", path, "-"])):
        if shutil.which(program):
            yield program, peers.run(*command).out.decode("utf-8", "replace")
        else:
            print(f"skipped: {program} is not installed")


def fill(folder, values, *options, form=FORM, name="filled.pdf"):
    """Fills the form; returns (path of the filled form, exit status, messages)."""
    (folder / "data.json").write_text(json.dumps(values))
    status, _, err = zforms("fill", form, folder / "data.json", "-o", folder / name, *options)
    return folder / name, status, err


def test_values_are_seen(folder):
    """Readers find the values, drawn by fill itself or by draw afterwards."""
    blank, at_once, drawn = fill(folder, VALUES, "--draw", "no")[0], fill(folder, VALUES, name="1.pdf")[0], folder / "2.pdf"
    same("draw", zforms("draw", blank, "-o", drawn)[0], 0)
    for form, before in ((at_once, FORM.read_bytes()), (drawn, blank.read_bytes())):
        after = form.read_bytes()
        expect(after.startswith(before) and b"/NeedAppearances" not in after[len(before):], f"{form.name}: an update")
        for program, text in page_texts(form):
            same(f"{form.name}: not seen by {program}", [part for part in SEEN if part not in text], [])
        if shutil.which("qpdf"):
            same("qpdf", peers.qpdf_check(form), (0, 0))
    expect(b"/Tx BMC" not in blank.read_bytes()[FORM.stat().st_size:], "left to viewers")


def test_the_second_filling_adds_what_changed(folder):
    first, status, err = fill(folder, VALUES)
    same("first", (status, err), (0, ""))
    size = first.stat().st_size
    same("the same values", fill(folder, VALUES, form=first, name="same.pdf")[0].read_bytes(), first.read_bytes())
    second = fill(folder, {"adherent.ville": "Paris"}, form=first, name="second.pdf")[0].read_bytes()
    added = second[size:]
    expect(second.startswith(first.read_bytes()) and b"FontFile" not in added and added.count(b" obj") == 2,
           "a value and its appearance", added)


def test_drawing_again_adds_what_changed(folder):
    once, twice, filled = folder / "once.pdf", folder / "twice.pdf", folder / "refilled.pdf"
    for form, source, target in (("filled", fill(folder, VALUES)[0], once), ("drawn", once, twice)):
        same(f"draw a form that is {form}", zforms("draw", source, "-o", target)[0], 0)
    same("drawn twice", twice.read_bytes(), once.read_bytes())
    # The first name has only letters of the former one; the second has a letter that its subset lacks.
    for name, subsets, objects in (("Ελλην", 0, 2), ("Ελλάς", 1, 8)):
        fill(folder, {"adherent.prenom": name}, form=once, name=filled.name)
        added = filled.read_bytes()[once.stat().st_size:]
        same(f"what {name} adds", (added.count(b"/FontFile2"), added.count(b" obj")), (subsets, objects))
        expect(all(name in text for _, text in page_texts(filled)), f"{name} is seen", "")
        same("draw", zforms("draw", filled, "-o", twice)[0], 0)
        same(f"drawn after {name}", twice.read_bytes(), filled.read_bytes())


def test_fonts_that_are_named(folder):
    (folder / "font.ttf").write_text("no font")
    values = {"adherent.nom": "\u03c9"}
    path, status, err = fill(folder, values, "--font", folder / "font.ttf")
    same("no font", (status, err, path.exists()), (2, f"zforms: {folder / 'font.ttf'}: is not a font file\n", False))
    fonts = [font for font in (DEJAVU / "DejaVuSansMono-Bold.ttf", DEJAVU / "DejaVuSerif-Bold.ttf") if font.exists()]
    for font in fonts:
        others = [option for other in fonts if other != font for option in ("--font", other)]
        path, status, err = fill(folder, values, "--font", font, *others)
        expect(status == 0 and f"+{font.stem}".encode() in path.read_bytes(), f"in {font.stem}", err)


def test_what_does_not_fit_is_said(folder):
    for command in (["fill", FORM, folder / "data.json"], ["draw", fill(folder, {"adherent.nom": "W" * 60}, "--draw", "no")[0]]):
        status, _, err = zforms(*command, "-o", folder / "drawn.pdf")
        expect(status == 3 and 'field "adherent.nom": ' in err and "of 60 characters do not fit" in err, "said", (status, err))


def test_signatures_are_respected(folder):
    restricted_form(folder / "form.pdf", [("S", 1, None, None)])
    status, _, err = zforms("draw", folder / "form.pdf", "-o", folder / "out.pdf")
    expect(status == 2 and "--force" in err and not (folder / "out.pdf").exists(), "refused", (status, err))
    lock = {"Action": Name("Include"), "Fields": [Text("a")]}
    form = restricted_form(folder / "locked.pdf", [("S", None, lock, None)])
    for options, drawn in (([], 2), (["--force"], 3)):
        zforms("draw", form, "-o", folder / "out.pdf", *options)
        same(f"locked {options}", (folder / "out.pdf").read_bytes().count(b"/Tx BMC"), drawn)


if __name__ == "__main__":
    run_tests(globals())
