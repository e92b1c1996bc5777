"""The surface that cloth is laid on, and a drape of it: the cloth on the mould, its flat pattern and its figures.

The two stand in one file, as each names the other: a mould is draped, and a ply tells its mould."""

from __future__ import annotations

import hashlib
import json
import os
from functools import cached_property
from typing import Any, Iterable, Sequence

import numpy as np
import numpy.typing as npt

from . import _arrays, _core
from ._arrays import Doubles, Ints
from ._plot import plotted
from .errors import ArrayError, StatusError
from .results import Choice, Curve, Fibres, Net, NetLoop, page_for, shown
from .settings import Settings, Step, Within


class Mould:
    """A surface made ready to be draped: repaired, of one piece, facing the side on which the cloth lies.

    Lengths are in the mesh's own unit throughout, angles in degrees. A mould never changes, so threads may share it;
    it can be pickled, and its arrays stay valid after it is gone.

    vertices    (n, 3) numbers: positions
    triangles   (m, 3) whole numbers: vertices of each triangle, from 0; faces of more corners, (m, k), are cut
    seed        x, y, z: names the piece to drape where the mesh has several, and becomes the default seed
    clip        pairs (point, normal): the part on the side of each plane to which its normal points is kept
    side        x, y, z: the cloth lies on the side to which this points (default +z, or +y or +x where the surface
                faces no clear z)
    weld        False keeps vertices apart that lie on each other, as along a slit
    fill_holes  True lets the cloth run on over holes

    Raises ArrayError for arrays that can't be a mesh, MeshError for a surface that can't be draped, and StartError
    for a side that isn't there.
    """

    __slots__ = ("_core", "_key")

    def __init__(
        self,
        vertices: Any,
        triangles: Any,
        *,
        seed: Any = None,
        clip: Iterable[tuple[Any, Any]] = (),
        side: Any = None,
        weld: bool = True,
        fill_holes: bool = False,
        name: str = "arrays",
    ) -> None:
        positions = _arrays.points("vertices", vertices)
        faces = _arrays.faces("triangles", triangles, len(positions))
        wishes = _surface_wishes(seed, clip, side, weld, fill_holes)
        self._core = _core.mould_of_arrays(positions, faces, name, *wishes)
        self._key: bytes | None = None

    @classmethod
    def read(
        cls,
        path: str | os.PathLike[str],
        *,
        seed: Any = None,
        clip: Iterable[tuple[Any, Any]] = (),
        side: Any = None,
        weld: bool = True,
        fill_holes: bool = False,
    ) -> Mould:
        """The surface in a file: OBJ, STL, PLY, OFF, glTF, 3MF and more. The other arguments are those of Mould.

        The file is read by a process of its own, so that a broken one ends in an UnreadableError and nothing else.
        """
        return cls._of(_core.read_mould(os.fspath(path), *_surface_wishes(seed, clip, side, weld, fill_holes)))

    @classmethod
    def from_meshio(cls, mesh: Any, **wishes: Any) -> Mould:
        """The triangles and quads of a meshio mesh, of any format that meshio reads. `wishes` are those of Mould."""
        faces = [np.asarray(block.data) for block in mesh.cells if block.type in ("triangle", "quad")]
        if not faces:
            raise ArrayError("the mesh holds no triangles and no quads")
        split = [np.concatenate((f[:, [0, 1, 2]], f[:, [0, 2, 3]])) if f.shape[1] == 4 else f for f in faces]
        vertices = np.asarray(mesh.points)
        if vertices.ndim == 2 and vertices.shape[1] == 2:
            vertices = np.column_stack((vertices, np.zeros(len(vertices))))
        return cls(vertices, np.concatenate(split), name="meshio", **wishes)

    @classmethod
    def _of(cls, core: Any) -> Mould:
        mould = cls.__new__(cls)
        mould._core = core
        mould._key = None
        return mould

    def __reduce__(self) -> tuple[Any, ...]:
        return Mould._of, (self._core,)

    @property
    def vertices(self) -> Doubles:
        """(n, 3): positions of the surface as it is draped. Read-only, not a copy."""
        return self._core.vertices

    @property
    def triangles(self) -> Ints:
        """(m, 3): vertices of each triangle, from 0, anticlockwise seen from the side of the cloth. Read-only."""
        return self._core.triangles

    @property
    def source_faces(self) -> Ints:
        """(m,): face of the input that each triangle comes from, from 1; 0 for a filled hole. Read-only."""
        return self._core.source_faces

    @property
    def loops(self) -> list[Ints]:
        """Vertices along each closed edge of the surface; the first is the outline, the others are holes."""
        return self._core.loops

    @property
    def area(self) -> float:
        """In the mesh's unit squared."""
        return self._core.area

    @property
    def default_seed(self) -> tuple[float, float, float]:
        """The seed that was asked for, moved onto the surface, else a place near its middle."""
        x, y, z = self._core.default_seed
        return x, y, z

    @property
    def side(self) -> str:
        """The side on which the cloth lies, in words."""
        return self._core.side

    @property
    def source(self) -> str:
        """The file that it was read from, or what stands for one."""
        return self._core.source

    @property
    def notes(self) -> list[str]:
        """What was changed on the way from the input to the surface, and what is worth a warning."""
        return self._core.notes

    @property
    def key(self) -> bytes:
        """A hash of all that a drape depends on: moulds with the same key give the same drapes."""
        if self._key is None:
            state = self._core.__getstate__()
            digest = hashlib.blake2b(digest_size=20)
            for array in state[:3]:
                digest.update(len(array).to_bytes(8, "little"))
                digest.update(array)
            digest.update(repr(state[3:]).encode())
            self._key = digest.digest()
        return self._key

    def __repr__(self) -> str:
        return f"<drape.Mould of {self.source}: {len(self.triangles)} triangles, area {self.area:.4g}>"

    def drape(
        self,
        seed: Any = None,
        angle: float = 0.0,
        step: Step = None,
        *,
        rosette: Sequence[float] | None = None,
        warp: Sequence[float] | None = None,
        tolerance: float | None = None,
        pivot: str = "grid",
        locking: float = 45.0,
        within: Within = None,
        most_nodes: int | None = None,
    ) -> Ply:
        """Lay cloth over the mould. Other threads run on meanwhile.

        seed        x, y, z: where the drape starts, moved onto the surface; or "middle", near the mould's middle
                    (default: the mould's own seed, the middle with within, else the place around the middle from
                    which the cloth shears least, which takes some dozens of coarse runs to find)
        angle       degrees by which warp and weft are turned at the seed, anticlockwise seen from the cloth's side
        step        length of a cell, or a pair along warp and weft (default: about 40 cells across)
        rosette     x, y, z: direction of angle 0, laid onto the surface (default: that of warp, or +x)
        warp        x, y, z: direction of the warp before it is turned (default: that of rosette)
        tolerance   lengths below this count as nothing (default: a thousandth of a cell)
        pivot       "grid": rows start on the fibre lines through the seed, which stay straight; "shear": at the
                    least sheared cell of the row before
        locking     degrees of shear beyond which the cloth wrinkles, for the figures
        within      drape the patch within this distance of the seed along the surface; "max": the largest patch
                    that one ply covers in one layer
        most_nodes  give up beyond this many nodes (default: six layers of cloth)

        A run that ends with a status code gives the part of the cloth that was laid until then: ask `ply.status`, or
        call `ply.raise_for_status()`. Raises ArrayError for arguments that can't be used, MeshError where the surface
        can't be draped, StartError where the start doesn't go with it.
        """
        settings = Settings.of(step, rosette, warp, tolerance, pivot, locking, within, most_nodes)
        if isinstance(seed, str) and seed != "middle":
            raise ArrayError(f'seed is {seed!r}, and has to be three numbers or "middle"')
        start = seed if seed is None or isinstance(seed, str) else _arrays.point("seed", seed)
        return Ply._run(self, settings, start, _arrays.number("angle", angle))


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
            drawn, file = _core.read_curve(os.fspath(curve)), os.fspath(curve)
        else:
            points = _arrays.points("curve", curve)
            ways = points[:0] if directions is None else _arrays.points("directions", directions)
            if not len(points) or len(ways) not in (0, len(points)):
                raise ArrayError("a curve needs points, and as many directions as points if there are any")
            drawn, file = _core.DrawnCurve(name, points, ways), name
        return Curve(_core.carry(self._core, drawn, file, bool(cut)))

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
        carried curves (.curve.csv), pictures (.svg, .png), the report (.json), or a page for any browser that drapes
        live with the part inside (.html), if the package was built with one.

        millimetres_per_unit  of the mesh, for drawings at 1:1
        allowance             of the cut line beyond the net line, in the mesh's unit
        name                  the ply's, on drawings (default: that of the mesh file)
        paper                 for the PDF, "A4" to "A0", or width and height in mm from 100 to 5080: the pattern on
                              sheets to be joined (default: one page, as far as viewers can show it)
        curves                made by `carry`; drawings show them too

        Raises OutputError.
        """
        look = shown(millimetres_per_unit, allowance, curves, name, paper)
        self._core.write(os.fspath(path), look, page_for(path))

    def plot(self, path: str | os.PathLike[str] | None = None) -> Any:
        """Draw the cloth on the mould, coloured by shear, and its pattern beside it, with matplotlib. Gives the
        figure; with `path`, saves it there too."""
        kept = self.on_surface
        figure = plotted(
            self.mould.vertices,
            self.mould.triangles,
            self.positions,
            self.flat,
            self.cells[kept],
            self.shear[kept],
            [loop.flat for loop in self.net.loops],
            f"covers {100 * self.covered_share:.1f} %, largest shear {self.largest_shear:.1f}°",
        )
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


def _surface_wishes(seed: Any, clip: Iterable[tuple[Any, Any]], side: Any, weld: bool, fill_holes: bool) -> tuple:
    return (
        None if seed is None else _arrays.point("seed", seed),
        [(_arrays.point("clip", at), _arrays.direction("clip", normal)) for at, normal in clip],
        None if side is None else _arrays.direction("side", side),
        bool(weld),
        bool(fill_holes),
    )
