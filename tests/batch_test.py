#!/usr/bin/env python3
"""zforms batch: every form equals the one made by zforms fill, nothing is lost or overwritten, bad rows are reported.
"""

import csv
import io
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import time
import unicodedata

import peers
from tool_case import ODD_VALUES, SAMPLES, TOOL, WINDOWS, expect, odd_form, run_tests, same, zforms

SAMPLE = SAMPLES / "membership_form.pdf"


def table(path, names, rows):
    text = io.StringIO()
    writer = csv.writer(text)
    writer.writerows([names, *rows])
    path.write_text(text.getvalue(), encoding="utf-8", newline="")
    return path


def forms_in(folder):
    return sorted(file.name for file in folder.iterdir() if not file.name.startswith("."))


def bytes_of(folder):
    return {name: (folder / name).read_bytes() for name in forms_in(folder)}


def test_forms_are_those_of_fill(folder):
    """The result does not depend on earlier rows of the same thread, nor on the number of threads."""
    check_against_fill(odd_form(folder / "odd.pdf"), folder / "classic", 120)
    check_against_fill(odd_form(folder / "odd.pdf"), folder / "viewers", 20, options=("--draw", "no"))
    # All fields are drawn, some in fonts that the form does not have.
    check_against_fill(SAMPLE, folder / "drawn", 40, SCRIPTS)
    # The same for a form that was drawn before: parts of its appearances are kept.
    zforms("draw", SAMPLE, "-o", folder / "drawn.pdf")
    check_against_fill(folder / "drawn.pdf", folder / "kept", 12, SCRIPTS)
    check_against_fill(SAMPLE, folder / "flat", 6, SCRIPTS, ("--flatten",))
    if shutil.which("qpdf"):
        packed = folder / "packed.pdf"
        subprocess.run(["qpdf", "--object-streams=generate", folder / "odd.pdf", packed], check=True)
        check_against_fill(packed, folder / "packed", 30)


SCRIPTS = {
    "adherent.nom": ["LEBŒUF", "Ελληνικά", "Москва", "אבג", ""], "adherent.prenom": ["مرحبا", "Zoé", "Łoś"],
    "adherent.ville": ["Ωμέγα", "x\u0378y", "Sète"], "adherent.pays": ["FR", "BE"], "adherent.premiere": ["Oui", "Off"],
    "adherent.adresse": ["12, rue\nbâtiment Ж", "مرحبا بالعالم"], "activites.ateliers": [["SEMIS", "FÊTE"], "RUCHER"],
}


def check_against_fill(form, folder, count, values=ODD_VALUES, options=()):
    folder.mkdir()
    draw = random.Random(4)
    rows = []
    for _ in range(count):
        chosen = [name for name in values if draw.random() < 0.8]
        rows.append({name: draw.choice([None, *values[name]]) for name in chosen})
    data = folder / "rows.jsonl"
    data.write_text("".join(json.dumps(row, ensure_ascii=False) + "\n" for row in rows), encoding="utf-8")
    lacking = [f"line {i}" for i, row in enumerate(rows, 1) if "\u0378" in json.dumps(row, ensure_ascii=False)]
    for jobs in ("1", "3"):
        status, _, err = zforms("batch", form, "--data", data, "--out", folder / jobs, "--jobs", jobs, *options)
        same(f"exit status with {jobs} jobs", (status, sorted(line.split(": ")[2] for line in err.splitlines())),
             (3 if lacking else 0, sorted(lacking)))
    made = bytes_of(folder / "1")
    same("the number of threads changes nothing", bytes_of(folder / "3") == made, True)
    data.write_text("".join(reversed(data.read_text(encoding="utf-8").splitlines(True))), encoding="utf-8")
    zforms("batch", form, "--data", data, "--out", folder / "back", "--jobs", "2", *options)
    same("nor does the order of rows", list(reversed(bytes_of(folder / "back").values())) == list(made.values()), True)
    same("forms", len(made), len(rows))
    # Under Wine only every tenth row is compared: starting Wine takes longer than filling a form.
    for number, row in list(enumerate(rows, 1))[::10 if WINDOWS else 1]:
        single = folder / "row.json"
        single.write_text(json.dumps(row), encoding="utf-8")
        zforms("fill", form, single, "-o", folder / "single.pdf", *options)
        expect(made.get(f"{number:06}.pdf") == (folder / "single.pdf").read_bytes(), "as zforms fill", row)


