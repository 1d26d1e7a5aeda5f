"""Touches on a simulated board's panel, and keys of its USB keyboard."""

import time
from collections.abc import Callable

from machine import keycodes
from machine.qmp import Qmp

TOUCH_SECONDS = 0.08  # default duration of a touch
# Number of keys to press before waiting for the board. The kernel's queues hold 64 events, and a
# key with Shift makes 8 of them.
KEYS_AHEAD = 4


class Fingers:
    """
    One finger on the panel.

    @param size  panel size in pixels
    """

    def __init__(self, qmp: Qmp, size: tuple[int, int]) -> None:
        self._qmp = qmp
        self._size = size

    def touch(self, x: int, y: int, seconds: float = TOUCH_SECONDS) -> None:
        """Touch a pixel for `seconds`. @raise ValueError when the panel has no such pixel"""
        self.down(x, y)
        time.sleep(seconds)
        self.up()

    def down(self, x: int, y: int) -> None:
        self.move(x, y)
        self._qmp.button(True)

    def move(self, x: int, y: int) -> None:
        self._qmp.point(x, y, self._size)

    def up(self) -> None:
        self._qmp.button(False)


class Keyboard:
    """
    The USB keyboard, with the US layout.

    @param keep_up  waits until the board has handled the pressed keys
    """

    def __init__(self, qmp: Qmp, keep_up: Callable[[], None]) -> None:
        self._qmp = qmp
        self._keep_up = keep_up

    def type(self, text: str) -> None:
        """Type a text. @raise ValueError, before the first key, if a character has no key"""
        for at, codes in enumerate([keycodes.keys_of(character) for character in text], 1):
            self._qmp.keys(codes)
            if at % KEYS_AHEAD == 0 or at == len(text):
                self._keep_up()

    def press(self, name: str) -> None:
        """Press a key or chord, such as "Tab" or "Ctrl+A". @raise BoardError if there is none"""
        self._qmp.keys(keycodes.chord(name))
        self._keep_up()
