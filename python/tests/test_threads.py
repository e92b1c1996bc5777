"""Many drapes at once: the same bits as one after the other, and no memory left behind."""

import gc
import random
import resource
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

import drape


def bumpy(seed):
    """A small random height field."""
    rng = np.random.default_rng(seed)
    n = int(rng.integers(4, 12))
    x, y = np.meshgrid(np.arange(n), np.arange(n), indexing="ij")
    z = 0.3 * rng.normal(size=(n, n))
    corner = (np.arange(n - 1)[:, None] * n + np.arange(n - 1)).ravel()
    quads = corner[:, None] + [0, n, n + 1, 1]
    return drape.Mould(np.column_stack((x.ravel(), y.ravel(), z.ravel())), quads)


def some_drape(number):
    """A digest of one random drape, its arrays read on the way."""
    rng = random.Random(number)
    ply = bumpy(number % 50).drape(
        seed=(rng.uniform(0, 5), rng.uniform(0, 5), 0), angle=rng.uniform(0, 90), step=rng.uniform(0.4, 1.5)
    )
    net = ply.net.area if number % 7 == 0 else 0
    warp = ply.fibres.warp.tobytes() if number % 5 == 0 else b""
    return ply.status, ply.positions.tobytes(), ply.shear.tobytes(), ply.largest_shear, net, warp


def test_threads_give_what_one_thread_gives():
    numbers = range(200)
    with ThreadPoolExecutor(8) as threads:
        together = list(threads.map(some_drape, numbers))
    assert together == [some_drape(number) for number in numbers]


def test_threads_that_ask_one_ply_for_its_figures_get_them_once_and_alike():
    for number in range(30):
        ply = bumpy(number).drape(seed="middle", step=0.3)
        with ThreadPoolExecutor(4) as threads:
            figures = list(threads.map(lambda k: (ply.net.area, ply.largest_shear, ply.cells.ctypes.data), range(8)))
        assert len(set(figures)) == 1


@pytest.mark.slow
def test_ten_thousand_drapes_leave_nothing_behind():
    def several(first, count):
        with ThreadPoolExecutor(4) as threads:
            for _ in threads.map(some_drape, range(first, first + count)):
                pass
        gc.collect()
        return resident()

    several(0, 1000)
    settled = several(0, 2000)
    assert several(0, 7000) < settled + 20e6  # one kilobyte a drape would be seven million


def resident():
    """Bytes of this process in memory."""
    with open("/proc/self/statm") as counts:
        return int(counts.read().split()[1]) * resource.getpagesize()
