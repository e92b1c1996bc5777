"""How the tests run the program, which DRAPE names, each in a folder of its own."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

DRAPE = os.environ["DRAPE"]
ROOT = pathlib.Path(__file__).resolve().parents[2]
# For a program built with the leak sanitizer.
SUPPRESSIONS = pathlib.Path(__file__).resolve().parent / "leaks.supp"
os.environ.setdefault("LSAN_OPTIONS", f"suppressions={SUPPRESSIONS}:print_suppressions=0")
DONE, OTHER, USAGE, INPUT, RUN_ENDED = 0, 1, 2, 3, 4


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def file(self, name, content):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return str(path)

    def drape(self, *words, expect=DONE):
        done = subprocess.run([DRAPE, *map(str, words)], capture_output=True, text=True, timeout=300, cwd=self.folder)
        wanted = (DONE, RUN_ENDED) if expect is None else (expect,)
        self.assertIn(done.returncode, wanted, done.stdout + done.stderr)
        return done

    def report(self, *words, expect=DONE):
        path = self.folder / "report.json"
        done = self.drape(*words, "-o", path, expect=expect)
        return json.loads(path.read_text()), done

    def assertPoint(self, got, wanted, places=9):
        for a, b in zip(got, wanted, strict=True):
            self.assertAlmostEqual(a, b, places)
