"""Real forms for browsers_test.py: what is typed into them, and what their scripts must make of it.

No form has scripts that compute what its lines ask for ("Add lines 4 and 5"). So SUMS adds such scripts to copies of
ten forms, in the order of the lines, and has the results, computed by hand. The scripts of the form decide how they are
shown."""

import json
import re
import subprocess

from tool_case import zforms

# For each file: what is typed; and for each computed field its formula, its value and the text that is shown. A formula
# is a function of AFSimple_Calculate with its fields, or has simplified field notation.
SUMS = {
    "pdf2json__F8846": ({"L1": "1234.5", "L2": "0.25", "L4": "100", "L5": "50.5"}, {
        "L3": ("L1 - L2", "1234.25", "1,234.25"), "SUBTOT2": ("SUM L4 L5", "150.5", "150.50")}),
    "pdf2json__F8908": ({"QEEH": "3", "QEEMH": "2", "PSEEHCR": "150"}, {
        "QEEHCR": ("QEEH * 2000", "6000", "6,000"), "QEEMHCR": ("QEEMH * 1000", "2000", "2,000"),
        "EEHCR": ("SUM QEEHCR QEEMHCR PSEEHCR", "8150", "8,150")}),
    "pdf2json__F8881": ({"COSTS": "901", "PASSTHRU": "20.25"}, {
        "HALFCSTS": ("COSTS * 0.5", "450.5", "450.50"), "SUBTTL": ("SUM HALFCSTS PASSTHRU", "470.75", "470.75")}),
    "pdf2json__F8844": ({"ZWAGES": "15000", "L3": "1250.4"}, {
        "L1A": ("ZWAGES * 0.2", "3000", "3,000"), "L4": ("SUM L1A L3", "4250.4", "4,250")}),
    "pdf2json__F6478": ({"CBIONOAL": "1000", "QCBPGAL": "200", "L5": "8.5"}, {
        "NOALC": ("CBIONOAL * 1.01", "1010", "1,010.00"), "QCBPAMT": ("QCBPGAL * 1.01", "202", "202.00"),
        "L4": ("SUM NOALC QCBPAMT", "1212", "1,212.00"), "L6": ("SUM L4 L5", "1220.5", "1,220.50")}),
    "pdf2json__F5405": ({"PY5405": "7500", "CRRPD": "1500", "SALESPR": "250000", "SALESEXP": "15500", "ADJBAS": "180000", "CRMINUS": "6000"}, {
        "CRDSUB": ("PY5405 - CRRPD", "6000", "6,000"), "AMTREAL": ("SALESPR - SALESEXP", "234500", "234,500"),
        "ADJBASIS": ("ADJBAS - CRMINUS", "174000", "174,000"), "WKSGAIN": ("AMTREAL - ADJBASIS", "60500", "60,500")}),
    "pdf2json__F5695": ({"PHVOLCR": "1000", "SOLCOST": "250.5", "QSWCOST": "0", "QGHPCOST": "99.5", "FUELCELL": "500"}, {
        "STOT": ("SUM PHVOLCR SOLCOST QSWCOST QGHPCOST", "1350", "1,350"), "SUBTOT7": ("STOT * 0.3", "405", "405"),
        "SUBTOT11": ("FUELCELL * 0.3", "150", "150")}),
    "pdf2json__F8615": ({"L1": "5000", "L2": "2000", "L4": "4500", "L6": "60000", "L7": "1000"}, {
        "L3": ("L1 - L2", "3000", "3,000"), "L5": ("MIN L3 L4", "3000", "3,000"), "L8": ("SUM L5 L6 L7", "64000", "64,000"),
        "L12A": ("SUM L5 L7", "4000", "4,000"), "L12B": ("L5 / L12A", "0.75", "75.000%"), "L14": ("L4 - L5", "1500", "1,500")}),
    "pdf2json__F4797": ({"L4G": "10.5", "L5G": "20", "L6G": "-5.25"}, {"L7G": ("SUM L4G L5G L6G", "25.25", "25.25")}),
    "pdf2json__F8814": ({"L1A": "800", "L2": "1200", "QDIV": "410", "L3": "50"}, {
        "L4": ("SUM L1A L2 L3", "2050", "2,050"), "SUBTOT1": ("QDIV / L4", "0.2", "20.000%")}),
}

