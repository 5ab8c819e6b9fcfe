#!/usr/bin/env python3
"""What filling must remove, and what signatures and permissions forbid: XFA, usage rights, certification, locks."""

import json
import shutil

import peers
from tool_case import Name, SAMPLES, Text, expect, restricted_form as form, run_tests, same, zforms


def listed(*names, action="Include"):
    return {"Action": Name(action), "Fields": [Text(name) for name in names]}


LOCKED = "is locked by the signature \"S\"; --force writes it anyway"
CERTIFIED = 'is certified by the signature "S", which allows no change'
CASES = [  # label, form, options, status, messages, the values of a, b and g.c, the remaining /XFA, /UR3
    ("nothing forbids", {}, [], 0, [], "AB1", ""),
    ("XFA", {"xfa": True}, [], 0, ["the XFA form is removed"], "AB1", ""),
    ("XFA is kept", {"xfa": True}, ["--xfa", "keep"], 0, [], "AB1", "/XFA/NeedsRendering"),
    ("XFA of a signed form", {"xfa": True, "signatures": [("S", None, None, None)]}, [], 3,
     ["the XFA form is kept, because the document is signed", "--force"], "AB1", "/XFA/NeedsRendering"),
    ("XFA of a signed form, forced", {"xfa": True, "signatures": [("S", None, None, None)]}, ["--force"], 3,
     ["the XFA form is removed", "no longer valid"], "AB1", ""),
    ("usage rights", {"rights": True}, [], 0, ["usage rights"], "AB1", ""),
    ("usage rights beside a certification", {"rights": True, "signatures": [("S", 2, None, None)]}, [], 0,
     ["usage rights"], "AB1", "/Perms/DocMDP"),
    ("no change", {"signatures": [("S", 1, None, None)]}, [], 3, [CERTIFIED, "--force"], ["old", None, None],
     "/Perms/DocMDP"),
    ("no change, forced", {"signatures": [("S", 1, None, None)]}, ["--force"], 3, [CERTIFIED, "no longer valid"], "AB1",
     "/Perms/DocMDP"),
    ("filling is allowed", {"signatures": [("S", 3, None, None)]}, [], 0, [], "AB1", "/Perms/DocMDP"),
    ("a lock of named fields", {"signatures": [("S", None, listed("b"), None)]}, [], 3, ['"b": ' + LOCKED],
     ["A", None, "1"], ""),
    ("a lock of a group", {"signatures": [("S", None, None, listed("g"))]}, [], 3, ['"g.c": ' + LOCKED],
     ["A", "B", None], ""),
    ("a lock of all others", {"signatures": [("S", None, listed("g", action="Exclude"), None)]}, [], 3,
     ['"a": ' + LOCKED, '"b": ' + LOCKED], ["old", None, "1"], ""),
    ("a lock of all", {"signatures": [("S", None, {"Action": Name("All")}, None)]}, ["--force"], 3,
     ["fields that a signature locks are filled too", "no longer valid"], "AB1", ""),
]


def test_fill_and_batch(folder):
    data, rows = folder / "data.json", folder / "rows.csv"
    data.write_text('{"a": "A", "b": "B", "g": {"c": 1}}')
    rows.write_text("a,b,g.c\nA,B,1\n")
    for number, (label, parts, options, status, said, values, left) in enumerate(CASES):
        source, filled, out = form(folder / f"{number}.pdf", **parts), folder / f"filled{number}.pdf", folder / f"{number}"
        got, _, err = zforms("fill", source, data, "-o", filled, *options)
        same(f"{label}: status", got, status)
        expect(all(text in err for text in said) and bool(err) == bool(said), label, err)
        same(f"{label}: values", list(json.loads(zforms("export", filled, "--format", "json")[1]).values()),
             list(values))
        expect(filled.read_bytes().startswith(source.read_bytes()), f"{label}: the bytes read stay")
        tree = zforms("show", filled, "1")[1]
        for key in ("/XFA", "/NeedsRendering", "/Perms", "/DocMDP", "/UR3"):
            same(f"{label}: {key}", key in tree, key in left)
        if shutil.which("qpdf"):
            same(f"{label}: qpdf", peers.qpdf_check(filled), (0, 0))
        got, _, err = zforms("batch", source, "--data", rows, "--out", out, *options)
        written = (out / "000001.pdf").read_bytes() if (out / "000001.pdf").exists() else None
        whole = list(values) == list("AB1")
        same(f"{label}: batch", (got, written), (status, filled.read_bytes() if whole else None))
        expect(not said or said[0].split(";")[0].split('": ')[-1] in err, f"{label}: batch says", err)


def test_its_own_export_changes_nothing(folder):
    source = form(folder / "form.pdf", [("S", 1, None, {"Action": Name("All")})], xfa=True, rights=True)
    for kind in ("xfdf", "json"):
        data, filled = folder / f"data.{kind}", folder / "filled.pdf"
        zforms("export", source, "--format", kind, "-o", data)
        zforms("fill", source, data, "-o", filled, "--force")
        same(kind, filled.read_bytes(), source.read_bytes())


