"""The on-screen keyboard: when it comes and goes, what it types, and what becomes of touches."""

import shutil
import signal
import tempfile
import time
import unittest
from collections.abc import Callable
from pathlib import Path

from privateroot import BUILD, PARAMETERS, PrivateRoot, Screen
from programtest import FAILED, FIELDS, MISC, ProgramTest

SIZES = ((480, 272), (800, 480), (1280, 800))
ASCII = "".join(map(chr, range(0x20, 0x7f)))
QT = next(Path("/usr/lib").glob("*/qt6"))
MODULE = "/testkeyboard/corvanta/libcorvantakeyboard.so"
MISSING = "No on-screen keyboard: "


class KeyboardTest(ProgramTest):
    def started(self, size: tuple[int, int] = (480, 272)) -> PrivateRoot:
        return self.stored_root(size=size, keyboard=True).start()

    def assert_at_rest(self, screen: Screen) -> None:
        self.assertEqual(screen.keys, [])
        self.assertEqual(screen.main_window()["rect"], [0, 0, *screen.size])


class Typing(KeyboardTest):
    def test_every_character(self) -> None:
        root = self.started()
        root.panel.touch_in("APN NAME:", ASCII)
        root.panel.put_keys_away()
        root.panel.touch_in("Dial Num:", "aT*99***1#")  # a hint of digits refuses nothing
        home = Path("/proc", str(root.pid), "root", "tmp")  # as the program sees it
        self.assertEqual(list(home.glob(".cache/*/qmlcache/*")), [], "compiled at the start")

    def test_first_page(self) -> None:
        """Every field opens on its own page, whatever the one before was left on."""
        root = self.root(size=(480, 272), keyboard=True).start()
        for label in ("PinCode:", "USER:", "USER:", "Dial Num:", "PASSWORD:", "PinCode:",
                      "APN NAME:"):
            with self.subTest(label):
                screen = root.panel.raise_keys(label)
                self.assertEqual(screen.field(label)["text"], "")
                letters = label not in ("PinCode:", "Dial Num:")
                self.assertEqual(screen.has_key("q"), letters)
                self.assertEqual(screen.has_key("1"), not letters)
                if letters:
                    self.assertFalse(screen.key("q")["upper"])
                    root.panel.click(screen.key("123"))
                root.panel.put_keys_away()
        root.panel.open_tab(MISC)
        self.assertTrue(root.panel.raise_keys("Counts:").has_key("1"))

    def test_the_field_stays_in_sight(self) -> None:
        for size in SIZES:
            root = self.started(size)
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

    def test_from_field_to_field(self) -> None:
        """With the keyboard up, the next field that is in sight can be touched, twice too."""
        panel = self.started().panel
        panel.click(panel.raise_keys("PASSWORD:").key("123"))
        panel.wait(lambda screen: screen.has_key("1"), 5, "another page")
        user = panel.field("USER:")
        panel.click(user)
        panel.click(user)  # where the field above is by now
        screen = panel.wait(lambda now: now if now.main_window()["rect"][1] == -8 else None, 5,
                            "the window lower again")
        self.assertTrue(screen.field("USER:")["focus"])
        time.sleep(0.5)
        panel.click(panel.wait(lambda now: now.key("x"), 5, "letters"))
        panel.wait(lambda now: now.field("USER:")["text"] == "operatorx", 5, "x typed")


class Going(KeyboardTest):
    def test_ways_to_go(self) -> None:
        table: dict[str, Callable[[PrivateRoot], object]] = {
            "Enter": lambda root: root.panel.click(root.panel.screen().key("Enter")),
            "hide key": lambda root: root.panel.click(root.panel.screen().key("Hide")),
            "Escape": lambda root: root.panel.key("Esc"),
            "another page": lambda root: root.panel.open_tab(MISC),
            "link check": self.link_up,
            "attempt": lambda root: root.panel.invoke("Makeup", "doPPPConnect"),
        }
        for name, go in table.items():
            with self.subTest(name):
                root = self.started()
                self.assertEqual(root.panel.screen().keys, [])  # the focus alone does not do
                root.panel.raise_keys("APN NAME:" if name == "another page" else "PinCode:")
                go(root)
                root.panel.wait(lambda screen: not screen.keys, 5, "the keyboard gone")
                self.assert_at_rest(root.panel.screen())
                self.assertEqual(root.errors(), [])

    def link_up(self, root: PrivateRoot) -> None:
        root.set_link(True)
        root.signal(signal.SIGUSR1)

    def test_never_over_a_dialog(self) -> None:
        root = self.started()
        root.panel.raise_keys("PinCode:")
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
        root.panel.raise_keys("PinCode:")


