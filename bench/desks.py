#!/usr/bin/env python3
"""Measures many servers ("desks") that share a store in PostgreSQL, and counts the submissions that they stored.

desks.py TOOL [--desks N] [--minutes M] [--restarts R]   saves from N desks, each a server of its own, while the database
                                                         is stopped hard and started R times and one desk is killed; then
                                                         compares what clients were told with the rows of the store
desks.py TOOL --rates [--seconds S]                      saves per second, and the 99th percentile of the time of a
                                                         save, with 1, 4 and 16 clients: first each client has its own
                                                         server and all servers share a database; then all clients use
                                                         one server that stores in a folder

The database is Debian's PostgreSQL with default settings; it and the folder are below /tmp. A client opens a form, saves it step by
step, and opens a new one when a save is refused or its desk is gone.
"""

import argparse
import http.client
import pathlib
import random
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests"))
sys.dont_write_bytecode = True
import postgres

CODE = "membership_form"
COUNT = re.compile(r'(Transaction\.Count"&gt;)(\d+)')


class Desk:
    """A server, which is started again when it was killed."""

    def __init__(self, tool, store, folder):
        self.command = [tool, "serve", "--templates", ROOT / "samples", "--store", store, "--port", "0", "--folder", "1",
                        "--year", "2026", "--submissions", "no"]
        self.log = open(folder, "ab")
        self.start()

    def start(self):
        self.process = subprocess.Popen(list(map(str, self.command)), stdout=subprocess.PIPE, stderr=self.log, text=True)
        for line in self.process.stdout:
            if line.startswith("Open:"):
                self.port = int(re.search(r":(\d+)/", line)[1])
            if line.startswith("Stop:"):
                return
        sys.exit("a desk does not start: see its log")

    def stop(self):
        self.process.terminate()
        self.process.wait()
        self.log.close()


class Client(threading.Thread):
    def __init__(self, name, desk, until):
        super().__init__()
        self.label, self.desk, self.until = name, desk, until
        self.accepted, self.times = [], []
        self.answers = {}
        self.connection = None

    def ask(self, target, body):
        """(status, mode), with the status 0 when there is no answer; keeps the connection."""
        try:
            if self.connection is None:
                self.connection = http.client.HTTPConnection("localhost", self.desk.port, timeout=60)
            self.connection.request("POST", target, body)
            answer = self.connection.getresponse()
            data = answer.read()
            return answer.status, answer.headers.get("Content-Location", "").rpartition("=")[2], data
        except (OSError, http.client.HTTPException):
            self.connection = None
            return 0, "", b""

    def run(self):
        form, number = None, 0
        while time.monotonic() < self.until:
            if form is None:
                status, _, data = self.ask(f"/open.cgi?code={CODE}&as=xfdf", b"")
                form = data.decode() if status == 200 else None
                if form is None:
                    self.tell(f"open {status}")
                    continue
            number += 1
            value = f"{self.label}.{number}"
            filled = form.replace("<fields>", f'<fields><field name="adherent.nom"><value>{value}</value></field>', 1)
            # Sends the same submission until it is answered, as the page that shows forms in a browser does.
            for attempt in range(1000):
                start = time.monotonic()
                status, mode, _ = self.ask(f"/zforms/xfdf/save.cgi?code={CODE}", filled.encode())
                self.tell(f"save {status} {mode}".strip())
                if status != 503 or time.monotonic() > self.until + 60:
                    break
                time.sleep(0.2)
            if status == 200 and mode == "consult":
                self.times.append(time.monotonic() - start)
                self.accepted.append(value)
                form = COUNT.sub(lambda match: match[1] + str(int(match[2]) + 1), form)
            else:
                form = None

    def tell(self, what):
        self.answers[what] = self.answers.get(what, 0) + 1
        if what.split()[1] != "200":
            time.sleep(0.1)


def summary(clients):
    answers = {}
    for client in clients:
        for what, number in client.answers.items():
            answers[what] = answers.get(what, 0) + number
    return ", ".join(f"{number} x {what}" for what, number in sorted(answers.items()))


def percentile(times, part):
    return sorted(times)[min(len(times) - 1, int(len(times) * part))] * 1e3 if times else 0


