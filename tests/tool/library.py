"""The library called straight from here, to see that the program hands it what the user asked for."""

import ctypes
import os

PATH = os.environ.get("DRAPE_LIBRARY")


def ints(*values):
    return (ctypes.c_int32 * len(values))(*values)


def doubles(*values):
    return (ctypes.c_double * len(values))(*values)


def run(mould, seed, warp, weft, step, tolerance, by_grid_line, capacity):
    """A whole run: status and per node (link1, link2, link3, link4, i, j, status, triangle, position, flat, normal)."""
    fans = [[t + 1 for t, corners in enumerate(mould.triangles) if v in corners] for v in range(len(mould.points))]
    starts = [sum(map(len, fans[:v])) for v in range(len(fans))]
    outline = mould.loops()[0][1]
    links = [ints(*[0] * capacity) for _ in range(4)]
    i, j, triangle = (ints(*[0] * capacity) for _ in range(3))
    node_status = ints(*[-1] * capacity)
    position, flat, normal = (doubles(*[0.0] * width * capacity) for width in (3, 2, 3))
    count, status = ints(0), ints(0)
    ctypes.CDLL(PATH).gzprp2(
        doubles(*seed), doubles(*warp), doubles(*weft), doubles(step[0]), doubles(step[1]), links[2], links[0],
        links[1], links[3], i, j, node_status, triangle, position, flat, normal, ints(capacity), ints(0),
        ints(len(mould.triangles)), ints(len(mould.points)), ints(sum(map(len, fans))), ints(*starts),
        ints(*(t for fan in fans for t in fan)), ints(*(v + 1 for t in mould.triangles for v in t)),
        doubles(*(x for p in mould.points for x in p)),
        ints(*(1 if v in outline else 0 for v in range(len(mould.points)))), count, doubles(tolerance),
        ints(1 if by_grid_line else 0), status)
    n = count[0]
    rows = lambda values, width: [tuple(values[width * k:width * k + width]) for k in range(n)]
    nodes = zip(*(list(a[:n]) for a in (*links, i, j, node_status, triangle)), rows(position, 3), rows(flat, 2),
                rows(normal, 3))
    return status[0], list(nodes)
