#!/usr/bin/env python3
"""Runs the benchmark programs side by side and reports.

Prints a plain table, and writes results.json and results.svg. Programs take
turns for each measurement, and the medians of several rounds are used, so that
other work on the machine affects all of them equally. Fails when two programs
that did the same job counted different numbers of fields, objects or bytes.
"""

import argparse
import json
import os
import platform
import re
import shutil
import statistics
import subprocess
import sys
import time
from pathlib import Path

import picture

LIBRARIES = {"zforms": "zforms", "mupdf": "MuPDF", "qpdf": "qpdf", "podofo": "PoDoFo", "pdf-lib": "pdf-lib"}
# How many times faster than its peers zforms must be.
GOALS = {"mupdf": 2.5, "qpdf": 10.0}
JOB_GOALS = {"rewrite": {"mupdf": 4.0, "qpdf": 10.0}, "draw": {"mupdf": 2.5, "pdf-lib": 20.0}}
JOBS = {"list": "open and list", "parse": "parse every object", "fill": "fill and save", "rewrite": "rewrite"}
DRAWING = {"draw": "fill, draw and save"}
PACKAGES = Path("build/npm/bench")  # of the peer that runs in Node
FORMS = (50, 1000, 20000)
OBJECTS = (1000, 10_000, 100_000, 1_000_000)
NUMBERS = (10_000, 100_000, 1_000_000)
BRACKETS = 200_000
LARGE = ("big", "objects-1000000")  # left out with --quick


def make_inputs(maker, folder, quick):
    """Makes the missing inputs, and those older than the program that makes them."""
    folder.mkdir(parents=True, exist_ok=True)
    wanted = [("form", n, f"form-{n}.pdf") for n in FORMS] + [("xfdf", n, f"form-{n}.xfdf") for n in FORMS]
    wanted += [("big", 0, "big.pdf"), ("xfdf", 50, "big.xfdf")]
    wanted += [("objects", n, f"objects-{n}.pdf") for n in OBJECTS] + [("line", n, f"line-{n}.pdf") for n in NUMBERS]
    wanted += [(kind, BRACKETS, f"{kind}-{BRACKETS}.pdf") for kind in ("nest", "flat")]
    for kind, count, name in wanted:
        path = folder / name
        if quick and path.stem in LARGE:
            continue
        if path.exists() and path.stat().st_mtime >= maker.stat().st_mtime:
            continue
        part = folder / "part"
        subprocess.run([maker, kind, str(count), part], check=True)
        part.rename(path)


def make_modern(inputs, folder):
    """The forms converted by qpdf to object streams and a cross-reference stream."""
    folder.mkdir(parents=True, exist_ok=True)
    for n in FORMS:
        shutil.copy(inputs / f"form-{n}.xfdf", folder)
        subprocess.run(["qpdf", "--object-streams=generate", inputs / f"form-{n}.pdf", folder / f"form-{n}.pdf"],
                       check=True)


def make_encrypted(inputs, folder):
    """The forms encrypted by qpdf with AES-128; they open without a password."""
    folder.mkdir(parents=True, exist_ok=True)
    for n in FORMS:
        shutil.copy(inputs / f"form-{n}.xfdf", folder)
        subprocess.run(["qpdf", "--encrypt", "", "owner", "128", "--use-aes=y", "--", inputs / f"form-{n}.pdf",
                        folder / f"form-{n}.pdf"], check=True)


