"""A modem's AT port, on a pseudo-terminal of the host."""

import os
import select
import threading
import tty
from collections.abc import Iterable


class Modem:
    """Answers each command line with the same chunks; without chunks it sends nothing.

    @param chunks data to send, each with its own write
    @param pause delay before each chunk, in seconds
    """

    def __init__(self, chunks: Iterable[bytes] = (), pause: float = 0.0) -> None:
        self._chunks = list(chunks)
        self._pause = pause
        self._master, self._slave = os.openpty()
        tty.setraw(self._slave)
        self.path = os.ttyname(self._slave)
        self.heard = b""
        self._closed = threading.Event()
        self._thread = threading.Thread(target=self._serve)
        self._thread.start()

    def _serve(self) -> None:
        while not self._closed.is_set():
            if select.select([self._master], [], [], 0.02)[0]:
                self.heard += os.read(self._master, 1024)
                for chunk in self._chunks if self.heard.endswith(b"\r") else ():
                    self._closed.wait(self._pause)
                    os.write(self._master, chunk)
        os.close(self._master)
        os.close(self._slave)

    def close(self) -> None:
        """Hang up, as when the dongle is unplugged."""
        self._closed.set()
        self._thread.join()
