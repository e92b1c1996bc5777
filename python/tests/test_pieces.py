"""Covers: the program's pieces, the same from every executor; each piece a drape of its own."""

import multiprocessing
import pathlib
import pickle
import re
from concurrent.futures import ProcessPoolExecutor

import numpy as np
import pytest

import drape
from conftest import SAMPLES

LOCKING = 30
STEP = 18
# Times, and the numbers that a process gives to the images in its drawings.
PASSING = re.compile(rb'"wall": [0-9.e+-]+|/CreationDate \([^)]*\)|(?<=image)-?\d+|(?<=source)-?\d+')


def lasting(data):
    return PASSING.sub(b"", data)


@pytest.fixture(scope="module")
def ball():
    return drape.Mould.read(SAMPLES / "hemisphere.obj", side=(1, 0.2, 3))


@pytest.fixture(scope="module")
def pieces(ball):
    return drape.cover(ball, share=0.97, angle=10, locking=LOCKING, step=STEP, overlap=4)


def test_pieces_are_the_programs(program, tmp_path, pieces):
    kinds = ["vtp", "fibres.vtp", "fibres.csv", "glb", "gltf", "pdf", "dxf", "svg", "json"]
    options = [
        "--side=1,0.2,3",
        "--cover=0.97",
        f"--locking={LOCKING}",
        "--angle=10",
        f"--step={STEP}",
        "--overlap=4",
        "--allowance=3",
    ]
    options += ["-o", str(tmp_path / "a.pieces.obj")]
    report, files = program("hemisphere.obj", *options, outputs=[f"a.{kind}" for kind in kinds])
    assert len(pieces) == report["cover"]["count"] > 1 and pieces.covered_share == report["cover"]["coveredShare"]
    assert pieces.report()["cover"] == report["cover"]
    for kind, expected in zip(kinds, files):
        (written,) = pieces.write(tmp_path / f"our.{kind}", allowance=3)
        with open(written, "rb") as ours:
            assert lasting(ours.read()) == lasting(expected), kind
    for number, written in enumerate(pieces.write(tmp_path / "our.pieces.obj"), 1):
        assert pathlib.Path(written).read_bytes() == (tmp_path / f"a.piece{number}.obj").read_bytes()
    with pytest.raises(drape.OutputError):
        pieces.write(tmp_path / "our.pattern.svg")


def test_each_piece_drapes_by_itself_as_it_lies(ball, pieces):
    vertices, triangles, on_top = pieces.claims()
    a, b, c = (vertices[triangles[:, k]] for k in range(3))
    areas = 0.5 * np.linalg.norm(np.cross(b - a, c - a), axis=1)
    assert np.isclose(areas.sum(), ball.area)
    assert np.isclose(areas[on_top >= 0].sum() / ball.area, pieces.covered_share, atol=1e-3)
    for number, piece in enumerate(pieces):
        assert piece.ply.mould.side == ball.side
        assert piece.ply.status == 0 and piece.ply.largest_shear <= LOCKING
        assert np.isclose(areas[on_top == number].sum(), piece.claimed)
        again = pickle.loads(pickle.dumps(piece.ply))
        assert again.positions.tobytes() == piece.ply.positions.tobytes()
        assert again.net.area == piece.ply.net.area
        assert piece.ply.mould.drape(step=STEP).choice.seed == piece.ply.choice.seed  # where its cloth starts
    assert pieces.largest_shear == max(piece.ply.largest_shear for piece in pieces)
    for seam in pieces.seams:
        assert 0 <= seam.pieces[0] < seam.pieces[1] < len(pieces)
        assert np.isclose(np.linalg.norm(np.diff(seam.points, axis=0), axis=1).sum(), seam.length)


def test_processes_find_the_same_pieces_and_a_search_can_be_ended(ball, pieces):
    context = multiprocessing.get_context("spawn")
    with ProcessPoolExecutor(2, mp_context=context) as processes:
        other = drape.cover(ball, processes, share=0.97, angle=10, locking=LOCKING, step=STEP, overlap=4)
    assert [p.ply.positions.tobytes() for p in other] == [p.ply.positions.tobytes() for p in pieces]
    seen = []

    def one_batch(tried, count, share):
        seen.append((tried, count, share))
        return len(seen) < 2

    first = drape.cover(ball, locking=LOCKING, step=STEP, progress=one_batch)
    assert len(seen) == 2 and len(first) > 0 and seen[0][0] < seen[1][0]


def test_what_a_cover_cant_take_is_refused(ball):
    for arguments, words in [
        ({"share": 1.5}, "share is 1.5"),
        ({"overlap": -1}, "overlap is -1"),
        ({"most": (0, None)}, "most is 0"),
        ({"most": (1, 2, 3)}, "most has to be two"),
        ({"seconds": 0}, "seconds is 0"),
        ({"locking": 91}, "locking is 91"),
    ]:
        with pytest.raises(drape.ArrayError, match=words):
            drape.cover(ball, **arguments)

    def broken(*_):
        raise RuntimeError("stop this")

    with pytest.raises(RuntimeError, match="stop this"):
        drape.cover(ball, step=20, progress=broken)
