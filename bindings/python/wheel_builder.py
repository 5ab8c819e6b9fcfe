"""Builds the wheel of zforms for this machine: the package and the shared library (a build backend of PEP 517).

    python3 wheel_builder.py LIBRARY FOLDER    makes the wheel in FOLDER and prints its name

When pip or another front end builds the wheel, the environment variable ZFORMS_LIBRARY gives the path of the library.
The wheel holds no other library. A wheel for other machines would also have to hold the libraries that this one is linked with.
"""

from __future__ import annotations

import base64
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import sysconfig
import tempfile
import zipfile

HERE = pathlib.Path(__file__).resolve().parent
# The date of all files, so that two builds give the same bytes. It is the earliest date that ZIP can store.
DATE = (1980, 1, 1, 0, 0, 0)
EXECUTABLE, PLAIN = 0o755 << 16, 0o644 << 16


def _version() -> str:
    """The version in the CMake project."""
    found = re.search(r"^project\(zforms VERSION ([\d.]+)", (HERE.parent.parent / "CMakeLists.txt").read_text(), re.M)
    assert found is not None
    return found[1]


def _library_name(version: str) -> str:
    """The name under which the package loads the library: see zforms/_library.py."""
    short = version.rpartition(".")[0]
    return {"win32": "zforms.dll", "darwin": f"libzforms.{short}.dylib"}.get(sys.platform, f"libzforms.so.{short}")


def _library_bytes(path: str) -> bytes:
    """The bytes of the library, without debugging symbols where the system has the program strip."""
    with tempfile.TemporaryDirectory() as folder:
        copy = pathlib.Path(folder) / "library"
        shutil.copy(path, copy)
        if shutil.which("strip"):
            subprocess.run(["strip", "--strip-unneeded", str(copy)], check=True)
        return copy.read_bytes()


def _metadata(version: str) -> str:
    return (f"Metadata-Version: 2.1\nName: zforms\nVersion: {version}\nSummary: PDF forms: read, fill, write\n"
            "License: MIT\nRequires-Python: >=3.9\nDescription-Content-Type: text/markdown\n\n"
            + (HERE / "README.md").read_text(encoding="utf-8"))


def _files(library: str, version: str, tag: str) -> dict[str, bytes]:
    """The files of the wheel by name, without RECORD, which lists them."""
    files = {f"zforms/{path.name}": path.read_bytes() for path in sorted((HERE / "zforms").iterdir()) if path.is_file()}
    files[f"zforms/{_library_name(version)}"] = _library_bytes(library)
    info = f"zforms-{version}.dist-info"
    files[f"{info}/METADATA"] = _metadata(version).encode()
    files[f"{info}/WHEEL"] = f"Wheel-Version: 1.0\nGenerator: zforms\nRoot-Is-Purelib: false\nTag: {tag}\n".encode()
    files[f"{info}/LICENSE"] = (HERE.parent.parent / "LICENSE").read_bytes()
    return files


def build(library: str, folder: str) -> str:
    """Writes the wheel into the folder and returns its name."""
    version = _version()
    tag = "py3-none-" + re.sub(r"[-.]", "_", sysconfig.get_platform())
    files = _files(library, version, tag)
    record = ""
    for name, data in files.items():
        digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
        record += f"{name},sha256={digest},{len(data)}\n"
    record_name = f"zforms-{version}.dist-info/RECORD"
    files[record_name] = f"{record}{record_name},,\n".encode()
    wheel = f"zforms-{version}-{tag}.whl"
    with zipfile.ZipFile(pathlib.Path(folder) / wheel, "w", zipfile.ZIP_DEFLATED) as out:
        for name, data in files.items():
            entry = zipfile.ZipInfo(name, DATE)
            entry.external_attr = EXECUTABLE if ".so" in name else PLAIN
            entry.compress_type = zipfile.ZIP_DEFLATED
            out.writestr(entry, data)
    return wheel


def build_wheel(wheel_directory: str, config_settings: object = None, metadata_directory: object = None) -> str:
    """Builds the wheel for a front end (PEP 517)."""
    library = os.environ.get("ZFORMS_LIBRARY")
    if not library:
        raise SystemExit("wheel_builder: ZFORMS_LIBRARY must name the shared library")
    return build(library, wheel_directory)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    print(build(sys.argv[1], sys.argv[2]))
