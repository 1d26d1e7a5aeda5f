"""Client of QEMU's control socket (QMP): touches, keys, screenshots, saved machine states."""

import json
import shlex
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any

from host.errors import BoardError
from host.sockets import connect

CONNECT_SECONDS = 30
ANSWER_SECONDS = 30
LOOK_SECONDS = 0.5  # interval of the checks for a failed start of QEMU

AXIS_MAXIMUM = 32767  # largest coordinate of QEMU's absolute pointer; the smallest is 0


class Qmp:
    """A connection to QEMU, which serves one connection at a time."""

    def __init__(self, path: Path, alive: Callable[[], bool]) -> None:
        """Connect to QEMU. @param alive  returns true while QEMU runs"""
        deadline = time.monotonic() + CONNECT_SECONDS
        while True:
            try:
                self._socket = connect(path, LOOK_SECONDS)
                break
            except OSError as error:
                if not alive() or time.monotonic() > deadline:
                    raise BoardError("QEMU does not answer" if alive() else
                                     "QEMU has exited during its start") from error
        self._socket.settimeout(ANSWER_SECONDS)
        self._stream = self._socket.makefile("rb")
        self._reply()
        self.command("qmp_capabilities")

    def close(self) -> None:
        self._stream.close()
        self._socket.close()

    def _reply(self) -> dict[str, Any]:
        try:
            line = self._stream.readline()
        except OSError as error:
            raise BoardError(f"QEMU does not answer: {error}") from error
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
        except OSError as error:
            raise BoardError(f"QEMU has exited: {error}") from error
        while True:
            reply = self._reply()
            if "error" in reply:
                raise BoardError(f"QEMU: {name}: {reply['error']['desc']}")
            if "return" in reply:
                return reply["return"]

    def point(self, x: int, y: int, size: tuple[int, int]) -> None:
        """
        Move the pointer to a pixel of a panel of that size.

        @raise ValueError when the panel has no such pixel
        """
        if not (0 <= x < size[0] and 0 <= y < size[1]):
            raise ValueError(f"a panel of {size[0]}x{size[1]} has no pixel {x}, {y}")
        self.command("input-send-event", events=[
            {"type": "abs", "data": {"axis": axis, "value": round(
                pixel * AXIS_MAXIMUM / (pixels - 1))}}
            for axis, pixel, pixels in (("x", x, size[0]), ("y", y, size[1]))])

    def button(self, down: bool) -> None:
        self.command("input-send-event",
                     events=[{"type": "btn", "data": {"button": "left", "down": down}}])

    def keys(self, codes: list[str]) -> None:
        """Press keys in this order and release them in reverse order."""
        for down, order in ((True, codes), (False, codes[::-1])):
            self.command("input-send-event", events=[
                {"type": "key", "data": {"down": down, "key": {"type": "qcode", "data": code}}}
                for code in order])

    def picture(self, file: Path) -> None:
        self.command("screendump", filename=str(file.absolute()), format="png")

    def serve_debugger(self, port: int) -> None:
        """Let a debugger connect to the machine on a TCP port of the loopback interface."""
        said = self.command("human-monitor-command",
                            **{"command-line": f"gdbserver tcp:127.0.0.1:{port}"})
        if "Waiting" not in said:
            raise BoardError(f"QEMU: {said.strip()}")

    def save(self, file: Path) -> None:
        """Stop the machine and write its complete state to a file."""
        self.command("stop")
        self.command("migrate", uri="exec:cat > " + shlex.quote(str(file)))
        while (status := self.command("query-migrate").get("status")) != "completed":
            if status in ("failed", "cancelled"):
                raise BoardError("the machine's state could not be saved (disk full?)")
            time.sleep(0.05)

    def resume(self, timeout: float = 60) -> None:
        """Wait until the machine has read its saved state, and resume it."""
        deadline = time.monotonic() + timeout
        while self.command("query-status")["status"] == "inmigrate":
            if time.monotonic() > deadline:
                raise BoardError("timeout: QEMU has not read the saved machine state")
            time.sleep(0.01)
        self.command("cont")
