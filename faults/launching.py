"""What the launching process may have left in the way: closed descriptors, ignored and blocked
signals, readers of the output that have gone or do not read."""

from __future__ import annotations

import os
import threading
import time
from functools import partial
from itertools import chain, combinations
from pathlib import Path
from signal import SIGUSR1, Signals

from faults.calls import phases
from faults.commands import DEEDS, LATE, PRINTS_LATE
from faults.panel import (EDITED, alive, ended, leave, stored, stored_root, type_and_connect,
                          untouched_run)
from faults.rows import Group, Row, expect
from faults.trace import Call, Fault
from faults.trace import launch as traced
from faults.unseen import connect_and_leave, connecting, thrown, unseen_root
from faults.unseen import leave as leave_unseen
from panel.facts import STORED
from privateroot.files import LAUNCH

LAUNCHER = Path(__file__).resolve().parents[1] / "packaging/launch"
ENV = "/usr/bin/env"
TELLS = "'QT_LOGGING_RULES=corvanta.*.warning=true'"  # failed writes, and what commands say
# A pipe that nobody reads and that is full, and one whose reader has gone.
STALLED = ("/usr/bin/mkfifo /testrun/stalled; /usr/bin/sleep infinity <>/testrun/stalled & "
           "/usr/bin/dd if=/dev/zero of=/testrun/stalled bs=4096 oflag=nonblock 2>/dev/null\n")
GONE = ("/usr/bin/mkfifo /testrun/gone; /usr/bin/cat /testrun/gone >/dev/null & reader=$!\n"
        "exec 9>/testrun/gone; kill $reader; wait $reader\n")
STOPS = ("TERM", "INT", "HUP")
SIGNALS = ("USR1", "CHLD", "PIPE", *STOPS)


def throw(launch: str, setup: str = "", closed: tuple[int, ...] = ()) -> None:
    """The panel comes up, serves a signal, dials and ends. Nothing has taken the place of a closed
    descriptor."""
    with stored_root(launch=launch, setup=setup) as root:
        root.start()
        for number in closed:
            found = root.descriptors().get(number)
            expect(found == "/dev/null", f"descriptor {number} is {found}")
        alive(root)
        type_and_connect(root)
        expect(stored(root) == EDITED, f"{stored(root)!r} is stored")
        leave(root)


def throw_signal(how: str, name: str) -> None:
    """Ignored or blocked by what launches it, a signal still does what it is for."""
    launch = LAUNCH.replace("program", f"program {ENV} --{how}-signal={name}")
    with stored_root(launch=launch) as root:
        root.start()
        alive(root)
        type_and_connect(root)
        root.signal(Signals[f"SIG{name}"])
        if name in STOPS:
            ended(root)
        else:
            alive(root)
            leave(root)
        expect(stored(root) == EDITED, f"{stored(root)!r} is stored")


def throw_uninspected(launch: str, setup: str) -> None:
    with stored_root(launch=launch, setup=setup, inspected=False) as root:
        untouched_run(root)


def throw_unseen_save(launch: str, setup: str) -> None:
    """A save that fails tells it where nobody listens, and has put the content back before."""
    fault = Fault(first_write(), "error=ENOSPC", lasting=True)
    told = traced(fault).replace(LAUNCH.removeprefix("program"), launch.removeprefix("program"))
    with unseen_root(telling(told), setup) as root:
        connect_and_leave(root)
        thrown(root)
        expect(stored(root) == STORED, f"{stored(root)!r} is stored")


def throw_late_output(launch: str, setup: str) -> None:
    """What pppd says once its shell has ended goes where the program's messages go, and nobody
    reads them: both live."""
    with unseen_root(telling(launch), setup) as root:
        root.answer("pppd", DEEDS[PRINTS_LATE][0])
        with connecting(root) as viewer:
            root.wait_calls("pppd", 1)
            root.wait_until(lambda: root.read(LATE), 5, "pppd alive behind what it says")
            checked = len(root.calls("ifconfig"))
            root.signal(SIGUSR1)
            root.wait_calls("ifconfig", checked + 1)
            leave_unseen(root, viewer)


def telling(launch: str) -> str:
    """The same with the messages switched on."""
    return launch.replace("program", f"program {ENV} {TELLS}", 1)


def first_write() -> Call:
    """Of Connect's save."""
    return next(call for call in phases(traced())["connect"] if call.name == "pwrite64")


def closed() -> list[Row]:
    sets = chain.from_iterable(combinations(range(3), count) for count in (1, 2, 3))
    redirections = ("<&-", ">&-", "2>&-")
    opened = ("</dev/null", ">/testrun/stdout", "2>/testrun/stderr")
    return [Row(f"closed: {' '.join(map(str, numbers))}",
                partial(throw, "program " + " ".join(
                    (redirections if fd in numbers else opened)[fd] for fd in range(3)),
                    closed=numbers),
                chosen=len(numbers) == 3)
            for numbers in sets]


def signals() -> list[Row]:
    return [Row(f"{how} {name}", partial(throw_signal, how, name),
                chosen=name in ("USR1", "CHLD", "TERM"))
            for how in ("ignore", "block") for name in SIGNALS]


READERS = {
    "standard error is not read": ("program </dev/null >/testrun/stdout 2>/testrun/stalled",
                                   STALLED),
    "standard output is not read": ("program </dev/null >/testrun/stalled 2>/testrun/stderr",
                                    STALLED),
    "the reader of standard error has gone": ("program </dev/null >/testrun/stdout 2>&9", GONE),
    "the reader of both has gone": ("program </dev/null >&9 2>&9", GONE),
    "the disk that takes the output is full": ("program </dev/null >/dev/full 2>/dev/full", ""),
}


def readers() -> list[Row]:
    """Also without the inspector, which hides what a signal would do to the program alone."""
    return [row for name, (launch, setup) in READERS.items() for row in (
        Row(name, partial(throw, launch, setup), chosen="error" in name),
        Row(f"{name}, no inspector", partial(throw_uninspected, launch, setup), chosen=True),
        Row(f"{name}, a save fails, no inspector", partial(throw_unseen_save, launch, setup),
            chosen="gone" in name),
        Row(f"{name}, pppd prints late, no inspector", partial(throw_late_output, launch, setup),
            chosen="error has gone" in name))]


def throw_signals_from_exec() -> None:
    """SIGUSR1 every 10 ms from exec on, under the shipped launcher."""
    launcher = "program /testrun/launcher"
    with stored_root(launch=LAUNCH.replace("program", launcher)) as root:
        shipped = LAUNCHER.read_bytes()
        root.write("/testrun/launcher", shipped)
        root.host("/testrun/launcher").chmod(0o755)
        over = threading.Event()

        def send() -> None:
            while not over.wait(0.01):
                if root.pid:
                    try:
                        os.kill(root.pid, SIGUSR1)
                    except ProcessLookupError:
                        return

        sender = threading.Thread(target=send)
        sender.start()
        try:
            root.start()
        finally:
            over.set()
            sender.join()
        time.sleep(1)
        alive(root)
        leave(root)


GROUPS = [Group("launch", "state inherited from the parent process", lambda: [
    *closed(), *signals(), *readers(),
    Row("SIGUSR1 every 10 ms from exec on", throw_signals_from_exec, chosen=True),
    Row("32 descriptors", partial(throw, LAUNCH, "ulimit -n 32\n")),
    Row("little environment", partial(throw, LAUNCH, "unset HOME XDG_RUNTIME_DIR LC_ALL\n")),
])]
