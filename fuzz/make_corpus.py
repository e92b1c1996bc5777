"""Writes the seed inputs of the fuzz targets to corpus/: small sound cases, and each kind of damage by itself.

The bytes are in the order in which the targets read them; what is left out reads as 0, the harmless choice.
"""
import pathlib
import struct
import sys

HERE = pathlib.Path(__file__).resolve().parent / "corpus"

FLAT, DOME, SADDLE, SLOPE = range(4)


def mould(columns=5, rows=5, bumps=0, shape=FLAT, missing=None, heights=()):
    squares = [0, 2 - columns, 2 - rows] if max(columns, rows) <= 2 else [15, 7 - columns, 7 - rows]
    holes = [0]
    if missing is not None:
        present = [[(i, j) in missing for i in range(columns)] for j in range(rows)]
        bits = [bit for row in present for bit in row]
        bits += [False] * (-len(bits) % 8)
        holes = [1] + [sum(bits[k + b] << b for b in range(8)) for k in range(0, len(bits), 8)]
    return bytes(squares + [bumps, shape] + holes + list(heights))


def settings(x=0, y=0, z=0, turn=0, smaller=0, longer=0, fine=0, by_line=0, less_room=0):
    return bytes([x, y, z, turn, smaller, longer, fine, by_line, less_room])


def write(target, name, *parts):
    folder = HERE / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(b"".join(parts))


NOTCH = {(1, 0), (1, 1), (1, 2)}
HOLE = {(3, 3), (4, 3)}
TEETH = {(0, 0), (2, 0), (4, 0), (1, 6), (3, 6), (5, 6)}
RUN, TWICE = bytes([0, 0]), bytes([0, 7])

write("drape_run", "plate", b"")
write("drape_run", "plate_twice", TWICE, mould(), settings())
write("drape_run", "dome", RUN, mould(7, 7, shape=DOME), settings(z=60, turn=90, by_line=1))
write("drape_run", "saddle_fine", RUN, mould(7, 6, shape=SADDLE), settings(turn=30, smaller=255, fine=1))
write("drape_run", "slope_long_cells", RUN, mould(7, 7, shape=SLOPE), settings(longer=255))
write("drape_run", "notch", TWICE, mould(7, 7, missing=NOTCH), settings(x=90, y=120, smaller=120))
write("drape_run", "hole", RUN, mould(7, 7, missing=HOLE), settings(smaller=160))
write("drape_run", "teeth", RUN, mould(7, 7, missing=TEETH), settings(x=40, turn=120, by_line=1))
write("drape_run", "bumps", RUN, mould(6, 6, bumps=3, heights=[(37 * k) % 256 for k in range(49)]), settings(turn=77))
write("drape_run", "one_square", RUN, mould(1, 1), settings(smaller=255))
write("drape_run", "four_squares", RUN, mould(2, 2, shape=DOME), settings(turn=60, smaller=128))
write("drape_run", "corner", TWICE, mould(2, 2, missing={(1, 1)}), settings(smaller=200, by_line=1))
write("drape_run", "little_room", RUN, mould(7, 7), settings(less_room=255, smaller=255))
for which, name in enumerate(("flag", "triangle", "list_start", "list", "twin_vertex", "position")):
    write("drape_run", "bent_" + name, bytes([1, 0]), mould(), settings(), bytes([1, which, 0, 9, 3, 4]))
write("drape_run", "three_triangles_on_an_edge", bytes([1, 0]), mould(), settings(), bytes([0, 2, 0, 5, 0, 8, 0, 31, 0, 2]))
write("drape_run", "bent_step", bytes([1, 0]), mould(), settings(), bytes([2, 0, 9, 2]))
write("drape_run", "store_of_four", bytes([1, 0]), mould(), settings(), bytes([3, 4]))


def curve(points, radius, low=41, high=40, wobble=()):
    offsets = list(wobble) or [0] * (2 * points)
    return bytes([points, radius] + offsets + [low, high])


def carried(name, changes, surface, line, run, *bends):
    write("curve_transfer", name, bytes([changes]), surface, line, run, *map(bytes, bends))


