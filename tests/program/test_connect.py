"""The Connect button: what is called in which order, what is written, and when nothing is."""

import os
import time
from collections.abc import Callable
from pathlib import Path

from picture import Picture
from panel.facts import (APN, AUTH, AUTO_CONNECT, CHAT_SCRIPT, COUNTS, DIAL, FIELDS, FILES, LOGS,
                         MISC, PARAMETERS, PASSWORD, PEER_FILE, PIN, SETTING, STATUS, STORED,
                         STORED_AUTO, UNDETECTED, USER)
from panel.panel import Panel
from privateroot.files import DONGLE
from privateroot.operating import DIALLING, check_link, connect, leave
from privateroot.process import PrivateRoot
from privateroot.waiting import wait_until
from programtest import ProgramTest

# Keeps what the files hold at the moment of the call.
SNAPSHOT = """
/usr/bin/mkdir /testrun/at-{name}
/usr/bin/cp /quenfold/configs/* /etc/ppp/peers/* /etc/ppp/chat/* /testrun/at-{name} 2>/dev/null
echo >/testrun/at-{name}/complete
"""
Act = Callable[[Panel], object]


class Connect(ProgramTest):
    def edit(self, name: str, changed: bool, act: Act = lambda panel: None, tab: str = SETTING,
             parameters: bytes = STORED, auto: bytes = STORED_AUTO) -> None:
        """Visit every tab, act on one, and touch Connect, then again.
        @param changed whether that is a change; the second time nothing is"""
        with self.subTest(name):
            root = self.stored_root(parameters=parameters, auto=auto)
            root.write(CHAT_SCRIPT, "old")
            root.write(PEER_FILE, "old")
            root.start()
            for visited in (MISC, STATUS, SETTING, tab):
                root.panel.open_tab(visited)
            act(root.panel)
            self.assertEqual(connect(root), DIALLING)
            kept = [root.read(PEER_FILE) == b"old", root.read(CHAT_SCRIPT) == b"old"]
            self.assertEqual(kept, [not changed] * 2)
            if not changed:
                self.assertEqual(root.read(PARAMETERS), parameters)
            stamps = [root.host(path).stat().st_mtime_ns for path in FILES]
            check_link(root, False)
            self.assertEqual(connect(root), DIALLING)
            self.assertEqual([root.host(path).stat().st_mtime_ns for path in FILES], stamps)

    def test_changes(self) -> None:
        self.edit("nothing", False)
        for label in FIELDS:
            self.edit(label, True, lambda panel: panel.fill(label, " 0000 "))
        self.edit("trailing space", True, lambda panel: panel.fill(APN, "internet "))
        self.edit("method", True, lambda panel: panel.choose(AUTH, "PAP"))
        self.edit("radio", True, lambda panel: panel.press("YES"), MISC)
        self.edit("same radio", False, lambda panel: panel.press("NO"), MISC)
        self.edit("counts", True, lambda panel: panel.fill(COUNTS, "05"), MISC)
        self.edit("counts like the APN", True, lambda panel: panel.fill(COUNTS, "internet"), MISC)
        self.edit("typed as stored", False, lambda panel: panel.fill(USER, "operator"))
        self.edit("other flag, YES", False, lambda panel: panel.press("YES"), MISC, auto=b"2\n5\n")
        self.edit("YES stored, NO", True, lambda panel: panel.press("NO"), MISC, auto=b"0\n5\n")
        self.edit("method is no number", False, parameters=STORED[:-2] + b"PAP\n")
        self.edit("method beyond the list", True, parameters=STORED[:-2] + b"3\n")
        self.edit("no parameters", False, parameters=b"")
        self.edit("only an APN line", True, parameters=b"internet\n")
        self.edit("no settings", True, auto=b"")
        self.edit("only a flag line", True, auto=b"1\n")

    def test_order_and_what_pppd_finds(self) -> None:
        root = self.stored_root()
        for name in ("killall", "pppd"):
            root.answer(name, SNAPSHOT.format(name=name))
        root.start()
        root.panel.fill(APN, "web.example")
        root.panel.fill(PIN, "1234")
        before = len(root.calls())
        root.panel.press("Connect")
        root.wait_until(lambda: root.read("/testrun/at-pppd/complete"), 5, "pppd's answer")
        since = [str(call) for call in root.calls()[before:]]
        self.assertEqual(since, ["usb balanced", "ls /dev", *DIALLING])
        screen = root.panel.screen()
        self.assertFalse(screen.button("Connect")["enabled"])
        self.assertFalse(screen.field(APN)["enabled"])
        self.assertEqual([bar["rect"] for bar in screen.busy_bars()], [[200, 200, 400, 40]])
        self.assertEqual(root.read("/testrun/at-killall/3gparam"), STORED)
        self.assertIsNone(root.read("/testrun/at-killall/chat"))
        for path in FILES:
            name = path.rpartition("/")[2]
            self.assertEqual(root.read(f"/testrun/at-pppd/{name}"), root.read(path), name)
        self.assertIn(b"1234", root.content(CHAT_SCRIPT))

    def test_private_logs(self) -> None:
        """What pppd finds in a log's place. A link is kept as it is, and so is its target."""
        table: tuple[tuple[Callable[[Path], object], int], ...] = (
            (lambda log: None, 0o600), (Path.touch, 0o600), (os.mkfifo, 0o644),
            (lambda log: log.symlink_to("ppp.log.shared"), 0o777))
        for lay, mode in table:
            with self.subTest(mode):
                root = self.stored_root()
                root.write(f"{LOGS[0]}.shared", "log")
                for log in LOGS:
                    lay(root.host(log))
                connect(root.start())
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
        values = {APN: "web.example", DIAL: " *99***1# ", USER: "guest", PASSWORD: "pass word"}
        for stored, chosen, pin, peer, chat, saved in table:
            with self.subTest(peer):
                root = self.root()
                for path in FILES:
                    root.write(path, "old\n" * 5 + f"{stored}\n" + "old\n" * 500)
                    root.host(path).chmod(0o664)
                root.start()
                for label, text in (values | {PIN: pin}).items():
                    root.panel.fill(label, text)
                if chosen is not None:
                    root.panel.choose(AUTH, chosen)
                connect(root)
                self.assert_file(root, PEER_FILE, peer)
                self.assert_file(root, CHAT_SCRIPT, chat)
                lines = f"web.example\n*99***1#\nguest\npass word\n{pin.strip()}\n{saved}\n"
                self.assertEqual(root.read(PARAMETERS), lines.encode())
                self.assertEqual(root.read(AUTO_CONNECT), b"0\nold\n")
                self.assertEqual([root.mode(path) for path in FILES], ["600"] * 4)
                leave(root)

    def test_two_quick_presses(self) -> None:
        root = self.stored_root()
        root.answer("killall", "/usr/bin/sleep 0.3")
        button = root.start().panel.button("Connect")
        root.panel.click(button)
        root.panel.click(button)
        root.wait_calls("pppd", 1)
        root.panel.screen()  # answered once the second touch has been delivered
        leave(root)
        self.assertEqual(len(root.calls("pppd")), 1)


