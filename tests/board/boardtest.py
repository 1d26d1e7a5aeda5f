"""The simulated board that the board tests use, with their common steps and waits."""

import time
from collections.abc import Callable, Mapping
from typing import Any

from host.paths import ROOT
from panel.constants import (CHECK_SECONDS, FAILED, LINK_DOWN, LINK_STATUS, LINK_UP, SOON_SECONDS,
                             START_SECONDS, STATUS, UNDETECTED, WITHOUT_KEYS)
from panel.screen import Screen
from virtualboard.board import Board
from virtualboard.dongle import MODEM_LOG

EXPECTED = ROOT / "tests/expected"
INSTALL_SECONDS = 120
PACKAGE = "/app/corvanta.deb"
SETTINGS = "/etc/default/corvanta"
RESTART = f"echo CORVANTA_AFTER_EXIT=restart >{SETTINGS}"
LINK = "[ -e /sys/class/net/ppp0 ]"
NO_LINK = f"! {LINK}"


class OperatedBoard(Board):
    """A board with the steps and waits that several tests have."""

    def provide(self, modem: Mapping[str, str] | None = None, pin: str = "") -> None:
        """Store parameters, plug in the dongle and start the program."""
        self.sh("corvanta-provision apn=internet 'dial=*99#' user=operator password=secret "
                f"pin={pin}")
        self.dongle.tell_modem(modem)
        self.dongle.plug()
        self.start_program()

    def start_program(self, environment: Mapping[str, str] = WITHOUT_KEYS) -> None:
        self.program.start(environment)
        self.await_window()

    def leave(self) -> None:
        """Touch Exit and wait for exit status 0."""
        self.panel.press("Exit")
        assert self.program.wait_end(SOON_SECONDS) == 0

    def sh(self, commands: str, seconds: float = SOON_SECONDS) -> str:
        """Run shell commands on the board. @return their output @raise BoardError if they fail"""
        return self.guest.sh(commands, seconds)

    def wait(self, what: str, seconds: float, holds: Callable[[Screen], Any]) -> None:
        self.panel.wait(holds, seconds, what)

    def wait_for(self, condition: str, seconds: float = SOON_SECONDS) -> None:
        """Wait until a shell condition on the board is true. The loop waits with a built-in
        command, because the start of a process takes the board long."""
        self.sh(f"exec {{never}}<> <(:); until {condition}; do read -rt 0.1 -u $never || :; done",
                seconds)

    def await_window(self) -> None:
        """Wait until the started program shows its main window."""
        self.wait("the main window", START_SECONDS, lambda screen: screen.main_window()["visible"]
                  and not screen.has_dialog())

    def wait_undetected(self) -> None:
        self.wait("the waiting dialog", START_SECONDS,
                  lambda screen: screen.dialog()["text"] == UNDETECTED)

    def link(self) -> tuple[str, str]:
        """@return text and style sheet of the link's status, as it is now"""
        value = self.panel.value(LINK_STATUS)
        return value["text"], value["style"]

    def wait_status(self, label: str, value: tuple[str, str],
                    seconds: float = SOON_SECONDS) -> None:
        self.panel.open_tab(STATUS)
        self.wait(f"{label} {value}", seconds, lambda screen: (
            screen.value(label)["text"], screen.value(label)["style"]) == value)

    def wait_up(self, seconds: float = CHECK_SECONDS) -> None:
        """Wait until the panel shows the link up, which may be before Connect's link check. Wait
        for the link itself first, because each dump of the screen slows the board."""
        self.wait_for(LINK, seconds)
        self.wait_status(LINK_STATUS, LINK_UP, seconds)

    def wait_checked(self) -> None:
        """Wait for the link and for Connect's link check. If the link went down before this check,
        the check would report a failed attempt."""
        self.wait_up()
        self.program.await_check()

    def wait_down(self) -> None:
        self.wait_for(NO_LINK, CHECK_SECONDS)
        self.wait_status(LINK_STATUS, LINK_DOWN)

    def wait_notice(self) -> None:
        self.wait("the notice", CHECK_SECONDS, lambda screen: screen.dialog()["text"] == FAILED)

    def wait_failed(self) -> None:
        """Wait for the notice of a failed attempt, and close it."""
        self.wait_notice()
        self.panel.press("OK")
        self.wait("Connect enabled", SOON_SECONDS, lambda screen: not screen.has_dialog()
                  and screen.button("Connect")["enabled"])

    def uptime(self) -> float:
        """@return the board's uptime in seconds, by a clock that a busy host slows down"""
        return float(self.guest.read("/proc/uptime").split()[0])

    def modem_log(self) -> str:
        return self.guest.run(f"cat {MODEM_LOG} 2>/dev/null").text

    def heard(self) -> list[str]:
        """@return the commands that the modem has received"""
        return [line.split(" heard ", 1)[1] for line in self.modem_log().splitlines()
                if " heard " in line]

    def is_black(self) -> bool:
        """Return true when all pixels are black. Ignore their fourth byte, which may be opacity."""
        pixels = self.guest.read("/dev/fb0")
        return not any(pixels[byte::4].strip(b"\0") for byte in range(3))

    def wait_picture(self, wanted: bytes, what: str) -> None:
        """Wait until a screenshot of the panel equals the wanted PNG file."""
        deadline = time.monotonic() + START_SECONDS
        while self.records.picture("seen.png").read_bytes() != wanted:
            assert time.monotonic() < deadline, what
            time.sleep(1)