carried("ring", 0, mould(), curve(16, 90), settings())
carried("ring_on_dome", 0, mould(7, 7, shape=DOME), curve(23, 120), settings(z=40, smaller=128))
carried("ring_on_four_squares", 0, mould(2, 2), curve(9, 60), settings(smaller=200))
carried("free_passes", 0, mould(7, 7), curve(17, 60, low=41, high=63), settings(smaller=200))
carried("odd_and_wide", 0, mould(3, 3), curve(7, 255), settings())
write("curve_transfer", "no_points", b"")
carried("bent_links", 4, mould(), curve(12, 80), settings(),
        [0, 0, 9, 1, 0, 0, 3, 0, 0, 4, 3, 0, 0, 7, 0, 0, 0, 8, 2, 0, 0, 2, 0, 0, 5, 1, 1, 4])
carried("bent_numbers", 3, mould(), curve(12, 80), settings(), [1, 0, 0, 4, 2, 0, 0, 6, 6, 0, 2, 3, 1, 1, 0, 5, 3])

write("triangle_point", "right_triangles", bytes([0] * 6 + [144, 0] + [0] * 3 + [144, 0] + [0] * 10 + [160, 0, 132, 0]))
write("triangle_point", "flat", b"")
write("triangle_point", "not_a_number", bytes([2] * 21))
write("triangle_point", "huge", bytes([8, 9, 8, 0, 8, 9, 5, 0, 8] + [144, 7] * 12))

write("level_order", "chain", bytes([0, 7, 0, 0]), bytes([0, 1, 0, 1, 0, 1, 0, 2, 0, 1, 0, 3] * 8))
write("level_order", "cycle", bytes([0, 3, 0, 0]), bytes([0, 1, 0, 1, 0, 1, 0, 2, 0, 1, 0, 3, 0, 1, 0, 0]))
write("level_order", "wide", bytes([0, 20, 0, 0]), bytes([0, 6, 0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6] * 20))
write("level_order", "nowhere", bytes([0, 9, 2, 0]), bytes([0, 2, 1, 4, 1, 5, 1, 5, 7, 30] * 6))
write("level_order", "start_out_of_range", bytes([1, 9, 5, 0]))
write("level_order", "no_items", bytes([0, 9, 0, 15, 1]))

OBJ, OFF, PLY, STL, SOUP = range(5)
SQUARE = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0.5, 0.5, 0.2)]
FACES = [(0, 1, 4), (1, 2, 4), (2, 3, 4), (3, 0, 4)]


def mesh_file(name, kind, text, weld=0, fill=0):
    write("mesh_import", name, bytes([kind, weld, fill]), text if isinstance(text, bytes) else text.encode())


def lines(rows):
    return "".join(" ".join(str(item) for item in row) + "\n" for row in rows)


def facets(corners):
    return "".join("facet normal 0 0 1\nouter loop\n" + lines(("vertex",) + SQUARE[k] for k in face) + "endloop\nendfacet\n"
                   for face in corners)


mesh_file("pyramid.obj", OBJ, lines(("v",) + p for p in SQUARE) + lines(("f",) + tuple(k + 1 for k in f) for f in FACES))
mesh_file("from_the_end.obj", OBJ, "# a quad\n" + lines(("v",) + p for p in SQUARE[:4]) + "vt 0 0\nvn 0 0 1\nf -4/1/1 -3//1 -2 -1\n")
mesh_file("pyramid.off", OFF, "OFF\n5 4 0\n" + lines(SQUARE) + lines((3,) + f for f in FACES))
mesh_file("pyramid.ply", PLY, "ply\nformat ascii 1.0\nelement vertex 5\nproperty double x\nproperty double y\nproperty double z\n"
          "element face 4\nproperty list uchar int vertex_indices\nend_header\n" + lines(SQUARE) + lines((3,) + f for f in FACES))
mesh_file("binary.ply", PLY, b"ply\nformat binary_little_endian 1.0\nelement vertex 5\nproperty float x\nproperty float y\n"
          b"property float z\nelement face 4\nproperty list uchar int vertex_indices\nend_header\n"
          + b"".join(struct.pack("<3f", *p) for p in SQUARE) + b"".join(struct.pack("<B3i", 3, *f) for f in FACES))