# Forms with other results, because of their scripts. First the values that are stored: a script changes the text, or
# the formatted text is too long for the field. Then a part of the message of the page: a script calls functions that
# the form lacks.
SCRIPTED = {"pdf2json__A1040": ({"TPDOD": "7/4/2013"}, ""), "pdf2json__ia_scr_1040": ({"ZIP": "123450000"}, "SPLASTNAME")}

# Other forms. The texts for fields with scripts are those of TYPED; fields without scripts get some text.
OTHERS = [f"pdf2json__{name}" for name in (
    "A1040", "DCSCHH", "DCSCHNS", "F46842", "F8833", "F8863P2", "FSCHSELS", "ND1CR", "F2210", "SE", "VASCR", "ia_scr_1040",
    "ia_scr_4136", "OR40")] + [
    "vita-min__az301-TY2024", "pdf-lib__with_update_sections", "vita-min__f13614c-TY2024", "vita-min__nj_additional_dependents",
    "pdffiller__2018-2019_Acceptance", "pdffiller-script__f1040"]

TYPED = {  # for each format script: the text that is typed, shown, stored
    'AFNumber_Format(2, 0, 0, 0, "", true)': ("1234.5", "1,234.50", "1234.5"),
    'AFNumber_Format(0, 0, 0, 0, "", true)': ("1234", "1,234", "1234"),
    'AFNumber_Format(0, 1, 0, 0, "", true)': ("1234", "1234", "1234"),
    "AFSpecial_Format(0)": ("12345", "12345", "12345"),
    "AFSpecial_Format(1)": ("123456789", "12345-6789", "123456789"),
    "AFSpecial_Format(2)": ("2025550123", "(202) 555-0123", "2025550123"),
    "AFSpecial_Format(3)": ("123456789", "123-45-6789", "123456789"),
    'AFDate_FormatEx("mm/dd/yyyy")': ("7/4/2013", "07/04/2013", "07/04/2013"),
}
TEXTS = ("Lebœuf", "Zoé 2")
READ_ONLY, REQUIRED, PASSWORD = 1, 2, 1 << 13


class Objects:
    """The objects of a form, in the JSON format of qpdf, and changes to them."""

    def __init__(self, path):
        self.header, self.all = json.loads(qpdf("--json=2", "--json-key=qpdf", path))["qpdf"]
        self.changes = {}

    def get(self, what):
        while isinstance(what, str) and re.fullmatch(r"\d+ \d+ R", what):
            what = self.all.get(f"obj:{what}", {}).get("value")
        return what

    def change(self, ref, entries):
        value = self.all[f"obj:{ref}"]["value"]
        value.update(entries)
        self.changes[f"obj:{ref}"] = {"value": value}

    def format_of(self, ref):
        action = self.get((self.get(self.get(f"{ref} R").get("/AA")) or {}).get("/F")) or {}
        text = self.get(action.get("/JS"))
        return text[2:].strip().rstrip(";") if isinstance(text, str) else ""


def script_of(formula):
    kind, *names = formula.split()
    if kind.isupper() and kind.isalpha() and names[0] not in "+-*/":
        return f"AFSimple_Calculate('{kind}', {names});".replace('"', "'")
    left, sign, right = formula.split()
    code = " ".join(part if part in "+-*/" or part[0].isdigit() else f"AFMakeNumber(this.getField('{part}').value)" for part in (left, sign, right))
    return f"/** BVCALC {formula} EVCALC **/ event.value = {code};"


