"""The Connect button: what is called in which order, what is written, and when nothing is."""

import os
import time
import unittest
from collections.abc import Callable
from pathlib import Path
from signal import SIGUSR1
from typing import NamedTuple

from picture import Picture
from panel.facts import (AUTH, AUTO_CONNECT, CHAT_SCRIPT, FILES, LOGS, MISC, PARAMETERS, PEER_FILE,
                         SETTING, STATUS, STORED, STORED_AUTO, UNDETECTED)
from privateroot.files import DONGLE
from privateroot.process import PrivateRoot
from privateroot.waiting import wait_until
from programtest import DIALLING, ProgramTest

# Keeps what the files hold at the moment of the call.
SNAPSHOT = """
/usr/bin/mkdir /testrun/at-{name}
/usr/bin/cp /quenfold/configs/* /etc/ppp/peers/* /etc/ppp/chat/* /testrun/at-{name} 2>/dev/null
echo >/testrun/at-{name}/complete
"""
Act = Callable[[PrivateRoot], None]


def fill(label: str, text: str) -> Act:
    return lambda root: root.panel.fill(label, text)


def touch(button: str) -> Act:
    return lambda root: root.panel.press(button)


def choose(row: str) -> Act:
    return lambda root: root.panel.choose(AUTH, row)


class Edit(NamedTuple):
    """What is done on one page before Connect, and whether it is a change."""

    name: str
    tab: str
    act: Act
    changed: bool
    parameters: bytes = STORED
    auto: bytes = STORED_AUTO


EDITS = (
    Edit("nothing", SETTING, lambda root: None, False),
    Edit("APN", SETTING, fill("APN NAME:", "Internet"), True),
    Edit("dial number", SETTING, fill("Dial Num:", "*98#"), True),
    Edit("user", SETTING, fill("USER:", ""), True),
    Edit("password", SETTING, fill("PASSWORD:", "secret2"), True),
    Edit("PIN", SETTING, fill("PinCode:", "0000"), True),
    Edit("trailing blank", SETTING, fill("APN NAME:", "internet "), True),
    Edit("method", SETTING, choose("PAP"), True),
    Edit("radio", MISC, touch("YES"), True),
    Edit("same radio", MISC, touch("NO"), False),
    Edit("counts", MISC, fill("Counts:", "05"), True),
    Edit("counts like the APN", MISC, fill("Counts:", "internet"), True),
    Edit("typed as stored", SETTING, fill("USER:", "operator"), False),
    Edit("other flag, YES", MISC, touch("YES"), False, auto=b"2\n5\n"),
    Edit("YES stored, NO", MISC, touch("NO"), True, auto=b"0\n5\n"),
    Edit("method is no number", SETTING, lambda root: None, False, STORED[:-2] + b"PAP\n"),
    Edit("method beyond the list", SETTING, lambda root: None, True, STORED[:-2] + b"3\n"),
    Edit("no parameters", SETTING, lambda root: None, False, b""),
    Edit("only an APN line", SETTING, lambda root: None, True, b"internet\n"),
    Edit("no settings", SETTING, lambda root: None, True, auto=b""),
    Edit("only a flag line", SETTING, lambda root: None, True, auto=b"1\n"),
)
# What stands in a log's place before the first dial, and its mode afterwards.
LAID_LOGS: dict[str, tuple[Callable[[Path], object], int]] = {
    "nothing": (lambda log: None, 0o600),
    "open to all": (Path.touch, 0o600),
    "link": (lambda log: log.symlink_to("ppp.log.shared"), 0o777),
    "FIFO": (os.mkfifo, 0o644),
}


