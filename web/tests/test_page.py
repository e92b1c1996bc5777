"""The page in headless Chromium without a network, held against the program.

    DRAPE=program DRAPE_PAGE=drape.html DRAPE_SAMPLES=folder DRAPE_PICTURES=folder python3 -m unittest test_page
"""
import json
import math
import os
import pathlib
import shlex
import shutil
import subprocess
import tempfile
import unittest

import moulds
from browser import Page

PROGRAM = os.environ["DRAPE"]
PAGE = os.environ["DRAPE_PAGE"]
SAMPLES = pathlib.Path(os.environ["DRAPE_SAMPLES"])
PICTURES = pathlib.Path(os.environ["DRAPE_PICTURES"])
EXACT = ("result", "mould", "pattern", "choice")
SLACK = 1e-12  # what another C library's arc cosine may change


def same(ours, theirs, path=""):
    """Whether two reports agree, angles but for rounding; the first place where they don't, else None."""
    if isinstance(ours, dict):
        if set(ours) != set(theirs):
            return f"{path}: {set(ours) ^ set(theirs)}"
        return next(filter(None, (same(ours[k], theirs[k], f"{path}.{k}") for k in ours)), None)
    if isinstance(ours, list):
        if len(ours) != len(theirs):
            return f"{path}: {len(ours)} and {len(theirs)}"
        return next(filter(None, (same(a, b, f"{path}[{n}]") for n, (a, b) in enumerate(zip(ours, theirs)))), None)
    if isinstance(ours, float) or isinstance(theirs, float):
        agree = math.isclose(ours, theirs, rel_tol=SLACK, abs_tol=SLACK)
        return None if agree else f"{path}: {ours!r} and {theirs!r}"
    return None if ours == theirs else f"{path}: {ours!r} and {theirs!r}"


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.page = Page(PICTURES)
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        cls.page.open(PAGE)

    @classmethod
    def tearDownClass(cls):
        cls.page.quit()

    def tearDown(self):
        self.assertEqual(self.page.console(), [])

    def program(self, *words, outputs=()):
        """Runs the program among the samples; its summary name by name, and the outputs' places."""
        places = [self.folder / name for name in outputs]
        done = subprocess.run([PROGRAM, *words, *(w for place in places for w in ("-o", str(place)))], cwd=SAMPLES,
                              capture_output=True, text=True, check=False)
        self.assertIn(done.returncode, (0, 4), done.stderr)
        lines = [line.split(maxsplit=1) for line in done.stdout.splitlines()]
        return {line[0]: line[1] for line in lines if len(line) == 2 and line[0] != "wrote"}, places

    def assert_as_the_program(self, found=False):
        """The page's figures against those of the command line that it shows; that names a start that was found."""
        command = shlex.split(self.page.run("return document.getElementById('command').value"))
        self.assertEqual([command[0], *command[-2:]], ["drape", "-o", "part.html"])
        summary, (place,) = self.program(*command[1:-2], outputs=["report.json"])
        ours = self.page.summary()
        self.assertEqual(ours.pop("place", None) is not None, found)
        self.assertEqual(ours, summary)
        ours, theirs = self.page.report(), json.loads(place.read_text())
        for report in (ours, theirs):
            report.pop("seconds")
            report["result"].pop("advice")
        ours.pop("settings")
        self.assertIsNone(same(ours, theirs))
        for part in ("nodes", "cells", "status", "nodesOnSurface", "endedNear"):
            self.assertEqual(ours["result"][part], theirs["result"][part])
        # The start, and with it the grid, to the last bit.
        for part in ("seed", "warp", "weft", "normal", "rosette", "step", "tolerance"):
            self.assertEqual(ours["choice"][part], theirs["choice"][part], part)

    def open_bytes(self, name, data):
        path = self.folder / name
        path.write_bytes(data)
        self.page.choose_file(path)
        return path


