"""One surface under several pieces of cloth: where each starts, and where they meet."""

from __future__ import annotations

import dataclasses
import json
import os
import threading
import time
from collections import OrderedDict
from concurrent.futures import Executor, ThreadPoolExecutor
from typing import Any, Callable, NamedTuple, Optional, Sequence

import numpy as np

from . import _arrays, _core
from ._arrays import Doubles, Ints
from ._spread import Spread
from .draping import Mould, Ply
from .errors import ArrayError
from .results import shown
from .settings import Settings, Step

_GROUNDS_KEPT = 4  # by a process, the latest

Progress = Callable[[int, int, float], Optional[bool]]


class Dart(NamedTuple):
    """A slit of a piece, as it shows on the flat pattern."""

    kind: str  # "V", which is cut out, or "overlap", where one side lies over the other
    tip: tuple[float, float, float]  # on the mould
    mouth: tuple[float, float, float]  # where it meets the piece's edge
    length: float  # along the mould
    width: float  # between its sides at the mouth, on the pattern; below 0 for an overlap
    angle: float  # degrees between its sides, on the pattern; below 0 for an overlap


class Piece(NamedTuple):
    """A piece of cloth of a cover."""

    ply: Ply  # its drape; `ply.mould` is the part of the surface under it
    claimed: float  # area of the surface that is this piece's, up to its seams
    seam_length: float  # on the surface, to all neighbours
    darts: list[Dart]


class Seam(NamedTuple):
    """Where two pieces meet."""

    pieces: tuple[int, int]  # rows of the cover, the lower one first
    points: Doubles  # (k, 3) on the surface, the first repeated at the end of a closed one; read-only
    length: float


class Cover(Sequence):
    """What `drape.cover` found; as a sequence, its pieces.

    Lengths are in the mesh's unit, angles in degrees, shares 0 to 1.
    """

    def __init__(self, mould: Mould, settings: Settings, core: Any) -> None:
        self.mould = mould
        self._core = core
        alike = dataclasses.replace(settings, step=tuple(core.steps))
        self._pieces = []
        for index in range(core.count):
            part, held, claimed, seam_length, darts = core.piece(index)
            ply = Ply._held(Mould._of(part), alike, held)
            self._pieces.append(Piece(ply, claimed, seam_length, [Dart._make(dart) for dart in darts]))

    def __len__(self) -> int:
        return len(self._pieces)

    def __getitem__(self, index: Any) -> Any:
        return self._pieces[index]

    @property
    def seams(self) -> list[Seam]:
        """Where pieces meet, each as a line on the mould."""
        return [Seam(*seam) for seam in self._core.seams()]

    @property
    def covered_share(self) -> float:
        """Of the surface's area, under the pieces."""
        return self._core.covered_share

    @property
    def overlap_share(self) -> float:
        """Area under more than one piece, against that of the surface."""
        return self._core.overlap_share

    @property
    def largest_shear(self) -> float:
        """Degrees without sign, over the cells of all pieces."""
        return self._core.largest_shear

    @property
    def seam_length(self) -> float:
        """Of all seams together."""
        return self._core.seam_length

    def claims(self) -> tuple[Doubles, Ints, Ints]:
        """The surface cut along the seams: vertices (n, 3), triangles (m, 3) from 0, and (m,) the row of the piece on
        top of each triangle, -1 where it is bare."""
        vertices, corners, piece = self._core.claims()
        return vertices, corners - np.int32(1), piece

    def report(self, *, millimetres_per_unit: float = 1.0) -> dict[str, Any]:
        """All figures, as the program's JSON report of a cover has them; its time is 0."""
        return json.loads(self._core.report_json(shown(millimetres_per_unit, 0.0)))

    def write(
        self,
        path: str | os.PathLike[str],
        *,
        millimetres_per_unit: float = 1.0,
        allowance: float = 0.0,
        name: str = "",
        paper: str | tuple[float, float] | None = None,
    ) -> list[str]:
        """Write what the program's cover writes for the ending of `path`, whole or not at all, and give the names of
        the files: all pieces in one, or one file each. The other arguments are those of `Ply.write`. Raises
        OutputError."""
        return self._core.write(os.fspath(path), shown(millimetres_per_unit, allowance, (), name, paper))

    def __repr__(self) -> str:
        return f"<drape.Cover of {len(self)} pieces: covers {100 * self.covered_share:.1f} %>"


