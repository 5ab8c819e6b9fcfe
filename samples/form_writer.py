"""A small writer of classic PDF forms (ISO 32000-1: 7.5 file structure, 12.7 interactive forms).

It writes what the sample forms need and nothing else: one cross-reference table, no compression, no
dates, so that the same script gives the same bytes on every machine. Coordinates are points from the
top left corner of the page.
"""

import hashlib
import unicodedata

# Field flags, ISO 32000-1 tables 221 to 230.
READ_ONLY, REQUIRED, NO_EXPORT = 1, 2, 4
MULTILINE, COMB = 1 << 12, 1 << 24
RADIO, NO_TOGGLE_TO_OFF, PUSH = 1 << 15, 1 << 14, 1 << 16
COMBO, MULTI_SELECT = 1 << 17, 1 << 21
# Annotation flags, table 165, and the submit flag that asks for XFDF, table 237.
HIDDEN, PRINT = 2, 4
SUBMIT_AS_XFDF = 1 << 5

# Advance widths of Helvetica, characters 32 to 126, in thousandths of the font size.
HELVETICA = [int(w) for w in """278 278 355 556 556 889 667 191 333 333 389 584 278 333 278 278 556 556 556 556 556
556 556 556 556 556 278 278 584 584 584 556 1015 667 667 722 722 667 611 778 722 278 500 667 556 833 722 778 667 778
722 667 611 722 667 944 667 667 611 278 278 278 469 556 333 556 556 500 556 556 278 556 556 222 222 500 222 833 556
556 556 556 333 500 278 556 500 722 500 500 500 334 260 334 584""".split()]


def text_width(text, size, bold=False):
    width = 0
    for char in text:
        base = unicodedata.normalize("NFD", char)[0]
        width += HELVETICA[ord(base) - 32] if 32 <= ord(base) < 127 else 556
    return width * size / 1000 * (1.06 if bold else 1)


class Name(str):
    """A PDF name, without its slash; characters that are not ASCII are encoded as in text strings, as most viewers
    expect."""


class Ref(int):
    """A reference to the indirect object of that number."""


class Text(str):
    """A text string: PDFDocEncoding where it has every character, else UTF-16BE."""


class WideText(str):
    """A text string always in UTF-16BE."""


PDF_DOC = {"\u2022": 0x80, "\u2026": 0x83, "\u2014": 0x84, "\u2013": 0x85, "\u2019": 0x90, "\u0152": 0x96,
           "\u0153": 0x9C, "\u20ac": 0xA0, "\n": 0x0D}


def text_bytes(text):
    out = bytearray()
    for char in text:
        code = PDF_DOC.get(char, ord(char))
        if char not in PDF_DOC and not (0x20 <= code < 0x7F or 0xA1 <= code <= 0xFF):
            return b"\xfe\xff" + text.encode("utf-16-be")
        out.append(code)
    return bytes(out)


def literal(data):
    out = bytearray(b"(")
    for byte in data:
        if byte in b"()\\":
            out += b"\\" + bytes([byte])
        elif 0x20 <= byte < 0x7F:
            out.append(byte)
        else:
            out += b"\\%03o" % byte
    return bytes(out + b")")


def number(value):
    return (b"%.2f" % value).rstrip(b"0").rstrip(b".") if isinstance(value, float) else b"%d" % value


def serialise(value):
    if isinstance(value, Ref):
        return b"%d 0 R" % value
    if isinstance(value, Name):
        regular = b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.+"
        return b"/" + b"".join(bytes([b]) if b in regular else b"#%02X" % b for b in text_bytes(value))
    if isinstance(value, WideText):
        return b"<" + (b"\xfe\xff" + value.encode("utf-16-be")).hex().upper().encode() + b">"
    if isinstance(value, Text):
        return literal(text_bytes(value))
    if isinstance(value, bytes):
        return literal(value)
    if isinstance(value, bool):
        return b"true" if value else b"false"
    if isinstance(value, (int, float)):
        return number(value)
    if isinstance(value, list):
        return b"[" + b" ".join(map(serialise, value)) + b"]"
    return b"<<" + b" ".join(serialise(Name(k)) + b" " + serialise(v) for k, v in value.items()) + b">>"


