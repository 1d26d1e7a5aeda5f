#!/usr/bin/python3
"""The F-RAM chip on the simulated board: what the driver and the unchanged panel program ask of it,
and what the panel makes of what the chip answers."""

import sys
import unittest
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "simulator"))

from boardlib.chip import (LANGUAGE, SLOW_MS, chip_log, start_chip, stop_chip,  # noqa: E402
                           timed_chip_log)
from boardlib.machine import Board  # noqa: E402
from boardlib.panel import Screen  # noqa: E402

EXPECTED = ROOT / "tests/expected"
PANEL_LOG = "/run/panel/panel.log"
START_SECONDS = 60

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
    """What the program writes while it starts, as far as it has to do with the chip."""
    loaded = "true" if language in (1, 2) else "false"
    return (f'{opened}RDID: "{identity}"\nlangid {language}\nload translator {loaded}\n')


@dataclass
class Start:
    """One start of the panel program: the chip that is there, and what must come of it."""

    name: str
    shown: str = "English"
    chip: dict[str, object] = field(default_factory=dict)
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


class ChipTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls) -> None:
        cls.board = cls.enterClassContext(Board(run="test-chip"))
        cls.board.plug()

    def start_panel(self, start: Start) -> Screen:
        """Start the program with that chip; the first look at its main window."""
        self.board.sh("if [ -e /run/panel/pid ]; then kill -KILL $(</run/panel/pid) 2>/dev/null; "
                      "until [ -e /run/panel/status ]; do sleep 0.05; done; fi; "
                      f"rm -f {PANEL_LOG}")
        start_chip(self.board, {LANGUAGE: start.holds}, **start.chip)
        self.board.start_panel()
        return self.board.panel.wait(
            lambda screen: screen if screen.main_window()["visible"] else None,
            START_SECONDS, "the main window")

    def output(self) -> str:
        """What the program has written, up to the choice of the language."""
        lines = self.board.read(PANEL_LOG).decode().splitlines(keepends=True)
        lines = [line for line in lines if not line.startswith("QStandardPaths: ")]
        last = next(i for i, line in enumerate(lines) if line.startswith("load translator "))
        return "".join(lines[:last + 1])

    def check(self, start: Start) -> None:
        screen = self.start_panel(start)
        self.assertFalse(screen.has_dialog(), screen.short())
        shown = [button["text"] for button in screen.all("QPushButton")]
        self.assertEqual(shown, BUTTONS[start.shown])
        self.assertEqual(self.output(), start.output)
        self.assertEqual(chip_log(self.board), start.log)

    def test_languages(self) -> None:
        for start in LANGUAGES:
            with self.subTest(start.name):
                self.check(start)
                self.board.shot(start.name.replace(" ", "-") + ".png")

    def test_faults(self) -> None:
        for start in FAULTS:
            with self.subTest(start.name):
                self.check(start)

    def test_slow_chip(self) -> None:
        start = Start("slow", "Simplified Chinese", {"fault": "slow"}, 2,
                      said(SPEED, IDENTITY, 2),
                      [*OPENED, IDENTIFIED, f"cycle 030004 r200 {block(2)}"])
        self.check(start)
        times = [time for time, _ in timed_chip_log(self.board)]
        asked = times[-1] - times[0]
        self.assertGreaterEqual(asked, 2 * SLOW_MS / 1000)
        self.assertLess(asked, 3 * SLOW_MS / 1000)
        # What comes later asks the chip nothing, and so is as quick as ever.
        self.board.panel.open_tab("其他设定", SLOW_MS / 1000)
        self.assertEqual(chip_log(self.board), start.log)

    def test_every_function_of_the_driver(self) -> None:
        start_chip(self.board)
        self.check_driver("chipcheck-output", IDENTITY)
        log = "".join(f"{entry}\n" for entry in chip_log(self.board))
        self.assertEqual(log, (EXPECTED / "chipcheck-log").read_text())
        stop_chip(self.board)
        self.check_driver("chipcheck-no-device", ZEROS)

    def check_driver(self, expected: str, identity: str) -> None:
        errors = "/run/chip/check.err"
        printed = self.board.sh(f"/app/chipcheck 2>{errors}")
        self.assertEqual(printed, (EXPECTED / expected).read_text())
        self.assertEqual(self.board.read(errors).decode(), f'RDID: "{identity}"\n')


if __name__ == "__main__":
    unittest.main()
