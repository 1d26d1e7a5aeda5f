"""Paths of the board's files in the source tree, the build directory and the user's cache."""

import os
from pathlib import Path

from host.architecture import ARCH

ROOT = Path(__file__).resolve().parents[2]
SIMULATOR = ROOT / "simulator"
IMAGE_DATA = SIMULATOR / "image/data"
HOST_PACKAGES = IMAGE_DATA / "host-packages.txt"
GUEST = SIMULATOR / "image/guest"
TRANSLATIONS = ROOT / "resources/translations"

BUILD = ROOT / "build"
BOARD = BUILD / ARCH.board
SYSROOT_NAME = BOARD / "sysroot.name"  # contains the path of the sysroot
MACHINE = BOARD / "machine"
APP_DISK = BOARD / "app.ext4"
RUNS = BUILD / "runs"
ARM = BUILD / ARCH.preset


def cache() -> Path:
    """Return the cache directory, which all build directories of the user share."""
    base = os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache"
    return Path(base).absolute() / "corvanta"
