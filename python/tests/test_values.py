"""The package against the program and the bare library: the same bits."""

import base64
import json
import os
import pathlib
import pickle
import re
import runpy
import shutil

import numpy as np
import pytest

import drape
from conftest import PROGRAM, SAMPLES

SOME_WAYS = [
    ("double_dome.obj", {}, {}),
    ("double_dome.obj", {}, {"angle": 45, "step": (9, 12)}),
    ("saddle.obj", {}, {"seed": (10, 20, 5), "angle": -12.5, "step": (10, 14), "pivot": "shear", "locking": 20}),
    ("holed_plate.obj", {"fill_holes": True, "side": (0, 0, -1)}, {"seed": (-100, -80, 0), "rosette": (1, 2, 0)}),
    ("l_plate.obj", {"clip": [((0, 0, 0), (1, 0.5, 0))]}, {"tolerance": 0.25, "warp": (0, 3, 0), "rosette": (1, 1, 0)}),
    ("slit_dome.obj", {}, {"within": 60}),
    ("hemisphere.obj", {}, {"within": "max", "seed": (60, 0, 60), "step": 16}),
    ("double_dome.obj", {}, {"step": 4, "most_nodes": 500, "seed": "middle"}),
    ("double_dome.obj", {"seed": (50, 10, 80)}, {"step": 12}),
]


def as_options(surface, start):
    """The program's options for the package's arguments."""
    text = {"seed", "side", "rosette", "warp", "step"}
    for name, value in {**surface, **start}.items():
        option = "--" + name.replace("_", "-").replace("most-nodes", "max-nodes")
        if name == "clip":
            for at, normal in value:
                yield f"--clip={','.join(map(repr, (*at, *normal)))}"
        elif value == "middle":
            yield "--start=middle"
        elif value is True:
            yield option
        elif name in text and not np.isscalar(value):
            yield f"{option}={','.join(map(repr, value))}"
        else:
            yield f"{option}={value}"


OUTPUTS = ["vtp", "fibres.vtp", "fibres.csv", "glb", "gltf", "pattern.svg", "pattern.png", "pdf", "dxf", "svg", "png",
           "json", "html"]  # fmt: skip
TIMES = re.compile(rb'"(run|wall)": ?[0-9.e+-]+|/CreationDate \([^)]*\)')


def same(ours, theirs):
    """Whether two files hold the same, but for the times in them."""
    return TIMES.sub(b"", ours.read_bytes()) == TIMES.sub(b"", theirs)


def test_drawings_take_the_programs_wishes(program, tmp_path, dome):
    ply = dome.drape(step=12, seed="middle")
    for options, wishes in [
        ((), {"paper": None}),
        (["--paper=A4", "--units-mm=2"], {"paper": "A4", "millimetres_per_unit": 2}),
        (["--paper=500,300", "--name=skin 3"], {"paper": (500, 300), "name": "skin 3"}),
    ]:
        _, files = program("double_dome.obj", "--step=12", "--start=middle", *options, outputs=["a.pdf", "a.dxf"])
        for name, expected in zip(("a.pdf", "a.dxf"), files):
            ply.write(tmp_path / ("our" + name), **wishes)
            assert same(tmp_path / ("our" + name), expected), (name, options)
    for paper in ("A5", "", (99, 300), (300, 5081), (300,), (300, 400, 500), (np.nan, 300), 300):
        with pytest.raises(drape.ArrayError, match="paper"):
            ply.write(tmp_path / "none.pdf", paper=paper)
    assert not (tmp_path / "none.pdf").exists()


@pytest.fixture(scope="session")
def installed(tmp_path_factory):
    """A program beside a page to fill in, and the page."""
    root = tmp_path_factory.mktemp("root")
    place = root / "share" / "drape" / "drape.html"
    place.parent.mkdir(parents=True)
    place.write_text('<p>before</p><script id="drape-part" type="application/json"></script><p>behind</p>')
    (root / "bin").mkdir()
    return shutil.copy(PROGRAM, root / "bin"), place


@pytest.fixture
def page(installed, monkeypatch):
    """That program, and the package with the same page."""
    program, place = installed
    monkeypatch.setattr(drape.draping, "page_for", lambda path: str(place))
    return program


def part_in(file):
    """What a page holds: its settings, and its part as vertices and faces."""
    (text,) = re.findall(r'type="application/json">(.*)</script>', file.read_text())
    held = json.loads(text)
    data = base64.b64decode(held["data"])
    vertices = np.frombuffer(data, count=3 * held["points"]).reshape(-1, 3)
    faces = np.frombuffer(data[vertices.nbytes :], np.int32).reshape(held["polygons"], -1)
    return held["settings"], vertices, faces[:, 1:]


