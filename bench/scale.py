#!/usr/bin/env python3
"""Measures the time and memory of batches of the sample form: divided into shards, with many rows, written to one file,
and with rows from a PostgreSQL database compared with the same rows from CSV. Prints Markdown tables.

scale.py TOOL [--rows N] [--most N] [--merged N] [--database N] [--jobs N] [--folder DIR]

--rows: the rows of the batch that is divided into shards. --most: the rows of the longest of three tables that
are filled into an archive; the others have a tenth and a hundredth of these rows. The archive is discarded. --merged:
likewise for tables that are filled into one file. --database: the rows of the longer of two tables that are read from
both sources; its forms are not drawn. The shorter table has a tenth of these rows, and its forms are drawn. 0 leaves a
part out. Files are written below DIR.
"""

import argparse
import os
import pathlib
import subprocess
import sys
import tempfile
import time

from batch import SAMPLE, row, table, timed

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests"))
import postgres


def shards(tool, folder, rows):
    data = table(folder / "rows.csv", rows)
    print("| shards, a process each | seconds | rows a second | rows a second of one processor |\n| --: | --: | --: | --: |", flush=True)
    for count in (1, 2, 1, 2):
        out = tempfile.mkdtemp(dir=folder)
        start = time.monotonic()
        runs = [subprocess.Popen([tool, "batch", SAMPLE, "--data", data, "--out", out, "--jobs", "1", "--shard", f"{i}/{count}"])
                for i in range(1, count + 1)]
        ends = [os.wait4(run.pid, 0) for run in runs]
        if any(status for _, status, _ in ends):
            raise SystemExit("a shard failed")
        seconds = time.monotonic() - start
        used = sum(usage.ru_utime + usage.ru_stime for _, _, usage in ends)
        print(f"| {count} | {seconds:.2f} | {rows / seconds:,.0f} | {rows / used:,.0f} |", flush=True)


def growth(label, most, folder, command):
    print(f"\n| rows, {label} | seconds | processor seconds | rows a processor second | peak memory, MB | size, MB |\n"
          "| --: | --: | --: | --: | --: | --: |", flush=True)
    memories = []
    for rows in (most // 100, most // 10, most):
        data = table(folder / "rows.csv", rows)
        seconds, used, memory = measured(command(data))
        memories.append(memory)
        size = f"{(folder / 'all.pdf').stat().st_size / 1e6:.1f}" if (folder / "all.pdf").exists() else ""
        print(f"| {rows:,} | {seconds:.1f} | {used:.1f} | {rows / used:,.0f} | {memory:.1f} | {size} |", flush=True)
    for few, many, part in ((0, 1, most // 10 - most // 100), (1, 2, most - most // 10)):
        more = (memories[many] - memories[few]) * 1024 * 1024 / part
        print(f"{'' if few else chr(10)}Memory of each row after the first {most // 10 ** (2 - few):,}: {more:.1f} bytes", flush=True)


def archive(tool, jobs, *data):
    return ["sh", "-c", 'exec "$@" >/dev/null', "-", tool, "batch", SAMPLE, "--jobs", jobs, "--out", "-", *data]


def measured(command):
    """(seconds, processor seconds, peak memory in MB)"""
    before = os.times()
    seconds, memory = timed(command)
    after = os.times()
    return seconds, after.children_user - before.children_user + after.children_system - before.children_system, memory


def sources(tool, folder, most, jobs):
    print("\n| rows from | rows | drawn | seconds | processor seconds | rows a processor second | peak memory, MB |\n"
          "| --- | --: | --- | --: | --: | --: | --: |", flush=True)
    names = ", ".join(f'"{name}"' for name in row(0))
    with postgres.cluster() as cluster:
        address = cluster.create("bench")
        cluster.sql("bench", f"CREATE TABLE rows(nr serial PRIMARY KEY, {names.replace(',', ' text,')} text)")
        for count, drawing in ((most // 10, "yes"), (most, "no")):
            data = table(folder / "rows.csv", count)
            cluster.sql("bench", f"TRUNCATE rows RESTART IDENTITY;\n\\copy rows({names}) FROM '{data}' CSV HEADER\n")
            for _ in range(2):
                for label, given in (("CSV", ["--data", data]),
                                     ("PostgreSQL", ["--data", address, "--query", f"SELECT {names} FROM rows ORDER BY nr"])):
                    seconds, used, memory = measured(archive(tool, jobs, *given, "--draw", drawing))
                    print(f"| {label} | {count:,} | {drawing} | {seconds:.1f} | {used:.1f} | {count / used:,.0f} | {memory:.1f} |", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", type=pathlib.Path)
    parser.add_argument("--rows", type=int, default=20000)
    parser.add_argument("--most", type=int, default=1000000)
    parser.add_argument("--merged", type=int, default=100000)
    parser.add_argument("--database", type=int, default=100000)
    parser.add_argument("--jobs", default="2", help="of the archive and the file")
    parser.add_argument("--folder", default=None)
    options = parser.parse_args()
    tool = options.tool.resolve()
    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        folder = pathlib.Path(name)
        if options.rows:
            shards(tool, folder, options.rows)
        if options.most:
            growth("as an archive", options.most, folder, lambda data: archive(tool, options.jobs, "--data", data))
        if options.merged:
            growth("as one file", options.merged, folder, lambda data: [
                tool, "batch", SAMPLE, "--data", data, "--jobs", options.jobs, "--merge", folder / "all.pdf"])
        if options.database:
            sources(tool, folder, options.database, options.jobs)


if __name__ == "__main__":
    main()
