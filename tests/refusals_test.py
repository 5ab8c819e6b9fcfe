#!/usr/bin/env python3
"""The tool refuses such input with one message, before it writes anything."""

import io
import os
import resource
import subprocess
import tempfile
import zipfile

from tool_case import SANITIZED, SAMPLES, TOOL, expect, run_tests, same, zforms

SAMPLE = SAMPLES / "membership_form.pdf"


def workbook():
    memory = io.BytesIO()
    with zipfile.ZipFile(memory, "w") as archive:
        archive.writestr("xl/workbook.xml", "<workbook/>")
    return memory.getvalue()


USAGE = [  # arguments, the first line after "zforms: "
    ("fil form.pdf", 'there is no command "fil"; did you mean "fill"?'),
    ("serve --port 99999", '--port: a port is a number from 0 to 65535, not "99999"'),
    ("submit F1 --port 0", '--port: a port is a number from 1 to 65535, not "0"'),
    ("fill form.pdf data.xfdf --ouput out.pdf", 'fill: there is no option "--ouput"; did you mean "--output"?'),
    ("batch form.pdf --data=a --out b --over", 'batch: there is no option "--over"; did you mean "--overwrite"?'),
    ("fields form.pdf -x", 'fields: there is no option "-x"'),
    ("fields form.pdf --nothing-like-it", 'fields: there is no option "--nothing-like-it"'),
    ("fill form.pdf data.xfdf", "--output is required"),
]
DATA = [  # file name, its bytes, the message of fill and batch (batch: None when it accepts the file)
    ("empty.csv", b"", "is empty", "is empty"),
    ("blank.json", b"\xef\xbb\xbf \r\n", "is empty", "is empty"),
    ("book.xlsx", workbook(), "is a workbook (.xlsx", "is a workbook (.xlsx"),
    ("book.xls", b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + bytes(600), "is a workbook (.xls)", "is a workbook (.xls)"),
    ("form.pdf", b"%PDF-1.4\n", "is a PDF file", "is a PDF file"),
    ("zeros.csv", bytes(5000), "is not text", "is not text"),
    ("bad.json", '[\n {"é": 1,\n  "ü" 2}\n]'.encode(), "line 3, column 7: not valid JSON: unexpected number",
     "line 2: line 3, column 7: not valid JSON: unexpected number"),
    ("bad.jsonl", '{"é": 1}\n{"é": "ü", }\n'.encode(), None, "line 2: column 12: not valid JSON: unexpected '}'"),
    ("end.json", b'{"a": 1', "line 1, column 8: not valid JSON: unexpected end of input", None),
]


def one_line(label, run, wanted, status=2):
    got, _, err = run
    expect(got == status and wanted in err and (status != 2 or err.count("\n") == 1), label, (got, err))


def test_command_lines(folder):
    for arguments, wanted in USAGE:
        status, out, err = zforms(*arguments.split())
        command = arguments.split()[0] if arguments.split()[0] != "fil" else ""
        see = f"See: zforms {command} --help".replace("  ", " ")
        same(arguments, (status, out, err.splitlines()), (2, "", [f"zforms: {wanted}", see]))
        status, out, _ = zforms(*see.split()[2:])
        texts = [line for line in out.splitlines() if not line.startswith("  zforms") and not line.startswith("  curl")]
        same(f"{see}: lines that are too wide", (status, [line for line in texts if len(line) > 80]), (0, []))
    one_line("no templates", zforms("serve", "--templates", folder / "no", "--port", 0), "no: the folder does not exist")
    one_line("a file", zforms("serve", "--templates", SAMPLE, "--port", 0), "membership_form.pdf: is not a folder")


