"""What becomes of a mesh on its way from the file to the mould: every format, every repair, cuts, holes and pieces,
by the triangles that are left and the faces of the file that they come from.
"""

import base64
import json
import math
import struct
import unittest

import model
from model import add, cross, dot, scaled, sub
from moulds import obj, off, plate, ply_binary, ply_text, stl_binary, stl_text, turned, uneven_sheet
from program import Case
from readers import PolyData


def shape(corners):
    """How good a triangle is: its area against the squares of its sides."""
    sides = sum(math.dist(corners[k], corners[(k + 1) % 3]) ** 2 for k in range(3))
    return model.triangle_area(*corners) / sides


def cut_off(polygon, point, normal):
    """The part of a polygon on the side of a plane to which the normal points."""
    kept, heights = [], [dot(sub(p, point), normal) for p in polygon]
    for k, (p, h) in enumerate(zip(polygon, heights)):
        q, g = polygon[(k + 1) % len(polygon)], heights[(k + 1) % len(polygon)]
        kept += [p] if h >= 0 else []
        kept += [add(p, scaled(sub(q, p), h / (h - g)))] if h * g < 0 else []
    return kept


def polygon_area(points):
    return sum(model.triangle_area(points[0], points[k], points[k + 1]) for k in range(1, len(points) - 1))