def endure(options, cluster, folder):
    """Runs the clients while the database is restarted. Exit status 1 when an accepted submission is missing or stored
    twice."""
    store = cluster.create("office")
    desks = [Desk(options.tool, store, folder / f"desk{i}.log") for i in range(options.desks)]
    begin = time.monotonic()
    length = options.minutes * 60
    clients = [Client(f"client{i}", desk, begin + length) for i, desk in enumerate(desks)]
    for client in clients:
        client.start()
    events = [("restart", begin + length * (i + 1) / (options.restarts + 2)) for i in range(options.restarts)]
    events.append(("kill", begin + length * (options.restarts + 1) / (options.restarts + 2)))
    for kind, moment in events:
        time.sleep(max(0, moment - time.monotonic()))
        if kind == "restart":
            cluster.halt("immediate")
            time.sleep(random.uniform(1, 6))
            cluster.start()
        else:
            desks[0].process.send_signal(signal.SIGKILL)
            desks[0].process.wait()
            desks[0].start()
        print(f"{time.monotonic() - begin:6.0f} s: {kind}; accepted so far {sum(len(one.accepted) for one in clients)}",
              flush=True)
    for client in clients:
        client.join()
    for desk in desks:
        desk.stop()
    rows = cluster.sql("office", "SELECT convert_from(value, 'UTF8') FROM zforms.fields WHERE name = 'adherent.nom'")
    stored = [row[0] for row in rows]
    steps = cluster.sql("office", 'SELECT count(*), count(DISTINCT ("transaction", count)) FROM zforms.submissions')[0]
    accepted = [value for client in clients for value in client.accepted]
    lost, doubled = set(accepted) - set(stored), len(stored) - len(set(stored))
    print(f"answers: {summary(clients)}")
    print(f"accepted at the clients: {len(accepted)}; rows in the store: {len(stored)}; steps {steps[1]} of {steps[0]}")
    print(f"lost: {len(lost)}; doubled: {doubled}; stored though the answer was lost: {len(set(stored) - set(accepted))}")
    print(f"99 % of the accepted saves within {percentile(sum((one.times for one in clients), []), 0.99):.1f} ms")
    return 1 if lost or doubled or steps[0] != steps[1] or not accepted else 0


def rate(options, stores, folder, number):
    """(saves per second, median and 99th percentile of the time of a save in ms). There is one desk for each of `stores`;
    the clients are divided among the desks."""
    desks = [Desk(options.tool, store, folder / "desk.log") for store in stores]
    clients = [Client(f"client{i}", desks[i % len(desks)], time.monotonic() + options.seconds) for i in range(number)]
    for client in clients:
        client.start()
    for client in clients:
        client.join()
    for desk in desks:
        desk.stop()
    times = sum((client.times for client in clients), [])
    if set(summary(clients).split(" x ")[1:]) - {"save 200 consult"}:
        print(summary(clients))
    return len(times) / options.seconds, percentile(times, 0.5), percentile(times, 0.99)


def rates(options, cluster, folder):
    print(f"{'':34}{'saves/s':>9}{'median':>12}{'99 %':>12}")
    for number in (1, 4, 16):
        shared = cluster.create(f"office{number}")
        for name, stores in (("PostgreSQL", [shared] * number), ("SQLite", [folder / f"office{number}"])):
            found = rate(options, stores, folder, number)
            label = f"{name}, desks: {len(stores)}, clients: {number}"
            print(f"{label:34}{found[0]:9.0f}{found[1]:9.1f} ms{found[2]:9.1f} ms", flush=True)
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", type=pathlib.Path)
    parser.add_argument("--desks", type=int, default=16)
    parser.add_argument("--minutes", type=float, default=10)
    parser.add_argument("--restarts", type=int, default=3)
    parser.add_argument("--rates", action="store_true")
    parser.add_argument("--seconds", type=float, default=10)
    options = parser.parse_args()
    options.tool = options.tool.resolve()
    if postgres.programs() is None:
        sys.exit("desks.py: PostgreSQL is not installed (Debian's package postgresql)")
    with tempfile.TemporaryDirectory() as folder, postgres.cluster("max_connections=200") as cluster:
        sys.exit((rates if options.rates else endure)(options, cluster, pathlib.Path(folder)))


if __name__ == "__main__":
    main()
