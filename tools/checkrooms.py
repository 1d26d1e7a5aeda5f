#!/usr/bin/python3
"""Says which files reach upward: a room may use itself and what stands before it in its list.

Arguments: the files to look at, as paths from the repository's top.
"""

import re
import sys
from collections.abc import Iterator
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]

# From the ground up. Rooms on one line know nothing of each other.
CPP_ROOMS = (
    {"core"},
    {"io"},
    {"platform", "device", "provision", "guard"},
    {"usb"},
    {"app"},
)
PROGRAMS = "simulator/programs"
PROGRAMS_USE = {"core", "io", "device"}  # small libraries of the program
EVERYTHING = {"tests", "simulator"}  # what tests may use, besides all rooms
PYTHON_ROOMS = (
    {"host"},
    {"image", "panel"},
    {"machine"},
    {"virtualboard", "privateroot"},
)
INCLUDE = re.compile(r'^\s*#include "([^"]+)"', re.MULTILINE)
IMPORT = re.compile(r"^\s*(?:from|import) (\w+)", re.MULTILINE)


def allowed(room: str, rooms: tuple[set[str], ...]) -> set[str]:
    """The rooms that a room may use, itself included."""
    usable: set[str] = set()
    for floor in rooms:
        if room in floor:
            return usable | {room}
        usable |= floor
    raise KeyError(room)


def cpp_faults(name: str) -> Iterator[str]:
    room = name.split("/")[0]
    if room in ("tests", "benchmark"):
        usable = set().union(*CPP_ROOMS) | EVERYTHING
    elif name.startswith(PROGRAMS):
        usable = PROGRAMS_USE | {"simulator"}
    else:
        usable = allowed(room, CPP_ROOMS)
    for used in INCLUDE.findall((ROOT / name).read_text(encoding="utf-8")):
        if used.endswith(".moc"):
            continue
        if not (ROOT / used).is_file():
            yield f'{name}: "{used}" is no path from the repository\'s top'
        elif used.split("/")[0] not in usable:
            yield f"{name}: uses {used}"


def python_faults(name: str) -> Iterator[str]:
    room = Path(name).parent.name
    known = set().union(*PYTHON_ROOMS)
    if name.startswith("simulator/") and room in known:
        usable = allowed(room, PYTHON_ROOMS)
        for used in IMPORT.findall((ROOT / name).read_text(encoding="utf-8")):
            if used in known - usable:
                yield f"{name}: uses {used}"


def main() -> int:
    faults: list[str] = []
    for name in sys.argv[1:]:
        faults += python_faults(name) if name.endswith(".py") else cpp_faults(name)
    print("\n".join(faults), end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
