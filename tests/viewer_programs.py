"""Five programs that render PDF pages: each makes gray pixels at 72 dpi, and some also give the characters."""

import dataclasses
import html
import json
import pathlib
import re
import shutil

import peers

ROOT = pathlib.Path(__file__).resolve().parent.parent
NPM = ROOT / "build/npm"
TIME_LIMIT = 120


@dataclasses.dataclass
class Picture:
    width: int
    height: int
    gray: bytes

    def rows(self, area):
        """The rows of pixels of an area (left, top, right, bottom)."""
        left, right = (min(max(round(x), 0), self.width) for x in (area[0], area[2]))
        top, bottom = (min(max(round(y), 0), self.height) for y in (area[1], area[3]))
        return [self.gray[y * self.width + left:y * self.width + right] for y in range(top, bottom)]


def read_picture(path):
    data = path.read_bytes() if path.is_file() else b""
    head = re.match(rb"P5\s(?:#[^\n]*\n)?\s*(\d+)\s+(\d+)\s+(\d+)\s", data)
    return Picture(int(head.group(1)), int(head.group(2)), data[head.end():]) if head else None


class Job:
    """The pages of a file that viewers have to render."""

    def __init__(self, pdf, password, pages, folder):
        self.pdf, self.password, self.pages, self.folder = pdf, password, pages, folder

    def out(self, viewer):
        return self.folder / f"{self.pdf.stem}-{viewer}"

    def pictures(self, viewer):
        """{page number: Picture}."""
        found = {page: read_picture(pathlib.Path(f"{self.out(viewer)}-{page}.pgm")) for page in self.pages}
        return {page: picture for page, picture in found.items() if picture}


# Programs that show one file in one run -----------------------------------------------------------------------------


def mutool(job):
    """Makes the pixels and, as structured text, the characters."""
    pages = ",".join(map(str, job.pages))
    command = ["mutool", "draw", "-q", "-p", job.password]
    picture = ["-c", "gray", "-r", "72", "-o", f"{job.out('mutool')}-%d.pgm"]
    peers.run(*command, *picture, job.pdf, pages, timeout=TIME_LIMIT)
    done = peers.run(*command, "-F", "stext", job.pdf, pages, timeout=TIME_LIMIT)
    pathlib.Path(f"{job.out('mutool')}.xml").write_bytes(done.out)


def mutool_characters(job):
    """{page number: [(character, x, y), ...]}, with positions on the page as it is shown."""
    found = {}
    text = pathlib.Path(f"{job.out('mutool')}.xml").read_bytes()
    for number, match in zip(job.pages, re.finditer(rb"<page .*?</page>", text, re.S)):
        found[number] = []
        for one in re.finditer(rb"<char quad=\"([^\"]*)\"[^>]* c=\"([^\"]*)\"", match.group(0)):
            quad = [float(x) for x in one.group(1).split()]
            text_of = html.unescape(one.group(2).decode("utf-8", "replace"))
            found[number].append((text_of, sum(quad[0::2]) / 4, sum(quad[1::2]) / 4))
    return found


def poppler(job):
    first, last = str(min(job.pages)), str(max(job.pages))
    given = ["-upw", job.password, "-f", first, "-l", last, "-cropbox"]
    out = job.out("poppler")
    peers.run("pdftoppm", "-q", "-gray", "-r", "72", *given, job.pdf, out, timeout=TIME_LIMIT)
    for path in out.parent.glob(f"{out.name}-*.pgm"):
        number = int(path.stem.rsplit("-", 1)[1])
        path.rename(f"{out}-{number}.pgm")
    peers.run("pdftotext", "-q", "-bbox", *given, job.pdf, f"{out}.html", timeout=TIME_LIMIT)