class Canvas:
    """A content stream under construction; `height` turns distances from the top into PDF coordinates."""

    def __init__(self, height):
        self.height = height
        self.ops = []

    def op(self, *parts):
        self.ops.append(b" ".join(p if isinstance(p, bytes) else number(float(p)) for p in parts))

    def rect(self, x, y, w, h, fill=None, stroke=None, line=0.6):
        self.op(b"q")
        if fill:
            self.op(*fill, b"rg")
        if stroke:
            self.op(*stroke, b"RG", line, b"w")
        self.op(x, self.height - y - h, w, h, b"re", b"B" if fill and stroke else b"f" if fill else b"S")
        self.op(b"Q")

    def line(self, x1, y1, x2, y2, colour=(0, 0, 0), width=0.5):
        self.op(b"q", *colour, b"RG", width, b"w", x1, self.height - y1, b"m", x2, self.height - y2, b"l S Q")

    def circle(self, x, y, r, fill=None, stroke=None, line=0.8):
        k, y = r * 0.5523, self.height - y
        self.op(b"q", *(fill or ()), b"rg" if fill else b"", *(stroke or ()), b"RG" if stroke else b"", line, b"w")
        self.op(x + r, y, b"m", x + r, y + k, x + k, y + r, x, y + r, b"c", x - k, y + r, x - r, y + k, x - r, y, b"c")
        self.op(x - r, y - k, x - k, y - r, x, y - r, b"c", x + k, y - r, x + r, y - k, x + r, y, b"c")
        self.op(b"B" if fill and stroke else b"f" if fill else b"S", b"Q")

    def text(self, x, y, text, size=9, bold=False, colour=(0, 0, 0), align="left"):
        """`y` is the base line; `x` the left end, the centre or the right end."""
        x -= {"left": 0, "centre": 0.5, "right": 1}[align] * text_width(text, size, bold)
        font = b"/HeBo" if bold else b"/Helv"
        self.op(b"BT", font, size, b"Tf", *colour, b"rg", x, self.height - y, b"Td", literal(text.encode("cp1252")),
                b"Tj ET")

    def data(self):
        return b"\n".join(self.ops) + b"\n"


