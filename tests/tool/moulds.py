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
