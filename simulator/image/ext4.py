"""Makes disk images of directories without root privileges."""

from pathlib import Path

from host import programs


def make(tree: Path, image: Path, size: str) -> None:
    """
    Make an ext4 image of a directory; root owns all files in it.

    @param size  image size in the syntax of mke2fs, such as "400M"
    """
    # As root, packages are unpacked with their owners.
    programs.run(["fakeroot", "--", "sh", "-c", 'chown -hR 0:0 "$1" && exec mke2fs -q -F -t ext4 '
                  '-O ^has_journal -m 0 -d "$1" "$2" "$3"', "sh", tree, image, size],
                 "making a disk image")
