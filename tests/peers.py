"""Functions shared by the checks: running programs, and reading PDF files with independent readers.

The readers are qpdf, MuPDF, poppler and pdftk.

Nothing here uses zforms itself. Every reader gives the terminal fields of a form, that is, the fields without named
kids (ISO 32000-1, 12.7.3), as plain Python values: names and texts in Unicode, line ends as "\\n".
"""

import collections
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

TIMEOUT = 300  # seconds; long, because the machine may be busy
Done = collections.namedtuple("Done", "status out err seconds")

TYPES = {"Tx": "text", "Sig": "sig"}
RADIO, PUSH, COMBO = 1 << 15, 1 << 16, 1 << 17
PDF_DOC = dict(zip(list(range(0x18, 0x20)) + list(range(0x80, 0x9F)) + [0xA0],
                   "\u02d8\u02c7\u02c6\u02d9\u02dd\u02db\u02da\u02dc"
                   "\u2022\u2020\u2021\u2026\u2014\u2013\u0192\u2044\u2039\u203a\u2212\u2030\u201e\u201c\u201d\u2018"
                   "\u2019\u201a\u2122\ufb01\ufb02\u0141\u0152\u0160\u0178\u017d\u0131\u0142\u0153\u0161\u017e\u20ac"))


def run(*command, stdin=None, timeout=None):
    """Runs a program. A negative status is the signal that ended it; 'timeout' means that it did not end in time."""
    start = time.monotonic()
    try:
        done = subprocess.run([os.fspath(c) for c in command], input=stdin, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=timeout or TIMEOUT,
                              **({} if stdin is not None else {"stdin": subprocess.DEVNULL}))
    except subprocess.TimeoutExpired as late:
        return Done("timeout", late.stdout or b"", late.stderr or b"", time.monotonic() - start)
    return Done(done.returncode, done.stdout, done.stderr, time.monotonic() - start)


def plain(text):
    """A value with line feeds as line ends, as every reader here gives it."""
    return text.replace("\r\n", "\n").replace("\r", "\n")


def name_text(name):
    """The text of a name from qpdf's JSON: its bytes are decoded as UTF-8 if they are valid, else as PDFDocEncoding."""
    raw = name[1:].encode("utf-8", "surrogateescape")
    try:
        return raw.decode("utf-8")
    except UnicodeDecodeError:
        return "".join(PDF_DOC.get(b, chr(b)) for b in raw)


