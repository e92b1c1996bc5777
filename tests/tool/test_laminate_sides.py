"""Plies on both sides of a mould, on elements whose normals point either way: their order, heights and angles in decks,
tables and core samples against a plate worked out by hand, and the solver against classical laminate theory."""

import csv
import math
import shutil
import unittest

from bulk_deck import real
from laminates import STIFF, Laminates, pulled, quads, solve, stiff, stiffness
from model import cross, dot, sub, unit
from moulds import cup, obj
from program import OTHER
from readers import Svg, UnstructuredGrid

WOVEN = {"E1": 60e3, "E2": 50e3, "nu12": 0.06, "G12": 4e3}
UNDER = "0 0.1 -2"
# Two plies on the plate, two below it. Seen from above, what lies below at 30 degrees lies at -30.
PLIES = [stiff("a", 0, 0.3), stiff("u", 15, 0.4, cloth="woven", side=UNDER, **WOVEN), stiff("b", 45, 0.2), stiff("v", 30, 0.25, side=UNDER)]
UPWARD = [("v", -30, 0.25, STIFF), ("u", -15, 0.4, WOVEN), ("a", 0, 0.3, STIFF), ("b", 45, 0.2, STIFF)]
BELOW = 0.65
WHOLE = sum(t for _, _, t, _ in UPWARD)


def mixed_plate(columns, rows, width, height):
    """The plate of quads, every other one turned over and begun at another corner."""
    head, rest = quads(columns, rows, width, height).split("ELSET=SKIN\n")
    body, tail = rest.split("*NSET")
    lines = []
    for k, line in enumerate(body.splitlines()):
        number, *corners = line.split(", ")
        corners = corners[k % 4:] + corners[:k % 4]
        lines.append(", ".join([number, *(corners[::-1] if k % 2 else corners)]) + "\n")
    return head + "ELSET=SKIN\n" + "".join(lines) + "*NSET" + tail


