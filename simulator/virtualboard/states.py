"""Makes the files that a board starts from: disk image, kernel, and a saved state per panel."""

import shutil
from collections.abc import Callable
from pathlib import Path

from host import programs
from host.architecture import ARCH
from host.files import current, fingerprint, mark_of
from host.paths import MACHINE, cache
from image import rootfs, sysroot
from machine import qemu
from panel.constants import SIZES
from virtualboard.board import FORGET, Board, state_file

KEPT_IN_CACHE = 2
KEY_LENGTH = 16  # hexadecimal digits of the fingerprint in the name of a directory of the cache
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
    version = programs.run([ARCH.qemu[0], "--version"], "asking QEMU for its version").decode()
    key = fingerprint([version, Path(__file__), Path(qemu.__file__), *ARCH.qemu,
                       *rootfs.inputs()])

    def build(directory: Path) -> None:
        directory.mkdir()
        say("building the disk image")
        rootfs.build(sysroot.ensure(), directory)
        _save_states(directory, say)

    def copy(directory: Path) -> None:
        saved = current(cache() / f"machine-{key[:KEY_LENGTH]}", key, build)
        say("copying the image from the cache")
        programs.run(["cp", "-r", "--sparse=always", "--reflink=auto", saved, directory],
                     f"copying {saved}")
        _forget_old()

    return current(MACHINE, key, copy)


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


def _forget_old() -> None:
    """Remove old machine states from the cache: only directories that have a mark of current()."""
    saved = [path for path in cache().glob("machine-" + "[0-9a-f]" * KEY_LENGTH)
             if mark_of(path).is_file()]
    for directory in sorted(saved, key=lambda d: d.stat().st_mtime, reverse=True)[KEPT_IN_CACHE:]:
        shutil.rmtree(directory, ignore_errors=True)
        mark_of(directory).unlink(missing_ok=True)  # another checkout may remove it, too
