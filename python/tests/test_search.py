"""Sweeps: the program's table, the same from every executor, the mould once to each worker."""

import multiprocessing
import os
import pickle
import types
from collections import OrderedDict
from concurrent.futures import Executor, Future, ProcessPoolExecutor, ThreadPoolExecutor

import numpy as np
import pytest

import drape
from conftest import SAMPLES
from drape import _core, _spread

SEEDS = np.array([[0, 0, 0], [30, -20, 0], [500, 0, 0]], dtype=float)
ANGLES = [0, 30, 77.5]


@pytest.fixture(scope="module")
def plate():
    return drape.Mould.read(SAMPLES / "l_plate.obj")


@pytest.fixture(scope="module")
def plain(plate):
    """The table as single drapes give it."""
    return drape.sweep(plate, SEEDS, ANGLES, step=15).table


def test_tables_are_the_programs(program, tmp_path):
    cases = [
        ({"seeds": 4, "angles": [0, 45], "step": 18}, ["--sweep-seeds=4", "--sweep-angles=0,45", "--step=18"]),
        ({"seeds": (3, 2), "step": (14, 20), "locking": 5}, ["--sweep-seeds=3x2", "--step=14,20", "--locking=5"]),
        ({"seeds": 2, "angles": range(0, 90, 60), "within": 50},
         ["--sweep-seeds=2", "--sweep-angles=0:90:60", "--within=50"]),
        ({"seeds": [[60, 0, 60]], "angles": [10], "within": "max", "step": 15},
         ["--sweep-seeds=60,0,60", "--sweep-angles=10", "--within=max", "--step=15"]),
    ]  # fmt: skip
    mould = drape.Mould.read(SAMPLES / "hemisphere.obj")
    for arguments, options in cases:
        report, (table,) = program("hemisphere.obj", "--sweep", *options, outputs=["a.sweep.csv"])
        ours = drape.sweep(mould, **arguments)
        ours.write(tmp_path / "ours.csv")
        assert (tmp_path / "ours.csv").read_bytes() == table
        ranks = [entry["candidate"] for entry in report["sweep"]["best"]]
        assert ours.ranked.candidate[: len(ranks)].tolist() == ranks
        assert ours.ply().report()["shear"] == report["shear"]
        other, row = ours.ply(len(ours.ranked) - 1), ours.ranked[-1]
        assert (len(other.positions), other.largest_shear) == (row.nodes, row.largest_shear)


def test_rows_of_any_kind_are_ranked_as_is_promised():
    """Rows that no mould gives together, with figures that tie, or all but."""
    random = np.random.default_rng(5)
    table = np.zeros(300, dtype=_core.row_type())
    table["candidate"] = random.permutation(300) + 1
    table["ran"] = random.random(300) < 0.8
    table["status"] = random.choice([0, 0, 0, 16, 23], 300)
    table["cells"] = random.choice([0, 5, 9, 9], 300)
    for name, steps in [("doubled_share", 0.025), ("covered_share", 0.3), ("largest_shear", 7.0), ("net_area", 40.0)]:
        table[name] = steps * random.integers(0, 4, 300) * (1 + 1e-9 * random.integers(0, 2, 300))
    table["covered_share"][table["doubled_share"] > 0.05] *= 1.2  # which doesn't count as the most
    table["share_beyond_locking"] = 0.1 * random.integers(0, 3, 300)
    for by_cloth in (False, True):
        whole = [bool(r["ran"]) and r["status"] == 0 and r["cells"] > 0 for r in table]
        assert list(_core.is_whole(table)) == whole
        single = [r["doubled_share"] <= 0.05 for r in table]
        most = max(r["covered_share"] for r, w, s in zip(table, whole, single) if w and s)
        cloth = max(r["net_area"] for r in table)

        def key(k):
            r, area = table[k], round(table[k]["net_area"] / cloth, 6)
            covered = by_cloth or r["covered_share"] >= 0.9 * most
            amount = -area if by_cloth else 0.0 if whole[k] else -round(r["covered_share"], 6)
            shear = round(r["largest_shear"], 4), round(r["share_beyond_locking"], 6)
            return not whole[k], not r["ran"], not single[k], not covered, amount, *shear, area

        wanted = sorted(range(300), key=key)
        assert _core.ranked(table, by_cloth)["candidate"].tolist() == table["candidate"][wanted].tolist()


