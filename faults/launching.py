"""Faulty state inherited from the launching process: closed descriptors, ignored and blocked
signals, output pipes without a reader or with one that does not read."""

from __future__ import annotations

import os
import threading
import time
from contextlib import suppress
from functools import partial
from itertools import combinations
from pathlib import Path
from signal import SIGUSR1, Signals

from faults.calls import phases
from faults.commands import DEEDS, LATE, PRINTS_LATE
from faults.panel import EDITED, expect_stored, type_and_connect
from faults.rows import Group, Row
from faults.trace import Fault, launch, thrown
from faults.unseen import (connect_and_leave, connecting, leave_unseen, unseen_root, untouched_run)
from panel.facts import STORED
from privateroot.files import LAUNCH
from privateroot.operating import alive, ended, expect, leave, started, stored_root

LAUNCHER = Path(__file__).resolve().parents[1] / "packaging/launch"
ENV = "program /usr/bin/env"
TELLING = f"{ENV} 'QT_LOGGING_RULES=corvanta.*.warning=true'"  # logs failed writes, command output
STOPS = ("TERM", "INT", "HUP")
SIGNALS = ("USR1", "CHLD", "PIPE", *STOPS)
# A full pipe whose reader does not read, and a pipe whose reader has exited.
STALLED = ("/usr/bin/mkfifo /testrun/stalled; /usr/bin/sleep infinity <>/testrun/stalled & "
           "/usr/bin/dd if=/dev/zero of=/testrun/stalled bs=4096 oflag=nonblock 2>/dev/null\n")
GONE = ("/usr/bin/mkfifo /testrun/gone; /usr/bin/cat /testrun/gone >/dev/null & reader=$!\n"
        "exec 9>/testrun/gone; kill $reader; wait $reader\n")
READERS = {
    "standard error is not read": ("program </dev/null >/testrun/stdout 2>/testrun/stalled",
                                   STALLED),
    "standard output is not read": ("program </dev/null >/testrun/stalled 2>/testrun/stderr",
                                    STALLED),
    "the reader of standard error has gone": ("program </dev/null >/testrun/stdout 2>&9", GONE),
    "the reader of both has gone": ("program </dev/null >&9 2>&9", GONE),
    "the disk that takes the output is full": ("program </dev/null >/dev/full 2>/dev/full", ""),
}


def throw(launch: str, setup: str = "", closed: tuple[int, ...] = (), signal: str = "") -> None:
    """Check that the program starts, serves a link check, dials and exits, and that closed
    descriptors lead to /dev/null.
    @param signal signal that must still have its effect"""
    with started(launch=launch, setup=setup) as root:
        for number in closed:
            found = root.descriptors().get(number)
            expect(found == "/dev/null", f"descriptor {number} is {found}")
        alive(root)
        type_and_connect(root)
        expect_stored(root, EDITED)
        if signal:
            root.signal(Signals[f"SIG{signal}"])
        if signal in STOPS:
            ended(root)
        else:
            alive(root)
            leave(root)


def throw_uninspected(launch: str, setup: str) -> None:
    with stored_root(launch=launch, setup=setup, inspected=False) as root:
        untouched_run(root)


def throw_unseen_save(redirected: str, setup: str) -> None:
    """Fail a save whose error message cannot be written; it must have restored the content."""
    write = next(call for call in phases(launch())["connect"] if call.name == "pwrite64")
    told = launch(Fault(write, "error=ENOSPC", lasting=True)).replace(
        LAUNCH.removeprefix("program"), redirected.removeprefix("program"))
    with unseen_root(setup, launch=told.replace("program", TELLING, 1)) as root:
        connect_and_leave(root)
        thrown(root)
        expect_stored(root, STORED)


def throw_late_output(launch: str, setup: str) -> None:
    """Let pppd print after its shell's exit, to the program's unread standard error; neither must
    be killed."""
    with unseen_root(setup, launch=launch.replace("program", TELLING, 1)) as root:
        root.answer("pppd", DEEDS[PRINTS_LATE][0])
        with connecting(root) as viewer:
            root.wait_until(lambda: root.read(LATE), 5, "pppd alive behind what it says")
            checked = len(root.calls("ifconfig"))
            root.signal(SIGUSR1)
            root.wait_calls("ifconfig", checked + 1)
            leave_unseen(root, viewer)


def throw_signals_from_exec() -> None:
    """Send SIGUSR1 every 10 ms from exec on, under the shipped launcher."""
    with stored_root(launch=LAUNCH.replace("program", "program /testrun/launcher")) as root:
        root.write("/testrun/launcher", LAUNCHER.read_bytes())
        root.host("/testrun/launcher").chmod(0o755)
        over = threading.Event()

        def send() -> None:
            with suppress(ProcessLookupError):
                while not over.wait(0.01):
                    if root.pid:
                        os.kill(root.pid, SIGUSR1)

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


def closing(numbers: tuple[int, ...]) -> str:
    """Return the launch command with these descriptors closed."""
    redirections = (("<&-", "</dev/null"), (">&-", ">/testrun/stdout"),
                    ("2>&-", "2>/testrun/stderr"))
    return " ".join(("program", *(redirections[number][number not in numbers]
                                  for number in range(3))))


def rows() -> list[Row]:
    closed = [numbers for count in (1, 2, 3) for numbers in combinations(range(3), count)]
    return [
        *(Row(f"closed: {' '.join(map(str, numbers))}",
              partial(throw, closing(numbers), closed=numbers), chosen=len(numbers) == 3)
          for numbers in closed),
        *(Row(f"{how} {name}", partial(
            throw, LAUNCH.replace("program", f"{ENV} --{how}-signal={name}"), signal=name),
              chosen=name in ("USR1", "CHLD", "TERM"))
          for how in ("ignore", "block") for name in SIGNALS),
        *(Row(name, partial(throw, *reader), chosen="error" in name)
          for name, reader in READERS.items()),
        # Without the inspector, whose activity hides the effect of a signal on the program.
        *(Row(f"{name}{what}, no inspector", partial(act, *reader),
              chosen=not what or "error has gone" in name)
          for name, reader in READERS.items() for what, act in (
              ("", throw_uninspected), (", a save fails", throw_unseen_save),
              (", pppd prints late", throw_late_output))),
        Row("SIGUSR1 every 10 ms from exec on", throw_signals_from_exec, chosen=True),
        Row("32 descriptors", partial(throw, LAUNCH, "ulimit -n 32\n")),
        Row("little environment", partial(throw, LAUNCH, "unset HOME XDG_RUNTIME_DIR LC_ALL\n")),
    ]


GROUPS = [Group("launch", "state inherited from the parent process", rows)]
