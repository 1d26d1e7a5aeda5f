"""The measurements in the private root.

Each returns a list for every row of its group, with a pair for each round: the program's figure,
and the reference's figure or 0. Times are in ms, memory in MiB.
"""

import os
import re
import select
import subprocess
import tempfile
import time
import tty
from pathlib import Path
from signal import SIGUSR1

from bench.root import FIELD, FLOOR, HIDE, LIMIT_SECONDS, MODEM, PROGRAM, BenchRoot, places
from panel.facts import DOUBLE_TOUCH_SECONDS, LOGS, MISC, PARAMETERS, SETTING, STATUS
from privateroot.process import BUILD
from privateroot.procfs import wakeups
from privateroot.waiting import RootError

Pairs = list[tuple[float, float]]

MS = 1e6  # nanoseconds
LINES = (1_000, 100_000, 1_000_000)
APPEARANCES = 100
IDLE_SECONDS = 60
CACHE_SECONDS = 70  # after which Qt's pixmap cache has released what was cached at start-up
STALL_SECONDS = 7  # long enough for several probes of the program
NODE, DONGLE, ANSWER = AWAITED = ("device node", "dongle", "modem's answer")
KEYBOARD, HIDDEN = "keyboard shown", "keyboard hidden again"
IDLE_STATES = (*((what, link) for what in (SETTING, STATUS, MISC) for link in ("down", "up")),
               (KEYBOARD, "down"), (HIDDEN, "down"))


def start(program: str, lines: int = 0) -> tuple[float, ...]:
    """Start a program. @param lines number of lines in the parameter file, 0 for the usual six
    @return time and CPU time to the first frame; then resident and private memory, and libraries"""
    with BenchRoot(program) as root:
        if lines:
            root.write(PARAMETERS, "a line of a parameter file\n" * lines)
        first = root.launch()
        maps = Path(f"/proc/{root.pid}/maps").read_text()
        libraries = set(re.findall(r" /(?!testbench/)\S+\.so\S*", maps))
        return ((first.begin - int(root.content("/testrun/started"))) / MS, first.cpu / MS,
                *root.memory(), len(libraries))


def starts(rounds: int) -> list[Pairs]:
    pairs = [(start(PROGRAM), start(FLOOR)) for _ in range(rounds)]
    return [[(ours[at], theirs[at]) for ours, theirs in pairs] for at in range(5)]


