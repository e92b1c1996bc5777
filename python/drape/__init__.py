"""Lays woven fabric over a mould: where it comes to lie, where it shears, what pattern to cut, where to start.

    import drape

    mould = drape.Mould.read("part.stl")
    ply = mould.drape(seed=(0, 0, 40), angle=45, step=5)
    ply.positions, ply.shear, ply.fibres, ply.net, ply.report()
    best = drape.sweep(mould, seeds=25, angles=range(0, 90, 15))
    pieces = drape.cover(mould, locking=45)

Lengths are in the mesh's own unit, angles in degrees, positive anticlockwise seen from the side on which the cloth
lies. All drapes of equal input are equal to the last bit, whatever ran them.
"""

from . import errors, lib
from ._core import __version__
from .draping import Mould, Ply
from .errors import (
    ArrayError,
    ClosedError,
    CurveError,
    Error,
    MeshError,
    NoSuchSideError,
    NothingLeftError,
    OutputError,
    StartError,
    StatusError,
    TooCoarseError,
    TooFineError,
    UnfitError,
    UnreadableError,
    UprightError,
    status_text,
)
from .pieces import Cover, Dart, Piece, Seam, cover
from .results import Choice, Curve, Fibres, Net, NetLoop, Stretch
from .search import Sweep, sweep

__all__ = [
    "ArrayError",
    "Choice",
    "ClosedError",
    "Cover",
    "Curve",
    "CurveError",
    "Dart",
    "Error",
    "Fibres",
    "MeshError",
    "Mould",
    "Net",
    "NetLoop",
    "NoSuchSideError",
    "NothingLeftError",
    "OutputError",
    "Piece",
    "Ply",
    "Seam",
    "StartError",
    "StatusError",
    "Stretch",
    "Sweep",
    "TooCoarseError",
    "TooFineError",
    "UnfitError",
    "UnreadableError",
    "UprightError",
    "__version__",
    "cover",
    "errors",
    "lib",
    "status_text",
    "sweep",
]