class Document:
    """The numbered objects of a file."""

    def __init__(self):
        self.bodies = []

    def reserve(self):
        self.bodies.append(None)
        return Ref(len(self.bodies))

    def put(self, ref, value, stream=None):
        if stream is not None:
            value = dict(value, Length=len(stream))
        body = serialise(value)
        self.bodies[ref - 1] = body if stream is None else body + b"\nstream\n" + stream + b"endstream"
        return ref

    def add(self, value, stream=None):
        return self.put(self.reserve(), value, stream)

    def finish(self, root, info):
        out = bytearray(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")
        table = bytearray(b"0000000000 65535 f \n")
        for index, body in enumerate(self.bodies):
            table += b"%010d 00000 n \n" % len(out)
            out += b"%d 0 obj\n" % (index + 1) + body + b"\nendobj\n"
        start, count = len(out), len(self.bodies) + 1
        identity = hashlib.md5(out).digest()
        trailer = {"Size": count, "Root": root, "Info": info}
        out += b"xref\n0 %d\n" % count + table + b"trailer\n" + serialise(trailer)[:-2]
        hexa = identity.hex().upper().encode()
        out += b" /ID [<" + hexa + b"> <" + hexa + b">]>>\nstartxref\n%d\n%%%%EOF\n" % start
        return bytes(out), hexa.decode()


class Node:
    """A field, or a group of fields, before it is written as a dictionary."""

    def __init__(self, ref, name, parent=None):
        self.ref, self.name, self.parent = ref, name, parent
        self.kids, self.entries, self.widgets = {}, {}, []


class Form:
    """A document with pages, fields and widgets. Field names are full names; groups are created as needed."""

    WIDTH, HEIGHT = 595, 842

    def __init__(self, title, code):
        self.title, self.code = title, code
        self.document = Document()
        self.root, self.info, self.acroform, self.tree = (self.document.reserve() for _ in range(4))
        self.fonts = {}
        for key, base in (("Helv", "Helvetica"), ("HeBo", "Helvetica-Bold"), ("ZaDb", "ZapfDingbats")):
            font = {"Type": Name("Font"), "Subtype": Name("Type1"), "BaseFont": Name(base), "Name": Name(key)}
            if key != "ZaDb":
                font["Encoding"] = Name("WinAnsiEncoding")
            self.fonts[key] = self.document.add(font)
        self.top = Node(self.acroform, "")
        self.pages, self.accent = [], (0, 0, 0)
        self.page_entries, self.form_entries = {"Tabs": Name("S")}, {}

    def page(self):
        self.canvas = Canvas(self.HEIGHT)
        self.pages.append((self.document.reserve(), self.canvas, []))
        return self.canvas

    # Fields ------------------------------------------------------------------------------------------------------

    def node(self, full_name):
        node = self.top
        for name in full_name.split("."):
            if name not in node.kids:
                node.kids[name] = Node(self.document.reserve(), name, node)
            node = node.kids[name]
        return node

    def widget(self, node, box, merged=True, **entries):
        x, y, w, h = box
        page, _, annotations = self.pages[-1]
        widget = {"Type": Name("Annot"), "Subtype": Name("Widget"), "P": page, "F": PRINT,
                  "Rect": [float(x), float(self.HEIGHT - y - h), float(x + w), float(self.HEIGHT - y)]}
        widget.update(entries)
        ref = node.ref if merged else self.document.reserve()
        annotations.append(ref)
        node.widgets.append((ref, merged, widget))

    def appearance(self, w, h, ops, tx=True):
        stream = b"/Tx BMC\n" + ops + b"\nEMC\n" if tx else ops + b"\n"
        resources = {"Font": {k: v for k, v in self.fonts.items() if k.encode() in ops}}
        return self.document.add({"Type": Name("XObject"), "Subtype": Name("Form"), "BBox": [0, 0, float(w), float(h)],
                                  "Resources": resources}, stream)

    def text_lines(self, lines, w, h, size, quadding=0, top=None):
        ops, y = [b"q BT /Helv %s Tf 0 g" % number(float(size))], h / 2 - size * 0.35 if top is None else h - top
        for line in lines:
            x = 3 if quadding == 0 else w - 3 - text_width(line, size)
            ops.append(b"1 0 0 1 %s %s Tm %s Tj" % (number(float(x)), number(float(y)), literal(line.encode("cp1252"))))
            y -= size * 1.15
        return b"\n".join(ops) + b"\nET Q"

    def text_field(self, name, box, value="", tip="", flags=0, size=10, quadding=0, max_length=0, hidden=False):
        x, y, w, h = box
        node = self.node(name)
        node.entries.update(FT=Name("Tx"), DA=b"/Helv %s Tf 0 g" % number(float(size)))
        if flags:
            node.entries["Ff"] = flags
        if max_length:
            node.entries["MaxLen"] = max_length
        if quadding:
            node.entries["Q"] = quadding
        if tip:
            node.entries["TU"] = Text(tip)
        if value:
            node.entries["V"] = Text(value)
        lines = value.split("\n")
        ops = self.text_lines(lines, w, h, size, quadding, size + 2 if flags & MULTILINE else None)
        self.widget(node, box, F=HIDDEN if hidden else PRINT, AP={"N": self.appearance(w, h, ops)})

    def mark(self, size, glyph, on):
        ops = b"q BT /ZaDb %s Tf %s rg %s %s Td (%s) Tj ET Q" % (
            number(float(size)), b" ".join(number(float(c)) for c in self.accent), number(size * 0.2),
            number(size * 0.2), glyph) if on else b"q Q"
        return self.appearance(size * 1.2, size * 1.2, ops, tx=False)

    def button_states(self, side, state, glyph):
        size = side / 1.2
        return {"AP": {"N": {state: self.mark(size, glyph, True), "Off": self.mark(size, glyph, False)}},
                "AS": Name("Off"), "MK": {"CA": glyph}, "DA": b"/ZaDb 0 Tf 0 g"}

    def check_box(self, name, box, state="Oui", tip="", inherited=False):
        node = self.node(name)
        if inherited:
            node.parent.entries["FT"] = Name("Btn")
        else:
            node.entries["FT"] = Name("Btn")
        node.entries["V"] = Name("Off")
        if tip:
            node.entries["TU"] = Text(tip)
        self.widget(node, box, **self.button_states(box[2], state, b"4"))

    def radio_button(self, name, box, state, tip=""):
        node = self.node(name)
        node.entries.update(FT=Name("Btn"), Ff=RADIO | NO_TOGGLE_TO_OFF, V=Name("Off"))
        if tip:
            node.entries["TU"] = Text(tip)
        self.widget(node, box, merged=False, **self.button_states(box[2], state, b"l"))

    def choice(self, name, box, options, value="", flags=COMBO, tip="", size=10):
        x, y, w, h = box
        node = self.node(name)
        pairs = [[Text(o[0]), Text(o[1])] if isinstance(o, tuple) else Text(o) for o in options]
        node.entries.update(FT=Name("Ch"), Ff=flags, Opt=pairs, DA=b"/Helv %s Tf 0 g" % number(float(size)))
        if tip:
            node.entries["TU"] = Text(tip)
        display = dict(o if isinstance(o, tuple) else (o, o) for o in options)
        if value:
            node.entries.update(V=Text(value), DV=Text(value))
        lines = [display.get(value, "")] if flags & COMBO else list(display.values())
        ops = self.text_lines(lines, w, h, size, top=None if flags & COMBO else size + 2)
        self.widget(node, box, AP={"N": self.appearance(w, h, ops)})

    def submit_button(self, name, box, caption, page):
        x, y, w, h = box
        node = self.node(name)
        url = f"http://localhost:8080/App/xfdf/{page}?code={self.code}"
        node.entries.update(FT=Name("Btn"), Ff=PUSH, TU=Text(caption), DA=b"/HeBo 10 Tf 1 g", A={
            "S": Name("SubmitForm"), "F": {"FS": Name("URL"), "F": url.encode()}, "Flags": SUBMIT_AS_XFDF})
        face = Canvas(h)
        face.rect(0, 0, w, h, fill=self.accent)
        face.text(w / 2, h / 2 + 3.5, caption, 10, bold=True, colour=(1, 1, 1), align="centre")
        mk = {"BG": [float(c) for c in self.accent], "CA": Text(caption)}
        self.widget(node, box, MK=mk, H=Name("P"), AP={"N": self.appearance(w, h, face.data(), tx=False)})

    def session_field(self):
        self.text_field("ZOR.SessionID", (40, 20, 10, 10), hidden=True)

    # The file ----------------------------------------------------------------------------------------------------

    def write_field(self, node):
        entries = dict(T=WideText(node.name) if not node.name.isascii() else Text(node.name))
        if node.parent is not self.top:
            entries["Parent"] = node.parent.ref
        entries.update(node.entries)
        kids = [kid.ref for kid in node.kids.values()]
        for ref, merged, widget in node.widgets:
            if merged:
                entries.update(widget)
            else:
                kids.append(self.document.put(ref, dict(widget, Parent=node.ref)))
        if kids:
            entries["Kids"] = kids
        self.document.put(node.ref, entries)
        for kid in node.kids.values():
            self.write_field(kid)

    def file(self, need_appearances=True):
        """The bytes of the file, and its identifier in hexadecimal."""
        put, add = self.document.put, self.document.add
        resources = {"Font": self.fonts}
        for page, canvas, annotations in self.pages:
            contents = add({}, canvas.data())
            put(page, {"Type": Name("Page"), "Parent": self.tree, "MediaBox": [0, 0, self.WIDTH, self.HEIGHT],
                       "Resources": resources, "Contents": contents, "Annots": annotations, **self.page_entries})
        put(self.tree, {"Type": Name("Pages"), "Kids": [p[0] for p in self.pages], "Count": len(self.pages)})
        for node in self.top.kids.values():
            self.write_field(node)
        put(self.acroform, {"Fields": [n.ref for n in self.top.kids.values()], "NeedAppearances": need_appearances,
                            "DA": b"/Helv 10 Tf 0 g", "DR": {"Font": self.fonts}, **self.form_entries})
        put(self.root, {"Type": Name("Catalog"), "Pages": self.tree, "AcroForm": self.acroform,
                        "Lang": b"fr-FR", "ViewerPreferences": {"DisplayDocTitle": True}})
        put(self.info, {"Title": Text(self.title), "Creator": Text("make_samples.py")})
        return self.document.finish(self.root, self.info)
