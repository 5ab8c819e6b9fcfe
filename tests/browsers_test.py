#!/usr/bin/env python3
"""Fills in, computes, prints, saves, finds again, changes and downloads forms on the page, in Chromium and in Firefox,
by reader/rounds.mjs. The test is skipped unless both browsers are installed.

browsers_test.py [--browser NAME] [--corpus DIR] [CODE...]

--corpus: the forms of corpus_rounds.py, from a folder of real forms, instead of the samples."""

import argparse
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from tool_case import ROOT, SAMPLES, SANITIZED, SKIPPED, TOOL
from corpus_rounds import rounds_of
from reader_test import PACKAGES, scripted

BROWSERS = {"chrome": ("chromium",), "firefox": ("firefox-esr", "firefox")}

# For each form: the values to type (a number clicks the button of the field with this index), the values that the page
# then shows, other values that are stored, and a text to append to a field later. "said" is a part of the message of
# the page when a script fails.
ROUNDS = {
    "membership_form": {
        "typed": {"adherent.nom": "Lebœuf", "adherent.prenom": "Zoé", "adherent.naissance": "14071989", "formule": 2,
                  "accords.statuts": 0, "activites.remarques": "à 12 € <b>"},
        "shown": {"adherent.nom": "Lebœuf"}, "stored": {"formule": "Étudiant", "accords.statuts": "Oui"},
        "again": ("adherent.nom", " II")},
    "tax_return": {
        "typed": {"declarant.siret": "12345678901234", "declarant.denomination": "Łódź & fils", "declarant.régime": 1},
        "shown": {"declarant.siret": "12345678901234"}, "stored": {"declarant.régime": "Réel simplifié"},
        "again": ("declarant.denomination", " 2")},
    "scripted": {
        "typed": {"hours": "12x.5", "rate": "20,1", "date": "1/2/2026"},
        "shown": {"hours": "12.50", "rate": "20,10 EUR", "pay": "251,25 EUR", "half": "125.625", "date": "01/02/2026"},
        "stored": {"hours": "12.5", "rate": "20.1", "pay": "251.25", "half": "125.625", "date": "01/02/2026"},
        "again": ("extra", "1")},
}


def plan_of(code, values):
    typed = values["typed"]
    stored = {name: what for name, what in typed.items() if isinstance(what, str)}
    name = values["again"][0]
    return {"code": code, "typed": list(typed.items()), "shown": values["shown"],
            "stored": {name: "", **stored, **values["stored"]}, "again": values["again"], "said": values.get("said", "")}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--browser", choices=BROWSERS, action="append")
    parser.add_argument("--corpus", type=pathlib.Path)
    parser.add_argument("codes", nargs="*")
    options = parser.parse_args()
    if SANITIZED:
        print("browsers_test: skipped with sanitizers, which do not check the page; reader_test covers the server")
        return SKIPPED
    node = shutil.which("node")
    programs = {kind: next(filter(None, map(shutil.which, BROWSERS[kind])), None) for kind in options.browser or BROWSERS}
    page = pathlib.Path(TOOL).parent.parent / "share/zforms/reader/pdfjs"
    wanted = [("node", node), *programs.items(), (f"puppeteer-core in {PACKAGES}", (PACKAGES / "puppeteer-core").is_dir()),
              (f"pdf.js in {page}", page.is_dir()), ("zforms (ZFORMS_TOOL)", TOOL)]
    missing = [what for what, there in wanted if not there]
    if missing:
        print("browsers_test: missing:", ", ".join(missing), "(./run test installs them)")
        return 1 if os.environ.get("CI") else SKIPPED
    pictures = pathlib.Path(os.environ.get("ZFORMS_SCREENSHOTS", ROOT / "build/screenshots"))
    pictures.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "templates").mkdir()
        if options.corpus:
            rounds = rounds_of(options.corpus, folder / "templates")
        else:
            rounds = ROUNDS
            (folder / "templates/scripted.pdf").write_bytes(scripted().file()[0])
            for path in SAMPLES.glob("*.pdf"):
                shutil.copy(path, folder / "templates")
        failed = 0
        for kind, program in programs.items():
            forms = [plan_of(code, values) for code, values in rounds.items()]
            (folder / "plan.json").write_text(json.dumps({"browser": kind, "forms": forms}))
            failed |= subprocess.run([node, ROOT / "tests/reader/rounds.mjs", TOOL, program, PACKAGES, folder, pictures,
                                      *options.codes]).returncode
        return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
