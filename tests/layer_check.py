#!/usr/bin/env python3
"""Checks that the sources follow the rules of docs/architecture.md for its rooms (folders of sources).

layer_check.py [ROOT]        checks a tree (by default the one that holds this script)
layer_check.py --self-test   checks the checker, on small trees made to break each rule

What is checked: a file includes only its own room and the rooms that it may know; no include cycle; no room
with more than 25 units (a header with its sources is one unit); third-party headers only where they belong;
quoted includes name a file from the root; a source includes its own header first; code for one operating
system is in a file of its own, not in #ifdef.
"""

import fnmatch
import graphlib
import re
import sys
import tempfile
from pathlib import Path

# For each room the rooms that it may include; it may also include whatever these may include. A room can list only
# rooms above it in this table, so that there is no cycle among rooms.
ROOMS = {
    "zforms/platform/base": [],
    "zforms/platform/text": ["zforms/platform/base"],
    "zforms/platform/files": ["zforms/platform/text"],
    "zforms/platform/data": ["zforms/platform/files"],
    "zforms/platform/xml": ["zforms/platform/data"],
    "zforms/platform/crypto": ["zforms/platform/base"],
    "zforms/platform/http": ["zforms/platform/files"],
    "zforms/platform/host": ["zforms/platform/data"],
    "zforms/pdf/syntax": ["zforms/platform/base"],
    "zforms/pdf": ["zforms/pdf/syntax"],
    "zforms/pdf/crypt": ["zforms/pdf", "zforms/platform/crypto", "zforms/platform/text"],
    "zforms/pdf/parser": ["zforms/pdf/crypt", "zforms/platform/files"],
    "zforms/pdf/writer": ["zforms/pdf/crypt", "zforms/platform/files"],
    "zforms/xfdf": ["zforms/pdf/parser", "zforms/platform/xml"],
    "zforms/acroform": ["zforms/xfdf", "zforms/pdf/writer"],
    "zforms/xfdf/mapping": ["zforms/acroform"],
    "zforms/appearance/fonts": ["zforms/acroform"],
    "zforms/appearance": ["zforms/appearance/fonts"],
    "zforms/calculation": ["zforms/acroform"],
    "zforms/filling": ["zforms/xfdf/mapping", "zforms/appearance", "zforms/calculation"],
    "zforms": ["zforms/filling"],
    "zforms/server": ["zforms/filling", "zforms/platform/http", "zforms/platform/host"],
    "zforms/c": ["zforms", "zforms/server"],
    "tool/base": ["zforms/platform/files"],
    "tool/forms": ["tool/base", "zforms", "zforms/server"],
    "tool/postgres": ["tool/base"],
    "tool/data": ["tool/forms", "tool/postgres"],
    "tool/batch": ["tool/data"],
    "tool/store": ["tool/postgres", "zforms/platform/crypto"],
    "tool/office": ["tool/data", "tool/store"],
    "tool/pages": ["tool/office"],
    "tool/cli": ["tool/batch", "tool/pages"],
}
# Folders that are not rooms of the product; they may include everything.
AROUND = ["tests", "bench", "fuzz", "examples"]
MOST_UNITS = 25

# Third-party headers (by the start of the included name) and the files that may include them. In the library these are
# sources, and headers that are not installed.
THIRD_PARTY = [
    ("utf8proc", ["zforms/platform/text/*.cpp"]),
    ("pugixml", ["zforms/platform/xml/*.cpp", "zforms/xfdf/*.cpp"]),
    ("boost/", ["zforms/platform/http/*.cpp", "zforms/platform/http/http_connection.h"]),
    ("zlib", ["zforms/pdf/parser/stream_filters.cpp", "tests/*"]),
    ("ft2build", ["zforms/appearance/*.cpp"]),
    ("freetype/", ["zforms/appearance/*.cpp"]),
    ("hb", ["zforms/appearance/*.cpp"]),
    ("fribidi", ["zforms/appearance/*.cpp"]),
    ("linebreak", ["zforms/appearance/*.cpp"]),
    ("nettle/", ["zforms/platform/crypto/*_posix.cpp", "zforms/platform/crypto/rc4.cpp"]),
    ("bcrypt.h", ["zforms/platform/crypto/cng_win32.h"]),
    ("fontconfig/", ["zforms/appearance/*_posix.cpp"]),
    ("CLI/", ["tool/cli/*"]),
    ("nlohmann/", ["zforms/filling/*.cpp", "tool/*"]),
    ("sqlite3", ["tool/base/statement.h", "tool/batch/*", "tool/store/*"]),
    ("gtest/", ["tests/*"]),
    ("gmock/", ["tests/*"]),
    ("benchmark/", ["bench/*"]),
]

OS_MACRO = re.compile(r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*\b(_WIN32|_WIN64|WIN32|_MSC_VER|__linux__|__unix__|__APPLE__)\b")
OS_MACRO_ALLOWED = ["zforms/platform/base/export.h"]
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')
BLOCK_COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)
SUFFIXES = {".h", ".hpp", ".cpp", ".cc"}


