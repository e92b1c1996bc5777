"""What can go wrong, one class per kind of error, all of them below `Error`."""

from . import _core

# What to do about a status code, in this package's own terms.
_ADVICE = {
    "none": "",
    "other start": "try another start: drape.sweep drapes many seeds and angles and ranks them; equal cell lengths "
    "(step=A) and a smaller patch (within='max') help too",
    "finer or other": "try another seed or angle (drape.sweep), or a step that is small against the mould's features "
    "but not below the size of its triangles' flaws",
    "check mesh": "the outline isn't one clean loop: look at mould.notes, repair the mesh, or keep a clean part of it "
    "with clip=... or within=R",
    "report fault": "this shouldn't happen on a sound mesh: try another seed or step, and please report it with the "
    "mesh",
    "more nodes": "raise most_nodes",
    "more nodes or larger step": "raise most_nodes or take a larger step; if the cloth winds round the mould more "
    "than once, start elsewhere (drape.sweep) or drape a part (within='max')",
    "other seed": "move the seed off a degenerate triangle, or try another step",
    "check curve": "check that the curve lies on the draped part of the mould",
    "smaller step": "take a smaller step",
    "less memory": "take a larger step or lower most_nodes",
    "fewer nodes": "lower most_nodes",
}


class Error(Exception):
    """Any error of this package."""


class ArrayError(Error, ValueError):
    """An array or a number that can't be used: its shape, its type, its order, or what it holds."""


class MeshError(Error):
    """A surface that can't be draped."""


class UnreadableError(MeshError):
    """A file, or numbers, that aren't a mesh."""


class UnfitError(MeshError):
    """A surface whose size or shape leaves nothing to drape."""


class NothingLeftError(MeshError):
    """A clipping plane has cut everything away."""


class ClosedError(MeshError):
    """A surface without an edge for cloth to end at."""


class StartError(Error):
    """A start, or a cell length, that doesn't go with the surface."""


class TooFineError(StartError):
    """More cells than a common machine holds."""


class NoSuchSideError(StartError):
    """No side of the surface faces the direction that was named."""


class UprightError(StartError):
    """A direction along the surface is wanted, and the one given stands upright on it."""


class TooCoarseError(StartError):
    """The tolerance swallows cells."""


class CurveError(Error):
    """A curve that leaves the cloth."""


class OutputError(Error, OSError):
    """A file that can't be written."""


class StatusError(Error):
    """The library ended with a status code.

    Attributes: `status` (the code), `name` (short and fixed), `meaning` (one sentence) and `advice` (what to do).
    """

    def __init__(self, status: int, text: str = "") -> None:
        self.status = status
        self.name, self.meaning, self.advice = status_text(status)
        super().__init__(status, text)
        self._text = text or f"code {status}: {self.meaning}"

    def __str__(self) -> str:
        return self._text + (f"; {self.advice}" if self.advice else "")


def status_text(status: int) -> tuple[str, str, str]:
    """The short name of a status code, its meaning, and what to do about it (empty if there is nothing to do)."""
    name, meaning, remedy = _core.status_text(status)
    return name, meaning, _ADVICE[remedy]
