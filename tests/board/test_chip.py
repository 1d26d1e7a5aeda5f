#!/usr/bin/python3
"""The F-RAM chip behind the real kernel driver: what the program asks of it, and shows then."""

import unittest
from dataclasses import dataclass
from typing import Any

from boardtest import EXPECTED, BoardTest
from panel.facts import LANGUAGE
from virtualboard.chip import SLOW_MS

ERRORS = "/run/chip/check.err"
SPEED = "Fram speed: 10000000 Hz (10000 KHz)\n"
NO_DEVICE = "Can't open SPI device ,load parameter by default!\n"
NO_QUERIES = ("can't get spi modecan't set spi modecan't get bits per wordcan't get max speed hz"
              "Fram speed: 20000000 Hz (20000 KHz)\n")
IDENTITY, ZEROS, ONES = "7f7f7f7f7f7fc22208", "00" * 9, "ff" * 9
CONNECT = {0: "Connect", 1: "連線", 2: "连线", 65535: "Connect"}  # the button, by language


def block(language: int) -> str:
    """@return the log entry of a read of all parameters, of which only the language is not 0"""
    content = bytes(2 * LANGUAGE) + language.to_bytes(2, "little")
    return f"cycle 030004 r200 {content.hex():0<400}"


OPENED = ["open", "RD_MODE 0", "WR_MODE 0", "RD_BITS_PER_WORD 8", "RD_MAX_SPEED_HZ 10000000"]
IDENTIFIED = [*OPENED, f"cycle 9f r9 {IDENTITY}"]


@dataclass
class Start:
    """One start of the program with a chip that holds a Chinese language."""

    name: str
    chip: dict[str, Any]
    language: int  # that the program has read
    log: list[str]
    opened: str = SPEED
    identity: str = IDENTITY
    holds: int = 1

    def output(self) -> str:
        loaded = "true" if self.language in (1, 2) else "false"
        return (f'{self.opened}RDID: "{self.identity}"\n'
                f"langid {self.language}\nload translator {loaded}\n")


STARTS = [
    Start("Traditional Chinese", {}, 1, [*IDENTIFIED, block(1)]),
    Start("no marker", {"marker": False}, 0, IDENTIFIED),
    Start("no device", {"fault": "missing"}, 0, [], NO_DEVICE, ZEROS),
    Start("open refused", {"fault": "open"}, 0, ["open failed"], NO_DEVICE, ZEROS),
    Start("queries fail", {"fault": "queries"}, 1, [
        "open", "RD_MODE failed", "WR_MODE failed", "RD_BITS_PER_WORD failed",
        "RD_MAX_SPEED_HZ failed", IDENTIFIED[-1], block(1)], NO_QUERIES),
    Start("transfers fail", {"fault": "transfers"}, 0,
          [*OPENED, "message failed", "message failed"], identity=ZEROS),
    Start("short block", {"fault": "short"}, 0, [*IDENTIFIED, block(1)]),
    Start("all zeros", {"fault": "zeros"}, 0,
          [*OPENED, f"cycle 9f r9 {ZEROS}", block(0)], identity=ZEROS),
    Start("all FF", {"fault": "ones"}, 65535,
          [*OPENED, f"cycle 9f r9 {ONES}", f"cycle 030004 r200 {'ff' * 200}"], identity=ONES),
]


class Chip(BoardTest):
    maxDiff = None

    def check(self, start: Start) -> None:
        self.board.program.kill()
        self.board.chip.put_in({LANGUAGE: start.holds}, **start.chip)
        self.start_program()
        self.assertTrue(self.panel.button(CONNECT[start.language])["visible"])
        lines = [line for line in self.board.program.log().splitlines(keepends=True)
                 if not line.startswith("QStandardPaths: ")]
        self.assertEqual("".join(lines[:start.output().count("\n")]), start.output())
        self.assertEqual(self.board.chip.log(), start.log)

    def test_starts(self) -> None:
        self.board.dongle.plug()
        for start in STARTS:
            with self.subTest(start.name):
                self.check(start)

    def test_slow_chip(self) -> None:
        self.board.dongle.plug()
        start = Start("slow", {"fault": "slow"}, 2, [*IDENTIFIED, block(2)], holds=2)
        self.check(start)
        times = [time for time, _ in self.board.chip.timed_log()]
        self.assertGreaterEqual(times[-1] - times[0], 2 * SLOW_MS / 1000)
        self.assertLess(times[-1] - times[0], 3 * SLOW_MS / 1000)
        # No later step asks the chip.
        self.panel.open_tab("其他设定", SLOW_MS / 1000)
        self.assertEqual(self.board.chip.log(), start.log)

    def test_every_function_of_the_driver(self) -> None:
        self.board.chip.put_in()
        self.check_driver("chipcheck-output", IDENTITY)
        log = "".join(f"{entry}\n" for entry in self.board.chip.log())
        self.assertEqual(log, (EXPECTED / "chipcheck-log").read_text())
        self.board.chip.take_out()
        self.check_driver("chipcheck-no-device", ZEROS)

    def check_driver(self, expected: str, identity: str) -> None:
        printed = self.sh(f"/app/chipcheck 2>{ERRORS}")
        self.assertEqual(printed, (EXPECTED / expected).read_text())
        self.assertEqual(self.board.guest.read(ERRORS).decode(), f'RDID: "{identity}"\n')


if __name__ == "__main__":
    unittest.main()
