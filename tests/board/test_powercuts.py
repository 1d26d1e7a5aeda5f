"""Simulates power cuts at the disk writes of a save, and checks the files after e2fsck."""

import os
import shutil
import struct
import subprocess
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from pathlib import Path

import pytest

from machine.qemu import SPARE_BYTES, SPARE_LOG
from panel.constants import PARAMETERS, SIZES
from virtualboard.board import Board

CUTS = 500  # approximate number of cuts to test, spread evenly over all possible ones
SUPER, ENTRY = struct.Struct("<QQQI"), struct.Struct("<QQQQ")
FLUSH, FUA, DISCARD = 1, 2, 4  # flags of an entry, as in Linux' dm-log-writes
# Lengths of the values, alternately longer and shorter. Each file fits into one block of the file
# system, because a power cut may leave a mix of old and new blocks.
LENGTHS = 3 * (4, 60, 7, 200, 1, 800, 30, 31, 300, 2, 700, 5)
VALUES = ("apn", "dial", "user", "password", "pin")


@dataclass
class Write:
    """An entry of the disk's log."""

    offset: int  # in bytes
    data: bytes
    flags: int  # FLUSH, FUA or DISCARD


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
    """Yield the states that the disk may have after a power cut.

    @return number of writes before the last flush, all of which are on the disk; and the later
            writes that are also on it: all up to the cut, or all of these except one
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
    """Return the values that the program reads from a parameter file; none if lines are missing."""
    lines = content.split(b"\n")[:-1]
    values = [line.partition(b"\0")[0] for line in lines[:len(VALUES) + 1]]
    return values if len(values) > len(VALUES) else []


def values_after(base: Path, pending: list[Write], disk: Path) -> list[bytes]:
    """Return the values on a disk after a repair with e2fsck, as at a boot.

    @param base disk without the pending writes
    @param pending writes to add
    @param disk file to create
    """
    shutil.copyfile(base, disk)
    apply(disk, pending)
    repair = subprocess.run(["e2fsck", "-fy", disk], capture_output=True, check=False)
    assert repair.returncode in (0, 1), repair.stdout.decode()
    # If the file does not exist, debugfs prints nothing to standard output.
    return values_of(subprocess.run(["debugfs", "-R", f"cat /{os.path.basename(PARAMETERS)}", disk],
                                    capture_output=True, check=True).stdout)


def apply(disk: Path, writes: list[Write]) -> None:
    with open(disk, "r+b") as file:
        for write in writes:
            file.seek(write.offset)
            file.write(write.data)


def save_on_board(disk: Path) -> tuple[list[Write], list[list[bytes]]]:
    """Save parameters on a board.

    @return writes to the disk, and values of each save, both in order"""
    saves = []
    with Board(SIZES[0], "test-power-cuts", spare=disk) as board:
        board.guest.sh("blockdev --flushbufs /dev/vdc; mount /dev/vdc /quenfold/configs")
        for number, length in enumerate(LENGTHS):
            values = [f"{name[0]}{number}".ljust(length, name[0]) for name in VALUES]
            saves.append([*(value.encode() for value in values), b"%d" % (number % 3)])
            method = ("AUTO", "PAP", "CHAP")[number % 3]
            board.guest.sh(f"corvanta-provision auth={method} " + " ".join(
                f"{name}={value}" for name, value in zip(VALUES, values)))
        board.guest.sh("umount /quenfold/configs")
        return logged(board.directory / SPARE_LOG), saves


@pytest.mark.torture
def test_cut_at_any_write(tmp_path: Path,
                          record_property: Callable[[str, object], None]) -> None:
    disk, base, cut = (tmp_path / name for name in ("disk", "base", "cut"))
    disk.write_bytes(bytes(SPARE_BYTES))
    subprocess.run(["mke2fs", "-q", "-F", "-t", "ext4", "-b", "4096", disk], check=True)
    shutil.copyfile(disk, base)
    writes, saves = save_on_board(disk)
    found = list(cuts(writes))
    found = found[::max(1, len(found) // CUTS)]
    allowed, applied, newest = [[], *saves], 0, 0
    for lasting, pending in found:
        apply(base, writes[applied:lasting])
        applied = lasting
        values = values_after(base, pending, cut)
        assert values in allowed, "neither old nor new values"
        age = allowed.index(values)
        assert age >= newest - 1, "neither the newest save nor its predecessor"
        newest = max(newest, age)
    assert newest == len(saves)
    record_property("figure", f"{len(found)} power cuts during {len(LENGTHS)} saves: "
                              "old or new values after each")