class Import(Case):
    def mould(self, name, content, *words):
        """The mould that the program makes of a file, its triangles in the order of the file, and what it says."""
        words = words if "--step" in words else ("--step", "1", *words)
        done = self.drape(self.file(name, content), *words, "-o", "m.fibres.vtp", expect=None)
        mesh = PolyData(self.folder / "m.fibres.vtp")
        self.notes = done.stderr
        told = sorted(zip(mesh.cell_data["face"], mesh.faces()), key=lambda pair: pair[0])
        return model.Mould(mesh.points, [t for _, t in told], [face for face, _ in told])

    def assertCovers(self, mould, points, faces, known=None):
        """Each face of the file is cut into triangles of its own corners, with its own side up, one behind the other."""
        self.assertEqual(mould.faces, [k + 1 for k, face in enumerate(faces) for _ in face[2:]])
        for k, face in enumerate(faces):
            corners = {tuple(points[v]) for v in face}
            up = add(*(cross(sub(points[b], points[face[0]]), sub(points[c], points[face[0]]))
                       for b, c in zip(face[1:], face[2:])))
            got = [c for c, number in zip(mould.corners, mould.faces) if number == k + 1]
            self.assertEqual({c for triangle in got for c in triangle}, corners)
            for a, b, c in got:
                self.assertGreater(dot(cross(sub(b, a), sub(c, a)), up), 0)
            if len(face) == 4:
                p = [points[v] for v in face]
                ways = [min(shape((p[n], p[n + 1], p[(n + 2) % 4])), shape((p[n], p[(n + 2) % 4], p[(n + 3) % 4])))
                        for n in (0, 1)]
                self.assertAlmostEqual(min(map(shape, got)), max(ways), 9)

    def test_every_format_keeps_places_and_faces(self):
        points, faces = uneven_sheet()
        for name, write in (("a.obj", obj), ("a.off", off), ("a.ply", ply_text), ("b.PLY", ply_binary)):
            with self.subTest(name):
                mould = self.mould(name, write((points, faces)))
                used = {v for face in faces for v in face}
                self.assertEqual(sorted(mould.points), sorted(p for v, p in enumerate(points) if v in used))
                self.assertCovers(mould, points, faces)
                self.assertIn("cut 115 faces of more than three corners", self.notes)
        triangles = [t for f in faces for t in ((f[0], b, c) for b, c in zip(f[1:], f[2:]))]
        single = [struct.unpack("<3f", struct.pack("<3f", *p)) for p in points]
        for name, write, places in (("a.stl", stl_text, points), ("b.stl", stl_binary, single)):
            with self.subTest(name):
                mould = self.mould(name, write((points, triangles)))
                first = lambda t: min((*t[k:], *t[:k]) for k in range(3))  # wound the same way
                self.assertEqual([first(t) for t in mould.corners],
                                 [first([tuple(places[v]) for v in t]) for t in triangles])
                self.assertEqual(mould.faces, list(range(1, len(triangles) + 1)))

    def test_scenes_are_put_together_as_their_nodes_say(self):
        points, faces = plate(4)
        raw = struct.pack(f"<{3 * len(points)}f", *(x for p in points for x in p))
        raw += struct.pack(f"<{3 * len(faces)}I", *(v for f in faces for v in f))
        size = 12 * len(points)
        half = math.sqrt(0.5)
        scene = {
            "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
            # The inner plate is doubled, turned a quarter about z and moved; all of it is moved again.
            "nodes": [{"mesh": 0, "translation": [7, 1, 2], "children": [1]},
                      {"mesh": 0, "translation": [0, 4, 0], "rotation": [0, 0, half, half], "scale": [2, 2, 2]}],
            "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "indices": 1}]}],
            "buffers": [{"byteLength": len(raw), "uri": "data:application/octet-stream;base64," +
                         base64.b64encode(raw).decode()}],
            "bufferViews": [{"buffer": 0, "byteOffset": 0, "byteLength": size},
                            {"buffer": 0, "byteOffset": size, "byteLength": len(raw) - size}],
            "accessors": [{"bufferView": 0, "componentType": 5126, "count": len(points), "type": "VEC3",
                           "min": [0, 0, 0], "max": [4, 4, 0]},
                          {"bufferView": 1, "componentType": 5125, "count": 3 * len(faces), "type": "SCALAR"}],
        }
        mould = self.mould("s.gltf", json.dumps(scene), "--side", "0,0,1")
        outer = [(x + 7, y + 1, z + 2) for x, y, z in points]
        inner = [(7 - 2 * y, 5 + 2 * x, z + 2) for x, y, z in points]
        self.assertAlmostEqual(mould.area, 64.0, 4)  # the inner one is a piece of its own, and the larger
        self.assertEqual({tuple(round(x, 4) for x in p) for p in mould.points}, {tuple(map(float, p)) for p in inner})
        self.assertEqual(mould.faces, list(range(33, 65)))
        mould = self.mould("s.gltf", json.dumps(scene), "--seed", "10,3,2")
        self.assertEqual({tuple(round(x, 4) for x in p) for p in mould.points}, {tuple(map(float, p)) for p in outer})
        self.assertEqual(mould.faces, list(range(1, 33)))

    def test_polygons_of_any_shape(self):
        comb = [(0, 0), (9, 0), (9, 5), (8, 5), (8, 1), (6, 1), (6, 5), (5, 5), (5, 1.5), (3, 1.5), (3, 4), (1, 4), (1, 6), (0, 6)]
        ring = lambda n: [(9 * math.cos(2 * math.pi * k / n), 7 * math.sin(2 * math.pi * k / n)) for k in range(n)]
        star = [(r * x, r * y) for k, (x, y) in enumerate(ring(150)) for r in [1 if k % 2 else 0.8]]
        for flat in (comb, star, ring(3100)):
            with self.subTest(len(flat)):
                points = [turned((x, y, 0.0)) for x, y in flat]
                mould = self.mould("m.obj", obj((points, [tuple(range(len(points)))])), "--step", "2")
                self.assertEqual(mould.faces, [1] * (len(points) - 2))
                self.assertAlmostEqual(mould.area, model.flat_area(flat), 8)
                self.assertAlmostEqual(sum(dot(n, mould.normals[0]) * a for n, a in zip(mould.normals, mould.areas)),
                                       model.flat_area(flat), 8)

    def test_welding_has_a_reach(self):
        points, faces = plate(4)
        diagonal = math.hypot(4, 4)
        # The right half stands apart by a little less or more than a millionth of the diagonal.
        for gap, joined in ((0.9e-6, True), (1.1e-6, False)):
            with self.subTest(gap):
                copy = {v: len(points) + k for k, v in enumerate(v for v, p in enumerate(points) if p[0] == 2)}
                apart = points + [(points[v][0] + gap * diagonal, *points[v][1:]) for v in copy]
                halves = [tuple(copy.get(v, v) for v in f) if max(points[v][0] for v in f) > 2 else f for f in faces]
                mould = self.mould("m.obj", obj((apart, halves)))
                self.assertEqual(len(mould.points), 25 if joined else 15)
                self.assertEqual("welded 5 vertices that lay on another one" in self.notes, joined)
                if joined:
                    self.assertLessEqual(set(mould.points), set(apart))  # one of each pair stays
        mould = self.mould("m.obj", obj((points + points[:1], faces[1:] + [(25, 1, 6)])), "--no-weld")
        self.assertEqual(len(mould.points), 26)
        # A seed is named by the numbers of the file, before anything is welded or left out.
        spare = [(50.0, 50.0, 50.0)] + points + points
        report, _ = self.report(self.file("m.obj", obj((spare, [tuple(v + 1 + 25 * (k % 2) for v in f)
                                                                for k, f in enumerate(faces)]))),
                                "--seed-vertex", "33", "--step", "1")
        self.assertPoint(report["choice"]["seed"], spare[32])

    def test_faces_that_hold_nothing(self):
        points, faces = plate(5)
        more = faces[:4] + [(3, 3, 9)] + faces[4:9] + [(faces[0][1], faces[0][2], faces[0][0])] + faces[9:]
        more += [(0, 5, 5, 0), (7, 7, 8, 14, 14)]
        mould = self.mould("m.obj", obj((points, more)))
        self.assertEqual(mould.area, 25.0)
        self.assertEqual(mould.faces, [1, 2, 3, 4, 6, 7, 8, 9, 10, *range(12, 53)])
        for note in ("left out 2 faces of fewer than three", "dropped 2 triangles that lay on another one"):
            self.assertIn(note, self.notes)
        # A needle between two faces, of which one knows its middle: the long side is traded for the other diagonal.
        middle = len(points)
        a, b, c, d = 12, 13, 19, 6
        split = [f for f in faces if not {a, b, c} <= set(f)] + [(a, b, middle), (a, middle, c), (middle, b, c)]
        mould = self.mould("m.obj", obj((points + [(0.5, 2.0 + 2e-8, 0.0)], split)), "--no-weld")
        self.assertIn("dropped 1 degenerate triangle", self.notes)
        self.assertAlmostEqual(mould.area, 25.0, 6)
        self.assertGreater(min(mould.areas), 0.2)
        self.assertTrue(all(n[2] > 0.99 for n in mould.normals))
        below = split.index(next(f for f in faces if {a, b, d} <= set(f))) + 1
        self.assertEqual(sorted(mould.faces), sorted([*range(1, 50), below, 51, 52]))

    def test_one_side_up(self):
        points, faces = plate(5)
        for turned_over in ({0}, {0, 1, 2, 30, 31, 49}, set(range(0, 50, 3))):
            some = [f[::-1] if k in turned_over else f for k, f in enumerate(faces)]
            mould = self.mould("m.obj", obj((points, some)))
            self.assertTrue(all(n[2] > 0.99 for n in mould.normals))
            self.assertIn(f"turned over {len(turned_over)} triangle", self.notes)
        # A band with one twist has one side only and is cut open.
        n, band = 24, []
        for k in range(n):
            t = 2 * math.pi * k / n
            for side in (-1.0, 1.0):
                r = 5 + side * math.cos(t / 2)
                band.append((r * math.cos(t), r * math.sin(t), side * math.sin(t / 2)))
        loop = []
        for k in range(n):
            a, b = 2 * k, 2 * k + 1
            c, d = (2 * k + 3, 2 * k + 2) if k + 1 < n else (0, 1)
            loop += [(a, d, c), (a, c, b)]
        self.mould("m.obj", obj((band, loop)), "--step", "0.8")
        self.assertIn("cut the surface at 1 edge, since it has only one side", self.notes)

    def test_pieces(self):
        points, faces = plate(4)
        far = points + [(0.5 * x + 9, 0.5 * y, z) for x, y, z in points] + [(2 * x, 2 * y, 30.0) for x, y, z in points]
        three = [tuple(v + 25 * k for v in f) for k in range(3) for f in faces]
        for words, piece, why in ((("--seed", "8.4,1,0"), 1, "nearest to the seed"), (("--seed", "4,3,2"), 0, "nearest to the"),
                                  ((), 2, "of the largest area")):
            mould = self.mould("m.obj", obj((far, three)), *words, "--step", "0.4")
            self.assertEqual(mould.faces, list(range(32 * piece + 1, 32 * piece + 33)))
            self.assertIn(f"kept the piece {why}", self.notes)
            self.assertIn("of 3 pieces: 32 of 96 triangles", self.notes)
        # Where a bent strip joins a plate, the plate runs on straight and the strip is cut off.
        points, faces = plate(4)
        slope = [(float(i), 3.0, 0.4) for i in range(5)]
        joined = [(10 + i, 11 + i, 26 + i) for i in range(4)] + [(10 + i, 26 + i, 25 + i) for i in range(4)]
        mould = self.mould("m.obj", obj((points + slope, joined + faces)), "--seed", "2,1,0")
        self.assertEqual(mould.faces, list(range(9, 41)))
        self.assertIn("at 4 edges more than two triangles meet", self.notes)

    def test_cuts_by_planes(self):
        points, faces = uneven_sheet()
        whole = self.mould("m.obj", obj((points, faces)))
        planes = [((34.0, -5.0, 10.0), (1.0, 0.4, -0.2)), ((36.0, -3.0, 9.0), (-0.3, -1.0, 0.9))]
        words = [w for p, n in planes for w in ("--clip", ",".join(map(repr, (*p, *n))))]
        for count in (1, 2):
            mould = self.mould("m.obj", obj((points, faces)), *words[:2 * count], "--step", "0.7")
            wanted = [0.0] * (len(faces) + 1)
            for corners, face in zip(whole.corners, whole.faces):
                part = list(corners)
                for point, normal in planes[:count]:
                    part = cut_off(part, point, normal) if part else part
                wanted[face] += polygon_area(part) if part else 0.0
            got = [0.0] * len(wanted)
            for area, face in zip(mould.areas, mould.faces):
                got[face] += area
            self.assertGreater(sum(wanted), 10.0)
            for k, (a, b) in enumerate(zip(got, wanted)):
                self.assertAlmostEqual(a, b, 5, k)
            self.assertLess(sum(a > 0 for a in wanted), len(faces))
        report, _ = self.report("m.obj", *words, "--step", "0.7", expect=None)
        self.assertEqual([loop["outline"] for loop in report["mould"]["loops"]].count(True), 1)

    def test_holes_told_and_filled(self):
        points, faces = plate(20)
        squares = [(2, 2, 1), (6, 3, 2), (11, 3, 3), (4, 9, 1), (9, 10, 2), (13, 12, 4), (3, 14, 1)]
        inside = lambda f, x, y, n: all(x <= points[v][0] <= x + n and y <= points[v][1] <= y + n for v in f)
        left = [f for f in faces if not any(inside(f, *s) for s in squares)]
        mould = self.mould("m.obj", obj((points, left)))
        self.assertIn("the surface has 7 holes; cloth that runs into a hole ends there", self.notes)
        told = [line for line in self.notes.splitlines() if "  hole of" in line]
        words = {f"drape:   hole of {4 * n} round about ({x + n / 2:g}, {y + n / 2:g}, 0), {4 * n} edges": n
                 for x, y, n in squares}
        self.assertEqual([words.get(line) for line in told], [4, 3, 2, 2, 1])
        self.assertEqual(len(set(told)), 5)
        self.assertIn("drape:   and 2 more\n", self.notes)
        self.assertEqual(mould.area, 400 - sum(n * n for *_, n in squares))
        mould = self.mould("m.obj", obj((points, left)), "--fill-holes")
        self.assertIn("the surface has 7 holes, filled so that the cloth runs on", self.notes)
        self.assertEqual(mould.area, 400.0)
        self.assertTrue(all(n[2] == 1.0 for n in mould.normals))
        filled = [a for a, face in zip(mould.areas, mould.faces) if face == 0]
        self.assertEqual((sum(filled), len(filled)), (sum(n * n for *_, n in squares), sum(4 * n - 2 for *_, n in squares)))
        self.assertEqual([f for f in mould.faces if f], list(range(1, len(left) + 1)))

    def test_patch_of_a_radius(self):
        """On a flat plate the way along the surface is the straight one."""
        points, faces = plate(16)
        points = [turned((x + 0.3 * y, 0.9 * y, 0.0)) for x, y, _ in points]
        seed = turned((9.3, 6.1, 0.0))
        for radius in (2.6, 4.45):
            mould = self.mould("m.obj", obj((points, faces)), "--seed", ",".join(map(repr, seed)), "--within", radius)
            wanted = [k + 1 for k, f in enumerate(faces) if all(math.dist(points[v], seed) <= radius for v in f)]
            self.assertEqual(mould.faces, wanted)
            report, done = self.report("m.obj", "--seed", ",".join(map(repr, seed)), "--within", radius)
            self.assertEqual(report["mould"]["within"], radius)
            # Forty cells across the patch, in two digits.
            self.assertEqual(report["choice"]["step"], [float(f"{math.sqrt(mould.area) / 40:.1e}")] * 2)
            self.assertIn(f", within {radius:.4g} of the seed", done.stdout)

    def test_way_round_an_obstacle(self):
        """A wall of missing faces: the way leads round its end."""
        points, faces = plate(12)
        wall = lambda f: all(5 <= points[v][0] <= 6 and points[v][1] <= 9 for v in f)
        left = [f for f in faces if not wall(f)]
        seed = (2.4, 2.3, 0.0)
        near, far = (5.0, 9.0), (6.0, 9.0)
        def way(p):
            if p[0] <= 5 or seed[1] + (p[1] - seed[1]) * (5 - seed[0]) / (p[0] - seed[0]) >= 9:
                return math.dist(p, seed)
            first = math.dist((*near, 0), seed)
            direct = math.dist((*near, 0), p)
            clear = p[1] >= 9
            return first + (direct if clear else 1.0 + math.dist((*far, 0), p))
        kept = set(self.mould("m.obj", obj((points, left)), "--seed", "2.4,2.3,0", "--within", "9.3").faces)
        within = lambda radius: {k + 1 for k, f in enumerate(left) if all(way(points[v]) <= radius for v in f)}
        self.assertTrue(within(9.1) <= kept <= within(9.5))  # a front takes corners a little too wide
        self.assertLess(len(within(9.5)) - len(within(9.1)), 12)


if __name__ == "__main__":
    unittest.main()
