"""The journal that fakes/loop.c keeps of an event loop."""

import struct
from mmap import mmap
from typing import NamedTuple

HEADER = struct.Struct("=q")
ENTRY = struct.Struct("=qqqqii")


class Entry(NamedTuple):
    """One wait of the main thread; times in nanoseconds."""

    waits: int  # when it began, on the monotonic clock
    back: int  # when it ended; 0 while it lasts
    own: int  # processor time of the process until the wait
    children: int  # and of the children that it has waited for
    timeout: int  # in milliseconds; -1 without one
    painted: int  # whether the panel showed anything

    @property
    def processor(self) -> int:
        """Processor time of the process and of its commands."""
        return self.own + self.children

    @property
    def idle(self) -> bool:
        """Whether the process had nothing to do, on a painted panel."""
        return self.timeout != 0 and bool(self.painted)


def size(entries: int) -> int:
    """Bytes of a journal of so many entries."""
    return HEADER.size + entries * ENTRY.size


def read(journal: bytes | mmap) -> list[Entry]:
    """The entries of a journal."""
    count: int = HEADER.unpack_from(journal)[0]
    return [Entry(*fields) for fields in ENTRY.iter_unpack(journal[HEADER.size:size(count)])]


def longest_gap(waits: list[Entry]) -> int:
    """The longest time between the end of a wait and the next one, in nanoseconds: no touch and no
    signal is served then."""
    return max((later.waits - earlier.back for earlier, later in zip(waits, waits[1:])), default=0)