def matches(name, patterns):
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)


def room_of(name):
    """The room of a file: its folder, or the top folder if that is in AROUND; None for other files."""
    folder = name.rpartition("/")[0]
    top = folder.split("/")[0]
    return folder if folder in ROOMS else top if top in AROUND else None


def known_by(room):
    """The rooms that a room may include, with itself; None means all."""
    if room in AROUND:
        return None
    known, open_rooms = set(), [room]
    while open_rooms:
        one = open_rooms.pop()
        if one not in known:
            known.add(one)
            open_rooms += ROOMS[one]
    return known


def unit_of(name):
    """The unit of a file. A header, its source and its sources for one system are one unit."""
    return re.sub(r"(_posix|_win32)?\.[a-z]+$", "", name)


def read_tree(root):
    """{file name: its lines, block comments blanked out} for every source below the folders of the rooms."""
    tree = {}
    for top in sorted({room.split("/")[0] for room in [*ROOMS, *AROUND]}):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in SUFFIXES and path.is_file():
                text = path.read_text(encoding="utf-8", errors="replace")
                text = BLOCK_COMMENT.sub(lambda comment: "\n" * comment.group().count("\n"), text)
                tree[path.relative_to(root).as_posix()] = text.split("\n")
    return tree


def includes_of(lines):
    """[(line number, included name, whether it is quoted)]"""
    found = []
    for number, line in enumerate(lines, 1):
        include = INCLUDE.match(line)
        if include:
            found.append((number, include[1] or include[2], include[1] is not None))
    return found


def check_file(name, lines, tree):
    room = room_of(name)
    if room is None:
        yield f"{name}: belongs to no room"
        return
    known = known_by(room)
    includes = includes_of(lines)
    for number, included, quoted in includes:
        where = f"{name}:{number}"
        for start, allowed in THIRD_PARTY:
            if included.startswith(start) and not matches(name, allowed):
                yield f"{where}: <{included}> may be included only by {', '.join(allowed)}"
        if included in tree:
            if known is not None and room_of(included) not in known:
                yield f"{where}: {room} may not know \"{included}\""
        elif quoted and not any(included.startswith(start) for start, _ in THIRD_PARTY):
            yield f"{where}: \"{included}\" is no file below the root"
    own = name.rsplit(".", 1)[0] + ".h"
    if not name.endswith(".h") and own in tree and (not includes or includes[0][1] != own):
        yield f"{name}: includes its own header \"{own}\" not first"
    if not matches(name, OS_MACRO_ALLOWED):
        for number, line in enumerate(lines, 1):
            macro = OS_MACRO.match(line)
            if macro:
                yield f"{name}:{number}: {macro[1]}: put what differs into a file of its own (_posix, _win32)"


def find_cycles(tree):
    """A message for one include cycle, if there is any."""
    known_by_name = {name: [to for _, to, _ in includes_of(lines) if to in tree] for name, lines in tree.items()}
    try:
        graphlib.TopologicalSorter(known_by_name).prepare()
    except graphlib.CycleError as error:
        yield "include cycle: " + " <- ".join(error.args[1])


def find_order_faults(rooms):
    """Messages for rooms that list a room that is not above them in the table."""
    above = set()
    for room, knows in rooms.items():
        for other in knows:
            if other not in above:
                yield f"table of rooms: {room} names {other}, which is not above it"
        above.add(room)


def find_crowded_rooms(tree):
    units = {}
    for name in tree:
        room = room_of(name)
        if room in ROOMS:
            units.setdefault(room, set()).add(unit_of(name))
    for room, inside in units.items():
        if len(inside) > MOST_UNITS:
            yield f"{room}: {len(inside)} units, {MOST_UNITS} at most: cut the room in two"


def check(root):
    """(number of files checked, messages)"""
    tree = read_tree(root)
    faults = [fault for name, lines in tree.items() for fault in check_file(name, lines, tree)]
    faults += find_order_faults(ROOMS)
    faults += find_crowded_rooms(tree)
    return len(tree), faults + list(find_cycles(tree))


# --- self test -------------------------------------------------------------------------------------

# A tree without faults; each case below adds or replaces files and lists the expected faults.
GOOD = {
    "zforms/platform/base/chaine.h": "#pragma once\n#include <string>\n",
    "zforms/platform/base/chaine.cpp": '#include "zforms/platform/base/chaine.h"\n',
    "zforms/platform/base/export.h": "#if defined(_WIN32)\n#endif\n",
    "zforms/platform/xml/xml.cpp": "#include <pugixml.hpp>\n",
    "zforms/platform/http/engine.cpp": "#include <boost/asio.hpp>\n",
    "zforms/pdf/syntax/tokenized_string.h": '#include "zforms/platform/base/chaine.h"\n',
    "zforms/pdf/node.h": '#include "zforms/pdf/syntax/tokenized_string.h"\n',
    "zforms/pdf/parser/parser.h": '#include "zforms/pdf/node.h"\n',
    "zforms/acroform/form.h": '#include "zforms/pdf/parser/parser.h"\n/*\n#include "tool/cli/fill.h"\n*/\n',
    "tool/cli/fill.h": '#include <CLI/CLI.hpp>\n#include <nlohmann/json.hpp>\n#include "zforms/acroform/form.h"\n',
    "tests/acroform/form_test.cpp": '#include <gtest/gtest.h>\n#include "tool/cli/fill.h"\n',
}

