"""Makes the sysroot that the cross build compiles and links against."""

from pathlib import Path

from host.files import remove, whole
from host.paths import ARM, SYSROOT_NAME
from image import debian


def ensure() -> Path:
    """Return the sysroot's directory, and make it again when its packages have changed."""
    sysroot = debian.unpacked("sysroot", for_host=True)
    if not (SYSROOT_NAME.is_file() and SYSROOT_NAME.read_text("utf-8") == str(sysroot)):
        remove(ARM / "CMakeCache.txt")  # it has paths in the previous sysroot
        with whole(SYSROOT_NAME) as unfinished:
            unfinished.write_text(str(sysroot), encoding="utf-8")
    return sysroot