class Objects:
    """Every object of a file as qpdf reads it, decrypted; `streams` holds the undecoded data of the streams."""

    def __init__(self, path, password=""):
        done = run("qpdf", "--json=2", "--json-key=qpdf", "--json-stream-data=inline", "--decode-level=none",
                   f"--password={password}", path)
        if done.status not in (0, 3):
            raise ValueError(f"qpdf cannot read it: {done.err.decode('utf-8', 'replace').strip().splitlines()[:1]}")
        found = json.loads(done.out.decode("utf-8", "surrogateescape"))["qpdf"][1]
        self.trailer = found.pop("trailer", {}).get("value", {})
        self.values, self.streams = {}, {}
        for key, entry in found.items():
            ref = key[4:]
            if not re.fullmatch(r"\d+ \d+ R", ref):
                continue
            if "stream" in entry:
                self.values[ref] = entry["stream"]["dict"]
                self.streams[ref] = entry["stream"].get("data", "")
            else:
                self.values[ref] = entry["value"]

    def reachable(self):
        """The references of all objects that can be reached from the trailer."""
        found, pending = set(), [self.trailer]
        while pending:
            value = pending.pop()
            if isinstance(value, dict):
                pending.extend(value.values())
            elif isinstance(value, list):
                pending.extend(value)
            elif isinstance(value, str) and value in self.values and value not in found:
                found.add(value)
                pending.append(self.values[value])
        return found

    def get(self, holder, key=None):
        """The value under `key` of a dictionary (or the value itself), references followed."""
        value = holder if key is None else holder.get(key) if isinstance(holder, dict) else None
        for _ in range(20):
            if not (isinstance(value, str) and re.fullmatch(r"\d+ \d+ R", value)):
                return value
            value = self.values.get(value)
        return None

    def text(self, value):
        """A string, a name (without its slash) or an array of them as text; None for anything else."""
        value = self.get(value)
        if isinstance(value, list):
            return [self.text(v) for v in value]
        if not isinstance(value, str):
            return None
        if value.startswith("u:"):
            return plain(value[2:])
        if value.startswith("b:"):
            return plain("".join(PDF_DOC.get(b, chr(b)) for b in bytes.fromhex(value[2:])))
        return name_text(value) if value.startswith("/") else None

    def kids(self, node):
        kids = self.get(node, "/Kids")
        return [(k, d) for k in kids for d in [self.get(k)] if isinstance(d, dict)] if isinstance(kids, list) else []

    def fields(self):
        form = self.get(self.get(self.trailer, "/Root"), "/AcroForm")
        found, seen = [], set()
        roots = self.get(form, "/Fields") if isinstance(form, dict) else None
        for ref in roots if isinstance(roots, list) else []:
            self._walk(ref, "", {}, seen, found)
        return found

    def _walk(self, ref, prefix, inherited, seen, found):
        node = self.get(ref)
        if not isinstance(node, dict) or (isinstance(ref, str) and ref in seen):
            return
        seen.add(ref if isinstance(ref, str) else None)
        name = prefix
        if "/T" in node:
            own = self.text(node["/T"]) or ""
            name = f"{prefix}.{own}" if prefix else own
        state = dict(inherited)
        state.update({k: node[k] for k in ("/FT", "/Ff", "/V", "/DV", "/Opt", "/MaxLen") if k in node})
        kids = self.kids(node)
        named = [k for k, d in kids if "/T" in d]
        if named:
            for kid in named:
                self._walk(kid, name, state, seen, found)
        else:
            found.append(self._field(ref, node, name, state, [d for _, d in kids]))

    def _field(self, ref, node, name, state, kids):
        flags = self.get(state.get("/Ff"))
        flags = flags if isinstance(flags, int) else 0
        widgets = kids or ([node] if self.text(node.get("/Subtype")) == "Widget" or "/Rect" in node else [])
        is_button = self.text(state.get("/FT")) == "Btn"
        shown = [self.states(w) if is_button else [] for w in widgets]
        states = list(dict.fromkeys(s for of_widget in shown for s in of_widget if s != "Off"))
        value, options = self.get(state.get("/V")), self.get(state.get("/Opt"))
        return {"name": name, "object": ref if isinstance(ref, str) else None, "flags": flags,
                "type": field_type(self.text(state.get("/FT")), flags), "value": self.text(state.get("/V")),
                "kind": kind(value), "default": self.text(state.get("/DV")),
                "options": [self.text(o) for o in options] if isinstance(options, list) else [], "states": states,
                "widgets": len(widgets), "tooltip": self.text(node.get("/TU")),
                "maxlen": self.get(state.get("/MaxLen")), "shown": [self.text(w.get("/AS")) for w in widgets],
                "widget_states": shown}

    def states(self, widget):
        appearance = self.get(widget, "/AP")
        normal = appearance.get("/N") if isinstance(appearance, dict) else None
        if isinstance(normal, str) and normal in self.streams:
            return []
        normal = self.get(normal)
        return [name_text(k) for k in normal] if isinstance(normal, dict) else []


def kind(value):
    if isinstance(value, str):
        return "name" if value.startswith("/") else "string"
    return {list: "array", dict: "dict", type(None): "none"}.get(type(value), "other")


def field_type(form_type, flags):
    if form_type == "Btn":
        return "radio" if flags & RADIO else "push" if flags & PUSH else "check"
    if form_type == "Ch":
        return "combo" if flags & COMBO else "list"
    return TYPES.get(form_type, "none" if form_type is None else "other")


