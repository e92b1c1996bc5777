"""Darts: what the program says of them against the drawings, and pieces with darts draped again from their files."""

import json
import math
import shlex
import unittest

from moulds import cup, obj, plate
from program import USAGE, Case
from readers import Svg

DART_COLOUR = (0.9, 0.3, 0.0)


def polylines(text, layer):
    """Points of the DXF file's polylines on a layer."""
    pairs = [line.strip() for line in text.splitlines()]
    pairs = list(zip(pairs[0::2], pairs[1::2]))
    lines, here = [], None
    for code, value in pairs:
        if code == "0":
            here = [] if value == "LWPOLYLINE" else None
        elif here is not None and code == "8" and value == layer:
            lines.append(here)
        elif here is not None and code == "10":
            here.append([float(value)])
        elif here is not None and code == "20":
            here[-1].append(float(value))
    return lines


class Darts(Case):
    def setUp(self):
        super().setUp()
        for name, mould in (("flat", plate(8)), ("cup", cup(0.3, 40, 14, 6))):
            (self.folder / (name + ".obj")).write_text(obj(mould))

    def test_a_ply_with_darts_and_its_drawings(self):
        self.drape("cup.obj", "--darts", "--step", "0.14", "-o", "c.json", "-o", "c.dxf", "-o", "c.pattern.svg")
        report = json.loads((self.folder / "c.json").read_text())
        self.assertTrue(report["good"]["kept"])
        self.assertLessEqual(report["shear"]["largest"], 45.0)
        lines = polylines((self.folder / "c.dxf").read_text(), "DART")
        self.assertEqual(len(lines), len(report["darts"]))
        for dart, line in zip(report["darts"], lines):
            self.assertEqual(dart["kind"], "V" if dart["angle"] >= 0.0 else "overlap")
            self.assertAlmostEqual(abs(dart["width"]), math.dist(*dart["mouthOnPattern"]), delta=1e-9)
            for end, place in zip((line[0], line[-1]), dart["mouthOnPattern"]):
                self.assertLess(math.dist(end, place), 1e-6)
            # The sides keep the slit's length, as cloth does along its yarns and nearly so across.
            self.assertGreater(dart["length"], math.dist(dart["tip"], dart["mouth"]) - 1e-9)

        # The words of each stand beside its tip, on the side away from the seed, and off each other.
        drawing = Svg(self.folder / "c.pattern.svg")
        words = [place for colour, place in zip(drawing.words, drawing.places) if colour == DART_COLOUR]
        dots = [shape for shape in drawing.shapes if shape["fill"] == DART_COLOUR and shape["curved"]]
        self.assertEqual(len(words), len(report["darts"]))
        for dart, letters, dot in zip(report["darts"], words, dots, strict=True):
            tip = [0.5 * (min(p[k] for p in dot["parts"][0]) + max(p[k] for p in dot["parts"][0])) for k in (0, 1)]
            left = dart["tipOnPattern"][0] < 0.0
            self.assertTrue(letters[-1][0] < tip[0] if left else letters[0][0] > tip[0])
            self.assertLess(abs(letters[0][1] - tip[1]), 20.0)
        self.assertTrue(any(dart["tipOnPattern"][0] < 0.0 for dart in report["darts"]))

    def test_no_dart_where_none_is_needed(self):
        self.drape("flat.obj", "--darts", "-o", "f.json")
        report = json.loads((self.folder / "f.json").read_text())
        self.assertEqual(report["darts"], [])
        self.assertGreater(report["good"]["share"], 0.995)
        self.drape("flat.obj", "--cover", "--darts", "-o", "f.json")
        [piece] = json.loads((self.folder / "f.json").read_text())["cover"]["pieces"]
        self.assertEqual(piece["darts"], [])

    def test_a_set_with_darts_saves_a_piece_and_is_the_same_twice(self):
        sets = []
        for options, name in (([], "plain"), (["--darts"], "darts"), (["--darts", "-j", "1"], "again")):
            self.drape(
                "cup.obj",
                "--cover",
                "0.9",
                "--step",
                "0.22",
                *options,
                "-o",
                name + ".json",
                "-o",
                name + ".pieces.obj"
            )
            sets.append(json.loads((self.folder / (name + ".json")).read_text())["cover"])
        plain, darts, again = sets
        self.assertEqual(darts, again)
        self.assertGreaterEqual(plain["coveredShare"], 0.9)
        self.assertGreaterEqual(darts["coveredShare"], 0.9)
        self.assertLess(darts["count"], plain["count"])
        self.assertTrue(all("darts" not in piece for piece in plain["pieces"]))
        slit = [k for k, piece in enumerate(darts["pieces"]) if piece["darts"]]
        self.assertTrue(slit)
        for k in slit:
            for dart in darts["pieces"][k]["darts"]:
                self.assertGreater(dart["width"], 0.0)
            path = self.folder / ("darts.piece%d.obj" % (k + 1))
            first, options = path.read_text().splitlines()[:2]
            self.assertIn("--no-weld", options)
            self.drape(str(path), *shlex.split(options.lstrip("# ")), "-o", "piece.json")
            report = json.loads((self.folder / "piece.json").read_text())
            self.assertEqual(report["result"]["status"], 0)
            self.assertLessEqual(report["shear"]["largest"], 45.0)
            self.assertLess(report["result"]["doubledShare"], 1e-3)
            if "drape it again" in first:
                self.assertAlmostEqual(
                    report["pattern"]["netArea"], darts["pieces"][k]["area"], delta=0.005 * darts["pieces"][k]["area"]
                )

    def test_what_darts_do_not_go_with(self):
        for options in (["--sweep"], ["--within", "max"], ["--keep", "all"]):
            self.drape("flat.obj", "--darts", *options, expect=USAGE)


if __name__ == "__main__":
    unittest.main()
