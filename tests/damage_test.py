#!/usr/bin/env python3
"""Damage inside the objects of a sample form is reported by check, rewrite and fill, with the object's number, wherever
qpdf reports it too."""

import os
import shutil
import subprocess
import time

from tool_case import SAMPLES, TOOL, expect, run_tests, same, zforms

FORM, DATA = SAMPLES / "membership_form.pdf", SAMPLES / "membership_form.xfdf"
# Damage in the field of object 14, which keeps the length of the file: label, old bytes, new bytes, warning.
DAMAGE = [
    ("a stray parenthesis", b"[140 687 340 704]", b"[140 6) 340 704 ]", '")" is unexpected here'),
    ("an array left open", b"[140 687 340 704]", b"[140 687 340 704 ", "an array is not closed"),
    ("a key twice", b"/TU (Nom *)", b"/FT (Nom *)", '"/FT" occurs more than once in its dictionary'),
    ("a key lost", b"/Ff 2", b"Ff  2", "a dictionary holds a value without a key"),
    ("a value lost", b"/Ff 2", b"/Ff  ", "a dictionary holds a value without a key"),
    ("a spoilt hexadecimal string", b"(nom)", b"<6G2>", "a hexadecimal string has a character that is not a hexadecimal digit"),
    ("a spoilt escape", b"/Widget", b"/Wi#get", "not followed by two hexadecimal digits"),
    ("an unknown word", b"/Ff 2", b"/Ff X", '"X" is not a PDF keyword'),
    ("a malformed number", b"/Ff 2", b"/F 2e", '"2e" is not a PDF keyword'),
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

def test_file_cut_short_while_read(folder):
    """A large form is mapped into memory, and truncated while the tool waits for the data."""
    form, out = folder / "large.pdf", folder / "out.pdf"
    whole = FORM.read_bytes()
    at = whole.rindex(b"startxref")
    form.write_bytes(whole[:at] + b"%" + b"x" * (2 << 20) + b"\n" + whole[at:])
    fill = subprocess.Popen([TOOL, "fill", form, "-", "-o", out], stdin=subprocess.PIPE, stderr=subprocess.PIPE)
    maps, until = f"/proc/{fill.pid}/maps", time.monotonic() + 60
    while "large.pdf" not in open(maps, encoding="utf-8").read() and time.monotonic() < until:
        time.sleep(0.01)
    os.truncate(form, 4096)
    errors = fill.communicate(DATA.read_bytes(), timeout=60)[1].decode()
    same("status", fill.returncode, 2)
    expect(f"{form}: the file was cut short by another program" in errors, "message", errors)
    expect(not out.exists(), "no output")


NOT_ON_WINDOWS = {"test_file_cut_short_while_read": "files are read there, not mapped"}

if __name__ == "__main__":
    run_tests(globals())
