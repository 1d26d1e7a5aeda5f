"""The on-screen keyboard: when it is shown and hidden, what it types, and stray touches."""

import time
from collections.abc import Callable
from signal import SIGUSR1

import pytest

from host.sockets import connect
from panel.constants import (APN, AUTH, BUTTON_GUARD_SECONDS, DIAL, DOUBLE_TOUCH_SECONDS, FAILED,
                             FIELDS, MISC, PARAMETERS, PIN, SETTING, SIZES, USER)
from panel.screen import Screen, Widget
from privateroot.operating import check_link, ended
from privateroot.process import PrivateRoot
from privateroot.viewer import SETUP, SOCKET, Viewer
from program.conftest import Roots

ASCII = "".join(map(chr, range(0x20, 0x7f)))


@pytest.fixture
def size() -> tuple[int, int]:
    return SIZES[0]


@pytest.fixture
def keyed(roots: Roots, size: tuple[int, int]) -> PrivateRoot:
    """Start the program with the on-screen keyboard."""
    return roots.started(size=size, keys=True)


def expect_hidden(screen: Screen) -> None:
    assert screen.keys == []
    assert screen.main_window()["rect"] == [0, 0, *screen.size]


def wait_gone(root: PrivateRoot) -> None:
    root.wait(lambda screen: not screen.keys, 10, "the keyboard is hidden")


def test_every_character(keyed: PrivateRoot) -> None:
    keyed.panel.touch_in(APN, ASCII)
    keyed.panel.put_keys_away()
    keyed.panel.touch_in(DIAL, "aT*99***1#")  # the digits hint does not restrict the input
    keyed.panel.invoke("Makeup", "mClose")  # Exit with the keyboard shown
    ended(keyed)
    assert keyed.content(PARAMETERS).decode().startswith(f"{ASCII.strip()}\naT*99***1#\n")


@pytest.mark.parametrize("size", SIZES, ids=str)
def test_the_field_stays_in_sight(keyed: PrivateRoot) -> None:
    for label in FIELDS:
        screen = keyed.panel.raise_keys(label)
        _, y, _, height = screen.field(label)["rect"]
        top = min(key["rect"][1] for key in screen.keys)
        assert 0 <= y <= top - height, label
        _, lifted, *_ = screen.main_window()["rect"]
        assert lifted in (0, top - height - 4 - y + lifted), f"{label}: moved up too far"
        keyed.panel.put_keys_away()
        expect_hidden(keyed.panel.screen())


HIDE: dict[str, Callable[[PrivateRoot], object]] = {
    "Enter": lambda root: root.panel.click(root.panel.screen().key("Enter")),
    "hide key": lambda root: root.panel.click(root.panel.screen().key("Hide")),
    "Escape": lambda root: root.panel.key("Esc"),
    "another page": lambda root: root.panel.open_tab(MISC),
    "link check": lambda root: check_link(root, True),
    "attempt": lambda root: root.panel.invoke("Makeup", "doPPPConnect"),
}


def test_ways_to_hide(keyed: PrivateRoot) -> None:
    """Hide the keyboard in each way. Afterwards undo a change of the page or of the link."""
    assert keyed.panel.screen().keys == []  # the focus without a touch does not show the keyboard
    for name, hide in HIDE.items():
        keyed.panel.raise_keys(APN if name == "another page" else PIN)
        hide(keyed)
        wait_gone(keyed)
        expect_hidden(keyed.panel.screen())
        time.sleep(DOUBLE_TOUCH_SECONDS)
        if name == "another page":
            keyed.panel.open_tab(SETTING)
        elif name == "link check":
            check_link(keyed, False)
    assert keyed.errors() == []


def test_never_over_a_dialog(keyed: PrivateRoot) -> None:
    keyed.panel.raise_keys(PIN)
    keyed.panel.invoke("Makeup", "checkPPPMsg")
    screen = keyed.panel.wait(lambda now: now if now.has_dialog() else None, 5, "the notice")
    expect_hidden(screen)
    assert screen.dialog()["text"] == FAILED
    x, y, width, height = screen.dialog()["rect"]
    assert abs(x + width / 2 - 240) <= 1 and abs(y + height / 2 - 136) <= 1
    time.sleep(BUTTON_GUARD_SECONDS)
    keyed.panel.press("OK")
    keyed.panel.wait(lambda now: not now.has_dialog(), 5, "the notice gone")
    assert keyed.panel.screen().keys == []  # until a field is touched again
    keyed.panel.raise_keys(PIN)


