"""Disk images of folders, made without root's rights."""

from pathlib import Path

from host import programs


def make(tree: Path, image: Path, size: str) -> None:
    """
    Make an ext4 image of a folder; root owns all of it.

    @param size  of the image, as truncate spells it ("400M")
    """
    programs.run(["truncate", "-s", size, image], "making a disk image")
    programs.run(["fakeroot", "--", "mke2fs", "-q", "-F", "-t", "ext4", "-O", "^has_journal",
                  "-m", "0", "-d", tree, image], "filling a disk image")
