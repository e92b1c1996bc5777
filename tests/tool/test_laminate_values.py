"""Every number that is told of a laminate and every column of its tables, worked out anew for three plies on the uneven
sheet: of unequal cells, one of them cut off at a curve, on elements with numbers of their own that are wound both ways.
"""

import csv
import json
import math
import pathlib
import subprocess
import tempfile
import unittest

import model
from drapes import Drape
from model import add, cross, dot, scaled, sub, unit
from moulds import uneven_sheet
from program import DRAPE
from readers import Gltf, PolyData, UnstructuredGrid, dxf_entities
from solver_meshes import element, inp, node

MM = 25.0
NAMES, CLOTHS, ANGLES = ("low", "mid, cut", "top"), ("twill", "ud", "twill"), (20, -35, 250)
FLAT = (0.02, 0.03, 0.02)  # thicknesses
STARTS = (("--seed", "38,-2.6,14"), ("--step", "0.9,1.2", "--pivot", "shear", "--locking", "0.4"), ("--seed", "38,-2.6,14"))
COMMON = ("--side", "0,0,1", "--rosette", "1,0.5,0.1", "--units-mm", MM)


def spread_mould(faces, mould):
    """Middle, normal towards the cloth and area of each element, of the triangles that it was cut into."""
    spots = {}
    for number, corners, area, normal in zip(mould.faces, mould.corners, mould.areas, mould.normals):
        spots.setdefault(number, []).append((area, model.middle(*corners), normal))
    found = []
    for k in range(len(faces)):
        parts = spots[element(k)]
        whole = sum(area for area, _, _ in parts)
        found.append((scaled(add(*(scaled(c, a) for a, c, _ in parts)), 1 / whole),
                      unit(add(*(scaled(n, a) for a, _, n in parts))), whole))
    return found


class Places:
    """Stands for a mould of triangles of which only middles and normals matter."""

    def __init__(self, places):
        self.corners = [(place,) * 3 for place, _ in places]
        self.normals = [normal for _, normal in places]


def number(x, digits=4):
    """As summaries tell it."""
    shown = f"{x:.{digits}g}"
    return f"{float(shown):.0f}" if "e" in shown and 1 <= abs(x) < 1e9 else shown


