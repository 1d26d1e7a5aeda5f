#!/usr/bin/python3
"""The dongle on the simulated board: missing, of another kind, pulled at bad moments."""

import unittest

from boardtest import BoardTest
from panel.facts import (CHECK_SECONDS, DONGLE_STATUS, GREEN, RED, SETTING,
                         SOON_SECONDS, START_SECONDS, STATUS, UNDETECTED, stored_parameters)

STORED = stored_parameters()


class Dongle(BoardTest):
    size = (480, 272)

    def wait_dongle(self, text: str, style: str) -> None:
        self.panel.open_tab(STATUS)
        self.wait(f"{text!r} in {style}", SOON_SECONDS,
                  lambda screen: screen.value(DONGLE_STATUS)["text"] == text
                  and screen.value(DONGLE_STATUS)["style"] == style)

    def test_another_dongle_does_not_do(self) -> None:
        self.board.dongle.plug(product=0x1002)
        self.board.program.start()
        self.wait("the waiting dialog", START_SECONDS,
                  lambda screen: screen.dialog()["text"] == UNDETECTED)
        self.panel.press("Close")  # with nothing beneath it stays
        self.wait("the waiting dialog still", SOON_SECONDS, lambda screen: screen.has_dialog())
        self.board.dongle.plug()
        self.wait("the main window", START_SECONDS,
                  lambda screen: screen.main_window()["visible"] and not screen.has_dialog())

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
        self.wait("the main window", START_SECONDS,
                  lambda screen: screen.main_window()["visible"])

    def test_exit_while_an_attempt_waits_for_the_node(self) -> None:
        self.start(STORED)
        self.board.dongle.plug(ports=0)
        self.panel.press("Connect")
        self.wait("the busy bar", SOON_SECONDS, lambda screen: screen.busy_bars())
        self.panel.press("Exit")
        self.assertEqual(self.board.program.wait_end(SOON_SECONDS), 0)
        self.assertNotEqual(self.board.guest.run("pgrep -x pppd").status, 0)

    def test_pulled_while_dialling(self) -> None:
        self.start(STORED, {"answer": "slow"})
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_board("pgrep -x chat")
        self.board.dongle.unplug()
        self.wait_failed()
        self.wait_dongle("undetected", RED)
        self.board.dongle.tell_modem()
        self.panel.open_tab(SETTING)
        self.panel.press("Connect")  # no dialog after an earlier one: it waits for the node
        self.wait("the busy bar", SOON_SECONDS, lambda screen: screen.busy_bars())
        self.board.dongle.plug()
        self.wait_link("connected", GREEN)
        self.wait_dongle("detected", GREEN)

    def test_lost_while_connected(self) -> None:
        """Pulled out first, then, after plugging again, dropped by the network."""
        self.start(STORED)
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.board.dongle.unplug()
        self.wait_board("! ifconfig | grep -q ppp", CHECK_SECONDS)
        self.wait_link("disconnected", RED, SOON_SECONDS)
        self.wait_dongle("undetected", RED)
        self.panel.press("Connect")
        self.wait("the waiting dialog", SOON_SECONDS,
                  lambda screen: screen.dialog()["text"] == UNDETECTED)
        self.board.dongle.tell_modem({"drop_after_s": "20"})
        self.board.dongle.plug()
        self.wait("the dialog gone", SOON_SECONDS, lambda screen: not screen.has_dialog())
        self.wait_link("connected", GREEN)
        self.board.dongle.tell_modem({"dial": "busy"})  # for pppd, which dials again
        self.wait_board("! ifconfig | grep -q ppp", CHECK_SECONDS)
        self.wait_link("disconnected", RED, SOON_SECONDS)
        self.wait_dongle("detected", GREEN)


if __name__ == "__main__":
    unittest.main()
