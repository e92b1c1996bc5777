"""Runs the program on the samples and reads back every kind of file that it writes.

Environment: DRAPE, the program; DRAPE_SAMPLES, the folder of the sample moulds.
"""

import base64
import csv
import json
import math
import os
import pathlib
import re
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ET

DRAPE = os.environ.get("DRAPE", "drape")
SAMPLES = pathlib.Path(os.environ.get("DRAPE_SAMPLES", "samples"))
ENDINGS = ["vtp", "fibres.vtp", "fibres.csv", "glb", "gltf", "pattern.svg", "pattern.png", "pdf", "dxf",
           "curve.csv", "svg", "png", "json"]
# For a program built with the leak sanitizer.
SUPPRESSIONS = pathlib.Path(__file__).resolve().parent / "leaks.supp"
os.environ.setdefault("LSAN_OPTIONS", f"suppressions={SUPPRESSIONS}:print_suppressions=0")
DIRECTION_TOLERANCE = 1e-6  # of unit vectors


def run(*arguments, **more):
    return subprocess.run([DRAPE, *map(str, arguments)], capture_output=True, text=True, timeout=300, **more)


def drape(folder, sample, *arguments, endings=("json",)):
    """Drapes a sample; gives the paths by ending and the report."""
    paths = {ending: pathlib.Path(folder) / f"d.{ending}" for ending in {"json", *endings}}
    outputs = [part for path in paths.values() for part in ("-o", path)]
    done = run(SAMPLES / f"{sample}.obj", *arguments, *outputs)
    if done.returncode != 0:
        raise AssertionError(f"{sample}: exit {done.returncode}\n{done.stdout}{done.stderr}")
    return paths, json.loads(paths["json"].read_text())


class PolyData:
    """A VTK PolyData file with its arrays decoded."""

    FORMS = {"Float64": "d", "Int32": "i"}

    def __init__(self, path):
        root = ET.parse(path).getroot()
        assert (root.get("type"), root.get("header_type")) == ("PolyData", "UInt64")
        piece = root.find("PolyData/Piece")
        self.point_count = int(piece.get("NumberOfPoints"))
        self.polygon_count = int(piece.get("NumberOfPolys"))
        self.points = self.rows(piece.find("Points/DataArray"))
        self.polygons = {a.get("Name"): self.flat(a) for a in piece.find("Polys")}
        self.point_data = {a.get("Name"): self.rows(a) for a in piece.find("PointData")}
        self.cell_data = {a.get("Name"): self.rows(a) for a in piece.find("CellData")}

    def flat(self, array):
        data = base64.b64decode((array.text or "").strip(), validate=True)
        (size,) = struct.unpack_from("<Q", data)
        assert size == len(data) - 8, "byte count in front of the values"
        form = self.FORMS[array.get("type")]
        return struct.unpack_from(f"<{size // struct.calcsize(form)}{form}", data, 8)

    def rows(self, array):
        width = int(array.get("NumberOfComponents", 1))
        values = self.flat(array)
        return list(values) if width == 1 else [values[k:k + width] for k in range(0, len(values), width)]


def unit_length(vector):
    return abs(math.hypot(*vector) - 1.0) < DIRECTION_TOLERANCE


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def polylines(dxf_text):
    """Layer, closed flag and points of each polyline of an R12 file, whose groups are pairs of lines."""
    lines = dxf_text.splitlines()
    groups = list(zip(lines[0::2], lines[1::2]))
    found, layer, reading = [], None, False
    for code, value in ((int(code), value) for code, value in groups):
        if code == 0:
            if value == "POLYLINE":
                found.append({"layer": None, "closed": False, "points": []})
            elif value == "VERTEX":
                found[-1]["points"].append([0.0, 0.0])
            reading = value
        elif reading == "POLYLINE" and code == 8:
            found[-1]["layer"] = value
        elif reading == "POLYLINE" and code == 70:
            found[-1]["closed"] = value == "1"
        elif reading == "VERTEX" and code in (10, 20):
            found[-1]["points"][-1][code // 10 - 1] = float(value)
    return found


def unit_normal(a, b, c):
    u = [q - p for p, q in zip(a, b)]
    v = [q - p for p, q in zip(a, c)]
    n = [u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]]
    return [x / math.hypot(*n) for x in n]