def test_rows_are_single_drapes(plate, plain):
    assert plain.candidate.tolist() == list(range(1, 10)) and plain.angle.tolist() == 3 * ANGLES
    for row in plain:
        ply = plate.drape(SEEDS[int(row.candidate - 1) // 3], row.angle, 15)
        assert (row.status, row.nodes, row.cells) == (ply.status, len(ply.positions), ply.on_surface.sum())
        assert (row.mean_shear, row.largest_shear, row.covered_share) == (
            ply.mean_shear,
            ply.largest_shear,
            ply.covered_share,
        )
        assert row.seed.tolist() == list(ply.choice.seed)


def test_what_cant_be_swept_is_refused_and_what_cant_be_draped_is_a_row(plate):
    for arguments, words in [
        ({"seeds": 0}, "seeds is 0"),
        ({"seeds": [[0, 0]]}, r"shape \(n, 3\)"),
        ({"seeds": (1000, 1001)}, "more than 1000000"),
        ({"angles": []}, "at least one seed and one angle"),
        ({"angles": [0, np.nan]}, r"angles\[1\] is nan"),
    ]:
        with pytest.raises(drape.ArrayError, match=words):
            drape.sweep(plate, **arguments)
    upright = drape.sweep(plate, 1, [0], warp=(0, 0, 1))
    assert not upright.table.ran[0] and len(upright) == 1


def test_processes_give_the_same_bits(plate, plain):
    context = multiprocessing.get_context("spawn")
    with ProcessPoolExecutor(2, mp_context=context) as processes:
        seen = []
        swept = drape.sweep(plate, SEEDS, ANGLES, processes, step=15, progress=lambda *done: seen.append(done))
    assert rows(swept.table) == rows(plain)
    assert seen[-1] == (9, 9) and seen == sorted(seen)
    with ThreadPoolExecutor(3) as threads:
        assert rows(drape.sweep(plate, SEEDS, ANGLES, threads, step=15).table) == rows(plain)
    seen.clear()
    with ThreadPoolExecutor(1) as thread:  # to which candidates go two at a time
        drape.sweep(plate, SEEDS[:1], range(32), thread, step=60, progress=lambda *done: seen.append(done))
    assert seen == [(done, 32) for done in range(2, 33, 2)]


def rows(table):
    """Every value to the bit, without what lies between the fields."""
    return [np.ascontiguousarray(table[name]).tobytes() for name in table.dtype.names]


moulds_unpacked = []  # in a worker


def count_moulds_unpacked():
    def loads(packed):
        moulds_unpacked.append(packed)
        return pickle.loads(packed)

    _spread.pickle = types.SimpleNamespace(loads=loads)


def worker_state(_):
    return os.getpid(), len(_spread._moulds), len(moulds_unpacked)


class Counting(Executor):
    """Passes tasks on, with a count of those that carry the mould."""

    def __init__(self, inner):
        self.inner, self.sent, self.tasks = inner, 0, 0
        self._max_workers = inner._max_workers

    def submit(self, fn, *args):
        self.tasks += 1
        self.sent += args[1] is not None
        return self.inner.submit(fn, *args)


def test_the_mould_travels_once_to_each_worker(plate, plain, monkeypatch):
    many = np.repeat(SEEDS, 20, axis=0)
    packed = []
    dumps = pickle.dumps
    monkeypatch.setattr(_spread.pickle, "dumps", lambda mould, protocol: packed.append(mould) or dumps(mould, protocol))
    with ProcessPoolExecutor(2, initializer=count_moulds_unpacked) as processes:
        counting = Counting(processes)
        swept = drape.sweep(plate, many, ANGLES, counting, step=15)
        assert counting.tasks >= 30 and counting.sent <= 6 and packed == [plate]
        assert {(held, unpacked) for _, held, unpacked in processes.map(worker_state, range(8))} == {(1, 1)}
    assert swept.table.largest_shear.reshape(3, 20, 3)[:, 0].tobytes() == plain.largest_shear.tobytes()


def test_a_worker_without_the_mould_says_so_and_gets_it(plate, plain):
    """A worker that joined later sees keys only."""

    class Late(Counting):
        def submit(self, fn, *args):
            if self.tasks < 4 and args[1] is not None:
                args = (args[0], None, *args[2:])
            return super().submit(fn, *args)

    context = multiprocessing.get_context("spawn")
    with ProcessPoolExecutor(2, mp_context=context) as processes:
        late = Late(processes)
        assert rows(drape.sweep(plate, SEEDS, ANGLES, late, step=15).table) == rows(plain)
        assert late.tasks > 9


class Forgetful(Executor):
    """A worker in this process that loses its moulds before some tasks; `sent` numbers those that bring one."""

    _max_workers = 1

    def __init__(self, losses):
        self.losses, self.tasks, self.sent = losses, 0, []

    def submit(self, fn, *args):
        self.tasks += 1
        if self.tasks in self.losses:
            _spread._moulds.clear()
        if args[1] is not None:
            self.sent.append(self.tasks)
        future = Future()
        future.set_result(fn(*args))
        return future


def test_a_share_that_comes_back_is_sent_again_with_the_mould(plate, plain, monkeypatch):
    monkeypatch.setattr(_spread, "_moulds", OrderedDict())
    worker = Forgetful({4, 9})
    swept = drape.sweep(plate, SEEDS, ANGLES, worker, step=15)
    assert rows(swept.table) == rows(plain)
    assert worker.tasks > len(worker.sent) and worker.sent[0] == 1 and len(worker.sent) >= 3
    assert list(_spread._moulds) == [plate.key]


def test_workers_keep_the_moulds_that_they_used_last(monkeypatch):
    monkeypatch.setattr(_spread, "_moulds", OrderedDict())
    name = "abcdefg"
    for k in (0, 1, 2, 3, 1, 4, 5):
        packed = pickle.dumps(name[k]) if k != 1 or not _spread._moulds.get(b"1") else None
        done = _spread._done_elsewhere(b"%d" % k, packed, lambda *given: given, "settings", k)
        assert done == (name[k], "settings", k)
    assert list(_spread._moulds.values()) == ["d", "b", "e", "f"]
    assert _spread._done_elsewhere(b"0", None, lambda *given: given, "settings", 0) is None


def test_what_a_worker_raises_comes_through_and_ends_the_sweep(plate):
    class Broken(Executor):
        _max_workers = 2

        def submit(self, fn, *args):
            future = Future()
            future.set_exception(RuntimeError("the cluster is gone"))
            return future

    with pytest.raises(RuntimeError, match="the cluster is gone"):
        drape.sweep(plate, SEEDS, ANGLES, Broken())
