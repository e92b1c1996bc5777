"""Files to open: a dome in several formats and sizes, and broken ones."""
import math
import struct


def dome(columns, rows, size=200.0, height=40.0):
    """Points and triangles of a shallow dome over a square."""
    points = []
    for j in range(rows + 1):
        for i in range(columns + 1):
            u, v = i / columns - 0.5, j / rows - 0.5
            points.append((size * u, size * v, height * math.cos(math.pi * u) * math.cos(math.pi * v)))
    faces = []
    for j in range(rows):
        for i in range(columns):
            a = j * (columns + 1) + i
            b = a + columns + 1
            faces += [(a, a + 1, b + 1), (a, b + 1, b)]
    return points, faces


def lopsided():
    """A dome without any symmetry, so that no two places on it are as good."""
    points, faces = dome(32, 25)
    return [(1.6 * x + 0.21 * y, y, z * (1.0 + 0.0031 * x + 0.0017 * y) + 0.06 * x) for x, y, z in points], faces


def obj(points, faces):
    lines = [f"v {x!r} {y!r} {z!r}" for x, y, z in points] + [f"f {a + 1} {b + 1} {c + 1}" for a, b, c in faces]
    return "\n".join(lines).encode() + b"\n"


def ply(points, faces, text=False):
    head = (f"ply\nformat {'ascii' if text else 'binary_little_endian'} 1.0\nelement vertex {len(points)}\nproperty double x\nproperty double y\n"
            f"property double z\nelement face {len(faces)}\nproperty list uchar int vertex_indices\nend_header\n")
    if text:
        lines = [f"{x!r} {y!r} {z!r}" for x, y, z in points] + [f"3 {a} {b} {c}" for a, b, c in faces]
        return head.encode() + "\n".join(lines).encode() + b"\n"
    return (head.encode() + b"".join(struct.pack("<3d", *p) for p in points)
            + b"".join(struct.pack("<B3i", 3, *f) for f in faces))


def stl(points, faces, text=False):
    if text:
        corner = "vertex {!r} {!r} {!r}".format
        facets = ("\n".join(["facet normal 0 0 0", "outer loop", *(corner(*points[n]) for n in face), "endloop", "endfacet"])
                  for face in faces)
        return "\n".join(["solid dome", *facets, "endsolid dome\n"]).encode()
    pack = struct.Struct("<12fH").pack
    return (b"dome".ljust(80) + struct.pack("<I", len(faces))
            + b"".join(pack(0, 0, 0, *points[a], *points[b], *points[c], 0) for a, b, c in faces))


def box():
    """A closed box."""
    points = [(x, y, z) for z in (0, 50) for y in (0, 80) for x in (0, 120)]
    quads = [(0, 2, 3, 1), (4, 5, 7, 6), (0, 1, 5, 4), (2, 6, 7, 3), (0, 4, 6, 2), (1, 3, 7, 5)]
    return points, [t for a, b, c, d in quads for t in ((a, b, c), (a, c, d))]
