#!/usr/bin/env python3
"""Checks that independent readers can read what the zforms tool writes: the sample forms, plain, encrypted, with object
streams and damaged, filled and saved.

The readers are qpdf, MuPDF, poppler, pdftk, and pdf.js for encrypted forms. One that is not installed is left out, and
the check says so. qpdf makes the encrypted inputs, so without it the whole check is skipped (exit 77).
"""

import json
import os
import pathlib
import shutil
import sys
import tempfile
import xml.etree.ElementTree

import peers
from tool_case import SAMPLES, SKIPPED, TOOL, WINDOWS, expect, failures
from form_writer import MULTILINE, Form

MAX_REPORTED = 40
FLAGS = 0xFFFFF0C4  # printing only
XFDF = "{http://ns.adobe.com/xfdf/}"
# How qpdf converts the inputs: label, user password, owner password, its arguments.
R2, R3 = ["40"], ["128", "--use-aes=n"]
R4_RC4, R4 = ["128", "--force-V4", "--use-aes=n"], ["128", "--use-aes=y"]
R5, R6 = ["256", "--force-R5"], ["256"]
CLEAR = "--cleartext-metadata"
OBJECT_STREAMS = ["--object-streams=generate"]
ENCRYPTIONS = [("R2", "", "", R2), ("R2 with a password", "geheim", "", R2), ("R3", "", "", R3),
               ("R3 with two passwords", "geheim", "Meister", R3),
               ("R4 by RC4", "geheim", "Meister", R4_RC4), ("R4", "", "Meister", [*R4, CLEAR]),
               ("R4 with two passwords", "geheim", "Meister", R4), ("R5", "", "Meister", R5),
               ("R5 with two passwords", "geheim", "Meister", [*R5, CLEAR]), ("R6", "", "Meister", R6),
               ("R6 with two passwords", "geheim", "Meister", [*R6, CLEAR])]
MODERN = [("object streams", "", "", []), ("linearized object streams", "", "", ["--linearize"]),
          ("encrypted object streams", "geheim", "", ["--encrypt", "geheim", "", *R3, "--"]),
          ("object streams by AES-128", "geheim", "Meister", ["--encrypt", "geheim", "Meister", *R4, "--"]),
          ("object streams by AES-256", "geheim", "Meister", ["--encrypt", "geheim", "Meister", *R6, "--"])]
# Documents that the tool encrypts, some of which qpdf had encrypted before: label, passwords.
LOCKED = [("locked", "", ""), ("locked with a password", "geheim", ""), ("locked with two", "geheim", "Meister"),
          ("locked in Unicode", "Жё 9", "Ÿ")]

class Case:
    """One form with the values to fill in, and the passwords that open it."""

    def __init__(self, label, pdf, data, password="", owner=""):
        self.label, self.pdf, self.data, self.password = label, pdf, data, password
        self.passwords = [owner, password] if owner else [password]
        self.values = xfdf_values(data.read_bytes())
        # AES takes a random initialization vector for each string, so that no two files are the same.
        self.by_aes = any(f"AES, {bits} bits" in zforms_check(pdf, password) for bits in (128, 256))


def xfdf_values(data):
    """{full name: value} of an XFDF document, read by Python's XML parser."""
    values = {}

    def walk(element, prefix):
        for field in element.findall(f"{XFDF}field"):
            name = prefix + field.get("name", "")
            value = field.find(f"{XFDF}value")
            if value is not None:
                values[name] = peers.plain(value.text or "")
            walk(field, name + ".")

    root = xml.etree.ElementTree.fromstring(data)
    walk(root.find(f"{XFDF}fields"), "")
    return values


def zforms_check(pdf, password):
    return peers.run(TOOL, "check", pdf, "--password", password).out.decode("utf-8", "replace")


def message(done):
    return done.err.decode("utf-8", "replace").strip()


