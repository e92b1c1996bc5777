"""Takes the digest of the library with each compiler and in each way of building it, and compares it with the
committed one.

All must be the same to the last bit. Warnings are errors in these builds.
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys

GCC, CLANG = ("gcc", "g++"), ("clang", "clang++")
BUILDS = {
    "g++ Debug": (GCC, "Debug", ""),
    "g++ Release": (GCC, "Release", ""),
    "g++ Release with link-time optimisation": (GCC, "Release", "-flto=auto"),
    "g++ Release for 32 bits": (GCC, "Release", "-m32"),
    "g++ Release without vector types": (GCC, "Release", "-DDRAPE_PLAIN_LANES"),
    "clang++ Debug": (CLANG, "Debug", ""),
    "clang++ Release": (CLANG, "Release", ""),
}


def main():
    parser = argparse.ArgumentParser()
    for option in ("source", "scratch", "cmake", "generator"):
        parser.add_argument("--" + option, required=True)
    options = parser.parse_args()

    different = []
    for name, ((c, cxx), kind, flags) in BUILDS.items():
        if not shutil.which(cxx):
            sys.exit(f"{cxx} is missing")
        build = pathlib.Path(options.scratch) / name.replace(" ", "-")
        for command in ([options.cmake, "-S", options.source, "-B", build, "-G", options.generator,
                         f"-DCMAKE_C_COMPILER={c}", f"-DCMAKE_CXX_COMPILER={cxx}", f"-DCMAKE_BUILD_TYPE={kind}",
                         f"-DCMAKE_C_FLAGS={flags}", f"-DCMAKE_CXX_FLAGS={flags}",
                         "-DCMAKE_COMPILE_WARNING_AS_ERROR=ON"],
                        [options.cmake, "--build", build, "-j", str(os.cpu_count())]):
            done = subprocess.run(command, capture_output=True, text=True)
            if done.returncode != 0:
                sys.exit(f"{name}:\n{done.stdout}{done.stderr}")
        checked = subprocess.run([build / "digest", "--check", pathlib.Path(options.source) / "results.txt"],
                                 capture_output=True, text=True)
        print(f"== {name}\n{checked.stdout}{checked.stderr}")
        if checked.returncode != 0:
            different.append(name)
    return f"Different: {', '.join(different)}" if different else 0


if __name__ == "__main__":
    sys.exit(main())
