#!/usr/bin/env python3
"""Checks the sources of a compilation database with clang-tidy.

lint_sources.py BUILD FOLDER...

Skips a source when an earlier run found nothing in the same text after preprocessing, with the same options and rules.
That record is kept below $XDG_CACHE_HOME or ~/.cache, for all checkouts of this machine. JOBS limits the processes.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TIDY = "clang-tidy-14"
RECORD = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "zforms-lint"


def commands(build, folders):
    """The compiler's arguments for each source below the folders, without its output."""
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        path = pathlib.Path(entry["directory"], entry["file"]).resolve()
        if not path.is_relative_to(ROOT) or path.relative_to(ROOT).parts[0] not in folders:
            continue
        arguments = entry.get("arguments") or shlex.split(entry["command"])
        output = arguments.index("-o")
        yield path, entry["directory"], [one for one in arguments[:output] + arguments[output + 2:] if one != "-c"]


def key_of(directory, arguments, rules):
    """A hash of what clang-tidy will see, comments included; None when the source cannot be preprocessed."""
    done = subprocess.run([*arguments, "-E", "-CC"], cwd=directory, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
    if done.returncode != 0:
        return None
    here = str(ROOT).encode()
    parts = [rules, " ".join(arguments).encode().replace(here, b""), done.stdout.replace(here, b"")]
    return hashlib.sha256(b"\0".join(parts)).hexdigest()


def check(build, rules, path, directory, arguments):
    """What clang-tidy reports about the source, "" when it finds nothing, and whether an earlier run recorded this."""
    key = key_of(directory, arguments, rules)
    if key and (RECORD / key).exists():
        return "", True
    done = subprocess.run([TIDY, "--quiet", "-p", str(build), str(path)], cwd=ROOT, text=True, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    if done.returncode == 0 and not done.stdout.strip():
        if key:
            (RECORD / key).touch()
        return "", False
    return done.stdout.strip() or done.stderr.strip() or f"{path}: {TIDY} ended with {done.returncode}", False


def main():
    build, folders = ROOT / sys.argv[1], sys.argv[2:]
    RECORD.mkdir(parents=True, exist_ok=True)
    version = subprocess.run([TIDY, "--version"], stdout=subprocess.PIPE, check=True).stdout
    rules = version + (ROOT / ".clang-tidy").read_bytes()
    jobs = int(os.environ.get("JOBS") or os.cpu_count())
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        results = list(pool.map(lambda one: check(build, rules, *one), commands(build, folders)))
    findings = [said for said, _ in results if said]
    print("\n".join(findings), file=sys.stderr, end="\n" if findings else "")
    known = sum(was_known for _, was_known in results)
    print(f"clang-tidy: {len(results)} sources, {known} of them unchanged since they were found clean, {len(findings)} with findings")
    return 1 if findings or not results else 0


if __name__ == "__main__":
    sys.exit(main())
