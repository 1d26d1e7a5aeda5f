"""The tables of ./bench: what is measured, against what, and the goal."""

from collections.abc import Callable
from functools import partial
from typing import NamedTuple

from benchmark import growth, onboard, running, starts
from benchmark.effort import Effort
from benchmark.estimate import Judge, Pairs
from panel.facts import SETTING, SIZES, STATUS

RATIO, EXCESS, FIGURE = Judge.RATIO, Judge.EXCESS, Judge.FIGURE
FLOOR = "the floor program"
BARE = "the same in bare C"
UNTOUCHED = "before a touch"


class Row(NamedTuple):
    """One row."""

    name: str  # on the command line
    what: str  # with the unit
    against: str  # "" where the figure itself is judged
    judge: Judge
    bound: float | None  # the goal is this or less; None where there is none
    measure: Callable[[Effort], Pairs]


def _row(name: str, what: str, bound: float | None, measure: Callable[[Effort], Pairs]) -> Row:
    """A row whose figure itself is judged."""
    return Row(name, what, "", FIGURE, bound, measure)


NATIVE = (
    Row("instructions", "start to first idle, M instructions", FLOOR, RATIO, 0.97,
        starts.instructions),
    Row("time", "start to first picture, ms", FLOOR, RATIO, 1.03,
        partial(starts.figure, "time")),
    Row("cpu", "start to first picture, ms of processor", FLOOR, RATIO, 1.05,
        partial(starts.figure, "processor")),
    Row("resident", "resident memory, idle, MiB", FLOOR, RATIO, 1.03,
        partial(starts.figure, "resident")),
    Row("private", "private anonymous memory, idle, MiB", FLOOR, RATIO, 1.06,
        partial(starts.figure, "private")),
    Row("libraries", "shared libraries", FLOOR, EXCESS, 0, starts.libraries),
    _row("stripped", "the stripped program, KiB", 200, starts.stripped),
    Row("fonts", "start with the panel's own fonts file, M instructions", "without it", RATIO,
        None, starts.own_fonts),
    Row("keys-up", "private memory, keys up, MiB", UNTOUCHED, EXCESS, 1.5,
        partial(running.keys_memory, "up")),
    Row("keys-hidden", "private memory, keys hidden after 100 appearances, MiB", UNTOUCHED, EXCESS,
        1.0, partial(running.keys_memory, "hidden")),
    # A caret may blink while the keys are up: twice a second.
    *(_row(f"idle-{number}", f"wake-ups in 60 s: {what}, link {'up' if link else 'down'}",
           122 if what == "keys up" else 0, partial(running.idle, (what, link)))
      for number, (what, link) in enumerate(running.IDLE_STATES, 1)),
    Row("connect", "Connect touched to pppd started, ms of processor", BARE, RATIO, 1.2,
        running.connect),
    Row("check-hidden", "link check, status page hidden, ms of processor", BARE, RATIO, 1.05,
        partial(running.check, SETTING)),
    Row("check-shown", "link check, status page shown, ms of processor", BARE, RATIO, 1.05,
        partial(running.check, STATUS)),
    *(_row(f"gap-{name}", f"longest gap while waiting for the {name}, ms", 30,
           partial(running.gap, name)) for name in running.WAITS),
    Row("exit", "Exit touched to the process's end, ms", FLOOR, RATIO, 1.3, running.leave),
)
# A tenth of a KiB: the allocator may take a page more in a few hundred times.
GROWTH = (
    _row("per-check", "private memory per link check, KiB", 0.1, growth.per_check),
    _row("per-pull", "private memory per dongle pulled and plugged, KiB", 0.1, growth.per_pull),
    _row("per-failure", "private memory per failed connect, KiB", None, growth.per_failure),
    _row("per-appearance", "private memory per appearance of the keys, KiB", 0.1,
         growth.per_appearance),
    *(Row(f"lines-{lines}", f"start to first picture, {lines} lines of parameters, ms",
          "six lines", RATIO, None, partial(growth.large_file, lines))
      for lines in (1_000, 100_000, 1_000_000)),
)
BOARD = tuple(
    Row(f"board-{width}x{height}-{name}", f"{width}x{height}, a field touched: {what}", UNTOUCHED,
        EXCESS, None, partial(onboard.figure, (width, height), name))
    for width, height in SIZES
    for name, what in (("processor", "ms of processor since the start"),
                       ("resident", "resident memory, MiB"), ("private", "private memory, MiB")))
TABLES = {"Against the least that it could cost": NATIVE, "Growth": GROWTH,
          "On the simulated board": BOARD}
