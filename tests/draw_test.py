#!/usr/bin/env python3
"""What zforms draws is seen on the page: other readers find the values in its text."""

import json
import shutil

import peers
from tool_case import SAMPLES, expect, restricted_form, run_tests, same, zforms

FORM = SAMPLES / "membership_form.pdf"
VALUES = {  # in one direction, so that readers agree on the order
    "adherent.nom": "LEBŒUF d’Été",
    "adherent.prenom": "Ελληνικά",
    "adherent.ville": "Москва Łódź",
    "adherent.adresse": "12, rue des Écluses\nbâtiment C",
    "adherent.naissance": "14071989",
    "adherent.pays": "BE",
}
SEEN = ["LEBŒUF d’Été", "Ελληνικά", "Москва Łódź", "12, rue des Écluses", "bâtiment C", "Belgique"]


def page_texts(path):
    """The text of the first page by each reader."""
    for program, command in (("mutool", ["mutool", "draw", "-q", "-F", "txt", path, "1"]),
                             ("pdftotext", ["pdftotext", "-l", "1", path, "-"])):
        if shutil.which(program):
            yield program, peers.run(*command).out.decode("utf-8", "replace")
        else:
            print(f"skipped: {program} is not installed")


def filled(folder, values):
    (folder / "data.json").write_text(json.dumps(values))
    same("fill", zforms("fill", FORM, folder / "data.json", "-o", folder / "filled.pdf")[0], 0)
    return folder / "filled.pdf"


def test_values_are_seen(folder):
    form, drawn, again = filled(folder, VALUES), folder / "drawn.pdf", folder / "again.pdf"
    same("draw", (zforms("draw", form, "-o", drawn)[0], zforms("draw", drawn, "-o", again)[0]), (0, 0))
    before, after = form.read_bytes(), drawn.read_bytes()
    expect(after.startswith(before) and b"/NeedAppearances true" not in after[len(before):], "an update without the flag")
    for program, text in page_texts(drawn):
        same(f"not seen by {program}", [part for part in SEEN if part not in text], [])
    if shutil.which("qpdf"):
        same("qpdf", (peers.qpdf_check(drawn), peers.qpdf_check(again)), ((0, 0), (0, 0)))


def test_what_does_not_fit_is_said(folder):
    form = filled(folder, {"adherent.nom": "W" * 60})
    status, _, err = zforms("draw", form, "-o", folder / "drawn.pdf")
    expect(status == 3 and 'field "adherent.nom": ' in err and "of 60 characters do not fit" in err, "said", (status, err))


def test_signatures_are_respected(folder):
    restricted_form(folder / "form.pdf", [("S", 1, None, None)])
    status, _, err = zforms("draw", folder / "form.pdf", "-o", folder / "out.pdf")
    expect(status == 2 and "--force" in err and not (folder / "out.pdf").exists(), "refused", (status, err))


if __name__ == "__main__":
    run_tests(globals())
