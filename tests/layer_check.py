#!/usr/bin/env python3
"""Checks that the sources keep to the layers of docs/architecture.md.

layer_check.py [ROOT]        checks a tree (by default the one that holds this script)
layer_check.py --self-test   checks the checker, on small trees made to break each rule

What is checked: a file includes only its own layer and those before it; no include cycle; third-party
headers only where they belong; quoted includes name a file from the root; a source includes its own
header first; operating systems are told apart by file, not by #ifdef.
"""

import fnmatch
import re
import sys
import tempfile
from pathlib import Path

# In order; the first pattern that matches a file says its layer.
LAYERS = [
    ("platform", ["platform/*"]),
    ("text", ["pdf/parser/tokenized_string.*", "pdf/parser/char_class.*", "pdf/parser/element_scan.*",
              "pdf/crypt/encrypter.*", "pdf/writer/out_stream.*"]),
    ("nodes", ["pdf/*"]),
    ("crypt", ["pdf/crypt/*"]),
    ("parser", ["pdf/parser/*"]),
    ("writer", ["pdf/writer/*"]),
    ("XFDF document", ["xfdf/*"]),
    ("acroform", ["acroform/*"]),
    ("XFDF mapping", ["xfdf/mapper*", "xfdf/map_*", "xfdf/form_fields*"]),
    ("filling", ["filling/*"]),
    ("server", ["server/*"]),
    ("apps", ["apps/*"]),
    ("around", ["tests/*", "bench/*", "fuzz/*", "examples/*"]),
]
LAYER_NAMES = [name for name, _ in LAYERS]
# A pattern that stands for a part of a folder is tried before the folder's own.
PATTERNS = sorted(
    ((pattern, rank) for rank, (_, patterns) in enumerate(LAYERS) for pattern in patterns),
    key=lambda entry: (-entry[0].count("/"), -len(entry[0])),
)

# Third-party headers (by the start of the included name) and the files that may include them. The
# library's own headers are installed, so there these libraries are for sources only.
THIRD_PARTY = [
    ("pugixml", ["platform/*.cpp", "xfdf/*.cpp"]),
    ("boost/", ["platform/http_*.cpp"]),
    ("zlib", ["pdf/stream_filters.cpp", "tests/*"]),
    ("CLI/", ["apps/*"]),
    ("nlohmann/", ["apps/*"]),
    ("sqlite3", ["apps/*"]),
    ("gtest/", ["tests/*"]),
    ("gmock/", ["tests/*"]),
    ("benchmark/", ["bench/*"]),
]

OS_MACRO = re.compile(r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*\b(_WIN32|_WIN64|WIN32|_MSC_VER|__linux__|__unix__|__APPLE__)\b")
OS_MACRO_ALLOWED = ["platform/export.h"]
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')
BLOCK_COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)
SUFFIXES = {".h", ".hpp", ".cpp", ".cc"}


def matches(name, patterns):
    return any(fnmatch.fnmatchcase(name, pattern) for pattern in patterns)


def layer_of(name):
    """The rank of a file's layer, or None for a file outside all of them."""
    for pattern, rank in PATTERNS:
        # pdf/* means the files of pdf/ itself: its folders are layers of their own.
        if fnmatch.fnmatchcase(name, pattern) and (pattern != "pdf/*" or name.count("/") == 1):
            return rank
    return None


def read_tree(root):
    """{file name: its lines, block comments blanked out} for every source below the layers' folders."""
    tree = {}
    for top in sorted({patterns[0].split("/")[0] for _, patterns in LAYERS}):
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
    rank = layer_of(name)
    if rank is None:
        yield f"{name}: belongs to no layer"
        return
    includes = includes_of(lines)
    for number, included, quoted in includes:
        where = f"{name}:{number}"
        for start, allowed in THIRD_PARTY:
            if included.startswith(start) and not matches(name, allowed):
                yield f"{where}: <{included}> may be included only by {', '.join(allowed)}"
        if included in tree:
            theirs = layer_of(included)
            if theirs is not None and theirs > rank:
                yield (f"{where}: {LAYER_NAMES[rank]} may not include \"{included}\", "
                       f"which is of a later layer ({LAYER_NAMES[theirs]})")
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
    """One message for each include that closes a circle; iterative, depth first."""
    edges = {name: [to for _, to, _ in includes_of(lines) if to in tree] for name, lines in tree.items()}
    done = set()
    for start in tree:
        path, on_path = [], set()
        stack = [(start, iter(edges[start]))] if start not in done else []
        if stack:
            path.append(start)
            on_path.add(start)
        while stack:
            name, rest = stack[-1]
            following = next(rest, None)
            if following is None:
                stack.pop()
                path.pop()
                on_path.discard(name)
                done.add(name)
            elif following in on_path:
                yield "include cycle: " + " -> ".join(path[path.index(following):] + [following])
            elif following not in done:
                stack.append((following, iter(edges[following])))
                path.append(following)
                on_path.add(following)


def check(root):
    """(number of files looked at, what is wrong)"""
    tree = read_tree(root)
    faults = [fault for name, lines in tree.items() for fault in check_file(name, lines, tree)]
    return len(tree), faults + list(find_cycles(tree))


