"""Meshes of solvers and meshers: places, elements with their numbers and sets come out as they stand in the file."""

import json
import math
import pathlib
import re
import shutil
import signal
import struct
import subprocess
import sys
import time
import unittest

from moulds import obj, uneven_sheet
from program import DRAPE, INPUT, ROOT, USAGE, Case
from readers import PolyData
from solver_meshes import element, gmsh22, gmsh41, iges, inp, nastran, node, vtk, vtu


def sheet():
    """The uneven sheet without its face of six corners, which solvers don't have."""
    points, faces = uneven_sheet()
    return points, [f for f in faces if len(f) < 5]


class SolverMeshes(Case):
    def mould(self, name, content, *words):
        self.drape(self.file(name, content), "--side", "0,0,1", "--start", "middle", *words, "-o", "m.fibres.vtp", expect=None)
        mesh = PolyData(self.folder / "m.fibres.vtp")
        return mesh.points, mesh.faces(), mesh.cell_data["face"]

    def test_every_format_gives_the_mould_of_the_plain_file(self):
        mesh = sheet()
        points, faces, numbers = self.mould("m.obj", obj(mesh))
        own = [element(k - 1) for k in numbers]
        tidy = ([tuple(float(f"{x:.4f}") for x in p) for p in mesh[0]], mesh[1])
        # What a free or large field of a deck holds.
        ten = ([tuple(float(f"{x:.10e}") for x in p) for p in mesh[0]], mesh[1])
        membranes = inp(mesh).replace("=S3", "=M3D3").replace("=s4r", "=SFM3D4R")
        # A row that goes on after a comma and blanks, and a number with its sign.
        spread = inp(mesh).replace(f"\n{element(2)},", f"\n +{element(2)} , \t\n ", 1)
        cases = [("a.inp", inp(mesh), mesh), ("m.inp", membranes, mesh), ("s.inp", spread, mesh), ("a.bdf", nastran(tidy, "small"), tidy), ("b.nas", nastran(ten, "large"), ten),
                 ("c.fem", nastran(ten, "free"), ten), ("a.msh", gmsh22(mesh), mesh), ("b.msh", gmsh41(mesh), mesh)]
        cases += [(f"{form}.vtu", vtu(mesh, form), mesh) for form in ("text", "base64", "zlib", "raw")]
        short = [struct.unpack("3f", struct.pack("3f", *p)) for p in mesh[0]], mesh[1]
        cases += [("f.vtk", vtk(short, "3.0", True, "float"), short), ("e.vtu", vtu(mesh, "text").replace('GlobalIds="id"', "").replace('Name="id"', 'Name="element"'), mesh)]
        cases += [(f"{k}.vtk", vtk(mesh, version, binary), mesh)
                  for k, (version, binary) in enumerate([("3.0", False), ("3.0", True), ("5.1", False), ("5.1", True)])]
        for name, content, places in cases:
            with self.subTest(name):
                got = self.mould(name, content)
                wanted = self.mould("places.obj", obj(places)) if places is not mesh else (points, faces, numbers)
                at = lambda m: {n: {frozenset(m[0][v] for v in f) for f, k in zip(m[1], m[2]) if k == n} for n in set(m[2])}
                by_own = {element(n - 1): t for n, t in at(wanted).items()}
                if name.endswith(".vtk"):
                    by_own = at(wanted)  # no numbers in these
                self.assertEqual(at(got), by_own)
        self.assertEqual(sorted(set(own))[0], element(0))

    def test_sets_choose_the_part(self):
        mesh = sheet()
        half = len(mesh[1]) // 2
        first = [element(k) for k in range(half)]
        decks = {"a.inp": (inp(mesh), {"first": first, "BOTH": first + [element(len(mesh[1]) - 1)]}),
                 "a.bdf": (nastran(mesh, "free"), {"pid8": [element(k) for k, f in enumerate(mesh[1]) if len(f) == 4]}),
                 "a.msh": (gmsh22(mesh), {"skin side": first, "FACE9": first}), "b.msh": (gmsh41(mesh), {"Skin Side": first})}
        for name, (content, sets) in decks.items():
            for chosen, wanted in sets.items():
                with self.subTest(f"{name} {chosen}"):
                    got = set(self.mould(name, content, "--set", chosen)[2])
                    self.assertTrue(got <= set(wanted))
                    self.assertGreater(len(got), 1)  # the piece that hangs together
            done = self.drape(name, "--set", "nowhere", expect=INPUT)
            self.assertIn("there is no set nowhere of shell elements; the file has ", done.stderr)
        # Elements keep their numbers in what is written of several pieces, too, which is shown by pieces.
        self.drape("a.inp", "--cover", "0.4", "--step", "1", "-o", "c.fibres.vtp")
        fibres = PolyData(self.folder / "c.fibres.vtp")
        self.assertEqual(set(fibres.cell_data["face"]), {element(k) for k in range(len(mesh[1]))})
        self.assertEqual(fibres.shown[1], "piece")
        report, _ = self.report("a.inp", "--seed-vertex", node(40), "--step", "1", expect=None)
        # A start where triangles meet is moved a little into one of them.
        self.assertLess(math.dist(report["choice"]["seed"], mesh[0][40]), 0.006)
        self.drape("a.inp", "--seed-vertex", "3", expect=USAGE)
        self.assertIn("name no sets", self.drape(self.file("m.obj", obj(mesh)), "--set", "a", expect=INPUT).stderr)

    def test_middles_of_sides_parts_and_includes(self):
        """Elements with nodes in the middle of their sides, split over lines, in a part that an instance turns and
        moves, with the nodes in a file of their own."""
        n = 4
        at = lambda i, j: 1 + i + (2 * n + 1) * j
        nodes = "".join(f"{at(i, j)}, {i}, {j}\n" for i in range(2 * n + 1) for j in range(2 * n + 1))
        quads = "".join(f"{1 + i + n * j}, {at(2 * i, 2 * j)}, {at(2 * i + 2, 2 * j)}, {at(2 * i + 2, 2 * j + 2)}, {at(2 * i, 2 * j + 2)},\n"
                        f" {at(2 * i + 1, 2 * j)}, {at(2 * i + 2, 2 * j + 1)}, {at(2 * i + 1, 2 * j + 2)}, {at(2 * i, 2 * j + 1)}\n"
                        for i in range(n) for j in range(n))
        self.file("nodes.inc", nodes)
        deck = ("*PART, NAME=plate\n*NODE, INPUT=nodes.inc\n*ELEMENT, TYPE=S8R, ELSET=all\n" + quads + "*END PART\n*ASSEMBLY, NAME=a\n"
                "*INSTANCE, NAME=one, PART=plate\n0, 0, 5\n0, 0, 5, 0, 0, 6, 90\n*END INSTANCE\n*END ASSEMBLY\n")
        points, faces, numbers = self.mould("part.inp", deck)
        self.assertEqual({tuple(round(x, 9) for x in p) for p in points}, {(-2.0 * j, 2.0 * i, 5.0) for i in range(n + 1) for j in range(n + 1)})
        self.assertEqual(sorted(numbers), [k for k in range(1, n * n + 1) for _ in "ab"])
        self.file("nodes.inc", nodes.replace("\n12, ", "\n12, x"))
        self.assertIn("of nodes.inc: the coordinate \"x", self.drape("part.inp", expect=INPUT).stderr)

    def test_bulk_data_as_other_hands_write_it(self):
        """Fields apart by tabs, lines of free fields that end in a mark or go on beyond eight, middles of sides given as
        0, sets that end in a range."""
        points = [(i + 0.1 * j, 1.5 * j, 0.0) for j in range(3) for i in range(4)]
        quads = [(i + 4 * j, i + 1 + 4 * j, i + 5 + 4 * j, i + 4 + 4 * j) for j in range(2) for i in range(3)]
        grid = "".join(f"GRID\t{k + 1}\t\t{x:.1f}\t{y:.1f}\t{z:.1f}\n" for k, (x, y, z) in enumerate(points))
        free = "".join(f"GRID,{k + 1},,{x:.1f},{y:.1f},{z:.1f},,,,+G{k}\n" for k, (x, y, z) in enumerate(points))
        corners = [[v + 1 for v in q] for q in quads]
        tabs = "".join(f"CQUAD4\t{k + 11}\t1\t" + "\t".join(map(str, c)) + "\n" for k, c in enumerate(corners))
        marked = "".join(f"CQUAD8,{k + 11},1,{c[0]},{c[1]},{c[2]},{c[3]},0,0,+C{k}\n+C{k},0,0\n" for k, c in enumerate(corners))
        long = "".join(f"CQUAD8,{k + 11},1,{c[0]},{c[1]},{c[2]},{c[3]},0,0,0,0\n" for k, c in enumerate(corners))
        wanted = {frozenset(points[v] for v in q) for q in quads}
        for name, deck in {"tabs": grid + tabs, "marked": free + marked, "long": free + long}.items():
            for chosen in (range(11, 17), (11, 14, 15, 16)):
                with self.subTest(f"{name} {chosen}"):
                    ranged = "SET,3,ELEM,LIST,11,11,11,11,14,THRU,16\n"  # ten fields
                    words = () if len(chosen) == 6 else ("--set", "set3")
                    places, faces, numbers = self.mould("d.bdf", "BEGIN BULK\n" + ranged + deck + "ENDDATA\n", *words)
                    got = {}
                    for face, number in zip(faces, numbers):
                        got.setdefault(number, set()).update(tuple(round(x, 6) for x in places[v]) for v in face)
                    self.assertEqual(sorted(got), list(chosen))
                    self.assertTrue({frozenset(corners) for corners in got.values()} <= wanted)
        # One quad and two triangles with their sides' middles, which decks hold as they came.
        grid = "".join(f"GRID,{1 + i + 5 * j},,{i}.,{j}.,0.\n" for j in range(3) for i in range(5))
        elements = {21: ("CQUAD8", (1, 3, 13, 11, 2, 8, 12, 6)), 22: ("CTRIA6", (3, 5, 15, 4, 10, 9)), 23: ("CTRIA6", (3, 15, 13, 9, 14, 8))}
        cards = "".join(f"{kind},{number},1,{','.join(map(str, nodes[:6]))}{''.join(f',{n}' for n in nodes[6:])}\n"
                        for number, (kind, nodes) in elements.items())
        self.drape(self.file("m.bdf", "BEGIN BULK\n" + grid + cards + "ENDDATA\n"), "--layup", self.file("l.csv", "name,thickness\na,0.1\n"),
                   "--step", "0.5", "-o", "l.inp", "-o", "l.bdf")
        text = (self.folder / "l.inp").read_text()
        blocks = [block.split("\n", 1) for block in re.split(r"^\*ELEMENT, ", text, flags=re.M)[1:]]
        got = {}
        for head, rows in blocks:
            for row in rows.split("*")[0].strip().splitlines():
                number, *nodes = (int(word) for word in row.split(",") if word.strip())
                got[number] = re.search(r"TYPE=(\w+)", head)[1], tuple(nodes)
        self.assertEqual(got, {number: ({"CQUAD8": "S8R", "CTRIA6": "S6"}[kind], nodes) for number, (kind, nodes) in elements.items()})
        self.assertEqual(len(re.findall("CTRIA6", (self.folder / "l.bdf").read_text())), 2)

    def test_steps_groups_pixels_and_axes(self):
        points, faces = sheet()
        # Every other element by the step of its range, and a set that nodes are named to as they are listed.
        deck = inp((points, faces)).replace("*STEP", f"*ELSET, ELSET=ODD, GENERATE\n{element(1)}, {element(len(faces))}, 14\n*STEP")
        deck = deck.replace("*NODE\n", "*NODE, NSET=HALF\n", 1)
        kept = self.mould("odd.inp", deck, "--set", "odd")[2]
        self.assertTrue(kept and all((k - element(1)) % 14 == 0 for k in kept))
        self.drape("odd.inp", "--layup", self.file("l.csv", "name,thickness\na,0.1\n"), "--side", "0,0,1", "--start", "middle", "-o", "l.inp", expect=None)
        block = lambda head: (self.folder / "l.inp").read_text().split(head + "\n")[1].split("*")[0]
        listed = {int(k) for k in block("*NSET, NSET=HALF").replace(",", " ").split()} & {node(k) for k in range(len(points))}
        written = {int(line.split(",")[0]) for line in block("*NODE, NSET=DRAPE_NODES").splitlines()}
        self.assertEqual(listed, {node(k) for k in range(0, len(points), 2)} & written)
        self.drape("odd.inp", "--set", "odd", "--layup", "l.csv", "--side", "0,0,1", "--start", "middle", "-o", "l.inp", expect=None)
        (part,) = re.findall(r"\*ELSET, ELSET=ALL\n([^*]*)", (self.folder / "l.inp").read_text())
        self.assertEqual({int(k) for k in part.replace(",", " ").split()}, set(kept))
        # A surface that is turned over in its group.
        mesh = gmsh41((points, faces)).replace("1 0 0 0 1 1 1 1 9 1 1\n", "1 0 0 0 1 1 1 1 -9 1 1\n")
        self.assertEqual(self.mould("t.msh", mesh, "--set", "skin side")[2], self.mould("u.msh", gmsh41((points, faces)), "--set", "skin side")[2])
        # Pixels go row by row.
        text = "# vtk DataFile Version 3.0\nt\nASCII\nDATASET UNSTRUCTURED_GRID\nPOINTS 6 double\n0 0 0 2 0 0 5 0 0 0 1 0 2 1 0 5 1 0\n"
        self.mould("p.vtk", text + "CELLS 2 10\n4 0 1 3 4 4 1 2 4 5\nCELL_TYPES 2\n8 8\n", "--step", "0.5", "-o", "p.json")
        self.assertEqual(json.loads((self.folder / "p.json").read_text())["mould"]["area"], 5.0)
        # A polygon keeps all its corners.
        text = "# vtk DataFile Version 3.0\nt\nASCII\nDATASET UNSTRUCTURED_GRID\nPOINTS 7 double\n0 0 0 3 0 0 4 2 0 2 5 0 0 3 0 5 0 0 5 2 0\n"
        self.mould("q.vtk", text + "CELLS 2 11\n5 0 1 2 3 4 4 1 5 6 2\nCELL_TYPES 2\n7 9\n", "--step", "0.5", "-o", "p.json")
        self.assertEqual(json.loads((self.folder / "p.json").read_text())["mould"]["area"], 17.0)
        # An instance is moved, then turned about an axis that needn't go through the origin.
        turned = inp((points, faces)).split("*STEP")[0].replace("*Heading\nanything, 1, 2\n", "*PART, NAME=P\n")
        turned += "*END PART\n*ASSEMBLY, NAME=A\n*INSTANCE, NAME=I, PART=P\n1, 2, 3\n10, 20, 30, 10, 20, 35, 90\n*END INSTANCE\n*END ASSEMBLY\n"
        got = {tuple(round(x, 6) for x in p) for p in self.mould("i.inp", turned)[0]}
        self.assertEqual(got, {tuple(round(q, 6) for q in (10 - (y + 2 - 20), 20 + (x + 1 - 10), z + 3)) for x, y, z in (points[v] for v in {v for f in faces for v in f})})

    def test_what_is_wrong_is_told_with_its_line(self):
        mesh = sheet()
        decks = {
            "a.inp": (inp(mesh), [(f"\n{element(1)},", f"\n{element(1)},99,", "element 57 of type"), (f"\n{element(1)},", f"\n-{element(1)},", "number -57 is below 0"), ("*NODE\n1000,", "*NODE\n1000,x", "isn't a finite number"),
                                  (f"{node(3)}, ", f"{node(3)}, 1.0, 0, 0\n{node(3)}, ", "twice, at different places"), ("type=S3,", "type=S5,", "type S5"),
                                  ("*Heading", "*SYSTEM", "*SYSTEM isn't read"), ("first, 99", "77, first, 99", "names element 77"),
                                  ("*Heading\n", "*INCLUDE, INPUT=none.inp\n", "line 2: can't open")]),
            "a.bdf": (nastran(mesh, "free"), [(f"GRID,{node(5)},,", f"GRID,{node(5)},3,", "coordinate system 3"), (f"GRID,{node(9)},", "GRID,99,", f"names node {node(9)}"),
                                              ("$ a comment\n", "+,1,2\n", "goes on with a card"), ("CTRIA3,", "CTRIA3,x", "isn't a whole number"),
                                              ("ENDDATA\nGRID,1,,oops\n", "", "ends without ENDDATA")]),
            "a.msh": (gmsh22(mesh), [("2.2 0 8", "2.2 1 8", "binary"), ("2.2 0 8", "1.0 0 8", "version 1.0"), ("$EndNodes\n", "", "no $EndNodes"),
                                     (f"{element(4)} 3 2 ", f"{element(4)} 3 77 ", "fewer tags"), ("$EndElements\n", "", "no $EndElements"),
                                     (f"\n{node(0)} ", f"\n{node(0)} 1 2\n{node(0)} ", "line 11: the line has 3 values instead of 4")]),
            "b.msh": (gmsh41(mesh), [("$EndElements\n", "", "no $EndElements")]),
            "a.vtk": (vtk(mesh, "3.0", False).decode(), [("DATASET UNSTRUCTURED_GRID", "DATASET STRUCTURED_POINTS", "line 4"),
                                                         ("CELL_TYPES ", "CELL_TYPES 9", "the file ends before"), ("POINTS ", "POINTS x", "line 5"), ("POINTS ", "PO\x1b[31m\x07INTS ", 'part "PO?[31M?INTS"'),
                                                         ("ASCII", "ASCIIS", "line 3: the form")]),
        }
        for name, (content, faults) in decks.items():
            for before, after, words in faults:
                with self.subTest(f"{name} {words}"):
                    self.assertIn(before, content)
                    told = self.drape(self.file(name, content.replace(before, after, 1)), expect=INPUT).stderr
                    self.assertIn(words, told)
                    self.assertRegex(told, r"line \d+")
        whole = vtu(mesh, "zlib")
        for name, content, words in (("a.vtu", whole[:900], "can't"), ("b.vtu", whole.replace("LittleEndian", "BigEndian"), "highest byte first"),
                                     ("z.vtu", whole.replace("vtkZLib", "vtkLZ4"), "compressed by vtkLZ4DataCompressor"), ("c.vtu", vtu(mesh, "base64").replace('"offsets"', '"ends"'), "no array offsets"),
                                     ("d.vtu", vtu(mesh, "text").replace(" 4 ", " 400000 ", 1), "can't read"),
                                     ("e.inp", "*NODE\n1,0,0,0\n*ELEMENT, TYPE=C3D4\n1,1,1,1,1\n", "only 1 of type C3D4"),
                                     ("o.vtu", re.sub(rb'offset="\d+"', b'offset="99999999"', vtu(mesh, "raw"), count=1), "an array stands outside of the data behind the XML"),
                                     ("h.vtk", "# vtk DataFile Version 3.0\nt\nASCII\nDATASET UNSTRUCTURED_GRID\nPOINTS 4 double\n0 0 0 2 0 0 0 2 0 0 0 2\nCELLS 1 5\n4 0 1 2 3\nCELL_TYPES 1\n10\n",
                                      "only 1 of type 10"),
                                     ("f.bdf", b"\0\1\2", "binary"), ("g.vtk", vtk(mesh, "5.1", True)[:-300], "line")):
            with self.subTest(name):
                self.assertIn(words, self.drape(self.file(name, content), expect=INPUT).stderr)


