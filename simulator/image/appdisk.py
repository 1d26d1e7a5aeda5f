"""The disk that the board mounts at /app: the program's package, and the simulator's programs."""

import shutil
import tempfile
from collections.abc import Mapping
from pathlib import Path

from host.architecture import ARCH
from host.files import current, fingerprint
from host.paths import APP_DISK, ARM, BOARD
from image import ext4

# Constant, because running and saved boards have read the disk's size.
SIZE = "64M"
PACKAGE = "corvanta.deb"  # path of the package on the disk
# Files of the cross build, as globs, and their paths on the disk.
CONTENTS = {
    f"corvanta_*_{ARCH.name}.deb": PACKAGE,
    "simulator/modemsim": "modemsim",
    "simulator/chipsim": "chipsim",
    "simulator/programs/inspector/plugins/generic/libinspector.so":
        "plugins/generic/libinspector.so",
}


def _present() -> dict[Path, str]:
    """Return the files of CONTENTS that have been built, and their paths on the disk."""
    return {source: target for pattern, target in CONTENTS.items()
            for source in sorted(ARM.glob(pattern))[:1]}


def ensure() -> Path:
    """
    Return the disk, and make it again when a program has been rebuilt.

    A running board keeps its present disk.
    """
    return current(APP_DISK, key(), lambda image: _make(image, _present()))


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
    """Return the fingerprint of what ensure() puts on the disk."""
    return fingerprint([SIZE, *_present()])
