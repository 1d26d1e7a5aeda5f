"""The Connect button: the order of commands, the written files, and the wait for the dongle."""

import os
import time
from collections.abc import Callable
from pathlib import Path

import pytest

from panel.constants import (APN, AUTH, AUTO_CONNECT, CHAT_SCRIPT, COUNTS, DIAL, FILES,
                             LOGS, MISC, PARAMETERS, PASSWORD, PEER_FILE, PIN, SETTING, STATUS,
                             STORED_AUTO, UNDETECTED, USER, stored_parameters)
from panel.panel import Panel
from panel.patience import wait_until
from privateroot.files import DONGLE
from privateroot.operating import DIALLING, check_link, connect, leave
from privateroot.process import PrivateRoot
from program.programtest import (FAST, clocks, expect_period, fail, generated,
                                 screenshot, stored)
from program.conftest import Roots

# Answer script that copies the program's files as they are when the command runs.
SNAPSHOT = """
/usr/bin/mkdir /testrun/at-{name}
/usr/bin/cp /quenfold/configs/* /etc/ppp/peers/* /etc/ppp/chat/* /testrun/at-{name} 2>/dev/null
echo >/testrun/at-{name}/complete
"""
Act = Callable[[Panel], object]
NOTHING: Act = lambda panel: None  # noqa: E731


def next_method(panel: Panel) -> None:
    """Choose the next method with a key. With a FAST clock, the list of the combo box closes too
    soon for a touch."""
    panel.fill(PIN, "0000")
    panel.key("Tab")
    panel.key("Down")


# Name of an edit, true if Connect must generate the files again, the tab to open, and the edit.
# tst_paramlist has the other edits.
EDITS: tuple[tuple[str, bool, str, Act], ...] = (
    ("a method beyond the list stored", True, SETTING, NOTHING),
    ("nothing", False, SETTING, NOTHING),
    ("APN", True, SETTING, lambda panel: panel.fill(APN, " 0000 ")),
    ("method", True, SETTING, next_method),
    ("same radio", False, MISC, lambda panel: panel.press("NO")),
    ("radio", True, MISC, lambda panel: panel.press("YES")),
    ("counts", True, MISC, lambda panel: panel.fill(COUNTS, "05 ")),
    ("typed as stored", False, SETTING, lambda panel: panel.fill(PIN, "0000")),
)


def test_edits(roots: Roots) -> None:
    """Make each edit and connect. A second Connect after it writes no file."""
    root = roots.stored(parameters=stored_parameters(method="3"), auto=STORED_AUTO, **FAST).start()
    for name, changed, tab, act in EDITS:
        for path in (CHAT_SCRIPT, PEER_FILE):
            root.write(path, "old")
        for visited in (MISC, STATUS, SETTING, tab):
            root.panel.open_tab(visited)
        act(root.panel)
        fail(root)
        for path, content in generated(stored(root)).items():
            assert root.read(path) == (content if changed else b"old"), f"{path} after {name}"
        stamps = [root.host(path).stat().st_mtime_ns for path in FILES]
        fail(root)
        assert [root.host(path).stat().st_mtime_ns for path in FILES] == stamps, f"after {name}"
    assert root.read(PARAMETERS) == stored_parameters("0000", pin="0000")
    assert root.read(AUTO_CONNECT) == b"0\n05\n"


def test_order_and_written_files(roots: Roots) -> None:
    """Connect terminates pppd, replaces all files and starts pppd. The files have the trimmed
    values and mode 0600."""
    root = roots.new()
    for path in FILES:
        root.write(path, "old\n" * 505)
        root.host(path).chmod(0o664)
    for name in ("killall", "pppd"):
        root.answer(name, SNAPSHOT.format(name=name))
    root.start()
    for label, text in {APN: "web.example", DIAL: " *99***1# ", USER: "guest",
                        PASSWORD: "pass word", PIN: " 1234 "}.items():
        root.panel.fill(label, text)
    root.panel.choose(AUTH, "CHAP")
    before = len(root.calls())
    root.panel.press("Connect")
    root.wait_until(lambda: root.read("/testrun/at-pppd/complete"), 5, "pppd's answer")
    assert [str(call) for call in root.calls()[before:]] == ["usb balanced", "ls /dev", *DIALLING]
    screen = root.panel.screen()
    assert not screen.button("Connect")["enabled"]
    assert not screen.field(APN)["enabled"]
    assert [bar["rect"] for bar in screen.busy_bars()] == [[200, 200, 400, 40]]
    parameters = stored_parameters("web.example", "*99***1#", "guest", "pass word", "1234", "2")
    for path, content in {PARAMETERS: parameters, **generated(parameters)}.items():
        assert root.read(path) == content
    assert root.read(AUTO_CONNECT) == b"0\nold\n"
    assert [root.mode(path) for path in FILES] == ["600"] * 4
    for path in FILES:
        name = path.rpartition("/")[2]
        assert root.content(f"/testrun/at-killall/{name}").startswith(b"old\n")
        assert root.read(f"/testrun/at-pppd/{name}") == root.read(path)


