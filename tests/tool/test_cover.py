"""Several pieces that cover a part, judged from the files alone: each piece is draped again from its own file, and
points of the mould are looked for under the cloth of the piece that claims them.
"""

import collections
import csv
import json
import math
import pathlib
import random
import re
import shlex
import signal
import subprocess
import tempfile
import time
import unittest

from model import flat_area, shear_scale
from moulds import cup, obj, plate
from program import DONE, DRAPE, USAGE, Case
from readers import PolyData, dxf_entities

LOCKING, MM, ALLOWANCE = 30.0, 20.0, 0.05
PLACES = 60  # on each piece


def ball(around=28, rings=16):
    """A closed ball of radius 1."""
    points = [(0.0, 0.0, 1.0)]
    for k in range(1, rings):
        a = math.pi * k / rings
        points += [(math.sin(a) * math.cos(2 * math.pi * s / around), math.sin(a) * math.sin(2 * math.pi * s / around),
                    math.cos(a)) for s in range(around)]
    points.append((0.0, 0.0, -1.0))
    last = len(points) - 1
    faces = [(0, 1 + s, 1 + (s + 1) % around) for s in range(around)]
    for k in range(rings - 2):
        low, high = 1 + k * around, 1 + (k + 1) * around
        faces += [(low + s, high + s, high + (s + 1) % around, low + (s + 1) % around) for s in range(around)]
    faces += [(last, last - around + (s + 1) % around, last - around + s) for s in range(around)]
    return points, faces


def corners_of(text):
    """Vertices and triangles of an OBJ file."""
    points, faces = [], []
    for line in text.splitlines():
        words = line.split()
        if words and words[0] == "v":
            points.append(tuple(map(float, words[1:])))
        elif words and words[0] == "f":
            faces.append(tuple(int(w) - 1 for w in words[1:]))
    return points, faces


def area(a, b, c):
    u, v = [[q[k] - a[k] for k in range(3)] for q in (b, c)]
    return 0.5 * math.hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0])


def places_beside(points, faces, cloth, far):
    """The share of some places, spread over a surface by area, that lie farther from a cloth than that."""
    random.seed(5)
    cells = [[cloth.points[v] for v in quad] for quad in cloth.faces()]
    middles = [[sum(c[k] for c in cell) / 4 for k in range(3)] for cell in cells]
    weights = [area(*(points[v] for v in face)) for face in faces]
    beside = 0
    for face in random.choices(faces, weights, k=PLACES):
        s, t = sorted((random.random(), random.random()))
        place = [s * a + (t - s) * b + (1 - t) * c for a, b, c in zip(*(points[v] for v in face))]
        near = sorted(range(len(cells)), key=lambda n: math.dist(middles[n], place))[:6]
        beside += min(distance_to_cell(cells[n], place) for n in near) > far
    return beside / PLACES


def distance_to_cell(cell, place):
    shares = [k / 8 for k in range(9)]
    return min(math.dist(place, [(1 - v) * ((1 - u) * a + u * b) + v * ((1 - u) * d + u * c)
                                 for a, b, c, d in zip(*cell)]) for u in shares for v in shares)


def area_of(mesh):
    points, faces = mesh
    return sum(area(*(points[v] for v in (f[0], f[k], f[k + 1]))) for f in faces for k in range(1, len(f) - 1))


