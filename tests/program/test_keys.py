"""The on-screen keys: when they come and go, what they type, and what becomes of touches."""

import signal
import time
from collections.abc import Callable
from pathlib import Path

from host.sockets import connect
from panel.facts import APN, DIAL, FAILED, FIELDS, MISC, PARAMETERS, PIN, SIZES, USER
from panel.screen import Screen
from privateroot.operating import check_link, ended
from privateroot.process import PrivateRoot
from privateroot.viewer import SETUP, SOCKET, Viewer
from programtest import ProgramTest

ASCII = "".join(map(chr, range(0x20, 0x7f)))


class Keys(ProgramTest):
    def with_keys(self, size: tuple[int, int] = (480, 272)) -> PrivateRoot:
        return self.started(size=size, keys=True)

    def assert_at_rest(self, screen: Screen) -> None:
        self.assertEqual(screen.keys, [])
        self.assertEqual(screen.main_window()["rect"], [0, 0, *screen.size])

    def wait_gone(self, root: PrivateRoot) -> None:
        root.wait(lambda screen: not screen.keys, 10, "the keys gone")

    def test_every_character(self) -> None:
        root = self.with_keys()
        root.panel.touch_in(APN, ASCII)
        root.panel.put_keys_away()
        root.panel.touch_in(DIAL, "aT*99***1#")  # a hint of digits refuses nothing

    def test_the_field_stays_in_sight(self) -> None:
        for size in SIZES:
            root = self.with_keys(size)
            for label in FIELDS:
                with self.subTest(f"{label} on {size}"):
                    screen = root.panel.raise_keys(label)
                    _, y, _, height = screen.field(label)["rect"]
                    top = min(key["rect"][1] for key in screen.keys)
                    self.assertGreaterEqual(y, 0)
                    self.assertLessEqual(y + height, top)
                    _, lifted, *_ = screen.main_window()["rect"]
                    self.assertIn(lifted, (0, top - height - 4 - y + lifted))  # no further
                    root.panel.put_keys_away()
                    self.assert_at_rest(root.panel.screen())

    def test_ways_to_go(self) -> None:
        table: dict[str, Callable[[PrivateRoot], object]] = {
            "Enter": lambda root: root.panel.click(root.panel.screen().key("Enter")),
            "hide key": lambda root: root.panel.click(root.panel.screen().key("Hide")),
            "Escape": lambda root: root.panel.key("Esc"),
            "another page": lambda root: root.panel.open_tab(MISC),
            "link check": lambda root: check_link(root, True),
            "attempt": lambda root: root.panel.invoke("Makeup", "doPPPConnect"),
        }
        for name, go in table.items():
            with self.subTest(name):
                root = self.with_keys()
                self.assertEqual(root.panel.screen().keys, [])  # the focus alone does not do
                root.panel.raise_keys(APN if name == "another page" else PIN)
                go(root)
                self.wait_gone(root)
                self.assert_at_rest(root.panel.screen())
                self.assertEqual(root.errors(), [])

    def test_never_over_a_dialog(self) -> None:
        root = self.with_keys()
        root.panel.raise_keys(PIN)
        root.panel.invoke("Makeup", "checkPPPMsg")
        screen = root.panel.wait(lambda now: now if now.has_dialog() else None, 5, "the notice")
        self.assert_at_rest(screen)
        self.assertEqual(screen.dialog()["text"], FAILED)
        x, y, width, height = screen.dialog()["rect"]
        self.assertAlmostEqual(x + width / 2, 240, delta=1)
        self.assertAlmostEqual(y + height / 2, 136, delta=1)
        time.sleep(0.5)
        root.panel.press("OK")
        root.panel.wait(lambda now: not now.has_dialog(), 5, "the notice gone")
        self.assertEqual(root.panel.screen().keys, [])  # until a field is touched again
        root.panel.raise_keys(PIN)

    def test_second_touch(self) -> None:
        """Exit lies under Enter, a key under a field: the second of two touches meets neither."""
        root = self.with_keys()
        exit_button = root.panel.button("Exit")
        root.panel.click(root.panel.raise_keys(PIN).key("Enter"))
        root.panel.click(exit_button)
        self.wait_gone(root)
        time.sleep(0.5)
        self.assertIsNone(root.exit_status(), "Exit was not meant")
        pin = root.panel.field(PIN)
        root.panel.click(pin)
        root.panel.click(pin)
        root.panel.wait(lambda screen: screen.keys, 5, "the keys")
        self.assertEqual(root.panel.field(PIN)["text"], "")

    def test_touches_while_the_screen_stands_still(self) -> None:
        """Keys touched while a check blocks the program go to nothing that comes after it."""
        root = self.with_keys()
        enter = root.panel.raise_keys(PIN).key("Enter")
        root.answer("ifconfig", "sleep 1; /usr/bin/cat /testrun/interfaces\n")
        root.set_link(True)
        root.signal(signal.SIGUSR1)
        root.wait_calls("ifconfig", 2)
        for _ in range(3):
            root.panel.click(enter)
        self.wait_gone(root)
        time.sleep(0.5)
        self.assertIsNone(root.exit_status(), "Exit was not meant")

    def test_exit_with_the_keys_up(self) -> None:
        root = self.with_keys()
        root.panel.touch_in(PIN, "0471")
        root.panel.invoke("Makeup", "mClose")
        ended(root)
        self.assertEqual(root.content(PARAMETERS).splitlines()[FIELDS.index(PIN)], b"0471")

    def test_field_touched_twice(self) -> None:
        """The next key replaces nothing, as it would after a double-click. The inspector's clicks
        are too far apart for one, those of VNC are not."""
        root = self.started(setup=SETUP)
        x, y, _, height = root.panel.field(USER)["rect"]
        with Viewer(connect(root.run / SOCKET, 5)) as viewer:
            for _ in range(2):
                viewer.touch(x + 20, y + height // 2)  # within the word "operator"
            root.wait(lambda screen: screen.field(USER)["focus"], 5, "the focus")
            viewer.press(ord("x"))
            root.wait(lambda screen: len(screen.field(USER)["text"]) == 9, 5, "x typed")

    def test_another_input_method(self) -> None:
        """The one that the environment names is used; what it asks for is Qt's business."""
        root = self.started()
        root.panel.fill(PIN, "0471")
        self.assert_at_rest(root.panel.screen())
        self.assertNotIn("Quick", Path(f"/proc/{root.pid}/maps").read_text())
        self.assertEqual(root.errors(), [])
