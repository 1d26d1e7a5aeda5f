"""Everything that a board starts from: disk image, kernel, and a saved machine state per panel."""

import shutil
import time
from collections.abc import Callable
from pathlib import Path

from . import host, qemu, rootfs, sysroot
from .debian import Archive
from .machine import Board, state_file
from .paths import BOARD, MACHINE, cache

MARK = ".fingerprint"
KEPT_IN_CACHE = 2
BOOT_SECONDS = 180

# A board in its saved state: drivers and agent run, the stick has been described to the kernel but
# not plugged, fonts are indexed, and no block of the programs' disk is remembered.
SETTLE = """
set -e
umount /app
stick plug 0x1001 3
stick unplug
fc-cache
"""
FORGET = """
set -e
umount /app
blockdev --flushbufs /dev/vdb
echo 3 >/proc/sys/vm/drop_caches
"""

Say = Callable[[str], None]


def ensure(say: Say) -> Path:
    """
    The folder with all a board starts from, made or renewed when one of its inputs changed.

    @param say  is told what is done and how long it took
    """
    host.require_packages()
    board = Archive().fetch(host.read_list("board-packages.txt"))
    initramfs = Archive().fetch(host.read_list("initramfs-packages.txt"))
    key = _fingerprint([*board, *initramfs])
    with host.locked(BOARD / "machine.lock"):
        if _is_current(MACHINE, key):
            return MACHINE
        saved = cache() / f"machine-{key[:16]}"
        if _is_current(saved, key):
            _copy(saved, MACHINE)
            say("image and machine states taken from the cache")
            return MACHINE
        _build(board, initramfs, key, say)
        with host.locked(cache() / "machine.lock"):
            _copy(MACHINE, saved)
            _forget_old()
    return MACHINE


def _fingerprint(packages: list[Path]) -> str:
    here = Path(__file__)
    version = host.run(["qemu-system-arm", "--version"], "asking QEMU for its version").decode()
    return host.fingerprint([version, here, here.with_name("qemu.py"), *rootfs.inputs(),
                             *(package.name for package in packages)])


def _is_current(folder: Path, key: str) -> bool:
    mark = folder / MARK
    return mark.is_file() and mark.read_text() == key


def _build(board: list[Path], initramfs: list[Path], key: str, say: Say) -> None:
    started = time.monotonic()
    root = sysroot.ensure()
    with host.whole(MACHINE) as unfinished:
        unfinished.mkdir()
        rootfs.build(board, initramfs, root, unfinished)
        say(f"disk image built in {time.monotonic() - started:.0f} s")
        _save_states(unfinished, say)
        (unfinished / MARK).write_text(key)


def _save_states(folder: Path, say: Say) -> None:
    """Boot once, without a panel, and save from there a state with each of the panels."""
    base = folder / "state-without-panel"
    started = time.monotonic()
    with Board(run="save", fresh=True, machine=folder, screen=False) as booted:
        booted.sh(SETTLE, seconds=BOOT_SECONDS)
        booted.logs()
        booted.save(base)
    say(f"booted in {time.monotonic() - started:.0f} s")
    for size in qemu.SIZES:
        started = time.monotonic()
        state = state_file(folder, size)
        with Board(size, f"save-{size[0]}x{size[1]}", machine=folder, state=base) as board:
            board.sh(FORGET, seconds=BOOT_SECONDS)
            board.save(state)
        say(f"saved with a panel of {size[0]}x{size[1]} in {time.monotonic() - started:.0f} s, "
            f"{state.stat().st_size >> 20} MB")
    base.unlink()


def _copy(source: Path, target: Path) -> None:
    with host.whole(target) as unfinished:
        host.run(["cp", "-r", "--sparse=always", "--reflink=auto", source, unfinished],
                 f"copying {source}")


def _forget_old() -> None:
    folders = sorted(cache().glob("machine-*"), key=lambda f: f.stat().st_mtime, reverse=True)
    for folder in [f for f in folders if f.is_dir()][KEPT_IN_CACHE:]:
        shutil.rmtree(folder, ignore_errors=True)
