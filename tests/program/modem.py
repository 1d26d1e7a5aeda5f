"""A modem's AT port, on a pseudo-terminal of the host."""

import os
import select
import threading
import tty


class Modem:
    """Answers each command line with the same bytes, or not at all.

    @param answer bytes to send; none if empty
    @param pause delay before the answer, in seconds
    """

    def __init__(self, answer: bytes = b"", pause: float = 0.0) -> None:
        self._answer = answer
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
                if self.heard.endswith(b"\r"):
                    self._closed.wait(self._pause)
                    os.write(self._master, self._answer)
        os.close(self._master)
        os.close(self._slave)

    def close(self) -> None:
        """Hang up."""
        self._closed.set()
        self._thread.join()
