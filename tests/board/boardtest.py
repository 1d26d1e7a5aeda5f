"""The base of all tests on the simulated board, and of the rows that `./torture` runs there."""

import time
import unittest
from collections.abc import Callable, Mapping
from itertools import count
from typing import Any

from host.paths import ROOT
from panel.facts import (CHAT_LOG, CHECK_SECONDS, COUNTS, DONGLE_STATUS, FAILED, FILES, GREEN,
                         LINK_STATUS, MISC, OLD_LOG, PARAMETERS, PPP_LOG, RED, SETTING, SIZES,
                         SOON_SECONDS, START_SECONDS, STATUS, STORED, UNDETECTED, WITHOUT_KEYS)
from panel.screen import Screen
from virtualboard.board import Board
from virtualboard.dongle import MODEM_LOG

EXPECTED = ROOT / "tests/expected"
CLEAR_SECONDS = 60
LOOK_SECONDS = 0.2  # between two looks at the board
SETTINGS = "/etc/default/corvanta"
UP, DOWN = ("connected", GREEN), ("disconnected", RED)  # text and style sheet of the link
THERE, AWAY = ("detected", GREEN), ("undetected", RED)  # the same of the dongle
NO_LINK = "[ ! -e /sys/class/net/ppp0 ]"
NUMBERS = count(1)
IDLE: dict[tuple[int, int], list[Board]] = {size: [] for size in SIZES}


def turn_off_boards() -> None:
    """Save the logs of all boards that no test uses, and turn these boards off."""
    for boards in IDLE.values():
        while boards:
            boards.pop().__exit__(None, None, None)