class Sides(Laminates):
    def assertStiffness(self, got, bottom):
        wanted = stiffness([(angle, t, e) for _, angle, t, e in UPWARD], bottom)
        for block in ((0, 0), (0, 3), (3, 3)):
            values = [(got[block[0] + i][block[1] + j], wanted[block[0] + i][block[1] + j]) for i in range(3) for j in range(3)]
            largest = max(abs(w) for _, w in values)
            for a, b in values:
                self.assertLess(abs(a - b), 1e-4 * largest)

    def sense(self, p):
        """1 where an element's normal points upward, -1 where it points down."""
        return 1 if cross(sub(p[1], p[0]), sub(p[2], p[0]))[2] > 0 else -1

    def on_element(self, p, layers, bottom):
        """The stiffness about the nodes' plane seen from above, of layers (direction, thickness, constants) that the
        element has from its bottom to its top."""
        up = self.sense(p) > 0
        upward = [(math.degrees(math.atan2(along[1], along[0])), t, e) for along, t, e in layers][::1 if up else -1]
        return stiffness(upward, bottom if up else -bottom - sum(t for _, t, _ in upward))

    def test_decks_hold_the_stiffness_of_both_sides(self):
        for reference, bottom in (("middle", -WHOLE / 2), ("mould", -BELOW)):
            report, _ = self.laminate(self.file("m.inp", mixed_plate(6, 4, 60, 40)), PLIES, "--side", "0,0,1", "--start", "middle", "--step", "3",
                                      "--shell-reference", reference, "-o", "l.inp", "-o", "l.abaqus.inp", "-o", "l.bdf")
            self.assertEqual([p["drape"]["side"][-2:] == "+z" for p in report["plies"]], [True, False, True, False])
            constants = {"UD": STIFF, "WOVEN": WOVEN}
            for name in ("l.inp", "l.abaqus.inp"):
                points, corners, layers = self.read_deck(name)
                self.assertEqual(len(corners), 24)
                for k, own in layers.items():
                    low = -(self.offsets[k] + 0.5) * sum(layer[0] for layer in own)
                    self.assertStiffness(self.on_element([points[c] for c in corners[k]], [(along, t, constants[m]) for t, m, along, _ in own], low), bottom)
            theta, stacks = self.read_bdf("l.bdf")
            materials = {k: STIFF if values[1] == STIFF["E1"] else WOVEN for k, values in self.bulk("l.bdf")["MAT8"].items()}
            for k, (section, angle) in theta.items():
                p = [points[c] for c in corners[k]]
                side = unit(sub(p[1], p[0]))
                across = cross((0, 0, self.sense(p)), side)
                turned = lambda a: [math.cos(math.radians(a)) * x + math.sin(math.radians(a)) * y for x, y in zip(side, across)]
                own = [(turned(angle + turn), t, materials[m]) for m, t, turn in stacks[section]]
                self.assertStiffness(self.on_element(p, own, self.bottoms[section]), bottom)

    def test_tables_of_draping_hold_both_sides(self):
        """The plies that a stack names, from its lowest up, at the angle and as thick as tables and rosette make them."""
        words = ("--side", "0,0,1", "--start", "middle", "--step", "3", "--rosette", "1,0.2,0")
        self.laminate(self.file("m.inp", mixed_plate(6, 4, 60, 40)), PLIES, *words, "-o", "l.drape.fem", "-o", "l.drape.rad", "-o", "l.abaqus.inp")
        points, corners, layers = self.read_deck("l.abaqus.inp")
        cards = self.bulk("l.drape.fem")
        rows = {(r["ply"], int(r["element"])): r for r in self.rows()}
        for k, (_, _, property_, *rest) in cards["element"].items():
            p = [points[c] for c in corners[k]]
            up = self.sense(p)
            self.assertEqual(property_, 1 if up > 0 else 2)
            axis = math.atan2(p[1][1] - p[0][1], p[1][0] - p[0][0]) + up * math.radians(rest[-1])
            self.assertAlmostEqual(math.tan(axis), 0.2, 4)  # along the rosette
            plies = [cards["PLY"][n] for n in cards["STACK"][property_][2:]]
            for (name, wanted, thickness, _), ply in zip(UPWARD if up > 0 else UPWARD[::-1], plies, strict=True):
                table = cards["DRAPE"][ply[6]]
                at = next(a for a in range(8, len(table), 8) if table[a + 1] == k)
                angle = math.degrees(math.atan(0.2)) + wanted
                got = math.degrees(axis) + up * (ply[3] + table[at + 3])
                self.assertAlmostEqual((got - angle + 90) % 180 - 90, 0, 2)
                self.assertAlmostEqual(ply[2] * table[at + 2], thickness, 6)
                self.assertEqual(rows[name, k]["side"], str(up if name in "ab" else -up))
        angles, ply = {name: p["angle"] for name, p in zip("aubv", PLIES)}, 0
        for line in (self.folder / "l.drape.rad").read_text().splitlines():
            ply = int(line.split("/")[2]) if line.startswith("/DRAPE/") else ply
            if line.startswith("SHELL"):
                name, k = "aubv"[ply - 1], int(line[10:20])
                up = self.sense([points[c] for c in corners[k]])
                wanted = dict((n, a) for n, a, _, _ in UPWARD)[name]
                self.assertAlmostEqual((up * (angles[name] + real(line[40:60])) - wanted + 90) % 180 - 90, 0, 2)
        for words in (("--side", "0,0,1"), ("--side", "0,0,-1")):
            done = self.drape("m.inp", "--layup", "layup.csv", *words, "--shell-reference", "mould", "-o", "x.drape.fem", expect=OTHER)
            self.assertIn("can't have the mesh as their top", done.stderr)

    def test_a_core_sample_goes_from_the_lowest_to_the_highest(self):
        report, done = self.laminate(self.file("m.inp", mixed_plate(6, 4, 60, 40)), PLIES, "--side", "0,0,1", "--start", "middle", "--core", "7,3,2",
                                     "-o", "c.core.csv", "-o", "c.core.svg", "-o", "l.vtu")
        [core] = report["cores"]
        self.assertPoint(core["normal"], (0, 0, 1))
        self.assertAlmostEqual(core["thickness"], WHOLE, 9)
        heights = [-0.65, -0.4, 0.0, 0.3, 0.5]
        self.assertEqual([layer["name"] for layer in core["layers"]], ["v", "u", "a", "b"])
        with open(self.folder / "c.core.csv", newline="") as table:
            rows = list(csv.DictReader(table))
        for (name, angle, thickness, _), layer, row, bottom in zip(UPWARD, core["layers"], rows, heights):
            below = name in "uv"
            for got in ([layer[x] for x in ("bottom", "thickness", "angle")], [float(row[x]) for x in ("bottom", "thickness", "angle_rosette_deg")]):
                self.assertPoint(got, (bottom, thickness, -angle if below else angle), 6)
            self.assertEqual((layer["otherSide"], row["side"], row["ply"]), (below, "-1" if below else "1", name))
            self.assertPoint(layer["warp"], (math.cos(math.radians(angle)), math.sin(math.radians(angle)), 0), 6)
        told = [line.split(",")[0].strip() for line in done.stdout.splitlines()[7:12]]
        self.assertEqual(told, ["3 b", "1 a", "mould", "2 u", "4 v"])
        self.assertIn("ud at 30.0 degrees seen from the other side (laid at 30), shear 0.0, thickness 0.25 from -0.65", done.stdout)
        # Drawn to scale, apart by the mould.
        shapes = Svg(self.folder / "c.core.svg").shapes
        bars = [[f(p[1] for p in s["parts"][0]) for f in (min, max)] for s in shapes if s["fill"] and not s["curved"] and 0.7 < s["fill"][0] < 0.99][:5]
        bars.sort()
        per = (bars[0][1] - bars[0][0]) / 0.2
        mould = bars[2][1] - bars[2][0]
        for (top, bottom), high, low, shift in zip(bars, (0.5, 0.3, 0, 0, -0.4), (0.3, 0, 0, -0.4, -0.65), (0, 0, 0, mould, mould)):
            self.assertAlmostEqual(top, bars[2][0] - per * high + shift, delta=0.01 * per)
            self.assertAlmostEqual(bottom, bars[2][0] - per * low + (shift or (mould if high == 0 else 0)), delta=0.01 * per)
        grid = UnstructuredGrid(self.folder / "l.vtu")
        for k, face in enumerate(grid.faces()):
            p = [grid.points[v] for v in face]
            up = self.sense(p)
            self.assertEqual([grid.cell_data[f"ply{n}_side"][k] for n in (1, 2, 3, 4)], [up, -up, up, -up])

    def test_both_sides_of_a_bowl(self):
        """On a bowl the side of each ply is found from the direction that it names, wherever its elements face."""
        bowl = cup(0.6, 24, 8, 6)
        points, faces = [tuple(100 * x for x in p) for p in bowl[0]], [f[::-1] if k % 3 == 0 else f for k, f in enumerate(bowl[1])]
        plies = [stiff("out", 10, 0.5), stiff("in", 20, 0.25, side="0 0 -1"), stiff("in2", -60, 0.125, side="0 0 -3")]
        self.laminate(self.file("m.obj", obj((points, faces))), plies, "--side", "0,0,1", "--start", "middle", "--step", "9", "-o", "l.abaqus.inp", expect=None)
        places, corners, layers = self.read_deck("l.abaqus.inp")
        rows = {(r["ply"], int(r["element"])): r for r in self.rows()}
        looked = set()
        for k, own in layers.items():
            p = [places[c] for c in corners[k]]
            normal = cross(sub(p[2], p[0]), sub(p[-1], p[1]))
            middle = [sum(q[x] for q in p) / len(p) for x in range(3)]
            up = dot(normal, [a - b for a, b in zip(middle, (0, 0, -40))]) > 0  # away from the inside of the bowl
            names = [n for n in ("in2", "in", "out") if (n, k) in rows]
            got = [min(("in2", "in", "out"), key=lambda n: math.dist(layer[2], [float(rows[n, k][f"warp_{x}"]) for x in "xyz"]) if (n, k) in rows else 9) for layer in own]
            self.assertEqual(got, names if up else names[::-1])
            for n in names:
                self.assertEqual(rows[n, k]["side"], "1" if up == (n == "out") else "-1")
            looked.add((up, len(names)))
        self.assertTrue({(True, 3), (False, 3)} <= looked)


