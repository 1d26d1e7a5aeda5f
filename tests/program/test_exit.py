"""Exit: the logs rotated, the parameters saved, the program ended, in every state."""

import itertools
import os
import unittest
from signal import SIGUSR1

from privateroot import CHAT_SCRIPT, PARAMETERS, PEER_FILE, PrivateRoot
from programtest import STATUS, STORED, UNDETECTED, ProgramTest

LOGS = ("/etc/ppp/ppp.log", "/etc/ppp/chat.log")
LONG_PPPD = "/usr/bin/sleep 600\n:"  # the second command keeps the shell named pppd


class LogRotation(ProgramTest):
    def test_every_combination(self) -> None:
        """Per log: is there one, and is there an old copy."""
        for ppp, ppp_old, chat, chat_old in itertools.product((False, True), repeat=4):
            have = {LOGS[0]: (ppp, ppp_old), LOGS[1]: (chat, chat_old)}
            with self.subTest(str(have)):
                root = self.root()
                for log, (current, old) in have.items():
                    if current:
                        root.write(log, f"current {log}")
                    if old:
                        root.write(log + ".old", f"old {log}")
                root.start()
                self.leave(root)
                for log, (current, _) in have.items():
                    self.assertIsNone(root.read(log))
                    kept = f"current {log}".encode() if current else None
                    self.assertEqual(root.read(log + ".old"), kept)
                self.assertEqual(root.read(PARAMETERS), b"\n\n\n\n\n0\n")

    def test_old_copy_that_cannot_go(self) -> None:
        """A folder in the old copy's place keeps that log where it is, and nothing else."""
        root = self.stored_root()
        for log in LOGS:
            root.write(log, "current")
        root.host(LOGS[0] + ".old").mkdir()
        root.write(LOGS[0] + ".old/file", "x")
        root.start()
        self.leave(root)
        self.assertEqual(root.read(LOGS[0]), b"current")
        self.assertEqual(os.listdir(root.host(LOGS[0] + ".old")), ["file"])
        self.assertEqual(root.read(LOGS[1] + ".old"), b"current")

    def test_read_only_logs(self) -> None:
        root = self.stored_root(mounts=["--remount-ro", "/etc/ppp"])
        root.write(LOGS[0], "current")
        root.start()
        root.panel.fill("USER:", "other")
        self.leave(root)
        self.assertEqual(root.read(LOGS[0]), b"current")
        self.assertEqual(root.read(PARAMETERS), STORED.replace(b"operator", b"other"))


class EveryState(ProgramTest):
    def test_edits_without_connecting(self) -> None:
        root = self.stored_root()
        root.write(CHAT_SCRIPT, "old")
        root.start()
        root.panel.fill("APN NAME:", "other")
        self.leave(root)
        self.assertEqual(root.read(PARAMETERS), STORED.replace(b"internet", b"other"))
        self.assertEqual(root.read(CHAT_SCRIPT), b"old")
        self.assertIsNone(root.read(PEER_FILE))
        self.assertEqual(root.commands(), ["ifconfig"])

    def test_the_next_start_sees_no_change(self) -> None:
        """What Exit saved is the reference of the next run."""
        first = self.stored_root().start()
        first.panel.fill("APN NAME:", "other")
        self.leave(first)
        second = self.root()
        second.write(PARAMETERS, first.read(PARAMETERS))
        second.start()
        self.assertEqual(second.panel.field("APN NAME:")["text"], "other")
        second.panel.press("Connect")
        second.wait_calls("pppd", 1)
        self.assertIsNone(second.read(CHAT_SCRIPT))
        self.leave(second)

    def test_pppd_stays(self) -> None:
        root = self.stored_root()
        root.answer("pppd", LONG_PPPD)
        root.set_link(True)
        root.start()
        root.set_link(False)
        root.signal(SIGUSR1)
        self.assert_link(root, False)
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        self.leave(root, ["pppd", "sleep"])
        self.assertEqual(len(root.calls("killall")), 1, "only the one before dialling")

    def test_connected(self) -> None:
        root = self.stored_root()
        root.set_link(True)
        root.start()
        self.assert_link(root, True)
        self.leave(root)
        self.assertEqual(root.calls("killall"), [])

    def test_disconnecting(self) -> None:
        root = self.stored_root()
        root.set_link(True)
        root.start()
        root.panel.press("Disconnect")
        root.wait_calls("killall", 1)
        self.leave(root)
        self.assertEqual(len(root.calls("ifconfig")), 1, "the check went with the program")

    def test_touched_during_a_command(self) -> None:
        """The touch waits for the command and is served then."""
        commands = {"ifconfig": SIGUSR1, "killall": "Connect", "pppd": "Connect"}
        for name, trigger in commands.items():
            with self.subTest(name):
                root = self.stored_root()
                root.start()
                button = root.panel.button("Exit")
                root.answer(name, "/usr/bin/sleep 0.4" + "\n:" * (name == "pppd"))
                calls = len(root.calls(name))
                if name == "ifconfig":
                    root.signal(trigger)
                else:
                    root.panel.press(trigger)
                root.wait_calls(name, calls + 1)
                root.panel.click(button)
                self.assertEqual(root.wait_exit(), 0)

    def test_after_the_start_up_dialog(self) -> None:
        root = self.stored_root(usb="").start(shown=False)
        root.wait(lambda screen: screen.dialog()["text"] == UNDETECTED, 5, "the dialog")
        root.set_usb("device 12d1 1001\n")
        root.wait_shown(5)
        root.panel.open_tab(STATUS)
        self.leave(root)

    def test_several_waits_at_once(self) -> None:
        """Exit while a connect waits for the node and the modem is asked."""
        root = self.waiting_everywhere()
        root.panel.press("Exit")
        self.assertEqual(root.wait_exit(1.5), 0)
        self.assert_ended(root)
        self.assertEqual(root.calls("pppd"), [])

    def waiting_everywhere(self) -> PrivateRoot:
        master, slave = os.openpty()
        self.addCleanup(os.close, master)
        self.addCleanup(os.close, slave)
        root = self.stored_root(nodes=()).start(shown=False)
        root.add_node("ttyUSB0", os.ttyname(slave))
        root.wait_shown()
        asked = root.panel.invoke("Makeup", "checkSignalStrength", 1)
        root.wait(lambda screen: screen.invoked[asked]["running"], 2, "the modem asked")
        root.remove_node("ttyUSB0")
        root.panel.press("Connect")
        root.wait(lambda screen: screen.busy_bars(), 2, "the connect's wait")
        return root


if __name__ == "__main__":
    unittest.main()
