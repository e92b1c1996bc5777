"""Readers of the program's files, of their forms alone: what the numbers should be is told elsewhere."""

import base64
import itertools
import json
import re
import struct
import subprocess
import xml.etree.ElementTree as ET
import zlib


class PolyData:
    """A VTK PolyData file with its arrays decoded."""

    FORMS = {"Float64": "d", "Int32": "i", "Int64": "q"}

    def __init__(self, path):
        root = ET.parse(path).getroot()
        assert (root.get("type"), root.get("header_type"), root.get("byte_order")) == \
            ("PolyData", "UInt64", "LittleEndian")
        piece = root.find("PolyData/Piece")
        self.point_count = int(piece.get("NumberOfPoints"))
        self.polygon_count = int(piece.get("NumberOfPolys"))
        self.points = self.rows(piece.find("Points/DataArray"))
        self.polygons = {a.get("Name"): self.flat(a) for a in piece.find("Polys")}
        self.point_data = {a.get("Name"): self.rows(a) for a in piece.find("PointData")}
        self.cell_data = {a.get("Name"): self.rows(a) for a in piece.find("CellData")}
        fields = root.find("PolyData/FieldData")
        self.fields = {a.get("Name"): self.rows(a) for a in (fields if fields is not None else ())}
        self.shown = (piece.find("PointData").get("Normals"), piece.find("CellData").get("Scalars"))

    def flat(self, array):
        data = base64.b64decode((array.text or "").strip(), validate=True)
        (size,) = struct.unpack_from("<Q", data)
        assert size == len(data) - 8, "byte count in front of the values"
        form = self.FORMS[array.get("type")]
        return struct.unpack_from(f"<{size // struct.calcsize(form)}{form}", data, 8)

    def rows(self, array):
        width = int(array.get("NumberOfComponents", 1))
        values = self.flat(array)
        return list(values) if width == 1 else [values[k:k + width] for k in range(0, len(values), width)]

    def faces(self):
        ends = (0, *self.polygons["offsets"])
        return [tuple(self.polygons["connectivity"][a:b]) for a, b in zip(ends, ends[1:])]


class UnstructuredGrid(PolyData):
    """A VTK unstructured grid with its arrays decoded."""

    def __init__(self, path):
        piece = ET.parse(path).getroot().find("UnstructuredGrid/Piece")
        self.points = self.rows(piece.find("Points/DataArray"))
        self.polygons = {a.get("Name"): self.flat(a) for a in piece.find("Cells")}
        self.cell_data = {a.get("Name"): self.rows(a) for a in piece.find("CellData")}
        self.shown = (piece.find("CellData").get("GlobalIds"), piece.find("CellData").get("Scalars"))
        counts = (int(piece.get("NumberOfPoints")), int(piece.get("NumberOfCells")))
        assert counts == (len(self.points), len(self.polygons["types"]))


class Gltf:
    """A glTF file, text or binary, with its accessors decoded."""

    FORMS = {5126: "f", 5123: "H", 5125: "I"}
    WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4}

    def __init__(self, path):
        data = path.read_bytes()
        if data[:4] == b"glTF":
            version, total, size, kind = struct.unpack_from("<III4s", data, 4)
            assert (version, total, kind) == (2, len(data), b"JSON")
            self.tree = json.loads(data[20:20 + size])
            rest = data[20 + size:]
            self.body = rest[8:]
            assert not rest or struct.unpack_from("<I4s", rest) == (len(self.body), b"BIN\0")
        else:
            self.tree = json.loads(data)
            uri = self.tree["buffers"][0].pop("uri")
            self.body = base64.b64decode(uri.removeprefix("data:application/octet-stream;base64,"), validate=True)

    def accessor(self, index):
        entry = self.tree["accessors"][index]
        view = self.tree["bufferViews"][entry["bufferView"]]
        form, width = self.FORMS[entry["componentType"]], self.WIDTHS[entry["type"]]
        assert view["byteOffset"] % 4 == 0 and view["buffer"] == 0
        assert view["byteLength"] == entry["count"] * width * struct.calcsize(form)
        values = struct.unpack_from(f"<{entry['count'] * width}{form}", self.body, view["byteOffset"])
        return list(values) if width == 1 else [values[k:k + width] for k in range(0, len(values), width)]


def dxf_entities(text):
    """The entities of a DXF file, whose groups are pairs of lines: kind, layer, closed flag, points, words."""
    lines = text.splitlines()
    groups = [(int(code), value) for code, value in zip(lines[0::2], lines[1::2])]
    start = groups.index((2, "ENTITIES"))
    found = []
    for code, value in groups[start + 1:groups.index((0, "ENDSEC"), start)]:
        if code == 0:
            found.append({"kind": value, "layer": None, "closed": False, "points": [], "words": None})
        elif code == 8:
            found[-1]["layer"] = value
        elif code == 70:
            found[-1]["closed"] = value == "1"
        elif code == 10:
            found[-1]["points"].append([float(value), 0.0])
        elif code == 20:
            found[-1]["points"][-1][1] = float(value)
        elif code == 1:
            found[-1]["words"] = value
    return found