class Bench:
    def __init__(self, options):
        self.options = options
        self.programs = {name: options.programs / f"{name}_bench" for name in LIBRARIES}
        self.programs = {name: path for name, path in self.programs.items() if path.exists()}
        self.complaints = []

    def run(self, library, cell, check=False):
        """One benchmark of one program: its time in milliseconds and its counters."""
        if library == "pdf-lib":
            return self.run_in_node(cell.split("/")[1])
        command = [self.programs[library], self.options.inputs, f"--benchmark_filter=^{cell}/",
                   f"--benchmark_min_time={self.options.min_time}", "--benchmark_format=json"]
        done = subprocess.run(command + (["--check"] if check else []), capture_output=True, text=True, check=True)
        found = json.loads(done.stdout)["benchmarks"] if done.stdout.strip() else []
        if len(found) != 1 or found[0].get("error_occurred"):
            reason = found[0]["error_message"] if found else "no such benchmark"
            self.complaints.append(f"{cell}: {LIBRARIES[library]}: {reason}")
            return None
        return {"time": found[0]["cpu_time" if self.options.cpu else "real_time"], **{key: found[0].get(key) for key in ("items", "bytes", "size")}}

    def run_in_node(self, form):
        files = [self.options.inputs / f"{form}.{ending}" for ending in ("pdf", "xfdf")]
        command = ["node", Path(__file__).parent / "pdf_lib/bench.mjs", PACKAGES.resolve(), *files]
        done = subprocess.run([*command, str(self.options.min_time)], capture_output=True, text=True, check=True)
        result = json.loads(done.stdout)
        return {"size": None, **result, "time": result["cpu_time" if self.options.cpu else "time"]}

    def cell(self, cell, libraries):
        """The medians of several rounds. In each round all programs run."""
        times = {library: [] for library in libraries}
        facts = {}
        for turn in range(self.options.rounds):
            for library in libraries:
                result = self.run(library, cell, check=turn == 0)
                if result is None:
                    return None
                times[library].append(result["time"])
                if turn == 0:
                    facts[library] = result
        self.compare(cell, facts)
        print(".", end="", file=sys.stderr, flush=True)
        return {"ms": {library: statistics.median(each) for library, each in times.items()},
                "rounds": times, "items": facts[libraries[0]]["items"], "size": facts[libraries[0]]["size"]}

    def compare(self, cell, facts):
        found = {library: (fact["items"], fact["bytes"]) for library, fact in facts.items()}
        if len(set(found.values())) > 1:
            self.complaints.append(f"{cell}: the programs do not agree (items, bytes): {found}")

    def cells(self, wanted, libraries):
        names = [name for name in wanted if re.search(self.options.filter, name)
                 and not (self.options.quick and name.split("/")[1] in LARGE)]
        measured = {name: self.cell(name, libraries) for name in names}
        return {name: result for name, result in measured.items() if result is not None}


def run_process(command):
    """Wall time in seconds and the largest resident size in bytes."""
    start = time.perf_counter()
    with open(os.devnull, "w", encoding="ascii") as sink:
        process = subprocess.Popen(command, stdout=sink, stderr=sink)
        _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))} ended with {process.returncode}")
    return time.perf_counter() - start, usage.ru_maxrss * 1024


def measure_processes(options):
    """Measures whole processes that read a form from a file, fill it and write it to a file."""
    results = {}
    names = [name for name in ("form-50", "form-1000", "big") if re.search(options.filter, "process/" + name)]
    for name in names:
        if options.quick and name in LARGE:
            continue
        form, data, out = (options.inputs / f"{name}.pdf", options.inputs / f"{name}.xfdf", options.out / "filled.pdf")
        commands = {"zforms": [options.tool, "fill", form, data, "-o", out]}
        has_pdftk = name != "big" and shutil.which("pdftk")
        if has_pdftk:
            commands["pdftk"] = ["pdftk", form, "fill_form", data, "output", out]
        results[name] = run_in_turns(options, commands)
        if name != "form-1000":
            results[f"list-{name}"] = run_in_turns(options, {"zforms": [options.tool, "fields", form]})
        if has_pdftk:
            drawn = options.out / "drawn.pdf"
            subprocess.run([options.tool, "draw", form, "-o", drawn], check=True)
            results[f"flatten-{name}"] = run_in_turns(options, {
                "zforms": [options.tool, "flatten", drawn, "-o", out], "pdftk": ["pdftk", drawn, "output", out, "flatten"]})
            drawn.unlink()
        out.unlink()
    return results


def run_in_turns(options, commands, often=5):
    """The median time and the peak memory of each command. pdftk runs once in each round; the other
    commands take less time and run `often` times."""
    runs = {tool: [] for tool in commands}
    for _ in range(options.rounds):
        for tool, command in commands.items():
            runs[tool] += [run_process(command) for _ in range(1 if tool == "pdftk" else often)]
    return {tool: {"ms": 1000 * statistics.median(seconds for seconds, _ in each),
                   "peak": max(peak for _, peak in each)} for tool, each in runs.items()}


def spread(values):
    return max(values) / min(values)


