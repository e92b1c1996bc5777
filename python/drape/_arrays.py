"""Looks at what callers hand in, and says in words what is wrong with it."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

from .errors import ArrayError

Doubles = npt.NDArray[np.float64]
Ints = npt.NDArray[np.int32]

_MOST_INT32 = 2**31 - 1


def _array(name: str, given: Any, kinds: str, what: str) -> Any:
    try:
        array = np.asarray(given)
    except ValueError as error:
        raise ArrayError(f"{name}: rows of different lengths don't make an array") from error
    if array.dtype.kind not in kinds:
        raise ArrayError(f"{name} has to hold {what} numbers, not {array.dtype}")
    return array


def numbers(name: str, given: Any) -> Doubles:
    """`given` as a float64 array without a copy if it's one already; finite throughout."""
    array = _array(name, given, "fiu", "real")
    doubles = np.ascontiguousarray(array, dtype=np.float64).reshape(array.shape)
    bad = np.argwhere(~np.isfinite(doubles))
    if len(bad):
        place = f"[{', '.join(str(i) for i in bad[0])}]" if array.ndim else ""
        raise ArrayError(f"{name}{place} is {doubles[tuple(bad[0])]}; finite numbers are wanted")
    return doubles


def points(name: str, given: Any) -> Doubles:
    """Rows x, y, z as a float64 array of shape (n, 3)."""
    array = numbers(name, given)
    if array.ndim != 2 or array.shape[1] != 3:
        hint = "; this looks transposed" if array.ndim == 2 and array.shape[0] == 3 else ""
        raise ArrayError(f"{name} has to have the shape (n, 3), not {array.shape}{hint}")
    return array


def point(name: str, given: Any) -> tuple[float, float, float]:
    array = numbers(name, given)
    if array.shape != (3,):
        raise ArrayError(f"{name} has to be three numbers x, y, z, not of shape {array.shape}")
    x, y, z = array.tolist()
    return x, y, z


def direction(name: str, given: Any) -> tuple[float, float, float]:
    """A unit vector along three numbers that aren't all 0."""
    x, y, z = point(name, given)
    length = float(np.sqrt(x * x + y * y + z * z))
    if not 0.0 < length < np.inf:
        raise ArrayError(f"{name}: the direction {(x, y, z)} has no length")
    inverse = 1.0 / length
    return x * inverse, y * inverse, z * inverse


def number(name: str, given: Any, low: float = -np.inf, high: float = np.inf) -> float:
    """One finite number; `low` itself is allowed, as is `high`."""
    array = numbers(name, given)
    if array.ndim:
        raise ArrayError(f"{name} has to be one number, not an array of shape {array.shape}")
    value = float(array)
    if not low <= value <= high:
        raise ArrayError(f"{name} is {value:g}, and has to lie between {low:g} and {high:g}")
    return value


def above_zero(name: str, given: Any) -> float:
    value = number(name, given)
    if value <= 0.0:
        raise ArrayError(f"{name} is {value:g}, and has to be above 0")
    return value


def faces(name: str, given: Any, point_count: int) -> Ints:
    """Rows of at least three point numbers, 0 to point_count - 1, as an int32 array."""
    array = _array(name, given, "iu", "whole")
    if array.ndim != 2 or array.shape[1] < 3:
        hint = "; this looks transposed" if array.ndim == 2 and array.shape[0] == 3 else ""
        raise ArrayError(f"{name} has to have the shape (m, 3), not {array.shape}{hint}")
    wrong = np.argwhere((array < 0) | (array >= min(point_count, _MOST_INT32)))
    if len(wrong):
        row, column = wrong[0]
        raise ArrayError(f"{name}[{row}, {column}] is {array[row, column]}; vertices count from 0 to {point_count - 1}")
    return np.ascontiguousarray(array, dtype=np.int32)
