#!/usr/bin/env python3
"""Draws the schematic diagrams of the guide as SVG, the same bytes each time.

Usage: docs/make_diagrams.py [folder], by default docs/pictures. Fronts in the diagrams advance upward
(direction 4), so that their rows run from left to right (direction 1).
"""
import math
import pathlib
import sys

INK, FAINT, GROUND, EDGE = "#1f2933", "#8a94a0", "#eceee6", "#5b6168"
OLD, NEW, SIDE, GONE = "#1f5fa8", "#1a8f6f", "#c2471f", "#9aa3ad"
AMBER, RED = "#e8a317", "#c23b3b"


class Picture:
    """An SVG in which points are given in cells, y upward, from a movable origin in pixels."""

    def __init__(self, width, height, cell):
        self.width, self.height, self.cell = width, height, cell
        self.x0 = self.y0 = 0.0
        self.parts = []

    def at(self, x, y):
        return self.x0 + self.cell * x, self.y0 - self.cell * y

    def add(self, text):
        self.parts.append(text)

    def path(self, points, stroke="none", fill="none", width=1.5, dash="", closed=False):
        d = "M" + " L".join("%.1f %.1f" % self.at(*p) for p in points) + ("Z" if closed else "")
        dashes = f' stroke-dasharray="{dash}"' if dash else ""
        self.add(f'<path d="{d}" fill="{fill}" stroke="{stroke}" stroke-width="{width}"{dashes} '
                 'stroke-linejoin="round" stroke-linecap="round"/>')

    def line(self, a, b, stroke=INK, width=1.5, dash=""):
        self.path([a, b], stroke, "none", width, dash)

    def ground(self, points):
        self.path(points, EDGE, GROUND, 1.6, closed=True)

    def gap(self, points):
        self.path(points, EDGE, "#ffffff", 1.6, closed=True)

    def arrow(self, a, b, stroke=INK, width=2.2, dash=""):
        (ax, ay), (bx, by) = self.at(*a), self.at(*b)
        length = math.hypot(bx - ax, by - ay)
        ux, uy = (bx - ax) / length, (by - ay) / length
        size = 5 + 1.6 * width
        self.path([a, ((bx - self.x0 - 0.8 * size * ux) / self.cell,
                       (self.y0 - by + 0.8 * size * uy) / self.cell)], stroke, "none", width, dash)
        left = (bx - size * ux - 0.45 * size * uy, by - size * uy + 0.45 * size * ux)
        right = (bx - size * ux + 0.45 * size * uy, by - size * uy - 0.45 * size * ux)
        self.add('<path d="M%.1f %.1f L%.1f %.1f L%.1f %.1fZ" fill="%s"/>'
                 % (bx, by, *left, *right, stroke))

    def text(self, x, y, words, size=13, colour=INK, anchor="middle", bold=False, dx=0, dy=0,
             halo="#ffffff"):
        px, py = self.at(x, y)
        weight = ' font-weight="bold"' if bold else ""
        words = words.replace("&", "&amp;").replace("<", "&lt;")
        self.add(f'<text x="{px + dx:.1f}" y="{py + dy:.1f}" font-size="{size}" fill="{colour}" '
                 f'text-anchor="{anchor}"{weight} stroke="{halo}" stroke-width="3" stroke-linejoin="round" '
                 f'paint-order="stroke">{words}</text>')

    def node(self, x, y, kind="open", label="", dx=0, dy=-11, r=6.0, colour=INK):
        """kind: open, closed, gap (-2), cut (-3), plain."""
        px, py = self.at(x, y)
        fill = {"open": NEW, "closed": "#ffffff", "gap": AMBER, "cut": RED, "plain": "#ffffff"}[kind]
        self.add(f'<circle cx="{px:.1f}" cy="{py:.1f}" r="{r}" fill="{fill}" stroke="{INK}" stroke-width="1.4"/>')
        if kind == "closed":
            s = 0.6 * r
            self.add(f'<path d="M{px - s:.1f} {py - s:.1f}L{px + s:.1f} {py + s:.1f}M{px - s:.1f} {py + s:.1f}'
                     f'L{px + s:.1f} {py - s:.1f}" stroke="{INK}" stroke-width="1.6"/>')
        if label:
            self.text(x, y, label, 13, colour, dx=dx, dy=dy)

    def pivot(self, x, y):
        px, py = self.at(x, y)
        self.add(f'<circle cx="{px:.1f}" cy="{py:.1f}" r="11" fill="none" stroke="{OLD}" stroke-width="2.2"/>')

    def save(self, path):
        path.write_text(
            f'<svg xmlns="http://www.w3.org/2000/svg" width="{self.width}" height="{self.height}" '
            f'viewBox="0 0 {self.width} {self.height}" font-family="DejaVu Sans, Helvetica, Arial, sans-serif">\n'
            f'<rect width="{self.width}" height="{self.height}" fill="#ffffff"/>\n' + "\n".join(self.parts)
            + "\n</svg>\n")


