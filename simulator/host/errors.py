"""What a person must hear about, in words of their own."""

import errno
import os

from host.paths import BUILD, cache

# Why nothing can be written, by errno.
WRITE_FAULTS = {errno.ENOSPC: "the disk is full", errno.EDQUOT: "the disk quota is used up",
                errno.EROFS: "the file system is read-only",
                errno.EACCES: "this user has no right to it"}
# What programs write about it; "Wrote only" is tar's.
PROGRAMS_SAY = ((errno.ENOSPC, os.strerror(errno.ENOSPC)), (errno.ENOSPC, "Wrote only "),
                (errno.EDQUOT, os.strerror(errno.EDQUOT)), (errno.EROFS, os.strerror(errno.EROFS)))


class BoardError(Exception):
    """Something that a person must hear about: what failed, and what to do."""


def in_words(error: Exception) -> str:
    """One sentence for a person; it says which file is concerned, or where to look for room."""
    if not (isinstance(error, OSError) and error.errno):
        return str(error)
    words = WRITE_FAULTS.get(error.errno, os.strerror(error.errno))
    if error.filename:
        return f"{error.filename}: {words}"
    return f"{words}; {places()}" if error.errno in WRITE_FAULTS else words


def write_fault(output: str) -> str | None:
    """The sentence for a program's output; None unless it says that nothing can be written."""
    for number, text in PROGRAMS_SAY:
        if text in output:
            return f"{WRITE_FAULTS[number]}; {places()}"
    return None


def places() -> str:
    """Where the tool writes."""
    return f"a board is built in {BUILD}, its packages are kept in {cache()}"
