#!/usr/bin/env python3
"""Measures the cost of long and hostile submissions for the form server and for its other clients.

long_submissions.py TOOL [--data DIR] [--only NAME]...

Serves the sample forms and posts documents that take much time or memory to read, fill or store, most of them of 16 MB.
Prints for each document the status and the time of its answer, the processor time of the server, by how much the
server's memory grew at most and how much of that it still holds a second later. Also prints the longest time of a save
of 4 KB by another client, both while the long document is handled and without any other request. Then eight long
documents are posted at the same time. DIR is the folder in which the server stores all submissions; it decides which
disk is measured. Linux only.
"""

import argparse
import contextlib
import http.client
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time

SAMPLES = pathlib.Path(__file__).resolve().parent.parent / "samples"
CODE = "membership_form"
SAVE = f"/zforms/xfdf/save.cgi?code={CODE}"
FULL = (16 << 20) - 4096
COUNT = re.compile(r'(Transaction\.Count"&gt;)(\d+)')


class Server:
    def __init__(self, tool, data):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        self.process = subprocess.Popen([tool, "serve", "--templates", SAMPLES, "--data", data, "--port", str(self.port)],
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        for line in self.process.stdout:
            if line.startswith("Stop:"):
                return
        sys.exit("the server does not start")

    def ask(self, method, target, body=None):
        """(status, seconds)"""
        connection = http.client.HTTPConnection("localhost", self.port, timeout=120)
        start = time.monotonic()
        try:
            connection.request(method, target, body)
            answer = connection.getresponse()
            text = answer.read()
            return answer.status, time.monotonic() - start, text
        except OSError:
            return 0, time.monotonic() - start, b""
        finally:
            connection.close()

    def open_form(self):
        for method in ("POST", "GET"):
            status, _, text = self.ask(method, f"/open.cgi?code={CODE}&as=xfdf", b"" if method == "POST" else None)
            if status == 200:
                return text.decode()
        sys.exit("no form is opened")

    def memory(self, what):
        """Megabytes now (VmRSS), or at most since reset_peak (VmHWM)."""
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(rf"{what}:\s+(\d+) kB", status)[1]) / 1024

    def cpu(self):
        """The processor time used by this process so far, in seconds."""
        parts = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(parts[11]) + int(parts[12])) / os.sysconf("SC_CLK_TCK")

    def reset_peak(self):
        pathlib.Path(f"/proc/{self.process.pid}/clear_refs").write_text("5")


class Clerk(threading.Thread):
    """Saves a form repeatedly."""

    def __init__(self, server):
        super().__init__(daemon=True)
        self.server, self.xfdf, self.times, self.runs = server, server.open_form(), [], True

    def run(self):
        while self.runs:
            status, seconds, _ = self.server.ask("POST", SAVE, self.xfdf.encode())
            self.times.append(seconds if status == 200 else 999.0)
            self.xfdf = COUNT.sub(lambda match: match[1] + str(int(match[2]) + 1), self.xfdf)
            time.sleep(0.005)

    def longest(self):
        # Waits for a complete request, if there is none yet.
        while not self.times:
            time.sleep(0.001)
        times, self.times = self.times, []
        return max(times)


def field(name, value):
    return f'<field name="{name}"><value>{value}</value></field>'


def nested(depth, name, content):
    return f'<field name="{name}">' * depth + content + "</field>" * depth


