"""Many seeds and angles: each drape a task for whatever executor the user has, the table the same from all of them."""

from __future__ import annotations

import os
import pickle
import threading
from collections import OrderedDict, deque
from concurrent.futures import FIRST_COMPLETED, Executor, Future, ThreadPoolExecutor, wait
from typing import Any, Callable, Iterable, Iterator, NamedTuple, Optional, Sequence

import numpy as np

from . import _arrays, _core
from ._arrays import Doubles
from .errors import ArrayError
from .mould import Mould
from .ply import Ply
from .settings import Settings, Step, Within

_MOST_CANDIDATES = 1_000_000
_SHARES_PER_WORKER = 16  # enough of them that no worker waits long for the last one
_MOULDS_KEPT = 4  # by a worker, the latest

Progress = Callable[[int, int], None]


class _Share(NamedTuple):
    """Candidates that go to a worker together."""

    first: int  # index of the first
    seeds: Doubles  # (k, 3)
    angles: Doubles  # (k,)


class Sweep(Sequence):
    """What came of each candidate of a sweep; as a sequence, its rows, the best first.

    table    a record array, one row per candidate in their order: candidate (from 1), seed (x, y, z, as it came to
             lie on the surface), angle, ran (False where the surface around the seed can't be draped), status, nodes,
             cells, mean_shear, largest_shear, share_beyond_locking, covered_share, doubled_share, net_area,
             net_width, net_height and within (radius of the patch, below 0 for the whole mould). Angles are in
             degrees, lengths in the mesh's unit
    ranked   the same rows, the best first: whole drapes in one layer that cover nearly as much as the best do, by
             their largest shear
    """

    def __init__(self, mould: Mould, settings: Settings, table: np.ndarray) -> None:
        self.mould = mould
        self._settings = settings
        self.table = table.view(np.recarray)
        self.ranked = _core.ranked(table, settings.within_largest).view(np.recarray)

    def __len__(self) -> int:
        return len(self.ranked)

    def __getitem__(self, rank: Any) -> Any:
        return self.ranked[rank]

    @property
    def best(self) -> Any:
        """The first row of the ranking."""
        return self.ranked[0]

    def ply(self, rank: int = 0) -> Ply:
        """Drapes the candidate of that rank again, 0 for the best."""
        row = self.ranked[rank]
        return Ply._run(self.mould, self._settings, tuple(row.seed.tolist()), float(row.angle))

    def write(self, path: str | os.PathLike[str]) -> None:
        """Write the table as the program writes its *.sweep.csv."""
        _core.write_sweep(np.asarray(self.table), os.fspath(path))

    def __repr__(self) -> str:
        whole = sum(_core.is_whole(np.asarray(self.table)))
        return f"<drape.Sweep of {len(self)} candidates, {whole} of them whole>"


def sweep(
    mould: Mould,
    seeds: Any = 9,
    angles: Optional[Iterable[float]] = None,
    executor: Optional[Executor] = None,
    *,
    step: Step = None,
    rosette: Optional[Sequence[float]] = None,
    warp: Optional[Sequence[float]] = None,
    tolerance: Optional[float] = None,
    pivot: str = "grid",
    locking: float = 45.0,
    within: Within = None,
    most_nodes: Optional[int] = None,
    progress: Optional[Progress] = None,
) -> Sweep:
    """Drape each angle at each seed and rank what comes of it.

    seeds      a number of seeds to spread over the mould, a pair (columns, rows) for a grid of them, or an array
               (k, 3) of points
    angles     degrees (default: 0 to 90 by 15, to 180 where cells aren't square)
    executor   any executor of concurrent.futures: processes, mpi4py.futures.MPIPoolExecutor, a Dask cluster's
               client.get_executor(). Default: threads, one per core. A mould is sent along with the first share of
               each worker, which keeps it
    progress   called with the candidates done and their number, in this thread

    The other arguments are those of `Mould.drape`. The table holds the same bits whatever ran it. A candidate that
    can't be draped is a row of the table, not an exception; what an executor raises goes through.
    """
    settings = Settings.of(step, rosette, warp, tolerance, pivot, locking, within, most_nodes)
    wishes = settings.core()
    places = _seeds(mould, seeds)
    turns = _arrays.numbers("angles", _core.usual_angles(mould._core, wishes) if angles is None else list(angles))
    if turns.ndim != 1 or not len(turns) or not len(places):
        raise ArrayError("a sweep needs at least one seed and one angle, the angles in one row")
    if len(places) * len(turns) > _MOST_CANDIDATES:
        raise ArrayError(f"the sweep has more than {_MOST_CANDIDATES} candidates")
    all_seeds = np.repeat(places, len(turns), axis=0)
    all_angles = np.tile(turns, len(places))
    if executor is None:
        with ThreadPoolExecutor(os.cpu_count()) as threads:
            return _swept(mould, settings, all_seeds, all_angles, threads, progress)
    return _swept(mould, settings, all_seeds, all_angles, executor, progress)


