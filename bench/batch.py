#!/usr/bin/env python3
"""Measures the speed and memory of filling the sample form from a table.

batch.py TOOL [--rows N] [--memory-rows N] [--loop N] [--folder DIR]

Prints the rows per second of zforms batch with one and two jobs, and of zforms fill, pdftk and qpdf (those that are
installed) called once for each row. Also prints the peak memory of zforms batch for a short and a long table. Files are
written below DIR.
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
import time

SAMPLE = pathlib.Path(__file__).resolve().parent.parent / "samples" / "membership_form.pdf"


def row(i):
    return {"Numéro d'adhérent": f"JC-{i:07}", "adherent.civilite": ("MME", "M", "NB")[i % 3],
            "adherent.nom": f"Lebœuf {i}", "adherent.prenom": "Zoé", "adherent.adresse": "12 bis\nallée des Hêtres",
            "adherent.code_postal": str(34000 + i % 999), "adherent.ville": "Béziers",
            "adherent.pays": ("FR", "BE")[i % 2], "adherent.premiere": ("Oui", "Off")[i % 2],
            "formule": ("Famille", "Étudiant")[i % 2], "paiement.total": f"{i % 100},50 €",
            "paiement.mode": ("Virement", "Cheque")[i % 2], "accords.statuts": "Oui"}


def table(path, count):
    with open(path, "w", encoding="utf-8", newline="") as file:
        writer = csv.DictWriter(file, row(0))
        writer.writeheader()
        writer.writerows(map(row, range(count)))
    return path


def timed(command):
    """(seconds, peak memory in MB) of a command that must not fail."""
    start = time.monotonic()
    process = subprocess.Popen([str(part) for part in command])
    _, status, usage = os.wait4(process.pid, 0)
    if status:
        sys.exit(f"failed: {' '.join(map(str, command))}")
    return time.monotonic() - start, usage.ru_maxrss / 1024


def batch(tool, data, folder, jobs):
    # The files are removed only at the end of all measurements: after many removals, ext4 creates files slowly for some
    # seconds.
    out = tempfile.mkdtemp(dir=folder)
    return timed([tool, "batch", SAMPLE, "--data", data, "--out", out, "--jobs", jobs])


def fdf_of(values):
    fields = []
    for name, value in values.items():
        button = value in ("Oui", "Off", "Famille", "Étudiant", "Virement", "Cheque")
        text = ("/" + value) if button else "<FEFF" + value.encode("utf-16-be").hex() + ">"
        fields.append("<</T<FEFF" + name.encode("utf-16-be").hex() + ">/V" + text + ">>")
    return "%FDF-1.2\n1 0 obj<</FDF<</Fields[" + "".join(fields) + "]>>>>endobj\ntrailer<</Root 1 0 R>>\n%%EOF\n"


def qpdf_update(objects, names, values):
    changed = {}
    for name, value in values.items():
        key = names[name]
        node = dict(objects[key]["value"])
        node["/V"] = "/" + value if node.get("/FT") == "/Btn" else "u:" + value
        changed[key] = {"value": node}
    return {"qpdf": [{"jsonversion": 2, "pdfversion": "1.4", "maxobjectid": len(objects)}, changed]}


def qpdf_names(objects):
    """Maps full names to the keys of their objects."""
    def full(node):
        parent = node.get("/Parent")
        above = full(objects["obj:" + parent]["value"]) if parent else ""
        own = node.get("/T", "")[2:]
        return above + "." + own if above and own else above or own
    nodes = {key: entry["value"] for key, entry in objects.items() if isinstance(entry.get("value"), dict)}
    return {full(node): key for key, node in nodes.items() if "/T" in node}


def loops(tool, folder, count):
    """(label, seconds) for each program that is called once for each row. Making its input is not measured."""
    rows = [row(i) for i in range(count)]
    objects = names = None
    if shutil.which("qpdf"):
        text = subprocess.run(["qpdf", "--json", SAMPLE], stdout=subprocess.PIPE, check=True).stdout
        objects = json.loads(text.decode("utf-8", "replace"))["qpdf"][1]
        names = qpdf_names(objects)
    programs = [
        ("zforms fill", "json", lambda values: json.dumps(values),
         lambda data, out: [tool, "fill", SAMPLE, data, "-o", out]),
        ("pdftk", "fdf", fdf_of, lambda data, out: ["pdftk", SAMPLE, "fill_form", data, "output", out]),
        ("qpdf", "json", lambda values: json.dumps(qpdf_update(objects, names, values)),
         lambda data, out: ["qpdf", SAMPLE, f"--update-from-json={data}", out]),
    ]
    for label, suffix, make, command in programs:
        if not shutil.which(str(command("", "")[0])):
            continue
        inputs = []
        for i, values in enumerate(rows):
            inputs.append(folder / f"{i}.{suffix}")
            inputs[-1].write_text(make(values), encoding="utf-8")
        start = time.monotonic()
        for data in inputs:
            timed(command(data, folder / "one.pdf"))
        yield label, time.monotonic() - start


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", type=pathlib.Path)
    parser.add_argument("--rows", type=int, default=10000)
    parser.add_argument("--memory-rows", type=int, default=100000)
    parser.add_argument("--loop", type=int, default=100)
    parser.add_argument("--folder", default=None)
    options = parser.parse_args()
    tool = options.tool.resolve()
    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        folder = pathlib.Path(name)
        data = table(folder / "rows.csv", options.rows)
        for jobs in (1, 2, 1, 2):
            seconds, memory = batch(tool, data, folder, jobs)
            print(f"zforms batch, {jobs} job{'s'[:jobs - 1]}: {options.rows / seconds:8.0f} rows/s  "
                  f"({options.rows} rows in {seconds:.2f} s, {memory:.1f} MB)", flush=True)
        for label, seconds in loops(tool, folder, options.loop):
            print(f"{label + ', a call each:':<22} {options.loop / seconds:8.1f} rows/s  "
                  f"({options.loop} rows in {seconds:.2f} s)", flush=True)
        for count in (1000, options.memory_rows):
            seconds, memory = batch(tool, table(folder / "rows.csv", count), folder, 2)
            print(f"peak memory of {count} rows with 2 jobs: {memory:.1f} MB ({count / seconds:.0f} rows/s)", flush=True)


if __name__ == "__main__":
    main()
