"""A mould in the files of solvers and meshers, with numbers of its own: node k is 1000 + 3k, face k is 50 + 7k."""

import base64
import struct
import zlib


def node(k):
    return 1000 + 3 * k


def element(k):
    return 50 + 7 * k


def inp(mesh, half=True):
    """Triangles and quads in blocks of their own, nodes in two blocks, a set by range and one by numbers."""
    points, faces = mesh
    text = "** a deck\n*Heading\nanything, 1, 2\n"
    for part in (range(0, len(points), 2), range(1, len(points), 2)):
        text += "*NODE\n" + "".join(f"{node(k)}, {points[k][0]!r}, {points[k][1]!r}, {points[k][2]!r}\n" for k in part)
    for corners, kind in ((3, "S3"), (4, "s4r")):
        text += f"*Element, type={kind},\n ELSET=all\n"
        text += "".join(f"{element(k)}," + ",".join(f"+{node(v)}" for v in f) + "\n" for k, f in enumerate(faces) if len(f) == corners)
    text += "*ELEMENT, TYPE=B31\n999999, %d, %d\n" % (node(0), node(1))
    text += f"*ELSET, ELSET=Last\n{element(len(faces) - 1)}\n"
    text += f"*ELSET, ELSET=First, GENERATE\n{element(0)}, {element(len(faces) // 2 - 1)}\n"
    text += "*ELSET, ELSET=both\nfirst, 999999, last \n"
    return text + "*NSET, NSET=corner\n%d,\n*STEP\n*END STEP\n" % node(0)


def exponent(value):
    """With the letter of the exponent left out."""
    text = f"{value:.10e}"
    head, power = text.split("e")
    return f"{head}{'+' if int(power) >= 0 else '-'}{abs(int(power))}"


def nastran(mesh, form):
    points, faces = mesh
    text = "SOL 101\nCEND\nBEGIN BULK\n$ a comment\n"
    for k, p in enumerate(points):
        if form == "free":
            text += f"GRID,{node(k)},," + ",".join(exponent(x) for x in p) + "\n"
        elif form == "large":
            text += f"{'GRID*':8}{node(k):<16}{'':16}{exponent(p[0]):>16}{exponent(p[1]):>16}+A{k}\n{f'*A{k}':8}{exponent(p[2]):>16}\n"
        else:
            text += f"{'GRID':8}{node(k):>8}{'':8}" + "".join(f"{x:8.4f}" for x in p) + "\n"
    for k, f in enumerate(faces):
        name, prop = ("CTRIA3", 7) if len(f) == 3 else ("CQUAD4", 8)
        fields = [element(k), prop, *(node(v) for v in f)]
        text += name + ("," + ",".join(map(str, fields)) if form == "free" else " " * (8 - len(name)) + "".join(f"{x:>8}" for x in fields)) + "\n"
    return text + "PSHELL,7,1,.1\nENDDATA\nGRID,1,,oops\n"


def gmsh22(mesh):
    points, faces = mesh
    text = '$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$PhysicalNames\n2\n1 4 "rim"\n2 9 "skin side"\n$EndPhysicalNames\n'
    text += f"$Nodes\n{len(points)}\n" + "".join("%d %r %r %r\n" % (node(k), *p) for k, p in enumerate(points)) + "$EndNodes\n"
    text += f"$Elements\n{len(faces) + 1}\n3 1 2 4 1 {node(0)} {node(1)}\n"
    for k, f in enumerate(faces):
        group = 9 if k < len(faces) // 2 else 5
        text += f"{element(k)} {len(f) - 1} 2 {group} {group} " + " ".join(str(node(v)) for v in f) + "\n"
    return text + "$EndElements\n"


