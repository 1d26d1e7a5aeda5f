"""Client of QEMU's control socket (QMP): commands, and saved machine states."""

import json
import shlex
import time
from contextlib import suppress
from pathlib import Path
from typing import Any

from host.errors import BoardError
from host.sockets import connect

CONNECT_SECONDS = 15
ANSWER_SECONDS = 30


class Qmp:
    """A connection to QEMU, which serves one connection at a time."""

    def __init__(self, path: Path) -> None:
        """Connect to QEMU's socket."""
        try:
            self._socket = connect(path, CONNECT_SECONDS)
        except OSError as error:
            raise BoardError(f"QEMU does not answer: {error.strerror}") from error
        self._socket.settimeout(ANSWER_SECONDS)
        self._stream = self._socket.makefile("rb")
        self._reply()
        self.command("qmp_capabilities")

    def close(self) -> None:
        self._stream.close()
        self._socket.close()

    def _reply(self) -> dict[str, Any]:
        line = self._stream.readline()
        if not line:
            raise BoardError("QEMU has exited")
        reply: dict[str, Any] = json.loads(line)
        return reply

    def command(self, name: str, **arguments: Any) -> Any:
        """
        Run a command; ignore events.

        @param arguments  as in QEMU's QMP reference
        @return the command's result
        @raise BoardError when QEMU answers with an error
        """
        request = json.dumps({"execute": name, "arguments": arguments}) + "\n"
        try:
            self._socket.sendall(request.encode())
            while "return" not in (reply := self._reply()):
                if "error" in reply:
                    raise BoardError(f"QEMU: {name}: {reply['error']['desc']}")
        except OSError as error:
            raise BoardError(f"QEMU does not answer: {error}") from error
        return reply["return"]

    def save(self, file: Path) -> None:
        """Stop the machine and write its complete state to a file."""
        self.command("stop")
        self.command("migrate", uri="exec:cat > " + shlex.quote(str(file)))
        while (status := self.command("query-migrate").get("status")) != "completed":
            if status in ("failed", "cancelled"):
                raise BoardError("the machine's state could not be saved (disk full?)")
            time.sleep(0.05)

    def quit(self) -> None:
        """Kill the machine, as in a power cut, and wait until QEMU has exited."""
        self.command("quit")
        with suppress(ConnectionResetError):  # QEMU may close the socket before it has read all.
            while self._stream.readline():
                pass

    def resume(self) -> None:
        """Wait until the machine has read its saved state, and resume it."""
        while self.command("query-status")["status"] == "inmigrate":
            time.sleep(0.01)
        self.command("cont")