NOM = "adherent.nom"
BAD_ROWS = [  # label, line of CSV, the expected message
    ("too few values", "a", "the row has 1 value, but the first line names 4 columns"),
    ("too many values", "a,Oui,FR,1,2", "the row has 5 values, but the first line names 4 columns"),
    ("no state", "a,Peut-être,FR,1", 'field "adherent.premiere": "Peut-être" is not a state of the button; its states are "Oui" or "Off"'),
    ("no choice", "a,Oui,XX,1", 'field "adherent.pays": "XX" is not a choice of the field; its choices are "FR" (France), "BE" (Belgique), '
     '"CH" (Suisse), "LU" (Luxembourg), "CI" (Côte d’Ivoire)'),
    ("too long", "a,Oui,FR,123456",
     'field "adherent.code_postal": "123456" has 6 characters; the field takes at most 5'),
    ("text behind a quote", '"a"b,Oui,FR,1',
     'text follows the closing quote of a value; inside a value, a quote is written as ""'),
    ("the same file, in other letters", "GOOD É,Oui,FR,1", 'the file name "GOOD É.pdf" is already used by line 2'),
    ("no name", " ,Oui,FR,1",
     "the file name is empty: its columns are empty or contain only spaces and dots"),
    ("a file of somebody else", "theirs,Oui,FR,1", 'the file "theirs.pdf" already exists and does not belong to this batch; --overwrite replaces it'),
]
HEAD = "adherent.nom,adherent.premiere,adherent.pays,adherent.code_postal"


def test_bad_rows_are_named(folder):
    good = ["good é,Oui,FR,1", '"two\nlines",Off,BE,34500', ",Oui,FR,1".replace(",", "last,", 1)]
    lines = [HEAD, good[0], *(line for _, line, _ in BAD_ROWS), good[1], good[2]]
    data = folder / "rows.csv"
    data.write_text("\r\n".join(lines), encoding="utf-8", newline="")
    out = folder / "out"
    out.mkdir()
    (out / "theirs.pdf").write_text("mine")
    arguments = ["batch", SAMPLE, "--data", data, "--out", out, "--name", "{adherent.nom}.pdf", "--jobs", "1"]
    status, _, err = zforms(*arguments, "--report", folder / "report.json")
    same("exit status", status, 3)
    wanted = [f"line {number}: {what}" for number, (_, _, what) in enumerate(BAD_ROWS, 3)]
    said = [line.split(": ", 2)[2] for line in err.splitlines() if ": line " in line]
    same("what is said", sorted(said), sorted(wanted))
    same("files", forms_in(out), sorted(["good é.pdf", "last.pdf", "theirs.pdf", "two_lines.pdf"]))
    same("the other's file", (out / "theirs.pdf").read_text(), "mine")
    report = json.loads((folder / "report.json").read_text(encoding="utf-8"))
    same("report", [report[key] for key in ("rows", "filled", "failed", "stopped")], [12, 3, 9, False])
    same("failures", sorted(entry["line"] for entry in report["failures"]), list(range(3, 12)))
    named = {entry["line"]: entry.get("field") for entry in report["failures"]}
    same("fields", [named[5], named[6], named[7], named[3]],
         ["adherent.premiere", "adherent.pays", "adherent.code_postal", None])
    # After the rows are corrected they are filled; files that were written before do not change.
    before = bytes_of(out)
    lines[2:7] = ["fixed%d,Oui,FR,1" % i for i in range(5)]
    data.write_text("\r\n".join(lines), encoding="utf-8", newline="")
    status, _, err = zforms(*arguments, "--resume", "--on-error", "stop")
    same("stops at the first bad row", (status, "line 8: text follows" in err), (2, True))
    after = bytes_of(out)
    same("the rows set right", sorted(set(after) - set(before)), [f"fixed{i}.pdf" for i in range(5)])
    same("the others", {name: after[name] for name in before}, before)
    status, _, err = zforms(*arguments, "--resume")
    same("the other's file is not ours the next time either", (status, (out / "theirs.pdf").read_bytes()), (3, b"mine"))


