#!/usr/bin/env python3
"""Runs the zforms tool over a folder of PDF files that other programs made, and compares the results with those of
other readers.

The folder (ZFORMS_CORPUS, else shared/corpus beside the repository) holds INDEX.tsv, one line a file, and
truth.jsonl, one form a line. Without it the check is skipped (exit 77). For every file: `fields` agrees with the
truth; `fill` appends to the bytes of the file, and qpdf and MuPDF read every value back; filling a form with its own
export changes nothing; `rewrite` and `permissions` write files with the same objects, which qpdf, MuPDF and poppler
open. For damaged files, and files whose password is not known, the tool prints one message; with `--recover` it
writes a file without damage.
"""

import argparse
import collections
import concurrent.futures
import csv
import json
import os
import pathlib
import sys
import tempfile
from xml.sax.saxutils import escape, quoteattr

sys.dont_write_bytecode = True
import peers

# Differences that are correct: file -> [(how the difference begins, why), ...].
DAMAGED = "parts of the file were overwritten: readers guess differently, qpdf by scanning the file for objects"
FORCED = "what cannot be read is left out, as --force says"
REFUSED = "pages need what cannot be read: nothing is written unless that is forced"
LENGTH = "\"/Length\" is wrong: the line end before \"endstream\" counts as data for qpdf, not for us"
ALLOWED = {
    "static_pdfs__b1c400de699af29ea3f1983bb26870ab.pdf": [
        (f"{step}: {what}", "the strings of \"/Info\" lack their brackets: qpdf gives it up, we keep its sound entries")
        for step in ("rewrite", "permissions") for what in ("trailer: /Info is", "object 294 0 R: was None")],
    "pdf-reader__gh-230.pdf": [("rewrite: exit 2", REFUSED), ("permissions:", FORCED)],
    "pdf-reader__gh-244.pdf": [("rewrite: object", DAMAGED), ("permissions: object", DAMAGED)],
    "qpdf__bad5.pdf": [("rewrite: exit 2", REFUSED), ("permissions:", FORCED)],
    "pdfium__bug_572871.pdf": [("rewrite: object 13 0 R: stream", LENGTH),
                               ("permissions: object 13 0 R: stream", LENGTH)],
    "podofo-resources__TestImageInvalidLength.pdf": [("rewrite: object 5 0 R: stream", LENGTH),
                                                     ("permissions: object 5 0 R: stream", LENGTH)],
    "pdfium__bug_707673.pdf": [(f"{step}: object 15 0 R: /JS", "a carriage return alone stays one in a string; qpdf "
                                "takes it for a line feed") for step in ("rewrite", "permissions")],
    "PyPDFForm__sample_filled_sejda_complex.pdf": [
        (f"{what}: 'checkbox'", "the value is in the nameless widget, and is the one given") for what in ("fields", "fill")],
    "qpdf__button-set-broken-out.pdf": [("fields: 'r1': states", "one of the widgets is the kid of a nameless kid")],
}

FLAGS = 0xFFFFF0C4  # printing only
SKIPPED = 77
NO_VALUES = "the data contain no value"
MAX_REPORTED = 20


