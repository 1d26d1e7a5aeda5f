"""Client of the board's agent, which runs commands and reads and writes files on the board."""

import secrets
import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

from host.errors import BoardError
from host.sockets import connect

CONNECT_SECONDS = 30
# Additional time for the agent to kill a command and to send its output.
GRACE_SECONDS = 10
TOOK_TOO_LONG = 124  # status of a command that the agent killed after its timeout


@dataclass(frozen=True)
class Result:
    """
    The result of a request.

    @param status  a command's exit status, 128 + N for signal N; for the other verbs 0 or errno
    @param output  output of the command, or the data
    @param late  true when the command was killed after its timeout
    """

    status: int
    output: bytes
    late: bool = False

    @property
    def text(self) -> str:
        return self.output.decode(errors="replace")


class Agent:
    """A connection to the agent, which serves one connection at a time."""

    def __init__(self, path: Path) -> None:
        try:
            self._socket = connect(path, CONNECT_SECONDS)
        except OSError as error:
            raise BoardError(f"the board does not answer: {error.strerror}") from error
        self._received = b""
        self._deadline = 0.0

    def close(self) -> None:
        self._socket.close()

    def ask(self, verb: str, body: bytes, seconds: float) -> Result:
        """
        Send a request and wait for the reply; boardagent.cpp lists the verbs.

        @param seconds  timeout by the board's clock, which slows down on a busy host
        @raise BoardError when there is no reply
        """
        identity = secrets.token_hex(8)
        started = time.monotonic()
        self._deadline = started + seconds + GRACE_SECONDS
        self._socket.settimeout(seconds + GRACE_SECONDS)
        try:
            self._socket.sendall(f"{identity} {verb} {seconds:g} {len(body)}\n".encode() + body)
            # A reply to an earlier, interrupted process of the host may come first.
            self._until(lambda: identity.encode() + b" " in self._received)
            self._received = self._received[self._received.index(identity.encode()):]
            self._until(lambda: b"\n" in self._received)
            header, _, self._received = self._received.partition(b"\n")
            _, status, length = header.split()
            self._until(lambda: len(self._received) >= int(length))
        except TimeoutError as error:
            raise BoardError(_silence(verb, seconds)) from error
        except OSError as error:
            raise BoardError(f"the board has ended: {error.strerror}") from error
        output, self._received = self._received[:int(length)], self._received[int(length):]
        # A command may exit with this status by itself, but then before the timeout: the board's
        # clock never runs faster than the host's.
        late = (verb == "run" and int(status) == TOOK_TOO_LONG
                and time.monotonic() - started >= seconds)
        return Result(int(status), output, late)

    def _until(self, arrived: Callable[[], bool]) -> None:
        while not arrived():
            self._socket.settimeout(max(self._deadline - time.monotonic(), 0.001))
            data = self._socket.recv(65536)
            if not data:
                raise BoardError("the board has ended")
            self._received += data


def _silence(verb: str, seconds: float) -> str:
    """Return the error message for a reply that did not arrive in time."""
    if verb == "run":
        return (f"the command takes longer than {seconds:g} s, or an earlier one still runs; "
                "the board lives on")
    return "the board does not answer; it may still be at an earlier command"
