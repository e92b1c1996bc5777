"""What the numbers of a drape should be, worked out from the nodes of the grid and the triangles of the mould by
definition alone: every pair is looked at, nothing is indexed, nothing is shared with the program.
"""

import collections
import math

STAND_OFF, MARGIN = 0.5, 0.05  # of the longest cell side: how far cloth may lie off or beside what it covers


def sub(a, b):
    return [x - y for x, y in zip(a, b)]


def add(*vectors):
    return [sum(parts) for parts in zip(*vectors)]


def scaled(a, s):
    return [s * x for x in a]


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def unit(a):
    size = math.hypot(*a)
    return scaled(a, 1 / size) if size > 0 else list(a)


def middle(*points):
    return scaled(add(*points), 1 / len(points))


def triangle_area(a, b, c):
    return 0.5 * math.hypot(*cross(sub(b, a), sub(c, a)))


def flat_area(points):
    """Area of a flat polygon, above 0 if it runs anticlockwise."""
    return 0.5 * sum(a[0] * b[1] - b[0] * a[1] for a, b in zip(points, points[1:] + points[:1]))


def turned(v, axis, degrees):
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    return add(scaled(v, c), scaled(cross(axis, v), s), scaled(axis, (1 - c) * dot(axis, v)))


def nearest_on_triangle(p, corners):
    """The nearest point as shares of the three corners."""
    a, b, c = corners
    n = cross(sub(b, a), sub(c, a))
    square = dot(n, n)
    if square > 0:
        shares = [dot(cross(sub(c, b), sub(p, b)), n) / square, dot(cross(sub(a, c), sub(p, c)), n) / square,
                  dot(cross(sub(b, a), sub(p, a)), n) / square]
        if min(shares) >= 0:
            return shares
    best = None
    for k in range(3):
        e, f = corners[k], corners[(k + 1) % 3]
        along = sub(f, e)
        t = min(1.0, max(0.0, dot(sub(p, e), along) / dot(along, along)))
        away = math.dist(p, add(e, scaled(along, t)))
        if best is None or away < best[0]:
            shares = [0.0] * 3
            shares[k], shares[(k + 1) % 3] = 1 - t, t
            best = away, shares
    return best[1]


class Mould:
    """Points and triangles from 0, and per triangle its face in the file from 1."""

    def __init__(self, points, triangles, faces=None):
        self.points, self.triangles = [tuple(p) for p in points], [tuple(t) for t in triangles]
        self.faces = faces
        self.corners = [tuple(self.points[v] for v in t) for t in self.triangles]
        self.areas = [triangle_area(*c) for c in self.corners]
        self.area = sum(self.areas)
        self.normals = [unit(cross(sub(b, a), sub(c, a))) for a, b, c in self.corners]

    def loops(self):
        """Boundary loops, the longest first: (length, vertices)."""
        sides = {(t[k], t[(k + 1) % 3]) for t in self.triangles for k in range(3)}
        follow = {a: b for a, b in sides if (b, a) not in sides}
        loops = []
        while follow:
            loop = [min(follow)]
            while follow[loop[-1]] != loop[0]:
                loop.append(follow[loop[-1]])
            for v in loop:
                del follow[v]
            places = [self.points[v] for v in loop]
            loops.append((sum(math.dist(a, b) for a, b in zip(places, places[1:] + places[:1])), loop))
        return sorted(loops, key=lambda loop: -loop[0])

    def centroid(self):
        return scaled(add(*(scaled(middle(*c), w) for c, w in zip(self.corners, self.areas))), 1 / self.area)

    def nearest(self, p):
        """Nearest point of the surface, and its triangle."""
        found = []
        for t, corners in enumerate(self.corners):
            place = add(*(scaled(c, s) for c, s in zip(corners, nearest_on_triangle(p, corners))))
            found.append((math.dist(p, place), t, place))
        away, t, place = min(found)
        return place, t