def dxf_header(text):
    """Points of the header by the name of their variable."""
    lines = [line.strip() for line in text.splitlines()]
    return {name: (float(lines[k + 2]), float(lines[k + 4]))
            for name in ("$EXTMIN", "$EXTMAX") for k in [lines.index(name)]}


class Svg:
    """The shapes of a drawing: fills and strokes with their colour (0 to 1), width and corners; and of each line of
    words its colour and where each letter begins."""

    def __init__(self, path):
        root = ET.parse(path).getroot()
        self.size = root.get("width"), root.get("height")
        groups = [(group, [child for child in group if child.tag.endswith("use")]) for group in root.iter()]
        written = [(self.colour(group.get("style"), "fill"), uses) for group, uses in groups if uses]
        self.words = [colour for colour, _ in written]
        self.places = [[(float(use.get("x", 0)), float(use.get("y", 0))) for use in uses] for _, uses in written]
        self.shapes = []
        for group in root:
            if group.tag.endswith("defs"):
                continue
            for element in [group, *group.iter()]:
                if element.tag.endswith("path"):
                    self.shapes.append(self.shape(element))

    @staticmethod
    def style(text):
        return dict(part.strip().split(":") for part in text.split(";") if part.strip())

    @classmethod
    def colour(cls, text, name):
        value = cls.style(text).get(name, "none")
        return None if value == "none" else tuple(float(part) / 100 for part in re.findall(r"([\d.e-]+)%", value))

    @classmethod
    def shape(cls, element):
        style, colour = cls.style(element.get("style")), lambda name: cls.colour(element.get("style"), name)
        move = [1.0, 0.0, 0.0, 1.0, 0.0, 0.0]
        if element.get("transform"):
            move = [float(x) for x in element.get("transform").removeprefix("matrix(").rstrip(")").split(",")]
        parts = []
        for part in re.findall(r"M[^M]*", element.get("d")):
            numbers = [float(x) for x in re.findall(r"-?[\d.]+(?:e-?\d+)?", part)]
            pairs = list(zip(numbers[0::2], numbers[1::2]))
            parts.append([(move[0] * x + move[2] * y + move[4], move[1] * x + move[3] * y + move[5])
                          for x, y in pairs])
        return {"fill": colour("fill"), "stroke": colour("stroke"), "curved": "C" in element.get("d"),
                "width": float(style.get("stroke-width", 0)), "opacity": style.get("stroke-opacity"),
                "parts": [p for p in parts if len(p) > 1]}


def png_pixels(path):
    """Width, height and rows of an image as three bytes per pixel."""
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, body = 8, b""
    while at < len(data):
        size, kind = struct.unpack_from(">I4s", data, at)
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack_from(">IIBB", data, at + 8)
            assert (depth, colour) == (8, 2)
        body += data[at + 8:at + 8 + size] if kind == b"IDAT" else b""
        at += 12 + size
    raw, rows, stride = zlib.decompress(body), [], 3 * width
    before = bytearray(stride)
    for y in range(height):
        kind, row = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        unfilter(kind, row, before)
        rows.append(row)
        before = row
    return width, height, rows


def unfilter(kind, row, before):
    """Adds to each byte what its row's kind of filter took off, by the byte three to the left, above or between them."""
    if kind == 1:
        for k in range(3):
            row[k::3] = bytes(x & 255 for x in itertools.accumulate(row[k::3]))
    elif kind == 2:
        row[:] = bytes((a + b) & 255 for a, b in zip(row, before))
    elif kind == 3:
        for k in range(len(row)):
            row[k] = (row[k] + ((row[k - 3] if k > 2 else 0) + before[k]) // 2) & 255
    elif kind == 4:
        for k in range(len(row)):
            a, b, c = (row[k - 3], before[k], before[k - 3]) if k > 2 else (0, before[k], 0)
            if b == c:
                guess = a
            elif a == c:
                guess = b
            else:
                pa, pb, pc = abs(b - c), abs(a - c), abs(a + b - 2 * c)
                guess = a if pa <= pb and pa <= pc else b if pb <= pc else c
            row[k] = (row[k] + guess) & 255


def pdf_words(path):
    """Page size in points, and the words of a page with their boxes: (text, left, top, right, bottom)."""
    text = subprocess.run(["pdftotext", "-bbox", path, "-"], capture_output=True, text=True, check=True).stdout
    size = tuple(map(float, re.search(r'<page width="([\d.]+)" height="([\d.]+)"', text).groups()))
    words = re.findall(r'<word xMin="([\d.]+)" yMin="([\d.]+)" xMax="([\d.]+)" yMax="([\d.]+)">(.*?)</word>', text)
    return size, [(word, *map(float, box)) for *box, word in words]
