"""Processes of this machine, from /proc."""

from __future__ import annotations

import os
from contextlib import suppress
from pathlib import Path

ENDED = ("", "<defunct>")  # names of a process that runs no more


def _fields(pid: int) -> tuple[str, list[str]]:
    """The process's name and what /proc tells behind it; ("", []) once it is gone."""
    try:
        text = Path(f"/proc/{pid}/stat").read_text()
    except (FileNotFoundError, ProcessLookupError):
        return "", []
    name, _, fields = text.partition("(")[2].rpartition(")")
    return name, fields.split()


def process_name(pid: int) -> str:
    """The process's name, or one of ENDED."""
    name, fields = _fields(pid)
    return "<defunct>" if fields[:1] == ["Z"] else name


def children(parent: int) -> list[int]:
    """The processes that are children of a process now."""
    found: list[int] = []
    with suppress(FileNotFoundError, ProcessLookupError):  # The process has ended.
        for thread in os.listdir(f"/proc/{parent}/task"):
            with suppress(FileNotFoundError, ProcessLookupError):  # This thread has ended.
                listed = Path(f"/proc/{parent}/task/{thread}/children").read_text()
                found += map(int, listed.split())
    return found


def descendants(ancestor: int) -> list[int]:
    """The children of a process, their children and so on."""
    found = []
    waiting = children(ancestor)
    while waiting:
        pid = waiting.pop()
        found.append(pid)
        waiting += children(pid)
    return found


def is_pending(pid: int, signal: int) -> bool:
    """Whether a process has a signal that no thread of it has handled yet."""
    status = Path(f"/proc/{pid}/status").read_text()
    return bool(int(status.split("ShdPnd:")[1].split()[0], 16) >> (signal - 1) & 1)


def processor_ticks(pid: int) -> int:
    """Processor time of a process and of the children that it has waited for, in clock ticks."""
    return sum(int(field) for field in _fields(pid)[1][11:15])


def wakeups(pid: int) -> int:
    """How often any thread of a process has gone to sleep so far."""
    statuses = [file.read_text() for file in Path(f"/proc/{pid}/task").glob("*/status")]
    return sum(int(status.partition("\nvoluntary_ctxt_switches:")[2].split()[0])
               for status in statuses)


def _rollup_kib(pid: int, name: str) -> int:
    rollup = Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
    return int(rollup.partition(f"\n{name}:")[2].split()[0])


def resident_kib(pid: int) -> int:
    """The process's memory that is not swapped out or still on disk, in KiB."""
    return _rollup_kib(pid, "Rss")


def private_kib(pid: int) -> int:
    """The process's memory that no file could give back, in KiB."""
    return _rollup_kib(pid, "Anonymous")
