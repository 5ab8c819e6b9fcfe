"""The widgets on the pages of a form, as qpdf reads them, and where viewers show them."""

import dataclasses

import peers

HIDDEN, NO_ROTATE, NO_VIEW = 1 << 1, 1 << 4, 1 << 5
MULTILINE, PASSWORD, COMB = 1 << 12, 1 << 13, 1 << 24
MAX_DEPTH = 60


@dataclasses.dataclass
class Page:
    number: int  # from 1
    box: tuple  # the visible part of the page, in points
    rotate: int  # clockwise

    def size(self):
        width, height = self.box[2] - self.box[0], self.box[3] - self.box[1]
        return (height, width) if self.rotate % 180 else (width, height)

    def point(self, x, y):
        """The place of a point on the rotated page that viewers show: x right and y down from the upper left corner."""
        x, y = x - self.box[0], y - self.box[1]
        width, height = self.box[2] - self.box[0], self.box[3] - self.box[1]
        return {0: (x, height - y), 90: (y, x), 180: (width - x, y), 270: (height - y, width - x)}[self.rotate]

    def shown(self, rect):
        """The visible part of a rectangle, as (left, top, right, bottom); None when it is smaller than 1 point."""
        one, other = self.point(rect[0], rect[1]), self.point(rect[2], rect[3])
        size = self.size()
        left, right = (min(max(x, 0), size[0]) for x in sorted((one[0], other[0])))
        top, bottom = (min(max(y, 0), size[1]) for y in sorted((one[1], other[1])))
        return (left, top, right, bottom) if right - left >= 1 and bottom - top >= 1 else None


@dataclasses.dataclass
class Widget:
    ref: str
    name: str
    kind: str  # as in peers.field_type
    flags: int
    page: Page
    areas: list  # the possible places of the widget, from Page.shown; with "NoRotate" viewers use different ones
    rect: tuple
    value: object
    state: str  # of buttons: "/AS"
    states: list
    options: list
    max_length: object

    def __str__(self):
        return f"{self.kind} {self.name!r} ({self.ref}, page {self.page.number}, {self.text()[:20]!r})"

    def text(self):
        """The text that a viewer shows: the value, or for choice fields the text of the option that has this value."""
        value = self.value[0] if isinstance(self.value, list) and self.value else self.value
        if not isinstance(value, str):
            return ""
        pairs = [tuple(o) if isinstance(o, list) and len(o) == 2 else (o, o) for o in self.options]
        return dict(pairs).get(value, value) if self.kind in ("combo", "list") else value


def numbers(objects, value, count):
    """The elements of an array of `count` numbers; None for any other value."""
    value = objects.get(value)
    found = [objects.get(one) for one in value] if isinstance(value, list) else []
    good = len(found) == count and all(isinstance(one, (int, float)) for one in found)
    return found if good else None


def ordered(rect):
    return (min(rect[0], rect[2]), min(rect[1], rect[3]), max(rect[0], rect[2]), max(rect[1], rect[3]))


def pages(objects):
    """(Page, dictionary) of every page."""
    found, seen = [], set()

    def walk(ref, inherited, depth):
        node = objects.get(ref)
        if not isinstance(node, dict) or depth > MAX_DEPTH or (isinstance(ref, str) and ref in seen):
            return
        seen.add(ref if isinstance(ref, str) else None)
        own = {**inherited, **{key: node[key] for key in ("/MediaBox", "/CropBox", "/Rotate") if key in node}}
        kids = objects.get(node, "/Kids")
        if isinstance(kids, list):
            for kid in kids:
                walk(kid, own, depth + 1)
            return
        media = ordered(numbers(objects, own.get("/MediaBox"), 4) or (0, 0, 612, 792))
        crop = ordered(numbers(objects, own.get("/CropBox"), 4) or media)
        box = (max(media[0], crop[0]), max(media[1], crop[1]), min(media[2], crop[2]), min(media[3], crop[3]))
        rotate = objects.get(own.get("/Rotate"))
        rotate = rotate % 360 if isinstance(rotate, int) and rotate % 90 == 0 else 0
        found.append((Page(len(found) + 1, box, rotate), node))

    walk(objects.get(objects.get(objects.trailer, "/Root"), "/Pages"), {}, 0)
    return found


def field_of(objects, widget):
    """The name and the inherited entries of the field that a widget belongs to."""
    entries, names, node = {}, [], widget
    for _ in range(MAX_DEPTH):
        if not isinstance(node, dict):
            break
        for key in ("/FT", "/Ff", "/V", "/Opt", "/MaxLen"):
            if key in node:
                entries.setdefault(key, objects.get(node[key]))
        if "/T" in node:
            names.insert(0, objects.text(node["/T"]) or "")
        node = objects.get(node, "/Parent")
    return ".".join(names), entries


def visible_widgets(objects):
    """The widgets that viewers show, each with the places where it can be."""
    found, seen = [], set()
    for page, node in pages(objects):
        annotations = objects.get(node, "/Annots")
        for ref in annotations if isinstance(annotations, list) else []:
            widget = objects.get(ref)
            if not isinstance(widget, dict) or widget.get("/Subtype") != "/Widget" or ref in seen:
                continue
            rect, mask = numbers(objects, widget.get("/Rect"), 4), objects.get(widget, "/F") or 0
            area = page.shown(rect) if rect else None
            mask = mask if isinstance(mask, int) else 0
            if not area or mask & (HIDDEN | NO_VIEW):
                continue
            seen.add(ref)
            areas = [area]
            if mask & NO_ROTATE and page.rotate:  # the upper left corner stays (ISO 32000-1 table 165)
                left, bottom, right, top = ordered(rect)
                x, y = page.point(left, top)
                areas.append((x, y, x + right - left, y + top - bottom))
            found.append(make(objects, ref, widget, page, areas, ordered(rect)))
    return found


def overlap(one, other):
    """Whether two widgets overlap by more than 1 point in both directions, so not only with their borders."""
    a, b = one.areas[0], other.areas[0]
    return one.page.number == other.page.number and (
        min(a[2], b[2]) - max(a[0], b[0]) > 1 and min(a[3], b[3]) - max(a[1], b[1]) > 1)


def make(objects, ref, widget, page, areas, rect):
    name, entries = field_of(objects, widget)
    flags = entries.get("/Ff") if isinstance(entries.get("/Ff"), int) else 0
    options = entries.get("/Opt")
    return Widget(ref=ref, name=name, kind=peers.field_type(objects.text(entries.get("/FT")), flags), flags=flags,
                  page=page, areas=areas, rect=rect, value=objects.text(entries.get("/V")),
                  state=objects.text(widget.get("/AS")) or "Off", states=objects.states(widget),
                  options=[objects.text(one) for one in options] if isinstance(options, list) else [],
                  max_length=entries.get("/MaxLen"))