class Figures(PageTest):
    def test_are_the_programs(self):
        for file in ("hemisphere.obj", "saddle.obj", "slit_dome.obj"):
            with self.subTest(file):
                self.page.sample(file)
                told = self.program(file)[0]
                self.assertEqual(self.page.summary(), told)
                self.assert_as_the_program(found="place" in told)

    def test_follow_every_setting(self):
        page = self.page
        page.sample("double_dome.obj")
        changes = [lambda: page.type("angle", 30.5), lambda: page.type("step-a", 11), lambda: page.type("step-b", 9),
                   lambda: page.type("locking", 20), lambda: page.run("document.querySelector('[value=shear]').click()"),
                   lambda: page.click("flip"), lambda: page.type("seed-0", 40)]
        for change in changes:
            with page.drape():
                change()
        self.assert_as_the_program()
        choice = page.report()["choice"]
        self.assertEqual((choice["step"], choice["pivot"], choice["side"]), ([11, 9], "shear", "towards -z"))
        page.sample("holed_plate.obj")
        with page.drape():
            page.click("fill-holes")
        self.assert_as_the_program()

    def test_largest_part_that_drapes(self):
        page = self.page
        page.sample("hemisphere.obj")
        with page.drape():
            page.run("document.querySelector('[name=area][value=max]').click()")
        self.assert_as_the_program()
        self.assertGreater(page.report()["mould"]["within"], 50.0)
        page.picture("largest")

    def test_ended_run_shows_where_and_why(self):
        page = self.page
        page.sample("double_dome.obj")
        with page.drape():
            page.type("step-a", 8)
        with page.drape():
            page.type("step-b", 14)
        self.assert_as_the_program()
        report = page.report()
        self.assertNotEqual(report["result"]["status"], 0)
        self.assertIn(report["result"]["meaning"], page.text("ended"))
        self.assertFalse(page.run("return document.getElementById('end-mark').hasAttribute('hidden')"))
        page.picture("ended")
        with page.drape():
            page.click("usual-step")
        self.assertTrue(page.run("return document.getElementById('ended').hidden"))


class Hands(PageTest):
    def setUp(self):
        self.page.sample("double_dome.obj")

    def test_seed_follows_the_mouse(self):
        before = self.page.report()["choice"]["seed"]
        self.page.drag("seed", [(12, 3), (15, 4), (20, -6), (18, 0)])
        after = self.page.report()["choice"]["seed"]
        self.assertGreater(math.dist(before, after), 20.0)
        self.assert_as_the_program()
        with self.page.drape():
            self.page.press("z", "KeyZ", modifiers=2)
        self.assertEqual(self.page.report()["choice"]["seed"], before)
        with self.page.drape():
            self.page.press("Z", "KeyZ", modifiers=2 | 8)
        self.assertEqual(self.page.report()["choice"]["seed"], after)
        with self.page.drape():
            self.page.click("reset")
        self.assertEqual(self.page.report()["choice"]["seed"], before)

    def test_fingers_drag_turn_and_pinch(self):
        page = self.page
        before = page.report()["choice"]
        x, y = page.settled("seed")
        with page.drape():
            page.fingers([(x + 9 * k, y + 3 * k) for k in range(8)])
        page.until(lambda: page.report()["choice"]["seed"] != before["seed"], "a seed moved by a finger")
        self.assert_as_the_program()
        x, y = page.settled("knob")
        with page.drape():
            page.fingers([(x - 6 * k, y - 8 * k) for k in range(6)])
        self.assertNotEqual(page.report()["choice"]["angle"], before["angle"])
        seed, drapes = page.settled("seed"), page.drapes()
        across = (seed[0] - 90, seed[1] + 150)  # off the marks; what lies between the fingers stays there
        page.fingers([(across[0] - 20 - 8 * k, across[1]) for k in range(8)],
                     [(across[0] + 20 + 8 * k, across[1]) for k in range(8)])
        self.assertGreater(math.dist(page.settled("seed"), across), 1.2 * math.dist(seed, across))
        self.assertEqual(page.drapes(), drapes)

    def test_ring_turns_the_cloth(self):
        self.page.drag("knob", [(-6, -10), (-14, -12), (-18, -8)])
        angle = self.page.report()["choice"]["angle"]
        self.assertTrue(5.0 < angle < 175.0 and angle == round(angle), angle)
        self.assert_as_the_program()

    def test_keys_move_and_turn(self):
        before = self.page.report()["choice"]
        self.page.run("document.getElementById('space').focus()")
        with self.page.drape():
            self.page.press("ArrowRight", "ArrowRight")
        with self.page.drape():
            self.page.press(".", "Period")
        after = self.page.report()["choice"]
        self.assertAlmostEqual(math.dist(before["seed"], after["seed"]), before["step"][0], delta=2.0)
        self.assertAlmostEqual(after["angle"], 1.0)

    def test_hover_lights_both_views(self):
        x, y = self.page.settled("seed")
        self.page.mouse("mouseMoved", x + 110, y + 40)
        in_space = self.page.until(lambda: self.page.text("tip"), "a tip over the mould")
        self.assertRegex(in_space, r"^shear \d+\.\d°, warp yarn -?\d+, weft yarn -?\d+$")
        x, y = self.page.settled("flat-seed")
        step = self.page.report()["choice"]["step"]
        self.page.mouse("mouseMoved", x + 3, y - 2)
        self.page.until(lambda: "warp yarn 0, weft yarn 0" in self.page.text("tip"), "a tip over the pattern")
        self.assertGreater(step[0], 0.0)
        self.page.picture("hover")

    def test_sweep_is_the_programs(self):
        page = self.page
        with page.drape():
            path = self.open_bytes("lopsided.obj", moulds.obj(*moulds.lopsided()))
        page.click("sweep")
        page.until(lambda: not page.run("return document.getElementById('sweep-list').hidden"), "the sweep's list")
        page.picture("sweep")
        _, (place,) = self.program(str(path), "--sweep", outputs=["all.sweep.csv"])
        self.assertEqual(page.saved("sweep").decode(), place.read_text())
        with page.drape():
            page.run("document.querySelector('#sweep-list button').click()")
        report = page.report()
        ranked = [line.split(",") for line in place.read_text().splitlines()]
        largest = ranked[0].index("largest_shear_deg")
        self.assertAlmostEqual(report["shear"]["largest"], min(float(row[largest]) for row in ranked[1:]), places=6)


