"""What the options do and what the program says of it: units, default choices, notes and warnings with their numbers,
limits, and the forms in which curves come.
"""

import math
import re
import unittest

import model
from moulds import cup, obj, plate, uneven_sheet
from program import INPUT, RUN_ENDED, USAGE, Case
from readers import PolyData


class Defaults(Case):
    def test_units_change_no_digit(self):
        points, faces = uneven_sheet()
        grids, texts, areas = [], [], []
        for power in (-17, 0, 11):
            scale = 2.0 ** power
            mesh = self.file("m.obj", obj(([tuple(scale * x for x in p) for p in points], faces)))
            report, done = self.report(mesh, "--step", f"{1.1 * scale!r},{0.8 * scale!r}", "--seed",
                                       ",".join(repr(scale * x) for x in (38.0, -2.6, 14.0)), "-o", "g.vtp")
            grid = PolyData(self.folder / "g.vtp")
            grids.append([[x / scale for p in values for x in p] for values in (grid.points, grid.point_data["flat"])])
            area = report["pattern"]["netArea"]
            areas.append(area / scale ** 2)
            shown = f"{area:.4g}"
            if "e" in shown and 1 <= area < 1e9:
                shown = f"{float(shown):.0f}"
            self.assertIn(f"pattern   net area {shown}, ", done.stdout)
        self.assertEqual(areas[0], areas[1])
        self.assertEqual(areas[2], areas[1])
        self.assertEqual(grids[0], grids[1])
        self.assertEqual(grids[2], grids[1])

    def test_step_and_seed(self):
        for size in (0.37, 1.0, 23.7):
            report, _ = self.report(self.file("m.obj", obj(plate(30, size / 30))))
            self.assertAlmostEqual(report["choice"]["step"][0], float(f"{size / 40:.1e}"), 12)
            self.assertEqual(*report["choice"]["step"])
        report, _ = self.report("m.obj", "--step", "3")
        self.assertEqual(report["choice"]["step"], [3, 3])
        # The middle of an L lies in its inner corner, so the seed goes to the nearest place with three cells of room.
        points, faces = plate(24)
        points = [(x, y, 0.0) for x, y, _ in points]
        bent = [f for f in faces if not all(points[v][0] >= 7 and points[v][1] >= 7 for v in f)]
        mould = model.Mould(points, bent)
        report, done = self.report(self.file("m.obj", obj((points, bent))), "--start", "middle")
        seed = report["choice"]["seed"]
        self.assertIn("the seed was moved inward to (" + ", ".join(f"{x:.5g}" for x in seed) + ")", done.stderr)
        rim = [points[v] for v in mould.loops()[0][1]]
        room = lambda p: min(math.dist(p, q) for q in rim)
        wanted = 3 * math.sqrt(mould.area) / 40
        middle = mould.centroid()
        self.assertGreater(room(seed), 0.8 * wanted)
        for corners in mould.corners:
            if room(model.middle(*corners)) > 1.4 * wanted:
                self.assertLessEqual(math.dist(seed, middle), math.dist(model.middle(*corners), middle) + 1e-9)
        self.assertIn(model.middle(*mould.corners[mould.nearest(seed)[1]]), [[*seed]])

    def test_room_for_nodes_grows_with_need(self):
        mesh = self.file("cup.obj", obj(cup(1.0, 16, 6, 6)))
        report, _ = self.report(mesh, "--seed", "0.9,0.2,-0.4", "--step", "0.2", expect=None)
        area, (loop,) = report["mould"]["area"], report["mould"]["loops"]
        layers = lambda n: n * area / 0.04 + 8 * loop["length"] / 0.2 + 1000
        self.assertGreater(report["result"]["nodes"], int(layers(2)))
        self.assertEqual(report["choice"]["nodeCapacity"], min(4 * int(layers(2)), int(layers(6))))
        report, _ = self.report(mesh, "--seed", "0.9,0.2,-0.4", "--step", "0.2", "--max-nodes", "2500", expect=None)
        self.assertEqual(report["choice"]["nodeCapacity"], 2500)
        self.assertEqual((report["result"]["status"], report["result"]["nodes"]), (23, 2500))


