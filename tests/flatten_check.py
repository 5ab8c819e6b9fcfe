#!/usr/bin/env python3
"""Flattens the forms of a folder of PDF files that other programs made, and compares the pages before and after with
those of other readers.

The folder is that of corpus_check.py; without it the check is skipped (exit 77). Each form is filled, drawn and then
flattened. The flattened file begins with the bytes of the drawn one. It has no field and no widget, and the same other
annotations. The content streams of each page are those from before, between two new ones. qpdf finds no new fault,
MuPDF draws the same picture of each page, and poppler finds the same characters.
"""

import concurrent.futures
import json
import re
import sys

sys.dont_write_bytecode = True
import corpus_check
import form_widgets
import peers

PAGES = 12  # how many pages of each file are compared
DPI = 40
# Two pixels differ when their gray levels (0 to 255) do by more than this.
LEAST_CHANGE = 80
MOST_PIXELS = 3
# Differences that are correct: file -> [(how the difference begins, why), ...].
SHOWN = "poppler does not show a button whose field has no type"
ASKS = "poppler and MuPDF draw the fields themselves: one has a character that is in no font, so the form asks for it"
ALLOWED = {
    "made/dev-tex.pdf": [("text:", ASKS), ("pictures:", ASKS)],
    "PyPDFForm__sample_filled_sejda_complex.pdf": [("text:", SHOWN)],
    "PyPDFForm__test_sejda_pages_1.pdf": [("text:", SHOWN)],
    "docassemble__testsigform.pdf": [("pictures:", "MuPDF marks signature fields that are not signed")],
    "qpdf__button-set-broken-out.pdf": [("pictures:", "MuPDF does not show a widget that belongs to no field")],
    "qpdf__form-document-defaults.pdf": [("pictures:", "MuPDF does not show a widget that belongs to no field")],
}


def annotations(objects, page):
    """The references of the annotations of a page that are not widgets, and the number of widgets."""
    found = objects.get(page, "/Annots")
    found = found if isinstance(found, list) else []
    kinds = [(objects.get(objects.get(one), "/Subtype"), one) for one in found]
    return [str(one) for kind, one in kinds if kind != "/Widget"], sum(kind == "/Widget" for kind, _ in kinds)


def contents(objects, page):
    """The references to the content streams of a page."""
    direct = page.get("/Contents")
    value = objects.get(direct)
    return [] if direct is None else value if isinstance(value, list) else [direct]


