"""Lays a cloth over a hemisphere from its pole and sets it beside the published case: threads that keep their lengths
and do not slip where they cross (P. Chebyshev, Sur la coupe des vetements, 1878; C. Mack and H. M. Taylor, The fitting
of woven cloth to surfaces, Journal of the Textile Institute 47, 1956).

    python3 examples/hemisphere.py
"""

import drape
import numpy as np
from scipy.integrate import solve_ivp

R = 100.0
polar, turn = np.meshgrid(np.linspace(0, np.pi / 2, 161), np.linspace(0, 2 * np.pi, 641), indexing="ij")
ball = R * np.stack((np.sin(polar) * np.cos(turn), np.sin(polar) * np.sin(turn), np.cos(polar)), axis=2)
corner = (np.arange(160)[:, None] * 641 + np.arange(640)).ravel()
mould = drape.Mould(ball.reshape(-1, 3), corner[:, None] + [0, 641, 642, 1])
ply = mould.drape(seed=(0, 0, R), step=2)

# In lengths s along both threads, in radii, their angle w(s^2) obeys z w" + w' = -sin w, square along the axes; the
# diagonal at s lies an arc of 2 cos(w / 2) per s away from the pole, and reaches the base line at a quarter turn.
net = solve_ivp(
    lambda s, y: (2 * s * y[1], -2 / s * (np.sin(y[0]) + y[1]), 2 * np.cos(y[0] / 2)),
    (1e-6, 1.2), (np.pi / 2, -1, 0), events=lambda s, y: y[2] - np.pi / 2, rtol=1e-10, atol=1e-12, dense_output=True,
)  # fmt: skip
cells, shear = ply.cells[ply.on_surface], ply.shear[ply.on_surface]
u, v = ply.flat[cells].mean(axis=1).T / R
published = 90 - np.degrees(net.sol(np.sqrt(np.abs(u * v)))[0])
difference = np.abs(np.abs(shear) - published).max()
reach = np.abs(ply.net.loops[0].flat).min(axis=1).max() * 2**0.5
at_base = net.t_events[0][0] * R * 2**0.5, 90 - np.degrees(net.y_events[0][0][0])
print(f"published: {published.max():.2f} degrees in the cell that shears most, {at_base[1]:.2f} at the base line")
print(f"here:      {shear.max():.2f} degrees in it; of {len(shear)} cells none differs by more than {difference:.3f}")
print(f"cloth along the diagonal, pole to base line: published {at_base[0]:.2f}, here {reach:.2f}")
