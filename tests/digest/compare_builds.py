"""Builds the library with each compiler in Debug and Release and compares the digests of their results.

All must be the same to the last bit. Warnings are errors in these builds.
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys

COMPILERS = (("gcc", "g++"), ("clang", "clang++"))


def main():
    parser = argparse.ArgumentParser()
    for option in ("source", "scratch", "cmake", "generator"):
        parser.add_argument("--" + option, required=True)
    options = parser.parse_args()

    digests = {}
    for c, cxx in COMPILERS:
        if not shutil.which(cxx):
            sys.exit(f"{cxx} is missing")
        for kind in ("Debug", "Release"):
            build = pathlib.Path(options.scratch) / f"{cxx}-{kind}"
            for command in ([options.cmake, "-S", options.source, "-B", build, "-G", options.generator,
                             f"-DCMAKE_C_COMPILER={c}", f"-DCMAKE_CXX_COMPILER={cxx}", f"-DCMAKE_BUILD_TYPE={kind}",
                             "-DCMAKE_COMPILE_WARNING_AS_ERROR=ON"],
                            [options.cmake, "--build", build, "-j", str(os.cpu_count())]):
                done = subprocess.run(command, capture_output=True, text=True)
                if done.returncode != 0:
                    sys.exit(f"{cxx} {kind}:\n{done.stdout}{done.stderr}")
            digests[f"{cxx} {kind}"] = subprocess.run([build / "digest"], check=True, capture_output=True, text=True).stdout

    reference_name, reference = next(iter(digests.items()))
    print(f"{reference_name}:\n{reference}")
    different = [name for name, digest in digests.items() if digest != reference]
    for name in different:
        print(f"{name} differs:\n{digests[name]}")
    return 1 if different or not reference.strip() else 0


if __name__ == "__main__":
    sys.exit(main())
