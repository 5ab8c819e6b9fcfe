#!/usr/bin/env python3
"""Batches in shards and as archives make the forms of a single run, also after kills and with two runs of one shard.
The exit status distinguishes bad data from trouble that may be temporary."""

import io
import json
import os
import shutil
import subprocess
import tarfile
import time

from batch_test import SAMPLE, bytes_of, table
from tool_case import SANITIZED, STOP, TOOL, WINDOWS, expect, run_tests, same, zforms

NAMES = ["id", "adherent.nom"]
NOT_ON_WINDOWS = {"test_asked_to_stop": "its standard input cannot be kept open", "test_trouble": "its devices differ",
                  "test_other_file_systems": "its libraries cannot be replaced so"}


def people(folder, count, town="Sète"):
    return table(folder / "rows.csv", [*NAMES, "adherent.ville"], [[f"{i:04}", f"Łoś {i}", town] for i in range(count)])


def shard_command(data, out, shard, *more):
    return ["batch", SAMPLE, "--data", data, "--out", out, "--name", "{id}.pdf", "--draw", "no", "--shard", shard, *more]


def start(command):
    return subprocess.Popen([TOOL, *map(str, command)], stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def single_run(data, folder):
    same("a single run", zforms(*shard_command(data, folder, "1/1"))[0], 0)
    return bytes_of(folder)


def test_shards_are_a_single_run(folder):
    data, out = people(folder, 301), folder / "out"
    wanted = single_run(data, folder / "whole")
    runs = [start(shard_command(data, out, f"{i}/3", "--report", folder / f"{i}.json")) for i in (1, 2, 3)]
    same("statuses", [run.wait() for run in runs], [0, 0, 0])
    same("forms", bytes_of(out) == wanted, True)
    same("rows of each", [json.loads((folder / f"{i}.json").read_text())["filled"] for i in (1, 2, 3)], [101, 100, 100])
    reports = [folder / f"{i}.json" for i in (1, 2, 3)]
    status, text, err = zforms("batch", "--merge-reports", *reports, "--out", out)
    joined = json.loads(text)
    same("joined", (status, err, joined["filled"], joined["failures"], len(joined["shards"])), (0, "", 301, [], 3))
    for given, what in [(reports[:2], "shard 3 of 3 has no report"),
                        ([data], "is not the report of a batch with --shard"),
                        ([reports[0]] * 2, "two reports of shard 1 of 3"), ([folder / "none"], "cannot be read"),
                        ([*reports, "--out", folder], "no record of shard 3 of 3"), ([*reports, "--merge", "x"], "--merge")]:
        status, _, err = zforms("batch", "--merge-reports", *given, *(() if "--out" in given else ("--out", out)))
        expect(status == {"shard 3 of 3 has no report": 75, "no record of shard 3 of 3": 3}.get(what, 2) and what in err, what, (status, err))
    # A later run finds the files of the first one. All shards of a folder have the same N.
    other = shutil.copy(SAMPLE, folder / "other.pdf")
    with open(other, "ab") as file:
        file.write(b"\n")
    for label, command, status, said in [
            ("again", shard_command(data, out, "2/3"), 2, "--resume continues it"),
            ("resumed", shard_command(data, out, "2/3", "--resume"), 0, ""),
            ("other shards", shard_command(data, out, "1/4", "--resume"), 2, "contains a batch of 3 shards"),
            ("no shards", shard_command(data, out, "1/3")[:-2], 2, "contains a batch with --shard; use another folder"),
            ("another form", ["batch", other, *shard_command(data, out, "2/3", "--resume")[2:]],
             2, "differ from those of the earlier run of shard 2 of 3"),
            *((shard, shard_command(data, out, shard), 2, f'zforms: --shard: "{shard}" is not I/N') for shard in ("4/3", "0/3", "1/-3", "1/3/3", "")),
            ("no data", ["batch", SAMPLE, "--out", out], 2, "--data")]:
        got, _, err = zforms(*command)
        expect(got == status and said in err, label, (got, err))
    same("and changes nothing", bytes_of(out) == wanted, True)
    # Corrected rows are filled again. An earlier run with --overwrite that was killed does not prevent this.
    data = people(folder, 301, "Agde")
    wanted = single_run(data, folder / "agde")
    run = start(shard_command(data, out, "1/3", "--overwrite"))
    time.sleep(0.05)
    run.kill()
    run.wait()
    for shard, how in (("1/3", "--resume"), ("2/3", "--overwrite"), ("3/3", "--resume")):
        same(f"{how} {shard}", zforms(*shard_command(data, out, shard, how))[::2], (0, ""))
    same("corrected rows", bytes_of(out) == wanted, True)


def test_killed_and_doubled_shards(folder):
    """Runs that are killed, and two runs of one shard at the same time, as after a node is wrongly taken for lost."""
    data, out = people(folder, 1500), folder / "out"
    wanted = single_run(data, folder / "whole")
    kills = 0
    for attempt in range(8):
        runs = [start(shard_command(data, out, shard, "--resume", "--jobs", "1")) for shard in ("1/2", "2/2", "2/2")]
        time.sleep(0.03 + 0.02 * attempt)
        for run in runs:
            run.kill()
            kills += run.wait() != 0
        there = bytes_of(out) if out.is_dir() else {}
        broken = [name for name, form in there.items() if form != wanted.get(name)]
        same(f"half-written after {kills} kills", broken, [])
    expect(kills >= 6, "killed midway", kills)
    runs = [start(shard_command(data, out, shard, "--resume")) for shard in ("1/2", "2/2", "2/2", "1/2")]
    statuses = [run.wait() for run in runs]
    # One of two runs of a shard may remove the other's unfinished file; the other must then be run again.
    expect(set(statuses) <= {0, 75}, "statuses", statuses)
    same("the end", [zforms(*shard_command(data, out, shard, "--resume"))[::2] for shard in ("1/2", "2/2")], [(0, "")] * 2)
    same("every form once", bytes_of(out) == wanted, True)


def test_rows_that_want_one_name(folder):
    """If rows of two shards have the same file name, the first one gets it; --merge-reports names the other row."""
    out = folder / "out"
    rows = [["a", "A"], ["A", "B"], ["b", "C"], ["b", "C"], ["q", "F"], ["q", "G"], ["c", "D"], ["x", "E"]]
    data = table(folder / "rows.csv", NAMES, rows)
    reports = [folder / "1.json", folder / "2.json"]
    got = [zforms(*shard_command(data, out, f"{i}/2", "--report", report))[::2] for i, report in enumerate(reports, 1)]
    same("statuses", [status for status, _ in got], [0, 3])
    expect('line 7: its file "q.pdf": another shard or another program' in got[1][1], "refused", got)
    status, text, err = zforms("batch", "--merge-reports", *reports, "--out", out)
    joined = json.loads(text)
    said = [(failure["line"], failure["message"]) for failure in joined["failures"]]
    same("joined", (status, said), (3, [(line, f'the file name "{name}.pdf" is already used by line {of}')
                                        for line, name, of in ((3, "A", 2), (5, "b", 4), (7, "q", 6))]))
    same("counted", (joined["rows"], joined["filled"], joined["failed"]), (8, 5, 3))
    expect(all(message in err for _, message in said), "said", err)


LINKS = [  # label, the body of link() on such a file system
    ("no hard links", "errno = EPERM; return -1;"),
    ("a reply that is lost", "syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0); errno = EIO; return -1;"),
]


def test_other_file_systems(folder):
    """Files appear only when they are complete, and replace no other file, even where link() does not work as usual."""
    if SANITIZED or not shutil.which("cc"):
        return
    data = people(folder, 60)
    wanted = single_run(data, folder / "whole")
    for label, body in LINKS:
        library, out = folder / "link.so", folder / label
        source = "#include <errno.h>\n#include <fcntl.h>\n#include <sys/syscall.h>\n#include <unistd.h>\n"
        subprocess.run(["cc", "-xc", "-", "-D_GNU_SOURCE", "-shared", "-fPIC", "-o", library], check=True,
                       input=(source + "int link(const char *from, const char *to) { " + body + " }\n").encode())
        out.mkdir()
        (out / "0007.pdf").write_text("mine")
        for shard, status in (("1/2", 0), ("2/2", 3), ("2/2", 3)):
            done = subprocess.run([TOOL, *map(str, shard_command(data, out, shard, "--resume"))], stderr=subprocess.PIPE,
                                  env={**os.environ, "LD_PRELOAD": str(library)})
            same(f"{label}: {shard} {done.stderr}", done.returncode, status)
        same(label, bytes_of(out) == {**wanted, "0007.pdf": b"mine"}, True)


def test_trouble(folder):
    """The status is 75 for trouble that may be temporary, 2 for a wrong command and 3 for bad data. A later run
    completes the batch."""
    data, out = people(folder, 40), folder / "out"
    wanted = single_run(data, folder / "whole")
    (folder / "file").write_text("")
    (folder / "bad.csv").write_text("id,adherent.nom,adherent.pays\n1,A,ZZ\n")
    command = ["batch", SAMPLE, "--data", data, "--name", "{id}.pdf", "--draw", "no", "--out"]
    for label, arguments, status, said in [
            ("no folder", [*command, folder / "file" / "out"], 75, "cannot be created"),
            ("no report", [*command, out, "--report", folder / "none" / "r.json"], 75, "cannot be written"),
            ("a folder as report", [*command, out, "--report", folder], 2, "is a folder"),
            ("a folder as file", [*command[:-1], "--merge", folder], 2, "is a folder"),
            ("two streams", [*command, "-", "--report", "-"], 2, "cannot both go"),
            ("a bad value", [*command[:3], folder / "bad.csv", "--out", folder / "bad"], 3, "is not a choice of the field"),
            ("ended by it", [*command[:3], folder / "bad.csv", "--out", folder / "bad2", "--on-error", "stop"], 2, "stopped"),
            ("no table", [*command[:3], folder / "none", "--out", out], 2, "No such file")]:
        got, _, err = zforms(*arguments)
        expect(got == status and said in err, label, (got, err))
    limited = "ulimit -f 30; exec \"$@\""  # in blocks of 1 KB: a form is longer
    done = subprocess.run(["bash", "-c", "trap '' XFSZ; " + limited, "-", TOOL, *map(str, command), out, "--resume"], stderr=subprocess.PIPE)
    same("a full disk", (done.returncode, b"File too large" in done.stderr, sorted(bytes_of(out))), (75, True, []))
    same("later there is room", (zforms(*command, out, "--resume")[0], bytes_of(out) == wanted), (0, True))
    (folder / "link").symlink_to(folder / "report.json")
    (folder / "report.json").write_text("")
    for report in ("-", "/dev/fd/1", folder / "link"):
        text = zforms(*command, out, "--resume", "--report", report)[1] or (folder / "report.json").read_text()
        same(f"the report at {report}", (json.loads(text)["filled_before"], (folder / "link").is_symlink()), (40, True))
    for label, target in (("a full disk", open("/dev/full", "wb")), ("nobody reads", subprocess.Popen(["true"], stdin=subprocess.PIPE).stdin)):
        with target:
            done = subprocess.run([TOOL, *map(str, command), "-"], stdout=target, stderr=subprocess.PIPE)
            same(f"archive: {label}", (done.returncode, done.stderr.count(b"standard output cannot be written")), (75, 1))


def test_asked_to_stop(folder):
    """A run that is asked to stop finishes rows that it began. --resume makes the others, also from copied data."""
    data, out = people(folder, 12000), folder / "out"
    wanted = single_run(data, folder / "whole")
    text = data.read_bytes()
    run = subprocess.Popen([TOOL, *map(str, shard_command("-", out, "1/1", "--jobs", "2"))], stdin=subprocess.PIPE, stderr=subprocess.PIPE)
    run.stdin.write(text[:300000])  # more than is read at once
    run.stdin.flush()
    while not out.is_dir() or not any(name.startswith(".zforms-shard") for name in os.listdir(out)):
        time.sleep(0.01)
    run.send_signal(STOP)
    err = run.communicate()[1]
    same("stopped", (run.returncode, b"stopped by a signal" in err), (75, True))
    there = bytes_of(out)
    expect(len(there) < len(wanted) and all(form == wanted[name] for name, form in there.items()), "whole forms", len(there))
    same("nothing unfinished", [name for name in os.listdir(out) if name.startswith(".zforms-part")], [])
    same("resumed", zforms(*shard_command(data, out, "1/1", "--resume"))[::2], (0, ""))
    same("every form once", bytes_of(out) == wanted, True)


def test_archives(folder):
    names = ["plain", "accent é", "x" * 89, "x" * 90, "é" * 80, "plain"]
    data = table(folder / "rows.csv", ["id", "adherent.nom"], [[name, f"Łoś {i}"] for i, name in enumerate(names * 30)])
    command = ["batch", SAMPLE, "--data", data, "--name", "{id}-{row}.pdf", "--draw", "no", "--out"]
    same("a folder", zforms(*command, folder / "out")[0], 0)
    archives = []
    for jobs in ("1", "3"):
        done = subprocess.run([TOOL, *map(str, command), "-", "--jobs", jobs, "--report", folder / "r.json"], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        same("status", (done.returncode, done.stderr), (0, b""))
        archives.append(done.stdout)
    same("jobs change nothing", archives[0] == archives[1], True)
    with tarfile.open(fileobj=io.BytesIO(archives[0])) as archive:
        members = archive.getmembers()
        got = {member.name: archive.extractfile(member).read() for member in members}
    same("forms", got == bytes_of(folder / "out"), True)
    same("times and owners", {(member.mtime, member.uid, member.gid, member.mode) for member in members}, {(0, 0, 0, 0o644)})
    listed = subprocess.run(["tar", "-t", "--quoting-style=literal"], input=archives[0], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    same("as tar lists it", (listed.returncode, listed.stderr, listed.stdout.decode().split()), (0, b"", " ".join(got).split()))
    same("in the order of rows", [json.loads((folder / "r.json").read_text())["filled"], [m.name[-10:-4] for m in members]],
         [180, [f"{i:06}" for i in range(1, 181)]])
    parts = [subprocess.run([TOOL, *map(str, command), "-", "--shard", shard], stdout=subprocess.PIPE).stdout for shard in ("1/2", "2/2")]
    same("in shards", sum((tarfile.open(fileobj=io.BytesIO(part)).getnames() for part in parts), []), [*list(got)[::2], *list(got)[1::2]])
    done = subprocess.run([TOOL, *map(str, command[:5]), "{id}.pdf", *map(str, command[6:]), "-"],
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    same("names that are taken", (done.returncode, done.stderr.count(b"is already used by line")), (3, 100))
    status, _, err = zforms(*command, "-", "--resume")
    expect(status == 2 and "need a folder" in err, "not continued", err)


if __name__ == "__main__":
    run_tests(globals())
