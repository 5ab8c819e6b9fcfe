#!/usr/bin/env python3
"""Makes the documentation as one static site: the pages in Markdown, and Doxygen's reference of the public headers.

    build.py FOLDER    needs doxygen and markdown-it (Debian: doxygen, python3-markdown-it)

Ends with an error when Doxygen warns, when a function of the C interface or of zforms/form.h has no description, or when
a link of a page leads nowhere.
"""

import html
import os
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree

from markdown_it import MarkdownIt

from header_filter import HeaderFilter
from link_check import broken_links

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
HERE = ROOT / "docs/site"
# The pages of the site: the source, and what the menu calls it.
PAGES = {
    "README.md": "zforms", "docs/guide.md": "Guide", "docs/server.md": "Form server", "docs/appearances.md": "Drawing",
    "bindings/python/README.md": "Python", "docs/formats/batch_folder.md": "Batch folder", "docs/formats/store.md": "Store",
    "docs/formats/ini_files.md": "INI files", "docs/architecture.md": "Architecture", "docs/http.md": "HTTP server",
    "docs/performance.md": "Performance", "docs/scale.md": "Scale",
    "docs/windows.md": "Windows", "docs/versions.md": "Versions", "docs/release.md": "Release",
    "CHANGELOG.md": "Changes", "SECURITY.md": "Security", "CONTRIBUTING.md": "Contributing",
}
REFERENCE = "reference/index.html"
# The headers whose binary interface stays compatible. Each of their functions must have a description.
PROMISED = sorted((ROOT / "zforms").glob("zforms*.h")) + [ROOT / "zforms/form.h"]
CSS = "style.css"


def output_name(source):
    return "index.html" if source == "README.md" else re.sub(r"\.md$", ".html", source)


def pages_left_out():
    return [f"{page}: is no page of the site: add it to PAGES" for page in
            (path.relative_to(ROOT).as_posix() for path in sorted((ROOT / "docs").rglob("*.md"))) if page not in PAGES]


def public_headers():
    names = re.findall(r"^ +(\S+\.h)$", (ROOT / "cmake/ZformsPublicHeaders.cmake").read_text(encoding="utf-8"), re.M)
    return [ROOT / "zforms" / name for name in names]


def version():
    return re.search(r"^project\(zforms VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"), re.M)[1]


def undocumented_functions():
    found = []
    for header in PROMISED:
        parsed = HeaderFilter(header.read_text(encoding="utf-8"))
        parsed.run()
        # Functions with UTF-16 texts need no description: the comment of their header describes all of them.
        found += [f"{header.relative_to(ROOT)}: {name} has no description" for name in parsed.undocumented
                  if re.match(r"zforms_(?!.*_utf16$)|[A-Z][a-z]+[A-Z]*", name)]
    return found


def make_reference(folder):
    """Runs Doxygen; returns {header: its page in the site}."""
    place = folder / "reference"
    place.mkdir(parents=True)
    tags, settings = folder / "tags.xml", folder / "Doxyfile"
    settings.write_text((HERE / "Doxyfile").read_text(encoding="utf-8") + "\n".join([
        f"PROJECT_NUMBER = {version()}", f'OUTPUT_DIRECTORY = "{place}"', f'GENERATE_TAGFILE = "{tags}"',
        f'STRIP_FROM_PATH = "{ROOT}"', f'STRIP_FROM_INC_PATH = "{ROOT}"', f'HTML_EXTRA_STYLESHEET = "{HERE}/reference.css"',
        f'LAYOUT_FILE = "{HERE}/layout.xml"', f'FILTER_PATTERNS = "*.h=python3 {HERE}/header_filter.py"',
        "INPUT = " + " ".join(f'"{header}"' for header in [HERE / "reference.dox", *public_headers()]), ""]), encoding="utf-8")
    subprocess.run(["doxygen", settings], check=True)
    for page in place.glob("class*.html"):
        drop_empty_links(page)
    pages = {}
    for compound in xml.etree.ElementTree.parse(tags).iterfind("compound[@kind='file']"):
        path = pathlib.Path(compound.findtext("path", ""), compound.findtext("name", ""))
        pages[(ROOT / path).relative_to(ROOT).as_posix()] = f"reference/{compound.findtext('filename')}"
    tags.unlink()
    settings.unlink()
    return pages


