"""The board's clock steps, forward and back, in each wait. Each wait ends when it should."""

from __future__ import annotations

import time
from collections.abc import Callable
from functools import partial

from faults.growth import CLOCK
from faults.panel import alive, leave, stored_root
from faults.rows import Group, Row, expect
from panel.facts import FAILED
from privateroot.files import DONGLE, LAUNCH
from privateroot.process import PrivateRoot

# The clock's day, read anew at each look; the time that timers count goes on as it does.
CLOCK_FILE = "/testrun/clock"
ENVIRONMENT = (f"FAKETIME_TIMESTAMP_FILE={CLOCK_FILE} FAKETIME_NO_CACHE=1 "
               "FAKETIME_DONT_FAKE_MONOTONIC=1")
STEPS = {"to 2040": "@2040-01-01 00:00:00", "to 1971": "@1971-01-01 00:00:00", "an hour on": "+1h",
         "an hour back": "-1h"}


def in_check(root: PrivateRoot, step: Callable[[], object]) -> None:
    """The 15 s of an attempt."""
    root.panel.press("Connect")
    root.wait_calls("pppd", 1)
    begin = time.monotonic()
    time.sleep(1)
    step()
    root.panel.wait(lambda screen: screen.has_dialog(), 20, "the notice")
    expect(14 < time.monotonic() - begin < 18, f"after {time.monotonic() - begin:.1f} s")
    expect(root.panel.dialog()["text"] == FAILED, "it tells that it failed")
    root.panel.press("OK")


def in_node_wait(root: PrivateRoot, step: Callable[[], object]) -> None:
    """The wait for the node at Connect."""
    root.remove_node("ttyUSB0")
    root.panel.press("Connect")
    root.wait_calls("ls", len(root.calls("ls")) + 2)
    step()
    root.wait_calls("ls", len(root.calls("ls")) + 2)
    root.add_node("ttyUSB0")
    root.wait_calls("pppd", 1)


def in_dialog(root: PrivateRoot, step: Callable[[], object]) -> None:
    """The waiting dialog's polls."""
    root.set_usb("")
    root.panel.press("Connect")
    root.panel.wait(lambda screen: screen.has_dialog(), 5, "the waiting dialog")
    step()
    root.set_usb(DONGLE)
    root.wait(lambda screen: not screen.has_dialog(), 5, "the dialog closed")
    root.wait_calls("pppd", 1)


def in_disconnect(root: PrivateRoot, step: Callable[[], object]) -> None:
    """The 3 s of a disconnect."""
    root.set_link(True)
    alive(root)
    root.panel.press("Disconnect")
    root.set_link(False)
    step()
    root.wait(lambda screen: screen.button("Connect")["enabled"], 5, "the link down")


def throw(wait: Callable[[PrivateRoot, Callable[[], object]], None], moment: str) -> None:
    launch = LAUNCH.replace("program", f"program /usr/bin/env {ENVIRONMENT}")
    with stored_root(launch=launch, preload=[CLOCK]) as root:
        clock = root.host(CLOCK_FILE)
        clock.write_text("+0\n")
        root.start()
        wait(root, partial(clock.write_text, f"{moment}\n"))
        alive(root)
        leave(root)


WAITS = {"the check of an attempt": in_check, "the wait for the node": in_node_wait,
         "the waiting dialog": in_dialog, "the check of a disconnect": in_disconnect}
GROUPS = [Group("clock", "the clock steps in a wait", lambda: [
    Row(f"{name}: {step}", partial(throw, wait, moment))
    for name, wait in WAITS.items() for step, moment in STEPS.items()], at_once=8)]
