"""One drape: the cloth on the mould, its flat pattern and its figures."""

from __future__ import annotations

import json
import os
from functools import cached_property
from typing import TYPE_CHECKING, Any, Iterable, NamedTuple

import numpy as np
import numpy.typing as npt

from . import _arrays, _core
from ._arrays import Doubles, Ints
from .errors import ArrayError, StatusError

if TYPE_CHECKING:
    from .mould import Mould
    from .settings import Settings


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
        return self.extent[2] - self.extent[0]

    @property
    def height(self) -> float:
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


class Ply:
    """Cloth as it came to lie, made by `Mould.drape`.

    Arrays are views of the run's own memory: read-only, made without a copy, valid as long as anyone holds them. A
    node's row in one array is its row in all of them. Angles are in degrees, lengths in the mesh's unit.
    """

    mould: Mould
    _core: Any
    _start: tuple[Any, ...]

    @classmethod
    def _run(cls, mould: Mould, settings: Settings, seed: Any, angle: float) -> Ply:
        ply = cls.__new__(cls)
        ply.mould = mould
        in_middle = isinstance(seed, str)
        ply._core = _core.drape(mould._core, settings.core(), None if in_middle else seed, in_middle, angle)
        ply._start = (settings, seed, angle)
        return ply

    @classmethod
    def _held(cls, mould: Mould, settings: Settings, core: Any) -> Ply:
        """One that was draped already, from its own seed."""
        ply = cls.__new__(cls)
        ply.mould = mould
        ply._core = core
        ply._start = (settings, ply.choice.seed, ply.choice.angle)
        return ply

    def __reduce__(self) -> tuple[Any, ...]:
        """A pickle holds the mould and the start; whoever loads it drapes again and has the same bits."""
        return Ply._run, (self.mould, *self._start)

    @property
    def positions(self) -> Doubles:
        """(n, 3): where each node came to lie."""
        return self._core.positions

    @property
    def flat(self) -> Doubles:
        """(n, 2): each node on the flat pattern, the seed at (0, 0), warp along x."""
        return self._core.flat

    @property
    def normals(self) -> Doubles:
        """(n, 3): unit normals of the surface at the nodes."""
        return self._core.normals

    @property
    def links(self) -> tuple[Ints, Ints, Ints, Ints]:
        """Four arrays (n,): the neighbour along +warp, -weft, -warp and +weft as the library has it, counted from 1,
        0 for none."""
        return self._core.link1, self._core.link2, self._core.link3, self._core.link4

    @property
    def columns(self) -> Ints:
        """(n,): grid column of each node, counted along the warp, 0 at the seed."""
        return self._core.columns

    @property
    def rows(self) -> Ints:
        """(n,): grid row of each node, counted along the weft, 0 at the seed."""
        return self._core.rows

    @property
    def node_status(self) -> Ints:
        """(n,): 0 on the surface; -1 beyond its edge or closed. A run that ended with a code can leave others."""
        return self._core.node_status

    @property
    def node_triangle(self) -> Ints:
        """(n,): triangle that holds the node, counted from 1; 0 off the surface."""
        return self._core.node_triangle

    @property
    def cells(self) -> Ints:
        """(c, 4): nodes round each complete cell, counted from 0."""
        return self._core.cells

    @property
    def shear(self) -> Doubles:
        """(c,): shear of each cell in degrees: 0 where warp and weft are square, above 0 where the angle between them
        has grown smaller."""
        return self._core.shear

    @property
    def on_surface(self) -> npt.NDArray[np.bool_]:
        """(c,): whether all four corners of a cell lie on the mould."""
        return self._core.on_surface

    @cached_property
    def fibres(self) -> Fibres:
        """The fibres on each triangle of the mould: what a structural model wants."""
        return Fibres(*self._core.fibres())

    @cached_property
    def net(self) -> Net:
        """The flat pattern to cut."""
        loops, area, extent, cloth_edge_length, overlap_area = self._core.net()
        box = (extent[0], extent[1], extent[2], extent[3])
        return Net([NetLoop(*loop) for loop in loops], area, box, cloth_edge_length, overlap_area)

    @property
    def choice(self) -> Choice:
        """Where the drape started and how."""
        return Choice(**{k: tuple(v) if isinstance(v, list) else v for k, v in self._core.choice.items()})

    @property
    def status(self) -> int:
        """0, or the library's code with which the run ended."""
        return self._core.status

    def raise_for_status(self) -> None:
        """Raises StatusError if the run ended with a code."""
        if self.status:
            raise StatusError(self.status, self._core.end_text)

    @property
    def mean_shear(self) -> float:
        """Degrees without sign, over the cells on the surface."""
        return self._core.mean_shear

    @property
    def largest_shear(self) -> float:
        """Degrees without sign, over the cells on the surface."""
        return self._core.largest_shear

    @property
    def largest_turn(self) -> float:
        """Degrees by which a yarn turns at most within the cloth from one cell to the next."""
        return self._core.largest_turn

    @property
    def share_beyond_locking(self) -> float:
        """0 to 1: cells on the surface that shear by more than the locking angle."""
        return self._core.share_beyond_locking

    @property
    def covered_share(self) -> float:
        """0 to 1: the part of the mould's area that lies under cloth."""
        return self._core.covered_share

    @property
    def doubled_share(self) -> float:
        """Area of cloth that lies over other cloth, against the mould's area."""
        return self._core.doubled_share

    @property
    def within(self) -> float | None:
        """Distance from the seed at which the draped patch ends, None for the whole mould."""
        return self._core.within

    @property
    def seconds(self) -> float:
        """Time that the library's run took."""
        return self._core.seconds

    @property
    def notes(self) -> list[str]:
        """What the run has to say about its start."""
        return self._core.notes

    def carry(self, curve: Any, directions: Any = None, *, cut: bool = False, name: str = "curve") -> Curve:
        """Carry a closed curve drawn on the mould, such as a trim line, onto the pattern.

        curve       points (k, 3) in order, the last one joins the first; or a file of them, as the program reads it
        directions  (k, 3): the way in which each point is projected onto the cloth (default: the mould's normals)
        cut         True leaves out what lies off the cloth; else such a curve raises CurveError

        Raises StatusError if it can't be carried over at all.
        """
        if isinstance(curve, (str, os.PathLike)):
            drawn = _core.read_curve(os.fspath(curve))
        else:
            points = _arrays.points("curve", curve)
            ways = points[:0] if directions is None else _arrays.points("directions", directions)
            if not len(points) or len(ways) not in (0, len(points)):
                raise ArrayError("a curve needs points, and as many directions as points if there are any")
            drawn = _core.DrawnCurve(name, points, ways)
        return Curve(_core.carry(self._core, drawn, bool(cut)))

    def report(
        self, *, millimetres_per_unit: float = 1.0, allowance: float = 0.0, curves: Iterable[Curve] = ()
    ) -> dict[str, Any]:
        """All figures, as the program's JSON report has them and by its names. The arguments are those of write."""
        return json.loads(self._core.report_json(shown(millimetres_per_unit, allowance, curves)))

    def write(
        self,
        path: str | os.PathLike[str],
        *,
        millimetres_per_unit: float = 1.0,
        allowance: float = 0.0,
        name: str = "",
        paper: str | tuple[float, float] | None = None,
        curves: Iterable[Curve] = (),
    ) -> None:
        """Write the kind of file that the ending of `path` asks for, whole or not at all: the grid (.vtp, .glb,
        .gltf), the pattern (.pattern.svg, .pattern.png, .pdf, .dxf), fibres per triangle (.fibres.vtp, .fibres.csv),
        carried curves (.curve.csv), pictures (.svg, .png), the report (.json).

        millimetres_per_unit  of the mesh, for drawings at 1:1
        allowance             of the cut line beyond the net line, in the mesh's unit
        name                  the ply's, on drawings (default: that of the mesh file)
        paper                 for the PDF, "A4" to "A0", or width and height in mm from 100 to 5080: the pattern on
                              sheets to be joined (default: one page, as far as viewers can show it)
        curves                made by `carry`; drawings show them too

        Raises OutputError.
        """
        self._core.write(os.fspath(path), shown(millimetres_per_unit, allowance, curves, name, paper))

    def plot(self, path: str | os.PathLike[str] | None = None) -> Any:
        """Draw the cloth on the mould, coloured by shear, and its pattern beside it, with matplotlib. Gives the
        figure; with `path`, saves it there too."""
        from ._plot import plotted

        figure = plotted(self)
        if path is not None:
            figure.savefig(path)
        return figure

    def to_meshio(self) -> Any:
        """The cells on the mould as a meshio mesh of quads, with every array of the grid; nodes keep their rows."""
        import meshio

        kept = self.on_surface
        return meshio.Mesh(
            np.array(self.positions),
            [("quad", np.array(self.cells[kept]))],
            point_data={
                "flat": np.column_stack((self.flat, np.zeros(len(self.flat)))),
                "normal": np.array(self.normals),
                "column": np.array(self.columns),
                "row": np.array(self.rows),
                "status": np.array(self.node_status),
                "triangle": np.array(self.node_triangle),
            },
            cell_data={"shear": [np.array(self.shear[kept])]},
        )

    def to_vtk(self) -> tuple[Doubles, npt.NDArray[np.int64], dict[str, npt.NDArray[Any]]]:
        """Points (n, 3), faces and cell arrays of the cells on the mould, as VTK and PyVista take them: the faces are
        one array 4, a, b, c, d, 4, ..., so pyvista.PolyData(points, faces) draws the cloth."""
        kept = self.on_surface
        faces = np.full((int(kept.sum()), 5), 4, dtype=np.int64)
        faces[:, 1:] = self.cells[kept]
        return self.positions, faces.ravel(), {"shear": self.shear[kept]}

    def __repr__(self) -> str:
        end = "" if self.status == 0 else f", ended with code {self.status}"
        return (
            f"<drape.Ply of {len(self.positions)} nodes: covers {100 * self.covered_share:.1f} %, "
            f"largest shear {self.largest_shear:.1f} degrees{end}>"
        )


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
