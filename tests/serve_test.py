#!/usr/bin/env python3
"""Tests zforms serve from the view of a reader and of an office: forms are opened and submitted, and no confirmed
submission is lost.

The tests write requests byte by byte or with http.client. The returned forms are read by qpdf where it is installed.
"""

import contextlib
import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import sqlite3
import subprocess
import sys
import threading
import time
from xml.sax.saxutils import escape

import peers
from tool_case import SAMPLES, SANITIZED, STOP, TOOL, WINDOWS, expect, page_fields, restricted_form, run_tests, same, zforms

NOT_ON_WINDOWS = {"test_sockets_of_a_service_manager": "its service managers hand over no sockets",
                  "test_without_proc": "it has no /proc"}
SAVE = "/App/xfdf/save.cgi?code=membership_form"


class Folders:
    """The stores of the tests when they are data folders; store_postgres_test.py replaces this class by databases."""

    def address(self, folder, name="data"):
        return str(folder / name)

    def run(self, address, *statements):
        """Runs the statements; returns the rows of the last one."""
        with contextlib.closing(sqlite3.connect(pathlib.Path(address) / "zforms.db", isolation_level=None)) as store:
            for statement in statements:
                rows = store.execute(statement).fetchall()
            return rows

    def make_old(self, address):
        self.run(address, "DROP INDEX submissions_once",
                 'CREATE INDEX submissions_by_transaction ON submissions("transaction")', "PRAGMA user_version = 1")

    def make_new(self, address):
        self.run(address, "PRAGMA user_version = 3")

    def age(self, address, ids, days):
        """Makes forms older by this many days; returns their new numbers."""
        ago = days * 86400 * 10**7
        self.run(address, f'UPDATE forms SET "transaction" = "transaction" - {ago} WHERE "transaction" IN {tuple(ids)}')
        return [one - ago for one in ids]


STORES = Folders()


def is_shared():
    return not isinstance(STORES, Folders)