class Connect(ProgramTest):
    def press_connect(self, root: PrivateRoot) -> list[str]:
        """Touches Connect and waits for pppd. @return the commands since"""
        before = len(root.calls())
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        return root.commands(before)

    def test_changes_after_visiting_every_tab(self) -> None:
        for edit in EDITS:
            with self.subTest(edit.name):
                root = self.root()
                root.write(PARAMETERS, edit.parameters)
                root.write(AUTO_CONNECT, edit.auto)
                root.write(CHAT_SCRIPT, "old")
                root.write(PEER_FILE, "old")
                root.start()
                for tab in (MISC, STATUS, SETTING, edit.tab):
                    root.panel.open_tab(tab)
                edit.act(root)
                self.assertEqual(self.press_connect(root), DIALLING)
                kept = [root.read(PEER_FILE) == b"old", root.read(CHAT_SCRIPT) == b"old"]
                self.assertEqual(kept, [not edit.changed] * 2)
                if not edit.changed:
                    self.assertEqual(root.read(PARAMETERS), edit.parameters)

    def test_edits_on_every_tab_then_unchanged(self) -> None:
        """A connect that found a change leaves nothing for the next one to find."""
        root = self.stored_root().start()
        root.panel.fill("APN NAME:", " web ")
        root.panel.open_tab(MISC)
        root.panel.fill("Counts:", "9")
        self.press_connect(root)
        self.assertEqual(root.panel.field("APN NAME:")["text"], "web")
        stamps = [root.host(path).stat().st_mtime_ns for path in FILES]
        root.signal(SIGUSR1)
        self.assert_link(root, False)
        root.panel.open_tab(STATUS)
        root.panel.press("Connect")
        root.wait_calls("pppd", 2)
        self.assertEqual([root.host(path).stat().st_mtime_ns for path in FILES], stamps)
        self.assertEqual(root.calls("killall")[1].arguments, "pppd")
        self.leave(root)

    def test_order_and_what_pppd_finds(self) -> None:
        root = self.stored_root()
        for name in ("killall", "pppd"):
            root.answer(name, SNAPSHOT.format(name=name))
        root.start()
        root.panel.fill("APN NAME:", "web.example")
        root.panel.fill("PinCode:", "1234")
        before = len(root.calls())
        root.panel.press("Connect")
        root.wait_until(lambda: root.read("/testrun/at-pppd/complete"), 5, "pppd's answer")
        since = [str(call) for call in root.calls()[before:]]
        self.assertEqual(since, ["usb balanced", "ls /dev", *DIALLING])
        screen = root.panel.screen()
        self.assertFalse(screen.button("Connect")["enabled"])
        self.assertFalse(screen.field("APN NAME:")["enabled"])
        self.assertEqual([bar["rect"] for bar in screen.busy_bars()], [[200, 200, 400, 40]])
        self.assertEqual(root.read("/testrun/at-killall/3gparam"), STORED)
        self.assertIsNone(root.read("/testrun/at-killall/chat"))
        for path in FILES:
            name = path.rpartition("/")[2]
            self.assertEqual(root.read(f"/testrun/at-pppd/{name}"), root.read(path), name)
        self.assertIn(b"1234", root.content(CHAT_SCRIPT))

    def test_private_logs(self) -> None:
        """What pppd finds in a log's place. A link stays as it is, and so does its target."""
        for name, (lay, mode) in LAID_LOGS.items():
            with self.subTest(name):
                root = self.stored_root()
                root.write(f"{LOGS[0]}.shared", "log")
                for log in LOGS:
                    lay(root.host(log))
                root.start()
                self.press_connect(root)
                modes = [root.host(log).lstat().st_mode & 0o777 for log in LOGS]
                self.assertEqual(modes, [mode] * 2)
                self.assertEqual(root.mode(f"{LOGS[0]}.shared"), "644")

    def test_written_files(self) -> None:
        table = (
            # stored method, chosen method, PIN, peer file, chat script, saved method
            ("old", None, "", "peer-auto", "chat-without-pin", "0"),
            ("old", "PAP", "1234", "peer-pap", "chat-with-pin", "1"),
            ("old", "CHAP", " 1234 ", "peer-chap", "chat-with-pin", "2"),
            ("3", None, "", "peer-other", "chat-without-pin", "-1"),
        )
        values = (("APN NAME:", "web.example"), ("Dial Num:", " *99***1# "), ("USER:", "guest"),
                  ("PASSWORD:", "pass word"))
        for stored, chosen, pin, peer, chat, saved in table:
            with self.subTest(peer):
                root = self.root()
                for path in FILES:
                    root.write(path, "old\n" * 5 + f"{stored}\n" + "old\n" * 500)
                    root.host(path).chmod(0o664)
                root.start()
                for label, text in (*values, ("PinCode:", pin)):
                    root.panel.fill(label, text)
                if chosen is not None:
                    root.panel.choose(AUTH, chosen)
                self.press_connect(root)
                self.assert_file(root, PEER_FILE, peer)
                self.assert_file(root, CHAT_SCRIPT, chat)
                lines = f"web.example\n*99***1#\nguest\npass word\n{pin.strip()}\n{saved}\n"
                self.assertEqual(root.read(PARAMETERS), lines.encode())
                self.assertEqual(root.read(AUTO_CONNECT), b"0\nold\n")
                self.assertEqual([root.mode(path) for path in FILES], ["600"] * 4)
                self.leave(root)

    def test_two_quick_presses(self) -> None:
        root = self.stored_root()
        root.answer("killall", "/usr/bin/sleep 0.3")
        root.start()
        button = root.panel.button("Connect")
        root.panel.click(button)
        root.panel.click(button)
        root.wait_calls("pppd", 1)
        # The second touch has been delivered by the time that the panel answers again.
        root.panel.screen()
        self.leave(root)
        self.assertEqual(len(root.calls("pppd")), 1)


