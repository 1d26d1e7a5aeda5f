"""The disk that the board mounts at /app: the program's package, and the simulator's programs."""

import shutil
import tempfile
from collections.abc import Mapping
from pathlib import Path

from host.files import fingerprint, locked, whole
from host.paths import APP_DISK, ARM, BOARD
from image import ext4

# A running or saved board knows the disk's size: it never changes.
SIZE = "64M"
PACKAGE = "corvanta.deb"  # its place on the disk
# Files of the cross build by glob, and their places on the disk.
CONTENTS = {
    "corvanta_*_armhf.deb": PACKAGE,
    "simulator/programs/modem/modemsim": "modemsim",
    "simulator/programs/chip/chipsim": "chipsim",
    "simulator/programs/chip/chipcheck": "chipcheck",
    "simulator/programs/inspector/plugins/generic/libinspector.so":
        "plugins/generic/libinspector.so",
}


def _found(pattern: str) -> Path | None:
    return next(iter(sorted(ARM.glob(pattern))), None)


def ensure() -> Path:
    """
    The disk; it is made again when a program was built again.

    A board that runs keeps the disk that it has.
    """
    present = {source: target for pattern, target in CONTENTS.items()
               if (source := _found(pattern))}
    wanted = fingerprint([SIZE, *present])
    mark = _mark()
    with locked(BOARD / "app.lock"):
        if not (APP_DISK.is_file() and mark.is_file() and mark.read_text() == wanted):
            with whole(APP_DISK) as image:
                _make(image, present)
            mark.write_text(wanted)
    return APP_DISK


def with_changes(changes: Path, disk: Path) -> None:
    """
    Make a disk that also has a board start with what an earlier one has stored.

    @param changes  an archive of tar, of files below /
    @param disk  the image to make
    """
    _make(disk, {changes: "changes.tar"})


def _make(image: Path, contents: Mapping[Path, str]) -> None:
    with tempfile.TemporaryDirectory(dir=BOARD, prefix="app.") as tree:
        for source, target in contents.items():
            Path(tree, target).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(source, Path(tree, target))
        ext4.make(Path(tree), image, SIZE)


def key() -> str:
    """What tells the disk of ensure() from every other; empty without the program's package."""
    return _mark().read_text() if _found(next(iter(CONTENTS))) else ""


def _mark() -> Path:
    return APP_DISK.with_suffix(".fingerprint")


def missing() -> list[str]:
    """Programs that the cross build has not made yet."""
    return [pattern for pattern in CONTENTS if not _found(pattern)]
