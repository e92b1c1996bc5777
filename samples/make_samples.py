#!/usr/bin/env python3
"""Makes the sample moulds beside this script: small OBJ files in millimetres, windings facing up.

Each shape is a lattice of points with some squares left out, or a disc of hexagonal rings, lifted by a height.
The files come out the same, byte for byte, on every machine.
"""

import math
import pathlib


class Mesh:
    def __init__(self):
        self.points = []
        self.triangles = []

    def point(self, x, y, z):
        self.points.append((x, y, z))
        return len(self.points) - 1

    def quad(self, a, b, c, d):
        """Two triangles along the shorter diagonal; of equal ones, changing from square to square."""
        ac = math.dist(self.points[a], self.points[c])
        bd = math.dist(self.points[b], self.points[d])
        if abs(ac - bd) > 1e-6 * ac:
            along_ac = ac < bd
        else:
            along_ac = len(self.triangles) % 4 == 0
        if along_ac:
            self.triangles += [(a, b, c), (a, c, d)]
        else:
            self.triangles += [(a, b, d), (b, c, d)]

    def write(self, path, title):
        used = sorted({vertex for triangle in self.triangles for vertex in triangle})
        number = {vertex: k + 1 for k, vertex in enumerate(used)}
        lines = [f"# {title}. Units: mm. Made by make_samples.py"]
        for vertex in used:
            lines.append("v " + " ".join(decimal(value) for value in self.points[vertex]))
        for triangle in self.triangles:
            lines.append("f " + " ".join(str(number[vertex]) for vertex in triangle))
        path.write_text("\n".join(lines) + "\n", encoding="ascii")


def decimal(value):
    text = f"{value:.3f}".rstrip("0").rstrip(".")
    return "0" if text in ("-0", "") else text


def ticks(stops, size):
    """Coordinates from the first stop to the last, through all of them, about `size` apart."""
    result = [stops[0]]
    for start, end in zip(stops, stops[1:]):
        count = max(1, round((end - start) / size))
        result += [start + (end - start) * k / count for k in range(1, count + 1)]
    return result


def lattice(xs, ys, height=lambda x, y: 0.0, keep=lambda x, y: True):
    """A plate over the lattice of xs and ys without the squares whose middle `keep` turns down."""
    mesh = Mesh()
    vertex = {}
    for j, y in enumerate(ys):
        for i, x in enumerate(xs):
            vertex[i, j] = mesh.point(x, y, height(x, y))
    for j in range(len(ys) - 1):
        for i in range(len(xs) - 1):
            if keep((xs[i] + xs[i + 1]) / 2, (ys[j] + ys[j + 1]) / 2):
                mesh.quad(vertex[i, j], vertex[i + 1, j], vertex[i + 1, j + 1], vertex[i, j + 1])
    return mesh


def disc(profile, slit=None):
    """A body of revolution: ring k of 6 k points at radius and height profile[k].

    `slit` = (first ring, width) opens a gap along the positive x axis from that ring to the rim.
    """
    mesh = Mesh()
    rings = []
    for k, (radius, height) in enumerate(profile):
        cut = slit is not None and k > slit[0]
        half = math.asin(slit[1] / 2 / radius) if cut else 0.0
        # With a cut, the ring has a first and a last point, one on each side of the gap.
        count = 6 * k + 1 if cut else max(1, 6 * k)
        span = 2 * math.pi - 2 * half
        angles = [half + span * n / max(1, 6 * k) for n in range(count)]
        ring = [mesh.point(radius * math.cos(a), radius * math.sin(a), height) for a in angles]
        if not cut:
            ring += [ring[0]]
        rings.append(ring)
    for k in range(1, len(profile)):
        inner, outer = rings[k - 1], rings[k]
        for side in range(6):
            for n in range(k):
                a, b = outer[side * k + n], outer[side * k + n + 1]
                near = inner[side * (k - 1) + n] if k > 1 else inner[0]
                mesh.triangles.append((near, a, b))
                if n + 1 < k:
                    mesh.triangles.append((near, b, inner[side * (k - 1) + n + 1]))
    return mesh


def dome_profile(radius, fillet, brim, rings, share=1.0):
    """Radius and height along a dome of `share` of a right angle, a fillet and a flat brim, evenly spaced."""
    angle = share * math.pi / 2
    cap = radius * angle
    bend = fillet * angle
    foot = (radius + fillet) * math.sin(angle)
    top = radius - (radius + fillet) * math.cos(angle) + fillet
    total = cap + bend + max(0.0, brim - foot)
    result = []
    for k in range(rings + 1):
        s = total * k / rings
        if s <= cap:
            t = s / radius
            result.append((radius * math.sin(t), top - radius + radius * math.cos(t)))
        elif s <= cap + bend:
            t = angle - (s - cap) / fillet
            result.append((foot - fillet * math.sin(t), fillet - fillet * math.cos(t)))
        else:
            result.append((foot + s - cap - bend, 0.0))
    return result


