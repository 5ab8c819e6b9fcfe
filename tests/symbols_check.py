#!/usr/bin/env python3
"""Checks that the shared library shows the names of zforms alone, and none of the libraries that it is built from.

A host may link another version of Boost; a name of Boost that this library shows would then be mixed up with its own.
"""

import os
import re
import subprocess
import sys
from pathlib import Path

OWN = re.compile(r"((vtable|typeinfo|typeinfo name|VTT|construction vtable|guard variable) for |"
                 r"((non-)?virtual|covariant return) thunk to )?zforms::|zforms_\w+$")
# Far fewer than there are: with less than this the library lacks its interface.
LEAST = 500


def main():
    library = Path(os.environ["ZFORMS_TOOL"]).resolve().parent.parent / "libzforms.so"
    names = subprocess.check_output(["nm", "--dynamic", "--defined-only", "--demangle", str(library)], text=True)
    # "address kind name"; a template's name begins with what it returns.
    shown = [line.split(" ", 2)[2] for line in names.splitlines()]
    foreign = [name for name in shown if not OWN.match(name)]
    for name in foreign[:20]:
        print(f"shown, but not a name of zforms: {name}")
    own = len(shown) - len(foreign)
    print(f"{own} names of zforms ({LEAST} at least), {len(foreign)} others")
    return 1 if foreign or own < LEAST else 0


if __name__ == "__main__":
    sys.exit(main())