def test_data(folder):
    for name, data, by_fill, by_batch in DATA:
        source, target = folder / name, folder / "out.pdf"
        source.write_bytes(data)
        if by_fill:
            one_line(f"fill {name}", zforms("fill", SAMPLE, source, "-o", target), by_fill)
            expect(not target.exists(), f"fill {name} writes nothing")
        if by_batch:
            run = zforms("batch", SAMPLE, "--data", source, "--out", folder / f"rows of {name}")
            one_line(f"batch {name}", run, by_batch, 3 if "line 2: " in by_batch else 2)
    rows = folder / "rows.csv"
    rows.write_text("adherent.nom\nA\n")
    run = zforms("batch", SAMPLE, "--data", rows, "--out", folder / "named", "--name", "{row}-{nope}")
    one_line("a name's column", run, '--name: there is no column "nope"')
    expect(not (folder / "named").exists(), "no folder for it")


def test_what_is_read_stays(folder):
    form, data = folder / "form.pdf", folder / "data.json"
    form.write_bytes(SAMPLE.read_bytes())
    data.write_text('{"adherent.nom": "A"}')
    os.link(data, folder / "link")
    before = (form.read_bytes(), data.read_bytes())
    for arguments in (("fill", form, data, "-o", data), ("fill", form, data, "-o", folder / "link"),
                      ("export", form, "-o", form), ("export", form, "--format", "csv", "-o", form),
                      ("batch", form, "--data", data, "--out", folder / "rows", "--report", data)):
        one_line(str(arguments[0]), zforms(*arguments), "is both the input and the output")
    same("the files", (form.read_bytes(), data.read_bytes()), before)
    same("in place", zforms("fill", form, data, "-o", form)[0], 0)


def test_input_without_end(_):
    """Endless devices and pipes, and files of many GB, are refused with 1 GB of address space. Sanitizers need more, so
    they run without this limit."""
    def run(*arguments, producer=None):
        limit = None if SANITIZED else lambda: resource.setrlimit(resource.RLIMIT_AS, (1 << 30, 1 << 30))
        source = producer and subprocess.Popen(producer, shell=True, stdout=subprocess.PIPE)
        done = subprocess.run([TOOL, *map(str, arguments)], stdin=source and source.stdout, capture_output=True,
                              preexec_fn=limit, timeout=60)
        if source:
            source.stdout.close()
            source.wait()
        return done.returncode, "", done.stderr.decode()

    no_header = "not a PDF file: it does not begin with"
    one_line("a device", run("fields", "/dev/zero"), no_header)
    one_line("a device to be recovered", run("fields", "/dev/zero", "--recover"), no_header)
    one_line("a pipe", run("check", "-", producer="yes"), no_header)
    one_line("data", run("fill", SAMPLE, "/dev/zero", "-o", "/dev/null"), "is not text")
    one_line("a pipe of data", run("fill", SAMPLE, "-", "-o", "/dev/null", producer="yes"), "is larger than 256 MB")
    if not SANITIZED:
        one_line("a form without end", run("check", "-", producer="printf '%%PDF-1.4\\n'; exec yes"), "not enough memory")
    with tempfile.NamedTemporaryFile() as file:
        file.write(b"%PDF-1.4\n")
        file.truncate(5 << 30)
        one_line("5 GB", run("fields", file.name), "is larger than 4 GB")


def test_output_without_room(folder):
    """Every command fails when its standard output cannot be written."""
    zforms("rubrics", "--data", folder, "--set", "Office.Name=A")
    for command in (["fields", SAMPLE], ["export", SAMPLE], ["check", SAMPLE], ["permissions", SAMPLE],
                    ["show", SAMPLE, "trailer"], ["submissions", "--data", folder],
                    ["rubrics", "--data", folder], ["store", "upgrade", folder]):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([TOOL, *map(str, command)], stdout=full, stderr=subprocess.PIPE, timeout=60)
        one_line(command[0], (done.returncode, "", done.stderr.decode()), "standard output cannot be written")


NOT_ON_WINDOWS = {"test_output_without_room": "there is no device that is full",
                  "test_input_without_end": "there is no file without end, and the memory of Wine cannot be limited"}

if __name__ == "__main__":
    run_tests(globals())
