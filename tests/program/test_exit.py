"""Exit: the logs rotated, the parameters saved, the program ended, in every state."""

import itertools
import os
import unittest
from signal import SIGUSR1

from modem import Modem
from panel.facts import CHAT_SCRIPT, LOGS, PARAMETERS, PEER_FILE, STORED
from programtest import ProgramTest

LONG_PPPD = "/usr/bin/sleep 600\n:"  # the second command keeps the shell named pppd


class LogRotation(ProgramTest):
    def test_every_state(self) -> None:
        """Each log is there or not, and so is its old copy; never the same for both logs."""
        for this, that in itertools.product((False, True), repeat=2):
            have = {LOGS[0]: (this, that), LOGS[1]: (that, not this)}
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

    def test_touched_during_a_command(self) -> None:
        """The touch waits for the command and is served then."""
        for name in ("ifconfig", "killall", "pppd"):
            with self.subTest(name):
                root = self.stored_root()
                root.start()
                button = root.panel.button("Exit")
                root.answer(name, "/usr/bin/sleep 0.4" + "\n:" * (name == "pppd"))
                calls = len(root.calls(name))
                if name == "ifconfig":
                    root.signal(SIGUSR1)
                else:
                    root.panel.press("Connect")
                root.wait_calls(name, calls + 1)
                root.panel.click(button)
                self.assertEqual(root.wait_exit(), 0)

    def test_several_waits_at_once(self) -> None:
        """Exit while a connect waits for the node from within the wait for the modem's answer."""
        modem = Modem()
        self.addCleanup(modem.close)
        root = self.stored_root(nodes=())
        root.add_node("ttyUSB0", modem.path)
        root.start()
        asked = root.panel.invoke("Makeup", "checkSignalStrength", 1)
        root.wait(lambda screen: screen.invoked[asked]["running"], 2, "the modem asked")
        root.remove_node("ttyUSB0")
        root.panel.press("Connect")
        root.wait(lambda screen: screen.busy_bars(), 2, "the connect's wait")
        root.panel.press("Exit")
        self.assertEqual(root.wait_exit(1), 0)
        self.assert_ended(root)
        self.assertEqual(root.commands(), ["ifconfig"])


if __name__ == "__main__":
    unittest.main()