class Check:
    """The checks of one file; `problems` holds one line for each difference."""

    def __init__(self, options, row, truth, folder):
        self.options, self.row, self.truth = options, row, truth
        self.path = options.corpus / row["file"]
        self.folder = folder
        self.password = "" if row["password"] == "?" else row["password"]
        self.problems, self.steps, self.seconds, self.opened, self.said = [], [], 0.0, [], []

    def problem(self, step, text):
        self.problems.append(f"{step}: {text}")

    def tool(self, step, *arguments):
        """Runs the tool and reports crashes, slow runs, and messages in a wrong format."""
        for _ in range(3):  # exceeds the limit only if the best of three does: the machine may be busy
            done = peers.run(self.options.tool, *arguments)
            if done.seconds < self.options.time_limit:
                break
        self.seconds = max(self.seconds, done.seconds)
        message = done.err.decode("utf-8", "replace")
        if done.status not in (0, 2, 3):
            self.problem(step, f"exit {done.status}: {message[-300:].strip()!r}")
        if "Sanitizer" in message or "runtime error:" in message:
            self.problem(step, f"sanitizer: {message[:300]!r}")
        if done.seconds >= self.options.time_limit:
            self.problem(step, f"took {done.seconds:.2f} s")
        if any(not line.startswith("zforms: ") for line in message.splitlines()):
            self.problem(step, f"message does not begin with 'zforms: ': {message[:200]!r}")
        return done

    def run(self):
        if self.row["class"] == "reject":
            self.refuse("reject", may_succeed=True)
            self.recover()
        elif self.row["password"] == "?":
            self.refuse("password", may_succeed=False)
        else:
            self.steps = ["fields"] + (["fill"] if self.truth else []) + ["rewrite", "permissions"]
            self.fields()
            self.read_original()
            if self.truth:
                self.fill()
                self.round_trip()
            drop_usage_rights(self.original)
            self.copy("rewrite", *self.force())
            self.copy("permissions", "--set", f"0x{FLAGS:X}", "--force")

    def result(self):
        return {"file": self.row["file"], "class": self.row["class"], "steps": self.steps,
                "problems": self.problems, "seconds": round(self.seconds, 3), "opened": self.opened}

    def refuse(self, step, may_succeed):
        self.steps = [step]
        done = self.tool(step, "fields", self.path, "--json")
        lines = done.err.decode("utf-8", "replace").splitlines()
        if done.status in (0, 3):
            if not may_succeed:
                self.problem(step, f"exit {done.status} where reading must fail")
        elif len(lines) != 1 or not lines[0].startswith("zforms: ") or self.path.name not in lines[0]:
            self.problem(step, f"the message is not one line that names the file: {lines[:3]}")

    def force(self):
        """The option that `rewrite` needs for a signed document."""
        return ["--force"] if "signatures" in self.tool("check", "check", self.path).out.decode("utf-8", "replace") else []

    def recover(self):
        """A file that opens with --recover is saved as a file that opens without it, with the pages that other readers
        find."""
        self.steps.append("recover")
        out = self.folder / "recover.pdf"
        done = self.tool("recover", "rewrite", self.path, "--recover", "-o", out)
        counts = {"zforms": peers.qpdf_pages(out) if done.status in (0, 3) else None,
                  "qpdf": peers.qpdf_pages(self.path), "MuPDF": peers.mutool_pages(self.path)}
        self.opened = [name for name, count in counts.items() if count]
        if done.status not in (0, 3):
            return
        again = self.tool("recover", "fields", out, "--json")
        if again.status not in (0, 3):
            self.problem("recover", f"the file written does not open: {again.err.decode('utf-8', 'replace')[:200]}")
        if counts["qpdf"] is not None and counts["zforms"] != counts["qpdf"]:
            self.problem("recover", f"qpdf counts {counts['zforms']} pages, not {counts['qpdf']}")

    # fields ------------------------------------------------------------------------------------------------------

    def fields(self):
        done = self.tool("fields", "fields", self.path, "--json", "--password", self.password)
        if done.status not in (0, 3):
            return self.problem("fields", f"exit {done.status}: {done.err.decode('utf-8', 'replace').strip()[:200]}")
        try:
            answer = json.loads(done.out.decode("utf-8"))
            # The reference data cover only the fields that the forms list.
            said = [field for field in answer["fields"] if field["listed"]]
        except (ValueError, KeyError, TypeError) as error:
            return self.problem("fields", f"no JSON: {error}")
        if answer.get("encrypted") != bool(self.row["enc"]):
            self.problem("fields", f"encrypted is {answer.get('encrypted')}")
        if not str(answer.get("version", "")).endswith(self.row["version"]):
            self.problem("fields", f"version is {answer.get('version')}, not {self.row['version']}")
        self.said = said
        expected = self.truth["fields"] if self.truth else []
        names = [f.get("name") for f in said], [f["name"] for f in expected]
        if names[0] != names[1]:
            first = next((i for i, (a, b) in enumerate(zip(*names)) if a != b), min(map(len, names)))
            return self.problem("fields", f"names differ from number {first} on: {names[0][first:first + 2]} instead "
                                f"of {names[1][first:first + 2]} ({len(names[0])} instead of {len(names[1])})")
        for field, truth in zip(said, expected):
            for what, value, right in compared(field, truth):
                if value != right:
                    self.problem("fields", f"{field['name']!r}: {what} is {value!r}, not {right!r}")

    # fill --------------------------------------------------------------------------------------------------------

    def read_original(self):
        self.original = peers.Objects(self.path, self.password)
        self.original_fields = self.original.fields()
        self.soundness = peers.qpdf_check(self.path, self.password)
        self.pages = peers.poppler_pages(self.path, self.password)
        self.mutool = peers.mutool_values(self.path, self.password)

    def fill(self):
        values = fill_values(self.original_fields)
        data, out = self.folder / "data.xfdf", self.folder / "fill.pdf"
        data.write_bytes(xfdf(values))
        done = self.tool("fill", "fill", self.path, data, "-o", out, "--password", self.password)
        if done.status not in (0, 3) or not out.is_file():
            return self.problem("fill", f"exit {done.status}: {done.err.decode('utf-8', 'replace').strip()[:200]}")
        if not out.read_bytes().startswith(self.path.read_bytes()):
            self.problem("fill", "the file read is not a prefix of the file written")
        try:
            fields = peers.Objects(out, self.password).fields()
        except ValueError as error:
            return self.problem("fill", str(error))
        self.compare_filled(fields, values)
        self.no_worse("fill", out)
        try:
            found = peers.mutool_values(out, self.password)
        except ValueError as error:
            return self.problem("fill", str(error))
        for name, value in values.items():
            # MuPDF reads bytes that are valid UTF-8 as UTF-8, which differs from the standard.
            said = found.get(name) or found.get(as_utf8(name)) or []
            if value not in said:
                self.problem("fill", f"{name!r} reads {said!r} by MuPDF, not {value!r}")

    def round_trip(self):
        """Filling the form with its own exported values changes nothing, in every format, with fill and with batch."""
        if not any(field["listed"] for field in self.said):
            return
        for kind in ("xfdf", "fdf", "json", "csv", "jsonl"):
            data, out = self.folder / f"own.{kind}", self.folder / "own"
            rest = ["--force", "--password", self.password]
            self.tool("own", "export", self.path, "--format", kind, "-o", data, "--password", self.password)
            command = ["batch", self.path, "--data", data, "--out", out, "--overwrite", "--name", "own-{row}.pdf"]
            if kind != "jsonl":
                command = ["fill", self.path, data, "-o", out.with_suffix(".pdf")]
            done = self.tool("own", *command, *rest)
            made = [*self.folder.glob("own.pdf"), *out.glob("*.pdf")]
            lines = [line for line in done.err.decode("utf-8", "replace").splitlines() if data.name in line]
            if [file.read_bytes() for file in made] != [self.path.read_bytes()]:
                self.problem("own", f"{kind}: another file, {lines[:2]}")
            elif any(NO_VALUES not in line for line in lines):
                self.problem("own", f"{kind}: {lines[:2]}")
            for file in made:
                file.unlink()

    def compare_filled(self, fields, values):
        if [f["name"] for f in fields] != [f["name"] for f in self.original_fields]:
            return self.problem("fill", "the filled form has other fields")
        found = peers.by_name(fields)
        for name, value in values.items():
            if value not in found[name]:
                self.problem("fill", f"{name!r} reads {found[name]!r}, not {value!r}")
        for before, after in zip(self.original_fields, fields):
            # Drawing sets an absent "/AS" to the state of the value.
            drawn = [was or (now if now in (before["value"], "Off") else "") for was, now in
                     zip(before["shown"], after["shown"], strict=True)]
            if after["name"] not in values and (after["value"], after["shown"]) not in (
                    (before["value"], before["shown"]), (before["value"], drawn)):
                self.problem("fill", f"{after['name']!r} changed to {after['value']!r} {after['shown']}")
            if after["name"] in values and after["type"] in ("check", "radio"):
                for states, shown in zip(after["widget_states"], after["shown"]):
                    right = after["value"] if after["value"] in states else "Off"
                    if states and shown != right:
                        self.problem("fill", f"{after['name']!r} shows {shown!r}, not {right!r}")

    # rewrite and permissions -------------------------------------------------------------------------------------

    def copy(self, step, *arguments):
        out = self.folder / f"{step}.pdf"
        done = self.tool(step, step, self.path, *arguments, "-o", out, "--password", self.password)
        if done.status not in (0, 3) or not out.is_file():
            return self.problem(step, f"exit {done.status}: {done.err.decode('utf-8', 'replace').strip()[:200]}")
        try:
            copy = peers.Objects(out, self.password)
        except ValueError as error:
            return self.problem(step, str(error))
        if copy.fields() != self.original_fields:
            self.problem(step, "qpdf reads other fields")
        for text in peers.object_differences(self.original, copy):
            self.problem(step, text)
        self.no_worse(step, out)
        try:
            if peers.mutool_values(out, self.password) != self.mutool:
                self.problem(step, "mutool reads other values")
        except ValueError as error:
            self.problem(step, str(error))
        flags = f"P = {FLAGS - (1 << 32)}"
        if step == "permissions" and flags not in peers.qpdf_encryption(out, self.password):
            self.problem(step, f"qpdf does not see {flags}")

    def no_worse(self, step, path):
        soundness = peers.qpdf_check(path, self.password)
        if soundness > self.soundness:
            self.problem(step, f"qpdf --check: {soundness} (trouble, warnings), before {self.soundness}")
        if self.pages is not None and peers.poppler_pages(path, self.password) != self.pages:
            self.problem(step, f"poppler reads {peers.poppler_pages(path, self.password)} pages, not {self.pages}")


