"""The disk that the board mounts at /app: the program's package, and the simulator's programs."""

import shutil
import tempfile
from collections.abc import Mapping
from pathlib import Path

from host.architecture import ARCH
from host.files import fingerprint, locked, whole
from host.paths import APP_DISK, ARM, BOARD
from image import ext4

# Constant, because running and saved boards have read the disk's size.
SIZE = "64M"
PACKAGE = "corvanta.deb"  # its path on the disk
# Files of the cross build, as globs, and their paths on the disk.
CONTENTS = {
    f"corvanta_*_{ARCH.name}.deb": PACKAGE,
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
    Return the disk, and make it again when a program has been rebuilt.

    A running board keeps its present disk.
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
    Make a disk from which a board restores the files of an earlier board at boot.

    @param changes  tar archive of files, with paths relative to /
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
    """Return the fingerprint of the disk of ensure(); empty without the program's package."""
    return _mark().read_text() if _found(next(iter(CONTENTS))) else ""


def _mark() -> Path:
    return APP_DISK.with_suffix(".fingerprint")


def missing() -> list[str]:
    """Return the globs of CONTENTS that the cross build has not made yet."""
    return [pattern for pattern in CONTENTS if not _found(pattern)]
