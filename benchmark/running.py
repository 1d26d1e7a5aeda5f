"""The rows about the running program: link checks, connecting, waits, keys, idleness, Exit."""

import subprocess
import time
from collections.abc import Callable
from contextlib import AbstractContextManager, ExitStack
from functools import cache, partial
from pathlib import Path

from benchmark import journal, root
from benchmark.effort import Effort, NotInBuild, in_turn
from benchmark.estimate import Pairs
from benchmark.process import FIELD, FLOOR, HIDE, PROGRAM, Process, places
from panel.facts import DOUBLE_TOUCH_SECONDS, LOGS, MISC, SETTING, STATUS

MS = 1e6  # nanoseconds
CACHE_SECONDS = 70  # after which Qt's cache of pictures has let go of those of the start


def _bare(work: str) -> float:
    """Processor time in ms of the same work in a bare C program."""
    done = subprocess.run([root.BUILT / "bare", work], check=True, capture_output=True, text=True,
                          env={"PATH": "/bench/bin", "SYSTEMD_DEVICE_VERIFY_SYSFS": "0"})
    return int(done.stdout.split()[-1]) / MS  # before it stands what grep has found


def check(tab: str, effort: Effort) -> Pairs:
    """@param tab the page that is shown"""
    with Process() as process:
        process.settle()
        process.do(partial(process.touch, tab))
        process.do(process.signal)  # the first one of a process loads what the next ones use

        def once() -> float:
            before = process.settle().processor
            return (process.do(process.signal).processor - before) / MS
        return in_turn(effort.rounds, once, partial(_bare, "check"))


def _connect() -> float:
    """Processor time in ms from the touch until pppd has been started."""
    root.AUTO_CONNECT.write_text("1\n5\n")
    root.DIALLED.unlink(missing_ok=True)
    with Process() as process:
        process.settle()
        process.do(partial(process.touch, MISC))
        before = process.do(partial(process.touch, "YES")).processor
        process.touch("Connect")
        process.until(lambda: root.DIALLED.exists() and root.DIALLED.read_text(), "pppd started")
        dialled = int(root.DIALLED.read_text())
        process.until(lambda: process.waits()[-1].waits > dialled, "events served again")
        after = next(wait for wait in process.waits() if wait.waits > dialled)
        return (after.processor - before) / MS


def connect(effort: Effort) -> Pairs:
    return in_turn(effort.rounds, _connect, partial(_bare, "connect"))


def _exit(program: Path) -> float:
    """Time in ms from the touch on Exit to the end of the process."""
    for log in LOGS:
        Path(log).write_text("old\n")
    with Process(program) as process:
        process.settle()
        process.touch("Exit")
        touched = time.monotonic_ns()
        process.end()
        return (time.monotonic_ns() - touched) / MS


def leave(effort: Effort) -> Pairs:
    for program in (PROGRAM, FLOOR):
        places(program)
    return in_turn(effort.rounds, partial(_exit, PROGRAM), partial(_exit, FLOOR))


# Waits


def _looks_for_node(process: Process) -> None:
    process.until(lambda: any(wait.timeout for wait in process.waits()), "waiting")


def _shows_dialog(process: Process) -> None:
    process.settle()


def _asks_modem(process: Process) -> None:
    process.settle()
    process.panel.invoke("Makeup", "checkSignalStrength", 1)


# Each wait: what the board lacks, how the wait begins, and seconds after which it has probed often.
WAITS: dict[str, tuple[Callable[[], AbstractContextManager[None]],
                       Callable[[Process], None], int]] = {
    "node": (root.no_node, _looks_for_node, 6),
    "dongle": (root.no_dongle, _shows_dialog, 7),
    "signal": (root.silent_modem, _asks_modem, 4),
}


def gap(name: str, effort: Effort) -> Pairs:
    """The longest time in ms without served events. @param name of one of WAITS"""
    board, begin, seconds = WAITS[name]
    pairs: Pairs = []
    with board():
        for _ in range(effort.gap_rounds):
            with Process(inspected=True) as process:
                begin(process)
                since = time.monotonic_ns()
                time.sleep(seconds)
                waits = [wait for wait in process.waits() if wait.back > since]
                pairs.append((journal.longest_gap(waits) / MS, 0))
    return pairs


# Keys


def require_keys() -> None:
    """@raise NotInBuild when no keys come up for a touched field"""
    if HIDE not in places():
        raise NotInBuild("no keys in this build")


def _touch_keys(process: Process, name: str) -> None:
    """Touches something that has the keys come or go, and waits until they have."""
    before = process.pixel(HIDE)
    process.touch(name)
    process.until(lambda: process.pixel(HIDE) != before, "keys that come or go")
    time.sleep(DOUBLE_TOUCH_SECONDS)


def raise_keys(process: Process) -> None:
    _touch_keys(process, FIELD)


def raise_and_hide_keys(process: Process) -> None:
    raise_keys(process)
    _touch_keys(process, HIDE)


@cache
def _keys_memory(effort: Effort) -> dict[str, float]:
    """Private memory in MiB."""
    require_keys()
    found = {}
    with Process() as process:
        process.settle()
        found["untouched"] = process.memory()[1]
        raise_keys(process)
        found["up"] = process.memory()[1]
        _touch_keys(process, HIDE)
        for _ in range(effort.appearances - 1):
            raise_and_hide_keys(process)
        found["hidden"] = process.memory()[1]
    return found


def keys_memory(when: str, effort: Effort) -> Pairs:
    """@param when "up" or "hidden" """
    return [(_keys_memory(effort)[when], _keys_memory(effort)["untouched"])]


# Idleness


def _open(tab: str, process: Process) -> None:
    process.do(partial(process.touch, tab))


_ARRIVALS: dict[str, Callable[[Process], object]] = {
    **{tab: partial(_open, tab) for tab in (SETTING, STATUS, MISC)},
    "keys up": raise_keys,
    "keys hidden again": raise_and_hide_keys,
}
IDLE_STATES = [(what, link) for what in _ARRIVALS for link in (False, True)
               if not (link and "keys" in what)]


@cache
def _idle_counts(effort: Effort) -> dict[tuple[str, bool], int]:
    """Wake-ups by state, of processes that are idle side by side."""
    processes = {}
    with ExitStack() as stack:
        for what, link in IDLE_STATES:
            if "keys" in what and HIDE not in places():
                continue
            root.set_link(link)
            process = stack.enter_context(Process())
            process.settle()
            _ARRIVALS[what](process)
            processes[what, link] = process
        root.set_link(False)
        time.sleep(CACHE_SECONDS)
        before = {state: process.wake_ups() for state, process in processes.items()}
        time.sleep(effort.idle_seconds)
        after = {state: process.wake_ups() for state, process in processes.items()}
    return {state: after[state] - before[state] for state in after}


def idle(state: tuple[str, bool], effort: Effort) -> Pairs:
    """@param state one of IDLE_STATES"""
    if "keys" in state[0]:
        require_keys()
    return [(_idle_counts(effort)[state], 0)]
