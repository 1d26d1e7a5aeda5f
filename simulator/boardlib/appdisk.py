"""The disk with the programs under test, which the board mounts at /app."""

import shutil
import tempfile
from pathlib import Path

from . import host
from .paths import APP_DISK, ARM, BOARD
from .rootfs import make_ext4

# A running or saved board knows the disk's size: it never changes.
SIZE = "64M"
CONTENTS = {"app/corvanta": "corvanta", "simulator/modem/modemsim": "modemsim",
            "simulator/chip/chipsim": "chipsim", "simulator/chip/chipcheck": "chipcheck",
            "platform/keyboard/plugins/corvanta/libcorvantakeyboard.so":
                "plugins/corvanta/libcorvantakeyboard.so",
            "simulator/inspector/plugins/generic/libinspector.so":
                "plugins/generic/libinspector.so"}


def ensure() -> Path:
    """The disk, made again when a program was built again; a board that runs keeps its old one."""
    present = {ARM / source: target for source, target in CONTENTS.items()
               if (ARM / source).is_file()}
    key = host.fingerprint([SIZE, *present])
    mark = APP_DISK.with_suffix(".fingerprint")
    with host.locked(BOARD / "app.lock"):
        if not (APP_DISK.is_file() and mark.is_file() and mark.read_text() == key):
            with (host.whole(APP_DISK) as image,
                  tempfile.TemporaryDirectory(dir=BOARD, prefix="app.") as tree):
                for source, target in present.items():
                    Path(tree, target).parent.mkdir(parents=True, exist_ok=True)
                    shutil.copy2(source, Path(tree, target))
                make_ext4(Path(tree), image, SIZE)
            mark.write_text(key)
    return APP_DISK


def missing() -> list[str]:
    """Programs that the cross build has not made yet."""
    return [source for source in CONTENTS if not (ARM / source).is_file()]
