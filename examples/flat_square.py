"""Drapes a unit square with cells of 0.1 through ctypes. DRAPE_LIBRARY names the library if it isn't installed."""
import ctypes
import os

drape = ctypes.CDLL(os.environ.get("DRAPE_LIBRARY", "libdrape.so.1"))
ints = lambda *values: (ctypes.c_int32 * len(values))(*values)
doubles = lambda *values: (ctypes.c_double * len(values))(*values)
CAPACITY = 1000

link3, link1, link2, link4, node_i, node_j, node_status, node_tri = (ints(*[0] * CAPACITY) for _ in range(8))
node_pos, node_flat, node_normal = doubles(*[0] * 3 * CAPACITY), doubles(*[0] * 2 * CAPACITY), doubles(*[0] * 3 * CAPACITY)
node_count, status = ints(0), ints(0)
drape.gzprp2(
    doubles(0.55, 0.45, 0), doubles(1, 0, 0), doubles(0, 1, 0), doubles(0.1), doubles(0.1),  # seed, warp, weft, cell
    link3, link1, link2, link4, node_i, node_j, node_status, node_tri, node_pos, node_flat, node_normal,
    ints(CAPACITY), ints(0), ints(2), ints(4), ints(6),  # two triangles, four vertices, six entries in the list
    ints(0, 2, 3, 5), ints(1, 2, 1, 1, 2, 2),  # the triangles around each vertex
    ints(1, 2, 3, 1, 3, 4), doubles(0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0), ints(1, 1, 1, 1),
    node_count, doubles(1e-6), ints(1), status)
on_surface = sum(s == 0 for s in node_status[:node_count[0]])
print(f"status {status[0]}: {node_count[0]} nodes, {on_surface} of them on the surface")
raise SystemExit(status[0] != 0)
