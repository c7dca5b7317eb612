#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""test_drawings.py FILE.svg... - the labels of the drawings stay within the sheet and their boxes,
cross no half circle, and do not overlap, even in DejaVu Sans, which is wider than most fonts.
matplotlib has that font."""

import re
import sys
import xml.etree.ElementTree

from matplotlib.font_manager import FontProperties
from matplotlib.textpath import TextPath

SVG = "{http://www.w3.org/2000/svg}"
SPARE = 3  # pixels to the edge of a box


def sizes(style):
    """Size in pixels and weight of a text of each class; "" is for texts without one."""
    rule = re.search(r"^text\{font:(\d+)px", style, re.M)
    found = {"": (int(rule[1]), "normal")}
    for name, body in re.findall(r"^\.(\w+)\{(.*?)\}", style, re.M):
        size = re.search(r"font-size:(\d+)px", body)
        weight = "bold" if "font-weight:600" in body else "normal"
        if size or weight == "bold":
            found[name] = int(size[1]) if size else found[""][0], weight
    return found


def box_of(text, classes):
    """Left, top, right and bottom of the ink."""
    names = text.get("class", "").split()
    size, weight = next((classes[name] for name in names if name in classes), classes[""])
    font = FontProperties(family="DejaVu Sans", weight=weight)
    ink = TextPath((0, 0), "".join(text.itertext()), size=size, prop=font).get_extents()
    start = float(text.get("x")) - ink.width * (0.5 if "middle" in names else "right" in names)
    base = float(text.get("y"))
    return start, base - ink.y1, start + ink.width, base - ink.y0


def faults(path):
    root = xml.etree.ElementTree.parse(path).getroot()
    classes = sizes(root.find(SVG + "style").text)
    _, _, width, height = map(float, root.get("viewBox").split())
    texts = [("".join(t.itertext()), box_of(t, classes)) for t in root.iter(SVG + "text")]
    boxes = [(0.0, 0.0, width, height)]
    for rect in root.iter(SVG + "rect"):
        if rect.get("class") != "sheet" and float(rect.get("width")) > 100:  # no bars
            x, y, w, h = (float(rect.get(name)) for name in ("x", "y", "width", "height"))
            boxes.append((x, y, x + w, y + h))
    arcs = [re.fullmatch(r"M(\S+) (\S+)A(\S+) .* (\S+) \S+", p.get("d"))
            for p in root.iter(SVG + "path") if p.get("class") == "rim"]
    rims = [tuple(map(float, arc.groups())) for arc in arcs if arc]
    assert texts and len(boxes) + len(rims) > 1, "nothing to look at"
    for index, (text, (left, top, right, bottom)) in enumerate(texts):
        for x0, y0, x1, y1 in boxes:
            if x0 <= left <= x1 and y0 <= bottom <= y1 and right > x1 - SPARE:
                yield f"'{text}' ends {right - x1:.0f} pixels behind its box"
        for start, base, radius, end in rims:
            corners = [((x - (start + end) / 2) ** 2 + (y - base) ** 2) ** 0.5 < radius
                       for x in (left, right) for y in (top, bottom) if y < base]
            if any(corners) and not all(corners):
                yield f"'{text}' crosses the half circle"
        for other, (x0, y0, x1, y1) in texts[:index]:
            if left < x1 and x0 < right and top < y1 and y0 < bottom:
                yield f"'{text}' overlaps '{other}'"


found = [f"{path}: {fault}" for path in sys.argv[1:] for fault in faults(path)]
sys.exit("\n".join(found) or 0)
