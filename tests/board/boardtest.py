"""What the tests on the simulated board share."""

import sys
import time
import unittest
from collections.abc import Callable
from pathlib import Path
from typing import Any

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "simulator"))

from boardlib.machine import KEYBOARD, Board  # noqa: E402
from boardlib.panel import Screen  # noqa: E402

EXPECTED = ROOT / "tests/expected"
PARAMETERS = "/quenfold/configs/3gparam"
AUTO_CONNECT = "/quenfold/configs/autoparam"
CHAT_SCRIPT = "/etc/ppp/chat/chat"
PEER_FILE = "/etc/ppp/peers/ppp-connect"
NETWORK_ADDRESS = "203.0.113.7"
GREEN, RED = "color:green;", "color:red;"
FAILED = "Connect Fail! Please Check the Parameter And Try Again!"
UNDETECTED = "Undetected dongle,Please plugin and wait a moment!"
SETTING, STATUS = "3G/4G Setting", "3G/4G Status"

# Limits of waits, in the host's time: the board's runs slower on a busy host.
START_SECONDS = 120
CHECK_SECONDS = 120
SOON = 30


class BoardTest(unittest.TestCase):
    """One board per class, from the saved machine state; the panel program of each test ends."""

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
        self.board.stop_panel()
        self.board.sh("killall -q pppd; until ! pgrep -x pppd; do sleep 0.1; done; "
                      f"rm -f {PARAMETERS} {AUTO_CONNECT} {CHAT_SCRIPT} {PEER_FILE} "
                      "/etc/ppp/*.log /etc/ppp/*.old", seconds=60)
        self.board.unplug()
        self.board.modem()

    def start(self, parameters: str, **modem: str) -> None:
        """Plugs the stick and starts the panel program with stored parameters."""
        self.board.modem({key.replace("_", ".", 1) if key.startswith("sim_") else key: value for key, value in modem.items()})
        self.board.plug()
        self.board.write(PARAMETERS, parameters.encode())
        self.start_panel()

    def start_panel(self, keyboard: bool = False) -> None:
        """@param keyboard  whether the on-screen keyboard is selected"""
        self.board.start_panel(KEYBOARD if keyboard else {})
        self.wait("the main window", START_SECONDS, lambda screen: screen.main_window()["visible"])

    def wait(self, what: str, seconds: float, holds: Callable[[Screen], Any]) -> None:
        self.panel.wait(holds, seconds, what)

    def wait_board(self, condition: str, seconds: float = SOON) -> None:
        """Waits for a shell condition on the board."""
        self.board.sh(f"until {condition}; do sleep 0.1; done", seconds=seconds)

    def touch_counts(self) -> None:
        """Changes a value that neither generated file has, so that a connect writes both."""
        self.panel.open_tab("Misc Setting")
        self.panel.fill("Counts:", "7", SOON)
        self.panel.open_tab(SETTING)

    def wait_link(self, text: str, style: str, seconds: float = CHECK_SECONDS) -> None:
        def holds(screen: Screen) -> bool:
            value = screen.value("PPP Status:")
            return value["text"] == text and value["style"] == style
        self.panel.open_tab(STATUS)
        self.wait(f"{text!r} in {style}", seconds, holds)

    def wait_failed(self) -> None:
        """Waits for the notice at the end of an attempt, and takes it away."""
        self.wait("the notice", CHECK_SECONDS, lambda screen: screen.dialog()["text"] == FAILED)
        self.panel.press("OK")
        self.wait("Connect enabled", SOON, lambda screen: not screen.has_dialog()
                  and screen.button("Connect")["enabled"])

    def check_link(self) -> None:
        """Sends SIGUSR1, as an outside process that knows of a change."""
        self.board.sh(f"kill -USR1 {self.board.panel_pid()}")

    def heard(self) -> list[str]:
        """The commands that the modem has heard in this test."""
        log = self.board.run("cat /run/stick/modem.log 2>/dev/null").text
        heard = [line.split(" heard ", 1)[1] for line in log.splitlines() if " heard " in line]
        return heard[self.already_heard:]

    def assert_soon(self, holds: Callable[[], bool], what: str) -> None:
        deadline = time.monotonic() + SOON
        while not holds():
            self.assertLess(time.monotonic(), deadline, what)
            time.sleep(0.2)
