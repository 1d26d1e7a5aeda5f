"""The host's programs: lists missing ones and runs one to completion."""

import os
import shutil
import subprocess
from collections.abc import Mapping, Sequence
from pathlib import Path

from host.errors import BoardError, write_fault
from host.files import read_list
from host.paths import HOST_PACKAGES

# The directories of mke2fs and depmod are not in every user's PATH.
SEARCH_PATH = os.environ.get("PATH", "") + ":/usr/local/sbin:/usr/sbin:/sbin"
TAIL_LINES = 12  # lines of a failed program's output to report


def missing_packages() -> list[str]:
    """Return the Debian packages that the host lacks for building or running a board."""
    pairs = (line.split() for line in read_list(HOST_PACKAGES))
    return [package for package, program in pairs if not shutil.which(program, path=SEARCH_PATH)]


def require_packages() -> None:
    """Check the host's programs. @raise BoardError with the command that installs missing ones"""
    missing = missing_packages()
    if missing:
        raise BoardError(
            "programs of this host are missing; install them as root with\n  apt-get install "
            + "--no-install-recommends " + " ".join(missing))


def environment(more: Mapping[str, str] | None = None) -> dict[str, str]:
    """Return the environment for the host's programs, with messages in English."""
    return {**os.environ, "LC_ALL": "C", "PATH": SEARCH_PATH, **(more or {})}


def run(argv: Sequence[str | Path], what: str, *, env: Mapping[str, str] | None = None,
        stdin: bytes | None = None, cwd: Path | None = None) -> bytes:
    """
    Run a program and wait for its exit.

    @param what  purpose of the program, for the error message
    @return its standard output
    @raise BoardError with its last lines of output, when it cannot start or fails
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
    """Return the error for a program with this exit status and output."""
    text = output.decode(errors="replace").strip()
    if fault := write_fault(text):
        return BoardError(f"{what} failed: {fault}")
    return BoardError(f"{what} failed ({program} ended with {status}):\n  "
                      + "\n  ".join(text.splitlines()[-TAIL_LINES:]))
