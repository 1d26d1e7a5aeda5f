#!/usr/bin/python3
"""The F-RAM chip on the simulated board: what the driver and the unchanged program ask of it.

What the program makes of the chip's answers is seen on its screen.
"""

import unittest
from dataclasses import dataclass, field
from typing import Any

from boardtest import EXPECTED
from panel.facts import LANGUAGE, START_SECONDS
from panel.screen import Screen
from virtualboard.board import Board
from virtualboard.chip import SLOW_MS

ERRORS = "/run/chip/check.err"

OPENED = ["open", "RD_MODE 0", "WR_MODE 0", "RD_BITS_PER_WORD 8", "RD_MAX_SPEED_HZ 10000000"]
IDENTIFIED = "cycle 9f r9 7f7f7f7f7f7fc22208"
SPEED = "Fram speed: 10000000 Hz (10000 KHz)\n"
NO_DEVICE = "Can't open SPI device ,load parameter by default!\n"
IDENTITY, ZEROS, ONES = "7f7f7f7f7f7fc22208", "00" * 9, "ff" * 9

BUTTONS = {"English": ["Connect", "Disconnect", "Exit"],
           "Traditional Chinese": ["連線", "中斷連線", "離開"],
           "Simplified Chinese": ["连线", "中断连线", "结束"]}


def block(language: int) -> str:
    """The 200 bytes at address 4, in hex, of a chip that holds a language and nothing else."""
    return (bytes(2 * LANGUAGE) + language.to_bytes(2, "little")).ljust(200, b"\0").hex()


def said(opened: str, identity: str, language: int) -> str:
    """What the program writes about the chip while it starts."""
    loaded = "true" if language in (1, 2) else "false"
    return (f'{opened}RDID: "{identity}"\nlangid {language}\nload translator {loaded}\n')


@dataclass
class Start:
    """One start of the program: the chip that is there, and what must come of it."""

    name: str
    shown: str = "English"
    chip: dict[str, Any] = field(default_factory=dict)
    holds: int = 1  # the language in the chip
    output: str = ""
    log: list[str] = field(default_factory=list)


def by_language(language: int, shown: str) -> Start:
    return Start(f"language {language}", shown, holds=language,
                 output=said(SPEED, IDENTITY, language),
                 log=[*OPENED, IDENTIFIED, f"cycle 030004 r200 {block(language)}"])


LANGUAGES = [by_language(0, "English"), by_language(1, "Traditional Chinese"),
             by_language(2, "Simplified Chinese"), by_language(3, "English"),
             by_language(256, "English"), by_language(65535, "English")]

# The chip holds a Chinese language each time: what comes up English has noticed the fault.
FAULTS = [
    Start("no marker", chip={"marker": False}, output=said(SPEED, IDENTITY, 0),
          log=[*OPENED, IDENTIFIED]),
    Start("no device", chip={"fault": "missing"}, output=said(NO_DEVICE, ZEROS, 0)),
    Start("open refused", chip={"fault": "open"}, output=said(NO_DEVICE, ZEROS, 0),
          log=["open failed"]),
    Start("queries fail", "Traditional Chinese", {"fault": "queries"},  # the block can be read
          output=said("can't get spi modecan't set spi modecan't get bits per word"
                      "can't get max speed hzFram speed: 20000000 Hz (20000 KHz)\n", IDENTITY, 1),
          log=["open", "RD_MODE failed", "WR_MODE failed", "RD_BITS_PER_WORD failed",
               "RD_MAX_SPEED_HZ failed", IDENTIFIED, f"cycle 030004 r200 {block(1)}"]),
    Start("transfers fail", chip={"fault": "transfers"}, output=said(SPEED, ZEROS, 0),
          log=[*OPENED, "message failed", "message failed"]),
    Start("short block", chip={"fault": "short"}, output=said(SPEED, IDENTITY, 0),
          log=[*OPENED, IDENTIFIED, f"cycle 030004 r200 {block(1)}"]),
    Start("all zeros", chip={"fault": "zeros"}, output=said(SPEED, ZEROS, 0),
          log=[*OPENED, f"cycle 9f r9 {ZEROS}", f"cycle 030004 r200 {'00' * 200}"]),
    Start("all FF", chip={"fault": "ones"}, output=said(SPEED, ONES, 65535),
          log=[*OPENED, f"cycle 9f r9 {ONES}", f"cycle 030004 r200 {'ff' * 200}"]),
]


class Chip(unittest.TestCase):
    maxDiff = None
    board: Board

    @classmethod
    def setUpClass(cls) -> None:
        cls.board = Board(run="test-chip")
        cls.enterClassContext(cls.board)
        cls.board.dongle.plug()

    def start_program(self, start: Start) -> Screen:
        """Starts the program with that chip. @return the first look at its main window"""
        self.board.program.kill()
        self.board.chip.put_in({LANGUAGE: start.holds}, **start.chip)
        self.board.program.start()
        return self.board.panel.wait(
            lambda screen: screen if screen.main_window()["visible"] else None,
            START_SECONDS, "the main window")

    def output(self) -> str:
        """What the program has written, up to the choice of the language."""
        lines = self.board.program.log().splitlines(keepends=True)
        lines = [line for line in lines if not line.startswith("QStandardPaths: ")]
        last = next(i for i, line in enumerate(lines) if line.startswith("load translator "))
        return "".join(lines[:last + 1])

    def check(self, start: Start) -> None:
        screen = self.start_program(start)
        self.assertFalse(screen.has_dialog(), screen.short())
        shown = [button["text"] for button in screen.all("QPushButton")]
        self.assertEqual(shown, BUTTONS[start.shown])
        self.assertEqual(self.output(), start.output)
        self.assertEqual(self.board.chip.log(), start.log)

    def test_languages(self) -> None:
        for start in LANGUAGES:
            with self.subTest(start.name):
                self.check(start)
                self.board.photograph(start.name.replace(" ", "-") + ".png")

    def test_faults(self) -> None:
        for start in FAULTS:
            with self.subTest(start.name):
                self.check(start)

    def test_slow_chip(self) -> None:
        start = Start("slow", "Simplified Chinese", {"fault": "slow"}, 2,
                      said(SPEED, IDENTITY, 2),
                      [*OPENED, IDENTIFIED, f"cycle 030004 r200 {block(2)}"])
        self.check(start)
        times = [time for time, _ in self.board.chip.timed_log()]
        asked = times[-1] - times[0]
        self.assertGreaterEqual(asked, 2 * SLOW_MS / 1000)
        self.assertLess(asked, 3 * SLOW_MS / 1000)
        # What comes later asks the chip nothing, and so is as quick as ever.
        self.board.panel.open_tab("其他设定", SLOW_MS / 1000)
        self.assertEqual(self.board.chip.log(), start.log)

    def test_every_function_of_the_driver(self) -> None:
        self.board.chip.put_in()
        self.check_driver("chipcheck-output", IDENTITY)
        log = "".join(f"{entry}\n" for entry in self.board.chip.log())
        self.assertEqual(log, (EXPECTED / "chipcheck-log").read_text())
        self.board.chip.take_out()
        self.check_driver("chipcheck-no-device", ZEROS)

    def check_driver(self, expected: str, identity: str) -> None:
        printed = self.board.guest.sh(f"/app/chipcheck 2>{ERRORS}")
        self.assertEqual(printed, (EXPECTED / expected).read_text())
        self.assertEqual(self.board.guest.read(ERRORS).decode(), f'RDID: "{identity}"\n')


if __name__ == "__main__":
    unittest.main()
