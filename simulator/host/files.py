"""The host's files: locks, fingerprints, and files that are renamed into place when complete."""

import contextlib
import fcntl
import hashlib
import os
import shutil
import sys
import threading
from collections.abc import Iterator, Sequence
from pathlib import Path

MARK = ".fingerprint"
QUIET_SECONDS = 2.0  # a longer wait for a lock is reported


def read_list(file: Path) -> list[str]:
    """Return the lines of a data file, without comments and blank lines."""
    lines = (line.split("#", 1)[0].strip() for line in file.read_text("utf-8").splitlines())
    return [line for line in lines if line]


@contextlib.contextmanager
def locked(lock: Path) -> Iterator[None]:
    """Hold an exclusive lock on a file; the kernel releases it when the process exits."""
    lock.parent.mkdir(parents=True, exist_ok=True)
    with open(lock, "w", encoding="utf-8") as held:
        waiting = threading.Timer(QUIET_SECONDS, print, [f"waiting for who holds {lock}"],
                                  {"file": sys.stderr, "flush": True})
        waiting.start()
        try:
            fcntl.flock(held, fcntl.LOCK_EX)
        finally:
            waiting.cancel()
        yield


def remove(path: Path) -> None:
    """Remove a file or directory, even a read-only one; ignore a missing one."""
    if path.is_symlink() or path.is_file():
        path.unlink()
    elif path.is_dir():
        for folder, names, _ in os.walk(path):
            for name in names:
                inner = Path(folder, name)
                if not inner.is_symlink():
                    inner.chmod(0o755)
        shutil.rmtree(path)


@contextlib.contextmanager
def whole(path: Path) -> Iterator[Path]:
    """
    Create a file or directory under a temporary name and rename it on success.

    The caller holds a lock, so a file with the temporary name is left from an interrupted run.
    """
    path.parent.mkdir(parents=True, exist_ok=True)
    unfinished = path.with_name(path.name + ".unfinished")
    remove(unfinished)
    try:
        yield unfinished
        old = path.with_name(path.name + ".old")
        remove(old)
        if path.is_dir() and not path.is_symlink():
            path.rename(old)
        unfinished.rename(path)
        remove(old)
    finally:
        remove(unfinished)


def fingerprint(parts: Sequence[str | Path]) -> str:
    """Return the hexadecimal digest of texts, and of files with names and executable bits."""
    digest = hashlib.sha256()
    for part in parts:
        if isinstance(part, str):
            digest.update(f"text {len(part)} {part}\n".encode())
            continue
        for file in [part] if part.is_file() else sorted(part.rglob("*")):
            if "__pycache__" in file.parts or not file.is_file():
                continue
            data = file.read_bytes()
            mode = file.stat().st_mode & 0o111
            digest.update(f"file {file.relative_to(part.parent)} {mode:o} {len(data)}\n".encode())
            digest.update(data)
    return digest.hexdigest()


def is_current(folder: Path, key: str) -> bool:
    """Return true when a directory was made from the inputs with this fingerprint."""
    mark = folder / MARK
    return mark.is_file() and mark.read_text() == key


def mark_current(folder: Path, key: str) -> None:
    (folder / MARK).write_text(key)