JUDGED = [  # label, values, the expected message, the values exported afterwards
    ("no choice", {"adherent.pays": "ZZ", NOM: "A"}, ['"ZZ" is not a choice of the field'], {"adherent.pays": "FR", NOM: "A"}),
    ("what is shown", {"adherent.pays": "Belgique"}, [], {"adherent.pays": "BE"}),
    ("too long", {"adherent.code_postal": "123456"},
     ['"123456" has 6 characters; the field takes at most 5'], {}),
    ("a word", {"adherent.premiere": "OUI"}, [], {"adherent.premiere": "Oui"}),
    ("no state", {"formule": "yes"}, ['"yes" is not a state of the button'], {}),
    ("several bad ones", {"adherent.pays": "ZZ", "formule": "yes", NOM: "A"},
     ['"ZZ" is not a choice of the field', '"yes" is not a state of the button'], {NOM: "A"}),
    ("a list", {NOM: ["A", "B"]}, ["the field takes one value, not a list"], {}),
    ("some of several", {"activites.ateliers": ["SEMIS", "P", "Q"]},
     ['"P" is not a choice of the field', '"Q" is not a choice of the field'], {"activites.ateliers": "SEMIS"}),
]


NONE = "the data contain no value: no field is filled"
WITHOUT_VALUES = [  # data, the statuses of fill and batch, what both say
    ('{"adherent.pays": null}', [0, 0], NONE), ("{}", [0, 0], NONE), ("adherent.pays\n", [0, 0], NONE), ("[]", [0, 0], NONE), ("[1]", [2, 2], "object"),
    ("[{}]", [0, 0], NONE), ('{"x": null}', [3, 3], '"x"'), ('{"": "A"}', [3, 3], "a value has no field name"),
    ("5", [2, 2], "is a JSON value without a field name"), (" null\n", [2, 2], "is a JSON value without a field name"),
    ('""\n""\n', [0, 0], NONE), ("adherent.email\n\"\"\n", [0, 0], ""),
    ('{"adherent": {"nom": "A"}, "\\"": 1, "adherent.nom": "B"}', [2, 3],
     'column 37: two members are named "adherent.nom"'),
    ('{"\\"\\\\": 1, "\\u0022\\\\": null}', [2, 3], 'column 13: two members are named "\"\\"'),
    ("adherent.nom,adherent.nom\nA,B\n", [2, 2], 'two columns are named "adherent.nom"'),
]


