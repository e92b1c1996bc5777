"""A sweep against single drapes: each row of its table is what a run from that start gives, the candidates are those
that the options name, and the ranking is that of the manual.
"""

import csv
import json
import math
import os
import re
import unittest

import model
from moulds import cube, cup, obj, plate, turned, uneven_sheet
from program import DONE, INPUT, RUN_ENDED, Case

HEAD = ("candidate seed_x seed_y seed_z angle_deg ran status nodes cells mean_shear_deg largest_shear_deg "
        "share_beyond_locking covered_share doubled_share net_area net_width net_height within").split()


def values(report):
    """The columns of a row that a report of the same drape holds."""
    result, shear, pattern = report["result"], report["shear"], report["pattern"]
    return [result["status"], result["nodes"], result["cellsOnSurface"], shear["mean"], shear["largest"],
            shear["shareBeyondLocking"], result["coveredShare"], result["doubledShare"], pattern["netArea"],
            pattern["width"], pattern["height"]]


class Sweep(Case):
    def sweep(self, mesh, *words, expect=DONE):
        done = self.drape(mesh, *words, "-o", "t.sweep.csv", "-o", "r.json", expect=expect)
        lines = [line.split(",") for line in (self.folder / "t.sweep.csv").read_text().splitlines()]
        self.assertEqual(lines[0], HEAD)
        self.assertTrue(all(len(line) == len(HEAD) for line in lines))
        rows = [dict(zip(HEAD, (float(x) if x else None for x in line))) for line in lines[1:]]
        return rows, json.loads((self.folder / "r.json").read_text()), done

    def assertRanked(self, rows, report, by_cloth=False):
        """Whole drapes first, one layer before two, near to full cover before the rest, then by least shear."""
        whole = lambda r: r["ran"] == 1 and r["status"] == 0 and r["cells"] > 0
        single = lambda r: r["doubled_share"] <= 0.05
        most = max((r["covered_share"] for r in rows if whole(r) and single(r)), default=0.0)
        cloth = max(r["net_area"] for r in rows) or 1.0
        wanted = sorted(rows, key=lambda r: (
            not whole(r), r["ran"] == 0, not single(r), not (by_cloth or r["covered_share"] >= 0.9 * most),
            -round(r["net_area"] / cloth, 6) if by_cloth else 0.0 if whole(r) else -round(r["covered_share"], 6),
            round(r["largest_shear_deg"], 4), round(r["share_beyond_locking"], 6), round(r["net_area"] / cloth, 6)))
        best = report["sweep"]["best"]
        self.assertEqual([e["candidate"] for e in best], [int(r["candidate"]) for r in wanted[:20]])
        for entry, row in zip(best, wanted):
            self.assertEqual((entry["ran"], entry["status"]), (row["ran"] == 1, row["status"]))
            got = [*entry["seed"], *(entry[k] for k in ("angle", "meanShear", "largestShear", "shareBeyondLocking",
                                                         "coveredShare", "doubledShare", "netArea"))]
            names = HEAD[1:5] + HEAD[9:15]
            for a, name in zip(got, names, strict=True):
                self.assertAlmostEqual(a, row[name], delta=1e-7 * max(1, abs(a)), msg=name)
            self.assertEqual(entry["within"] is None, row["within"] is None)
        return wanted

    def assertRowsAreRuns(self, mesh, rows, seeds, *words):
        for k, row in enumerate(rows):
            seed = seeds.split(";")[k * len(seeds.split(";")) // len(rows)]
            report, _ = self.report(mesh, *words, "--seed", seed, "--angle", row["angle_deg"], expect=None)
            self.assertEqual(row["ran"], 1)
            for name, got in zip(HEAD[6:17], values(report)):
                self.assertAlmostEqual(row[name], got, delta=1e-6 * max(1, abs(got)), msg=(row["candidate"], name))

    def test_rows_ranking_and_table(self):
        mesh = self.file("sheet.obj", obj(uneven_sheet()))
        words = ("--step", "1.3,0.9", "--locking", "2", "--warp", "1,1,0", "--pivot", "shear")
        seeds = "33,-6,10;38,-2.6,14;36,-8,9;31.5,-11,7"
        rows, report, done = self.sweep(mesh, *words, "--sweep-seeds", seeds, "--sweep-angles", "10,55,-20", "--angle", "5",
                                        "-j", "3")
        self.assertEqual([row["candidate"] for row in rows], list(range(1, 13)))
        self.assertEqual([row["angle_deg"] for row in rows], [15, 60, -15] * 4)
        mould = model.Mould(*uneven_sheet_triangles())
        for k, text in enumerate(seeds.split(";")):
            place, _ = mould.nearest(tuple(map(float, text.split(","))))
            for row in rows[3 * k:3 * k + 3]:
                self.assertPoint((row["seed_x"], row["seed_y"], row["seed_z"]), place, 6)
        self.assertTrue(all(row["within"] is None for row in rows))
        self.assertRowsAreRuns(mesh, rows, seeds, *words)
        alone, _, _ = self.sweep(mesh, *words, "--sweep-seeds", seeds, "--sweep-angles", "10,55,-20", "--angle", "5", "-j", "1")
        self.assertEqual(alone, rows)
        wanted = self.assertRanked(rows, report)
        self.assertEqual((report["sweep"]["part"], report["sweep"]["parts"], report["sweep"]["candidates"]), (1, 1, 12))
        for got, row in zip(values(report), (wanted[0][k] for k in HEAD[6:17])):
            self.assertAlmostEqual(got, row, delta=1e-6 * max(1, abs(got)))
        self.assertEqual(report["choice"]["angle"], wanted[0]["angle_deg"])
        self.assertIn("draping 12 candidates in 3 threads", done.stderr)
        table = done.stdout.split("\n\n")[0].splitlines()
        self.assertEqual(table[0], "rank  candidate  angle  largest shear  mean shear  beyond locking  covered     net area"
                                   "  seed and result")
        self.assertEqual(len(table), 11)
        for k, (line, row) in enumerate(zip(table[1:], wanted)):
            words = line.split()
            wide = [f"{k + 1}", f"{row['candidate']:.0f}", f"{row['angle_deg']:.4g}", f"{row['largest_shear_deg']:.1f}",
                    f"{row['mean_shear_deg']:.1f}", f"{100 * row['share_beyond_locking']:.1f}", "%",
                    f"{100 * row['covered_share']:.1f}", "%", f"{row['net_area']:.4g}"]
            self.assertEqual(words[:10], wide)
            self.assertIn("(" + ", ".join(f"{row[f'seed_{a}']:.5g}" for a in "xyz") + ")", line)
            self.assertEqual("ended with code" in line, row["status"] != 0)
            self.assertEqual("% doubled" in line, row["doubled_share"] > 0.05)
        cores = len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else os.cpu_count()
        said = self.drape(mesh, *self.quick(), "--sweep-angles", "0:40:1").stderr
        self.assertIn(f"draping 40 candidates in {min(cores, 40)} thread{'s' if cores > 1 else ''}\n", said)
        verbose = self.drape(mesh, *self.quick(), "--sweep-angles", "0:60:5", "-v").stdout.split("\n\n")[0]
        self.assertEqual(len(verbose.splitlines()), 13)

    def quick(self):
        return "--step", "2.5", "--sweep-seeds", "1"

    def test_ended_and_doubled_drapes_come_last(self):
        mesh = self.file("cup.obj", obj(cup(1.0, 16, 6, 6)))
        seeds = "0.78,0.6,0.07;0.03,0.02,1;0.9,0.2,-0.4"
        rows, report, done = self.sweep(mesh, "--step", "0.2", "--sweep-seeds", seeds, "--sweep-angles", "0,25")
        self.assertGreater(sum(row["doubled_share"] > 0.05 or row["status"] != 0 for row in rows), 0)
        self.assertRanked(rows, report)
        for line in done.stdout.split("\n\n")[0].splitlines()[1:]:
            row = next(r for r in rows if r["candidate"] == int(line.split()[1]))
            self.assertEqual(re.findall(r"  (\d+) % doubled", line), [f"{100 * row['doubled_share']:.0f}"] if row["doubled_share"] > 0.05 else [])
        self.assertRowsAreRuns(mesh, rows, seeds, "--step", "0.2")
        # With too few nodes for any of them, the one that came furthest is told and written.
        rows, report, done = self.sweep(mesh, "--step", "0.2", "--sweep-seeds", "2", "--sweep-angles", "0,25", "--max-nodes",
                                        "40", expect=RUN_ENDED)
        self.assertTrue(all(row["status"] == 23 and row["nodes"] == 40 for row in rows))
        self.assertRanked(rows, report)
        self.assertIn("no candidate of the sweep came to its end", done.stderr)

    def test_largest_patches_go_by_cloth(self):
        mesh = self.file("cup.obj", obj(cup(1.0, 16, 6, 6)))
        words = ("--step", "0.25", "--within", "max")
        seeds = "0.78,0.6,0.07;0.9,0.2,-0.4"
        rows, report, _ = self.sweep(mesh, *words, "--sweep-seeds", seeds, "--sweep-angles", "0,30")
        wanted = self.assertRanked(rows, report, by_cloth=True)
        self.assertEqual(report["mould"]["within"], report["sweep"]["best"][0]["within"])
        for row in rows:
            self.assertAlmostEqual(row["within"], next(e["within"] for e in report["sweep"]["best"]
                                                       if e["candidate"] == row["candidate"]), 7)
        self.assertRowsAreRuns(mesh, rows, seeds, *words)
        # The radius is the largest that works: a cell further out the drape ends, locks or lies over itself.
        best = wanted[0]
        start = ("--seed", seeds.split(";")[(int(best["candidate"]) - 1) // 2], "--angle", best["angle_deg"])
        for radius, works in ((best["within"], True), (best["within"] + 0.25, False)):
            report, _ = self.report(mesh, "--step", "0.25", *start, "--within", radius, expect=None)
            self.assertEqual(report["result"]["status"] == 0 and report["result"]["doubledShare"] <= 0.05
                             and report["shear"]["largest"] <= 45, works)

    def test_starts_that_cannot_be_draped_say_so(self):
        mesh = self.file("cube.obj", obj(cube()))
        done = self.drape(mesh, "--within", "100", "--step", "1", "--sweep-seeds", "2,2,4", "--sweep-angles", "0,20", "-o",
                          "t.sweep.csv", expect=INPUT)
        self.assertIn("the surface is closed", done.stderr)
        self.assertEqual(done.stdout.count("can't be draped from here"), 2)
        rows = (self.folder / "t.sweep.csv").read_text().splitlines()[1:]
        self.assertEqual(rows, ["1,2,2,4,0" + ",0" * 12 + ",", "2,2,2,4,20" + ",0" * 12 + ","])

    def test_seeds_and_angles_by_default_and_by_grid(self):
        points, faces = plate(10)
        flat = [turned((1.2 * x, 0.7 * y, 0.0)) for x, y, _ in points]
        mesh = self.file("plate.obj", obj((flat, faces)))
        mould = model.Mould(flat, faces)
        rows, report, _ = self.sweep(mesh, "--step", "1", "--sweep", "--max-nodes", "30", expect=RUN_ENDED)
        self.assertEqual((len(rows), len(report["sweep"]["best"])), (54, 20))
        self.assertEqual([row["angle_deg"] for row in rows], [0, 15, 30, 45, 60, 75] * 9)
        seeds = [tuple(row[f"seed_{a}"] for a in "xyz") for row in rows[::6]]
        self.assertPoint(seeds[0], mould.centroid(), 6)
        # Each next seed is the middle of the triangle with the most room to the outline, half counted, and to the others.
        rim = [flat[v] for v in mould.loops()[0][1]]
        for k in range(1, 9):
            room = lambda t: min(min([2 * min(math.dist(p, q) for q in rim)] + [math.dist(p, s) for s in seeds[:k]])
                                 for p in mould.corners[t])
            taken = min(range(len(faces)), key=lambda t: math.dist(model.middle(*mould.corners[t]), seeds[k]))
            self.assertPoint(seeds[k], model.middle(*mould.corners[taken]), 6)
            self.assertGreaterEqual(room(taken), 0.95 * max(map(room, range(len(faces)))))
        rows, _, _ = self.sweep(mesh, "--step", "1,1.1", "--sweep", "--sweep-seeds", "1", "--max-nodes", "30", expect=RUN_ENDED)
        self.assertEqual([row["angle_deg"] for row in rows], [15 * k for k in range(12)])
        # A grid lies over the two longest sides of the box around the mould: here x and y, or y and z if it stands.
        # Columns run along the first of the two by name, be it longer or shorter.
        for name, wide, high, places in (("flat.obj", 30, 20, [(3 * x, 2 * y, 0.1 * x) for x, y, _ in points]),
                                         ("high.obj", 20, 30, [(2 * x, 3 * y, 0.1 * x) for x, y, _ in points]),
                                         ("upright.obj", 30, 20, [(0.1 * y, 3 * x, 2 * y) for x, y, _ in points])):
            path = self.file(name, obj((places, faces)))
            rows, _, _ = self.sweep(path, "--step", "6", "--sweep-seeds", "3x2", "--sweep-angles", "30:75:22.5")
            self.assertEqual([row["angle_deg"] for row in rows], [30, 52.5] * 6)
            shape = model.Mould(places, faces)
            for k, row in enumerate(rows[::2]):
                u, v = wide * (k % 3 + 0.5) / 3, high * (k // 3 + 0.5) / 2
                place, _ = shape.nearest((0.5, u, v) if name == "upright.obj" else (u, v, 0.5))
                self.assertPoint([row[f"seed_{a}"] for a in "xyz"], place, 6)
        # There are no more places to start at than triangles.
        few = self.file("few.obj", "v 0 0 0\nv 40 0 0\nv 40 60 0\nv 0 60 0\nf 1 2 3\nf 1 3 4\n")
        rows, _, _ = self.sweep(few, "--step", "10", "--sweep-seeds", "9", "--sweep-angles", "0")
        self.assertEqual(len(rows), 2)

    def test_parts_share_the_candidates_out(self):
        mesh = self.file("sheet.obj", obj(uneven_sheet()))
        words = (*self.quick(), "--sweep-angles", "0:70:10", "-q")
        numbers = []
        for part in (1, 2, 3):
            self.drape(mesh, *words, "--part", f"{part}/3", "-o", f"{part}.sweep.csv", "-o", "r.json")
            lines = (self.folder / f"{part}.sweep.csv").read_text().splitlines()
            rows = [line for line in lines if not line.startswith("candidate")]
            self.assertEqual(len(lines) - len(rows), 1 if part == 1 else 0)
            numbers.append([int(row.split(",")[0]) for row in rows])
            told = json.loads((self.folder / "r.json").read_text())["sweep"]
            self.assertEqual((told["part"], told["parts"], told["candidates"]), (part, 3, len(rows)))
        self.assertEqual(numbers, [[1, 4, 7], [2, 5], [3, 6]])
        done = self.drape(mesh, *self.quick(), "--sweep-angles", "0,10", "--part", "3/3", "-o", "n.sweep.csv")
        self.assertIn("this part of the sweep holds no candidate", done.stderr)
        self.assertEqual((self.folder / "n.sweep.csv").read_text(), "")

    def test_lists_and_files_of_seeds(self):
        mesh = self.file("plate.obj", obj(plate(8)))
        self.file("seeds.txt", "\n 1 2 0 \r\n\n3.5,2.25,0\n7,7,4\n")
        places = [(1, 2, 0), (3.5, 2.25, 0), (7, 7, 0)]
        for seeds in ("@seeds.txt", "1,2,0; 3.5,2.25,0 ;7,7,4"):
            rows, _, _ = self.sweep(mesh, "--step", "1", "--sweep-seeds", seeds, "--sweep-angles", "0")
            self.assertEqual([tuple(row[f"seed_{a}"] for a in "xyz") for row in rows], places)


def uneven_sheet_triangles():
    """The sheet with each face cut from its first corner: near enough for places on it."""
    points, faces = uneven_sheet()
    shapes = []
    for f in faces:
        if len(f) == 4:
            p = [points[v] for v in f]
            quality = lambda a, b, c: model.triangle_area(a, b, c) / sum(
                math.dist(x, y) ** 2 for x, y in ((a, b), (b, c), (c, a)))
            ways = [min(quality(p[n], p[n + 1], p[(n + 2) % 4]), quality(p[n], p[(n + 2) % 4], p[(n + 3) % 4]))
                    for n in (0, 1)]
            f = f if ways[0] >= ways[1] else f[1:] + f[:1]
        shapes += [(f[0], f[k], f[k + 1]) for k in range(1, len(f) - 1)]
    return points, shapes


if __name__ == "__main__":
    unittest.main()
