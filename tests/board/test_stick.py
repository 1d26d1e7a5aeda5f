#!/usr/bin/python3
"""The stick on the simulated board: missing, of another kind, pulled at bad moments."""

import unittest

from boardtest import (CHECK_SECONDS, GREEN, RED, SETTING, SOON, START_SECONDS, STATUS, UNDETECTED,
                       BoardTest)

PARAMETERS = "internet\n*99#\n\n\n\n0\n"


class Stick(BoardTest):
    size = (480, 272)

    def wait_dongle(self, text: str, style: str) -> None:
        self.panel.open_tab(STATUS)
        self.wait(f"{text!r} in {style}", SOON,
                  lambda screen: screen.value("Dongle Status:")["text"] == text
                  and screen.value("Dongle Status:")["style"] == style)

    def test_another_stick_does_not_do(self) -> None:
        self.board.plug(product=0x1002)
        self.board.start_panel()
        self.wait("the waiting dialog", START_SECONDS,
                  lambda screen: screen.dialog()["text"] == UNDETECTED)
        self.panel.press("Close")  # with nothing beneath it stays
        self.wait("the waiting dialog still", SOON, lambda screen: screen.has_dialog())
        self.board.plug()
        self.wait("the main window", START_SECONDS,
                  lambda screen: screen.main_window()["visible"] and not screen.has_dialog())

    def test_black_until_the_serial_node_is_there(self) -> None:
        self.board.plug(ports=0)
        self.board.start_panel()
        self.wait("the program up", START_SECONDS, lambda screen: screen.windows)
        width, height = self.size

        def black() -> bool:
            pixels = self.board.read("/dev/fb0")[:width * height * 4]
            return {pixels[at:at + 3] for at in range(0, len(pixels), 4)} == {b"\0\0\0"}

        self.assert_soon(black, "the panel is black")
        self.assertFalse(self.panel.screen().main_window()["visible"])
        self.board.plug()
        self.wait("the main window", START_SECONDS,
                  lambda screen: screen.main_window()["visible"])

    def test_exit_while_an_attempt_waits_for_the_node(self) -> None:
        self.start(PARAMETERS)
        self.board.plug(ports=0)
        self.panel.press("Connect")
        self.wait("the busy bar", SOON, lambda screen: screen.busy_bars())
        self.panel.press("Exit")
        self.assertEqual(self.board.wait_panel_end(SOON), 0)
        self.assertNotEqual(self.board.run("pgrep -x pppd").status, 0)

    def test_pulled_while_dialling(self) -> None:
        self.start(PARAMETERS, answer="slow")
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_board("pgrep -x chat")
        self.board.unplug()
        self.wait_failed()
        self.wait_dongle("undetected", RED)
        self.board.modem()
        self.panel.open_tab(SETTING)
        self.panel.press("Connect")  # no dialog after an earlier one: it waits for the node
        self.wait("the busy bar", SOON, lambda screen: screen.busy_bars())
        self.board.plug()
        self.wait_link("connected", GREEN)
        self.wait_dongle("detected", GREEN)

    def test_lost_while_connected(self) -> None:
        """Pulled out first, then, after plugging again, dropped by the network."""
        self.start(PARAMETERS)
        self.touch_counts()
        self.panel.press("Connect")
        self.wait_link("connected", GREEN)
        self.board.unplug()
        self.wait_board("! ifconfig | grep -q ppp", CHECK_SECONDS)
        self.assertEqual(self.panel.value("PPP Status:")["text"], "connected")  # no check yet
        self.check_link()
        self.wait_link("disconnected", RED, SOON)
        self.wait_dongle("undetected", RED)
        self.panel.press("Connect")
        self.wait("the waiting dialog", SOON,
                  lambda screen: screen.dialog()["text"] == UNDETECTED)
        self.board.modem({"drop_after_s": "20"})
        self.board.plug()
        self.wait("the dialog gone", SOON, lambda screen: not screen.has_dialog())
        self.wait_link("connected", GREEN)
        self.board.modem({"dial": "busy"})  # for pppd, which dials again
        self.wait_board("! ifconfig | grep -q ppp", CHECK_SECONDS)
        self.check_link()
        self.wait_link("disconnected", RED, SOON)
        self.wait_dongle("detected", GREEN)


if __name__ == "__main__":
    unittest.main()
