"""Client of the board's agent, which runs commands and reads and writes files on the board."""

import re
import secrets
import time
from dataclasses import dataclass
from pathlib import Path

from host.errors import BoardError
from host.sockets import connect

CONNECT_SECONDS = 30
# Time that the agent needs after the timeout to kill a command and send its output.
GRACE_SECONDS = 10
TOOK_TOO_LONG = 124  # status of a command that the agent killed after its timeout


@dataclass(frozen=True)
class Result:
    """
    The result of a request.

    @param status  exit status of a command, 128 + N for signal N; for other verbs 0 or errno
    @param output  output of a command, or the requested data
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
        request = f"{identity} {verb} {seconds:g} {len(body)}\n".encode() + body
        try:
            self._socket.settimeout(seconds + GRACE_SECONDS)
            self._socket.sendall(request)
            status, output = self._receive(identity, started + seconds + GRACE_SECONDS)
        except TimeoutError as error:
            raise BoardError(f"the board has not answered within {seconds:g} s; it may still run "
                             "an earlier command") from error
        except OSError as error:
            raise BoardError(f"the board has stopped: {error.strerror}") from error
        # A command may also exit with this status by itself. Then less time has passed than the
        # timeout, because the board's clock never runs faster than the host's.
        late = (verb == "run" and status == TOOK_TOO_LONG
                and time.monotonic() - started >= seconds)
        return Result(status, output, late)

    def _receive(self, identity: str, deadline: float) -> tuple[int, bytes]:
        """Wait for the reply with this ID. Ignore replies to interrupted requests of other
        processes, which may be received first. @return status and data"""
        received = b""
        while True:
            header = re.search(rf"{identity} (\d+) (\d+)\n".encode(), received)
            if header and len(received) - header.end() >= int(header[2]):
                return int(header[1]), received[header.end():]
            self._socket.settimeout(max(deadline - time.monotonic(), 0.001))
            data = self._socket.recv(1 << 20)
            if not data:
                raise BoardError("the board has stopped")
            received += data
