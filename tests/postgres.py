"""A PostgreSQL server for tests: Debian's programs in a new folder, run by an ordinary user, on a Unix socket."""

import contextlib
import os
import pathlib
import pwd
import shutil
import subprocess
import tempfile


def programs():
    """The folder with the programs of the newest installed PostgreSQL; None when there is none."""
    found = sorted(pathlib.Path("/usr/lib/postgresql").glob("*/bin/postgres"), key=lambda path: int(path.parts[-3]))
    return found[-1].parent if found else None


class Cluster:
    """A server that runs until stop(). PostgreSQL refuses to run as root: then the user is "postgres" or "nobody"."""

    def __init__(self, *settings):
        self.bin = programs()
        # Not in the folder of a test, which the other user cannot enter. The path of a socket has at most 107 bytes.
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zforms-pg-", dir="/tmp"))
        self.as_user = []
        if os.geteuid() == 0:
            names = {user.pw_name for user in pwd.getpwall()}
            name = "postgres" if "postgres" in names else "nobody"
            shutil.chown(self.folder, name)
            self.as_user = ["setpriv", f"--reuid={name}", f"--regid={pwd.getpwnam(name).pw_gid}", "--clear-groups"]
        self.settings = ["listen_addresses=", f"unix_socket_directories={self.folder}", *settings]
        self.run("initdb", "--no-sync", "-A", "trust", "-U", "zforms", "-E", "UTF8", "--locale=C")
        self.start()

    def run(self, program, *arguments, check=True):
        command = [*self.as_user, self.bin / program, "-D", self.folder / "data", *arguments]
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=check, timeout=120,
                              cwd="/", env={**os.environ, "LC_ALL": "C", "HOME": str(self.folder)})

    def start(self):
        options = " ".join(f"-c {setting}" for setting in self.settings)
        self.run("pg_ctl", "-w", "-l", self.folder / "log", "-o", options, "start")

    def halt(self, mode="immediate"):
        self.run("pg_ctl", "-w", "-m", mode, "stop")

    def stop(self):
        self.run("pg_ctl", "-m", "immediate", "stop", check=False)
        shutil.rmtree(self.folder, ignore_errors=True)

    def address(self, database, user="zforms"):
        return f"postgresql://{user}@/{database}?host={self.folder}"

    def sql(self, database, text):
        """Runs the statements; returns their rows as lists of texts."""
        command = [self.bin / "psql", "-XAtqF", "\t", "-v", "ON_ERROR_STOP=1", "-h", self.folder, "-U", "zforms", database]
        out = subprocess.run(command, input=text, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60)
        if out.returncode != 0:
            raise RuntimeError(out.stdout)
        return [line.split("\t") for line in out.stdout.splitlines()]

    def create(self, database):
        self.sql("postgres", f'CREATE DATABASE "{database}"')
        return self.address(database)


@contextlib.contextmanager
def cluster(*settings):
    one = Cluster(*settings)
    try:
        yield one
    finally:
        one.stop()
