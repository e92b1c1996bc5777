"""Sweeps on real clusters: a Dask scheduler with workers over TCP, one of which dies, and MPI."""

import os
import pathlib
import subprocess
import sys
import time

import numpy as np
import pytest

import drape
from conftest import SAMPLES

pytestmark = pytest.mark.slow
SEEDS, ANGLES = 12, [0, 15, 30, 45]
STEP = 4


@pytest.fixture(scope="module")
def plain(dome):
    return drape.sweep(dome, SEEDS, ANGLES, step=STEP).table


def bits(table):
    return [np.ascontiguousarray(table[name]).tobytes() for name in table.dtype.names]


def start(*words):
    environment = {**os.environ, "OMP_NUM_THREADS": "1"}
    return subprocess.Popen(
        [sys.executable, "-m", *words], env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL
    )


@pytest.fixture
def cluster(tmp_path):
    """A scheduler and two workers, processes of their own that talk over TCP on this machine alone."""
    pytest.importorskip("distributed")
    place = tmp_path / "scheduler.json"
    quiet = ["--host", "127.0.0.1", "--scheduler-file", str(place)]
    running = [start("distributed.cli.dask_scheduler", *quiet, "--port", "0", "--no-dashboard")]
    try:
        for _ in range(600):
            if place.exists():
                break
            time.sleep(0.1)
        for name in ("one", "two"):
            options = ["--scheduler-file", str(place), "--host", "127.0.0.1", "--name", name, "--no-dashboard"]
            options += ["--nthreads", "1", "--no-nanny", "--local-directory", str(tmp_path)]
            running.append(start("distributed.cli.dask_worker", *options))
        yield place, running[1:]
    finally:
        for process in reversed(running):
            process.kill()
            process.wait()


@pytest.mark.filterwarnings("ignore")
def test_dask_gives_the_same_table_though_a_worker_dies(cluster, dome, plain):
    from distributed import Client

    place, workers = cluster
    with Client(scheduler_file=str(place), timeout=60) as client:
        client.wait_for_workers(2, timeout=60)
        assert bits(drape.sweep(dome, SEEDS, ANGLES, client.get_executor(), step=STEP).table) == bits(plain)

        def kill_one(done, _):
            if done >= 5 and workers[0].poll() is None:
                workers[0].kill()

        table = drape.sweep(dome, SEEDS, ANGLES, client.get_executor(), step=STEP, progress=kill_one).table
        assert workers[0].wait(10) and workers[1].poll() is None
        assert bits(table) == bits(plain)
        assert len(client.scheduler_info()["workers"]) == 1


def test_mpi_gives_the_same_table(tmp_path, dome, plain):
    pytest.importorskip("mpi4py")
    script = tmp_path / "sweep.py"
    script.write_text(
        f"""
import drape
import numpy as np
from mpi4py.futures import MPIPoolExecutor

if __name__ == "__main__":
    mould = drape.Mould.read({str(SAMPLES / "double_dome.obj")!r})
    with MPIPoolExecutor() as executor:
        np.save({str(tmp_path / "table.npy")!r}, drape.sweep(mould, {SEEDS}, {ANGLES}, executor, step={STEP}).table)
"""
    )
    command = ["mpiexec", "-n", "3", "--allow-run-as-root", "--oversubscribe", "--mca", "btl", "self,vader,tcp"]
    command += ["--mca", "btl_tcp_if_include", "lo", "--mca", "oob_tcp_if_include", "lo"]
    command += [sys.executable, "-m", "mpi4py.futures", str(script)]
    ended = subprocess.run(command, capture_output=True, text=True, timeout=300)
    assert ended.returncode == 0, ended.stderr
    assert bits(np.load(tmp_path / "table.npy")) == bits(plain)


def test_the_package_installs_without_a_network_and_makes_a_wheel(tmp_path):
    """In a fresh environment that sees the machine's packages, as a user would."""
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", str(tmp_path / "env")], check=True)
    python = tmp_path / "env" / "bin" / "python"
    environment = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
    environment |= {"PIP_NO_INDEX": "1", "PIP_DISABLE_PIP_VERSION_CHECK": "1"}
    environment["CMAKE_ARGS"] = "-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0"  # half the time, the same bits
    source = tmp_path / "source"
    tree = os.environ["DRAPE_SOURCE"]
    listed = subprocess.run(["git", "-C", tree, "ls-files", "-z"], capture_output=True, text=True)
    if listed.returncode:
        pytest.skip("the sources aren't a git tree")
    for name in filter(None, listed.stdout.split("\0")):
        (source / name).parent.mkdir(parents=True, exist_ok=True)
        (source / name).write_bytes((pathlib.Path(tree) / name).read_bytes())
    wheels = [python, "-m", "pip", "wheel", "--no-deps", ".", "--wheel-dir", str(tmp_path / "wheels")]
    made = subprocess.run(wheels, cwd=source, env=environment, capture_output=True, text=True)
    assert made.returncode == 0, made.stdout + made.stderr
    (wheel,) = (tmp_path / "wheels").glob("drape-*.whl")
    subprocess.run([python, "-m", "pip", "install", str(wheel)], env=environment, check=True, capture_output=True)
    say = f"""
import sys, drape
seen = {{name.split(".")[0] for name in sys.modules}}
assert not seen & {{"matplotlib", "scipy", "meshio", "distributed", "mpi4py"}}, seen
ply = drape.Mould.read({str(SAMPLES / "double_dome.obj")!r}).drape(angle=30)
print(drape.__file__, drape.__version__, ply.largest_shear.hex(), ply.positions.sum().hex())
"""
    told = subprocess.run([python, "-c", say], cwd=tmp_path, env=environment, capture_output=True, text=True)
    assert told.returncode == 0, told.stderr
    file, version, *figures = told.stdout.split()
    assert file.startswith(str(tmp_path)) and version == drape.__version__
    ply = drape.Mould.read(SAMPLES / "double_dome.obj").drape(angle=30)
    assert figures == [ply.largest_shear.hex(), ply.positions.sum().hex()]
