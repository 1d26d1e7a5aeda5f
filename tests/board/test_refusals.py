#!/usr/bin/python3
"""Attempts that fail on the simulated board: the operator is told and can try again."""

import unittest
from dataclasses import dataclass

from boardtest import BoardTest
from panel.facts import CHECK_SECONDS, FIELDS, GREEN, PPP_LOG, SETTING, stored_parameters
from virtualboard.dongle import MODEM_LOG

*_, PIN = FIELDS


@dataclass
class Refusal:
    """What the dongle or its network does, and what says that it was that."""

    name: str
    modem: dict[str, str]
    log: str
    says: str
    pin: str = ""


# chat's last line is the dial command: it does not wait for what the modem answers to it.
REFUSALS = [
    Refusal("busy", {"dial": "busy"}, MODEM_LOG, r'reply "\r\nBUSY\r\n"'),
    Refusal("silent modem", {"answer": "silent"}, PPP_LOG, "Connect script failed"),
    Refusal("wrong PIN", {"sim.pin": "4321"}, PPP_LOG, "Connect script failed",
            pin="1234"),
    Refusal("refused by the network", {"auth": "pap", "user": "other", "password": "other"},
            PPP_LOG, "PAP authentication failed"),
]


class Refusals(BoardTest):
    def test_refusals(self) -> None:
        """One start of the program, one attempt after the other; the last one succeeds."""
        self.start(stored_parameters(user="operator", password="secret"))
        self.touch_counts()
        for refusal in REFUSALS:
            with self.subTest(refusal.name):
                self.board.dongle.tell_modem(refusal.modem)
                self.panel.fill(PIN, refusal.pin)
                self.panel.press("Connect")
                self.wait_failed()
                said = self.board.guest.read(refusal.log).decode(errors="replace")
                self.board.guest.sh(f"rm -f {PPP_LOG}")  # the next attempt starts another
                self.assertIn(refusal.says, said)
        self.board.dongle.tell_modem({"auth": "pap", "user": "operator", "password": "secret"})
        self.panel.fill(PIN, "")
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)

    def test_one_press_one_try(self) -> None:
        """pppd dials on by itself, a PIN that the SIM has refused goes out once, and one that has
        worked each time a SIM asks for it."""
        tries = 'AT+CPIN=\\"'
        self.sh("echo holdoff 2 >>/etc/ppp/options")
        self.addCleanup(self.sh, "sed -i '/^holdoff 2$/d' /etc/ppp/options")
        self.start(stored_parameters(pin="1234"), {"sim.pin": "4321"})
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_failed()
        self.wait_skipped("not sent again")
        self.replug()
        self.wait_skipped("not sent again")
        self.assertEqual(sum(tries in line for line in self.heard()), 1, "wrong, then re-plugged")
        self.panel.open_tab(SETTING)
        self.panel.fill(PIN, "4321")
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.assertEqual(sum(tries in line for line in self.heard()), 2, "corrected")
        self.replug()
        self.wait_link("connected", GREEN)
        self.assertEqual(sum(tries in line for line in self.heard()), 3, "right, then re-plugged")
        self.board.dongle.unplug()
        self.board.dongle.tell_modem({"sim.pin": "4321", "sim.tries": "0"})
        self.board.dongle.plug()
        self.wait_skipped("asks for the PUK")
        self.assertEqual(sum(tries in line for line in self.heard()), 3, "PUK")

    def wait_skipped(self, why: str) -> None:
        """Waits until pppd has skipped two further dials."""
        self.sh(f"count() {{ grep -c '{why}' {PPP_LOG}; }}; before=$(count); "
                "until [ $(count) -ge $((before + 2)) ]; do sleep 0.5; done", CHECK_SECONDS)

    def replug(self) -> None:
        """Pulls the dongle of a pppd that runs, and plugs it once the link is seen to be down."""
        self.board.dongle.unplug()
        self.wait_board("! ifconfig | grep -q ppp0", CHECK_SECONDS)
        self.board.dongle.plug()


if __name__ == "__main__":
    unittest.main()
