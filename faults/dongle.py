"""The dongle: away, another one, two, late nodes, pulled and plugged again and again."""

from __future__ import annotations

from functools import partial
from signal import SIGTERM, SIGUSR1

from faults.panel import alive, at_rest, ended, leave, stored_root
from faults.rows import Group, Row, expect
from panel.facts import DONGLE_PRODUCT, DONGLE_STATUS, DONGLE_VENDOR, GREEN, RED, STATUS
from privateroot.files import DONGLE
from privateroot.process import PrivateRoot

CYCLES = 20
OTHER = f"device {DONGLE_VENDOR:x} {DONGLE_PRODUCT + 1:x}\n"
OTHER_MAKER = f"device {DONGLE_VENDOR + 1:x} {DONGLE_PRODUCT:x}\n"


def wait_dongle(root: PrivateRoot, text: str, style: str) -> None:
    alive(root)
    root.panel.open_tab(STATUS)
    root.wait(lambda screen: screen.value(DONGLE_STATUS)["text"] == text
              and screen.value(DONGLE_STATUS)["style"] == style, 5, f"{text} in {style}")


def throw_absent(bus: str) -> None:
    """Not the dongle: the waiting dialog stays, whatever is touched, until it comes."""
    with stored_root(usb=bus, nodes=()) as root:
        root.start(shown=False)
        root.panel.wait(lambda screen: screen.has_dialog(), 10, "the waiting dialog")
        root.panel.press("Close")
        expect(root.panel.screen().has_dialog(), "it stays")
        root.set_usb(DONGLE)
        root.add_node("ttyUSB0")
        root.wait_shown(10)
        alive(root)
        leave(root)


def throw_present(bus: str) -> None:
    with stored_root(usb=bus) as root:
        root.start()
        wait_dongle(root, "detected", GREEN)
        leave(root)


def throw_late_node() -> None:
    with stored_root(nodes=()) as root:
        root.start(shown=False)
        root.wait_calls("ls", 3, 10)
        root.add_node("ttyUSB0")
        root.wait_shown(10)
        leave(root)


def throw_cycles() -> None:
    """Pulled and plugged, checked each time; descriptors and processes are those from before."""
    with stored_root() as root:
        root.start()
        alive(root)
        at_rest(root)
        before = root.descriptors()
        for _ in range(CYCLES):
            root.set_usb("")
            root.remove_node("ttyUSB0")
            wait_dongle(root, "undetected", RED)
            root.set_usb(DONGLE)
            wait_dongle(root, "undetected", RED)  # until there is a node
            root.add_node("ttyUSB0")
            wait_dongle(root, "detected", GREEN)
        at_rest(root)
        after = root.descriptors()
        expect(after == before, f"descriptors: {before}, then {after}")
        leave(root)


def throw_pulled_during_attempt() -> None:
    """Connect without a dongle: the dialog; with the dongle but no node: a wait that Exit ends."""
    with stored_root() as root:
        root.start()
        root.set_usb("")
        root.remove_node("ttyUSB0")
        root.panel.press("Connect")
        root.panel.wait(lambda screen: screen.has_dialog(), 5, "the waiting dialog")
        root.set_usb(DONGLE)
        root.wait(lambda screen: not screen.has_dialog(), 5, "the dialog closed")
        root.wait(lambda screen: screen.busy_bars(), 5, "the wait for the node")
        root.set_usb("")
        leave(root)
        expect(root.calls("pppd") == [], "nothing was dialled")


def throw_unseen() -> None:
    """It is away at the start, comes, and is pulled and plugged, in front of nobody."""
    with stored_root(usb="", nodes=(), inspected=False) as root:
        root.start(shown=False)
        root.wait_calls("usb", 1, 10)
        root.set_usb(DONGLE)
        root.wait_calls("ls", 1, 10)
        root.add_node("ttyUSB0")
        for checks, bus in enumerate(("", DONGLE), 1):
            root.wait_calls("ifconfig", checks, 10)
            root.set_usb(bus)
            root.signal(SIGUSR1)
        root.wait_calls("ifconfig", 3)
        root.signal(SIGTERM)
        ended(root)


GROUPS = [Group("dongle", "plugged, unplugged, replaced by another device", lambda: [
    *(Row(name, partial(throw_absent, bus)) for name, bus in (
        ("no device", ""), ("another product", OTHER), ("another maker", OTHER_MAKER))),
    *(Row(name, partial(throw_present, bus)) for name, bus in (
        ("two dongles", DONGLE * 2), ("behind another", OTHER + DONGLE),
        ("the USB library fails", "init -1\n"), ("the bus cannot be listed", "list -1\n"))),
    Row("its node comes late", throw_late_node),
    Row("it comes late and is pulled, no inspector", throw_unseen),
    Row(f"{CYCLES} cycles", throw_cycles),
    Row("pulled at Connect and while it waits for the node", throw_pulled_during_attempt,
        chosen=True),
])]