class ConnectWait(ProgramTest):
    """The dongle or its device node is missing when Connect is touched."""

    def waiting(self, node: bool, usb: str = DONGLE) -> PrivateRoot:
        """Touch Connect when the node and the dongle are there or not."""
        root = self.started()
        if not node:
            root.remove_node("ttyUSB0")
        root.set_usb(usb)
        polls = len(root.calls("ls"))
        root.panel.press("Connect")
        if usb == DONGLE:
            root.wait_calls("ls", polls + 1)
        else:
            root.wait(lambda screen: screen.dialog()["text"] == UNDETECTED, 2, "the dialog")
        return root

    def test_served_with_a_moving_bar(self) -> None:
        root = self.waiting(node=False)
        bar = root.panel.wait(lambda screen: screen.busy_bars(), 2, "the busy bar")[0]
        pictures = set()

        def moving(_: object) -> bool:
            pictures.add(Picture(root).part(bar["rect"]))
            return len(pictures) >= 5

        root.wait(moving, 3, "the busy bar moving")
        root.panel.open_tab(STATUS, 0.7)
        polls = len(root.calls("ls"))
        root.wait_calls("ls", polls + 3, 4)
        self.assert_period(root.calls("ls")[polls - 1:], 1.0)
        self.assertEqual(root.commands()[1:], [], "nothing is dialled yet")
        root.add_node("ttyUSB0")
        root.wait_calls("pppd", 1, 1.5)
        leave(root)

    def test_second_press_dials_no_second_time(self) -> None:
        root = self.waiting(node=False)
        for _ in range(2):
            check_link(root, False)
            root.panel.press("Connect")
            root.wait(lambda screen: not screen.button("Connect")["enabled"], 2, "the attempt")
        root.add_node("ttyUSB0")
        dialled = root.wait_calls("pppd", 1, 2)
        # Another attempt would find the node within a second.
        wait_until(lambda: time.time() > dialled.time + 1.6, 3, "the time")
        self.assertEqual([str(call) for call in root.calls("pppd", "killall")], DIALLING)
        leave(root)

    def test_dongle_dialog_closed(self) -> None:
        """Close or Escape aborts the attempt. The dialog does not appear a second time."""
        ways: tuple[Act, ...] = (lambda panel: panel.press("Close"), lambda panel: panel.key("Esc"))
        for close in ways:
            root = self.waiting(node=False, usb="")
            close(root.panel)
            root.wait(lambda screen: not screen.has_dialog(), 2, "the dialog closed")
            check_link(root, False)
            self.assertEqual(root.panel.screen().busy_bars(), [])
            closed = len(root.calls("ls")), len(root.calls("usb"))
            root.add_node("ttyUSB0")
            wait_until(lambda: time.time() > root.calls("usb")[-1].time + 3.2, 5, "a poll's time")
            self.assertEqual((len(root.calls("ls")), len(root.calls("usb"))), closed)
            root.remove_node("ttyUSB0")
            root.panel.press("Connect")
            root.wait_calls("ls", closed[0] + 4)
            self.assertFalse(root.panel.screen().has_dialog())
            leave(root)
            self.assertEqual(root.calls("pppd"), [])

    def test_closed_with_a_node(self) -> None:
        root = self.waiting(node=True, usb="")
        root.panel.press("Close")
        root.wait_calls("pppd", 1)
        leave(root)

    def test_dongle_dialog_closes_itself(self) -> None:
        """Then it waits for the node; Exit ends that wait, too."""
        for node in (True, False):
            root = self.waiting(node=node, usb="")
            root.set_usb(DONGLE)
            root.wait(lambda screen: not screen.has_dialog(), 4, "the dialog closed")
            if node:
                root.wait_calls("pppd", 1)
            else:
                root.wait(lambda screen: screen.busy_bars(), 2, "the wait for the node")
                root.set_usb("")
            leave(root)
            self.assertEqual(len(root.calls("pppd")), node)
