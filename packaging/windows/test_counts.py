#!/usr/bin/env python3
"""test_counts.py BUILD: prints how many C++ tests ran for Windows, and how many tests there are for Linux."""

import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
TEST = re.compile(r"^TEST(?:_F|_P)?\(", re.MULTILINE)


def tests_for(system):
    """The number of tests that are only for that system."""
    return sum(len(TEST.findall(path.read_text(encoding="utf-8"))) for path in ROOT.glob(f"tests/*/*_{system}.cpp"))


def main():
    ran = failed = 0
    skipped = []
    for part in sorted(pathlib.Path(sys.argv[1]).glob("tests_*.xml")):
        for case in ElementTree.parse(part).getroot().iter("testcase"):
            if case.get("status") != "run":
                continue
            ran += 1
            failed += case.find("failure") is not None
            reason = case.find("skipped")
            if reason is not None:
                skipped.append(f"{case.get('classname')}.{case.get('name')}: {' '.join(reason.get('message', '').split())}")
    posix, windows = tests_for("posix"), tests_for("win32")
    print(f"C++ tests for Windows: {ran}, {failed} failed, {len(skipped)} skipped; {windows} of them are for Windows alone")
    print(f"C++ tests for Linux:   {ran - windows + posix}; {posix} of them are for POSIX systems alone")
    print("".join(f"skipped: {one}\n" for one in skipped), end="")
    return 1 if failed or ran == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
