"""The board's architecture: all names and options that differ between architectures."""

import os
from dataclasses import dataclass


@dataclass(frozen=True)
class Architecture:
    """
    An architecture that the board can have.

    @param name  Debian's name of the architecture
    @param triplet  GNU triplet, the prefix of the cross compiler
    @param preset  CMake preset of the cross build, and its directory in build/
    @param board  directory in build/ for the board's files
    @param qemu  the emulator, and its options for machine and CPU
    """

    name: str
    triplet: str
    preset: str
    board: str
    qemu: tuple[str, ...]


ARCHITECTURES = {known.name: known for known in (
    Architecture("armhf", "arm-linux-gnueabihf", "arm", "board",
                 ("qemu-system-arm", "-M", "virt,highmem=off,gic-version=2",
                  "-cpu", "cortex-a15")),
    Architecture("arm64", "aarch64-linux-gnu", "arm64", "board-arm64",
                 ("qemu-system-aarch64", "-M", "virt,highmem=off,gic-version=2",
                  "-cpu", "cortex-a53")))}
VARIABLE = "CORVANTA_ARCH"
ARCH = ARCHITECTURES[os.environ.get(VARIABLE) or "armhf"]
