"""The dongle on the simulated board: unplugged during use."""

from boardtest import OperatedBoard
from panel.constants import (CHECK_SECONDS, DONGLE_DETECTED, DONGLE_STATUS, DONGLE_UNDETECTED,
                             SOON_SECONDS)


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
