#!/usr/bin/env python3
"""Runs examples/form_server or c_form_server as a host's developer would, and submits its form twice:
form_server_example.py PROGRAM FOLDER."""

import http.client
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time


def show(program, folder, scratch):
    """The name and first bytes of the file that the example opens. A script replaces xdg-open of the desktop."""
    opener = scratch / "xdg-open"
    opener.write_text('#!/bin/sh\ncp "$1" "$0.copy" && basename "$1" > "$0.new" && mv "$0.new" "$0.name"\n')
    opener.chmod(0o755)
    environment = {**os.environ, "PATH": f"{scratch}:{os.environ['PATH']}"}
    process = subprocess.Popen([program, folder, "membership_form"], stdin=subprocess.PIPE, env=environment, text=True)
    name = scratch / "xdg-open.name"
    for _ in range(600):
        if name.exists() or process.poll() is not None:
            break
        time.sleep(0.05)
    process.communicate("", timeout=60)
    return (name.read_text().strip(), (scratch / "xdg-open.copy").read_bytes()[:5]) if name.exists() else None


def main(program, folder):
    with tempfile.TemporaryDirectory() as scratch:
        opened = pathlib.Path(scratch) / "opened.xfdf"
        process = subprocess.Popen([program, folder, "membership_form", str(opened)], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, text=True)
        said = process.stdout.readline()
        xfdf = opened.read_text(encoding="utf-8") if said.startswith("open ") else ""
        answers = []
        address = re.search(r"http://localhost:(\d+)/", xfdf)
        for _ in range(2 if address else 0):
            connection = http.client.HTTPConnection("localhost", int(address[1]), timeout=30)
            body = xfdf.replace("<fields>", '<fields><field name="adherent.nom"><value>Zoé</value></field>', 1)
            connection.request("POST", "/Example/xfdf/save.cgi?code=membership_form", body.encode())
            answer = connection.getresponse()
            answers.append((answer.status, answer.headers["Content-Location"].rpartition("=")[2], answer.read()[:5]))
            connection.close()
        said += process.communicate("", timeout=60)[0]
        # The example in C opens no file: it leaves this to its host.
        in_c = pathlib.Path(program).name.startswith("c_")
        shown = ("°_membership_form.pdf", b"%PDF-") if in_c else show(program, folder, pathlib.Path(scratch))
    print(said, answers, shown)
    right = (shown and shown[0].endswith("°_membership_form.pdf") and shown[1] == b"%PDF-" and answers == [(200, "consult", b"%PDF-"), (200, "modify", b"%PDF-")] and process.returncode == 0
             and "\nsaved\n" in said and "  adherent.nom = Zoé\n" in said and re.search("\n(refused, because a newer copy was saved before|refused: the submission is outdated.*)\n$", said))
    return 0 if right else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
