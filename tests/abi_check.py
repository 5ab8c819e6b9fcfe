#!/usr/bin/env python3
"""Compares the binary interface that docs/versions.md promises with the recorded one, packaging/abi/zforms.abi.

    abi_check.py --update    records the present one

The promise covers only the C interface and zforms/form.h. So only their object files are read, which takes a second;
those of the whole library would take minutes. Needs abidw and abidiff (Debian: abigail-tools).
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from tool_case import ROOT, SANITIZED, SKIPPED, TOOL

BASELINE, SUPPRESSIONS = ROOT / "packaging/abi/zforms.abi", ROOT / "packaging/abi/suppressions.ini"
BUILD = pathlib.Path(TOOL or ROOT / "build/dev/bin/zforms").resolve().parent.parent
OBJECTS = BUILD / "CMakeFiles/zforms_objects.dir/zforms"
# The types in these headers are part of the promise, with all their members.
HEADERS = ["form.h", "zforms_batch.h", "zforms_form.h", "zforms_server.h", "zforms_types.h", "zforms_utf16.h",
           "platform/base/secret_text.h", "acroform/form_field.h", "appearance/drawing_fonts.h", "filling/export_format.h",
           "filling/form_message.h"]
# Each of these changes breaks programs that were compiled before: the check must report it.
CHANGES = [("a member is larger", "<class-decl name='zforms_row' size-in-bits='384'", "<class-decl name='zforms_row' size-in-bits='448'"),
           ("an enumerator has another number", "name='ZFORMS_ERROR_DATA' value='5'", "name='ZFORMS_ERROR_DATA' value='6'"),
           ("a function is gone", "<elf-symbol name='zforms_draw'", "<elf-symbol name='zforms_drew'"),
           ("a method is gone", "_ZN6zforms5ZForm4DrawEv", "_ZN6zforms5ZForm4DrewEv")]


def run(*command):
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return done.returncode, done.stdout


def write_interface(folder, out):
    """Writes the present interface to the file `out`."""
    objects = [OBJECTS / "form.cpp.o", *sorted((OBJECTS / "c").glob("*.o"))]
    headers = folder / "headers"
    for name in HEADERS:
        place = headers / "zforms" / name
        place.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(ROOT / "zforms" / name, place)
    library = folder / "libzforms.so"
    for command in (["g++", "-shared", "-o", library, *objects, f"-Wl,--version-script={ROOT}/cmake/zforms.map"],
                    ["abidw", "--headers-dir", headers, "--drop-private-types", "--exported-interfaces-only",
                     "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs", "--no-elf-needed", "--no-architecture",
                     "--suppressions", SUPPRESSIONS, "--out-file", out, library]):
        status, said = run(*command)
        if status != 0:
            sys.exit(f"abi_check: {command[0]}: {said}")


def differences(before, after):
    """The output of abidiff; empty when both interfaces are the same."""
    status, said = run("abidiff", "--no-show-locs", before, after)
    return said if status != 0 else ""


def check(folder, present):
    said = differences(BASELINE, present)
    if said:
        print(f"{said}\nThe binary interface differs from packaging/abi/zforms.abi. docs/versions.md says what may change;\n"
              "tests/abi_check.py --update records an addition.")
    unseen = []
    text = present.read_text(encoding="utf-8")
    for title, old, new in CHANGES:
        changed = folder / "changed.abi"
        changed.write_text(text.replace(old, new), encoding="utf-8")
        if old not in text or not differences(present, changed):
            unseen.append(title)
    for title in unseen:
        print(f"the check does not detect this change: {title}")
    return 1 if said or unseen else 0


def main(arguments):
    missing = [name for name in ("abidw", "abidiff", "g++") if not shutil.which(name)]
    if missing or SANITIZED or not OBJECTS.is_dir():
        print("abi_check: skipped:", ", ".join(missing) + " missing" if missing else "no build by g++ without sanitizers")
        return SKIPPED
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        if arguments == ["--update"]:
            write_interface(folder, BASELINE)
            return 0
        write_interface(folder, folder / "present.abi")
        return check(folder, folder / "present.abi")


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
