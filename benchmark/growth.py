"""What a long life costs: memory for what happens again and again, time for large files."""

import time
from collections.abc import Callable
from functools import partial

from benchmark import root, running, starts
from benchmark.effort import Effort, in_turn
from benchmark.estimate import Pairs
from benchmark.process import PROGRAM, Process, places
from panel.screen import centre

FAIL_SECONDS = 16  # after which an attempt has failed
OK = "OK"


def _growth(count: int, once: Callable[[Process], object]) -> Pairs:
    """KiB of private memory that each time leaves behind, after as many times that do not count: in
    the beginning the heap takes tens of KiB."""
    with Process() as process:
        process.settle()
        for number in range(2 * count):
            if number == count:
                before = process.memory()[1]
            once(process)
        return [((process.memory()[1] - before) * 1024 / count, 0)]


def per_check(effort: Effort) -> Pairs:
    return _growth(effort.checks, lambda process: process.do(process.signal))


def per_pull(effort: Effort) -> Pairs:
    """A dongle that is pulled and plugged, each with a link check as ip-down and ip-up have it
    made."""
    def once(process: Process) -> None:
        for change in (root.pull, root.plug):
            change()
            process.do(process.signal)
    return _growth(effort.checks, once)


def per_failure(effort: Effort) -> Pairs:
    """An attempt that fails, and a touch on its notice, which has its button where all dialogs have
    it."""
    with root.no_dongle(), Process(inspected=True) as process:
        process.settle()
        button = centre(process.panel.button("Close"))
    places(PROGRAM)[OK] = button

    def once(process: Process) -> None:
        process.touch("Connect")
        time.sleep(FAIL_SECONDS)
        process.do(partial(process.touch, OK))
    return _growth(effort.attempts, once)


def per_appearance(effort: Effort) -> Pairs:
    running.require_keys()
    return _growth(effort.appearances, running.raise_and_hide_keys)


def large_file(lines: int, effort: Effort) -> Pairs:
    """Time in ms to the first picture, with a parameter file of so many lines and the usual one."""
    usual = root.PARAMETERS.read_text()

    def large() -> float:
        root.PARAMETERS.write_text("a line of a parameter file\n" * lines)
        found = starts.start().time
        root.PARAMETERS.write_text(usual)
        return found
    return in_turn(effort.rounds // 5, large, lambda: starts.start().time)
