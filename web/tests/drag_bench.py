"""Opens a part, turns the view and drags the seed: drapes and frames a second, the processor time that each thread spends
on a frame, which doesn't hang on what else the machine does, and the tasks that held the page up for 50 ms or more.

    python3 drag_bench.py drape.html [sample or file]
"""
import collections
import math
import pathlib
import subprocess
import sys
import time

from browser import Page

SECONDS = 5
WATCH = """
    window.long = [];
    new PerformanceObserver((list) => list.getEntries().forEach(({duration}) => long.push(Math.round(duration))))
        .observe({type: 'longtask'});
    window.frames = 0;
    (function count() { ++frames; requestAnimationFrame(count); })();"""


def processor_time():
    """Milliseconds by process kind and thread of all browsers."""
    used = collections.Counter()
    for line in subprocess.run(["ps", "-eo", "pid,args"], capture_output=True, text=True, check=True).stdout.splitlines():
        pid, _, words = line.strip().partition(" ")
        if "--type=" not in words:
            continue
        kind = words.split("--type=")[1].split()[0]
        for stat in pathlib.Path(f"/proc/{pid}/task").glob("*/stat"):
            name, fields = stat.read_text().rpartition(")")[::2]
            used[kind, name.partition("(")[2].rstrip("0123456789")] += 10 * sum(map(int, fields.split()[11:13]))
    return used


class Bench:
    def __init__(self, page):
        self.page = page
        page.run(WATCH)

    def step(self, name, act):
        page = self.page
        page.run("long.length = 0; frames = 0")
        drapes, used, begin = page.drapes(), processor_time(), time.monotonic()
        act()
        past, spent = time.monotonic() - begin, processor_time() - used
        drapes, frames = page.drapes() - drapes, page.run("return frames")
        print(f"{name}: {past:.1f} s, {drapes / past:.1f} drapes and {frames / past:.1f} frames a second; tasks of 50 ms or more: "
              f"{page.run('return long') or 'none'}")
        return spent, max(frames, 1)

    def open(self, part):
        page = self.page
        before = page.drapes()
        if pathlib.Path(part).exists():
            page.choose_file(pathlib.Path(part).resolve())
        else:
            page.sample(part)
        page.until(lambda: page.text("part-name") == pathlib.Path(part).name, "the mould")
        print(f"the mould is seen after {time.monotonic() - self.begin:.1f} s")
        page.until(lambda: page.drapes() > before, "a drape")
        print(f"and draped after {time.monotonic() - self.begin:.1f} s")
        page.ready()

    def pull(self, x, y, wide, high):
        begin = time.monotonic()
        while (past := time.monotonic() - begin) < SECONDS:
            self.page.mouse("mouseMoved", x + wide * math.sin(2 * past), y + high * math.sin(4 * past), 1)

    def run(self, part):
        page = self.page
        if part:
            self.begin = time.monotonic()
            self.step("open, to the best start", lambda: self.open(part))
        x, y = page.settled("seed")
        page.mouse("mousePressed", x - 150, y + 150, 1)
        self.step("turn the view", lambda: self.pull(x - 150, y + 150, 60, 20))
        page.mouse("mouseReleased", x - 150, y + 150)
        self.step("rest", lambda: time.sleep(3))
        x, y = page.settled("seed")
        page.mouse("mouseMoved", x, y)
        page.mouse("mousePressed", x, y, 1)
        spent, frames = self.step("drag the seed", lambda: self.pull(x, y, 60, 20))
        print(f"the page says {page.text('figures').splitlines()[-2:]}")
        for (kind, name), ticks in spent.most_common():
            if ticks > 0.3 * frames:
                print(f"{ticks / frames:6.1f} ms a frame: {kind}, {name}")
        with page.drape():
            page.mouse("mouseReleased", x, y)


def main():
    page = Page(pathlib.Path("."))
    try:
        page.open(sys.argv[1])
        Bench(page).run(sys.argv[2] if len(sys.argv) > 2 else None)
    finally:
        page.quit()


main()
