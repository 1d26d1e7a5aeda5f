"""From the start of the process to the main window."""

import os
import unittest
from signal import SIGUSR1
from pathlib import Path

from picture import Picture
from privateroot import DONGLE, PrivateRoot, wait_until
from programtest import (GREEN, MISC, RED, SETTING, STATUS, UNDETECTED, ProgramTest)

PANELS = ((480, 272), (800, 480), (1280, 800))
OTHER_SIZES = ((1024, 600), (600, 1024))


def all_calls(root: PrivateRoot) -> list[str]:
    return [f"{call.name} {call.arguments}".rstrip() for call in root.calls()]


class StartUp(ProgramTest):
    def test_order_and_first_check(self) -> None:
        seen, failed = ["usb balanced", "ls /dev"], ["usb failed", "ls /dev"]
        table = (
            # name, bus, link, calls after the start-up's own check, dongle label
            ("link down", DONGLE, False, seen + ["ifconfig"] + seen, ("detected", GREEN)),
            ("link up", DONGLE, True, seen + ["ifconfig"] + seen + ["route add default ppp0"],
             ("detected", GREEN)),
            ("two sticks", DONGLE + DONGLE, False, seen + ["ifconfig"] + seen,
             ("detected", GREEN)),
            ("among others", "device 1d6b 2\ndevice 12d1 1003\n" + DONGLE, False,
             seen + ["ifconfig"] + seen, ("detected", GREEN)),
            ("no USB library", "init -99\n", False, failed + ["ifconfig"] + failed,
             ("detected", GREEN)),
            ("no device list", "list -11\n", False, seen + ["ifconfig"] + seen,
             ("detected", GREEN)),
        )
        for name, usb, link, calls, dongle in table:
            with self.subTest(name):
                root = self.root(usb=usb)
                root.set_link(link)
                root.start()
                self.assertEqual(all_calls(root), calls)
                self.assert_link(root, link)
                value = root.panel.value("Dongle Status:")
                self.assertEqual((value["text"], value["style"]), dongle)
                self.assertFalse(root.panel.screen().has_dialog())
                self.assertEqual(root.errors(), [])
                self.leave(root)

    def test_dongle_dialog(self) -> None:
        buses = {"empty bus": "", "other product": "device 12d1 1003\n",
                 "other vendor": "device 05c6 1001\n", "swapped": "device 1001 12d1\n"}
        roots = {name: self.root(usb=bus, nodes=()) for name, bus in buses.items()}
        for root in roots.values():
            root.start(shown=False)
        for name, root in roots.items():
            with self.subTest(name):
                root.wait(lambda screen: screen.has_dialog(), 5, "the dialog")
                dialog = root.panel.dialog()
                self.assertEqual((dialog["text"], dialog["buttons"], dialog["rect"]),
                                 (UNDETECTED, ["Close"], [0, 0, 800, 480]))
                root.panel.press("Close")
                # The check is served while the dialog waits.
                root.signal(SIGUSR1)
                root.wait_calls("ifconfig", 1)
                screen = root.panel.screen()
                self.assertTrue(screen.has_dialog(), "Close must leave the dialog")
                self.assertFalse(screen.main_window()["visible"])
                self.assertEqual(screen.value("Dongle Status:")["text"], "undetected")
                self.assertEqual(screen.value("Dongle Status:")["style"], RED)
                root.set_usb(DONGLE)
        for name, root in roots.items():
            with self.subTest(name):
                root.wait(lambda screen: not screen.has_dialog(), 4, "the dialog closed")
                # Start-up, the signal's check, then polls three seconds apart.
                polls = [call.time for call in root.calls("usb")]
                self.assertAlmostEqual(polls[-1] - polls[0], 3.0, delta=0.5)
                root.wait_calls("ls", 1)
                root.add_node("ttyUSB0")
                root.wait_shown(2)
                self.leave(root)

    def test_stick_after_the_first_poll(self) -> None:
        """It is found by the second one; the closed dialog polls no more."""
        root = self.root(usb="").start(shown=False)
        root.wait_calls("usb", 2, 4)
        root.set_usb(DONGLE)
        root.wait_shown(4)
        first, second, third = (call.time for call in root.calls("usb")[:3])
        self.assertAlmostEqual(third - second, 3.0, delta=0.4)
        self.assertAlmostEqual(second - first, 3.0, delta=0.5)
        polled = len(root.calls("usb"))
        root.signal(SIGUSR1)
        root.wait_calls("ifconfig", 2)
        self.leave(root)
        self.assertEqual(len(root.calls("usb")), polled + 1)

    def test_node_wait_is_served(self) -> None:
        root = self.root(nodes=("ttyS0", "tty", "USB0")).start(shown=False)
        root.wait_calls("ls", 1)
        picture = Picture.of(root)
        self.assertEqual(picture.colours(), {(0, 0, 0)}, "the panel is black meanwhile")
        root.signal(SIGUSR1)
        check = root.wait_calls("ifconfig", 1, 0.7)
        self.assertFalse(root.panel.screen().main_window()["visible"])
        root.wait_calls("ls", 4, 5)
        polls = [call.time for call in root.calls("ls") if abs(call.time - check.time) > 0.1]
        for earlier, later in zip(polls, polls[1:]):
            self.assertAlmostEqual(later - earlier, 1.0, delta=0.4)
        root.add_node("ttyUSB3")
        root.wait_shown(1.5)
        self.assertNotEqual(Picture.of(root).colours(), {(0, 0, 0)})
        self.leave(root)

    def test_signals_before_the_handler(self) -> None:
        root = self.root().start(shown=False)
        inspector = root.host("/testrun/inspector")
        wait_until(inspector.exists, 5, "the application object")
        for _ in range(3000):
            root.signal(SIGUSR1)
        root.wait_shown()
        self.leave(root)

    def test_no_socket_pair(self) -> None:
        root = self.root(preload=["nosocketpair"]).start(shown=False)
        self.assertEqual(root.wait_exit(), 128 + 6)
        self.assertEqual(root.errors()[0], "Couldn't create USR socketpair")
        self.assertEqual(root.processes(), [])

    def test_descriptors_close_on_exec(self) -> None:
        root = self.root().start()
        for number in root.descriptors():
            flags = Path(f"/proc/{root.pid}/fdinfo/{number}").read_text().split("flags:")[1]
            if number > 2:
                self.assertTrue(int(flags.split()[0], 8) & os.O_CLOEXEC, root.descriptors())
        self.leave(root)


