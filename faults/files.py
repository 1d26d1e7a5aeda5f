"""What may stand in a parameter file's place, and where it may be."""

from __future__ import annotations

import os
from collections.abc import Callable
from functools import cache, partial
from pathlib import Path
from random import Random

from faults.panel import (AUTO, DEFAULTS, EDITED, alive, generated, leave, repairable, shown,
                          stored, stored_root, type_and_connect)
from faults.rows import Group, Row, expect
from faults.trace import TRACE, Call, Fault, calls_so_far, launch
from faults.unseen import connect_and_leave, thrown, unseen_root
from panel.facts import AUTO_CONNECT, CHAT_SCRIPT, FILES, PARAMETERS, PEER_FILE, STORED
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


RANDOM = Random(1).randbytes(100_000)
# The values of its first lines: ISO 8859-1 to the first NUL; the sixth is no number.
RANDOM_SHOWN = b"".join(line.partition(b"\0")[0].strip().decode("latin-1").encode() + b"\n"
                        for line in RANDOM.split(b"\n")[:5]) + b"0\n"

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
    ("random bytes", lambda path: path.write_bytes(RANDOM), RANDOM_SHOWN, True),
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
        expect(shown(root) == visible, f"{shown(root)!r} is on the screen")
        leave(root)
        if changes:
            expect(stored(root) == visible, f"{stored(root)!r} is stored")
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


# What stands in a file's place, and whether a save makes it the file that it should be.
KINDS: dict[str, tuple[Make, bool]] = {
    "a folder": (Path.mkdir, False),
    "a FIFO": (os.mkfifo, False),
    "a device that takes nothing": (link("/dev/full"), False),
    "an endless device": (link("/dev/zero"), False),
    "a loop of links": (lambda path: path.symlink_to(path.name), False),
    "3 GB": (sparse(b"1\n2\n3\n4\n5\n6\n", HUGE), True),
}


def throw_placed(placed: str, kind: str, at_start: bool) -> None:
    """All other files become what they should be, pppd is started, and what cannot be written
    stays what it is. The parameters that cannot be read again are those from before.
    @param at_start whether it is there from the start, not only from Connect on"""
    make, whole = KINDS[kind]
    with stored_root() as root:
        path = root.host(placed)
        if not at_start:
            root.start()
        path.unlink(missing_ok=True)
        make(path)
        if at_start:
            root.start()
        before = path.lstat()
        type_and_connect(root)
        values = STORED if placed == PARAMETERS and not whole else EDITED
        auto = b"1\n2\n" if placed == AUTO_CONNECT and at_start else AUTO
        wanted = {PARAMETERS: values, AUTO_CONNECT: auto, **generated(values)}
        if not whole:
            del wanted[placed]
        for moment in ("Connect", "Exit"):
            for other, content in wanted.items():
                expect(root.content(other) == content,
                       f"{other} after {moment}: {root.content(other)[:200]!r}")
            if moment == "Connect":
                alive(root)
                leave(root)
        after = path.lstat()
        expect((before.st_ino, before.st_mode) == (after.st_ino, after.st_mode)
               or whole and root.mode(placed) == "600", "its kind stays")


OTHERS_ID = 1000  # of a user that the private root does not have
EARLIER = {PARAMETERS: STORED, CHAT_SCRIPT: b"earlier\n", PEER_FILE: b"earlier\n"}


@cache
def own_looks() -> int:
    """How often a start asks for the program's own user."""
    with stored_root(launch=launch(None, (), "geteuid")) as root:
        root.start()
        return len(calls_so_far(root))


def throw_owner(path: str, taken: bool) -> None:
    """After its start the program takes itself for another user, who owns none of the files.
    @param taken whether files can be made that user's; the private root's system refuses it"""
    fault = Fault(Call("geteuid", own_looks() + 1), f"retval={OTHERS_ID}", lasting=True)
    how = launch(fault, (), "geteuid,fchown")
    if taken:
        how = how.replace(" -D ", " -D -e inject=fchown:retval=0 ", 1)
    with stored_root(launch=how) as root:
        root.write(path, EARLIER[path])
        root.host(path).chmod(0o644)
        root.start()
        type_and_connect(root)
        alive(root)
        thrown(root)
        trace = root.content(TRACE).decode()
        expect(f"<{path}>, {OTHERS_ID}, " in trace, f"its owner is changed: {trace}")
        wanted = {PARAMETERS: EDITED, **generated(EDITED)}
        expect(root.content(path) == wanted[path], f"its content: {root.content(path)!r}")
        mode = root.mode(path)
        expect(mode == "600", f"its mode: {mode}")
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
        *(Row(f"{path}: {kind}", partial(throw_placed, path, kind, True), chosen=kind == "3 GB")
          for path in (AUTO_CONNECT, CHAT_SCRIPT, PEER_FILE) for kind in KINDS),
        *(Row(f"{path}: {kind} from Connect on", partial(throw_placed, path, kind, False))
          for path in FILES for kind in ("an endless device", "a loop of links", "3 GB")),
        *(Row(f"{path}: of another owner, {'taken over' if taken else 'for good'}",
              partial(throw_owner, path, taken), chosen=path == CHAT_SCRIPT)
          for path in EARLIER for taken in (False, True)),
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


GROUPS = [Group("files", "unexpected file types and contents", rows)]
