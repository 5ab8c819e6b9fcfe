#!/usr/bin/env python3
"""The recipes for several machines (packaging/cluster): a Slurm of one controller and two nodes on this machine, GNU
parallel, and the manifest for Kubernetes as text.

cluster_test.py [ROWS [TASKS]]   runs only the Slurm recipe with this many rows and tasks, and prints how long it took
"""

import getpass
import json
import os
import pathlib
import shlex
import shutil
import socket
import subprocess
import sys
import tempfile
import time

from batch_test import SAMPLE, bytes_of
from shard_test import people, single_run
from tool_case import ROOT, SANITIZED, SKIPPED, TOOL, expect, failures, run_tests, same, skip

CLUSTER = ROOT / "packaging/cluster"
PATIENCE = 300  # seconds; only a fault takes this long
os.environ["PATH"] += ":/usr/sbin:/sbin"

CONFIGURATION = """
ClusterName=zforms
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={ports[0]}
SlurmUser={user}
SlurmdUser={user}
AuthType=auth/munge
CredType=cred/munge
AuthInfo=socket={folder}/munge.socket,cred_expire=5
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool.%n
SlurmctldPidFile={folder}/controller.pid
SlurmdPidFile={folder}/%n.pid
SlurmctldLogFile={folder}/controller.log
SlurmdLogFile={folder}/%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SwitchType=switch/none
MpiDefault=none
ReturnToService=2
KillWait=5
AccountingStorageType=accounting_storage/none
JobAcctGatherType=jobacct_gather/none
NodeName=node1 NodeHostname={host} NodeAddr=127.0.0.1 Port={ports[1]} CPUs={cpus} State=UNKNOWN
NodeName=node2 NodeHostname={host} NodeAddr=127.0.0.1 Port={ports[2]} CPUs={cpus} State=UNKNOWN
PartitionName=main Nodes=node1,node2 Default=YES MaxTime=INFINITE State=UP
"""

# The program of the tasks: at their first start, shard 3 is killed midway, and shard 6 waits until it is requeued.
WRAPPER = """#!/bin/bash
if [ "${{SLURM_RESTART_COUNT:-0}}" -gt 0 ] || {{ [ "$SLURM_ARRAY_TASK_ID" != 3 ] && [ "$SLURM_ARRAY_TASK_ID" != 6 ]; }}; then
  exec {tool} "$@"
fi
{tool} "$@" &
child=$!
trap 'kill -CONT $child; kill -TERM $child' TERM
record={out}/.zforms-shard-$SLURM_ARRAY_TASK_ID-of-$SLURM_ARRAY_TASK_COUNT.1
until [ -e "$record" ] && [ "$(wc -l <"$record")" -gt 20 ]; do :; done
kill -STOP $child
touch {folder}/stopped.$SLURM_ARRAY_TASK_ID
[ "$SLURM_ARRAY_TASK_ID" != 3 ] || kill -KILL $child
wait $child
status=$?
while kill -0 $child 2>/dev/null; do wait $child; status=$?; done
exit $status
"""


def missing_programs():
    return [program for program in ("munged", "slurmctld", "slurmd", "sbatch", "scontrol") if not shutil.which(program)]


def wait_for(label, is_there):
    end = time.monotonic() + PATIENCE
    while not is_there():
        if time.monotonic() > end:
            sys.exit(f"cluster_test: timed out waiting for {label}")
        time.sleep(0.1)


def free_ports(count):
    sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(count)]
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