@pytest.mark.parametrize("sample, surface, start", SOME_WAYS)
def test_reports_files_and_pages_are_the_programs(program, page, tmp_path, sample, surface, start):
    pictured = sample == "saddle.obj"  # a picture takes longer than all the rest
    names = [f"a.{kind}" for kind in OUTPUTS if pictured or kind not in ("svg", "png")]
    wishes = {"allowance": 5, "millimetres_per_unit": 25.4}
    options = ["--allowance=5", "--name=skin", "--units-mm=25.4", *as_options(surface, start)]
    theirs, files = program(sample, *options, outputs=names, by=page)
    ply = drape.Mould.read(SAMPLES / sample, **surface).drape(**start)
    ours = ply.report(**wishes)
    for report in (ours, theirs):
        del report["seconds"]
    assert ours == theirs
    assert ply.status == theirs["result"]["status"]
    for name, expected in zip(names, files):
        ply.write(tmp_path / ("our" + name), name="skin", **wishes)
        assert same(tmp_path / ("our" + name), expected), name
    # Through a pickle goes the surface alone.
    again = pickle.loads(pickle.dumps(ply))
    again.write(tmp_path / "again.HTML")
    settings, vertices, faces = part_in(tmp_path / "again.HTML")
    mould = drape.Mould(vertices, faces, side=settings["side"], weld=settings["weld"])
    ways = {name: settings[name] for name in ("seed", "angle", "step", "tolerance", "pivot", "locking", "within")}
    ways.update((name, start[name]) for name in ("rosette", "warp") if name in start)  # as they were before scaling
    other = mould.drape(**ways, most_nodes=settings["mostNodes"])
    assert other.positions.tobytes() == ply.positions.tobytes() and other.net.area == ply.net.area


def test_pages_carry_curves_and_say_where_there_is_none(program, page, tmp_path, dome):
    ring = [(40, 0, 60), (0, 30, 60), (-40, 0, 60), (0, -30, 60)]
    (tmp_path / "ring.xyz").write_text("\n".join(" ".join(map(str, p)) for p in ring))
    options = [f"--curve={tmp_path / 'ring.xyz'}", "--curve-clip", "--angle=20"]
    _, (expected,) = program("double_dome.obj", *options, outputs=["a.html"], by=page)
    ply = dome.drape(angle=20)
    ply.write(tmp_path / "ours.html", curves=[ply.carry(tmp_path / "ring.xyz", cut=True)])
    assert same(tmp_path / "ours.html", expected)
    (curve,) = part_in(tmp_path / "ours.html")[0]["curves"]
    assert (curve["file"], curve["points"]) == ("ring.xyz", [list(map(float, p)) for p in ring])


def test_a_package_without_the_page_says_how_to_get_one(monkeypatch, tmp_path, dome):
    monkeypatch.setattr(drape.results, "__file__", str(tmp_path / "a" / "b" / "c" / "results.py"))
    with pytest.raises(drape.OutputError, match=r"docs/page\.md"):
        dome.drape(step=20).write(tmp_path / "none.Html")
    assert not (tmp_path / "none.Html").exists()


def test_the_hemisphere_is_the_published_one():
    pytest.importorskip("scipy")
    case = runpy.run_path(str(pathlib.Path(os.environ["DRAPE_SOURCE"]) / "examples" / "hemisphere.py"))
    assert len(case["shear"]) > 16000 and case["published"].max() > 51
    assert case["difference"] < 0.03  # degrees
    assert abs(case["reach"] - case["at_base"][0]) < 0.02