class Server:
    """A server that serves the sample forms. The with statement stops it at its end, unless it was killed before."""

    def __init__(self, folder, *options, templates=None, port=0, year=("--year", "2025")):
        self.data = STORES.address(folder)
        command = [TOOL, "serve", "--templates", str(templates or SAMPLES), "--data", self.data, "--app", "App",
                   "--folder", "12", *year, "--port", str(port), *options]
        self.log = open(folder / "log", "ab")
        # Files left by a killed server are removed together with the folder.
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=self.log, text=True,
                                        env={**os.environ, "TMPDIR": str(folder)})
        self.started = ""
        for line in self.process.stdout:
            self.started += line
            if line.startswith("Stop:"):
                break
        found = re.search(r"http://localhost:(\d+)/", self.started)
        self.port = int(found[1]) if found else 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self, number=STOP):
        """Stops the server by a signal; returns its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(number)
        status = self.process.wait(timeout=120 if WINDOWS else 30)
        self.process.stdout.close()
        self.log.close()
        log = pathlib.Path(self.log.name).read_text()
        if "Sanitizer" in log:
            sys.exit(log)
        return status

    def ask(self, method, target, body=None, headers=None):
        """Sends a request; returns (status, headers, body). The status is 0 when the connection ends without answer."""
        connection = http.client.HTTPConnection("localhost", self.port, timeout=120 if WINDOWS else 30)
        try:
            connection.request(method, target, body, headers or {})
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        except (OSError, http.client.HTTPException):
            return 0, {}, b""
        finally:
            connection.close()

    def send(self, body):
        """Posts a form to be saved and disconnects; False when the connection is refused."""
        try:
            with socket.create_connection(("localhost", self.port), timeout=30) as connection:
                connection.sendall(f"POST {SAVE} HTTP/1.1\r\nHost: localhost:{self.port}\r\n"
                                   f"Content-Length: {len(body)}\r\n\r\n".encode() + body)
            return True
        except OSError:
            return False

    def open_form(self, code="membership_form"):
        status, _, body = self.ask("POST", f"/open.cgi?code={code}&as=xfdf")
        expect(status == 200, f"open.cgi of {code}: {status}")
        return body.decode()

    def count(self, table, change=None):
        return int(STORES.run(self.data, *([change] if change else []), f"SELECT count(*) FROM {table}")[0][0])

    def stored(self, *options):
        status, out, err = zforms("submissions", "--data", self.data, "--format", "json", *options)
        return json.loads(out) if expect(status == 0, "submissions", err) else []


def with_value(xfdf, name, value):
    """The XFDF document with this value for the field of that full name, added as the first field. The document may
    also have an older value."""
    return xfdf.replace("<fields>", f'<fields><field name="{name}"><value>{escape(value)}</value></field>', 1)


def count_raised(xfdf):
    """The XFDF document as the server returns it after a save: Transaction.Count is 1 higher."""
    return re.sub(r'(Transaction\.Count"&gt;|Transaction\.Count&quot;&gt;)(\d+)',
                  lambda match: match[1] + str(int(match[2]) + 1), xfdf)


def location(headers):
    return headers.get("Content-Location", "")


def check_pdf(folder, pdf, label):
    path = folder / "answer.pdf"
    path.write_bytes(pdf)
    if shutil.which("qpdf"):
        same(f"{label}: qpdf", peers.qpdf_check(path), (0, 0))
    return path


def test_round_of_a_form(folder):
    with Server(folder) as server:
        page = server.ask("GET", "/")[2].decode()
        expect('<form method="post" action="open.cgi?code=membership_form">' in page, "the opening page lists the form")
        first = with_value(server.open_form(), "adherent.nom", "Zoé & <Fils>")
        for method, target in (("GET", "/App/acroform/get.cgi?code=membership_form&Action=modify"),
                               ("POST", "/open.cgi?code=membership_form")):
            status, headers, pdf = server.ask(method, target)
            expect(status == 200 and headers["Content-Type"] == "application/pdf", f"{target}: {status}")
            expect(headers["Cache-Control"] == "no-store", f"{target} may be kept")
            check_pdf(folder, pdf, target)
        status, headers, pdf = server.ask("POST", SAVE, first.encode())
        expect(status == 200 and location(headers).endswith("Action=consult"), f"the first save: {status}")
        check_pdf(folder, pdf, "saved form")
        second = count_raised(with_value(first, "adherent.nom", "Maë"))
        expect(second.count("Transaction.Count") == 1 and second != first, "the test raises the count")
        status, headers, pdf = server.ask("POST", SAVE.replace("save", "modify"), second.encode())
        expect(status == 200 and location(headers).endswith("Action=modify"), f"asking to modify: {status}")
        status, headers, _ = server.ask("POST", SAVE, second.encode())
        expect(status == 200 and location(headers).endswith("Action=consult"), f"the second save: {status}")
        status, headers, _ = server.ask("POST", SAVE, first.encode())
        expect(status == 200 and location(headers).endswith("Action=modify"), f"a stale copy: {status}")
        stored = server.stored("--code", "membership_form")
        expect([one["count"] for one in stored] == [0, 1], f"stored: {stored}")
        expect(stored and stored[0]["fields"]["adherent.nom"] == "Zoé & <Fils>", "the value as it was submitted")
        expect(stored and stored[0]["folder"] == "12" and stored[0]["year"] == 2025, "folder and year of the submission")
        rejected = [one["fields"].get("adherent.nom") for one in server.stored("--rejected")]
        expect(rejected == ["Zoé & <Fils>"], f"what is rejected is kept apart, with its values: {rejected}")
        for options, wanted in ((["--rejected"], "Zoé & <Fils>"), (["--format", "xfdf", "--id", "1"], "Zoé &amp; &lt;Fils&gt;")):
            out = zforms("submissions", "--data", server.data, *options)[1]
            expect(wanted in out, f"submissions {options}", out)
        same("one row a transaction", [one["id"] for one in server.stored("--latest")], [2])
        check_submissions_page(server)
        expect(server.stop(signal.SIGINT) == 0, "SIGINT stops the server in peace")
    log = (folder / "log").read_text()
    expect(log.count("POST /App/xfdf/save.cgi code=membership_form 200") == 3, f"one line a request: {log}")
    expect("Zoé" not in log, "the log holds a value")
    expect(log.count("the submission is outdated: a newer copy") == 1, f"why the stale copy was not taken: {log}")


def check_submissions_page(server):
    """Only requests with the key, and from no page of another origin, can read the submissions. Two were stored, one
    refused."""
    key = re.search(r"^Saved: .*/reader/submissions.html#key=([0-9a-f]{32})$", server.started, re.M)[1]
    own, listed = {"X-Zforms-Key": key}, "/submissions/list.json"
    for method, target, headers, body, wanted in (
            ("GET", listed, own, None, 200), ("HEAD", listed, own, None, 200), ("GET", listed, {}, None, 403),
            ("GET", listed, {"X-Zforms-Key": key[:-1] + ("0" if key[-1] != "0" else "1")}, None, 403),
            ("GET", listed, {"X-Zforms-Key": key[:-1]}, None, 403), ("GET", f"{listed}?key={key}", {}, None, 403),
            ("GET", "/submissions/one.json?id=1", {}, None, 403), ("GET", "/submissions/export.csv", {}, None, 403),
            ("GET", listed, {**own, "Origin": "http://example.com"}, None, 403),
            ("GET", listed, {**own, "Origin": "null"}, None, 403),
            ("GET", listed, {**own, "Sec-Fetch-Site": "cross-site"}, None, 403),
            ("GET", listed, {**own, "Host": f"example.com:{server.port}"}, None, 403),
            ("POST", listed, own, b"x", 405), ("POST", listed, own, b"x" * (1 << 20), 405), ("DELETE", listed, own, None, 405),
            ("GET", listed + "?search=" + "x" * 70000, own, None, 0),
            ("GET", "/submissions/", own, None, 404), ("GET", "/submissions/other", own, None, 404),
            ("GET", "/submissions/one.json?id=99", own, None, 404), ("GET", "/submissions/export.xfdf?id=99", own, None, 404)):
        status, answered, _ = server.ask(method, target, body, headers)
        good = status == wanted or (wanted == 0 and (status == 0 or status >= 400))
        expect(good and "Access-Control-Allow-Origin" not in answered, f"{method} {target[:60]} {headers}", status)

    def ask(target):
        status, headers, body = server.ask("GET", f"/submissions/{target}", headers=own)
        expect(status == 200 and headers["Cache-Control"] == "no-store", target, status)
        return body.decode()

    for query, ids in (("", [2, 1]), ("?latest=1", [2]), ("?search=ZO%C3%89", [2, 1]), ("?search=ZO%C3%89&latest=1", [2]), ("?search=nobody", []), ("?before=2", [1]),
                       ("?code=tax_return", []), ("?rejected=1", [1]), ("?search=%25", []), ("?id=x", [2, 1])):
        answer = json.loads(ask("list.json" + query))
        same(f"the list {query}", ([one["id"] for one in answer["submissions"]], answer["more"]), (ids, False))
    expect(["adherent.nom", "Zoé & <Fils>"] in json.loads(ask("one.json?id=1"))["fields"], "one submission")
    expect(ask("export.csv").startswith("id,received,code") and ask("export.csv").count("\r\n") == 3, "as CSV")
    same("as JSON", json.loads(ask("export.json?latest=1")), server.stored("--latest"))
    expect("<xfdf" in ask("export.xfdf?id=1") and "Fils&gt;" in ask("export.xfdf?id=1"), "as XFDF")


def test_refusals(folder):
    """The log says why a request is refused; a refused request opens and stores nothing."""
    with Server(folder, "--log", "json") as server:
        xfdf = server.open_form()

        def changed(name, pattern, by):
            result = re.sub(rf'({name}(?:"|&quot;)&gt;){pattern}', rf"\g<1>{by}", xfdf, count=1)
            expect(result != xfdf, f"the test changes {name}")
            return result

        cases = [
            (409, "the submission is for the folder 13, but the server uses the folder 12", changed(r"Folder\.ID", "12", "13"), {}),
            (409, "the submission is for the year 2024, but the server uses the year 2025", changed("Exercice", "2025", "2024"), {}),
            (409, "another application", changed("Shortname", "App", "Other"), {}),
            (409, "the session is not", changed(r"Session\.ID", "[0-9a-f]", "x"), {}),
            (409, "never opened", changed(r"Transaction\.ID", r"\d", "9"), {}),
            (409, "the submission has no session", xfdf.replace("ZOR", "ZOX"), {}),
            (409, "the submission is not an XFDF document", "hello", {}),
            (403, "another origin", xfdf, {"Origin": "http://example.com"}),
            (403, "another site", xfdf, {"Sec-Fetch-Site": "cross-site"}),
            (403, "another server", xfdf, {"Host": f"example.com:{server.port}"}),
        ]
        for wanted, why, body, headers in cases:
            same(why, server.ask("POST", SAVE, body.encode(), headers)[0], wanted)
        forms = server.count("forms")
        link = {"Sec-Fetch-Site": "cross-site", "Sec-Fetch-Mode": "navigate", "Sec-Fetch-Dest": "document"}
        for method, target, headers, wanted in (
                ("POST", "/open.cgi?code=none", {}, 404), ("POST", "/open.cgi", {}, 400), ("GET", "/other", {}, 404),
                ("POST", "/open.cgi/..%2f", {}, 404), ("GET", "/open.cgi?code=membership_form", {}, 405),
                ("HEAD", "/open.cgi?code=membership_form", {}, 405),
                ("POST", "/open.cgi?code=membership_form", {"Sec-Fetch-Site": "same-site"}, 403), ("POST", "/", {}, 405),
                ("GET", "/", link, 200), ("GET", "/open.cgi?code=membership_form", link, 403), ("GET", "/reader/", link, 403)):
            same(f"{method} {target}", server.ask(method, target, headers=headers)[0], wanted)
        same("what is refused opens no form", server.count("forms"), forms)
        expect(server.stored() == [] and server.stored("--rejected") == [], "nothing of this is stored")
        if not is_shared():
            status, _, err = zforms("serve", "--templates", SAMPLES, "--data", server.data, "--port", "0")
            expect(status == 2 and "uses this data folder: end it" in err, "a second server", err)
    lines = [json.loads(line) for line in (folder / "log").read_text().splitlines()]
    requests = [line for line in lines if line["kind"] == "request"]
    for line, (wanted, why, _, _) in zip(requests[1:], cases):
        expect(line["status"] == wanted and why in line["reason"], f"the log for {why}", line)
    expect(any(line["kind"] == "refused" and "example.com" in line["text"] for line in lines), "intrusions are told")


def test_prefilled_and_restarted(folder):
    templates = folder / "templates"
    templates.mkdir()
    shutil.copy(SAMPLES / "membership_form.pdf", templates / "Adhésion 1.pdf")
    (templates / "Adhésion 1.ini").write_text("[Map]\nadherent.ville=Office.Town\nadherent.nom=Nobody.Name\n")
    rubrics = ["rubrics", "--store", STORES.address(folder)]
    zforms(*rubrics, "--set", "Office.Town=Béziers=34", "--set", "Office.Other=x")
    same("rubrics", zforms(*rubrics), (0, "Office.Other=x\nOffice.Town=Béziers=34\n", ""))
    code = "Adh%C3%A9sion%201"
    with Server(folder, templates=templates) as server:
        xfdf = server.open_form(code)
        expect("Béziers=34" in xfdf, f"prefilled: {xfdf}")
        save = f"/App/xfdf/save.cgi?code={code}"
        status, headers, _ = server.ask("POST", save, xfdf.encode())
        expect(status == 200 and f"code={code}&" in location(headers), f"a code with a blank: {status} {location(headers)}")
    with Server(folder, templates=templates) as server:
        status, headers, _ = server.ask("POST", save, xfdf.encode())
        expect(status == 200 and location(headers).endswith("modify"), f"stale after a restart: {status}")
        status, headers, _ = server.ask("POST", save, count_raised(xfdf).encode())
        expect(status == 200 and location(headers).endswith("consult"), f"going on after a restart: {status}")
        expect([one["code"] for one in server.stored()] == ["Adhésion 1"] * 2, "stored in both runs")


def test_templates_are_checked(folder):
    templates = folder / "templates"
    templates.mkdir()
    (templates / "none.pdf").write_bytes(b"no PDF")
    sample = (SAMPLES / "membership_form.pdf").read_bytes()
    (templates / "plain.pdf").write_bytes(sample.replace(b"(SessionID)", b"(SessionIX)").replace(b"modify.cgi", b"change.cgi")
                                          .replace(b"/ID [", b"/IX ["))
    restricted_form(templates / "rules.pdf", [("S", 1, None, None)], xfa=True, rights=True)
    with Server(folder, templates=templates) as server:
        served = folder / "data/served.pdf"
        served.write_bytes(server.ask("GET", "/App/acroform/get.cgi?code=rules&Action=readonly")[2])
    checked = zforms("check", served)[1]
    expect("PDF form" in checked and "XFA" not in checked and "usage" not in checked, f"what is served: {checked}")
    log = (folder / "log").read_text()
    for said in ("none.pdf: cannot be read", "rules.pdf: has an XFA form beside its fields", "rules.pdf: is signed",
                 'rules.pdf: has usage rights ("/UR3")', 'plain.pdf: has no hidden text field "ZOR.SessionID"',
                 'plain.pdf: no button submits the form to a URL that ends in "modify.cgi"', 'has no file identifier ("/ID")'):
        expect(said in log, f"the check does not say {said!r}: {log}")
    status, _, err = zforms("serve", "--templates", folder)
    expect(status == 2 and "there are no forms" in err, "an empty folder", err)


def test_fields_of_pages_alone(folder):
    (folder / "templates").mkdir()
    page_fields(folder / "templates/pages.pdf")
    with Server(folder, templates=folder / "templates") as server:
        filled = server.open_form("pages")
        for name, value in (("ville", "Sète"), ("choix", "trois")):
            filled = filled.replace(f'"{name}"/>', f'"{name}"><value>{value}</value></field>')
        status, _, pdf = server.ask("POST", SAVE.replace("membership_form", "pages"), filled.encode())
        expect(status == 200, f"saving a form with fields of pages alone: {status}")
        values = json.loads(zforms("export", check_pdf(folder, pdf, "pages"), "--format", "json", "--all")[1] or "{}")
        expect((values.get("adresse.ville"), values.get("choix")) == ("Sète", "trois"), f"what comes back: {values}")
    expect("3 fields on its pages that the form does not list" in (folder / "log").read_text(), "the check says so")


def test_without_the_page_for_browsers(folder):
    with Server(folder, "--reader", str(folder / "none")) as server:
        expect("Forms are not shown in the browser" in server.started, f"it is not said: {server.started}")
        page = server.ask("GET", "/")[2].decode()
        expect("reader/" not in page and 'action="open.cgi?code=membership_form"' in page, f"links that lead nowhere: {page}")
        expect(server.ask("GET", "/reader/")[0] == 404, "a page that is not there")
        expect("Saved:" not in server.started and server.ask("GET", "/submissions/list.json")[0] == 404, "nor the other one")


def test_a_store_that_fails(folder):
    """A submission that was answered with 503 may be sent again: it was not stored, and is not outdated."""
    with Server(folder) as server:
        forms = [server.open_form() for _ in range(6)]
        statuses = []

        def save(form):
            status, headers, _ = server.ask("POST", SAVE, form.encode())
            statuses.append((status, location(headers)))

        with contextlib.closing(sqlite3.connect(pathlib.Path(server.data) / "zforms.db", isolation_level=None)) as other:
            other.execute("BEGIN IMMEDIATE")
            threads = [threading.Thread(target=save, args=(form,)) for form in forms]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
            expect(statuses == [(503, "")] * len(forms), f"the store is held: {statuses}")
            other.execute("ROLLBACK")
        time.sleep(2.1)
        statuses.clear()
        for form in forms:
            save(form)
        expect([status for status, _ in statuses] == [200] * len(forms) and len(server.stored()) == len(forms) and
               server.stored("--rejected") == [], f"the same again: {statuses}")
        log = (folder / "log").read_text()
        expect("its sender was told" in log and "locked" in log, "the log says why")
    # Other users may not read the store. On Windows, files inherit the rights of their folder.
    expect(WINDOWS or os.stat(pathlib.Path(server.data) / "zforms.db").st_mode & 0o077 == 0, "the store is nobody else's")


def test_long_submissions(folder):
    """Long submissions are stored in steps, completely or not at all; other requests are served in between."""
    long_value, other = "é" * 700_000, "<&>" * 200_000
    values = {f"f{i}": f"{i}" for i in range(10_000)} | {"adherent.nom": long_value, "none": other}

    def rows(server, sql):
        with contextlib.closing(sqlite3.connect(f"file:{server.data}/zforms.db?mode=ro", uri=True)) as database:
            return database.execute(sql).fetchall()

    def memory(server):
        """The peak memory so far in MB; 0 where it is unknown."""
        status = pathlib.Path(f"/proc/{server.process.pid}/status")
        return int(re.search(r"VmHWM:\s+(\d+)", status.read_text())[1]) // 1024 if status.exists() else 0

    with Server(folder) as server:
        opened, short = server.open_form(), server.open_form()
        fields = "".join(f'<field name="{name}"><value>{escape(value)}</value></field>' for name, value in values.items())
        long_one = opened.replace("<fields>", "<fields>" + fields, 1)
        for xfdf in (opened, long_one):  # the first submission makes the second outdated
            expect(server.ask("POST", SAVE, xfdf.encode())[0] == 200, "a stale copy that is long")
        expect(server.ask("POST", SAVE, count_raised(long_one).encode())[0] == 200, "a long submission")
        expect(server.ask("POST", SAVE, short.encode())[0] == 200, "one after it")
        stored = server.stored()
        expect([one["id"] for one in stored] == [1, 2, 3], f"numbers: {[one['id'] for one in stored]}")
        expect({name: value for name, value in stored[1]["fields"].items() if name in values} == values, "long values")
        for number, options in ((2, []), (1, ["--rejected"])):
            out = zforms("submissions", "--data", server.data, "--format", "xfdf", "--id", number, *options)[1]
            expect(f"<value>{long_value}</value>" in out, f"a long submission as XFDF {options}")
        session = re.search(r'Session\.ID"&gt;(\w+)', opened)[1]
        saved = json.loads(server.ask("GET", f"/reader/saved.json?form={session}")[2] or "{}").get("values", {})
        expect(not saved or saved["none"] == [other], "what was saved, for the page")
        expect(server.ask("POST", SAVE, long_one.replace("Session.ID&quot;&gt;", "Session.ID&quot;&gt;x")
                          .replace('Session.ID"&gt;', 'Session.ID"&gt;x').encode())[0] == 409, "a long one of nobody")
        # Fields that no form has, with full names of 4,000 bytes.
        deep = '<field name="nnnnnnnn">' * 440 + "".join(f'<field name="f{i}"/>' for i in range(20_000)) + "</field>" * 440
        most = memory(server)
        expect(server.ask("POST", SAVE, server.open_form().replace("<fields>", "<fields>" + deep, 1).encode())[0] == 200,
               "deep fields without value")
        # A sanitizer delays the release of memory.
        expect(SANITIZED or memory(server) - most < 150, f"they take {memory(server) - most} MB")
        # When the server is killed while it stores a submission, no part of it is visible, and the next start removes
        # the rest. Each round sends a submission, pauses the server and inspects the database, until it finds the
        # submission half stored.
        number, later = 4, count_raised(long_one)
        while server.process.poll() is None:
            number, later = number + 1, count_raised(later)
            sender = threading.Thread(target=server.send, args=(later.encode(),))
            sender.start()
            while server.process.poll() is None and rows(server, "SELECT max(id) FROM submissions") != [(number,)]:
                server.process.send_signal(signal.SIGSTOP)
                os.waitpid(server.process.pid, os.WUNTRACED)
                is_midway = rows(server, "SELECT 1 FROM unfinished") != []
                server.process.send_signal(signal.SIGKILL if is_midway else signal.SIGCONT)
                if is_midway:
                    server.process.wait(timeout=30)
            sender.join()
        left = rows(server, "SELECT submission FROM unfinished UNION SELECT submission FROM pieces WHERE submission > 2")
        expect(left == [(number,)], f"what is left: {left}")
        expect(len(server.stored()) == number - 1, "a submission that is not whole is seen")
    with Server(folder) as server:
        expect(rows(server, f"SELECT 1 FROM unfinished UNION ALL SELECT 1 FROM pieces WHERE submission = {number} "
                    f"UNION ALL SELECT 1 FROM fields WHERE submission = {number}") == [], "the next start drops it")
        expect(len(server.stored()) == number - 1, "the others stay")


def test_refused_at_the_start(folder):
    """Invalid stores, and settings that could be misinterpreted."""
    empty, damaged, foreign = (folder / name for name in ("empty", "damaged", "foreign"))
    for data in (empty, damaged, foreign):
        data.mkdir()
    (empty / "zforms.db").write_bytes(b"")
    (damaged / "zforms.db").write_bytes(b"no database " * 1000)
    with contextlib.closing(sqlite3.connect(foreign / "zforms.db")) as database:
        database.execute("CREATE TABLE forms(id)")
        database.commit()
    cases = [(["submissions", "--data", str(data)], "zforms.db" if data != damaged else "not a database")
             for data in (empty, damaged, foreign)]
    cases += [(["serve", "--port", "0", "--data", str(data)], said)
              for data, said in ((damaged, "not a database"), (foreign, "zforms.db"))]
    for number, (line, said) in enumerate((("port=99999", '"port" must be'), ("port=abc", '"port" must be'), ("folder=-3", '"folder" must be'),
                                           ("folder=12abc", '"folder" must be'), ("year=20x25", '"year" must be'), ("log=JSON", '"log" must be'),
                                           ("template=x", 'no setting "template"'), ("app=..", '"app" must be'),
                                           ("[server]", "no section [Server]"))):
        config = folder / f"{number}.ini"
        config.write_text(line if line.startswith("[") else f"[Server]\n{line}\n")
        cases.append((["serve", "--config", str(config)], said))
    for arguments, said in cases:
        status, _, err = zforms(*arguments)
        expect(status == 2 and said in err, arguments, (status, err))


def test_without_proc(folder):
    """The program finds its installed files even where /proc is not mounted."""
    if SANITIZED or not shutil.which("cc"):
        return
    code = "#include <errno.h>\nlong readlink(const char *path, char *to, unsigned long size) { errno = ENOENT; return -1; }"
    subprocess.run(["cc", "-xc", "-", "-shared", "-fPIC", "-o", folder / "proc.so"], input=code.encode(), check=True)
    server = subprocess.Popen([TOOL, "serve", "--port", "0"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              env={**os.environ, "LD_PRELOAD": str(folder / "proc.so")})
    said = server.stdout.readline()
    server.terminate()
    server.communicate()
    expect(said.startswith("Forms:") and said.endswith("/share/zforms/samples\n"), "the samples", said)


def test_versions_of_a_store(folder):
    """A store of the previous version can be used without change until it is upgraded. A store of a newer version is
    refused and not changed."""
    with Server(folder) as server:
        xfdf = server.open_form()
        expect(server.ask("POST", SAVE, xfdf.encode())[0] == 200, "a save")
        if not is_shared():
            same("while a server runs", zforms("store", "upgrade", server.data)[0], 2)
    STORES.make_old(server.data)
    for said, count in ((('version 1; "zforms store upgrade"', 1)), ("Store:", 2)):
        with Server(folder) as server:
            expect(said in server.started and (count == 1) == ("upgrade" in server.started), "what is said", server.started)
            xfdf = count_raised(xfdf)
            expect(server.ask("POST", SAVE, xfdf.encode())[0] == 200, f"going on with {said}")
            session = re.search(r'Session\.ID(?:"|&quot;)&gt;(\w+)', xfdf)[1]
            expect(server.ask("GET", f"/reader/saved.json?form={session}")[0] == 200, "the newest copy")
        out = zforms("store", "upgrade", server.data)
        same("upgrade", out[0::2], (0, ""))
        expect(("version 1 is now version 2" if count == 1 else "is of version 2 already") in out[1], "what it did", out)
    try:
        server.count("submissions", "INSERT INTO submissions(received, code, \"transaction\", count, folder, year, url, "
                     "xfdf) SELECT received, code, \"transaction\", count, folder, year, url, xfdf FROM submissions")
        expect(False, "the database refuses a second submission for a step of a transaction")
    except (sqlite3.IntegrityError, RuntimeError):
        same("submissions", server.count("submissions"), 3)
    target = STORES.address(folder, "copy")
    for command in (["submissions", "--data", target], ["store", "upgrade", target], ["store", "copy", target, folder / "new"]):
        for _ in range(2):
            status, _, err = zforms(*command)
            expect(status == 2 and "there is no store in this" in err, f"no store: {command}", err)
    source = [server.stored(), server.stored("--rejected"), zforms("rubrics", "--data", server.data)]
    same("copy", zforms("store", "copy", server.data, target), (0, "", ""))
    status, _, err = zforms("store", "copy", server.data, target)
    expect(status == 2 and ": the store is not empty" in err, "a second copy", err)
    server.data, original = target, server.data
    same("the copy", [server.stored(), server.stored("--rejected"), zforms("rubrics", "--data", server.data)], source)
    server.data = original
    STORES.make_new(server.data)
    for command in (["serve", "--port", "0"], ["submissions"], ["rubrics", "--set", "A.B=c"], ["store", "upgrade"]):
        status, _, err = zforms(*command, *(["--data"] if command[0] != "store" else []), server.data)
        expect(status == 2 and "has version 3, and this program knows versions up to 2" in err, command, (status, err))


def test_imported(folder):
    templates = folder / "templates"
    templates.mkdir()
    bare = (SAMPLES / "membership_form.pdf").read_bytes()
    for old, new in ((b"(ZOR)", b"(XOR)"), (b"save.cgi", b"sent.cgi"), (b"modify.cgi", b"change.cgi"), (b"/ID [", b"/IX [")):
        expect(old in bare, f"the sample has {old}")
        bare = bare.replace(old, new)
    (folder / "bare.pdf").write_bytes(bare)
    status, _, err = zforms("import", folder / "bare.pdf", "-o", templates / "F1.pdf")
    expect(status == 0 and err.count("added: ") == 4, "import", err)
    pdf = (templates / "F1.pdf").read_bytes()
    expect(pdf.startswith(bare), "what was added is appended")
    check_pdf(folder, pdf, "imported form")
    same("a second import", zforms("import", templates / "F1.pdf", "-o", folder / "again.pdf")[::2], (0, ""))
    status, _, err = zforms("import", folder / "bare.pdf", "-o", folder / "labelled.pdf", "--label", "Enregistrer", "Ändern")
    expect(status == 0 and err.count("on the first page") == 2, "import with labels", err)
    check_pdf(folder, (folder / "labelled.pdf").read_bytes(), "labelled form")
    if shutil.which("pdftotext"):
        drawn = subprocess.run(["pdftotext", folder / "labelled.pdf", "-"], stdout=subprocess.PIPE, check=True, timeout=60).stdout.decode()
        expect("Enregistrer" in drawn and "Ändern" in drawn, "the buttons show their labels", drawn)
    if shutil.which("qpdf"):
        # A form with cross-reference streams and object streams, which not every reader supports.
        modern = folder / "modern.pdf"
        subprocess.run(["qpdf", "--object-streams=generate", str(folder / "bare.pdf"), str(modern)], check=True, timeout=60)
        status, _, err = zforms("import", modern, "-o", templates / "F1.pdf")
        expect(status == 0 and "cross-reference table" in err, "a modern form", err)
        pdf = (templates / "F1.pdf").read_bytes()
        expect(b"/ObjStm" in modern.read_bytes() and b"/ObjStm" not in pdf and b"/XRef" not in pdf, "it became classic")
        check_pdf(folder, pdf, "imported modern form")
    with Server(folder, templates=templates) as server:
        status, out, err = zforms("submit", "F1", "--port", server.port, "--set", "adherent.nom=x")
        expect(status == 0 and "saved" in out, "an imported form is saved", err)


def ended_under_load(folder, number):
    """Sixteen clients read and save until the server ends; four of them do not wait for answers. Each submission that
    was answered as accepted is stored, and none is stored twice."""
    accepted, sent = [], []
    with Server(folder) as server:
        forms = [server.open_form() for _ in range(12)]

        def client(name):
            xfdf = forms.pop()
            for count in range(10000):
                value = f"{name}.{count}"
                sent.append(value)
                status, headers, _ = server.ask("POST", SAVE, with_value(xfdf, "adherent.nom", value).encode())
                if status != 200:
                    return
                expect(location(headers).endswith("consult"), f"{value}: {location(headers)}")
                accepted.append(value)
                xfdf = count_raised(xfdf)
                server.ask("GET", f"/App/acroform/get.cgi?code=membership_form&Action={('modify', 'consult')[count % 2]}")

        def hasty_client(name):
            for count in range(10000):
                value = f"{name}.{count}"
                sent.append(value)
                status, _, form = server.ask("POST", "/open.cgi?code=membership_form&as=xfdf")
                if status != 200 or not server.send(with_value(form.decode(), "adherent.nom", value).encode()):
                    return

        clients = [threading.Thread(target=hasty_client if i % 4 == 3 else client, args=(f"client{i}",))
                   for i in range(16)]
        for one in clients:
            one.start()
        while len(accepted) < 60 and any(one.is_alive() for one in clients):
            time.sleep(0.01)
        status = server.stop(number)
        for one in clients:
            one.join()
        stored = [one["fields"]["adherent.nom"] for one in server.stored()]
    name = signal.Signals(number).name
    expect(status == (0 if number == STOP else -number), f"{name}: exit status {status}")
    expect(len(accepted) >= 60, f"{name}: only {len(accepted)} were accepted")
    expect(not set(accepted) - set(stored), f"{name}: lost {sorted(set(accepted) - set(stored))}")
    expect(len(stored) == len(set(stored)) and set(stored) <= set(sent), f"{name}: doubled")
    with Server(folder) as server:
        # The database may have committed one more save after the server was killed.
        later = [one["fields"]["adherent.nom"] for one in server.stored()]
        expect(set(stored) <= set(later) <= set(sent) and len(later) == len(set(later)), f"{name}: the store opens again")


def test_a_form_that_cannot_be_modified_is_saved(folder):
    templates = folder / "templates"
    templates.mkdir()
    sample = (SAMPLES / "membership_form.pdf").read_bytes()
    (templates / "F1.pdf").write_bytes(sample.replace(b"modify.cgi", b"change.cgi"))
    with Server(folder, templates=templates) as server:
        status, out, err = zforms("submit", "F1", "--port", server.port, "--set", "adherent.nom=Zoé")
        expect(status == 0 and "saved; the server returned the form in mode readonly" in out, f"{status} {out} {err}")
        expect([one["fields"]["adherent.nom"] for one in server.stored()] == ["Zoé"], "the submission is stored")


def test_by_the_tool(folder):
    def submit(*arguments):
        status, out, err = zforms("submit", "--port", server.port, *arguments)
        return status, out + err

    answer, again = str(folder / "answer.pdf"), str(folder / "again.pdf")
    with Server(folder) as server:
        for arguments, status, said in (
                (["membership_form", "--set", "adherent.nom=Zoé", "-o", answer], 0, "saved; the server returned the form in mode consult"),
                ([answer, "-o", again], 0, "asked to modify; the server returned the form in mode modify"),
                ([again, "--set", "adherent.nom=Maë", "--set", "adherent.pays=Belgique"], 0, "saved; the server returned the form in mode consult"),
                ([again], 2, "refused, because a newer copy was saved before; the server returned the form in mode modify"),
                ([again, "--set", "nowhere=1"], 2, 'no field is named "nowhere"'),
                ([again, "--set", "adherent.non=1"], 2, 'no field is named "adherent.non"; did you mean adherent.nom?'),
                ([again, "--set", "adherent.pays=ZZ"], 2, 'field "adherent.pays": "ZZ" is not a choice of the field'),
                (["nothing"], 2, "status 404")):
            result = submit(*arguments)
            expect(result[0] == status and said in result[1], f"submit {arguments}: {result}")
        lines = zforms("submissions", "--data", server.data)[1].split("\r\n")
        expect(lines[0].startswith("id,received,code,folder,year,transaction,count,") and "adherent.nom" in lines[0]
               and "Zoé" in lines[1] and "Maë" in lines[2] and ",BE," in lines[2] and lines[3] == "", f"CSV: {lines}")
        submit("membership_form", "--set", "adherent.nom==HYPERLINK(A1)")
        for options, wanted in (([], ",'=HYPERLINK(A1),"), (["--raw"], ",=HYPERLINK(A1),")):
            expect(wanted in zforms("submissions", "--data", server.data, *options)[1], f"a formula with {options}")


def test_the_year_stays(folder):
    """Without --year the year of the store is used, so that a form opened in December can be saved in January."""
    with Server(folder, year=()) as server:
        now = time.gmtime().tm_year
        xfdf = server.open_form()
        expect(re.search(rf'Exercice(?:"|&quot;)&gt;{now}&lt;', xfdf) and "Year:" not in server.started, f"this year for a new store: {server.started}")
        expect(server.count("settings WHERE value = '%d'" % now) == 1, "the year is kept")
    # A store of an older program, which stored no year, with forms that were opened a year ago.
    server.count("forms", "DELETE FROM settings")
    server.count("forms", f"UPDATE forms SET year = {now - 1}")
    xfdf = re.sub(r'(Exercice(?:"|&quot;)&gt;)\d+', rf"\g<1>{now - 1}", xfdf)
    for count in range(2):
        with Server(folder, year=()) as server:
            expect(f"Year:   {now - 1}, as before; --year {now}" in server.started, f"the year that stays: {server.started}")
            status, headers, _ = server.ask("POST", SAVE, xfdf.encode())
            expect(status == 200 and location(headers).endswith("consult"), f"saved in the next year: {status}")
            xfdf = count_raised(xfdf)
        server.count("forms", "UPDATE forms SET year = 1")
    with Server(folder, year=("--year", f"{now}")):
        pass
    with Server(folder, year=()) as server:
        expect(server.ask("POST", SAVE, xfdf.encode())[0] == 409, "a year that was said holds for later starts")


def test_forms_expire(folder):
    """Forms that were never saved are removed after 30 days, or the time given by an option."""
    with Server(folder) as server:
        saved, unsaved, new = (server.open_form() for _ in range(3))
        expect(server.ask("POST", SAVE, saved.encode())[0] == 200, "one is saved")
    ids = [int(re.search(r'Transaction\.ID(?:"|&quot;)&gt;(\d+)', form)[1]) for form in (saved, unsaved, new)]
    aged = STORES.age(server.data, ids[:2], 31)
    for options, left in ((("--expire", "32"), 3), (("--expire", "0"), 3), ((), 2)):
        with Server(folder, *options) as server:
            expect(server.count("forms") == left, f"forms left with {options}: {server.count('forms')}")
            if left == 2:
                for form, status in ((unsaved.replace(str(ids[1]), str(aged[1])), 409), (new, 200),
                                     (count_raised(saved.replace(str(ids[0]), str(aged[0]))), 200)):
                    expect(server.ask("POST", SAVE, form.encode())[0] == status, f"a form after the time: not {status}")
    expect("expired: 1 form" in (folder / "log").read_text(), "the log tells of forms that expire")


def test_who_does_not_answer(folder):
    """The message about a port in use names the program that uses it. submit waits for an answer up to --timeout."""
    with socket.create_server(("127.0.0.1", 0)) as silent:
        port = silent.getsockname()[1]
        # Under Wine the tool sees only programs that Wine runs, so it cannot name this one.
        name = "in use" if WINDOWS else pathlib.Path("/proc/self/comm").read_text().strip()
        for arguments, words in (
                (["serve", "--port", str(port), "--data", str(folder / "data")], [f"port {port} is in use", name, "--port"]),
                (["submit", "F1", "--port", str(port), "--timeout", "1"], ["no answer came within 1 s"]),
                (["submit", "F1", "--timeout", "0"], ["--timeout"])):
            status, _, err = zforms(*arguments)
            expect(status == 2 and all(word in err for word in words), arguments, (status, err))


STARTED_BY_A_MANAGER = """
import os, sys
sockets = [int(number) for number in sys.argv[1].split(",")]
for place, number in enumerate(sockets, 3):
    os.dup2(number, place)
