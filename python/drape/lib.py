"""The library's 45 operations by their own names, for those who want a single step or the bare call.

Arguments are those of the C header, in its order, by position or by name. Arrays are numpy arrays of float64 or int32
that lie in memory row by row; they go in and out as they stand, without a copy, and each has to be at least as long as
the header says. An input of one value may be a plain number; what is written is an array, a counter or a status an
array of one. Arguments that are never read may be None. Numbers count from 1. The result is the operation's own, 0 or
1, or None where it has none; a status is left in its array and raises nothing.

`gzprp2`, `nptfpt` and `gz0zorc` may run in several threads at once. All others share the state of the process and take
turns by themselves; the arrays that `npinco` registers stay alive until the next `npinco`. Lengths are looked at, and
what the arrays hold is not: a node that isn't there, handed to a single step, can end the process.
"""

from . import _core

globals().update({name: value for name, value in vars(_core.lib).items() if not name.startswith("_")})
__all__ = [name for name in vars(_core.lib) if not name.startswith("_")]
