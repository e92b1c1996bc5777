"""The pattern as it's cut and printed: the cutting file as a library of that format reads it, allowances measured
anew, sheets of paper, and drawings of parts in any unit.
"""

import json
import math
import re
import subprocess
import sys
import unittest

from model import flat_area
from moulds import obj, plate
from program import ROOT, USAGE, Case
from readers import Svg, dxf_entities, pdf_words, png_pixels

READ_DXF = """
import json, sys, ezdxf
file = ezdxf.readfile(sys.argv[1])
audit = file.audit()
print(json.dumps({"faults": len(audit.errors) + len(audit.fixes), "unit": file.units,
                  "layers": {layer.dxf.name: layer.color for layer in file.layers},
                  "words": [e.plain_text() for e in file.modelspace().query("TEXT")],
                  "lines": [[e.dxf.layer, e.closed, [list(p) for p in e.get_points("xy")]]
                            for e in file.modelspace().query("LWPOLYLINE")]}))
"""


def with_dxf_reader():
    """A Python that has the reader: packages of the system belong to the system's own."""
    for python in (sys.executable, "/usr/bin/python3"):
        if subprocess.run([python, "-c", "import ezdxf"], capture_output=True).returncode == 0:
            return python
    return None


def distance_to(loops, p):
    """From a point to the nearest edge of some closed lines."""
    best = math.inf
    for loop in loops:
        for a, b in zip(loop, loop[1:] + loop[:1]):
            ux, uy = b[0] - a[0], b[1] - a[1]
            square = ux * ux + uy * uy
            t = min(1.0, max(0.0, ((p[0] - a[0]) * ux + (p[1] - a[1]) * uy) / square)) if square else 0.0
            best = min(best, math.hypot(p[0] - a[0] - t * ux, p[1] - a[1] - t * uy))
    return best


def without(mesh, inside):
    points, faces = mesh
    return points, [f for f in faces if not all(inside(*points[v][:2]) for v in f)]


