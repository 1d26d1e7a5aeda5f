"""The board's architecture: all names and options that differ between architectures."""

import os
from typing import NamedTuple


class Architecture(NamedTuple):
    """An architecture that the board can have."""

    name: str  # Debian's name of the architecture
    preset: str  # CMake preset of the cross build, and its directory in build/
    board: str  # directory in build/ for the board's files
    qemu: tuple[str, ...]  # the emulator, and its options for machine and CPU


ARCHITECTURES = {known.name: known for known in (
    Architecture("armhf", "arm", "board",
                 ("qemu-system-arm", "-M", "virt,highmem=off,gic-version=2",
                  "-cpu", "cortex-a15")),
    Architecture("arm64", "arm64", "board-arm64",
                 ("qemu-system-aarch64", "-M", "virt,highmem=off,gic-version=2",
                  "-cpu", "cortex-a53")))}
VARIABLE = "CORVANTA_ARCH"
ARCH = ARCHITECTURES[os.environ.get(VARIABLE) or "armhf"]