class ConnectWait(ProgramTest):
    """The dongle's serial node is not there when Connect is touched."""

    def waiting_root(self, **how: object) -> PrivateRoot:
        root = self.stored_root(**how).start()
        root.remove_node("ttyUSB0")
        polls = len(root.calls("ls"))
        root.panel.press("Connect")
        root.wait_calls("ls", polls + 1)
        return root

    def test_served_with_a_moving_bar(self) -> None:
        root = self.waiting_root()
        bar = root.panel.wait(lambda screen: screen.busy_bars(), 2, "the busy bar")[0]
        pictures = set()

        def moving(_: object) -> bool:
            pictures.add(Picture.of(root).part(bar["rect"]))
            return len(pictures) >= 5

        root.wait(moving, 3, "the busy bar moving")
        root.panel.open_tab(STATUS, 0.7)
        polls = len(root.calls("ls"))
        root.wait_calls("ls", polls + 3, 4)
        self.assert_period(root.calls("ls")[polls - 1:], 1.0)
        self.assertEqual(root.commands()[1:], [], "nothing is dialled yet")
        root.add_node("ttyUSB0")
        root.wait_calls("pppd", 1, 1.5)
        self.leave(root)

    def test_second_press_dials_no_second_time(self) -> None:
        root = self.waiting_root()
        for _ in range(2):
            root.signal(SIGUSR1)
            self.assert_link(root, False)
            root.panel.press("Connect")
            root.wait(lambda screen: not screen.button("Connect")["enabled"], 2, "the attempt")
        root.add_node("ttyUSB0")
        dialled = root.wait_calls("pppd", 1, 2)
        # Another attempt would find the node within a second.
        wait_until(lambda: time.time() > dialled.time + 1.6, 3, "the time")
        self.assertEqual(root.commands()[-2:], DIALLING)
        self.assertEqual(len(root.calls("pppd")), 1)
        self.assertEqual(len(root.calls("killall")), 1)
        self.leave(root)

    def test_dongle_dialog_then_none(self) -> None:
        """The waiting dialog comes once; Close or Escape ends the attempt, and all is as before."""
        for by_key in (False, True):
            root = self.stored_root().start()
            root.remove_node("ttyUSB0")
            root.set_usb("")
            root.panel.press("Connect")
            root.wait(lambda screen: screen.dialog()["text"] == UNDETECTED, 2, "the dialog")
            if by_key:
                root.panel.key("Esc")
            else:
                root.panel.press("Close")
            root.wait(lambda screen: not screen.has_dialog(), 2, "the dialog closed")
            self.assert_link(root, False)
            self.assertEqual(root.panel.screen().busy_bars(), [])
            closed = len(root.calls("ls")), len(root.calls("usb"))
            root.add_node("ttyUSB0")
            wait_until(lambda: time.time() > root.calls("usb")[-1].time + 3.2, 5, "a poll's time")
            self.assertEqual((len(root.calls("ls")), len(root.calls("usb"))), closed)
            self.assertEqual(root.calls("pppd"), [])
            root.remove_node("ttyUSB0")
            root.panel.press("Connect")
            root.wait_calls("ls", closed[0] + 4, 5)
            self.assertFalse(root.panel.screen().has_dialog())
            self.leave(root)
            self.assertEqual(root.calls("pppd"), [])

    def test_closed_with_a_node(self) -> None:
        root = self.stored_root().start()
        root.set_usb("")
        root.panel.press("Connect")
        root.wait(lambda screen: screen.has_dialog(), 2, "the dialog")
        root.panel.press("Close")
        root.wait_calls("pppd", 1)
        self.leave(root)

    def test_dongle_dialog_closes_itself(self) -> None:
        root = self.stored_root(usb=DONGLE).start()
        root.set_usb("")
        root.panel.press("Connect")
        root.wait(lambda screen: screen.has_dialog(), 2, "the dialog")
        root.set_usb(DONGLE)
        root.wait_calls("pppd", 1, 4)
        self.assertFalse(root.panel.screen().has_dialog())
        self.leave(root)


if __name__ == "__main__":
    unittest.main()
