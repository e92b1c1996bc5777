"""What goes in and what comes out: refusals in words, arrays that outlive what made them, pickles."""

import gc
import inspect
import pickle
import re

import numpy as np
import pytest

import drape

SQUARE = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]], dtype=float)
TRIANGLES = np.array([[0, 1, 2], [0, 2, 3]])
CUBE = np.array([[x, y, z] for x in (0, 1) for y in (0, 1) for z in (0, 1)], dtype=float)
SIDES = np.array([[0, 1, 3, 2], [4, 6, 7, 5], [0, 4, 5, 1], [2, 3, 7, 6], [0, 2, 6, 4], [1, 5, 7, 3]])


@pytest.mark.parametrize(
    "vertices, triangles, words",
    [
        (SQUARE.T, TRIANGLES, r"vertices has to have the shape \(n, 3\), not \(3, 4\); this looks transposed"),
        (SQUARE[:, :2], TRIANGLES, r"not \(4, 2\)"),
        (SQUARE.ravel(), TRIANGLES, r"not \(12,\)"),
        ([[0, 0, 0], [1, 0]], TRIANGLES, "rows of different lengths"),
        (SQUARE.astype(complex), TRIANGLES, "real numbers, not complex128"),
        (SQUARE.astype(str), TRIANGLES, "real numbers"),
        (SQUARE.astype(bool), TRIANGLES, "real numbers, not bool"),
        (np.where(SQUARE == 1, np.nan, SQUARE), TRIANGLES, r"vertices\[1, 0\] is nan"),
        (SQUARE + np.inf, TRIANGLES, "finite numbers are wanted"),
        (SQUARE, TRIANGLES.astype(float), "triangles has to hold whole numbers, not float64"),
        (SQUARE, TRIANGLES + 1, r"triangles\[1, 2\] is 4; vertices count from 0 to 3"),
        (SQUARE, TRIANGLES - 1, r"triangles\[0, 0\] is -1"),
        (SQUARE, TRIANGLES.astype(np.int64) + (1 << 32), "is 4294967296"),
        (SQUARE, [0, 1, 2], r"shape \(m, 3\), not \(3,\)"),
    ],
)
def test_bad_meshes_are_refused_in_words(vertices, triangles, words):
    with pytest.raises(drape.ArrayError, match=words) as caught:
        drape.Mould(vertices, triangles)
    assert isinstance(caught.value, ValueError) and isinstance(caught.value, drape.Error)


def test_good_arrays_of_any_type_and_order_make_the_same_mould():
    plain = drape.Mould(SQUARE, TRIANGLES)
    for vertices in (SQUARE.astype(np.float32), np.asfortranarray(SQUARE), SQUARE.astype(np.int8).tolist()):
        for triangles in (TRIANGLES.astype(np.uint8), np.asfortranarray(TRIANGLES), TRIANGLES[::-1][::-1].tolist()):
            assert drape.Mould(vertices, triangles).key == plain.key
    assert drape.Mould(SQUARE, [[0, 1, 2, 3]]).area == 1.0
    assert drape.Mould(2 * SQUARE, TRIANGLES).key != plain.key


def test_corners_that_meet_are_welded_if_asked():
    apart = SQUARE[TRIANGLES].reshape(-1, 3)
    for fill in (False, True):
        welded = drape.Mould(apart, np.arange(6).reshape(2, 3), fill_holes=fill)
        assert len(welded.vertices) == 4 and welded.area == 1.0
        kept = drape.Mould(apart, np.arange(6).reshape(2, 3), weld=False, fill_holes=fill)
        assert kept.area == 0.5  # a piece of two


@pytest.mark.parametrize(
    "start, words",
    [
        ({"seed": (0, 0)}, "seed has to be three numbers"),
        ({"seed": (0, 0, np.nan)}, r"seed\[2\] is nan"),
        ({"angle": np.inf}, "angle is inf"),
        ({"step": 0}, "step is 0, and has to be above 0"),
        ({"step": (1, 2, 3)}, "one length or two"),
        ({"warp": (0, 0, 0)}, "has no length"),
        ({"tolerance": -1}, "tolerance is -1"),
        ({"pivot": "best"}, "pivot is 'best'"),
        ({"within": "most"}, "within is 'most'"),
        ({"locking": 91}, "between 0 and 90"),
        ({"most_nodes": 3}, "between 4 and"),
    ],
)
def test_bad_starts_are_refused_in_words(dome, start, words):
    with pytest.raises(drape.ArrayError, match=words):
        dome.drape(**start)


