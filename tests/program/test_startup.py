"""From the start of the process to the main window."""

import os
import time
from pathlib import Path
from signal import SIGKILL, SIGTERM, SIGUSR1

import pytest

from panel.constants import APN, DONGLE_STATUS, GREEN, RED, UNDETECTED
from panel.patience import patient
from privateroot.files import DONGLE, LAUNCH
from privateroot.operating import wait_link
from privateroot.procfs import processor_ticks
from program.programtest import clocks, expect_lasted, expect_period, screenshot
from program.conftest import Roots

SEEN, FAILED = ["usb balanced", "ls /dev"], ["usb failed", "ls /dev"]
# USB bus, true if the link is up, and the calls of one search for the dongle. The start-up and its
# link check make one search each.
BUSES = {
    "link down": (DONGLE, False, SEEN),
    "link up, among others": ("device 1d6b 2\ndevice 12d1 1003\n" + DONGLE, True, SEEN),
    "no USB library": ("init -99\n", False, FAILED),
    "no device list": ("list -11\n", False, SEEN),
}


@pytest.mark.parametrize("usb, link, looks", BUSES.values(), ids=BUSES)
def test_order_and_first_check(roots: Roots, usb: str, link: bool, looks: list[str]) -> None:
    root = roots.new(usb=usb)
    root.set_link(link)
    root.start()
    route = ["route add default ppp0"] if link else []
    assert [str(call) for call in root.calls()] == [*looks, "ifconfig", *looks, *route]
    wait_link(root, link)
    value = root.panel.value(DONGLE_STATUS)
    assert (value["text"], value["style"]) == ("detected", GREEN)
    assert not root.panel.screen().has_dialog()
    assert root.errors() == []


@pytest.mark.parametrize("platform", ("linuxfb:fb=/dev/none", "none"))
def test_no_display(roots: Roots, platform: str) -> None:
    """Without a display, print an error message and exit with status 69 instead of an abort."""
    launch = LAUNCH.replace("program", f"program /usr/bin/env QT_QPA_PLATFORM={platform}")
    root = roots.new(launch=launch).start(shown=False)
    assert root.wait_exit() == 69
    assert "corvanta: no display" in "\n".join(root.errors())


def test_second_instance(roots: Roots) -> None:
    """A second instance refuses to start while the first runs. After SIGKILL of the first, the next
    instance starts."""
    root = roots.new(mounts=("--tmpfs", "/run"), launch=(
        "(until [ -e /testrun/go ]; do sleep 0.1; done; program 2>/testrun/second; "
        f"echo $? >/testrun/refused) & {LAUNCH}; {LAUNCH}"))
    root.start()
    root.write("/testrun/go", "")
    root.wait_until(lambda: root.content("/testrun/refused"), 5, "the second instance has exited")
    assert root.read("/testrun/refused") == b"75\n"
    assert root.read("/testrun/second") == b"corvanta: another instance is already running\n"
    root.signal(SIGKILL)
    root.wait_calls("ifconfig", 2)


@clocks()
def test_dongle_dialog(roots: Roots) -> None:
    """The dialog is shown until a dongle with the right vendor and product ID is on the bus, which
    the program polls every 3 s. Close and Escape do not close the dialog."""
    root = roots.new(usb="device 12d1 1003\ndevice 05c6 1001\ndevice 1001 12d1\n", nodes=())
    root.start(shown=False)
    root.wait_calls("usb", 1)
    begin = time.monotonic()
    root.wait(lambda screen: screen.has_dialog(), 5, "the dialog")
    dialog = root.panel.dialog()
    assert (dialog["text"], dialog["buttons"], dialog["rect"]) == (
        UNDETECTED, ["Close"], [0, 0, 800, 480])
    root.panel.press("Close")
    root.panel.key("Esc")
    # A link check runs while the dialog is shown.
    root.signal(SIGUSR1)
    root.wait_calls("ifconfig", 1)
    screen = root.panel.screen()
    assert screen.has_dialog(), "Close and Escape must not close the dialog"
    assert not screen.main_window()["visible"]
    value = screen.value(DONGLE_STATUS)
    assert (value["text"], value["style"]) == ("undetected", RED)
    root.wait_calls("usb", 3)  # start-up, the signal's check, then the first poll
    expect_lasted(time.monotonic() - begin, 3.0, 0.5)
    root.set_usb(DONGLE)
    root.wait_calls("usb", 4)
    expect_lasted(time.monotonic() - begin, 6.0, 0.5)
    root.wait(lambda screen: not screen.has_dialog(), 4, "the dialog closed")
    root.wait_calls("ls", 1)
    root.add_node("ttyUSB0")
    root.wait_shown(2)


@clocks("to 1971")
def test_node_wait_is_served(roots: Roots) -> None:
    root = roots.new(nodes=("ttyS0", "tty", "USB0")).start(shown=False)
    root.wait_calls("ls", 1)
    assert not any(screenshot(root)), "the panel is black during the wait"
    root.signal(SIGUSR1)
    check = root.wait_calls("ifconfig", 1, 0.7)
    assert not root.panel.screen().main_window()["visible"]
    used = processor_ticks(root.pid)
    root.wait_calls("ls", 4, 5)
    assert processor_ticks(root.pid) - used < os.sysconf("SC_CLK_TCK"), "a busy loop"
    looks = root.calls("ls")
    # Ignore the link check's own search for the device node.
    looks.remove(min(looks, key=lambda look: abs(look.time - check.time)))
    expect_period(looks, 1.0)
    root.add_node("ttyUSB3")
    root.wait_shown(1.5)
    assert any(screenshot(root))


def test_terminated_at_once(roots: Roots) -> None:
    """SIGTERM during the start-up leads to a clean exit: before the signal handlers are installed,
    when it stays pending, and while the dialog waits for the dongle."""
    waiting, root = (roots.new(usb="").start(shown=False) for _ in range(2))
    maps = Path(f"/proc/{root.pid}/maps")
    deadline = time.monotonic() + patient(5)
    while "libqvnc" not in maps.read_text():  # the platform plugin, loaded by QApplication
        assert time.monotonic() < deadline
    root.signal(SIGTERM)
    assert root.wait_exit() == 0
    waiting.wait(lambda screen: screen.has_dialog(), 5, "the dialog")
    waiting.signal(SIGTERM)
    assert waiting.wait_exit() == 0


def test_descriptors_close_on_exec(roots: Roots) -> None:
    root = roots.new().start()
    for number in root.descriptors():
        if number > 2 and (flags := root.descriptor_flags(number)) is not None:
            assert flags & os.O_CLOEXEC, f"{number} of {root.descriptors()}"


def test_escape_drops_the_focus_of_a_line_edit(roots: Roots) -> None:
    root = roots.new().start()
    root.panel.fill(APN, "web")
    root.panel.key("Esc")
    root.wait(lambda screen: not screen.field(APN)["focus"], 2, "the focus dropped")
    assert root.panel.field(APN)["text"] == "web"
