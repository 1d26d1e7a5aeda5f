"""A viewer of the panel's VNC screen (RFC 6143): touches and keys for a program that has no
inspector in its process."""

from __future__ import annotations

import socket
from types import TracebackType

CONTROL = 0xFFE3  # a key symbol; that of a character of ASCII is its code
SHARED = b"\1"  # other viewers stay
NO_PASSWORD = b"\0\0\0\1"
VERSION_BYTES, FORMAT_BYTES = 12, 16

# The screen's way out of a private root, whose network is its own: its setup, and the socket.
VNC_PORT = 5900
SOCKET = "vnc"  # of the folder of the run
SETUP = f"socat UNIX-LISTEN:/testrun/{SOCKET},fork TCP:127.0.0.1:{VNC_PORT} &\n"


class Viewer:
    """A connection to the screen, which it ends; it asks for no picture.

    @param connection to the server
    @raise AssertionError when the server wants a password
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

    def __exit__(self, _: type[BaseException] | None, __: BaseException | None,
                 ___: TracebackType | None) -> None:
        self._stream.close()
        self._connection.close()

    def _number(self, length: int) -> int:
        return int.from_bytes(self._stream.read(length), "big")

    def touch(self, x: int, y: int) -> None:
        """Touches a pixel of the screen, for no time."""
        place = x.to_bytes(2, "big") + y.to_bytes(2, "big")
        self._connection.sendall(b"\5\1" + place + b"\5\0" + place)

    def press(self, *symbols: int) -> None:
        """Presses a key, the last one, while the others are held."""
        held = [(1, symbol) for symbol in symbols]
        for down, symbol in [*held, *((0, symbol) for _, symbol in reversed(held))]:
            self._connection.sendall(b"\4" + bytes([down]) + b"\0\0" + symbol.to_bytes(4, "big"))

    def type(self, text: str) -> None:
        """Types a text of small letters and digits over what the field with the focus holds."""
        self.press(CONTROL, ord("a"))
        for character in text:
            self.press(ord(character))

    def wait_end(self) -> bool:
        """Waits for the server's end. @return whether it said nothing more"""
        return self._stream.read() == b""