def test_each_kind_of_error_has_its_class(dome, tmp_path):
    broken = tmp_path / "broken.obj"
    broken.write_text("v 0 0 0\nf 1 2 3\n")
    cases = [
        (drape.UnreadableError, drape.MeshError, lambda: drape.Mould.read(broken)),
        (drape.UnreadableError, drape.MeshError, lambda: drape.Mould.read(tmp_path / "none.stl")),
        (
            drape.NothingLeftError,
            drape.MeshError,
            lambda: drape.Mould(SQUARE, TRIANGLES, clip=[((2, 0, 0), (1, 0, 0))]),
        ),
        (drape.ClosedError, drape.MeshError, lambda: drape.Mould(CUBE, SIDES).drape()),
        (drape.NoSuchSideError, drape.StartError, lambda: drape.Mould(SQUARE, TRIANGLES, side=(1, 0, 0))),
        (drape.TooFineError, drape.StartError, lambda: dome.drape(step=1e-3)),
        (drape.TooCoarseError, drape.StartError, lambda: dome.drape(step=5, tolerance=5)),
        (drape.UprightError, drape.StartError, lambda: drape.Mould(SQUARE, TRIANGLES).drape(warp=(0, 0, 1))),
        (drape.OutputError, OSError, lambda: dome.drape(step=20).write(tmp_path / "missing" / "a.vtp")),
        (drape.OutputError, OSError, lambda: dome.drape(step=20).write(tmp_path / "a.unknown")),
    ]
    for kind, above, call in cases:
        with pytest.raises(kind) as caught:
            call()
        assert isinstance(caught.value, above) and isinstance(caught.value, drape.Error) and str(caught.value)


def test_status_codes_are_told_when_asked_for(dome):
    ply = dome.drape(step=4, most_nodes=500)
    assert ply.status == 23 and 0 < len(ply.positions) <= 500
    with pytest.raises(drape.StatusError, match="raise most_nodes") as caught:
        ply.raise_for_status()
    again = pickle.loads(pickle.dumps(caught.value))
    assert (again.status, again.name, str(again)) == (23, caught.value.name, str(caught.value))
    dome.drape(step=20).raise_for_status()
    # Advice names arguments as this package has them.
    words = {
        *inspect.signature(drape.Mould).parameters,
        *inspect.signature(drape.Mould.drape).parameters,
        "notes",
        "sweep",
    }
    advice = [drape.status_text(code)[2] for code in range(400)]
    named = {
        name
        for text in advice
        for found in re.findall(r"(\w+)=|\b([a-z]+_\w+)|\.([a-z]+)", text)
        for name in found
        if name
    }
    assert {"most_nodes", "within", "clip"} <= named <= words
    assert drape.status_text(23)[0] == caught.value.name


def test_arrays_outlive_their_mould_and_are_no_copies():
    mould = drape.Mould(SQUARE, TRIANGLES)
    ply = mould.drape(step=0.1)
    held = [ply.positions, ply.shear, ply.cells, ply.on_surface, ply.fibres.warp, mould.vertices, mould.loops[0]]
    assert all(np.shares_memory(a, b) for a, b in zip(held[:4], (ply.positions, ply.shear, ply.cells, ply.on_surface)))
    copies = [array.copy() for array in held]
    assert all(not array.flags.writeable for array in held)
    with pytest.raises(ValueError):
        held[0].setflags(write=True)
    del mould, ply
    gc.collect()
    litter = [drape.Mould(SQUARE + k, TRIANGLES).drape(step=0.1) for k in range(20)]
    assert all((array == copy).all() for array, copy in zip(held, copies)) and len(litter) == 20


@pytest.mark.parametrize("protocol", range(2, pickle.HIGHEST_PROTOCOL + 1))
def test_pickles_hold_moulds_and_plies_to_the_bit(protocol):
    mould = drape.Mould(SQUARE, TRIANGLES, side=(0, 0, -1), seed=(0.3, 0.4, 1))
    ply = mould.drape(step=0.07, angle=10, pivot="shear")
    again, ply_again = pickle.loads(pickle.dumps((mould, ply), protocol))
    assert again.key == mould.key and again.notes == mould.notes and again.side == mould.side
    assert again.default_seed == mould.default_seed
    assert ply_again.positions.tobytes() == ply.positions.tobytes()
    assert again.drape(step=0.07, angle=10, pivot="shear").positions.tobytes() == ply.positions.tobytes()