class Touches(KeyboardTest):
    def test_second_touch(self) -> None:
        """Exit lies under Enter, a key under a field: the second of two touches meets neither."""
        root = self.started()
        exit_button = root.panel.button("Exit")
        enter = root.panel.raise_keys("PinCode:").key("Enter")
        root.panel.click(enter)
        root.panel.click(exit_button)
        root.panel.wait(lambda screen: not screen.keys, 5, "the keyboard gone")
        time.sleep(0.5)
        self.assertIsNone(root.exit_status(), "Exit was not meant")
        pin = root.panel.field("PinCode:")
        root.panel.click(pin)
        root.panel.click(pin)
        root.panel.wait(lambda screen: screen.keys, 5, "the keyboard")
        self.assertEqual(root.panel.field("PinCode:")["text"], "")

    def test_touches_while_the_screen_stands_still(self) -> None:
        """Keys touched while a check blocks the program go to nothing that comes after it."""
        root = self.started()
        enter = root.panel.raise_keys("PinCode:").key("Enter")
        root.answer("ifconfig", "sleep 1; /usr/bin/cat /testrun/interfaces\n")
        root.set_link(True)
        root.signal(signal.SIGUSR1)
        root.wait_calls("ifconfig", 2)
        for _ in range(3):
            root.panel.click(enter)
        root.panel.wait(lambda screen: not screen.keys, 10, "the keyboard gone")
        time.sleep(0.5)
        self.assertIsNone(root.exit_status(), "Exit was not meant")

    def test_exit_with_the_keyboard_up(self) -> None:
        root = self.started()
        root.panel.touch_in("PinCode:", "0471")
        root.panel.invoke("Makeup", "mClose")
        self.assert_ended(root)
        self.assertEqual(root.read(PARAMETERS).splitlines()[4], b"0471")


class Without(KeyboardTest):
    """A machine that lacks part of the keyboard has a panel nevertheless, and one line says why."""

    def other_version(self) -> list[str]:
        """The module as built with a later Qt: a note in the file has the two numbers."""
        module = BUILD / "platform/keyboard/plugins/corvanta/libcorvantakeyboard.so"
        folder = self.enterContext(tempfile.TemporaryDirectory())
        copy = Path(shutil.copy(module, folder))
        content = bytearray(copy.read_bytes())
        note = b"qt-project!\0\x01\x06"
        content[content.index(note) + len(note)] = 99
        copy.write_bytes(content)
        return ["--ro-bind", str(copy), MODULE]

    def test_reasons(self) -> None:
        table = {
            "module": (["--tmpfs", "/testkeyboard"], "corvantakeyboard"),
            "other Qt": (self.other_version(), "incompatible Qt library"),
            "another module": (["--ro-bind", f"{QT}/plugins/generic/libqevdevmouseplugin.so",
                                MODULE], "version"),
            "Qt's plug-in": (["--tmpfs", f"{QT}/plugins/platforminputcontexts"],
                             "qtvirtualkeyboard"),
            "keyboard library": (["--tmpfs", f"{QT}/qml/QtQuick/VirtualKeyboard"],
                                 "QtQuick.VirtualKeyboard"),
        }
        for name, (mounts, reason) in table.items():
            with self.subTest(name):
                root = self.stored_root(keyboard=True, mounts=mounts).start()
                lines = [line for line in root.errors() if line.startswith(MISSING)]
                self.assertEqual(len(lines), 1, root.errors())
                self.assertIn(reason, lines[0])
                root.panel.fill("PinCode:", "0471")
                self.assert_at_rest(root.panel.screen())
                self.leave(root)

    def test_not_selected(self) -> None:
        root = self.stored_root().start()
        root.panel.fill("PinCode:", "0471")
        self.assert_at_rest(root.panel.screen())
        maps = Path(f"/proc/{root.pid}/maps").read_text()
        self.assertNotIn("Quick", maps)
        self.assertEqual(root.errors(), [])


if __name__ == "__main__":
    unittest.main()
