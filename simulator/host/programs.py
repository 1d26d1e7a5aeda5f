"""Runs programs of the host."""

import os
import subprocess
from collections.abc import Sequence
from pathlib import Path

from host.errors import BoardError

# The directories of mke2fs and depmod are not in every user's PATH.
SEARCH_PATH = os.environ.get("PATH", "") + ":/usr/local/sbin:/usr/sbin:/sbin"


def run(argv: Sequence[str | Path], what: str, *, stdin: bytes = b"",
        cwd: Path | None = None) -> bytes:
    """
    Run a program, with messages in English, and wait for its exit.

    @param what  purpose of the program, for the error message
    @return its standard output
    @raise BoardError with its output when it fails, OSError when it cannot start
    """
    done = subprocess.run([str(word) for word in argv], input=stdin, cwd=cwd,
                          env={**os.environ, "LC_ALL": "C", "PATH": SEARCH_PATH},
                          capture_output=True, check=False)
    if done.returncode:
        output = (done.stderr or done.stdout).decode(errors="replace").strip()
        raise BoardError(f"{what}: {argv[0]} exited with {done.returncode}: {output}")
    return done.stdout