def legend(p, x, y, entries, step):
    p.x0, p.y0 = x, y
    for k, (kind, words) in enumerate(entries):
        if kind == "pivot":
            p.pivot(k * step / p.cell, 0)
        elif kind.startswith("line:"):
            _, colour, dash = kind.split(":")
            p.line((k * step / p.cell - 0.25, 0), (k * step / p.cell + 0.25, 0), colour, 3, dash)
        else:
            p.node(k * step / p.cell, 0, kind)
        p.text(k * step / p.cell, 0, words, 12, anchor="start", dx=26 if kind.startswith("line:") else 18,
               dy=4)


def directions():
    """The four directions, a cell and a front with its pivot and its next row."""
    p = Picture(860, 300, 52)
    p.x0, p.y0 = 150, 130
    for k in range(-2, 3):
        p.line((-2, k), (2, k), GONE, 1)
        p.line((k, -2), (k, 2), GONE, 1)
    p.path([(1, 1), (2, 1), (2, 2), (1, 2)], NEW, "#d5ede4", 1.5, closed=True)
    p.text(1.5, 1.5, "cell", 13, dy=5)
    for (x, y), words, dx, dy in (((1, 0), "1 (warp)", 34, 19), ((0, -1), "2", 14, 8), ((-1, 0), "3", -6, 19),
                                  ((0, 1), "4 (weft)", 38, 22)):
        p.arrow((0, 0), (0.95 * x, 0.95 * y), OLD, 2.6)
        p.text(x, y, words, 14, OLD, bold=True, dx=dx, dy=dy)
    p.node(0, 0, "open")
    p.text(0, 0, "seed", 13, anchor="end", dx=-10, dy=-10)
    p.text(0, -2, "Nodes stand stepA apart along 1 and 3,", 12, FAINT, dy=26)
    p.text(0, -2, "stepB apart along 2 and 4", 12, FAINT, dy=43)

    p.x0, p.y0 = 450, 150
    for x in range(5):
        p.line((x, 0), (x, -1), GONE, 1)
        p.line((x, 0), (x, 1), NEW, 1.5, "5 4")
    p.line((-0.4, -1), (4.4, -1), GONE, 1)
    p.line((0, 0), (4, 0), OLD, 3.5)
    p.line((0, 1), (4, 1), NEW, 1.5, "5 4")
    for x in range(5):
        p.node(x, 0, "plain")
        p.node(x, -1, "plain", r=3.5)
    for x, order in ((2, "1"), (3, "2"), (4, "3"), (1, "4"), (0, "5")):
        p.node(x, 1, "open", order)
    p.pivot(2, 0)
    p.text(2, 0, "pivot", 13, OLD, "start", dx=14, dy=18)
    p.text(0, 0, "first node", 12, INK, dy=24)
    p.text(4, 0, "front (blue)", 13, OLD, "start", dx=14, dy=5)
    p.text(4, 1, "new row", 13, NEW, "start", dx=14, dy=5)
    p.text(4, -1, "row behind", 12, FAINT, "start", dx=22, dy=5)
    p.arrow((-0.7, -0.1), (-0.7, 1.0), INK)
    p.text(-0.7, 0.45, "d = 4", 13, INK, "end", dx=-10, dy=5)
    p.arrow((0, -1.75), (2.2, -1.75), INK, 1.6)
    p.text(2.2, -1.75, "the row runs along next(d) = 1", 12, INK, "start", dx=10, dy=4)
    p.text(2, 1.85, "Numbers: the order in which the new row's nodes are placed", 12, FAINT)
    return p


