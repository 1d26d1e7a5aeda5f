#!/usr/bin/python3
"""Check the layering: a component may use only itself and the components listed before it.

Arguments: files to check, relative to the repository root.
"""

import re
import sys
from collections.abc import Iterator
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]

# Bottom-up. Components on the same line must not use each other.
CPP_ROOMS = (
    {"core"},
    {"io"},
    {"platform", "device", "provision", "guard"},
    {"usb"},
    {"app"},
)
PROGRAMS = "simulator/programs"
PROGRAMS_USE = {"core", "io", "device"}  # components that the simulator's programs may use
EVERYTHING = {"tests", "simulator"}  # additional directories that tests may use
PYTHON_ROOMS = (
    {"host"},
    {"image", "panel"},
    {"machine"},
    {"virtualboard", "privateroot"},
)
INCLUDE = re.compile(r'^\s*#include "([^"]+)"', re.MULTILINE)
IMPORT = re.compile(r"^\s*(?:from|import) (\w+)", re.MULTILINE)


def allowed(room: str, rooms: tuple[set[str], ...]) -> set[str]:
    """Return the components that a component may use, including itself."""
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
            yield f'{name}: "{used}" is not a path relative to the repository root'
        elif used.split("/")[0] not in usable:
            yield f"{name}: must not use {used}"


def python_faults(name: str) -> Iterator[str]:
    room = Path(name).parent.name
    known = set().union(*PYTHON_ROOMS)
    if name.startswith("simulator/") and room in known:
        usable = allowed(room, PYTHON_ROOMS)
        for used in IMPORT.findall((ROOT / name).read_text(encoding="utf-8")):
            if used in known - usable:
                yield f"{name}: must not use {used}"


def main() -> int:
    faults: list[str] = []
    for name in sys.argv[1:]:
        faults += python_faults(name) if name.endswith(".py") else cpp_faults(name)
    print("\n".join(faults), end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
