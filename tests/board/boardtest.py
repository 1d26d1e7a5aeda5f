"""What the tests on the simulated board share."""

import time
import unittest
from collections.abc import Callable, Mapping
from typing import Any

from host.paths import ROOT
from panel.facts import (CHAT_LOG, CHECK_SECONDS, COUNTS, FAILED, FILES, LINK_STATUS, MISC, OLD_LOG,
                         PARAMETERS, PPP_LOG, SETTING, SOON_SECONDS, START_SECONDS, STATUS,
                         WITHOUT_KEYS)
from panel.screen import Screen
from virtualboard.board import Board
from virtualboard.dongle import MODEM_LOG

EXPECTED = ROOT / "tests/expected"
CLEAR_SECONDS = 60
LOOK_SECONDS = 0.2  # between two looks at the board
SETTINGS = "/etc/default/corvanta"


class BoardTest(unittest.TestCase):
    """One board per class, from the saved machine state; the program of each test ends."""

    size = (800, 480)
    board: Board

    @classmethod
    def setUpClass(cls) -> None:
        cls.board = Board(cls.size, f"test-{cls.__name__}")
        cls.enterClassContext(cls.board)

    def setUp(self) -> None:
        self.panel = self.board.panel
        self.already_heard = 0
        self.already_heard = len(self.heard())
        self.addCleanup(self.clear)

    def clear(self) -> None:
        """Back to a board on which nothing was ever dialled."""
        self.board.program.stop()
        self.board.guest.sh(
            "killall -q pppd; until ! pgrep -x pppd; do sleep 0.1; done; "
            f"rm -f {' '.join(FILES)} {{{PPP_LOG},{CHAT_LOG}}}{{,{OLD_LOG}}}", CLEAR_SECONDS)
        self.board.dongle.unplug()
        self.board.dongle.tell_modem()

    def start(self, parameters: bytes, modem: Mapping[str, str] | None = None) -> None:
        """Plugs the dongle and starts the program with stored parameters."""
        self.board.dongle.tell_modem(modem)
        self.board.dongle.plug()
        self.board.guest.write(PARAMETERS, parameters)
        self.start_program()

    def start_program(self, environment: Mapping[str, str] = WITHOUT_KEYS) -> None:
        self.board.program.start(environment)
        self.await_window()

    def sh(self, commands: str, seconds: float = SOON_SECONDS) -> str:
        """Runs shell commands on the board, which must succeed. @return what they wrote"""
        return self.board.guest.sh(commands, seconds)

    def wait(self, what: str, seconds: float, holds: Callable[[Screen], Any]) -> None:
        self.panel.wait(holds, seconds, what)

    def wait_board(self, condition: str, seconds: float = SOON_SECONDS) -> None:
        """Waits for a shell condition on the board."""
        self.board.guest.sh(f"until {condition}; do sleep 0.1; done", seconds)

    def await_window(self) -> None:
        """Waits for a panel that somebody else has started."""
        self.wait("the main window", START_SECONDS, lambda screen: screen.main_window()["visible"])

    def choose_after_exit(self, choice: str) -> None:
        self.sh(f"sed -i 's/^CORVANTA_AFTER_EXIT=.*/CORVANTA_AFTER_EXIT={choice}/' {SETTINGS}")

    def touch_counts(self) -> None:
        """Changes a value that neither generated file has, so that a connect writes both."""
        self.panel.open_tab(MISC)
        self.panel.fill(COUNTS, "7")
        self.panel.open_tab(SETTING)

    def wait_link(self, text: str, style: str, seconds: float = CHECK_SECONDS) -> None:
        def holds(screen: Screen) -> bool:
            value = screen.value(LINK_STATUS)
            return value["text"] == text and value["style"] == style
        self.panel.open_tab(STATUS)
        self.wait(f"{text!r} in {style}", seconds, holds)
        self.board.program.await_check()

    def wait_failed(self) -> None:
        """Waits for the notice at the end of an attempt, and takes it away."""
        self.wait("the notice", CHECK_SECONDS, lambda screen: screen.dialog()["text"] == FAILED)
        self.panel.press("OK")
        self.wait("Connect enabled", SOON_SECONDS, lambda screen: not screen.has_dialog()
                  and screen.button("Connect")["enabled"])

    def check_link(self) -> None:
        """Sends SIGUSR1, as an outside process that knows of a change."""
        self.board.guest.sh(f"kill -USR1 {self.board.program.pid()}")

    def heard(self) -> list[str]:
        """The commands that the modem has heard in this test."""
        log = self.board.guest.run(f"cat {MODEM_LOG} 2>/dev/null").text
        heard = [line.split(" heard ", 1)[1] for line in log.splitlines() if " heard " in line]
        return heard[self.already_heard:]

    def assert_soon(self, holds: Callable[[], bool], what: str) -> None:
        deadline = time.monotonic() + SOON_SECONDS
        while not holds():
            self.assertLess(time.monotonic(), deadline, what)
            time.sleep(LOOK_SECONDS)
