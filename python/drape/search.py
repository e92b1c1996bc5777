"""Many seeds and angles: each drape a task for whatever executor the user has, the table the same from all of them."""

from __future__ import annotations

import os
from concurrent.futures import Executor, ThreadPoolExecutor
from dataclasses import replace
from typing import Any, Callable, Iterable, NamedTuple, Optional, Sequence

import numpy as np

from . import _arrays, _core
from ._arrays import Doubles
from ._spread import Spread
from .draping import Mould, Ply
from .errors import ArrayError
from .settings import Settings, Step, Within

_MOST_CANDIDATES = 1_000_000
_SHARES_PER_WORKER = 16  # enough of them that no worker waits long for the last one

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
        # With the cells of the sweep: of itself a patch would get cells to its own measure.
        steps = _core.sweep_steps(self.mould._core, self._settings.core())
        settings = replace(self._settings, step=tuple(steps))
        return Ply._run(self.mould, settings, tuple(row.seed.tolist()), float(row.angle))

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
    spread = Spread(mould, _draped, settings, executor)
    size = max(1, len(seeds) // (_SHARES_PER_WORKER * spread.workers))
    shares = [_Share(i, seeds[i : i + size], angles[i : i + size]) for i in range(0, len(seeds), size)]
    whole = np.zeros(len(seeds), dtype=_core.row_type())
    done = 0
    for index, table in spread.results(shares):
        whole[shares[index].first :][: len(table)] = table
        done += len(table)
        if progress is not None:
            progress(done, len(seeds))
    return Sweep(mould, settings, whole)


def _draped(mould: Mould, settings: Settings, share: _Share) -> np.ndarray:
    return _core.try_candidates(mould._core, settings.core(), share.first + 1, share.seeds, share.angles)
