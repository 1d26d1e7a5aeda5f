"""The tables of ./bench: what is measured, against what, and the goal."""

from collections.abc import Callable
from functools import partial
from typing import NamedTuple

from benchmark import growth, onboard, running, starts
from benchmark.effort import Effort
from benchmark.estimate import Judge, Pairs
from panel.facts import SETTING, SIZES, STATUS

RATIO, EXCESS, FIGURE = Judge.RATIO, Judge.EXCESS, Judge.FIGURE
FLOOR = "baseline program"
BARE = "C reference"
UNTOUCHED = "before a touch"
SHOWN = {"keys up": "keyboard shown", "keys hidden again": "keyboard hidden again"}
AWAITED = {"node": "device node", "signal": "modem's answer"}


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
    Row("instructions", "start to first idle, million instructions", FLOOR, RATIO, 0.97,
        starts.instructions),
    Row("time", "start to first frame, ms", FLOOR, RATIO, 1.03,
        partial(starts.figure, "time")),
    Row("cpu", "start to first frame, CPU time, ms", FLOOR, RATIO, 1.05,
        partial(starts.figure, "processor")),
    Row("resident", "resident memory, idle, MiB", FLOOR, RATIO, 1.03,
        partial(starts.figure, "resident")),
    Row("private", "private anonymous memory, idle, MiB", FLOOR, RATIO, 1.06,
        partial(starts.figure, "private")),
    Row("libraries", "shared libraries", FLOOR, EXCESS, 0, starts.libraries),
    _row("stripped", "size of the stripped binary, KiB", 200, starts.stripped),
    Row("fonts", "start with corvanta-fonts.conf, million instructions", "without it", RATIO, None,
        starts.own_fonts),
    Row("keys-up", "private memory, keyboard shown, MiB", UNTOUCHED, EXCESS, 1.5,
        partial(running.keys_memory, "up")),
    Row("keys-hidden", "private memory, keyboard hidden after being shown 100 times, MiB",
        UNTOUCHED, EXCESS, 1.0, partial(running.keys_memory, "hidden")),
    # The text cursor blinks while the keyboard is shown: two wakeups a second.
    *(_row(f"idle-{number}",
           f"wakeups in 60 s: {SHOWN.get(what, what)}, link {'up' if link else 'down'}",
           122 if what == "keys up" else 0, partial(running.idle, (what, link)))
      for number, (what, link) in enumerate(running.IDLE_STATES, 1)),
    Row("connect", "Connect touched to pppd started, CPU time, ms", BARE, RATIO, 1.2,
        running.connect),
    Row("check-hidden", "link check, status page hidden, CPU time, ms", BARE, RATIO, 1.05,
        partial(running.check, SETTING)),
    Row("check-shown", "link check, status page shown, CPU time, ms", BARE, RATIO, 1.05,
        partial(running.check, STATUS)),
    *(_row(f"gap-{name}",
           f"longest event-loop stall while waiting for the {AWAITED.get(name, name)}, ms", 30,
           partial(running.gap, name)) for name in running.WAITS),
    Row("exit", "Exit touched to process exit, ms", FLOOR, RATIO, 1.3, running.leave),
)
# A tenth of a KiB: the allocator may take a page more in a few hundred times.
GROWTH = (
    _row("per-check", "private memory per link check, KiB", 0.1, growth.per_check),
    _row("per-pull", "private memory per unplug and replug of the dongle, KiB", 0.1,
         growth.per_pull),
    _row("per-failure", "private memory per failed connection attempt, KiB", None,
         growth.per_failure),
    _row("per-appearance", "private memory each time the keyboard is shown, KiB", 0.1,
         growth.per_appearance),
    *(Row(f"lines-{lines}", f"start to first frame, {lines} lines of parameters, ms",
          "six lines", RATIO, None, partial(growth.large_file, lines))
      for lines in (1_000, 100_000, 1_000_000)),
)
BOARD = tuple(
    Row(f"board-{width}x{height}-{name}", f"{width}x{height}, field touched: {what}", UNTOUCHED,
        EXCESS, None, partial(onboard.figure, (width, height), name))
    for width, height in SIZES
    for name, what in (("processor", "CPU time since the start, ms"),
                       ("resident", "resident memory, MiB"), ("private", "private memory, MiB")))
TABLES = {"Compared with the baseline": NATIVE, "Memory growth": GROWTH,
          "On the simulated board": BOARD}
