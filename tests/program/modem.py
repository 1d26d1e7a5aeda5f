"""A modem's AT port, on a pseudo-terminal of this machine."""

from __future__ import annotations

import os
import select
import termios
import threading
import tty
from collections.abc import Iterable


class Modem:
    """Answers the first whole command line with the given chunks.

    @param chunks what is sent, each in a write of its own
    @param pause seconds before the first chunk and between chunks
    """

    def __init__(self, chunks: Iterable[bytes] = (), pause: float = 0.0) -> None:
        self._chunks = list(chunks)
        self._pause = pause
        self._master, self._slave = os.openpty()
        tty.setraw(self._slave, termios.TCSANOW)
        self._end, self._wake = os.pipe()
        self.path = os.ttyname(self._slave)
        self.heard = b""
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def _serve(self) -> None:
        while not self._ended(None):
            self.heard += os.read(self._master, 1024)
            if self.heard.endswith(b"\r"):
                for chunk in self._chunks:
                    if self._ended(self._pause):
                        return
                    os.write(self._master, chunk)

    def _ended(self, timeout: float | None) -> bool:
        """Waits for the program's bytes, or only for `timeout`; true when close() was called."""
        watched = [self._end] if timeout is not None else [self._end, self._master]
        return self._end in select.select(watched, [], [], timeout)[0]

    def drop(self) -> None:
        """The dongle is pulled: the port's other end is gone."""
        self.close()

    def close(self) -> None:
        if self._thread.is_alive():
            os.write(self._wake, b"x")
            self._thread.join()
        for descriptor in (self._master, self._slave, self._end, self._wake):
            if descriptor != -1:
                os.close(descriptor)
        self._master = self._slave = self._end = self._wake = -1
