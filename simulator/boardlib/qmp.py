"""QEMU's control socket: commands, touches and keys, pictures, saving a machine's state."""

import json
import os
import shlex
import socket
import time
from pathlib import Path
from typing import Any

from .host import BoardError

AXIS_MAXIMUM = 32767  # of QEMU's absolute pointer, from 0


def connect(path: Path, timeout: float) -> socket.socket:
    """
    Connect to a Unix socket, also one that is still being made.

    The path goes through a descriptor of its folder: a socket's name is limited to 107 bytes.
    """
    deadline = time.monotonic() + timeout
    folder = os.open(path.parent, os.O_PATH | os.O_CLOEXEC)
    try:
        while True:
            client = socket.socket(socket.AF_UNIX)
            try:
                client.connect(f"/proc/self/fd/{folder}/{path.name}")
                return client
            except OSError as error:
                client.close()
                if time.monotonic() > deadline:
                    raise BoardError(
                        f"the board does not answer on {path.name}: {error}") from error
            time.sleep(0.01)
    finally:
        os.close(folder)


def position(pixel: int, pixels: int) -> int:
    """Where the pointer must be on an axis for the touch to land on that pixel."""
    if not 0 <= pixel < pixels:
        raise ValueError(f"pixel {pixel} is not on a panel of {pixels} pixels")
    return (pixel * AXIS_MAXIMUM + (pixels - 1) // 2) // (pixels - 1)


class Qmp:
    """One connection; QEMU serves one at a time."""

    def __init__(self, path: Path, timeout: float = 30) -> None:
        self._socket = connect(path, timeout)
        self._socket.settimeout(timeout)
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
            raise BoardError("QEMU has ended")
        return json.loads(line)

    def command(self, name: str, **arguments: Any) -> Any:
        request = json.dumps({"execute": name, "arguments": arguments}) + "\n"
        try:
            self._socket.sendall(request.encode())
        except OSError as error:
            raise BoardError(f"QEMU has ended: {error}") from error
        while True:
            reply = self._reply()
            if "error" in reply:
                raise BoardError(f"QEMU: {name}: {reply['error']['desc']}")
            if "return" in reply:
                return reply["return"]

    def point(self, x: int, y: int, size: tuple[int, int]) -> None:
        events = [{"type": "abs", "data": {"axis": axis, "value": position(pixel, pixels)}}
                  for axis, pixel, pixels in (("x", x, size[0]), ("y", y, size[1]))]
        self.command("input-send-event", events=events)

    def button(self, down: bool) -> None:
        self.command("input-send-event",
                     events=[{"type": "btn", "data": {"button": "left", "down": down}}])

    def keys(self, codes: list[str]) -> None:
        """Press keys in this order and release them in the reverse one."""
        for down, order in ((True, codes), (False, codes[::-1])):
            self.command("input-send-event", events=[
                {"type": "key", "data": {"down": down, "key": {"type": "qcode", "data": code}}}
                for code in order])

    def picture(self, file: Path) -> None:
        self.command("screendump", filename=str(file.absolute()), format="png")

    def save(self, file: Path) -> None:
        """Stop the machine and write its whole state."""
        self.command("stop")
        self.command("migrate", uri="exec:cat > " + shlex.quote(str(file)))
        while (status := self.command("query-migrate").get("status")) != "completed":
            if status in ("failed", "cancelled"):
                raise BoardError("the machine's state could not be saved (disk full?)")
            time.sleep(0.05)

    def resume(self, timeout: float = 60) -> None:
        """Let a machine run on whose state is still being read."""
        deadline = time.monotonic() + timeout
        while self.command("query-status")["status"] == "inmigrate":
            if time.monotonic() > deadline:
                raise BoardError("the saved machine state is not read to its end")
            time.sleep(0.01)
        self.command("cont")