def object_differences(before, after):
    """How the objects of two files differ. A null value counts as absent.

    Ignores what describes the file rather than the document: encryption dictionaries, stream lengths, and
    cross-reference streams, which are never encrypted (ISO 32000-1, 7.5.8.2). Also ignores objects without references
    to them, which a full save drops.
    """
    reachable = before.reachable()
    aside = set()
    for objects in (before, after):
        aside.update(ref for ref in objects.streams if objects.values[ref].get("/Type") == "/XRef")
        aside.add(str(objects.trailer.get("/Encrypt")))
    for key in ("/Root", "/Info"):
        if before.trailer.get(key) != after.trailer.get(key):
            yield f"trailer: {key} is {after.trailer.get(key)}, was {before.trailer.get(key)}"
    for ref in sorted(set(before.values) | set(after.values), key=lambda r: [int(n) for n in r.split()[:2]]):
        if ref in aside or (ref not in reachable and after.values.get(ref) is None):
            continue
        first, second = ({"": objects.values.get(ref)} for objects in (before, after))
        for whole, objects in ((first, before), (second, after)):
            if ref in objects.streams:
                whole.update({"stream": objects.streams[ref], "": dict(whole[""])})
                whole[""].pop("/Length", None)
        if first != second:
            yield f"object {ref}: {difference(first, second)}"


def difference(before, after):
    """Describes the first difference between two values, in one line."""
    if isinstance(before, dict) and isinstance(after, dict):
        for key in sorted(set(before) | set(after)):
            if before.get(key) != after.get(key):
                return f"{key} {difference(before.get(key), after.get(key))}".strip()
    if isinstance(before, list) and isinstance(after, list) and len(before) == len(after):
        return next(f"[{i}] {difference(a, b)}" for i, (a, b) in enumerate(zip(before, after)) if a != b)
    return f"was {str(before)[:100]}, is {str(after)[:100]}"


def by_name(fields):
    """{full name: the values of all fields with this name}."""
    found = collections.defaultdict(list)
    for field in fields:
        found[field["name"]].append(field["value"])
    return dict(found)


def qpdf_check(path, password=""):
    """The result of qpdf's check of a file: (0 no faults, 1 warnings, 2 errors) and the number of warnings."""
    done = run("qpdf", "--check", f"--password={password}", path)
    text = done.err + done.out
    return {0: 0, 3: 1}.get(done.status, 2), text.count(b"WARNING:")


def qpdf_encryption(path, password=""):
    return run("qpdf", "--show-encryption", f"--password={password}", path).out.decode("utf-8", "replace")


MUTOOL_SCRIPT = r"""
var doc = new PDFDocument(scriptArgs[0]);
if (doc.needsPassword()) { if (!doc.authenticatePassword(scriptArgs[1])) throw new Error("password"); }
function get(node, key) {  // null where there is none
  var value = node ? node.get(key) : null;
  return value && !value.isNull() ? value : null;
}
function text(v) {
  if (v.isArray()) { var all = []; for (var i = 0; i < v.length; ++i) all.push(text(v.get(i))); return all; }
  return v.isName() ? v.asName() : v.isString() ? v.asString() : null;
}
function walk(node, prefix, value, depth) {
  if (!node || !node.isDictionary() || depth > 60) return;
  var name = prefix, kids = get(node, "Kids"), named = 0, i;
  if (get(node, "T")) name = (prefix ? prefix + "." : "") + get(node, "T").asString();
  if (get(node, "V")) value = get(node, "V");
  if (kids && kids.isArray())
    for (i = 0; i < kids.length; ++i)
      if (kids.get(i) && kids.get(i).isDictionary() && get(kids.get(i), "T")) {
        ++named;
        walk(kids.get(i), name, value, depth + 1);
      }
  if (!named) print(JSON.stringify([name, value ? text(value) : null]));
}
var form = get(get(doc.getTrailer(), "Root"), "AcroForm");
var fields = form && form.isDictionary() ? get(form, "Fields") : null;
if (fields && fields.isArray()) for (var i = 0; i < fields.length; ++i) walk(fields.get(i), "", null, 0);
print("pages", doc.countPages());
"""