CASES = [
    ("all rules kept", {}, []),
    ("a node includes the parser", {"zforms/pdf/node.h": '#include "zforms/pdf/parser/parser.h"\n'},
     ["zforms/pdf/node.h:1: zforms/pdf may not know \"zforms/pdf/parser/parser.h\"", "include cycle: "]),
    ("a syntax class knows a node", {"zforms/pdf/syntax/x.cpp": '#include "zforms/pdf/node.h"\n'},
     ["zforms/pdf/syntax/x.cpp:1: zforms/pdf/syntax may not know"]),
    ("http and host know each other", {"zforms/platform/host/x.cpp": '#include "zforms/platform/http/y.h"\n',
                                       "zforms/platform/http/y.h": ""},
     ["zforms/platform/host/x.cpp:1: zforms/platform/host may not know"]),
    ("the library includes a test, in angle brackets",
     {"zforms/pdf/name.cpp": "#include <tests/acroform/form_test.cpp>\n"},
     ["zforms/pdf/name.cpp:1: zforms/pdf may not know \"tests/"]),
    ("two headers of one room include each other",
     {"zforms/pdf/a.h": '#include "zforms/pdf/b.h"\n', "zforms/pdf/b.h": '# include "zforms/pdf/a.h"\n'},
     ["include cycle: zforms/pdf/"]),
    ("third-party headers out of their place",
     {"zforms/pdf/name.cpp": '#include <pugixml.hpp>\n#include "nlohmann/json.hpp"\n',
      "zforms/xfdf/tree.h": "#include <pugixml.hpp>\n#include <zlib.h>\n", "tool/base/h.cpp": "#include <boost/beast.hpp>\n",
      "zforms/server/store.cpp": "#include <sqlite3.h>\n#include <CLI/CLI.hpp>\n"},
     ["zforms/pdf/name.cpp:1: <pugixml.hpp> may", "zforms/pdf/name.cpp:2: <nlohmann/json.hpp> may",
      "zforms/xfdf/tree.h:1: <pugixml.hpp> may", "zforms/xfdf/tree.h:2: <zlib.h> may",
      "tool/base/h.cpp:1: <boost/beast.hpp> may", "zforms/server/store.cpp:1: <sqlite3.h> may",
      "zforms/server/store.cpp:2: <CLI/CLI.hpp> may"]),
    ("an include beside the file", {"zforms/pdf/name.cpp": '#include "node.h"\n'},
     ["zforms/pdf/name.cpp:1: \"node.h\" is no file below the root"]),
    ("own header not first",
     {"zforms/platform/base/chaine.cpp": '#include <string>\n#include "zforms/platform/base/chaine.h"\n'},
     ["zforms/platform/base/chaine.cpp: includes its own header"]),
    ("the system asked for in logic", {"zforms/platform/host/shell.cpp": "\n#ifdef __linux__\n#endif\n"},
     ["zforms/platform/host/shell.cpp:2: __linux__"]),
    ("a folder that is no room", {"zforms/pdf/extra/thing.cpp": "", "zforms/platform/loose.h": ""},
     ["zforms/pdf/extra/thing.cpp: belongs to no room", "zforms/platform/loose.h: belongs to no room"]),
    ("a crowded room; sources of one system count with their header",
     {f"zforms/xfdf/u{n}{end}": "" for n in range(26) for end in (".h", "_posix.cpp")},
     ["zforms/xfdf: 26 units"]),
]


def self_test():
    failed = 0
    for title, changes, expected in CASES:
        with tempfile.TemporaryDirectory() as folder:
            for name, text in {**GOOD, **changes}.items():
                path = Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            _, faults = check(Path(folder))
        missing = [start for start in expected if not any(fault.startswith(start) for fault in faults)]
        surplus = [fault for fault in faults if not any(fault.startswith(start) for start in expected)]
        if missing or surplus:
            failed += 1
            print(f"self test: {title}: not reported: {missing}; reported without cause: {surplus}")
    print(f"{len(CASES) - failed} passed, {failed} failed")
    return 1 if failed else 0


def main(arguments):
    if arguments == ["--self-test"]:
        return self_test()
    root = Path(arguments[0]) if arguments else Path(__file__).resolve().parent.parent
    count, faults = check(root)
    for fault in faults:
        print(fault)
    print(f"{count} files, {len(faults)} faults")
    return 1 if faults or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
