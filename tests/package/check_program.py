"""Installs a build that has the program to a scratch prefix, moves it there, and starts it from its new place."""
import argparse
import pathlib
import shutil
import subprocess
import sys


def main():
    parser = argparse.ArgumentParser()
    for option in ("build", "scratch", "cmake", "version"):
        parser.add_argument("--" + option, required=True)
    options = parser.parse_args()
    scratch = pathlib.Path(options.scratch)
    shutil.rmtree(scratch, ignore_errors=True)
    first, prefix = scratch / "first", scratch / "moved"
    subprocess.run([options.cmake, "--install", options.build, "--prefix", first], check=True, stdout=subprocess.DEVNULL)
    first.rename(prefix)
    program, page = prefix / "bin/drape", prefix / "share/man/man1/drape.1"
    if not page.exists():
        sys.exit("the man page isn't installed")
    said = subprocess.run([program, "--version"], check=True, capture_output=True, text=True).stdout
    if options.version not in said:
        sys.exit(f"drape --version says {said}")
    print(said.strip())


if __name__ == "__main__":
    main()
