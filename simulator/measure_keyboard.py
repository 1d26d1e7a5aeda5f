#!/usr/bin/env python3
"""What the on-screen keyboard costs: the panel's memory and processor time with and without it.

Prints medians of several starts, measured in turn on one board for each panel. Nothing but the panel
program runs in the process: the field is touched where an earlier start has shown it.
"""

import argparse
import statistics
from dataclasses import astuple, dataclass

from boardlib import qemu
from boardlib.machine import KEYBOARD, Board
from boardlib.panel import centre

SETTLE_SECONDS = 6  # after which a started panel, or one that was touched, does nothing any more
BARE = {"QT_QPA_GENERIC_PLUGINS": ""}  # without the inspector
FIELD = "APN NAME:"


@dataclass(frozen=True)
class Cost:
    """Of one process, in MiB and in milliseconds of the board's processor since its start."""

    resident: float
    private: float
    processor: float


def cost(board: Board) -> Cost:
    pid = board.panel_pid()
    board.sh(f"sleep {SETTLE_SECONDS}", seconds=60)
    memory = dict(line.split(":") for line in
                  board.sh(f"cat /proc/{pid}/smaps_rollup").splitlines()[1:])
    kib = {name: int(value.split()[0]) for name, value in memory.items()}
    private = kib["Private_Clean"] + kib["Private_Dirty"]
    nanoseconds = board.sh(f"cat /proc/{pid}/task/*/schedstat | cut -d' ' -f1").split()
    return Cost(kib["Rss"] / 1024, private / 1024, sum(map(int, nanoseconds)) / 1e6)


def field_position(board: Board) -> tuple[int, int]:
    board.start_panel()
    field = board.panel.wait(
        lambda screen: screen.field(FIELD) if screen.main_window()["visible"] else None,
        120, "the main window")
    board.stop_panel()
    return centre(field)


def measure(board: Board, starts: int) -> dict[str, list[Cost]]:
    costs: dict[str, list[Cost]] = {"without": [], "with, hidden": [], "with, up": []}
    position = field_position(board)
    for _ in range(starts):
        board.start_panel(BARE)
        costs["without"].append(cost(board))
        board.stop_panel()
        board.start_panel(BARE | KEYBOARD)
        costs["with, hidden"].append(cost(board))
        board.touch(*position)
        costs["with, up"].append(cost(board))
        board.shot("up.png")
        board.stop_panel()
    return costs


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--starts", type=int, default=5, help="of each kind on each panel")
    starts = parser.parse_args().starts
    print("panel     keyboard       resident   private  processor")
    for size in qemu.SIZES:
        with Board(size, f"measure-{size[0]}x{size[1]}") as board:
            board.plug()
            for kind, costs in measure(board, starts).items():
                columns = zip(*map(astuple, costs))
                resident, private, processor = map(statistics.median, columns)
                print(f"{size[0]:4}x{size[1]:<4} {kind:12} {resident:6.1f} MiB {private:5.1f} MiB "
                      f"{processor:6.0f} ms", flush=True)


if __name__ == "__main__":
    main()