def surface_height(x, y):
    return 0.55 - 0.22 * (x * x + y * y)


def project(v):
    x, y, z = v
    return 0.92 * x - 0.62 * y, 0.30 * x + 0.42 * y + 0.95 * z


def on_surface(x, y):
    return x, y, surface_height(x, y)


def stepped(start, direction, length):
    """The point of the surface at that distance from start, over a straight line in the plan."""
    low, high = 0.0, 2.0 * length
    for _ in range(60):
        middle = 0.5 * (low + high)
        q = on_surface(start[0] + middle * direction[0], start[1] + middle * direction[1])
        low, high = (middle, high) if math.dist(start, q) < length else (low, middle)
    return q


def unit(v):
    length = math.sqrt(sum(c * c for c in v))
    return tuple(c / length for c in v)


def cross(a, b):
    return a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]


def cell_circle():
    """How a cell is closed: H, R and E are known, X lies on the circle of two spheres and on the surface."""
    p = Picture(860, 370, 165)
    p.x0, p.y0 = 270, 205
    for k in range(13):
        t = -1.2 + 0.2 * k
        p.path([project(on_surface(t, -1.2 + 0.1 * j)) for j in range(25)], "#cdd2d8", width=1)
        p.path([project(on_surface(-1.2 + 0.1 * j, t)) for j in range(25)], "#cdd2d8", width=1)
    h = on_surface(-0.62, -0.55)
    r = stepped(h, (1.0, 0.0), 1.0)
    e = stepped(h, (0.0, 1.0), 1.0)
    centre = tuple(0.5 * (a + b) for a, b in zip(r, e))
    axis = unit(tuple(b - a for a, b in zip(r, e)))
    radius = math.sqrt(1.0 - 0.25 * math.dist(r, e) ** 2)
    u = unit(cross(axis, (0.0, 0.0, 1.0)))
    v = cross(axis, u)

    def on_circle(angle):
        return tuple(c + radius * (math.cos(angle) * a + math.sin(angle) * b)
                     for c, a, b in zip(centre, u, v))

    def below(angle):
        q = on_circle(angle)
        return q[2] < surface_height(q[0], q[1])

    crossings = []
    for k in range(720):
        a, b = math.pi * k / 360, math.pi * (k + 1) / 360
        if below(a) != below(b):
            crossings.append(on_circle(0.5 * (a + b)))
    x = max(crossings, key=lambda q: math.dist(q, h))
    # The part of the circle under the surface is drawn dashed.
    runs, run, state = [], [], below(0.0)
    for k in range(361):
        angle = math.pi * k / 180
        run.append(project(on_circle(angle)))
        if below(angle) != state:
            runs.append((state, run))
            run, state = run[-1:], not state
    runs.append((state, run))
    p.path([project(q) for q in (h, r, x, e)], "none", "#d5ede4", closed=True)
    p.path([project(q) for q in (e, h, r)], OLD, width=3)
    p.path([project(q) for q in (e, x, r)], NEW, width=2, dash="6 5")
    p.path([project(r), project(e)], GONE, width=1.2, dash="3 4")
    for under, points in runs:
        p.path(points, RED, width=2.2, dash="4 5" if under else "")
    p.node(*project(centre), "plain", r=3)
    for q, name, dx, dy in ((h, "H", -20, 16), (r, "R", 18, 12), (e, "E", -18, 6)):
        p.node(*project(q), "plain")
        p.text(*project(q), name, 16, bold=True, dx=dx, dy=dy)
    p.node(*project(x), "open")
    p.text(*project(x), "X", 16, NEW, bold=True, dx=14, dy=-10)

    def middle(a, b):
        return project(tuple(0.5 * (c + d) for c, d in zip(a, b)))
    p.text(*middle(h, r), "b", 14, OLD, dx=4, dy=20)
    p.text(*middle(h, e), "a", 14, OLD, dx=-16, dy=14)
    p.text(*middle(r, x), "a", 14, NEW, dx=16, dy=2)
    p.text(*middle(e, x), "b", 14, NEW, dx=4, dy=-10)
    p.x0, p.y0 = 545, 60
    lines = (("H, R", "two neighbours of the front"), ("E", "the new row's node over H"),
             ("X", "the node to place"), ("a", "cell length along the front's direction"),
             ("b", "cell length along the row"))
    for k, (name, words) in enumerate(lines):
        p.text(0, 0, name, 13, bold=True, anchor="start", dy=26 * k)
        p.text(0, 0, words, 13, anchor="start", dx=38, dy=26 * k)
    p.line((0, -0.92), (0.16, -0.92), RED, 2.2)
    p.text(0.16, -0.92, "all points at distance a from R", 13, anchor="start", dx=12, dy=-2)
    p.text(0.16, -0.92, "and b from E (dashed: below the surface)", 13, anchor="start", dx=12, dy=16)
    return p