@unittest.skipUnless(shutil.which("ccx"), "the solver isn't installed")
class InTheSolver(Laminates):
    def test_a_plate_that_is_pulled_bends_as_the_theory_says(self):
        """Pulled along x in the middle of the shell, plies that don't mirror each other bend and twist it. Around the
        nodes it reaches as far down and up as the plies there do."""
        width, height, pull = 60.0, 40.0, 1.0
        for mesh, reference, reach in ((mixed_plate(6, 4, width, height), "middle", (-WHOLE / 2, WHOLE / 2)),
                                       (quads(6, 4, width, height), "mould", (-BELOW, WHOLE - BELOW)), (quads(6, 4, width, height, -1), "mould", (-BELOW, WHOLE - BELOW))):
            self.laminate(self.file("m.inp", mesh), PLIES, "--side", "0,0,1", "--start", "middle", "--step", "3", "--shell-reference", reference, "-o", "l.inp")
            nodes, deck, _ = self.read_deck("l.inp")
            at = lambda x, y: next(k for k, p in nodes.items() if math.hypot(p[0] - x, p[1] - y) < 1e-6)
            middle, along, across = at(0, 0), at(width / 2, 0), at(0, height / 2)
            loads = "".join(f"{k}, 1, {f!r}\n" for k, f in pulled(nodes, deck, width, pull).items())
            moved = self.solved("l.inp", f"{middle}, 1, 3\n{along}, 2, 3\n{across}, 3, 3\n", f"*CLOAD\n{loads}*NODE FILE, OUTPUT=3D\nU\n")
            rows = (self.folder / "job.frd").read_text().split("    2C")[1].split("\n -3")[0].splitlines()[1:]
            heights = [float(row[37:49]) for row in rows]
            self.assertPoint((min(heights), max(heights)), reach, 5)
            ex, ey, exy, kx, ky, kxy = solve(stiffness([(a, t, e) for _, a, t, e in UPWARD], -WHOLE / 2), [pull, 0, 0, 0, 0, 0])
            bent = lambda x, y: -(kx * x * x + ky * y * y + kxy * x * y) / 2
            tilts = bent(width / 2, 0) / (width / 2), bent(0, height / 2) / (height / 2)  # of the plane through the places held
            places = [(width / 2, height / 2), (-width / 2, height / 2), (width / 2, -height / 2), (-width / 2, 0), (0, -height / 2)]
            wanted = [bent(x, y) - tilts[0] * x - tilts[1] * y for x, y in places]
            for place, w in zip(places, wanted):
                self.assertAlmostEqual(moved[at(*place)][2], w, delta=0.01 * max(map(abs, wanted)))
            for got, strain in ((moved[along][0] / width, ex / 2), (moved[across][1] / height, ey / 2), (moved[across][0] / height, exy / 2)):
                self.assertAlmostEqual(got, strain, delta=0.01 * ex)


if __name__ == "__main__":
    unittest.main()
