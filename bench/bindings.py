#!/usr/bin/env python3
"""Fills the membership form for each of 1,000 rows from C++, from Python, and with pypdf and pdf-lib, and compares.

    bench/bindings.py    needs build/release; ./run bench --bindings builds it first

Each form is opened from bytes in memory, filled, and saved to a file, on a memory disk where there is one. C++ and
Python take turns; the peers, which are much slower, run once. The smallest processor time of all rounds is compared,
because other work on the machine can only increase it. The last file of each program is read back.
"""

import argparse
import csv
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from report import PACKAGES, machine, markdown_table, plain_table

HERE = pathlib.Path(__file__).resolve().parent
FORM = HERE.parent / "samples/membership_form.pdf"
BUILD = pathlib.Path("build/release")
PYTHON = "/usr/bin/python3"  # has Debian's pypdf
NAMES = ["adherent.nom", "adherent.prenom", "adherent.ville", "adherent.email", "adherent.telephone", "signature.lieu"]
MOST_OF_CPP, LEAST_OF_PEERS = 1.2, 10
PEERS = ("pypdf", "pdf-lib")
MODES = {"fill": "open, fill, save", "draw": "open, fill, draw, save", "batch": "open once, fill and save each"}


def make_rows(folder, count):
    rows = [dict(zip(NAMES, (f"Lebœuf {n}", f"Zoé {n}", "Béziers", f"zoe.{n}@example.org", f"04 67 {n:04} 00", "Sète")))
            for n in range(1, count + 1)]
    with open(folder / "rows.csv", "w", encoding="utf-8", newline="") as file:
        table = csv.DictWriter(file, NAMES)
        table.writeheader()
        table.writerows(rows)
    (folder / "rows.json").write_text(json.dumps(rows), encoding="utf-8")
    return rows


def commands(folder, out):
    """{(program, mode): its command}, for the programs that are installed."""
    table = folder / "rows.csv"
    found = {}
    for mode in MODES:
        found["C++", mode] = [BUILD / "bench/bindings_bench", FORM, table, out, mode]
        found["Python", mode] = [PYTHON, HERE / "bindings_fill.py", "zforms", FORM, table, out, mode]
    if subprocess.run([PYTHON, "-c", "import pypdf"], stderr=subprocess.DEVNULL).returncode == 0:
        found["pypdf", "fill"] = [PYTHON, HERE / "bindings_fill.py", "pypdf", FORM, table, out, "fill"]
    if (PACKAGES / "node_modules/pdf-lib").exists() and shutil.which("node"):
        for mode in ("fill", "draw"):
            found["pdf-lib", mode] = ["node", HERE / "pdf_lib/fill.mjs", PACKAGES.resolve(), FORM, folder / "rows.json", out, mode]
    return found


def run(command, out, rows):
    """The times of a program, in milliseconds for each form; fails when its last file lacks a value."""
    shutil.rmtree(out)
    out.mkdir()
    environment = {**os.environ, "PYTHONPATH": str(HERE.parent / "bindings/python"), "PYTHONDONTWRITEBYTECODE": "1",
                   "ZFORMS_LIBRARY": str((BUILD / "libzforms.so").resolve())}
    done = subprocess.run([str(part) for part in command], env=environment, stdout=subprocess.PIPE, check=True, text=True)
    last = max(out.iterdir(), key=lambda path: int(path.stem))
    values = json.loads(subprocess.run([BUILD / "bin/zforms", "export", last, "--format", "json"], text=True,
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout)
    wrong = [name for name in NAMES if values[name] != rows[-1][name]]
    if wrong or len(list(out.iterdir())) != len(rows):
        raise SystemExit(f"bindings: {command[:3]}: {len(list(out.iterdir()))} files; fields without their value: {wrong}")
    return {kind: 1000 * seconds / len(rows) for kind, seconds in json.loads(done.stdout).items()}


def verdicts(times):
    """(what, the factor, the goal, whether it holds)"""
    lines = []
    for mode, title in MODES.items():
        factor = times["Python", mode] / times["C++", mode]
        lines.append((f"Python to C++: {title}", factor, f"at most {MOST_OF_CPP}", factor <= MOST_OF_CPP))
    for (program, mode), time in times.items():
        if program in PEERS:
            factor = time / times["Python", mode]
            lines.append((f"{program} to Python: {MODES[mode]}", factor, f"at least {LEAST_OF_PEERS}", factor >= LEAST_OF_PEERS))
    return lines


def measure(programs, out, rows, rounds):
    """{(program, mode): its smallest times}"""
    best = {}
    out.mkdir()
    for turn in range(rounds):
        for cell, command in programs.items():
            if turn > 0 and cell[0] in PEERS:
                continue
            times = run(command, out, rows)
            best[cell] = {kind: min(time, best.get(cell, times)[kind]) for kind, time in times.items()}
            print(".", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    return best


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--rows", type=int, default=1000)
    parser.add_argument("--markdown", action="store_true", help="print the tables as Markdown")
    options = parser.parse_args()
    table = markdown_table if options.markdown else plain_table
    folder = pathlib.Path("build/bench/bindings")
    folder.mkdir(parents=True, exist_ok=True)
    rows = make_rows(folder, options.rows)
    memory = pathlib.Path("/dev/shm")
    with tempfile.TemporaryDirectory(dir=memory if memory.is_dir() else folder) as name:
        best = measure(commands(folder, pathlib.Path(name, "out")), pathlib.Path(name, "out"), rows, options.rounds)
    cells = [["job", "program", "processor ms", "clock ms"]]
    cells += [[MODES[mode], program, f"{best[program, mode]['processor']:.3f}", f"{best[program, mode]['clock']:.3f}"]
              for mode in MODES for program in ("C++", "Python", *PEERS) if (program, mode) in best]
    lines = verdicts({cell: each["processor"] for cell, each in best.items()})
    print(table(cells, 2) + f"\n\nFor each of {len(rows):,} forms; the least of {options.rounds} rounds, of one for pypdf and pdf-lib.\n")
    print(table([["measured", "times", "goal", ""]] + [[what, f"{factor:.2f}", goal, "holds" if holds else "falls short"]
                                                        for what, factor, goal, holds in lines], 1))
    print(f"\n{machine()}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