def test_curves_are_the_programs(program, tmp_path, dome):
    turn = np.linspace(0, 2 * np.pi, 30, endpoint=False)
    ring = np.column_stack((60 * np.cos(turn), 30 * np.sin(turn), 60 + 0 * turn))
    (tmp_path / "ring.xyz").write_text("\n".join(" ".join(map(repr, p)) for p in ring.tolist()))
    theirs, files = program("double_dome.obj", f"--curve={tmp_path / 'ring.xyz'}", outputs=["a.curve.csv", "a.dxf"])
    ply = dome.drape()
    read, given = ply.carry(tmp_path / "ring.xyz"), ply.carry(ring, name="ring")
    assert ply.report(curves=[read])["curves"] == theirs["curves"]
    for name, expected in zip(("a.curve.csv", "a.dxf"), files):
        ply.write(tmp_path / ("our" + name), curves=[read])
        assert same(tmp_path / ("our" + name), expected)
    (stretch,) = given.stretches
    assert stretch.closed and stretch.points.tobytes() == ring.tobytes() and stretch.numbers.tolist() == [*range(1, 31)]
    assert stretch.flat.tobytes() == read.stretches[0].flat.tobytes()
    steps = np.linalg.norm(stretch.flat - np.roll(stretch.flat, -1, axis=0), axis=1)
    assert np.isclose(steps.sum(), given.length_on_pattern)
    around = np.linalg.norm(stretch.cloth - np.roll(stretch.cloth, -1, axis=0), axis=1).sum()
    assert around < given.length_on_mould < 1.002 * around  # chords between its points are shorter
    assert abs(around / steps.sum() - 1) > 1e-4
    assert [given.length_on_mould, given.length_on_pattern] == [
        theirs["curves"][0][k] for k in ("lengthOnMould", "lengthOnPattern")
    ]
    with pytest.raises(drape.CurveError):
        ply.carry(3 * ring)
    assert not any(part.closed for part in ply.carry(ring + [150, 0, 0], cut=True).stretches)


def test_figures_and_arrays_fit_the_report(dome):
    ply = dome.drape(angle=30)
    report = ply.report()
    assert ply.largest_shear == report["shear"]["largest"] == np.abs(ply.shear[ply.on_surface]).max()
    assert ply.mean_shear == report["shear"]["mean"]
    assert ply.share_beyond_locking == report["shear"]["shareBeyondLocking"]
    assert ply.covered_share == report["result"]["coveredShare"]
    assert ply.doubled_share == report["result"]["doubledShare"] and ply.largest_turn == report["shear"]["largestTurn"]
    assert (ply.net.width, ply.net.height) == (report["pattern"]["width"], report["pattern"]["height"])
    assert (
        len(ply.positions) == report["result"]["nodes"] and ply.on_surface.sum() == report["result"]["cellsOnSurface"]
    )
    odd = dome.drape(
        seed=(31, -12, 40),
        angle=20,
        step=(15, 13),
        rosette=(1, 0.3, 0),
        warp=(0.2, 1, 0),
        tolerance=0.05,
        pivot="shear",
    )
    told = odd.report()["choice"]
    for name, value in odd.choice._asdict().items():
        value = list(value) if isinstance(value, tuple) else value
        assert value == told["plyAngle" if name == "ply_angle" else name], name
    assert (odd.choice.angle, odd.choice.tolerance, odd.choice.step, odd.choice.pivot) == (20, 0.05, (15, 13), "shear")
    assert np.isclose(np.dot(odd.choice.rosette, np.cross((1, 0.3, 0), odd.choice.normal)), 0)

    a, b, c, d = (ply.positions[ply.cells[:, k]] for k in range(4))
    warp, weft = b - a + c - d, d - a + c - b  # a cell shears as its mid-lines do
    sine = (warp * weft).sum(1) / np.linalg.norm(warp, axis=1) / np.linalg.norm(weft, axis=1)
    assert np.allclose(np.abs(ply.shear), np.degrees(np.abs(np.arcsin(sine))), rtol=0, atol=1e-6)
    assert np.allclose(np.linalg.norm(b - a, axis=1)[ply.on_surface], ply.choice.step[0], rtol=1e-6)
    assert (ply.flat == np.column_stack((ply.columns, ply.rows)) * ply.choice.step).all()
    back = ply.links[0][ply.cells[:, 0]] - 1
    assert (back == ply.cells[:, 1]).all()

    fibres = ply.fibres
    assert len(fibres.shear) == len(dome.triangles)
    covered = fibres.cover > 0
    assert np.isclose(dome.area, 0.5 * np.linalg.norm(normals(dome), axis=1).sum())
    assert np.allclose(np.linalg.norm(fibres.warp[covered], axis=1), 1) and not fibres.warp[~covered].any()
    assert np.abs((fibres.weft * normals(dome)).sum(1)).max() < 1e-9 * dome.area

    (loop,) = ply.net.loops
    ahead = np.roll(loop.flat, -1, axis=0)
    flat_area = 0.5 * (loop.flat[:, 0] * ahead[:, 1] - loop.flat[:, 1] * ahead[:, 0]).sum()
    assert np.isclose(flat_area, ply.net.area) and np.isclose(loop.area, ply.net.area)
    assert np.allclose((*loop.flat.min(0), *loop.flat.max(0)), ply.net.extent)
    assert np.isclose(np.linalg.norm(loop.flat - ahead, axis=1).sum(), loop.length)
    assert len(loop.space) == len(loop.borders) == len(loop.flat)
    assert set(loop.borders) <= {0, 1} and ply.net.cloth_edge_length == 0