os.environ.update(LISTEN_PID=str(os.getpid()), LISTEN_FDS=str(len(sockets)))
os.execv(sys.argv[2], sys.argv[2:])
"""


def started_by_a_manager(folder, sockets):
    """Starts a server that inherits these sockets. Returns (its answer at the port of the first one, or None; exit
    status; errors)."""
    numbers = [max(os.dup(one.fileno()) for _ in range(10)) for one in sockets]
    command = [sys.executable, "-c", STARTED_BY_A_MANAGER, ",".join(map(str, numbers)), TOOL, "serve", "--templates",
               str(SAMPLES), "--data", str(folder / "data"), "--port", "1"]
    answer, (address, port) = None, (*sockets[0].getsockname(), 0)[:2]
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, pass_fds=numbers) as server:
        if any(line.startswith("Stop:") for line in server.stdout):
            connection = http.client.HTTPConnection(address, port, timeout=30)
            connection.request("GET", "/", headers={"Host": f"localhost:{port}"})
            answer = connection.getresponse().status
            connection.close()
        server.send_signal(STOP)
        _, err = server.communicate(timeout=30)
    return answer, server.returncode, err


def test_sockets_of_a_service_manager(folder):
    """A server uses one inherited socket that listens at a loopback address; it refuses other sockets and several."""
    try:
        with socket.socket(socket.AF_INET6) as probe:
            probe.bind(("::1", 0))
            second = "::1"
    except OSError:  # a machine without IPv6
        second = "127.0.0.2"
    for addresses, listen, is_served in ((["127.0.0.1"], True, True), ([second], True, True), (["0.0.0.0"], True, False),
                                         (["127.0.0.1"], False, False), (["127.0.0.1"] * 2, True, False),
                                         ([str(folder / "socket")], True, False)):
        with contextlib.ExitStack() as opened:
            kinds = {":": socket.AF_INET6, "/": socket.AF_UNIX}
            families = [next((kinds[mark] for mark in kinds if mark in one), socket.AF_INET) for one in addresses]
            sockets = [opened.enter_context(socket.socket(family)) for family in families]
            for one, family, address in zip(sockets, families, addresses):
                one.bind(address if family == socket.AF_UNIX else (address, 0))
                if listen:
                    one.listen()
            answer, status, err = started_by_a_manager(folder, sockets)
        wanted = answer == 200 and status == 0 if is_served else status == 2 and "socket of the service manager" in err
        expect(wanted, f"sockets of {addresses}, listening: {listen}", (answer, status, err))


def test_killed_under_load(folder):
    for number in range(4):
        (folder / str(number)).mkdir()
        ended_under_load(folder / str(number), signal.SIGKILL)


def test_stopped_under_load(folder):
    ended_under_load(folder, STOP)


if __name__ == "__main__":
    run_tests(globals())
