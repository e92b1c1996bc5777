"""Drapes and frames a second while the seed is dragged, and the processor time that each thread spends on a drape, which
doesn't hang on what else the machine does.

    python3 drag_bench.py drape.html [sample.obj]
"""
import pathlib
import subprocess
import sys
import time

from browser import Page

SECONDS = 6
PULL = """
    const [x, y, seconds] = arguments;
    window.frames = 0;
    window.pulled = false;
    const begin = performance.now();
    const timer = setInterval(() => {
        const past = (performance.now() - begin) / 1000;
        window.dispatchEvent(new PointerEvent('pointermove', {
            pointerId: 1, buttons: 1, bubbles: true,
            clientX: x + 60 * Math.sin(2 * past), clientY: y + 20 * Math.sin(4 * past)}));
        if (past > seconds) {
            clearInterval(timer);
            window.pulled = true;
        }
    }, 12);
    const count = () => { ++window.frames; window.pulled || requestAnimationFrame(count); };
    requestAnimationFrame(count);"""


def processor_time():
    """Milliseconds by process kind and thread of all browsers."""
    used = {}
    for line in subprocess.run(["ps", "-eo", "pid,args"], capture_output=True, text=True, check=True).stdout.splitlines():
        pid, _, words = line.strip().partition(" ")
        if "--type=" not in words:
            continue
        kind = words.split("--type=")[1].split()[0]
        for stat in pathlib.Path(f"/proc/{pid}/task").glob("*/stat"):
            name, fields = stat.read_text().rpartition(")")[::2]
            ticks = sum(map(int, fields.split()[11:13]))
            used[kind, name.partition("(")[2], stat.parent.name] = 10 * ticks
    return used


def main():
    page = Page(pathlib.Path("."))
    try:
        page.open(sys.argv[1])
        if len(sys.argv) > 2:
            page.sample(sys.argv[2])
        x, y = page.settled("seed")
        page.mouse("mouseMoved", x, y)
        page.mouse("mousePressed", x, y, 1)
        before, drapes, begin = processor_time(), page.drapes(), time.monotonic()
        page.run(PULL, x, y, SECONDS)
        while not page.run("return window.pulled"):
            time.sleep(0.1)
        past, after = time.monotonic() - begin, processor_time()
        drapes = page.drapes() - drapes
        print(f"{drapes / past:.1f} drapes and {page.run('return window.frames') / past:.1f} frames a second; "
              f"the page says {page.text('figures').splitlines()[-2:]}")
        spent = {}
        for (kind, name, thread), ticks in after.items():
            spent[kind, name] = spent.get((kind, name), 0) + ticks - before.get((kind, name, thread), 0)
        for (kind, name), ticks in sorted(spent.items(), key=lambda entry: -entry[1]):
            if ticks > 0.3 * drapes:
                print(f"{ticks / drapes:6.1f} ms a drape: {kind}, {name}")
    finally:
        page.quit()


main()
