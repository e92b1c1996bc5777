"""Every number of the report and every column of the tables and grids, worked out anew on a mould that is the
same from no two sides, with cells of unequal sides, so that nothing can be swapped, mirrored or left out unseen.
"""

import math
import unittest

import library
import model
from drapes import Drapes, of_each
from model import dot

SEED = (38.0, -2.6, 14.0)


class Values(Drapes):
    """Four drapes of the uneven sheet: fine and coarse, both pivots, whole and given up."""

    OUTPUTS = ("dxf",)
    VARIANTS = {
        "fine": ("--step", "1.1,0.8", "--locking", "3", "--seed", "38,-2.6,14", "--warp", "0.5,2,0.3"),
        "turned": ("--step", "0.8,1.2", "--angle", "25", "--rosette", "0.3,1,0", "--pivot", "shear", "--tolerance", "0.004",
                   "--locking", "8"),
        "coarse": ("--step", "2.1,1.9", "--units-mm", "25.4"),
        "ended": ("--step", "1.1,0.8", "--max-nodes", "61", "--pivot", "shear"),
    }

    @of_each
    def test_choice(self, name, drape):
        choice = drape.report["choice"]
        wanted = drape.mould.centroid() if name != "fine" else SEED
        place, t = drape.mould.nearest(wanted)
        normal = drape.mould.normals[t]
        self.assertClose(choice["seed"], place, 1e-12)
        lie = lambda v: model.unit(model.sub(v, model.scaled(normal, dot(v, normal))))
        angle = 25 if name == "turned" else 0
        rosette = lie({"fine": (0.5, 2, 0.3), "turned": (0.3, 1, 0)}.get(name, (1, 0, 0)))
        warp = model.turned(rosette, normal, angle)
        self.assertClose(choice["rosette"], rosette, 1e-12)
        self.assertClose(choice["normal"], normal, 1e-12)
        self.assertAlmostEqual(choice["plyAngle"], angle, 9)
        self.assertClose(choice["warp"], warp, 1e-12)
        self.assertClose(choice["weft"], model.turned(warp, normal, 90), 1e-12)
        step = {"fine": [1.1, 0.8], "turned": [0.8, 1.2], "coarse": [2.1, 1.9], "ended": [1.1, 0.8]}[name]
        self.assertEqual(choice["step"], step)
        self.assertEqual((choice["angle"], choice["side"]), (angle, "towards +z"))
        tolerance = 0.004 if name == "turned" else 1e-3 * math.sqrt(step[0] * step[1])
        self.assertAlmostEqual(choice["tolerance"], tolerance, 15)
        self.assertEqual(choice["pivot"], "grid" if name in ("fine", "coarse") else "shear")
        rim = sum(length for length, _ in drape.mould.loops()) / min(step)
        room = int(2 * drape.mould.area / (step[0] * step[1]) + 8 * rim + 1000)
        self.assertEqual(choice["nodeCapacity"], 61 if name == "ended" else room)

    @of_each
    def test_mould(self, _, drape):
        told = drape.report["mould"]
        self.assertEqual((told["vertices"], told["triangles"]), (len(drape.mould.points), drape.fibres.polygon_count))
        self.assertAlmostEqual(told["area"], drape.mould.area, 9)
        self.assertIsNone(told["within"])
        loops = drape.mould.loops()
        self.assertEqual([loop["edges"] for loop in told["loops"]], [len(vertices) for _, vertices in loops])
        self.assertClose([loop["length"] for loop in told["loops"]], [length for length, _ in loops])
        self.assertEqual([loop["outline"] for loop in told["loops"]], [True, False])

    @unittest.skipUnless(library.PATH, "needs the library as a file of its own")
    @of_each
    def test_grid_is_that_of_the_library(self, name, drape):
        choice = drape.report["choice"]
        scale = 2.0 ** -round(math.log2(math.sqrt(choice["step"][0] * choice["step"][1])))
        grow = lambda values: [scale * x for x in values]
        mould = model.Mould(map(grow, drape.mould.points), drape.mould.triangles)
        status, nodes = library.run(mould, grow(choice["seed"]), choice["warp"], choice["weft"], grow(choice["step"]),
                                    scale * choice["tolerance"], choice["pivot"] == "grid", choice["nodeCapacity"])
        self.assertEqual(drape.report["result"]["status"], status)
        grid, link = drape.grid, drape.grid.link
        known = lambda n: n if 0 <= n <= len(nodes) else 0
        self.assertEqual(
            list(zip(link[1], link[2], link[3], link[4], grid.i, grid.j, grid.status, grid.triangle,
                     *(map(tuple, a) for a in (grid.position, grid.flat, grid.normal)))),
            [(*map(known, n[:4]), *n[4:8], tuple(x / scale for x in n[8]), tuple(x / scale for x in n[9]), n[10])
             for n in nodes])

    @of_each
    def test_grid_is_a_cloth_on_the_mould(self, name, drape):
        grid, choice = drape.grid, drape.report["choice"]
        self.assertClose(grid.position[0], choice["seed"], 1e-12)
        self.assertEqual((grid.i[0], grid.j[0]), (0, 0))
        for k, (back, di, dj) in {1: (3, 1, 0), 2: (4, 0, -1), 3: (1, -1, 0), 4: (2, 0, 1)}.items():
            for n, m in enumerate(grid.link[k]):
                if m:
                    self.assertEqual((grid.i[m - 1], grid.j[m - 1]), (grid.i[n] + di, grid.j[n] + dj))
                    again = grid.link[back][m - 1] - 1  # at a repair several nodes stand at one place
                    self.assertEqual((again < 0, grid.position[again]), (False, grid.position[n]))
        step = choice["step"]
        self.assertClose(grid.flat, [(i * step[0], j * step[1]) for i, j in zip(grid.i, grid.j)])
        for n, t in enumerate(grid.triangle):
            if t:
                self.assertClose(grid.normal[n], drape.mould.normals[t - 1], 1e-6)
                shares = model.nearest_on_triangle(grid.position[n], drape.mould.corners[t - 1])
                place = model.add(*map(model.scaled, drape.mould.corners[t - 1], shares))
                self.assertLess(math.dist(place, grid.position[n]), 2 * choice["tolerance"])
        for cell in grid.on_surface(grid.cells):
            p = grid.places(cell)
            lengths = [math.dist(p[k], p[(k + 1) % 4]) for k in range(4)]
            self.assertClose(lengths, [step[0], step[1]] * 2, 1e-6)

    @of_each
    def test_grid_file(self, _, drape):
        grid, file = drape.grid, drape.file
        data = file.cell_data
        self.assertEqual(file.point_data["node"], list(range(1, grid.count + 1)))
        self.assertEqual(file.faces(), grid.cells)
        self.assertEqual(data["cell"], [cell[0] + 1 for cell in grid.cells])
        self.assertEqual(data["onSurface"], [int(whole) for whole in grid.whole])
        self.assertClose(data["shear"], grid.shear, 1e-7)
        self.assertClose(data["thickness"], [1 / math.cos(math.radians(s)) for s in grid.shear], 1e-7)
        for kind, behind, ahead in (("warp", 3, 1), ("weft", 2, 4)):
            self.assertClose(data[kind], [grid.fibre(cell, kind, 0.5) for cell in grid.cells], what=kind)
            self.assertClose(file.point_data[kind], [grid.chord(n, behind, ahead) for n in range(grid.count)])
        self.assertEqual(file.fields, {"runStatus": [drape.report["result"]["status"]],
                                       "step": drape.report["choice"]["step"]})
        self.assertEqual(file.shown, ("normal", "shear"))

    @of_each
    def test_fibres_in_both_files(self, _, drape):
        data = drape.fibres.cell_data
        wanted = list(zip(*drape.map))
        self.assertEqual([tuple(data["cover"]), tuple(data["cell"])], wanted[:2])
        for name, values, tolerance in zip(("shear", "warp", "weft"), wanted[2:], (1e-7, 1e-9, 1e-9)):
            self.assertClose(data[name], values, tolerance, name)
        self.assertEqual(drape.fibres.shown[1], "shear")
        thickness = [1 / math.cos(math.radians(fibres.shear)) for fibres in drape.map]
        self.assertClose(data["thickness"], thickness, 1e-7)
        head = "triangle face cover cell shear_deg thickness warp_x warp_y warp_z weft_x weft_y weft_z"
        self.assertEqual(" ".join(drape.table[0]), head)
        faces = [(int(row["face"]), int(row["triangle"])) for row in drape.table]
        self.assertEqual(faces, sorted((face, t + 1) for t, face in enumerate(data["face"])))
        for row in drape.table:
            t = int(row["triangle"]) - 1
            fibres = drape.map[t]
            self.assertEqual([int(row[name]) for name in ("cover", "cell")], list(fibres[:2]))
            columns = [float(row[name]) for name in head.split()[4:]]
            self.assertClose(columns, [fibres.shear, thickness[t], *fibres.warp, *fibres.weft], 1e-7)

    @of_each
    def test_result(self, name, drape):
        grid, result = drape.grid, drape.report["result"]
        cloth = sum(face.area for face in drape.net) / drape.mould.area
        self.assertEqual(
            [result[k] for k in ("status", "name", "complete", "nodes", "nodesOnSurface", "cells", "cellsOnSurface")],
            [23 if name == "ended" else 0, "nodes-full" if name == "ended" else "complete", name != "ended", grid.count,
             sum(t > 0 for t in grid.triangle), len(grid.cells), sum(grid.whole)])
        if drape.report["pattern"]["reachesEdge"]:
            self.assertEqual(result["coveredShare"], 1.0)
        else:
            self.assertAlmostEqual(result["coveredShare"], cloth, delta=0.003)
        self.assertGreaterEqual(result["doubledShare"], 0.0)
        self.assertAlmostEqual(result["doubledShare"], max(0.0, cloth - result["coveredShare"]), delta=0.01)
        self.assertEqual(result["endedNear"], list(grid.position[-1]) if name == "ended" else None)
        self.assertEqual(result["advice"][:21], "raise --max-nodes or " if name == "ended" else "")
        self.assertIn(result["advice"], drape.stderr)

    @of_each
    def test_shear_and_pattern(self, name, drape):
        grid, told = drape.grid, drape.report["shear"]
        shear = [abs(s) for s in grid.on_surface(grid.shear)]
        locking = {"fine": 3, "turned": 8}.get(name, 45)
        self.assertEqual(told["lockingAngle"], locking)
        self.assertAlmostEqual(told["mean"], sum(shear) / len(shear), 7)
        self.assertAlmostEqual(told["largest"], max(shear), 7)
        self.assertAlmostEqual(told["shareBeyondLocking"], sum(s > locking for s in shear) / len(shear), 12)
        counts = [sum(5 * k <= s < 5 * k + 5 for s in shear) for k in range(18)]
        self.assertEqual(told["histogram"], {"binDegrees": 5.0, "counts": counts})
        self.assertAlmostEqual(told["largestThickness"], 1 / math.cos(math.radians(max(shear))), 7)
        turn, node = grid.largest_turn()
        self.assertAlmostEqual(told["largestTurn"], turn, 5)
        self.assertEqual(told["largestTurnAt"], list(grid.position[node]))

    @of_each
    def test_net_pattern(self, name, drape):
        grid, pattern = drape.grid, drape.report["pattern"]
        (low_x, low_y, high_x, high_y), step = pattern["extent"], drape.report["choice"]["step"]
        self.assertClose([pattern["width"], pattern["height"]], [high_x - low_x, high_y - low_y])
        self.assertAlmostEqual(sum(loop["area"] for loop in pattern["loops"]), pattern["netArea"], 9)
        self.assertEqual([loop["outline"] for loop in pattern["loops"]], [loop["area"] > 0 for loop in pattern["loops"]])
        # The whole cells lie within the net outline, and next to none of it beyond the cells that hang over the edge.
        spans = lambda cells, k: [f(grid.flat[n][k] for cell in cells for n in cell) for f in (min, max)]
        every = [cell for cell, whole, edge in zip(grid.cells, grid.whole, grid.edge) if whole or edge]
        for k, (low, high) in enumerate(((low_x, high_x), (low_y, high_y))):
            inner, outer = spans(grid.on_surface(grid.cells), k), spans(every, k)
            self.assertTrue(outer[0] - 0.5 * step[k] <= low <= inner[0] + 0.1 * step[k], (k, outer, low, inner))
            self.assertTrue(inner[1] - 0.1 * step[k] <= high <= outer[1] + 0.5 * step[k], (k, inner, high, outer))
        self.assertEqual(pattern["overlapArea"], 0.0)
        # A triangle counts as a whole here, so what the cloth doesn't cover to the edge is judged roughly.
        sheared = model.sheared_area(drape.mould, drape.map)
        self.assertAlmostEqual(pattern["netArea"] / sheared, 1.0, delta=0.03 if pattern["reachesEdge"] else 0.1)
        self.assertAlmostEqual(pattern["areaByShear"] / sheared, 1.0, delta=0.01 if pattern["reachesEdge"] else 0.1)
        self.assertEqual(pattern["reachesEdge"], pattern["clothEdgeLength"] == 0.0)
        if pattern["reachesEdge"]:
            self.assertEqual(len(pattern["loops"]), len(drape.mould.loops()))
        self.assertEqual(pattern["reachesEdge"], name in ("turned", "coarse"))

    @of_each
    def test_summary_says_what_the_report_says(self, name, drape):
        r = drape.report
        choice, result, shear, pattern = r["choice"], r["result"], r["shear"], r["pattern"]
        four = lambda x: f"{x:.4g}"
        point = lambda p: "(" + ", ".join(map(four, p)) + ")"
        exact = lambda p: "(" + ", ".join(
            f"{x:.{max(4, math.ceil(math.log10(max(map(abs, p)) / (1e-3 * min(choice['step'])))))}g}" for x in p) + ")"
        percent = lambda x: f"{100 * x:.1f} %"
        last = drape.grid.count - 1
        ends = f"the run came to its end; the cloth ends before the mould along {four(pattern['clothEdgeLength'])} of its edge"
        end = "complete: " + ("the cloth reaches the mould's edge everywhere" if pattern["reachesEdge"] else ends) \
            if result["complete"] else (
            f"partial: the run ended with code 23 near {exact(result['endedNear'])}, at warp {drape.grid.i[last]}, "
            f"weft {drape.grid.j[last]}: {result['meaning']}")
        wanted = [
            f"mould     {self.mesh}: {r['mould']['triangles']} triangles, area {four(r['mould']['area'])}, "
            f"outline {four(r['mould']['loops'][0]['length'])} long, extents "
            + " by ".join(four(max(p[k] for p in drape.mould.points) - min(p[k] for p in drape.mould.points)) for k in range(3)),
            f"start     seed {exact(choice['seed'])}, warp {point(choice['warp'])}, cells {four(choice['step'][0])} by "
            f"{four(choice['step'][1])}, pivots by {'grid line' if choice['pivot'] == 'grid' else 'least shear'}",
            f"side      the cloth lies on the side towards +z, normal {point(choice['normal'])} at the seed",
            f"angle     warp at {four(choice['plyAngle'])} degrees from the rosette {point(choice['rosette'])}, "
            "anticlockwise seen from that side",
            f"result    {end}",
            f"cloth     {result['nodes']} nodes, {result['cellsOnSurface']} cells on the mould; the cloth covers "
            f"{percent(result['coveredShare'])} of it",
            f"shear     mean {shear['mean']:.1f} degrees, largest {shear['largest']:.1f}, "
            f"{percent(shear['shareBeyondLocking'])} of the cells beyond the locking angle of "
            f"{four(shear['lockingAngle'])}",
            f"turn      largest turn of a yarn between neighbouring cells {shear['largestTurn']:.1f} degrees",
            f"pattern   net area {four(pattern['netArea'])}, {four(pattern['width'])} by {four(pattern['height'])}",
            *(f"wrote     {path}" for path in drape.path.values())]
        self.assertEqual(drape.stdout.splitlines(), wanted)
        self.assertEqual((r["format"], r["version"], r["curves"], r["sweep"]), ("drape-report", 2, [], None))
        self.assertEqual(r["input"], {"file": str(self.mesh), "millimetresPerUnit": 25.4 if name == "coarse" else 1.0})
        self.assertTrue(0 < r["seconds"]["run"] <= r["seconds"]["wall"] < 300)


if __name__ == "__main__":
    unittest.main()
