#!/usr/bin/env python3
"""Writes the bill of materials of zforms (SPDX 2.3, JSON): what is linked, compiled in from headers, and vendored.

    bill_of_materials.py OUT [--pdfjs FOLDER] PROGRAM_OR_LIBRARY...

Reads the libraries that the programs need (readelf), the Debian packages that these and the headers come from
(dpkg-query), and the version and check sum of pdf.js (tool/reader/package-lock.json). Two runs on one machine give the
same bytes: the date is $SOURCE_DATE_EPOCH, else that of the newest entry in packaging/debian/changelog.
"""

import base64
import datetime
import email.utils
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# The licence of each source package of Debian. The script fails for a package that is not in this list.
LICENCES = {
    "boost1.74": "BSL-1.0", "cli11": "BSD-3-Clause", "fontconfig": "MIT-Modern-Variant", "freetype": "FTL OR GPL-2.0-or-later",
    "fribidi": "LGPL-2.1-or-later", "gcc-12": "GPL-3.0-or-later WITH GCC-exception-3.1", "glibc": "LGPL-2.1-or-later",
    "harfbuzz": "MIT-Modern-Variant", "libunibreak": "Zlib", "nettle": "LGPL-3.0-or-later OR GPL-2.0-or-later",
    "nlohmann-json3": "MIT", "pugixml": "MIT", "sqlite3": "blessing", "utf8proc": "MIT", "zlib": "Zlib",
}
# Libraries that consist only of headers: how the path in an #include begins, and the Debian package.
HEADERS = {"boost/": "libboost1.74-dev", "nlohmann/": "nlohmann-json3-dev", "CLI/": "libcli11-dev"}
CODE = ("zforms", "tool")
PDFJS_LICENCE = "Apache-2.0 AND BSD-3-Clause AND MIT AND (GPL-2.0-only WITH Font-exception-2.0)"


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def needed_libraries(program):
    return re.findall(r"\(NEEDED\).*\[(.+)\]", output("readelf", "--dynamic", "--wide", str(program)))


def package_of_library(name):
    """The Debian package of a shared library."""
    listing = output("/sbin/ldconfig", "-p")
    path = re.search(rf"^\s*{re.escape(name)} \(.*\) => (\S+)$", listing, re.M)
    if path is None:
        sys.exit(f"bill_of_materials: the library {name} is not installed")
    # Asks dpkg for several paths, because it may know the file with or without "/usr" in front.
    for candidate in (path[1], "/usr" + path[1], os.path.realpath(path[1])):
        done = subprocess.run(["dpkg-query", "-S", candidate], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        if done.returncode == 0:
            return done.stdout.split(":")[0]
    return sys.exit(f"bill_of_materials: no Debian package has {path[1]}")


def debian_package(name):
    """An entry for the source package that the Debian package is made from."""
    source, version = output("dpkg-query", "-W", "-f", "${source:Package} ${source:Version}\n", name).splitlines()[0].split()
    if source not in LICENCES:
        sys.exit(f"bill_of_materials: LICENCES has no licence of {source}")
    return entry(source, version, LICENCES[source],
                 f"pkg:deb/debian/{source}@{version.replace(':', '%3A').replace('+', '%2B')}?arch=source")


def entry(name, version, licence, locator):
    return {"SPDXID": "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]", "-", name), "name": name, "versionInfo": version,
            "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "licenseConcluded": "NOASSERTION", "licenseDeclared": licence,
            "copyrightText": "NOASSERTION", "externalRefs": [
                {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": locator}]}


def included_headers():
    text = "".join(path.read_text(encoding="utf-8") for folder in CODE for path in (ROOT / folder).rglob("*.[ch]*")
                   if path.suffix in (".h", ".cpp"))
    return [package for start, package in HEADERS.items() if re.search(rf"^#include <{start}", text, re.M)]


def pdfjs(folder):
    """An entry for pdf.js, which the page that shows forms in a browser contains. Fails unless the folder has the
    version in the lock file."""
    locked = json.loads((ROOT / "tool/reader/package-lock.json").read_text())["packages"]["node_modules/pdfjs-dist"]
    version = json.loads((folder / "package.json").read_text())["version"]
    if version != locked["version"]:
        sys.exit(f"bill_of_materials: {folder} has version {version}, and the lock file {locked['version']}")
    made = entry("pdfjs-dist", version, PDFJS_LICENCE, f"pkg:npm/pdfjs-dist@{version}")
    kind, _, digest = locked["integrity"].partition("-")
    made["checksums"] = [{"algorithm": kind.upper(), "checksumValue": base64.b64decode(digest).hex()}]
    return made


def zforms_entry(programs):
    version = re.search(r"^project\(zforms VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text(), re.M)[1]
    made = entry("zforms", version, "MIT", f"pkg:generic/zforms@{version}")
    made["comment"] = "Made of: " + ", ".join(sorted(program.name for program in programs))
    return made


def date():
    newest = re.search(r"^ -- .*>  (.*)$", (ROOT / "packaging/debian/changelog").read_text(), re.M)[1]
    seconds = int(os.environ.get("SOURCE_DATE_EPOCH") or email.utils.parsedate_to_datetime(newest).timestamp())
    return datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")


def bill(programs, pdfjs_folder):
    own = zforms_entry(programs)
    linked = {package_of_library(name) for program in programs for name in needed_libraries(program)
              if not name.startswith("libzforms.")}
    groups = [("DYNAMIC_LINK", [debian_package(name) for name in sorted(linked)]),
              ("STATIC_LINK", [debian_package(name) for name in included_headers()]),
              ("CONTAINS", [pdfjs(pdfjs_folder)] if pdfjs_folder else [])]
    relations = {(own["SPDXID"], kind, other["SPDXID"]): other for kind, others in groups for other in others}
    packages = {other["SPDXID"]: other for other in [own, *relations.values()]}
    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": f"zforms-{own['versionInfo']}",
        "creationInfo": {"created": date(), "creators": ["Tool: bill_of_materials.py"]}, "packages": list(packages.values()),
        "relationships": [{"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES", "relatedSpdxElement": own["SPDXID"]}]
        + [{"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other} for one, kind, other in relations],
    }
    digest = hashlib.sha256(json.dumps(document, sort_keys=True).encode()).hexdigest()
    document["documentNamespace"] = f"https://zforms.example.org/spdx/{document['name']}-{digest[:32]}"
    return document


def main(arguments):
    folder = None
    if "--pdfjs" in arguments:
        at = arguments.index("--pdfjs")
        folder = pathlib.Path(arguments[at + 1])
        del arguments[at:at + 2]
    if len(arguments) < 2:
        sys.exit(__doc__)
    text = json.dumps(bill([pathlib.Path(name) for name in arguments[1:]], folder), indent=2) + "\n"
    pathlib.Path(arguments[0]).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1:])