class LaminateValues(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.points, faces = uneven_sheet()
        cls.faces = [f[::-1] if k % 3 == 0 else f for k, f in enumerate(f for f in faces if len(f) < 5)]
        mesh = cls.folder / "m.inp"
        mesh.write_text(inp((cls.points, cls.faces)))
        middle = ",".join(map(repr, cls.points[54]))
        around = [16 + i for i in range(4, 8)] + [16 * j + 8 for j in range(1, 5)] + [80 + i for i in range(8, 4, -1)] + [16 * j + 4 for j in range(5, 1, -1)]
        (cls.folder / "ring.xyz").write_text("".join("%r %r %r\n" % cls.points[v] for v in around))
        starts = [(*STARTS[0], "--step", "1.1,0.8", "--locking", "3"), (*STARTS[1], "--seed", middle, "--curve", cls.folder / "ring.xyz"),
                  (*STARTS[2], "--step", "1.1,0.8", "--locking", "3")]
        cls.single = [Drape(cls.folder, mesh, *COMMON, *words, "--angle", angle, outputs=("dxf", "curve.csv") if k == 1 else ("dxf",), stem=f"s{k}")
                      for k, (words, angle) in enumerate(zip(starts, ANGLES))]
        (cls.folder / "layup.csv").write_text(
            "name,cloth,thickness,density,locking,angle,seed,step,pivot,region\n"
            'low,twill,0.02,1500,3,20,38 -2.6 14,,,\n'
            f'"mid, cut",ud,0.03,,0.4,-35,"{middle}",0.9 1.2,shear,ring.xyz\n'
            'top,twill,,,,250,38 -2.6 14,,,\n')
        cls.asked = [add(cls.points[69], (0.3, -0.2, 0.4)), add(cls.points[157], (-0.11, 0.32, -0.15))]
        cls.path = {name: cls.folder / f"l.{name}" for name in ("json", "csv", "vtu", "vtp", "gltf", "dxf", "pdf", "core.csv", "core.pdf")}
        words = [part for path in cls.path.values() for part in ("-o", path)]
        cores = [part for place in cls.asked for part in ("--core", ",".join(map(repr, place)))]
        done = subprocess.run([DRAPE, mesh, "--layup", cls.folder / "layup.csv", *map(str, COMMON), "--step", "1.1,0.8", *cores, *words],
                              capture_output=True, text=True, timeout=300)
        if done.returncode:
            raise AssertionError(done.stdout + done.stderr)
        cls.stdout = done.stdout
        cls.report = json.loads(cls.path["json"].read_text())
        with open(cls.path["csv"], newline="") as table:
            cls.rows = list(csv.DictReader(table))
        cls.mould = cls.single[0].mould
        cls.spots = spread_mould(cls.faces, cls.mould)
        with open(cls.folder / "s1.curve.csv", newline="") as table:
            cls.region = [[float(row[x]) for x in "uv"] for row in csv.DictReader(table)]

    def near(self, got, wanted, tolerance=1e-9):
        for a, b in zip(got, wanted, strict=True):
            self.assertLessEqual(abs(a - b), tolerance * max(1.0, abs(b)), (got, wanted))

    def is_in_region(self, place):
        crossings = [a[0] + (place[1] - a[1]) / (b[1] - a[1]) * (b[0] - a[0]) for a, b in model.closed(self.region)
                     if (a[1] > place[1]) != (b[1] > place[1])]
        return sum(x > place[0] for x in crossings) % 2 == 1

    def fibres_at(self, ply, places):
        """What of a ply lies at places with normals: cover 0 beyond its region."""
        grid = self.single[ply].grid
        found = model.fibre_map(Places(places), grid, self.single[ply].loops)
        if ply != 1:
            return found
        kept = []
        for (place, _), fibres in zip(places, found):
            cell = next((c for c in grid.cells if c[0] + 1 == fibres.cell), None)
            if cell is not None:
                p = grid.places(cell)
                ways = sub(p[1], p[0]), sub(p[3], p[0])
                rest, square = sub(place, p[0]), [dot(a, b) for a in ways for b in ways]
                sides = [dot(rest, way) for way in ways]
                size = square[0] * square[3] - square[1] * square[2]
                u, v = (square[3] * sides[0] - square[1] * sides[1]) / size, (square[0] * sides[1] - square[2] * sides[0]) / size
                low, high = grid.flat[cell[0]], grid.flat[cell[2]]
                flat = low[0] + u * (high[0] - low[0]), low[1] + v * (high[1] - low[1])
                fibres = fibres if self.is_in_region(flat) else model.BARE
            kept.append(fibres)
        return kept

    def test_drapes_are_those_of_each_ply_alone(self):
        for k, (ply, single) in enumerate(zip(self.report["plies"], self.single, strict=True)):
            self.assertEqual([ply[x] for x in ("sequence", "name", "cloth", "thickness", "angle", "after", "region", "trouble", "notes", "cover")],
                             [k + 1, NAMES[k], CLOTHS[k], FLAT[k], ANGLES[k], [], str(self.folder / "ring.xyz") if k == 1 else None, None, ply["notes"], None])
            alone, told = single.report, dict(ply["drape"])
            result, choice, shear, pattern = (alone[x] for x in ("result", "choice", "shear", "pattern"))
            wanted = {"status": result["status"], **{x: choice[x] for x in ("seed", "warp", "weft", "normal", "side", "step")},
                      "lockingAngle": shear["lockingAngle"], "darts": [], "elements": sum(row["ply"] == NAMES[k] for row in self.rows)}
            if k != 1:
                wanted |= {"cells": result["cellsOnSurface"], "meanShear": shear["mean"], "largestShear": shear["largest"],
                           "shareBeyondLocking": shear["shareBeyondLocking"], "coveredShare": result["coveredShare"], "netArea": pattern["netArea"],
                           "width": pattern["width"], "height": pattern["height"], "mass": 1500e-6 * pattern["netArea"] * 0.02 * MM ** 3}
                self.assertAlmostEqual(told.pop("mass"), wanted.pop("mass"), 9)
                self.assertEqual(told, wanted)
                continue
            # The ply that is cut off, by its own cells, elements and curve.
            grid = single.grid
            cells = [c for c in grid.on_surface(grid.cells) if self.is_in_region(model.middle(grid.flat[c[0]], grid.flat[c[2]]))]
            angles = [abs(grid.shear_of(c)) for c in cells]
            numbers = {int(row["element"]) for row in self.rows if row["ply"] == NAMES[k]}
            covered = sum(area for e, (_, _, area) in enumerate(self.spots) if element(e) in numbers)
            self.assertIsNone(told.pop("mass"))
            wanted |= {"cells": len(cells), "meanShear": sum(angles) / len(angles), "largestShear": max(angles),
                       "shareBeyondLocking": sum(a > 0.4 for a in angles) / len(angles), "coveredShare": covered / sum(s[2] for s in self.spots),
                       "netArea": abs(model.flat_area(self.region)),
                       **{name: max(p[i] for p in self.region) - min(p[i] for p in self.region) for i, name in enumerate(("width", "height"))}}
            self.assertTrue(0 < wanted["shareBeyondLocking"] < 1)
            for name in ("cells", "meanShear", "largestShear", "shareBeyondLocking", "coveredShare", "netArea", "width", "height"):
                self.near([told.pop(name)], [wanted.pop(name)], 1e-6)
            self.assertEqual(told, wanted)
        whole = {name: value for name, value in self.report.items() if name not in ("plies", "cores", "seconds", "program")}
        laid = [sum(row["element"] == str(element(e)) for row in self.rows) for e in range(len(self.faces))]
        self.assertEqual(whole, {
            "format": "drape-laminate", "version": whole["version"],
            "input": {"file": str(self.folder / "m.inp"), "layup": str(self.folder / "layup.csv"), "millimetresPerUnit": MM},
            "rosette": whole["rosette"], "side": "towards +z", "buildUp": False, "elements": len(self.faces), "bareElements": laid.count(0), "mass": None})
        self.near(whole["rosette"], unit([1, 0.5, 0.1]))
        self.assertTrue(0 < self.report["seconds"] < 300)

    def test_rows_are_what_lies_on_elements(self):
        by_ply = {}
        for row in self.rows:
            by_ply.setdefault(row["ply"], {})[int(row["element"])] = row
        self.assertEqual(list(self.rows[0]), ("element sequence ply cover angle_side_deg angle_rosette_deg angle_change_deg shear_deg thickness_factor thickness "
                                              "warp_x warp_y warp_z weft_x weft_y weft_z piece side").split())
        places = [(place, normal) for place, normal, _ in self.spots]
        carried = 0
        for k, name in enumerate(NAMES):
            found = self.fibres_at(k, places)
            for e, fibres in enumerate(found):
                row = by_ply[name].get(element(e))
                if row is None or row["cover"] == "3":
                    self.assertEqual(fibres.cover, 0, (name, e))
                    carried += row is not None
                    self.assertTrue(row is None or (k != 1 and row["shear_deg"] in {other["shear_deg"] for other in by_ply[name].values() if other["cover"] != "3"}))
                    continue
                self.assertEqual((row["sequence"], row["cover"], row["piece"]), (str(k + 1), str(fibres.cover), "1"), (name, e))
                p = [self.points[v] for v in self.faces[e]]
                own = unit(cross(sub(p[2], p[0]), sub(p[3], p[1])) if len(p) == 4 else cross(sub(p[1], p[0]), sub(p[2], p[0])))
                lie = lambda v, about: unit(sub(v, scaled(about, dot(v, about))))
                turn = lambda a, b, about: math.degrees(math.atan2(dot(about, cross(a, b)), dot(a, b)))
                above = own if dot(own, places[e][1]) > 0 else scaled(own, -1)
                self.assertEqual(row["side"], "1" if above is own else "-1")
                warp, weft = lie(fibres.warp, own), lie(fibres.weft, own)
                self.near([float(row[f"{kind}_{x}"]) for kind in ("warp", "weft") for x in "xyz"], [*warp, *weft], 1e-4)
                rosette = turn(lie([1, 0.5, 0.1], own), warp, above)
                factor = 1 / math.cos(math.radians(fibres.shear))
                wanted = [turn(lie(sub(p[1], p[0]), own), warp, own), rosette, (rosette - ANGLES[k] + 180) % 360 - 180]
                for column, angle in zip(("angle_side_deg", "angle_rosette_deg", "angle_change_deg"), wanted):
                    self.assertLess(abs((float(row[column]) - angle + 180) % 360 - 180), 1e-2, (name, e, column))
                    self.assertTrue(-180 < float(row[column]) <= 180)
                self.assertLess(abs(float(row["angle_change_deg"])), 60)
                self.near([float(row[x]) for x in ("shear_deg", "thickness_factor", "thickness")], [fibres.shear, factor, factor * FLAT[k]], 1e-6)
        self.assertLess(carried, 0.2 * len(self.rows))

    def test_grid_of_elements(self):
        grid = UnstructuredGrid(self.path["vtu"])
        self.assertEqual(grid.shown, ("element", "thickness"))
        self.assertEqual([tuple(p) for p in grid.points], [self.points[v] for v in sorted({v for f in self.faces for v in f}, key=lambda v: (v % 2, v))])
        of_point = {p: k for k, p in enumerate(map(tuple, grid.points))}
        faces = dict(zip(grid.cell_data["element"], grid.faces()))
        self.assertEqual(faces, {element(e): tuple(of_point[self.points[v]] for v in f) for e, f in enumerate(self.faces)})
        self.assertEqual(dict(zip(grid.cell_data["element"], grid.polygons["types"])), {element(e): {3: 5, 4: 9}[len(f)] for e, f in enumerate(self.faces)})
        rows = {(int(row["sequence"]), int(row["element"])): row for row in self.rows}
        names = {"element", "plies", "thickness"} | {f"ply{k}_{x}" for k in (1, 2, 3) for x in ("cover", "side", "angle", "shear", "thickness", "warp", "weft")}
        self.assertEqual(set(grid.cell_data), names)
        for at, number_ in enumerate(grid.cell_data["element"]):
            own = [rows.get((k, number_)) for k in (1, 2, 3)]
            laid = [row for row in own if row]
            self.assertEqual(grid.cell_data["plies"][at], len(laid))
            self.near([grid.cell_data["thickness"][at]], [sum(float(row["thickness"]) for row in laid)], 1e-7)
            for k, row in enumerate(own, 1):
                value = lambda name: grid.cell_data[f"ply{k}_{name}"][at]
                told = [value("cover"), value("side"), value("angle"), value("shear"), value("thickness"), *value("warp"), *value("weft")]
                columns = ["cover", "side", "angle_rosette_deg", "shear_deg", "thickness_factor", *(f"{kind}_{x}" for kind in ("warp", "weft") for x in "xyz")]
                self.near(told, [float(row[column]) for column in columns] if row else [0.0] * 11, 1e-7)

    def test_core_samples(self):
        with open(self.path["core.csv"], newline="") as table:
            rows = list(csv.DictReader(table))
        words = iter(self.stdout.splitlines()[self.stdout.splitlines().index(next(l for l in self.stdout.splitlines() if l.startswith("core "))):])
        drawn = " ".join(subprocess.run(["pdftotext", "-layout", self.path["core.pdf"], "-"], capture_output=True, text=True, check=True).stdout.split())
        point = lambda p: "(" + ", ".join(f"{x:.4g}" for x in p) + ")"
        depth = []
        for c, (core, asked) in enumerate(zip(self.report["cores"], self.asked, strict=True)):
            place, t = self.mould.nearest(asked)
            normal = self.mould.normals[t]
            self.assertEqual((core["asked"], core["element"]), (list(asked), self.mould.faces[t]))
            self.near([*core["place"], *core["normal"]], [*place, *normal], 1e-9)
            bottom = 0.0
            layers = [(k, f) for k in range(3) for f in self.fibres_at(k, [(place, normal)]) if f.cover]
            own = [row for row in rows if row["core"] == str(c + 1)]
            depth.append(len(layers))
            told = []
            for at, ((k, fibres), layer, row) in enumerate(zip(layers, core["layers"], own, strict=True), 1):
                rosette = sub([1, 0.5, 0.1], scaled(normal, dot([1, 0.5, 0.1], normal)))
                angle = math.degrees(math.atan2(dot(normal, cross(rosette, fibres.warp)), dot(rosette, fibres.warp)))
                thickness = FLAT[k] / math.cos(math.radians(fibres.shear))
                self.assertEqual([layer[x] for x in ("sequence", "name", "piece", "cloth")], [k + 1, NAMES[k], None, CLOTHS[k]])
                figures = [angle, fibres.shear, bottom, thickness, *fibres.warp]
                self.near([layer[x] for x in ("angle", "shear", "bottom", "thickness")] + layer["warp"] + layer["weft"], [*figures, *fibres.weft], 1e-6)
                self.assertEqual([row[x] for x in ("element", "layer", "sequence", "ply", "cloth", "angle_laid_deg", "piece")],
                                 [str(core["element"]), str(at), str(k + 1), NAMES[k], CLOTHS[k], str(ANGLES[k]), "1"])
                self.near([float(row[x]) for x in ("angle_rosette_deg", "shear_deg", "bottom", "thickness", "warp_x", "warp_y", "warp_z", "x", "y", "z")],
                          [*figures, *place], 1e-6)
                told.append(f"  {k + 1} {NAMES[k]}, {CLOTHS[k]} at {angle:.1f} degrees (laid at {ANGLES[k]}), shear {fibres.shear + 1e-9:.1f}, thickness {thickness:.4g} "
                            f"from {bottom:.4g}")
                self.assertIn(f"{k + 1} {NAMES[k]}, {CLOTHS[k]} {angle:.1f}° {number(thickness * MM)} mm", drawn)
                bottom += thickness
            self.near([core["thickness"]], [bottom], 1e-6)
            self.assertIn(f"Core at {point(place)}, element {core['element']} ", drawn)
            self.assertIn(f"{len(layers)} layers, {number(bottom * MM)} mm thick", drawn)
            head = f"core      at {point(place)} in element {core['element']}: {len(layers)} layers, {bottom:.4g} thick"
            self.assertEqual([next(words) for _ in range(len(layers) + 2)], [head, *reversed(told), "  mould"])
        self.assertEqual(depth, [3, 2])

    def test_summary_and_book(self):
        lines = self.stdout.splitlines()
        self.assertEqual(lines[0], f"laminate  3 plies on {self.folder / 'm.inp'}, {len(self.faces)} elements, rosette (0.8909, 0.4454, 0.08909), side towards +z")
        rows = [["no", "ply", "cloth", "angle", "net area", "mean shear", "largest", "locked", "covers"]]
        wanted, area = [], 0.0
        for k, ply in enumerate(self.report["plies"]):
            d = ply["drape"]
            shown = [f"{d['meanShear']:.1f}", f"{d['largestShear']:.1f}", f"{100 * d['shareBeyondLocking']:.1f} %", f"{100 * d['coveredShare']:.1f} %"]
            rows.append([str(k + 1), NAMES[k], CLOTHS[k], str(ANGLES[k]), number(d["netArea"]), *shown])
            mass = f"{d['mass']:.3g} g" if d["mass"] else "-"
            wanted.append(f"{k + 1} {NAMES[k]} {CLOTHS[k]} {ANGLES[k]}° {FLAT[k] * MM:.4g} mm {number(d['netArea'] * MM * MM)} mm² {mass} {shown[0]}° {shown[1]}° "
                          f"{shown[2]} {shown[3]}")
            area += d["netArea"]
        got = [line.split() for line in lines[1:5]]
        self.assertEqual(got, [" ".join(row).split() for row in rows])
        self.assertEqual(len({line.rindex("%") for line in lines[2:5]}), 1, "columns stand below each other")
        text = subprocess.run(["pdftotext", "-layout", self.path["pdf"], "-"], capture_output=True, text=True, check=True).stdout
        pages = [" ".join(page.split()) for page in text.split("\f")]
        for row in wanted:
            self.assertIn(row, pages[0])
        self.assertIn(f"Flat cloth of all plies: {area * MM * MM * 1e-6:.4g} m², mass not known for every cloth", pages[0])
        for k, (ply, page) in enumerate(zip(self.report["plies"], pages[1:])):
            d = ply["drape"]
            for told in (f"{k + 1} {NAMES[k]}", f"{CLOTHS[k]} at {ANGLES[k]}°, {FLAT[k] * MM:.4g} mm thick", f"{number(d['width'] * MM)} mm", f"{number(d['height'] * MM)} mm",
                         f"page {k + 2} of 5"):
                self.assertIn(told, page)
            # A bar of 1, 2 or 5 with zeros, at most three tenths of the drawing's 132.5 mm, that says how long it is.
            extent = self.single[k].report["pattern"]["extent"] if k != 1 else [f(p[i] for p in self.region) for f in (min, max) for i in (0, 1)]
            width, height = (max(extent[i + 2], 0) - min(extent[i], 0) for i in (0, 1))
            most = 0.3 * 132.5 * MM / min(120.5 / width, 116 / height)
            bar = max(digit * 10.0 ** zeros for digit in (1, 2, 5) for zeros in range(5) if digit * 10.0 ** zeros <= most)
            self.assertIn(f" {bar:g} mm ", page)

    def test_kit_and_grids(self):
        entities = dxf_entities(self.path["dxf"].read_text())
        seeds = [e["points"][0] for e in entities if e["layer"] == "SEED"]
        reach = []
        for k, single in enumerate(self.single):
            loops = [self.region] if k == 1 else single.report["pattern"]["extent"]
            reach.append((min(p[0] for p in self.region), max(p[0] for p in self.region)) if k == 1 else (loops[0], loops[2]))
        gap, left, wanted = 0.1 * MM * max(high - low for low, high in reach), None, []
        for low, high in reach:
            x = 0.0 if left is None else left - MM * low
            wanted.append((x, 0.0))
            left = x + MM * high + gap
        for got, want in zip(seeds, wanted, strict=True):
            self.near(got, want, 1e-6)
        nets = [e["points"] for e in entities if e["layer"] == "NET"]
        self.assertEqual(len(nets), 3)
        for net, (low, high), (x, _) in zip(nets, reach, wanted):
            self.near([f(p[0] for p in net) for f in (min, max)], [x + MM * low, x + MM * high], 1e-6)
        self.assertEqual([e["words"] for e in entities if e["layer"] == "TEXT"][::4], [f"Ply {name}" for name in NAMES])
        # The grids of all plies, one behind the other, each as it comes alone.
        cloth, at, cell = PolyData(self.path["vtp"]), 0, 0
        for k, single in enumerate(self.single):
            end, last = at + single.grid.count, cell + len(single.grid.cells)
            self.assertEqual(cloth.points[at:end], single.file.points)
            self.assertEqual(set(cloth.point_data["piece"][at:end]) | set(cloth.cell_data["piece"][cell:last]), {k + 1})
            for name, values in single.file.point_data.items():
                self.assertEqual(cloth.point_data[name][at:end], values, name)
            for name, values in single.file.cell_data.items():
                self.assertEqual(cloth.cell_data[name][cell:last], values, name)
            self.assertEqual(cloth.faces()[cell:last], [tuple(at + n for n in c) for c in single.grid.cells])
            at, cell = end, last
        self.assertEqual((at, cell), (cloth.point_count, cloth.polygon_count))
        self.assertEqual(cloth.fields["runStatus"], [s.report["result"]["status"] for s in self.single])
        scene = Gltf(self.path["gltf"])
        self.assertEqual([node_["name"] for node_ in scene.tree["nodes"]], list(NAMES))
        largest = max(ply["drape"]["largestShear"] for ply in self.report["plies"])
        self.assertEqual(scene.tree["extras"], {"shearScaleTop": model.shear_scale(largest, 3)[0], "lockingAngle": 3})
        for k, mesh in enumerate(scene.tree["meshes"]):
            self.assertEqual(set(scene.accessor(mesh["primitives"][0]["attributes"]["_PIECE"])), {k + 1})
        self.assertEqual([node_["extras"]["origin"] for node_ in scene.tree["nodes"]], [self.single[0].report["choice"]["seed"]] * 3)


if __name__ == "__main__":
    unittest.main()
