"""The 3D model, the cutting file, the drawings and the pictures against the grid that they show: places, directions,
units, colours, and which lines are drawn where.
"""

import collections
import csv
import math
import re
import subprocess
import unittest

import model
from drapes import Drape, Drapes, of_each
from model import add, cross, dot, scaled, sub, unit
from moulds import cup, obj, plate
from readers import Gltf, Svg, dxf_entities, dxf_header, pdf_words, png_pixels

INK, CURVE = (0.10, 0.12, 0.15), (0.85, 0.10, 0.40)
ROOM, TALLEST, EDGE, CAPTION, LOWEST = 990.0, 760.0, 30.0, 136.0, 420.0  # pixels of a picture
MARGIN, LEGEND = 10.0, 42.0  # millimetres of a page at 1:1, before it grows with large patterns


def near(a, b, tolerance):
    return all(abs(x - y) <= tolerance for x, y in zip(a, b, strict=True))


def matched(got, wanted, tolerance):
    """Whether the two lists of points hold the same points, in any order."""
    rest = list(wanted)
    for p in got:
        found = next((q for q in rest if near(p, q, tolerance)), None)
        if found is None:
            return False
        rest.remove(found)
    return not rest


def bends(points):
    """The points of a closed line at which it turns."""
    points = list(points)
    return [q for p, q, r in zip(points[-1:] + points, points, points[1:] + points[:1])
            if abs(cross((*unit(sub(q, p)), 0), (*unit(sub(r, q)), 0))[2]) > 1e-4]


