"""The board's agent: commands run inside the board, over a port of their own."""

import secrets
import socket
import time
from dataclasses import dataclass
from pathlib import Path

from .host import BoardError
from .qmp import connect

# What the agent may need beyond a command's own time: it kills, and sends what was written.
GRACE_SECONDS = 10


@dataclass(frozen=True)
class Result:
    """What a request came to: a command's exit status and all that it wrote, or errno and data."""

    status: int
    output: bytes

    @property
    def text(self) -> str:
        return self.output.decode(errors="replace")


class Agent:
    """One connection to the agent, which serves one at a time."""

    def __init__(self, path: Path, timeout: float = 30) -> None:
        self._socket = connect(path, timeout)
        self._received = b""

    def close(self) -> None:
        self._socket.close()

    def ask(self, verb: str, body: bytes, seconds: float) -> Result:
        """
        Have one request served, in at most that many seconds; board_agent.cpp has the verbs.

        @raise BoardError when the board does not answer at all
        """
        identity = secrets.token_hex(8)
        self._deadline = time.monotonic() + seconds + GRACE_SECONDS
        self._socket.settimeout(seconds + GRACE_SECONDS)
        try:
            self._socket.sendall(f"{identity} {verb} {seconds:g} {len(body)}\n".encode() + body)
        except OSError as error:
            raise BoardError(f"the board does not listen: {error}") from error
        # An answer that an earlier, interrupted host did not take comes first.
        self._until(lambda: identity.encode() + b" " in self._received)
        self._received = self._received[self._received.index(identity.encode()):]
        self._until(lambda: b"\n" in self._received)
        header, _, self._received = self._received.partition(b"\n")
        _, status, length = header.split()
        self._until(lambda: len(self._received) >= int(length))
        output, self._received = self._received[:int(length)], self._received[int(length):]
        return Result(int(status), output)

    def _until(self, arrived) -> None:
        while not arrived():
            left = self._deadline - time.monotonic()
            try:
                self._socket.settimeout(max(left, 0.001))
                data = self._socket.recv(65536)
            except socket.timeout as error:
                raise BoardError("the board does not answer") from error
            except OSError as error:
                raise BoardError(f"the board has ended: {error}") from error
            if not data:
                raise BoardError("the board has ended")
            self._received += data
