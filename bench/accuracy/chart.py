# SPDX-License-Identifier: MIT
"""Lines over a common axis, as an SVG drawing for light and dark pages."""

from xml.sax.saxutils import escape

WIDTH, HEIGHT = 720, 360
LEFT, RIGHT, TOP, BOTTOM = 60, 550, 44, 310  # of the frame; the lines are named to its right
STYLE = """
text{font:12px "Helvetica Neue",Arial,"Liberation Sans",sans-serif;fill:#1f2328}
.title{font-size:16px;font-weight:600}
.middle{text-anchor:middle}
.right{text-anchor:end}
.sheet{fill:#fff}
.grid{stroke:#dde2e7}
.line{fill:none;stroke-width:2}
.dashed{stroke-dasharray:6 4}
.c0{stroke:#0a62b8}.c1{stroke:#bc4c00}.c2{stroke:#1a7f37}.c3{stroke:#8250df}
@media(prefers-color-scheme:dark){
text{fill:#e6edf3}
.sheet{fill:#0d1117}
.grid{stroke:#2a313a}
.c0{stroke:#58a6ff}.c1{stroke:#f0883e}.c2{stroke:#3fb950}.c3{stroke:#bc8cff}
}
"""
COLOURS = 4
LABEL_GAP = 16  # between the names of two lines


class Axis:
    """Values of an axis and where they lie on the page."""

    def __init__(self, name, ticks, begin, end):
        self.name = name
        self.ticks = ticks
        self.begin = begin
        self.scale = (end - begin) / (ticks[-1] - ticks[0])

    def at(self, value):
        return round(self.begin + (value - self.ticks[0]) * self.scale, 1)


def grid(x, y):
    for tick in x.ticks:
        yield f'<path class="grid" d="M{x.at(tick)},{TOP}V{BOTTOM}"/>'
        yield f'<text class="middle" x="{x.at(tick)}" y="{BOTTOM + 18}">{tick:g}</text>'
    for tick in y.ticks:
        yield f'<path class="grid" d="M{LEFT},{y.at(tick)}H{RIGHT}"/>'
        yield f'<text class="right" x="{LEFT - 8}" y="{y.at(tick) + 4}">{tick:g}</text>'
    middle = (LEFT + RIGHT) / 2
    yield f'<text class="middle" x="{middle}" y="{BOTTOM + 38}">{escape(x.name)}</text>'
    middle = (TOP + BOTTOM) / 2
    yield (f'<text class="middle" transform="translate(16,{middle})rotate(-90)">'
           f"{escape(y.name)}</text>")


def draw(title, description, x_axis, y_axis, lines):
    """The document. An axis is (name, ticks), a line (name, [(x, y), ...], dashed); a y of None is
    left out."""
    x = Axis(*x_axis, LEFT, RIGHT)
    y = Axis(*y_axis, BOTTOM, TOP)
    parts = list(grid(x, y))
    labels = []
    for number, (name, points, dashed) in enumerate(lines):
        known = [(x.at(a), y.at(b)) for a, b in points if b is not None]
        if not known:
            continue
        style = f"c{number % COLOURS}" + (" dashed" if dashed else "")
        path = "L".join(f"{a},{b}" for a, b in known)
        parts.append(f'<path class="line {style}" d="M{path}"/>')
        labels.append((known[-1][1], name, style))
    below = 0
    for place, name, style in sorted(labels):
        below = max(place, below + LABEL_GAP)
        parts.append(f'<path class="line {style}" d="M{RIGHT + 8},{below}h18"/>')
        parts.append(f'<text x="{RIGHT + 32}" y="{below + 4}">{escape(name)}</text>')
    body = "\n".join(parts)
    return (
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
        f'width="{WIDTH}" height="{HEIGHT}" role="img" aria-labelledby="title desc">\n'
        f'<title id="title">{escape(title)}</title>\n<desc id="desc">{escape(description)}</desc>\n'
        f"<style>{STYLE}</style>\n"
        f'<rect class="sheet" width="{WIDTH}" height="{HEIGHT}"/>\n'
        f'<text class="title" x="{LEFT}" y="24">{escape(title)}</text>\n{body}\n</svg>\n')
