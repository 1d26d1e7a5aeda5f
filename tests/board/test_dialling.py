#!/usr/bin/python3
"""Dial-up on the simulated board: real touches, the real pppd and chat, a link that carries."""

import unittest

from boardtest import EXPECTED, BoardTest
from panel.facts import (CHAT_SCRIPT, FILES, GREEN, LOGS, PEER_FILE, RED, SOON_SECONDS,
                         stored_parameters)
from virtualboard.dongle import NETWORK_ADDRESS, NETWORK_LOG, NETWORK_NAME

STORED = stored_parameters("web.example", "*99***1#", "guest", "password", "1234")
MODEM = {"sim.pin": "1234", "auth": "chap", "user": "guest", "password": "password",
         "csq": "17,99"}


class Dialling(BoardTest):
    def test_from_connect_to_disconnect(self) -> None:
        self.start(STORED, MODEM)
        self.panel.invoke("Makeup", "checkSignalStrength", 1)
        self.wait("the signal", SOON_SECONDS, lambda screen: any(
            bar["value"] == 54 for bar in screen.orphans("QProgressBar")))
        self.assertEqual(self.heard(), ['"AAT+CSQ"'])
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.assertEqual(self.board.guest.read(CHAT_SCRIPT),
                         (EXPECTED / "chat-with-pin").read_bytes())
        modes = self.board.guest.sh(f"stat -c '%a %U' {' '.join(FILES + LOGS)}").splitlines()
        self.assertEqual(set(modes), {"600 root"})
        # From release 253 on, systemd can keep the PIN out of the journal.
        logged = self.sh("journalctl --quiet --identifier=chat")
        self.assertIn("AT+COPS?", logged)
        self.assertEqual("CPIN" in logged, int(self.sh("systemctl --version").split()[1]) < 253)
        self.assertEqual(self.heard()[1], '"AT+CPIN?"')
        self.assertEqual(self.heard()[3:], [
            r'"AT+CPIN=\"1234\""', '"AT"', '"ATZ"', '"ATI"', '"AT+COPS?"',
            r'"AT+CGDCONT=1,\"IP\",\"web.example\""', r'"\"ATD*99***1#\""'])
        network = self.board.guest.read(NETWORK_LOG).decode()
        self.assertRegex(network, r'rcvd \[CHAP Response .* name = "guest"\]\nsent \[CHAP Success')
        self.assertIn("default dev ppp0", self.board.guest.sh("ip route"))
        self.board.guest.sh(f"ping -c 2 -i 0.3 -W 5 {NETWORK_NAME}", seconds=60)
        self.panel.invoke("Makeup", "pinResponse")
        self.wait("the ping", SOON_SECONDS, lambda screen: any(
            "3 received, 0% packet loss" in box["text"] for box in screen.orphans("QTextEdit")))

        # Exit leaves the link; the next start finds it and can take it down.
        pppd = self.board.guest.sh("pgrep -x pppd")
        self.panel.press("Exit")
        self.assertEqual(self.board.program.wait_end(SOON_SECONDS), 0)
        self.assertEqual(self.board.guest.sh("pgrep -x pppd"), pppd)
        self.board.guest.sh(f"ping -c 1 -W 5 {NETWORK_ADDRESS}")
        self.start_program()
        self.wait_link("connected", GREEN, SOON_SECONDS)
        self.panel.press("Disconnect")
        self.wait_link("disconnected", RED)
        self.assertNotEqual(self.board.guest.run("pgrep -x pppd").status, 0)
        self.assertTrue(self.panel.button("Connect")["enabled"])
        # The network's side was told by its peer, not by the panel's killall.
        self.wait_board("! pgrep -x netpppd")
        network = self.board.guest.read(NETWORK_LOG).decode()
        self.assertIn("LCP terminated by peer", network)
        self.assertNotIn("Terminating on signal", network)

        # Nothing was changed since: the next attempt dials with the files that are there.
        written = self.board.guest.sh(f"stat -c %y {CHAT_SCRIPT} {PEER_FILE}")
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.assertEqual(self.board.guest.sh(f"stat -c %y {CHAT_SCRIPT} {PEER_FILE}"), written)


if __name__ == "__main__":
    unittest.main()
