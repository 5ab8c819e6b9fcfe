#!/usr/bin/env python3
"""Measures how batches of the sample form grow: over shards, to many rows, and into one file. Prints Markdown tables.

scale.py TOOL [--rows N] [--most N] [--merged N] [--jobs N] [--folder DIR]

--rows: rows of the batch that is divided into shards. --most: the longest table, whose archive is thrown away; the
shorter ones are a tenth and a hundredth of it. --merged: the same for one file. The work goes to DIR.
"""

import argparse
import os
import pathlib
import subprocess
import tempfile
import time

from batch import SAMPLE, table, timed


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
        before = os.times()
        seconds, memory = timed(command(data))
        after = os.times()
        used = after.children_user - before.children_user + after.children_system - before.children_system
        memories.append(memory)
        size = f"{(folder / 'all.pdf').stat().st_size / 1e6:.1f}" if (folder / "all.pdf").exists() else ""
        print(f"| {rows:,} | {seconds:.1f} | {used:.1f} | {rows / used:,.0f} | {memory:.1f} | {size} |", flush=True)
    for few, many, part in ((0, 1, most // 10 - most // 100), (1, 2, most - most // 10)):
        more = (memories[many] - memories[few]) * 1024 * 1024 / part
        print(f"{'' if few else chr(10)}Memory of each row after the first {most // 10 ** (2 - few):,}: {more:.1f} bytes", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", type=pathlib.Path)
    parser.add_argument("--rows", type=int, default=20000)
    parser.add_argument("--most", type=int, default=1000000)
    parser.add_argument("--merged", type=int, default=100000)
    parser.add_argument("--jobs", default="2", help="of the archive and the file")
    parser.add_argument("--folder", default=None)
    options = parser.parse_args()
    tool = options.tool.resolve()
    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        folder = pathlib.Path(name)
        if options.rows:
            shards(tool, folder, options.rows)
        if options.most:
            growth("as an archive", options.most, folder, lambda data: [
                "sh", "-c", 'exec "$0" batch "$1" --data "$2" --jobs "$3" --out - >/dev/null', tool, SAMPLE, data, options.jobs])
        if options.merged:
            growth("as one file", options.merged, folder, lambda data: [
                tool, "batch", SAMPLE, "--data", data, "--jobs", options.jobs, "--merge", folder / "all.pdf"])


if __name__ == "__main__":
    main()
