#!/usr/bin/env python3
"""Fills forms with text of nine scripts, draws the fields with the zforms tool, and checks that five viewers show every
value in its place: MuPDF, poppler, Ghostscript, PDFium and pdf.js (with its own form fields switched off).

Without arguments the forms are the samples. --corpus takes a folder as corpus_check.py does. Scripts that need Debian's
fonts-noto-core, fonts-noto-cjk or fonts-dejavu-core are left out where these are not installed.

A value is shown when its widget's pixels differ from those of the same form without values; MuPDF, poppler and PDFium
also give the text at this place. Viewers that are not installed are named and left out; without any viewer the check
is skipped (exit 77). --flatten examines the pages after the fields were flattened. --measure compares the start and the
size of the text with what pdf.js draws for the same values.
"""

import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import re
import statistics
import sys
import tempfile
import unicodedata

sys.dont_write_bytecode = True
import corpus_check
import form_widgets
import peers
import viewer_programs as viewers
from form_widgets import MULTILINE, PASSWORD, overlap

SKIPPED = 77
ROOT = pathlib.Path(__file__).resolve().parent.parent
GOAL = 0.995
# For each script, a text of one line.
SCRIPTS = {"Latin": "Dupont", "accented": "Éléonore", "Greek": "Ελλάδα", "Cyrillic": "Жуков", "Hebrew": "שלום",
           "Arabic": "سلام", "Devanagari": "नमस्ते", "Thai": "สวัสดี", "CJK": "東京都"}
FONTS = {"Hebrew": "he", "Arabic": "ar", "Devanagari": "hi", "Thai": "th", "CJK": "ja"}
PACKAGES = "fonts-dejavu-core, fonts-noto-core, fonts-noto-cjk"
UNSUPPORTED = "unsupported encryption: "
DIFFERENT = 16  # pixels differ when their gray levels do by more than this

# Allowed problems: file -> [(how the line begins, why), ...].
OWN_MARK = "the mark is the form's own, and poppler does not draw it"
NO_FONT = "the mark is the form's own; its font has no name and is in no resources"
ALLOWED = {
    "PyPDFForm__sample_filled_sejda_complex.pdf": [("poppler: check 'checkbox'", OWN_MARK),
                                                   ("poppler: radio 'radio'", OWN_MARK)],
    "PyPDFForm__test_radio_pages_3.pdf": [("poppler: radio 'radio_3'", OWN_MARK)],
    "PyPDFForm__test_sejda_pages_1.pdf": [("poppler: check", OWN_MARK), ("poppler: radio 'purchase_option'", OWN_MARK)],
    "pdf.js__bug1669099.pdf": [("poppler: check", NO_FONT)],
}