def poppler_characters(job):
    """As mutool_characters. poppler gives only the box of a word, so it is divided equally among its characters."""
    found = {}
    path = pathlib.Path(f"{job.out('poppler')}.html")
    text = path.read_text("utf-8", "replace") if path.is_file() else ""
    for number, page in enumerate(re.findall(r"<page .*?</page>", text, re.S), min(job.pages)):
        found[number] = []
        for one in re.finditer(r'<word xMin="(\S+)" yMin="(\S+)" xMax="(\S+)" yMax="(\S+)">(.*?)</word>', page, re.S):
            left, top, right, bottom = (float(x) for x in one.groups()[:4])
            word = html.unescape(one.group(5))
            for i, character in enumerate(word):
                found[number].append((character, left + (right - left) * (i + 0.5) / len(word), (top + bottom) / 2))
    return found


def ghostscript(job):
    out = job.out("ghostscript")
    peers.run("gs", "-q", "-dBATCH", "-dNOPAUSE", "-dSAFER", "-sDEVICE=pgmraw", "-r72", "-dTextAlphaBits=4",
              "-dGraphicsAlphaBits=4", "-dUseCropBox", "-dPrinted=false", f"-sPDFPassword={job.password}",
              f"-sPageList={','.join(map(str, job.pages))}", f"-sOutputFile={out}-n%d.pgm", job.pdf, timeout=TIME_LIMIT)
    for count, number in enumerate(job.pages, 1):
        path = pathlib.Path(f"{out}-n{count}.pgm")
        if path.is_file():
            path.rename(f"{out}-{number}.pgm")


# Programs that show many files in one run ---------------------------------------------------------------------------


def run_script(script, arguments, jobs, viewer, folder, **more):
    """Runs a script of viewers/ over jobs; returns what it writes on standard error."""
    path = folder / f"{viewer}.jobs.json"
    path.write_text(json.dumps([{"pdf": str(job.pdf.resolve()), "password": job.password, "pages": job.pages,
                                 "out": str(job.out(viewer).resolve()), **more} for job in jobs]))
    done = peers.run("node", ROOT / "tests/viewers" / script, *arguments, path, timeout=TIME_LIMIT * 10)
    return done.err.decode("utf-8", "replace") if done.status else ""


def pdfium(jobs, folder):
    return run_script("pdfium.mjs", [NPM / "viewers/node_modules"], jobs, "pdfium", folder)


def pdfium_characters(job):
    found = {}
    for number in job.pages:
        path = pathlib.Path(f"{job.out('pdfium')}-{number}.json")
        found[number] = [tuple(one) for one in json.loads(path.read_text())] if path.is_file() else []
    return found


def pdfjs(jobs, folder, name="pdfjs", **more):
    arguments = [shutil.which("chromium"), NPM / "reader-tests/node_modules", NPM / "reader/node_modules/pdfjs-dist"]
    return run_script("pdfjs.mjs", arguments, jobs, name, folder, **more)


def pdfjs_measures(job):
    """{object number of a widget: {"stream": [x, y, size], "own": [x, y, size]}}, measured by viewers/pdfjs.mjs."""
    found = {}
    for number in job.pages:
        path = pathlib.Path(f"{job.out('measure')}-{number}.json")
        found.update(json.loads(path.read_text()) if path.is_file() else {})
    return {int(re.match(r"\d+", key).group()): one for key, one in found.items()}


def available():
    """(the viewers that can run here, {another viewer: what it lacks})."""
    there, missing = [], {}
    for viewer, programs, folders in [
            ("mutool", ["mutool"], []), ("poppler", ["pdftoppm", "pdftotext"], []), ("ghostscript", ["gs"], []),
            ("pdfium", ["node"], ["viewers"]), ("pdfjs", ["node", "chromium"], ["reader", "reader-tests"])]:
        folders = [f"build/npm/{f}" for f in folders if not (NPM / f / "node_modules").is_dir()]
        lacking = peers.absent(programs) + folders
        if lacking:
            missing[viewer] = f"{', '.join(lacking)} not installed"
        else:
            there.append(viewer)
    return there, missing
