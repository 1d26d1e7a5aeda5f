"""Reads the state of the host's processes from /proc."""

from __future__ import annotations

import os
from contextlib import suppress
from pathlib import Path

ENDED = ("", "<defunct>")  # names of a process that has exited


def _fields(pid: int) -> tuple[str, list[str]]:
    """Return a process's name and the fields after it in /proc/PID/stat; ("", []) if it does not
    exist."""
    try:
        text = Path(f"/proc/{pid}/stat").read_text()
    except (FileNotFoundError, ProcessLookupError):
        return "", []
    name, _, fields = text.partition("(")[2].rpartition(")")
    return name, fields.split()


def process_name(pid: int) -> str:
    """Return the process's name, or one of ENDED."""
    name, fields = _fields(pid)
    return "<defunct>" if fields[:1] == ["Z"] else name


def children(parent: int) -> list[int]:
    """Return the process IDs of the children of a process."""
    found: list[int] = []
    with suppress(FileNotFoundError, ProcessLookupError):  # The process has exited.
        for thread in os.listdir(f"/proc/{parent}/task"):
            with suppress(FileNotFoundError, ProcessLookupError):  # This thread has exited.
                listed = Path(f"/proc/{parent}/task/{thread}/children").read_text()
                found += map(int, listed.split())
    return found


def descendants(ancestor: int) -> list[int]:
    """Return the process IDs of the children of a process, of their children, and so on."""
    return [pid for child in children(ancestor) for pid in (child, *descendants(child))]


def is_pending(pid: int, signal: int) -> bool:
    """Return true when a signal is pending for a process, rather than for one of its threads."""
    status = Path(f"/proc/{pid}/status").read_text()
    return bool(int(status.split("ShdPnd:")[1].split()[0], 16) >> (signal - 1) & 1)


def processor_ticks(pid: int) -> int:
    """Return the CPU time of a process and of the children it has waited for, in clock ticks."""
    return sum(int(field) for field in _fields(pid)[1][11:15])


def wakeups(pid: int) -> int:
    """Return the number of voluntary context switches of all threads of a process so far."""
    statuses = [file.read_text() for file in Path(f"/proc/{pid}/task").glob("*/status")]
    return sum(int(status.partition("\nvoluntary_ctxt_switches:")[2].split()[0])
               for status in statuses)


def _rollup_kib(pid: int, name: str) -> int:
    rollup = Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
    return int(rollup.partition(f"\n{name}:")[2].split()[0])


def resident_kib(pid: int) -> int:
    """Return the resident memory (RSS) of a process in KiB."""
    return _rollup_kib(pid, "Rss")


def private_kib(pid: int) -> int:
    """Return the anonymous memory of a process in KiB, which is not backed by files."""
    return _rollup_kib(pid, "Anonymous")