class Words(Case):
    def say(self, mesh, *words, expect=None):
        return self.drape(self.file("m.obj", obj(mesh)), *words, expect=expect).stderr

    def test_moved_seed(self):
        for off, told in ((0.0018, False), (0.0022, True)):
            said = self.say(plate(), "--step", "2", "--seed", f"3.1,3.2,{off}")
            self.assertEqual(f"the seed (3.1, 3.2, {off}) was moved by {off} onto the surface, to (3.1, 3.2, 0)" in said, told)
        said = self.say(plate(), "--step", "1,2", "--seed", "3.1,3.2,-0.0015")
        self.assertIn("was moved by 0.0015 onto", said)

    def test_slender_cells(self):
        for step, told in (("1,1.61", "1.61 to 1"), ("1.61,1", "1.61 to 1"), ("1,1.6", None), ("1.6,1", None)):
            said = self.say(plate(12), "--step", step)
            self.assertEqual("slender" in said, told is not None, step)
            self.assertIn(told or "", said)

    def test_cells_too_large_for_the_bends(self):
        points, faces = plate(60)
        waves = [(x, y, 2.0 * math.sin(0.4 * x)) for x, y, _ in points]
        path = self.file("m.obj", obj((waves, faces)))
        for step, told in (("0.5", False), ("3", True)):
            report, done = self.report(path, "--seed", "29.1,30.2,-2", "--angle", "20", "--step", step)
            net, asked = report["pattern"]["netArea"], report["pattern"]["areaByShear"]
            self.assertAlmostEqual(asked / report["mould"]["area"], 1.0, 3)  # it can be rolled flat
            self.assertEqual(1.0 - net / asked > 0.01, told)
            self.assertEqual(f"the net area is {100 * (1 - net / asked):.2g} % less" in done.stderr, told, done.stderr)
            self.assertEqual("--step 1.5" in done.stderr, told)

    def test_where_the_net_area_is_off(self):
        """Short of the mould's where cells cut across a ridge; folds beside a pyramid's tip count in each layer."""
        points, faces = plate(40)
        ridge = [(x, y, 8 - abs(x - 12)) for x, y, _ in points]
        words = ("--seed", "28.1,20.2,-8", "--angle", "20", "--step", "4")
        report, done = self.report(self.file("m.obj", obj((ridge, faces))), *words)
        told = re.search(r"the net area is ([\d.]+) % less than .* around \((.*?)\): ", done.stderr)
        self.assertIsNotNone(told, done.stderr)
        self.assertLess(abs(float(told[2].split(",")[0]) - 12), 4)
        pattern = report["pattern"]
        self.assertAlmostEqual(float(told[1]) / 100, 1 - pattern["netArea"] / pattern["areaByShear"], delta=0.0006)
        pyramid = [(x, y, max(0.0, 12 - max(abs(x - 20), abs(y - 20)))) for x, y, _ in points]
        report, done = self.report(self.file("p.obj", obj((pyramid, faces))), "--seed", "12.1,12.2,4", "--step", "2.4")
        pattern = report["pattern"]
        self.assertGreater(report["shear"]["largest"], 85.0)
        self.assertAlmostEqual(pattern["netArea"] / pattern["areaByShear"], 1.0, delta=0.01)
        self.assertNotIn("the net area is", done.stderr)

    def test_poor_cover_and_doubled_cloth(self):
        points, faces = plate(20)
        # A neck between two rooms: cloth of this step ends in front of it.
        wall = lambda f, gap: all(9 <= points[v][0] <= 10 for v in f) and not all(gap <= points[v][1] <= gap + 1 for v in f)
        rooms = points, [f for f in faces if not wall(f, 10)]
        hole = points, [f for f in faces if not all(3 <= points[v][0] <= 17 and 3 <= points[v][1] <= 17 for v in f)]
        for mesh, seed, hint in ((rooms, "3,4,0", False), (hole, "2.1,9,0", True)):
            path = self.file("m.obj", obj(mesh))
            report, done = self.report(path, "--step", "1.7", "--seed", seed)
            self.assertLess(report["result"]["coveredShare"], 0.85)
            self.assertIn(f"the cloth covers only {100 * report['result']['coveredShare']:.2g} % of the mould; another seed",
                          done.stderr)
            self.assertEqual("and --fill-holes lets it run on" in done.stderr.split("covers only")[1], hint)
        self.assertNotIn("covers only", self.say(plate(6), "--step", "1"))
        for step, told in (("2.5", False), ("13", True)):
            self.assertEqual(f"no cell of {step} by {step} lies on the mould" in self.say(plate(6), "--step", step), told)
        mesh = cup(1.0, 16, 6, 6)
        said = self.say(mesh, "--seed", "0.9,0.2,-0.4", "--step", "0.2")
        report, _ = self.report("m.obj", "--seed", "0.9,0.2,-0.4", "--step", "0.2", expect=None)
        doubled = report["result"]["doubledShare"]
        self.assertGreater(doubled, 0.05)
        shown = f"{100 * doubled:.2g}"
        shown = f"{float(shown):.0f}" if "e" in shown else shown
        self.assertIn(f"cloth of {shown} % of the mould's area lies over other cloth", said)

    def test_too_many_cells(self):
        said = self.say(plate(6), "--step", "0.002", expect=USAGE)
        self.assertIn("a step of 0.002 makes about 9000000 cells on this surface", said)
        self.assertIn("--max-nodes", said)
        self.say(plate(6), "--step", "0.002", "--max-nodes", "5000", expect=RUN_ENDED)
        said = self.say(plate(6), "--step", "0.002", "--within", "max", expect=USAGE)
        self.assertIn("a step of 0.002 makes about ", said)
        self.assertNotIn("is closed", said)

    def test_what_is_told_on_demand(self):
        mesh = cup(1.0, 16, 6, 6)
        said = self.say(mesh, "-v", "--clip", "0,0,-0.5,0,0,1", "--step", "0.3", "--within", "max", "--seed", "0.9,0.2,-0.2")
        self.assertIn(f"read {len(mesh[0])} vertices and {len(mesh[1])} faces from ", said)
        self.assertIn("clipped to ", said)
        slender = self.drape("m.obj", "--step", "0.3,0.6", "--within", "max", "--seed", "0.9,0.2,-0.2", expect=None).stderr
        self.assertEqual(slender.count("are slender (2 to 1)"), 1, slender)
        tried = [line.removeprefix("drape: within ").split(": ") for line in said.splitlines() if ": within " in line]
        self.assertTrue(tried)
        radii = [float(radius) for radius, _ in tried]
        self.assertTrue(all(out in ("drapes", "lies over itself", "too small for a cell", "shears beyond locking") or
                            out.startswith("ends with code ") for _, out in tried))
        # Each next radius lies halfway between the largest that worked and the smallest that didn't.
        low, high = 0.0, 2 * radii[0]
        for radius, (_, out) in zip(radii, tried):
            self.assertAlmostEqual(radius, (low + high) / 2, delta=2e-3 * radius)
            low, high = (radius, high) if out == "drapes" or (out.startswith("too") and low == 0) else (low, radius)
        self.assertTrue(high - low < 0.25 * 0.3 * 1.01 and 2 * (high - low) > 0.25 * 0.3 * 0.99)
        usual = self.drape("m.obj", "--clip", "0,0,-0.5,0,0,1", "--step", "0.5", expect=None).stderr
        self.assertFalse([word for word in ("clipped to", "the run took", "vertices and") if word in usual])
        quiet = self.drape("m.obj", "-q", "--step", "0.5", expect=None)
        self.assertEqual(quiet.stdout, "")

    def test_limits(self):
        mesh = self.file("m.obj", obj(plate()))
        for words in (("--locking", "0"), ("--locking", "90"), ("--tolerance", "0"), ("--tolerance", "0.1"),
                      ("--seed-vertex", "49"), ("--seed-vertex", "1"), ("--step", " +1.0 , 1e0 "),
                      ("--sweep-seeds", "1", "--sweep-angles", "0", "-j", "4096"), ("--max-nodes", "50000000")):
            with self.subTest(words):
                self.drape(mesh, *(() if "--step" in words else ("--step", "1")), *words, expect=None)
        self.drape(mesh, "--step", "1", "--max-nodes", "4", expect=RUN_ENDED)
        for words in (("--locking", "90.1"), ("--locking", "-0.1"), ("--tolerance", "0.101"), ("--step", "1,3", "--tolerance", "0.101"), ("--max-nodes", "50000001"),
                      ("--jobs", "4097"), ("--jobs", "1.5"), ("--seed-vertex", "1.5"), ("--seed-vertex", "50"), ("--part", "1/2"),
                      ("--sweep", "--part", "1.5/2"), ("--sweep", "--part", "2"), ("--units-mm", "-1"), ("--within", "0"),
                      ("--sweep-seeds", "1001x1000"), ("--sweep-seeds", "2", "--sweep-angles", "0:1000000:1"), ("--sweep-seeds", "0x2"), ("--sweep-seeds", "1,2"),
                      ("--sweep-seeds", "2.5"), ("--sweep-angles", "0:90:0"), ("--sweep-angles", "90:0:5"),
                      ("--sweep-angles", "0:x:5"), ("--sweep-angles", "0,x"), ("--step", "1e151"), ("--clip", "0,0,0,1,0,0,0")):
            with self.subTest(words):
                self.drape(mesh, *(() if "--step" in words else ("--step", "1")), *words, expect=USAGE)
        self.drape(mesh, "--sweep-seeds", "@none.txt", expect=INPUT)
        self.drape(mesh, "--step", "1", "--curve", "none.xyz", expect=INPUT)

    def test_endings(self):
        mesh = self.file("m.obj", obj(plate()))
        self.drape(mesh, "--step", "1", "-o", "A.VTP", "-o", "a.Pattern.PDF", "-o", "b.fibres.CSV", "-o", "c.pattern.svg",
                   "-o", "c.svg")
        self.assertTrue((self.folder / "A.VTP").read_text().startswith("<?xml"))
        self.assertTrue((self.folder / "a.Pattern.PDF").read_bytes().startswith(b"%PDF"))
        self.assertTrue((self.folder / "b.fibres.CSV").read_text().startswith("triangle,"))
        self.assertNotEqual((self.folder / "c.pattern.svg").read_text(), (self.folder / "c.svg").read_text())
        for name in (".vtp", "vtp", "x.curve.svg", "x.sweep.CSV"):
            self.drape(mesh, "--step", "1", "-o", name, expect=USAGE)