def mutool_values(path, password=""):
    """{full name: values} as MuPDF reads them; raises ValueError when it cannot open the file."""
    with tempfile.NamedTemporaryFile("w", suffix=".js") as script:
        script.write(MUTOOL_SCRIPT)
        script.flush()
        done = run("mutool", "run", script.name, path, password)
    # Names may contain bytes that are not UTF-8: these are decoded as PDFDocEncoding.
    text = "".join(PDF_DOC.get(ord(c) - 0xDC00, chr(ord(c) - 0xDC00)) if 0xDC80 <= ord(c) <= 0xDCFF else c
                   for c in done.out.decode("utf-8", "surrogateescape"))
    lines = text.splitlines()
    if done.status or not lines or not lines[-1].startswith("pages "):
        raise ValueError(f"mutool cannot read it: {done.err.decode('utf-8', 'replace').strip().splitlines()[-1:]}")
    found = collections.defaultdict(list)
    for line in lines[:-1]:
        name, value = json.loads(line)
        found[name].append(plain(value) if isinstance(value, str) else value)
    return dict(found)


def mutool_pages(path, password=""):
    """The page count that MuPDF prints, whatever else is wrong, or None when it cannot open the file."""
    done = run("mutool", "info", "-p", password, path)
    pages = re.search(rb"^Pages: (\d+)", done.out, re.M)
    return int(pages.group(1)) if pages else None


def qpdf_pages(path, password=""):
    """The page count that qpdf prints, or None when it cannot open the file."""
    done = run("qpdf", "--show-npages", f"--password={password}", path)
    return int(done.out) if done.status in (0, 3) and done.out.strip().isdigit() else None


PDFJS = pathlib.Path(__file__).resolve().parent.parent / "build/npm/reader/node_modules/pdfjs-dist"


def has_pdfjs():
    return shutil.which("node") is not None and (PDFJS / "legacy/build/pdf.mjs").is_file()


def pdfjs_values(path, password=""):
    """{full name: values} as pdf.js reads them; raises ValueError when it cannot open the file."""
    done = run("node", pathlib.Path(__file__).with_name("viewers") / "pdfjs_values.mjs", PDFJS, path, password)
    if done.status != 0:
        raise ValueError(f"pdf.js cannot read it: {done.err.decode('utf-8', 'replace').strip().splitlines()[-1:]}")
    found = collections.defaultdict(list)
    for name, value in json.loads(done.out):
        # The value of a list box is a list of the selected options.
        for one in value if isinstance(value, list) else [value]:
            found[name].append(plain(one) if isinstance(one, str) else "")
    return dict(found)


def poppler_pages(path, password=""):
    """The page count that pdfinfo prints, or None when poppler cannot open the file."""
    done = run("pdfinfo", "-upw", password, path)
    pages = re.search(rb"^Pages:\s+(\d+)", done.out, re.M)
    return int(pages.group(1)) if done.status == 0 and pages else None


def pdftk_values(path, passwords=("",)):
    """{full name: values} as dumped by pdftk, without fields that have no value. `passwords` are tried in turn; pdftk
    needs the owner password."""
    for password in passwords:
        done = run("pdftk", path, *(["input_pw", password] if password else []), "dump_data_fields_utf8")
        if done.status == 0:
            break
    else:
        raise ValueError(f"pdftk cannot read it: {done.err.decode('utf-8', 'replace').strip().splitlines()[:1]}")
    found = {}
    for block in ("\n" + done.out.decode("utf-8", "replace")).split("\n---\n")[1:]:
        name = re.search(r"^FieldName: (.*)$", block, re.M)
        values = re.findall(r"^FieldValue: (.*(?:\n(?!Field[A-Z][A-Za-z]*: ).*)*)", block, re.M)
        if name and values:
            found[name.group(1)] = [plain(v).rstrip("\n") for v in values]
    return found


def absent(programs):
    return [p for p in programs if not shutil.which(p)]
