"""What a sweep does to the processes and folders of its machine, also when its user or its machine ends it early."""

import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import time
import unittest

from moulds import cup, obj, plate
from program import DONE, DRAPE, Case

PATIENCE = 60.0  # seconds until a test gives up


def group(leader):
    """The living processes of a process group."""
    found = []
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            state, _, number = stat.read_text().rsplit(")", 1)[1].split()[:3]
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(number) == leader and state != "Z":
            found.append(int(stat.parent.name))
    return found


def threads(program):
    try:
        return len(os.listdir(f"/proc/{program.pid}/task"))
    except FileNotFoundError:
        return 0


def until(condition):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.0005)
    return False


@unittest.skipUnless(sys.platform == "linux", "looks into /proc")
class Processes(Case):
    def setUp(self):
        super().setUp()
        self.mesh = self.file("cup.obj", obj(cup(0.3)))

    def start(self, *words, **more):
        program = subprocess.Popen([DRAPE, self.mesh, *map(str, words)], cwd=self.folder, start_new_session=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **more)
        self.addCleanup(program.stdout.close)
        self.addCleanup(program.wait)
        self.addCleanup(lambda: [os.kill(p, signal.SIGKILL) for p in group(program.pid)])
        return program

    def sweep(self, candidates, step, **more):
        program = self.start("--step", step, "--sweep-seeds", "1", "--sweep-angles", f"0:{candidates}:1", "-j", 2,
                             "-o", "all.sweep.csv", "-o", "best.vtp", **more)
        self.assertTrue(until(lambda: threads(program) == 3 or program.poll() is not None))
        return program

    def test_sweep_that_does_not_hear_of_its_children_comes_to_its_end(self):
        # Whoever starts the program may have told the system not to keep ended children, as the reading is one.
        deaf = self.sweep(20, 0.2, preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN))
        self.assertEqual(deaf.wait(PATIENCE), DONE, deaf.stdout.read())
        self.assertIn("best.vtp", os.listdir(self.folder))

    def test_sweep_that_is_ended_leaves_neither_processes_nor_files(self):
        for end in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL):
            with self.subTest(end.name):
                program = self.sweep(90000, 0.05)
                self.assertEqual(group(program.pid), [program.pid])
                os.kill(program.pid, end)
                self.assertEqual(program.wait(PATIENCE), -end)
                self.assertTrue(until(lambda: not group(program.pid)), group(program.pid))
                self.assertEqual(os.listdir(self.folder), ["cup.obj"])

    def test_program_that_is_ended_while_it_writes_leaves_no_half_file(self):
        self.mesh = self.file("plate.obj", obj(plate(40)))
        for end in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(end.name):
                names = [f"{k}.vtp" for k in range(20)]
                program = self.start("--step", "0.4", *(word for name in names for word in ("-o", name)))
                half = lambda: set(os.listdir(self.folder)) - {"cup.obj", "plate.obj", *names}
                until(lambda: half() or program.poll() is not None)
                os.kill(program.pid, end)
                self.assertEqual(program.wait(PATIENCE), -end)
                self.assertEqual(half(), set())
                for name in set(names) & set(os.listdir(self.folder)):
                    self.assertTrue((self.folder / name).read_text().rstrip().endswith("</VTKFile>"), name)

    def on_a_terminal(self, pause, *words):
        """What the program writes there, held up in the midst of its work for as long as it waits before it shows how far
        it is."""
        screen, terminal = os.openpty()
        self.addCleanup(os.close, screen)
        program = subprocess.Popen([DRAPE, self.mesh, *map(str, words)], cwd=self.folder, stdout=subprocess.DEVNULL,
                                   stderr=terminal)
        until(lambda: threads(program) > 1 or program.poll() is not None)
        time.sleep(0.03)
        program.send_signal(signal.SIGSTOP)
        time.sleep(pause)
        program.send_signal(signal.SIGCONT)
        self.assertEqual(program.wait(PATIENCE), DONE)
        os.close(terminal)
        text = b""
        with contextlib.suppress(OSError):  # at the end of what was written
            while part := os.read(screen, 4096):
                text += part
        return text.decode()

    def test_sweep_shows_on_a_terminal_how_far_it_is(self):
        text = self.on_a_terminal(0.3, "--step", "0.05", "--sweep-seeds", "1", "--sweep-angles", "0:60:1", "-j", "2")
        shown = [int(count) for count in re.findall(r"\rdrape: (\d+) of 60 drapes done ", text)]
        self.assertTrue(shown and shown == sorted(shown) and shown[-1] <= 60, text)
        self.assertIn("\r\x1b[K", text)

    def test_long_run_shows_on_a_terminal_how_far_it_is(self):
        self.mesh = self.file("plate.obj", obj(plate(40)))
        for step in (0.1, 0.07, 0.05):  # until a run is long enough for this machine to be caught in it
            text = self.on_a_terminal(1.1, "--step", step, "--start", "middle")
            shown = re.findall(r"\rdrape: (\d+) nodes of about (\d+), (\d+) s ", text)
            if shown and int(shown[-1][0]) > 0:
                break
        self.assertGreater(int(shown[-1][0]), 0, text)
        for nodes, of, seconds in shown:
            self.assertTrue(0 <= int(nodes) < 1.5 * int(of) and 1 <= int(seconds) < PATIENCE)
            self.assertEqual(int(of), round(1600 / step ** 2))
        self.assertIn("\r\x1b[K", text)


if __name__ == "__main__":
    unittest.main()
