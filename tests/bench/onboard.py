"""Measures the cost of the keyboard on the simulated board, whose CPU time counts instructions.

The inspector is not loaded: the touch goes to the field's position in an earlier start.
"""

import subprocess
import sys
from functools import cache

from bench.measures import Pairs
from panel.facts import FIELDS, START_SECONDS
from panel.screen import centre
from virtualboard.board import Board

SETTLE_SECONDS = 6  # after which a started or touched program is idle
STARTS = 3


@cache
def build_board() -> None:
    """Build the simulated board, as ./run does."""
    packages = "simulator/image/data/host-packages.txt"
    for words in (["tools/install-packages", packages], ["tools/build-board"]):
        subprocess.run(words, stdout=sys.stderr, check=True)


def cost(board: Board) -> tuple[float, ...]:
    """Return CPU time since the start in ms; resident and private anonymous memory in MiB."""
    process = f"/proc/{board.program.pid()}"
    board.guest.sh(f"sleep {SETTLE_SECONDS}", seconds=60)
    cpu = board.guest.sh(f"cat {process}/task/*/schedstat | cut -d' ' -f1").split()
    kib = board.guest.sh(f"grep -E '^(Rss|Anonymous):' {process}/smaps_rollup").split()
    return sum(map(int, cpu)) / 1e6, int(kib[1]) / 1024, int(kib[4]) / 1024


def keyboard_cost(size: tuple[int, int], _: int) -> list[Pairs]:
    """Return each figure of cost() after and before a touch on a field."""
    build_board()
    pairs = []
    with Board(size, f"bench-{size[0]}x{size[1]}") as board:
        board.dongle.plug()
        board.program.start()
        field = board.panel.wait(
            lambda screen: screen.field(FIELDS[0]) if screen.main_window()["visible"] else None,
            START_SECONDS, "the main window")
        board.program.stop()
        for _ in range(STARTS):
            board.program.start({"QT_QPA_GENERIC_PLUGINS": ""})  # without the inspector
            untouched = cost(board)
            board.fingers.touch(*centre(field))
            pairs.append((cost(board), untouched))
            board.program.stop()
    return [[(touched[at], untouched[at]) for touched, untouched in pairs] for at in range(3)]
