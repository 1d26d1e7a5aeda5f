"""The QEMU process of a run, and a record with which other processes of the host find it."""

import json
import os
import signal
import time
from dataclasses import asdict, dataclass
from pathlib import Path

from host.errors import BoardError

RECORD = "board.json"
EXIT_SECONDS = 5  # timeout for the exit after SIGKILL
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
    directory: str
    size: tuple[int, int]

    @classmethod
    def of(cls, directory: Path) -> "Process | None":
        """Return the running process of a run's directory, or None."""
        try:
            record = json.loads((directory / RECORD).read_text("utf-8"))
            width, height = record["size"]
            found = cls(record["pid"], record["directory"], (width, height))
        except (OSError, ValueError, KeyError):
            return None
        return found if found.alive() else None

    @classmethod
    def note(cls, directory: Path, pid: int, size: tuple[int, int]) -> "Process":
        """Write the record of a new process into its run's directory."""
        process = cls(pid, str(directory.resolve()), size)
        (directory / RECORD).write_text(json.dumps(asdict(process)))
        return process

    def alive(self) -> bool:
        """Return true while the process runs; false for a zombie."""
        try:
            return os.readlink(f"/proc/{self.pid}/cwd") == self.directory
        except OSError:
            return False

    def kill(self) -> None:
        """Send SIGKILL to the process, if it runs."""
        if self.alive():
            os.kill(self.pid, signal.SIGKILL)

    def end(self) -> None:
        """Kill the process and wait. @raise BoardError when it does not exit"""
        self.kill()
        deadline = time.monotonic() + EXIT_SECONDS
        while self.alive():
            if time.monotonic() > deadline:
                raise BoardError(f"QEMU (process {self.pid}) does not exit")
            time.sleep(LOOK_SECONDS)
