"""The QEMU process of a run, with a record by which any process of the host finds it."""

import json
import os
import select
import signal
from dataclasses import asdict, dataclass
from pathlib import Path

from host.errors import BoardError

RECORD = "board.json"
END_SECONDS = 5  # to wait after SIGTERM, and again after SIGKILL


def _fields(pid: int) -> list[str]:
    """Return the fields of /proc/PID/stat from the state on, or none without such a process."""
    try:
        return Path(f"/proc/{pid}/stat").read_text("ascii").rpartition(")")[2].split()
    except OSError:
        return []


@dataclass(frozen=True)
class Process:
    """
    A QEMU process.

    @param started  start time in clock ticks since the host's boot, to detect a reused process id
    @param size  panel size in pixels
    """

    pid: int
    started: str
    size: tuple[int, int]

    @classmethod
    def of(cls, folder: Path) -> "Process | None":
        """Return the running process of a run's directory, or None."""
        try:
            record = json.loads((folder / RECORD).read_text("utf-8"))
            width, height = record["size"]
            found = cls(record["pid"], record["started"], (width, height))
        except (OSError, ValueError, KeyError, TypeError):
            return None
        return found if found.alive() else None

    @classmethod
    def note(cls, folder: Path, pid: int, size: tuple[int, int]) -> "Process":
        """Write the record of a new process into its run's directory."""
        process = cls(pid, "".join(_fields(pid)[19:20]), size)
        (folder / RECORD).write_text(json.dumps(asdict(process)))
        return process

    def alive(self) -> bool:
        """Return true while the process runs; a zombie does not."""
        fields = _fields(self.pid)
        return bool(fields) and fields[19] == self.started and fields[0] != "Z"

    def kill(self) -> None:
        """Send SIGKILL to the process, if it runs."""
        if self.alive():
            os.kill(self.pid, signal.SIGKILL)

    def end(self) -> None:
        """Send SIGTERM, then SIGKILL. @raise BoardError when the process does not exit"""
        try:
            handle = os.pidfd_open(self.pid)
        except ProcessLookupError:
            return
        try:
            for number in (signal.SIGTERM, signal.SIGKILL):
                if not self.alive():
                    return
                signal.pidfd_send_signal(handle, number)
                select.select([handle], [], [], END_SECONDS)
        finally:
            os.close(handle)
        if self.alive():
            raise BoardError(f"QEMU (process {self.pid}) does not end")
