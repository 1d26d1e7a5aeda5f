"""Exit: the logs rotated, the parameters saved, the program ended, in every state."""

import itertools
from signal import SIGTERM

from modem import Modem
from panel.facts import APN, CHAT_SCRIPT, LOGS, OLD_LOG, PARAMETERS, PEER_FILE, STORED
from privateroot.operating import check_link, connect, ended, leave
from programtest import ProgramTest

LONG_PPPD = "/usr/bin/sleep 600\n:"  # the second command keeps the shell named pppd


class Exit(ProgramTest):
    def test_logs_in_every_state(self) -> None:
        """Each log is there or not, and so is its old copy; never the same for both logs."""
        for this, that in itertools.product((False, True), repeat=2):
            have = {LOGS[0]: (this, that), LOGS[1]: (that, not this)}
            with self.subTest(str(have)):
                root = self.root()
                for log, (current, old) in have.items():
                    if current:
                        root.write(log, f"current {log}")
                    if old:
                        root.write(log + OLD_LOG, f"old {log}")
                leave(root.start())
                for log, (current, _) in have.items():
                    self.assertIsNone(root.read(log))
                    self.assertEqual(root.content(log + OLD_LOG),
                                     f"current {log}".encode() if current else b"")

    def test_edits_without_connecting(self) -> None:
        root = self.stored_root()
        root.write(CHAT_SCRIPT, "old")
        root.start().panel.fill(APN, "other")
        leave(root)
        self.assertEqual(root.read(PARAMETERS), STORED.replace(b"internet", b"other"))
        self.assertEqual(root.read(CHAT_SCRIPT), b"old")
        self.assertIsNone(root.read(PEER_FILE))
        self.assertEqual(root.commands(), ["ifconfig"])

    def test_pppd_stays(self) -> None:
        root = self.stored_root()
        root.answer("pppd", LONG_PPPD)
        root.set_link(True)
        check_link(root.start(), False)
        connect(root)
        leave(root, ["pppd", "sleep"])
        self.assertEqual(len(root.calls("killall")), 1, "only the one before dialling")

    def test_several_waits_at_once(self) -> None:
        """A Connect waits for the node from within the wait for the modem's answer."""
        for by_signal in (False, True):
            modem = Modem()
            self.addCleanup(modem.close)
            root = self.stored_root(nodes=())
            root.add_node("ttyUSB0", modem.path)
            asked = root.start().panel.invoke("Makeup", "checkSignalStrength", 1)
            root.wait(lambda screen: screen.invoked[asked]["running"], 2, "the modem asked")
            root.remove_node("ttyUSB0")
            root.panel.press("Connect")
            root.wait(lambda screen: screen.busy_bars(), 2, "the wait of Connect")
            if by_signal:
                root.signal(SIGTERM)
            else:
                root.panel.press("Exit")
            self.assertEqual(root.wait_exit(1), 0)
            ended(root)
            self.assertEqual(root.commands(), ["ifconfig"])