class Drawings(Drapes):
    OUTPUTS = ("glb", "gltf", "dxf", "pattern.svg", "pattern.png", "pdf", "svg", "png")
    VARIANTS = {
        "fine": ("--step", "1.1,0.8", "--locking", "3", "--seed", "38,-2.6,14", "--units-mm", "20"),
        "large": ("--step", "1.3,0.9", "--units-mm", "100", "--angle", "70"),
        "ended": ("--step", "1.1,0.8", "--max-nodes", "61", "--units-mm", "25.4"),
    }

    RINGS = {
        "fine": [(-4, -2), (-3, -2), (-2, -3), (-2, -4), (-2, -5), (-3, -6), (-4, -6), (-4, -5), (-4, -4), (-4, -3)],
        "large": [(0, 0), (1, 0), (2, 0), (2, 1), (1, 2), (0, 2), (-1, 2), (-1, 1), (0, 1)],
    }

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # A first run tells where the nodes lie; the curve of the second goes through some of them, drawn off the cloth
        # along a slanting direction that it names, or along the mould's normal without naming it.
        cls.curve = {}
        for name, ring in cls.RINGS.items():
            grid = cls.drapes[name].grid
            at = {(grid.i[n], grid.j[n]): n for cell in grid.on_surface(grid.cells) for n in cell}
            lines = []
            for n in (at[place] for place in ring):
                slant = add(grid.normal[n], (0.2, -0.1, 0.15)) if name == "fine" else grid.normal[n]
                point = add(grid.position[n], scaled(slant, 0.12 if name == "fine" else 0.02))
                lines.append((point, slant if name == "fine" else ()))
            nodes = [at[place] for place in ring]
            cls.curve[name] = [p for p, _ in lines], [grid.flat[n] for n in nodes], [grid.position[n] for n in nodes]
            path = cls.folder / f"{name}.xyz"
            path.write_text("".join(" ".join(map(repr, (*p, *d))) + "\n" for p, d in lines))
            cls.drapes[name] = Drape(cls.folder, cls.mesh, *cls.VARIANTS[name], "--curve", path,
                                     outputs=(*cls.OUTPUTS, "curve.csv"), stem=name)

    def setUp(self):
        self.unit = {"fine": 20.0, "large": 100.0, "ended": 25.4}

    def colours(self, drape):
        told = drape.report["shear"]
        return model.shear_scale(told["largest"], told["lockingAngle"])

    @of_each
    def test_cloth_stands_upright_in_metres(self, name, drape):
        grid, told = drape.grid, drape.report["shear"]
        for kind in ("glb", "gltf"):
            file = Gltf(drape.path[kind])
            tree = file.tree
            (node,) = tree["nodes"]
            self.assertEqual((tree["asset"]["version"], tree["scenes"][tree["scene"]]["nodes"], node["mesh"]),
                             ("2.0", [0], 0))
            cloth, lines = tree["meshes"][0]["primitives"]
            self.assertEqual((cloth.get("mode", 4), lines["mode"]), (4, 1))
            self.assertTrue(all(material["doubleSided"] for material in tree["materials"]))
            self.assertEqual([cloth["material"], lines["material"]], [0, 1])
            self.assertEqual([m["name"] for m in tree["materials"]], ["cloth", "fibres"])
            self.assertClose(node["extras"]["origin"], grid.position[0], 1e-12)
            self.assertEqual(tree["extras"], {"shearScaleTop": self.colours(drape)[0], "lockingAngle": told["lockingAngle"]})
            self.assertEqual([view["target"] for view in tree["bufferViews"]], [34962] * 4 + [34963, 34962, 34963])
            self.assertEqual(tree["buffers"], [{"byteLength": len(file.body)}])

            *axis, w = node["rotation"]
            turn = lambda v: add(v, scaled(cross(axis, add(cross(axis, v), scaled(v, w))), 2))
            read = lambda attribute: file.accessor(cloth["attributes"][attribute])
            places = [turn([s * x for s, x in zip(node["scale"], p)]) for p in read("POSITION")]
            normals, shear, colours = [turn(n) for n in read("NORMAL")], read("_SHEAR"), read("COLOR_0")
            upright = lambda v: (v[0], v[2], -v[1])  # z up becomes y up, and right stays right
            seen = lambda p: upright(scaled(sub(p, grid.position[0]), self.unit[name] / 1000))
            metres = lambda n: seen(grid.position[n])
            corners = file.accessor(cloth["indices"])
            triangles = [tuple(corners[k:k + 3]) for k in range(0, len(corners), 3)]
            self.assertEqual({v for t in triangles for v in t}, set(range(len(places))))
            self.check_faces(drape, seen, [[places[v] for v in t] for t in triangles])
            node_of = {}
            around, size = collections.defaultdict(list), 1e-6 * max(abs(x) for p in places for x in p)
            for face in drape.net:
                for n in grid.cells[face.cell]:
                    around[n].append(face.shear)
            for n in around:
                v = min(range(len(places)), key=lambda v: math.dist(places[v], metres(n)))
                if near(places[v], metres(n), size):
                    node_of[v] = n
            self.assertGreaterEqual(len(node_of), len({n for c in grid.on_surface(grid.cells) for n in c}))
            for v, n in node_of.items():
                if math.hypot(*grid.normal[n]) > 0.5:
                    self.assertClose(normals[v], upright(unit(grid.normal[n])), 1e-6)
            # Beside what lies beyond the last cells, which cell it counts to is up to the program.
            agree = [abs(shear[v] - sum(around[n]) / len(around[n])) < 1e-4 for v, n in node_of.items()]
            self.assertGreater(sum(agree), 0.95 * len(agree))
            for v, colour in enumerate(colours):
                light = [model.to_linear(x) for x in model.shear_colour(self.colours(drape), abs(shear[v]))]
                self.assertClose([c / 65535 for c in colour], [*light, 1.0], 2e-5)
            ends = [turn([s * x for s, x in zip(node["scale"], p)])
                    for p in file.accessor(lines["attributes"]["POSITION"])]
            index = file.accessor(lines["indices"])
            got = [(ends[a], ends[b]) for a, b in zip(index[0::2], index[1::2])]
            self.check_yarns(drape, seen, got, 0.99)
            bounds = tree["accessors"][cloth["attributes"]["POSITION"]]
            stored = read("POSITION")
            self.assertEqual([bounds["min"], bounds["max"]], [[f(p[k] for p in stored) for k in range(3)] for f in (min, max)])
            self.assertTrue(tree["accessors"][cloth["attributes"]["COLOR_0"]]["normalized"])

    def check_faces(self, drape, place, triangles):
        """The triangles of whole cells are their halves, those of cut ones end on the outline of what is left of them, and
        all together are the pattern. `place` says where a point of space is drawn."""
        grid = drape.grid
        step = math.dist(*(place(p) for p in grid.places(grid.cells[0])[:2]))
        middles = [(model.middle(*t), t) for t in triangles]
        whole = [face for face in drape.net if grid.whole[face.cell] and face.share > 1 - 1e-6]
        for face in whole:
            for half in grid.halves(grid.cells[face.cell]):
                corners = [place(grid.position[n]) for n in half]
                middle = model.middle(*corners)
                self.assertTrue(any(math.dist(middle, m) < 1e-4 * step and matched(t, corners, 1e-4 * step)
                                    for m, t in middles), face.cell)
        cut = [([place(p) for p in grid.places(grid.cells[face.cell])],
                [(place(a), place(b)) for line in face.lines for a, b in model.closed(line)])
               for face in drape.net if face not in whole]
        halves = [model.middle(*(place(grid.position[n]) for n in half)) for face in whole
                  for half in grid.halves(grid.cells[face.cell])]
        away = []
        for m, t in middles:
            if not any(math.dist(m, half) < 1e-4 * step for half in halves):
                away.append(min(max(model.from_segments(p, lines) for p in t) for corners, lines in cut
                                if math.dist(model.middle(*corners), m) < 1.5 * step))
        # What lies beyond the last cells goes by the map of a cell beside it.
        away.sort()
        self.assertLess(away[int(0.95 * len(away))], 0.025 * step)
        self.assertLess(away[-1], 0.2 * step)
        area = sum(0.5 * math.hypot(*cross(sub(b, a), sub(c, a))) for a, b, c in triangles)
        wanted = sum(face.area for face in drape.net) * (step / math.dist(*grid.places(grid.cells[0])[:2])) ** 2
        self.assertAlmostEqual(area / wanted, 1.0, delta=0.01)

    def check_yarns(self, drape, place, drawn, least, only=lambda a, b: True):
        """Each drawn segment lies along the side of a cell, where the pattern has cloth on one hand of it or both, and
        together they are as long as the sides have cloth."""
        grid, sides, ends = drape.grid, [], []
        for (a, b), share in drape.yarns.items():
            if only(a, b):
                sides.append((place(grid.position[a]), place(grid.position[b]), share))
                ends.append((grid.flat[a], grid.flat[b]))
        wanted = sum(math.dist(a, b) * share for a, b, share in sides)
        near_side = 1e-3 * wanted / len(sides)
        along = lambda p, q, side: model.from_segments(p, [side[:2]]) < near_side and model.from_segments(q, [side[:2]]) < near_side
        beside = []
        for p, q in drawn:
            on = next((k for k, side in enumerate(sides) if along(p, q, side)), None)
            self.assertIsNotNone(on, (p, q))
            a, b, share = sides[on]
            if share < 0.99 and math.dist(p, q) > 20 * near_side:
                beside.append(self.has_cloth(drape, ends[on], math.dist(a, model.middle(p, q)) / math.dist(a, b)))
        self.assertGreaterEqual(sum(beside), 0.95 * len(beside))
        length = sum(math.dist(p, q) for p, q in drawn)
        self.assertTrue(least * wanted <= length <= 1.01 * wanted, (length, wanted))

    def has_cloth(self, drape, ends, part):
        way = sub(ends[1], ends[0])
        at, aside = add(ends[0], scaled(way, part)), [1e-4 * way[1], 1e-4 * way[0]]
        return model.lies_inside(drape.loops, add(at, aside)) or model.lies_inside(drape.loops, sub(at, aside))

    @of_each
    def test_outline_arrow_and_seed_in_millimetres(self, name, drape):
        grid, mm = drape.grid, self.unit[name]
        text = drape.path["dxf"].read_text()
        entities = dxf_entities(text)
        by = lambda layer: [e for e in entities if e["layer"] == layer]
        self.assertEqual({e["layer"] for e in entities},
                         {"CUT", "NET", "WARP", "SEED", "TEXT", *(["CURVE"] if name != "ended" else [])} | self.holes(drape))
        area, step = 0.0, [mm * s for s in drape.report["choice"]["step"]]
        for line in by("NET") + by("HOLE"):
            self.assertTrue(line["closed"])
            points = line["points"]
            area += model.flat_area(points)
            for p in points:
                on_line = any(abs(x / s - round(x / s)) < 1e-6 for x, s in zip(p, step))
                away = model.from_edge(drape.mould, grid.over(scaled(p, 1 / mm))) / min(drape.report["choice"]["step"])
                self.assertTrue(away < 0.2 or (name == "ended" and on_line), (p, away))
        self.assertAlmostEqual(area / (mm ** 2 * drape.report["pattern"]["netArea"]), 1.0, 9)
        self.check_loops(name, drape, [[scaled(p, 1 / mm) for p in line["points"]] for line in by("NET") + by("HOLE")])
        (seed,) = by("SEED")
        self.assertEqual((seed["kind"], seed["points"]), ("POINT", [[0.0, 0.0]]))
        shaft, barb = (line["points"] for line in by("WARP"))
        e = drape.report["pattern"]["extent"]
        length = 0.2 * mm * max(e[2] - e[0], e[3] - e[1])
        self.assertClose(shaft, [(0, 0), (length, 0)])
        self.assertClose(barb, [(0.88 * length, 0.06 * length), (length, 0), (0.88 * length, -0.06 * length)])
        drawn = [(0.0, 0.0)] + [p for e in by("CUT") + by("CURVE") for p in e["points"]]
        low, high = ([f(p[k] for p in drawn) for k in (0, 1)] for f in (min, max))
        head = dxf_header(text)
        self.assertClose([head["$EXTMIN"], head["$EXTMAX"]], [low, high])
        lines = [line.strip() for line in text.splitlines()]
        self.assertEqual(lines[lines.index("$ACADVER") + 2], "AC1015")
        self.assertEqual(lines[lines.index("$INSUNITS") + 2], "4", "millimetres")
        self.assertEqual([e["points"] for e in by("CUT")], [e["points"] for e in by("NET") + by("HOLE")])
        self.assertEqual([e["words"] for e in by("TEXT")], [
            "Ply sheet", "THIS SIDE UP: away from the mould, towards +z",
            f"warp at {drape.report['choice']['plyAngle']:.4g} degrees from the rosette ({', '.join(f'{x:.4g}' for x in drape.report['choice']['rosette'])}), "
            "anticlockwise seen from this side",
            f"mould sheet.obj, 1 unit = {mm:.4g} mm"])

    def check_loops(self, name, drape, loops):
        """What the report says of the net line, by its points; where the cloth ends before the mould it ends along yarns."""
        told, step = drape.report["pattern"], drape.report["choice"]["step"]
        sides = [list(zip(loop, loop[1:] + loop[:1])) for loop in loops]
        self.assertClose([(loop["area"], loop["length"]) for loop in told["loops"]],
                         [(model.flat_area(loop), sum(math.dist(*side) for side in own)) for loop, own in zip(loops, sides)])
        self.assertClose(told["extent"], [f(p[k] for loop in loops for p in loop) for f in (min, max) for k in (0, 1)])
        yarns = sum(math.dist(a, b) for own in sides for a, b in own for k in (0, 1)
                    if abs(a[k] - b[k]) < 1e-6 and abs(a[k] / step[k] - round(a[k] / step[k])) < 1e-6)
        self.assertAlmostEqual(told["clothEdgeLength"], 0.0 if name == "large" else yarns, 6)

    def holes(self, drape):
        return {"HOLE"} if any(not loop["outline"] for loop in drape.report["pattern"]["loops"]) else set()

    def test_curve_lies_where_the_cloth_has_it(self):
        for name, (points, flats, nodes) in self.curve.items():
            with self.subTest(name):
                drape, mm = self.drapes[name], self.unit[name]
                (line,) = [e for e in dxf_entities(drape.path["dxf"].read_text()) if e["layer"] == "CURVE"]
                self.assertTrue(line["closed"])
                with open(drape.path["curve.csv"], newline="") as file:
                    rows = [[float(row[column]) for column in "xyzuv"] for row in csv.DictReader(file)]
                self.assertClose([row[:3] for row in rows], points, 1e-8)
                away = sorted(math.dist(row[3:], flat) for row, flat in zip(rows, flats, strict=True))
                # Beside a node of twisted cells another cell's plane can be met first.
                self.assertLess(away[-1], 0.03)
                self.assertLess(away[len(away) * 3 // 4], 1e-6 if name == "fine" else 3e-3)
                self.assertClose(line["points"], [scaled(row[3:], mm) for row in rows], 1e-7)
                closed = lambda length, places: sum(map(length, places, places[1:] + places[:1]))
                (told,) = drape.report["curves"]
                self.assertEqual((told["name"], told["points"], told["closed"], told["stretches"]),
                                 (name, len(points), True, 1))
                self.assertAlmostEqual(told["lengthOnPattern"], closed(math.dist, [row[3:] for row in rows]), 6)
                self.assertAlmostEqual(told["lengthOnMould"], closed(math.dist, nodes), delta=0.01)
                self.assertIn(f"curve     {name}: closed line through {len(points)} points, {told['lengthOnMould']:.4g} long on the mould, "
                              f"{told['lengthOnPattern']:.4g} on the pattern", drape.stdout)

    def page(self, name, drape):
        """Where the pattern lies on its page: growth with size, size, place of the seed."""
        grid, mm = drape.grid, self.unit[name]
        e = drape.report["pattern"]["extent"]
        flats = [e[:2], e[2:], (0.0, 0.0)]
        if name != "ended":
            flats += [scaled(e["points"][k], 1 / mm) for e in dxf_entities(drape.path["dxf"].read_text())
                      if e["layer"] == "CURVE" for k in range(len(e["points"]))]
        low, high = ([mm * f(p[k] for p in flats) for k in (0, 1)] for f in (min, max))
        width, height = high[0] - low[0], high[1] - low[1]
        growth = max(1.0, max(width, height) / 400)
        size = (max(width, 190 * growth) + 2 * MARGIN * growth, height + (2 * MARGIN + LEGEND) * growth)
        return growth, size, ((size[0] - width) / 2 - low[0], MARGIN * growth + high[1])

    @of_each
    def test_cells_lines_and_marks(self, name, drape):
        grid, mm = drape.grid, self.unit[name]
        growth, size, seed = self.page(name, drape)
        drawing = Svg(drape.path["pattern.svg"])
        self.assertClose([float(s.removesuffix("mm")) for s in drawing.size], size, 1e-4)
        place = lambda flat: (seed[0] + mm * flat[0], seed[1] - mm * flat[1])
        box = lambda cell, more: [place(grid.flat[cell[0]])[0] - more, place(grid.flat[cell[2]])[1] - more,
                                  place(grid.flat[cell[2]])[0] + more, place(grid.flat[cell[0]])[1] + more]
        bounds = lambda part: [f(p[k] for p in part) for f in (min, max) for k in (0, 1)]
        filled = collections.defaultdict(list)
        for shape in drawing.shapes:
            if shape["fill"] and not shape["curved"]:
                filled[tuple(round(c, 4) for c in shape["fill"])] += shape["parts"]
        rounding = 0.006 * growth
        # All fills together are the net pattern, and each cell well inside lies in a rectangle of its own colour.
        top, locking = self.colours(drape)
        legend = size[1] - (LEGEND + MARGIN - 9) * growth
        area = 0.0
        for colour, parts in filled.items():
            for part in parts:
                if colour not in ((1.0, 1.0, 1.0), INK) and bounds(part)[3] < legend:
                    area += abs(model.flat_area(part))
        self.assertAlmostEqual(area / (mm ** 2 * drape.report["pattern"]["netArea"]), 1.0, delta=0.02)
        crosses = {(grid.i[cell[0]], grid.j[cell[0]]) for cell in grid.on_surface(grid.cells)}
        for cell, shear in zip(grid.on_surface(grid.cells), map(abs, grid.on_surface(grid.shear))):
            i, j = grid.i[cell[0]], grid.j[cell[0]]
            if not crosses.issuperset((i + a, j + b) for a in (-1, 0, 1) for b in (-1, 0, 1)):
                continue
            band = (min(89, int(shear / top * 90)) + 0.5) / 90 * top
            band = min(band, locking) if shear <= locking else max(band, locking + 1e-9)
            wanted = tuple(round(c, 4) for c in model.shear_colour((top, locking), band))
            b = box(cell, 0.03 * growth)
            hit = [c for c, parts in filled.items() if near(c, wanted, 2e-4) for r in map(bounds, parts)
                   if r[0] - rounding <= b[0] and b[2] <= r[2] + rounding and near(r[1::2], b[1::2], rounding)]
            self.assertTrue(hit, (cell, shear))
        self.check_lines(drape, drawing, place, growth, mm)
        self.check_marks(drape, drawing, seed, growth, legend)

    def check_lines(self, drape, drawing, place, growth, mm):
        grid = drape.grid
        strokes = collections.defaultdict(list)
        for shape in drawing.shapes:
            if shape["stroke"] and not shape["curved"]:
                strokes[tuple(round(c, 3) for c in shape["stroke"]), round(shape["width"] / growth, 3)] += shape["parts"]
        fibres = strokes[INK, 0.12]
        # Yarns run through all cells on the mould, and on into those that are cut; each is one line.
        inner, outer = grid.on_surface(grid.cells), [c for c, w, e in zip(grid.cells, grid.whole, grid.edge) if w or e]
        sides = lambda cells, pairs: {(c[a], c[b]) for c in cells for a, b in pairs}
        step = drape.report["choice"]["step"]
        for k, pairs in enumerate((((0, 1), (3, 2)), ((0, 3), (1, 2)))):
            along = sum(abs(p[-1][k] - p[0][k]) for p in fibres) / (mm * step[k])
            self.assertTrue(len(sides(inner, pairs)) - 0.01 <= along <= len(sides(outer, pairs)) + 0.01)
        self.assertLessEqual(len(fibres), 2 + sum(len(set(values)) for values in (grid.i, grid.j)) + len(drape.mould.loops()) * 20)
        for a, b in fibres:
            self.assertTrue(abs(a[0] - b[0]) < 0.01 * growth or abs(a[1] - b[1]) < 0.01 * growth)
        loops = [e["points"] for e in dxf_entities(drape.path["dxf"].read_text()) if e["layer"] in ("NET", "HOLE")]
        thick = strokes[INK, 0.4]
        wanted = [place(scaled(p, 1 / mm)) for loop in loops for p in loop]
        self.assertTrue(matched([p for part in thick for p in dict.fromkeys(part)], wanted, 0.006 * growth))
        curve = [part for (colour, _), parts in strokes.items() if near(colour, CURVE, 1e-3) for part in parts]
        drawn = [e["points"] for e in dxf_entities(drape.path["dxf"].read_text()) if e["layer"] == "CURVE"]
        self.assertEqual(len(curve), len(drawn))
        for part, points in zip(curve, drawn):
            self.assertTrue(matched(bends(dict.fromkeys(part)), [place(scaled(q, 1 / mm)) for q in bends(points)],
                                    0.006 * growth))

    def check_marks(self, drape, drawing, seed, growth, legend):
        ring = [s for s in drawing.shapes if s["curved"] and s["fill"] and near(s["fill"], (1, 1, 1), 1e-6)]
        inked = [p for s in drawing.shapes if s["fill"] and near(s["fill"], INK, 1e-3) and not s["curved"] for p in s["parts"]]
        tips = [p[0] for p in inked]
        reach = 14 * growth
        for tip in ((seed[0] + reach, seed[1]), (seed[0], seed[1] - reach)):
            (head,) = [p for p, t in zip(inked, tips) if near(t, tip, 0.01 * growth)]
            along = scaled(sub(tip, seed), 1 / reach)
            barbs = [add(tip, scaled(along, -0.25 * reach), scaled((along[1], -along[0]), side * 0.12 * reach)) for side in (1, -1)]
            self.assertTrue(matched(dict.fromkeys(head), [tip, *barbs], 0.02 * growth), "arrows along warp and weft")
        self.assertEqual(len(ring), 1)
        xs, ys = zip(*ring[0]["parts"][0])
        self.assertTrue(near(((min(xs) + max(xs)) / 2, (min(ys) + max(ys)) / 2), seed, 0.8 * growth))

    @of_each
    def test_words_and_bars(self, name, drape):
        grid, mm, told = drape.grid, self.unit[name], drape.report["shear"]
        growth, size, _ = self.page(name, drape)
        page, words = pdf_words(drape.path["pdf"])
        points = 72 / 25.4
        self.assertClose(page, scaled(size, points), 1e-4)
        text = " ".join(word for word, *_ in words)
        e = drape.report["pattern"]["extent"]
        step = drape.report["choice"]["step"]
        line = (f"Ply sheet net {mm * (e[2] - e[0]):.4g} × {mm * (e[3] - e[1]):.4g} mm {sum(grid.whole)} cells of "
                f"{mm * step[0]:.3g} × {mm * step[1]:.3g} mm mean shear {told['mean']:.1f}° largest {told['largest']:.1f}°")
        if told["shareBeyondLocking"] > 0:
            line += f" {100 * told['shareBeyondLocking']:.1f} % beyond {told['lockingAngle']:.4g}°"
        self.assertIn(line, text)
        ends = "" if drape.report["pattern"]["reachesEdge"] else "Blue line: the cloth ends before the mould. "
        self.assertIn({"ended": f"partial drape: {drape.report['result']['meaning']} (code 23)"}.get(
            name, ("Drawn 1 : 1. Red line: transferred curve. " + ends).strip()), text)
        where = {word: box for word, *box in reversed(words)}
        seed = scaled(self.page(name, drape)[2], points)
        self.assertTrue(where["warp"][0] > seed[0] and abs(where["warp"][1] + where["warp"][3] - 2 * seed[1]) < 12 * growth)
        self.assertTrue(where["weft"][3] < seed[1] and abs(where["weft"][0] + where["weft"][2] - 2 * seed[0]) < 12 * growth)
        # The rosette's 0, where the warp isn't at 0 itself, is the warp's angle clockwise from it.
        angle = drape.report["choice"]["plyAngle"]
        zeros = [box for word, *box in words if word == "0°" and box[3] < (size[1] - 30 * growth) * points]
        self.assertEqual(len(zeros), 0 if angle == 0 else 1)
        for box in zeros:
            x, y = (box[0] + box[2]) / 2 - seed[0], seed[1] - (box[1] + box[3]) / 2
            self.assertLess(abs(math.remainder(math.degrees(math.atan2(y, x)) + angle, 360)), 12)
        # The bar to check a print against is as long as it says, a round length up to half the page.
        drawing = Svg(drape.path["pattern.svg"])
        bars = [s for s in drawing.shapes if s["stroke"] and len(s["parts"]) == 3 and near(s["stroke"], INK, 1e-3)]
        (bar,) = bars
        a, b = self.ends_of(bar, 0.85 * 3.6 * growth)
        label = float(re.search(r"([\d.]+) mm shear", text)[1])
        self.assertAlmostEqual(math.dist(a, b) / label, 1.0, 4)
        half = (size[0] - 2 * MARGIN * growth) / 2
        self.assertIn(label, [d * 10 ** k for d in (1, 2, 5) for k in range(-3, 5)])
        self.assertTrue(label <= half < 2.5 * label)
        # The colour bar runs from 0 to its top, and a label stands under its angle.
        top, locking = self.colours(drape)
        fills = [s for s in drawing.shapes if s["fill"] and len(s["parts"]) == 1 and not s["curved"]
                 and s["parts"][0][0][1] > size[1] - 30 * growth]
        fills = [s for s in fills if not near(s["fill"], (1, 1, 1), 1e-3)]
        self.assertEqual(len(fills), 120)
        for k, shape in enumerate(fills):
            self.assertClose(shape["fill"], model.shear_colour((top, locking), top * (k + 0.5) / 120), 1e-4)
        left = fills[0]["parts"][0][0][0]
        right = max(p[0] for p in fills[-1]["parts"][0])
        labels = [(float(word[:-1]), (box[0] + box[2]) / 2 / points) for word, *box in words
                  if re.fullmatch(r"[\d.]+°", word) and box[1] > (size[1] - 30 * growth) * points
                  and box[0] > left * points - 9 * growth]
        self.assertGreater(len(labels), 2)
        for angle, x in labels:
            if locking == top or angle != locking:
                self.assertAlmostEqual(x, left + (right - left) * angle / top, delta=0.7 * growth)
        if locking < top:
            self.assertIn(f"{locking:.4g}° lock", text)
        spacing = {1: 0.2, 2: 0.5, 5: 1, 10: 2, 15: 5}[top]
        self.assertEqual({angle for angle, _ in labels} - {locking},
                         {spacing * k for k in range(round(top / spacing) + 1)
                          if locking == top or abs(spacing * k - locking) > 0.6 * spacing} - {locking})

    def test_pattern_as_image_and_on_paper(self):
        drape = self.drapes["fine"]
        grid, (_, size, seed) = drape.grid, self.page("fine", drape)
        paper = self.folder / "paper"
        subprocess.run(["pdftoppm", "-r", str(2 * 25.4), "-singlefile", "-png", drape.path["pdf"], paper], check=True)
        for path, scale in ((drape.path["pattern.png"], 1500 / max(size)), (paper.with_suffix(".png"), 2)):
            width, height, rows = png_pixels(path)
            self.assertTrue(near((width, height), scaled(size, scale), 1.0))
            away = []
            for cell, shear in zip(grid.on_surface(grid.cells), grid.on_surface(grid.shear)):
                u, v = add(scaled(grid.flat[cell[0]], 0.69), scaled(grid.flat[cell[2]], 0.31))
                x, y = int(scale * (seed[0] + 20 * u)), int(scale * (seed[1] - 20 * v))
                wanted = model.shear_colour(self.colours(drape), abs(shear))
                away.append(max(abs(rows[y][3 * x + k] / 255 - wanted[k]) for k in range(3)))
            away.sort()
            self.assertLess(away[int(0.9 * len(away))], 0.03)  # some cells lie under words, marks and the curve

    def view(self, drape):
        """The view from its description: 28 degrees beside the longer axis of the mould, 38 above its level. Above is
        where the mould faces, or the cloth at the seed if the mould closes around itself, but not far below. Of the
        sides before and behind, that one is taken from where nothing hides the seed."""
        mould = drape.mould
        above = add(*(scaled(n, a) for n, a in zip(mould.normals, mould.areas)))
        above = unit(above if math.hypot(*above) > 0.1 * mould.area else drape.grid.normal[0])
        above = scaled(above, -1) if above[2] < -0.2 else above
        centroid = mould.centroid()
        arms = [(sub(model.middle(*c), centroid), a) for c, a in zip(mould.corners, mould.areas)]
        axis = (1, 0, 0) if abs(above[0]) < 0.9 else (0, 1, 0)
        level = unit(sub(axis, scaled(above, dot(axis, above))))
        beside = cross(above, level)
        moment = lambda d: sum(a * dot(arm, d) ** 2 for arm, a in arms)
        xx, xy, yy = (sum(a * dot(arm, d) * dot(arm, e) for arm, a in arms)
                      for d, e in ((level, level), (level, beside), (beside, beside)))
        longest = model.turned(level, above, math.degrees(0.5 * math.atan2(2 * xy, xx - yy)))
        most, least = moment(longest), moment(cross(above, longest))
        sign = longest[0] if abs(longest[0]) > 1e-6 else longest[1] + longest[2]
        across = level if most - least < 0.1 * (most + least) else scaled(longest, math.copysign(1, sign))
        sides = [model.turned(across, above, turn) for turn in (28, -28, 208, 152)]
        eyes = [add(scaled(above, math.sin(math.radians(38))), scaled(cross(r, above), math.cos(math.radians(38)))) for r in sides]
        right, eye = next(((r, e) for r, e in zip(sides, eyes) if self.shows_seed(drape, e)), (sides[0], eyes[0]))
        up = cross(eye, right)
        xs, ys = ([dot(p, axis) for p in mould.points] for axis in (right, up))
        scale = min(ROOM / (max(xs) - min(xs)), TALLEST / (max(ys) - min(ys)))
        size = scale * (max(xs) - min(xs)), scale * (max(ys) - min(ys))
        inner = max(size[1], LOWEST - 2 * EDGE - CAPTION)
        corner = math.floor(EDGE + (ROOM - size[0]) / 2), math.floor(EDGE + (inner - size[1]) / 2)
        see = lambda p: (corner[0] + scale * (dot(p, right) - min(xs)), corner[1] + scale * (max(ys) - dot(p, up)))
        return see, scale, (right, up, eye), (1200, math.ceil(inner + 2 * EDGE + CAPTION))

    def shows_seed(self, drape, eye):
        """Whether the seed isn't seen edge on and no triangle stands between it and the eye."""
        seed, clear = drape.grid.position[0], 5e-3 * math.sqrt(drape.mould.area)
        for a, b, c in drape.mould.corners:
            normal = cross(sub(b, a), sub(c, a))
            slope = dot(eye, normal)
            way = dot(sub(a, seed), normal) / slope if slope else 0.0
            at = add(seed, scaled(eye, way))
            turns = [dot(cross(sub(q, p), sub(at, p)), normal) for p, q in ((a, b), (b, c), (c, a))]
            if way > clear and min(turns) >= 0.0:
                return False
        return abs(dot(drape.grid.normal[0], eye)) > 0.15

    @of_each
    def test_words_are_in_ink_but_for_one_line(self, name, drape):
        other = (0.75, 0.05, 0.10) if name == "ended" else (0.38, 0.41, 0.45)
        for kind in ("svg", "pattern.svg"):
            colours = Svg(drape.path[kind]).words
            self.assertEqual([c for c in colours if not near(c, INK, 1e-3)], [other], kind)
            self.assertGreater(len(colours), 8)

    @of_each
    def test_shapes_stand_where_they_are_seen(self, name, drape):
        see, scale, axes, size = self.view(drape)
        grid, mould = drape.grid, drape.mould
        drawing = Svg(drape.path["svg"])
        self.assertEqual(tuple(float(re.match(r"[\d.]+", s)[0]) for s in drawing.size), size)
        shapes = [s for s in drawing.shapes if s["fill"] and s["fill"] == s["stroke"] and s["width"] == 0.5]
        faces = [dict.fromkeys((round(x, 6), round(y, 6)) for x, y in s["parts"][0]) for s in shapes]
        cells = {k: [see(p) for p in grid.places(c)] for k, c in enumerate(grid.cells) if grid.whole[k]}
        triangles = {t: [see(p) for p in corners] for t, corners in enumerate(mould.corners)}
        cut = {f.cell: [(see(a), see(b)) for line in f.lines for a, b in model.closed(line)] for f in drape.net
               if not (grid.whole[f.cell] and f.share > 1 - 1e-6)}
        shear, cell = {f.cell: abs(f.shear) for f in drape.net}, scale * min(drape.report["choice"]["step"])
        seen, lights, before = [], [], None
        light = unit(add(scaled(axes[2], 0.65), scaled(axes[1], 0.75), scaled(axes[0], -0.55)))
        for shape, face in zip(shapes, faces):
            kind, among = {3: ("mould", triangles), 4: ("whole", cells)}.get(len(face), ("cut", cut))
            away = lambda k: max(map(math.dist, among[k], face)) if kind != "cut" else \
                max(model.from_segments(p, among[k]) for p in face)
            key = min(among, key=away)
            if kind != "cut" and away(key) > 0.02:
                kind, among = "cut", cut
                key = min(among, key=away)
            self.assertLess(away(key), 0.025 * cell if kind == "cut" else 0.02, (kind, key, face))
            corners = mould.corners[key] if kind == "mould" else grid.places(grid.cells[key])
            normal = mould.normals[key] if kind == "mould" else \
                unit(cross(sub(corners[2], corners[0]), sub(corners[3], corners[1])))
            closeness = dot(model.middle(*corners), axes[2])
            if before:
                self.assertTrue(before[0] != "mould" or kind != before[0] or before[1] <= closeness + 1e-9, "far ones first")
                self.assertTrue(before[0] == "mould" or kind != "mould", "the mould first, cloth over it")
            before = kind, closeness
            seen.append((kind, key))
            colour = (0.74, 0.75, 0.77) if kind == "mould" else model.shear_colour(self.colours(drape), shear[key])
            side = -1 if dot(normal, axes[2]) < 0 else 1
            if max(shape["fill"]) < 0.995:
                lights.append((side * dot(normal, light), *self.brightness(shape["fill"], colour)))
        cloth = {key for kind, key in seen if kind != "mould"}
        self.assertTrue(set(cells) <= cloth <= set(cells) | set(cut), "all cells of this sheet can be seen")
        self.assertEqual(len(seen), len(set(seen)))
        lights.sort()
        for (_, dark, _), (_, bright, _) in zip(lights, lights[1:]):
            self.assertLessEqual(dark, bright + 0.02)
        self.assertTrue(all(0.15 < share < 1.13 and -0.02 < shine < 0.12 for _, share, shine in lights))
        self.assertGreater(lights[-1][1] - lights[0][1], 0.1)

    def ends_of(self, bar, size):
        """The ends of a scale bar, at which its two strokes across stand, and as high as its words."""
        *across, line = bar["parts"]
        self.assertClose([(a[0] - b[0], b[1] - a[1]) for a, b in across], [(0.0, 0.7 * size)] * 2, 0.01)
        self.assertTrue(all(near(model.middle(*stroke), end, 0.02) for stroke, end in zip(across, line)))
        self.assertLess(line[0][0], line[1][0])
        return line

    def brightness(self, drawn, colour):
        """A drawn colour is a share of the plain one plus white; both in linear light, least squares over three."""
        y, x = ([model.to_linear(c) for c in colours] for colours in (drawn, colour))
        mx, my = sum(x) / 3, sum(y) / 3
        spread = sum((a - mx) ** 2 for a in x)
        if spread < 1e-3:
            return my / mx, 0.0
        share = sum((a - mx) * (b - my) for a, b in zip(x, y)) / spread
        shine = my - share * mx
        for a, b in zip(x, y):
            self.assertAlmostEqual(share * a + shine, b, delta=2e-3)
        return share, shine

    def test_view_of_other_moulds(self):
        flat, faces = plate(6)
        band = [(r * math.cos(t), y, r * math.sin(t)) for y in range(6) for t, r in ((k * math.pi / 10, 3.0) for k in range(20))]
        rolled = [(20 * y + k, 20 * y + (k + 1) % 20, 20 * y + 20 + (k + 1) % 20, 20 * y + 20 + k)
                  for y in range(5) for k in range(20)]
        for name, points, these, words in (
                ("square", [(x, 0.9 * y, 0.1 * x) for x, y, _ in flat], faces, ()),
                ("wall", [(0.2 * x * y / 6, 0.6 * x, 1.5 * y) for x, y, _ in flat], faces, ()),
                ("beam", [(0.1 * y, 2.0 * x, y) for x, y, _ in flat], faces, ("--side", "-1,0,0")),
                ("below", [(0.7 * x, y, 0.3 * x + 0.02 * y * y) for x, y, _ in flat], faces, ("--side", "0,0,-1")),
                ("roof", [(x, y, -1.2 * abs(y - 3.0)) for x, y, _ in flat], faces, ("--seed", "2.6,4.7,-2.04")),
                ("tube", band, [f[::-1] for f in rolled], ("--seed", "2,2,2.2", "--max-nodes", "60"))):
            with self.subTest(name):
                mesh = self.folder / f"{name}.obj"
                mesh.write_text(obj((points, these)))
                drape = Drape(self.folder, mesh, "--step", "1", *words, outputs=("svg", "dxf"), stem=name,
                              expect=4 if name == "tube" else 0)
                see, scale, (_, _, eye), size = self.view(drape)
                if name == "roof":
                    self.assertTrue(self.shows_seed(drape, eye))
                drawing = Svg(drape.path["svg"])
                self.assertEqual(tuple(float(re.match(r"[\d.]+", s)[0]) for s in drawing.size), size)
                # Corners of the mould and of cells, or on the lines at which cells are cut.
                corners = {see(p) for c in drape.grid.cells for p in drape.grid.places(c)} | set(map(see, drape.mould.points))
                cuts = {(see(a), see(b)) for f in drape.net for line in f.lines for a, b in model.closed(line)}
                drawn = {tuple(p) for s in drawing.shapes if s["fill"] and s["fill"] == s["stroke"] for p in s["parts"][0]}
                self.assertGreater(len(drawn), 60)
                for p in drawn:
                    if min(math.dist(p, q) for q in corners) >= 0.025 * scale:
                        self.assertLess(model.from_segments(p, cuts), 0.025 * scale, p)

    def test_colours_of_cloth_without_shear(self):
        mesh = self.folder / "plate.obj"
        mesh.write_text(obj(plate(6)))
        drape = Drape(self.folder, mesh, "--step", "1", outputs=("gltf",), stem="plate")
        self.assertEqual(Gltf(drape.path["gltf"]).tree["extras"], {"shearScaleTop": 1.0, "lockingAngle": 45.0})

    @of_each
    def test_colour_bar_beside_the_picture(self, _, drape):
        top, locking = self.colours(drape)
        drawing = Svg(drape.path["svg"])
        bars = [s for s in drawing.shapes if s["fill"] and not s["stroke"] and not s["curved"]
                and min(p[0] for p in s["parts"][0]) > ROOM + EDGE]
        self.assertEqual(len(bars), 120)
        low, high = (f(p[1] for s in bars for p in s["parts"][0]) for f in (max, min))
        self.assertTrue(max(p[0] for s in bars for p in s["parts"][0]) < 1200 - EDGE and 200 < low - high < 430)
        for k, shape in enumerate(bars):
            self.assertClose(shape["fill"], model.shear_colour((top, locking), top * (k + 0.5) / 120), 1e-4)
            self.assertAlmostEqual(max(p[1] for p in shape["parts"][0]), low + (high - low) * k / 120, delta=0.05)
        right = max(p[0] for p in bars[0]["parts"][0])
        ticks = [s["parts"][0] for s in drawing.shapes if s["stroke"] and not s["fill"] and len(s["parts"]) == 1
                 and len(s["parts"][0]) == 2 and abs(s["parts"][0][1][0] - right) < 8 and s["parts"][0][1][0] > right]
        angles = [(low - a[1]) / (low - high) * top for a, _ in ticks]
        spacing = {5: 1, 10: 2}[top]
        self.assertTrue(matched([(a,) for a in angles], [(spacing * k,) for k in range(round(top / spacing) + 1)
                                                         if locking == top or abs(spacing * k - locking) > 0.6 * spacing]
                                + [(locking,)] * (locking < top), 0.02))

    def test_edges_that_hide_what_is_behind_are_dark_and_in_place(self):
        mesh = self.folder / "cup.obj"
        mesh.write_text(obj(cup(2.0, 48, 12, 4)))
        drape = Drape(self.folder, mesh, "--step", "0.4", "--seed", "0,0,1", "--max-nodes", "20", outputs=("png",),
                      stem="cup", expect=4)
        width, height, rows = png_pixels(drape.path["png"])
        see = self.view(drape)[0]
        lines = [[see(drape.mould.points[v]) for v in (t[k], t[(k + 1) % 3])] for t in drape.mould.triangles for k in range(3)]

        def start_of_mould(level, k):
            """Where the mould begins along the middle of a row (k 0) or a column (k 1) of pixels."""
            met = [(a, b) for a, b in lines if (a[1 - k] > level) != (b[1 - k] > level)]
            return min(a[k] + (b[k] - a[k]) * (level - a[1 - k]) / (b[1 - k] - a[1 - k]) for a, b in met)

        middle = [round(x) for x in see(drape.mould.centroid())]
        for k in (0, 1):
            off = []
            for level in range(middle[1 - k] - 20, middle[1 - k] + 21, 4):
                line = [sum(rows[y][3 * x:3 * x + 3]) for x, y in ((p, level)[::1 - 2 * k] for p in range(middle[k]))]
                start = next(p for p in range(5, len(line)) if line[p] < 700)
                off.append(start + 0.5 - start_of_mould(level + 0.5, k))
            self.assertAlmostEqual(sum(off) / len(off), 0.4, delta=0.4)  # pixels are inked that the mould reaches into
            self.assertTrue(k == 1 or min(line[start:start + 3]) < 0.75 * line[start + 12])

    @of_each
    def test_lines_marks_and_scale(self, name, drape):
        see, scale, axes, size = self.view(drape)
        grid, mould = drape.grid, drape.mould
        strokes = collections.defaultdict(list)
        drawing = Svg(drape.path["svg"])
        for shape in drawing.shapes:
            if shape["stroke"] and not shape["fill"]:
                strokes[round(shape["width"], 3), shape["opacity"]] += shape["parts"]
        drawn = lambda key: [(a, b) for part in strokes[key] for a, b in zip(part, part[1:])]
        self.check_yarns(drape, see, drawn((0.75, "0.5")), 0.9)
        self.check_yarns(drape, see, drawn((1.9, "0.9")), 0.8,
                         lambda a, b: grid.j[a] == grid.j[b] == 0 or grid.i[a] == grid.i[b] == 0)
        loops = [(see(mould.points[a]), see(mould.points[b])) for _, loop in mould.loops() for a, b in model.closed(loop)]
        sides = [(see(grid.position[c[k]]), see(grid.position[c[k - 1]])) for c in grid.cells for k in range(4)]
        # The rim of the cloth is the mould's edge, and where that has no cloth, sides of cells.
        rim = drawn((1.6, "0.95"))
        for p in (p for segment in rim for p in segment):
            self.assertLess(model.from_segments(p, loops + sides), 0.3, p)
        length = lambda segments: sum(math.dist(*s) for s in segments)
        if drape.report["pattern"]["clothEdgeLength"] < 0.1 * sum(length for length, _ in mould.loops()):
            self.assertTrue(0.8 * length(loops) < length(rim) < 1.1 * length(loops))
        edge = drawn((1.1, "0.75"))
        for a, b in edge:
            self.assertTrue(any(near(a, p, 0.02) and near(b, q, 0.02) for p, q in loops), (a, b))
        shown = [model.from_segments(scaled(add(a, b), 0.5), rim + edge) < 0.3 for a, b in loops]
        self.assertGreaterEqual(sum(shown), 0.8 * len(loops))
        ring = [s for s in drawing.shapes if s["curved"] and s["fill"] and near(s["fill"], (1, 1, 1), 1e-6)]
        self.assertEqual(len(ring), 1)
        xs, ys = zip(*ring[0]["parts"][0])
        self.assertTrue(near(((min(xs) + max(xs)) / 2, (min(ys) + max(ys)) / 2), see(grid.position[0]), 4))
        # The warp's arrow points away from the seed, its barbs as far to both sides.
        arrows = [set(map(tuple, s["parts"][0])) for s in drawing.shapes if s["fill"] and not s["stroke"] and near(s["fill"], INK, 0.01)
                    and len(set(map(tuple, s["parts"][0]))) == 3]
        warp = drape.report["choice"]["warp"]
        self.assertEqual(len(arrows), math.hypot(*(dot(warp, axis) for axis in axes[:2])) > 0.3)
        for arrow in arrows:
            *barbs, tip = sorted(arrow, key=lambda p: math.dist(p, see(grid.position[0])))
            self.assertClose([math.dist(tip, p) for p in barbs], [math.hypot(14, 5)] * 2, 0.05)
        (bar,) = [s for s in drawing.shapes if s["stroke"] and len(s["parts"]) == 3 and not s["fill"] and s["width"] > 2]
        a, b = self.ends_of(bar, 17)
        millimetres = math.dist(a, b) / scale * self.unit[name]
        digits = millimetres / 10 ** math.floor(math.log10(millimetres) + 1e-5)
        self.assertTrue(any(abs(digits - d) < 1e-3 for d in (1, 2, 5)), millimetres)
        self.assertTrue(math.dist(a, b) <= 300 < 2.5 * math.dist(a, b))

    def test_picture_image_shows_the_same(self):
        drape = self.drapes["fine"]
        see, _, axes, size = self.view(drape)
        grid, mould = drape.grid, drape.mould
        width, height, rows = png_pixels(drape.path["png"])
        self.assertEqual((width, height), size)
        pixel = lambda p: [c / 255 for c in rows[int(p[1])][3 * int(p[0]):3 * int(p[0]) + 3]]
        away, colours = [], self.colours(drape)
        for cell, shear in zip(grid.on_surface(grid.cells), grid.on_surface(grid.shear)):
            p, q, r, s = grid.places(cell)
            got = [model.to_linear(c) for c in pixel(see(add(scaled(p, 0.42), scaled(q, 0.28), scaled(r, 0.12), scaled(s, 0.18))))]
            plain = [model.to_linear(c) for c in model.shear_colour(colours, abs(shear))]
            shares = [g / p for g, p in zip(got, plain)]
            away.append(max(shares) - min(shares))
        away.sort()
        self.assertLess(away[int(0.8 * len(away))], 0.12)
        bare = [pixel(see(model.middle(*c))) for c, f in zip(mould.corners, drape.map) if f.cover == 0]
        self.assertTrue(bare)
        greys = sum(max(c) - min(c) < 0.05 and c[0] < 0.97 for c in bare)
        self.assertGreater(greys, 0.6 * len(bare))
        # The mould is shaded smoothly, and without gaps, over the sides of triangles that meet gently.
        sides = collections.defaultdict(list)
        for t, (corners, fibres) in enumerate(zip(mould.triangles, drape.map)):
            for k in range(3):
                sides[frozenset((corners[k], corners[(k + 1) % 3]))].append((t, fibres.cover))
        steps = []
        for ends, ((t, cover), *other) in sides.items():
            if other and cover == other[0][1] == 0 and dot(mould.normals[t], mould.normals[other[0][0]]) > 0.97:
                middle = model.middle(*(mould.points[v] for v in ends))
                inner = [add(scaled(middle, 0.75), scaled(model.middle(*mould.corners[u]), 0.25)) for u in (t, other[0][0])]
                a, b, c = (pixel(see(p))[1] for p in (*inner, middle))
                steps.append(max(abs(a - b), abs(c - (a + b) / 2)))
        steps.sort()
        self.assertGreater(len(steps), 8)
        self.assertLess(steps[len(steps) * 3 // 4], 0.02)
        for x, y in ((2, 2), (width - 2, 2), (2, height - 2), (width - 2, height - 2)):
            self.assertEqual(pixel((x, y)), [1.0, 1.0, 1.0])


if __name__ == "__main__":
    unittest.main()