class Cutting(Case):
    def cut(self, mesh, *words, expect=0):
        path = self.file("part.obj", obj(mesh))
        report, done = self.report(path, *words, "-o", "p.dxf", expect=expect)
        lines = dxf_entities((self.folder / "p.dxf").read_text())
        return report, done, {name: [e["points"] for e in lines if e["layer"] == name] for name in ("CUT", "NET", "HOLE")}

    @unittest.skipUnless(with_dxf_reader(), "needs a library that reads the format")
    def test_cutting_file_passes_the_audit_of_its_format(self):
        holed = without(plate(12), lambda x, y: 3 <= x <= 4 and 4 <= y <= 5)
        curve = self.file("trim.xyz", "8 2 0\n11 2 0\n11 9 0\n14 9 0\n")
        report, _, _ = self.cut(holed, "--units-mm", "25.4", "--allowance", "0.4", "--step", "0.5", "--name", "P\u00e9 \u4e2d\u0394\t1",
                                "--seed", "8,8,0", "--curve", curve, "--curve-clip")
        done = subprocess.run([with_dxf_reader(), "-c", READ_DXF, self.folder / "p.dxf"], capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        read = json.loads(done.stdout)
        self.assertEqual((read["faults"], read["unit"]), (0, 4))
        colours = {"CUT": 1, "NET": 7, "HOLE": 4, "CURVE": 6, "SEAM": 2, "DART": 30, "WARP": 5, "TEXT": 7, "SEED": 3}
        self.assertEqual({**read["layers"], **colours}, read["layers"])
        said = [re.sub(r"\\U\+(....)", lambda m: chr(int(m[1], 16)), words) for words in read["words"]]
        self.assertIn("Ply P\u00e9 \u4e2d\u0394_1", said)
        loops = {name: [points for layer, closed, points in read["lines"] if layer == name and closed]
                 for name in ("CUT", "NET", "HOLE", "CURVE")}
        self.assertEqual([len(loops[name]) for name in ("CUT", "NET", "HOLE", "CURVE")], [2, 1, 1, 0])
        net = sum(map(flat_area, loops["NET"] + loops["HOLE"]))
        self.assertAlmostEqual(net, 25.4 ** 2 * report["pattern"]["netArea"], 4)
        self.assertAlmostEqual(net, 25.4 ** 2 * (144 - 1), delta=0.001 * net)
        self.assertAlmostEqual(sum(map(flat_area, loops["CUT"])), 25.4 ** 2 * report["cut"]["area"], 4)

    def test_allowance_lies_all_round_the_net(self):
        notched = without(plate(12), lambda x, y: x >= 7 and 5 <= y <= 8)
        for width, remark in ((0.5, None), (1.6, "closes 1 notch")):
            report, done, loops = self.cut(notched, "--allowance", width, "--step", "0.5")
            away = [distance_to(loops["NET"], p) for loop in loops["CUT"] for p in loop]
            self.assertAlmostEqual(min(away), width, delta=2e-3 * width)
            self.assertAlmostEqual(max(away), width, delta=2e-3 * width)
            self.assertEqual(remark is not None and remark in done.stderr, remark is not None)
            cut = report["cut"]
            self.assertEqual((cut["allowance"], cut["loops"], len(cut["remarks"])), (width, 1, remark is not None))
            self.assertTrue(all(f"the cut line with an allowance of {width}: {said}" in done.stderr for said in cut["remarks"]))
            self.assertIn(f"cut       line {width} outside the net, around an area of {cut['area']:.4g}\n", done.stdout)
        report, _, _ = self.cut(notched, "--allowance", 0.5, "--step", "0.5")
        # A strip along all edges, a quarter disc at each of six corners; at two inner ones strips share a square.
        wanted = 144 - 15 + 0.5 * (48 + 10) + 6 / 4 * math.pi * 0.5 ** 2 - 2 * 0.5 ** 2
        self.assertAlmostEqual(report["cut"]["area"], wanted, delta=0.02)

    def test_everything_in_the_cutting_file_has_a_name_and_an_owner(self):
        self.cut(plate(12), "--allowance", "0.4", "--step", "0.5")
        lines = (self.folder / "p.dxf").read_text().splitlines()
        parts, section = [], None  # section, kind, the first value of each code
        for code, value in zip(map(int, lines[0::2]), lines[1::2]):
            if code == 0:
                parts.append((section, value, {}))
            elif parts:
                parts[-1][2].setdefault(code, value)
                section = value if parts[-1][1] == "SECTION" and code == 2 else section
        names = [codes.get(5) for where, kind, codes in parts if where in ("TABLES", "BLOCKS", "ENTITIES", "OBJECTS") and 5 in codes]
        self.assertEqual(len(names), len(set(names)))
        (space,) = [codes[5] for _, kind, codes in parts if kind == "BLOCK_RECORD" and codes[2].upper() == "*MODEL_SPACE"]
        drawn = [codes for where, kind, codes in parts if where == "ENTITIES" and kind not in ("SECTION", "ENDSEC")]
        self.assertGreater(len(drawn), 4)
        self.assertEqual({codes[330] for codes in drawn}, {space})
        tables = {codes[2]: codes[5] for _, kind, codes in parts if kind == "TABLE"}
        for _, kind, codes in parts:
            if kind in tables:
                self.assertEqual(codes[330], tables[kind], kind)

    def test_what_an_allowance_does_to_the_shape_is_told(self):
        holed = without(plate(12), lambda x, y: 3 <= x <= 4 and 4 <= y <= 5)
        for width in ("0.6", "0.48"):  # the hole is 1 wide; a crumb of it counts as nothing
            report, done, loops = self.cut(holed, "--allowance", width, "--seed", "8,8,0", "--step", "0.5")
            self.assertEqual(report["cut"]["remarks"], ["1 hole vanishes in it"])
            self.assertEqual((len(loops["HOLE"]), len(loops["CUT"]), report["cut"]["loops"]), (1, 1, 1))
        for words in (("--allowance", "-1"), ("--allowance", "x"), ("--paper", "A5"), ("--paper", "10,10"), ("--paper", "300")):
            self.drape(self.folder / "part.obj", *words, expect=USAGE)

    def test_a_knot_of_the_net_line_is_not_cut(self):
        points, faces = plate(40)
        waves = [(x, y, 1.5 * math.sin(0.8 * x) * math.cos(0.8 * y)) for x, y, _ in points]
        report, done, loops = self.cut((waves, faces), "--seed", "20.3,20.2,0", "--within", "6", "--step", "2")
        turn = lambda p, q, r: (q[0] - p[0]) * (r[1] - p[1]) - (q[1] - p[1]) * (r[0] - p[0])
        def knots(loop):
            sides = list(zip(loop, loop[1:] + loop[:1]))
            return sum(turn(a, b, c) * turn(a, b, d) < 0 and turn(c, d, a) * turn(c, d, b) < 0
                       for k, (a, b) in enumerate(sides) for c, d in sides[:k])
        (net,), (cut,) = loops["NET"], loops["CUT"]
        self.assertEqual((knots(net), knots(cut)), (1, 0))
        self.assertTrue(0.0 < flat_area(cut) - flat_area(net) < 1e-4 * flat_area(net))
        self.assertAlmostEqual(report["cut"]["area"], flat_area(cut), 6)
        self.assertLess(max(distance_to([net], p) for p in cut), 1e-6)
        self.assertIn("the cut line: it leaves out 1 knot", done.stderr)

    def test_sheets_join_to_the_whole(self):
        long = [(x, 0.4 * y, z) for x, y, z in plate(12)[0]], plate(12)[1]
        mesh = self.file("part.obj", obj(long))
        words = (mesh, "--units-mm", "50", "--step", "0.5", "-o", "p.pdf")
        for paper, size, sheets in (((), None, 1), (("--paper", "A4"), (210, 297), 5), (("--paper", "A0"), (841, 1189), 2),
                                    (("--paper", "200,320"), (200, 320), 5)):
            self.drape(*words, *paper)
            info = subprocess.run(["pdfinfo", self.folder / "p.pdf"], capture_output=True, text=True, check=True).stdout
            self.assertEqual(int(re.search(r"Pages: +(\d+)", info)[1]), sheets)
            got = [25.4 / 72 * float(x) for x in re.search(r"Page size: +([\d.]+) x ([\d.]+)", info).groups()]
            for a, b in zip(got, size or got):
                self.assertAlmostEqual(a, b, delta=0.1)
        # Two neighbours name the crosses that they share alike.
        text = subprocess.run(["pdftotext", "-f", "2", "-l", "3", self.folder / "p.pdf", "-"], capture_output=True, text=True).stdout
        self.assertEqual([text.count(name) for name in ("A1-A2", "A2-A3", "Sheet A1", "Sheet A2")], [6, 3, 1, 1])
        # 1086 mm each way with the border, on sheets that show 480 by 371 and overlap by 10: 3 by 3 just do. No edge
        # runs over the one in the middle, and joins are named across and down.
        self.drape(self.file("square.obj", obj(plate(12))), "--units-mm", "90", "--step", "0.5", "--paper", "500,400", "-o", "p.pdf")
        text = subprocess.run(["pdftotext", "-f", "2", self.folder / "p.pdf", "-"], capture_output=True, text=True, check=True).stdout
        self.assertEqual(sorted(re.findall(r"Sheet (\w+)", text)), [row + column for row in "ABC" for column in "123"])
        joins = [f"{r}{c}-{r}{c + 1}" for r in "ABC" for c in (1, 2)] + [f"{r}{c}-{s}{c}" for r, s in ("AB", "BC") for c in (1, 2, 3)]
        found = re.findall(r"[A-C]\d-[A-C]\d", text)
        self.assertEqual(sorted(found), sorted(6 * joins))
        # The cloth begins 13 from the upper left corner of the first sheet and ends where 1080, less two sheets, lead to.
        for page, (left, right), (top, bottom) in ((2, (13, 490), (13, 381)), (10, (10, 13 + 1080 - 2 * 470), (10, 13 + 1080 - 2 * 361))):
            done = subprocess.run(["pdftoppm", "-r", "50.8", "-f", str(page), "-l", str(page), self.folder / "p.pdf"], capture_output=True, check=True)
            width, height = map(int, done.stdout.split(maxsplit=4)[1:3])
            body = done.stdout[-3 * width * height:]
            cloth = lambda x, y: sum(255 - body[3 * (round(2 * y) * width + round(2 * x) + k) + 2] > 20 for k in (-1, 0, 1)) > 1
            for x, y, lies in ((left - 1.5, 60, False), (left + 2, 62, True), (right - 2, 62, True), (right + 1.5, 60, False),
                               (60, top - 1.5, False), (60, top + 2, True), (60, bottom - 2, True), (60, bottom + 1.5, False)):
                self.assertEqual(cloth(x, y), lies, (page, x, y))
        # On sheets lower by 3 mm a third row would end within the border below the cloth.
        self.drape(self.folder / "square.obj", "--units-mm", "90", "--step", "1", "--paper", "500,397", "-o", "p.pdf")
        text = subprocess.run(["pdftotext", self.folder / "p.pdf", "-"], capture_output=True, text=True, check=True).stdout
        self.assertIn("row 1 of 4, column 3 of 3", " ".join(text.split()))
        # Sheets that the pattern doesn't come to aren't printed.
        self.drape(self.file("angle.obj", obj(without(plate(12), lambda x, y: x >= 5 and y >= 5))), "--units-mm", "90", "--step", "1", "--paper", "500,400", "-o", "p.pdf")
        text = subprocess.run(["pdftotext", self.folder / "p.pdf", "-"], capture_output=True, text=True, check=True).stdout
        printed = set(re.findall(r"Sheet (\w+)", text))
        self.assertTrue(5 <= len(printed) < 9 and f" on {len(printed)} sheets" in text, printed)
        narrow = self.file("narrow.obj", obj(([(x, 0.1 * y, z) for x, y, z in plate(12)[0]], plate(12)[1])))
        self.drape(narrow, "--units-mm", "1000", "--step", "0.4", "-o", "p.pdf")
        info = subprocess.run(["pdfinfo", self.folder / "p.pdf"], capture_output=True, text=True, check=True).stdout
        self.assertIn("Page size:       2383.9", info.replace("3370.39 x ", ""))

    def test_the_moulds_own_edge_is_carried_with_cells_of_any_size(self):
        mesh = ROOT / "samples" / "hemisphere.obj"
        points = [tuple(map(float, line.split()[1:])) for line in mesh.read_text().splitlines() if line.startswith("v ")]
        rim = sorted((p for p in points if math.hypot(*p[:2]) > 149.9), key=lambda p: math.atan2(p[1], p[0]))
        path = self.file("rim.xyz", "".join("%r %r %r\n" % p for p in rim))
        for step, start in ((16, "best"), (20, "best"), (24, "best"), (24, "middle"), (30, "middle"), (40, "best")):
            report, _ = self.report(mesh, "--step", step, "--start", start, "--curve", path)
            (curve,), (loop,) = report["curves"], report["pattern"]["loops"]
            self.assertTrue(report["pattern"]["reachesEdge"] and curve["closed"])
            self.assertAlmostEqual(curve["lengthOnPattern"] / loop["length"], 1.0, delta=0.004)

    def test_drawings_can_be_read_in_any_unit(self):
        for size in (0.001, 0.6, 3.0, 90.0):
            points = [(size * x, size * y, 0.0) for x, y, _ in plate(12)[0]]
            mesh = self.file("part.obj", obj((points, plate(12)[1])))
            report, done = self.report(mesh, "-o", "p.pattern.svg", "-o", "p.pattern.png", "-o", "p.pdf")
            told = re.findall(r"the pattern is (\S+) mm long if the file is in millimetres", done.stderr)
            self.assertEqual([float(x) for x in told], [float(f"{max(report['pattern'][k] for k in ('width', 'height')):.4g}")] * (12 * size < 5))
            self.assertNotIn("mm long", self.drape(mesh, "--units-mm", "1").stderr)
            drawn = [p for s in Svg(self.folder / "p.pattern.svg").shapes if s["stroke"] and not s["curved"]
                     for part in s["parts"] for p in part]
            width = max(p[0] for p in drawn) - min(p[0] for p in drawn)
            page = float(Svg(self.folder / "p.pattern.svg").size[0].removesuffix("mm"))
            self.assertGreater(width, 0.3 * page)
            enlarged = width / (12 * size)
            self.assertTrue(abs(enlarged - 1) < 0.1 if size > 5 else enlarged > 1, enlarged)
            wide, high, rows = png_pixels(self.folder / "p.pattern.png")
            middle = rows[high // 3]
            inked = [x for x in range(wide) if sum(middle[3 * x:3 * x + 3]) < 740]
            self.assertGreater(inked[-1] - inked[0], 0.4 * wide)
            _, words = pdf_words(self.folder / "p.pdf")
            text = " ".join(word for word, *_ in words)
            self.assertIn("Drawn 1 : 1.", text)
            self.assertIn("Ply part", text)
            self.assertIn("THIS SIDE UP", text)


if __name__ == "__main__":
    unittest.main()
