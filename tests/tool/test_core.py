"""Runs the program on moulds made here and on broken files, and looks at what it says and writes.

DRAPE names the program. Moulds are small and of known size, so that areas, node counts and directions can be
told beforehand.
"""

import base64
import csv
import json
import math
import os
import pathlib
import struct
import subprocess
import unittest
import xml.etree.ElementTree as xml

from model import cross, dot, unit
from moulds import cube, cup, obj, off, plate, ply_binary, ply_text, stl_binary, stl_text, uneven_sheet
from program import DONE, DRAPE, INPUT, OTHER, ROOT, RUN_ENDED, USAGE, Case


def vtp_arrays(path):
    """Point arrays of a VTP file by name, each as a flat list."""
    kinds = {"Int32": "i", "Int64": "q", "Float64": "d", "Float32": "f", "UInt8": "B"}
    arrays = {}
    for array in xml.parse(path).getroot().iter("DataArray"):
        raw = base64.b64decode((array.text or "").strip())
        size = struct.unpack("<Q", raw[:8])[0]
        kind = kinds[array.get("type")]
        arrays[array.get("Name")] = list(struct.unpack("<%d%s" % (size // struct.calcsize(kind), kind), raw[8 : 8 + size]))
    return arrays


class FlatSquare(Case):
    """A square of side 6 draped from (3.1, 3.2) with cells of side 1: the unit lattice through the seed."""

    words = ("--seed", "3.1,3.2,0", "--step", "1", "--tolerance", "0.001", "--pivot", "shear")

    def test_lattice(self):
        mesh = self.file("plate.obj", obj(plate()))
        grid = self.folder / "grid.vtp"
        report, done = self.report(mesh, *self.words, "-o", grid)
        self.assertEqual(report["result"]["nodes"], 64)
        self.assertEqual(report["result"]["nodesOnSurface"], 36)
        self.assertEqual(report["result"]["cellsOnSurface"], 25)
        self.assertAlmostEqual(report["pattern"]["netArea"], 36.0, 5)
        self.assertAlmostEqual(report["shear"]["largest"], 0.0, 6)
        self.assertEqual(sum(report["shear"]["histogram"]["counts"]), 25)
        self.assertIn("64 nodes, 25 cells", done.stdout)
        arrays = vtp_arrays(grid)
        columns = list(zip(arrays["i"], arrays["j"]))
        self.assertEqual(
            columns[:9], [(0, 0), (1, 0), (0, -1), (1, -1), (-1, 0), (-1, -1), (0, 1), (1, 1), (-1, 1)]
        )

    def test_every_format_gives_the_same_drape(self):
        writers = {
            "a.obj": obj, "a.off": off, "a.ply": ply_text, "b.ply": ply_binary, "a.stl": stl_text, "b.stl": stl_binary,
        }
        for name, write in writers.items():
            with self.subTest(name):
                report, done = self.report(self.file(name, write(plate())), *self.words)
                self.assertEqual((report["mould"]["triangles"], report["result"]["nodes"]), (72, 64))
                self.assertEqual(done.stderr, "")

    def test_obj_dialects(self):
        text = obj(plate()).replace("f ", "f\t").replace("\n", " \r\n")
        text = text.replace(" \r\n", " # a corner\r\n", 1)[::-1].replace("\n\r ", "\n\rhalf # ", 1)[::-1]
        text = "mtllib none.mtl\r\no plate\r\nl 1 2\r\n" + text.replace("v 1.0 0.0", "v 1.0 \\\r\n 0.0", 1)
        report, _ = self.report(self.file("crlf.obj", text), *self.words)
        self.assertEqual(report["result"]["nodes"], 64)
        points, faces = plate()
        relative = obj((points, [])) + "".join(
            "f " + " ".join(f"{v - len(points)}/1/1" for v in f) + "\n" for f in faces
        )
        report, _ = self.report(self.file("relative.obj", relative), *self.words)
        self.assertEqual(report["result"]["nodes"], 64)

    def test_scene_formats_read_what_the_program_wrote(self):
        cloth = self.folder / "cloth.glb"
        self.drape(self.file("plate.obj", obj(plate())), *self.words, "-o", cloth)
        # Scenes of this kind are in metres, and the plate is in millimetres.
        report, _ = self.report(cloth, "--step", "0.0005")
        self.assertAlmostEqual(report["mould"]["area"], 36e-6, 11)

    def test_double_precision_is_kept(self):
        points, faces = plate()
        far = ([(x + 1e7, y, z) for x, y, z in points], faces)
        report, _ = self.report(self.file("far.obj", obj(far)), "--seed", "10000003.1,3.2,0", "--step", "1")
        self.assertAlmostEqual(report["mould"]["area"], 36.0, 6)
        self.assertEqual(report["result"]["nodesOnSurface"], 36)


class Repairs(Case):
    def note(self, content, wanted, name="m.obj", **known):
        report, done = self.report(self.file(name, content), "--seed", "3.1,3.2,0", "--step", "1")
        self.assertIn(wanted, done.stderr)
        self.assertEqual(report["result"]["nodes"], 64)
        self.assertAlmostEqual(report["mould"]["area"], 36.0)
        for key, value in known.items():
            self.assertEqual(report["mould"][key], value)
        return done

    def test_apart_and_coarse_faces(self):
        points, faces = plate()
        soup = [points[v] for f in faces for v in f]
        apart = [(3 * k, 3 * k + 1, 3 * k + 2) for k in range(len(faces))]
        self.note(obj((soup, apart)), "welded 167 vertices", vertices=49)
        near = [(x + 1e-8 * (k % 5), y, z) for k, (x, y, z) in enumerate(soup)]
        self.note(obj((near, apart)), "welded 167 vertices", vertices=49)
        quads = [(a[0], a[1], a[2], b[2]) for a, b in zip(faces[::2], faces[1::2])]
        self.note(obj((points, quads)), "cut 36 faces of more than three corners", triangles=72)
        rim = [k for k, (x, y, _) in enumerate(points) if y == 0] + [k for k, (x, y, _) in enumerate(points) if x == 6 and y > 0]
        rim += [k for k, (x, y, _) in reversed(list(enumerate(points))) if y == 6 and x < 6]
        rim += [k for k, (x, y, _) in reversed(list(enumerate(points))) if x == 0 and 0 < y < 6]
        self.note(obj((points, [tuple(rim)])), "cut 1 face of more than three corners", triangles=22)

    def test_doubled_turned_and_degenerate(self):
        points, faces = plate()
        self.note(obj((points, faces + faces[:3])), "dropped 3 triangles that lay on another one", triangles=72)
        turned = [f[::-1] if k % 5 == 0 else f for k, f in enumerate(faces)]
        self.note(obj((points, turned)), "turned over 15 triangles")
        self.note(obj((points, faces + [(0, 1, 1), (4, 4, 4)])), "left out 2 faces of fewer than three", triangles=72)
        # A triangle without height between (2,3), (3,3) and their middle, of which only one side knows.
        a = points.index((2.0, 3.0, 0.0))
        middle = len(points)
        above = next(f for f in faces if a in f and a + 1 in f and max(points[v][1] for v in f) > 3)
        third = next(v for v in above if v not in (a, a + 1))
        split = [f for f in faces if f != above] + [(a, middle, third), (middle, a + 1, third), (a, a + 1, middle)]
        self.note(obj((points + [(2.5, 3.0, 0.0)], split)), "dropped 1 degenerate triangle", triangles=74)

    def test_pieces_and_crowded_edges(self):
        points, faces = plate()
        away = [(x, y, 50.0) for x, y, _ in points]
        two = (points + away, faces + [tuple(v + 49 for v in f) for f in faces[:40]])
        self.note(obj(two), "kept the piece nearest to the seed of 2 pieces", triangles=72)
        report, done = self.report("m.obj", "--seed", "2,2,49", "--step", "1")
        self.assertEqual(report["mould"]["triangles"], 40)
        _, done = self.report("m.obj", "--step", "1")
        self.assertIn("kept the piece of the largest area", done.stderr)
        # A fin that stands on the middle line leaves the plate whole.
        fin = [(float(i), 3.0, 1.0) for i in range(7)]
        foot = [21 + i for i in range(7)]
        fins = [(foot[i], foot[i + 1], 49 + i) for i in range(6)]
        done = self.note(obj((points + fin, faces + fins)), "at 6 edges more than two triangles meet", triangles=72)
        self.assertIn("pieces", done.stderr)

    def test_surfaces_that_only_touch(self):
        points, faces = plate()
        # Two plates joined at a single vertex: the walk along the outline must not stray.
        shifted = [(x + 6, y + 6, z) for x, y, z in points[1:]]
        number = lambda v: 48 if v == 0 else 48 + v
        joined = (points + shifted, faces + [tuple(number(v) for v in f) for f in faces])
        report, done = self.report(self.file("bow.obj", obj(joined)), "--seed", "3.1,3.2,0", "--step", "1")
        self.assertIn("only touched itself", done.stderr)
        self.assertEqual(report["result"]["nodes"], 64)

    def test_slit_is_welded_or_kept(self):
        points, faces = plate()
        upper = {v: len(points) + k for k, v in enumerate(v for v in range(21, 25))}
        slit = (
            points + [points[v] for v in upper],
            [tuple(upper.get(v, v) for v in f) if max(points[v][1] for v in f) > 3 else f for f in faces],
        )
        path = self.file("slit.obj", obj(slit))
        welded, _ = self.report(path, "--step", "1")
        kept, _ = self.report(path, "--step", "1", "--no-weld", expect=None)
        self.assertAlmostEqual(welded["mould"]["loops"][0]["length"], 24.0)
        self.assertAlmostEqual(kept["mould"]["loops"][0]["length"], 24.0 + 2 * 4.0)


class Openings(Case):
    def test_holes_are_named_and_can_be_filled(self):
        points, faces = plate(12)
        inside = lambda f: all(4 <= points[v][0] <= 7 and 5 <= points[v][1] <= 8 for v in f)
        mesh = self.file("holed.obj", obj((points, [f for f in faces if not inside(f)])))
        report, done = self.report(mesh, "--step", "0.5")
        self.assertIn("1 hole", done.stderr)
        self.assertIn("hole of 12 round about (5.5, 6.5, 0), 12 edges", done.stderr)
        self.assertEqual([loop["outline"] for loop in report["mould"]["loops"]], [True, False])
        self.assertAlmostEqual(report["mould"]["area"], 144.0 - 9.0)
        report, _ = self.report(mesh, "--step", "0.5", "--fill-holes", "--seed", "5.6,6.4,0")
        self.assertPoint(report["choice"]["normal"], (0, 0, 1))
        self.assertAlmostEqual(report["mould"]["area"], 144.0)
        self.assertGreater(report["result"]["coveredShare"], 0.99)

    def test_the_longest_loop_is_walked_wherever_it_stands(self):
        points, faces = plate(12)
        hole = lambda f: all(4 <= points[v][0] <= 7 and 4 <= points[v][1] <= 7 for v in f)
        faces = [f for f in faces if not hole(f)]
        first = sorted(range(len(points)), key=lambda v: abs(points[v][0] - 5.5) + abs(points[v][1] - 5.5))
        place = {v: k for k, v in enumerate(first)}
        mesh = ([points[v] for v in first], [tuple(place[v] for v in f) for f in faces])
        # Lattice nodes beyond the plate's rim are closed only if the rim is the loop that was walked.
        report, _ = self.report(self.file("m.obj", obj(mesh)), "--seed", "2.1,2.2,0", "--step", "1")
        self.assertEqual(report["result"]["status"], 0)
        self.assertEqual(report["mould"]["loops"][0]["edges"], 48)
        self.assertLess(report["result"]["nodes"], 14 * 14 + 40)

    def test_closed_surface_and_the_ways_on(self):
        mesh = self.file("cube.obj", obj(cube()))
        done = self.drape(mesh, expect=INPUT)
        self.assertIn("--clip", done.stderr)
        report, _ = self.report(mesh, "--clip", "0,0,1,0,0,1", "--step", "0.5", "--seed", "2,2,4", expect=None)
        self.assertAlmostEqual(report["mould"]["area"], 16.0 + 4 * 12.0)
        self.assertAlmostEqual(report["mould"]["loops"][0]["length"], 16.0)
        report, _ = self.report(
            mesh, "--clip", "0,0,1,0,0,1", "--clip", "1,0,0,1,0,0", "--clip", "0,0,3.5,0,0,1", "--step", "0.25",
            expect=None,
        )
        self.assertAlmostEqual(report["mould"]["area"], 3 * 4.0 + 0.5 * (4.0 + 3.0 + 3.0))
        done = self.drape(mesh, "--clip", "0,0,9,0,0,1", expect=INPUT)
        self.assertIn("--clip: nothing of the surface", done.stderr)

    def test_within_a_distance(self):
        mesh = self.file("plate.obj", obj(plate(60, 0.2)))
        report, _ = self.report(mesh, "--seed", "6.02,6.01,0", "--within", "3", "--step", "0.3")
        self.assertEqual(report["mould"]["within"], 3.0)
        self.assertLess(report["mould"]["area"], math.pi * 9)
        self.assertGreater(report["mould"]["area"], 0.9 * math.pi * 9)
        whole, _ = self.report(mesh, "--within", "max", "--step", "0.5")
        self.assertAlmostEqual(whole["mould"]["area"], 144.0)

    def test_distance_runs_along_the_surface(self):
        # A strip folded up at a right angle: the far end is 2 away through the air and 4 along the strip.
        points = [(0.1 * min(i, 20), 0.1 * j, 0.1 * max(0, i - 20)) for i in range(41) for j in range(11)]
        faces = [
            f
            for i in range(40)
            for j in range(10)
            for f in ((i * 11 + j, i * 11 + j + 11, i * 11 + j + 12), (i * 11 + j, i * 11 + j + 12, i * 11 + j + 1))
        ]
        mesh = self.file("fold.obj", obj((points, faces)))
        report, _ = self.report(mesh, "--seed", "0,0.5,0", "--within", "3", "--step", "0.1", expect=None)
        self.assertAlmostEqual(report["mould"]["area"], 3.0, delta=0.2)


class Start(Case):
    def choice(self, *words, mesh=None):
        path = self.file("start.obj", obj(mesh or plate()))
        return self.report(path, *(() if "--step" in words else ("--step", "1")), *words, expect=None)

    def test_directions(self):
        report, _ = self.choice()
        self.assertPoint(report["choice"]["seed"], (3, 3, 0))
        self.assertPoint(report["choice"]["warp"], (1, 0, 0))
        self.assertPoint(report["choice"]["weft"], (0, 1, 0))
        report, _ = self.choice("--warp", "0,2,5")
        self.assertPoint(report["choice"]["warp"], (0, 1, 0))
        self.assertPoint(report["choice"]["weft"], (-1, 0, 0))
        report, _ = self.choice("--angle", "30")
        turn = lambda degrees: (math.cos(math.radians(degrees)), math.sin(math.radians(degrees)), 0)
        self.assertPoint(report["choice"]["warp"], turn(30))
        self.assertPoint(report["choice"]["weft"], turn(120))
        wall = [(0.0, x, y) for x, y, _ in plate()[0]], plate()[1]
        report, done = self.choice(mesh=wall)
        self.assertIn("warp was laid along y", done.stderr)
        self.assertPoint(report["choice"]["warp"], (0, 1, 0))
        # What leans by less than a tenth is too upright to be asked for, and by less than a fiftieth to be used unasked.
        self.drape("start.obj", "--step", "1", "--side", "1,0,0", "--warp", "1,0.1,0", expect=USAGE)
        # That it stands upright in the middle is no reason to start where a dome leans enough to lay it anyhow.
        dome = [(x, y, -0.05 * ((x - 3) ** 2 + (y - 3) ** 2)) for x, y, _ in plate()[0]], plate()[1]
        self.file("dome.obj", obj(dome))
        self.drape("dome.obj", "--step", "0.5", "--warp", "0,0,1", expect=USAGE)
        self.drape("dome.obj", "--step", "0.5", "--warp", "0,0,1", "--seed", "5.1,3.1,0")
        report, _ = self.choice("--side", "1,0,0", "--warp", "1,0.101,0", mesh=wall)
        self.assertPoint(report["choice"]["warp"], (0, 1, 0))
        for lean, told in ((0.0199, True), (0.0202, False)):
            leaning = [(lean * x, y, x) for x, y, _ in plate()[0]], plate()[1]
            self.assertEqual("warp was laid along y" in self.choice(mesh=leaning)[1].stderr, told)

    def test_angle_counts_from_the_rosette(self):
        for words, ply in (((), 0), (("--angle", "-30"), -30), (("--rosette", "0,3,1"), 0), (("--warp", "1,1,0"), 0),
                           (("--rosette", "0,1,0", "--angle", "200"), -160), (("--rosette", "1,1,0", "--warp", "0,1,0"), 45),
                           (("--rosette", "0,1,0", "--warp", "1,0,0", "--angle", "10"), -80)):
            for side, sense in (("0,0,1", 1), ("0,0,-1", -1)):
                turns = words.index("--angle") + 1 if "--angle" in words else None
                seen = [*words]
                if turns:
                    seen[turns] = str(sense * float(words[turns]))
                report, done = self.choice(*seen, "--side", side)
                choice = report["choice"]
                self.assertAlmostEqual(choice["plyAngle"], sense * ply, 9)
                self.assertPoint(choice["normal"], (0, 0, sense))
                x, y, _ = choice["rosette"]
                c, s = math.cos(math.radians(ply)), math.sin(math.radians(ply))
                self.assertPoint(choice["warp"], (c * x - s * y, s * x + c * y, 0))
                self.assertIn(f"side towards {'+' if sense > 0 else '-'}z", done.stdout)

    def test_the_order_of_a_file_leaves_no_trace(self):
        # A lattice with a hole, which cloth has to be mended around: full of ties.
        flat, lattice = plate(24)
        bent = [(x, y, 0.7 * math.sin(0.4 * x) * math.cos(0.5 * y)) for x, y, _ in flat]
        holed = bent, [f for f in lattice if min(math.dist(flat[v], (9, 15, 0)) for v in f) > 2.5]
        for (points, faces), words in ((uneven_sheet(), ("--clip", "33,-11,9,1,0.3,0.1")), (holed, ("--seed", "12.1,7.3,0", "--fill-holes")),
                                       (holed, ("--step", "0.71")), (holed, ("--seed", "12.1,7.3,0", "--angle", "20"))):
            order = sorted(range(len(points)), key=lambda v: v * 7919 % len(points))
            number = {v: k for k, v in enumerate(order)}
            mixed = [tuple(number[v] for v in (*f[1:], f[0])) for f in faces[1::3] + faces[::3] + faces[2::3]]
            ply = {}
            for name, mesh in (("as made", (points, faces)), ("reversed", (points, [f[::-1] for f in faces])),
                               ("from another corner", (points, [(f[0], *f[:0:-1]) for f in faces])),
                               ("mixed", ([points[v] for v in order], mixed))):
                report, done = self.report(self.file("m.obj", obj(mesh)), *words, "--start", "middle", expect=None)
                report.pop("seconds")
                ply[name] = report
                self.assertEqual("look the other way" in done.stderr, name in ("reversed", "from another corner"))
            for name in ply:
                self.assertEqual(ply[name], ply["as made"], name)

    def test_best_start_follows_from_the_shape_alone(self):
        points, faces = uneven_sheet()
        faces = [(f[0], f[k], f[k + 1]) for f in faces for k in range(1, len(f) - 1)]
        mixed = faces[1::3] + faces[::3] + faces[2::3]
        turned = [f[::-1] for f in faces]
        told = {}
        for name, scale, file in (("plain", 1.0, obj((points, faces))), ("in metres", 1e-3, None),
                                  ("turned over", 1.0, obj((points, turned))), ("triangles", 1.0, stl_binary((points, mixed)))):
            small = [tuple(scale * x for x in p) for p in points]
            kind = "stl" if name == "triangles" else "obj"
            told[name], _ = self.report(self.file(f"{name}.{kind}", file or obj((small, faces))))
            report = told[name]
            seed = [x / scale for x in report["choice"]["seed"]]
            self.assertPoint(seed, told["plain"]["choice"]["seed"], 4)
            self.assertAlmostEqual(report["shear"]["mean"], told["plain"]["shear"]["mean"], delta=0.2)
        middle, _ = self.report(self.file("m.obj", obj((points, faces))), "--start", "middle")
        self.assertLessEqual(told["plain"]["shear"]["mean"], middle["shear"]["mean"] + 0.25)

    def test_the_middle_of_a_symmetric_part_is_one_place(self):
        # A frame, whose middle lies in its hole: eight places are equally near to it.
        points, faces = plate(12)
        points = [(0.7 * (x - 6), 0.7 * (y - 6), 0.0) for x, y, _ in points]
        centre = lambda f: [sum(points[v][k] for v in f) / 3 for k in (0, 1)]
        faces = [f for f in faces if max(map(abs, centre(f))) > 1.4]
        mixed = points, faces[1::3] + faces[::3] + faces[2::3]
        scaled = lambda s: ([tuple(s * x for x in p) for p in points], faces)
        seeds = []
        for name, scale, file in (("mm.obj", 1.0, obj((points, faces))), ("m.obj", 1e-3, obj(scaled(1e-3))),
                                  ("inch.obj", 1 / 25.4, obj(scaled(1 / 25.4))), ("mixed.obj", 1.0, obj(mixed)),
                                  ("single.stl", 1.0, stl_binary(mixed)), ("small.stl", 1e-3, stl_binary(scaled(1e-3)))):
            report, _ = self.report(self.file(name, file), "--start", "middle", "--step", repr(0.3 * scale), expect=None)
            seeds.append([x / scale for x in report["choice"]["seed"]])
            self.assertPoint(seeds[-1], seeds[0], 5)

    def test_a_seed_where_triangles_meet_gives_one_ply(self):
        flat, faces = plate(14)
        points = [(x, y, 4.0 - 0.05 * ((x - 6.3) ** 2 + 1.3 * (y - 7.1) ** 2 + 0.4 * x * math.sin(y))) for x, y, _ in flat]
        order = sorted(range(len(points)), key=lambda v: (v * 7919) % len(points))
        number = {v: k for k, v in enumerate(order)}
        mixed = [points[v] for v in order], [tuple(number[v] for v in (*f[1:], f[0])) for f in faces[1::3] + faces[::3] + faces[2::3]]
        middle = 7 * 15 + 6
        a, b = next(f for f in faces if f[0] == middle)[:2]
        for seed in (points[middle], [(x + y) / 2 for x, y in zip(points[a], points[b])]):
            told = {}
            for name, scale, file in (("plain.obj", 1.0, obj((points, faces))), ("mixed.obj", 1.0, obj(mixed)),
                                      ("metres.obj", 1e-3, obj(([tuple(1e-3 * x for x in p) for p in points], faces))),
                                      ("turned.obj", 1.0, obj((points, [f[::-1] for f in faces]))), ("single.stl", 1.0, stl_binary(mixed))):
                start = "--seed=" + ",".join(repr(scale * x) for x in seed)
                report, done = self.report(self.file(name, file), start, "--step", repr(scale * 0.9))
                self.assertIn("triangles meet that face differently", done.stderr)
                told[name] = report
                self.assertLess(math.dist([x / scale for x in report["choice"]["seed"]], seed), 0.03)
                self.assertEqual(report["result"]["nodes"], told["plain.obj"]["result"]["nodes"])
                for key in ("mean", "largest"):
                    self.assertAlmostEqual(report["shear"][key], told["plain.obj"]["shear"][key], 3)
                self.assertAlmostEqual(report["pattern"]["netArea"] / scale ** 2, told["plain.obj"]["pattern"]["netArea"], 3)
        # On a flat part no start is moved.
        report, done = self.choice("--seed", "2,2,0")
        self.assertEqual((report["choice"]["seed"], "face differently" in done.stderr), ([2, 2, 0], False))

    def test_a_seed_on_the_moulds_edge_is_moved_inward(self):
        points, faces = plate(14)
        for seed in ((0.0, 5.0, 0.0), (14.0, 14.0, 0.0), (6.4, 0.0, 0.0)):
            for name, scale, file in (("plain.obj", 1.0, obj((points, faces))),
                                      ("metres.stl", 1e-3, stl_binary(([tuple(1e-3 * x for x in p) for p in points], faces)))):
                start = "--seed=" + ",".join(repr(scale * x) for x in seed)
                report, done = self.report(self.file(name, file), start, "--step", repr(scale * 0.9), "--angle", "7")
                self.assertIn("the seed lies on the mould's edge; it was moved by", done.stderr)
                place = [x / scale for x in report["choice"]["seed"]]
                self.assertLess(math.dist(place, seed), 0.03)
                self.assertGreater(min(min(x, 14 - x) for x in place[:2]), 0.0009)
                self.assertGreater(report["result"]["coveredShare"], 0.999)
                again, done = self.report(name, "--seed=" + ",".join(map(repr, report["choice"]["seed"])), "--step", repr(scale * 0.9), "--angle", "7")
                self.assertEqual(again["choice"]["seed"], report["choice"]["seed"])

    def test_side_where_the_surface_as_a_whole_faces_none(self):
        tube, closed, brief = ([], []), cube(), ("--max-nodes", "80")
        for k in range(24):
            c, s = math.cos(math.pi / 12 * k), math.sin(math.pi / 12 * k)
            tube[0].extend([(0.0, c, s), (4.0, c, s)])
            a, b, c, d = 2 * k, 2 * k + 1, (2 * k + 3) % 48, (2 * k + 2) % 48
            tube[1].append((a, b, c, d))
        for turned, size in ((1, 1.0), (-1, 0.01)):
            small = [tuple(size * x for x in p) for p in tube[0]], [f[::turned] for f in tube[1]]
            report, _ = self.report(self.file("small.obj", obj(small)), "--seed", f"{2 * size},0,{size}", "--step", 0.3 * size, *brief, expect=None)
            self.assertEqual(report["choice"]["side"], "outward")
            self.assertGreater(report["choice"]["normal"][2], 0.9)
            path = self.file("tube.obj", obj((tube[0], small[1])))
            report, _ = self.report(path, "--seed", "2,0,1", "--side", "0,0,-1", "--step", "0.3", *brief, expect=None)
            self.assertLess(report["choice"]["normal"][2], -0.9)
            path = self.file("cube.obj", obj((closed[0], [f[::turned] for f in closed[1]])))
            report, _ = self.report(path, "--seed", "2,2,4", "--within", "3", "--step", "0.4", expect=None)
            self.assertPoint(report["choice"]["normal"], (0, 0, 1))
        swing = [(x, y, math.sin(math.pi * x / 3)) for x, y, _ in plate()[0]], plate()[1]
        wall = [(x, z, y) for x, y, z in swing[0]], swing[1]
        self.assertIn("+y", self.drape(self.file("wall.obj", obj(wall))).stdout)
        # Facing a named side by little as a whole outweighs the seed's triangle, which faces it by much.
        lean = [(x, y, z + 0.06 * x) for x, y, z in swing[0]], swing[1]
        for side, up in (("1,0,0", -1), ("-1,0,0", 1)):
            report, _ = self.report(self.file("lean.obj", obj(lean)), "--seed", "3.1,3.2,0", f"--side={side}", "--step", "0.5", *brief, expect=None)
            self.assertGreater(up * report["choice"]["normal"][2], 0.5)

    def test_side_is_the_first_axis_that_the_surface_clearly_faces(self):
        sides = {(0.98, 0.0, 0.2): "+z", (0.98, 0.19, 0.05): "+y", (-0.99, 0.05, -0.05): "+x", (0.3, -0.95, -0.12): "+z"}
        for (x, y, z), axis in sides.items():
            normal = unit((x, y, z))
            along = unit(cross(normal, (0.3, 0.5, 0.8)))
            across = cross(normal, along)
            sheet = [tuple(u * a + v * b for a, b in zip(along, across)) for u, v, _ in plate(4)[0]], plate(4)[1]
            for faces in (sheet[1], [f[::-1] for f in sheet[1]]):
                report, _ = self.report(self.file("sheet.obj", obj((sheet[0], faces))))
                self.assertEqual(report["choice"]["side"], f"towards {axis}")
                self.assertGreater(report["choice"]["normal"]["xyz".index(axis[1])], 0)
        # A tube like an 8 faces no axis, and one half of it inward: there the file's winding decides.
        count = 37
        points = [(math.sin(t), y, math.sin(2 * t)) for t in (2 * math.pi * (k + 0.25) / count for k in range(count)) for y in (0.0, 3.0)]
        faces = [(2 * k, 2 * k + 1, (2 * k + 3) % (2 * count), (2 * k + 2) % (2 * count)) for k in range(count)]
        normals = []
        for own in (faces, [f[::-1] for f in faces]):
            report, done = self.report(self.file("eight.obj", obj((points, own))), "--seed", "0.9,1.5,0.8", "--step", "0.2", "--max-nodes", "80", expect=None)
            self.assertEqual(report["choice"]["side"], "as the file winds its faces")
            self.assertIn("faces no side more than another", done.stderr)
            normals.append(report["choice"]["normal"])
        self.assertLess(dot(*normals), -0.9)

    def test_seeds(self):
        report, done = self.choice("--seed", "2.25,2.5,7")
        self.assertPoint(report["choice"]["seed"], (2.25, 2.5, 0))
        self.assertIn("was moved by 7", done.stderr)
        report, _ = self.choice("--seed-vertex", "17")
        self.assertPoint(report["choice"]["seed"], (2, 2, 0))
        # An L-shaped surface has its centroid's nearest point on the inner corner; the seed must have room.
        points, faces = plate(12)
        bent = (points, [f for f in faces if not all(points[v][0] >= 4 and points[v][1] >= 4 for v in f)])
        report, _ = self.choice(mesh=bent)
        self.assertGreater(report["result"]["coveredShare"], 0.95)

    def test_units_do_not_matter(self):
        results = []
        for scale in (0.001, 1.0, 1000.0):
            points, faces = cup(0.3)
            mesh = ([tuple(scale * x for x in p) for p in points], faces)
            report, _ = self.report(self.file("m.obj", obj(mesh)), "--seed", f"{0.02 * scale},{0.01 * scale},{scale}",
                                    "--step", 0.1 * scale)
            results.append((report["result"]["nodes"], round(report["shear"]["mean"], 6)))
        self.assertEqual(results[0], results[1])
        self.assertEqual(results[1], results[2])
        # On a flat part all candidates are as good but for rounding, which ranks none before another.
        best = set()
        for scale in (0.001, 1.0, 0.3):
            points, faces = plate(8, scale)
            report, _ = self.report(self.file("m.obj", obj((points, faces))), "--sweep", "--sweep-seeds", "4x2",
                                    "--sweep-angles", "0,20,70", "--step", 0.37 * scale)
            best.add(tuple(round(x / scale, 6) for x in (*report["choice"]["seed"], scale * report["choice"]["angle"])))
        self.assertEqual(len(best), 1)

    def test_cloth_lies_over_both_faces_of_a_sharp_edge(self):
        flat, faces = plate(20, 5.0)
        bent = [(min(x, 50), y, -max(x - 50, 0)) for x, y, _ in flat]
        report, _ = self.report(self.file("m.obj", obj((bent, faces))), "--seed", "43,51,0", "--angle", "7",
                                "--step", "2.5", "-o", "m.fibres.csv")
        self.assertGreater(report["result"]["coveredShare"], 0.9995)
        rows = list(csv.DictReader((self.folder / "m.fibres.csv").read_text().splitlines()))
        self.assertEqual({row["cover"] for row in rows if row["triangle"]} - {"2"}, {"1"})

    def test_slender_cells_are_warned_of(self):
        _, done = self.choice("--step", "1,1.7")
        self.assertIn("1.7 to 1", done.stderr)
        _, done = self.choice("--step", "1,1.5")
        self.assertEqual(done.stderr, "")
        done = self.drape(self.file("m.obj", obj(plate())), "--step", "1,2", "--cover", expect=RUN_ENDED)
        self.assertIn("2 to 1", done.stderr)
        self.assertIn("nearer to square", done.stderr)


class EndOfRun(Case):
    def test_partial_grid_is_written(self):
        mesh = self.file("plate.obj", obj(plate()))
        grid = self.folder / "part.vtp"
        report, done = self.report(mesh, "--step", "0.25", "--max-nodes", "50", "-o", grid, expect=RUN_ENDED)
        self.assertEqual(report["result"]["status"], 23)
        self.assertEqual(report["result"]["name"], "nodes-full")
        self.assertEqual(report["result"]["nodes"], 50)
        self.assertIsNotNone(report["result"]["endedNear"])
        self.assertIn("--max-nodes", done.stderr)
        self.assertEqual(len(vtp_arrays(grid)["i"]), 50)

    def test_cloth_that_winds_round_is_given_up_or_warned_of(self):
        mesh = self.file("cup.obj", obj(cup(1.0)))
        report, done = self.report(mesh, "--seed", "0.78,0.6,0.07", "--step", "0.088")
        self.assertGreater(report["result"]["doubledShare"], 0.5)
        self.assertIn("lies over other cloth", done.stderr)
        best, _ = self.report(mesh, "--step", "0.088", "--sweep-seeds", "0.78,0.6,0.07;0.03,0.02,1",
                              "--sweep-angles", "0,30")
        self.assertEqual(best["result"]["status"], 0)
        self.assertLess(best["result"]["doubledShare"], 0.05)
        patch, _ = self.report(mesh, "--seed", "0.78,0.6,0.07", "--step", "0.088", "--within", "max")
        self.assertEqual(patch["result"]["status"], 0)
        self.assertLess(patch["result"]["doubledShare"], 0.05)
        self.assertLess(patch["mould"]["within"], 5.0)
        self.assertGreater(patch["mould"]["area"], 3.0)


class Sweep(Case):
    def setUp(self):
        super().setUp()
        self.mesh = self.file("cup.obj", obj(cup(0.3)))
        self.words = (self.mesh, "--step", "0.25", "--sweep-seeds", "3", "--sweep-angles", "0:90:30", "-j", "2")

    def test_parts_in_parallel_join_to_the_whole(self):
        whole = self.folder / "whole.sweep.csv"
        self.drape(*self.words, "-q", "-o", whole)
        part = [DRAPE, *map(str, self.words), "-q", "--part", "{}/4", "-o", "part{}.sweep.csv"]
        done = subprocess.run(["parallel", "--no-notice", *part, ":::", "1", "2", "3", "4"], capture_output=True,
                              text=True, timeout=300, cwd=self.folder, env={**os.environ, "HOME": str(self.folder)})
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        joined = "".join((self.folder / f"part{k}.sweep.csv").read_text() for k in (1, 2, 3, 4))
        self.assertEqual(joined.count("candidate,"), 1)
        self.assertTrue(joined.startswith("candidate,"))
        self.assertEqual(sorted(joined.splitlines()), sorted(whole.read_text().splitlines()))

    def test_finds_a_drape_where_the_default_start_fails(self):
        sample = pathlib.Path(os.environ["DRAPE_SAMPLES"]) / "hemisphere.obj"
        stretched = "".join(
            "v {} {} {}\n".format(*line.split()[1:3], 1.3 * float(line.split()[3])) if line.startswith("v ") else line
            for line in sample.read_text().splitlines(keepends=True)
        )
        mesh = self.file("high.obj", stretched)
        failed = self.drape(mesh, "--step", "17", "--start", "middle", expect=RUN_ENDED)
        self.assertIn("--sweep", failed.stderr)
        report, _ = self.report(mesh, "--step", "17", "--sweep-seeds", "4", "--sweep-angles", "0,30,60")
        self.assertEqual(report["result"]["status"], 0)


class Curve(Case):
    square = ((1.5, 1.4), (4.4, 1.3), (4.7, 3.8), (1.2, 4.1))

    def carried(self, name, content, *words):
        mesh = self.file("plate.obj", obj(plate()))
        out = self.folder / "out.curve.csv"
        self.drape(mesh, "--seed", "3.1,3.2,0", "--step", "1", "--curve", self.file(name, content), "-o", out, *words)
        lines = [line for line in out.read_text().splitlines() if line and line[0] in "-0123456789"]
        return [tuple(map(float, line.split(",")))[-2:] for line in lines]

    def test_plain_points_with_and_without_directions(self):
        wanted = [(x - 3.1, y - 3.2) for x, y in self.square]
        for ending in ("", " 0 0 1"):
            text = "# trim line\n" + "".join(f"{x} {y} 0{ending}\n" for x, y in self.square + self.square[:1])
            got = self.carried("trim.xyz", text)
            self.assertEqual(len(got), 4)
            for a, b in zip(got, wanted):
                self.assertPoint(a, b)

    def test_obj_lines_in_any_order(self):
        text = "".join(f"v {x} {y} 0\n" for x, y in self.square) + "l 3 4\nl 1 2\nl 4 1\nl 2 3\n"
        got = self.carried("trim.obj", text)
        for a, (x, y) in zip(got, self.square):
            self.assertPoint(a, (x - 3.1, y - 3.2))

    def test_what_leaves_the_cloth_is_refused_or_cut(self):
        mesh = self.file("plate.obj", obj(plate()))
        across = self.file("across.xyz", "4 2 0\n5 2 0\n7 2 0\n7 4 0\n5 4 0\n4 4 0\n")
        inside = self.file("inside.xyz", "".join(f"{x} {y} 0\n" for x, y in self.square))
        words = (mesh, "--seed", "3.1,3.2,0", "--step", "0.5", "--curve", inside, "--curve", across)
        done = self.drape(*words, expect=INPUT)
        self.assertIn("across leaves the cloth at point 3, near (7, 2, 0) (2 of its 6 points lie off it); --curve-clip cuts it where it does\n", done.stderr)
        report, done = self.report(*words, "--curve-clip", "-o", "c.curve.csv", "-o", "c.dxf", "-o", "c.png")
        self.assertIn("cut where it leaves the cloth, into 1 stretch", done.stdout)
        whole, cut = report["curves"]
        self.assertEqual((whole["name"], whole["closed"], cut["closed"], cut["stretches"]), ("inside", True, False, 1))
        self.assertAlmostEqual(cut["lengthOnPattern"], 6.0, delta=0.06)
        with open(self.folder / "c.curve.csv", newline="") as file:
            rows = [[float(x) for x in row.values()] for row in csv.DictReader(file)]
        self.assertEqual([row[:3] for row in rows], [[1, 1, k] for k in (1, 2, 3, 4)]
                         + [[2, 1, k] for k in (0, 5, 6, 1, 2, 0)])
        for x, y, z, u, v in (row[3:] for row in rows):
            self.assertPoint((u, v), (x - 3.1, y - 3.2), 6)
        for row, place in ((rows[4], (6, 4)), (rows[-1], (6, 2))):
            self.assertLess(math.dist(row[3:5], place), 0.03)
        beside = self.file("beside.xyz", "8 1 0\n9 1 0\n9 3 0\n")
        self.drape(mesh, "--curve", beside, "--curve-clip", expect=INPUT)

    def test_a_jump_over_a_cut_in_the_cloth_is_none_of_the_curve(self):
        # A deep wedge cut into a cone: its two lips lie far apart on the pattern and close together in space.
        around, points, faces = 48, [(0.0, 0.0, 3.0)], []
        for ring in range(1, 25):
            points += [(ring / 6 * math.cos(2 * math.pi * s / around), ring / 6 * math.sin(2 * math.pi * s / around),
                        3.0 - 0.75 * ring / 6) for s in range(around + 1)]
        for s in range(around):
            faces.append((0, 1 + s, 2 + s))
            for ring in range(23):
                low, high = 1 + ring * (around + 1) + s, 1 + (ring + 1) * (around + 1) + s
                faces += [(low, high, high + 1), (low, high + 1, low + 1)]
        mesh = self.file("cone.obj", obj((points, faces)))
        circle = [(2 * math.cos(math.pi * k / 20), 2 * math.sin(math.pi * k / 20), 1.5) for k in range(40)]
        curve = self.file("ring.xyz", "".join("%r %r %r\n" % p for p in circle))
        words = (mesh, "--no-weld", "--seed", "-1.5,0.01,1.87", "--step", "0.15", "--curve", curve)
        done = self.drape(*words, expect=INPUT)
        self.assertIn("ring leaves the cloth between the points 1 and 2", done.stderr)
        (curve,) = self.report(*words, "--curve-clip")[0]["curves"]
        self.assertEqual((curve["closed"], curve["stretches"]), (False, 1))
        self.assertAlmostEqual(curve["lengthOnMould"], 4 * math.pi, delta=0.15)
        self.assertLess(curve["lengthOnPattern"], 1.2 * 4 * math.pi)

    def test_bad_curves(self):
        mesh = self.file("plate.obj", obj(plate()))
        bad = {
            "a.xyz": "1 2\n", "b.xyz": "", "c.xyz": "1 2 nan\n", "d.obj": "v 0 0 0\nl 1 99\n", "e.xyz": "0 0 0\nwhat\n",
            "f.obj": "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nl 1 2\nl 3 4\n", "g.xyz": "0 0 0 1 0 0\n1 1 0\n",
        }
        for name, text in bad.items():
            with self.subTest(name):
                done = self.drape(mesh, "--curve", self.file(name, text), expect=INPUT)
                self.assertIn(name, done.stderr)


class Refusals(Case):
    def test_bad_usage(self):
        mesh = self.file("plate.obj", obj(plate()))
        bad = [
            (), ("--step", "0"), ("--step", "nan"), ("--step", "inf"), ("--step", "1,-1"), ("--step", "1,2,3"),
            ("--seed", "1,2"), ("--seed", "1,2,nan"), ("--seed", "1,2,1e300"), ("--seed", "1,2,3x"),
            ("--seed", "1,1,0", "--seed-vertex", "1"), ("--seed-vertex", "50"), ("--seed-vertex", "0"),
            ("--warp", "0,0,0"), ("--warp", "0,0,1"), ("--warp", "0.09,0,1"), ("--rosette", "0,0,2"),
            ("--side", "1,0,0"), ("--angle", "inf"), ("--bias", "5"), ("--tolerance", "-1"),
            ("--step", "1", "--tolerance", "0.2"), ("--pivot", "best"), ("--max-nodes", "3"), ("--max-nodes", "1.5"),
            ("--locking", "91"), ("--within", "-1"), ("--within", "most"),
            ("--clip", "0,0,0,0,0,0"), ("--clip", "0,0,0"), ("--part", "1/2"), ("--sweep", "--part", "3/2"),
            ("--sweep", "--part", "0/2"), ("--sweep-angles", "0:90"), ("--sweep-seeds", "many"), ("--jobs", "0"),
            ("--units-mm", "0"), ("-o", "x.unknown"), ("-o", "x.curve.csv"), ("-o", "x.sweep.csv"), ("--no-such",),
            ("--step", "1e-5"),
        ]
        for words in bad:
            with self.subTest(words):
                done = self.drape(*((mesh, *words) if words else ()), expect=USAGE)
                self.assertTrue(done.stderr.startswith("drape: "), done.stderr)
                if words and "upright" not in done.stderr:
                    self.assertTrue(any(word in done.stderr for word in words if word.startswith("-")), done.stderr)

    def test_broken_files(self):
        good = plate()
        text = obj(good)
        head = "ply\nformat ascii 1.0\nelement vertex 4000000000\nproperty double x\nproperty double y\n"
        head += "property double z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n"
        bad = {
            "empty.obj": "", "blank.obj": "\n\n", "points.obj": "v 0 0 0\nv 1 0 0\n", "word.obj": "v 0 0 zero\nf 1 1 1\n",
            "nan.obj": text.replace("v 1.0", "v nan", 1), "huge.obj": text.replace("f 1 ", "f 99999999999999 ", 1),
            "beyond.obj": text.replace("f 1 ", "f 4000 ", 1), "zero.obj": text.replace("f 1 ", "f 0 ", 1),
            "wide.obj": text.replace("v 1.0", "v 1e308", 1), "torn.obj": text[: text.rindex("f ") + 5],
            "flat.obj": "v 0 0 0\nv 1 0 0\nv 2 0 0\nf 1 2 3\n", "noise.obj": bytes(range(256)) * 8,
            "torn.off": off(good)[:-40], "beyond.off": "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n",
            "many.off": "OFF\n4000000000 1 0\n0 0 0\n", "many.ply": head, "torn.ply": ply_binary(good)[:-30],
            "torn.stl": stl_text(good)[:-60], "torn2.stl": stl_binary(good)[:-30],
            "nan.stl": stl_binary(good)[:100] + struct.pack("<f", math.nan) + stl_binary(good)[104:],
            "many.stl": b"x".ljust(80) + struct.pack("<I", 4000000000), "noise.glb": b"glTF" + bytes(range(256)) * 4,
            "noise.3ds": bytes(range(255, -1, -1)) * 16, "plain.txt": "hello\n", "noending": "hello\n",
            "next.obj": text.replace("f 1 ", "f 50 ", 1), "next.ply": ply_text((good[0], [(0, 1, 49)])),
        }
        told = {
            "empty.obj": "the file is empty", "blank.obj": "holds no faces\n", "points.obj": "holds no faces, only points",
            "word.obj": "vertex 1 isn't", "nan.obj": "vertex 2 isn't", "huge.obj": "face 1 can't be read to its end",
            "beyond.obj": "face 1 names a vertex that isn't in the file, which has 49", "next.obj": "face 1 names",
            "next.ply": "face 1 names", "wide.obj": "too wide", "torn.obj": "probably cut off",
            "flat.obj": "no triangle with an area", "torn.off": "up to vertex 49, face 72", "torn.ply": "up to vertex 49, face 69",
            "torn.stl": "ends before its \"endsolid\"", "torn2.stl": "probably cut off", "nan.stl": "vertex 1 isn't",
            "many.stl": "announces 4000000000 facets",
        }
        for name, content in bad.items():
            with self.subTest(name):
                done = self.drape(self.file(name, content), expect=INPUT)
                self.assertTrue(done.stderr.startswith("drape: "), done.stderr)
                self.assertIn(told.get(name, name), done.stderr)
                self.assertEqual(done.stdout, "")
        self.drape("nowhere.obj", expect=INPUT)
        self.drape(self.folder, expect=INPUT)

    def test_every_cut_of_a_file_ends_in_an_answer(self):
        for write, name in ((obj, "m.obj"), (off, "m.off"), (ply_binary, "m.ply"), (stl_binary, "m.stl")):
            content = write(plate(2))
            content = content if isinstance(content, bytes) else content.encode()
            for size in range(1, len(content), max(1, len(content) // 25)):
                path = self.file(name, content[:size])
                done = subprocess.run([DRAPE, path], capture_output=True, timeout=60)
                self.assertIn(done.returncode, (DONE, INPUT, RUN_ENDED), (name, size, done.stderr))

    def test_outputs_are_written_whole_or_not_at_all(self):
        # What can be known before the work is refused before it, with nothing written or said of a drape.
        content = obj(plate())
        mesh = self.file("plate.obj", content)
        curve = self.file("trim.json", "1 1 0\n2 1 0\n2 2 0\n")
        (self.folder / "folder.json").mkdir()
        (self.folder / "link.json").symlink_to(curve)
        os.mkfifo(self.folder / "pipe.json")
        for code, outputs in ((OTHER, ["nowhere/x.vtp"]), (OTHER, ["plate.obj/x.vtp"]), (OTHER, ["folder.json"]), (OTHER, ["pipe.json"]), (OTHER, ["/proc/x.json"]),
                              (USAGE, ["trim.json"]), (USAGE, ["./folder.json/../trim.json"]), (USAGE, ["link.json"]),
                              (USAGE, ["a.png", "./a.png"]), (USAGE, ["a.bmp"]), (USAGE, [mesh])):
            outputs = [part for path in ("kept.vtp", *outputs) for part in ("-o", path)]
            done = self.drape(mesh, "--curve", curve, *outputs, expect=code)
            self.assertIn(outputs[-1].removeprefix("./"), done.stderr)
            self.assertEqual(done.stdout, "")
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()),
                         ["folder.json", "link.json", "pipe.json", "plate.obj", "trim.json"])
        self.assertEqual(pathlib.Path(mesh).read_text(), content)
        done = self.drape(self.file("part.STEP", "ISO-10303-21;"), expect=INPUT)
        self.assertRegex(done.stderr, "STL or OBJ|the mesher gmsh says")


class Manners(Case):
    def test_help_manual_and_completion_name_the_same_options(self):
        text = self.drape("--help").stdout
        self.assertIn("Examples:", text)
        self.assertLessEqual(max(map(len, text.splitlines())), 110)
        options = {word.strip(",.;():[]") for word in text.replace(",--", " --").split() if word.startswith("--")}
        options = {word for word in options if word.strip("-")}
        self.assertGreater(len(options), 20)
        manual = (ROOT / "tool" / "drape.1").read_text().replace("\\-", "-")
        completion = (ROOT / "tool" / "drape.bash-completion").read_text().replace('"', " ").split()
        for option in options:
            self.assertIn(option, manual)
            self.assertIn(option, completion)

    def test_version_quiet_and_verbose(self):
        self.assertRegex(self.drape("--version").stdout, r"^drape \d+\.\d+\.\d+\n$")
        mesh = self.file("m.obj", obj(plate()).replace("\nf 1 2 9", "\nf 9 2 1"))
        quiet = self.drape(mesh, "-q")
        self.assertEqual(quiet.stdout + quiet.stderr, "")
        self.assertIn("turned over 1 triangle", self.drape(mesh).stderr)
        self.assertIn("the run took", self.drape(mesh, "-v").stderr)


if __name__ == "__main__":
    unittest.main()