@unittest.skipUnless(shutil.which("gmsh"), "the mesher isn't installed")
class CadFiles(Case):
    """The sample tray; its first face is one of the walls."""

    def test_faces_sizes_and_units(self):
        tray = ROOT / "samples" / "tray.step"
        whole, done = self.report(tray, "--side", "0,0,1", expect=None)
        self.assertEqual(whole["mould"]["loops"][0]["outline"], True)
        floor, _ = self.report(tray, "--face", "1", "--mesh-size", "8")
        self.assertAlmostEqual(floor["pattern"]["netArea"], floor["mould"]["area"], 3)
        self.assertLess(floor["mould"]["area"], whole["mould"]["area"])
        fine, _ = self.report(tray, "--face", "1", "--mesh-size", "4")
        self.assertGreater(fine["mould"]["triangles"], 3 * floor["mould"]["triangles"])
        # The same file in metres is the same part.
        text = tray.read_text()
        self.assertIn("SI_UNIT(.MILLI.,.METRE.)", text)
        metres, _ = self.report(self.file("m.step", text.replace("SI_UNIT(.MILLI.,.METRE.)", "SI_UNIT($,.METRE.)")), "--face", "1", "--mesh-size", "8000")
        self.assertAlmostEqual(metres["mould"]["area"] / floor["mould"]["area"], 1e6, -1)
        self.assertIn("it has no face 99; there are ", self.drape(tray, "--face", "99", expect=INPUT).stderr)
        self.assertIn("the mesher gmsh says", self.drape(self.file("bad.step", "nonsense"), expect=INPUT).stderr)
        self.assertIn("isn't a CAD file", self.drape(self.file("m.obj", obj(sheet())), "--mesh-size", "3", expect=INPUT).stderr)

    def test_exact_surfaces_in_every_form(self):
        """Two arched patches side by side in IGES, in three units, and a face of the mesher's own as BREP."""
        patch = lambda x0: [(x0 + 50 * i, 40 * j, 10 * (i == 1) + 6 * (j == 1)) for j in range(3) for i in range(3)]
        found = {}
        for unit, scale in (((2, "MM"), 1), ((1, "INCH"), 25.4), ((6, "M"), 1000)):
            path = self.file("p.igs", iges([patch(0), patch(100)], unit))
            for words in ((), ("--face", "2")):
                report, _ = self.report(path, "--mesh-size", 8 * scale, "--step", 8 * scale, "--side", "0,0,1", *words)
                found[scale, words] = report["mould"]["area"] / scale ** 2
        whole, half = found[1, ()], found[1, ("--face", "2")]
        self.assertAlmostEqual(whole / half, 2, 2)
        self.assertTrue(8000 < half < 8700)
        for (scale, words), area in found.items():
            self.assertAlmostEqual(area / (half if words else whole), 1, 2)
        self.file("a.geo", 'SetFactory("OpenCASCADE");\nDisk(1) = {0, 0, 0, 50};\nDisk(2) = {200, 0, 0, 20};\n')
        subprocess.run(["gmsh", "-0", "a.geo", "-o", "a.brep"], cwd=self.folder, check=True, capture_output=True)
        for face, radius in ((1, 50), (2, 20)):
            report, _ = self.report("a.brep", "--face", face, "--mesh-size", 3, "--step", 4)
            self.assertAlmostEqual(report["mould"]["area"] / (math.pi * radius ** 2), 1, 2)

    def test_inches_are_inches(self):
        """The sample with its unit taken as inches, which a file says by a unit of its own made from millimetres."""
        def inch(match):
            own, number = match.group(1), 90000 + int(match.group(1))
            return (f"#{own} = ( CONVERSION_BASED_UNIT('INCH',#{number}2) LENGTH_UNIT() NAMED_UNIT(#{number}3) );\n"
                    f"#{number}1 = ( LENGTH_UNIT() NAMED_UNIT(*) SI_UNIT(.MILLI.,.METRE.) );\n"
                    f"#{number}2 = LENGTH_MEASURE_WITH_UNIT(LENGTH_MEASURE(25.4),#{number}1);\n#{number}3 = DIMENSIONAL_EXPONENTS(1.,0.,0.,0.,0.,0.,0.);")
        tray = (ROOT / "samples" / "tray.step").read_text()
        text, count = re.subn(r"#(\d+) = \( LENGTH_UNIT\(\) NAMED_UNIT\(\*\) SI_UNIT\(\.MILLI\.,\.METRE\.\) \);", inch, tray)
        self.assertGreater(count, 0)
        reports = [self.report(self.file(name, content), "--face", "1,2", "--face", "5", "--mesh-size", size)[0]["mould"]
                   for name, content, size in (("mm.step", tray, 8), ("in.step", text, 8 * 25.4))]
        self.assertAlmostEqual(reports[1]["area"] / reports[0]["area"] / 25.4 ** 2, 1, 4)
        self.assertAlmostEqual(reports[1]["loops"][0]["length"] / reports[0]["loops"][0]["length"] / 25.4, 1, 4)

    def mesher(self, script):
        """A folder with a mesher that does as the script says, as the PATH."""
        place = self.folder / "bin"
        place.mkdir(exist_ok=True)
        program = place / "gmsh"
        program.write_text(f"#!{sys.executable}\nimport os, resource, signal, sys, time\n{script}\n")
        program.chmod(0o755)
        passing = self.folder / "passing"
        passing.mkdir(exist_ok=True)
        return {"PATH": str(place), "TMPDIR": str(passing)}, passing

    def test_a_mesher_beyond_measure_is_stopped(self):
        """The mesher works under an alarm and a limit of its files; whatever it does, the program tells and clears up."""
        tray = ROOT / "samples" / "tray.step"
        end = "0 < signal.alarm(1) <= 300 and signal.pause()"  # the alarm that was set, brought forward
        for script, words in ((end, "found no end to it within 300 s; a larger --mesh-size"),
                              ("open('part.msh', 'wb').truncate(1 << 40)", "beyond all measure; give a larger --mesh-size"),
                              ("os.kill(os.getpid(), signal.SIGSEGV)", "the mesher gmsh broke off"),
                              ("print('Error   : no such thing'); sys.exit(1)", "the mesher gmsh says: no such thing"),
                              ("sys.exit(7)", "the mesher gmsh says: nothing"), ("pass", "finds no surfaces"),
                              ("open('part.msh', 'w').write('$MeshFormat\\n2.2 0 8\\n')", "line 2: the section has no $EndMeshFormat"),
                              ("open('part.msh', 'wb').write(bytes(range(256)) * 9)", "binary")):
            with self.subTest(words):
                # Files that are too long end the mesher by a signal, which its language passes over.
                script = "signal.signal(signal.SIGXFSZ, signal.SIG_DFL)\n" + script
                environment, passing = self.mesher(script)
                done = subprocess.run([DRAPE, tray, "-o", "a.json"], capture_output=True, text=True, env=environment, cwd=self.folder, timeout=60)
                self.assertEqual(done.returncode, INPUT, done.stderr)
                self.assertIn(words, done.stderr)
                self.assertEqual(list(passing.iterdir()), [])
                self.assertFalse((self.folder / "a.json").exists())

    def test_a_stop_while_the_mesher_works_leaves_nothing(self):
        environment, passing = self.mesher("open('started', 'w').write(str(os.getpid())); time.sleep(100)")
        for stop in (signal.SIGINT, signal.SIGTERM):
            work = subprocess.Popen([DRAPE, ROOT / "samples" / "tray.step"], env=environment, cwd=self.folder, stderr=subprocess.DEVNULL)
            def started():
                numbers = [path.read_text() for path in passing.glob("*/started")]
                return int(numbers[0]) if numbers and numbers[0] else 0
            self.wait_for(started)
            mesher = started()
            work.send_signal(stop)
            self.assertEqual(work.wait(20), -stop)
            self.assertEqual(list(passing.iterdir()), [])
            self.wait_for(lambda: not pathlib.Path(f"/proc/{mesher}").exists() or "Z" in pathlib.Path(f"/proc/{mesher}/stat").read_text().split(")")[1][:3])

    def wait_for(self, holds):
        for _ in range(400):
            if holds():
                return
            time.sleep(0.05)
        self.fail("it didn't come")

    def test_without_the_mesher(self):
        done = subprocess.run([DRAPE, ROOT / "samples" / "tray.step"], capture_output=True, text=True, env={"PATH": str(self.folder)})
        self.assertEqual(done.returncode, INPUT)
        self.assertIn("apt install gmsh", done.stderr)


if __name__ == "__main__":
    unittest.main()
