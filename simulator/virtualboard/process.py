"""The QEMU process of a run, and a record with which other processes of the host find it."""

import os
import signal
import time
from dataclasses import dataclass
from pathlib import Path

RECORD = "board"  # process ID, width and height
LOOK_SECONDS = 0.01  # interval of the checks whether QEMU has exited


@dataclass(frozen=True)
class Process:
    """
    A QEMU process.

    @param directory  the run's directory, which is QEMU's working directory; a process that
           reuses the process ID has another one
    @param size  panel size in pixels
    """

    pid: int
    directory: Path
    size: tuple[int, int]

    @classmethod
    def of(cls, directory: Path) -> "Process | None":
        """Return the running process of a run's directory, or None."""
        try:
            pid, width, height = map(int, (directory / RECORD).read_text().split())
        except (FileNotFoundError, ValueError):
            return None
        found = cls(pid, directory, (width, height))
        return found if found.alive() else None

    def note(self) -> None:
        """Write the record of a new process into its run's directory."""
        (self.directory / RECORD).write_text(f"{self.pid} {self.size[0]} {self.size[1]}\n")

    def alive(self) -> bool:
        """Return true while the process runs; false for a zombie."""
        try:
            return Path(f"/proc/{self.pid}/cwd").samefile(self.directory)
        except OSError:
            return False

    def kill(self) -> None:
        """Send SIGKILL to the process, if it runs."""
        if self.alive():
            os.kill(self.pid, signal.SIGKILL)

    def end(self) -> None:
        """Kill the process and wait until it has exited."""
        self.kill()
        while self.alive():
            time.sleep(LOOK_SECONDS)
