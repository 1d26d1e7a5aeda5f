"""The board's clock steps, forward and back, in each wait. Each wait ends when it should."""

from __future__ import annotations

import time
from collections.abc import Callable
from functools import partial
from signal import SIGTERM, SIGUSR1
from typing import Any, NamedTuple

from faults.devices import PORT, SILENCE, ask
from faults.growth import CLOCK
from faults.panel import EXIT_SECONDS, alive, leave, stored_root
from faults.rows import Group, Row, expect
from faults.unseen import connecting, unseen_root
from panel.facts import FAILED
from privateroot.files import DONGLE, LAUNCH
from privateroot.process import PrivateRoot

# The clock's day, read anew at each look; the time that timers count goes on as it does.
CLOCK_FILE = "/testrun/clock"
ENVIRONMENT = (f"FAKETIME_TIMESTAMP_FILE={CLOCK_FILE} FAKETIME_NO_CACHE=1 "
               "FAKETIME_DONT_FAKE_MONOTONIC=1 FAKETIME_DISABLE_SHM=1")
STEPPED = LAUNCH.replace("program", f"program /usr/bin/env {ENVIRONMENT}")
STEPS = {"to 2040": "@2040-01-01 00:00:00", "to 1971": "@1971-01-01 00:00:00", "an hour on": "+1h",
         "an hour back": "-1h"}
LEAST_STEP = 3000  # seconds
ATTEMPT_SECONDS, DISCONNECT_SECONDS, QUERY_SECONDS = (14, 18), (2.8, 5), (2.8, 5)
Step = Callable[[], object]


def expect_wait(since: float, limits: tuple[float, float]) -> None:
    """@param since what time.monotonic() gave when the wait began"""
    seconds = time.monotonic() - since
    expect(limits[0] < seconds < limits[1], f"after {seconds:.1f} s")


def after(root: PrivateRoot, command: str) -> float:
    """Waits until a touch has had a command called and waits for the rest: the program serves.
    @return when the command was called"""
    root.wait_calls(command, 1)
    begin, checks = time.monotonic(), len(root.calls("ifconfig"))
    root.signal(SIGUSR1)
    root.wait_calls("ifconfig", checks + 1)
    return begin


def in_check(root: PrivateRoot, step: Step) -> None:
    """The 15 s of an attempt."""
    root.panel.press("Connect")
    begin = after(root, "pppd")
    step()
    root.panel.wait(lambda screen: screen.has_dialog(), 20, "the notice")
    expect_wait(begin, ATTEMPT_SECONDS)
    expect(root.panel.dialog()["text"] == FAILED, "it tells that it failed")
    root.panel.press("OK")


def poll(root: PrivateRoot, step: Step) -> None:
    """Looks for the node, before a step and after it."""
    root.wait_calls("ls", len(root.calls("ls")) + 2)
    step()
    root.wait_calls("ls", len(root.calls("ls")) + 2)
    root.add_node("ttyUSB0")


def in_node_wait(root: PrivateRoot, step: Step) -> None:
    """The wait for the node at Connect."""
    root.remove_node("ttyUSB0")
    root.panel.press("Connect")
    poll(root, step)
    root.wait_calls("pppd", 1)


def in_start(root: PrivateRoot, step: Step) -> None:
    """The same at the start."""
    poll(root, step)
    root.wait_shown(5)


def find(root: PrivateRoot, step: Step) -> None:
    """The waiting dialog's polls."""
    root.panel.wait(lambda screen: screen.has_dialog(), 10, "the waiting dialog")
    step()
    root.set_usb(DONGLE)
    root.wait(lambda screen: not screen.has_dialog(), 5, "the dialog closed")


def in_dialog(root: PrivateRoot, step: Step) -> None:
    root.set_usb("")
    root.panel.press("Connect")
    find(root, step)
    root.wait_calls("pppd", 1)


