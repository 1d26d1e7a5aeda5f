#!/usr/bin/python3
"""Attempts that fail on the simulated board: the operator is told and can try again."""

import unittest
from dataclasses import dataclass, field

from boardtest import GREEN, SOON, BoardTest

PARAMETERS = "internet\n*99#\noperator\nsecret\n{pin}\n0\n"


@dataclass
class Refusal:
    """What the stick or its network does, and what says that it was that."""

    name: str
    modem: dict[str, str]
    log: str
    says: str
    pin: str = field(default="")


# chat's last line is the dial command: it does not wait for what the modem answers to it.
REFUSALS = [
    Refusal("busy", {"dial": "busy"}, "/run/stick/modem.log", r'reply "\r\nBUSY\r\n"'),
    Refusal("silent modem", {"answer": "silent"}, "/etc/ppp/ppp.log", "Connect script failed"),
    Refusal("wrong PIN", {"sim.pin": "4321"}, "/etc/ppp/ppp.log", "Connect script failed",
            pin="1234"),
    Refusal("refused by the network", {"auth": "pap", "user": "other", "password": "other"},
            "/etc/ppp/ppp.log", "PAP authentication failed"),
]


class Refusals(BoardTest):
    def test_refusals(self) -> None:
        """One start of the panel, one attempt after the other, and in the end one that succeeds."""
        self.start(PARAMETERS.format(pin=""))
        self.touch_counts()
        for refusal in REFUSALS:
            with self.subTest(refusal.name):
                self.board.modem(refusal.modem)
                self.panel.fill("PinCode:", refusal.pin, SOON)
                self.panel.press("Connect")
                self.wait_failed()
                said = self.board.read(refusal.log).decode(errors="replace")
                self.board.sh("rm -f /etc/ppp/ppp.log")  # the next attempt starts its own
                self.assertIn(refusal.says, said)
        self.board.modem({"auth": "pap", "user": "operator", "password": "secret"})
        self.panel.fill("PinCode:", "", SOON)
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)


if __name__ == "__main__":
    unittest.main()