def test_fill_judges_alike(folder):
    """Bad values give the same messages. In fill the field keeps its value; in batch the row is left out."""
    start = json.loads(zforms("export", SAMPLE, "--format", "json")[1])
    for label, values, said, wanted in JUDGED:
        data, one, out = folder / "row.json", folder / "one.pdf", folder / label
        data.write_text(json.dumps(values))
        status, _, err = zforms("fill", SAMPLE, data, "-o", one)
        same(f"{label}: exit status", status, 3 if said else 0)
        lines = [line.removeprefix(f"zforms: {data}: line 1: field ") for line in err.splitlines()]
        expect(len(lines) == len(said) and all(what in line for what, line in zip(said, lines)), label, err)
        same(label, json.loads(zforms("export", one, "--format", "json")[1]), {**start, **wanted})
        status, _, err = zforms("batch", SAMPLE, "--data", data, "--out", out)
        same(f"{label}: forms", bytes_of(out), {} if said else {"000001.pdf": one.read_bytes()})
        expect(all(line.split(": ", 1)[1] in err for line in lines), f"{label}: batch", (lines, err))
    for number, (text, wanted, said) in enumerate(WITHOUT_VALUES):
        data, one, out = folder / "data", folder / "one.pdf", folder / f"without{number}"
        data.write_text(text)
        runs = [zforms("fill", SAMPLE, data, "-o", one), zforms("batch", SAMPLE, "--data", data, "--out", out)]
        same(f"no value in {text!r}: statuses", [status for status, _, _ in runs], wanted)
        expect(all(said in err and err.count("zforms: ") <= 1 + (status == 3) for status, _, err in runs), text, runs)
        if wanted == [0, 0]:
            same(f"no value in {text!r}", {*bytes_of(out).values(), one.read_bytes()}, {SAMPLE.read_bytes()})
    data.write_text("nom,ville\nA,B\n")
    runs = [zforms("fill", SAMPLE, data, "-o", folder / "no"), zforms("batch", SAMPLE, "--data", data, "--out", folder / "no")]
    same("no column is known", [(status, "no column has the name of a field" in err) for status, _, err in runs], [(2, True)] * 2)
    expect(not (folder / "no").exists(), "nothing is written", "")
    for command in (["fill", SAMPLE, data, "-o", one], ["batch", SAMPLE, "--data", data, "--out", folder / "near", "--overwrite"]):
        data.write_text(json.dumps({unicodedata.normalize("NFD", "Numéro d'adhérent"): "A"}))
        expect("; did you mean Numéro d'adhérent?" in zforms(*command)[2], "the near name of a decomposed one", command)
        data.write_text(json.dumps({"adherent.non": "A", "adherent.ville": "B"}))
        status, _, err = zforms(*command)
        expect(status == 3 and 'adherent.non"' in err and "; did you mean adherent.nom?" in err, "near names", err)


def test_names(folder):
    cases = [  # values of the columns a and b, the name of the file
        ("1", "x", "1-x.pdf"), ("../../etc", "passwd", "_._.._etc-passwd.pdf"), ("a/b\\c:d", "*?\"<>|", "a_b_c_d-______.pdf"),
        ("\tx", "end. ", "_x-end.pdf"), ("-rf", ".", "_rf-.pdf"), ("é" * 300, "z", "é" * 98 + ".pdf"),
    ]
    data = folder / "objects.json"
    for text in ('{\n  "adherent.nom": "}\\"{"\n}\n{ "adherent.nom": "B" }', '[{"adherent.nom": "}\\"{"}, {"adherent.nom": "B"\n}]\n'):
        data.write_text(text)
        same(text, zforms("batch", SAMPLE, "--data", data, "--out", folder / "objects", "--overwrite")[::2], (0, ""))
        same(f"forms of {text}", forms_in(folder / "objects"), ["000001.pdf", "000002.pdf"])
    for text, what in [("%FDF-1.2\n", "begins like XML, XFDF or FDF; rows must be in CSV or JSON"), ("<xfdf/>", "begins like XML, XFDF or FDF; rows must be in CSV or JSON"),
                       ("", "is empty"), ("a,b\n1,2\n", "no column has the name of a field")]:
        (folder / "other").write_text(text)
        status, _, err = zforms("batch", SAMPLE, "--data", folder / "other", "--out", folder / "none")
        expect(status == 2 and what in err and not (folder / "none").exists(), f"a table {text!r}", err)
    data = table(folder / "rows.csv", ["a", "b", "adherent.nom"], [[a, b, "n"] for a, b, _ in cases])
    status, _, err = zforms("batch", SAMPLE, "--data", data, "--out", folder / "out", "--name", "{a}-{b}")
    same("exit status", (status, err), (0, ""))
    same("names", forms_in(folder / "out"), sorted(name for _, _, name in cases))
    data = table(folder / "device.csv", ["a", "adherent.nom"], [["con", ""], ["LPT1", ""], ["console", ""]])
    zforms("batch", SAMPLE, "--data", data, "--out", folder / "device", "--name", "{a}.pdf")
    same("devices of Windows", forms_in(folder / "device"), ["_LPT1.pdf", "_con.pdf", "console.pdf"])
    for pattern, what in [("x.pdf", "the name has no column"), ("{a", 'a "{" without a column name'), ("a}", 'a "}" without'),
                          ("d/{a}", 'a file name cannot contain "/"'), ("{nobody}", 'there is no column "nobody"')]:
        status, _, err = zforms("batch", SAMPLE, "--data", data, "--out", folder / "none", "--name", pattern)
        expect(status != 0 and what in err, f"the pattern {pattern}", err)


