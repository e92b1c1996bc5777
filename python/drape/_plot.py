"""The picture of a drape: mould and cloth in space, the pattern beside them, one colour scale for both."""

from __future__ import annotations

from typing import Any

import numpy as np

from ._arrays import Doubles, Ints


def plotted(
    vertices: Doubles,
    triangles: Ints,
    positions: Doubles,
    flat: Doubles,
    cells: Ints,
    shear: Doubles,
    loops: list[Doubles],
    title: str,
) -> Any:
    """A matplotlib figure of mould (n, 3) and (m, 3), cloth (k, 3) and pattern (k, 2).

    cells  (c, 4) rows of positions and flat
    shear  (c,) degrees, which colour the cells by size without sign
    loops  (l, 2) each: closed lines of the pattern, the first point not repeated
    """
    from matplotlib import cm, colors, figure
    from matplotlib.collections import PolyCollection
    from mpl_toolkits.mplot3d.art3d import Poly3DCollection

    sizes = np.abs(shear)
    scale = cm.ScalarMappable(colors.Normalize(0.0, sizes.max(initial=1.0)), "viridis")
    shades = scale.to_rgba(sizes)

    sheet = figure.Figure(figsize=(12, 5), layout="constrained")
    space = sheet.add_subplot(1, 2, 1, projection="3d")
    space.add_collection3d(Poly3DCollection(vertices[triangles], facecolor=(0.85, 0.85, 0.85, 0.4), edgecolor="none"))
    space.add_collection3d(Poly3DCollection(positions[cells], facecolors=shades, edgecolor=(0, 0, 0, 0.3), lw=0.2))
    low, high = vertices.min(axis=0), vertices.max(axis=0)
    middle, reach = (low + high) / 2, max((high - low).max() / 2, 1e-300)
    space.set(xlim=(middle[0] - reach, middle[0] + reach), ylim=(middle[1] - reach, middle[1] + reach))
    space.set(zlim=(middle[2] - reach, middle[2] + reach), xlabel="x", ylabel="y", zlabel="z")
    space.set_box_aspect((1, 1, 1))

    plane = sheet.add_subplot(1, 2, 2)
    plane.add_collection(PolyCollection(flat[cells], facecolors=shades, edgecolor=(0, 0, 0, 0.3), lw=0.2))
    for loop in loops:
        closed = np.vstack((loop, loop[:1]))
        plane.plot(closed[:, 0], closed[:, 1], color="black", lw=1)
    plane.set(aspect="equal", xlabel="warp", ylabel="weft", title="pattern")
    space.set(title=title)
    sheet.colorbar(scale, ax=[space, plane], label="shear in degrees", shrink=0.8)
    return sheet
