"""Programs that are missing, disks that take nothing, a stick that is pulled."""

import os
import time
import unittest
from pathlib import Path
from signal import SIGTERM, SIGUSR1

from privateroot import (AUTO_CONNECT, CHAT_SCRIPT, DONGLE, PARAMETERS, PEER_FILE, PrivateRoot,
                         wait_until)
from programtest import STATUS, STORED, STORED_AUTO, ProgramTest

DIALLING = ["killall pppd", "pppd call ppp-connect"]
TICKS = os.sysconf("SC_CLK_TCK")


def processor_seconds(root: PrivateRoot) -> float:
    """Processor time of the program and of the children that it has waited for."""
    fields = Path(f"/proc/{root.pid}/stat").read_text().rpartition(")")[2].split()
    return sum(int(field) for field in fields[11:15]) / TICKS


class MissingPrograms(ProgramTest):
    def test_each(self) -> None:
        """The panel shows the link down or up as ever, dials and ends."""
        table = (
            # name, link shown when there is one, commands of a connect
            ("pppd", True, ["killall pppd"]),
            ("killall", True, ["pppd call ppp-connect"]),
            ("ifconfig", False, DIALLING),
            ("grep", False, []),
            ("route", True, DIALLING),
            ("ping", True, DIALLING),
        )
        for name, shown_up, commands in table:
            with self.subTest(name):
                root = self.stored_root().start()
                root.host(f"/testrun/bin/{name}").unlink()
                root.set_link(True)
                root.signal(SIGUSR1)
                wait_until(lambda: root.calls("ls")[2:] or not shown_up, 3, "the check")
                self.assert_link(root, shown_up)
                root.set_link(False)
                root.signal(SIGUSR1)
                self.assert_link(root, False)
                self.connect(root, name, commands)
                self.leave(root)

    def connect(self, root: PrivateRoot, missing: str, commands: list[str]) -> None:
        before = len(root.calls())
        root.panel.fill("APN NAME:", "web")
        root.panel.press("Connect")
        root.wait(lambda screen: screen.busy_bars(), 3, "the attempt")
        if missing == "grep":  # The node cannot be found: the wait goes on.
            root.wait_calls("ls", len(root.calls("ls")) + 2)
            return
        wait_until(lambda: root.commands(before) == commands, 3, f"{commands}")
        wait_until(lambda: root.read(CHAT_SCRIPT), 3, "the chat script")

    def test_no_shell_at_start(self) -> None:
        """Nothing can be asked: the start-up waits, without spinning, and still answers."""
        root = self.stored_root(missing=["sh"]).start(shown=False)
        root.panel.wait(lambda screen: screen.main_window(), 5, "the start-up")
        begin, used = time.monotonic(), processor_seconds(root)
        wait_until(lambda: time.monotonic() > begin + 1.5, 3, "the time")
        self.assertLess(processor_seconds(root) - used, 0.3)
        self.assertFalse(root.panel.screen().main_window()["visible"])
        root.host("/testrun/bin/sh").symlink_to("/usr/bin/sh")
        root.wait_shown(2)
        self.leave(root)

    def test_no_shell_later(self) -> None:
        root = self.stored_root().start()
        root.host("/testrun/bin/sh").unlink()
        root.signal(SIGUSR1)
        root.panel.open_tab(STATUS)
        self.assert_link(root, False)
        root.panel.press("Connect")
        root.wait(lambda screen: screen.busy_bars(), 3, "the wait for a node")
        self.leave(root)
        self.assertEqual(root.calls("pppd"), [])


class Waits(ProgramTest):
    def test_they_cost_little(self) -> None:
        """Two polls a second apart, and the processor idle in between."""
        root = self.stored_root(nodes=()).start(shown=False)
        root.wait_calls("ls", 1)
        begin, used = time.monotonic(), processor_seconds(root)
        polls = len(root.calls("ls"))
        wait_until(lambda: time.monotonic() > begin + 3, 4, "the time")
        self.assertIn(len(root.calls("ls")) - polls, (2, 3, 4))
        self.assertLess(processor_seconds(root) - used, 0.6)

    def test_killed_in_the_start_up(self) -> None:
        """The board's own shutdown ends a program that waits, and leaves no process."""
        for usb in (DONGLE, ""):
            with self.subTest(usb):
                root = self.stored_root(nodes=(), usb=usb).start(shown=False)
                root.panel.wait(lambda screen: screen.main_window(), 5, "the start-up")
                root.signal(SIGTERM)
                self.assertEqual(root.wait_exit(), 128 + SIGTERM)
                wait_until(lambda: root.processes() == [], 2, "no process left")


