#!/usr/bin/env python3
"""Counts the instructions of ten jobs on a small form, and compares with counts.json.

Fails when a job takes over 5 % more instructions than recorded there. When a change
makes a job slower on purpose, record the new counts with --update in the same commit.
Counts are comparable only where the compiler and the C library are those of the
record; elsewhere nothing is compared.
"""

import argparse
import json
import os
import platform
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

FOLDER = Path(__file__).resolve().parent
RECORD = FOLDER / "counts.json"
FIELDS = "200"
FORM = FOLDER / "form-200.pdf"
ENCRYPTED = FOLDER / "form-200-aes.pdf"  # encrypted with AES-128 by qpdf
JOBS = {
    "list": ("list", FORM),
    "parse": ("parse", FORM),
    "fill": ("fill", FORM),
    "draw": ("draw", FORM),
    "flatten": ("flatten", FORM),
    "rewrite": ("rewrite", FORM),
    "batch": ("batch", FORM),
    "list AES": ("list", ENCRYPTED),
    "fill AES": ("fill", ENCRYPTED),
    "rewrite AES": ("rewrite", ENCRYPTED),
}
TOLERANCE = 0.05

# Makes the counts independent of the processor (one implementation for copying and comparing bytes), and resolves all
# symbols before counting.
ENVIRONMENT = {**os.environ, "LD_BIND_NOW": "1", "GLIBC_TUNABLES": "glibc.cpu.hwcaps=-AVX2,-ERMS,-FSRM,-BMI2"}


def count(program, job, form):
    with tempfile.TemporaryDirectory() as folder:
        out = Path(folder) / "out"
        command = ["valgrind", "--tool=callgrind", "--toggle-collect=RunJob*", f"--callgrind-out-file={out}",
                   program, job, form, FIELDS]
        done = subprocess.run(command, env=ENVIRONMENT, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            sys.exit(f"counts: {job} failed:\n{done.stderr}")
        totals = re.search(r"^(?:totals|summary): (\d+)", out.read_text(encoding="utf-8"), re.MULTILINE)
        if totals is None or int(totals.group(1)) == 0:
            sys.exit(f"counts: nothing was counted for {job}:\n{done.stderr}")
        return int(totals.group(1))


def compare(counts, recorded):
    """Prints the table; returns the jobs whose counts have grown too much, and those that have shrunk as much."""
    grown, shrunk = [], []
    print(f"{'job':12}{'recorded':>14}{'now':>14}{'change':>10}")
    for job, now in counts.items():
        if job not in recorded:
            print(f"{job:12}{'':>14}{now:14,}{'new':>10}")
            continue
        change = now / recorded[job] - 1
        print(f"{job:12}{recorded[job]:14,}{now:14,}{change:+10.2%}")
        if change > TOLERANCE:
            grown.append(job)
        elif change < -TOLERANCE:
            shrunk.append(job)
    return grown, shrunk


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", type=Path, default=Path("build/release/bench/zforms_counts"))
    parser.add_argument("--update", action="store_true", help="record the counts of now")
    options = parser.parse_args()
    if shutil.which("valgrind") is None:
        sys.exit("counts: valgrind is missing")
    toolchain = subprocess.check_output([options.program, "toolchain"], text=True).strip() + ", " + platform.machine()
    record = json.loads(RECORD.read_text(encoding="utf-8")) if RECORD.exists() else {}
    if not options.update and toolchain != record.get("toolchain"):
        print(f"counts: skipped: recorded with {record.get('toolchain')}, this is {toolchain}")
        return 0
    counts = {name: count(options.program, *job) for name, job in JOBS.items()}
    if options.update:
        record = {"toolchain": toolchain, "instructions": counts}
        RECORD.write_text(json.dumps(record, indent=2) + "\n", encoding="utf-8")
        print(f"counts: recorded {counts}")
        return 0
    grown, shrunk = compare(counts, record["instructions"])
    if shrunk:
        print(f"counts: {', '.join(shrunk)}: fewer by more than {TOLERANCE:.0%}; ./run counts --update records it")
    if grown:
        print(f"counts: {', '.join(grown)}: more by over {TOLERANCE:.0%}; where that is meant, "
              "./run counts --update records it", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
