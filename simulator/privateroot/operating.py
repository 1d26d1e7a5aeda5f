"""Operator actions on the program in a private root, and checks of their results."""

from __future__ import annotations

from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from signal import SIGUSR1
from typing import Any

from panel.constants import (APN, AUTO_CONNECT, LINK_DOWN, LINK_STATUS, LINK_UP, PARAMETERS,
                             SETTING, STATUS, STORED)
from panel.screen import Screen, Widget
from privateroot.files import LAUNCH
from privateroot.process import PrivateRoot

AUTO = b"0\n7\n"  # content of AUTO_CONNECT that differs from the defaults
DIALLING = ["killall pppd", "pppd call ppp-connect"]  # commands that Connect runs
FAKETIME = "/usr/$LIB/faketime/libfaketime.so.1"
CLOCK_FILE = "/testrun/clock"
# Arguments of a root in which the program reads its date from CLOCK_FILE at each call. Its
# monotonic clock, which its timers use, is not changed.
STEPPED: dict[str, Any] = {"preload": [FAKETIME], "launch": LAUNCH.replace(
    "program", f"program /usr/bin/env FAKETIME_TIMESTAMP_FILE={CLOCK_FILE} FAKETIME_NO_CACHE=1 "
    "FAKETIME_DONT_FAKE_MONOTONIC=1 FAKETIME_DISABLE_SHM=1")}
SECONDS = 10  # timeout for the effect of a touch or a link check


def expect(holds: object, what: str) -> None:
    """Check a condition. @raise AssertionError with the text `what` if it is false"""
    if not holds:
        raise AssertionError(what)


def stored_root(parameters: bytes = STORED, auto: bytes = AUTO, **how: Any) -> PrivateRoot:
    """Make a private root with stored parameters; do not start the program."""
    root = PrivateRoot(**how)
    root.write(PARAMETERS, parameters)
    root.write(AUTO_CONNECT, auto)
    return root


@contextmanager
def started(**how: Any) -> Iterator[PrivateRoot]:
    """Start the program with stored parameters and wait for its main window."""
    with stored_root(**how) as root:
        yield root.start()


def step_clock(root: PrivateRoot, moment: str) -> None:
    """Set the date of a program started with STEPPED. @param moment date in faketime's format"""
    root.host(CLOCK_FILE).write_text(f"{moment}\n")


def connect(root: PrivateRoot) -> list[str]:
    """Touch Connect and wait for pppd. @return the commands since the touch"""
    before, dialled = len(root.calls()), len(root.calls("pppd"))
    root.panel.press("Connect")
    root.wait_calls("pppd", dialled + 1)
    return root.commands(before)


def link_shown(screen: Screen, up: bool) -> bool:
    """Return true when the buttons, the setting page and the label show the link in this state."""
    value = screen.value(LINK_STATUS)
    return (screen.button("Connect")["enabled"] is not up
            and screen.button("Disconnect")["enabled"] is up
            and screen.field(APN)["enabled"] is not up
            and (value["text"], value["style"]) == (LINK_UP if up else LINK_DOWN))


def wait_link(root: PrivateRoot, up: bool) -> None:
    root.wait(lambda screen: link_shown(screen, up), SECONDS, f"link {'up' if up else 'down'}")


def check_link(root: PrivateRoot, up: bool, shown: bool | None = None) -> None:
    """Set the link up or down and request a link check.
    @param shown link state to wait for on the panel, if it differs from `up`"""
    root.set_link(up)
    root.signal(SIGUSR1)
    wait_link(root, up if shown is None else shown)


def alive(root: PrivateRoot) -> None:
    """Check that the program responds to touches and to a link check."""
    root.panel.open_tab(STATUS)
    before = len(root.calls("ifconfig"))
    root.signal(SIGUSR1)
    root.wait_calls("ifconfig", before + 1)
    root.panel.open_tab(SETTING)


def call(root: PrivateRoot, slot: str, argument: int | None = None,
         meanwhile: Callable[[], object] = lambda: None) -> int:
    """Call a slot of the controller, run `meanwhile`, and wait until the slot returns.
    @return its result; 0 when it has none"""
    number = root.panel.invoke("Makeup", slot, argument)
    meanwhile()
    root.wait(lambda screen: not screen.invoked[number]["running"], SECONDS, f"{slot} has returned")
    return int(root.panel.screen().invoked[number].get("result", 0))


def query_signal(root: PrivateRoot, meanwhile: Callable[[], object] = lambda: None) -> int:
    """Query the signal and run `meanwhile`. @return the result of the query"""
    return call(root, "checkSignalStrength", 1, meanwhile)


def signal_value(root: PrivateRoot) -> Widget:
    """Return the label with the reply to the signal query; it is on no page."""
    return next(label for label in root.panel.screen().orphans("QLabel")
                if label["text"] != "Signal Strength:")


def ping(root: PrivateRoot) -> str:
    """Run the ping test. @return the text of its box"""
    call(root, "pinResponse")
    return root.panel.screen().orphans("QTextEdit")[0]["text"]


def leave(root: PrivateRoot, processes: Sequence[str] = ()) -> None:
    """Touch Exit and check that the program exits cleanly.

    @param processes names of the processes that must be left"""
    root.panel.press("Exit")
    ended(root, processes)


def ended(root: PrivateRoot, processes: Sequence[str] = ()) -> None:
    """Check that the program exits cleanly and that exactly the named processes are left."""
    expect(root.wait_exit(SECONDS) == 0, f"exit status 0:\n{root.report()}")
    root.wait_until(lambda: root.processes() == list(processes), SECONDS,
                    f"only {processes} left, not {root.processes()}")
    expect("usb leak" not in map(str, root.calls()), "the list of USB devices has been freed")
