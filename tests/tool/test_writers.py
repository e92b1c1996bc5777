"""Runs the program on the samples: every kind of file can be written of every drape, twice the same, or not at all.

Environment: DRAPE, the program; DRAPE_SAMPLES, the folder of the sample moulds.
"""

import json
import math
import os
import pathlib
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ET

from model import flat_area, triangle_area
from program import DRAPE
from readers import PolyData, dxf_entities

SAMPLES = pathlib.Path(os.environ.get("DRAPE_SAMPLES", "samples"))
ENDINGS = ["vtp", "fibres.vtp", "fibres.csv", "glb", "gltf", "pattern.svg", "pattern.png", "pdf", "dxf",
           "curve.csv", "svg", "png", "json"]


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


class ManyDrapes(unittest.TestCase):
    def test_outline_is_the_net_pattern_on_every_sample(self):
        for mould in sorted(SAMPLES.glob("*.obj")):
            with self.subTest(mould.stem), tempfile.TemporaryDirectory() as folder:
                paths, report = drape(folder, mould.stem, endings=["dxf", "fibres.vtp"])
                loops = [line["points"] for line in dxf_entities(paths["dxf"].read_text())
                         if line["layer"] in ("NET", "HOLE")]
                net = report["pattern"]["netArea"]
                self.assertAlmostEqual(sum(map(flat_area, loops)), net, 3)
                # The cloth over a triangle is as much larger as it is sheared.
                mesh = PolyData(paths["fibres.vtp"])
                sheared = sum(triangle_area(*(mesh.points[v] for v in corners)) / math.cos(math.radians(shear))
                              for corners, shear in zip(mesh.faces(), mesh.cell_data["shear"], strict=True))
                if report["pattern"]["reachesEdge"]:
                    self.assertAlmostEqual(net / sheared, 1.0, delta=0.005)

    def test_two_runs_write_the_same_bytes(self):
        words = ["--step", 16, "--allowance", 5]
        same = [ending for ending in ENDINGS if ending not in ("json", "curve.csv")]
        with tempfile.TemporaryDirectory() as first, tempfile.TemporaryDirectory() as second:
            a, _ = drape(first, "saddle", *words, endings=same)
            b, _ = drape(second, "saddle", *words, endings=same)
            for ending in same:
                self.assertEqual(a[ending].read_bytes(), b[ending].read_bytes(), ending)

    def test_drapes_without_cells_and_partial_drapes_write_every_kind(self):
        kinds = [ending for ending in ENDINGS if ending != "curve.csv"]
        for sample, arguments, code in (("saddle", ["--step", 400, "--start", "middle"], 0),
                                        ("hemisphere", ["--step", 20, "--max-nodes", 200, "--start", "middle"], 4)):
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
