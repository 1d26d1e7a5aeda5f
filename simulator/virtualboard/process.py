"""The QEMU process of a run, as any process of the host can find it again."""

import json
import os
import select
import signal
from dataclasses import asdict, dataclass
from pathlib import Path

from host.errors import BoardError

RECORD = "board.json"
END_SECONDS = 5  # for an end in order, and once more for one by force


def _fields(pid: int) -> list[str]:
    """The fields of /proc/PID/stat from the state on; none when the process is gone."""
    try:
        return Path(f"/proc/{pid}/stat").read_text("ascii").rpartition(")")[2].split()
    except OSError:
        return []


@dataclass(frozen=True)
class Process:
    """
    One process of QEMU.

    @param started  clock ticks from the host's boot to its start, which tell it from a later
           process of that number
    @param size  the panel's, in pixels
    """

    pid: int
    started: str
    size: tuple[int, int]

    @classmethod
    def of(cls, folder: Path) -> "Process | None":
        """The process that runs in a run's folder; None when there is none."""
        try:
            record = json.loads((folder / RECORD).read_text("utf-8"))
            width, height = record["size"]
            found = cls(record["pid"], record["started"], (width, height))
        except (OSError, ValueError, KeyError, TypeError):
            return None
        return found if found.alive() else None

    @classmethod
    def note(cls, folder: Path, pid: int, size: tuple[int, int]) -> "Process":
        """Leave a record of a new process in its run's folder."""
        process = cls(pid, "".join(_fields(pid)[19:20]), size)
        (folder / RECORD).write_text(json.dumps(asdict(process)))
        return process

    def alive(self) -> bool:
        """Whether it runs; one that only waits for its parent has ended."""
        fields = _fields(self.pid)
        return bool(fields) and fields[19] == self.started and fields[0] != "Z"

    def kill(self) -> None:
        """End it at once; nothing happens when it has ended."""
        if self.alive():
            os.kill(self.pid, signal.SIGKILL)

    def end(self) -> None:
        """End it in order, then by force. @raise BoardError when it stays"""
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