class Cover(Case):
    WORDS = (0.97, "--step", "0.22,0.19", "--angle", 25, "--rosette", "1,0.2,0.1", "--pivot", "shear")
    DRAWINGS = ["c.png", "c.svg", "c.pdf", "c.dxf", "c.gltf", "c.fibres.vtp"]

    def cover(self, mesh, *words, drawings=()):
        path = self.file("m.obj", obj(mesh))
        outputs = ["c.json", "c.vtp", "c.fibres.csv", "c.pieces.obj", *drawings]
        self.said = self.drape(path, "--cover", *words, "--locking", LOCKING, *(w for o in outputs for w in ("-o", o))).stdout
        report = json.loads((self.folder / "c.json").read_text())
        pieces = sorted(self.folder.glob("c.piece*.obj"), key=lambda p: int(re.findall(r"\d+", p.name)[0]))
        self.assertEqual(len(pieces), report["cover"]["count"])
        return report["cover"], pieces

    @classmethod
    def dome(cls):
        """A dome that one ply cannot take, covered once for all tests: the report's cover, its pieces, its folder."""
        if not hasattr(cls, "once"):
            folder = tempfile.TemporaryDirectory()
            cls.addClassCleanup(folder.cleanup)
            case = cls()
            case.folder = pathlib.Path(folder.name)
            words = (*cls.WORDS, "--name", "skin", "--units-mm", MM, "--allowance", ALLOWANCE, "-j", 2)
            cls.once = *case.cover(cup(0.6), *words, drawings=cls.DRAWINGS), case.folder
            cls.said = case.said
        return cls.once

    def redrape(self, piece, told):
        """A piece draped by itself, as its file says, has to be the piece that is told; its report and its cloth."""
        options = shlex.split(piece.read_text().splitlines()[1].lstrip("# "))
        cloth = self.folder / "again.vtp"
        report = self.report(piece, *options, "--locking", LOCKING, "-o", cloth)[0]
        self.assertEqual(report["result"]["status"], 0)
        self.assertLessEqual(report["shear"]["largest"], LOCKING)
        self.assertLessEqual(report["pattern"]["overlapArea"], 1e-3 * told["area"])
        self.assertEqual(report["choice"]["seed"], told["seed"])
        self.assertAlmostEqual(report["pattern"]["netArea"] / told["area"], 1, 9)
        self.assertAlmostEqual(report["shear"]["largest"], told["largestShear"], 7)
        self.assertPoint(report["pattern"]["extent"], told["extent"])
        return report, PolyData(cloth)

    def judge(self, cover, pieces, step, *, covers=0.95):
        """Draws all pieces again from their files: each is what it was said to be, its cloth lies over what its file
        holds, and where two of them meet there's neither gap nor double edge."""
        sides = collections.Counter()
        lain = 0.0
        for told, piece in zip(cover["pieces"], pieces, strict=True):
            report, cloth = self.redrape(piece, told)
            self.assertGreater(report["result"]["coveredShare"], covers)
            points, faces = corners_of(piece.read_text())
            lain += area_of((points, faces))
            beside = places_beside(points, faces, cloth, 0.35 * step)
            self.assertLessEqual(beside, 2.0 * (1.0 - report["result"]["coveredShare"]) + 0.02, piece)
            own = collections.Counter(frozenset((points[f[k]], points[f[k - 1]])) for f in faces for k in range(3))
            sides.update(side for side, count in own.items() if count == 1)
        self.assertLessEqual(max(sides.values()), 2)
        meeting = sum(math.dist(*side) for side, count in sides.items() if count == 2)
        return lain, meeting

    def test_a_dome_that_one_ply_cannot_take(self):
        cover, pieces, _ = self.dome()
        self.assertEqual(list(cover), ["pieces", "count", "coveredShare", "overlapShare", "largestShear", "seamLength"])
        self.assertGreater(cover["count"], 1)
        self.assertLess(cover["count"], 6)
        self.assertGreaterEqual(cover["coveredShare"], 0.97)
        self.assertLess(cover["overlapShare"], 0.02)
        whole = area_of(cup(0.6))
        lain, meeting = self.judge(cover, pieces, 0.22)
        for told in cover["pieces"]:
            self.assertEqual(list(told), ["seed", "angle", "area", "extent", "largestShear", "seamLength"])
            self.assertEqual(told["angle"], 25.0)
        for choice in (self.redrape(piece, told)[0]["choice"] for told, piece in zip(cover["pieces"], pieces)):
            self.assertAlmostEqual(choice["plyAngle"], 25.0, 6)
            self.assertEqual((choice["step"], choice["pivot"]), ([0.22, 0.19], "shear"))
        self.assertAlmostEqual(lain / whole, cover["coveredShare"] + cover["overlapShare"], 2)
        self.assertAlmostEqual(meeting / cover["seamLength"], 1.0, 1)
        self.assertLess(cover["overlapShare"], 1e-3)
        self.assertLessEqual(cover["largestShear"], LOCKING)
        self.assertTrue(0 < cover["seamLength"] <= 0.5 * sum(p["seamLength"] for p in cover["pieces"]) * (1 + 1e-9))

    def test_figures_are_those_of_the_files(self):
        cover, pieces, folder = self.dome()
        report = json.loads((folder / "c.json").read_text())
        points, faces = cup(0.6)
        whole = area_of((points, faces))
        self.assertEqual((report["mould"]["triangles"], report["input"]), (len(faces), {"file": str(folder / "m.obj"), "millimetresPerUnit": MM}))
        self.assertAlmostEqual(report["mould"]["area"], whole, 9)
        cloth = PolyData(folder / "c.vtp")
        shear = {}
        for piece, angle, lies in zip(*(cloth.cell_data[k] for k in ("piece", "shear", "onSurface"))):
            shear[piece] = max(shear.get(piece, 0.0), abs(angle) * lies)
        nets, cuts, seeds = [], [], []
        for line in dxf_entities((folder / "c.dxf").read_text()):
            if line["layer"] == "CUT" and (not cuts or nets[-1]):
                nets.append([])
                cuts.append([])
            for layer, lists in (("NET", nets), ("HOLE", nets), ("CUT", cuts)):
                if line["layer"] == layer:
                    self.assertTrue(line["closed"])
                    lists[-1].append(line["points"])
            seeds += line["points"] if line["layer"] == "SEED" else []
        lines = self.said.splitlines()
        shares, gap = [], 0.1 * max(max(p[0] for loop in own for p in loop) - min(p[0] for loop in own for p in loop) for own in cuts)
        number = lambda x: f"{x:.4g}"
        for k, told in enumerate(cover["pieces"]):
            x, y = seeds[k]
            self.assertAlmostEqual(told["area"], sum(map(flat_area, nets[k])) / MM ** 2, 6)
            box = [f(p[i] - seeds[k][i] for loop in nets[k] for p in loop) / MM for f in (min, max) for i in (0, 1)]
            self.assertPoint(told["extent"], box, 6)
            self.assertAlmostEqual(told["largestShear"], shear[k + 1], 7)
            self.assertEqual(y, 0.0)
            left, right = (f(p[0] for loop in cuts[k] for p in loop) for f in (min, max))
            self.assertAlmostEqual(left, min(p[0] for loop in nets[k] for p in loop) - MM * ALLOWANCE, delta=0.01)
            if k > 0:
                self.assertAlmostEqual(left - before, gap, 6)
            before = right
            (share,) = re.findall(rf"piece {k + 1}   ([\d.]+) % of the mould, net area {number(told['area'])}, {number(box[2] - box[0])} by {number(box[3] - box[1])}, "
                                  rf"seed \({', '.join(map(re.escape, map(number, told['seed'])))}\), angle 25, largest shear {told['largestShear']:.1f}$", lines[5 + k])
            shares.append(float(share))
            self.assertAlmostEqual(shares[-1], 100 * area_of(corners_of(pieces[k].read_text())) / whole, delta=0.051)
        self.assertEqual(seeds[0], [0.0, 0.0])
        self.assertAlmostEqual(sum(shares), 100 * cover["coveredShare"], delta=0.051 * len(shares))
        self.assertAlmostEqual(sum(p["seamLength"] for p in cover["pieces"]), 2 * cover["seamLength"], 6)
        self.assertEqual(max(shear.values()), cover["largestShear"])
        self.assertEqual(lines[:4], [
            f"mould     {folder / 'm.obj'}: {len(faces)} triangles, area {number(whole)}", "cloth     cells 0.22 by 0.19, all pieces at 25 degrees from the rosette",
            f"cover     {cover['count']} pieces cover {100 * cover['coveredShare']:.1f} % of it; {100 * cover['overlapShare']:.1f} % lies under more than one",
            f"shear     largest {cover['largestShear']:.1f} degrees, locking at 30"])
        self.assertRegex(lines[4], rf"^seams     \d+ seams?, {number(cover['seamLength'])} long together$")
        scene = json.loads((folder / "c.gltf").read_text())
        self.assertEqual(scene["extras"], {"shearScaleTop": shear_scale(cover["largestShear"], LOCKING)[0], "lockingAngle": LOCKING})
        for node in scene["nodes"]:
            self.assertPoint(node["extras"]["origin"], cover["pieces"][0]["seed"])
            self.assertEqual(node["scale"], [MM / 1000] * 3)

    def test_every_place_lies_under_the_piece_that_claims_it(self):
        folder = self.dome()[2]
        cloth = PolyData(folder / "c.vtp")
        middles = {}
        for quad, piece in zip(cloth.faces(), cloth.cell_data["piece"], strict=True):
            corners = [cloth.points[v] for v in quad]
            middles.setdefault(int(piece), []).append([sum(c[k] for c in corners) / 4 for k in range(3)])
        for quad, piece, cell in zip(cloth.faces(), cloth.cell_data["piece"], cloth.cell_data["cell"], strict=True):
            self.assertEqual({cloth.point_data["piece"][v] for v in quad}, {piece})
            self.assertEqual(cloth.point_data["node"][quad[0]], cell)
        mesh = PolyData(folder / "c.fibres.vtp")
        table = [(int(row["piece"]), int(row["cell"])) for row in csv.DictReader((folder / "c.fibres.csv").read_text().splitlines())]
        self.assertEqual(sorted(zip(mesh.cell_data["piece"], mesh.cell_data["cell"])), sorted(table))
        self.assertTrue(all((piece > 0) == (cell > 0) for piece, cell in table))
        points, faces = corners_of(obj(cup(0.6)))
        triangles = [f for face in faces for f in [(face[0], face[k], face[k + 1]) for k in range(1, len(face) - 1)]]
        rows = list(csv.DictReader((folder / "c.fibres.csv").read_text().splitlines()))
        self.assertEqual(len(rows), len(triangles))
        claimed = 0.0
        named = {(piece, cell): k for k, (piece, cell) in enumerate(zip(cloth.cell_data["piece"], cloth.cell_data["cell"]))}
        self.assertEqual([int(row["face"]) for row in rows], list(range(1, len(triangles) + 1)))
        for row, triangle in zip(rows, triangles):
            if int(row["piece"]):
                centre = [sum(points[v][k] for v in triangle) / 3 for k in range(3)]
                nearest = min(math.dist(centre, m) for m in middles[int(row["piece"])])
                self.assertLess(nearest, 0.22)
                claimed += area(*(points[v] for v in triangle))
                cell = named[int(row["piece"]), int(row["cell"])]
                shear = cloth.cell_data["shear"][cell]
                self.assertPoint([float(row["shear_deg"]), float(row["thickness"])], [shear, 1 / math.cos(math.radians(shear))], 6)
                for kind in ("warp", "weft"):
                    self.assertGreater(sum(float(row[f"{kind}_{x}"]) * y for x, y in zip("xyz", cloth.cell_data[kind][cell])), 0.9)
            else:
                self.assertEqual([float(row[name]) for name in row if name not in ("triangle", "face")], [0, 0, 0, 1, *[0] * 6, 0])
        self.assertGreater(claimed / area_of(cup(0.6)), 0.9)

    def test_the_same_answer_twice_on_any_number_of_cores(self):
        self.assertEqual(self.dome()[0], self.cover(cup(0.6), *self.WORDS, "-j", 1)[0])

    def test_a_closed_surface(self):
        cover, pieces = self.cover(ball(20, 12), 0.95, "--step", 0.25, "--free-angles")
        self.assertGreaterEqual(cover["coveredShare"], 0.95)
        lain, meeting = self.judge(cover, pieces, 0.25)
        self.assertAlmostEqual(lain / area_of(ball(20, 12)), cover["coveredShare"], 2)
        self.assertAlmostEqual(meeting / cover["seamLength"], 1.0, 1)

    def test_cloth_no_wider_than_the_roll(self):
        cover, pieces = self.cover(plate(8), "--step", 0.4, "--roll-width", 4.2, "--max-length", 7)
        self.assertGreaterEqual(cover["coveredShare"], 0.99)
        self.assertLess(cover["count"], 8)
        self.judge(cover, pieces, 0.4)
        for piece in cover["pieces"]:
            low_u, low_v, high_u, high_v = piece["extent"]
            self.assertLessEqual(high_v - low_v, 4.2 + 1e-9)
            self.assertLessEqual(high_u - low_u, 7 + 1e-9)

    def test_bent_cloth_no_wider_than_the_roll(self):
        cover, pieces = self.cover(cup(0.6), 0.95, "--step", 0.24, "--roll-width", 1.3, "--overlap", 0.1)
        self.assertGreaterEqual(cover["coveredShare"], 0.95)
        for told, piece in zip(cover["pieces"], pieces, strict=True):
            report, _ = self.redrape(piece, told)
            _, low, _, high = report["pattern"]["extent"]
            self.assertLessEqual(high - low, 1.3 + 1e-9)

    def test_neighbours_overlap_as_asked(self):
        butt = self.dome()[0]
        lapped = self.cover(cup(0.6), *self.WORDS, "--overlap", 0.1)[0]
        self.assertLess(butt["overlapShare"], 0.02)
        expected = 0.1 * lapped["seamLength"] / area_of(cup(0.6))
        self.assertAlmostEqual(lapped["overlapShare"], expected, delta=0.5 * expected + 0.01)
        # What a piece has up to its seams is its own alone.
        shares = [float(share) for share in re.findall(r"piece \d+   ([\d.]+) %", self.said)]
        self.assertAlmostEqual(sum(shares), 100 * lapped["coveredShare"], delta=0.051 * len(shares))

    def test_drawings(self):
        cover, _, folder = self.dome()
        names = [f"skin-{k + 1}" for k in range(cover["count"])]
        self.assertEqual(len(re.findall(rb"/Type /Page\b", (folder / "c.pdf").read_bytes())), cover["count"])
        text = (folder / "c.dxf").read_text()
        self.assertEqual(re.findall(r"Ply (skin-\d+)", text), names)
        scene = json.loads((folder / "c.gltf").read_text())
        self.assertEqual([node["name"] for node in scene["nodes"]], names)
        self.assertTrue(all("_PIECE" in mesh["primitives"][0]["attributes"] for mesh in scene["meshes"]))
        self.assertIn("</svg>", (folder / "c.svg").read_text())
        self.assertTrue((folder / "c.png").read_bytes().startswith(b"\x89PNG"))

    def test_each_pattern_shows_where_it_meets_its_neighbours(self):
        """Each seam lies on two patterns, and where pieces don't overlap it's their edge."""
        cover, _, folder = self.dome()
        found = dxf_entities((folder / "c.dxf").read_text())
        seams = [line["points"] for line in found if line["layer"] == "SEAM"]
        self.assertFalse(any(line["closed"] for line in found if line["layer"] == "SEAM"))
        length = sum(math.dist(p, q) for seam in seams for p, q in zip(seam, seam[1:])) / MM
        self.assertTrue(0.85 < 0.5 * length / cover["seamLength"] < 1.15)
        edges = [(p, q) for line in found if line["layer"] in ("NET", "HOLE")
                 for p, q in zip(line["points"], line["points"][1:] + line["points"][:1])]
        beside = [min(math.dist(place, [p[k] + t / 8 * (q[k] - p[k]) for k in (0, 1)]) for p, q in edges for t in range(9))
                  for seam in seams for place in seam[::3]]
        self.assertLess(sum(away > 0.1 * 0.22 * MM for away in beside), 0.1 * len(beside))

    def test_an_interrupt_leaves_the_best_so_far(self):
        path = self.file("m.obj", obj(cup(0.6)))
        run = subprocess.Popen([DRAPE, path, "--cover", "--step", "0.17", "--seconds", "200", "-v", "-o", "c.json"],
                               cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        for line in run.stderr:
            if "draped;" in line:
                break
        time.sleep(0.1)
        run.send_signal(signal.SIGINT)
        run.communicate(timeout=200)
        self.assertEqual(run.returncode, DONE)
        self.assertGreater(json.loads((self.folder / "c.json").read_text())["cover"]["count"], 0)

    def test_wishes_that_cannot_be(self):
        path = self.file("m.obj", obj(plate(6)))
        for words in (["--cover", "1.5"], ["--cover", "--overlap", "-1"], ["--overlap", "1"], ["--keep", "bad"],
                      ["--cover", "--sweep"], ["--cover", "--seed", "1,1,0"], ["--cover", "-o", "c.pattern.svg"],
                      ["--cover", "--roll-width", "0"], ["--seconds", "3"]):
            self.drape(path, *words, expect=USAGE)
        self.drape("--cover", path, "-q", "--step", "0.8")  # the word behind may be the file


def bump(n=24):
    """A wavy sheet with a small hole and a steep bump, on which a cloth folds."""
    places = [(-3 + 6 * i / n, -3 + 6 * j / n) for j in range(n + 1) for i in range(n + 1)]
    heights = [2.5 * math.exp(-x * x - 1.3 * y * y) + 0.3 * math.sin(2 * x + y) for x, y in places]
    hole = 2 * (4 + n * (n - 5))
    return [(x, y, z) for (x, y), z in zip(places, heights)], [f for k, f in enumerate(plate(n)[1]) if k // 2 * 2 != hole]


class GoodRegion(Case):
    def test_what_is_good_of_a_drape_that_folds_can_be_kept(self):
        path = self.file("m.obj", obj(bump()))
        words = [path, "--step", 0.3, "--seed=-1,1,0", "--angle", 20]
        whole, done = self.report(*words, expect=None)
        self.assertEqual(done.returncode, 4)
        self.assertIn("--keep good", done.stdout)
        self.assertIn("--cover", done.stderr)
        kept, _ = self.report(*words, "--keep", "good")
        self.assertEqual(kept["result"]["status"], 0)
        self.assertLessEqual(kept["shear"]["largest"], 45.0)
        self.assertGreater(kept["result"]["coveredShare"], 0.95)
        self.assertEqual((whole["good"]["kept"], kept["good"]["kept"]), (False, True))
        self.assertAlmostEqual(kept["mould"]["area"], whole["good"]["area"])
        self.assertAlmostEqual(whole["good"]["area"] / whole["mould"]["area"], whole["good"]["share"], 2)
        self.assertEqual(whole["good"], {**kept["good"], "kept": False})
        self.assertEqual(kept["good"]["outlineLength"], kept["mould"]["loops"][0]["length"])
        self.assertAlmostEqual(kept["good"]["largestShear"], kept["shear"]["largest"], 9)
        good = kept["good"]
        self.assertIn(f"good      {100 * good['share']:.1f} % of the mould around the seed, with an outline of {good['outlineLength']:.4g}, is within locking", done.stdout)

    def test_a_drape_that_is_good_all_over_has_no_region_to_tell(self):
        report, done = self.report(self.file("m.obj", obj(plate(6))))
        self.assertIsNone(report["good"])
        self.assertNotIn("--keep", done.stdout)
        kept = self.report("m.obj", "--keep", "good")[0]["good"]
        self.assertTrue(kept["kept"] and kept["share"] > 0.99)


if __name__ == "__main__":
    unittest.main()
