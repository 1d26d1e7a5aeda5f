"""The link checks: 15 s after a connect, 3 s after a disconnect and on SIGUSR1."""

import time

import pytest

from panel.constants import APN, DONGLE_STATUS, FAILED, GREEN, LINK_STATUS, RED
from privateroot.files import DONGLE
from privateroot.operating import (STEPPED, check_link, connect, leave, step_clock,
                                   wait_link)
from privateroot.process import PrivateRoot
from program.injection import connecting, terminate, unseen_root
from program.programtest import STEPS, clocks, expect_lasted, row
from program.conftest import Roots

# Delays of the link checks in seconds. The stand-in for pppd logs its call a little after the exit
# of the shell that starts it. On a busy machine a check may be late, but never early.
CONNECT_CHECK = 15.0
DISCONNECT_CHECK = 3.0
LATE = 1.0
LEAST_STEP = 3000


@clocks()
def test_fifteen_seconds(roots: Roots) -> None:
    """Make four attempts at the same time, each with another outcome."""
    attempts = fails, comes_up, early, leaves = [roots.started() for _ in range(4)]
    for root in attempts:
        connect(root)
    dialled = {root: root.calls("pppd")[0].time for root in (fails, comes_up, early)}
    comes_up.set_link(True)
    check_link(early, True)  # before the 15 s are over
    assert early.wait_calls("route", 1).arguments == "add default ppp0"
    assert early.panel.screen().busy_bars() == []
    leave(leaves)  # with the check pending

    check = comes_up.wait_calls("ifconfig", 2, 17)
    expect_lasted(check.time - dialled[comes_up], CONNECT_CHECK, LATE)
    comes_up.wait_calls("route", 1)
    wait_link(comes_up, True)
    screen = comes_up.panel.screen()
    assert not screen.has_dialog()
    assert screen.busy_bars() == []
    # An earlier check does not replace the one after 15 s.
    check = early.wait_calls("ifconfig", 3, 3)
    expect_lasted(check.time - dialled[early], CONNECT_CHECK, LATE)
    early.wait_calls("route", 2)
    assert not early.panel.screen().has_dialog()
    leave(early)
    check = fails.wait_calls("ifconfig", 2, 1)
    expect_lasted(check.time - dialled[fails], CONNECT_CHECK, LATE)
    expect_failed(fails)


def expect_failed(root: PrivateRoot) -> None:
    """Check the notice of a failed attempt."""
    dialog = root.panel.wait(lambda screen: screen.dialog(), 2, "the notice")
    assert (dialog["text"], dialog["buttons"], dialog["rect"]) == (FAILED, ["OK"], [0, 0, 800, 480])
    assert root.panel.screen().cut_off() == []
    # The window below the modal dialog ignores touches; otherwise this one would end the program.
    root.panel.press("Exit")
    check_link(root, False)
    root.panel.press("OK")
    root.wait(lambda screen: not screen.has_dialog(), 2, "the notice closed")
    assert root.panel.screen().busy_bars() == []
    assert root.calls("route") == []


@clocks()
def test_disconnect(root: PrivateRoot) -> None:
    """Touch Disconnect twice: the link is still up at the first check, and down at the second."""
    check_link(root, True)
    for up in (True, False):
        checks, stops = len(root.calls("ifconfig")), len(root.calls("killall"))
        root.panel.press("Disconnect")
        stop = root.wait_calls("killall", stops + 1)
        assert stop.arguments == "pppd"
        screen = root.panel.screen()
        assert not any(screen.button(name)["enabled"] for name in ("Connect", "Disconnect"))
        assert screen.value(LINK_STATUS)["text"] == "connected"
        assert not screen.field(APN)["enabled"]
        assert screen.busy_bars() == []
        root.set_link(up)
        check = root.wait_calls("ifconfig", checks + 1)
        expect_lasted(check.time - stop.time, DISCONNECT_CHECK, LATE)
        wait_link(root, up)


def test_each_check_shows_what_is(roots: Roots) -> None:
    steps = (
        # bus, node, link, dongle text, dongle colour
        (DONGLE, True, True, "detected", GREEN),
        ("", True, True, "undetected", RED),
        (DONGLE, False, False, "undetected", RED),
        (DONGLE, True, False, "detected", GREEN),
        (DONGLE, False, True, "detected", GREEN),
        ("init -1\n", False, False, "detected", GREEN),
        ("", False, False, "undetected", RED),
    )
    root = roots.started()
    node = root.host("/dev/ttyUSB0")
    for number, (bus, has_node, link, text, colour) in enumerate(steps):
        root.set_usb(bus)
        if node.exists() != has_node:
            root.add_node("ttyUSB0") if has_node else root.remove_node("ttyUSB0")
        check_link(root, link)
        root.wait_calls("ifconfig", number + 2)
        root.wait(lambda screen: (screen.value(DONGLE_STATUS)["text"],
                                  screen.value(DONGLE_STATUS)["style"])
                  == (text, colour), 2, f"step {number}: {text} in {colour}")
    assert len(root.calls("route")) == sum(step[2] for step in steps)
    assert len(root.calls("ifconfig")) == 1 + len(steps), "a check for each signal"


def test_any_ppp_interface_counts(roots: Roots) -> None:
    lists = {"ppp1: flags=4305<UP>\n": True, "eth0: flags=4163<UP>\n": False,
             "": False, "eth0 ether aa\n  wppp9 x\n": True}
    root = roots.started()
    for text, up in lists.items():
        root.answer("ifconfig", f"echo '{text}'")
        check_link(root, up)
    assert {call.arguments for call in root.calls("route")} == {"add default ppp0"}


@pytest.mark.parametrize("moment", [row(f"clock {name}", moment) for name, moment in STEPS.items()])
def test_attempt_unseen(moment: str) -> None:
    """Check an attempt without the inspector, because its requests would wake the program up."""
    with unseen_root(**STEPPED) as root:
        step_clock(root, "+0")
        with connecting(root):
            root.wait_calls("pppd", 1)
            begin = time.monotonic()
            checks, looks = len(root.calls("ifconfig")), len(root.calls("usb"))
            step_clock(root, moment)
            root.wait_calls("ifconfig", checks + 1, 20)
            expect_lasted(time.monotonic() - begin, CONNECT_CHECK - 1, 4)
            root.wait_calls("usb", looks + 1)
            terminate(root)
        # The stand-in for libusb logs the program's time.
        assert abs(root.calls("usb")[-1].time - time.time()) > LEAST_STEP, "the clock has stepped"
