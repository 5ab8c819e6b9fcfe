#!/usr/bin/env python3
"""Finds the links within a static site that lead nowhere: to a missing file, or to a missing anchor in a page.

    link_check.py FOLDER    prints them
"""

import html.parser
import os
import pathlib
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    """The links of a page, and the names of its anchors (`places`)."""

    def __init__(self, path):
        super().__init__()
        self.links, self.places = [], {"", "top"}
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.places.update(value for name, value in attrs if value and (name == "id" or (tag, name) == ("a", "name")))
        self.links += [values[name] for name in ("href", "src") if values.get(name)]


def broken_links(folder):
    """One line for each link within the folder that leads nowhere; links to other sites are not checked."""
    pages = {path: Page(path) for path in sorted(folder.rglob("*.html"))}
    faults = []
    for path, page in pages.items():
        for link in page.links:
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc:
                continue
            target = pathlib.Path(os.path.normpath(path.parent / urllib.parse.unquote(parts.path))) if parts.path else path
            fragment = urllib.parse.unquote(parts.fragment)
            if not target.is_file() or not target.is_relative_to(folder):
                faults.append(f"{path.relative_to(folder)}: {link}: no such file")
            elif target in pages and fragment not in pages[target].places:
                faults.append(f"{path.relative_to(folder)}: {link}: no such place in the page")
    return faults


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    found = broken_links(pathlib.Path(sys.argv[1]).resolve())
    print(*found, sep="\n", end="\n" if found else "")
    sys.exit(1 if found else 0)
