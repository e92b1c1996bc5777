"""Drapes of the uneven sheet, run once for all tests of a class, with everything that they wrote read back."""

import csv
import functools
import json
import pathlib
import subprocess
import tempfile
import unittest

import model
from moulds import obj, uneven_sheet
from program import DONE, DRAPE, RUN_ENDED
from readers import PolyData, dxf_entities


class Drape:
    """One run of the program with its grid, fibres and report read back."""

    def __init__(self, folder, mesh, *words, outputs=(), expect=0, stem="d"):
        self.folder = pathlib.Path(folder)
        self.path = {ending: self.folder / f"{stem}.{ending}"
                     for ending in ("vtp", "fibres.vtp", "fibres.csv", "json", *outputs)}
        written = [part for path in self.path.values() for part in ("-o", path)]
        start = () if "--seed" in words else ("--start", "middle")
        done = subprocess.run([DRAPE, mesh, *map(str, words), *start, *written], capture_output=True, text=True, timeout=300)
        if done.returncode != expect:
            raise AssertionError(f"exit {done.returncode}\n{done.stdout}{done.stderr}")
        self.stdout, self.stderr = done.stdout, done.stderr
        self.report = json.loads(self.path["json"].read_text())
        self.file = PolyData(self.path["vtp"])
        self.grid = model.Grid(self.file)
        self.fibres = PolyData(self.path["fibres.vtp"])
        with open(self.path["fibres.csv"], newline="") as file:
            self.table = list(csv.DictReader(file))
        self.mould = model.Mould(self.fibres.points, self.fibres.faces(), self.fibres.cell_data["face"])

    @functools.cached_property
    def map(self):
        return model.fibre_map(self.mould, self.grid, self.loops)


    @functools.cached_property
    def loops(self):
        """The closed lines of the pattern, from its file for the cutting table."""
        entities, mm = dxf_entities(self.path["dxf"].read_text()), self.report["input"]["millimetresPerUnit"]
        return [[model.scaled(p, 1 / mm) for p in e["points"]] for e in entities if e["layer"] in ("NET", "HOLE")]

    @functools.cached_property
    def net(self):
        return model.net_faces(self.grid, self.loops)

    @functools.cached_property
    def yarns(self):
        """The sides of cells along which there is cloth, with the share of each."""
        return model.yarn_sides(self.grid, self.loops, self.net)


def of_each(test):
    """Runs a test for each drape of the class."""
    def run(self):
        for name, drape in self.drapes.items():
            with self.subTest(name):
                test(self, name, drape)
    return functools.wraps(test)(run)


class Drapes(unittest.TestCase):
    """Tests of several drapes, by name; a drape named "ended" is one that is given up."""

    VARIANTS = {}
    OUTPUTS = ()

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.mesh = cls.folder / "sheet.obj"
        cls.mesh.write_text(obj(uneven_sheet()))
        cls.drapes = {name: Drape(cls.folder, cls.mesh, *words, outputs=cls.OUTPUTS, stem=name,
                                  expect=RUN_ENDED if name == "ended" else DONE)
                      for name, words in cls.VARIANTS.items()}

    def assertClose(self, got, wanted, tolerance=1e-9, what=None):
        got, wanted = list(got), list(wanted)
        self.assertEqual(len(got), len(wanted), what)
        for k, (a, b) in enumerate(zip(got, wanted)):
            if hasattr(a, "__len__"):
                self.assertClose(a, b, tolerance, (what, k))
            else:
                self.assertLessEqual(abs(a - b), tolerance * max(1.0, abs(b)), (what, k, a, b))