def own_lines(cells, processes):
    """The measurements of zforms only: (name, value, unit, goal, whether the goal is met)."""
    def ms(name):
        return cells[name]["ms"]["zforms"]

    lines = []
    for way in ("read", "write"):
        name = f"xfdf-{way}/form-20000"
        if name in cells:
            rate = cells[name]["size"] / ms(name) / 1000
            lines.append((f"XFDF {way}, 20,000 fields", f"{rate:.0f} MB/s", "at least 150 MB/s", rate >= 150))
    for what, kind, counts in (("object", "objects", OBJECTS), ("number of one line", "line", NUMBERS)):
        costs = [(n, ms(f"parse/{kind}-{n}") / n * 1e6) for n in counts if f"parse/{kind}-{n}" in cells]
        for count, cost in costs:
            lines.append((f"parse, each {what} of {count:,}", f"{cost:.0f} ns", "", None))
        if len(costs) > 1:
            ratio = spread([cost for _, cost in costs])
            lines.append((f"dearest {what} to cheapest", f"{ratio:.2f}", "at most 1.40", ratio <= 1.4))
    nest, flat = f"parse/nest-{BRACKETS}", f"parse/flat-{BRACKETS}"
    if nest in cells and flat in cells:
        ratio = ms(nest) / ms(flat)
        lines.append((f"{BRACKETS:,} brackets nested, to as many in a row", f"{ratio:.2f}", "at most 1.40",
                      ratio <= 1.4))
    if "copy/big" in cells:
        lines.append(("copying the 108 MB file's bytes once", f"{ms('copy/big'):.0f} ms", "", None))
        if "fill/big" in cells:
            ratio = ms("fill/big") / ms("copy/big")
            lines.append(("its open, fill 50 and save in memory, in copies", f"{ratio:.2f}", "at most 2.5 and the write",
                          ratio <= 2.5))
    for what, prefix in (("zforms fields", "list-"), ("zforms fill", "")):
        if not {f"{prefix}big", f"{prefix}form-50"} <= processes.keys():
            continue
        large, small = (processes[f"{prefix}{name}"]["zforms"] for name in ("big", "form-50"))
        lines.append((f"{what}, 108 MB and 50 fields alone", f"{large['ms']:.0f} and {small['ms']:.0f} ms", "", None))
        more = (large["peak"] - small["peak"]) / 1e6
        lines.append(("its memory for the 108 MB, with the pages of the file that it used", f"{more:.0f} MB more",
                      "at most 10 MB and the pages", None))
    for what, prefix, goals in (("zforms fill and pdftk fill_form", "", {"50": 30}),
                                ("zforms flatten and pdftk flatten", "flatten-", {"50": 5, "1000": 5})):
        for fields in ("50", "1000"):
            result = processes.get(f"{prefix}form-{fields}", {})
            if "pdftk" not in result:
                continue
            ours, theirs = result["zforms"]["ms"], result["pdftk"]["ms"]
            goal = goals.get(fields)
            lines.append((f"{what}, {fields} fields", f"{ours:.1f} and {theirs:.0f} ms, {theirs / ours:.0f} times",
                          f"at least {goal} times" if goal else "", theirs / ours >= goal if goal else None))
    return lines


def input_name(stem):
    return "108 MB" if stem == "big" else f"{int(stem[5:]):,}"


