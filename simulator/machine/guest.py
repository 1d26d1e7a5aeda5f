"""Client of the board's agent, which runs commands and reads and writes files on the board."""

import os
import re
import secrets
import time
from pathlib import Path
from typing import NamedTuple

from host.errors import BoardError
from host.sockets import connect

SECONDS = 30  # default timeout
# Time that the agent needs after the timeout to kill a command and send its output.
GRACE_SECONDS = 10


class Result(NamedTuple):
    """The result of a command."""

    status: int  # exit status, 128 + N for signal N, or 124 after the timeout
    output: bytes

    @property
    def text(self) -> str:
        return self.output.decode(errors="replace")


class Guest:
    """
    Runs commands and handles files inside a board, as root.

    The agent serves one connection at a time. Timeouts are by the board's clock, which slows down
    on a busy host. All methods raise a BoardError when the board does not answer.
    """

    def __init__(self, path: Path) -> None:
        """Connect to the agent's socket."""
        self._socket = connect(path)

    def close(self) -> None:
        self._socket.close()

    def run(self, commands: str, seconds: float = SECONDS) -> Result:
        """Run shell commands. The agent kills them when the connection is closed.
        @return exit status and output, also after a failure"""
        return self._ask("run", commands.encode(), seconds)

    def sh(self, commands: str, seconds: float = SECONDS) -> str:
        """
        Run shell commands that must succeed.

        @return their output
        @raise BoardError with their output, when they fail or take too long
        """
        done = self.run(commands, seconds)
        if done.status:
            raise BoardError(f"exit status {done.status} on the board: {commands.strip()}: "
                             f"{done.text}")
        return done.text

    def read(self, path: str) -> bytes:
        """
        Return the content of a file on the board.

        @raise OSError (FileNotFoundError, ...) with the board's errno
        """
        return self._served("read", path, b"", SECONDS)

    def write(self, path: str, data: bytes) -> None:
        """Write a file on the board. @raise OSError with the board's errno"""
        self._served("write", path, b"\0" + data, SECONDS)

    def ask(self, socket: str, question: bytes, seconds: float) -> bytes:
        """
        Send a question to a Unix socket on the board.

        @return the data received until the other end closed the connection
        @raise OSError with the board's errno
        """
        return self._served("ask", socket, b"\0" + question, seconds)

    def _served(self, verb: str, path: str, body: bytes, seconds: float) -> bytes:
        done = self._ask(verb, path.encode() + body, seconds)
        if done.status:
            raise OSError(done.status, f"on the board: {os.strerror(done.status)}", path)
        return done.output

    def _ask(self, verb: str, body: bytes, seconds: float) -> Result:
        """Send a request and wait for the reply; boardagent.cpp lists the verbs."""
        self._identity, self._received = secrets.token_hex(8), b""
        request = f"{self._identity} {verb} {seconds:g} {len(body)}\n".encode() + body
        try:
            self._socket.settimeout(seconds + GRACE_SECONDS)
            self._socket.sendall(request)
            return self._receive(seconds + GRACE_SECONDS)
        except OSError as error:
            raise BoardError(f"the board does not answer: {error}") from error

    def _receive(self, seconds: float) -> Result:
        """Wait for the reply to the last request. Ignore replies to interrupted requests of other
        processes, which may be received first."""
        deadline = time.monotonic() + seconds
        while True:
            header = re.search(rf"{self._identity} (\d+) (\d+)\n".encode(), self._received)
            if header and len(self._received) - header.end() >= int(header[2]):
                return Result(int(header[1]), self._received[header.end():])
            self._socket.settimeout(max(deadline - time.monotonic(), 0.001))
            data = self._socket.recv(1 << 20)
            if not data:
                raise BoardError("the board has stopped")
            self._received += data