class BoardTest(unittest.TestCase):
    """A test on a board that earlier tests may have used.

    A board starts from a saved machine state, and is reset after each test.
    """

    size = (480, 272)
    reusable = True  # false once no further test can use the board

    @classmethod
    def setUpClass(cls) -> None:
        unittest.addModuleCleanup(turn_off_boards)

    def setUp(self) -> None:
        try:
            self.board = IDLE[self.size].pop()
        except IndexError:
            self.board = Board(self.size, f"test-{type(self).__name__.lower()}-{next(NUMBERS)}")
            self.board.start()
        self.addCleanup(self.give_back)
        self.panel = self.board.panel
        self.already_logged = 0
        self.already_logged = len(self.modem_log())

    def give_back(self) -> None:
        """Reset the board for the next test, or turn off one that is not reusable."""
        try:
            if self.reusable:
                self.clear()
                IDLE[self.size].append(self.board)
        finally:
            if self.board not in IDLE[self.size]:
                self.board.__exit__(None, None, None)

    def clear(self) -> None:
        """Reset a board to the state in which nothing was ever dialled."""
        self.board.program.stop()
        self.sh("killall -q pppd; until ! pgrep -x pppd; do sleep 0.1; done; "
                f"rm -f {' '.join(FILES)} {{{PPP_LOG},{CHAT_LOG}}}{{,{OLD_LOG}}}", CLEAR_SECONDS)
        self.board.dongle.unplug()
        self.board.dongle.tell_modem()

    def start(self, modem: Mapping[str, str] | None = None, parameters: bytes = STORED) -> None:
        """Plug in the dongle and start the program with stored parameters."""
        self.board.dongle.tell_modem(modem)
        self.board.dongle.plug()
        self.board.guest.write(PARAMETERS, parameters)
        self.start_program()

    def start_program(self, environment: Mapping[str, str] = WITHOUT_KEYS) -> None:
        self.board.program.start(environment)
        self.await_window()

    def start_edited(self, modem: Mapping[str, str] | None = None,
                     parameters: bytes = STORED) -> None:
        """Start the program and change a value that neither generated file contains.

        The next touch of Connect writes both files.
        """
        self.start(modem, parameters)
        self.panel.open_tab(MISC)
        self.panel.fill(COUNTS, "7")
        self.panel.open_tab(SETTING)

    def connect(self, modem: Mapping[str, str] | None = None, parameters: bytes = STORED) -> None:
        """Start the program and wait for its first link."""
        self.start_edited(modem, parameters)
        self.panel.press("Connect")
        self.wait_up()

    def leave(self) -> None:
        """Touch Exit and wait for exit status 0."""
        self.panel.press("Exit")
        self.assertEqual(self.board.program.wait_end(SOON_SECONDS), 0)

    def sh(self, commands: str, seconds: float = SOON_SECONDS) -> str:
        """Run shell commands on the board, which must succeed. @return their output"""
        return self.board.guest.sh(commands, seconds)

    def wait(self, what: str, seconds: float, holds: Callable[[Screen], Any]) -> None:
        self.panel.wait(holds, seconds, what)

    def wait_board(self, condition: str, seconds: float = SOON_SECONDS) -> None:
        """Wait for a shell condition on the board, where a start of a program takes long."""
        self.sh(f"exec {{never}}<> <(:); until {condition}; do read -rt 0.1 -u $never || :; done",
                seconds)

    def await_window(self) -> None:
        """Wait until the started program shows its main window."""
        self.wait("the main window", START_SECONDS, lambda screen: screen.main_window()["visible"]
                  and not screen.has_dialog())

    def wait_undetected(self) -> None:
        self.wait("the waiting dialog", START_SECONDS,
                  lambda screen: screen.dialog()["text"] == UNDETECTED)

    def choose_after_exit(self, choice: str) -> None:
        self.sh(f"sed -i 's/^CORVANTA_AFTER_EXIT=.*/CORVANTA_AFTER_EXIT={choice}/' {SETTINGS}")

    def link(self) -> tuple[str, str]:
        """@return text and style sheet of the link's status, without a wait"""
        value = self.panel.value(LINK_STATUS)
        return value["text"], value["style"]

    def wait_status(self, label: str, value: tuple[str, str], seconds: float) -> None:
        self.panel.open_tab(STATUS)
        self.wait(f"{label} {value}", seconds, lambda screen: (
            screen.value(label)["text"], screen.value(label)["style"]) == value)

    def wait_up(self, seconds: float = CHECK_SECONDS) -> None:
        """Wait for the link on the status page, and for the check of the last Connect."""
        self.wait_status(LINK_STATUS, UP, seconds)
        self.board.program.await_check()

    def wait_down(self, seconds: float = CHECK_SECONDS) -> None:
        self.wait_status(LINK_STATUS, DOWN, seconds)
        self.board.program.await_check()

    def wait_dongle(self, there: bool) -> None:
        self.wait_status(DONGLE_STATUS, THERE if there else AWAY, SOON_SECONDS)

    def wait_notice(self) -> None:
        self.wait("the notice", CHECK_SECONDS, lambda screen: screen.dialog()["text"] == FAILED)

    def wait_failed(self) -> None:
        """Wait for the notice at the end of an attempt, and close it."""
        self.wait_notice()
        self.panel.press("OK")
        self.wait("Connect enabled", SOON_SECONDS, lambda screen: not screen.has_dialog()
                  and screen.button("Connect")["enabled"])

    def check_link(self) -> None:
        """Send SIGUSR1, as the pppd hooks do."""
        self.sh(f"kill -USR1 {self.board.program.pid()}")

    def uptime(self) -> float:
        """@return seconds of the board's clock, which a busy host slows down"""
        return float(self.board.guest.read("/proc/uptime").split()[0])

    def modem_log(self) -> str:
        """@return the modem's log of this test"""
        return self.board.guest.run(f"cat {MODEM_LOG} 2>/dev/null").text[self.already_logged:]

    def heard(self) -> list[str]:
        """@return the commands that the modem has received in this test"""
        return [line.split(" heard ", 1)[1] for line in self.modem_log().splitlines()
                if " heard " in line]

    def assert_soon(self, holds: Callable[[], bool], what: str,
                    seconds: float = SOON_SECONDS) -> None:
        deadline = time.monotonic() + seconds
        while not holds():
            self.assertLess(time.monotonic(), deadline, what)
            time.sleep(LOOK_SECONDS)
