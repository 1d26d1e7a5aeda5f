#!/usr/bin/python3
"""The dongle on the simulated board: missing, late, another one, unplugged at bad moments."""

import unittest

from boardtest import NO_LINK, BoardTest
from panel.facts import CHECK_SECONDS, DONGLE_PRODUCT, SETTING, SOON_SECONDS, START_SECONDS


class Dongle(BoardTest):
    def test_another_dongle_is_not_used(self) -> None:
        self.board.dongle.plug(product=DONGLE_PRODUCT + 1)
        self.board.program.start()
        self.wait_undetected()
        self.panel.press("Close")  # the dialog stays, because there is no window below it
        self.wait_undetected()
        self.board.dongle.plug()
        self.await_window()

    def test_black_until_the_serial_node_is_there(self) -> None:
        self.board.dongle.plug(ports=0)
        self.board.program.start()
        self.wait("the program up", START_SECONDS, lambda screen: screen.windows)
        width, height = self.size

        def black() -> bool:
            pixels = self.board.guest.read("/dev/fb0")[:width * height * 4]
            return {pixels[at:at + 3] for at in range(0, len(pixels), 4)} == {b"\0\0\0"}

        self.assert_soon(black, "the panel is black")
        self.assertFalse(self.panel.screen().main_window()["visible"])
        self.board.dongle.plug()
        self.await_window()

    def test_unplugged_while_dialling(self) -> None:
        self.start_edited({"answer": "slow"})
        self.panel.press("Connect")
        self.wait_board("pgrep -x chat")
        self.board.dongle.unplug()
        self.wait_failed()
        self.wait_dongle(False)
        self.board.dongle.tell_modem()
        self.panel.open_tab(SETTING)
        self.panel.press("Connect")  # without a dialog after an earlier one
        self.wait("the busy bar", SOON_SECONDS, lambda screen: screen.busy_bars())
        self.board.dongle.plug()
        self.wait_up()
        self.wait_dongle(True)

    def test_lost_while_connected(self) -> None:
        """The dongle is unplugged and plugged in again, then the network drops the call."""
        self.connect()
        self.board.dongle.unplug()
        self.wait_board(NO_LINK, CHECK_SECONDS)
        self.wait_down(SOON_SECONDS)
        self.wait_dongle(False)
        self.panel.press("Connect")
        self.wait_undetected()
        self.board.dongle.tell_modem({"drop_after_s": "20"})
        self.board.dongle.plug()
        self.wait("the dialog gone", SOON_SECONDS, lambda screen: not screen.has_dialog())
        self.wait_up()
        self.board.dongle.tell_modem({"dial": "busy"})  # for pppd, which redials
        self.wait_board(NO_LINK, CHECK_SECONDS)
        self.wait_down(SOON_SECONDS)
        self.wait_dongle(True)


if __name__ == "__main__":
    unittest.main()
