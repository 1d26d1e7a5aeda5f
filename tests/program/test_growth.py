"""Memory, descriptors and files of the program before and after many repetitions of an action."""

import time
from collections.abc import Callable
from pathlib import Path
from signal import SIGUSR1

import pytest

from panel.constants import DONGLE_STATUS, PIN
from privateroot.files import DONGLE, STAND_IN
from privateroot.operating import expect, leave, stored_root, wait_link
from privateroot.process import PrivateRoot
from privateroot.procfs import is_pending, private_kib
from program.injection import terminate
from program.programtest import FAST, fail, press_fast, row, wait_until_idle

CHECKS = 50  # link checks requested together; the program's socket can queue more
WARM_UP = 100  # maximum number of actions before the first memory measurement
SETTLED_KIB = 128  # permitted variation of the heap
SECONDS = 20  # timeout of each wait
# Memory that a closed notice and a busy bar keep, measured over 300 of each: 63 and 18 KiB are in
# use (malloc_stats), of which Qt uses 10 KiB for each widget with a style sheet. The rest is heap
# fragmentation.
NOTICE_KIB, BAR_KIB = 72, 21


def check(root: PrivateRoot) -> None:
    """Request CHECKS link checks at once, and wait until each has run ifconfig."""
    log = root.run / "calls"
    log.write_text("")
    for _ in range(CHECKS):
        root.signal(SIGUSR1)
        while is_pending(root.pid, SIGUSR1):
            time.sleep(0.001)
    root.wait_until(lambda: log.read_text().count("ifconfig") == CHECKS, SECONDS, "the checks")


def dial(root: PrivateRoot) -> None:
    """Bring the link up and down again."""
    for button, up in (("Connect", True), ("Disconnect", False)):
        root.set_link(up)
        press_fast(root, button)
        wait_link(root, up)


def replug(root: PrivateRoot) -> None:
    """Pull the dongle and plug it in again, each time with a link check."""
    for plugged in (False, True):
        root.set_usb(DONGLE if plugged else "")
        root.add_node("ttyUSB0") if plugged else root.remove_node("ttyUSB0")
        root.signal(SIGUSR1)
        text = "detected" if plugged else "undetected"
        root.wait(lambda screen: screen.value(DONGLE_STATUS)["text"] == text, SECONDS, text)


def raise_keys(root: PrivateRoot) -> None:
    root.panel.raise_keys(PIN)
    root.panel.put_keys_away()


def state(root: PrivateRoot) -> tuple[int, dict[int, str], set[str]]:
    """Wait until no command runs. @return private memory in KiB, open descriptors, files"""
    wait_until_idle(root)
    files = {str(path.relative_to(root.base)) for directory in ("quenfold", "etc/ppp", "dev")
             for path in Path(root.base, directory).rglob("*")}
    return private_kib(root.pid), root.descriptors(), files


# Function to repeat, number of repetitions; per repetition: permitted growth in KiB, size of the
# objects that stay by design in KiB (on amd64), number of actions. If a repetition has several
# actions, commands are logged but not run, and the inspector is not loaded.
@pytest.mark.parametrize("once, count, most, objects, times", (
    row("300 failed attempts", fail, 300, 8, NOTICE_KIB + BAR_KIB, 1),
    row("10,000 link checks, no inspector", check, 10_000 // CHECKS, 0, 0, CHECKS),
    row("keyboard shown 100 times", raise_keys, 100, 0.5, 0, 1),
    row("20 failed attempts", fail, 20, 8, NOTICE_KIB + BAR_KIB, 1, everyday=True),
    row("20 times link up and down", dial, 20, 8, BAR_KIB, 1, everyday=True),
    row("dongle, 20 cycles", replug, 20, 2, 0, 1, everyday=True)))
def test_growth(record_property: Callable[[str, object], None], request: pytest.FixtureRequest,
                once: Callable[[PrivateRoot], None], count: int, most: float, objects: float,
                times: int) -> None:
    many = times > 1
    with stored_root(**FAST, keys=True, inspected=not many) as root:
        root.unwrap("ls")
        if many:
            root.unwrap("sh", STAND_IN)
        root.start(shown=not many)
        root.wait_calls("ifconfig", 1, SECONDS)
        for _ in range(min(count // 4, WARM_UP // times) + 2):
            once(root)
        memory, descriptors, files = state(root)
        for _ in range(count):
            once(root)
        after, descriptors_after, files_after = state(root)
        grown = max(after - memory, 0)
        figure = f"{grown} KiB, {grown / count / times:.1f} KiB each" + (
            f"; objects kept by design: {objects} KiB each, measured over 300" if objects else "")
        record_property("figure", f"{request.node.callspec.id}: {figure}")
        expect(grown <= (most + objects) * count + SETTLED_KIB, f"grown by {figure}")
        expect(descriptors_after == descriptors, f"descriptors: {descriptors_after}")
        expect(files_after == files, f"files: {files_after ^ files}")
        terminate(root) if many else leave(root)


@pytest.mark.torture
def test_dongle_late_and_pulled_unseen() -> None:
    """Start without the dongle, plug it in, pull it and plug it in again."""
    with stored_root(usb="", nodes=(), inspected=False) as root:
        root.start(shown=False)
        root.wait_calls("usb", 1, SECONDS)
        root.set_usb(DONGLE)
        root.wait_calls("ls", 1, SECONDS)
        root.add_node("ttyUSB0")
        for checks, bus in enumerate(("", DONGLE), 1):
            root.wait_calls("ifconfig", checks, SECONDS)
            root.set_usb(bus)
            root.signal(SIGUSR1)
        root.wait_calls("ifconfig", 3)
        terminate(root)
