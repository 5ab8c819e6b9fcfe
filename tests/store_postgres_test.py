#!/usr/bin/env python3
"""The tests of zforms serve with a store in PostgreSQL; and tests for which it is needed: several servers with one
store, loss of the database, lost replies, passwords, copies between both kinds of stores."""

import contextlib
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import threading
import time

import postgres
import serve_test
from serve_test import SAVE, Folders, Server, count_raised, location, with_value
from tool_case import SAMPLES, SKIPPED, TOOL, WINDOWS, expect, run_tests, same, zforms
# Tests that also run with a data folder; here they use the stores of this file.
from serve_test import (test_by_the_tool, test_forms_expire, test_killed_under_load, test_prefilled_and_restarted,
                        test_refusals, test_round_of_a_form, test_stopped_under_load, test_the_year_stays,
                        test_versions_of_a_store)


class Databases:
    """The stores of the tests: a database for each data folder that a test names."""

    def __init__(self, cluster):
        self.cluster, self.names = cluster, {}

    def address(self, folder, name="data"):
        key = f"{folder}/{name}"
        if key not in self.names:
            self.names[key] = f"store{len(self.names)}"
            self.cluster.create(self.names[key])
        return self.cluster.address(self.names[key])

    def run(self, address, *statements):
        database = re.search(r"/(\w+)\?", address)[1]
        return self.cluster.sql(database, ";".join(["SET search_path = zforms", *statements]))

    def make_old(self, address):
        self.run(address, "ALTER TABLE submissions DROP CONSTRAINT submissions_once", "UPDATE version SET version = 1",
                 'CREATE INDEX submissions_by_transaction ON submissions("transaction")')

    def make_new(self, address):
        self.run(address, "UPDATE version SET version = 3")

    def age(self, address, ids, days):
        self.run(address, f"UPDATE forms SET opened = opened - interval '{days} days' WHERE \"transaction\" IN {tuple(ids)}")
        return ids


def wait_for(condition, label):
    """Waits up to 30 s until the condition holds; then the test fails."""
    for _ in range(600):
        if condition():
            return
        time.sleep(0.05)
    expect(False, f"{label} does not come")


def save(server, form):
    """Submits a form; returns the status, and the mode in which the server returns the form."""
    status, headers, _ = server.ask("POST", SAVE, form.encode())
    return status, location(headers).rpartition("=")[2]


