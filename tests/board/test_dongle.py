"""The dongle on the simulated board: missing, late, a wrong one, and unplugged during use."""

import time

from boardtest import OperatedBoard
from panel.constants import (CHECK_SECONDS, DONGLE_DETECTED, DONGLE_PRODUCT, DONGLE_STATUS,
                             DONGLE_UNDETECTED, SOON_SECONDS, START_SECONDS)


def test_black_until_the_right_dongle_has_its_port(board: OperatedBoard) -> None:
    """The program waits while another dongle is plugged in, and while the right one has no serial
    port. During the second wait the panel is black."""
    board.dongle.plug(product=DONGLE_PRODUCT + 1)
    board.program.start()
    board.wait_undetected()
    board.panel.press("Close")  # does not close the dialog, because there is no window below it
    board.wait_undetected()
    board.dongle.plug(ports=0)
    deadline = time.monotonic() + START_SECONDS
    while not board.is_black():
        assert time.monotonic() < deadline, "the panel is black"
    assert not board.panel.screen().main_window()["visible"]
    board.dongle.plug()
    board.await_window()


def test_unplugged_and_plugged_in(board: OperatedBoard) -> None:
    """Dial with PAP. Unplug the dongle while the link is up, and during the next attempt. Each
    time, a touch on Connect waits for the dongle, the second time without a dialog."""
    board.provide({"auth": "pap", "user": "operator", "password": "secret"})
    board.panel.press("Connect")
    board.wait_checked()
    board.dongle.unplug()
    board.wait_down()
    board.wait_status(DONGLE_STATUS, DONGLE_UNDETECTED)
    board.panel.press("Connect")
    board.wait_undetected()
    board.dongle.tell_modem({"answer": "slow"})
    board.dongle.plug()
    board.wait_for("pgrep -x chat", CHECK_SECONDS)
    board.dongle.unplug()
    board.wait_failed()
    board.dongle.tell_modem()
    board.panel.press("Connect")
    board.wait("the busy bar only", SOON_SECONDS,
               lambda screen: screen.busy_bars() and not screen.has_dialog())
    board.dongle.plug()
    board.wait_up()
    board.wait_status(DONGLE_STATUS, DONGLE_DETECTED)