class Form:
    """One form, filled and drawn with values and without, and what each viewer shows of both files."""

    def __init__(self, options, path, password, folder):
        self.options, self.path, self.password, self.folder = options, path, password, folder
        self.problems, self.jobs, self.widgets, self.unfilled, self.cut, self.elsewhere = [], {}, [], [], {}, []

    def tool(self, *arguments):
        password = ["--password", self.password] if self.password else []
        return peers.run(self.options.tool, *arguments, *password)

    def make(self, label, values, texts):
        """Fills and draws the form, with shorter texts where they do not fit. Returns the drawn file, or None."""
        filled, drawn = self.folder / f"{label}-filled.pdf", self.folder / f"{label}.pdf"
        for _ in range(4):
            data = self.folder / "data.json"
            data.write_text(json.dumps(values))
            done = self.tool("fill", self.path, data, "-o", filled, "--force")
            drawing = self.tool("draw", filled, "-o", drawn, "--force") if done.status in (0, 3) else done
            if drawing.status not in (0, 3):
                said = drawing.err.decode("utf-8", "replace").strip()
                if UNSUPPORTED not in said:
                    self.problems.append(f"{label}: {said[:200]}")
                return None
            said = (done.err + drawing.err).decode("utf-8", "replace")
            cut = {n: int(count) for n, count in re.findall(r'field "(.*)": (\d+) of \d+ characters do not fit', said)}
            again = {n: values[n][:-count] for n, count in cut.items() if n in texts and count < len(values[n])}
            if label == "filled":
                self.cut = cut
            if not again:
                break
            values.update(again)
        return drawn

    def prepare(self):
        try:
            before = peers.Objects(self.path, self.password)
        except ValueError:
            return False
        widgets = form_widgets.visible_widgets(before)
        filling, empty = values_for(widgets, self.options.scripts, self.options.only_latin)
        if not filling:
            return False
        texts = {w.name for w in widgets if w.kind == "text"}
        made = {"filled": self.make("filled", filling, texts), "empty": self.make("empty", empty, set())}
        if not all(made.values()):
            return False
        files = [peers.Objects(made[label], self.password) for label in ("filled", "empty")]
        self.pair(*map(form_widgets.visible_widgets, files), filling)
        if self.options.flatten:
            made = {label: self.flattened(made[label]) for label in made}
            if not all(made.values()):
                return False
        pages = sorted({w.page.number for w in self.widgets})
        self.jobs = {k: viewers.Job(made[k], self.password, pages, self.folder) for k in made} if pages else {}
        return bool(pages)

    def flattened(self, drawn):
        """Flattens the drawn file; returns the flattened one, or None."""
        flat = drawn.with_name(f"{drawn.stem}-flat.pdf")
        done = self.tool("flatten", drawn, "-o", flat, "--force")
        if done.status not in (0, 3):
            self.problems.append(f"flatten: {done.err.decode('utf-8', 'replace').strip()[:200]}")
            return None
        left = peers.Objects(flat, self.password).fields()
        if any(field["type"] not in ("none", "sig") for field in left):
            self.problems.append(f"flatten: {len(left)} fields are left")
        return flat

    def pair(self, after, without, filling):
        """Keeps the widgets that must look different in both files, because their text or state differs."""
        others = {w.ref: w for w in without}
        for widget in after:
            other = others.get(widget.ref)
            if other is None or widget.name not in filling:
                continue
            if widget.kind in ("check", "radio"):
                if widget.state != other.state:
                    self.widgets.append(widget)
            elif widget.kind in ("text", "combo", "list"):
                if widget.text().strip() and widget.text() != other.text():
                    self.widgets.append(widget)
                elif filling[widget.name].strip():
                    self.unfilled.append(widget.name)

    def show(self):
        """Runs the viewers that take one file at a time."""
        for job in self.jobs.values():
            for viewer in ("mutool", "poppler", "ghostscript"):
                if viewer in self.options.viewers:
                    getattr(viewers, viewer)(job)

    # Comparing --------------------------------------------------------------------------------------------------

    def compare(self):
        """Adds a problem for each value that a viewer does not show; returns {viewer: the number of widgets}."""
        counts, boxes = collections.Counter(), {}
        for viewer in self.options.viewers:
            pictures = [self.jobs[k].pictures(viewer) for k in ("filled", "empty")]
            read = getattr(viewers, f"{viewer}_characters", None)
            characters = read(self.jobs["filled"]) if read else None
            for widget in self.widgets:
                counts[viewer] += 1
                box, problem = seen(widget, *(p.get(widget.page.number) for p in pictures))
                boxes[viewer, widget.ref] = box
                if not problem and characters is not None:
                    found = characters.get(widget.page.number, [])
                    problem = missing_text(widget, viewer, found, self.cut.get(widget.name, 0))
                if problem:
                    counts[f"{viewer} bad"] += 1
                    self.problems.append(f"{viewer}: {widget}: {problem}")
        self.alike(boxes, counts)
        return counts

    def alike(self, boxes, counts):
        """Checks that all viewers draw a value at the same place, within 3 points of the median of the viewers. Leaves
        out widgets that overlap, and buttons, whose appearances are mostly the form's own."""
        for widget in self.widgets:
            if widget.kind in ("check", "radio") or len(widget.areas) > 1:
                continue
            if any(overlap(widget, other) for other in self.widgets if other is not widget):
                continue
            found = {v: boxes[v, widget.ref] for v in self.options.viewers if boxes.get((v, widget.ref))}
            if len(found) < 3:
                continue
            middle = [statistics.median(side) for side in zip(*found.values())]
            for viewer, box in found.items():
                counts[f"{viewer} placed"] += 1
                if max(abs(a - b) for a, b in zip(box, middle)) > 3:
                    counts[f"{viewer} elsewhere"] += 1
                    self.elsewhere.append(f"{viewer}: {widget} takes {box}, not {middle}")


def seen(widget, filled, empty):
    """(the box of the pixels of the widget that differ, or None; why the value is not shown, or None)."""
    if not filled or not empty:
        return None, "no picture of the page"
    boxes = [difference(filled.rows(area), empty.rows(area)) for area in widget.areas]
    box = next((box for box in boxes if box), None)
    return box, None if box else "nothing is seen"


def difference(filled, empty):
    """The box (left, top, right, bottom) of the pixels that differ, or None."""
    left, right, lines = 1 << 30, -1, []
    for y, (one, other) in enumerate(zip(filled, empty)):
        if one != other:
            columns = [x for x, (a, b) in enumerate(zip(one, other)) if abs(a - b) > DIFFERENT]
            if columns:
                lines.append(y)
                left, right = min(left, columns[0]), max(right, columns[-1])
    return (left, lines[0], right, lines[-1]) if lines else None


