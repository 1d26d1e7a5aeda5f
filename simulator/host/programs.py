"""Programs on the host: checks that they are installed, and runs them."""

import os
import shutil
import subprocess
from collections.abc import Sequence
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


def run(argv: Sequence[str | Path], what: str, *, stdin: bytes = b"",
        cwd: Path | None = None) -> bytes:
    """
    Run a program, with messages in English, and wait for its exit.

    @param what  purpose of the program, for the error message
    @return its standard output
    @raise BoardError with its output, when it cannot start or fails
    """
    try:
        done = subprocess.run([str(word) for word in argv], input=stdin, cwd=cwd,
                              env={**os.environ, "LC_ALL": "C", "PATH": SEARCH_PATH},
                              capture_output=True, check=False)
    except OSError as error:
        raise BoardError(f"{what}: {error}") from error
    if done.returncode:
        output = (done.stderr or done.stdout).decode(errors="replace").strip()
        raise BoardError(f"{what}: {argv[0]} exited with {done.returncode}: {output}")
    return done.stdout