def kill_until_done(first, then, out, allowed, run_time):
    """Runs the command `first` and kills it after a quarter of `run_time`, the seconds that an undisturbed run takes.
    Then runs and kills `then` again and again, each time a little later, until it ends by itself. Checks that existing
    files are always complete. Returns the number of kills."""
    kills = 0
    for attempt in range(60):
        batch = subprocess.Popen([TOOL, *map(str, then if attempt else first)], stderr=subprocess.DEVNULL)
        time.sleep(run_time * (4 + attempt) / 16)
        batch.send_signal(signal.SIGKILL)
        if batch.wait() != -signal.SIGKILL:
            break
        kills += 1
        there = bytes_of(out) if out.is_dir() else {}
        broken = [name for name, form in there.items() if form not in allowed.get(name, ())]
        if not same(f"half-written after {kills} kills", broken, []):
            break
    return kills


def test_killed_and_resumed(folder):
    """After a kill at any time, existing forms are complete, and --resume makes the others. This also holds when rows
    were changed, or when a run with --overwrite was killed."""
    out = folder / "killed"
    had = {}
    for how, town in (("--resume", "Sète"), ("--resume", "Agde"), ("--overwrite", "Agde"), ("--overwrite", "Lodève")):
        rows = [[f"{i:05}", f"Lebœuf {i}", town] for i in range(500 if WINDOWS else 3000)]  # Wine writes files slowly
        data = table(folder / "rows.csv", ["id", "adherent.nom", "adherent.ville"], rows)
        arguments = ["batch", SAMPLE, "--data", data, "--name", "{id}.pdf", "--jobs", "2", "--draw", "no", "--out"]
        shutil.rmtree(folder / "whole", ignore_errors=True)
        start = time.monotonic()
        zforms(*arguments, folder / "whole")
        run_time = time.monotonic() - start
        wanted = bytes_of(folder / "whole")
        same("forms", len(wanted), len(rows))
        allowed = {name: (form, had.get(name)) for name, form in wanted.items()}
        kills = kill_until_done([*arguments, out, how], [*arguments, out, "--resume"], out, allowed, run_time)
        label = f"{how} with {town}"
        expect(kills >= 1, f"{label}: killed midway", kills)
        same(f"{label}: the end", zforms(*arguments, out, "--resume")[::2], (0, ""))
        got = bytes_of(out)
        same(f"{label}: forms lost", sorted(set(wanted) - set(got)), [])
        same(f"{label}: not those of the rows", [name for name in got if got[name] != wanted.get(name)], [])
        same(f"{label}: left over", [name for name in os.listdir(out) if name.startswith(".")], [".zforms-batch"])
        had = wanted
    # Without an option, an earlier batch is neither continued nor overwritten.
    status, _, err = zforms(*arguments, out)
    expect(status == 2 and "--resume continues it" in err, "an earlier batch", err)
    status, _, err = zforms("batch", SAMPLE, "--data", data, "--name", "x{id}.pdf", "--draw", "no", "--out", out, "--resume")
    expect(status == 2 and "differ from those of the earlier batch" in err, "another batch", err)


def names_of(out):
    return [row["adherent.nom"] for row in csv.DictReader(io.StringIO(
        zforms("export", *(out / name for name in forms_in(out)), "--format", "csv")[1], newline=""))]