def qpdf(*arguments):
    return subprocess.run(["qpdf", *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout


def add_sums(source, computed, target):
    plain = target.with_suffix(".plain")
    # Removes object streams, because qpdf does not change the objects in them.
    qpdf("--object-streams=disable", source, plain)
    objects, fields = Objects(plain), fields_of(plain)
    order = []
    for name, (formula, *_) in computed.items():
        ref = next(one["object"] for one in fields if one["name"] == name) + " R"
        actions = dict(objects.get(objects.get(ref).get("/AA")) or {})
        objects.change(ref, {"/AA": {**actions, "/C": {"/S": "/JavaScript", "/JS": f"u:{script_of(formula)}"}}})
        order.append(ref)
    root = objects.all["trailer"]["value"]["/Root"]
    form = objects.get(objects.get(root)["/AcroForm"])
    objects.change(root, {"/AcroForm": {**form, "/CO": order}})
    changes = target.with_suffix(".json")
    changes.write_text(json.dumps({"qpdf": [objects.header, objects.changes]}))
    qpdf(f"--update-from-json={changes}", plain, target)
    changes.unlink()
    plain.unlink()


def fields_of(path):
    return json.loads(zforms("fields", path, "--json")[1])["fields"]


def again_of(typed):
    """(name, text to append): a field with free text, else one with a number, whose value does not change."""
    free = [name for name, text in typed.items() if text == TEXTS[0]]
    name = free[0] if free else next((name for name, text in typed.items() if re.fullmatch(r"-?[\d.]+", text) and len(text) < 9))
    return (name, " x") if free else (name, "0" if "." in typed[name] else ".0")


def round_of_scripts(source):
    """What to type: one field for each script of TYPED and a few without scripts, on the first page with usable fields,
    and all required fields."""
    objects, fields = Objects(source), fields_of(source)
    names = [one["name"] for one in fields]
    usable = [one for one in fields if one["type"] == "text" and one["listed"] and one["widgets"] == 1 and names.count(one["name"]) == 1
              and not one["flags"] & (READ_ONLY | PASSWORD) and not one["value"] and one["page"]]
    usable = [one for one in usable if one["page"] == usable[0]["page"] or one["flags"] & REQUIRED]
    found = {"typed": {}, "shown": {}, "stored": {}}
    done, texts = set(), list(TEXTS)
    for one in usable:
        script = objects.format_of(one["object"])
        longest = one["maxlen"] or 99
        typed = TYPED.get(script) if script else (texts[0][:longest],) * 3 if texts else None
        is_needed = one["flags"] & REQUIRED
        if is_needed and not script and not texts:
            typed = ("1",) * 3
        if not typed or (script in done and not is_needed) or longest < len(typed[0]):
            continue
        if script:
            done.add(script)
        elif texts:
            texts.pop(0)
        for key, what in zip(found, typed):
            found[key][one["name"]] = what
    return {**found, "again": again_of(found["typed"])}


def rounds_of(corpus, templates):
    """Puts the forms into the folder of templates; returns the rounds of browsers_test.py, by form code."""
    rounds = {}
    for code in [*SUMS, *OTHERS]:
        source, copy = corpus / f"{code}.pdf", templates / f"{code}.tmp"
        if not source.is_file():
            print(f"{code}: missing in the corpus")
            continue
        if code in SUMS:
            typed, computed = SUMS[code]
            add_sums(source, computed, copy)
            results = {name: value for name, (_, value, _) in computed.items()}
            rounds[code] = {"typed": typed, "shown": {name: text for name, (*_, text) in computed.items()}, "stored": results,
                            "again": again_of(typed)}
            check_on_terminal(code, copy, typed, results)
            source = copy
        else:
            rounds[code] = round_of_scripts(source)
            changed, rounds[code]["said"] = SCRIPTED.get(code, ({}, ""))
            rounds[code]["stored"].update(changed)
        status, _, said = zforms("import", source, "-o", templates / f"{code}.pdf")
        copy.unlink(missing_ok=True)
        if status == 2:
            raise SystemExit(f"{code}: {said}")
    return rounds


def check_on_terminal(code, form, typed, results):
    """Prints whether fill computes the same results."""
    data, filled = form.with_suffix(".json"), form.with_suffix(".filled")
    data.write_text(json.dumps(typed))
    zforms("fill", form, data, "-o", filled)
    got = json.loads(zforms("export", filled, "--format", "json", "--all")[1])
    wrong = {name: (got.get(name), value) for name, value in results.items() if got.get(name) != value}
    print(f"{code}: fill computes {'the same' if not wrong else wrong}")
    data.unlink()
    filled.unlink()
