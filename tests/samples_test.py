#!/usr/bin/env python3
"""The sample forms beside samples/make_samples.py are what the script makes, and other readers find them sound."""

import pathlib
import shutil
import subprocess
import sys
import tempfile

SAMPLES = pathlib.Path(__file__).resolve().parent.parent / "samples"
FILES = ["membership_form.pdf", "membership_form.xfdf", "tax_return.pdf", "tax_return.xfdf"]


def run(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
    return done.returncode, done.stdout.decode("utf-8", "replace")


def main():
    failures = []
    with tempfile.TemporaryDirectory() as folder:
        status, text = run(sys.executable, str(SAMPLES / "make_samples.py"), folder)
        if status:
            failures.append(f"make_samples.py failed: {text}")
        for name in FILES:
            made = pathlib.Path(folder) / name
            if not made.is_file() or made.read_bytes() != (SAMPLES / name).read_bytes():
                failures.append(f"{name} is not what make_samples.py makes")
    readers = [("qpdf", ["qpdf", "--check"], ".pdf"), ("mutool", ["mutool", "info"], ".pdf"),
               ("xmllint", ["xmllint", "--noout"], ".xfdf")]
    for program, command, suffix in readers:
        if not shutil.which(program):
            print(f"skipped: {program} is not installed")
            continue
        for name in FILES:
            if name.endswith(suffix):
                status, text = run(*command, str(SAMPLES / name))
                if status or "error:" in text.lower() or "warning: " in text.lower().replace("warning: icc", ""):
                    failures.append(f"{' '.join(command)} {name}: exit {status}: {text.strip()}")
    for failure in failures:
        print(failure)
    print("samples_test:", f"{len(failures)} failures" if failures else "passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
