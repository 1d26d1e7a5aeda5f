"""The host's own programs: which are missing, and running one to its end."""

import os
import shutil
import subprocess
from collections.abc import Mapping, Sequence
from pathlib import Path

from host.errors import BoardError, write_fault
from host.files import read_list
from host.paths import HOST_PACKAGES

# Folders with mke2fs and depmod are not in every user's PATH.
SEARCH_PATH = os.environ.get("PATH", "") + ":/usr/local/sbin:/usr/sbin:/sbin"
TAIL_LINES = 12  # of what a program that failed has written


def missing_packages() -> list[str]:
    """Debian packages to install on the host before a board can be built or run."""
    pairs = (line.split() for line in read_list(HOST_PACKAGES))
    return [package for package, program in pairs if not shutil.which(program, path=SEARCH_PATH)]


def require_packages() -> None:
    """@raise BoardError with the command that installs what is missing"""
    missing = missing_packages()
    if missing:
        raise BoardError(
            "programs of this host are missing; install them as root with\n  apt-get install "
            + "--no-install-recommends " + " ".join(missing))


def environment(more: Mapping[str, str] | None = None) -> dict[str, str]:
    """The environment of the host's programs, which answer in English."""
    return {**os.environ, "LC_ALL": "C", "PATH": SEARCH_PATH, **(more or {})}


def run(argv: Sequence[str | Path], what: str, *, env: Mapping[str, str] | None = None,
        stdin: bytes | None = None, cwd: Path | None = None) -> bytes:
    """
    Run a program to its end.

    @param what  what it is for, in words, for the message of a failure
    @return its standard output
    @raise BoardError with the end of what it wrote, when it cannot start or fails
    """
    try:
        done = subprocess.run([str(a) for a in argv], env=environment(env), input=stdin or b"",
                              cwd=cwd, capture_output=True, check=False)
    except OSError as error:
        raise BoardError(f"{what}: {argv[0]} does not start: {error.strerror}") from error
    if done.returncode:
        raise failure(what, Path(str(argv[0])).name, done.returncode, done.stderr or done.stdout)
    return done.stdout


def failure(what: str, program: str, status: int, output: bytes) -> BoardError:
    """The error for a program that ended with that status, from what it wrote."""
    text = output.decode(errors="replace").strip()
    if fault := write_fault(text):
        return BoardError(f"{what} failed: {fault}")
    return BoardError(f"{what} failed ({program} ended with {status}):\n  "
                      + "\n  ".join(text.splitlines()[-TAIL_LINES:]))