def area(points):
    return 0.5 * sum(a[0] * b[1] - b[0] * a[1] for a, b in zip(points, points[1:] + points[:1]))


def png_size(path):
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    return struct.unpack(">II", data[16:24])


class OneDrape(unittest.TestCase):
    """All kinds of files of one drape against its report and against each other."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        curve = pathlib.Path(cls.folder.name) / "trim.xyz"
        curve.write_text("".join(f"{120 * math.cos(a)} {60 * math.sin(a)} 20\n"
                                 for a in (2 * math.pi * k / 60 for k in range(60))))
        cls.paths, cls.report = drape(cls.folder.name, "double_dome", "--seed", "0,0,50", "--curve", curve,
                                      "--units-mm", "2", endings=ENDINGS)
        cls.result = cls.report["result"]

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_grid_holds_the_nodes_and_cells_of_the_report(self):
        grid = PolyData(self.paths["vtp"])
        self.assertEqual(grid.point_count, self.result["nodes"])
        self.assertEqual(grid.polygon_count, self.result["cells"])
        self.assertEqual(sum(grid.cell_data["onSurface"]), self.result["cellsOnSurface"])
        self.assertEqual(list(grid.polygons["offsets"]), [4 * k + 4 for k in range(grid.polygon_count)])
        for name in ("link1", "link2", "link3", "link4", "i", "j", "status", "triangle", "flat", "normal"):
            self.assertEqual(len(grid.point_data[name]), grid.point_count, name)
        corners = grid.polygons["connectivity"]
        for k in range(grid.polygon_count):
            c, a, e, b = corners[4 * k:4 * k + 4]
            self.assertEqual((a + 1, b + 1), (grid.point_data["link1"][c], grid.point_data["link4"][c]))
            self.assertEqual(e + 1, grid.point_data["link4"][a])

    def test_grid_measures_agree_with_the_report(self):
        grid = PolyData(self.paths["vtp"])
        shear = [s for s, on in zip(grid.cell_data["shear"], grid.cell_data["onSurface"]) if on]
        self.assertAlmostEqual(max(shear), self.report["shear"]["largest"], 9)
        self.assertAlmostEqual(sum(shear) / len(shear), self.report["shear"]["mean"], 9)
        for name in ("warp", "weft"):
            self.assertTrue(all(map(unit_length, grid.cell_data[name])), name)

    def test_fibres_lie_in_their_triangles(self):
        mesh = PolyData(self.paths["fibres.vtp"])
        with open(self.paths["fibres.csv"], newline="") as file:
            table = list(csv.DictReader(file))
        self.assertEqual(mesh.polygon_count, self.report["mould"]["triangles"])
        self.assertEqual(len(table), mesh.polygon_count)
        corners = mesh.polygons["connectivity"]
        covered = 0
        for k, row in enumerate(table):
            warp, weft = ([float(row[f"{name}_{axis}"]) for axis in "xyz"] for name in ("warp", "weft"))
            self.assertEqual(int(row["cover"]), mesh.cell_data["cover"][k])
            if row["cover"] == "0":
                self.assertEqual(warp + weft, [0.0] * 6)
                continue
            covered += 1
            self.assertTrue(unit_length(warp) and unit_length(weft))
            a, b, c = (mesh.points[corners[3 * k + n]] for n in range(3))
            for fibre in (warp, weft):
                self.assertAlmostEqual(dot(fibre, unit_normal(a, b, c)), 0.0, 6)
        self.assertGreater(covered, 0.9 * len(table))

    def test_fibre_angle_matches_the_shear_of_the_cell(self):
        mesh = PolyData(self.paths["fibres.vtp"])
        off = [abs(abs(90.0 - math.degrees(math.acos(max(-1.0, min(1.0, dot(warp, weft)))))) - shear)
               for warp, weft, shear, cover in zip(mesh.cell_data["warp"], mesh.cell_data["weft"],
                                                   mesh.cell_data["shear"], mesh.cell_data["cover"]) if cover == 1]
        off.sort()
        self.assertLess(off[len(off) // 2], 1.0)
        self.assertLess(off[int(0.99 * len(off))], 12.0)

    def test_gltf_and_glb_hold_the_same_mesh(self):
        text = json.loads(self.paths["gltf"].read_text())
        data = self.paths["glb"].read_bytes()
        magic, version, total = struct.unpack_from("<4sII", data)
        self.assertEqual((magic, version, total), (b"glTF", 2, len(data)))
        size, kind = struct.unpack_from("<I4s", data, 12)
        binary = json.loads(data[20:20 + size])
        body_size, body_kind = struct.unpack_from("<I4s", data, 20 + size)
        body = data[28 + size:]
        self.assertEqual((kind, body_kind, body_size), (b"JSON", b"BIN\0", len(body)))
        uri = text["buffers"][0].pop("uri")
        self.assertEqual(base64.b64decode(uri.split(",")[1]), body[:text["buffers"][0]["byteLength"]])
        self.assertEqual(text, binary)
        cloth = text["meshes"][0]["primitives"][0]
        accessors = text["accessors"]
        self.assertEqual(accessors[cloth["indices"]]["count"], 6 * self.result["cellsOnSurface"])
        vertices = accessors[cloth["attributes"]["POSITION"]]["count"]
        view = text["bufferViews"][accessors[cloth["indices"]]["bufferView"]]
        indices = struct.unpack_from(f"<{view['byteLength'] // 4}I", body, view["byteOffset"])
        self.assertEqual(set(indices), set(range(vertices)))

    def test_cutting_outline_encloses_the_pattern(self):
        lines = polylines(self.paths["dxf"].read_text())
        loops = [line["points"] for line in lines if line["layer"] == "OUTLINE"]
        self.assertTrue(loops and all(line["closed"] for line in lines if line["layer"] == "OUTLINE"))
        millimetres = 2.0
        self.assertAlmostEqual(sum(map(area, loops)), millimetres**2 * self.report["pattern"]["area"], 3)
        low_x, low_y, high_x, high_y = (millimetres * v for v in self.report["pattern"]["extent"])
        xs, ys = zip(*(point for loop in loops for point in loop))
        for got, wanted in zip((min(xs), min(ys), max(xs), max(ys)), (low_x, low_y, high_x, high_y)):
            self.assertAlmostEqual(got, wanted, 5)

    def test_curve_is_the_same_in_table_and_outline(self):
        with open(self.paths["curve.csv"], newline="") as file:
            flat = [(float(row["u"]), float(row["v"])) for row in csv.DictReader(file)]
        (line,) = [line for line in polylines(self.paths["dxf"].read_text()) if line["layer"] == "CURVE"]
        self.assertEqual(len(flat), 60)
        for (u, v), (x, y) in zip(flat, line["points"]):
            self.assertAlmostEqual(2.0 * u, x, 4)
            self.assertAlmostEqual(2.0 * v, y, 4)

    def test_drawings_are_vectors_at_their_size(self):
        pattern = ET.parse(self.paths["pattern.svg"]).getroot()
        width = float(re.fullmatch(r"([\d.]+)mm", pattern.get("width"))[1])
        self.assertGreater(width, 2.0 * self.report["pattern"]["width"])
        picture = ET.parse(self.paths["svg"]).getroot()
        shapes = [e for e in picture.iter() if e.tag.endswith("path")]
        self.assertGreater(len(shapes), 0.9 * self.result["cellsOnSurface"])
        self.assertFalse([e for e in picture.iter() if e.tag.endswith("image")])
        for ending in ("png", "pattern.png"):
            self.assertGreater(min(png_size(self.paths[ending])), 300, ending)

    def test_pdf_page_is_true_to_size(self):
        # At 25.4 dots per inch a pixel is a millimetre.
        out = pathlib.Path(self.folder.name) / "page"
        subprocess.run(["pdftoppm", "-r", "25.4", "-png", self.paths["pdf"], out], check=True, timeout=120)
        (page,) = out.parent.glob("page*.png")
        pattern = ET.parse(self.paths["pattern.svg"]).getroot()
        for got, name in zip(png_size(page), ("width", "height")):
            self.assertAlmostEqual(got, float(pattern.get(name).removesuffix("mm")), delta=1.0)
        self.assertGreater(png_size(page)[0], 2.0 * self.report["pattern"]["width"])


class ManyDrapes(unittest.TestCase):
    def test_outline_holds_the_cells_on_every_sample(self):
        for mould in sorted(SAMPLES.glob("*.obj")):
            with self.subTest(mould.stem), tempfile.TemporaryDirectory() as folder:
                paths, report = drape(folder, mould.stem, endings=["dxf"])
                loops = [line["points"] for line in polylines(paths["dxf"].read_text())
                         if line["layer"] == "OUTLINE"]
                self.assertAlmostEqual(sum(map(area, loops)), report["pattern"]["area"], 3)

    def test_two_runs_write_the_same_bytes(self):
        same = [ending for ending in ENDINGS if ending not in ("json", "curve.csv")]
        with tempfile.TemporaryDirectory() as first, tempfile.TemporaryDirectory() as second:
            a, _ = drape(first, "saddle", endings=same)
            b, _ = drape(second, "saddle", endings=same)
            for ending in same:
                self.assertEqual(a[ending].read_bytes(), b[ending].read_bytes(), ending)

    def test_drapes_without_cells_and_partial_drapes_write_every_kind(self):
        kinds = [ending for ending in ENDINGS if ending != "curve.csv"]
        for sample, arguments, code in (("saddle", ["--step", 400], 0),
                                        ("hemisphere", ["--step", 8, "--max-nodes", 1900], 4)):
            with self.subTest(sample), tempfile.TemporaryDirectory() as folder:
                outputs = [part for ending in kinds for part in ("-o", f"{folder}/d.{ending}")]
                done = run(SAMPLES / f"{sample}.obj", *arguments, *outputs)
                self.assertEqual(done.returncode, code, done.stderr)
                self.assertEqual(sorted(os.listdir(folder)), sorted(f"d.{ending}" for ending in kinds))
                for ending in ("vtp", "fibres.vtp", "svg", "pattern.svg"):
                    text = pathlib.Path(folder, f"d.{ending}").read_text()
                    ET.fromstring(text)
                    self.assertIsNone(re.search(r'[" ]-?(nan|inf)[" ]', text), ending)


class WholeOrNotAtAll(unittest.TestCase):
    def test_a_file_that_cannot_be_written_leaves_nothing(self):
        with tempfile.TemporaryDirectory() as folder:
            missing = run(SAMPLES / "saddle.obj", "-o", f"{folder}/none/d.vtp")
            self.assertEqual(missing.returncode, 1)
            self.assertIn(f"{folder}/none/d.vtp", missing.stderr)
            os.mkdir(f"{folder}/d.vtp")
            self.assertEqual(run(SAMPLES / "saddle.obj", "-o", f"{folder}/d.vtp").returncode, 1)
            self.assertEqual(os.listdir(folder), ["d.vtp"])

    @unittest.skipUnless(os.path.exists("/dev/full") and hasattr(os, "getuid"), "limits file sizes")
    def test_a_write_that_stops_midway_keeps_the_old_file(self):
        with tempfile.TemporaryDirectory() as folder:
            old = pathlib.Path(folder, "d.vtp")
            old.write_text("old")
            command = f'ulimit -f 8; trap "" XFSZ; exec "{DRAPE}" "{SAMPLES}/saddle.obj" -o "{old}"'
            done = subprocess.run(["bash", "-c", command], capture_output=True, text=True, timeout=300)
            self.assertEqual(done.returncode, 1, done.stderr)
            self.assertEqual((os.listdir(folder), old.read_text()), (["d.vtp"], "old"))

    def test_a_new_file_has_the_usual_permissions_and_replaces_behind_a_link(self):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "real.vtp").write_text("old")
            os.symlink("real.vtp", f"{folder}/d.vtp")
            self.assertEqual(run(SAMPLES / "saddle.obj", "-o", f"{folder}/d.vtp", umask=0o022).returncode, 0)
            self.assertTrue(os.path.islink(f"{folder}/d.vtp"))
            self.assertGreater(os.path.getsize(f"{folder}/real.vtp"), 1000)
            self.assertEqual(os.stat(f"{folder}/real.vtp").st_mode & 0o777, 0o644)


if __name__ == "__main__":
    unittest.main()
