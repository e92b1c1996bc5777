"""Takes the first C example out of the README, compiles it as C99 without a warning, and runs it."""
import argparse
import os
import pathlib
import re
import subprocess
import sys


def main():
    parser = argparse.ArgumentParser()
    for option in ("readme", "include", "library", "compiler", "scratch"):
        parser.add_argument("--" + option, required=True)
    options = parser.parse_args()

    readme = pathlib.Path(options.readme).read_text()
    example = re.search(r"^```c\n(.*?)^```", readme, flags=re.S | re.M)
    if not example:
        sys.exit("the README has no C example")
    # The block of output that follows the example is what it must print.
    expected = re.search(r"^```text\n(.*?)^```", readme[example.end():], flags=re.S | re.M)
    if not expected:
        sys.exit("the README doesn't say what its example prints")

    scratch = pathlib.Path(options.scratch)
    scratch.mkdir(parents=True, exist_ok=True)
    source, program = scratch / "example.c", scratch / "example"
    source.write_text(example.group(1))
    subprocess.run([options.compiler, "-std=c99", "-Wall", "-Wextra", "-pedantic", "-Werror", "-I", options.include, source,
                    options.library, "-o", program], check=True)
    folder = os.path.dirname(options.library)
    printed = subprocess.run([program], check=True, capture_output=True, text=True,
                             env=dict(os.environ, LD_LIBRARY_PATH=folder)).stdout
    if printed != expected.group(1):
        sys.exit(f"the example prints\n{printed}where the README has\n{expected.group(1)}")


if __name__ == "__main__":
    main()
