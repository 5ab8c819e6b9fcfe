#!/usr/bin/env python3
"""The documentation: the guide's examples for the tool, Python, C and C++ run unchanged; Doxygen assigns each comment
of a header to the right declaration; broken links are found; the pages on formats name the tables and columns as the
databases do."""

import os
import pathlib
import re
import shutil
import sqlite3
import subprocess
import sys

from tool_case import ROOT, SAMPLES, SANITIZED, TOOL, expect, run_tests, same, zforms

sys.path.insert(0, str(ROOT / "docs/site"))
from header_filter import HeaderFilter
from link_check import broken_links

BUILD = pathlib.Path(TOOL).resolve().parent.parent


def steps_of(page):
    """(language, text) of each fenced block of the page."""
    return re.findall(r"^```(\w+)\n(.*?)^```$", (ROOT / page).read_text(encoding="utf-8"), re.M | re.S)


def as_installed(folder):
    """An environment in which the build is found as if it were installed."""
    programs = folder / "bin"
    programs.mkdir()
    (programs / "zforms").symlink_to(pathlib.Path(TOOL).resolve())
    flags = f"-I{ROOT} -L{BUILD} -lzforms -Wl,-rpath,{BUILD}"
    (programs / "pkg-config").write_text(f"#!/bin/sh\necho '{flags}'\n")
    (programs / "pkg-config").chmod(0o755)
    return {**os.environ, "PATH": f"{programs}:{os.environ['PATH']}", "PYTHONPATH": str(ROOT / "bindings/python"),
            "ZFORMS_LIBRARY": str(BUILD / "libzforms.so")}


def test_the_guide_runs(folder):
    if SANITIZED:
        return  # neither an interpreter nor a program without sanitizers can load the library
    environment, counts = as_installed(folder), {}
    place = folder / "work"
    place.mkdir()
    for language, text in steps_of("docs/guide.md"):
        counts[language] = counts.get(language, 0) + 1
        if language in ("c", "cpp"):
            (place / f"fill.{language}").write_text(text)
            continue
        text = text.replace("/usr/share/zforms/samples", str(SAMPLES))
        command = ["sh", "-ec", text] if language == "sh" else [sys.executable, "-c", text]
        done = subprocess.run(command, cwd=place, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        same(f"the guide: {text}{done.stdout}", done.returncode, 0)
    same("languages of the guide", set(counts), {"sh", "python", "c", "cpp"})
    same("the value that is not taken", zforms("export", place / "filled.pdf", "--format", "json")[1].count("Lebœuf"), 1)
    same("files of the batch", {path.name for path in (place / "members").glob("*.pdf")}, {"1.pdf", "2.pdf"})


def test_comments_of_headers(folder):
    cases = [
        ("above, also for a name that begins alike", "// Opens `a<b`: \\n.\nbool Open();\nbool OpenBytes();\nbool Close();",
         "/// Opens `a<b`: \\\\n.\nbool Open();\n/// Opens `a<b`: \\\\n.\nbool OpenBytes();\nbool Close();", ["Close"]),
        ("behind, with a second line", "enum e {\n  kA,  // first\n       // more\n};",
         "enum e {\n  kA,  ///< first\n       ///< more\n};", []),
        ("loose", "// Of the file.\n\nint a();", "/// @file\n/// Of the file.\n\nint a();", ["a"]),
        ("in a body", "void f() {\n  // inside\n  g();  // too\n}", "void f() {\n  // inside\n  g();  // too\n}", ["f"]),
        ("code", "// Say:\n//\n//   f(\"\\n\");\n//\n// and go.\nvoid f();",
         "/// Say:\n///\n/// @code{.cpp}\n///   f(\"\\n\");\n/// @endcode\n///\n/// and go.\nvoid f();", []),
        ("in extern C", 'extern "C" {\n// It.\nint a_b(void);\nint a_c(void);\n}',
         'extern "C" {\n/// It.\nint a_b(void);\n/// It.\nint a_c(void);\n}', []),
    ]
    for title, header, wanted, undocumented in cases:
        parsed = HeaderFilter(header)
        same(title, parsed.run(), wanted)
        same(f"{title}: undocumented", parsed.undocumented, undocumented)


def test_broken_links(folder):
    (folder / "a.html").write_text('<a href="b.html#here">b</a><a href="b.html#gone">b</a><img src="no.png">'
                                   '<a href="../a.html">up</a><a href="https://example.org/x">out</a>')
    (folder / "b.html").write_text('<h1 id="here">b</h1><a href="#">top</a><a href="a.html">a</a>')
    same("broken links", broken_links(folder), ["a.html: b.html#gone: no such place in the page", "a.html: no.png: no such file",
                                                "a.html: ../a.html: no such file"])


def columns(database):
    with sqlite3.connect(database) as opened:
        tables = [name for name, in opened.execute("SELECT name FROM sqlite_master WHERE type = 'table'")]
        return {table: {row[1] for row in opened.execute(f"PRAGMA table_info({table})")} for table in tables
                if not table.startswith("sqlite_")}


def test_formats(folder):
    (folder / "rows.csv").write_text("adherent.nom\nLebœuf\n")
    zforms("batch", SAMPLES / "membership_form.pdf", "--data", folder / "rows.csv", "--out", folder / "out")
    zforms("rubrics", "--data", folder / "office", "--set", "club.town=Béziers")
    for page, database in {"batch_folder": folder / "out/.zforms-batch", "store": folder / "office/zforms.db"}.items():
        text = (ROOT / f"docs/formats/{page}.md").read_text(encoding="utf-8")
        found = columns(database)
        expect(found, page, "no tables")
        for table, names in found.items():
            missing = {name for name in {table, *names} if f"`{name}`" not in text}
            same(f"{page}: of table {table} not described", missing - {"value"} if table == "settings" else missing, set())
        with sqlite3.connect(database) as opened:
            version = opened.execute("PRAGMA user_version").fetchone()[0]
        expect(f"`user_version` {version}" in text, f"{page}: user_version", str(version))


def test_site(folder):
    """The site has all pages, and Doxygen makes the reference without a warning."""
    python = "/usr/bin/python3"  # has the packages of Debian
    if SANITIZED:
        return
    if not shutil.which("doxygen") or subprocess.run([python, "-c", "import markdown_it"], stderr=subprocess.DEVNULL).returncode:
        print("docs_test: the site is not made, because doxygen or python3-markdown-it is missing")
        return
    done = subprocess.run([python, ROOT / "docs/site/build.py", folder / "site"], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True)
    same(f"the site: {done.stdout}", done.returncode, 0)
    for page, text in {"index.html": "form server", "docs/guide.html": "pkg-config", "reference/zforms__form_8h.html":
                       "Describes the field at this index", "reference/classzforms_1_1ZForm.html": "Zoé"}.items():
        expect(text in (folder / "site" / page).read_text(encoding="utf-8"), page, text)


if __name__ == "__main__":
    run_tests(globals())