def test_two_servers(folder):
    """A form that one server opened is saved once, by any server. Each server notices the changes of the other."""
    templates = folder / "templates"
    templates.mkdir()
    shutil.copy(SAMPLES / "membership_form.pdf", templates)
    (templates / "membership_form.ini").write_text("[Map]\nadherent.ville=Office.Town\n")
    with Server(folder, templates=templates) as one, Server(folder, templates=templates) as other:
        def lists(server, word):
            return f'<span class="state {word}">' in server.ask("GET", "/")[2].decode()

        form = one.open_form()
        expect(lists(one, "new") and lists(other, "new"), "a new form in both lists")
        for _ in range(10):
            results = []
            threads = [threading.Thread(target=lambda server=server: results.append(save(server, form)))
                       for server in (one, other) for _ in range(2)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
            same("four at a time", sorted(results), [(200, "consult")] + [(200, "modify")] * 3)
            form = count_raised(form)
        same("stored", (one.count("submissions"), one.count("rejected")), (10, 30))
        for server in (one, other):
            wait_for(lambda server=server: lists(server, "refused") or lists(server, "saved"), "the state in the list")
        for town in ("Agde", "Sète"):
            zforms("rubrics", "--store", one.data, "--set", f"Office.Town={town}")
            wait_for(lambda: all(town in server.open_form() for server in (one, other)), "a new value of a rubric")
        session = re.search(r'Session\.ID(?:"|&quot;)&gt;(\w+)', form)[1]
        for server in (one, other):
            same("the saved copy at each", server.ask("GET", f"/reader/saved.json?form={session}")[0], 200)


def test_database_away(folder):
    """While the database cannot be reached, nothing is accepted, and the answer is 503. Afterwards all works again."""
    cluster = serve_test.STORES.cluster
    with Server(folder) as server:
        form, saved = server.open_form(), server.open_form()
        same("before", save(server, saved), (200, "consult"))
        for mode in ("fast", "immediate"):
            cluster.halt(mode)
            status, headers, body = server.ask("POST", SAVE, form.encode())
            expect(status == 503 and not location(headers) and not body.startswith(b"%PDF"), f"{mode}: a save", status)
            for method, target in (("POST", "/open.cgi?code=membership_form"), ("GET", "/")):
                same(f"{mode}: {target}", server.ask(method, target)[0], 503)
            cluster.start()
            same(f"{mode}: the same again", save(server, form), (200, "consult"))
            same(f"{mode}: the list", server.ask("GET", "/")[0], 200)
            form = count_raised(form)
        same("stored", (server.count("submissions"), server.count("rejected")), (3, 0))
    expect("its sender was told" in (folder / "log").read_text(), "the log says it")


class Proxy:
    """A proxy between a server and its database. It drops the reply to the statement that contains the text `mark`.
    With `cut` it forwards the reply instead, and ends the connection before the database commits."""

    def __init__(self, cluster, folder):
        self.target = str(cluster.folder / ".s.PGSQL.5432")
        self.folder = cluster.folder / folder.name
        self.folder.mkdir()
        self.mark, self.is_stored, self.lost = None, None, 0
        self.away, self.away_then = False, False
        self.cut, self.passed = False, threading.Event()
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(self.folder / ".s.PGSQL.5432"))
        self.listener.listen()
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        with contextlib.suppress(OSError):
            while True:
                client = self.listener.accept()[0]
                if self.away:
                    client.close()
                    continue
                database = socket.socket(socket.AF_UNIX)
                database.connect(self.target)
                ends = [client, database]
                threading.Thread(target=self.forward, args=(client, database, ends), daemon=True).start()
                threading.Thread(target=self.forward, args=(database, client, ends), daemon=True).start()

    def forward(self, source, target, ends):
        with contextlib.suppress(OSError):
            while data := source.recv(1 << 16):
                if source is ends[0] and self.mark and self.mark in data:
                    # The client must not get the reply, so nothing more is read from the database.
                    self.mark, self.away = None, self.away_then
                    if self.cut:
                        # Asks for the rows (Flush) instead of ending the transaction (Sync).
                        expect(data.endswith(b"S\0\0\0\4"), "the statement comes at once")
                        target.sendall(data[:-5] + b"H\0\0\0\4")
                        self.lost += self.passed.wait(30)
                        break
                    ends[0].shutdown(socket.SHUT_RD)
                    reader = ends[1]
                    ends[1] = None
                    reader.sendall(data)
                    wait_for(self.is_stored, "the submission whose reply is lost")
                    self.lost += 1
                    break
                if ends[1] is None:
                    break
                target.sendall(data)
                if source is ends[1] and self.cut and b"SELECT 1\0" in data:
                    self.passed.set()
        for end in (source, target):
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)


def test_replies_that_are_lost(folder):
    """When the database commits but the reply is lost, the server asks again, and stores nothing twice."""
    stores = serve_test.STORES
    real = stores.address(folder)
    proxy = Proxy(stores.cluster, folder)

    def value_of(text):
        return stores.run(real, f"SELECT count(*) FROM fields WHERE value = '{text}'::bytea")[0][0]

    class Through(Databases):
        def address(self, *_):
            return real.replace(str(self.cluster.folder), str(proxy.folder))

    serve_test.STORES = Through(stores.cluster)
    try:
        with Server(folder) as server:
            # The database sends results before it commits; "not committed" ends the connection in between.
            for text, stays_away, wanted in (("not committed", False, (200, "consult")),
                                             ("lost once", False, (200, "consult")), ("lost and away", True, (503, ""))):
                form = with_value(server.open_form(), "adherent.nom", text)
                proxy.cut = text == "not committed"
                proxy.is_stored = lambda text=text: value_of(text) == "1"
                proxy.away_then, proxy.mark = stays_away, text.encode()
                same(text, save(server, form), wanted)
                proxy.away = False
                if stays_away:
                    same("other values are another submission",
                         save(server, form.replace("lost and", "not lost and"))[1], "modify")
                    same("the same again", save(server, form), (200, "consult"))
                same(f"{text}: stored", value_of(text), "1")
            same("replies that were lost", proxy.lost, 3)
    finally:
        serve_test.STORES = stores
        proxy.listener.close()
    same("rows", stores.run(real, "SELECT count(*), count(DISTINCT key) FROM submissions")[0], ["3", "3"])


