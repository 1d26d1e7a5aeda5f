"""Touches on a simulated board's panel, and keys of its USB keyboard."""

import time
from collections.abc import Callable

from machine import keycodes
from machine.qmp import Qmp

AXIS_MAXIMUM = 32767  # largest coordinate of QEMU's absolute pointer; the smallest is 0
TOUCH_SECONDS = 0.08  # duration of a touch


class Fingers:
    """
    One finger on the panel.

    @param size  panel size in pixels
    """

    def __init__(self, qmp: Qmp, size: tuple[int, int]) -> None:
        self._qmp = qmp
        self._size = size

    def touch(self, x: int, y: int) -> None:
        """Touch a pixel."""
        self.down(x, y)
        time.sleep(TOUCH_SECONDS)
        self.up()

    def down(self, x: int, y: int) -> None:
        self._qmp.command("input-send-event", events=[
            {"type": "abs",
             "data": {"axis": axis, "value": round(pixel * AXIS_MAXIMUM / (pixels - 1))}}
            for axis, pixel, pixels in zip("xy", (x, y), self._size)])
        self._press(True)

    def up(self) -> None:
        self._press(False)

    def _press(self, down: bool) -> None:
        self._qmp.command("input-send-event",
                          events=[{"type": "btn", "data": {"button": "left", "down": down}}])


class Keyboard:
    """
    The USB keyboard, with the US layout.

    @param keep_up  waits until the board has handled the pressed keys
    """

    def __init__(self, qmp: Qmp, keep_up: Callable[[], None]) -> None:
        self._qmp = qmp
        self._keep_up = keep_up

    def type(self, text: str) -> None:
        """Type a text. @raise ValueError if a character has no key"""
        for character in text:
            self.press(character)

    def press(self, name: str) -> None:
        """Press a key or chord, such as "Tab" or "Ctrl+A". @raise BoardError if there is none"""
        codes = keycodes.chord(name)
        for down, order in ((True, codes), (False, codes[::-1])):
            self._qmp.command("input-send-event", events=[
                {"type": "key", "data": {"down": down, "key": {"type": "qcode", "data": code}}}
                for code in order])
        self._keep_up()
