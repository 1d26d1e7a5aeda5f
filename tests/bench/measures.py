"""The measurements of ./bench.

Each takes the number of rounds. It returns one list per row of its group, with one pair per round:
the program's figure, and the reference's figure or 0. Times are in ms, memory in MiB.
"""

import re
import time
from contextlib import ExitStack
from pathlib import Path
from signal import SIGUSR1

from bench.root import FIELD, FLOOR, HIDE, LIMIT_SECONDS, PROGRAM, BenchRoot
from panel.constants import (BUTTON_GUARD_SECONDS, DOUBLE_TOUCH_SECONDS, MISC, SETTING,
                             START_SECONDS, STATUS)
from panel.screen import centre
from privateroot.procfs import wakeups
from virtualboard.board import Board

Pairs = list[tuple[float, float]]

MS = 1e6  # nanoseconds
IDLE_SECONDS = 60
CACHE_SECONDS = 70  # time until Qt's pixmap cache has released the pixmaps of the start-up
BOARD_SETTLE_SECONDS = 6  # time until a program on the board is idle after a start or touch

# By name: the items to touch before the program is idle, and true if the link is up.
IDLE_STATES = {f"{page}, link {link}": ([page], link == "up")
               for page in (SETTING, STATUS, MISC) for link in ("down", "up")}
IDLE_STATES |= {"keyboard shown": ([FIELD], False), "keyboard hidden again": ([FIELD, HIDE], False)}


def start(program: str) -> tuple[float, ...]:
    """Return time and CPU time from the start to the first frame in ms, resident and private memory
    in MiB, and the number of shared libraries."""
    with BenchRoot(program) as root:
        first = root.launch()
        maps = Path(f"/proc/{root.pid}/maps").read_text()
        libraries = set(re.findall(r" /(?!testbench/)\S+\.so\S*", maps))
        return ((first.begin - int(root.content("/testrun/started"))) / MS, first.cpu / MS,
                *root.memory(), len(libraries))


def starts(rounds: int) -> list[Pairs]:
    pairs = [(start(PROGRAM), start(FLOOR)) for _ in range(rounds)]
    return [[(ours[at], theirs[at]) for ours, theirs in pairs] for at in range(5)]


def instructions(program: str, variables: str = "") -> float:
    """Return the instructions from the start until the process is first idle, in millions."""
    words = (f"CORVANTA_BENCH_STOP=1 {variables} "
             "/usr/bin/valgrind --tool=callgrind --callgrind-out-file=/dev/null")
    with BenchRoot(program, words) as root:
        root.run_to_end()
        return int(root.content("/testrun/stderr").partition(b"Collected : ")[2].split()[0]) / 1e6


def start_instructions(rounds: int) -> list[Pairs]:
    """Compare the program with the baseline, and with itself with all fonts of the board."""
    measured = [(instructions(PROGRAM), instructions(FLOOR),
                 instructions(PROGRAM, "FONTCONFIG_SYSROOT=/"))
                for _ in range(max(1, rounds // 15))]
    return [[(ours, theirs[at]) for ours, *theirs in measured] for at in range(2)]


def check_costs() -> tuple[float, ...]:
    """Return the CPU time in ms of a link check with the status page hidden and shown, then of the
    C reference. Each is the second of its kind."""
    with BenchRoot() as root:
        root.launch()
        root.do(root.signal, SIGUSR1)
        costs = []
        for page in (SETTING, STATUS):
            before = root.do(root.touch, page).cpu
            costs.append((root.do(root.signal, SIGUSR1).cpu - before) / MS)
    with BenchRoot(FLOOR, argument="check") as root:
        root.run_to_end()
        first, second = root.waits()
        return *costs, (second.cpu - first.cpu) / MS


def checks(rounds: int) -> list[Pairs]:
    measured = [check_costs() for _ in range(rounds)]
    return [[(costs[at], costs[2]) for costs in measured] for at in range(2)]


def connect_cost(program: str) -> float:
    """Return the CPU time in ms from a touch on Connect until the start of pppd."""
    with BenchRoot(program) as root:
        root.launch()
        root.do(root.touch, MISC)
        before = root.do(root.touch, "YES").cpu
        time.sleep(BUTTON_GUARD_SECONDS)
        root.touch("Connect")
        dialled = root.wait_calls("pppd", 1).time * 1e9
        root.wait_until(lambda: root.waits()[-1].begin > dialled, LIMIT_SECONDS, "the event loop")
        return (next(wait for wait in root.waits() if wait.begin > dialled).cpu - before) / MS


def connects(rounds: int) -> list[Pairs]:
    return [[(connect_cost(PROGRAM), connect_cost(FLOOR)) for _ in range(rounds)]]


def idle(_: int) -> list[Pairs]:
    """Count the wakeups in each of IDLE_STATES, in parallel, with one process per state."""
    with ExitStack() as stack:
        roots = [stack.enter_context(BenchRoot()) for _ in IDLE_STATES]
        for root, (touched, link_up) in zip(roots, IDLE_STATES.values()):
            root.set_link(link_up)
            root.launch()
            for item in touched:
                root.do(root.touch, item)
                time.sleep(DOUBLE_TOUCH_SECONDS)
        time.sleep(CACHE_SECONDS)
        before = [wakeups(root.pid) for root in roots]
        time.sleep(IDLE_SECONDS)
        after = [wakeups(root.pid) for root in roots]
    return [[(late - early, 0)] for late, early in zip(after, before)]


def board_cost(board: Board) -> tuple[float, ...]:
    """Return CPU time since the start in ms; resident and private anonymous memory in MiB."""
    process = f"/proc/{board.program.pid()}"
    board.guest.sh(f"sleep {BOARD_SETTLE_SECONDS}", seconds=60)
    cpu = board.guest.sh(f"cat {process}/task/*/schedstat | cut -d' ' -f1").split()
    kib = board.guest.sh(f"grep -E '^(Rss|Anonymous):' {process}/smaps_rollup").split()
    return sum(map(int, cpu)) / 1e6, int(kib[1]) / 1024, int(kib[4]) / 1024


def keyboard_on_board(size: tuple[int, int], _: int) -> list[Pairs]:
    """Measure a touch on a field on the simulated board, where CPU time is a count of instructions.

    @return each figure of board_cost() after and before the touch"""
    with Board(size, f"bench-{size[0]}x{size[1]}") as board:
        board.dongle.plug()
        board.program.start()
        field = board.panel.wait(
            lambda screen: screen.field(FIELD) if screen.main_window()["visible"] else None,
            START_SECONDS, "the main window")
        board.program.stop()
        board.program.start({"QT_QPA_GENERIC_PLUGINS": ""})  # without the inspector
        untouched = board_cost(board)
        board.fingers.touch(*centre(field))
        return [[pair] for pair in zip(board_cost(board), untouched)]
