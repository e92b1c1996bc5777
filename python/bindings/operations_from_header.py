"""Writes what binds the library's operations one by one: C++ source, stub, and names, all from drape.h.

The header says the names, types and meanings of the arguments. How long each array has to be stands below, since the
header says that in words.
"""

import argparse
import pathlib
import re

# Per operation, the arguments that hold more than one value and how many. A length is one of the operation's counts,
# or a field of a record that it is given (`rowRecord.2` is the third one), with a factor before it or a number of
# values taken off. Names with a capital M belong to the model that npinco registers; `MfrontLength` is the length of
# the front that `frontIndex` names there.
GRID = {name: "nodeCount" for name in ("link3", "link1", "link2", "link4", "nodeStatus")}
GRID |= {"nodePos": "3*nodeCount", "nodeFlat": "2*nodeCount"}
SURFACE = {
    "vertTriStart": "vertCount",
    "vertTriList": "vertTriCount",
    "triVerts": "3*triCount",
    "vertPos": "3*vertCount",
    "vertBoundary": "vertCount",
}
NODES = {
    name: "nodeCapacity" for name in ("link3", "link1", "link2", "link4", "nodeI", "nodeJ", "nodeStatus", "nodeTri")
}
NODES |= {"nodePos": "3*nodeCapacity", "nodeFlat": "2*nodeCapacity", "nodeNormal": "3*nodeCapacity"}
POINTS = (
    "seedPoint seedDirA seedDirB position normal a b result point vertexA vertexB vertexC point1 normal1 point2 "
    "normal2 point3 normal3 solution centre axis planeNormal forward backPoint pointA pointB edgeStart "
    "startNormal edgeEnd endNormal direction origin uPoint vPoint mapped"
).split()
CURVE = {"points": "3*pointIndex", "directions": "3*pointIndex"}
CROSSINGS = {"rowCrossings": "rowRecord.2-1", "backCrossings": "rowRecord.2"}
NEW_ROW = {"rowNodes": "MfrontLength", "rowCrossings": "MfrontLength-1", "backCrossings": "MfrontLength"}
LENGTHS = {
    "gzprp2": NODES | SURFACE,
    "npinco": NODES
    | SURFACE
    | {"frontTable": "10*nodeCapacity", "boundaryEdges": "3*boundaryCount", "boundaryNormals": "3*boundaryCount"},
    "gzfttc": GRID | {"points": "3*pointCount", "directions": "3*pointCount", "flatOut": "2*pointCount"},
    "nptfpt": {"source": "9", "target": "9"},
    "gz0zorc": {"inDegree": "count", "successorCount": "count", "successors": "successorSum", "order": "count"},
    "gzprel": SURFACE | {"triVerts": "triVertsNamed", "boundaryEdges": "3*edgeRoom", "boundaryNormals": "3*edgeRoom"},
    "uzpraf": {"record": "10"},
    "npxctr": {"hitPoints": "6", "hitKinds": "2"},
    "npxseb": {"hitDistance": "2", "hitKinds": "2"},
    "uzprcm": {"foundList": "foundCount"},
    "uzprpf": {"foundList": "foundCount"},
    "uzprdf": {"nodes": "length", "work": "2*MtriCount", "rowRecord": "10"},
    "uzprmo": {"work": "2*MtriCount"},
    "uzprpi": {"nodes": "length"},
    "gzprnf": {"work": "2*MtriCount", "rowRecord": "10"},
    "gzpric": {"rowRecord": "10", "rowNodes": "rowRecord.2"} | CROSSINGS,
    "gzprip": {"rowRecord": "10"} | CROSSINGS,
    "gzprpf": {"rowRecord": "10"} | NEW_ROW,
    "gzprfm": {"rowRecord": "10"} | NEW_ROW,
    "gzpref": {"front": "10"},
    "gzprde": {"rowRecord": "10", "rowCrossings": "rowRecord.2-1", "defectRecord": "5"},
    "gzprre": {"defectRecord": "5"},
    "gzprge": {"defects": "50"},
    "uzprce": {"defects": "50"},
    "uzprcl": {"defects": "50"},
    "gzprgf": {"rowRecord": "10", "rowCrossings": "rowRecord.2-1"},
    "gzprld": {
        "rowNodes": "rowLength",
        "rowCrossings": "rowLength-1",
        "backCrossings": "rowLength",
        "corners": "14",
    },
    "gzprlc": {"corners": "7*cornerCount"},
    "uzftpq": GRID,
    "uzftp2": GRID | {"ranks": "4"},
    "uzftcq": GRID | {"points": "3*pointIndex"},
    "uzfttp": CURVE | {"link1": "1", "link4": "1", "nodePos": "3", "nodeFlat": "2", "flatPoint": "2"},
    "uzftte": GRID | CURVE | {"flatOut": "2*pointIndex", "cellOf": "pointIndex"},
    "uzftrt": {"points": "3*count", "directions": "3*count"},
}

