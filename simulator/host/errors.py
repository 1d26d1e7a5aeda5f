"""Errors that the tools report, and their wording."""

import errno
import os

from host.paths import BUILD, cache

# Causes of a failed write, by errno.
WRITE_FAULTS = {errno.ENOSPC: "the disk is full", errno.EDQUOT: "the disk quota is used up",
                errno.EROFS: "the file system is read-only",
                errno.EACCES: "this user has no right to it"}
# Messages of other programs for these causes; "Wrote only" is tar's.
PROGRAMS_SAY = ((errno.ENOSPC, os.strerror(errno.ENOSPC)), (errno.ENOSPC, "Wrote only "),
                (errno.EDQUOT, os.strerror(errno.EDQUOT)), (errno.EROFS, os.strerror(errno.EROFS)))


class BoardError(Exception):
    """An error to report: what failed, and what to do."""


def in_words(error: Exception) -> str:
    """Return an error message that names the file, or the directories that need free space."""
    if not (isinstance(error, OSError) and error.errno):
        return str(error)
    words = WRITE_FAULTS.get(error.errno, os.strerror(error.errno))
    if error.filename:
        return f"{error.filename}: {words}"
    return f"{words}; {places()}" if error.errno in WRITE_FAULTS else words


def write_fault(output: str) -> str | None:
    """Return the error message for a program's output, or None if it reports no failed write."""
    for number, text in PROGRAMS_SAY:
        if text in output:
            return f"{WRITE_FAULTS[number]}; {places()}"
    return None


def places() -> str:
    """Name the directories that the tools write to."""
    return f"a board is built in {BUILD}, its packages are kept in {cache()}"
