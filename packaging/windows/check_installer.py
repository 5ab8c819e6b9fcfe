#!/usr/bin/env python3
"""check_installer.py SETUP VERSION: installs zforms under Wine without showing dialogs, uses it, and removes it.
WINEPREFIX is the folder of the Wine installation."""

import os
import pathlib
import subprocess
import sys
import time

WINE = "/usr/lib/wine/wine64"
FOLDER = "zforms-é"
ENVIRONMENT = r"HKLM\SYSTEM\CurrentControlSet\Control\Session Manager\Environment"
UNINSTALL = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\zforms"


def wine(*arguments):
    """(exit status, standard output)"""
    done = subprocess.run([WINE, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, timeout=120)
    return done.returncode, done.stdout.decode("utf-8", "replace")


def is_on_path():
    # Leaves out the last letter, which is printed in the code page of the console.
    return f"C:\\{FOLDER[:-1]}".lower() in wine("reg", "query", ENVIRONMENT, "/v", "Path")[1].lower()


def main():
    setup, version = sys.argv[1:]
    place = pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c" / FOLDER
    faults = []

    def check(right, what):
        if not right:
            faults.append(what)

    # The last argument is the folder, without quotes; Wine would quote one with blanks.
    if wine(setup, "/S", f"/D=C:\\{FOLDER}")[0] != 0 or not place.is_dir():
        print("check_installer: nothing was installed")
        return 1
    files = {str(path.relative_to(place)) for path in place.rglob("*") if path.is_file()}
    wanted = {"bin/zforms.exe", "bin/zforms.dll", "include/zforms/zforms.h", "lib/libzforms.dll.a", "lib/zforms.lib", "lib/zforms.def",
              "share/zforms/samples/membership_form.pdf", "share/zforms/reader/index.html", "LICENSE.txt", "uninstall.exe"}
    check(wanted <= files, f"not installed: {sorted(wanted - files)}")
    check(any(name.startswith("licences/") for name in files), "no licences are installed")
    check(is_on_path(), "the PATH lacks the program")
    check(wine("reg", "query", UNINSTALL, "/v", "DisplayVersion")[1].find(version) >= 0, "Windows does not list the program")
    # Finds the program by the PATH, as a new console does.
    check(version in wine("cmd", "/c", "zforms", "--version")[1], "the program does not run")
    status, fields = wine("cmd", "/c", "zforms", "fields", f"C:\\{FOLDER}\\share\\zforms\\samples\\membership_form.pdf")
    check(status == 0 and "adherent.nom" in fields, "the program does not list the fields of a sample")
    other = place / "lib/of another program.txt"
    other.write_text("kept")
    check(wine(f"C:\\{FOLDER}\\uninstall.exe", "/S")[0] == 0, "the uninstaller failed")
    # The uninstaller returns at once: a copy of it does the work.
    for _ in range(120):
        left = [path for path in place.rglob("*") if path.is_file()]
        if left == [other]:
            break
        time.sleep(0.5)
    check(left == [other], f"left after removal: {[str(path) for path in left]}")
    check(not is_on_path(), "the PATH still has the program")
    check(wine("reg", "query", UNINSTALL)[0] != 0, "Windows still lists the program")
    other.unlink(missing_ok=True)
    for folder in (other.parent, place):
        if folder.is_dir() and not any(folder.iterdir()):
            folder.rmdir()
    print("\n".join(f"check_installer: {fault}" for fault in faults) or f"check_installer: {len(files)} files installed and removed")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
