#!/usr/bin/env python3
"""Runs examples/form_server as a host's developer would, and submits its form twice: form_server_example.py PROGRAM FOLDER."""

import http.client
import pathlib
import re
import subprocess
import sys
import tempfile


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
    print(said, answers)
    right = (answers == [(200, "consult", b"%PDF-"), (200, "modify", b"%PDF-")] and process.returncode == 0
             and "\nsaved\n" in said and "  adherent.nom = Zoé\n" in said and said.endswith("refused as stale\n"))
    return 0 if right else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
