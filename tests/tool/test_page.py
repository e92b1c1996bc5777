"""The page as a file: with a template that is only its slot, what the program puts there is looked at value by value:
the part to the last bit, the settings that were given and none that weren't, curves, sweep and report."""

import base64
import json
import re
import shutil
import struct
import subprocess

from moulds import obj, uneven_sheet
from program import DRAPE, Case
from test_sweep import HEAD

SLOT = '<script id="drape-part" type="application/json">'
FIGURES = (
    "meanShear",
    "largestShear",
    "shareBeyondLocking",
    "coveredShare",
    "doubledShare",
    "netArea",
    "netWidth",
    "netHeight",
    "within",
)
LEFT_OPEN = {
    "angle": 0,
    "step": None,
    "pivot": "grid",
    "locking": 45,
    "side": None,
    "rosette": None,
    "warp": None,
    "tolerance": None,
    "mostNodes": None,
    "fillHoles": False,
    "weld": True,
    "clips": [],
    "within": None,
    "keepGood": False,
    "millimetresPerUnit": 1,
    "name": None,
    "allowance": 0,
    "curves": [],
    "cutCurves": False,
    "passedOver": None,
}


def rounded(value):
    """Without the last digits of numbers that were brought to unit length."""
    if isinstance(value, list):
        return [rounded(v) for v in value]
    return round(value, 12) if isinstance(value, float) else value


class Page(Case):
    maxDiff = None

    def setUp(self):
        """A program of its own beside the template."""
        super().setUp()
        for place in ("bin", "share/drape"):
            (self.folder / place).mkdir(parents=True)
        self.program = shutil.copy(DRAPE, self.folder / "bin/drape")
        self.file("share/drape/drape.html", f"<p>before</p>{SLOT}</script><p>after</p>")
        self.mesh = self.file("mould.obj", obj(uneven_sheet()))

    def page(self, *words):
        """What stands in the slot, and the report of the same run."""
        done = subprocess.run(
            [self.program, self.mesh, *words, "-o", "p.html", "-o", "r.json"],
            cwd=self.folder,
            capture_output=True,
            text=True,
            timeout=300,
        )
        self.assertEqual(done.returncode, 0, done.stderr)
        before, data, after = re.fullmatch(
            f"(.*){SLOT}(.*)</script>(.*)", (self.folder / "p.html").read_text(), re.S
        ).groups()
        self.assertEqual((before, after), ("<p>before</p>", "<p>after</p>"))
        report = json.loads((self.folder / "r.json").read_text())
        report.pop("seconds", None)
        told = json.loads(data)
        told["report"].pop("seconds", None)
        self.assertEqual(told["report"], report)
        return told, report

    def test_the_part_goes_in_to_the_last_bit(self):
        told, _ = self.page("--step", "2.5", "--seed", "38,-2.6,14")
        points, polygons = uneven_sheet()
        self.assertEqual((told["file"], told["points"], told["polygons"]), ("mould.obj", len(points), len(polygons)))
        data = base64.b64decode(told["data"], validate=True)
        at = 24 * len(points)
        got = list(struct.iter_unpack("<3d", data[:at]))
        self.assertEqual(got, [tuple(float(repr(x)) for x in p) for p in points])
        for polygon in polygons:
            count, *corners = struct.unpack_from(f"<{len(polygon) + 1}i", data, at)
            self.assertEqual((count, tuple(corners)), (len(polygon), tuple(polygon)))
            at += 4 * (count + 1)
        self.assertEqual(at, len(data))

    def test_settings_that_were_given_and_none_that_were_not(self):
        told, report = self.page("--seed", "38,-2.6,14")
        settings = told["settings"]
        self.assertEqual(settings.pop("seed"), report["choice"]["seed"])
        self.assertEqual(settings, LEFT_OPEN)
        self.assertEqual(told["sweep"], [])
        curve = self.file("line.txt", "36 -4 14\n40 -4 14\n40 -1 14\n36 -1 14\n")
        told, report = self.page(
            "--seed",
            "38,-2.6,14",
            "--angle",
            "25",
            "--step",
            "1.6,1.2",
            "--pivot",
            "shear",
            "--locking",
            "8",
            "--side",
            "0,3,4",
            "--rosette",
            "6,8,0",
            "--warp",
            "9,12,20",
            "--tolerance",
            "0.004",
            "--max-nodes",
            "5000",
            "--fill-holes",
            "--no-weld",
            "--clip",
            "0,0,-50,7,0,24",
            "--keep",
            "good",
            "--units-mm",
            "25.4",
            "--name",
            "</P>1",
            "--allowance",
            "0.5",
            "--curve",
            curve,
            "--curve-clip",
        )
        settings = {name: rounded(value) for name, value in told["settings"].items()}
        curves = settings.pop("curves")
        self.assertEqual(
            settings,
            {
                "seed": rounded(report["choice"]["seed"]),
                "angle": 25,
                "step": [1.6, 1.2],
                "pivot": "shear",
                "locking": 8,
                "side": [0, 0.6, 0.8],
                "rosette": [0.6, 0.8, 0],
                "warp": [0.36, 0.48, 0.8],
                "tolerance": 0.004,
                "mostNodes": 5000,
                "fillHoles": True,
                "weld": False,
                "clips": [[0, 0, -50, 0.28, 0, 0.96]],
                "within": None,
                "keepGood": True,
                "millimetresPerUnit": 25.4,
                "name": "</P>1",
                "allowance": 0.5,
                "cutCurves": True,
                "passedOver": None,
            },
        )
        self.assertEqual([(c["file"], c["name"]) for c in curves], [("line.txt", "line")])
        self.assertEqual([p[:2] for p in curves[0]["points"]], [[36, -4], [40, -4], [40, -1], [36, -1]])
        self.assertEqual(curves[0]["directions"], [])

    def test_a_sweep_comes_along_best_first(self):
        told, report = self.page(
            "--step", "2.5", "--sweep-seeds", "2", "--sweep-angles", "0,30,45", "-o", "t.sweep.csv"
        )
        rows = [line.split(",") for line in (self.folder / "t.sweep.csv").read_text().splitlines()[1:]]
        rows = {int(row[0]): dict(zip(HEAD, row)) for row in rows}
        self.assertEqual([e["candidate"] for e in told["sweep"]][:6], [e["candidate"] for e in report["sweep"]["best"]])
        self.assertEqual(len(told["sweep"]), 6)
        for entry in told["sweep"]:
            row = rows[entry["candidate"]]
            self.assertEqual(
                [entry[k] for k in ("ran", "status", "nodes", "cells")],
                [row["ran"] == "1", *(int(row[k]) for k in ("status", "nodes", "cells"))],
            )
            names = [*HEAD[1:5], *HEAD[9:18]]
            got = [*entry["seed"], entry["angle"], *(entry[k] for k in FIGURES)]
            for value, name in zip(got, names, strict=True):
                wanted = float(row[name] or -1)  # no patch, no reach
                self.assertAlmostEqual(value, wanted, delta=1e-7 * max(1, abs(value)), msg=name)
            self.assertIs(entry["whole"], True)
            self.assertIs(entry["singleLayer"], entry["doubledShare"] <= 0.05)

    def test_a_face_that_was_cut_off_stays_off(self):
        told, report = self.page("--step", "2.5", "--within", "12", "--seed", "38,-2.6,14")
        self.assertEqual(told["settings"]["within"], 12)
        self.assertEqual(told["settings"]["step"], [2.5, 2.5])


if __name__ == "__main__":
    import unittest

    unittest.main()
