"""What holds for every drape of a sweep alike, checked once and small enough to travel with each candidate."""

from __future__ import annotations

from dataclasses import astuple, dataclass
from typing import Any, Optional, Union

from . import _arrays, _core
from .errors import ArrayError

Step = Union[float, tuple[float, float], None]
Within = Union[float, str, None]
Vector = tuple[float, float, float]

_LEAST_NODES = 4
_MOST_NODES = 50_000_000  # keeps every array of the library within its element counts


@dataclass(frozen=True)
class Settings:
    """The arguments of a drape besides its seed and angle, as `Mould.drape` names them."""

    step: Optional[tuple[float, float]]
    rosette: Optional[Vector]
    warp: Optional[Vector]
    tolerance: Optional[float]
    pivot_by_grid_line: bool
    locking: float
    within: Optional[float]
    within_largest: bool
    most_nodes: Optional[int]

    @classmethod
    def of(
        cls,
        step: Step = None,
        rosette: Any = None,
        warp: Any = None,
        tolerance: Optional[float] = None,
        pivot: str = "grid",
        locking: float = 45.0,
        within: Within = None,
        most_nodes: Optional[int] = None,
    ) -> Settings:
        """Raises ArrayError for what can't be used."""
        if pivot not in ("grid", "shear"):
            raise ArrayError(f'pivot is {pivot!r}, and has to be "grid" or "shear"')
        if isinstance(within, str) and within != "max":
            raise ArrayError(f'within is {within!r}, and has to be a distance or "max"')
        largest = isinstance(within, str)
        if most_nodes is not None:
            most_nodes = int(_arrays.number("most_nodes", most_nodes, _LEAST_NODES, _MOST_NODES))
        return cls(
            _both(step),
            None if rosette is None else _arrays.direction("rosette", rosette),
            None if warp is None else _arrays.direction("warp", warp),
            None if tolerance is None else _arrays.number("tolerance", tolerance, low=0.0),
            pivot == "grid",
            _arrays.number("locking", locking, 0.0, 90.0),
            None if within is None or largest else _arrays.above_zero("within", within),
            largest,
            most_nodes,
        )

    def core(self) -> Any:
        return _core.Wishes(*astuple(self))


def _both(step: Step) -> Optional[tuple[float, float]]:
    if step is None:
        return None
    sides = _arrays.numbers("step", step)
    if sides.shape == ():
        sides = sides.repeat(2)
    if sides.shape != (2,):
        raise ArrayError(f"step has to be one length or two, not of shape {sides.shape}")
    return _arrays.above_zero("step", sides[0]), _arrays.above_zero("step", sides[1])
