#!/usr/bin/env python3
"""Damage inside the objects of a sample form is told by check, rewrite and fill, with the object's number, wherever
qpdf tells of it too."""

import shutil
import subprocess

from tool_case import SAMPLES, expect, run_tests, same, zforms

FORM, DATA = SAMPLES / "membership_form.pdf", SAMPLES / "membership_form.xfdf"
# In the field of object 14, by bytes of the same number: the old bytes, the new bytes, the warning.
DAMAGE = [
    ("a stray parenthesis", b"[140 687 340 704]", b"[140 6) 340 704 ]", '")" does not belong here'),
    ("an array left open", b"[140 687 340 704]", b"[140 687 340 704 ", "an array is not closed"),
    ("a key twice", b"/TU (Nom *)", b"/FT (Nom *)", '"/FT" is in its dictionary more than once'),
    ("a key lost", b"/Ff 2", b"Ff  2", "a dictionary holds a value without a key"),
    ("a value lost", b"/Ff 2", b"/Ff  ", "a dictionary holds a value without a key"),
    ("a spoilt hexadecimal string", b"(nom)", b"<6G2>", "a hexadecimal string has a character that is no digit"),
    ("a spoilt escape", b"/Widget", b"/Wi#get", "without two hexadecimal digits"),
    ("an unknown word", b"/Ff 2", b"/Ff X", '"X" is not a word of PDF'),
    ("a malformed number", b"/Ff 2", b"/F 2e", '"2e" is not a word of PDF'),
]


def test_damage_is_told(folder):
    source = FORM.read_bytes()
    start = source.index(b"\n14 0 obj")
    for what, sound, damaged, said in DAMAGE:
        at = source.index(sound, start)
        form = folder / "form.pdf"
        form.write_bytes(source[:at] + damaged + source[at + len(sound):])
        for command in (["check", form], ["rewrite", form, "-o", folder / "out.pdf"],
                        ["fill", form, DATA, "-o", folder / "out.pdf"]):
            status, _, errors = zforms(*command)
            same(f"{what}: {command[0]}", status, 3)
            expect(f"form.pdf: object 14 0: " in errors and said in errors, f"{what}: {command[0]}", errors)
        if shutil.which("qpdf"):
            peer = subprocess.run(["qpdf", "--check", form], capture_output=True, check=False)
            expect(b"WARNING" in peer.stderr, f"{what}: qpdf", peer.stderr)


if __name__ == "__main__":
    run_tests(globals())
