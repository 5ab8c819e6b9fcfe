"""Horizontal bars on a logarithmic scale, as an SVG that is readable on light and on dark."""

import math
from html import escape

COLOURS = ("#0072b2", "#d55e00", "#009e73", "#a5729a")
LEFT, RIGHT, TOP, BOTTOM, WIDTH = 220, 80, 64, 28, 900
BAR, GAP = 12, 14

STYLE = """
svg { font: 12px sans-serif; } .value { font-size: 10px; }
.page { fill: #ffffff; } text { fill: #222222; } .rule { stroke: #cccccc; }
@media (prefers-color-scheme: dark) {
  .page { fill: #161616; } text { fill: #e8e8e8; } .rule { stroke: #444444; }
}
"""


def label(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


class Scale:
    """Powers of ten that cover all values, across the width between the margins."""

    def __init__(self, values):
        self.low = math.floor(math.log10(min(values)) - 0.05)
        self.high = math.ceil(math.log10(max(values)))

    def x(self, value):
        share = (math.log10(value) - self.low) / (self.high - self.low)
        return LEFT + share * (WIDTH - LEFT - RIGHT)

    def decades(self):
        return [10.0**exponent for exponent in range(self.low, self.high + 1)]


def text(x, y, what, anchor="start", kind=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" class="{kind}">{escape(what)}</text>'


def grid(scale, bottom):
    parts = []
    for value in scale.decades():
        x = scale.x(value)
        parts.append(f'<line x1="{x:.1f}" y1="{TOP - 6}" x2="{x:.1f}" y2="{bottom}" stroke="#cccccc" class="rule"/>')
        parts.append(text(x, bottom + 16, f"{value:g} ms", "middle"))
    return parts


def legend(names):
    parts = []
    for i, name in enumerate(names):
        x = LEFT + i * 110
        parts.append(f'<rect x="{x}" y="34" width="{BAR}" height="{BAR}" fill="{COLOURS[i % len(COLOURS)]}"/>')
        parts.append(text(x + BAR + 6, 44, name))
    return parts


def group(y, what, entries, scale):
    parts = [text(LEFT - 10, y + len(entries) * BAR / 2 + 4, what, "end")]
    for i, (name, value) in enumerate(entries):
        end = scale.x(value)
        parts.append(f'<rect x="{LEFT}" y="{y + i * BAR}" width="{end - LEFT:.1f}" height="{BAR - 2}" '
                     f'fill="{COLOURS[i % len(COLOURS)]}"><title>{escape(name)}: {label(value)} ms</title></rect>')
        parts.append(text(end + 4, y + i * BAR + BAR - 3, label(value), kind="value"))
    return parts


def bars(title, groups):
    """`groups` is a list of (label, [(name, value), ...]) with the same names in each."""
    names = [name for name, _ in groups[0][1]]
    scale = Scale([value for _, entries in groups for _, value in entries])
    step = len(names) * BAR + GAP
    bottom = TOP + len(groups) * step
    height = bottom + BOTTOM
    parts = [f'<rect width="{WIDTH}" height="{height}" fill="#ffffff" class="page"/>', text(LEFT, 20, title)]
    parts += legend(names) + grid(scale, bottom)
    for i, (what, entries) in enumerate(groups):
        parts += group(TOP + i * step, what, entries, scale)
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" '
            f'height="{height}">\n<style>{STYLE}</style>\n' + "\n".join(parts) + "\n</svg>\n")