def drop_usage_rights(objects):
    """Removes the usage rights from the catalog, which a change invalidates (ISO 32000-1 12.8.2.3)."""
    catalog = objects.get(objects.trailer, "/Root")
    perms = objects.get(catalog, "/Perms")
    if isinstance(perms, dict) and not perms.keys() - {"/UR3", "/UR"}:
        del catalog["/Perms"]
    elif isinstance(perms, dict):
        perms.pop("/UR3", None)
        perms.pop("/UR", None)


def as_utf8(name):
    try:
        return name.encode("latin-1").decode("utf-8")
    except UnicodeError:
        return name


def texts(value):
    """Normalizes a value of the tool or of the reference data: absent is empty, line ends are unified."""
    if isinstance(value, list):
        return [texts(v) for v in value]
    return peers.plain(value) if isinstance(value, str) else ""


def compared(field, truth):
    """The properties of a field to compare: (name, the tool's value, the reference value)."""
    yield "type", field.get("type"), truth["type"]
    yield "flags", field.get("flags"), truth["ff"]
    if truth["v_kind"] in ("none", "name", "string", "array"):
        yield "value", texts(field.get("value")), texts(truth.get("v"))
    yield "default", texts(field.get("default")), texts(truth.get("dv"))
    pairs = [texts(o) if isinstance(o, list) else [texts(o)] for o in truth.get("opt", [])]
    said = [[texts(o.get("export")), texts(o.get("display"))] for o in field.get("options", [])]
    # A reader may report an option with one text either as that text or with an equal display text.
    said = [[s[0]] if len(p) == 1 and s[1] in ("", s[0]) else s for s, p in zip(said, pairs)] + said[len(pairs):]
    yield "options", said, [p[:2] for p in pairs]
    yield "states", field.get("states", []), truth.get("states", [])
    yield "widgets", field.get("widgets"), truth["widgets"]


