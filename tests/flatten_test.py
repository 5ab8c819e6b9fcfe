#!/usr/bin/env python3
"""After zforms flatten, other readers find the values in the text of the page, and no form."""

import json
import shutil

import draw_test
import peers
from tool_case import expect, restricted_form, run_tests, same, zforms


def test_values_stay_and_fields_go(folder):
    form, flat, part = draw_test.fill(folder, draw_test.VALUES)[0], folder / "flat.pdf", folder / "part.pdf"
    same("flatten", zforms("flatten", form, "-o", flat), (0, "", ""))
    expect(flat.read_bytes().startswith(form.read_bytes()), "an update")
    same("fields", json.loads(zforms("fields", flat, "--json")[1])["fields"], [])
    at_once = draw_test.fill(folder, draw_test.VALUES, "--flatten", name="at_once.pdf")[0]
    same("fields", zforms("fields", at_once, "--json")[1].count('"name"'), 0)
    for program, text in [*draw_test.page_texts(flat), *draw_test.page_texts(at_once)]:
        same(f"not seen by {program}", [seen for seen in draw_test.SEEN if seen not in text], [])
    if shutil.which("qpdf"):
        same("qpdf", peers.qpdf_check(flat), (0, 0))

    same("some fields", zforms("flatten", form, "--field", "adherent.nom", "adherent.pays", "-o", part)[0], 0)
    names = [[field["name"] for field in json.loads(zforms("fields", path, "--json")[1])["fields"]]
             for path in (form, part)]
    same("the others stay", names[1], [name for name in names[0] if name not in ("adherent.nom", "adherent.pays")])
    status, _, err = zforms("flatten", form, "--field", "adherent.none", "-o", folder / "none.pdf")
    expect(status == 2 and 'no field is named "adherent.none"' in err, "said", (status, err))


def test_signatures_are_respected(folder):
    restricted_form(folder / "form.pdf", [("S", 0, None, None)])
    status, _, err = zforms("flatten", folder / "form.pdf", "-o", folder / "out.pdf")
    expect(status == 2 and "flattening makes its signatures invalid" in err and "--force" in err,
           "refused", (status, err))
    expect(not (folder / "out.pdf").exists(), "nothing is written")
    same("forced", zforms("flatten", folder / "form.pdf", "-o", folder / "out.pdf", "--force")[0], 3)


if __name__ == "__main__":
    run_tests(globals())