@pytest.mark.parametrize("lay, mode", (
    (lambda log: None, 0o600), (Path.touch, 0o600), (os.mkfifo, 0o644),
    (lambda log: log.symlink_to("ppp.log.shared"), 0o777)), ids=("none", "file", "FIFO", "link"))
def test_private_logs(roots: Roots, lay: Callable[[Path], object], mode: int) -> None:
    """Connect creates a log, or makes it readable by root only. It keeps a FIFO, a symbolic link
    and the link's target as they are."""
    root = roots.stored()
    root.write(f"{LOGS[0]}.shared", "log")
    for log in LOGS:
        lay(root.host(log))
    connect(root.start())
    assert [root.host(log).lstat().st_mode & 0o777 for log in LOGS] == [mode] * 2
    assert root.mode(f"{LOGS[0]}.shared") == "644"


def test_two_quick_presses(roots: Roots) -> None:
    root = roots.stored()
    root.answer("killall", "/usr/bin/sleep 0.3")
    button = root.start().panel.button("Connect")
    root.panel.click(button)
    root.panel.click(button)
    root.wait_calls("pppd", 1)
    root.panel.screen()  # the inspector answers after it has delivered the second touch
    leave(root)
    assert len(root.calls("pppd")) == 1


def wait_for_dongle(root: PrivateRoot, node: bool, usb: str = DONGLE) -> None:
    """Touch Connect while the device node or the dongle is missing."""
    if not node:
        root.remove_node("ttyUSB0")
    root.set_usb(usb)
    polls = len(root.calls("ls"))
    root.panel.press("Connect")
    if usb == DONGLE:
        root.wait_calls("ls", polls + 1)
    else:
        root.wait(lambda screen: screen.dialog()["text"] == UNDETECTED, 2, "the dialog")


@clocks("to 1971")
def test_served_with_a_moving_bar(root: PrivateRoot) -> None:
    wait_for_dongle(root, node=False)
    root.wait(lambda screen: screen.busy_bars(), 2, "the busy bar")
    screenshots = set()

    def moving(_: object) -> bool:
        screenshots.add(screenshot(root))
        return len(screenshots) >= 5

    root.wait(moving, 3, "the busy bar moves")
    root.panel.open_tab(STATUS, 0.7)
    polls = len(root.calls("ls"))
    root.wait_calls("ls", polls + 3, 4)
    expect_period(root.calls("ls")[polls - 1:], 1.0)
    assert root.commands()[1:] == [], "no command is run before the device node exists"
    root.add_node("ttyUSB0")
    root.wait_calls("pppd", 1, 1.5)


def test_second_press_dials_no_second_time(root: PrivateRoot) -> None:
    wait_for_dongle(root, node=False)
    for _ in range(2):
        check_link(root, False)
        root.panel.press("Connect")
        root.wait(lambda screen: not screen.button("Connect")["enabled"], 2, "the attempt")
    root.add_node("ttyUSB0")
    dialled = root.wait_calls("pppd", 1, 2)
    # A second attempt would find the device node within 1 s.
    wait_until(lambda: time.time() > dialled.time + 1.6, 3, "the time")
    assert [str(call) for call in root.calls("pppd", "killall")] == DIALLING


def test_dongle_dialog_closed(root: PrivateRoot) -> None:
    """Escape closes the dialog and aborts the attempt. The dialog does not appear again."""
    wait_for_dongle(root, node=False, usb="")
    root.panel.key("Esc")
    root.wait(lambda screen: not screen.has_dialog(), 2, "the dialog closed")
    check_link(root, False)
    assert root.panel.screen().busy_bars() == []
    closed = len(root.calls("ls")), len(root.calls("usb"))
    root.add_node("ttyUSB0")
    wait_until(lambda: time.time() > root.calls("usb")[-1].time + 3.2, 5, "the time of a poll")
    assert (len(root.calls("ls")), len(root.calls("usb"))) == closed
    root.remove_node("ttyUSB0")
    root.panel.press("Connect")
    root.wait_calls("ls", closed[0] + 4)
    assert not root.panel.screen().has_dialog()
    assert root.calls("pppd") == []  # SIGTERM ends this wait after the test


def test_closed_with_a_node(root: PrivateRoot) -> None:
    wait_for_dongle(root, node=True, usb="")
    root.panel.press("Close")
    root.wait_calls("pppd", 1)


@pytest.mark.parametrize("node", (True, False), ids=("node", "no node"))
def test_dongle_dialog_closes_itself(root: PrivateRoot, node: bool) -> None:
    """The dialog closes once the dongle is found. Then the attempt waits for the device node; Exit
    ends this wait, too."""
    wait_for_dongle(root, node=node, usb="")
    root.set_usb(DONGLE)
    root.wait(lambda screen: not screen.has_dialog(), 4, "the dialog closed")
    if node:
        root.wait_calls("pppd", 1)
    else:
        root.wait(lambda screen: screen.busy_bars(), 2, "the wait for the node")
        root.set_usb("")
    leave(root)
    assert len(root.calls("pppd")) == node
