#!/usr/bin/env python3
"""Checks that zforms serve, installed in a folder, serves the samples and the page for browsers from there:
moved_program.py FOLDER."""

import pathlib
import re
import subprocess
import sys
import urllib.request


def main(folder):
    process = subprocess.Popen([folder / "bin/zforms", "serve", "--port", "0"], stdout=subprocess.PIPE, text=True)
    said = ""
    for line in process.stdout:
        said += line
        if line.startswith("Stop:"):
            break
    forms, address = re.search(r"^Forms: *(.*)$", said, re.M), re.search(r"http://localhost:\d+/", said)
    page = urllib.request.urlopen(address[0] + "reader/index.html", timeout=30).status if address else 0
    process.terminate()
    process.wait(timeout=30)
    print(said, "page", page)
    return 0 if page == 200 and pathlib.Path(forms[1]) == folder / "share/zforms/samples" else 1


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