def statuses():
    """A row that passes over a slit and over the outline."""
    p = Picture(860, 240, 74)
    p.x0, p.y0 = 150, 140
    p.ground([(-0.5, -0.75), (7.6, -0.75), (7.6, 1.6), (-0.5, 1.6)])
    p.gap([(7.6, 0.40), (3.45, 0.40), (3.35, 0.5), (3.45, 0.6), (7.6, 0.6)])
    p.path([(7.6, 0.405), (7.6, 0.595)], "#ffffff", width=3)
    for x in range(-1, 8):
        p.line((x, 0), (x, 1), GONE if x < 0 else NEW if x < 4 else AMBER if x == 4 else GONE, 1.5, "5 4")
    p.line((-1, 0), (7, 0), OLD, 3.5)
    p.line((-1, 1), (7, 1), NEW, 1.5, "5 4")
    for x in range(8):
        p.node(x, 0, "open")
    p.node(-1, 0, "closed")
    p.node(-1, 1, "closed", "−1")
    for x in range(4):
        p.node(x, 1, "open", "0")
    p.node(4, 1, "gap", "−2")
    for x in range(5, 8):
        p.node(x, 1, "closed", "−1")
    p.text(7.6, 0, "front", 13, OLD, "start", dx=6, dy=5)
    p.text(7.6, 1, "new row", 13, NEW, "start", dx=6, dy=5)
    p.text(7.6, 0.5, "slit", 13, EDGE, "start", dx=6, dy=5)
    p.text(-1, 0, "off the", 12, FAINT, "end", dx=-14, dy=-38)
    p.text(-1, 0, "surface", 12, FAINT, "end", dx=-14, dy=-22)
    legend(p, 60, 222, (("open", "0  open"), ("closed", "−1  closed"), ("gap", "−2  across a gap"),
                        ("cut", "−3  cut by a repair")), 185)
    return p


def defect_before(p, kind):
    """The front A to E, the row that is thrown away, and the gap that spoils it."""
    p.ground([(-0.5, -0.6), (4.5, -0.6), (4.5, 1.55), (-0.5, 1.55)])
    slits = {1: [(1.72, 1.55), (1.86, 0.55), (2.14, 0.55), (2.28, 1.55)],
             2: [(1.38, 1.55), (1.46, 0.42), (1.54, 0.42), (1.62, 1.55)],
             3: [(-0.5, 0.62), (1.4, 0.62), (1.46, 0.5), (1.4, 0.38), (-0.5, 0.38)],
             4: [(4.5, 0.62), (1.6, 0.62), (1.54, 0.5), (1.6, 0.38), (4.5, 0.38)]}
    p.gap(slits[kind])
    ends = {1: ((1.73, 1.55), (2.27, 1.55)), 2: ((1.39, 1.55), (1.61, 1.55)),
            3: ((-0.5, 0.61), (-0.5, 0.39)), 4: ((4.5, 0.61), (4.5, 0.39))}
    p.line(*ends[kind], "#ffffff", 3)
    return {1: "open open closed open open", 2: "open open open open open",
            3: "closed gap open open open", 4: "open open gap closed closed"}[kind].split()


def front_piece(p, points, colour=OLD):
    p.path(points, colour, width=3.5)


def advance(p, x, y, colour=OLD, height=0.42):
    p.arrow((x, y + 0.16), (x, y + 0.16 + height), colour, 2.2)


