#!/usr/bin/python3
"""Dial-up on the simulated board: real touches, the real pppd and chat, a link that carries."""

import unittest

from boardtest import (AUTO_CONNECT, CHAT_SCRIPT, EXPECTED, GREEN, NETWORK_ADDRESS, PARAMETERS,
                       PEER_FILE, RED, SOON, BoardTest)

STORED = "web.example\n*99***1#\nguest\npassword\n1234\n0\n"


class Dialling(BoardTest):
    def test_from_connect_to_disconnect(self) -> None:
        self.start(STORED, sim_pin="1234", auth="chap", user="guest", password="password",
                   csq="17,99")
        self.panel.invoke("Makeup", "checkSignalStrength", 1)
        self.wait("the signal", SOON, lambda screen: any(
            bar["value"] == 54 for bar in screen.orphans("QProgressBar")))
        self.assertEqual(self.heard(), ['"AAT+CSQ"'])
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.assertEqual(self.board.read(CHAT_SCRIPT), (EXPECTED / "chat-with-pin").read_bytes())
        modes = self.board.sh(f"stat -c '%a %U' {PARAMETERS} {AUTO_CONNECT} {CHAT_SCRIPT} "
                              f"{PEER_FILE}").split("\n")
        self.assertEqual(set(modes[:-1]), {"600 root"})
        self.assertEqual(self.heard()[2:], [
            r'"AT+CPIN=\"1234\""', '"AT"', '"ATZ"', '"ATI"', '"AT+COPS?"',
            r'"AT+CGDCONT=1,\"IP\",\"web.example\""', r'"\"ATD*99***1#\""'])
        network = self.board.read("/run/stick/network.log").decode()
        self.assertRegex(network, r'rcvd \[CHAP Response .* name = "guest"\]\nsent \[CHAP Success')
        self.assertIn("default dev ppp0", self.board.sh("ip route"))
        self.board.sh(f"ping -c 2 -i 0.3 -W 5 {NETWORK_ADDRESS}", seconds=60)
        self.panel.invoke("Makeup", "pinResponse")
        self.wait("the ping", SOON, lambda screen: any(
            "3 received, 0% packet loss" in box["text"] for box in screen.orphans("QTextEdit")))

        # Exit leaves the link; the next start finds it and can take it down.
        pppd = self.board.sh("pgrep -x pppd")
        self.panel.press("Exit")
        self.assertEqual(self.board.wait_panel_end(SOON), 0)
        self.assertEqual(self.board.sh("pgrep -x pppd"), pppd)
        self.board.sh(f"ping -c 1 -W 5 {NETWORK_ADDRESS}")
        self.start_panel()
        self.wait_link("connected", GREEN, SOON)
        self.panel.press("Disconnect")
        self.wait_link("disconnected", RED)
        self.assertNotEqual(self.board.run("pgrep -x pppd").status, 0)
        self.assertTrue(self.panel.button("Connect")["enabled"])
        # The network's side was told by its peer, not by the panel's killall.
        self.wait_board("! pgrep -x netpppd")
        network = self.board.read("/run/stick/network.log").decode()
        self.assertIn("LCP terminated by peer", network)
        self.assertNotIn("Terminating on signal", network)

        # Nothing was changed since: the next attempt dials with the files that are there.
        written = self.board.sh(f"stat -c %y {CHAT_SCRIPT} {PEER_FILE}")
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.assertEqual(self.board.sh(f"stat -c %y {CHAT_SCRIPT} {PEER_FILE}"), written)


if __name__ == "__main__":
    unittest.main()
