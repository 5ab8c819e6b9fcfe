#!/usr/bin/env python3
"""Measures the requests per second of the form server, and of nginx with the same bytes.

server.py TOOL [--seconds S] [--connections N] [--flat REQUESTS] [--data DIR]

Serves the sample forms. wrk sends four kinds of requests over N open connections: for a static file of nginx, for a
form to be read, for a form to be modified, and posts that save a form (each connection saves its own transaction step
by step). Prints requests per second, their ratio to nginx, and the 50th and 99th percentiles of the time an answer
takes. The saves are counted in the store. With --flat the server then answers REQUESTS more requests, and its memory is
printed too. DIR, the data folder, decides which disk the saves are written to. Needs nginx, wrk and sqlite3 of Python.
"""

import argparse
import contextlib
import os
import pathlib
import re
import shutil
import socket
import sqlite3
import subprocess
import sys
import tempfile
import time
import urllib.request

SAMPLES = pathlib.Path(__file__).resolve().parent.parent / "samples"
CODE = "membership_form"
COUNT = 'name="Transaction.Count"&gt;0&lt;'

POSTS = r"""
local count, head, tail = 0
local threads = 0
function setup(thread)
  thread:set("number", threads)
  threads = threads + 1
end
function init()
  local file = assert(io.open("%(folder)s/" .. number .. ".xfdf", "rb"))
  local text = file:read("*a")
  local from, to = text:find(%(mark)s, 1, true)
  head, tail = text:sub(1, from - 1) .. 'name="Transaction.Count"&gt;', "&lt;" .. text:sub(to + 1)
  wrk.headers["Content-Type"] = "application/vnd.adobe.xfdf"
end
function request()
  count = count + 1
  return wrk.format("POST", nil, nil, head .. (count - 1) .. tail)
end
"""

NGINX = """
worker_processes auto;
daemon off;
pid {folder}/nginx.pid;
error_log {folder}/nginx.log;
events {{ worker_connections 256; }}
http {{
  access_log {folder}/access.log;
  client_body_temp_path {folder}; proxy_temp_path {folder}; fastcgi_temp_path {folder};
  uwsgi_temp_path {folder}; scgi_temp_path {folder};
  keepalive_requests 1000000000;
  types {{ application/pdf pdf; }}
  server {{ listen 127.0.0.1:{port}; root {folder}/www; }}
}}
"""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


@contextlib.contextmanager
def running(command, log, url):
    """Starts a server, waits until it answers at the address, and stops it at the end of the block."""
    with open(log, "wb") as output:
        process = subprocess.Popen([str(part) for part in command], stdout=output, stderr=subprocess.STDOUT)
    try:
        for _ in range(200):
            try:
                fetch(url)
                break
            except OSError:
                if process.poll() is not None:
                    sys.exit(f"{command[0]} has ended: {pathlib.Path(log).read_text()}")
                time.sleep(0.05)
        yield process
    finally:
        process.terminate()
        process.wait()


def fetch(url, posted=None):
    with urllib.request.urlopen(url, posted, timeout=10) as answer:
        return answer.read()


def seconds(text):
    number, unit = re.fullmatch(r"([\d.]+)(us|ms|s|m)", text).groups()
    return float(number) * {"us": 1e-6, "ms": 1e-3, "s": 1, "m": 60}[unit]


def wrk(url, options, script=None):
    """(requests per second, median, 99th percentile in seconds, number of requests) of one run."""
    command = ["wrk", "--latency", f"-t{options.connections if script else min(2, options.connections)}",
               f"-c{options.connections}", f"-d{options.seconds}s", *(["-s", script] if script else []), url]
    text = subprocess.run(list(map(str, command)), capture_output=True, text=True, check=True).stdout
    if re.search(r"Non-2xx|Socket errors", text):
        sys.exit(f"some requests failed:\n{text}")
    times = {percent: seconds(value) for percent, value in re.findall(r"(\d+)%\s+([\d.]+\w+)", text)}
    return (float(re.search(r"Requests/sec:\s+([\d.]+)", text)[1]), times["50"], times["99"],
            int(re.search(r"(\d+) requests in", text)[1]))