def in_first_dialog(root: PrivateRoot, step: Step) -> None:
    find(root, step)
    root.wait_shown(5)


def in_disconnect(root: PrivateRoot, step: Step) -> None:
    """The 3 s of a disconnect."""
    def wait_up() -> None:
        root.wait(lambda screen: screen.button("Disconnect")["enabled"], 5, "the link")
    root.set_link(True)
    root.signal(SIGUSR1)
    wait_up()
    root.panel.press("Disconnect")
    begin = after(root, "killall")
    wait_up()
    root.set_link(False)
    step()
    root.wait(lambda screen: screen.button("Connect")["enabled"], 10, "the link down")
    expect_wait(begin, DISCONNECT_SECONDS)


def in_query(root: PrivateRoot, step: Step) -> None:
    """The 3 s of a signal query that a silent modem does not answer."""
    def step_while_open() -> None:
        root.wait_until(lambda: PORT in root.descriptors().values(), 2, "the query")
        step()
    begin = time.monotonic()
    ask(root, SILENCE, step_while_open)
    expect_wait(begin, QUERY_SECONDS)


class Wait(NamedTuple):
    """Where the clock steps.

    @ivar pass_through has the program wait, and go on after a step
    @ivar arranged what the private root is made with
    @ivar shown whether the panel is shown before
    """

    pass_through: Callable[[PrivateRoot, Step], None]
    arranged: dict[str, Any] = {}
    shown: bool = True


def stepped(root: PrivateRoot) -> None:
    """The program has another day: it stands in what its stand-in for libusb has logged."""
    expect(abs(root.calls("usb")[-1].time - time.time()) > LEAST_STEP, "the clock has stepped")


def throw(wait: Wait, moment: str) -> None:
    with stored_root(launch=STEPPED, preload=[CLOCK], **wait.arranged) as root:
        clock = root.host(CLOCK_FILE)
        clock.write_text("+0\n")
        root.start(shown=wait.shown)
        wait.pass_through(root, partial(clock.write_text, f"{moment}\n"))
        alive(root)
        leave(root)
        stepped(root)


def throw_unseen(moment: str) -> None:
    """The check of an attempt."""
    with unseen_root(STEPPED, preload=[CLOCK]) as root:
        clock = root.host(CLOCK_FILE)
        clock.write_text("+0\n")
        with connecting(root):
            begin = after(root, "pppd")
            clock.write_text(f"{moment}\n")
            checks, looks = len(root.calls("ifconfig")), len(root.calls("usb"))
            root.wait_calls("ifconfig", checks + 1, 20)
            expect_wait(begin, ATTEMPT_SECONDS)
            root.wait_calls("usb", looks + 1)
            root.signal(SIGTERM)
            expect(root.wait_exit(EXIT_SECONDS) == 0, f"exit status 0:\n{root.report()}")
        stepped(root)


WAITS = {
    "the check of an attempt": Wait(in_check),
    "the wait for the node": Wait(in_node_wait),
    "the waiting dialog": Wait(in_dialog),
    "the check of a disconnect": Wait(in_disconnect),
    "the wait for the modem's answer": Wait(in_query),
    "the start's wait for the node": Wait(in_start, {"nodes": ()}, False),
    "the start's waiting dialog": Wait(in_first_dialog, {"usb": ""}, False),
}
CHOSEN = (("the check of a disconnect", "an hour on"), ("the wait for the node", "to 1971"),
          ("the start's wait for the node", "an hour back"))
GROUPS = [Group("clock", "the clock steps during a wait", lambda: [
    *(Row(f"{name}: {step}", partial(throw, wait, moment), chosen=(name, step) in CHOSEN)
      for name, wait in WAITS.items() for step, moment in STEPS.items()),
    *(Row(f"the check of an attempt: {step}, no inspector", partial(throw_unseen, moment))
      for step, moment in list(STEPS.items())[2:3])], at_once=8)]
