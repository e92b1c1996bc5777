"""The picture of a drape: mould and cloth in space, the pattern beside them, one colour scale for both."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

if TYPE_CHECKING:
    from .ply import Ply


def plotted(ply: Ply) -> Any:
    """A matplotlib figure."""
    from matplotlib import cm, colors, figure
    from matplotlib.collections import PolyCollection
    from mpl_toolkits.mplot3d.art3d import Poly3DCollection

    cells = ply.cells[ply.on_surface]
    shear = np.abs(ply.shear[ply.on_surface])
    scale = cm.ScalarMappable(colors.Normalize(0.0, max(ply.largest_shear, 1.0)), "viridis")
    shades = scale.to_rgba(shear)

    sheet = figure.Figure(figsize=(12, 5), layout="constrained")
    space = sheet.add_subplot(1, 2, 1, projection="3d")
    mould = ply.mould.vertices[ply.mould.triangles]
    space.add_collection3d(Poly3DCollection(mould, facecolor=(0.85, 0.85, 0.85, 0.4), edgecolor="none"))
    space.add_collection3d(Poly3DCollection(ply.positions[cells], facecolors=shades, edgecolor=(0, 0, 0, 0.3), lw=0.2))
    low, high = ply.mould.vertices.min(axis=0), ply.mould.vertices.max(axis=0)
    middle, reach = (low + high) / 2, max((high - low).max() / 2, 1e-300)
    space.set(xlim=(middle[0] - reach, middle[0] + reach), ylim=(middle[1] - reach, middle[1] + reach))
    space.set(zlim=(middle[2] - reach, middle[2] + reach), xlabel="x", ylabel="y", zlabel="z")
    space.set_box_aspect((1, 1, 1))

    plane = sheet.add_subplot(1, 2, 2)
    plane.add_collection(PolyCollection(ply.flat[cells], facecolors=shades, edgecolor=(0, 0, 0, 0.3), lw=0.2))
    for loop in ply.net.loops:
        closed = np.vstack((loop.flat, loop.flat[:1]))
        plane.plot(closed[:, 0], closed[:, 1], color="black", lw=1)
    plane.set(aspect="equal", xlabel="warp", ylabel="weft", title="pattern")
    space.set(title=f"covers {100 * ply.covered_share:.1f} %, largest shear {ply.largest_shear:.1f}°")
    sheet.colorbar(scale, ax=[space, plane], label="shear in degrees", shrink=0.8)
    return sheet
