"""The library's operations by their own names: all there, arrays looked at before they are handed on."""

import ctypes
import gc
import inspect
import os
import pathlib
import re

import numpy as np
import pytest

import drape
from drape import lib

HEADER = pathlib.Path(os.environ["DRAPE_HEADER"]).read_text()


def one(kind=np.int32):
    return np.zeros(1, kind)


def registered(room=100, **other):
    """A unit square with the model on it, as a host sets it up; the arrays by their names."""
    names = "link3 link1 link2 link4 nodeI nodeJ nodeStatus nodeTri".split()
    held = {name: np.zeros(room, np.int32) for name in names}
    held |= {name: np.zeros((room, k)) for name, k in (("nodePos", 3), ("nodeFlat", 2), ("nodeNormal", 3))}
    held |= {"frontTable": np.zeros((room, 10), np.int32), "frontCount": one(), "nodeCount": one()}
    held |= {"vertTriStart": np.array([0, 2, 3, 5], np.int32), "vertTriList": np.array([1, 2, 1, 1, 2, 2], np.int32)}
    held |= {"triVerts": np.array([[1, 2, 3], [1, 3, 4]], np.int32)}
    held |= {"vertPos": np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]], float)}
    held |= {"boundaryEdges": np.zeros((4, 3), np.int32), "boundaryNormals": np.zeros((4, 3))}
    values = {
        "seedPoint": np.array([0.5, 0.5, 0]),
        "seedDirA": np.array([1.0, 0, 0]),
        "seedDirB": np.array([0, 1.0, 0]),
    }
    values |= {"stepA": 0.1, "stepB": 0.1, "nodeCapacity": room, "triCount": 2, "vertCount": 4, "vertTriCount": 6}
    values |= {"boundaryCount": 4, "pivotByGridLine": 1, "tolerance": 1e-6}
    lib.npinco(**held, **{**values, **other})
    return held


def test_every_operation_is_there_with_the_headers_arguments():
    declared = dict(re.findall(r"^DRAPE_API \w+ (\w+)\(([^)]*)\);", HEADER, flags=re.M))
    assert len(declared) == 45
    stub = (pathlib.Path(drape.__file__).parent / "lib.pyi").read_text()
    for name, arguments in declared.items():
        wanted = [word.split()[-1].lstrip("*") for word in arguments.split(",")]
        assert getattr(lib, name).__doc__.startswith(f"{name}({', '.join(wanted)})\n")
        typed = re.search(rf"^def {name}\((.*?)\n\) -> ", stub, flags=re.M | re.S).group(1)
        assert re.findall(r"^    (\w+): ", typed, flags=re.M) == wanted
    assert lib.DRAPE_NODES_FULL == 23 and lib.DRAPE_FRONT_FIELDS == 10
    assert inspect.getdoc(lib.npdmpe) and set(declared) <= set(lib.__all__)


def test_bad_arrays_are_refused_before_the_call():
    ok = {
        "point": np.array([0.0, 0, 1]),
        "vertexA": np.zeros(3),
        "vertexB": np.array([1.0, 0, 0]),
        "vertexC": np.array([0, 1.0, 0]),
        "tolerance": 0.0,
        "distance": one(float),
        "location": one(),
    }
    lib.npdmpe(**ok)
    assert ok["distance"][0] == 1.0 and ok["location"][0] == lib.DRAPE_AT_VERTEX_A
    read_only = one(float)
    read_only.setflags(write=False)
    cases = {
        "point has to hold 3 values and holds 2": {"point": np.zeros(2)},
        "point has to be a numpy array of float64, not int64": {"point": np.zeros(3, np.int64)},
        "point has to be a numpy array of float64, not >f8": {"point": np.zeros(3, ">f8")},
        "point has to be a numpy array of float64": {"point": [0.0, 0.0, 1.0]},
        "vertexA has to lie in memory row by row": {"vertexA": np.zeros(6)[::2]},
        "tolerance has to be a number": {"tolerance": "small"},
        "distance has to be a numpy array": {"distance": 0.0},
        "distance is written to, and the array is read-only": {"distance": read_only},
        "location has to be a numpy array of int32, not float64": {"location": one(float)},
    }
    for words, change in cases.items():
        with pytest.raises(drape.ArrayError, match="npdmpe: " + words):
            lib.npdmpe(**{**ok, **change})
    with pytest.raises(TypeError, match="takes 7 arguments"):
        lib.npdmpe()
    with pytest.raises(TypeError, match="location is missing"):
        lib.npdmpe(**{("place" if k == "location" else k): v for k, v in ok.items()})


def test_lengths_follow_counts_lists_records_and_the_model():
    status = one()
    order = [None, None, 1, 3, np.ones(3, np.int32), np.array([2, 0, 0], np.int32)]
    end = (one(), np.zeros(3, np.int32), status)
    assert lib.gz0zorc(*order, np.array([2, 3], np.int32), *end) == 0 and list(end[1]) == [1, 2, 3]
    with pytest.raises(drape.ArrayError, match="successors has to hold 2 values and holds 1"):
        lib.gz0zorc(*order, np.array([2], np.int32), *end)
    with pytest.raises(drape.ArrayError, match="frontTable has to hold 1000 values and holds 500"):
        registered(nodeCapacity=100, room=50)
    with pytest.raises(drape.ArrayError, match="nodeCapacity doesn't fit"):
        registered(nodeCapacity=2**31)

    held = registered()
    assert lib.uzprsp(np.array([0.5, 0.5, 0]), np.array([0, 0, 1.0]), 1, 0, 0, 0, 0, 0, status) == 0
    assert held["nodeCount"][0] == 1 and list(held["nodePos"][0]) == [0.5, 0.5, 0]
    with pytest.raises(drape.ArrayError, match="work has to hold 4 values"):
        lib.uzprmo(1, 1, 0, np.zeros(3, np.int32), status)
    assert lib.uzpraf(np.array([1, 1, 1] + [0] * 7, np.int32), 1, status) == 0
    record, small = np.zeros(10, np.int32), np.zeros(0, np.int32)
    with pytest.raises(drape.ArrayError, match="rowNodes has to hold 1 values and holds 0"):
        lib.gzprpf(1, record, small, small, one(), status)
    with pytest.raises(drape.ArrayError, match="rowNodes has to hold 2147483647"):
        lib.gzprpf(101, record, one(), small, one(), status)


def test_the_model_keeps_its_arrays():
    held = registered()
    nodes, count = held["nodePos"], held["nodeCount"]
    del held
    gc.collect()
    litter = [np.full(1000, 7, np.int32) for _ in range(1000)]
    status = one()
    for node in range(50):
        assert lib.uzprsp(np.array([node, 0.0, 0]), np.array([0, 0, 1.0]), 1, 0, 0, 0, 0, 0, status) == 0
    assert count[0] == 50 and list(nodes[:50, 0]) == list(range(50)) and len(litter) == 1000


@pytest.mark.skipif("DRAPE_LIBRARY" not in os.environ, reason="there is no shared library to compare with")
def test_a_call_equals_the_shared_librarys_own():
    bare = ctypes.CDLL(os.environ["DRAPE_LIBRARY"])
    rng = np.random.default_rng(5)
    for _ in range(200):
        corners, target, point = rng.normal(size=9), rng.normal(size=9), rng.normal(size=3)
        results = []
        for call in (lib.nptfpt, lambda *a: bare.nptfpt(*(v.ctypes.data_as(ctypes.c_void_p) for v in a))):
            mapped, status = np.zeros(3), one()
            results.append((call(corners, target, point, mapped, status), mapped.tobytes(), status[0]))
        assert results[0] == results[1]
