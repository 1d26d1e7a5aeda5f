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
CPP_LAYERS = (
    {"core"},
    {"io"},
    {"platform", "device", "app/provision", "app/guard"},
    {"usb"},
    {"app"},
)
PROGRAMS = "simulator/programs"
PROGRAMS_USE = {"core", "io", "device"}  # components that the simulator's programs may use
EVERYTHING = {"tests", "simulator"}  # additional directories that tests may use
PYTHON_LAYERS = (
    {"host"},
    {"image", "panel"},
    {"machine"},
    {"virtualboard", "privateroot"},
)
INCLUDE = re.compile(r'^\s*#include "([^"]+)"', re.MULTILINE)
IMPORT = re.compile(r"^\s*(?:from|import) (\w+)", re.MULTILINE)


def allowed(component: str, layers: tuple[set[str], ...]) -> set[str]:
    """Return the components that a component may use, including itself."""
    usable: set[str] = set()
    for layer in layers:
        if component in layer:
            return usable | {component}
        usable |= layer
    raise KeyError(component)


def component_of(name: str) -> str:
    """Return a file's component: a directory of the root, or a program of its own in app/."""
    directories = name.split("/")[:-1]
    return "/".join(directories[:2] if directories[0] == "app" else directories[:1])


def cpp_errors(name: str) -> Iterator[str]:
    component = component_of(name)
    if component == "tests":
        usable = set().union(*CPP_LAYERS) | EVERYTHING
    elif name.startswith(PROGRAMS):
        usable = PROGRAMS_USE | {"simulator"}
    else:
        usable = allowed(component, CPP_LAYERS)
    for used in INCLUDE.findall((ROOT / name).read_text(encoding="utf-8")):
        if used.endswith(".moc"):
            continue
        if not (ROOT / used).is_file():
            yield f'{name}: "{used}" is not a path relative to the repository root'
        elif component_of(used) not in usable:
            yield f"{name}: must not use {used}"


def python_errors(name: str) -> Iterator[str]:
    component = Path(name).parent.name
    known = set().union(*PYTHON_LAYERS)
    if name.startswith("simulator/") and component in known:
        usable = allowed(component, PYTHON_LAYERS)
        for used in IMPORT.findall((ROOT / name).read_text(encoding="utf-8")):
            if used in known - usable:
                yield f"{name}: must not use {used}"


def main() -> int:
    errors: list[str] = []
    for name in sys.argv[1:]:
        errors += python_errors(name) if name.endswith(".py") else cpp_errors(name)
    print("\n".join(errors), end="\n" if errors else "")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
