"""The host's side: its programs, locks, and folders that appear whole or not at all."""

import contextlib
import fcntl
import hashlib
import os
import shutil
import subprocess
from collections.abc import Iterator, Sequence
from pathlib import Path

from .paths import IMAGE_DATA

# Folders with mke2fs and depmod are not in every user's PATH.
SEARCH_PATH = os.environ.get("PATH", "") + ":/usr/local/sbin:/usr/sbin:/sbin"


class BoardError(Exception):
    """Something that a person must hear about: what failed, and what to do."""


def read_list(name: str) -> list[str]:
    """Lines of a data file beside the image's lists, without comments and blank lines."""
    text = (IMAGE_DATA / name).read_text(encoding="utf-8")
    lines = (line.split("#", 1)[0].strip() for line in text.splitlines())
    return [line for line in lines if line]


def missing_packages() -> list[str]:
    """Debian packages to install on the host before a board can be built or run."""
    pairs = (line.split() for line in read_list("host-packages.txt"))
    return [package for package, program in pairs if not shutil.which(program, path=SEARCH_PATH)]


def require_packages() -> None:
    missing = missing_packages()
    if missing:
        raise BoardError(
            "programs of this host are missing; install them as root with\n  apt-get install "
            + "--no-install-recommends " + " ".join(missing))


def run(argv: Sequence[str | Path], what: str, *, env: dict[str, str] | None = None,
        stdin: bytes | None = None, cwd: Path | None = None) -> bytes:
    """
    Run a program to its end.

    @param what  what it is for, in words, for the message of a failure
    @return its standard output
    @raise BoardError with the end of what it wrote, when it cannot start or fails
    """
    full = dict(os.environ, LC_ALL="C", PATH=SEARCH_PATH, **(env or {}))
    try:
        done = subprocess.run([str(a) for a in argv], env=full, input=stdin, cwd=cwd,
                              stdin=subprocess.DEVNULL if stdin is None else None,
                              capture_output=True, check=False)
    except OSError as error:
        raise BoardError(f"{what}: {argv[0]} does not start: {error}") from error
    if done.returncode:
        tail = (done.stderr or done.stdout).decode(errors="replace").strip().splitlines()[-12:]
        raise BoardError(f"{what} failed ({Path(str(argv[0])).name} ended with "
                         f"{done.returncode}):\n  " + "\n  ".join(tail))
    return done.stdout


@contextlib.contextmanager
def locked(lock: Path) -> Iterator[None]:
    """Hold an exclusive lock on a file; other processes wait, and a dead one lets go of it."""
    lock.parent.mkdir(parents=True, exist_ok=True)
    with open(lock, "w", encoding="utf-8") as held:
        fcntl.flock(held, fcntl.LOCK_EX)
        yield


def remove(path: Path) -> None:
    """Remove a file or a whole folder, also one whose parts are read-only; absent is fine."""
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
    Make a file or folder under a temporary name; it takes its own name only when all went well.

    The caller holds the lock of the folder around it, so what an interrupted run left is ours.
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
    """Hexadecimal digest of texts and of files and folders with their names and modes."""
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