def test_a_row_is_done_when_its_file_is(folder):
    """After a run that could not write any form, as on a full disk, the next run makes all of them."""
    for how, first in (("--resume", ["A", "B", "C"]), ("--overwrite", ["A", "B", "C"]), ("--resume", [])):
        out = folder / f"{how}{len(first)}"
        arguments = ["batch", SAMPLE, "--data", folder / "rows.csv", "--out", out, "--name", "{id}.pdf", "--jobs", "1"]
        table(folder / "rows.csv", ["id", "adherent.nom"], [*enumerate(first)])
        zforms(*arguments)
        same(f"{how}: at first", names_of(out) if first else [], first)
        (out / ".zforms-part-0" / "in the way").mkdir(parents=True)
        table(folder / "rows.csv", ["id", "adherent.nom"], [*enumerate(["X", "Y", "Z"])])
        same(f"{how}: nothing can be written", zforms(*arguments, how)[0], 75)
        shutil.rmtree(out / ".zforms-part-0")
        same(f"{how}: then it can", zforms(*arguments, "--resume")[::2], (0, ""))
        same(f"{how}: names", names_of(out), ["X", "Y", "Z"])


def is_locked(path):
    """Whether a process has locked the file, according to /proc: locking it here as a test could disturb the tool.
    On Windows the file is locked as soon as it exists."""
    return path.exists() and (WINDOWS or f":{path.stat().st_ino} " in pathlib.Path("/proc/locks").read_text())


def test_one_batch_at_a_time(folder):
    out = folder / "out"
    data = table(folder / "rows.csv", ["id", "adherent.nom"], [*enumerate("ABC")])
    arguments = ["batch", SAMPLE, "--out", out, "--name", "{id}.pdf", "--resume"]
    first = subprocess.Popen([TOOL, *map(str, arguments), "--data", "-"], stdin=subprocess.PIPE,
                             stderr=subprocess.DEVNULL)
    first.stdin.write(b"id,adherent.nom,x\n0,A," + b"x" * 300000)  # more than is read at once, without an end
    first.stdin.flush()
    while not is_locked(out / ".zforms-lock"):
        time.sleep(0.01)
    for mode in ([], ["--overwrite"]):
        status, _, err = zforms(*arguments[:-1], *mode, "--data", data)
        said = f"zforms: {data}: another batch is running in the folder {out}\n"
        same("while another one runs", (status, err), (75, said))
    first.kill()
    first.wait()
    same("once it is killed", zforms(*arguments, "--data", data)[::2], (0, ""))
    same("files", sorted(os.listdir(out)), [".zforms-batch", "0.pdf", "1.pdf", "2.pdf"])


HEADER = 100
DAMAGES = [  # label, a function that damages the record of the batch (a database)
    ("cut", lambda record: record[:5000]),
    ("cut within its header", lambda record: record[:60]),
    ("overwritten", lambda record: record[:HEADER] + b"\7" * (len(record) - HEADER)),
    ("its last page alone", lambda record: record[:-4096] + b"\7" * 4096),
    ("one bit of the size of its pages", lambda record: record[:16] + bytes([record[16] ^ 1]) + record[17:]),
    ("a record of another version", lambda record: record[:63] + b"\3" + record[64:]),
    ("no record", lambda record: b"id,adherent.nom\n" * 100),
]


def test_a_damaged_record(folder):
    out = folder / "out"
    arguments = ["batch", SAMPLE, "--data", table(folder / "rows.csv", ["id", "adherent.nom"], [*enumerate("ABC")]),
                 "--out", out, "--name", "{id}.pdf"]
    zforms(*arguments)
    record = (out / ".zforms-batch").read_bytes()
    for label, damage in DAMAGES:
        expect(damage(record) != record, f"{label}: it is damaged")
        (out / ".zforms-batch").write_bytes(damage(record))
        status, _, err = zforms(*arguments, "--resume")
        said = "is damaged" in err and "; --overwrite starts over" in err
        expect(status == 2 and said, label, err)
        same(f"{label}: started over", zforms(*arguments, "--overwrite")[::2], (0, ""))
    (out / ".zforms-batch").write_bytes(b"")
    status, _, err = zforms(*arguments, "--resume")
    expect(status == 3 and err.count("already exists and does not belong to this batch") == 3, "an empty record", err)