def cover(
    mould: Mould,
    executor: Optional[Executor] = None,
    *,
    share: float = 0.99,
    angle: float = 0.0,
    free_angles: bool = False,
    overlap: float = 0.0,
    most: tuple[Optional[float], Optional[float]] = (None, None),
    darts: int = 0,
    seconds: Optional[float] = None,
    step: Step = None,
    rosette: Any = None,
    warp: Any = None,
    tolerance: Optional[float] = None,
    pivot: str = "grid",
    locking: float = 45.0,
    most_nodes: Optional[int] = None,
    progress: Optional[Progress] = None,
) -> Cover:
    """Cover a surface with few pieces of cloth, none of which shears beyond locking or folds.

    executor     any executor of concurrent.futures, as for `drape.sweep` (default: threads, one per core)
    share        of the surface's area that is to be covered
    angle        degrees, of all pieces; with free_angles each has the angle that suits it
    overlap      of neighbours, in the mesh's unit
    most         farthest extents of a piece along warp and weft, as the width of the roll; None for no limit
    darts        that a piece may have at most, where they save a piece
    seconds      go on looking for better ones for so long (default: until next to nothing is gained)
    progress     called with the candidates tried, the pieces of the best choice so far and the share that they cover;
                 giving False ends the search with that choice

    The other arguments are those of `Mould.drape`. For as many candidates the pieces are the same bits whatever ran
    them.
    """
    settings = Settings.of(step, rosette, warp, tolerance, pivot, locking, None, most_nodes)
    reach = tuple(np.inf if side is None else _arrays.above_zero("most", side) for side in most)
    if len(reach) != 2:
        raise ArrayError("most has to be two lengths, along warp and weft; None for no limit")
    wanted = (
        _arrays.number("share", share, 0.0, 1.0),
        _arrays.number("angle", angle),
        bool(free_angles),
        _arrays.number("overlap", overlap, low=0.0),
        reach,
        int(_arrays.number("darts", darts, low=0.0)),
    )
    end = None if seconds is None else time.monotonic() + _arrays.above_zero("seconds", seconds)

    def heard(tried: int, pieces: int, covered: float) -> bool:
        goes_on = progress is None or progress(tried, pieces, covered) is not False
        return goes_on and (end is None or time.monotonic() < end)

    def searched(by: Executor) -> Any:
        spread = Spread(mould, _territory, (settings, reach), by)

        def territories(starts: list) -> list:
            found: list = [None] * len(starts)
            for index, territory in spread.results(starts):
                found[index] = territory
            return found

        return _core.cover(mould._core, settings.core(), *wanted, territories, heard, end is not None)

    if executor is None:
        with ThreadPoolExecutor(os.cpu_count()) as threads:
            return Cover(mould, settings, searched(threads))
    return Cover(mould, settings, searched(executor))


_grounds: OrderedDict[Any, Any] = OrderedDict()  # what all candidates over a mould share, the latest last
_grounds_lock = threading.Lock()


def _territory(mould: Mould, given: tuple[Settings, tuple[float, float]], start: tuple) -> Any:
    """What one candidate covers."""
    settings, most = given
    key = (mould.key, settings, most)
    with _grounds_lock:
        if key not in _grounds:
            _grounds[key] = _core.CoverGround(mould._core, settings.core(), most)
        _grounds.move_to_end(key)
        while len(_grounds) > _GROUNDS_KEPT:
            _grounds.popitem(last=False)
        ground = _grounds[key]
    return ground.territory(*start)