class Checker:
    def __init__(self, folder):
        self.folder = folder
        self.readers = [p for p in ("qpdf", "mutool", "pdftotext", "pdfinfo", "pdftk") if shutil.which(p)]
        self.readers += ["pdf.js"] if peers.has_pdfjs() else []

    def tool(self, case, *arguments, stdin=None, password=None):
        password = password or case.password
        return peers.run(TOOL, *arguments, *(["--password", password] if password else []), stdin=stdin)

    def save(self, case, step, *arguments, warning="", password=None):
        """Runs a command that writes a file, and checks the expected warning. Returns the file, or None on failure."""
        out = self.folder / f"{step}.pdf"
        out.unlink(missing_ok=True)
        done = self.tool(case, step.split("-")[0], *arguments, "-o", out, password=password)
        told = warning in message(done) if warning else not done.err
        good = expect(done.status == (3 if warning else 0) and out.is_file() and told, case.label,
                      f"{step}: exit {done.status}: {message(done)[:200]}")
        return out if good else None

    def case(self, case):
        self.fields(case)
        filled = self.save(case, "fill", case.pdf, case.data)
        if filled:
            expect(filled.read_bytes().startswith(case.pdf.read_bytes()), case.label, "fill: the input is no prefix")
            self.read_back(case, "fill", filled, case.values)
            self.export(case, filled)
            again = self.save(case, "fill-again", filled, case.data)
            expect(again and again.read_bytes() == filled.read_bytes(), case.label, "filling twice changes the file")
        rewritten = self.save(case, "rewrite", filled or case.pdf)
        if rewritten and self.read_back(case, "rewrite", rewritten, case.values):
            objects = [peers.Objects(path, case.password) for path in (filled or case.pdf, rewritten)]
            for text in peers.object_differences(*objects):
                expect(False, case.label, f"rewrite: {text}")
        self.permissions(case)
        self.owner(case)
        self.streams(case, filled)
        self.others(case)

    def fields(self, case):
        done = self.tool(case, "fields", case.pdf, "--json")
        if not expect(done.status == 0, case.label, f"fields: exit {done.status}: {message(done)[:200]}"):
            return
        said, read = json.loads(done.out.decode("utf-8"))["fields"], peers.Objects(case.pdf, case.password).fields()
        names = [f["name"] for f in said]
        if not expect(names == [f["name"] for f in read], case.label, f"fields: the names are {names}"):
            return
        for field, right in zip(said, read):
            options = [[o["export"], o["display"]] for o in field.get("options", [])]
            pairs = [o if isinstance(o, list) else [o, ""] for o in right["options"]]
            for what, value, wanted in [
                    ("type", field.get("type"), right["type"]), ("flags", field.get("flags"), right["flags"]),
                    ("value", peers.plain(field.get("value") or ""), right["value"] or ""),
                    ("default", field.get("default") or "", right["default"] or ""), ("options", options, pairs),
                    ("states", field.get("states", []), right["states"]),
                    ("tooltip", field.get("tooltip") or "", right["tooltip"] or ""),
                    ("maxlen", field.get("maxlen"), right["maxlen"]),
                    ("object", field.get("object"), (right["object"] or "").removesuffix(" R")),
                    ("page", field.get("page") in range(1, 3), True)]:
                expect(value == wanted, case.label, f"fields: {field['name']!r}: {what} is {value!r}, not {wanted!r}")

    def read_back(self, case, step, path, values):
        """Every reader finds every value in the file."""
        label = f"{case.label}: {step}"
        try:
            objects = peers.Objects(path, case.password)
        except ValueError as error:
            return expect(False, label, str(error))
        fields = objects.fields()
        self.agree(label, "qpdf", peers.by_name(fields), values)
        for field in fields:
            for states, shown in zip(field["widget_states"], field["shown"]):
                right = field["value"] if field["value"] in states else "Off"
                expect(not states or shown == right, label, f"{field['name']!r} shows {shown!r}, not {right!r}")
        expect(peers.qpdf_check(path, case.password) == (0, 0), label, "qpdf --check complains")
        form = objects.get(objects.get(objects.trailer["/Root"]), "/AcroForm")
        expect(objects.get(form, "/NeedAppearances") is not True, label, "viewers are asked to draw what is drawn")
        readers = {"mutool": lambda: peers.mutool_values(path, case.password),
                   "pdftk": lambda: peers.pdftk_values(path, case.passwords)}
        if case.by_aes:
            del readers["pdftk"]  # it reads AES of 128 bits at most
            readers["pdf.js"] = lambda: peers.pdfjs_values(path, case.password)
        for reader, read in readers.items():
            if reader in self.readers:
                try:
                    self.agree(label, reader, read(), values)
                except ValueError as error:
                    expect(False, label, str(error))
        if "pdfinfo" in self.readers:
            expect(peers.poppler_pages(path, case.password), label, "poppler cannot open it")
        if "pdftotext" in self.readers:
            self.shown(label, path, case, fields)
        return True

    def agree(self, label, reader, found, values):
        for name, value in values.items():
            read = found.get(name, [""])
            expect(value in read, label, f"{reader} reads {name!r} as {read}, not {value!r}")

    def shown(self, label, path, case, fields):
        """poppler draws the values of plain text fields and the display texts of combo boxes."""
        done = peers.run("pdftotext", "-layout", "-upw", case.password, path, "-")
        page = " ".join(done.out.decode("utf-8", "replace").split())
        for field in fields:
            wanted = field["value"]
            if field["type"] == "combo":
                wanted = dict(o if isinstance(o, list) else (o, o) for o in field["options"]).get(wanted)
            elif field["type"] != "text" or field["flags"] & (1 << 24) or field["name"].startswith("ZOR."):
                continue
            for line in (wanted or "").splitlines():
                if len(line) < 60 and all(ord(c) < 0x250 or c in "€’–" for c in line):
                    drawn = " ".join(line.split()) in page
                    expect(drawn, label, f"poppler does not draw {line!r} of {field['name']!r}")

    def export(self, case, filled):
        done = self.tool(case, "export", filled)
        if expect(done.status == 0, case.label, f"export: exit {done.status}: {message(done)[:200]}"):
            found = xfdf_values(done.out)
            for name, value in case.values.items():
                expect(found.get(name, "") == value, case.label, f"export: {name!r} is {found.get(name)!r}")

    def permissions(self, case):
        path = self.save(case, "permissions", case.pdf, "--set", f"0x{FLAGS:X}", password=case.passwords[0])
        if path:
            flags = f"P = {FLAGS - (1 << 32)}"
            seen = peers.qpdf_encryption(path, case.password)
            expect(flags in seen, case.label, f"permissions: qpdf sees no {flags}")
            base = path.read_bytes()
            filled = self.save(case, "fill-restricted", path, case.data,
                               warning="the permissions forbid filling in fields")
            if filled:
                expect(filled.read_bytes().startswith(base), case.label, "fill-restricted: the input is no prefix")
                self.read_back(case, "permissions, then fill", filled, case.values)

    def owner(self, case):
        """The owner password opens the document too, and only it allows removing the encryption."""
        if not case.passwords[0] or case.passwords[0] == case.password:
            return
        os.environ["ZFORMS_PASSWORD"] = case.passwords[0]
        said = peers.run(TOOL, "check", case.pdf).out.decode("utf-8")
        del os.environ["ZFORMS_PASSWORD"]
        for words in ("the owner password", "print; change the contents"):
            expect(words in said, case.label, f"check does not say {words!r}: {said[:400]}")
        plain = self.folder / "plain.pdf"
        done = peers.run(TOOL, "rewrite", case.pdf, "--decrypt", "-o", plain, "--password", case.password)
        expect(done.status == 2 and "only the owner password" in message(done) and not plain.exists(), case.label,
               f"decrypted by the user: exit {done.status}: {message(done)[:200]}")
        done = peers.run(TOOL, "rewrite", case.pdf, "--decrypt", "-o", plain, "--password", case.passwords[0])
        if expect(done.status == 0 and plain.is_file(), case.label, f"decrypt: exit {done.status}: {message(done)[:200]}"):
            text = "\n".join(peers.object_differences(peers.Objects(case.pdf, case.password), peers.Objects(plain)))
            expect(not text, case.label, f"decrypt: {text}")
            expect(peers.qpdf_encryption(plain).strip() == "File is not encrypted", case.label, "decrypt: it is encrypted")
            plain.unlink()

    def same(self, case, bytes_of_it, filled):
        """Whether the bytes are those of the file `filled`. AES makes bytes random: then the objects must be equal."""
        if not filled or not case.by_aes:
            return filled and bytes_of_it == filled.read_bytes()
        other = self.folder / "other.pdf"
        other.write_bytes(bytes_of_it)
        left, right = (peers.Objects(path, case.password) for path in (filled, other))
        return not list(peers.object_differences(left, right))

    def streams(self, case, filled):
        """`-` stands for standard input or output. A form is saved in place when the output is the input file."""
        done = self.tool(case, "fill", "-", case.data, "-o", "-", stdin=case.pdf.read_bytes())
        expect(self.same(case, done.out, filled), case.label, f"fill - -o -: {message(done)[:200]}")
        done = self.tool(case, "fill", case.pdf, "-", "-o", "-", stdin=case.data.read_bytes())
        expect(self.same(case, done.out, filled), case.label, f"fill with data from -: {message(done)[:200]}")
        place = self.folder / "place.pdf"
        shutil.copy(case.pdf, place)
        done = self.tool(case, "fill", place, case.data, "-o", place)
        same = self.same(case, place.read_bytes(), filled)
        expect(same, case.label, f"fill in place: {message(done)[:200]}")

    def others(self, case):
        path = self.save(case, "viewer", case.pdf, "--hide-toolbar")
        if path:
            objects = peers.Objects(path, case.password)
            viewer = objects.get(objects.get(objects.trailer["/Root"]), "/ViewerPreferences")
            expect(objects.get(viewer, "/HideToolbar") is True, case.label, "viewer: qpdf sees no /HideToolbar")
        root = peers.Objects(case.pdf, case.password).trailer["/Root"]
        for arguments, word in [(["show", case.pdf, "trailer"], f"/Root {root}"),
                                (["show", case.pdf, root.removesuffix(" R")], "/AcroForm"),
                                (["check", case.pdf], "%PDF-1."), (["fields", case.pdf], list(case.values)[-1])]:
            done = self.tool(case, *arguments)
            good = done.status == 0 and word in done.out.decode("utf-8", "replace")
            expect(good, case.label, f"{arguments[0]}: exit {done.status}, no {word!r}: {message(done)[:200]}")

    def recovery(self, case):
        """A form whose end is damaged is read only with --recover, and then saved as a full file, not as an update."""
        damaged, out = self.folder / "damaged.pdf", self.folder / "recovered.pdf"
        data = case.pdf.read_bytes()
        damaged.write_bytes(data[:data.rindex(b"startxref")].replace(b"startxref", b"startxxxx"))
        label = f"{case.label}, damaged"
        done = self.tool(case, "fill", damaged, case.data, "-o", out)
        expect(done.status == 2 and not out.exists(), label, f"filled without being asked to: exit {done.status}")
        done = self.tool(case, "fill", damaged, case.data, "--recover", "-o", out)
        expect(done.status == 3 and "its cross-reference table was rebuilt" in message(done), label, f"fill: {message(done)[:200]}")
        if out.is_file():
            self.read_back(case, "recovered", out, case.values)
            out.unlink()

    # Expected failures --------------------------------------------------------------------------------------------

    def refusals(self, case, encrypted):
        out = self.folder / "refused.pdf"
        broken, stray = self.folder / "broken.xfdf", self.folder / "stray.xfdf"
        broken.write_text("<xfdf><fields><field name='a'>")
        stray.write_text(f'<xfdf xmlns="{XFDF[1:-1]}"><fields><field name="nulle.part"><value>x</value></field>'
                         "</fields></xfdf>")
        for label, command, word in [
                ("a wrong password", ["fill", encrypted, case.data, "--password", "falsch"], "password"),
                ("no password", ["fill", encrypted, case.data], "password"),
                ("no such form", ["fill", self.folder / "none.pdf", case.data], "none.pdf"),
                ("no such data", ["fill", case.pdf, self.folder / "none.xfdf"], "none.xfdf"),
                ("broken data", ["fill", case.pdf, broken], "broken.xfdf"),
                ("data instead of a form", ["fill", case.data, case.data], case.data.name)]:
            done = peers.run(TOOL, *command, "-o", out)
            lines = message(done).splitlines()
            clear = len(lines) == 1 and lines[0].startswith("zforms: ") and word in lines[0].lower()
            expect(done.status == 2 and clear, label, f"exit {done.status}, {lines[:3]}")
            expect(not out.exists(), label, "an output was written")
            out.unlink(missing_ok=True)
        done = peers.run(TOOL, "fill", case.pdf, stray, "-o", out)
        expect(done.status == 3 and "nulle.part" in message(done), "a name without a field",
               f"exit {done.status}, {message(done)[:200]}")
        same = out.is_file() and out.read_bytes() == case.pdf.read_bytes()
        expect(same, "a name without a field", "the form changed")
        expect(not list(self.folder.glob("*.tmp*")), "saving", "leaves temporary files behind")


