"""Compares two builds of the program: every output of many runs, byte for byte.

    tests/tool/compare_outputs.py OLD/drape NEW/drape [MESH...]

For developers, when a change is meant to leave the program's behaviour as it was. It drapes all samples, and the
meshes named after the two programs, in many ways, writes all kinds of output, and compares files, standard output,
standard error and exit codes. Only the times in reports are blotted out.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
KINDS = ("vtp", "fibres.vtp", "fibres.csv", "glb", "gltf", "pattern.svg", "pattern.png", "pattern.pdf", "dxf", "svg",
         "png", "json")
TIMES = re.compile(rb'"(run|wall)": [0-9.e+-]+|took [0-9.e+-]+ s, everything [0-9.e+-]+ s|/CreationDate \([^)]*\)')

# Options of one run each; CURVE stands for a curve that fits no mesh in particular.
ON_ALL = ("", "--step 7.3 --angle 30 --pivot shear -v", "--within max -v --angle 45", "--clip 0,0,1,0.2,0.1,1 --fill-holes",
          "--sweep-seeds 3 --sweep-angles 0,45 -j 2", "--curve CURVE")
ON_DOME = ("--warp 1,1,0 --step 6,9 -q", "--seed-vertex 40 --within 50", "--seed 20,10,300", "--seed-vertex 999999",
           "--max-nodes 300", "--sweep --part 2/5", "--sweep-seeds 3x2 --within max --sweep-angles 0:90:45 -v",
           "--sweep-seeds 2 --part 40/40", "--sweep-seeds 0,0,0;20,10,5 --sweep-angles 15", "--sweep-seeds none",
           "--step 0.001", "--step 1e-5 --within max", "--warp 0,0,1", "--no-weld --units-mm 1000 --locking 10", "--step 4,16",
           "--clip 0,0,1e6,0,0,1", "--curve /nowhere", "--help")
BALL = """v 0 0 90\nv 90 0 0\nv 0 90 0\nv -90 0 0\nv 0 -90 0\nv 0 0 -90
f 1 2 3\nf 1 3 4\nf 1 4 5\nf 1 5 2\nf 6 3 2\nf 6 4 3\nf 6 5 4\nf 6 2 5\n"""
# Doubled, flat and turned triangles, a quad, a face of two corners, two pieces that touch, vertices on each other.
MESSY = """v 0 0 0\nv 50 0 0\nv 100 0 0\nv 0 50 5\nv 50 50 9\nv 100 50 5\nv 0 100 0\nv 50 100 4\nv 100 100 0\nv 50 50 9
v 100 100 0\nv 150 100 0\nv 150 150 9\nv 25 0 0\nf 1 2 5 4\nf 2 3 6 5\nf 4 5 7\nf 7 8 5\nf 10 6 8\nf 6 9 8\nf 9 8 6\nf 1 14 2\nf 4 5
f 11 12 13\nf 5 5 6\n"""


def outcome(program, mesh, options, folder):
    folder.mkdir()
    words = [word.replace("CURVE", str(folder / "curve.txt")) for word in options.split()]
    (folder / "curve.txt").write_text("20 0 5\n0 20 5\n-20 0 5\n0 -20 5\n10 -20 5\n")
    kinds = KINDS + (("curve.csv",) if "CURVE" in options else ()) + (("sweep.csv",) if "--sweep" in options else ())
    outputs = [word for kind in kinds for word in ("-o", f"out.{kind}")] if "-o" not in words else []
    done = subprocess.run([str(program), str(mesh), *words, *outputs], capture_output=True, cwd=folder, timeout=1800)
    result = {"exit": str(done.returncode).encode(), "stdout": done.stdout, "stderr": done.stderr}
    result.update({file.name: file.read_bytes() for file in folder.iterdir()})
    return {name: TIMES.sub(b"", data.replace(str(folder).encode(), b"")) for name, data in result.items()}


def main():
    programs = [pathlib.Path(name).resolve() for name in sys.argv[1:3]]
    different = compared = 0
    with tempfile.TemporaryDirectory() as scratch:
        scratch = pathlib.Path(scratch)
        (scratch / "ball.obj").write_text(BALL)
        (scratch / "messy.obj").write_text(MESSY)
        (scratch / "broken.obj").write_text("v 0 0 0\nf 1 2 3\n")
        meshes = [*sorted((ROOT / "samples").glob("*.obj")), *map(pathlib.Path, sys.argv[3:]), *scratch.glob("*.obj")]
        cases = [(mesh.resolve(), options) for mesh in meshes for options in ON_ALL]
        cases += [(ROOT / "samples" / "double_dome.obj", options) for options in ON_DOME]
        for number, (mesh, options) in enumerate(cases):
            old, new = (outcome(program, mesh, options, scratch / f"{number}-{k}") for k, program in enumerate(programs))
            compared += len(old)
            wrong = sorted(name for name in old.keys() | new.keys() if old.get(name) != new.get(name))
            if wrong:
                different += 1
                print(f"{mesh.name} {options}: {' '.join(wrong)}")
                for name in ("stdout", "stderr"):
                    if name in wrong:
                        print(f"  {name} was {old[name].decode()!r}\n  {name} is  {new[name].decode()!r}")
    print(f"{len(cases)} runs, {compared} outputs compared; {different} runs differ")
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())
