"""Several pieces that cover a part, judged from the files alone: each piece is draped again from its own file, and
points of the mould are looked for under the cloth of the piece that claims them.
"""

import csv
import json
import math
import pathlib
import re
import shlex
import signal
import subprocess
import tempfile
import time
import unittest

from moulds import cup, obj, plate
from program import DONE, DRAPE, USAGE, Case
from readers import PolyData

LOCKING = 30.0


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


def area_of(mesh):
    points, faces = mesh
    return sum(area(*(points[v] for v in (f[0], f[k], f[k + 1]))) for f in faces for k in range(1, len(f) - 1))


class Cover(Case):
    DRAWINGS = ["c.png", "c.svg", "c.pdf", "c.dxf", "c.gltf", "c.fibres.vtp"]

    def cover(self, mesh, *words, drawings=()):
        path = self.file("m.obj", obj(mesh))
        outputs = ["c.json", "c.vtp", "c.fibres.csv", "c.pieces.obj", *drawings]
        self.drape(path, "--cover", *words, "--locking", LOCKING, *(w for o in outputs for w in ("-o", o)))
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
            words = (0.97, "--step", 0.17, "--name", "skin", "-j", 2)
            cls.once = *case.cover(cup(0.6), *words, drawings=cls.DRAWINGS), case.folder
        return cls.once

    def redrape(self, piece):
        """The report of a piece draped by itself, as its file says."""
        options = shlex.split(piece.read_text().splitlines()[1].lstrip("# "))
        return self.report(piece, *options, "--locking", LOCKING)[0]

    def test_a_dome_that_one_ply_cannot_take(self):
        cover, pieces, _ = self.dome()
        self.assertEqual(list(cover), ["pieces", "count", "coveredShare", "overlapShare", "largestShear", "seamLength"])
        self.assertGreater(cover["count"], 1)
        self.assertLess(cover["count"], 6)
        self.assertGreaterEqual(cover["coveredShare"], 0.97)
        self.assertLess(cover["overlapShare"], 0.02)
        whole = area_of(cup(0.6))
        lain = 0.0
        for told, piece in zip(cover["pieces"], pieces, strict=True):
            self.assertEqual(list(told), ["seed", "angle", "area", "extent", "largestShear", "seamLength"])
            report = self.redrape(piece)
            self.assertEqual(report["result"]["status"], 0)
            self.assertGreater(report["result"]["coveredShare"], 0.95)
            self.assertLessEqual(report["shear"]["largest"], LOCKING)
            self.assertAlmostEqual(report["shear"]["largest"], told["largestShear"], 3)
            self.assertAlmostEqual(report["pattern"]["netArea"], told["area"], 3)
            self.assertAlmostEqual(report["choice"]["plyAngle"], 0.0, 6)
            lain += area_of(corners_of(piece.read_text()))
        self.assertGreater(lain / whole, cover["coveredShare"] + cover["overlapShare"] - 1e-3)
        self.assertLess(cover["overlapShare"], 1e-3)
        self.assertLessEqual(cover["largestShear"], LOCKING)
        self.assertTrue(0 < cover["seamLength"] <= 0.5 * sum(p["seamLength"] for p in cover["pieces"]) * (1 + 1e-9))

    def test_every_place_lies_under_the_piece_that_claims_it(self):
        folder = self.dome()[2]
        cloth = PolyData(folder / "c.vtp")
        middles = {}
        for quad, piece in zip(cloth.faces(), cloth.cell_data["piece"], strict=True):
            corners = [cloth.points[v] for v in quad]
            middles.setdefault(int(piece), []).append([sum(c[k] for c in corners) / 4 for k in range(3)])
        self.assertEqual(sorted({v for quad in cloth.faces() for v in quad}), list(range(len(cloth.points))))
        mesh = PolyData(folder / "c.fibres.vtp")
        table = [(int(row["piece"]), int(row["cell"])) for row in csv.DictReader((folder / "c.fibres.csv").read_text().splitlines())]
        self.assertEqual(sorted(zip(mesh.cell_data["piece"], mesh.cell_data["cell"])), sorted(table))
        self.assertTrue(all((piece > 0) == (cell > 0) for piece, cell in table))
        points, faces = corners_of(obj(cup(0.6)))
        triangles = [f for face in faces for f in [(face[0], face[k], face[k + 1]) for k in range(1, len(face) - 1)]]
        rows = list(csv.DictReader((folder / "c.fibres.csv").read_text().splitlines()))
        self.assertEqual(len(rows), len(triangles))
        claimed = 0.0
        self.assertEqual([int(row["face"]) for row in rows], list(range(1, len(triangles) + 1)))
        for row, triangle in zip(rows, triangles):
            if int(row["piece"]):
                centre = [sum(points[v][k] for v in triangle) / 3 for k in range(3)]
                nearest = min(math.dist(centre, m) for m in middles[int(row["piece"])])
                self.assertLess(nearest, 0.17)
                claimed += area(*(points[v] for v in triangle))
        self.assertGreater(claimed / area_of(cup(0.6)), 0.9)

    def test_the_same_answer_twice_on_any_number_of_cores(self):
        self.assertEqual(self.dome()[0], self.cover(cup(0.6), 0.97, "--step", 0.17, "-j", 1)[0])

    def test_a_closed_surface(self):
        cover, pieces = self.cover(ball(20, 12), 0.95, "--step", 0.25, "--free-angles")
        self.assertGreater(cover["coveredShare"], 0.85)
        for piece in pieces:
            report = self.redrape(piece)
            self.assertEqual(report["result"]["status"], 0)
            self.assertLessEqual(report["shear"]["largest"], LOCKING)

    def test_cloth_no_wider_than_the_roll(self):
        cover, pieces = self.cover(plate(8), "--step", 0.25, "--roll-width", 4.2, "--max-length", 7)
        self.assertGreaterEqual(cover["coveredShare"], 0.99)
        self.assertLess(cover["count"], 8)
        for piece in cover["pieces"]:
            low_u, low_v, high_u, high_v = piece["extent"]
            self.assertLessEqual(high_v - low_v, 4.2 + 1e-9)
            self.assertLessEqual(high_u - low_u, 7 + 1e-9)

    def test_neighbours_overlap_as_asked(self):
        butt = self.dome()[0]
        lapped = self.cover(cup(0.6), 0.97, "--step", 0.17, "--overlap", 0.1)[0]
        self.assertLess(butt["overlapShare"], 0.02)
        expected = 0.1 * lapped["seamLength"] / area_of(cup(0.6))
        self.assertAlmostEqual(lapped["overlapShare"], expected, delta=0.5 * expected + 0.01)

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
    """A wavy sheet with a steep bump, on which a cloth folds."""
    places = [(-3 + 6 * i / n, -3 + 6 * j / n) for j in range(n + 1) for i in range(n + 1)]
    heights = [2.5 * math.exp(-x * x - 1.3 * y * y) + 0.3 * math.sin(2 * x + y) for x, y in places]
    return [(x, y, z) for (x, y), z in zip(places, heights)], plate(n)[1]


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

    def test_a_drape_that_is_good_all_over_has_no_region_to_tell(self):
        report, done = self.report(self.file("m.obj", obj(plate(6))))
        self.assertIsNone(report["good"])
        self.assertNotIn("--keep", done.stdout)


if __name__ == "__main__":
    unittest.main()
