"""Programs that are missing, and disks that take nothing."""

import os
import time
import unittest
from signal import SIGUSR1

from panel.facts import CHAT_SCRIPT, FILES, PARAMETERS, PEER_FILE, STORED
from privateroot.process import PrivateRoot
from privateroot.procfs import processor_ticks
from privateroot.waiting import wait_until
from programtest import DIALLING, NO_FILES, ProgramTest

TICKS = os.sysconf("SC_CLK_TCK")


def processor_seconds(root: PrivateRoot) -> float:
    return processor_ticks(root.pid) / TICKS


class MissingPrograms(ProgramTest):
    def test_each(self) -> None:
        """The panel shows the link down or up as ever, dials and ends."""
        table: tuple[tuple[str, bool, list[str]], ...] = (
            # name, link shown when there is one, commands of a connect
            ("pppd", True, ["killall pppd"]),
            ("killall", True, ["pppd call ppp-connect"]),
            ("ifconfig", False, DIALLING),
            ("grep", False, []),
            ("route", True, DIALLING),
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
        root.wait_until(lambda: root.commands(before) == commands, 3, f"{commands}")
        root.wait_until(lambda: root.read(CHAT_SCRIPT), 3, "the chat script")

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


class Disks(ProgramTest):
    def test_connect_on_disks_that_take_nothing(self) -> None:
        """Every file is tried, pppd is started, and the edits are back at what could be read."""
        table = {
            "parameters read-only": ["--remount-ro", "/quenfold"],
            "scripts read-only": ["--remount-ro", "/etc/ppp"],
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
                    self.assertIn(f'"{apn}"'.encode(), root.content(CHAT_SCRIPT))
                self.leave(root)

    def test_one_file_in_the_way(self) -> None:
        """A path that cannot be written does not keep the others from being written."""
        for blocked in FILES:
            for kind in NO_FILES:
                with self.subTest(f"{blocked} is a {kind}"):
                    self.check_blocked(blocked, kind)

    def check_blocked(self, blocked: str, kind: str) -> None:
        root = self.stored_root().start()
        path = root.host(blocked)
        path.unlink(missing_ok=True)
        NO_FILES[kind](path)
        root.panel.fill("APN NAME:", "web")
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        for other in set(FILES) - {blocked}:
            self.assertTrue(root.read(other), other)
        # The list's earlier entries stand when the reload cannot read.
        apn = "internet" if blocked == PARAMETERS else "web"
        self.assertEqual(root.panel.field("APN NAME:")["text"], apn)
        if blocked != CHAT_SCRIPT:
            self.assertIn(f'"{apn}"'.encode(), root.content(CHAT_SCRIPT))
        self.leave(root)
        self.assertFalse(path.is_file())


if __name__ == "__main__":
    unittest.main()
