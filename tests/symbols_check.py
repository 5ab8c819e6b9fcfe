#!/usr/bin/env python3
"""Checks that the shared library exports only the names of zforms, and none of the libraries that it is built from.

A host may link another version of Boost: if this library exported names of Boost, the host could call the wrong ones.
A header that exports symbols must be installed, or included by the tool. The functions of the C interface that are
exported, those that its headers declare, and those in the symbols file of the Debian package must be the same.
"""

import os
import re
import subprocess
import sys
from pathlib import Path

OWN = re.compile(r"((vtable|typeinfo|typeinfo name|VTT|construction vtable|guard variable) for |"
                 r"((non-)?virtual|covariant return) thunk to )?zforms::|zforms_\w+$")
# The library exports many more symbols. With fewer than this, its interface is missing.
LEAST = 500


def needlessly_exporting(root):
    """The headers that export symbols although neither a host nor the tool includes them."""
    public = set(re.findall(r"^ +(\S+\.h)$", (root / "cmake/ZformsPublicHeaders.cmake").read_text(), re.M))
    tool = " ".join(source.read_text() for source in (root / "tool").rglob("*.[ch]*") if source.suffix in (".h", ".cpp"))
    names = (header.relative_to(root / "zforms").as_posix() for header in (root / "zforms").rglob("*.h")
             if "ZFORMS_API" in header.read_text())
    return sorted(name for name in names if name not in public and f'"zforms/{name}"' not in tool)


def c_functions(root):
    """The functions that the headers of the C interface declare."""
    headers = "".join(header.read_text() for header in (root / "zforms").glob("zforms*.h"))
    return set(re.findall(r"^ZFORMS_API [^(;]*?\b(zforms_\w+)\(", headers, re.M))


def main():
    library = Path(os.environ["ZFORMS_TOOL"]).resolve().parent.parent / "libzforms.so"
    names = subprocess.check_output(["nm", "--dynamic", "--defined-only", "--demangle", str(library)], text=True)
    # "address kind name"; the name of a template begins with its return type.
    shown = [line.split(" ", 2)[2] for line in names.splitlines()]
    foreign = [name for name in shown if not OWN.match(name)]
    for name in foreign[:20]:
        print(f"exported, but not a name of zforms: {name}")
    root = Path(os.environ["ZFORMS_SOURCE_DIR"])
    declared, exported = c_functions(root), {name for name in shown if name.startswith("zforms_")}
    packaged = set(re.findall(r"^ (zforms_\w+)@Base", (root / "packaging/debian/libzforms0.symbols").read_text(), re.M))
    for name in sorted(declared ^ packaged):
        print(f"packaging/debian/libzforms0.symbols {'lacks' if name in declared else 'has'} {name}")
    for name in sorted(declared ^ exported):
        print(f"{name} of the C interface is {'not exported' if name in declared else 'in no header'}")
    needless = needlessly_exporting(root)
    for name in needless:
        print(f"zforms/{name} exports what neither a host nor the tool can include")
    own = len(shown) - len(foreign)
    print(f"{own} names of zforms ({LEAST} at least), {len(foreign)} others, {len(declared)} functions of the C interface")
    return 1 if foreign or needless or own < LEAST or not declared or not declared == exported == packaged else 0


if __name__ == "__main__":
    sys.exit(main())