def tricky_form(folder):
    """A form whose names and values need care: Cyrillic, brackets, blanks, a slash in a state, flat names in XFDF."""
    form = Form("Sonderfälle (100 % \\ geprüft)", "TRICKY")
    form.page()
    form.text_field("имя.фамилия", (40, 40, 200, 18))
    form.text_field("(a) [b] <c> #1", (40, 70, 200, 18), value="(50% )")
    form.text_field("plusieurs lignes", (40, 100, 300, 60), flags=MULTILINE)
    form.text_field("long", (40, 260, 500, 90), flags=MULTILINE)
    form.check_box("accord", (40, 200, 12, 12), state="Oui/Non")
    form.choice("pays.dès", (40, 230, 120, 18), [("ÎLE", "Île (été)"), ("EU", "Europe")], value="EU")
    pdf, data = folder / "tricky.pdf", folder / "tricky.xfdf"
    pdf.write_bytes(form.file(need_appearances=False)[0].rstrip(b"\n"))  # no line end after %%EOF
    values = {"имя.фамилия": "Достоевская Ж. €", "(a) [b] <c> #1": " \\(a%b)\\\\ \t", "accord": "Oui/Non",
              "plusieurs lignes": "été\n\n(fin)", "long": "a" * 252 + "\\" + "é" * 40, "pays.dès": "ÎLE"}
    document = xml.etree.ElementTree.Element(XFDF + "xfdf", {"{http://www.w3.org/XML/1998/namespace}space": "preserve"})
    fields = xml.etree.ElementTree.SubElement(document, XFDF + "fields")
    for name, value in values.items():
        field = xml.etree.ElementTree.SubElement(fields, XFDF + "field", name=name)
        xml.etree.ElementTree.SubElement(field, XFDF + "value").text = value
    data.write_bytes(xml.etree.ElementTree.tostring(document, encoding="utf-8", xml_declaration=True))
    return Case("tricky form", pdf, data)


