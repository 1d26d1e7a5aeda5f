#!/usr/bin/python3
"""Dial-up on the simulated board: real touches, the real pppd and chat, a link that carries."""

import unittest

from boardtest import (AUTO_CONNECT, CHAT_SCRIPT, EXPECTED, GREEN, NETWORK_ADDRESS, PARAMETERS,
                       PEER_FILE, RED, SETTING, SOON, BoardTest)

STORED = "web.example\n*99***1#\nguest\npassword\n{pin}\n0\n"


class Dialling(BoardTest):
    def test_from_connect_to_disconnect(self) -> None:
        self.start(STORED.format(pin="1234"), sim_pin="1234", auth="chap", user="guest",
                   password="password")
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.assertEqual(self.board.read(CHAT_SCRIPT), (EXPECTED / "chat-with-pin").read_bytes())
        modes = self.board.sh(f"stat -c '%a %U' {PARAMETERS} {AUTO_CONNECT} {CHAT_SCRIPT} "
                              f"{PEER_FILE}").split("\n")
        self.assertEqual(set(modes[:-1]), {"600 root"})
        self.assertEqual(self.heard()[1:], [
            r'"AT+CPIN=\"1234\""', '"AT"', '"ATZ"', '"ATI"', '"AT+COPS?"',
            r'"AT+CGDCONT=1,\"IP\",\"web.example\""', r'"\"ATD*99***1#\""'])
        network = self.board.read("/run/stick/network.log").decode()
        self.assertRegex(network, r'rcvd \[CHAP Response .* name = "guest"\]\nsent \[CHAP Success')
        self.assertIn("default dev ppp0", self.board.sh("ip route"))
        self.board.sh(f"ping -c 2 -i 0.3 -W 5 {NETWORK_ADDRESS}", seconds=60)

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

    def test_unchanged_parameters_leave_the_files(self) -> None:
        self.start(STORED.format(pin=""))
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.assertEqual(self.board.read(CHAT_SCRIPT), (EXPECTED / "chat-without-pin").read_bytes())
        written = self.board.sh(f"stat -c %y {CHAT_SCRIPT} {PEER_FILE}")
        self.panel.press("Disconnect")
        self.wait_link("disconnected", RED)
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.assertEqual(self.board.sh(f"stat -c %y {CHAT_SCRIPT} {PEER_FILE}"), written)

    def test_probes(self) -> None:
        self.start(STORED.format(pin=""), csq="17,99")
        self.panel.invoke("Makeup", "checkSignalStrength", 1)
        self.wait("the signal", SOON, lambda screen: any(
            bar["value"] == 54 for bar in screen.orphans("QProgressBar")))
        self.assertEqual(self.heard(), ['"AAT+CSQ"'])
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.panel.invoke("Makeup", "pinResponse")
        self.wait("the ping", SOON, lambda screen: any(
            "3 received, 0% packet loss" in box["text"] for box in screen.orphans("QTextEdit")))


class Touching(BoardTest):
    size = (480, 272)

    def test_methods_by_touch(self) -> None:
        """The peer file of each method, chosen from the list on the smallest panel."""
        self.start(STORED.format(pin=""), dial="busy")
        for method, expected in (("PAP", b"\nauth\n+pap\n"), ("CHAP", b"\nauth\n+chap\n"),
                                 ("AUTO", b"\nnoauth\nnoipdefault\n")):
            with self.subTest(method):
                self.panel.open_tab(SETTING)
                self.panel.choose("APN Auth Methods:", method, SOON)
                self.panel.press("Connect")
                self.wait_failed()
                self.assertIn(expected, self.board.read(PEER_FILE))


if __name__ == "__main__":
    unittest.main()