def folded(text):
    """Counts the letters, digits and symbols of a text, after compatibility decomposition (NFKD)."""
    text = unicodedata.normalize("NFKD", text).replace("ſ", "s")
    return collections.Counter(c for c in text if unicodedata.category(c)[0] in "LNS")


def missing_text(widget, viewer, characters, cut):
    """The problem if the widget lacks more characters of the value than the tool said it left out; else None."""
    if widget.kind in ("check", "radio") or widget.flags & PASSWORD and widget.kind == "text":
        return None
    areas = [widget.rect] if viewer == "pdfium" else widget.areas
    inside = ["".join(c for c, x, y in characters if left - 1 <= x <= right + 1 and top - 1 <= y <= bottom + 1)
              for left, top, right, bottom in areas]
    lost = min((folded(widget.text()) - folded(text) for text in inside), key=lambda one: one.total())
    return f"text not found: {''.join(lost.elements())!r} in {inside}" if lost.total() > cut else None


# Values ---------------------------------------------------------------------------------------------------------------


def values_for(widgets, scripts, only_latin):
    """(values that fill the fields, values that empty them)."""
    filling, empty = {}, {}
    texts = [("Latin", SCRIPTS["Latin"]), ("accented", SCRIPTS["accented"])] if only_latin else list(scripts.items())
    for widget in widgets:
        odd = any(ord(c) < 32 or 0xD800 <= ord(c) < 0xE000 for c in widget.name)
        if not widget.name or widget.name in filling or odd:
            continue
        if widget.kind == "text":
            text = texts[len(filling) % len(texts)][1]
            if widget.flags & MULTILINE:
                text = " ".join([text] * 6) + "\n" + text
            limit = widget.max_length
            filling[widget.name] = text[:limit] if isinstance(limit, int) and limit > 0 else text
            empty[widget.name] = ""
        elif widget.kind in ("check", "radio"):
            states = [s for s in widget.states if s != "Off"]
            if states:
                filling[widget.name], empty[widget.name] = states[0], "Off"
        elif widget.kind in ("combo", "list"):
            pairs = [tuple(o) if isinstance(o, list) and len(o) == 2 else (o, o) for o in widget.options]
            shown = [export for export, text in pairs if export and text and text.strip()]
            if shown:
                filling[widget.name], empty[widget.name] = shown[-1], ""
    return filling, empty


def usable_scripts():
    """The scripts for which a font is installed."""
    found = dict(SCRIPTS)
    for script, language in FONTS.items():
        if not peers.run("fc-list", f":lang={language}", "family").out.strip():
            found.pop(script)
    return found


# The whole ------------------------------------------------------------------------------------------------------------


def forms(options, folder):
    """(path, password) of the forms to check."""
    if not options.corpus:
        return [(path, "") for path in sorted((ROOT / "samples").glob("*.pdf"))]
    return [(options.corpus / row["file"], row["password"]) for row in corpus_check.index_of(options)
            if row["password"] != "?" and row["class"] != "reject"]


def prepare(options, path, password, folder):
    place = folder / path.stem
    place.mkdir(parents=True, exist_ok=True)
    form = Form(options, path, password, place)
    if not form.prepare():
        return form
    if not options.measure:
        form.show()
    return form


def explain(found):
    """Removes the allowed lines; returns the rules that matched none."""
    stale = []
    for form in found:
        starts = [start for start, _ in ALLOWED.get(form.path.name, [])]
        stale += [f"{form.path.name}: {start}" for start in starts if not any(p.startswith(start) for p in form.problems)]
        form.problems = [p for p in form.problems if not p.startswith(tuple(starts))]
    return stale


def check(options, folder):
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        found = list(pool.map(lambda one: prepare(options, *one, folder), forms(options, folder)))
        shown = [form for form in found if form.jobs]
        if options.measure:
            return measure(options, shown, folder)
        jobs = [job for form in shown for job in form.jobs.values()]
        many = [v for v in ("pdfium", "pdfjs") if v in options.viewers]
        for viewer, said in zip(many, pool.map(lambda v: getattr(viewers, v)(jobs, folder), many)):
            if said:
                print(f"{viewer}: {said[-500:]}")
    counts = collections.Counter()
    for form in shown:
        counts += form.compare()
    return report(options, found, counts)


