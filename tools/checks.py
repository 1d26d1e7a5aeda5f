#!/usr/bin/python3
"""Run all checking tools on all tracked files, or on the changed ones."""

import os
import re
import subprocess
import sys
import time
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
BUILD = "build/native"
SHEBANG = re.compile(rb"#!\S*?(?:/env )?(\w+)\s")

# Layering: each component and the components that it may use in addition to itself. Other
# directories, such as tests, may use everything.
LAYERS = {
    "core": "",
    "io": "core",
    "platform": "core io",
    "device": "core io",
    "usb": "core io platform device",
    "app": "core io platform device usb",
    "app/doctor": "core io",
    "app/guard": "core io",
    "app/provision": "core io",
    "simulator/programs": "core io device",
    "simulator/host": "",
    "simulator/image": "simulator/host",
    "simulator/panel": "simulator/host",
    "simulator/machine": "simulator/host simulator/image simulator/panel",
    "simulator/privateroot": "simulator/host simulator/image simulator/panel simulator/machine",
    "simulator/virtualboard": "simulator/host simulator/image simulator/panel simulator/machine",
}
INCLUDE = re.compile(r'^\s*#include "([^"]+)"', re.MULTILINE)
IMPORT = re.compile(r"^\s*(?:from|import) (\w+)", re.MULTILINE)


class CheckFailed(Exception):
    """A tool has findings or could not run. The message has its output."""


def output(*command: str) -> str:
    """Run a command. @return its standard output @raise CheckFailed on a non-zero exit status"""
    done = subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=False)
    if done.returncode:
        raise CheckFailed((done.stdout + done.stderr).strip() or f"{command[0]}: {done.returncode}")
    return done.stdout


def files(changed: bool) -> list[str]:
    """Return the files to check, relative to the repository root."""
    tracked = ("git", "diff", "--name-only", "HEAD") if changed else ("git", "ls-files")
    names = output(*tracked) + output("git", "ls-files", "--others", "--exclude-standard")
    return sorted(name for name in set(names.splitlines()) if (ROOT / name).is_file())


def interpreter(name: str) -> str:
    """Return the interpreter's name in the first line of a script; empty for other files."""
    with open(ROOT / name, "rb") as file:
        found = SHEBANG.match(file.read(64))
    return found[1].decode() if found else ""


def with_ending(*endings: str) -> Callable[[str], bool]:
    return lambda name: name.endswith(endings)


def is_python(name: str) -> bool:
    return name.endswith(".py") or interpreter(name) == "python3"


def is_shell(name: str) -> bool:
    return interpreter(name) in ("sh", "bash")


def on_all_files(*command: str) -> Callable[[list[str]], None]:
    """Return a function that runs a tool on all files at once."""
    def run(names: list[str]) -> None:
        output(*command, *names)
    return run


def component_of(path: str) -> str:
    """Return the component that a file belongs to; empty if it is not in LAYERS."""
    return max((name for name in LAYERS if path.startswith(name + "/")), key=len, default="")


def layers(names: list[str]) -> None:
    """Check that each file uses only components that LAYERS permits."""
    found = []
    for name in names:
        own, text = component_of(name), (ROOT / name).read_text(encoding="utf-8")
        used = [path for path in INCLUDE.findall(text) if not path.endswith(".moc")]
        if name.endswith(".py"):
            used = [f"simulator/{package}/" for package in IMPORT.findall(text)]
        for path in used:
            if path.endswith(".h") and not (ROOT / path).is_file():
                found.append(f'{name}: "{path}" is not a path relative to the repository root')
            component = component_of(path)
            if own and component not in (own, *LAYERS[own].split()) and (
                    component or path.endswith(".h")):
                found.append(f"{name}: must not use {path}")
    if found:
        raise CheckFailed("\n".join(found))


def translations(_: list[str]) -> None:
    """Check that the translation files contain every source string."""
    output("tools/update-translations", "--check")


def build(_: list[str]) -> None:
    """Build everything, with warnings as errors."""
    output("cmake", "--preset", "dev", "-DCMAKE_COMPILE_WARNING_AS_ERROR=ON")
    output("cmake", "--build", "--preset", "dev")


def clang_tidy(name: str) -> str:
    """Return the findings of clang-tidy for one source file and the headers that it includes."""
    done = subprocess.run(["clang-tidy", "-p", BUILD, "--quiet", "--warnings-as-errors=*", name],
                          cwd=ROOT, capture_output=True, text=True, check=False)
    return (done.stdout or done.stderr) if done.returncode else ""


def run_clang_tidy(names: list[str]) -> None:
    """Run clang-tidy, which needs the compilation database and moc's output of build()."""
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        found = "".join(pool.map(clang_tidy, names))
    if found:
        # Findings in a header are reported once per source file.
        lines = re.split(r"(?m)^(?=\S+:\d+:\d+: )", found)
        raise CheckFailed("".join(sorted(set(lines))).replace(f"{ROOT}/", ""))


TOOLS: tuple[tuple[str, Callable[[str], bool], Callable[[list[str]], None]], ...] = (
    ("clang-format", with_ending(".cpp", ".h", ".c"),
     on_all_files("clang-format", "--dry-run", "--Werror")),
    ("flake8", is_python, on_all_files("flake8")),
    ("mypy", is_python, on_all_files("mypy", "--no-error-summary", "--scripts-are-modules")),
    ("shellcheck", is_shell, on_all_files("shellcheck", "-x")),
    ("layers", with_ending(".cpp", ".h", ".py"), layers),
    ("translations", with_ending(".ts"), translations),
    ("build", with_ending(".cpp", ".h", ".c"), build),
    ("clang-tidy", with_ending(".cpp", ".c"), run_clang_tidy),
)


def main() -> int:
    names = files("--changed" in sys.argv[1:])
    status = 0
    for tool, wanted, run in TOOLS:
        started = time.monotonic()
        chosen = [name for name in names if wanted(name)]
        try:
            if chosen:
                run(chosen)
            seconds = time.monotonic() - started
            print(f"{tool}: {len(chosen)} files, no findings ({seconds:.0f} s)", flush=True)
        except CheckFailed as failed:
            print(f"{tool}: FAILED\n{failed}", flush=True)
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
