"""Programs on the host: checks that they are installed, and runs them."""

import os
import shutil
import subprocess
from collections.abc import Mapping, Sequence
from pathlib import Path

from host.architecture import ARCH
from host.errors import BoardError
from host.files import read_list
from host.paths import HOST_PACKAGES

# The directories of mke2fs and depmod are not in every user's PATH.
SEARCH_PATH = os.environ.get("PATH", "") + ":/usr/local/sbin:/usr/sbin:/sbin"


def require_packages() -> None:
    """Check that the needed programs are installed.

    @raise BoardError with the command that installs the missing ones"""
    lines = (line.split() for line in read_list(HOST_PACKAGES))
    missing = [package for package, program, *only in lines
               if ARCH.name in (only or [ARCH.name])
               and not shutil.which(program, path=SEARCH_PATH)]
    if missing:
        raise BoardError("programs are missing on this host; install them as root: "
                         "apt-get install --no-install-recommends " + " ".join(missing))


def environment(more: Mapping[str, str] | None = None) -> dict[str, str]:
    """Return the environment for the host's programs, with messages in English."""
    return {**os.environ, "LC_ALL": "C", "PATH": SEARCH_PATH, **(more or {})}


def run(argv: Sequence[str | Path], what: str, *, env: Mapping[str, str] | None = None,
        stdin: bytes = b"", cwd: Path | None = None) -> bytes:
    """
    Run a program and wait for its exit.

    @param what  purpose of the program, for the error message
    @return its standard output
    @raise BoardError with its output, when it cannot start or fails
    """
    try:
        done = subprocess.run([str(word) for word in argv], env=environment(env), input=stdin,
                              cwd=cwd, capture_output=True, check=False)
    except OSError as error:
        raise BoardError(f"{what}: {error}") from error
    if done.returncode:
        raise failure(what, str(argv[0]), done.returncode, done.stderr or done.stdout)
    return done.stdout


def failure(what: str, program: str, status: int, output: bytes) -> BoardError:
    """Return the error for a program with this exit status and output."""
    text = output.decode(errors="replace").strip()
    return BoardError(f"{what}: {program} exited with {status}: {text}")