class Files(PageTest):
    def test_formats(self):
        points, faces = moulds.dome(24, 24)
        files = {"dome.obj": moulds.obj(points, faces)}
        for text in (False, True):
            files |= {f"dome{text}.ply": moulds.ply(points, faces, text), f"dome{text}.stl": moulds.stl(points, faces, text)}
        for name, data in files.items():
            with self.subTest(name):
                with self.page.drape():
                    path = self.open_bytes(name, data)
                self.assertEqual(self.page.summary()["cloth"], self.program(str(path))[0]["cloth"])

    def test_a_dropped_file(self):
        text = moulds.obj(*moulds.dome(10, 10)).decode()
        with self.page.drape():
            self.page.run("""
                const data = new DataTransfer();
                data.items.add(new File([arguments[0]], 'dropped.obj'));
                for (const kind of ['dragover', 'drop'])
                    window.dispatchEvent(new DragEvent(kind, {dataTransfer: data, bubbles: true, cancelable: true}))""", text)
        self.assertEqual(self.page.text("part-name"), "dropped.obj")

    def test_broken_files_leave_the_part_that_was_there(self):
        self.page.sample("saddle.obj")
        before = self.page.summary()
        whole = moulds.stl(*moulds.dome(8, 8))
        broken = {"cut.stl": whole[:-70], "empty.stl": b"", "words.obj": b"v 1 2\nf 1 2 3\n", "noise.ply": os.urandom(4000),
                  "face.obj": b"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n", "nan.obj": b"v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n",
                  "huge.ply": b"ply\nformat binary_little_endian 1.0\nelement vertex 2000000000\nproperty double x\n"
                              b"property double y\nproperty double z\nend_header\n", "part.step": b"ISO-10303-21;",
                  "settings.json": b'{"a": ', "other.json": b'{"format": "other"}'}
        for name, data in broken.items():
            with self.subTest(name):
                self.open_bytes(name, data)
                self.assertGreater(len(self.page.problem()), 20)
                self.page.run("document.querySelector('#problem button').click()")
                self.assertEqual(self.page.text("part-name"), "saddle.obj")
        with self.page.drape():
            self.page.type("angle", 10)
        with self.page.drape():
            self.page.click("undo")
        self.assertEqual(self.page.summary(), before)

    def test_a_closed_part_shows_what_drapes(self):
        with self.page.drape():
            path = self.open_bytes("box.obj", moulds.obj(*moulds.box()))
        self.assert_as_the_program_at(path)
        self.page.picture("closed")
        self.page.run("document.querySelector('[name=area]').click()")
        self.assertIn("closed", self.page.problem())
        self.page.run("document.querySelector('#problem button').click()")
        self.page.sample("saddle.obj")

    def test_a_million_triangles(self):
        page = self.page
        with page.drape():
            self.open_bytes("million.stl", moulds.stl(*moulds.dome(710, 705)))
        self.assertIn("1,001,100 triangles", page.text("part-facts"))
        page.drag("seed", [(10, 0), (10, 4)])
        self.assert_as_the_program_at(self.folder / "million.stl")
        page.picture("million")
        page.sample("saddle.obj")

    def assert_as_the_program_at(self, path):
        command = shlex.split(self.page.run("return document.getElementById('command').value"))
        summary, _ = self.program(str(path), *command[2:-2])
        ours = self.page.summary()
        for name in ("start", "cloth", "shear", "pattern"):
            self.assertEqual(ours[name], summary[name])

    def test_saved_files_are_the_programs(self):
        page = self.page
        page.sample("hemisphere.obj")
        names = ["a.dxf", "a.glb", "a.fibres.csv"]
        _, places = self.program("hemisphere.obj", outputs=names)
        for kind, place in zip(("dxf", "glb", "csv"), places):
            with self.subTest(kind):
                self.assertTrue(page.saved(kind) == place.read_bytes(), f"another {kind} than the program's")
        svg = page.saved("svg").decode()
        self.assertIn('mm" viewBox', svg)
        self.assertIn("THIS SIDE UP", svg)

    def test_saved_settings_open_again(self):
        page = self.page
        page.sample("double_dome.obj")
        with page.drape():
            page.type("angle", 25)
        with page.drape():
            page.type("step-a", 12)
        saved, before = page.saved("json"), page.summary()
        page.sample("double_dome.obj")
        with page.drape():
            self.open_bytes("again.json", saved)
        self.assertEqual(page.summary(), before)
        _, (place,) = self.program("double_dome.obj", "--angle", "40", "--side", "0,0,-1", outputs=["theirs.json"])
        with page.drape():
            page.choose_file(place)
        ours = page.report()
        self.assertEqual(ours["result"], json.loads(place.read_text())["result"])