def test_what_check_says(folder):
    for parts, said in (
            ({"signatures": [("S", 2, listed("a", "b"), None)], "rights": True},
             ["1 in 1 signature field", '"S" certifies, allows filling in and signing; locks "a", "b"', "makes them invalid"]),
            ({"signatures": [("S", None, None, listed("a", action="Exclude"))], "xfa": True},
             ['"S" signs; locks every field except "a"', "with an XFA form beside it"]),
            ({"xfa": True, "alone": True}, ["PDF form of XFA only, without fields"])):
        out = zforms("check", form(folder / "form.pdf", **parts))[1]
        expect(all(text in out for text in said), str(said), out)
    for command in (["fields"], ["fill", "-", "-o", "-"], ["export"]):
        status, _, err = zforms(command[0], folder / "form.pdf", *command[1:], stdin=b'{"a": 1}')
        wanted = 3 if command == ["fields"] else 2
        expect(status == wanted and "is an XFA form without fields" in err, f"{command[0]} of XFA alone", err)


def test_permissions_and_passwords(folder):
    locked, data, filled = folder / "locked.pdf", folder / "data.json", folder / "filled.pdf"
    zforms("permissions", form(folder / "form.pdf"), "--set", -0x1000, "-o", locked)
    data.write_text('{"a": "A"}')
    status, _, err = zforms("fill", locked, data, "-o", filled)
    expect(status == 3 and "permissions forbid filling in fields" in err and filled.exists(), "permissions", err)
    if not shutil.which("qpdf"):
        print("skipped: qpdf is not installed")
        return
    for kind, options, password, said in (
            ("rc4", ["--allow-weak-crypto", "--encrypt", "user", "owner", "128", "--use-aes=n", "--"], "", "none was given"),
            ("rc4", [], "wrong", "the password does not open"),
            ("aes", ["--allow-weak-crypto", "--encrypt", "user", "owner", "128", "--use-aes=y", "--"], "", "none was given"),
            ("aes256", ["--encrypt", "user", "owner", "256", "--"], "wrong", "the password does not open")):
        path = folder / f"{kind}.pdf"
        if options:
            peers.run("qpdf", SAMPLES / "membership_form.pdf", *options, path)
        status, _, err = zforms("fields", path, *(["--password", password] if password else []))
        expect(status == 2 and said in err and err.count("\n") == 1, f"{kind}, {password}", err)
    served = folder / "served.pdf"
    for arguments in (["import"], ["permissions", "--encrypt", "aes-256"], ["rewrite", "--decrypt"]):
        status, _, err = zforms(*arguments, folder / "rc4.pdf", "--password", "user", "-o", served)
        expect(status == 2 and "only the owner password" in err and not served.exists(), f"{arguments[0]} by the user", err)
    status, _, err = zforms("import", folder / "rc4.pdf", "--password", "owner", "-o", served)
    same("import opens it without a password", (status, zforms("check", served)[0], "empty user" in err), (0, 0, True))
    status, _, err = zforms("rewrite", served, "--decrypt", "-o", filled)
    expect(status == 2 and "only the owner password" in err, "the owner stays the owner", err)
    peers.run("qpdf", SAMPLES / "membership_form.pdf", "--encrypt", "", "owner", "256", "--modify=none", "--", served)
    status, _, err = zforms("flatten", served, "-o", filled)
    expect(status == 3 and "permissions forbid changing" in err, "flattened by the user", err)


def test_other_changes(folder):
    source, out = form(folder / "form.pdf", [("S", 2, None, None)], xfa=True, rights=True), folder / "F.pdf"
    status, _, err = zforms("import", source, "-o", out)
    expect(status == 2 and "which allows only filling in and signing; --force" in err and not out.exists(), "certified", err)
    status, _, err = zforms("import", source, "-o", out, "--force")
    expect(status == 3 and "removed: the XFA form" in err and "its signatures are not valid" in err, "forced", err)
    signed = form(folder / "signed.pdf", [("S", None, None, None)], rights=True)
    for number, arguments in enumerate((["viewer", source, "--fit-window"], ["permissions", source, "--set", -44],
                                        ["permissions", signed, "--set", -44], ["rewrite", source], ["rewrite", signed])):
        changed = folder / f"{number}.pdf"
        status, _, err = zforms(*arguments, "-o", changed)
        expect(status == 2 and "--force" in err and not changed.exists(), f"{arguments[0]} of a signed form", err)
        status, _, err = zforms(*arguments, "-o", changed, "--force")
        expect(status == 3 and "no longer valid" in err and "usage rights" in err, f"{arguments[0]}, forced", err)
        expect("/UR3" not in zforms("show", changed, "1")[1], f"{arguments[0]}: usage rights")
    status, _, err = zforms("rewrite", form(folder / "rights.pdf", rights=True), "-o", out)
    expect(status == 0 and "usage rights" in err and "/Perms" not in zforms("show", out, "1")[1], "usage rights", err)
    status, _, err = zforms("viewer", signed, "--fit-window", "-o", out)
    expect(status == 0 and out.read_bytes().startswith(signed.read_bytes()), "an update of a signed form", err)
    same("XFA", "/XFA" in zforms("show", out, "1")[1], False)


if __name__ == "__main__":
    run_tests(globals())
