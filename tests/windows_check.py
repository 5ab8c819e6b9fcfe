#!/usr/bin/env python3
"""Checks what is special about zforms for Windows: a host that loads the library while it runs, and output that is byte
for byte that of the program for Linux.

windows_check.py [--linux TOOL] [--corpus FOLDER] [--font FILE]

The outputs are compared with those of TOOL, by default the program in build/dev or build/release; if there is none,
they are not compared. --corpus compares every PDF file of the folder too. The font is for letters that the fonts of a
form lack. Letters that it lacks too are drawn with the fonts that are installed on each system.
"""

import argparse
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from tool_case import ROOT, SAMPLES, SKIPPED, STOP, TOOL, WINDOWS, expect, failures, same

FORM = SAMPLES / "membership_form.pdf"
FONT = pathlib.Path("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf")
VALUES = b"adherent.nom;adherent.ville;activites.ateliers\r\n\xc3\x89l\xc3\xa9onore;\xce\x91\xce\xb8\xce\xae\xce\xbd\xce\xb1;RUCHER\r\nZo\xc3\xa9;;\r\n"


def run(tool, *arguments, cwd=None):
    done = subprocess.run([tool, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=300, cwd=cwd)
    return done.returncode, done.stdout, done.stderr


def check_host(folder):
    """A host in C loads the library by its path, fills a form, and gets the message of an error."""
    host = pathlib.Path(TOOL).parent / "c_loading_host.exe"
    filled = folder / "rempli \N{EURO SIGN}.pdf"

    def ask(field):
        # LoadLibrary accepts only backslashes.
        library = f"Z:{host.parent / 'zforms.dll'}".replace("/", "\\")
        return run("/usr/lib/wine/wine64", host, library, FORM, field, "Zoé Łoś", filled)

    status, out, _ = ask("adherent.nom")
    same("a host that loads the library", (status, out[:7]), (0, b"zforms "))
    expect("Zoé Łoś" in run(TOOL, "fields", filled)[1].decode(), "the field that the host filled")
    status, _, err = ask("no.such.field")
    expect(status == 1 and b"no.such.field" in err, "an error of the library", (status, err))


def check_libraries(folder):
    """The tool loads libraries from the PATH, but not from the current folder, where anybody may have put them."""
    shutil.copy(pathlib.Path(TOOL).parent / "zforms.dll", folder / "libpq.dll")
    for place, said in (("C:", b"cannot load the library libpq.dll"), (f"Z:{folder}", b"the library libpq lacks")):
        os.environ["WINEPATH"] = place.replace("/", "\\")
        _, _, err = run(TOOL, "batch", FORM, "--data", "postgresql://localhost/x", "--query", "SELECT 1", "--out", "out", cwd=folder)
        expect(said in err, f"a library, with {place} in the PATH", err)
    del os.environ["WINEPATH"]


# Private classes of the library. On Linux they are exported with the classes that contain them.
PRIVATE = ("zforms::Chaine::Buffer::", "zforms::ZForm::Implementation::", "zforms::ZPDFParser::FileState::")


def functions_in(symbols):
    """The names of the functions, without their parameters, because the types of these differ between the systems."""
    names = subprocess.run(["c++filt"], input=symbols, stdout=subprocess.PIPE, text=True, check=True).stdout.splitlines()
    return {re.sub(r"\(.*", "", name) for name in names if re.match(r"zforms[:_]", name) and not name.startswith(PRIVATE)}


def check_exports(linux):
    """The DLL exports each function that the library for Linux exports."""
    library = linux.resolve().parent.parent / "libzforms.so"
    listed = subprocess.run(["nm", "-D", "--defined-only", library], stdout=subprocess.PIPE, text=True, check=True).stdout
    ours = (pathlib.Path(TOOL).resolve().parent.parent / "zforms.def").read_text()
    wanted = functions_in("\n".join(line.split()[-1] for line in listed.splitlines() if " T " in line))
    expect(len(wanted) > 1000, "exports for Linux", len(wanted))
    same("not exported", sorted(wanted - functions_in("\n".join(line.split()[0].strip('"') for line in ours.splitlines()[1:]))), [])


def commands_for(form, out, rows, font):
    """(name, arguments, the file or folder that is written, or None for standard output) of each command to compare."""
    yield "fields", ["fields", form, "--json"], None
    yield "export", ["export", form, "--all"], None
    yield "csv", ["export", form, "--format", "csv"], None
    yield "draw", ["draw", form, "--font", font, "-o", out / "drawn.pdf"], out / "drawn.pdf"
    yield "flatten", ["flatten", form, "--font", font, "-o", out / "flat.pdf"], out / "flat.pdf"
    yield "rewrite", ["rewrite", form, "-o", out / "whole.pdf"], out / "whole.pdf"
    yield "fill", ["fill", form, out.parent / "values.xfdf", "--font", font, "-o", out / "filled.pdf"], out / "filled.pdf"
    names = ["--name", "{adherent.nom}.pdf"] if form == FORM else []
    yield "batch", ["batch", form, "--data", rows, *names, "--font", font, "--out", out / "many"], out / "many"


def content_of(path):
    if path is None or not path.exists():
        return None
    return {file.name: file.read_bytes() for file in path.iterdir() if file.suffix == ".pdf"} if path.is_dir() else path.read_bytes()


def compare(linux, form, folder, font, rows=None):
    """Compares the outputs of both programs for this form; returns how many were compared."""
    values = run(linux, "export", form, "--all")[1]
    (folder / "values.xfdf").write_bytes(values)
    if rows is None:
        rows = folder / "values.csv"
        rows.write_bytes(run(linux, "export", form, "--format", "csv")[1])
    results = {}
    # For an encrypted form the program for Linux runs twice: what differs between its two outputs is random.
    for name, tool in (("linux", linux), ("windows", TOOL), ("again", linux)):
        if name == "again" and b"/Encrypt" not in form.read_bytes():
            break
        (folder / "out").mkdir()
        for what, arguments, output in commands_for(form, folder / "out", rows, font):
            status, out, err = run(tool, *arguments)
            results[name, what] = (status, out, err.replace(b"\\", b"/"), content_of(output))
        (folder / "out").rename(folder / name)
    whats = {what for name, what in results if name == "linux" and results.get(("again", what), results["linux", what]) == results["linux", what]}
    for what in whats:
        expect(results["linux", what] == results["windows", what], f"{form.name}: {what}",
               [(r[0], len(r[1]), r[2][:300]) for r in (results["linux", what], results["windows", what])])
    return len(whats)


# Parts of the output that differ in each run: the port, the session, the numbers and times of the forms.
RANDOM = re.compile(rb'localhost:\d+|Session\.ID">\w+|\b\d{18}\b|\d{4}-\d\d-\d\dT[\d:.]+Z|/ID \[[^]]*\]')


def round_of(tool, folder):
    """Opens a form on a server, saves it, and changes and saves it again. Returns the outputs and the forms."""
    folder.mkdir()
    saved, changed = folder / "saved.pdf", folder / "changed.pdf"
    serve = ["serve", "--templates", SAMPLES, "--data", folder / "data", "--port", "0", "--year", "2025"]
    with subprocess.Popen([tool, *map(str, serve)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as server:
        port = next((re.search(r":(\d+)/", line)[1] for line in server.stdout if line.startswith("Open:")), "1")
        said = [run(tool, "submit", *words) for words in (
            [FORM.stem, "--port", port, "--set", "adherent.nom=Lebœuf", "-o", saved], [saved, "-o", changed],
            [changed, "--set", "adherent.nom=Łoś"], [changed, "--set", "adherent.nom=x"])]
        server.send_signal(STOP)
    said.append((server.returncode, *run(tool, "submissions", "--data", folder / "data")))
    for form in (saved, changed):
        text = run("qpdf", "--qdf", "--no-original-object-ids", form, "-")[1]
        said.append((len(text), *text.splitlines()))
    shutil.rmtree(folder)
    return [[RANDOM.sub(b"", part) if isinstance(part, bytes) else part for part in one] for one in said]


def check_round(linux, folder):
    ours, theirs = (round_of(tool, folder / "round") for tool in (TOOL, linux))
    expect([one[0] for one in ours[:5]] == [0, 0, 0, 2, 0] and min(one[0] for one in ours[5:]) > 30000, "a round with the server", ours[:5])
    for number, (one, other) in enumerate(zip(ours, theirs)):
        same(f"step {number} of a round with the server", [a for a, b in zip(one, other) if a != b], [])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--linux", help="the zforms program for Linux")
    parser.add_argument("--corpus", type=pathlib.Path, help="a folder of PDF files")
    parser.add_argument("--font", type=pathlib.Path, default=FONT, help="the font for letters that a form's fonts lack")
    options = parser.parse_args()
    if not WINDOWS:
        return SKIPPED
    built = [ROOT / "build" / preset / "bin/zforms" for preset in ("dev", "release")]
    linux = options.linux or next((tool for tool in built if tool.is_file()), None)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        check_host(folder)
        check_libraries(folder)
        if linux:
            check_exports(pathlib.Path(linux))
            check_round(linux, folder)
        forms = [*sorted(SAMPLES.glob("*.pdf")), *(sorted(options.corpus.glob("*.pdf")) if options.corpus else [])]
        rows = folder / "rows.csv"
        rows.write_bytes(VALUES)

        def one(form):
            place = folder / f"of {form.stem}"
            place.mkdir()
            return compare(linux, form, place, options.font, rows if form == FORM else None)

        with concurrent.futures.ThreadPoolExecutor(int(os.environ.get("JOBS", "2"))) as pool:
            compared = sum(pool.map(one, forms)) if linux else 0
    print("\n".join(failures))
    print(f"windows_check: {compared} outputs of {len(forms) if linux else 0} forms compared with {linux}, {len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
