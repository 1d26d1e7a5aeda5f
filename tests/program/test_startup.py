"""From the start of the process to the main window."""

import os
import unittest
from signal import SIGKILL, SIGTERM, SIGUSR1
from pathlib import Path

from modem import Modem
from picture import Picture
from panel.facts import GREEN, MISC, RED, SETTING, STATUS, UNDETECTED
from privateroot.files import DONGLE, LAUNCH
from privateroot.waiting import wait_until
from programtest import ProgramTest

# The height that a button needs on each panel, in pixels: its font's, which fonts differ in, and
# padding and border of the style sheets. Without a sheet of the panel's own there is no padding.
BUTTONS = {(480, 272): range(22, 30), (800, 480): range(42, 51), (1280, 800): range(44, 54),
           (1024, 600): range(16, 22), (600, 1024): range(18, 26)}
BLACK = (0, 0, 0)


class StartUp(ProgramTest):
    def test_order_and_first_check(self) -> None:
        seen, failed = ["usb balanced", "ls /dev"], ["usb failed", "ls /dev"]
        table = (
            # name, bus, link, calls after the start-up's own check, dongle label
            ("link down", DONGLE, False, seen + ["ifconfig"] + seen, ("detected", GREEN)),
            ("link up", DONGLE, True, seen + ["ifconfig"] + seen + ["route add default ppp0"],
             ("detected", GREEN)),
            ("two dongles", DONGLE + DONGLE, False, seen + ["ifconfig"] + seen,
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
                self.assertEqual([str(call) for call in root.calls()], calls)
                self.assert_link(root, link)
                value = root.panel.value("Dongle Status:")
                self.assertEqual((value["text"], value["style"]), dongle)
                self.assertFalse(root.panel.screen().has_dialog())
                self.assertEqual(root.errors(), [])
                self.leave(root)

    def test_no_display(self) -> None:
        """A sentence and an exit status of its own, no abort."""
        for platform in ("linuxfb:fb=/dev/none", "none"):
            with self.subTest(platform):
                root = self.root(launch=LAUNCH.replace(
                    "program", f"program /usr/bin/env QT_QPA_PLATFORM={platform}"))
                root.start(shown=False)
                self.assertEqual(root.wait_exit(), 69)
                self.assertIn("corvanta: no display", "\n".join(root.errors()))

    def test_second_copy(self) -> None:
        """It refuses to start beside the first, and starts once that has been killed."""
        root = self.root(mounts=("--tmpfs", "/run"), launch=(
            "(until [ -e /testrun/go ]; do sleep 0.1; done; program 2>/testrun/second; "
            f"echo $? >/testrun/refused) & {LAUNCH}; {LAUNCH}"))
        root.start()
        root.write("/testrun/go", "")
        root.wait_until(lambda: root.host("/testrun/refused").exists(), 5, "the second has ended")
        self.assertEqual(root.read("/testrun/refused"), b"75\n")
        self.assertEqual(root.read("/testrun/second"),
                         b"corvanta: another instance is already running\n")
        root.signal(SIGKILL)
        root.wait_calls("ifconfig", 2)

    def test_dongle_dialog(self) -> None:
        """Until a dongle that differs in neither number is found, by polls three seconds apart."""
        root = self.root(usb="device 12d1 1003\ndevice 05c6 1001\ndevice 1001 12d1\n", nodes=())
        root.start(shown=False)
        root.wait(lambda screen: screen.has_dialog(), 5, "the dialog")
        dialog = root.panel.dialog()
        self.assertEqual((dialog["text"], dialog["buttons"], dialog["rect"]),
                         (UNDETECTED, ["Close"], [0, 0, 800, 480]))
        root.panel.press("Close")
        root.panel.key("Esc")
        # The check is served while the dialog waits.
        root.signal(SIGUSR1)
        root.wait_calls("ifconfig", 1)
        screen = root.panel.screen()
        self.assertTrue(screen.has_dialog(), "Close and Escape must leave the dialog")
        self.assertFalse(screen.main_window()["visible"])
        value = screen.value("Dongle Status:")
        self.assertEqual((value["text"], value["style"]), ("undetected", RED))
        # Start-up, the signal's check, then the polls.
        root.wait_calls("usb", 3)
        root.set_usb(DONGLE)
        root.wait(lambda screen: not screen.has_dialog(), 4, "the dialog closed")
        start, _, first, second = (call.time for call in root.calls("usb"))
        self.assert_lasted(first - start, 3.0, 0.5)
        self.assert_lasted(second - start, 6.0, 0.5)
        root.wait_calls("ls", 1)
        root.add_node("ttyUSB0")
        root.wait_shown(2)
        self.leave(root)

    def test_node_wait_is_served(self) -> None:
        root = self.root(nodes=("ttyS0", "tty", "USB0")).start(shown=False)
        root.wait_calls("ls", 1)
        picture = Picture.of(root)
        self.assertEqual(picture.colours(), {BLACK}, "the panel is black meanwhile")
        root.signal(SIGUSR1)
        check = root.wait_calls("ifconfig", 1, 0.7)
        self.assertFalse(root.panel.screen().main_window()["visible"])
        root.wait_calls("ls", 4, 5)
        looks = root.calls("ls")
        # The check looks for the node, too.
        looks.remove(min(looks, key=lambda look: abs(look.time - check.time)))
        self.assert_period(looks, 1.0)
        root.add_node("ttyUSB3")
        root.wait_shown(1.5)
        self.assertNotEqual(Picture.of(root).colours(), {BLACK})
        self.leave(root)

    def test_signals_before_the_handler(self) -> None:
        """They are ignored from the first line of main on, long before there is a screen."""
        root = self.root().start(shown=False)
        maps = Path(f"/proc/{root.pid}/maps")
        wait_until(lambda: "libqvnc" in maps.read_text(), 5, "the application being made")
        for _ in range(3000):
            root.signal(SIGUSR1)
        root.wait_shown()
        self.leave(root)

    def test_no_socket_pair(self) -> None:
        root = self.root(preload=["nosocketpair"]).start(shown=False)
        self.assertEqual(root.wait_exit(), 128 + 6)
        self.assertEqual(root.errors()[0], "Couldn't create USR socketpair")
        self.assertEqual(root.processes(), [])

    def test_told_to_end_at_once(self) -> None:
        """In order, however early; nobody is left to close the waiting dialog."""
        for preload in ([], ["stopearly"]):
            with self.subTest(preload):
                root = self.root(usb="", preload=preload).start(shown=False)
                maps = Path(f"/proc/{root.pid}/maps")
                wait_until(lambda: preload or "libqvnc" in maps.read_text(), 5,
                           "the application being made")
                if not preload:
                    root.signal(SIGTERM)
                self.assertEqual(root.wait_exit(), 0)

    def test_descriptors_close_on_exec(self) -> None:
        """With every descriptor open that there is: those of a waiting signal query, too."""
        modem = Modem()
        self.addCleanup(modem.close)
        root = self.root(nodes=())
        root.add_node("ttyUSB0", modem.path)
        root.start()
        root.panel.invoke("Makeup", "checkSignalStrength", 1)
        root.wait(lambda _: modem.path in root.descriptors().values(), 2, "the modem asked")
        for number in root.descriptors():
            if number > 2 and (flags := root.descriptor_flags(number)) is not None:
                self.assertTrue(flags & os.O_CLOEXEC, f"{number} of {root.descriptors()}")
        self.leave(root)


class Panels(ProgramTest):
    def test_everything_fits(self) -> None:
        for size, button_heights in BUTTONS.items():
            with self.subTest(size):
                root = self.root(size=size).start()
                for tab in (SETTING, STATUS, MISC):
                    root.panel.open_tab(tab)
                    screen = root.panel.screen()
                    self.assertEqual(screen.main_window()["rect"], [0, 0, *size])
                    self.assertEqual(screen.cut_off(), [], tab)
                button = root.panel.button("Exit")
                self.assertIn(button["hint"][1], button_heights, "the panel's style sheet")
                # The sheet that all panels share: a black edge around a light face.
                x, y, _, height = button["rect"]
                face = Picture.of(root).part([x, y + height // 2, 4, 1])
                self.assertEqual(tuple(face[:3]), BLACK)
                self.assertGreater(min(face[-3:]), 0xd0)
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
