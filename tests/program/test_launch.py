"""State that the program inherits from its launcher: closed descriptors, ignored or blocked
signals, and output pipes that are full or have no reader."""

import time
from pathlib import Path
from signal import SIGUSR1, Signals

import pytest

from panel.constants import STORED
from privateroot.files import LAUNCH
from privateroot.operating import alive, ended, expect, leave, stored_root
from program.conftest import Roots
from program.injection import (Fault, connecting, expect_injected, launch, leave_unseen, phases,
                               unseen_root, untouched_run)
from program.programtest import EDITED, LATE, PRINTS_LATE, expect_stored, row, type_and_connect

LAUNCHER = Path(__file__).resolve().parents[2] / "debian/libexec/launch"
ENV = "program /usr/bin/env"
TELLING = f"{ENV} 'QT_LOGGING_RULES=corvanta.*.warning=true'"  # logs failed saves and commands
STOPS = ("TERM", "INT", "HUP")
SIGNALS = ("USR1", "CHLD", "PIPE", *STOPS)
REDIRECTIONS = (("<&-", "</dev/null"), (">&-", ">/testrun/stdout"), ("2>&-", "2>/testrun/stderr"))
# Set-up of a full pipe whose reader does not read, and of a pipe whose reader has exited.
STALLED = ("/usr/bin/mkfifo /testrun/stalled; /usr/bin/tail -f /dev/null <>/testrun/stalled & "
           "/usr/bin/dd if=/dev/zero of=/testrun/stalled bs=4096 oflag=nonblock 2>/dev/null\n")
GONE = ("/usr/bin/mkfifo /testrun/gone; /usr/bin/cat /testrun/gone >/dev/null & reader=$!\n"
        "exec 9>/testrun/gone; kill $reader; wait $reader\n")
SIGNALLING = ("until [ -e /testrun/quiet ]; do /usr/bin/pkill -USR1 -x corvanta; "
              "/usr/bin/sleep 0.01; done &\n")
READERS = {
    "standard error is not read": ("program </dev/null >/testrun/stdout 2>/testrun/stalled",
                                   STALLED),
    "standard output is not read": ("program </dev/null >/testrun/stalled 2>/testrun/stderr",
                                    STALLED),
    "the reader of standard error has gone": ("program </dev/null >/testrun/stdout 2>&9", GONE),
    "the reader of both has gone": ("program </dev/null >&9 2>&9", GONE),
    "the disk that takes the output is full": ("program </dev/null >/dev/full 2>/dev/full", ""),
}


def closing(*numbers: int) -> str:
    """Return the launch command with these descriptors closed."""
    return " ".join(("program", *(REDIRECTIONS[number][number not in numbers]
                                  for number in range(3))))


# Launch command, set-up, closed descriptors, and a signal that must work although the launcher has
# ignored or blocked it.
@pytest.mark.parametrize("command, setup, closed, signal", [
    *(row(f"closed: {' '.join(map(str, numbers))}", closing(*numbers), "", numbers, "",
          everyday=len(numbers) == 3) for numbers in ((0,), (1,), (2,), (0, 1, 2))),
    *(row(f"{how} {name}", LAUNCH.replace("program", f"{ENV} --{how}-signal={name}"), "", (), name,
          everyday=name in ("USR1", "CHLD", "TERM")) for how in ("ignore", "block")
      for name in SIGNALS),
    *(row(name, *reader, (), "", everyday="error" in name) for name, reader in READERS.items()),
    row("32 descriptors", LAUNCH, "ulimit -n 32\n", (), ""),
    row("little environment", LAUNCH, "unset HOME XDG_RUNTIME_DIR LC_ALL\n", (), "")])
def test_launch(roots: Roots, command: str, setup: str, closed: tuple[int, ...],
                signal: str) -> None:
    """Check that the program starts, runs a link check, dials and exits, and that it has opened
    /dev/null in place of each closed descriptor."""
    root = roots.started(launch=command, setup=setup)
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


# These rows run without the inspector, whose activity hides the effect of signals.
def unseen(what: str) -> pytest.MarkDecorator:
    return pytest.mark.parametrize("command, setup", [
        row(f"{name}{what}, no inspector", *reader, everyday=not what or "error has gone" in name)
        for name, reader in READERS.items()])


@unseen("")
def test_unseen(command: str, setup: str) -> None:
    with stored_root(launch=command, setup=setup, inspected=False) as root:
        untouched_run(root)


@unseen(", a save fails and pppd prints late")
def test_output_unseen(command: str, setup: str) -> None:
    """Make a save fail while its error message cannot be written, and let pppd print after the exit
    of its shell. Neither pppd nor the program may be killed. The stored content is kept."""
    write = next(call for call in phases(launch())["connect"] if call.name == "pwrite64")
    told = launch(Fault(write, "error=ENOSPC", lasting=True)).replace(
        LAUNCH.removeprefix("program"), command.removeprefix("program"))
    with unseen_root(setup, launch=told.replace("program", TELLING, 1)) as root:
        root.answer("pppd", PRINTS_LATE)
        with connecting(root) as viewer:
            root.wait_until(lambda: root.read(LATE), 5, "pppd has survived its late output")
            checked = len(root.calls("ifconfig"))
            root.signal(SIGUSR1)
            root.wait_calls("ifconfig", checked + 1)
            leave_unseen(root, viewer)
        expect_injected(root)
        expect_stored(root, STORED)


def test_signals_from_exec(roots: Roots) -> None:
    """Send SIGUSR1 about every 10 ms to the starting program, from its exec on. The shipped
    launcher starts it."""
    root = roots.stored(launch=LAUNCH.replace("program", "program /testrun/launcher"),
                        setup=SIGNALLING)
    root.write("/testrun/launcher", LAUNCHER.read_bytes())
    root.host("/testrun/launcher").chmod(0o755)
    root.start()
    root.write("/testrun/quiet", "")
    time.sleep(1)
    alive(root)
