"""Touches on a simulated board's panel, and keys of its USB keyboard."""

import time
from collections.abc import Callable

from machine.qmp import Qmp

AXIS_MAXIMUM = 32767  # largest coordinate of QEMU's absolute pointer; the smallest is 0
TOUCH_SECONDS = 0.08  # duration of a touch

# QEMU's key codes of a US keyboard, by character.
PLAIN = {" ": "spc", "-": "minus", "=": "equal", "[": "bracket_left", "]": "bracket_right",
         "\\": "backslash", ";": "semicolon", "'": "apostrophe", "`": "grave_accent",
         ",": "comma", ".": "dot", "/": "slash", "\n": "ret", "\t": "tab"}
SHIFTED = {"~": "`", "!": "1", "@": "2", "#": "3", "$": "4", "%": "5", "^": "6", "&": "7",
           "*": "8", "(": "9", ")": "0", "_": "-", "+": "=", "{": "[", "}": "]", "|": "\\",
           ":": ";", '"': "'", "<": ",", ">": ".", "?": "/"}
# Qt's key names, which are accepted in addition to QEMU's own.
NAMES = {"enter": "ret", "return": "ret", "escape": "esc", "del": "delete", "ins": "insert",
         "space": "spc", "pgdown": "pgdn"}


def keys_of(character: str) -> list[str]:
    """
    Return the key codes that type a character when they are pressed together.

    @raise ValueError for a character that a US keyboard cannot type
    """
    if character in SHIFTED:
        return ["shift", *keys_of(SHIFTED[character])]
    if character in PLAIN:
        return [PLAIN[character]]
    if character.isascii() and character.isalnum():
        return ["shift", character.lower()] if character.isupper() else [character]
    raise ValueError(f"a US keyboard has no key for {character!r}")


def chord(name: str) -> list[str]:
    """Return the key codes of a key or chord, such as "Tab", "Ctrl+A" or "Shift+Left"."""
    if len(name) == 1:
        return keys_of(name)
    parts = name.split("+")
    return [NAMES.get(part.lower()) or PLAIN.get(part) or part.lower() for part in parts]


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
        codes = chord(name)
        for down, order in ((True, codes), (False, codes[::-1])):
            self._qmp.command("input-send-event", events=[
                {"type": "key", "data": {"down": down, "key": {"type": "qcode", "data": code}}}
                for code in order])
        self._keep_up()