def defects():
    p = Picture(900, 880, 74)
    titles = {1: "Kind 1: one closed node between open ones. The node is split",
              2: "Kind 2: the boundary crosses the row twice between open nodes. The edge is cut",
              3: "Kind 3: a node across a gap, then an open one. The leading piece gets a closed copy",
              4: "Kind 4: an open node, then one across a gap. The trailing piece gets a closed copy"}
    row_words = {"open": "0", "closed": "−1", "gap": "−2"}
    for kind in (1, 2, 3, 4):
        top = 210 * (kind - 1)
        p.x0, p.y0 = 70, top + 160
        p.text(0, 0, titles[kind], 14, bold=True, anchor="start", dx=-45, dy=-136)
        row = defect_before(p, kind)
        p.line((0, 0), (4, 0), OLD, 3.5)
        p.line((0, 1), (4, 1), GONE, 1.5, "5 4")
        for x, status in enumerate(row):
            p.line((x, 0), (x, 1), GONE, 1.5, "5 4")
            p.node(x, 1, status, row_words[status])
            p.node(x, 0, "open", "ABCDE"[x], dy=24)
        p.x0, p.y0 = 520, top + 160
        defect_before(p, kind)
        if kind == 1:
            front_piece(p, [(0, 0), (1, 0), (1.9, -0.02)])
            front_piece(p, [(2.2, 0.12), (3, 0), (4, 0)], NEW)
            nodes = ((0, 0, "open", "A"), (1, 0, "open", "B"), (1.9, -0.02, "closed", "C"),
                     (3, 0, "open", "D"), (4, 0, "open", "E"))
            p.node(2.2, 0.12, "closed", "T", dx=12, dy=-8)
            p.pivot(1.9, -0.02)
            p.pivot(2.2, 0.12)
            advance(p, 0.5, 0)
            advance(p, 3.5, 0, NEW)
        elif kind == 2:
            p.path([(1.12, -0.4), (1.88, -0.4)], GONE, width=2.5)
            p.node(1.12, -0.4, "open", "B'", dx=-15, dy=7, r=4)
            p.node(1.88, -0.4, "open", "C'", dx=16, dy=7, r=4)
            front_piece(p, [(0, 0), (1, 0)])
            front_piece(p, [(2, 0), (3, 0), (4, 0)], NEW)
            nodes = ((0, 0, "open", "A"), (1, 0, "cut", ""), (2, 0, "cut", ""), (3, 0, "open", "D"),
                     (4, 0, "open", "E"))
            p.text(1, 0, "B", 13, dx=-17, dy=17)
            p.text(2, 0, "C", 13, dx=17, dy=17)
            p.pivot(1, 0)
            p.pivot(2, 0)
            p.arrow((1.16, 0), (1.45, 0), SIDE, 2.6)
            p.arrow((1.84, 0), (1.55, 0), SIDE, 2.6)
            p.text(1.3, 0, "hold 1", 11, SIDE, "end", dx=-2, dy=-13)
            p.text(1.7, 0, "hold 2", 11, SIDE, "start", dx=2, dy=-13)
            advance(p, 0.4, 0)
            advance(p, 3.5, 0, NEW)
        elif kind == 3:
            front_piece(p, [(0, 0), (1, 0), (1.84, -0.26)])
            front_piece(p, [(2, 0), (3, 0), (4, 0)], NEW)
            nodes = ((0, 0, "open", "A"), (1, 0, "open", "B"), (2, 0, "cut", ""), (3, 0, "open", "D"),
                     (4, 0, "open", "E"))
            p.node(1.84, -0.26, "closed", "C'", dx=-2, dy=19)
            p.text(2, 0, "C", 13, dx=14, dy=20)
            p.pivot(1, 0)
            p.pivot(2, 0)
            p.arrow((1.86, 0), (1.44, 0), SIDE, 2.6)
            p.text(1.62, 0, "hold 2", 11, SIDE, dy=-9)
            advance(p, 0.5, 0, height=0.2)
            advance(p, 3.5, 0, NEW)
        else:
            front_piece(p, [(0, 0), (1, 0)])
            front_piece(p, [(1.16, -0.26), (2, 0), (3, 0), (4, 0)], NEW)
            nodes = ((0, 0, "open", "A"), (1, 0, "cut", ""), (2, 0, "open", "C"), (3, 0, "open", "D"),
                     (4, 0, "open", "E"))
            p.node(1.16, -0.26, "closed", "B'", dx=4, dy=19)
            p.text(1, 0, "B", 13, dx=-14, dy=20)
            p.pivot(1, 0)
            p.pivot(2, 0)
            p.arrow((1.14, 0), (1.56, 0), SIDE, 2.6)
            p.text(1.38, 0, "hold 1", 11, SIDE, dy=-9)
            advance(p, 0.4, 0)
            advance(p, 3.5, 0, NEW, height=0.2)
        for x, y, status, name in nodes:
            p.node(x, y, status, name, dy=24)
        p.arrow((-1.18, 0.5), (-0.72, 0.5), INK, 2.4)
    legend(p, 30, 862, (("line:%s:" % OLD, "leading piece"), ("line:%s:" % NEW, "trailing piece"),
                        ("line:%s:" % SIDE, "side front"), ("line:%s:5 4" % GONE, "row thrown away"),
                        ("pivot", "pivot asked for")), 172)
    return p