def test_passwords_and_what_is_missing(folder):
    """No message shows a password, whatever is wrong with the address."""
    cluster = serve_test.STORES.cluster
    cluster.create("locked")
    cluster.sql("locked", "CREATE ROLE clerk LOGIN PASSWORD 'ge/heim'; GRANT CREATE ON DATABASE locked TO clerk")
    hba = cluster.folder / "data/pg_hba.conf"
    hba.write_text("local all clerk scram-sha-256\n" + hba.read_text())
    cluster.run("pg_ctl", "reload")
    host = f"?host={cluster.folder}"
    (folder / "pass").write_text("*:*:*:clerk:ge/heim\n")
    (folder / "pass").chmod(0o600)
    (folder / "libpq.so.5").write_bytes(b"")
    (folder / "service").write_text(f"[office]\nhost={cluster.folder}\ndbname=locked\nuser=clerk\npassword=ge/heim\n")
    for address, more, said in (
            (f"postgresql://clerk:ge%2Fheim@/locked{host}", {}, None),
            (f"postgresql://clerk@/locked{host}&password=ge%2Fheim", {}, None),
            (f"postgresql://clerk@/locked{host}", {"PGPASSWORD": "ge/heim"}, None),
            (f"postgresql://clerk@/locked{host}", {"PGPASSFILE": str(folder / "pass")}, None),
            ("postgresql://?service=office", {"PGSERVICEFILE": str(folder / "service")}, None),
            (f"postgresql://clerk@/locked{host}", {"PGPASSWORD": "x", "PGPASSFILE": "/none"}, "authentication failed"),
            (f"postgresql://clerk:geheim@/locked{host}", {}, 'authentication failed for user "clerk"'),
            (f"postgresql://clerk:ge/heim@/locked{host}", {}, "is not valid"),
            (f"postgresql://clerk:ge@heim@/locked{host}", {}, "is not valid"),
            (f"postgresql://clerk:ge%heim@/locked{host}", {}, "is not valid"),
            (f"postgresql://clerk@/locked{host}&password=ge%heim", {}, "is not valid"),
            (f"postgresql://clerk:geheim@/locked?host={folder}/none", {}, "No such file"),
            (f"postgresql://clerk@/locked{host}", {"LD_LIBRARY_PATH": str(folder)}, "package libpq5")):
        done = subprocess.run([TOOL, "rubrics", "--store", address, "--set", "A.B=c"], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, env={**os.environ, **more}, timeout=60)
        expect((done.returncode == 0 and not done.stdout) if said is None else (done.returncode == 2 and said in done.stdout),
               f"{address} {more}", done.stdout)
        expect(not re.search("heim", done.stdout), f"{address}: a part of the password", done.stdout)


def test_copies_between_both_kinds(folder):
    """A store copied from a folder to a database and back is the same byte by byte, even values that are not valid
    text. Servers can continue with the copy."""
    databases, folders = serve_test.STORES, Folders()
    serve_test.STORES = folders
    try:
        with Server(folder) as server:
            form = server.open_form()
            long_value = "<&é>" * 300_000
            for one in (with_value(form, "adherent.nom", "x"), form,
                        with_value(count_raised(form), "adherent.nom", long_value)):
                same("a save", server.ask("POST", SAVE, one.encode())[0], 200)
        folders.run(server.data, "UPDATE fields SET value = CAST(x'00FF41C3' AS TEXT) WHERE name = 'adherent.nom' AND "
                    "submission = 1", "INSERT INTO rubrics VALUES (CAST(x'FE' AS TEXT), 'f', CAST(x'000A' AS TEXT))")
        addresses = [server.data, databases.address(folder, "kept"), str(folder / "back")]
        for source, target in zip(addresses, addresses[1:]):
            same("copy", zforms("store", "copy", source, target), (0, "", ""))
        columns = ("submission, CAST(name AS BLOB), CAST(value AS BLOB) FROM fields WHERE submission = 1",
                   "CAST(rubric AS BLOB), field, CAST(value AS BLOB) FROM rubrics", "* FROM forms", "* FROM settings",
                   "* FROM rejected", "id, received, code, \"transaction\", count, folder, year, url FROM submissions")
        for table in columns:
            rows = [folders.run(address, f"SELECT {table} ORDER BY 1, 2") for address in (addresses[0], addresses[2])]
            expect(rows[0] and rows[0] == rows[1], f"rows of {table}", rows if len(str(rows)) < 2000 else "")
        for options in (["--format", "json"], ["--format", "xfdf", "--id", "2"], ["--rejected"], ["--latest"]):
            outs = {zforms("submissions", "--store", address, *options)[1] for address in addresses}
            expect(len(outs) == 1 and len(outs.pop()) > 100, f"submissions {options}")
        form = count_raised(count_raised(form))
        for address in addresses[1:]:
            folders.address = databases.address = lambda *_, address=address: address
            with Server(folder) as server:
                same("the next save", save(server, form), (200, "consult"))
                same("its number", [one["id"] for one in server.stored()], [1, 2, 3])
    finally:
        serve_test.STORES = databases
        del databases.address


if __name__ == "__main__":
    if WINDOWS or postgres.programs() is None:
        print("store_postgres_test: needs Linux and Debian's package postgresql")
        sys.exit(SKIPPED)
    with postgres.cluster("fsync=off") as running:
        serve_test.STORES = Databases(running)
        run_tests(globals())
