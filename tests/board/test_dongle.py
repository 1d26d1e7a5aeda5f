"""The dongle on the simulated board: missing, late, a wrong one, and unplugged during use."""

import time

from boardtest import AWAY, DETECTED, OperatedBoard
from panel.constants import DONGLE_PRODUCT, DONGLE_STATUS, SETTING, SOON_SECONDS, START_SECONDS


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


def test_unplugged_while_dialling(board: OperatedBoard) -> None:
    board.provide({"answer": "slow"})
    board.panel.press("Connect")
    board.wait_for("pgrep -x chat")
    board.dongle.unplug()
    board.wait_failed()
    board.wait_status(DONGLE_STATUS, AWAY)
    board.dongle.tell_modem()
    board.panel.open_tab(SETTING)
    board.panel.press("Connect")  # an earlier dialog was shown, so this attempt shows none
    board.wait("the busy bar only", SOON_SECONDS,
               lambda screen: screen.busy_bars() and not screen.has_dialog())
    board.dongle.plug()
    board.wait_up()
    board.wait_status(DONGLE_STATUS, DETECTED)


def test_lost_while_connected(board: OperatedBoard) -> None:
    board.provide()
    board.panel.press("Connect")
    board.wait_checked()
    board.dongle.unplug()
    board.wait_down()
    board.wait_status(DONGLE_STATUS, AWAY)
    board.panel.press("Connect")
    board.wait_undetected()
    board.dongle.plug()
    board.wait("the dialog closed", SOON_SECONDS, lambda screen: not screen.has_dialog())
    board.wait_up()
    board.wait_status(DONGLE_STATUS, DETECTED)
