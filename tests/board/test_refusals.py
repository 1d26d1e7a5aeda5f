#!/usr/bin/python3
"""Attempts that fail on the simulated board: the operator is told and can try again."""

import unittest
from dataclasses import dataclass

from boardtest import BoardTest
from panel.facts import FIELDS, GREEN, PPP_LOG, stored_parameters
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


if __name__ == "__main__":
    unittest.main()