mesh_file("pyramid.stl", STL, "solid p\n" + facets(FACES) + "endsolid p\n")
mesh_file("binary.stl", STL, b"\0" * 80 + struct.pack("<I", 4)
          + b"".join(struct.pack("<12fH", 0, 0, 1, *(c for k in f for c in SQUARE[k]), 0) for f in FACES))
mesh_file("cut_off.stl", STL, "solid p\n" + facets(FACES[:2])[:-40])
mesh_file("no_such_vertex.obj", OBJ, "v 0 0 0\nv 1 0 0\nf 1 2 3\n")
mesh_file("huge_counts.off", OFF, "OFF\n4000000000 4000000000 0\n0 0 0\n")
write("mesh_import", "soup", bytes([SOUP, 0, 1, 9, 20]), bytes((7 * k) % 251 for k in range(120)))
write("mesh_import", "soup_unwelded", bytes([SOUP, 1, 0, 20, 30]), bytes((11 * k + k // 7) % 253 for k in range(220)))

sys.path.insert(0, str(HERE.parent.parent / "tests" / "tool"))
from solver_meshes import gmsh22, gmsh41, inp, nastran, vtk, vtu  # noqa: E402

INP, NASTRAN, MSH, VTU, VTK, LAYUP_TABLE, LAYUP_JSON = range(7)
PLAIN = ([tuple(map(float, p)) for p in SQUARE], [(0, 1, 4), (1, 2, 4), (2, 3, 4), (0, 1, 2, 3)])


def shell_file(name, kind, text):
    write("shell_file", name, bytes([kind]), text if isinstance(text, bytes) else text.encode())


shell_file("pyramid.inp", INP, inp(PLAIN))
shell_file("part.inp", INP, "*PART, NAME=p\n*NODE\n1,0,0\n2,1,0\n3,1,1\n*NGEN\n*ELEMENT, TYPE=S3\n1,1,2,3\n*END PART\n*ASSEMBLY, NAME=a\n"
           "*INSTANCE, NAME=i, PART=p\n0,0,5\n0,0,5,0,0,6,90\n*END INSTANCE\n*END ASSEMBLY\n")
for form in ("small", "large", "free"):
    shell_file(f"{form}.bdf", NASTRAN, nastran(PLAIN, form))
shell_file("quad8.bdf", NASTRAN, "BEGIN BULK\n" + "".join(f"GRID,{k},,{k % 3}.,{k // 3}.,0.\n" for k in range(1, 9))
           + "CQUAD8,1,1,1,2,3,4,5,6,+A\n+A,7,8\nENDDATA\n")
shell_file("pyramid22.msh", MSH, gmsh22(PLAIN))
shell_file("pyramid41.msh", MSH, gmsh41(PLAIN))
for form in ("text", "base64", "zlib", "raw"):
    shell_file(f"{form}.vtu", VTU, vtu(PLAIN, form))
for version in ("3.0", "5.1"):
    for binary in (False, True):
        shell_file(f"{version}{'b' if binary else 't'}.vtk", VTK, vtk(PLAIN, version, binary))
shell_file("layup.csv", LAYUP_TABLE, "# drape-layup 1\nname,cloth,thickness,width,locking,density,E1,G12,angle,seed,step,pivot,region,side,pieces,after\n"
           'a,ud,0.2,1270,40,1500,1e5,4e3,45,"1 2 3",5,grid,,0 0 1,1,\n"b,""x",ud,,,,,,,-45,,"5,6",shear,r.xyz,,0.9,a\n')
shell_file("layup.json", LAYUP_JSON, '{"format": "drape-layup", "version": 1, "cloths": {"t": {"thickness": 0.25, "E1": 1e5, "G12": 4000}},\n'
           ' "plies": [{"name": "a", "cloth": "t", "seed": [1, 2, 3]}, {"name": "b", "pieces": "cover", "after": ["a"]}]}')
