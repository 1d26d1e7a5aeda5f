"""The disk with the programs under test, which the board mounts at /app."""

import shutil
import tempfile
from pathlib import Path

from host.files import fingerprint, locked, whole
from host.paths import APP_DISK, ARM, BOARD
from image import ext4

# A running or saved board knows the disk's size: it never changes.
SIZE = "64M"
# Files of the cross build, and their places on the disk.
CONTENTS = {
    "app/corvanta": "corvanta",
    "packaging/corvanta-launch": "corvanta-launch",
    "app/plugins/corvanta/libcorvantahttpprobe.so": "plugins/corvanta/libcorvantahttpprobe.so",
    "simulator/programs/modem/modemsim": "modemsim",
    "simulator/programs/chip/chipsim": "chipsim",
    "simulator/programs/chip/chipcheck": "chipcheck",
    "simulator/programs/pppfiles/pppfiles": "pppfiles",
    "simulator/programs/inspector/plugins/generic/libinspector.so":
        "plugins/generic/libinspector.so",
}


def ensure() -> Path:
    """
    The disk; it is made again when a program was built again.

    A board that runs keeps the disk that it has.
    """
    present = {ARM / source: target for source, target in CONTENTS.items()
               if (ARM / source).is_file()}
    key = fingerprint([SIZE, *present])
    mark = APP_DISK.with_suffix(".fingerprint")
    with locked(BOARD / "app.lock"):
        if not (APP_DISK.is_file() and mark.is_file() and mark.read_text() == key):
            with (whole(APP_DISK) as image,
                  tempfile.TemporaryDirectory(dir=BOARD, prefix="app.") as tree):
                for source, target in present.items():
                    Path(tree, target).parent.mkdir(parents=True, exist_ok=True)
                    shutil.copy2(source, Path(tree, target))
                ext4.make(Path(tree), image, SIZE)
            mark.write_text(key)
    return APP_DISK


def missing() -> list[str]:
    """Programs that the cross build has not made yet."""
    return [source for source in CONTENTS if not (ARM / source).is_file()]