def drop_empty_links(page):
    """Removes a broken link: Doxygen 1.9.4 links to the list of nested classes even when all of them are private and the
    page has no such list."""
    text = page.read_text(encoding="utf-8")
    if 'name="nested-classes"' not in text:
        page.write_text(re.sub(r'<a href="#nested-classes">Classes</a>( &#124;\s*)?', "", text), encoding="utf-8")


class Site:
    def __init__(self, folder, headers):
        self.folder, self.headers = folder, headers
        self.markdown = MarkdownIt("commonmark").enable("table")
        self.sources = set()  # files that pages link to, other than pages
        self.faults = []

    def write(self):
        for source in PAGES:
            self.write_page(output_name(source), PAGES[source], self.convert(source))
        for source in sorted(self.sources):
            text = (ROOT / source).read_text(encoding="utf-8")
            self.write_page(f"{source}.html", source, f"<h1>{source}</h1>\n<pre><code>{html.escape(text)}</code></pre>")
        shutil.copy(HERE / CSS, self.folder)

    def convert(self, source):
        """The body of a page, with addresses for its headings and links within the site."""
        tokens = self.markdown.parse((ROOT / source).read_text(encoding="utf-8"))
        for number, token in enumerate(tokens):
            if token.type == "heading_open":
                token.attrSet("id", anchor(tokens[number + 1].content))
            for child in token.children or []:
                if child.type == "link_open":
                    child.attrSet("href", self.target(source, child.attrGet("href")))
                elif child.type == "image":
                    child.attrSet("src", self.image(source, child.attrGet("src")))
        return self.markdown.renderer.render(tokens, self.markdown.options, {})

    def target(self, source, href):
        if re.match(r"[a-z]+:|#", href):
            return href
        path, hash_sign, fragment = href.partition("#")
        wanted = os.path.normpath((pathlib.PurePosixPath(source).parent / path).as_posix())
        if wanted in PAGES:
            found = output_name(wanted)
        elif wanted in self.headers:
            found = self.headers[wanted]
        elif (ROOT / wanted).is_file():
            self.sources.add(wanted)
            found = f"{wanted}.html"
        else:
            self.faults.append(f"{source}: the link {href} leads nowhere")
            return href
        return relative(found, output_name(source)) + hash_sign + fragment

    def image(self, source, href):
        wanted = os.path.normpath((pathlib.PurePosixPath(source).parent / href).as_posix())
        place = self.folder / wanted
        place.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(ROOT / wanted, place)
        return relative(wanted, output_name(source))

    def write_page(self, name, title, body):
        links = [(output_name(source), text) for source, text in PAGES.items()]
        links.insert(2, (REFERENCE, "Reference"))
        menu = "\n".join(f'<li><a href="{relative(target, name)}"{" class=here" if target == name else ""}>{text}</a></li>'
                         for target, text in links)
        place = self.folder / name
        place.parent.mkdir(parents=True, exist_ok=True)
        place.write_text(f'''<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title if title == "zforms" else f"{title} - zforms"}</title>
<link rel="stylesheet" href="{relative(CSS, name)}">
<nav><ul>
{menu}
</ul></nav>
<main>
{body}</main>
</html>
''', encoding="utf-8")


def anchor(heading):
    """The address that code forges give to a heading."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def relative(target, page):
    return os.path.relpath(target, os.path.dirname(page) or ".")


def main(folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    faults = undocumented_functions() + pages_left_out()
    site = Site(folder, make_reference(folder))
    site.write()
    faults += site.faults + broken_links(folder)
    for fault in faults:
        print(f"docs: {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve()))