def resident(process):
    """The memory of the process in MB."""
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
    return int(re.search(r"VmRSS:\s+(\d+) kB", status)[1]) / 1024


def stored(data):
    with contextlib.closing(sqlite3.connect(f"file:{data}/zforms.db?mode=ro", uri=True)) as store:
        return store.execute("SELECT (SELECT count(*) FROM submissions), (SELECT count(*) FROM rejected)").fetchone()


class Bench:
    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        self.nginx_port, self.port = free_port(), free_port()
        self.base = f"http://localhost:{self.port}"

    def form(self, action):
        return f"{self.base}/zforms/acroform/get.cgi?code={CODE}&Action={action}"

    def line(self, name, run, peer=None):
        rate, median, late, _ = run
        ratio = f"{rate / peer[0]:6.2f}" if peer else " " * 6
        print(f"{name:24}{rate:12.0f}{ratio}{median * 1e3:10.2f} ms{late * 1e3:10.2f} ms", flush=True)
        return run

    def post(self, data):
        for i in range(self.options.connections):
            text = fetch(f"{self.base}/open.cgi?code={CODE}&as=xfdf", b"").decode()
            assert COUNT in text
            (self.folder / f"{i}.xfdf").write_text(text, encoding="utf-8")
        script = self.folder / "posts.lua"
        script.write_text(POSTS % {"folder": self.folder, "mark": f"'{COUNT}'"}, encoding="utf-8")
        run = self.line("save, stored", wrk(f"{self.base}/zforms/xfdf/save.cgi?code={CODE}", self.options, script))
        accepted, rejected = stored(data)
        # When wrk ends, it closes each connection while a request is running. So some saves were stored that wrk did
        # not count.
        if rejected or not run[3] <= accepted <= run[3] + self.options.connections:
            sys.exit(f"{run[3]} saves were answered, {accepted} stored, {rejected} rejected")
        print(f"{'':24}{accepted:12} stored, none rejected")

    def measure(self, data, server):
        www = self.folder / "www"
        for action in ("readonly", "modify"):
            (www / f"{action}.pdf").write_bytes(fetch(self.form(action)))
        print(f"{'':24}{'requests/s':>12} ratio{'median':>13}{'99 %':>13}")
        for action in ("readonly", "modify"):
            peer = self.line(f"nginx, {action}.pdf", wrk(f"http://127.0.0.1:{self.nginx_port}/{action}.pdf", self.options))
            self.line(f"get.cgi, {action}", wrk(self.form(action), self.options), peer)
        self.post(data)
        print(f"memory {resident(server):.1f} MB", flush=True)
        done = 0
        while done < self.options.flat:
            done += wrk(self.form("readonly"), self.options)[3] + wrk(self.form("modify"), self.options)[3]
            print(f"memory {resident(server):.1f} MB after {done} further requests", flush=True)

    def run(self):
        (self.folder / "www").mkdir()
        os.chmod(self.folder, 0o755)
        config = self.folder / "nginx.conf"
        config.write_text(NGINX.format(folder=self.folder, port=self.nginx_port), encoding="utf-8")
        (self.folder / "www" / "index.html").write_text("ready")
        data = pathlib.Path(tempfile.mkdtemp(dir=self.options.data))
        serve = [self.options.tool, "serve", "--templates", SAMPLES, "--data", data, "--port", self.port]
        try:
            with (running(["nginx", "-c", config], self.folder / "nginx.out", f"http://127.0.0.1:{self.nginx_port}/"),
                  running(serve, self.folder / "serve.log", self.base) as server):
                self.measure(data, server)
        finally:
            shutil.rmtree(data)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", type=pathlib.Path)
    parser.add_argument("--seconds", type=int, default=10)
    parser.add_argument("--connections", type=int, default=4)
    parser.add_argument("--flat", type=int, default=0)
    parser.add_argument("--data")
    options = parser.parse_args()
    missing = [name for name in ("nginx", "wrk") if not shutil.which(name)]
    if missing:
        sys.exit(f"server.py: not installed: {', '.join(missing)}")
    options.tool = options.tool.resolve()
    with tempfile.TemporaryDirectory() as folder:
        Bench(options, pathlib.Path(folder)).run()


if __name__ == "__main__":
    main()
