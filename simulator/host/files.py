"""Files on the host: locks, fingerprints, and atomic creation of files and directories."""

import contextlib
import fcntl
import hashlib
import shutil
from collections.abc import Callable, Iterator, Sequence
from pathlib import Path


def read_list(file: Path) -> list[str]:
    """Return the lines of a data file, without comments and empty lines."""
    lines = (line.split("#", 1)[0].strip() for line in file.read_text("utf-8").splitlines())
    return [line for line in lines if line]


@contextlib.contextmanager
def locked(lock: Path) -> Iterator[None]:
    """Hold an exclusive lock on a file; the kernel releases it when the process exits."""
    lock.parent.mkdir(parents=True, exist_ok=True)
    with open(lock, "w", encoding="utf-8") as held:
        fcntl.flock(held, fcntl.LOCK_EX)
        yield


def remove(path: Path) -> None:
    """Remove a file or directory; ignore a missing one."""
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


@contextlib.contextmanager
def whole(path: Path) -> Iterator[Path]:
    """
    Create a file or directory under a temporary name and rename it on success.

    The caller holds a lock. A file that already has the temporary name is left over from an
    interrupted run and is removed.
    """
    path.parent.mkdir(parents=True, exist_ok=True)
    unfinished = path.with_name(path.name + ".unfinished")
    remove(unfinished)
    try:
        yield unfinished
        if path.is_dir():
            remove(path)  # a rename replaces files only
        unfinished.rename(path)
    finally:
        remove(unfinished)


def fingerprint(parts: Sequence[str | Path]) -> str:
    """Return the SHA-256 digest, in hexadecimal, of texts and of files or directories. File names
    and executable bits are included."""
    digest = hashlib.sha256()
    for part in parts:
        if isinstance(part, str):
            digest.update(f"text {len(part)} {part}\n".encode())
            continue
        files = [part] if part.is_file() else sorted(part.rglob("*"))
        for file in (file for file in files if file.is_file()):
            data = file.read_bytes()
            mode = file.stat().st_mode & 0o111
            digest.update(f"file {file.relative_to(part.parent)} {mode:o} {len(data)}\n".encode())
            digest.update(data)
    return digest.hexdigest()


def current(path: Path, key: str, make: Callable[[Path], object]) -> Path:
    """
    Return a file or directory, and make it again when its inputs have changed.

    @param key  fingerprint of the inputs
    @param make  makes the file or directory under a temporary name
    """
    mark = path.with_name(f"{path.name}.fingerprint")
    with locked(path.with_name(f"{path.name}.lock")):
        if not (path.exists() and mark.is_file() and mark.read_text() == key):
            with whole(path) as unfinished:
                make(unfinished)
                mark.unlink(missing_ok=True)  # it is that of the earlier inputs
            mark.write_text(key)
    return path