def corner_panel(p, kind, after):
    """Three columns and three rows at one end of a front; the front runs right or left from x = 0."""
    s = 1 if kind < 4 else -1  # the front lies to the right of its first end, to the left of its last end
    base = (kind - 1) % 3 + 1

    def q(x, y):
        return (s * x, y)
    p.ground([q(-1.5, -0.45), q(2.4, -0.45), q(2.4, 2.5), q(-1.5, 2.5)])
    if base == 1:  # the surface ends beside the lower nodes
        p.gap([q(-1.5, -0.45), q(0.55, -0.45), q(0.55, 1.45), q(-1.5, 1.45)])
        p.path([q(-1.5, 1.43), q(-1.5, -0.45), q(0.53, -0.45)], "#ffffff", width=3)
        lower, behind, end = "closed", "closed", "open"
    elif base == 2:  # a notch reaches in over the node behind
        p.gap([q(-1.5, 0.6), q(0.4, 0.6), q(0.4, 1.4), q(-1.5, 1.4)])
        p.line(q(-1.5, 0.62), q(-1.5, 1.38), "#ffffff", 3)
        lower, behind, end = "open", "closed", "open"
    else:  # a slit runs between the end node and the one behind
        p.gap([q(-1.5, 1.38), q(0.45, 1.38), q(0.5, 1.5), q(0.45, 1.62), q(-1.5, 1.62)])
        p.line(q(-1.5, 1.4), q(-1.5, 1.6), "#ffffff", 3)
        lower, behind, end = "open", "open", "gap"
    for y in (0, 1):
        p.line(q(0, y), q(2.2, y), GONE, 1.2)
    for x in (1, 2):
        p.line(q(x, 0), q(x, 2), GONE, 1.2)
    if not (after and kind == 3):
        p.line(q(0, 0), q(0, 1), GONE, 1.2)
    hooked = not after or base == 1
    if hooked:
        p.line(q(0, 1), q(0, 2), GONE, 1.2)
    p.line(q(0, 2), q(2.2, 2), OLD, 3.5)
    if not after:
        for x in (1, 2):
            for y in (0, 1, 2):
                p.node(*q(x, y), "open", r=4)
        p.node(*q(0, 0), lower, "BB", dx=-20 * s, dy=5)
        p.node(*q(0, 1), behind, "B", dx=-16 * s, dy=5)
        p.node(*q(0, 2), end, "E", dy=-10)
        return
    behind_label, end_label = ("B", -16, 5), ("E", 17, -11)
    new_front, twins = [q(0, 1), q(0, 2)], []
    if kind in (2, 5):
        new_front = [q(-0.24, 1.12), q(0, 2)]
        twins = [(q(-0.24, 1.12), "closed", "T" if kind == 2 else "C", -14, 3)]
        behind_label = ("B", -4, 23)
        p.path([q(-0.24, 1.12), q(1, 1)], GONE, width=1.2, dash="3 3")
    elif kind == 3:  # the old nodes go sideways, the twins stay with the cloth
        behind, end = "closed", "open"
        twins = [(q(0.26, 0.86), "open", "B'", 16, 17), (q(0.26, 1.8), "closed", "E'", 17, 11)]
        p.path([q(0, 0), q(0.26, 0.86), q(0.26, 1.8)], GONE, width=1.2)
    elif kind == 6:  # the twins go sideways, the old nodes stay
        new_front = [q(-0.26, 0.9), q(-0.26, 1.86)]
        twins = [(q(-0.26, 0.9), "closed", "B'", -18, 16), (q(-0.26, 1.86), "open", "E'", -22, 4)]
        p.line(q(0, 1), q(0, 2), GONE, 1.2)
        behind_label = ("B", 12, 19)
    p.path(new_front, SIDE, width=3.5)
    x, y = new_front[0][0], 0.5 * (new_front[0][1] + new_front[1][1])
    shift = 0.12 * s
    p.arrow((x - shift, y), (x - shift - 0.75 * s, y), SIDE, 2.4)
    for k in (1, 2):
        for j in (0, 1, 2):
            p.node(*q(k, j), "open", r=4)
    p.node(*q(0, 0), lower, "BB", dx=-20 * s, dy=5)
    p.node(*q(0, 1), behind, behind_label[0], dx=behind_label[1] * s, dy=behind_label[2])
    p.node(*q(0, 2), end, end_label[0], dx=end_label[1] * s, dy=end_label[2])
    for at, status, name, dx, dy in twins:
        p.node(*at, status, name, dx=dx * s, dy=dy, r=5)
    pivots = {1: q(0, 2), 2: q(0, 2), 3: q(0, 2), 4: q(0, 2), 6: q(-0.26, 1.86)}
    if kind in pivots:
        p.pivot(*pivots[kind])