def repeated(text, size):
    return text * (size // len(text.encode()))


def numbered(count, value=None):
    return "".join(field(f"f{i}", value) if value is not None else f'<field name="f{i}"/>' for i in range(count))


def cases():
    """Pairs (name, content). The content is a text of fields, which is inserted before the other fields, or a function
    that makes the whole document from the opened one."""
    def latin(xfdf):
        text = with_fields(xfdf, field("adherent.nom", "é" * (FULL - 8000))).replace("UTF-8", "ISO-8859-1", 1)
        return text.encode("latin-1")

    yield "short", field("adherent.nom", "x")
    yield "440 deep, 20,000 empty leaves", nested(440, "nnnnnnnn", numbered(20_000))
    yield "440 deep, 90,000 empty leaves", nested(440, "nnnnnnnn", numbered(90_000))
    yield "440 deep, 10,000 values", nested(440, "nnnnnnnn", numbered(10_000, "x"))
    yield "440 deep, 30 values", nested(440, "nnnnnnnn", numbered(30, "x"))
    yield "elements", repeated("<a/>", FULL)
    yield "elements, with a comment", "<!-- -->" + repeated("<a/>", FULL)
    yield "190,000 elements, long text", "<!-- -->" + "<a/>" * 190_000 + field("x", "x" * (FULL - 1_000_000))
    yield "attributes", "<a" + repeated(' b=""', FULL) + "/>"
    yield "190,000 attributes", repeated("<a" + ' b=""' * 90 + "/>", 980_000)
    yield "40,000 fields", numbered(40_000, "x" * 360)
    yield "45,000 pairs of a name", "".join(f'<field name="f{i}"/>' * 2 for i in range(45_000))
    yield "CDATA sections", field("adherent.nom", "<![CDATA[x]]>" * 200_000)
    yield "a value of no field", field("none", "x" * (FULL - 8000))
    yield "a value of a field", field("adherent.nom", "x" * (FULL - 8000))
    yield "a value in two scripts", field("adherent.nom", "\u0416" + "x" * (FULL - 8000))
    yield "line ends", field("adherent.nom", "\n" * (FULL - 8000))
    yield "references", field("adherent.nom", repeated("&#40;", FULL - 8000))
    yield "ISO 8859-1", latin
    yield "UTF-16", lambda xfdf: with_fields(xfdf, field("adherent.nom", "x" * (FULL // 2 - 8000))).encode("utf-16")
    yield "another session", lambda xfdf: re.sub(
        r'(Session\.ID"&gt;)\w', r"\1x", with_fields(xfdf, field("adherent.nom", "x" * (FULL - 8000)))).encode()
    yield "another session, 40,000 fields", lambda xfdf: re.sub(
        r'(Session\.ID"&gt;)\w', r"\1x", with_fields(xfdf, numbered(40_000, "x" * 360))).encode()


def with_fields(xfdf, fields):
    return xfdf.replace("<fields>", "<fields>" + fields, 1)


def document(server, case):
    xfdf = server.open_form()
    return case(xfdf) if callable(case) else with_fields(xfdf, case).encode()


def measure(server, clerk, name, bodies):
    time.sleep(0.5)
    before = server.memory("VmRSS")
    server.reset_peak()
    quiet = clerk.longest()
    cpu = server.cpu()
    answers = [None] * len(bodies)

    def post(i):
        answers[i] = server.ask("POST", SAVE, bodies[i])[:2]

    posts = [threading.Thread(target=post, args=(i,)) for i in range(len(bodies))]
    for one in posts:
        one.start()
    for one in posts:
        one.join()
    longest = clerk.longest()
    cpu = server.cpu() - cpu
    peak = server.memory("VmHWM")
    time.sleep(1)
    size = sum(map(len, bodies)) / (1 << 20)
    status = ",".join(str(s) for s in sorted({status for status, _ in answers}))
    print(f"{name:32}{size:8.1f} MB{status:>8}{max(s for _, s in answers):8.2f} s{cpu:8.2f} s{peak - before:9.0f} MB"
          f"{server.memory('VmRSS') - before:8.0f} MB{longest * 1e3:9.0f} ms{quiet * 1e3:7.0f} ms", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", type=pathlib.Path)
    parser.add_argument("--data")
    parser.add_argument("--only", action="append", help="a case by its name")
    options = parser.parse_args()
    data = tempfile.mkdtemp(dir=options.data)
    server = Server(options.tool.resolve(), data)
    try:
        clerk = Clerk(server)
        clerk.start()
        print(f"{'':32}{'size':>11}{'status':>8}{'time':>10}{'CPU':>10}{'at most':>12}{'later':>11}{'others':>12}{'quiet':>10}")
        for name, case in cases():
            if not options.only or name in options.only:
                measure(server, clerk, name, [document(server, case)])
        if not options.only or "eight" in options.only:
            long_one = field("adherent.nom", "x" * 14_500_000)
            measure(server, clerk, "eight at once", [document(server, long_one) for _ in range(8)])
        clerk.runs = False
        clerk.join()
    finally:
        server.process.terminate()
        server.process.wait()
        with contextlib.suppress(OSError):
            shutil.rmtree(data)


if __name__ == "__main__":
    main()
