"""Searches for the start from which a double dome drapes with the least cloth beyond locking (30 degrees): seed and angle by scipy.

    python3 examples/optimise_dome.py samples/double_dome.obj best.png
"""

import sys

import drape
from scipy.optimize import differential_evolution

mould = drape.Mould.read(sys.argv[1])
low, high = mould.vertices.min(axis=0), mould.vertices.max(axis=0)
height = high[2] + 1


def start(x):
    return {"seed": (x[0], x[1], height), "angle": x[2], "step": 9, "locking": 30}


def badness(x):
    """Share beyond locking; bare mould counts as much, and the mean shear decides between equals."""
    ply = mould.drape(**start(x))
    return ply.share_beyond_locking + (1 - ply.covered_share) + 1e-3 * ply.mean_shear


middle = badness((0, 0, 45))
box = [(0.6 * low[0], 0.6 * high[0]), (0.6 * low[1], 0.6 * high[1]), (0, 90)]
found = differential_evolution(badness, box, maxiter=12, popsize=10, seed=1, polish=False)
best = mould.drape(**start(found.x))
print(f"from {middle:.4f} in the middle at 45 degrees to {found.fun:.4f} after {found.nfev} drapes")
print(f"seed {best.choice.seed}, angle {best.choice.angle:.1f}: {100 * best.share_beyond_locking:.2f} % beyond locking")
if len(sys.argv) > 2:
    best.plot(sys.argv[2])