def test_utf16(folder):
    """Reads UTF-16 as spreadsheets save it, also when a surrogate pair is split between two reads."""
    for encoding, mark in (("utf-16-le", b"\xff\xfe"), ("utf-16-be", b"\xfe\xff")):
        for padding in ("", "x"):
            text = padding + "\U0001F600" * 100000
            data = folder / "rows.txt"
            data.write_bytes(mark + f"adherent.nom\tadherent.adresse\r\nMaé\t{text}\r\n".encode(encoding))
            out = folder / (encoding + padding)
            same(encoding, zforms("batch", SAMPLE, "--data", data, "--out", out, "--draw", "no")[::2], (0, ""))
            values = json.loads(zforms("export", out / "000001.pdf", "--format", "json")[1])
            expect((values["adherent.nom"], values["adherent.adresse"]) == ("Maé", text), f"values in {encoding}")


def test_maps(folder):
    """Maps take values from columns of --rubric, from an INI file for all rows, and from columns "rubric.name"."""
    maps = folder / "maps.ini"
    maps.write_text("; who feeds what\n[adhésion]\nadherent.nom = personne.Nom\nadherent.prénom d'usage=surnom\n"
                    "adherent.ville=club.Ville\nadherent.email=autre.mail\nadherent.nulle=personne.x\n", encoding="cp1252")
    (folder / "club.ini").write_text("[club]\nVille=Béziers\n", encoding="utf-8")
    data = folder / "rows.csv"
    data.write_text("nom;SURNOM;autre.mail;adherent.pays\nLebœuf;Maé;m@x;BE\n", encoding="utf-8-sig")
    status, _, err = zforms("batch", SAMPLE, "--data", data, "--out", folder / "out", "--map", maps, "--rubric",
                            "personne", "--rubric", f"club={folder / 'club.ini'}")
    same("exit status", status, 3)
    said = [line.split(": ", 2)[2] for line in err.splitlines()]
    same("warnings", said, ['the maps name a field "adherent.nulle", which the form does not have; did you mean adherent.ville?',
                            'column "adherent.pays" fills no field and is ignored'])
    values = json.loads(zforms("export", folder / "out" / "000001.pdf", "--format", "json")[1])
    same("values", [values["adherent." + key] for key in ("nom", "prénom d'usage", "ville", "email", "pays")],
         ["Lebœuf", "Maé", "Béziers", "m@x", "FR"])


def test_a_damaged_form(folder):
    """A damaged form is refused. With --recover it is repaired once, and each row is an update of the repaired form."""
    damaged = folder / "damaged.pdf"
    damaged.write_bytes(SAMPLE.read_bytes().replace(b"startxref\n", b"startxref\n9"))
    data = table(folder / "rows.csv", ["adherent.nom"], [["Łoś"]])
    odd = folder / "odd.pdf"
    odd.write_bytes(SAMPLE.read_bytes().replace(b"/NeedAppearances true", b"/NeedAppearances tru)", 1))
    arguments = ["batch", damaged, "--data", data, "--out", folder / "out"]
    status, _, err = zforms(*arguments)
    expect(status == 2 and "damaged.pdf" in err and not (folder / "out").exists(), "refused", err)
    status, _, err = zforms(*arguments, "--recover")
    same("recovered", (status, zforms("fill", damaged, data, "--recover", "-o", folder / "one.pdf")[0]), (3, 3))
    same("value", names_of(folder / "out"), ["Łoś"])
    if shutil.which("qpdf"):
        same("qpdf", peers.qpdf_check(folder / "out" / "000001.pdf"), (0, 0))
    runs = [zforms("batch", odd, "--data", data, "--out", folder / "odd"),
            zforms("fill", odd, data, "-o", folder / "one.pdf")]
    same("damage in an object", [(status, err.count("object ")) for status, _, err in runs], [(3, 2)] * 2)


if __name__ == "__main__":
    run_tests(globals())
