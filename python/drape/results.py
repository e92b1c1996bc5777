"""What a drape gives besides itself: fibres, net, carried curves, its start, and how all of it is shown in files."""

from __future__ import annotations

import os
import pathlib
from typing import Any, Iterable, NamedTuple

from . import _arrays, _core
from ._arrays import Doubles, Ints
from .errors import ArrayError, OutputError


class Fibres(NamedTuple):
    """The fibres on each triangle of the mould, (m,) or (m, 3); read-only."""

    warp: Doubles  # unit vectors in the triangle's plane, zero where there is no cloth
    weft: Doubles
    shear: Doubles  # degrees
    cover: Ints  # 0: no cloth; 1: a cell with all its corners on the mould; 2: a cell that hangs over an edge
    cell: Ints  # row of `ply.cells`, -1 without cloth


class NetLoop(NamedTuple):
    """A closed line of the pattern's outline, the first point not repeated, the cloth to its left; read-only."""

    flat: Doubles  # (k, 2) on the pattern
    space: Doubles  # (k, 3): the same points on the mould's or the cloth's edge
    borders: Ints  # (k,): the stretch to the next point is 0 the mould's edge, 1 carried on beyond the last cell, 2 the
    # edge of the cloth, where the mould goes on without cloth
    area: float  # flat, below 0 for a hole
    length: float  # flat


class Net(NamedTuple):
    """The flat pattern to cut: the cloth that lies over the mould. In the mesh's unit, with the seed at (0, 0)."""

    loops: list[NetLoop]  # by falling size
    area: float  # flat; cloth that lies over cloth on the pattern counts twice
    extent: tuple[float, float, float, float]  # least x, least y, most x, most y
    cloth_edge_length: float  # flat, of all stretches where the cloth ends before the mould
    overlap_area: float  # of the pattern that lies over itself

    @property
    def width(self) -> float:
        """Along the warp, in the mesh's unit."""
        return self.extent[2] - self.extent[0]

    @property
    def height(self) -> float:
        """Along the weft, in the mesh's unit."""
        return self.extent[3] - self.extent[1]


class Stretch(NamedTuple):
    """A stretch of a curve that lies on the cloth, point for point; read-only."""

    points: Doubles  # (k, 3) as drawn
    cloth: Doubles  # (k, 3) where the cloth carries them
    flat: Doubles  # (k, 2) on the pattern
    numbers: Ints  # (k,) number of each point in the curve, from 1; 0 where it was cut
    closed: bool  # the whole curve


class Curve:
    """A closed curve carried onto the pattern, made by `Ply.carry`."""

    def __init__(self, core: Any) -> None:
        self._core = core

    @property
    def name(self) -> str:
        """The name given to `Ply.carry`."""
        return self._core.name

    @property
    def stretches(self) -> list[Stretch]:
        """One that is closed if the curve stays on the cloth, else the parts that do."""
        return [Stretch(*stretch) for stretch in self._core.stretches]

    @property
    def length_on_mould(self) -> float:
        """Along the cloth as it lies there."""
        return self._core.length_on_mould

    @property
    def length_on_pattern(self) -> float:
        """Of all stretches together, in the mesh's unit."""
        return self._core.length_on_pattern


class Choice(NamedTuple):
    """Where the drape started and how."""

    seed: tuple[float, float, float]  # on the surface
    warp: tuple[float, float, float]  # unit vectors at the seed
    weft: tuple[float, float, float]
    normal: tuple[float, float, float]
    rosette: tuple[float, float, float]
    ply_angle: float  # degrees from the rosette to the warp
    angle: float  # degrees, as asked for
    step: tuple[float, float]  # cell lengths along warp and weft
    tolerance: float
    pivot: str  # "grid" or "shear"


def shown(
    millimetres_per_unit: float,
    allowance: float,
    curves: Iterable[Curve] = (),
    name: str = "",
    paper: str | tuple[float, float] | None = None,
) -> Any:
    """How cloth is shown in files, as `Ply.write` names it."""
    scale = _arrays.above_zero("millimetres_per_unit", millimetres_per_unit)
    beyond = _arrays.number("allowance", allowance, low=0.0)
    return _core.Show(scale, beyond, name, _sheets(paper), [curve._core for curve in curves])


def page_for(path: str | os.PathLike[str]) -> str:
    """The file of the page that drapes live, for a path that asks for one: in the package, or in a working copy
    where it has been built."""
    if not os.fspath(path).lower().endswith(".html"):
        return ""
    package = pathlib.Path(__file__).resolve().parent
    for place in (package / "page.html", package.parents[2] / "web" / "web" / "drape.html"):
        if place.is_file():
            return str(place)
    raise OutputError(
        f"cannot write {os.fspath(path)}: this package was built without the page; docs/page.md says how to build it "
        "(cmake --preset web && cmake --build --preset web), then install the package again"
    )


def _sheets(paper: str | tuple[float, float] | None) -> Any:
    if paper is None:
        return None
    if isinstance(paper, str):
        sheets = _core.paper_named(paper)
    else:
        sides = _arrays.numbers("paper", paper)
        sheets = _core.paper_of(*sides.tolist()) if sides.shape == (2,) else None
    if sheets is None:
        raise ArrayError(f"paper is {paper!r}, and has to be A4, A3, A2, A1, A0 or two lengths from 100 to 5080 mm")
    return sheets
