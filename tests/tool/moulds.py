"""Small moulds of known size, and the file formats that hold them. A mould is (points, faces from 0)."""

import math
import struct


def plate(n=6, size=1.0):
    """A square of n by n unit squares, each split along its rising diagonal."""
    points = [(size * i, size * j, 0.0) for j in range(n + 1) for i in range(n + 1)]
    faces = []
    for j in range(n):
        for i in range(n):
            a = j * (n + 1) + i
            faces += [(a, a + 1, a + n + 2), (a, a + n + 2, a + n + 1)]
    return points, faces


def cup(depth, around=24, rings=10, wall=10):
    """A half ball of radius 1 with a straight wall, open below."""
    profile = [(math.sin(math.pi / 2 * k / rings), math.cos(math.pi / 2 * k / rings)) for k in range(1, rings + 1)]
    profile += [(1.0, -depth * k / wall) for k in range(1, wall + 1)]
    turn = [(math.cos(2 * math.pi * s / around), math.sin(2 * math.pi * s / around)) for s in range(around)]
    points = [(0.0, 0.0, 1.0)] + [(r * c, r * s, z) for r, z in profile for c, s in turn]
    faces = [(0, 1 + s, 1 + (s + 1) % around) for s in range(around)]
    for k in range(len(profile) - 1):
        low, high = 1 + k * around, 1 + (k + 1) * around
        for s in range(around):
            t = (s + 1) % around
            faces += [(low + s, high + s, high + t), (low + s, high + t, low + t)]
    return points, faces


def cube():
    points = [(float(x), float(y), float(z)) for z in (0, 4) for y in (0, 4) for x in (0, 4)]
    return points, [(0, 2, 3, 1), (4, 5, 7, 6), (0, 1, 5, 4), (2, 6, 7, 3), (0, 4, 6, 2), (1, 3, 7, 5)]


def obj(mesh):
    points, faces = mesh
    return "".join("v %r %r %r\n" % p for p in points) + "".join(
        "f " + " ".join(str(v + 1) for v in f) + "\n" for f in faces
    )


def off(mesh):
    points, faces = mesh
    return "OFF\n%d %d 0\n" % (len(points), len(faces)) + "".join("%r %r %r\n" % p for p in points) + "".join(
        " ".join(map(str, (len(f), *f))) + "\n" for f in faces
    )


def ply_head(mesh, form):
    points, faces = mesh
    return (
        f"ply\nformat {form} 1.0\nelement vertex {len(points)}\nproperty double x\nproperty double y\n"
        f"property double z\nelement face {len(faces)}\nproperty list uchar int vertex_indices\nend_header\n"
    )


def ply_text(mesh):
    return ply_head(mesh, "ascii") + off(mesh).split("\n", 2)[2]


def ply_binary(mesh):
    points, faces = mesh
    body = b"".join(struct.pack("<3d", *p) for p in points)
    body += b"".join(struct.pack("<B%di" % len(f), len(f), *f) for f in faces)
    return ply_head(mesh, "binary_little_endian").encode() + body


def stl_text(mesh):
    points, faces = mesh
    text = "solid mould\n"
    for f in faces:
        text += "facet normal 0 0 1\nouter loop\n"
        text += "".join("vertex %r %r %r\n" % points[v] for v in f) + "endloop\nendfacet\n"
    return text + "endsolid mould\n"


def stl_binary(mesh):
    points, faces = mesh
    data = b"solid looks like text".ljust(80) + struct.pack("<I", len(faces))
    for f in faces:
        data += struct.pack("<3f", 0, 0, 1) + b"".join(struct.pack("<3f", *points[v]) for v in f) + b"\0\0"
    return data


def uneven_sheet():
    """A tilted, doubly curved sheet that is the same from no two sides: columns and rows of changing width, a
    notch, a hole, a corner cut off, and faces of three, four and six corners, far from the origin."""
    xs = [12.0 * (k / 15) ** 1.15 for k in range(16)]
    ys = [9.0 * (k / 12) ** 0.9 for k in range(13)]
    points = []
    for y in ys:
        for x in xs:
            height = 0.055 * (x - 5) ** 2 - 0.03 * (y - 4) ** 2 + 0.012 * x * y + 0.08 * math.sin(1.3 * x + 0.4 * y)
            points.append((x + 0.15 * y, y - 0.08 * x, height))
    width = len(xs)
    faces, skipped = [], {(2, 11), (3, 11), (2, 10), (11, 2), (12, 2), (11, 3), (14, 0)}
    for j in range(len(ys) - 1):
        for i in range(width - 1):
            a, b, c, d = j * width + i, j * width + i + 1, (j + 1) * width + i + 1, (j + 1) * width + i
            if (i, j) in skipped:
                continue
            if (i, j) == (6, 7):
                faces.append((a, b, b + 1, c + 1, c, d))
            elif (i, j) != (7, 7):
                faces += [(a, b, c, d)] if (i + 2 * j) % 3 else [(a, b, d), (b, c, d)]
    return [turned(p) for p in points], faces


def turned(p, shift=(31.0, -12.0, 7.0)):
    """A fixed turn about a slanting axis and a shift, so that no axis of a mould is one of space."""
    x, y, z = p
    x, y = 0.8 * x - 0.6 * y, 0.6 * x + 0.8 * y
    y, z = (12 * y - 5 * z) / 13, (5 * y + 12 * z) / 13
    return x + shift[0], y + shift[1], z + shift[2]
