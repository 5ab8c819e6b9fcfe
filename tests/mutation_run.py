#!/usr/bin/env python3
"""Makes one small change to the code at a time and counts the changes that the tests notice.

mutation_run.py [--only TEXT] [--jobs N] [--list]

The changes are in mutations.txt. Each is made in a copy of the tree (build/mutation), which is built and tested: the
unit tests of the changed folder, all unit tests, then those of the tool. The run fails when fewer than 95 of 100 changes
are noticed, or when one no longer fits the code. With ccache, the copy uses the objects that were built for the tree.
"""

import argparse
import os
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
COPY = ROOT / "build/mutation"
LEAST_NOTICED = 0.95
TIMED_OUT = -1000
TOOL_TESTS = "tool_data_test|batch_test|change_rules_test|losses_test|damage_test|refusals_test|serve_test|fuzz_corpus"
# The test suites that are run first, for changed files in this folder.
SUITES = {"zforms/platform/http": "ZHTTP*:HTTP*", "zforms/server": "FormServer*:XFDFBuilder*:TemplateStorage*"}
QUICK_SUITES = "-ZHTTPServer*:FormServer*"


def read_changes():
    """Reads the changes as (file, old text, new text). Lines of the old text begin with "-", of the new text with "+"."""
    changes = []
    for block in (ROOT / "tests/mutations.txt").read_text(encoding="utf-8").strip().split("\n\n"):
        lines = [line for line in block.split("\n") if not line.startswith("#")]
        if lines:
            changes.append((lines[0], *("\n".join(line[2:] for line in lines[1:] if line[0] == mark) for mark in "-+")))
    return changes


def update_copy():
    """Copies the files that differ from the copy, so that little has to be built again. Links the npm packages."""
    (COPY / "build").mkdir(parents=True, exist_ok=True)
    if not (COPY / "build/npm").exists():
        (COPY / "build/npm").symlink_to(ROOT / "build/npm")
    names = subprocess.check_output(["git", "ls-files", "-z"], cwd=ROOT, text=True).split("\0")
    for name in filter(lambda name: name and (ROOT / name).is_file(), names):
        target, data = COPY / name, (ROOT / name).read_bytes()
        if not target.exists() or target.read_bytes() != data:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(data)
            target.chmod((ROOT / name).stat().st_mode)
    for path in (COPY / "zforms", COPY / "tool", COPY / "tests"):
        for file in path.rglob("*.*"):
            if file.is_file() and "__pycache__" not in file.parts and str(file.relative_to(COPY)) not in names:
                file.unlink()


def run(*command, seconds=3600):
    environment = {**os.environ, "CCACHE_BASEDIR": str(COPY), "CCACHE_NOHASHDIR": "1"}
    try:
        return subprocess.run(command, cwd=COPY, stdout=subprocess.DEVNULL, stderr=subprocess.STDOUT, check=False,
                              env=environment, timeout=seconds).returncode
    except subprocess.TimeoutExpired:
        return TIMED_OUT


def noticed_by(name, jobs):
    """The first suite that fails for the changed copy; "" if none does."""
    if run("cmake", "--build", "--preset", "dev", "--parallel", jobs, "--target", "zforms_tests"):
        return "the compiler"
    suites = next((suites for folder, suites in SUITES.items() if name.startswith(folder)), QUICK_SUITES)
    for suite in (suites, "*"):
        status = run("build/dev/tests/zforms_tests", "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={suite}",
                     seconds=1200)
        if status:
            return "a unit test that does not end" if status == TIMED_OUT else "a unit test"
    if run("cmake", "--build", "--preset", "dev", "--parallel", jobs) or run(
            "ctest", "--preset", "dev", "-R", TOOL_TESTS, "--stop-on-failure", "--parallel", jobs):
        return "a test of the tool"
    return ""


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--only", default="", help="only the changes whose file name holds TEXT")
    parser.add_argument("--jobs", default=str(os.cpu_count()), help="processes that build and test")
    parser.add_argument("--list", action="store_true", help="check that the changes fit the code, and end")
    options = parser.parse_args()
    changes = read_changes()
    stale = [change for change in changes
             if not (ROOT / change[0]).is_file() or (ROOT / change[0]).read_text(encoding="utf-8").count(change[1]) != 1]
    for name, old, _ in stale:
        print(f"does not occur exactly once in the code: {name}: {old}")
    if stale or options.list:
        return 1 if stale else 0
    update_copy()
    if run("cmake", "--preset", "dev") or noticed_by("", options.jobs):
        print("the build or a test fails even without a change")
        return 1
    chosen = [change for change in changes if options.only in change[0]]
    missed = 0
    for name, old, new in chosen:
        path = COPY / name
        text = path.read_text(encoding="utf-8")
        path.write_text(text.replace(old, new), encoding="utf-8")
        by = noticed_by(name, options.jobs)
        path.write_text(text, encoding="utf-8")
        print(f"{'noticed by ' + by if by else 'NOT NOTICED'}: {name}: {old} -> {new}", flush=True)
        missed += by in ("", "the compiler")
    print(f"{len(chosen) - missed} of {len(chosen)} changes noticed")
    return 0 if chosen and len(chosen) - missed >= LEAST_NOTICED * len(chosen) else 1


if __name__ == "__main__":
    sys.exit(main())
