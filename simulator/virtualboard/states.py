"""Makes the files that a board starts from: disk image, kernel, and a saved state per panel."""

from pathlib import Path

from host import programs
from host.architecture import ARCH
from host.files import current, fingerprint, whole
from host.paths import MACHINE, cache
from image import rootfs
from machine import qemu
from panel.constants import SIZES
from virtualboard.board import FORGET, Board, state_file

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


def ensure() -> Path:
    """
    Return the directory of the board's files, and make it again when an input has changed.

    It is in the cache; MACHINE is a link to it.
    """
    version = programs.run([ARCH.qemu[0], "--version"], "asking QEMU for its version").decode()
    key = fingerprint([version, Path(__file__), Path(qemu.__file__), *ARCH.qemu,
                       *rootfs.inputs()])

    def build(directory: Path) -> None:
        directory.mkdir()
        print("building the disk image", flush=True)
        rootfs.build(directory)
        _save_states(directory)

    saved = current(cache() / f"machine-{key[:16]}", key, build)
    if MACHINE.resolve() != saved:
        with whole(MACHINE) as link:
            link.symlink_to(saved)
    return saved


def _save_states(directory: Path) -> None:
    """Boot once without a panel, then save a state with each panel size."""
    base = directory / "state-without-panel"
    print("booting once", flush=True)
    with Board(run="save", fresh=True, machine=directory, panel_on=False) as booted:
        booted.guest.sh(SETTLE, seconds=BOOT_SECONDS)
        booted.records.logs()
        booted.save(base)
    for size in SIZES:
        print(f"saving the state with a panel of {size[0]}x{size[1]}", flush=True)
        with Board(size, f"save-{size[0]}x{size[1]}", machine=directory, state=base) as board:
            board.guest.sh(FORGET, seconds=BOOT_SECONDS)
            board.save(state_file(directory, size))
    base.unlink()