def main():
    missing = peers.absent(["qpdf", "mutool", "pdftotext", "pdfinfo", "pdftk"])
    if missing:
        print(f"skipped: not installed: {', '.join(missing)}")
        if "qpdf" in missing:
            return SKIPPED
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        checker = Checker(folder)
        cases = [Case(stem, SAMPLES / f"{stem}.pdf", SAMPLES / f"{stem}.xfdf")
                 for stem in ("membership_form", "tax_return")] + [tricky_form(folder)]
        made = [(label, cases[0], user, owner, ["--encrypt", user, owner, *arguments, "--"])
                for label, user, owner, arguments in ENCRYPTIONS]
        made += [(f"{base.label}, {label}", base, user, owner, [*arguments, *OBJECT_STREAMS])
                 for base in list(cases) for label, user, owner, arguments in MODERN]
        for label, base, user, owner, arguments in made:
            out = folder / f"{label.replace(' ', '_')}.pdf"
            done = peers.run("qpdf", "--allow-weak-crypto", *arguments, base.pdf, out)
            if expect(out.is_file(), label, f"qpdf does not make it: {message(done)}"):
                cases.append(Case(label, out, base.data, user, owner))
        for label, user, owner in LOCKED:
            out = folder / f"{label.replace(' ', '_')}.pdf"
            keys = [folder / "user.key", folder / "owner.key"]
            for key, password in zip(keys, (user, owner)):
                key.write_text(password + "\n", encoding="utf-8")
            done = peers.run(TOOL, "permissions", cases[0].pdf, "--encrypt", "aes-256", "--user-password-file", keys[0],
                             "--owner-password-file", keys[1], "-o", out)
            if expect(done.status == 0 and out.is_file(), label, f"zforms does not make it: {message(done)}"):
                expect("R = 6" in peers.qpdf_encryption(out, user), label, "qpdf sees no revision 6")
                cases.append(Case(label, out, cases[0].data, user, owner))
        checked = cases[2::3] if WINDOWS else cases  # only some, because Wine takes long for each run of the program
        for case in checked:
            checker.case(case)
            checker.recovery(case)
        checker.refusals(cases[0], folder / "R3_with_two_passwords.pdf")
    for failure in failures[:MAX_REPORTED]:
        print(failure)
    print(f"readers_check: {len(checked)} forms, " + (f"{len(failures)} failures" if failures else "passed"))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
