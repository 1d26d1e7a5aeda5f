"""A VNC client (RFC 6143) that sends touches and keys to a program without the inspector."""

from __future__ import annotations

import socket

CONTROL = 0xFFE3  # an X keysym; the keysym of an ASCII character is its code
SHARED = b"\1"  # keep other viewers connected
NO_PASSWORD = b"\0\0\0\1"
VERSION_BYTES, FORMAT_BYTES = 12, 16

# A private root has its own network namespace, so socat forwards connections from a Unix socket.
# SETUP is the set-up command for a root.
SOCKET = "vnc"  # in the run's directory
SETUP = f"socat UNIX-LISTEN:/testrun/{SOCKET},fork TCP:127.0.0.1:5900 &\n"


class Viewer:
    """A connection to the VNC server that never requests the content of the screen.

    @param connection socket of the server, which this object closes
    @raise AssertionError when the server requires a password
    """

    def __init__(self, connection: socket.socket) -> None:
        self._connection = connection
        self._stream = connection.makefile("rb")
        connection.sendall(self._stream.read(VERSION_BYTES))
        if (security := self._stream.read(len(NO_PASSWORD))) != NO_PASSWORD:
            raise AssertionError(f"a screen without a password, not {security!r}")
        connection.sendall(SHARED)
        self.size = self._number(2), self._number(2)
        self._stream.read(FORMAT_BYTES)
        self._stream.read(self._number(4))  # the screen's name

    def __enter__(self) -> Viewer:
        return self

    def __exit__(self, *_: object) -> None:
        self._stream.close()
        self._connection.close()

    def _number(self, length: int) -> int:
        return int.from_bytes(self._stream.read(length), "big")

    def touch(self, x: int, y: int) -> None:
        """Touch a pixel of the screen and release it immediately."""
        place = x.to_bytes(2, "big") + y.to_bytes(2, "big")
        self._connection.sendall(b"\5\1" + place + b"\5\0" + place)

    def press(self, *symbols: int) -> None:
        """Press keys together and release them in reverse order. @param symbols X keysyms"""
        held = [(1, symbol) for symbol in symbols]
        for down, symbol in [*held, *((0, symbol) for _, symbol in reversed(held))]:
            self._connection.sendall(b"\4" + bytes([down]) + b"\0\0" + symbol.to_bytes(4, "big"))

    def type(self, text: str) -> None:
        """Replace the text of the focused field. @param text lower-case letters and digits"""
        self.press(CONTROL, ord("a"))
        for character in text:
            self.press(ord(character))