def report(options, found, counts):
    if options.report:
        results = {f.path.name: [len(f.widgets), f.problems, f.elsewhere, f.unfilled] for f in found}
        options.report.write_text(json.dumps(results, indent=1))
    stale = explain(found)
    if options.flatten or len(options.viewers) < 5:  # the rules are for all five viewers, and for form fields
        stale = []
    for form in found:
        for text in form.problems + form.elsewhere if options.verbose else form.problems[:3]:
            print(f"{form.path.name}: {text}")
        if len(form.problems) > 3 and not options.verbose:
            print(f"{form.path.name}: and {len(form.problems) - 3} more")
    shown = [form for form in found if form.widgets]
    kinds = collections.Counter(w.kind for form in shown for w in form.widgets)
    unfilled = sum(len(form.unfilled) for form in found)
    print(f"{len(shown)} forms, {sum(kinds.values())} widgets: {dict(kinds)}; {unfilled} not filled")
    good = True
    for viewer in options.viewers:
        count, bad = counts[viewer], counts[f"{viewer} bad"]
        good = good and count > 0 and count - bad >= GOAL * count
        good = good and counts[f"{viewer} elsewhere"] <= (1 - GOAL) * counts[f"{viewer} placed"]
        print(f"{viewer}: {count - bad} of {count} values shown ({100 * (count - bad) / max(count, 1):.2f} %), "
              f"{counts[f'{viewer} elsewhere']} of {counts[f'{viewer} placed']} not where the others have them")
    unexplained = sum(len(form.problems) for form in found)
    for rule in stale:
        print(f"allowed difference that no longer occurs: {rule}")
    print(f"viewers_check: {len(shown)} forms, {unexplained} differences")
    return 0 if good and not unexplained and not stale and shown else 1


def measure(options, shown, folder):
    """Prints how far text starts from where pdf.js itself would draw it, and how often the sizes are equal."""
    jobs = [form.jobs["filled"] for form in shown]
    said = viewers.pdfjs(jobs, folder, "measure", measure=True)
    if said:
        print(f"pdf.js: {said[-500:]}")
    near = same = total = lost = 0
    for form in shown:
        widgets = {int(w.ref.split()[0]): w for w in form.widgets}
        for number, one in viewers.pdfjs_measures(form.jobs["filled"]).items():
            if number not in widgets:
                continue
            stream, own = one.get("stream"), one.get("own")
            if not stream or not own:
                lost += 1
                continue
            total += 1
            distance = max(abs(stream[0] - own[0]), abs(stream[1] - own[1]))
            ratio = stream[2] / own[2] if own[2] else 0
            near, same = near + (distance <= 2), same + (0.9 <= ratio <= 1.1)
            if options.verbose and not (distance <= 2 and 0.9 <= ratio <= 1.1):
                places = [[round(x, 2) for x in one] for one in (stream, own)]
                print(f"{form.path.name}: {widgets[number]} starts at {places[0]}, by pdf.js at {places[1]}")
    print(f"of {total} texts {near} start within 2 points of pdf.js's, {same} have its size within 10 %; "
          f"{lost} are drawn by one alone")
    return 0 if total else 1


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tool", default=os.environ.get("ZFORMS_TOOL"), help="the zforms program (ZFORMS_TOOL)")
    parser.add_argument("--corpus", type=pathlib.Path, help="the folder of forms; the samples if not said")
    parser.add_argument("--only", default="", help="files whose name holds this text")
    parser.add_argument("--viewers", default="", help="the viewers to use, with commas between them")
    parser.add_argument("--measure", action="store_true", help="compare with pdf.js's own drawing instead")
    parser.add_argument("--flatten", action="store_true", help="flatten the forms before they are shown")
    parser.add_argument("--report", type=pathlib.Path, help="write the result of every file there, as JSON")
    parser.add_argument("--keep", type=pathlib.Path, help="keep the files made in this folder")
    parser.add_argument("--verbose", action="store_true", help="print every difference")
    parser.add_argument("--jobs", type=int, default=2)
    options = parser.parse_args()
    options.only_latin = options.measure
    return options


def main():
    options = arguments()
    if not options.tool or not os.access(options.tool, os.X_OK):
        print(f"viewers_check: no zforms program at {options.tool!r} (ZFORMS_TOOL)")
        return SKIPPED
    if options.corpus and not (options.corpus / "INDEX.tsv").is_file():
        print(f"viewers_check: skipped, no corpus at {options.corpus}")
        return SKIPPED
    there, missing = viewers.available()
    for viewer, why in missing.items():
        print(f"skipped: {viewer}: {why}")
    options.viewers = [v for v in there if not options.viewers or v in options.viewers.split(",")]
    if not options.viewers or peers.absent(["qpdf"]) or (options.measure and "pdfjs" not in there):
        return SKIPPED
    options.scripts = usable_scripts()
    if len(options.scripts) < len(SCRIPTS):
        print(f"scripts without a font: {', '.join(set(SCRIPTS) - set(options.scripts))}; install {PACKAGES}")
    with tempfile.TemporaryDirectory() as folder:
        return check(options, options.keep or pathlib.Path(folder))


if __name__ == "__main__":
    sys.exit(main())
