"""Makes the sysroot that the cross build compiles and links against."""

from pathlib import Path

from host import programs
from host.errors import BoardError
from host.files import fingerprint, is_current, locked, mark_current, whole
from host.paths import BOARD, IMAGE_DATA, SYSROOT, SYSROOT_NAME, cache
from image import database
from image.debian import Archive, package_list
from image.unpack import relative_links, unpack


def ensure() -> Path:
    """Return the sysroot's directory, and make it again when its packages have changed."""
    programs.require_packages()
    packages = Archive().fetch(package_list(IMAGE_DATA / "sysroot-packages.txt"))
    here = Path(__file__)
    key = fingerprint([p.name for p in packages]
                      + [here.with_name("unpack.py"), here.with_name("database.py")])
    with locked(BOARD / "sysroot.lock"):
        if not is_current(SYSROOT, key):
            with whole(SYSROOT) as unfinished:
                unfinished.mkdir()
                unpack(packages, unfinished)
                relative_links(unfinished)
                database.write(packages, unfinished, _name(SYSROOT))
                mark_current(unfinished, key)
        _name_without_blank(SYSROOT)
    return SYSROOT


def _name(sysroot: Path) -> Path:
    """
    Return the path by which the cross build finds the sysroot.

    pkg-config cannot handle a space in it; a symbolic link in the cache avoids the space.

    @raise BoardError when the cache's path also contains a space
    """
    if " " not in str(sysroot):
        return sysroot
    name = cache() / f"sysroot-{fingerprint([str(sysroot)])[:16]}"
    if " " in str(name):
        raise BoardError(f"there is a blank in {sysroot} and in {name}: name a folder without "
                         "one by CORVANTA_CACHE")
    return name


def _name_without_blank(sysroot: Path) -> None:
    """Write the path to a file for the cross build, and create the link if it needs one."""
    name = _name(sysroot)
    if name != sysroot and not (name.is_symlink() and name.readlink() == sysroot):
        name.unlink(missing_ok=True)
        name.symlink_to(sysroot)
    if not (SYSROOT_NAME.is_file() and SYSROOT_NAME.read_text() == str(name)):
        SYSROOT_NAME.write_text(str(name))