# --- self test -------------------------------------------------------------------------------------

# A tree that keeps every rule; each case below adds or replaces files and names the faults that must follow.
GOOD = {
    "platform/chaine.h": "#pragma once\n#include <string>\n",
    "platform/chaine.cpp": '#include "platform/chaine.h"\n',
    "platform/export.h": "#if defined(_WIN32)\n#endif\n",
    "platform/xml.cpp": "#include <pugixml.hpp>\n",
    "pdf/parser/tokenized_string.h": '#include "platform/chaine.h"\n',
    "pdf/crypt/encrypter.h": '#include "pdf/parser/tokenized_string.h"\n',
    "pdf/writer/out_stream.h": '#include "pdf/crypt/encrypter.h"\n',
    "pdf/node.h": '#include "pdf/writer/out_stream.h"\n',
    "pdf/crypt/encryption.h": '#include "pdf/node.h"\n',
    "pdf/parser/parser.h": '#include "pdf/crypt/encryption.h"\n',
    "pdf/writer/saver.h": '#include "pdf/parser/parser.h"\n',
    "xfdf/document.h": '#include "pdf/writer/saver.h"\n',
    "acroform/form.h": '#include "xfdf/document.h"\n/*\n#include "apps/zforms/fill.h"\n*/\n',
    "xfdf/mapper.h": '#include "acroform/form.h"\n',
    "platform/http_engine.cpp": "#include <boost/asio.hpp>\n",
    "server/server.cpp": '#include "xfdf/mapper.h"\n',
    "apps/zforms/fill.h": '#include <CLI/CLI.hpp>\n#include <nlohmann/json.hpp>\n#include "acroform/form.h"\n',
    "tests/form_test.cpp": '#include <gtest/gtest.h>\n#include "apps/zforms/fill.h"\n',
}

CASES = [
    ("all rules kept", {}, []),
    ("a node includes the parser", {"pdf/node.h": '#include "pdf/parser/parser.h"\n'},
     ["pdf/node.h:1: nodes may not include \"pdf/parser/parser.h\", which is of a later layer (parser)",
      "include cycle: "]),
    ("a text class knows a node", {"pdf/parser/tokenized_string.cpp": '#include "pdf/parser/tokenized_string.h"\n'
                                   '#include "pdf/identifier.h"\n', "pdf/identifier.h": ""},
     ["pdf/parser/tokenized_string.cpp:2: text may not include \"pdf/identifier.h\""]),
    ("the XFDF document knows the form", {"xfdf/field.cpp": '#include "acroform/form.h"\n'},
     ["xfdf/field.cpp:1: XFDF document may not include \"acroform/form.h\""]),
    ("the library includes a test, in angle brackets", {"pdf/name.cpp": "#include <tests/form_test.cpp>\n"},
     ["pdf/name.cpp:1: nodes may not include \"tests/form_test.cpp\""]),
    ("two headers of one layer include each other",
     {"pdf/a.h": '#include "pdf/b.h"\n', "pdf/b.h": '# include "pdf/a.h"\n'},
     ["include cycle: pdf/a.h -> pdf/b.h -> pdf/a.h"]),
    ("a header includes itself", {"pdf/a.h": '#include "pdf/a.h"\n'}, ["include cycle: pdf/a.h -> pdf/a.h"]),
    ("pugixml in the nodes", {"pdf/name.cpp": "#include <pugixml.hpp>\n"}, ["pdf/name.cpp:1: <pugixml.hpp> may"]),
    ("pugixml in a header", {"xfdf/tree.h": "#include <pugixml.hpp>\n"}, ["xfdf/tree.h:1: <pugixml.hpp> may"]),
    ("zlib in the parser", {"pdf/parser/parser.cpp": '#include "pdf/parser/parser.h"\n#include <zlib.h>\n'},
     ["pdf/parser/parser.cpp:2: <zlib.h> may"]),
    ("Boost outside the server", {"apps/zforms/http.cpp": "#include <boost/beast.hpp>\n"},
     ["apps/zforms/http.cpp:1: <boost/beast.hpp> may"]),
    ("JSON and CLI11 in the library", {"acroform/json.cpp": '#include "nlohmann/json.hpp"\n#include <CLI/CLI.hpp>\n'},
     ["acroform/json.cpp:1: <nlohmann/json.hpp> may", "acroform/json.cpp:2: <CLI/CLI.hpp> may"]),
    ("SQLite in the server", {"server/store.cpp": "#include <sqlite3.h>\n"}, ["server/store.cpp:1: <sqlite3.h> may"]),
    ("an include beside the file", {"pdf/name.cpp": '#include "node.h"\n'},
     ["pdf/name.cpp:1: \"node.h\" is no file below the root"]),
    ("own header not first", {"platform/chaine.cpp": '#include <string>\n#include "platform/chaine.h"\n'},
     ["platform/chaine.cpp: includes its own header"]),
    ("the system asked for in logic", {"platform/shell.cpp": "\n#ifdef __linux__\n#endif\n"},
     ["platform/shell.cpp:2: __linux__"]),
    ("a folder outside the layers", {"pdf/extra/thing.cpp": ""}, ["pdf/extra/thing.cpp: belongs to no layer"]),
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