def corners():
    p = Picture(900, 720, 50)
    words = {1: "Kind 1: both nodes behind closed", 2: "Kind 2: the node behind closed",
             3: "Kind 3: the end node across a gap", 4: "Kind 4: both nodes behind closed",
             5: "Kind 5: the node behind closed", 6: "Kind 6: the end node across a gap"}
    p.x0, p.y0 = 225, 30
    p.text(0, 0, "First end of a front", 15, bold=True)
    p.x0 = 675
    p.text(0, 0, "Last end of a front", 15, bold=True)
    for kind in words:
        column, line = (kind - 1) // 3, (kind - 1) % 3
        s = 1 if kind < 4 else -1
        p.x0, p.y0 = 20 + 450 * column, 60 + 212 * line
        p.text(0, 0, words[kind], 13, bold=True, anchor="start", dy=6)
        for after in (False, True):
            p.x0 = 20 + 450 * column + (75 if s > 0 else 120) + (220 if after else 0)
            p.y0 = 60 + 212 * line + 150
            corner_panel(p, kind, after)
        p.x0 = 20 + 450 * column
        p.arrow((3.98, 1.2), (4.32, 1.2), INK, 2.2)
    legend(p, 40, 702, (("open", "open"), ("closed", "closed"), ("gap", "across a gap"),
                        ("line:%s:" % OLD, "front"), ("line:%s:" % SIDE, "new front"),
                        ("pivot", "its pivot")), 140)
    return p


def shear():
    p = Picture(860, 180, 110)
    p.x0, p.y0 = 60, 130
    p.path([(0, 0), (1, 0), (1, 1), (0, 1)], OLD, "#dbe7f5", 2.5, closed=True)
    p.text(0.5, 0, "square cell: shear 0°", 13, dy=30)
    for base, degrees, fill in ((2.3, 25, "#d5ede4"), (4.7, 55, "#f7d9d2")):
        angle = math.radians(degrees)
        dx, dy = math.sin(angle), math.cos(angle)
        p.path([(base, 0), (base, 1)], GONE, width=1.2, dash="3 4")
        p.path([(base, 0), (base + 1, 0), (base + 1 + dx, dy), (base + dx, dy)], OLD, fill, 2.5, closed=True)
        p.path([(base + 0.45 * math.sin(angle * k / 20), 0.45 * math.cos(angle * k / 20)) for k in range(21)],
               RED, width=2)
        p.text(base + 0.62 * math.sin(angle / 2), 0.62 * math.cos(angle / 2), f"{degrees}°", 13, RED)
        p.text(base + 0.5, 0, "sheared" if degrees < 45 else "beyond the locking angle (45°): it wrinkles", 13,
               INK, dy=30)
    return p


def main():
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).parent / "pictures"
    folder.mkdir(parents=True, exist_ok=True)
    for name, draw in (("directions", directions), ("cell", cell_circle), ("statuses", statuses),
                       ("defects", defects), ("corners", corners), ("shear", shear)):
        draw().save(folder / f"guide_{name}.svg")


if __name__ == "__main__":
    main()
