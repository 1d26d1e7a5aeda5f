"""Makes disk images of directories without root privileges."""

from pathlib import Path

from host import programs


def make(tree: Path, image: Path, size: str) -> None:
    """
    Make an ext4 image of a directory; root owns all files in it.

    @param size  image size in the syntax of truncate(1), such as "400M"
    """
    programs.run(["truncate", "-s", size, image], "making a disk image")
    # As root, packages are unpacked with their owners.
    programs.run(["fakeroot", "--", "sh", "-c", 'chown -hR 0:0 "$1" && exec mke2fs -q -F -t ext4 '
                  '-O ^has_journal -m 0 -d "$1" "$2"', "sh", tree, image], "filling a disk image")
