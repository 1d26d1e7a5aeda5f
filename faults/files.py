"""What may stand in a parameter file's place, and where it may be."""

from __future__ import annotations

import os
from collections.abc import Callable
from functools import partial
from pathlib import Path
from random import Random

from faults.panel import (DEFAULTS, EDITED, alive, leave, repairable, shown, stored, stored_root,
                          type_and_connect)
from faults.rows import Group, Row, expect
from faults.unseen import connect_and_leave, unseen_root
from panel.facts import AUTO_CONNECT, CHAT_SCRIPT, PARAMETERS, PEER_FILE, STORED
from privateroot.files import LAUNCH

LARGE = 100_000_000  # bytes
HUGE = 3 << 30
Make = Callable[[Path], object]


def sparse(content: bytes, size: int) -> Make:
    def make(path: Path) -> None:
        path.write_bytes(content)
        os.truncate(path, size)
    return make


def linked(path: Path) -> None:
    path.with_name("real").write_bytes(STORED)
    path.symlink_to("real")


def link(target: str) -> Make:
    return lambda path: path.symlink_to(target)


def dated(seconds: int) -> Make:
    def make(path: Path) -> None:
        path.write_bytes(STORED)
        os.utime(path, (seconds, seconds))
    return make


# name, how it is made, what the screen shows, whether an Exit may change it
PLACES: tuple[tuple[str, Make, bytes, bool], ...] = (
    ("empty", lambda path: path.write_bytes(b""), DEFAULTS, True),
    ("one line", lambda path: path.write_bytes(b"internet\n"), DEFAULTS, True),
    ("a million lines", lambda path: path.write_bytes(STORED + b"more\n" * 1_000_000), STORED,
     True),
    ("100 MB", sparse(STORED, LARGE), STORED, True),
    ("3 GB", sparse(STORED, HUGE), STORED, True),
    ("100 MB in one line", lambda path: path.write_bytes(b"x" * LARGE), DEFAULTS, True),
    ("dated 2040", dated(2208988800), STORED, True),
    ("dated 1901", dated(-2177452800), STORED, True),
    ("a link", linked, STORED, True),
    ("a dangling link", link("/quenfold/none/at/all"), DEFAULTS, False),
    ("a dangling link to what can be made", link("made"), DEFAULTS, True),
    ("a loop of links", link("3gparam"), DEFAULTS, False),
    ("a folder", Path.mkdir, DEFAULTS, False),
    ("a FIFO", os.mkfifo, DEFAULTS, False),
    ("an endless device", link("/dev/zero"), DEFAULTS, False),
    ("a device that takes nothing", link("/dev/full"), DEFAULTS, False),
    ("random bytes", lambda path: path.write_bytes(Random(1).randbytes(100_000)), b"", True),
    ("zeros", lambda path: path.write_bytes(bytes(4096)), DEFAULTS, True),
)


def throw(make: Make, visible: bytes, changes: bool) -> None:
    """The panel shows what can be shown, and ends; what cannot be read stays what it is."""
    with stored_root() as root:
        path = root.host(PARAMETERS)
        path.unlink()
        make(path)
        before = path.lstat()
        root.start()
        alive(root)
        if visible:
            expect(shown(root) == visible, f"{shown(root)!r} is on the screen")
        leave(root)
        if changes:
            expect(stored(root) == (visible or stored(root)), f"{stored(root)!r} is stored")
            expect(path.stat().st_size < 1 << 20, "the rest is cut off")
            repairable(root, stored(root))
        else:
            after = path.lstat()
            expect((before.st_ino, before.st_mode) == (after.st_ino, after.st_mode), "untouched")


def throw_mounted(mounts: list[str], setup: str, saved: bytes) -> None:
    """The files are where nothing can be written."""
    with stored_root(mounts=mounts, setup=setup) as root:
        root.start()
        type_and_connect(root)
        alive(root)
        leave(root)
        content = root.inner_read(PARAMETERS)
        expect(content == saved, f"{content!r} is stored")


def throw_generated(blocked: str, make: Make) -> None:
    """A generated file cannot be written: pppd is started all the same, and all else is saved."""
    with stored_root() as root:
        make(root.host(blocked))
        root.start()
        type_and_connect(root)
        expect(stored(root) == EDITED, "it is stored")
        alive(root)
        leave(root)


def throw_unseen(blocked: str) -> None:
    """The same without the inspector: what is stored is whole, whatever the log takes."""
    with unseen_root(LAUNCH) as root:
        root.host(blocked).unlink(missing_ok=True)
        root.host(blocked).mkdir()
        connect_and_leave(root)
        if blocked != PARAMETERS:
            expect(stored(root) == EDITED, f"{stored(root)!r} is stored")
        expect(root.host(blocked).is_dir(), "the folder stays")


def rows() -> list[Row]:
    configs = "/quenfold/configs"
    fill = f"/usr/bin/cat /dev/zero >{configs}/filler 2>/dev/null\n"
    return [
        *(Row(f"parameters: {name}", partial(throw, make, visible, changes),
              chosen=name in ("dated 2040", "a dangling link", "3 GB", "a loop of links"))
          for name, make, visible, changes in PLACES),
        Row("a read-only file system", partial(
            throw_mounted, ["--remount-ro", "/quenfold"], "", STORED)),
        Row("a full file system, nothing stored", partial(
            throw_full, ["--size", "16384", "--tmpfs", configs], fill)),
        *(Row(f"{path}: {name}", partial(throw_generated, path, make))
          for path in (CHAT_SCRIPT, PEER_FILE)
          for name, make in (("a folder", Path.mkdir), ("a FIFO", os.mkfifo),
                             ("a device", link("/dev/full")), ("a loop", link("chat")))),
        *(Row(f"{path}: a folder, no inspector", partial(throw_unseen, path))
          for path in (PARAMETERS, CHAT_SCRIPT, PEER_FILE)),
    ]


def throw_full(mounts: list[str], setup: str) -> None:
    """No room for a first save: no file is left that would hide the defaults."""
    with stored_root(mounts=mounts, setup=setup) as root:
        root.start()
        type_and_connect(root)
        alive(root)
        leave(root)
        for path in (PARAMETERS, AUTO_CONNECT):
            expect(root.inner_read(path) is None, f"{path} is not there")


GROUPS = [Group("files", "what may stand in a file's place", rows)]