class Itself(PageTest):
    def test_fetches_and_keeps_nothing(self):
        tried = self.page.driver.execute_async_script("""
            const done = arguments[arguments.length - 1];
            const said = [];
            document.addEventListener('securitypolicyviolation', (event) => said.push(event.violatedDirective));
            fetch('https://example.org/').catch(() => {}).then(() => {
                const image = new Image();
                image.onerror = () => setTimeout(() => done([said, document.cookie]), 50);
                image.src = 'https://example.org/a.png';
            })""")
        self.assertEqual(tried, [["connect-src", "img-src"], ""])
        self.page.console()

    def test_every_control_has_a_name_and_is_reached_by_keys(self):
        page = self.page
        page.run("document.getElementById('save').open = true; document.body.focus()")
        roles = {"button", "textbox", "spinbutton", "slider", "combobox", "radio", "checkbox", "menuitem", "application",
                 "radiogroup", "group", "region", "image", "DisclosureTriangle"}
        nodes = [node for node in page.command("Accessibility.getFullAXTree")["nodes"] if not node["ignored"]]
        named = {node["backendDOMNodeId"]: node.get("name", {}).get("value")
                 for node in nodes if node["role"]["value"] in roles and not node.get("parentId") is None}
        told = [page.command("DOM.describeNode", backendNodeId=node)["node"] for node, name in named.items() if not name]
        self.assertEqual([node for node in told if node["nodeName"] not in ("FIELDSET", "DETAILS")], [])
        self.assertGreater(len(named), 40)
        reached = set()
        for _ in range(60):
            page.press("Tab", "Tab")
            reached.add(page.run("const e = document.activeElement; return e.id || e.name || e.dataset.save || e.parentNode.id"))
        self.assertLessEqual({"open", "samples", "reset", "save", "dxf", "json", "copy", "theme", "help", "seed-0", "best", "angle",
                              "step-a", "locking", "pivot", "side", "flip", "area", "name", "sweep", "space", "fit"}, reached)
        page.run("document.getElementById('save').open = false")

    def test_sizes_and_themes(self):
        page = self.page
        page.sample("hemisphere.obj")
        for width, height, theme in ((1280, 800, "light"), (1920, 1080, "dark"), (1024, 768, "light"), (1024, 768, "dark"),
                                     (768, 1024, "light"), (390, 844, "dark")):
            page.size(width, height, theme)
            page.settled("seed")
            self.assertEqual(page.run("return document.documentElement.dataset.theme"), theme)
            self.assertLessEqual(page.run("return document.documentElement.scrollWidth"), width)
            wide = page.run("return ['settings', 'summary-panel'].filter((id) => {"
                            "const e = document.getElementById(id); return e.scrollWidth > e.clientWidth + 1})")
            self.assertEqual(wide, [])
            bare = page.run("""
                const box = (id) => document.getElementById(id).getBoundingClientRect();
                const all = box('canvas');
                return ['space', 'flat'].filter((id) => {
                    const view = box(id);
                    return view.left < all.left || view.right > all.right || view.top < all.top || view.bottom > all.bottom + 1;
                })""")
            self.assertEqual(bare, [], "views behind which nothing is drawn")
            page.picture(f"{width}x{height}-{theme}")
        page.size(1280, 800)

    def test_the_program_says_where_the_page_is_missing(self):
        alone = shutil.copy(PROGRAM, self.folder / "drape")
        done = subprocess.run([alone, SAMPLES / "saddle.obj", "-o", self.folder / "a.html"], capture_output=True, text=True,
                              check=False)
        self.assertEqual(done.returncode, 2)
        self.assertIn("docs/page.md", done.stderr)
        self.assertFalse((self.folder / "a.html").exists())

    def test_the_programs_page_opens_with_its_drape(self):
        source = self.folder / "it's <b>.obj"
        source.write_bytes((SAMPLES / "hemisphere.obj").read_bytes())
        ring = self.folder / "ring.xyz"
        ring.write_text("\n".join(f"{50 * math.cos(t / 9)} {30 * math.sin(t / 9)} 85" for t in range(56)))
        ways = {
            "settings": [str(source), "--angle", "33", "--step", "9,7", "--clip", "0,0,5,0,0,1", "--locking", "40",
                         "--name", "skin <3>", "--curve", str(ring)],
            "kept": ["hemisphere.obj", "--locking", "30", "--keep", "good"],
            "within": ["hemisphere.obj", "--within", "60"],
            "found": ["slit_dome.obj"],
            "swept": ["saddle.obj", "--sweep-seeds", "4", "--sweep-angles", "0,30"],
        }
        other = Page(PICTURES)
        try:
            for name, words in ways.items():
                with self.subTest(name):
                    summary, (place, report) = self.program(*words, outputs=["part.html", "part.json"])
                    summary = {key: words for key, words in summary.items() if not key.isdigit() and key != "rank"}
                    other.open(place)
                    ours, theirs = other.report(), json.loads(report.read_text())
                    told = other.summary()
                    self.assertEqual(told.pop("mould"), summary.pop("mould").replace(f"{source.parent}/", ""))
                    self.assertEqual(told, summary)
                    for part in ("choice", "curves", "good"):
                        self.assertIsNone(same(ours[part], theirs[part]), part)
                    shown = other.run("return document.querySelectorAll('#sweep-list button').length")
                    self.assertEqual(shown > 0, name == "swept")
                    other.picture(f"written-{name}")
                    self.assertEqual(other.console(), [])
        finally:
            other.quit()


if __name__ == "__main__":
    unittest.main()