class Panels(ProgramTest):
    def test_everything_fits(self) -> None:
        for size in PANELS:
            with self.subTest(size):
                root = self.root(size=size).start()
                for tab in (SETTING, STATUS, MISC):
                    root.panel.open_tab(tab)
                    screen = root.panel.screen()
                    self.assertEqual(screen.main_window()["rect"], [0, 0, *size])
                    self.assertEqual(screen.cut_off(), [], tab)
                self.leave(root)

    def test_dialog_fits(self) -> None:
        roots = [self.root(size=size, usb="").start(shown=False) for size in PANELS]
        for root in roots:
            with self.subTest(root.size):
                root.wait(lambda screen: screen.has_dialog(), 5, "the dialog")
                self.assertEqual(root.panel.dialog()["rect"], [0, 0, *root.size])
                self.assertEqual(root.panel.screen().cut_off(), [])
                self.assertNotIn((0, 0, 0), Picture.of(root).corners(), "the dialog covers all")

    def test_window_takes_any_screen(self) -> None:
        for size in OTHER_SIZES:
            with self.subTest(size):
                root = self.root(size=size).start()
                self.assertEqual(root.panel.screen().main_window()["rect"], [0, 0, *size])
                self.leave(root)

    def test_pages(self) -> None:
        """Each page shows its rows and nothing else."""
        pages = {
            SETTING: ["APN NAME:", "Dial Num:", "USER:", "PASSWORD:", "PinCode:",
                      "APN Auth Methods:"],
            STATUS: ["Dongle Status:", "detected", "PPP Status:", "disconnected"],
            MISC: ["Auto Connect:", "Counts:"],
        }
        root = self.root().start()
        self.assertEqual(root.panel.screen().main_window()["title"], "3G")
        for tab, labels in pages.items():
            root.panel.open_tab(tab)
            screen = root.panel.screen()
            self.assertEqual([label["text"] for label in screen.all("QLabel")], labels)
            buttons = [button["text"] for button in screen.all("QPushButton", "QRadioButton")]
            misc = ["YES", "NO"] if tab == MISC else []
            self.assertEqual(sorted(buttons), sorted(misc + ["Connect", "Disconnect", "Exit"]))
            self.assertEqual(list(screen.all("QProgressBar", "QTextEdit")), [])
        password = root.panel.field("PASSWORD:")
        self.assertEqual(password["echo"], 2)
        self.leave(root)

    def test_escape_drops_the_focus_of_a_line_edit(self) -> None:
        root = self.root().start()
        root.panel.fill("APN NAME:", "web")
        root.panel.key("Esc")
        root.wait(lambda screen: not screen.field("APN NAME:")["focus"], 2, "the focus dropped")
        self.assertEqual(root.panel.field("APN NAME:")["text"], "web")
        root.panel.click(root.panel.field("APN Auth Methods:"))
        root.wait(lambda screen: screen.row("CHAP"), 2, "the list open")
        root.panel.key("Esc")
        root.wait(lambda screen: not any(w["items"] for w in screen.all("QComboBoxListView")), 2,
                  "the list closed by the key that reached it")
        self.leave(root)


if __name__ == "__main__":
    unittest.main()
