"""The surface that cloth is laid on."""

from __future__ import annotations

import hashlib
import os
from typing import Any, Iterable, Sequence

import numpy as np

from . import _arrays, _core
from ._arrays import Doubles, Ints
from .errors import ArrayError
from .ply import Ply
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


def _surface_wishes(seed: Any, clip: Iterable[tuple[Any, Any]], side: Any, weld: bool, fill_holes: bool) -> tuple:
    return (
        None if seed is None else _arrays.point("seed", seed),
        [(_arrays.point("clip", at), _arrays.direction("clip", normal)) for at, normal in clip],
        None if side is None else _arrays.direction("side", side),
        bool(weld),
        bool(fill_holes),
    )
