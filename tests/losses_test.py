#!/usr/bin/env python3
"""Messages about damaged files: `rewrite` and `check` report the same, and name --recover when there is damage.
Commands write nothing when a part of the pages or the form would be lost, unless --force is given."""


from tool_case import SAMPLES, run_tests, expect, same, zforms

SAMPLE = (SAMPLES / "membership_form.pdf").read_bytes()
# The cross-reference entry of object 110, the content stream of the page. It is the last one of the table.
ENTRY = SAMPLE[SAMPLE.index(b"\ntrailer") - 19:][:18]
ADVICE = "the file is damaged; --recover may find more of it"
CONTENT = SAMPLE[:SAMPLE.rindex(b"\nendstream")].rsplit(b"stream\n", 1)[1]
REFUSAL = ("would be lost: nothing was written. --recover looks for them in the file, "
           "--force writes the rest")
REFUSED = "would be lost: nothing was written. --force writes the rest"

# Label, damage to the sample, the status of `rewrite` and its first message.
DAMAGES = [
    ("nothing", b"", b"", 0, ""),
    ("the page tree leads to itself", b"/Kids [8 0 R]", b"/Kids [4 0 R]", 2, "object 4 0: the page tree contains this page or node"),
    ("a font is not there", b"/Helv 5 0 R", b"/Helv 5 9 R", 2, "cannot be read: 5 9"),
    ("a generation in the table", ENTRY, ENTRY[:14] + b"01 n", 3, "the header of this object has the generation 0"),
    ("a generation that is too high", ENTRY, ENTRY[:11] + b"99999 n", 3, "has a generation above 65535"),
    ("a page's type", b"/Type /Page /Parent", b"/Type /Pagf /Parent", 3, 'object 8 0: "/Type" of this page is not'),
    ("the catalog's type", b"/Type /Catalog", b"/Type /Catalox", 3, '"/Type" of the document catalog is not'),
    ("a negative count", b"/Kids [8 0 R] /Count 1", b"/Kids[8 0 R ]/Count -1", 2,
     "states -1 pages; 1 page is found"),
    ("no count", b"/Count 1>>", b"/Caunt 1>>", 2, "is missing or not a number; 1 page is found"),
    ("an offset of 0", b"0000000015 00000 n", b"0000000000 00000 n", 3, "object 1 0: the cross-reference table gives this object the offset 0"),
    ("two fields of a name", b"/T (prenom)", b"/T (nom)   ", 3, "another field has the same name"),
    ("the version", b"%PDF-1.4", b"%PDF-000", 3, 'the header "%PDF-000" has no version'),
]


def damaged(folder, what, by):
    expect(what in SAMPLE, f"the sample has {what}")
    path = folder / "damaged.pdf"
    path.write_bytes(SAMPLE.replace(what, by, 1))
    return path


def lines(err):
    return sorted(line.split(".pdf: ", 1)[1] for line in err.splitlines())


def test_rewrite(folder):
    out = folder / "out.pdf"
    for label, what, by, wanted, said in DAMAGES:
        path = damaged(folder, what, by)
        out.unlink(missing_ok=True)
        status, _, err = zforms("rewrite", path, "-o", out)
        same(f"{label}: status of rewrite", (status, out.exists()), (wanted, wanted != 2))
        # Fields with the same name give a warning, but are not damage.
        expect(said in err and (ADVICE in err) == (said not in ("", "another field has the same name")), label, err)
        expect((REFUSAL in err) == (wanted == 2), label, err)
        checked, _, found = zforms("check", path)
        same(f"{label}: check", checked, 3 if said else 0)
        same(f"{label}: what check says", lines(found), [line for line in lines(err) if REFUSAL not in line])
        if wanted == 2:
            status, _, err = zforms("permissions", path, "--set", "-44", "-o", out)
            expect(status == 2 and REFUSAL in err and not out.exists(), f"{label}: permissions", err)
            status, _, err = zforms("rewrite", path, "--force", "-o", out)
            expect(status == 3 and said in err and out.exists(), f"{label}: forced", err)
        expect(CONTENT in out.read_bytes(), f"{label}: the content of the page is kept")
        same(f"{label}: the header", out.read_bytes()[:8], b"%PDF-1.7" if what == b"%PDF-1.4" else b"%PDF-1.4")


def test_recover(folder):
    """--recover finds the page that a loop in the page tree hides. Losses that it cannot repair are still refused."""
    out = folder / "out.pdf"
    data = folder / "data.jsonl"
    data.write_text('{"adherent.nom": "A"}\n')
    commands = [["rewrite"], ["fill", data], ["draw"], ["permissions", "--set", "-44"], ["viewer", "--fit-window"],
                ["import"], ["batch", "--data", data]]
    for label, what, by, _, said in DAMAGES[1:3]:
        path = damaged(folder, what, by)
        path.write_bytes(path.read_bytes().replace(b"startxref\n", b"startxref\n9"))
        for command, *rest in commands:
            target = ["--out", folder / label] if command == "batch" else ["-o", out]
            out.unlink(missing_ok=True)
            status, _, err = zforms(command, path, *rest, "--recover", *target)
            expect(said in err and ADVICE not in err and "--recover" not in err, f"{label}: {command}", err)
            same(f"{label}: status of {command}", (status, REFUSED in err), (3, False) if "tree" in label else (2, True))
            same(f"{label}: {command} writes", target[1].exists(), status == 3)
            if status == 2:
                same(f"{label}: {command} forced", zforms(command, path, *rest, "--recover", "--force", *target)[0], 3)
    path = damaged(folder, b"/Kids [8 0 R]", b"/Kids [null 8 0 R]")
    same("a null in the tree is no lost page", zforms("rewrite", path, "--recover", "-o", out)[0], 3)
    zforms("rewrite", damaged(folder, *DAMAGES[1][1:3]), "--recover", "-o", out)
    same("fields", zforms("fields", out), zforms("fields", SAMPLES / "membership_form.pdf"))
    same("the page", "  pages           1\n" in zforms("check", out)[1], True)


def test_unreadable(folder):
    broken = damaged(folder, b"startxref\n", b"startxref\n9")
    cases = [(broken, "; --recover reads the file\n"), (SAMPLES / "membership_form.xfdf", 'begin with "%PDF-"\n')]
    cases.append((folder / "no catalog.pdf", "; --recover also finds no document in the file\n"))
    cases[-1][0].write_bytes(b"%PDF-1.4\n%c\n1 0 obj<<>>endobj\n%%EOF")
    for path, end in cases:
        for arguments in (["check", path], ["show", path, "1"], ["fields", path]):
            status, out, err = zforms(*arguments)
            expect(status == 2 and not out and err.endswith(end), arguments, err)
        status, _, err = zforms("check", "-", stdin=path.read_bytes())
        expect(status == 2 and err.endswith(end), "standard input", err)


if __name__ == "__main__":
    run_tests(globals())