class Disks(ProgramTest):
    def test_connect_on_disks_that_take_nothing(self) -> None:
        """Every file is tried, pppd is started, and the edits are back at what could be read."""
        table = {
            "parameters read-only": ["--remount-ro", "/quenfold"],
            "scripts read-only": ["--remount-ro", "/etc/ppp"],
            "both read-only": ["--remount-ro", "/quenfold", "--remount-ro", "/etc/ppp"],
        }
        for name, mounts in table.items():
            with self.subTest(name):
                root = self.stored_root(mounts=mounts)
                root.write(PEER_FILE, "old")
                root.write(CHAT_SCRIPT, "old")
                root.start()
                before = len(root.calls())
                root.panel.fill("APN NAME:", "web")
                root.panel.press("Connect")
                root.wait_calls("pppd", 1)
                self.assertEqual(root.commands(before), DIALLING)
                kept = "/quenfold" in mounts
                apn = "internet" if kept else "web"
                self.assertEqual(root.panel.field("APN NAME:")["text"], apn)
                self.assertEqual(root.read(PARAMETERS),
                                 STORED if kept else STORED.replace(b"internet", b"web"))
                if "/etc/ppp" in mounts:
                    self.assertEqual([root.read(PEER_FILE), root.read(CHAT_SCRIPT)], [b"old"] * 2)
                else:
                    self.assertIn(f'"{apn}"'.encode(), root.read(CHAT_SCRIPT))
                self.leave(root)

    def test_one_file_in_the_way(self) -> None:
        """A path that cannot be written does not keep the others from being written."""
        for blocked in (PARAMETERS, AUTO_CONNECT, PEER_FILE, CHAT_SCRIPT):
            for kind in ("directory", "FIFO", "device"):
                with self.subTest(f"{blocked} is a {kind}"):
                    self.check_blocked(blocked, kind)

    def check_blocked(self, blocked: str, kind: str) -> None:
        root = self.stored_root().start()
        path = root.host(blocked)
        path.unlink(missing_ok=True)
        {"directory": path.mkdir, "FIFO": lambda: os.mkfifo(path),
         "device": lambda: path.symlink_to("/dev/full")}[kind]()
        root.panel.fill("APN NAME:", "web")
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        for other in {PARAMETERS, AUTO_CONNECT, PEER_FILE, CHAT_SCRIPT} - {blocked}:
            self.assertTrue(root.read(other), other)
        # The list's earlier entries stand when the reload cannot read.
        apn = "internet" if blocked == PARAMETERS else "web"
        self.assertEqual(root.panel.field("APN NAME:")["text"], apn)
        if blocked != CHAT_SCRIPT:
            self.assertIn(f'"{apn}"'.encode(), root.read(CHAT_SCRIPT))
        self.leave(root)
        self.assertFalse(path.is_file())

    def test_scripts_without_a_folder(self) -> None:
        root = self.stored_root()
        for path in (PEER_FILE, CHAT_SCRIPT):
            root.host(path).parent.rmdir()
        root.start()
        root.panel.fill("APN NAME:", "web")
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        self.leave(root)
        self.assertFalse(root.host(PEER_FILE).parent.exists())
        self.assertEqual(root.read(AUTO_CONNECT), STORED_AUTO)

    def test_full_disk_for_the_scripts(self) -> None:
        folder = "/etc/ppp/chat"
        root = self.stored_root(setup=f"/usr/bin/cat /dev/zero >{folder}/filler 2>/dev/null\n",
                                mounts=["--size", "8192", "--tmpfs", folder]).start()
        root.panel.fill("APN NAME:", "web")
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        self.assertIn(root.inner_read(CHAT_SCRIPT), (None, b""))
        self.assertTrue(root.read(PEER_FILE))
        self.leave(root)


class PulledStick(ProgramTest):
    def pull(self, root: PrivateRoot) -> None:
        root.set_usb("")
        root.remove_node("ttyUSB0")

    def test_in_every_phase(self) -> None:
        """Pulled before, while dialling and while connected: the next check tells, Exit ends."""
        phases = {
            "idle": [],
            "dialling": ["Connect"],
            "disconnecting": ["Disconnect"],
        }
        for name, presses in phases.items():
            with self.subTest(name):
                root = self.stored_root()
                root.set_link("Disconnect" in presses)
                root.start()
                for button in presses:
                    root.panel.press(button)
                    root.wait_calls("killall", 1)
                self.pull(root)
                root.set_link(False)
                root.signal(SIGUSR1)
                self.assert_link(root, False)
                root.wait(lambda screen: screen.value("Dongle Status:")["text"] == "undetected",
                          2, "the stick missed")
                self.leave(root)

    def test_during_killall(self) -> None:
        """Gone after the wait for its node: pppd is started all the same, and may fail."""
        root = self.stored_root().start()
        root.answer("killall", "/usr/bin/rm /dev/ttyUSB0")
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        self.leave(root)

    def test_in_the_connect_wait(self) -> None:
        root = self.stored_root().start()
        root.remove_node("ttyUSB0")
        root.panel.press("Connect")
        root.wait(lambda screen: screen.busy_bars(), 2, "the wait")
        root.set_usb("")
        for _ in range(2):
            root.add_node("ttyUSB0", "/nowhere")
            root.remove_node("ttyUSB0")
        root.set_usb(DONGLE)
        root.add_node("ttyUSB0")
        root.wait_calls("pppd", 1, 2)
        self.leave(root)
        self.assertEqual(len(root.calls("pppd")), 1)


if __name__ == "__main__":
    unittest.main()