class Slurm:
    """A Slurm cluster of two nodes on this machine, with all its files in a folder; the with statement ends it."""

    def __init__(self, folder):
        self.folder, self.processes = folder, []
        self.environment = {**os.environ, "SLURM_CONF": str(folder / "slurm.conf")}

    def start(self, *command):
        with open(self.folder / f"{command[0]}.out", "ab") as output:
            self.processes.append(subprocess.Popen([*map(str, command)], env=self.environment, stdout=output, stderr=output))

    def ask(self, *command):
        done = subprocess.run([*map(str, command)], env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return done.stdout

    def __enter__(self):
        os.chmod(self.folder, 0o755)
        (self.folder / "state").mkdir()
        cpus = os.cpu_count()
        (self.folder / "slurm.conf").write_text(CONFIGURATION.format(
            folder=self.folder, host=socket.gethostname(), user=getpass.getuser(), ports=free_ports(3), cpus=max(1, cpus // 2)))
        key = self.folder / "munge.key"
        key.write_bytes(os.urandom(128))
        key.chmod(0o400)
        self.start("munged", "--foreground", "--force", f"--socket={self.folder}/munge.socket", f"--key-file={key}",
                   f"--pid-file={self.folder}/munge.pid", f"--log-file={self.folder}/munge.log", f"--seed-file={self.folder}/munge.seed")
        wait_for("munged", (self.folder / "munge.socket").exists)
        self.start("slurmctld", "-D", "-i")
        for node in ("node1", "node2"):
            self.start("slurmd", "-D", "-N", node)
        wait_for("the nodes", lambda: self.ask("sinfo", "-h", "-o", "%D %t") == "2 idle\n")
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
        for process in self.processes:
            process.wait()


def run_array(slurm, data, out, tasks, tool):
    """Submits the recipe; returns the number of the job."""
    slurm.environment["ZFORMS"] = str(tool)
    said = slurm.ask("sbatch", "--parsable", f"--array=1-{tasks}", f"--output={slurm.folder}/task.%a.log", CLUSTER / "slurm_batch.sh",
                     SAMPLE, data, out, "--name", "{id}.pdf", "--draw", "no")
    return int(said) if expect(said.strip().isdigit(), "submitted", said) else 0


def wait_for_array(slurm, job):
    wait_for("the end of the array", lambda: slurm.ask("squeue", "-h", "-j", str(job)).strip() in ("", "slurm_load_jobs error: Invalid job id specified"))


def join_reports(out):
    reports = sorted(pathlib.Path(f"{out}.reports").glob("*.json"))
    done = subprocess.run([TOOL, "batch", "--merge-reports", *reports, "--out", out], stdout=subprocess.PIPE)
    return done.returncode, json.loads(done.stdout)


def test_slurm(folder):
    if missing := missing_programs():
        return skip(f"Slurm: {', '.join(missing)} not installed (Debian: slurm-wlm, munge)")
    data, out, rows, tasks = people(folder, 5000), folder / "out", 5000, 8
    wanted = single_run(data, folder / "whole")
    wrapper = folder / "wrapper.sh"
    wrapper.write_text(WRAPPER.format(tool=shlex.quote(TOOL), out=out, folder=folder))
    wrapper.chmod(0o755)
    with Slurm(folder) as slurm:
        job = run_array(slurm, data, out, tasks, wrapper)
        wait_for("shard 6", (folder / "stopped.6").exists)
        same("requeued", slurm.ask("scontrol", "requeue", f"{job}_6"), "")
        wait_for_array(slurm, job)
    status, joined = join_reports(out)
    same("reports", (status, joined["rows"], joined["failed"], len(joined["shards"])), (0, rows, 0, tasks))
    again = {shard["shard"] for shard in joined["shards"] if shard["filled_before"] > 0}
    same("continued", again, {"3/8", "6/8"})
    same("every row once, as in a single run", bytes_of(out) == wanted, True)


def test_parallel(folder):
    if not shutil.which("parallel"):
        return skip("GNU parallel is not installed (Debian: parallel)")
    data, out = people(folder, 301), folder / "o ut"
    wanted = single_run(data, folder / "whole")
    done = subprocess.run([CLUSTER / "parallel_batch.sh", SAMPLE, data, out, "--name", "{id}.pdf", "--draw", "no"],
                          env={**os.environ, "ZFORMS": TOOL, "SHARDS": "5"}, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    same(f"status: {done.stdout}", done.returncode, 0)
    same("as in a single run", bytes_of(out) == wanted, True)
    same("the reports", json.loads((folder / "o ut.reports/all.json").read_text())["filled"], 301)


def test_kubernetes_manifest(folder):
    """Without Kubernetes: checks that the numbers in the manifest agree, and that the tool accepts its command."""
    lines = [line.split(" #")[0].rstrip() for line in (CLUSTER / "kubernetes_batch.yaml").read_text().splitlines()]
    values = {line.split(":")[0].strip(" -"): line.split(":", 1)[1].strip(' "') for line in lines if ":" in line}
    same("indexed", (values["completionMode"], values["restartPolicy"], values["completions"]), ("Indexed", "Never", values["value"]))
    start = lines.index("            - |") + 1
    end = next(i for i in range(start, len(lines)) if not lines[i].startswith(" " * 14))
    script = "\n".join(line[14:] for line in lines[start:end]).replace("zforms batch", f"{shlex.quote(TOOL)} batch")
    place = folder / "forms"
    place.mkdir()
    shutil.copy(SAMPLE, place / "form.pdf")
    people(folder, 20).rename(place / "rows.csv")
    script = script.replace("/forms", str(place))
    for index in ("0", "1"):
        done = subprocess.run(["sh", "-c", script], env={**os.environ, "JOB_COMPLETION_INDEX": index, "SHARDS": "2"}, stderr=subprocess.PIPE)
        same(f"pod {index}: {done.stderr}", done.returncode, 0)
    same("forms", len(bytes_of(place / "out")), 20)


def measure(rows, tasks):
    """Runs only the Slurm recipe, and prints the times of a single run and of the tasks."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        data, out = people(folder, rows), folder / "out"
        start = time.monotonic()
        wanted = single_run(data, folder / "whole")
        print(f"a single run of {rows} rows: {time.monotonic() - start:.1f} s", flush=True)
        with Slurm(folder) as slurm:
            start = time.monotonic()
            wait_for_array(slurm, run_array(slurm, data, out, tasks, TOOL))
            print(f"{tasks} tasks on two nodes: {time.monotonic() - start:.1f} s", flush=True)
        same("every row once, as in a single run", (join_reports(out)[0], bytes_of(out) == wanted), (0, True))
    print(*failures or ["every row is there once, with the bytes of the single run"], sep="\n")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    if len(sys.argv) > 1 and sys.argv[1].isdigit():
        measure(int(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 8)
    if SANITIZED:
        print("cluster_test: skipped in a build with sanitizers, which is tested by shard_test")
        sys.exit(SKIPPED)
    run_tests(globals())
