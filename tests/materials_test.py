#!/usr/bin/env python3
"""The bill of materials is valid SPDX, and lists each library that the program or libzforms is linked with."""

import json
import pathlib
import shutil
import subprocess
import sys

from tool_case import ROOT, SANITIZED, SKIPPED, TOOL, expect, run_tests, same

SCRIPT = ROOT / "packaging/bill_of_materials.py"
LIBRARY = pathlib.Path(TOOL).resolve().parent.parent / "libzforms.so"
if SANITIZED or not LIBRARY.exists() or not all(map(shutil.which, ("dpkg-query", "readelf"))):
    print("materials_test: skipped: no Debian, no readelf, or a build with sanitizers")
    sys.exit(SKIPPED)


def make(out, *arguments):
    return subprocess.run([sys.executable, SCRIPT, out, *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def test_bill(folder):
    programs = [LIBRARY, pathlib.Path(TOOL).resolve()]
    for name in ("one", "two"):
        same(name, (make(folder / name, *programs).returncode, (folder / name).exists()), (0, True))
    same("two runs", (folder / "one").read_bytes(), (folder / "two").read_bytes())
    document = json.loads((folder / "one").read_text())
    found = {package["SPDXID"]: package for package in document["packages"]}
    same("each package once", len(found), len(document["packages"]))
    for relation in document["relationships"]:
        expect(relation["relatedSpdxElement"] in found, "a relation", str(relation))
    same("related", {relation["relatedSpdxElement"] for relation in document["relationships"]}, set(found))
    kinds = {kind: {relation["relatedSpdxElement"][8:] for relation in document["relationships"]
                    if relation["relationshipType"] == kind} for kind in ("DYNAMIC_LINK", "STATIC_LINK")}
    expect(kinds["DYNAMIC_LINK"] >= {"nettle", "pugixml", "sqlite3", "harfbuzz", "libunibreak", "zlib"}, "linked", str(kinds))
    same("headers", kinds["STATIC_LINK"], {"boost1.74", "nlohmann-json3", "cli11"})
    expect(all(package["versionInfo"] and package["licenseDeclared"] for package in found.values()), "versions and licences")


def test_what_is_not_known_stops_it(folder):
    (folder / "pdfjs").mkdir()
    (folder / "pdfjs/package.json").write_text('{"version": "1.0"}')
    for title, arguments, wanted in [("another pdf.js", ["--pdfjs", folder / "pdfjs", LIBRARY], "the lock file"),
                                     ("a library without licence", [shutil.which("git") or "/bin/ls"], "LICENCES has no licence")]:
        done = make(folder / "out", *arguments)
        expect(done.returncode != 0 and wanted in done.stdout, title, done.stdout)


if __name__ == "__main__":
    run_tests(globals())
