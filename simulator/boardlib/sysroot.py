"""The armhf sysroot that cross-building compiles and links against."""

from pathlib import Path

from . import host
from .debian import Archive
from .paths import BOARD, SYSROOT
from .unpack import relative_links, unpack

MARK = ".fingerprint"


def ensure() -> Path:
    """The sysroot's folder, made or renewed when its packages changed."""
    host.require_packages()
    packages = Archive().fetch(host.read_list("sysroot-packages.txt"))
    key = host.fingerprint([p.name for p in packages] + [Path(__file__).with_name("unpack.py")])
    with host.locked(BOARD / "sysroot.lock"):
        if not _is_current(key):
            with host.whole(SYSROOT) as unfinished:
                unfinished.mkdir()
                unpack(packages, unfinished)
                relative_links(unfinished)
                (unfinished / MARK).write_text(key)
    return SYSROOT


def _is_current(key: str) -> bool:
    mark = SYSROOT / MARK
    return mark.is_file() and mark.read_text() == key