class Grid:
    """The nodes of a grid file, from 0; links stay numbers from 1 with 0 for none."""

    def __init__(self, file):
        data = file.point_data
        self.count = file.point_count
        self.position, self.flat, self.normal = file.points, data["flat"], data["normal"]
        self.link = {k: data[f"link{k}"] for k in (1, 2, 3, 4)}
        self.i, self.j, self.status, self.triangle = (data[n] for n in ("i", "j", "status", "triangle"))
        self.cells = []
        for c in range(self.count):
            a, b = self.link[1][c], self.link[4][c]
            across = self.link[4][a - 1] if a else 0
            if a and b and across:
                self.cells.append((c, a - 1, across - 1, b - 1))
        self.shear = [self.shear_of(cell) for cell in self.cells]
        self.whole = [all(self.status[n] == 0 and self.triangle[n] > 0 for n in cell) for cell in self.cells]
        self.edge = [not whole and any(self.status[n] == 0 for n in cell)
                     for cell, whole in zip(self.cells, self.whole)]

    def places(self, cell):
        return [self.position[n] for n in cell]

    def on_surface(self, values):
        return [value for value, whole in zip(values, self.whole) if whole]

    def shear_of(self, cell):
        p, q, r, s = self.places(cell)
        warp, weft = sub(middle(q, r), middle(p, s)), sub(middle(s, r), middle(p, q))
        angle = math.degrees(math.atan2(math.hypot(*cross(warp, weft)), dot(warp, weft)))
        return 90.0 - angle

    def largest_turn(self):
        """Largest angle between a yarn's sides before and behind a node, both laid into the cloth there, and the node."""
        inside, turns = {n for cell in self.on_surface(self.cells) for n in cell}, []
        for n in sorted(inside):
            around = [self.link[k][n] - 1 for k in (1, 4, 3, 2)]
            if not inside.issuperset(around):
                continue
            p = [self.position[k] for k in around]
            normal = unit(cross(sub(p[0], p[2]), sub(p[1], p[3])))
            for k in (0, 1):
                before, behind = (unit(sub(v, scaled(normal, dot(v, normal))))
                                  for v in (sub(self.position[n], p[k + 2]), sub(p[k], self.position[n])))
                turns.append((math.degrees(2 * math.asin(min(1.0, math.dist(before, behind) / 2))), n))
        return max(turns)

    def chord(self, node, behind, ahead):
        """Direction of a fibre at a node, from the one node to the other or by the one side that there is."""
        ends = [self.link[k][node] - 1 if self.link[k][node] else node for k in (ahead, behind)]
        return unit(sub(self.position[ends[0]], self.position[ends[1]]))

    def fibre(self, cell, kind, share):
        """Direction of warp or weft inside a cell, `share` of the way from its first to its last fibre."""
        p, q, r, s = self.places(cell)
        first, last = (sub(q, p), sub(r, s)) if kind == "warp" else (sub(s, p), sub(r, q))
        return unit(add(scaled(first, 1 - share), scaled(last, share)))

    def halves(self, cell):
        """A cell as two triangles along its shorter diagonal."""
        c, a, e, b = cell
        if math.dist(self.position[c], self.position[e]) <= math.dist(self.position[a], self.position[b]):
            return (c, a, e), (c, e, b)
        return (c, a, b), (a, e, b)

    def outline(self):
        """Directed sides of cells on the surface that no neighbour runs the other way, counted, by grid places."""
        place = lambda n: (self.i[n], self.j[n], tuple(self.position[n]))
        sides = collections.Counter()
        for cell in self.on_surface(self.cells):
            for k in range(4):
                a, b = place(cell[k]), place(cell[(k + 1) % 4])
                if sides[b, a] > 0:
                    sides[b, a] -= 1
                else:
                    sides[a, b] += 1
        return +sides

    def point_in(self, cell, flat):
        """The point of space at a place of the pattern within a cell."""
        low, high = self.flat[cell[0]], self.flat[cell[2]]
        u, v = ((x - a) / (b - a) for x, a, b in zip(flat, low, high))
        p, q, r, s = self.places(cell)
        return add(scaled(p, (1 - u) * (1 - v)), scaled(q, u * (1 - v)), scaled(r, u * v), scaled(s, (1 - u) * v))

    def over(self, flat):
        """Points in space of all cells that lie at a place of the pattern, or within a part of a cell beside it."""
        found = []
        for cell in self.cells:
            low, high = self.flat[cell[0]], self.flat[cell[2]]
            u, v = ((x - a) / (b - a) for x, a, b in zip(flat, low, high))
            if -0.3 <= u <= 1.3 and -0.3 <= v <= 1.3:
                found.append(self.point_in(cell, flat))
        return found


