"""Holds the arrows between the rooms of the house: which folder may include which.

    check_rooms.py <top of the repository>

An include that runs against them, an include that names no file, a room that isn't listed, and a header of the host
core that is installed without one that it includes are errors.
"""
import pathlib
import re
import sys

# Each room with the rooms, or single files, that it may include beside its own files.
LIBRARY = ("include",)
HOST = ("include", "host/mesh", "host/cloth", "host/search", "host/laminate")
ROOMS = {
    "include": (),
    "services": LIBRARY,
    "surface": (*LIBRARY, "services", "run/model.h"),
    "placement": (*LIBRARY, "services", "surface", "run/model.h"),
    "rows": (*LIBRARY, "services", "surface", "placement", "run/model.h"),
    "fronts": (*LIBRARY, "services", "surface", "placement", "rows", "run/model.h"),
    "run": (*LIBRARY, "services", "surface", "placement", "rows", "fronts"),
    "transfer": (*LIBRARY, "services", "run/model.h", "surface/margins.h"),
    "ordering": (*LIBRARY, "services", "run/model.h"),
    "host/mesh": ("include",),
    "host/cloth": ("include", "host/mesh"),
    "host/search": ("include", "host/mesh", "host/cloth"),
    "host/laminate": ("include", "host/mesh", "host/cloth", "host/search"),
    "tool/read": HOST,
    "tool/draw": HOST,
    "tool/write": (*HOST, "tool/draw"),
    "tool": (*HOST, "tool/read", "tool/draw", "tool/write"),
    "python": (*HOST, "tool/read", "tool/draw", "tool/write", "tool"),
    "web": (*HOST, "tool/read", "tool/draw", "tool/write", "tool"),
    "examples": HOST,
}
# Beside their own files these may include any room: they are what the house is looked at with.
OUTSIDE = {"tests", "bench", "fuzz"}
MADE = {"operations.inc"}  # by the build

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)


def room_of(path):
    """The longest room that holds a file, None outside of all."""
    folders = [str(folder) for folder in pathlib.PurePosixPath(path).parents]
    return next((folder for folder in folders if folder in ROOMS), None)


def allowed(room, path):
    return room_of(path) == room or any(path == entry or room_of(path) == entry for entry in ROOMS[room])


def not_installed(top):
    """What headers that hosts get include, without hosts getting it."""
    listed = re.search(r"set\(DRAPE_HOST_HEADERS([^)]*)\)", (top / "host/CMakeLists.txt").read_text()).group(1).split()
    return [
        f"host/{header} is installed and includes {included}, which isn't"
        for header in listed
        for included in INCLUDE.findall((top / "host" / header).read_text())
        if included.startswith("host/") and included.removeprefix("host/") not in listed
    ]


def main():
    top = pathlib.Path(sys.argv[1])
    wrong = []
    for file in sorted([*top.glob("*/**/*.h"), *top.glob("*/**/*.cpp")]):
        name = file.relative_to(top).as_posix()
        first = name.split("/")[0]
        if first in OUTSIDE or first.startswith(".") or first in ("build", "out"):
            continue
        room = room_of(name)
        if room is None:
            wrong.append(f"{name} stands in no room")
            continue
        for included in set(INCLUDE.findall(file.read_text())) - MADE:
            path = included if (top / included).is_file() else f"include/{included}"
            if not (top / path).is_file():
                wrong.append(f"{name} includes {included}, written otherwise than from the top of the house")
            elif not allowed(room, path):
                wrong.append(f"{name} includes {path}: {room} may not use {room_of(path)}")
    # The model is a leaf: whatever it includes, every room would include with it.
    for included in INCLUDE.findall((top / "run/model.h").read_text()):
        if room_of(included) not in (None, "include", "services", "run"):
            wrong.append(f"run/model.h includes {included}, so it's no leaf")
    wrong += not_installed(top)
    for line in wrong:
        print(line)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
