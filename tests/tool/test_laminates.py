"""Layups: order and troubles, angles and thicknesses per element, what the files for solvers and workshops hold, and
CalculiX on the decks against classical laminate theory."""

import csv
import json
import math
import random
import re
import shutil
import subprocess
import unittest

from bulk_deck import Fault, read_bulk, real
from laminates import STIFF, Laminates, layup, pulled, quads, saddle, solve, stiff, stiffness
from model import cross, dot, sub, unit
from moulds import cup, obj, plate, uneven_sheet
from program import INPUT, OTHER, ROOT, USAGE
from readers import PolyData, Svg, UnstructuredGrid, dxf_entities
from solver_meshes import element, inp, node


class Orders(Laminates):
    def test_plies_lie_behind_those_that_they_follow(self):
        mesh = self.file("m.obj", obj(plate(8)))
        plies = [{"name": n, "angle": 10 * k, "after": a} for k, (n, a) in enumerate(
            [("top", "c;b"), ("a", ""), ("b", "a"), ("c", "b"), ("d", "a, x"), ("x", "")])]
        report, _ = self.laminate(mesh, plies, "--step", "1")
        self.assertEqual([p["name"] for p in report["plies"]], ["a", "x", "b", "d", "c", "top"])
        self.assertEqual([p["angle"] for p in report["plies"]], [10, 50, 20, 40, 30, 0])
        # Names may hold what parts names, as the table or JSON quotes them.
        names = ["core, upper", 'the "b"; end', "last"]
        table = 'name,after\n"core, upper",\n"the ""b""; end","""core, upper"""\nlast,"""the """"b""""; end"";""core, upper"""\n'
        pairs = json.dumps({"plies": [{"name": name, "after": names[:k]} for k, name in reversed(list(enumerate(names)))]})
        for name, text in (("marks.csv", "\ufeff" + table), ("marks.json", pairs)):
            report, _ = self.laminate(mesh, text, "--step", "1", layup_name=name)
            self.assertEqual([p["name"] for p in report["plies"]], names)
            self.assertEqual(set(report["plies"][2]["after"]), set(names[:2]))
        plies[1]["after"] = "top"
        done = self.drape(mesh, "--layup", self.file("ring.csv", layup({"name": "behind", "angle": 0, "after": "top"}, *plies)), expect=INPUT)
        self.assertRegex(done.stderr, r"line \d, column 3 \(after\): the plies follow each other in a ring: ")
        self.assertIn("top after", done.stderr)
        self.assertNotRegex(done.stderr, "x after|behind")
        for count in (1, 27, 200):
            book = ["-o", "book.pdf"] if count < 200 else []
            report, done = self.laminate(mesh, [{"name": f"p{k}", "angle": k % 4 * 45, "thickness": 0.1} for k in range(count)], "--step", "1",
                                         *book, "-o", "kit.dxf")
            told = sum(f" p{k} " in done.stdout for k in range(count))
            self.assertEqual(re.findall(r"and (\d+) more rows", done.stdout), [str(count - told)] * (told < count))
            self.assertEqual([p["name"] for p in report["plies"]], [f"p{k}" for k in range(count)])
            self.assertEqual(len(self.rows()), 128 * count)
            if book:
                pages = subprocess.run(["pdfinfo", self.folder / "book.pdf"], capture_output=True, text=True, check=True).stdout
                self.assertRegex(pages, rf"Pages: +{count + (count + 25) // 26}\n")

    def test_json_says_the_same(self):
        mesh = self.file("m.obj", obj(plate(8)))
        cloth = {"thickness": 0.25, "density": 1600, "locking": 30, **STIFF}
        plies = [{"name": "a", "cloth": "t", "angle": 20, "seed": [4, 3, 0], "step": [1, 0.9]}, {"name": "b", "cloth": "t", "angle": 70, "after": ["a"]}]
        table = layup(*({**p, **cloth, "seed": "4 3 0" if "seed" in p else "", "step": "1,0.9" if "step" in p else "", "after": "".join(p.get("after", ""))}
                        for p in plies))
        first, _ = self.laminate(mesh, table, "--step", "1")
        other, _ = self.laminate(mesh, json.dumps({"format": "drape-layup", "version": 1, "cloths": {"t": cloth}, "plies": plies}, indent=1),
                                 "--step", "1", layup_name="layup.json")
        for report in (first, other):
            report.pop("seconds")
            report["input"].pop("layup")
        self.assertEqual(first, other)
        self.assertEqual(first["plies"][0]["drape"]["step"], [1, 0.9])
        self.assertPoint(first["plies"][0]["drape"]["seed"], (4, 3, 0))
        # 64 square units of 0.25 at 1600 kg in the cubic metre, in grams.
        self.assertAlmostEqual(first["plies"][1]["drape"]["mass"], 64 * 0.25 * 1600e-6, 6)

    def test_a_cloth_is_one_material(self):
        """Cloths whose names a deck can't tell apart stay two; one cloth with two stiffnesses is refused, and an
        earlier deck read as the mould leaves none of its sets behind."""
        mesh = self.file("m.inp", quads(6, 4, 60, 40))
        plies = [stiff("a", 0), stiff("b", 0, cloth="UD", E1=70e3), stiff("c", 0, cloth="ud"), stiff("d", 0, cloth="ud", E1=1e3), stiff("e", 0, E1="1.4e5")]
        report, done = self.laminate(mesh, plies, "--start", "middle", "-o", "l.inp", expect=INPUT)
        self.assertIn('(E1): "1000.0": the cloth has 140000.0 in line 3', done.stderr)
        self.assertEqual([p["drape"] is None for p in report["plies"]], [False, False, False, True, False])
        deck = (self.folder / "l.inp").read_text()
        self.assertEqual(re.findall(r"\*MATERIAL, NAME=(\w+)\n.*\n(\d+),", deck), [("UD", "70000"), ("UD_2", "140000")])
        _, _, layers = self.read_deck("l.inp")
        self.assertEqual([layer[1] for layer in layers[element(0)]], ["UD_2", "UD", "UD_2", "UD_2"])
        self.laminate(self.folder / "l.inp", plies[:1], "--start", "middle", "-o", "again.inp")
        self.assertEqual(re.findall(r"SET=(?!DRAPE_NODES|DRAPE_ELEMENTS)(\w+)", (self.folder / "again.inp").read_text()), ["DRAPE_RIM", "SKIN", "RIM", "DRAPE_S1", "DRAPE_S1"])

    def test_every_constant_of_a_material_has_its_place(self):
        stiffness = {"E1": 141e3, "E2": 9.3e3, "nu12": 0.31, "G12": 4.6e3}
        plies = [{"name": "a", "cloth": "full", "thickness": 0.3, "density": 1580, "angle": 0, **stiffness, "G13": 4.1e3, "G23": 3.2e3},
                 {"name": "b", "cloth": "half", "thickness": 0.3, "angle": 0, **stiffness, "G13": 4.1e3}, {"name": "c", "cloth": "least", "thickness": 0.3, "angle": 0, "E1": 6e4, "G12": 3e3}]
        self.laminate(self.file("m.inp", quads(3, 2, 6, 4)), plies, "--start", "middle", "--step", "1", "-o", "l.inp", "-o", "l.bdf")
        wanted = {"FULL": (141e3, 9.3e3, 0.31, 4.6e3, 4.1e3, 3.2e3, 1.58e-9), "HALF": (141e3, 9.3e3, 0.31, 4.6e3, 4.1e3, 4.1e3, None),
                  "LEAST": (6e4, 6e4, 0.3, 3e3, 3e3, 3e3, None)}
        parts = (self.folder / "l.inp").read_text().split("*MATERIAL, NAME=")[1:]
        self.assertEqual([part.split()[0] for part in parts], list(wanted))
        for part, (e1, e2, nu, g12, g13, g23, density) in zip(parts, wanted.values()):
            lines = part.splitlines()
            self.assertEqual([[float(x) for x in line.split(",") if x] for line in lines[2:4]], [[e1, e2, e2, nu, 0, 0, g12, g13], [g23]])
            self.assertEqual(lines[4:6] == ["*DENSITY", "1.58e-09"], density is not None)
        cards = read_bulk((self.folder / "l.bdf").read_text())["MAT8"]
        for k, numbers in enumerate(wanted.values(), 1):
            got = list(cards[k])[1:] if list(cards[k])[0] == k else list(cards[k])
            for a, b in zip([x for x in got if x not in (None, "")], [x for x in numbers if x is not None], strict=True):
                self.assertAlmostEqual(a / b, 1, 5)

    def test_one_bad_ply_leaves_the_others(self):
        mesh = self.file("m.obj", obj(plate(8)))
        self.file("ring.xyz", "2 2 0\n6 2 0\n6 6 0\n2 6 0\n")
        self.file("out.xyz", "2 2 0\n60 2 0\n60 6 0\n")
        good = {"name": "good", "angle": 0}
        for bad, words in (({"angle": "x"}, 'line 4, column 2 (angle): "x": that isn\'t a finite number'), ({"seed": "1 2"}, "(seed)"), ({"pivot": "row"}, "(pivot)"),
                           ({"step": "0"}, "(step)"), ({"thickness": "-1"}, "(thickness)"), ({"after": "none"}, 'there is no ply "none"'),
                           ({"name": "good"}, "another ply has this name"), ({"region": "no.xyz"}, "can't open the curve"), ({"pieces": "2.5"}, 'column 3 (pieces): "2.5"'), ({"pieces": "0"}, '(pieces): "0"'),
                           ({"pieces": "cover", "seed": "4 4 0"}, "(seed)"), ({"pieces": "0.5", "region": "ring.xyz"}, "(region)"),
                           ({"region": "out.xyz"}, "its region "), ({"locking": "95"}, "(locking)"), ({"side": "0 0 0"}, "(side)"), ({"E1": "5", "G12": ""}, "G12"),
                           ({"after": '""good'}, "(after): \"\"good\": a quote is opened and not closed")):
            with self.subTest(words):
                report, done = self.laminate(mesh, [good, {"name": "bad", "angle": 0, **bad}, {"name": "last", "angle": 90}], "--step", "1", expect=INPUT)
                self.assertIn(words, done.stderr)
                self.assertIn(words, report["plies"][1]["trouble"])
                self.assertEqual([p["drape"] is None for p in report["plies"]], [False, True, False])
                self.assertEqual({row["ply"] for row in self.rows()}, {"good", "last"})
        for text, words in (("name,colour\na,red\n", "line 1, column 2 (colour)"), ("# drape-layup 2\nname\na\n", "version 2"), ("", "empty"), ("\n\n", "no line with the names"),
                            ('name,after\n"a,b\n', "a quote is opened"), ("name\n", "it holds no plies")):
            with self.subTest(words):
                path = self.file("bad.csv", text) if text else self.file("bad.csv", "#\n")
                told = self.drape(mesh, "--layup", path, expect=INPUT).stderr
                self.assertIn(words if text else "no line with the names", told)
        for text, words in (('{"plies": [\n {"name": "a",\n  "angle": 5,,}]}', "line 3, column 14"), ('{"format": "x"}', "(format)"), ('{"version":\n 7}', "line 2, column 2 (version)"),
                            ('{"plies": [{"name": {}}]}', "line 1"), ("[1,2]", "line 1"), ('{"cloths": {"a": {"color": 3}}, "plies": []}', "(color)")):
            with self.subTest(text):
                self.assertIn(words, self.drape(mesh, "--layup", self.file("bad.json", text), expect=INPUT).stderr)
        broken = '{"plies": [\n {"name": "a",\n  "angle": "wide"},\n {"name": "b"},\n {"name": "c\\nGRID"},\n {"cloth": "c\\u0007"}]}'
        report, done = self.laminate(mesh, broken, "--step", "1", layup_name="l2.json", expect=INPUT)
        self.assertIn('line 3, column 12 (angle): "wide"', report["plies"][0]["trouble"])
        for ply, words in zip(report["plies"][2:], ("line 5, column ", "line 6, column ")):
            self.assertIn(words, ply["trouble"])
        self.assertIsNotNone(report["plies"][1]["drape"])
        # A region keeps what lies within it, and cuts the pattern.
        report, _ = self.laminate(mesh, [good, {"name": "patch", "angle": 45, "region": "ring.xyz"}], "--step", "0.5", "--start", "middle")
        self.assertAlmostEqual(report["plies"][1]["drape"]["netArea"], 16.0, 6)
        self.assertAlmostEqual(report["plies"][1]["drape"]["coveredShare"], 16 / 64, 6)
        self.assertEqual({row["element"] for row in self.rows() if row["ply"] == "patch"},
                         {str(2 * (i + 8 * j) + k) for i in range(2, 6) for j in range(2, 6) for k in (1, 2)})
        for words in (("--core", "0,0,0"), ("--build-up",), ("-o", "a.vtu")):
            self.drape(mesh, *words, expect=USAGE)
        self.drape(mesh, "--layup", "layup.csv", "--sweep", expect=USAGE)