def _seeds(mould: Mould, seeds: Any) -> Doubles:
    if isinstance(seeds, (int, np.integer)) and not isinstance(seeds, bool):
        count = int(_arrays.number("seeds", seeds, 1, _MOST_CANDIDATES))
        return np.array(_core.spread_seeds(mould._core, count))
    if isinstance(seeds, tuple) and len(seeds) == 2 and all(isinstance(n, (int, np.integer)) for n in seeds):
        columns, rows = (int(_arrays.number("seeds", n, 1, _MOST_CANDIDATES)) for n in seeds)
        if columns * rows > _MOST_CANDIDATES:
            raise ArrayError(f"the sweep has more than {_MOST_CANDIDATES} candidates")
        return np.array(_core.grid_seeds(mould._core, columns, rows))
    return _arrays.points("seeds", seeds)


def _swept(
    mould: Mould,
    settings: Settings,
    seeds: Doubles,
    angles: Doubles,
    executor: Executor,
    progress: Optional[Progress],
) -> Sweep:
    workers = max(1, getattr(executor, "_max_workers", None) or os.cpu_count() or 1)
    size = max(1, len(seeds) // (_SHARES_PER_WORKER * workers))
    shares = [_Share(i, seeds[i : i + size], angles[i : i + size]) for i in range(0, len(seeds), size)]
    run = _Threads(mould, settings) if isinstance(executor, ThreadPoolExecutor) else _Workers(mould, settings)
    whole = np.zeros(len(seeds), dtype=_core.row_type())
    done = 0
    for index, table in _results(run, shares, executor, workers):
        whole[shares[index].first :][: len(table)] = table
        done += len(table)
        if progress is not None:
            progress(done, len(seeds))
    return Sweep(mould, settings, whole)


class _Threads:
    """Shares for threads of this process, which have the mould already."""

    def __init__(self, mould: Mould, settings: Settings) -> None:
        self._mould = mould
        self._settings = settings

    def submit(self, executor: Executor, share: _Share, first_of_worker: bool) -> Future:
        return executor.submit(_draped, self._mould, self._settings, share)


class _Workers:
    """Shares for other processes: the mould goes with the first one of each worker, its key with all others."""

    def __init__(self, mould: Mould, settings: Settings) -> None:
        self._packed = pickle.dumps(mould, protocol=pickle.HIGHEST_PROTOCOL)
        self._key = mould.key
        self._settings = settings

    def submit(self, executor: Executor, share: _Share, first_of_worker: bool) -> Future:
        packed = self._packed if first_of_worker else None
        return executor.submit(_draped_elsewhere, self._key, packed, self._settings, share)


def _results(run: Any, shares: list[_Share], executor: Executor, workers: int) -> Iterator[tuple[int, np.ndarray]]:
    """(index, table) of each share as it comes in, two of them under way per worker. A worker that turns out not to
    have the mould, as one that joined later, hands its share back."""
    waiting = deque(range(len(shares)))
    running: dict[Future, int] = {}

    def start(index: int, first_of_worker: bool) -> None:
        running[run.submit(executor, shares[index], first_of_worker)] = index

    try:
        for turn in range(min(2 * workers, len(shares))):
            start(waiting.popleft(), first_of_worker=turn < workers)
        while running:
            finished, _ = wait(running, return_when=FIRST_COMPLETED)
            for future in finished:
                index = running.pop(future)
                table = future.result()
                if table is None:
                    start(index, first_of_worker=True)
                    continue
                if waiting:
                    start(waiting.popleft(), first_of_worker=False)
                yield index, table
    finally:
        for future in running:
            future.cancel()


def _draped(mould: Mould, settings: Settings, share: _Share) -> np.ndarray:
    return _core.try_candidates(mould._core, settings.core(), share.first + 1, share.seeds, share.angles)


_moulds: OrderedDict[bytes, Mould] = OrderedDict()  # of a worker process, by their keys, the latest last
_moulds_lock = threading.Lock()


def _draped_elsewhere(key: bytes, packed: Optional[bytes], settings: Settings, share: _Share) -> Any:
    """Runs in a worker. None if the mould hasn't come to it."""
    with _moulds_lock:
        if key not in _moulds:
            if packed is None:
                return None
            _moulds[key] = pickle.loads(packed)
        _moulds.move_to_end(key)
        while len(_moulds) > _MOULDS_KEPT:
            _moulds.popitem(last=False)
        mould = _moulds[key]
    return _draped(mould, settings, share)