def large_files(rounds: int) -> list[Pairs]:
    return [[(start(PROGRAM, lines)[0], start(PROGRAM)[0]) for _ in range(max(1, rounds // 5))]
            for lines in LINES]


def instructions(program: str, variables: str = "") -> float:
    """Return the instructions from the start until the process is first idle, in millions."""
    words = (f"CORVANTA_BENCH_STOP=1 {variables} "
             "/usr/bin/valgrind --tool=callgrind --callgrind-out-file=/dev/null")
    with BenchRoot(program, words) as root:
        root.run_to_end()
        return int(root.content("/testrun/stderr").partition(b"Collected : ")[2].split()[0]) / 1e6


def start_instructions(rounds: int) -> list[Pairs]:
    """Compare with the baseline, and with the program's own font configuration."""
    own = "FONTCONFIG_FILE=/etc/fonts/conf.d/corvanta-fonts.conf"
    plain, with_own = [], []
    for _ in range(max(1, rounds // 15)):
        ours = instructions(PROGRAM)
        plain.append((ours, instructions(FLOOR)))
        with_own.append((instructions(PROGRAM, own), ours))
    return [plain, with_own]


def stripped(_: int) -> list[Pairs]:
    with tempfile.NamedTemporaryFile() as out:
        subprocess.run(["/usr/bin/strip", "-o", out.name, BUILD / PROGRAM], check=True)
        return [[(os.path.getsize(out.name) / 1024, 0)]]


def reference(work: str) -> float:
    """Return the CPU time of the C reference. @param work "check" or "connect" """
    with BenchRoot(FLOOR, argument=work) as root:
        root.run_to_end()
        first, second = root.waits()
        return (second.cpu - first.cpu) / MS


def check(tab: str, rounds: int) -> list[Pairs]:
    """Measure link checks. @param tab the shown page"""
    with BenchRoot() as root:
        root.launch()
        root.do(root.touch, tab)
        pairs = []
        for _ in range(rounds + 1):
            before = root.settle().cpu
            spent = root.do(root.signal, SIGUSR1).cpu - before
            pairs.append((spent / MS, reference("check")))
        return [pairs[1:]]  # the first check loads what the later ones use


def connect_once() -> float:
    """Return the CPU time from the touch on Connect until the start of pppd."""
    with BenchRoot() as root:
        root.launch()
        root.do(root.touch, MISC)
        before = root.do(root.touch, "YES").cpu
        root.touch("Connect")
        dialled = root.wait_calls("pppd", 1).time * 1e9
        root.wait_until(lambda: root.waits()[-1].begin > dialled, LIMIT_SECONDS, "the event loop")
        after = next(wait for wait in root.waits() if wait.begin > dialled)
        return (after.cpu - before) / MS


def connect(rounds: int) -> list[Pairs]:
    return [[(connect_once(), reference("connect")) for _ in range(rounds)]]


def exit_once(program: str) -> float:
    """Return the time from the touch on Exit until the process exits."""
    places()  # call it now, because the first call is slow
    with BenchRoot(program) as root:
        for log in LOGS:
            root.write(log, "old\n")
        root.launch()
        exited = os.pidfd_open(root.pid)
        touched = time.monotonic_ns()
        root.touch("Exit")
        ended = select.select([exited], [], [], LIMIT_SECONDS)[0]
        spent = time.monotonic_ns() - touched
        os.close(exited)
        if not ended:
            raise RootError(root.report())
        return spent / MS


def leave(rounds: int) -> list[Pairs]:
    return [[(exit_once(PROGRAM), exit_once(FLOOR)) for _ in range(rounds)]]


def stall_once(awaited: str) -> float:
    """Return the longest event-loop stall."""
    master, slave = os.openpty()  # a modem that does not answer
    tty.setraw(slave)
    with (open(master, "rb", 0), open(slave, "rb", 0),
          BenchRoot(inspected=True, dongle=awaited != DONGLE) as root):
        if awaited != DONGLE:
            root.remove_node(MODEM)
        if awaited == ANSWER:
            root.add_node(MODEM, os.ttyname(slave))
        root.start(shown=False)
        root.wait(lambda screen: True, LIMIT_SECONDS, "the event loop")
        if awaited != NODE:
            root.settle()
        if awaited == ANSWER:
            root.panel.invoke("Makeup", "checkSignalStrength", 1)
        since = time.time_ns()
        time.sleep(STALL_SECONDS)
        waits = [wait for wait in root.waits() if wait.end > since]
        return max(later.begin - earlier.end for earlier, later in zip(waits, waits[1:])) / MS


def stalls(rounds: int) -> list[Pairs]:
    return [[(stall_once(awaited), 0) for _ in range(max(1, rounds // 9))] for awaited in AWAITED]


def touch_keyboard(root: BenchRoot, name: str) -> None:
    """Touch an item that shows or hides the keyboard, and wait for the keyboard's change."""
    before = root.pixel(HIDE)
    root.touch(name)
    root.wait_until(lambda: root.pixel(HIDE) != before, LIMIT_SECONDS, "the keyboard")
    time.sleep(DOUBLE_TOUCH_SECONDS)


def keyboard_memory(_: int) -> list[Pairs]:
    """Measure private memory with the keyboard shown, hidden again, and before."""
    with BenchRoot() as root:
        root.launch()
        untouched = root.memory()[1]
        touch_keyboard(root, FIELD)
        shown = root.memory()[1]
        touch_keyboard(root, HIDE)
        for _ in range(APPEARANCES - 1):
            touch_keyboard(root, FIELD)
            touch_keyboard(root, HIDE)
        return [[(shown, untouched)], [(root.memory()[1], untouched)]]


def idle(_: int) -> list[Pairs]:
    """Count wakeups in each of IDLE_STATES, of processes that are idle in parallel."""
    roots = [BenchRoot() for _ in IDLE_STATES]
    try:
        for root, (what, link) in zip(roots, IDLE_STATES):
            root.set_link(link == "up")
            root.launch()
            if what in (SETTING, STATUS, MISC):
                root.do(root.touch, what)
            else:
                touch_keyboard(root, FIELD)
            if what == HIDDEN:
                touch_keyboard(root, HIDE)
        time.sleep(CACHE_SECONDS)
        before = [wakeups(root.pid) for root in roots]
        time.sleep(IDLE_SECONDS)
        return [[(wakeups(root.pid) - count, 0)] for root, count in zip(roots, before)]
    finally:
        for root in roots:
            root.close()