class Check(corpus_check.Check):
    def __init__(self, options, row, truth, folder):
        super().__init__(options, row, truth, folder)
        self.pages, self.worst = 0, 0

    def result(self):
        return {"file": self.row["file"], "problems": self.problems, "pages": self.pages, "worst": self.worst}

    def tool(self, *arguments):
        word = ["--password", self.password] if self.password else []
        done = peers.run(self.options.tool, *arguments, *word)
        if done.status not in (0, 2, 3):
            self.problem(arguments[0], f"exit {done.status}: {done.err.decode('utf-8', 'replace')[-300:]!r}")
        return done

    def run(self):
        drawn, flat = self.folder / "drawn.pdf", self.folder / "flat.pdf"
        if not self.prepare(drawn):
            return
        done = self.tool("flatten", drawn, "-o", flat, "--force")
        if done.status not in (0, 3):
            self.problem("flatten", f"exit {done.status}: {done.err.decode('utf-8', 'replace')[:300]!r}")
            return
        if not flat.read_bytes().startswith(drawn.read_bytes()):
            self.problem("prefix", "the bytes before are not the same")
        left = self.tool("fields", flat, "--json")
        fields = json.loads(left.out)["fields"] if left.status in (0, 3) else []
        if fields:
            self.problem("fields", f"{len(fields)} are left")
        before, after = peers.qpdf_check(drawn, self.password), peers.qpdf_check(flat, self.password)
        if after[0] > before[0] or after[1] > before[1]:
            self.problem("qpdf", f"{before} before, {after} after")
        self.compare_objects(drawn, flat)
        self.compare_text(drawn, flat)
        self.compare_pictures(drawn, flat)

    def prepare(self, drawn):
        """Fills and draws the form. Returns False for a file without a readable form."""
        listed = self.tool("fields", self.path, "--json")
        if listed.status not in (0, 3):
            return False
        filled, data = self.folder / "filled.pdf", self.folder / "data.xfdf"
        source = self.path
        data.write_bytes(corpus_check.xfdf(corpus_check.fill_values(json.loads(listed.out)["fields"])))
        if self.tool("fill", source, data, "-o", filled, "--force").status in (0, 3):
            source = filled
        return self.tool("draw", source, "-o", drawn, "--force").status in (0, 3)

    def compare_objects(self, drawn, flat):
        before, after = peers.Objects(drawn, self.password), peers.Objects(flat, self.password)
        was, now = ([node for _, node in form_widgets.pages(objects)] for objects in (before, after))
        if len(was) != len(now):
            self.problem("pages", f"{len(was)} before, {len(now)} after")
        for number, (old, new) in enumerate(zip(was, now), 1):
            kept, widgets = annotations(after, new)
            if widgets:
                self.problem("annotations", f"page {number} has {widgets} widgets")
            if kept != annotations(before, old)[0]:
                self.problem("annotations", f"page {number} has other ones: {kept}")
            former, present = contents(before, old), contents(after, new)
            if former != present and former and present[1:-1] != former:
                self.problem("contents", f"page {number}: {former} became {present}")

    def compare_text(self, drawn, flat):
        texts = [peers.run("pdftotext", "-l", str(PAGES), "-upw", self.password, path, "-").out for path in (drawn, flat)]
        before, after = (sorted(re.sub(r"\s", "", text.decode("utf-8", "replace"))) for text in texts)
        if before != after:
            missing = "".join(c for c in set(before) if before.count(c) > after.count(c))
            added = "".join(c for c in set(after) if after.count(c) > before.count(c))
            self.problem("text", f"{len(before)} characters became {len(after)}; less {missing!r}, more {added!r}")

    def compare_pictures(self, drawn, flat):
        for name, path in (("before", drawn), ("after", flat)):
            peers.run("mutool", "draw", "-q", "-p", self.password, "-F", "pgm", "-r", str(DPI), "-o",
                      self.folder / f"{name}-%d.pgm", path, f"1-{PAGES}")
        for picture in sorted(self.folder.glob("before-*.pgm")):
            other = picture.with_name(picture.name.replace("before", "after"))
            if not other.exists():
                self.problem("pictures", f"{other.name} is missing")
                continue
            self.pages += 1
            one, two = picture.read_bytes(), other.read_bytes()
            if one == two:
                continue
            differ = sum(abs(a - b) > LEAST_CHANGE for a, b in zip(one, two))
            self.worst = max(self.worst, differ)
            if len(one) != len(two) or differ > MOST_PIXELS:
                self.problem("pictures", f"{picture.stem}: {differ} pixels differ")


def main():
    options = corpus_check.arguments()
    rows, missing = corpus_check.index_of(options), peers.absent(["qpdf", "mutool", "pdftotext"])
    if rows is None or missing:
        print(f"skipped: not installed: {missing}" if missing else "")
        return corpus_check.SKIPPED
    rows = [row for row in rows if row["acroform"] == "1"]
    with concurrent.futures.ProcessPoolExecutor(min(options.jobs, 2)) as pool:
        many = len(rows)
        results = list(pool.map(corpus_check.check_file, [options] * many, rows, [None] * many, [Check] * many))
    stale = corpus_check.explain(results, ALLOWED)
    if options.report:
        options.report.write_text(json.dumps(results, indent=1))
    for result in results:
        for problem in result["problems"][:3]:
            print(f"{result['file']}: {problem}")
    for rule in stale:
        print(f"allowed difference that no longer occurs: {rule}")
    flattened = [r for r in results if r["pages"]]
    print(f"flatten_check: {len(results)} forms, {len(flattened)} flattened, {sum(r['pages'] for r in results)} pages "
          f"compared, {sum(bool(r['problems']) for r in results)} differ")
    return 1 if stale or any(r["problems"] for r in results) or not flattened else 0


if __name__ == "__main__":
    sys.exit(main())