class Curves(Case):
    corners = ((1.5, 1.4), (4.4, 1.3), (4.7, 3.8), (3.0, 4.6), (1.2, 4.1))

    def carried(self, text, name="trim.obj", *words, expect=0):
        mesh = self.file("plate.obj", obj(plate()))
        done = self.drape(mesh, "--seed", "3.1,3.2,0", "--step", "1.2,0.9", "--curve", self.file(name, text), "-o",
                          "out.curve.csv", *words, expect=expect)
        self.said = done.stderr
        return [tuple(map(float, line.split(",")[3:])) for line in (self.folder / "out.curve.csv").read_text().splitlines()[1:]]

    def assertRing(self, rows, order):
        wanted = [(*self.corners[k], 0, self.corners[k][0] - 3.1, self.corners[k][1] - 3.2) for k in order]
        self.assertEqual(len(rows), len(wanted))
        for got, want in zip(rows, wanted):
            self.assertPoint(got, want, 6)

    def test_forms(self):
        v = "".join(f"v {x} {y} 0\n" for x, y in self.corners)
        for text, order in ((v + "l 1 2 3 4 5 1\n", (0, 1, 2, 3, 4)), (v + "l 3/7 4/1\nl 5/2 -5\nl 1 2\nl -4 3\nl 4 5\n", (0, 4, 3, 2, 1)),
                            (v + "l 4 5\nl 3 4\nl 5 1\n", (0, 4, 3, 2)), (v + "l 2 3\nl 4 3\n", (1, 2, 3)), (v, (0, 1, 2, 3, 4))):
            with self.subTest(text[-40:]):
                self.assertRing(self.carried("o trim # a name\n" + text), order)
        rows = "".join(f"{x} ; {y},0 # place\n" for x, y in self.corners)
        self.assertRing(self.carried("x y z\n\n" + rows, "trim.csv"), range(5))
        rows = "".join(f"{x + 0.2} {y - 0.3} 1 0.2 -0.3 1\n" for x, y in self.corners)
        got = self.carried(rows, "trim.xyz")
        for (*_, u, w), (x, y) in zip(got, self.corners):
            self.assertPoint((u, w), (x - 3.1, y - 3.2), 6)

    def test_each_stretch_has_its_number(self):
        there = self.file("back.xyz", "2 -3 0\n2 2 0\n2 8 0\n4.3 8 0\n4.3 1.5 0\n4.3 -3 0\n")
        self.carried("1 1 0\n5 1.2 0\n", "straight.xyz", "--curve", there, "--curve-clip")
        rows = [line.split(",") for line in (self.folder / "out.curve.csv").read_text().splitlines()[1:]]
        ends = [row for k, row in enumerate(rows) if k == 0 or row[:2] != rows[k - 1][:2]]
        self.assertEqual([row[:2] for row in ends], [["1", "1"], ["2", "1"], ["2", "2"]])
        self.assertTrue(all((float(row[3]) > 3) == (row[1] == "2") for row in rows if row[0] == "2"))

    def test_points_off_the_surface(self):
        for height, told in ((1.19, None), (1.21, "3 points of the curve trim lie more than a cell off the draped surface")):
            text = "".join(f"{x} {y} {height if k % 2 == 0 else 0.1}\n" for k, (x, y) in enumerate(self.corners))
            self.carried(text, "trim.xyz")
            self.assertEqual("more than a cell off" in self.said, told is not None)
            self.assertIn(told or "", self.said)

    def test_a_patch_ends_where_it_was_cut(self):
        """Less than a cell beside a patch there is mould, but no cloth."""
        mesh = self.file("plate.obj", obj(plate(20)))
        words = ("--step", "2", "--seed", "10.1,10.2,0", "--within", "5")
        for x, expect in ((14.9, 0), (15.4, INPUT)):
            ring = self.file("ring.xyz", f"8 8 0\n{x} 10.2 0\n8 12 0\n")
            done = self.drape(mesh, *words, "--curve", ring, expect=expect)
            self.assertEqual("the curve ring leaves the cloth at point 2" in done.stderr, expect != 0, done.stderr)

    def test_a_way_across_a_notch(self):
        points, faces = plate(20)
        mesh = self.file("m.obj", obj((points, [f for f in faces if not all(8 <= points[v][0] <= 11 for v in f)
                                                or any(points[v][1] > 9 for v in f)])))
        ring = self.file("ring.xyz", "3 7.5 0\n16 7.5 0\n16 12 0\n3 12 0\n")
        words = ("--step", "1.3", "--seed", "9.1,14.2,0", "--curve", ring)
        for clip in ((), ("--curve-clip",)):
            report, done = self.report(mesh, *words, *clip)
            told = "the curve ring leaves the cloth and comes back between its points 1 and 2"
            self.assertEqual(told in done.stderr, not clip, done.stderr)
            (curve,) = report["curves"]
            self.assertEqual((curve["closed"], curve["stretches"]), (not clip, 1))
            self.assertAlmostEqual(curve["lengthOnPattern"], 35.0 - (3.0 if clip else 0.0), delta=0.14)  # cloth a twentieth of a cell beside

    def test_refusals_name_the_line(self):
        mesh = self.file("plate.obj", obj(plate()))
        for text, told in (("1 2 3\n\n4 5\n", "line 3 isn't three finite numbers"), ("1 2 3 0 0 1\n4 5 6\n", "some have none"),
                           ("1 2 3 0 0 1\n4 5 6 0 0 x\n", "line 2 isn't"), ("v 0 0 0\nv 1 0 0\nl 1 3\n", "line 3 names a vertex"),
                           ("v 0 0 0\nl 1 0\n", "line 2 names"), ("v 0 0 0\nl 1 -2\n", "line 2 names"),
                           ("v 0 0 0\nv 1 0 0\nv 2 0 0\nv 3 0 0\nl 1 2\nl 1 3\nl 1 4\n", "branch at vertex 1"),
                           ("\n# nothing\n", "it holds no points"), ("1 2 0\n1 2 0\n", "it holds one point"),
                           ("v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nl 1 2\nl 3 4\n", "more than one curve")):
            done = self.drape(mesh, "--curve", self.file("c.obj", text), expect=INPUT)
            self.assertIn(told, done.stderr)


if __name__ == "__main__":
    unittest.main()