def within(loop, low, high):
    """The part of a flat closed line within a box, side by side; it may run along the box's sides there and back."""
    for axis in (0, 1):
        for bound, sense in ((low[axis], 1), (high[axis], -1)):
            inside, kept = (lambda p: sense * (p[axis] - bound) >= 0), []
            for a, b in zip(loop, loop[1:] + loop[:1]):
                if inside(a):
                    kept.append(a)
                if inside(a) != inside(b):
                    t = (bound - a[axis]) / (b[axis] - a[axis])
                    kept.append([x + t * (y - x) for x, y in zip(a, b)])
            loop = kept
    return loop


NetFace = collections.namedtuple("NetFace", "cell share lines shear area")


def net_faces(grid, loops):
    """What lies of each cell within the closed lines of the pattern: share of the flat cell, lines in space, area there.
    A cell that isn't on the mould with all corners has the mean shear of those beside it, ring by ring. Where two rows
    met, the same cell can stand twice; it counts once."""
    found, standing = {}, collections.defaultdict(list)
    opened = lambda k: sum(grid.status[n] == 0 and grid.triangle[n] > 0 for n in grid.cells[k])
    for k, cell in sorted(enumerate(grid.cells), key=lambda entry: -opened(entry[0])):
        here, place = middle(*grid.places(cell)), (grid.i[cell[0]], grid.j[cell[0]])
        if any(math.dist(here, there) < 0.5 * math.dist(*grid.places(cell)[:2]) for there in standing[place]):
            continue
        standing[place].append(here)
        low, high = grid.flat[cell[0]], grid.flat[cell[2]]
        parts = [part for part in (within(loop, low, high) for loop in loops) if len(part) > 2]
        share = sum(map(flat_area, parts)) / ((high[0] - low[0]) * (high[1] - low[1]))
        if share > 1e-6:
            lines = [[grid.point_in(cell, p) for p in part] for part in parts]
            p, q, r, s = grid.places(cell)
            found[k] = share, lines, share * 0.5 * math.hypot(*cross(sub(r, p), sub(s, q)))
    shear = {k: grid.shear[k] for k in found if grid.whole[k]}
    sides = lambda k: {frozenset((grid.cells[k][c], grid.cells[k][c - 1])) for c in range(4)}
    while True:
        ring = {k: [shear[m] for m in shear if sides(k) & sides(m)] for k in found if k not in shear}
        ring = {k: sum(values) / len(values) for k, values in ring.items() if values}
        if not ring:
            break
        shear.update(ring)
    return [NetFace(k, share, lines, shear.get(k, grid.shear[k]), area) for k, (share, lines, area) in found.items()]


def lies_inside(loops, p):
    """Whether a place of the plane lies within closed lines, of which holes run the other way round."""
    return sum((a[1] <= p[1] < b[1]) - (b[1] <= p[1] < a[1]) for loop in loops for a, b in closed(loop)
               if (a[1] <= p[1]) != (b[1] <= p[1])
               and p[0] < a[0] + (p[1] - a[1]) / (b[1] - a[1]) * (b[0] - a[0])) > 0


def yarn_sides(grid, loops, faces):
    """The sides of the faces' cells, by their nodes, with the share of each that has the pattern on one hand or both."""
    shares, tries = {}, 24
    for face in faces:
        c = grid.cells[face.cell]
        for a, b in ((c[0], c[1]), (c[3], c[2]), (c[0], c[3]), (c[1], c[2])):
            if grid.whole[face.cell] and face.share > 1 - 1e-6:
                shares[a, b] = 1.0
            elif (a, b) not in shares:
                low, way = grid.flat[a], sub(grid.flat[b], grid.flat[a])
                aside = [1e-4 * way[1], 1e-4 * way[0]]
                places = [add(low, scaled(way, (k + 0.5) / tries)) for k in range(tries)]
                shares[a, b] = sum(lies_inside(loops, add(p, aside)) or lies_inside(loops, sub(p, aside)) for p in places) / tries
    return shares