def touch_late(root: PrivateRoot, button: Widget, since: float) -> None:
    """Touch a button 0.5 s after a change of windows. On a slow machine, when the button guard may
    have ended, do nothing.

    @param since time of the change, by time.monotonic()"""
    time.sleep(max(0, since + 0.5 - time.monotonic()))
    if time.monotonic() - since < 0.9:
        root.panel.click(button)


@pytest.mark.parametrize("size", SIZES, ids=str)
def test_no_touch_ends_the_program(keyed: PrivateRoot) -> None:
    """A late touch on a list row or key must not press the button that appears at its place: Exit
    under the list and the keyboard, OK under the keyboard."""
    exit_button = keyed.panel.button("Exit")
    keyed.panel.click(keyed.panel.field(AUTH))
    chap = keyed.panel.wait(lambda screen: screen.row("CHAP"), 5, "the list")
    assert sum(chap["rect"][1::2]) < exit_button["rect"][1]
    for _ in range(2):
        keyed.panel.click(chap)
        time.sleep(0.1)
    enter, since = keyed.panel.raise_keys(PIN).key("Enter"), time.monotonic()
    keyed.panel.click(enter)
    wait_gone(keyed)
    touch_late(keyed, exit_button, since)
    keyed.panel.raise_keys(PIN)
    since = time.monotonic()
    keyed.panel.invoke("Makeup", "checkPPPMsg")
    keyed.wait(lambda screen: screen.has_dialog(), 5, "the notice")
    touch_late(keyed, keyed.panel.button("OK"), since)
    time.sleep(BUTTON_GUARD_SECONDS)
    assert keyed.panel.screen().has_dialog(), "a late touch pressed OK"
    keyed.panel.press("OK")
    keyed.wait(lambda screen: not screen.has_dialog(), 5, "the notice gone")
    assert keyed.panel.field(PIN)["text"] == ""
    assert keyed.exit_status() is None, "a late touch pressed Exit"


@pytest.mark.parametrize("size", SIZES, ids=str)
def test_touch_before_the_window(roots: Roots, size: tuple[int, int]) -> None:
    """Touch the black panel, before the window is shown, where Exit will be."""
    root = roots.stored(size=size, keys=True, setup=SETUP)
    root.answer("ifconfig", "sleep 1; /usr/bin/cat /testrun/interfaces\n")
    root.start(shown=False).wait_calls("ifconfig", 1, 20)
    with Viewer(connect(root.run / SOCKET, 5)) as viewer:
        width, height = size
        viewer.touch(width - width // 10, height - height // 16)
        root.wait_shown()
        time.sleep(0.5)
    x, y, *extent = root.panel.button("Exit")["rect"]
    assert x < width - width // 10 < x + extent[0] and y < height - height // 16 < y + extent[1]
    assert root.exit_status() is None, "a touch before the window was shown pressed Exit"


def test_touches_while_the_screen_stands_still(keyed: PrivateRoot) -> None:
    """Touch keys while a link check blocks the program. After it, the keyboard is hidden, and the
    touches must not press the button at their place."""
    enter = keyed.panel.raise_keys(PIN).key("Enter")
    keyed.answer("ifconfig", "sleep 1; /usr/bin/cat /testrun/interfaces\n")
    keyed.set_link(True)
    keyed.signal(SIGUSR1)
    keyed.wait_calls("ifconfig", 2)
    for _ in range(3):
        keyed.panel.click(enter)
    wait_gone(keyed)
    time.sleep(0.5)
    assert keyed.exit_status() is None, "a touch during the check pressed Exit"


@pytest.mark.parametrize("size", SIZES, ids=str)
def test_field_touched_twice(roots: Roots, size: tuple[int, int]) -> None:
    """Touch a field twice, then type: a double-click would select a word, and the key would replace
    it. Use VNC, because the inspector's clicks are too far apart for a double-click."""
    root = roots.started(size=size, setup=SETUP)
    x, y, _, height = root.panel.field(USER)["rect"]
    with Viewer(connect(root.run / SOCKET, 5)) as viewer:
        for _ in range(2):
            viewer.touch(x + 20, y + height // 2)  # within the word "operator"
        root.wait(lambda screen: screen.field(USER)["focus"], 5, "the focus")
        viewer.press(ord("x"))
        root.wait(lambda screen: len(screen.field(USER)["text"]) == 9, 5, "x typed")
