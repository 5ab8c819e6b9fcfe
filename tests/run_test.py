#!/usr/bin/env python3
"""Without the needed packages, ./run installs them in one step, or names all; the demo builds no benchmarks.

The programs that it calls are replaced by scripts that record their arguments."""

import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
NEEDED = ("bash", "dirname", "mkdir", "date", "tail", "nproc", "env", "cmp", "cat", "sed", "stat", "find")
STUBS = {"dpkg-query": "exit 1", "apt-get": 'echo "apt-get $*" >>"$CALLS"; echo said; echo "pmstatus:qpdf:40.0:half"',
         "cmake": 'echo "cmake $*" >>"$CALLS"'}


def demo(folder, user):
    """Runs the demo as this user; returns (what it printed, the calls of programs, the log of apt)."""
    programs = folder / "programs"
    programs.mkdir(parents=True)
    for name in NEEDED:
        (programs / name).symlink_to(shutil.which(name))
    for name, text in {**STUBS, "id": f"echo {user}"}.items():
        (programs / name).write_text(f"#!{shutil.which('bash')}\n{text}\n")
        (programs / name).chmod(0o755)
    shutil.copy(ROOT / "run", folder)
    (folder / "build").mkdir()
    (folder / "build/apt.log").write_text("before\n")
    (folder / "calls").touch()
    done = subprocess.run([folder / "run", "demo"], env={"PATH": str(programs), "CALLS": str(folder / "calls")},
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60)
    return done.stdout, (folder / "calls").read_text().splitlines(), (folder / "build/apt.log").read_text()


def main():
    failures = []
    wanted = ("g++", "qpdf", "mupdf-tools", "npm")  # for the build, for the demo, for the page
    with tempfile.TemporaryDirectory() as folder:
        said, calls, log = demo(pathlib.Path(folder) / "user", 1000)
        if any(call.startswith("apt-get") for call in calls) or not all(name in said.split() for name in wanted):
            failures.append(f"without sudo: {said} {calls}")
        said, calls, log = demo(pathlib.Path(folder) / "root", 0)
        installs = [call.split() for call in calls if call.startswith("apt-get install")]
        if len(installs) != 1 or not all(installs[0].count(name) == 1 for name in wanted):
            failures.append(f"as root: {calls}")
        if not log.startswith("before\n") or log.count("said\n") != 2 or "pmstatus" in log + said:
            failures.append(f"the log: {log}")
        builds = [call for call in calls if call.startswith("cmake --build")]
        if len(builds) != 1 or not builds[0].endswith(" --target zforms_cli zforms_reader"):
            failures.append(f"what the demo builds: {calls}")
    for failure in failures:
        print(failure)
    print("run_test:", f"{len(failures)} failures" if failures else "passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