def hemisphere():
    return disc(dome_profile(90.0, 20.0, 150.0, 36))


def double_dome():
    def height(x, y):
        waist = math.exp(-((x / 60.0) ** 2))
        half = 76.0 - 28.0 * waist
        inside = 1.0 - (y / half) ** 2 - (x / 150.0) ** 4
        return (62.0 - 14.0 * waist) * soft(inside)

    def soft(value):
        return 0.5 * (value + math.sqrt(value * value + 0.05))

    return lattice(ticks([-200, 200], 7.0), ticks([-120, 120], 7.0), height)


def saddle():
    return lattice(ticks([-150, 150], 7.5), ticks([-150, 150], 7.5), lambda x, y: (x * x - y * y) / 500.0)


def corrugated_panel():
    return lattice(ticks([-150, 150], 5.0), ticks([-100, 100], 10.0),
                   lambda x, y: 10.0 * math.cos(2 * math.pi * x / 75.0))


def notched_plate():
    return lattice(ticks([-150, 150], 10.0), ticks([-150, -30, 30, 150], 10.0),
                   keep=lambda x, y: not (x > 30 and abs(y) < 30))


def slit_plate(width):
    half = width / 2
    return lattice(ticks([-150, 20, 150], 10.0), ticks([-150, -half, half, 150], 10.0),
                   keep=lambda x, y: not (x > 20 and abs(y) < half))


def comb_plate():
    stops = [-150, -110, -90, -50, -30, 30, 50, 90, 110, 150]
    gaps = [(-110, -90), (-50, -30), (30, 50), (90, 110)]
    return lattice(ticks([-150, -30, 150], 10.0), ticks(stops, 10.0),
                   keep=lambda x, y: not (x > -30 and any(low < y < high for low, high in gaps)))


def u_plate():
    return lattice(ticks([-150, -50, 150], 10.0), ticks([-150, -50, 50, 150], 10.0),
                   keep=lambda x, y: not (x > -50 and abs(y) < 50))


def l_plate():
    return lattice(ticks([-150, -30, 150], 10.0), ticks([-150, -30, 150], 10.0),
                   keep=lambda x, y: not (x > -30 and y > -30))


def holed_plate():
    """A square plate with a round hole: rings that turn from the circle into the square."""
    mesh = Mesh()
    around, rings, radius, half = 96, 14, 40.0, 150.0
    points = []
    for k in range(rings + 1):
        part = (k / rings) ** 1.2
        row = []
        for n in range(around):
            side, along = divmod(n, around // 4)
            t = 2.0 * along / (around // 4) - 1.0
            x, y = [(1.0, t), (-t, 1.0), (-1.0, -t), (t, -1.0)][side]
            angle = math.atan2(y, x)
            row.append(mesh.point((1 - part) * radius * math.cos(angle) + part * half * x,
                                  (1 - part) * radius * math.sin(angle) + part * half * y, 0.0))
        points.append(row)
    for inner, outer in zip(points, points[1:]):
        for n in range(around):
            m = (n + 1) % around
            mesh.quad(inner[n], outer[n], outer[m], inner[m])
    return mesh


def slit_dome():
    return disc(dome_profile(190.0, 1.0, 0.0, 34, share=0.58)[:-1], slit=(10, 6.0))


SAMPLES = {
    "hemisphere": (hemisphere, "Hemisphere on a brim"),
    "double_dome": (double_dome, "Double dome with a waist"),
    "saddle": (saddle, "Saddle"),
    "corrugated_panel": (corrugated_panel, "Corrugated panel"),
    "notched_plate": (notched_plate, "Flat plate with a notch"),
    "slit_plate_narrow": (lambda: slit_plate(2.0), "Flat plate with a slit 2 mm wide"),
    "slit_plate_wide": (lambda: slit_plate(24.0), "Flat plate with a slit 24 mm wide"),
    "comb_plate": (comb_plate, "Comb: flat plate with four slots"),
    "u_plate": (u_plate, "U: flat plate"),
    "l_plate": (l_plate, "L: flat plate"),
    "holed_plate": (holed_plate, "Flat plate with a round hole"),
    "slit_dome": (slit_dome, "Dome with a slit from the rim towards the pole"),
}


def main():
    folder = pathlib.Path(__file__).resolve().parent
    for name, (make, title) in SAMPLES.items():
        make().write(folder / f"{name}.obj", title)


if __name__ == "__main__":
    main()
