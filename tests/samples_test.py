#!/usr/bin/env python3
"""The sample forms beside samples/make_samples.py are what the script makes, and other readers find them sound."""

import shutil
import sys

import peers
from tool_case import SAMPLES, expect, run_tests, same

FILES = ["membership_form.pdf", "membership_form.xfdf", "tax_return.pdf", "tax_return.xfdf"]


def test_the_script_makes_them(folder):
    same("make_samples.py", peers.run(sys.executable, SAMPLES / "make_samples.py", folder).status, 0)
    for name in FILES:
        expect((folder / name).read_bytes() == (SAMPLES / name).read_bytes(), f"{name} is not what make_samples.py makes")


def test_others_find_them_sound(_):
    for program, command, suffix in (("qpdf", ["qpdf", "--check"], ".pdf"), ("mutool", ["mutool", "info"], ".pdf"),
                                     ("xmllint", ["xmllint", "--noout"], ".xfdf")):
        if not shutil.which(program):
            print(f"skipped: {program} is not installed")
            continue
        for name in (name for name in FILES if name.endswith(suffix)):
            done = peers.run(*command, SAMPLES / name)
            text = (done.out + done.err).decode("utf-8", "replace").lower().replace("warning: icc", "")
            expect(done.status == 0 and "error:" not in text and "warning: " not in text, f"{program} {name}", text)


if __name__ == "__main__":
    run_tests(globals())
