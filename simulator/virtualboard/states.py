"""Makes the files that a board starts from: disk image, kernel, and a saved state per panel."""

import shutil
from collections.abc import Callable
from pathlib import Path

from host import programs
from host.architecture import ARCH
from host.files import MARK, fingerprint, is_current, locked, mark_current, whole
from host.paths import BOARD, MACHINE, cache
from image import rootfs, sysroot
from machine import qemu
from panel.constants import SIZES
from virtualboard.board import FORGET, Board, state_file

KEPT_IN_CACHE = 2
BOOT_SECONDS = 180

# Prepares the saved state: drivers and agent run, the dongle's driver is loaded but the dongle is
# not plugged in, and fonts are indexed.
SETTLE = """
set -e
systemctl is-system-running --wait >/dev/null || systemctl --failed --no-legend
umount /app
dongle plug 0x1001 3
dongle unplug
fc-cache
"""
Say = Callable[[str], None]


def ensure(say: Say) -> Path:
    """
    Return the directory of the board's files, and make it again when an input has changed.

    @param say  called with progress messages
    """
    programs.require_packages()
    key = _fingerprint()
    with locked(BOARD / "machine.lock"):
        if is_current(MACHINE, key):
            return MACHINE
        saved = cache() / f"machine-{key[:16]}"
        if is_current(saved, key):
            _copy(saved, MACHINE)
            say("copied the image from the cache")
            return MACHINE
        _build(key, say)
        with locked(cache() / "machine.lock"):
            _copy(MACHINE, saved)
            _forget_old()
    return MACHINE


def _fingerprint() -> str:
    here = Path(__file__)
    version = programs.run([ARCH.qemu[0], "--version"], "asking QEMU for its version").decode()
    return fingerprint([version, here, Path(qemu.__file__), *ARCH.qemu, *rootfs.inputs()])


def _build(key: str, say: Say) -> None:
    root = sysroot.ensure()
    with whole(MACHINE) as unfinished:
        unfinished.mkdir()
        say("building the disk image")
        rootfs.build(root, unfinished)
        _save_states(unfinished, say)
        mark_current(unfinished, key)


def _save_states(directory: Path, say: Say) -> None:
    """Boot once without a panel, then save a state with each panel size."""
    base = directory / "state-without-panel"
    say("booting once")
    with Board(run="save", fresh=True, machine=directory, panel_on=False) as booted:
        booted.guest.sh(SETTLE, seconds=BOOT_SECONDS)
        booted.records.logs()
        booted.save(base)
    for size in SIZES:
        say(f"saving the state with a panel of {size[0]}x{size[1]}")
        with Board(size, f"save-{size[0]}x{size[1]}", machine=directory, state=base) as board:
            board.guest.sh(FORGET, seconds=BOOT_SECONDS)
            board.save(state_file(directory, size))
    base.unlink()


def _copy(source: Path, target: Path) -> None:
    with whole(target) as unfinished:
        programs.run(["cp", "-r", "--sparse=always", "--reflink=auto", source, unfinished],
                     f"copying {source}")


def _forget_old() -> None:
    """Remove old machine states, but no directory without the mark that ensure() gives them."""
    saved = [mark.parent for mark in cache().glob(f"machine-*/{MARK}")
             if mark.parent.name == f"machine-{mark.read_text()[:16]}"]
    for directory in sorted(saved, key=lambda f: f.stat().st_mtime, reverse=True)[KEPT_IN_CACHE:]:
        shutil.rmtree(directory, ignore_errors=True)
