"""The rows on the simulated board, whose processor time is that of counted instructions.

Nothing but the program runs in its process: the field is touched where an earlier start showed it.
"""

from functools import cache
from typing import NamedTuple

from benchmark.effort import Effort
from benchmark.estimate import Pairs
from panel.facts import FIELDS, START_SECONDS
from panel.screen import centre
from virtualboard.board import Board

SETTLE_SECONDS = 6  # after which a program that was started or touched does nothing any more
STARTS = 3
BARE = {"QT_QPA_GENERIC_PLUGINS": ""}  # without the inspector


class Cost(NamedTuple):
    """What a process takes."""

    processor: float  # ms since its start
    resident: float  # MiB
    private: float  # MiB, anonymous


def _cost(board: Board) -> Cost:
    pid = board.program.pid()
    board.guest.sh(f"sleep {SETTLE_SECONDS}", seconds=60)
    rollup = board.guest.sh(f"cat /proc/{pid}/smaps_rollup").splitlines()[1:]
    kib = {name: int(value.split()[0]) for name, value in (line.split(":") for line in rollup)}
    nanoseconds = board.guest.sh(f"cat /proc/{pid}/task/*/schedstat | cut -d' ' -f1").split()
    return Cost(sum(map(int, nanoseconds)) / 1e6, kib["Rss"] / 1024, kib["Anonymous"] / 1024)


@cache
def _costs(size: tuple[int, int]) -> list[tuple[Cost, Cost]]:
    """Of each start: after a field was touched, and before."""
    pairs = []
    with Board(size, f"bench-{size[0]}x{size[1]}") as board:
        board.dongle.plug()
        board.program.start()
        field = board.panel.wait(
            lambda screen: screen.field(FIELDS[0]) if screen.main_window()["visible"] else None,
            START_SECONDS, "the main window")
        board.program.stop()
        for _ in range(STARTS):
            board.program.start(BARE)
            untouched = _cost(board)
            board.fingers.touch(*centre(field))
            pairs.append((_cost(board), untouched))
            board.program.stop()
    return pairs


def figure(size: tuple[int, int], name: str, _: Effort) -> Pairs:
    """@param name of a member of Cost"""
    return [(getattr(touched, name), getattr(untouched, name))
            for touched, untouched in _costs(size)]