# Operations on the model that npinco registers, where the header doesn't say so in the usual words.
ON_MODEL = {"uzprsp", "uzprcp", "uzpraf", "uzprrf", "uzprap", "uzprcl"}
# Operations that keep nothing between calls, so that threads may be in them at once.
SIDE_BY_SIDE = {"gzprp2", "nptfpt", "gz0zorc"}


def operations(header):
    """(name, result, [(type, name)], doc) of every exported operation, in the header's order."""
    pattern = r"/\*((?:(?!\*/).)*)\*/\s*DRAPE_API\s+(\w+)\s+(\w+)\s*\(([^)]*)\)\s*;"
    for comment, result, name, text in re.findall(pattern, header, flags=re.S):
        doc = "\n".join(re.sub(r"^ \* ?", "", line).rstrip() for line in comment.strip("\n ").splitlines()).strip()
        arguments = [tuple(" ".join(one.split()).rsplit(" ", 1)) for one in text.split(",")]
        yield name, result, arguments, doc


def length_of(operation, kind, argument):
    if kind == "const void*":
        return "0"
    usual = "3" if "double" in kind and argument in POINTS else "1"
    return LENGTHS.get(operation, {}).get(argument, usual)


def on_model(name, doc):
    return name in ON_MODEL or bool(re.search(r"(Reads|extends|changes|writes|Extends) the model", doc))


def binding(header):
    lines = []
    for name, _, arguments, doc in operations(header):
        words = " ".join(f"{argument}={length_of(name, kind, argument)}" for kind, argument in arguments)
        doc = f"{name}({', '.join(argument for _, argument in arguments)})\n\n{doc}\n"
        lines.append(
            f'operation(module, "{name}", {name}, "{words}", {str(on_model(name, doc)).lower()}, '
            f'{str(name in SIDE_BY_SIDE).lower()}, R"doc({doc})doc");'
        )
    for name, value in constants(header):
        lines.append(f'module.attr("{name}") = {value};')
    return "\n".join(lines) + "\n"


def constants(header):
    plain = re.sub(r"/\*.*?\*/", "", header, flags=re.S)
    return re.findall(r"^\s*(DRAPE_\w+)\s*=\s*(-?\d+)", plain, flags=re.M)


def stub(header):
    lines = [
        '"""The library\'s 45 operations, as its header declares them."""',
        "",
        "from typing import Any",
        "",
        "import numpy as np",
        "import numpy.typing as npt",
        "",
        "Ints = npt.NDArray[np.int32]",
        "Doubles = npt.NDArray[np.float64]",
        "",
    ]
    lines += [f"{name}: int" for name, _ in constants(header)]
    for name, result, arguments, doc in operations(header):
        typed = []
        for kind, argument in arguments:
            array = {"int32_t*": "Ints", "double*": "Doubles"}.get(kind.removeprefix("const "), "Any")
            if kind.startswith("const") and length_of(name, kind, argument) == "1":
                array += {"Ints": " | int", "Doubles": " | float"}[array]
            typed.append(f"    {argument}: {array},")
        lines += ["", f"def {name}("] + typed + [f") -> {'int' if result == 'int32_t' else 'None'}:"]
        lines += [
            '    """' + doc.replace("\\", "\\\\").replace("\n", "\n    ").replace("\n    \n", "\n\n"),
            '    """',
            "    ...",
        ]
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--header", type=pathlib.Path, required=True)
    parser.add_argument("--cpp", type=pathlib.Path, required=True)
    parser.add_argument("--stub", type=pathlib.Path, required=True)
    options = parser.parse_args()
    header = options.header.read_text()
    options.cpp.write_text(binding(header))
    options.stub.write_text(stub(header))


if __name__ == "__main__":
    main()