def from_segments(p, segments):
    """Distance of a point, of the plane or of space, to the nearest of several segments."""
    def to(a, b):
        along = sub(b, a)
        square = dot(along, along)
        t = min(1.0, max(0.0, dot(sub(p, a), along) / square)) if square > 0 else 0.0
        return math.dist(p, add(a, scaled(along, t)))
    return min((to(a, b) for a, b in segments), default=math.inf)


def closed(points):
    """The segments of a closed line."""
    return list(zip(points, points[1:] + points[:1]))


Fibres = collections.namedtuple("Fibres", "cover cell shear warp weft")
BARE = Fibres(0, 0, 0.0, [0.0] * 3, [0.0] * 3)


def met_along(grid, k, cell, centroid, normal):
    """Where the line through a centroid along the normal meets a cell, as it can where the cell spans a sharp edge."""
    for half in grid.halves(cell):
        a, b, c = (grid.position[n] for n in half)
        upright = cross(sub(b, a), sub(c, a))
        way = dot(sub(a, centroid), upright) / (dot(normal, upright) or math.inf)
        met = add(centroid, scaled(normal, way))
        shares = [dot(cross(sub(q, p), sub(met, p)), upright) / dot(upright, upright) for p, q in ((b, c), (c, a), (a, b))]
        if min(shares) >= 0:
            yield (1, abs(way), k, sum(s for n, s in zip(half, shares) if n in (cell[1], cell[2])),
                   sum(s for n, s in zip(half, shares) if n in (cell[2], cell[3])))


def fibre_map(mould, grid, loops):
    """Per triangle of the mould what lies over its centroid: the nearest cell that does. Where that hangs over from
    beyond a slit, as the pattern's closed lines tell, the nearest of those on this side."""
    def on_this_side(place):
        _, _, k, *shares = place
        low, high = grid.flat[grid.cells[k][0]], grid.flat[grid.cells[k][2]]
        return lies_inside(loops, [a + s * (b - a) for a, b, s in zip(low, high, shares)])
    sides = [math.dist(grid.position[cell[k]], grid.position[cell[(k + 1) % 4]])
             for cell in grid.on_surface(grid.cells) for k in range(4)]
    longest = max(sides, default=0.0)
    centres = [middle(*grid.places(cell)) for cell in grid.cells]
    facing = [add(*(grid.normal[n] for n in cell)) for cell in grid.cells]
    fibres = []
    for corners, normal in zip(mould.corners, mould.normals):
        centroid, found = middle(*corners), []
        for k, cell in enumerate(grid.cells):
            if not (grid.whole[k] or grid.edge[k]) or math.dist(centres[k], centroid) > 2 * longest \
                    or dot(facing[k], normal) <= 0:
                continue
            places = []
            for half in grid.halves(cell):
                shares = nearest_on_triangle(centroid, [grid.position[n] for n in half])
                at = add(*(scaled(grid.position[n], s) for n, s in zip(half, shares)))
                along = sum(s for n, s in zip(half, shares) if n in (cell[1], cell[2]))
                across = sum(s for n, s in zip(half, shares) if n in (cell[2], cell[3]))
                places.append((math.dist(at, centroid), at, along, across))
            away, at, along, across = min(places)
            off = dot(sub(centroid, at), normal)
            beside = math.hypot(*sub(sub(centroid, at), scaled(normal, off)))
            if abs(off) <= STAND_OFF * longest and beside <= MARGIN * longest:
                found.append((1 if grid.whole[k] else 2, away, k, along, across))
        if not found:
            found = [across_edge for k, cell in enumerate(grid.cells)
                     if grid.whole[k] and math.dist(centres[k], centroid) <= 2 * longest and dot(facing[k], normal) > 0
                     for across_edge in met_along(grid, k, cell, centroid, normal) if across_edge[1] <= longest]
        if not found:
            fibres.append(BARE)
            continue
        nearest = min(found)
        if nearest[0] == 2 and not on_this_side(nearest):
            own = min(filter(on_this_side, found), default=nearest)
            one = lambda a, b: a == b or (grid.flat[a] == grid.flat[b]
                                          and math.dist(grid.position[a], grid.position[b]) < 0.5 * longest)
            joined = any(one(a, b) for a in grid.cells[own[2]] for b in grid.cells[nearest[2]])
            nearest = nearest if joined else own
        cover, _, k, along, across = nearest
        lie = lambda v: unit(sub(v, scaled(normal, dot(v, normal))))
        fibres.append(Fibres(cover, grid.cells[k][0] + 1, grid.shear[k],
                             lie(grid.fibre(grid.cells[k], "warp", across)),
                             lie(grid.fibre(grid.cells[k], "weft", along))))
    return fibres