def fill_values(fields):
    """A different value for every text field, and a changed state for one check box and one radio group."""
    patterns = ["{} Été 7 €", "{} (50% ) \\ l’œuvre ", "{} Жук & <b>", "{}: ça ]]> «ñ»"]
    values, buttons = {}, set()
    for i, field in enumerate(fields):
        name = field["name"]
        if not name or any(ord(c) < 32 or 0xD800 <= ord(c) < 0xE000 for c in name):
            continue
        if field["type"] == "text":
            text = patterns[i % len(patterns)].format(i)
            if field["flags"] & 0x1000:
                text += "\n2e ligne"
            limit = field["maxlen"]
            values[name] = text[:limit] if isinstance(limit, int) and limit > 0 else text
        elif field["type"] in ("check", "radio") and field["type"] not in buttons:
            others = [s for s in field["states"] if s != field["value"]]
            if others and name not in values:
                values[name] = others[0]
                buttons.add(field["type"])
    return values


def xfdf(values):
    tree = {}
    for name, value in values.items():
        level = tree
        for part in name.split("."):
            level = level.setdefault(part, {})
        level[None] = value

    def elements(level):
        for name, inner in level.items():
            if name is None:
                yield f"<value>{escape(inner)}</value>"
            else:
                yield f"<field name={quoteattr(name)}>{''.join(elements(inner))}</field>"

    return ('<?xml version="1.0" encoding="UTF-8"?>\n<xfdf xmlns="http://ns.adobe.com/xfdf/" xml:space="preserve">'
            f"<fields>{''.join(elements(tree))}</fields></xfdf>").encode("utf-8")


def index_of(options):
    """The rows of the folder's index, or None where there is no folder."""
    if not options.corpus or not (options.corpus / "INDEX.tsv").is_file():
        print(f"skipped: there is no corpus at {options.corpus} (ZFORMS_CORPUS)")
        return None
    with open(options.corpus / "INDEX.tsv", encoding="utf-8", newline="") as index:
        return [r for r in csv.DictReader(index, delimiter="\t", quoting=csv.QUOTE_NONE) if options.only in r["file"]]


