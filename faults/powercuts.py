"""Cuts the board's power during a save, at the writes of its disk, and checks ext4 afterwards."""

from __future__ import annotations

import os
import shutil
import struct
import subprocess
import tempfile
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

from faults.rows import Group, Row, expect
from machine.qemu import SPARE_BYTES, SPARE_LOG
from panel.facts import PARAMETERS
from virtualboard.board import Board

SIZE = (480, 272)  # panel size in pixels
CUTS = 500  # about as many are tested, evenly spread over all possible ones
SUPER, ENTRY = struct.Struct("<QQQI"), struct.Struct("<QQQQ")
FLUSH, FUA, DISCARD = 1, 2, 4  # flags of an entry, as in Linux' dm-log-writes
# Lengths of the values, alternately shorter and longer. A file is at most one block of the file
# system long: storage can mix the blocks of two contents.
LENGTHS = 3 * (4, 60, 7, 200, 1, 800, 30, 31, 300, 2, 700, 5)
VALUES = ("apn", "dial", "user", "password", "pin")
MOUNT = """
set -e
blockdev --flushbufs /dev/vdc
mount /dev/vdc /quenfold/configs
"""
SEEN: list[int] = []  # one entry per content that was read, for figures()


@dataclass
class Write:
    """An entry of the disk's log."""

    offset: int
    data: bytes
    flags: int


def logged(log: Path) -> list[Write]:
    """@return the writes and flushes of the board's disk, in order"""
    writes = []
    with open(log, "rb") as file:
        _, _, entries, size = SUPER.unpack(file.read(SUPER.size))
        file.seek(size)
        for _ in range(entries):
            sector, count, flags, _ = ENTRY.unpack(file.read(size)[:ENTRY.size])
            data = b"" if flags & DISCARD else file.read(count * size)
            writes.append(Write(sector * size, data, flags))
    return writes


def cuts(writes: list[Write]) -> Iterator[tuple[int, list[Write]]]:
    """
    Yield the states that storage may have after a cut.

    @return number of writes before the last flush, which are on storage, and the later ones that
            also are: all up to each write, and the same without any one of the others
    """
    lasting = 0
    for end, write in enumerate(writes):
        if write.flags & FLUSH:
            lasting = end
        pending = [later for later in writes[lasting:end + 1] if later.data]
        yield lasting, pending
        for left_out in range(len(pending) - 1):
            if not pending[left_out].flags & FUA:
                yield lasting, pending[:left_out] + pending[left_out + 1:]


def values_of(content: bytes) -> list[bytes]:
    """Return the values of a parameter file, as the program reads them; none of a short file."""
    lines = content.split(b"\n")[:-1]
    values = [line.partition(b"\0")[0] for line in lines[:len(VALUES) + 1]]
    return values if len(values) > len(VALUES) else []


def read_back(disk: Path, name: str) -> bytes:
    """Return the content of a file on a repaired disk; b"" if it does not exist."""
    return subprocess.run(["debugfs", "-R", f"cat /{name}", disk], check=True,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout


def look(base: Path, pending: list[Write], folder: Path) -> list[bytes]:
    """Return the values on the disk after a repair as at a boot."""
    disk = folder / "cut"
    shutil.copyfile(base, disk)
    apply(disk, pending)
    repair = subprocess.run(["e2fsck", "-fy", disk], capture_output=True, check=False)
    expect(repair.returncode in (0, 1), f"e2fsck repairs: {repair.stdout.decode()}")
    SEEN.append(1)
    return values_of(read_back(disk, os.path.basename(PARAMETERS)))


def apply(disk: Path, writes: list[Write]) -> None:
    with open(disk, "r+b") as file:
        for write in writes:
            file.seek(write.offset)
            file.write(write.data)


def save_on_board(disk: Path) -> tuple[list[Write], list[list[bytes]]]:
    """Save on a board. @return the writes to its disk and the values of each save, in order"""
    saves = []
    with Board(SIZE, "faults-power-cuts", spare=disk, logs=False) as board:
        board.guest.sh(MOUNT)
        for number, length in enumerate(LENGTHS):
            values = [f"{name[0]}{number}".ljust(length, name[0]) for name in VALUES]
            saves.append([*(value.encode() for value in values), b"%d" % (number % 3)])
            method = ("AUTO", "PAP", "CHAP")[number % 3]
            board.guest.sh(f"corvanta-provision auth={method} " + " ".join(
                f"{name}={value}" for name, value in zip(VALUES, values)))
        board.guest.sh("umount /quenfold/configs")
        return logged(board.folder / SPARE_LOG), saves


def throw_cuts() -> None:
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        disk, base = folder / "disk", folder / "base"
        disk.write_bytes(bytes(SPARE_BYTES))
        subprocess.run(["mke2fs", "-q", "-F", "-t", "ext4", "-b", "4096", disk], check=True)
        shutil.copyfile(disk, base)
        writes, saves = save_on_board(disk)
        found = list(cuts(writes))
        allowed, applied, newest = [[], *saves], 0, 0
        for lasting, pending in found[::max(1, len(found) // CUTS)]:
            apply(base, writes[applied:lasting])
            applied = lasting
            values = look(base, pending, folder)
            expect(values in allowed, f"values of one save, not {values}")
            age = allowed.index(values)
            expect(age >= newest - 1, f"save {newest} or its predecessor, not {age}")
            newest = max(newest, age)
        expect(newest == len(saves), f"the last save, not {newest}")


def figures() -> list[str]:
    return [f"{len(SEEN)} power cuts during {len(LENGTHS)} saves: old or new values after each"]


GROUPS = [Group("power", "power cut during a save, on ext4 of the simulated board",
                lambda: [Row("cut at any write of the disk", throw_cuts)],
                figures=figures)]