class Elements(Laminates):
    PLIES = [stiff("a", 0, 0.3), stiff("b", 45, 0.2), stiff("c", -30, 0.25, cloth="twill")]

    def check_vectors(self, points, corners, normals_to, rows, rosette):
        """Angles and thicknesses of each row from its own vectors and the element's own nodes."""
        for row in rows:
            p = [points[k] for k in corners[int(row["element"])]]
            n = unit(cross(sub(p[2], p[0]), sub(p[3], p[1])) if len(p) == 4 else cross(sub(p[1], p[0]), sub(p[2], p[0])))
            warp, weft = ([float(row[f"{k}_{x}"]) for x in "xyz"] for k in ("warp", "weft"))
            self.assertAlmostEqual(dot(warp, n), 0, 7)
            self.assertAlmostEqual(dot(warp, warp), 1, 7)
            laid = lambda v: unit([a - dot(v, n) * b for a, b in zip(v, n)])
            turn = lambda a, b, about: math.degrees(math.atan2(dot(about, cross(a, b)), dot(a, b)))
            same = lambda a, b: self.assertAlmostEqual((float(a) - b + 180) % 360 - 180, 0, 4)
            same(row["angle_side_deg"], turn(laid(sub(p[1], p[0])), warp, n))
            above = n if dot(n, normals_to) > 0 else [-x for x in n]
            same(row["angle_rosette_deg"], turn(laid(rosette), warp, above))
            self.assertAlmostEqual(float(row["thickness_factor"]), 1 / math.cos(math.radians(float(row["shear_deg"]))), 6)

    def test_decks_and_tables_agree_on_a_dome(self):
        mesh = ROOT / "samples" / "double_dome.obj"
        words = [line.split() for line in mesh.read_text().splitlines()]
        vertices = [[float(x) for x in w[1:4]] for w in words if w[:1] == ["v"]]
        first = next([vertices[int(x.split("/")[0]) - 1] for x in w[1:]] for w in words if w[:1] == ["f"])
        middle = ",".join(str(sum(p[k] for p in first) / len(first)) for k in range(3))
        report, done = self.laminate(mesh, self.PLIES, "--start", "middle", "--step", "14", "-o", "l.inp", "-o", "a.abaqus.inp", "-o", "l.bdf", "-o", "l.vtu",
                                     "--core", "30,20,50", "--core", middle, "-o", "c.core.csv", "-o", "c.core.svg", "-o", "book.pdf")
        self.assertEqual(report["bareElements"], 0)
        rows = self.rows()
        points, corners, layers = self.read_deck("a.abaqus.inp")
        self.check_vectors(points, corners, (0, 0, 1), rows, (1, 0, 0))
        by_element = {}
        for row in rows:
            by_element.setdefault(int(row["element"]), []).append(row)
        fine, nodes, deck = self.read_deck("l.inp")
        theta, stacks = self.read_bdf("l.bdf")
        for k, own in by_element.items():
            self.assertEqual([r["ply"] for r in own], ["a", "b", "c"])  # the file winds its faces upward, as the cloth lies
            self.assertEqual(nodes[k][:3], corners[k])
            for a, b, middle in ((0, 1, 3), (1, 2, 4), (2, 0, 5)):
                for x, y, z in zip(fine[nodes[k][a]], fine[nodes[k][b]], fine[nodes[k][middle]]):
                    self.assertAlmostEqual((x + y) / 2, z, 9)
            for row, layer, again, (_, thickness, angle) in zip(own, deck[k], layers[k], stacks[theta[k][0]], strict=True):
                self.assertAlmostEqual(layer[0], float(row["thickness"]), 7)
                self.assertEqual(layer, again)
                for a, x in zip(layer[2], "xyz"):
                    self.assertAlmostEqual(a, float(row[f"warp_{x}"]), 7)
                self.assertAlmostEqual(dot(layer[2], layer[3]), 0, 7)
                self.assertAlmostEqual((theta[k][1] + angle - float(row["angle_side_deg"]) + 90) % 180 - 90, 0, 1)
                self.assertAlmostEqual(thickness, float(row["thickness"]), 5)
        # The core sample is what its element has, but for the place within it.
        with open(self.folder / "c.core.csv", newline="") as table:
            cores = list(csv.DictReader(table))
        self.assertEqual([(c["core"], c["element"]) for c in cores[3:]], 3 * [("2", "1")])
        core = cores[:3]
        self.assertEqual([c["ply"] for c in core], ["a", "b", "c"])
        self.assertEqual([(c["core"], c["layer"], c["sequence"]) for c in core], [("1", k, k) for k in "123"])
        for c, row in zip(core, by_element[int(core[0]["element"])]):
            self.assertAlmostEqual(float(c["angle_rosette_deg"]), float(row["angle_rosette_deg"]), delta=3.0)
            self.assertAlmostEqual(float(c["thickness"]), float(row["thickness"]), 2)
        self.assertIn("core      at (", done.stdout)
        # In words from the top down, each layer with where it begins.
        told = re.findall(r"thickness (\S+) from (\S+)\n", done.stdout)
        self.assertEqual(told, [(f"{float(c['thickness']):.4g}", f"{float(c['bottom']):.4g}") for c in [*reversed(core), *reversed(cores[3:])]])
        for below, c in zip(core, core[1:]):
            self.assertAlmostEqual(float(c["bottom"]), float(below["bottom"]) + float(below["thickness"]), 6)
        text = subprocess.run(["pdftotext", "-layout", self.folder / "book.pdf", "-"], capture_output=True, text=True, check=True).stdout
        pages = text.split("\f")
        self.assertEqual(len([p for p in pages if p.strip()]), 5)
        for ply, page in zip(report["plies"], pages[1:]):
            for words in (f"{ply['sequence']} {ply['name']}", f"{ply['cloth']} at {ply['angle']:g}°", f"{ply['drape']['width']:.4g} mm", f"{ply['drape']['height']:.4g} mm"):
                self.assertIn(words, " ".join(page.split()))

    def test_angles_of_quads_with_middles_count_from_those(self):
        """On trapezoids, where the line between the middles of the sides 4-1 and 2-3 isn't along the side 1-2."""
        deck = re.sub(r"(?m)^(\d+), (\S+), (\S+), (\S+)$", lambda m: f"{m[1]}, {float(m[2]) * (1 + float(m[3]) / 150 + float(m[2]) / 400)!r}, {m[3]}, {m[4]}", saddle("S8", 3, 1.0)[0])
        self.laminate(self.file("m.inp", deck), [stiff("a", 20), stiff("b", -40)], "--side", "0,0,1", "--start", "middle", "-o", "l.bdf")
        points, elements = {}, {}
        for line in deck.splitlines():
            fields = line.split(", ")
            if len(fields) == 4:
                points[int(fields[0])] = tuple(map(float, fields[1:]))
            elif len(fields) == 9:
                elements[int(fields[0])] = [points[int(f)] for f in fields[1:]]
        theta, apart = self.read_bdf("l.bdf")[0], 0.0
        self.assertEqual(set(theta), set(elements))
        for row in (row for row in self.rows() if row["ply"] == "a"):
            p = elements[int(row["element"])]
            n = unit(cross(sub(p[2], p[0]), sub(p[3], p[1])))
            laid = lambda v: unit([a - dot(v, n) * b for a, b in zip(v, n)])
            warp = [float(row[f"warp_{x}"]) for x in "xyz"]
            angles = [math.degrees(math.atan2(dot(n, cross(a, warp)), dot(a, warp))) for a in (laid(sub(p[5], p[7])), laid(sub(p[1], p[0])))]
            self.assertLess(abs((theta[int(row["element"])][1] - angles[0] + 90) % 180 - 90), 2e-3)
            apart = max(apart, abs(angles[0] - angles[1]))
        self.assertGreater(apart, 0.5)
        # Triangles with such nodes count from their side 1-2 all the same.
        deck = saddle("S6", 3, 1.0)[0]
        points = {int(f[0]): tuple(map(float, f[1:])) for f in (line.split(", ") for line in deck.splitlines()) if len(f) == 4}
        self.laminate(self.file("t.inp", deck), [stiff("a", 20), stiff("b", -40)], "--side", "0,0,1", "--start", "middle", "-o", "l.bdf")
        elements, (theta, stacks) = self.bulk("l.bdf")["element"], self.read_bdf("l.bdf")
        for row in self.rows():
            nodes = elements[int(row["element"])][3:9]
            self.assertIsInstance(nodes[5], int)
            p = [points[v] for v in nodes[:3]]
            n, warp = unit(cross(sub(p[1], p[0]), sub(p[2], p[0]))), [float(row[f"warp_{x}"]) for x in "xyz"]
            side = unit(sub(p[1], p[0]))
            section, angle = theta[int(row["element"])]
            got = angle + stacks[section][int(row["sequence"]) - 1][2]
            self.assertLess(abs((got - math.degrees(math.atan2(dot(n, cross(side, warp)), dot(side, warp))) + 90) % 180 - 90), 3e-3)
        # As the elements of the grid for viewers, with all their nodes.
        for kind, shape in (("S8", 23), ("S6", 22)):
            self.laminate(self.file("v.inp", saddle(kind, 2, 1.0)[0]), [stiff("a", 20)], "--side", "0,0,1", "--start", "middle", "-o", "l.vtu")
            grid = UnstructuredGrid(self.folder / "l.vtu")
            self.assertEqual(set(grid.polygons["types"]), {shape})
            for face in grid.faces():
                corners = [grid.points[v] for v in face[:len(face) // 2]]
                for a, b, v in zip(corners, corners[1:] + corners[:1], face[len(face) // 2:]):
                    self.assertPoint(grid.points[v][:2], [(x + y) / 2 for x, y in zip(a, b)][:2])

    def test_beside_a_slit_elements_have_the_fibres_of_their_own_side(self):
        """A blunt cone, slit down its side, is cloth laid flat: along the slit its fibres meet at the angle that it lacks of
        a full turn, and each element has those of its side."""
        around, rings, sine = 60, 12, 0.85
        places = [((2 + k / 2) * sine * math.cos(2 * math.pi * j / around), (2 + k / 2) * sine * math.sin(2 * math.pi * j / around),
                   -(2 + k / 2) * math.sqrt(1 - sine * sine)) for k in range(rings + 1) for j in range(around + 1)]
        at = lambda j, k: j + (around + 1) * k
        faces = [f for k in range(rings) for j in range(around) for f in ((at(j, k), at(j, k + 1), at(j + 1, k + 1)), (at(j, k), at(j + 1, k + 1), at(j + 1, k)))]
        mesh = self.file("m.obj", obj((places, faces)))
        self.laminate(mesh, [{"name": "a", "seed": "-4 0 -2.4"}], "--no-weld", "--step", "0.45", "--warp", "1,0,0", "-o", "x.vtu")
        self.drape(mesh, "--no-weld", "--step", "0.45", "--seed", "-4,0,-2.4", "--warp", "1,0,0", "-o", "m.fibres.csv")
        for table, name in (("l.csv", "element"), ("m.fibres.csv", "face")):
            beside = 0
            for row in self.rows(table):
                p = [places[v] for v in faces[int(row[name]) - 1]]
                x, y = (sum(q[k] for q in p) / 3 for k in (0, 1))
                azimuth = math.atan2(y, x) % (2 * math.pi)
                radial = unit((x, y, -math.hypot(x, y) / sine * math.sqrt(1 - sine * sine)))
                warp = [float(row[f"warp_{k}"]) for k in "xyz"]
                turn = math.degrees(math.atan2(dot(warp, (-math.sin(azimuth), math.cos(azimuth), 0)), dot(warp, radial)))
                off = turn + math.degrees(azimuth - math.pi) * sine
                if row["cover"] != "0":
                    self.assertLess(abs((off + 90) % 180 - 90), 2, (table, azimuth))
                    beside += min(azimuth, 2 * math.pi - azimuth) < 0.3
            self.assertGreater(beside, 50)

    def test_core_is_hatched_by_its_angles(self):
        """Lines along a layer that lies at 0 degrees, dots for one at 90, lines that lean between the two."""
        angles, thick = (0, 60, -30, 90), (0.2, 0.3, 0.25, 0.15)
        plies = [{"name": f"p{k}", "angle": a, "thickness": t} for k, (a, t) in enumerate(zip(angles, thick))]
        self.laminate(self.file("m.obj", obj(plate(8))), plies, "--step", "1", "--start", "middle", "--core", "3.2,4.1,0", "-o", "c.core.svg")
        shapes = Svg(self.folder / "c.core.svg").shapes
        box = lambda part: [f(p[k] for p in part) for k in (0, 1) for f in (min, max)]
        bars = [box(s["parts"][0]) for s in shapes if s["fill"] and not s["curved"] and s["fill"][0] > 0.8][:4]
        self.assertEqual(len(bars), 4)
        unit_ = (bars[0][3] - bars[0][2]) / thick[0]
        for angle, (left, right, top, bottom), t, below in zip(angles, bars, thick, [None, *bars]):
            self.assertAlmostEqual((bottom - top) / unit_, t, delta=1e-3)
            if below:
                self.assertAlmostEqual(bottom, below[2], delta=0.01)
            inside = [s for s in shapes if s["parts"] and s["parts"][0] and all(top - 0.1 <= p[1] <= bottom + 0.1 and p[0] < right + 99 for p in s["parts"][0])]
            dots = [s for s in inside if s["fill"] and s["curved"]]
            lines = [p for s in inside if s["stroke"] and not s["curved"] for p in s["parts"] if len(p) == 2]
            self.assertEqual((len(dots) > 5, len(lines) > 1), (angle == 90, angle != 90), angle)
            for (ax, ay), (bx, by) in lines:
                got = math.degrees(math.atan2(ay - by, bx - ax)) % 180
                self.assertLess(abs((got - angle + 90) % 180 - 90), 0.5)

    def test_plies_share_pictures_only_if_they_are_alike(self):
        mesh = self.file("m.obj", obj(uneven_sheet()))
        self.file("ring.xyz", "%f %f %f\n" * 4 % tuple(x for k in (20, 24, 88, 84) for x in uneven_sheet()[0][k]))
        plies = [{"name": "a", "angle": 0}, {"name": "b", "angle": 45}, {"name": "c", "angle": 0}, {"name": "d", "angle": 0, "region": "ring.xyz"}]
        report, _ = self.laminate(mesh, plies, "--step", "0.6", "--start", "middle", "-o", "book.pdf", expect=None)
        # A region counts its own cells alone.
        whole, part = (report["plies"][k]["drape"] for k in (0, 3))
        self.assertLess(part["cells"], 0.2 * whole["cells"])
        self.assertLess(part["largestShear"], whole["largestShear"])
        subprocess.run(["pdftoppm", "-r", "40", "-f", "2", "-gray", "-y", "60", "-H", "140", "-W", "230", "book.pdf", "page"], cwd=self.folder, check=True)
        a, b, c, d = (path.read_bytes() for path in sorted(self.folder.glob("page*.pgm")))
        self.assertEqual(a, c)
        self.assertEqual(len({a, b, d}), 3)
        # On the page of the ply at 45 degrees the rosette's warp goes up to the right and the thinner weft up to the left.
        subprocess.run(["pdftocairo", "-svg", "-f", "3", "-l", "3", "book.pdf", "b.svg"], cwd=self.folder, check=True)
        numbers = r"([-\d.]+) ([-\d.]+)"
        lines = re.findall(rf'stroke-width:([\d.]+);[^"]*" d="M {numbers} L {numbers} "', (self.folder / "b.svg").read_text())
        turns = {round(float(w) / 72 * 25.4, 2): math.degrees(math.atan2(float(y) - float(v), float(u) - float(x))) for w, x, y, u, v in lines}
        self.assertAlmostEqual(turns[0.8], 45, 3)
        self.assertAlmostEqual(turns[0.35], 135, 3)

    def test_tables_of_draping_give_the_fibres_again(self):
        """Triangles and quads with numbers of their own, some wound upward and some downward."""
        points, faces = uneven_sheet()
        faces = [f[::-1] if k % 3 == 0 else f for k, f in enumerate(f for f in faces if len(f) < 5)]
        plies = [stiff("a", 10, 0.3), stiff("b", 135, 0.2, cloth="twill"), stiff("c", -60, 0.25)]
        self.laminate(self.file("m.inp", inp((points, faces))), plies, "--side", "0,0,1", "--step", "0.8", "--rosette", "1,0.5,0", "-o", "d.drape.fem",
                      "-o", "d.drape.rad", expect=None)
        cards = self.bulk("d.drape.fem")
        elements = {k: (values[2], values[-1]) for k, values in cards["element"].items()}
        stacks = {k: values[2:] for k, values in cards["STACK"].items()}
        sets = {k: set(values[8:]) for k, values in cards["SET"].items()}
        tables = {k: {values[at + 1]: values[at + 2:at + 4] for at in range(8, len(values), 8)} for k, values in cards["DRAPE"].items()}
        laid = {k: (values[1], values[2], values[3], values[6], values[8]) for k, values in cards["PLY"].items()}
        self.assertEqual(set(stacks), set(cards["PCOMPP"]))
        heights = lambda name: re.findall(r"^PCOMPP.*", (self.folder / name).read_text(), re.M)
        self.assertTrue(all(len(card.split()) == 2 for card in heights("d.drape.fem")), heights("d.drape.fem"))
        rad, ply = {}, 0
        for line in (self.folder / "d.drape.rad").read_text().splitlines():
            ply = int(line.split("/")[2]) if line.startswith("/DRAPE/") else ply
            if line[:10].strip() in ("SHELL", "SH3N"):
                self.assertEqual((line[:10].strip() == "SH3N"), len(faces[(int(line[10:20]) - element(0)) // 7]) == 3)
                rad[ply, int(line[10:20])] = (real(line[20:40]), real(line[40:60]))
        rows = self.rows()
        self.assertEqual(set(rad), {(int(r["sequence"]), int(r["element"])) for r in rows})
        self.assertEqual(set(elements), {int(r["element"]) for r in rows})
        turned = lambda v, n, degrees: [math.cos(math.radians(degrees)) * a + math.sin(math.radians(degrees)) * b for a, b in zip(v, cross(n, v))]
        seen = set()
        for row in rows:
            k, sequence = int(row["element"]), int(row["sequence"])
            p = [points[v] for v in faces[(k - element(0)) // 7]]
            n = unit(cross(sub(p[2], p[0]), sub(p[3], p[1])) if len(p) == 4 else cross(sub(p[1], p[0]), sub(p[2], p[0])))
            flat = lambda v: unit([a - dot(v, n) * b for a, b in zip(v, n)])
            warp = [float(row[f"warp_{x}"]) for x in "xyz"]
            property_, theta = elements[k]
            self.assertEqual(property_, 1 if n[2] > 0 else 2)
            stack = stacks[property_]
            number = stack[sequence - 1 if n[2] > 0 else len(stack) - sequence]
            _, thickness, angle, table, members = laid[number]
            self.assertIn(k, sets[members])
            factor, change = tables[table][k]
            axis = turned(flat(sub(p[1], p[0])), n, theta)
            self.assertAlmostEqual(abs(dot(turned(axis, n, angle + change), warp)), 1, 7)
            self.assertAlmostEqual(factor * thickness, float(row["thickness"]), 6)
            self.assertAlmostEqual(dot(axis, flat((1, 0.5, 0))), 1, 7)  # the rosette is what angles count from
            factor, change = rad[sequence, k]
            self.assertAlmostEqual(abs(dot(turned(flat((1, 0.5, 0)), n, plies[sequence - 1]["angle"] + change), warp)), 1, 7)
            self.assertAlmostEqual(factor, float(row["thickness_factor"]), 6)
            seen.add((len(p), property_))
        self.assertEqual(len(seen), 4)

    def test_bulk_decks_keep_to_their_columns(self):
        """Every shape of element, numbers of eight digits, very small, large and negative places: the strict reader and,
        where it's installed, the mesher find the places and the elements of the file; elements too wide are refused."""
        flat = [(0, 0), (2, 0), (4, 0), (4, 2), (4, 4), (2, 4), (0, 4), (0, 2), (2, 2)]
        for scale, number in ((1.0, 1), (1e-6, 99999900), (12345.678901, 4711)):
            points = [(x * scale - 7 * scale, y * scale, 1e-3 * scale * x * y) for x, y in flat]
            nodes = "*NODE\n" + "".join(f"{number + k}, {x!r}, {y!r}, {z!r}\n" for k, (x, y, z) in enumerate(points))
            shapes = {"S8": [(0, 2, 4, 6, 1, 3, 5, 7)], "S6": [(0, 2, 4, 1, 3, 8), (0, 4, 6, 8, 5, 7)],
                      "S4": [(0, 1, 8, 7), (1, 2, 3, 8), (8, 3, 4, 5), (7, 8, 5, 6)], "S3": [(0, 2, 8), (2, 4, 8), (4, 6, 8), (6, 0, 8)]}
            for kind, faces in shapes.items():
                with self.subTest(f"{kind} {scale}"):
                    text = f"*ELEMENT, TYPE={kind}\n" + "".join(f"{number + 7 * k}, " + ", ".join(str(number + v) for v in f) + "\n" for k, f in enumerate(faces))
                    plies = [stiff("a", 33.3, 1e-4 * scale, E1=1.4e11), stiff("b", -45, 0.123456789 * scale, E1=1.4e11)]
                    self.laminate(self.file("m.inp", nodes + text), plies, "--side", "0,0,1", "--start", "middle", "--step", 0.7 * scale, "-o", "l.bdf",
                                  "-o", "l.drape.fem", expect=None)
                    for name in ("l.bdf", "l.drape.fem"):
                        cards = self.bulk(name)
                        self.assertEqual({k: list(v[3:3 + len(faces[0])]) for k, v in cards["element"].items()},
                                         {number + 7 * k: [number + v for v in f] for k, f in enumerate(faces)})
                        for k, (_, _, *place) in cards["GRID"].items():
                            for got, wanted in zip(place, points[k - number], strict=True):
                                self.assertAlmostEqual(got / scale, wanted / scale, 9)
                        if shutil.which("gmsh") and kind in ("S3", "S4"):
                            self.assertEqual(*self.by_mesher(name, {frozenset(points[v] for v in f) for f in faces}, scale))
        deck = (self.folder / "l.bdf").read_text()
        for before, after in (("CTRIA3  ", "CTRIA3 4"), ("+       ", "+      "), ("YES", "YE S"), ("MAT8           1", "MAT8           7"), ("11524.158", "11524158 "), ("GRID*   ", "GRID    ")):
            with self.subTest(after), self.assertRaises(Fault):
                self.assertIn(before, deck)
                read_bulk(deck.replace(before, after, 1))
        wide = nodes.replace("4711,", "100000000,") + "*ELEMENT, TYPE=S3\n1, 100000000, 4713, 4715\n"
        done = self.drape(self.file("m.inp", wide), "--layup", "layup.csv", "--step", 0.7 * scale, "-o", "w.bdf", expect=OTHER)
        self.assertIn("100000000 doesn't fit", done.stderr)
        self.assertFalse((self.folder / "w.bdf").exists())

    def by_mesher(self, name, elements, scale):
        """The elements of a bulk deck by their places as the mesher reads them, and those wanted, in steps of 1e-9."""
        rounded = lambda p: tuple(round(x / scale * 1e9) for x in p)
        self.file("read.bdf", (self.folder / name).read_bytes())
        subprocess.run(["gmsh", "read.bdf", "-0", "-save_all", "-format", "msh22", "-o", "read.msh"], cwd=self.folder, check=True, capture_output=True)
        sections = {part.split("\n", 1)[0]: part.splitlines()[2:] for part in (self.folder / "read.msh").read_text().split("$") if not part.startswith("End")}
        places = {line.split()[0]: rounded(map(float, line.split()[1:])) for line in sections["Nodes"]}
        rows = [line.split() for line in sections["Elements"]]
        return {frozenset(places[v] for v in row[3 + int(row[2]):]) for row in rows}, {frozenset(map(rounded, e)) for e in elements}

    def test_the_other_winding_turns_the_stack_over(self):
        for wound in (1, -1):
            mesh = self.file("m.inp", quads(6, 4, 60, 40, wound))
            self.laminate(mesh, self.PLIES, "--side", "0,0,1", "--step", "3", "-o", "l.inp", "-o", "l.bdf", "-o", "s.bdf", "--shell-reference", "mould")
            points, corners, layers = self.read_deck("l.inp")
            rows = [r for r in self.rows() if r["element"] == str(element(7))]
            self.check_vectors(points, {k: v[:4] for k, v in corners.items()}, (0, 0, 1), rows, (1, 0, 0))
            self.assertEqual([round(float(r["angle_rosette_deg"]), 6) for r in rows], [0, 45, -30])
            self.assertEqual([layer[0] for layer in layers[element(7)]], [0.3, 0.2, 0.25][::wound])
            self.assertIn(f"OFFSET={-0.5 * wound}", (self.folder / "l.inp").read_text())
            self.assertEqual(layers[element(7)][0][1], "UD" if wound == 1 else "TWILL")
            self.assertIn("PCOMP          1" + f"{'0.' if wound == 1 else '-.75':>8}", (self.folder / "s.bdf").read_text())
        self.assertIn("RIM", (self.folder / "l.inp").read_text())

    def test_build_up_lays_plies_on_plies(self):
        """On a half tube the outer plies are longer by the thickness times the arc; within a tight groove it's told."""
        n, radius = 24, 20.0
        arc = lambda r, k: (-r * math.cos(math.pi * k / n), r * math.sin(math.pi * k / n))
        def tube(r):
            points = [(arc(r, k)[0], 5.0 * j, arc(r, k)[1]) for j in range(9) for k in range(n + 1)]
            return points, [(j * (n + 1) + k, (j + 1) * (n + 1) + k, (j + 1) * (n + 1) + k + 1, j * (n + 1) + k + 1) for j in range(8) for k in range(n)]
        plies = [{"name": f"p{k}", "angle": 0, "thickness": 1.0} for k in range(4)]
        report, done = self.laminate(self.file("m.obj", obj(tube(radius))), plies, "--build-up", "--start", "middle", "--step", "2")
        self.assertNotIn("radius of the mould", done.stderr)
        areas = [p["drape"]["netArea"] for p in report["plies"]]
        for k, area in enumerate(areas):
            self.assertAlmostEqual(area / areas[0], (radius + k) / radius, delta=0.002 * k)
        flat, _ = self.laminate("m.obj", plies, "--start", "middle", "--step", "2")
        self.assertEqual({p["drape"]["netArea"] for p in flat["plies"]}, {areas[0]})
        report, done = self.laminate("m.obj", [{**p, "thickness": 8.0} for p in plies], "--build-up", "--start", "middle", "--step", "2", "--side", "0,0,-1", expect=None)
        self.assertIn("more than the radius of the mould there", done.stderr)

    def test_plies_lie_on_what_is_below_them_there(self):
        """Patches side by side, one over parts of both, and plies on the other side of a plate: at each node, but for the
        steps as wide as an element, a ply lies as high as the plies that were laid there before it are thick."""
        patches = {"left.xyz": (1, 5, 1, 7), "right.xyz": (5, 9, 1, 7), "both.xyz": (3, 7, 3, 10)}
        for name, (west, east, south, north) in patches.items():
            self.file(name, f"{west} {south} 0\n{east} {south} 0\n{east} {north} 0\n{west} {north} 0\n")
        order = [("a", 0.04, "left.xyz", 1), ("b", 0.07, "right.xyz", 1), ("c", 0.025, "both.xyz", 1), ("under", 0.03, "", -1), ("d", 0.01, "", 1), ("e", 0.02, "", 1),
                 ("lower", 0.06, "", -1), ("f", 0.05, "left.xyz", 1)]
        sides = {"e": "0 0 3", "under": "0 0 -1", "lower": "0.1 0 -2"}  # those that say nothing lie on the plate's own side
        plies = [{"name": n, "angle": 15 * k, "thickness": t, "region": r, "side": sides.get(n, "")} for k, (n, t, r, _) in enumerate(order)]
        report, _ = self.laminate(self.file("m.obj", obj(plate(24, 0.5))), plies, "--build-up", "--start", "middle", "--step", "0.7,0.9", "-o", "l.vtp", "-o", "l.vtu")
        self.assertEqual([(p["name"], p["trouble"]) for p in report["plies"]], [(n, None) for n, *_ in order])
        lies = lambda region, x, y: not region or patches[region][0] < x < patches[region][1] and patches[region][2] < y < patches[region][3]
        beside = lambda region, x, y: region and any(abs(x - e) < 0.51 for e in patches[region][:2]) or region and any(abs(y - e) < 0.51 for e in patches[region][2:])
        cloth, looked = PolyData(self.folder / "l.vtp"), set()
        for (x, y, z), k, t in zip(cloth.points, cloth.point_data["piece"], cloth.point_data["triangle"]):
            below = [(thick, region) for _, thick, region, side in order[:k - 1] if side == order[k - 1][3]]
            if t and not any(beside(region, x, y) for _, region in below):
                there = tuple(thick for thick, region in below if lies(region, x, y))
                self.assertAlmostEqual(z, order[k - 1][3] * sum(there), delta=0.002, msg=(k, x, y))
                looked.add((k, there))
        self.assertGreater(len(looked), 14)
        for row in self.rows():
            cell, half = divmod(int(row["element"]) - 1, 2)
            x, y = cell % 24 / 2 + (2 - half) / 6, cell // 24 / 2 + (1 + half) / 6
            self.assertTrue(lies(order[int(row["sequence"]) - 1][2], x, y))
        self.assertEqual(len(self.rows()), 1152 * 4 + 8 * (24 + 24 + 28 + 24))


class Pieces(Laminates):
    """A dome that one ply can't take, with a ply in pieces below one that ends early."""

    def test_no_more_pieces_than_asked_for(self):
        plies = [{"name": n, "pieces": n, "width": 3} for n in ("2", "3", "cover", "1")]
        report, done = self.laminate(self.file("m.obj", obj(plate(10))), plies, "--step", "1,0.7", "--start", "middle")
        two, three, all_ = (p["cover"] for p in report["plies"][:3])
        self.assertEqual([len(two["pieces"]), len(three["pieces"]), report["plies"][3]["cover"]], [2, 3, None])
        self.assertGreater(len(all_["pieces"]), 3)
        for cover, most in ((two, 2), (three, 3)):
            self.assertTrue(0.7 * 0.3 * most < cover["coveredShare"] <= 0.3 * most + 1e-9)
            self.assertTrue(all(p["height"] <= 3 + 1e-9 for p in cover["pieces"]))
            self.assertIn(f"ply {most}: {most} pieces of at most {most} cover {100 * cover['coveredShare']:.4g} % of the mould", done.stderr)
        self.assertGreater(all_["coveredShare"], three["coveredShare"])

    def test_plies_with_darts_are_those_of_the_program(self):
        """In one piece as `--darts` makes it, in pieces as `--cover --darts` does; what a ply says goes before the option."""
        mesh, words = self.file("m.obj", obj(cup(0.3, 20, 6, 3))), ("--step", "0.3")
        single, _ = self.report(mesh, *words, "--start", "middle", "--darts")
        cover, _ = self.report(mesh, *words, "--cover", "0.75", "--darts")
        self.file("ring.xyz", "0.3 0 0.95\n0 0.3 0.95\n-0.3 0 0.95\n0 -0.3 0.95\n")
        plies = [{"name": "whole", "thickness": 0.02, "darts": 0}, {"name": "one", "thickness": 0.03}, {"name": "set", "pieces": 0.75, "darts": 6},
                 {"name": "patch", "region": "ring.xyz"}]
        report, done = self.laminate(mesh, plies, *words, "--start", "middle", "--darts", "--core", "0.1,0.1,1", "--core=-0.73,-0.66,0.1", "-o", "kit.dxf", "-o", "book.pdf", "-o", "l.vtp",
                                     expect=None)
        whole, one, pieces, patch = report["plies"]
        self.assertEqual([p["drape"]["darts"] for p in (whole, patch)], [[], []])
        self.assertEqual((one["drape"]["darts"], one["drape"]["netArea"], one["cover"]), (single["darts"], single["pattern"]["netArea"], None))
        self.assertAlmostEqual(one["drape"]["coveredShare"], single["good"]["share"], 9)
        [piece], [wanted] = pieces["cover"]["pieces"], cover["cover"]["pieces"]
        self.assertEqual(piece["darts"], wanted["darts"])
        self.assertTrue(single["darts"] and wanted["darts"])
        # The pieces lie side by side in the kit, in the order of the plies.
        entities = dxf_entities((self.folder / "kit.dxf").read_text())
        seeds = [e["points"][0] for e in entities if e["layer"] == "SEED"]
        sides = [e["points"] for e in entities if e["layer"] == "DART"]
        told = [(seed, dart) for seed, darts in ((seeds[1], single["darts"]), (seeds[2], wanted["darts"])) for dart in darts]
        for (seed, dart), line in zip(told, sides, strict=True):
            for end, place in zip((line[0], line[-1]), dart["mouthOnPattern"]):
                self.assertPoint(end, (seed[0] + place[0], seed[1] + place[1]), 6)
        text = subprocess.run(["pdftotext", "-layout", self.folder / "book.pdf", "-"], capture_output=True, text=True, check=True).stdout
        pages = text.split("\f")
        for page, name, darts in ((2, "one", single["darts"]), (4, "set-1", wanted["darts"])):
            for k, dart in enumerate(darts, 1):
                self.assertIn(f"dart {k}: V of {dart['width']:.1f} mm, {dart['angle']:.1f}°", pages[page])
                self.assertIn(f"dart      of {name}: a V of {dart['width']:.4g} at its mouth, {dart['angle']:.1f} degrees", done.stdout)
        # Where it isn't good, a ply with darts is bare; its elements have the fibres of its grid.
        rows = self.rows()
        share = sum(r["ply"] == "one" for r in rows) / sum(r["ply"] == "whole" for r in rows)
        self.assertAlmostEqual(share, single["good"]["share"], delta=0.05)
        named = [[(layer["name"], layer["piece"]) for layer in core["layers"]] for core in report["cores"]]
        self.assertEqual(named, [[("whole", None), ("one", None), ("set", 1), ("patch", None)], [("whole", None), ("set", 1)]])
        for core in report["cores"]:
            self.assertEqual([r["ply"] for r in rows if r["element"] == str(core["element"])], [layer["name"] for layer in core["layers"]])
        for where, ply in (("line 2, column 2 (darts): \"7\"", "a,7,"), ("line 2, column 2 (darts): \"1.5\"", "a,1.5,"), ("line 2, column 3 (region)", "a,1,ring.xyz")):
            done = self.drape(mesh, "--layup", self.file("bad.csv", f"name,darts,region\n{ply}\n"), "-o", "x.json", expect=INPUT)
            self.assertIn(where, done.stderr)

    def test_each_piece_goes_where_it_lies(self):
        mould = cup(0.6, 32, 12, 12)
        mesh = self.file("m.obj", obj(([tuple(100 * x for x in p) for p in mould[0]], mould[1])))
        plies = [stiff("low", 30, 0.5, density=1500, pieces="0.97", locking=30), stiff("top", 0, 0.5, cloth="another one whose name is longer than its column of the table", density=1500)]
        place = (70, 0, 70)
        report, done = self.laminate(mesh, plies, "--step", 16, "--overlap", 6, "--core", ",".join(map(str, place)), "-o", "book.pdf", "-o", "kit.dxf", "-o", "l.vtp",
                                     "-o", "l.inp", "-o", "c.core.csv", expect=None)
        low, top = report["plies"]
        self.assertIsNone(low["drape"])
        self.assertIsNone(top["cover"])
        pieces = low["cover"]["pieces"]
        self.assertGreater(len(pieces), 1)
        names = [f"low-{k + 1}" for k in range(len(pieces))]
        self.assertEqual([p["name"] for p in pieces], names)
        self.assertAlmostEqual(sum(p["coveredShare"] for p in pieces), low["cover"]["coveredShare"], 6)
        self.assertLess(max(p["largestShear"] for p in pieces), 30.001)
        self.assertGreater(low["cover"]["overlapShare"], 0.02)
        self.assertAlmostEqual(report["mass"], 1500e-6 * 0.5 * (sum(p["netArea"] for p in pieces) + top["drape"]["netArea"]), 6)
        # Each element's fibres are those of its own piece: of a cell of that piece's grid close by.
        grids = PolyData(self.folder / "l.vtp")
        cells = {}
        for face, piece, warp in zip(grids.faces(), grids.cell_data["piece"], grids.cell_data["warp"]):
            cells.setdefault(piece, []).append(([sum(grids.points[v][k] for v in face) / 4 for k in range(3)], warp))
        self.assertEqual(len(cells), len(pieces) + 1)
        corners = mould[1]
        rows = self.rows()
        of_low = [r for r in rows if r["ply"] == "low"]
        self.assertEqual({r["piece"] for r in rows if r["ply"] == "top"}, {"1"})
        counts = {}
        for row in of_low:
            counts[int(row["piece"])] = counts.get(int(row["piece"]), 0) + 1
            middle = [100 * sum(mould[0][v][k] for v in corners[int(row["element"]) - 1]) / len(corners[int(row["element"]) - 1]) for k in range(3)]
            centre, warp = min(cells[int(row["piece"])], key=lambda c: math.dist(c[0], middle))
            self.assertLess(math.dist(centre, middle), 30)
            self.assertGreater(dot(warp, [float(row[f"warp_{x}"]) for x in "xyz"]), 0.8)
            self.assertLessEqual(abs(float(row["shear_deg"])), 30.001)
        self.assertEqual(counts, {k + 1: p["elements"] for k, p in enumerate(pieces)})
        self.assertAlmostEqual(len(of_low) / len(mould[1]), low["cover"]["coveredShare"], delta=0.03)
        # The core sample names the piece that its element has.
        with open(self.folder / "c.core.csv", newline="") as table:
            core = list(csv.DictReader(table))
        own = {r["ply"]: r for r in rows if r["element"] == core[0]["element"]}
        self.assertEqual([(c["ply"], c["piece"]) for c in core], [(k, own[k]["piece"]) for k in ("low", "top") if k in own])
        self.assertIn(f"1 low-{own['low']['piece']}, ud at ", done.stdout)
        # Book and kit.
        text = subprocess.run(["pdftotext", "-layout", self.folder / "book.pdf", "-"], capture_output=True, text=True, check=True).stdout
        pages = [" ".join(p.split()) for p in text.split("\f")]
        heads = ["1 low"] + [f"1.{k + 1} {n}" for k, n in enumerate(names)] + ["2 top", "Core samples"]
        self.assertEqual([p[:len(h)] for p, h in zip(pages[1:], heads)], heads)
        shares = [f"{100 * low['cover'][k]:.1f} %" for k in ("coveredShare", "overlapShare")]
        self.assertIn(f"{len(names)} pieces cover {shares[0]} of the mould, {shares[1]} under more than one", pages[1])
        # A long name is set smaller, so that it ends before the numbers beside it begin.
        box = subprocess.run(["pdftotext", "-bbox", "-l", "1", self.folder / "book.pdf", "-"], capture_output=True, text=True, check=True).stdout
        words = [(float(x) * 25.4 / 72, float(y) * 25.4 / 72, word) for x, y, word in re.findall(r'xMax="([\d.]+)" yMax="([\d.]+)">([^<]*)<', box)]
        (end, line), = [(x, y) for x, y, word in words if word == "table"]
        self.assertTrue(90 < end < 118 - 10, end)
        self.assertGreater(len([x for x, y, _ in words if x > end and abs(y - line) < 2]), 4)
        kit = (self.folder / "kit.dxf").read_text()
        for name in [*names, "top"]:
            self.assertIn(f"Ply {name}\n", kit)
        # Each seam lies on two pieces, there as long as in space but for shear: at 30 degrees a line along a cell's
        # diagonal is longer by a factor of sqrt(1 + sin 30) or shorter by sqrt(1 - sin 30).
        self.assertFalse(any(e["closed"] for e in dxf_entities(kit) if e["layer"] == "SEAM"))
        seams = [e["points"] for e in dxf_entities(kit) if e["layer"] == "SEAM"]
        length = sum(math.dist(p, q) for seam in seams for p, q in zip(seam, seam[1:]))
        self.assertTrue(math.sqrt(0.5) < 2 * low["cover"]["seamLength"] / length < math.sqrt(1.5))
        self.assertGreater(min(map(len, seams)), 1)


def navier(layers, width, height, pressure):
    """Deflection at the middle of a simply supported plate of cross-ply layers (angle, thickness) by series."""
    e1, e2, nu, g = (STIFF[k] for k in ("E1", "E2", "nu12", "G12"))
    q = 1 - nu * nu * e2 / e1
    z = [sum(t for _, t in layers[:k]) - sum(t for _, t in layers) / 2 for k in range(len(layers) + 1)]
    d11 = d22 = d12 = d66 = 0.0
    for k, (angle, _) in enumerate(layers):
        cube = (z[k + 1] ** 3 - z[k] ** 3) / 3
        along, across = (e1 / q, e2 / q) if angle == 0 else (e2 / q, e1 / q)
        d11, d22, d12, d66 = d11 + along * cube, d22 + across * cube, d12 + nu * e2 / q * cube, d66 + g * cube
    total = 0.0
    for m in range(1, 40, 2):
        for n in range(1, 40, 2):
            stiff_mn = d11 * (m / width) ** 4 + 2 * (d12 + 2 * d66) * (m * n / width / height) ** 2 + d22 * (n / height) ** 4
            total += 16 * pressure / (math.pi ** 6 * m * n * stiff_mn) * math.sin(m * math.pi / 2) * math.sin(n * math.pi / 2)
    return total


@unittest.skipUnless(shutil.which("ccx"), "the solver isn't installed")
class InTheSolver(Laminates):
    def test_a_flat_plate_bends_as_the_theory_of_laminates_says(self):
        width, height, pressure, columns, rows = 200.0, 120.0, 1e-4, 10, 6
        mesh = self.file("m.inp", quads(columns, rows, width, height))
        middle = node(columns // 2 + (columns + 1) * (rows // 2))
        supports = f"RIM, 3, 3\n{node(0)}, 1, 2\n{node(columns)}, 2, 2\n"
        found = []
        for angles in ((0, 0, 0, 0), (90, 90, 90, 90), (0, 90, 90, 0), (90, 0, 0, 90)):
            self.laminate(mesh, [stiff(f"p{k}", a) for k, a in enumerate(angles)], "--start", "middle", "-o", "l.inp")
            deflection = self.deflections("l.inp", supports, pressure)[middle]
            wanted = navier([(a, 0.2) for a in angles], width, height, pressure)
            self.assertAlmostEqual(deflection / wanted, 1.0, delta=0.02)
            found.append(deflection)
        self.assertGreater(max(found) / min(found), 3.0)

    def test_tension_finds_the_fibre_of_every_element(self):
        """A plate of jagged triangles and quads, with and without nodes in the middle of sides, half of them turned
        over, numbered with gaps: pulled along x it must stretch as the membrane stiffness of its layup says."""
        width, height, pull, dice = 200.0, 120.0, 10.0, random.Random(5)
        for second, angles in ((False, [30]), (False, [0, 45, -45, 90, 20, -70, 10, 33]), (True, [25, 25, -50, 25, 25])):
            nx, ny, places, numbers, elements = 6, 4, {}, {}, []
            inner = lambda i, j: 0 < i < nx and 0 < j < ny
            place = {(i, j): tuple(s * (k / n - 0.5) + (dice.uniform(-0.2, 0.2) * s / n if inner(i, j) else 0) for s, k, n in ((width, i, nx), (height, j, ny)))
                     for i in range(nx + 1) for j in range(ny + 1)}
            def number_of(p):
                if p not in numbers:
                    numbers[p] = 11 + 7 * len(numbers)
                    places[numbers[p]] = p
                return numbers[p]
            for i in range(nx):
                for j in range(ny):
                    a, b, c, d = (place[x] for x in ((i, j), (i + 1, j), (i + 1, j + 1), (i, j + 1)))
                    for corners in ([a, b, c], [a, c, d]) if (i + j) % 2 else ([a, b, c, d],):
                        corners = corners[::-1] if dice.random() < 0.5 else corners
                        first = dice.randrange(len(corners))
                        corners = corners[first:] + corners[:first]
                        middles = [tuple((x + y) / 2 for x, y in zip(p, q)) for p, q in zip(corners, corners[1:] + corners[:1])]
                        elements.append((5 + 13 * len(elements), f"S{len(corners) * (2 if second else 1)}", [number_of(p) for p in corners + (middles if second else [])]))
            text = "*NODE\n" + "".join(f"{k}, {x!r}, {y!r}, 0.\n" for k, (x, y) in places.items())
            for kind in sorted({e[1] for e in elements}):
                text += f"*ELEMENT, TYPE={kind}\n" + "".join(f"{k}, " + ", ".join(map(str, nodes)) + "\n" for k, t, nodes in elements if t == kind)
            self.laminate(self.file("m.inp", text), [stiff(f"p{k}", a) for k, a in enumerate(angles)], "--side", "0,0,1", "--start", "middle", "--step", "9", "-o", "l.inp")
            nodes, deck, _ = self.read_deck("l.inp")
            self.assertEqual({k: v[:len(n)] for k, v in deck.items() for n in [dict((e[0], e[2]) for e in elements)[k]]}, {e[0]: e[2] for e in elements})
            corner = lambda sx, sy: next(k for k, p in nodes.items() if abs(p[0] - sx * width / 2) + abs(p[1] - sy * height / 2) < 1e-6)
            origin, along, across = corner(-1, -1), corner(1, -1), corner(-1, 1)
            moved = self.solved("l.inp", f"DRAPE_NODES, 3, 3\n{origin}, 1, 2\n{along}, 2, 2\n", "*CLOAD\n" + "".join(f"{k}, 1, {f!r}\n" for k, f in pulled(nodes, deck, width, pull).items()))
            wanted = solve([row[:3] for row in stiffness([(a, 0.2, STIFF) for a in angles], 0.0)[:3]], [pull, 0, 0])
            for got, strain in zip((moved[along][0] / width, moved[across][1] / height, moved[across][0] / height), wanted):
                self.assertAlmostEqual(got, strain, delta=0.02 * max(map(abs, wanted)))

    def test_a_draped_double_dome_under_pressure(self):
        found = {}
        columns, rows = 16, 8
        points = [(400 * x, 240 * y, 25 * (2 * math.cos(math.pi * x) + 1 - math.cos(4 * math.pi * x)) * math.cos(math.pi * y))
                  for y in (j / rows - 0.5 for j in range(rows + 1)) for x in (i / columns - 0.5 for i in range(columns + 1))]
        corners = [j * (columns + 1) + i for j in range(rows) for i in range(columns)]
        mesh = self.file("m.obj", obj((points, [(a, a + 1, a + columns + 2, a + columns + 1) for a in corners])))
        for angle in (0, 90):
            self.laminate(mesh, [stiff("a", angle, 0.5), stiff("b", angle, 0.5)], "--start", "middle", "-o", "l.inp")
            rim = {}
            nodes = False
            for line in (self.folder / "l.inp").read_text().splitlines():
                nodes = line.startswith("*NODE") if line.startswith("*") else nodes
                if nodes and not line.startswith("*"):
                    number, x, y, _ = line.split(",")
                    rim[int(number)] = abs(float(x)) > 199.9 or abs(float(y)) > 119.9
            supports = "".join(f"{k}, 1, 6\n" for k, held in rim.items() if held)
            found[angle] = max(abs(u) for u in self.deflections("l.inp", supports, -0.01).values())
        # Fibres across the short span carry more.
        self.assertGreater(found[0], 1.15 * found[90])
        self.assertLess(found[0], 3.0 * found[90])

    def test_thickness_that_varies_makes_nothing_stiffer(self):
        """CalculiX ties the faces of elements of unlike thickness in knots, all over a part of sheared cloth."""
        width, height, pressure, columns, rows = 200.0, 120.0, 1e-4, 10, 6
        self.laminate(self.file("m.inp", quads(columns, rows, width, height)), [stiff(f"p{k}", a) for k, a in enumerate((0, 90, 90, 0))], "--start", "middle",
                      "-o", "l.inp")
        head, section = (self.folder / "l.inp").read_text().split("*ELSET, ELSET=DRAPE_S1\n")
        layers = [line.split(",", 1) for line in section[section.index("*SHELL"):].splitlines()[1:]]
        text = head
        for k in range(columns * rows):
            factor = 1 + 1e-6 * (k % 7)
            text += f"*ELSET, ELSET=E{k}\n{element(k)},{element(k)},\n*SHELL SECTION, COMPOSITE, ELSET=E{k}\n"
            text += "".join(f"{float(thickness) * factor!r},{rest}\n" for thickness, rest in layers)
        self.file("varied.inp", text)
        middle = node(columns // 2 + (columns + 1) * (rows // 2))
        supports = f"RIM, 3, 3\n{node(0)}, 1, 2\n{node(columns)}, 2, 2\n"
        plain, varied = (self.deflections(deck, supports, pressure)[middle] for deck in ("l.inp", "varied.inp"))
        self.assertAlmostEqual(varied / plain, 1.0, 4)
        self.assertAlmostEqual(plain / navier([(a, 0.2) for a in (0, 90, 90, 0)], width, height, pressure), 1.0, delta=0.02)

    def test_quads_and_triangles_of_sheared_cloth_bend_alike(self):
        """A saddle on which each element has a thickness of its own, with and without nodes in the middle of sides."""
        found = {}
        for kind in ("S4", "S8", "S3", "S6"):
            deck, elements = saddle(kind, 10, 1.0)
            self.laminate(self.file("m.inp", deck), [stiff(f"p{k}", a) for k, a in enumerate((0, 45, -45, 90) * 2)], "--side", "0,0,1", "--start", "middle", "-o", "l.inp")
            factors = {row["thickness_factor"] for row in self.rows() if row["ply"] == "p0"}
            self.assertGreater(len(factors), elements // 2)
            found[kind] = max(abs(u) for u in self.deflections("l.inp", "DRAPE_RIM, 1, 6\n", -0.01).values())
        for kind, deflection in found.items():
            self.assertAlmostEqual(deflection / found["S8"], 1.0, delta=0.04, msg=kind)

    def test_the_other_dialect_of_elements_that_both_know(self):
        """CalculiX reads the deck for Abaqus where its elements are S8R, and finds the same."""
        plies = [stiff("a", 0), stiff("b", 30, 0.3, cloth="other"), stiff("c", -60)]
        self.laminate(self.file("m.inp", saddle("S8", 4, 0.0)[0]), plies, "--side", "0,0,1", "--start", "middle", "-o", "l.inp", "-o", "l.abaqus.inp")
        one, other = (self.solved(deck, "DRAPE_RIM, 1, 6\n", "*DLOAD\nDRAPE_ELEMENTS, P, -0.01\n") for deck in ("l.inp", "l.abaqus.inp"))
        self.assertEqual(one, other)
        # What each calls triangles with nodes in the middle of sides.
        self.laminate(self.file("m.inp", saddle("S6", 4, 0.0)[0]), plies, "--side", "0,0,1", "--start", "middle", "-o", "l.inp", "-o", "l.abaqus.inp")
        kinds = [set(re.findall(r"ELEMENT, TYPE=([^,\n]*)", (self.folder / deck).read_text())) for deck in ("l.inp", "l.abaqus.inp")]
        self.assertEqual(kinds, [{"S6"}, {"STRI65"}])
        self.assertGreater(max(abs(u[2]) for u in one.values()), 1e-6)


if __name__ == "__main__":
    unittest.main()