def sheared_area(mould, fibres):
    """Flat area of the cloth over the mould's triangles: each is as much larger as its cloth is sheared."""
    return sum(a / math.cos(math.radians(f.shear)) for a, f in zip(mould.areas, fibres) if f.cover)


def from_edge(mould, points):
    """Distance of the nearest of several points to the mould's edge."""
    edge = [(mould.points[a], mould.points[b]) for _, loop in mould.loops() for a, b in closed(loop)]
    return min(from_segments(p, edge) for p in points)


# Shear as colour: pale yellow to deep blue up to the locking angle, orange to dark red beyond it, mixed in the
# OKLab space.
COOL = ((0.992, 0.961, 0.741), (0.780, 0.906, 0.651), (0.439, 0.792, 0.667), (0.176, 0.612, 0.694),
        (0.133, 0.400, 0.627), (0.125, 0.173, 0.451))
HOT = ((0.992, 0.553, 0.235), (0.890, 0.188, 0.141), (0.498, 0.0, 0.118))


def to_linear(x):
    return x / 12.92 if x <= 0.04045 else ((x + 0.055) / 1.055) ** 2.4


def from_linear(x):
    x = min(1.0, max(0.0, x))
    return 12.92 * x if x <= 0.0031308 else 1.055 * x ** (1 / 2.4) - 0.055


def shear_scale(largest, locking):
    """Top of the colour bar and the angle at which the reds start, if they do."""
    top = next((t for t in (1, 2, 5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 60, 75, 90) if largest <= t), 90)
    return top, locking if 0 < locking < largest else top


def shear_colour(scale, shear):
    top, locking = scale
    anchors, share = (HOT, (shear - locking) / (top - locking)) if shear > locking else (COOL, shear / locking)
    place = min(1.0, max(0.0, share)) * (len(anchors) - 1)
    below = min(int(place), len(anchors) - 2)
    mixed = add(scaled(oklab(anchors[below]), below + 1 - place), scaled(oklab(anchors[below + 1]), place - below))
    l, m, s = ((mixed[0] + x * mixed[1] + y * mixed[2]) ** 3 for x, y in (
        (0.3963377774, 0.2158037573), (-0.1055613458, -0.0638541728), (-0.0894841775, -1.2914855480)))
    return [from_linear(dot((l, m, s), row)) for row in (
        (4.0767416621, -3.3077115913, 0.2309699292), (-1.2684380046, 2.6097574011, -0.3413193965),
        (-0.0041960863, -0.7034186147, 1.7076147010))]


def oklab(colour):
    light = [to_linear(x) for x in colour]
    cones = [dot(row, light) ** (1 / 3) for row in (
        (0.4122214708, 0.5363325363, 0.0514459929), (0.2119034982, 0.6806995451, 0.1073969566),
        (0.0883024619, 0.2817188376, 0.6299787005))]
    return [dot(row, cones) for row in (
        (0.2104542553, 0.7936177850, -0.0040720468), (1.9779984951, -2.4285922050, 0.4505937099),
        (0.0259040371, 0.7827717662, -0.8086757660))]