def gmsh41(mesh):
    points, faces = mesh
    text = '$MeshFormat\n4.1 0 8\n$EndMeshFormat\n$PhysicalNames\n1\n2 9 "skin side"\n$EndPhysicalNames\n'
    text += "$Entities\n1 1 2 0\n1 0 0 0 0\n1 0 0 0 1 1 1 0 2 1 -1\n1 0 0 0 1 1 1 1 9 1 1\n2 0 0 0 1 1 1 0 1 1\n$EndEntities\n"
    cut = len(points) // 3
    text += f"$Nodes\n2 {len(points)} {node(0)} {node(len(points))}\n"
    for part in (range(cut), range(cut, len(points))):
        text += f"2 1 0 {len(part)}\n" + "".join(f"{node(k)}\n" for k in part) + "".join("%r %r %r\n" % points[k] for k in part)
    blocks = [(face, corners, [k for k, f in enumerate(faces) if len(f) == corners and (k < len(faces) // 2) == (face == 1)])
              for face in (1, 2) for corners in (3, 4)]
    text += f"$EndNodes\n$Elements\n{len(blocks)} {len(faces)} 1 {element(len(faces))}\n"
    for face, corners, block in blocks:
        text += f"2 {face} {corners - 1} {len(block)}\n"
        text += "".join(f"{element(k)} " + " ".join(str(node(v)) for v in faces[k]) + "\n" for k in block)
    return text + "$EndElements\n"


def vtu(mesh, form):
    """In text, in base64 as it is or compressed, or behind the XML as raw bytes."""
    points, faces = mesh
    appended = b""

    def array(name, kind, code, values, components=1):
        nonlocal appended
        raw = struct.pack(f"<{len(values)}{code}", *values)
        head = f'<DataArray type="{kind}" Name="{name}" NumberOfComponents="{components}" format='
        if form == "text":
            return head + '"ascii">' + " ".join(map(repr, values)) + "</DataArray>\n"
        if form == "raw":
            offset, appended = len(appended), appended + struct.pack("<I", len(raw)) + raw
            return head + f'"appended" offset="{offset}"/>\n'
        if form == "zlib":
            block = 1000
            blocks = [raw[k:k + block] for k in range(0, len(raw), block)]
            packed = [zlib.compress(b) for b in blocks]
            sizes = struct.pack(f"<{3 + len(blocks)}I", len(blocks), block, len(raw) % block, *map(len, packed))
            text = base64.b64encode(sizes) + base64.b64encode(b"".join(packed))
        else:
            text = base64.b64encode(struct.pack("<I", len(raw)) + raw)
        return head + '"binary">' + text.decode() + "</DataArray>\n"

    ends = [sum(len(f) for f in faces[:k + 1]) for k in range(len(faces))]
    compressor = ' compressor="vtkZLibDataCompressor"' if form == "zlib" else ""
    text = f'<?xml version="1.0"?>\n<VTKFile type="UnstructuredGrid" version="0.1" byte_order="LittleEndian"{compressor}>\n<UnstructuredGrid>\n'
    text += f'<Piece NumberOfPoints="{len(points)}" NumberOfCells="{len(faces)}">\n<Points>\n'
    text += array("Points", "Float64", "d", [x for p in points for x in p], 3) + "</Points>\n<Cells>\n"
    text += array("connectivity", "Int64", "q", [v for f in faces for v in f]) + array("offsets", "Int32", "i", ends)
    text += array("types", "UInt8", "B", [5 if len(f) == 3 else 9 for f in faces]) + '</Cells>\n<CellData GlobalIds="id">\n'
    text += array("id", "Int64", "q", [element(k) for k in range(len(faces))]) + "</CellData>\n</Piece>\n</UnstructuredGrid>\n"
    if form == "raw":
        return text.encode() + b'<AppendedData encoding="raw">\n_' + appended + b"\n</AppendedData>\n</VTKFile>\n"
    return text + "</VTKFile>\n"


def vtk(mesh, version, binary, kind="double"):
    points, faces = mesh
    write = lambda code, values: (struct.pack(f">{len(values)}{code}", *values) if binary else " ".join(map(repr, values)).encode()) + b"\n"
    data = b"# vtk DataFile Version %s\ntitle\n%s\nDATASET UNSTRUCTURED_GRID\n" % (version.encode(), b"BINARY" if binary else b"ASCII")
    data += b"POINTS %d %s\n" % (len(points), kind.encode()) + write(kind[0], [x for p in points for x in p])
    total = sum(map(len, faces))
    if version == "5.1":
        ends = [0] + [sum(len(f) for f in faces[:k + 1]) for k in range(len(faces))]
        data += b"CELLS %d %d\nOFFSETS vtktypeint64\n" % (len(faces) + 1, total) + write("q", ends)
        data += b"CONNECTIVITY vtktypeint64\n" + write("q", [v for f in faces for v in f])
    else:
        data += b"CELLS %d %d\n" % (len(faces), total + len(faces)) + write("i", [v for f in faces for v in (len(f), *f)])
    return data + b"CELL_TYPES %d\n" % len(faces) + write("i", [5 if len(f) == 3 else 9 for f in faces])


def iges(patches, unit=(2, "MM")):
    """Surfaces of B-splines of degree 2, each a 3 by 3 net of points, as IGES; the unit is 1 for inches, 2 for
    millimetres, 6 for metres."""
    def section(letter, text, width=72):
        rows = [text[k:k + width] for k in range(0, len(text), width)]
        return [f"{row:<72}{letter}{k + 1:>7}\n" for k, row in enumerate(rows)]

    word = lambda text: f"{len(text)}H{text}"
    head = ",".join(["1H,", "1H;", word("part"), word("part.igs"), word("script"), word("1"), "32", "38", "6", "308", "15", word("part"), "1.0",
                     str(unit[0]), word(unit[1]), "1", "0.01", word("20200101.000000"), "1.0E-7", "1000.0", word("me"), word("us"), "11", "0",
                     word("20200101.000000")]) + ";"
    directory, parameters = [], []
    for number, net in enumerate(patches):
        values = [128, 2, 2, 2, 2, 0, 0, 1, 0, 0] + [0.0, 0.0, 0.0, 1.0, 1.0, 1.0] * 2 + [1.0] * 9
        values += [x for p in net for x in p] + [0.0, 1.0, 0.0, 1.0]
        rows, row = [], ""
        for k, value in enumerate(values):
            item = str(value) + (";" if k + 1 == len(values) else ",")
            if len(row) + len(item) > 64:
                rows, row = [*rows, row], ""
            row += item
        rows.append(row)
        for fields in ([128, len(parameters) + 1, 0, 0, 0, 0, 0, 0, "00000000"], [128, 0, 0, len(rows), 0, "", "", "", 0]):
            directory.append("".join(f"{x:>8}" for x in fields) + f"D{len(directory) + 1:>7}\n")
        for row in rows:
            parameters.append(f"{row:<64} {2 * number + 1:>7}P{len(parameters) + 1:>7}\n")
    start, whole = section("S", "a part"), section("G", head)
    end = f"S{len(start):>7}G{len(whole):>7}D{len(directory):>7}P{len(parameters):>7}"
    return "".join([*start, *whole, *directory, *parameters, f"{end:<72}T{1:>7}\n"])
