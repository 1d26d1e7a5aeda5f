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


class CheckFailed(Exception):
    """Raised when a tool has findings or could not run; the message gives the details."""


def output(*command: str) -> str:
    """Run a command. @return its standard output @raise CheckFailed on a non-zero exit status"""
    done = subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=False)
    if done.returncode:
        raise CheckFailed((done.stdout + done.stderr).strip() or f"{command[0]}: {done.returncode}")
    return done.stdout


def files(changed: bool) -> list[str]:
    """Return the files to check, relative to the repository root."""
    names = output("git", "ls-files", "--cached", "--others", "--exclude-standard").split("\n")
    if changed:
        names = (output("git", "diff", "--name-only", "HEAD") + output(
            "git", "ls-files", "--others", "--exclude-standard")).split("\n")
    return sorted({name for name in names if (ROOT / name).is_file() and name})


def interpreter(name: str) -> str:
    """Return the interpreter in the first line of a script; empty for other files."""
    with open(ROOT / name, "rb") as file:
        found = SHEBANG.match(file.read(64))
    return found[1].decode().rsplit("/", 1)[-1] if found else ""


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


def translations(_: list[str]) -> None:
    """Check that the translation files contain every source string."""
    output("tools/update-translations", "--check")


def clang_tidy(name: str) -> str:
    """Return the findings of clang-tidy for one source file and the headers that it includes."""
    done = subprocess.run(["clang-tidy", "-p", BUILD, "--quiet", "--warnings-as-errors=*", name],
                          cwd=ROOT, capture_output=True, text=True, check=False)
    return (done.stdout or done.stderr) if done.returncode else ""


def run_clang_tidy(names: list[str]) -> None:
    """Run clang-tidy, which needs a compilation database and the output of moc."""
    output("cmake", "--preset", "dev")
    targets = re.findall(r"^(?:.*/)?(\w+_autogen): phony", output(
        "ninja", "-C", BUILD, "-t", "targets", "all"), re.MULTILINE)
    output("ninja", "-C", BUILD, *sorted(set(targets)))
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
    ("layers", with_ending(".cpp", ".h", ".py"),
     on_all_files("/usr/bin/python3", "tools/checklayers.py")),
    ("translations", with_ending(".ts"), translations),
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