def normals(mould):
    a, b, c = (mould.vertices[mould.triangles[:, k]] for k in range(3))
    return np.cross(b - a, c - a)


def test_arrays_are_those_of_the_bare_call(dome):
    """One call of the library with the mould's arrays, put together here, at a step of 1, where nothing is scaled."""
    dome = drape.Mould(dome.vertices / 8, dome.triangles)
    ply = dome.drape(angle=20, step=1)
    triangles = dome.triangles + np.int32(1)
    fans = [[] for _ in dome.vertices]
    for t, corners in enumerate(dome.triangles):
        for v in corners:
            fans[v].append(t + 1)
    starts = np.cumsum([0] + [len(fan) for fan in fans[:-1]]).astype(np.int32)
    fan = np.array([t for fan in fans for t in fan], dtype=np.int32)
    edge = np.zeros(len(fans), dtype=np.int32)
    edge[dome.loops[0]] = 1
    room = 2 * len(ply.positions)
    ints = [np.zeros(room, np.int32) for _ in range(8)]
    doubles = [np.zeros((room, k)) for k in (3, 2, 3)]
    count, status = np.zeros(1, np.int32), np.zeros(1, np.int32)
    choice = ply.choice
    result = drape.lib.gzprp2(
        *(np.array(v) for v in (choice.seed, choice.warp, choice.weft)), *choice.step, *ints, *doubles, room, None,
        len(triangles), len(fans), len(fan), starts, fan, triangles, dome.vertices, edge, count, choice.tolerance, 1,
        status,
    )  # fmt: skip
    n = count[0]
    assert (result, status[0], n) == (0, 0, len(ply.positions))
    for bare, held in zip(ints, (ply.links[2], *ply.links[:2], ply.links[3], ply.columns, ply.rows, ply.node_status,
                                 ply.node_triangle)):  # fmt: skip
        assert (bare[:n] == held).all()
    for bare, held in zip(doubles, (ply.positions, ply.flat, ply.normals)):
        assert bare[:n].tobytes() == held.tobytes()


def test_other_packages_take_the_cloth(dome, tmp_path):
    meshio = pytest.importorskip("meshio")
    ply = dome.drape(step=12)
    ply.to_meshio().write(tmp_path / "cloth.vtu")
    cloth = meshio.read(tmp_path / "cloth.vtu")
    assert cloth.points.tobytes() == ply.positions.tobytes()
    assert (cloth.cells[0].data == ply.cells[ply.on_surface]).all()
    assert (cloth.cell_data["shear"][0] == ply.shear[ply.on_surface]).all()
    points, faces, data = ply.to_vtk()
    assert (faces.reshape(-1, 5)[:, 1:] == ply.cells[ply.on_surface]).all() and (faces[::5] == 4).all()
    assert len(data["shear"]) == len(faces) // 5 and points is not None

    meshio.Mesh(dome.vertices, [("triangle", dome.triangles)]).write(tmp_path / "dome.vtk")
    again = drape.Mould.from_meshio(meshio.read(tmp_path / "dome.vtk"))
    assert again.drape(step=12).positions.tobytes() == ply.positions.tobytes()
    quads = meshio.Mesh([[0, 0], [1, 0], [1, 1], [0, 1]], [("quad", [[0, 1, 2, 3]]), ("line", [[0, 1]])])
    assert drape.Mould.from_meshio(quads).area == 1.0


def test_pictures_show_every_cell(dome, tmp_path):
    pytest.importorskip("matplotlib")
    ply = dome.drape(step=20)
    figure = ply.plot(tmp_path / "ply.png")
    assert (tmp_path / "ply.png").read_bytes().startswith(b"\x89PNG")
    space = figure.axes[0]
    for limits, along in zip((space.get_xlim(), space.get_ylim(), space.get_zlim()), dome.vertices.T):
        assert limits[0] <= along.min() and limits[1] >= along.max()
    pattern = figure.axes[1].collections[0]
    assert len(pattern.get_paths()) == ply.on_surface.sum()
    assert len({tuple(colour) for colour in pattern.get_facecolor()}) > 10