def number(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


def peer_rows(cells, libraries, jobs):
    """The header and the rows of the table of peers, as texts."""
    rows = [["job", "fields", "zforms ms"]]
    for library in libraries[1:]:
        rows[0] += [f"{LIBRARIES[library]} ms", "times"]
    for name, result in cells.items():
        job, stem = name.split("/")
        row = [jobs[job], input_name(stem), number(result["ms"]["zforms"])]
        for library in libraries[1:]:
            ratio = result["ms"][library] / result["ms"]["zforms"]
            short = ratio < JOB_GOALS.get(job, GOALS).get(library, 0)
            row += [number(result["ms"][library]), number(ratio) + (" !" if short else "  ")]
        rows.append(row)
    return rows


def plain_table(rows, left):
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    return "\n".join("  ".join(text.ljust(width) if column < left else text.rjust(width)
                               for column, (text, width) in enumerate(zip(row, widths))).rstrip() for row in rows)


def markdown_table(rows, left):
    rows = [[text.strip() for text in row] for row in rows]
    rule = ["---" if column < left else "--:" for column in range(len(rows[0]))]
    return "\n".join("| " + " | ".join(row) + " |" for row in [rows[0], rule] + rows[1:])


def machine():
    info = Path("/proc/cpuinfo").read_text(encoding="utf-8") if Path("/proc/cpuinfo").exists() else ""
    model = re.search(r"model name\s*: (.*)", info)
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    compiler = subprocess.run(["g++", "-dumpfullversion"], capture_output=True, text=True, check=False).stdout.strip()
    return (f"{model.group(1) if model else platform.machine()}, {os.cpu_count()} cores, {memory:.0f} GiB, "
            f"{platform.system()} {platform.release()}, g++ {compiler}, -O2")


def report(cells, drawn, own, libraries, drawing, table):
    tables = []
    if cells:
        tables.append(table(peer_rows(cells, libraries, JOBS), 2) +
                      "\n\nTimes are medians; \"times\" is the time of the peer divided by that of zforms. \"!\" misses the "
                      "goal\n(MuPDF 2.5, and 4 for rewrite; qpdf 10).")
    if drawn:
        tables.append(table(peer_rows(drawn, drawing, DRAWING), 2) +
                      "\n\nThe goals here are MuPDF 2.5, pdf-lib 20.")
    if own:
        verdicts = {True: "holds", False: "falls short", None: ""}
        rows = [["measured", "value", "goal", ""]]
        rows += [[what, value, goal, verdicts[holds]] for what, value, goal, holds in own]
        tables.append(table(rows, 1))
    return "\n\n".join(tables)


def write_picture(path, cells):
    groups = []
    for name, result in cells.items():
        job, stem = name.split("/")
        what = f"{(JOBS | DRAWING)[job]}, {input_name(stem)}" + ("" if stem == "big" else " fields")
        groups.append((what, [(LIBRARIES[library], time) for library, time in result["ms"].items()]))
    path.write_text(picture.bars("Milliseconds, logarithmic; shorter is faster", groups), encoding="utf-8")


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--programs", type=Path, default=Path("build/release/bench"), help="the benchmark programs")
    parser.add_argument("--tool", type=Path, default=Path("build/release/bin/zforms"), help="the command line tool")
    parser.add_argument("--out", type=Path, default=Path("build/bench"), help="where the results go")
    parser.add_argument("--quick", action="store_true", help="few rounds, without the largest files")
    parser.add_argument("--filter", default="", help="only the measurements whose name has this (a regular expression)")
    parser.add_argument("--rounds", type=int, help="how often each is measured (5; 3 when quick)")
    parser.add_argument("--modern", action="store_true", help="the forms with object streams alone, beside the peers")
    parser.add_argument("--encrypted", action="store_true", help="the forms with AES-128 alone, beside MuPDF and qpdf")
    parser.add_argument("--cpu", action="store_true",
                        help="measure the time of the processor, not of the clock; for a machine with other work")
    parser.add_argument("--markdown", action="store_true", help="print the tables as Markdown")
    options = parser.parse_args()
    options.inputs = options.out / "inputs"
    options.rounds = options.rounds or (3 if options.quick else 5)
    options.min_time = 0.05 if options.quick else 0.2
    return options


def main():
    options = parse_arguments()
    make_inputs(options.programs / "zforms_bench_inputs", options.inputs, options.quick)
    if options.modern:
        make_modern(options.inputs, options.out / "modern")
        options.inputs = options.out / "modern"
    if options.encrypted:
        make_encrypted(options.inputs, options.out / "encrypted")
        options.inputs = options.out / "encrypted"
    forms_only = options.modern or options.encrypted
    bench = Bench(options)
    # PoDoFo does not count cross-reference streams as objects.
    libraries = [library for library in bench.programs if not (forms_only and library == "podofo")]
    shared = [f"{job}/form-{n}" for job in JOBS for n in FORMS]
    shared += [] if forms_only else [f"{job}/big" for job in JOBS if job != "list"]
    alone = ["copy/big", "xfdf-read/form-20000", "xfdf-write/form-20000"]
    alone += [f"parse/objects-{n}" for n in OBJECTS] + [f"parse/line-{n}" for n in NUMBERS]
    alone += [f"parse/{kind}-{BRACKETS}" for kind in ("nest", "flat")]
    cells = bench.cells(shared, libraries)
    drawing = [library for library in libraries if library in ("zforms", "mupdf")]
    drawing += ["pdf-lib"] if (PACKAGES / "node_modules/pdf-lib").exists() and shutil.which("node") else []
    drawn = {} if options.encrypted else bench.cells([f"draw/form-{n}" for n in FORMS], drawing)
    single = {} if forms_only else bench.cells(alone, ["zforms"])
    processes = {} if forms_only else measure_processes(options)
    print(file=sys.stderr)
    own = own_lines({**cells, **single}, processes)
    about = machine() + (", time of the processor" if options.cpu else "")
    print(report(cells, drawn, own, libraries, drawing,
                 markdown_table if options.markdown else plain_table))
    print(f"\n{about}")
    (options.out / "results.json").write_text(json.dumps(
        {"machine": about, "cells": {**cells, **drawn, **single}, "processes": processes,
         "goals": [{"what": what, "value": value, "goal": goal, "holds": holds} for what, value, goal, holds in own]},
        indent=1), encoding="utf-8")
    if cells or drawn:
        write_picture(options.out / "results.svg", {**cells, **drawn})
    for complaint in bench.complaints:
        print(f"report: {complaint}", file=sys.stderr)
    return 1 if bench.complaints else 0


if __name__ == "__main__":
    sys.exit(main())