def check_file(options, row, truth, kind=Check):
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        if options.keep:
            folder = options.keep / row["file"].replace("/", "__")
            folder.mkdir(parents=True, exist_ok=True)
        check = kind(options, row, truth, folder)
        try:
            check.run()
        except Exception as error:  # an error in the check itself must not count as success
            check.problem("check", f"{type(error).__name__}: {error}")
        return check.result()


def explain(results, allowed):
    """Removes the allowed differences; returns the rules that matched none."""
    stale = []
    for result in results:
        rules = allowed.get(result["file"], [])
        explained = {text: why for text in result["problems"] for start, why in rules if text.startswith(start)}
        result["explained"] = [f"{text} ({why})" for text, why in explained.items()]
        result["problems"] = [text for text in result["problems"] if text not in explained]
        stale += [f"{result['file']}: {start}" for start, _ in rules
                  if not any(text.startswith(start) for text in explained)]
    return stale


def summary(results):
    """Prints for each class of the index how many files are right in each step."""
    for kind in dict.fromkeys(r["class"] for r in results):
        rows = [r for r in results if r["class"] == kind]
        ran = collections.Counter(step for r in rows for step in r["steps"])
        wrong = collections.Counter(step for r in rows for step in {p.split(":")[0] for p in r["problems"]})
        cells = ", ".join(f"{step} {count - wrong[step]}/{count}" for step, count in ran.items())
        print(f"{kind}: {len(rows)} files, {cells}; {sum(len(r['explained']) for r in rows)} explained, slowest "
              f"{max(r['seconds'] for r in rows):.2f} s")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    root = pathlib.Path(__file__).resolve().parent.parent
    parser.add_argument("--tool", default=os.environ.get("ZFORMS_TOOL"), help="the zforms program (ZFORMS_TOOL)")
    parser.add_argument("--corpus", type=pathlib.Path,
                        default=os.environ.get("ZFORMS_CORPUS") or root.parent / "shared" / "corpus")
    parser.add_argument("--only", default="", help="files whose name holds this text")
    parser.add_argument("--report", type=pathlib.Path, help="write the result of every file there, as JSON")
    parser.add_argument("--keep", type=pathlib.Path, help="keep the files made in this folder")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--time-limit", type=float, default=os.environ.get("ZFORMS_TIME_LIMIT", 1.0),
                        help="seconds that a run of the tool may take (ZFORMS_TIME_LIMIT; 1)")
    options = parser.parse_args()
    options.corpus = pathlib.Path(options.corpus)
    return options


def main():
    options = arguments()
    rows = index_of(options)
    if rows is None:
        return SKIPPED
    missing = peers.absent(["qpdf", "mutool", "pdfinfo"])
    if missing:
        print(f"skipped: not installed: {', '.join(missing)}")
        return SKIPPED
    if not options.tool or not os.access(options.tool, os.X_OK):
        print(f"corpus_check: no zforms program at {options.tool!r} (--tool or ZFORMS_TOOL)")
        return 1
    with open(options.corpus / "truth.jsonl", encoding="utf-8") as lines:
        truth = {t["file"]: t for t in map(json.loads, lines)}
    with concurrent.futures.ProcessPoolExecutor(min(options.jobs, 2)) as pool:
        results = list(pool.map(check_file, [options] * len(rows), rows, [truth.get(r["file"]) for r in rows]))
    stale = explain(results, ALLOWED)
    if options.report:
        options.report.write_text(json.dumps(results, ensure_ascii=True, indent=1))
    if results:
        summary(results)
    damaged = [r["opened"] for r in results if "recover" in r["steps"]]
    if damaged:
        opened = collections.Counter(name for names in damaged for name in names)
        print(f"of {len(damaged)} damaged files show their pages: {opened['zforms']} with --recover, {opened['qpdf']} by "
              f"qpdf, {opened['MuPDF']} by MuPDF")
    differing = [r for r in results if r["problems"]]
    for result in differing[:None if options.only else MAX_REPORTED]:
        more = f"   (and {len(result['problems']) - 1} more)" if len(result["problems"]) > 1 else ""
        print(f"{result['file']}: {result['problems'][0]}{more}")
    if len(differing) > MAX_REPORTED and not options.only:
        print(f"... and {len(differing) - MAX_REPORTED} more files")
    steps = collections.Counter(text.split(":")[0] for r in results for text in r["problems"])
    for rule in stale:
        print(f"allowed difference that no longer occurs: {rule}")
    print(f"corpus_check: {len(results)} files, {len(differing)} differ {dict(steps) if steps else ''}")
    return 1 if differing or stale or not results else 0


if __name__ == "__main__":
    sys.exit(main())
