"""Holds the binary interface: what the header declares, what the library exports and what was promised.

The promise is a text file with one line per operation: its name, its result and its arguments, in order. A
new operation adds a line; an existing line never changes within one major version.
"""
import argparse
import pathlib
import re
import subprocess
import sys

ALLOWED_TYPES = {"const int32_t*", "int32_t*", "const double*", "double*", "const void*"}  # void: never read


def declared(header):
    """{name: "result(arguments)"} of every exported prototype."""
    text = re.sub(r"/\*.*?\*/", " ", header, flags=re.S)
    prototypes = {}
    for result, name, arguments in re.findall(r"DRAPE_API\s+(\w+)\s+(\w+)\s*\(([^)]*)\)\s*;", text):
        prototypes[name] = result + "(" + ", ".join(" ".join(a.split()) for a in arguments.split(",")) + ")"
    return prototypes


def constants(header):
    return {name: int(value) for name, value in re.findall(r"^\s*(DRAPE_\w+)\s*=\s*(-?\d+)", header, flags=re.M)}


def exported(library):
    lines = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1].split("@")[0] for line in lines.splitlines()}


def dynamic_section(library):
    return subprocess.run(["readelf", "-d", library], check=True, capture_output=True, text=True).stdout


def main():
    parser = argparse.ArgumentParser()
    for option in ("header", "library", "interface", "fortran", "status-codes"):
        parser.add_argument("--" + option, required=True)
    parser.add_argument("--print", action="store_true", help="print the interface as the header declares it")
    options = parser.parse_args()

    header = pathlib.Path(options.header).read_text()
    prototypes = declared(header)
    lines = [f"{name}: {signature}" for name, signature in sorted(prototypes.items())]
    if options.print:
        print("\n".join(lines))
        return 0

    faults = []

    def compare(what, left, left_name, right, right_name):
        for item in sorted(left - right):
            faults.append(f"{what}: in {left_name}, not in {right_name}: {item}")
        for item in sorted(right - left):
            faults.append(f"{what}: in {right_name}, not in {left_name}: {item}")

    promised = set(pathlib.Path(options.interface).read_text().split("\n")) - {""}
    compare("operation", set(lines), "drape.h", promised, options.interface)
    compare("symbol", set(prototypes), "drape.h", exported(options.library), "the shared library")

    for name, signature in prototypes.items():
        result, arguments = signature[:-1].split("(", 1)
        types = {argument.rsplit(" ", 1)[0] for argument in arguments.split(", ")}
        if result not in ("int32_t", "void") or not types <= ALLOWED_TYPES:
            faults.append(f"{name}: a type other than int32_t, double and void by reference")

    major = re.search(r"#define DRAPE_VERSION_MAJOR (\d+)", header).group(1)
    section = dynamic_section(options.library)
    if f"soname: [libdrape.so.{major}]" not in section:
        faults.append(f"the shared library's name isn't libdrape.so.{major}")
    if "libstdc++" in section or "libc++" in section:
        faults.append("the shared library needs a C++ run-time library: a C host would have to link one")

    enumeration = header[header.index("DRAPE_OK ="):]
    codes = set(constants("    " + enumeration[:enumeration.index("}")]).values())
    table = pathlib.Path(options.status_codes).read_text()
    compare("status code", codes, "drape.h", {int(c) for c in re.findall(r"^\| (\d+) \|", table, flags=re.M)},
            "docs/status-codes.md")

    known = constants(header)
    fortran = pathlib.Path(options.fortran).read_text()
    for name, value in re.findall(r"parameter :: (DRAPE_\w+) = (-?\d+)", fortran):
        if known.get(name) != int(value):
            faults.append(f"drape.f90: {name} isn't {known.get(name)} as in drape.h")

    print("\n".join(faults) or f"{len(lines)} operations as promised")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
