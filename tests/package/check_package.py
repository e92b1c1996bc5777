"""Installs the library to a scratch prefix, moves it, and builds and runs the examples against what is there.

By find_package and by pkg-config, as C, C++ and Fortran programs, and from Python: what a host's build meets.
Optimisation isn't what is at stake here, and doubles the time to build.
"""
import argparse
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

EXPECTED = {
    "flat_square": "status 0: ",
    "flat_square_fortran": "status 0: ",
    "host_dome": "status 0: ",
    "pyramid": "status 0: ",
    "python": "status 0: ",
}


def run(*command, **options):
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\nended with {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def main():
    parser = argparse.ArgumentParser()
    for option in ("source", "scratch", "cmake", "generator", "c", "cxx", "kind"):
        parser.add_argument("--" + option, required=True)
    options = parser.parse_args()
    source, scratch = pathlib.Path(options.source), pathlib.Path(options.scratch)
    shutil.rmtree(scratch, ignore_errors=True)
    compilers = ["-G", options.generator, f"-DCMAKE_C_COMPILER={options.c}", f"-DCMAKE_CXX_COMPILER={options.cxx}"]

    # The library with everything optional off, or with the host core.
    build, first, prefix = scratch / "build", scratch / "installed-here", scratch / "prefix"
    shared = "ON" if options.kind == "shared" else "OFF"
    run(options.cmake, "-S", source, "-B", build, *compilers, "-DCMAKE_BUILD_TYPE=Debug",
        f"-DBUILD_SHARED_LIBS={shared}", f"-DCMAKE_INSTALL_PREFIX={first}", "-DCMAKE_INSTALL_LIBDIR=lib",
        f"-DDRAPE_BUILD_HOST={shared}")
    run(options.cmake, "--build", build, "-j", os.cpu_count())
    run(options.cmake, "--install", build)
    first.rename(prefix)

    for file in ("include/drape.h", "include/drape.f90", "lib/pkgconfig/drape.pc", "lib/cmake/drape/drapeConfig.cmake",
                 "lib/libdrape.so" if options.kind == "shared" else "lib/libdrape.a"):
        if not (prefix / file).exists():
            sys.exit(f"{file} isn't installed")

    said = {}

    # By find_package.
    examples = scratch / "by-find-package"
    run(options.cmake, "-S", source / "examples", "-B", examples, *compilers, f"-DCMAKE_PREFIX_PATH={prefix}")
    run(options.cmake, "--build", examples)
    hosts = ("host_dome",) if options.kind == "shared" else ()
    for name in ("flat_square", "pyramid", "flat_square_fortran", *hosts):
        said[name, "find_package"] = run(examples / name)

    # Each header of the host core stands by itself: its own source includes it before all else, or it compiles alone.
    if hosts:
        headers = sorted((prefix / "include/drape/host").rglob("*.h"))
        for header in headers:
            below = header.relative_to(prefix / "include/drape").with_suffix("")
            own = (source / below).with_suffix(".cpp")
            if own.exists() and re.search(r"#include \S+", own.read_text()).group() == f'#include "{below}.h"':
                continue
            run(options.cxx, "-std=c++20", "-fsyntax-only", "-I", prefix / "include", "-I", prefix / "include/drape", header)
        print(f"{len(headers)} headers of the host core stand by themselves")

    # By pkg-config, each with the compiler of its language.
    environment = dict(os.environ, PKG_CONFIG_PATH=str(prefix / "lib/pkgconfig"), LD_LIBRARY_PATH=str(prefix / "lib"))
    static = ["--static"] if options.kind == "static" else []
    flags = shlex.split(run("pkg-config", *static, "--cflags", "--libs", "drape", env=environment))
    by_hand = scratch / "by-pkg-config"
    by_hand.mkdir()
    for name, compiler, sources in (
            ("flat_square", options.c, [source / "examples/flat_square.c"]),
            ("pyramid", options.cxx, [source / "examples/pyramid.cpp"]),
            ("flat_square_fortran", "gfortran", [prefix / "include/drape.f90", source / "examples/flat_square.f90"])):
        run(compiler, *sources, *flags, "-o", by_hand / name, cwd=by_hand)
        said[name, "pkg-config"] = run(by_hand / name, env=environment)

    # As a subdirectory: the host's own choice of linkage, and nothing of Drape's in the host's installation.
    embedding, host = scratch / "embedding", scratch / "host"
    embedding.mkdir()
    (embedding / "CMakeLists.txt").write_text(f"""cmake_minimum_required(VERSION 3.24)
project(host LANGUAGES C CXX)
set(BUILD_SHARED_LIBS {shared})
add_subdirectory("{source}" drape)
add_executable(host "{source}/examples/flat_square.c")
target_link_libraries(host PRIVATE drape::drape)
install(TARGETS host)
""")
    run(options.cmake, "-S", embedding, "-B", host, *compilers, "-DCMAKE_BUILD_TYPE=Debug",
        f"-DCMAKE_INSTALL_PREFIX={scratch / 'host-installed'}")
    run(options.cmake, "--build", host, "-j", os.cpu_count())
    run(options.cmake, "--install", host)
    said["flat_square", "add_subdirectory"] = run(host / "host")
    installed = [str(p.relative_to(scratch / "host-installed"))
                 for p in (scratch / "host-installed").rglob("*") if p.is_file()]
    if installed != ["bin/host"]:
        sys.exit(f"a host that embeds the library installs {installed}")

    if options.kind == "shared":
        library = prefix / "lib/libdrape.so"
        said["python", "ctypes"] = run(sys.executable, source / "examples/flat_square.py",
                                       env=dict(os.environ, DRAPE_LIBRARY=str(library)))

    for (name, road), text in said.items():
        print(f"{name} by {road}: {text.strip()}")
        if not text.startswith(EXPECTED[name]):
            sys.exit("that isn't a good run")
    squares = {text for (name, _), text in said.items() if name not in ("pyramid", "host_dome")}
    if len(squares) != 1:
        sys.exit("the same square came out differently")


if __name__ == "__main__":
    main()
