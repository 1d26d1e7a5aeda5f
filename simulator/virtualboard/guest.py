"""Commands and files inside a board."""

import contextlib
import os
import secrets
import time
from collections.abc import Callable

from host.errors import BoardError
from machine.agent import Result
from machine.connections import Connections

SECONDS = 30  # default timeout
LOOK_SECONDS = 0.05  # interval of the checks whether a command has exited


class Guest:
    """Runs commands and handles files inside a board, as root."""

    def __init__(self, connections: Connections) -> None:
        self._connections = connections

    def run(self, commands: str, seconds: float = SECONDS) -> Result:
        """Run shell commands. @return exit status and output, also after a failure"""
        return self._connections.agent.ask("run", commands.encode(), seconds)

    def sh(self, commands: str, seconds: float = SECONDS) -> str:
        """
        Run shell commands that must succeed.

        @return their output
        @raise BoardError with their output, when they fail or take too long
        """
        done = self.run(commands, seconds)
        if done.status:
            reason = f"timeout after {seconds:g} s" if done.late else f"exit status {done.status}"
            raise BoardError(f"{reason} on the board: {commands.strip()}: {done.text}")
        return done.text

    def follow(self, commands: str, seconds: float, write: Callable[[bytes], object]) -> int:
        """
        Run shell commands that Ctrl-C may interrupt.

        An exception during this call, such as KeyboardInterrupt, kills the commands. The timeout is
        by the host's clock, because the board's clock may be slower.

        @param write  called with the output of the commands, even if they were killed
        @return exit status of the commands
        @raise BoardError after the timeout
        """
        base = f"/run/command-{secrets.token_hex(4)}"
        self.write(f"{base}.commands", commands.encode())
        group = self.sh(f"setsid bash -c 'bash {base}.commands; echo $? >{base}.status' "
                        f"</dev/null >{base}.out 2>&1 & echo $!").strip()
        try:
            return self._await_status(f"{base}.status", seconds)
        finally:
            self.run(f"kill -KILL -- -{group} 2>/dev/null")
            write(self.read(f"{base}.out"))
            self.run(f"rm -f {base}.*")

    def _await_status(self, path: str, seconds: float) -> int:
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            with contextlib.suppress(FileNotFoundError):
                if status := self.read(path):
                    return int(status)
            time.sleep(LOOK_SECONDS)
        raise BoardError(f"the command was killed after {seconds:g} s")

    def read(self, path: str) -> bytes:
        """
        Return the content of a file on the board.

        @raise OSError (FileNotFoundError, ...) with the board's errno
        """
        return self._served("read", path, b"", SECONDS)

    def write(self, path: str, data: bytes) -> None:
        """Write a file on the board atomically. @raise OSError with the board's errno"""
        self._served("write", path, b"\0" + data, SECONDS)

    def ask(self, socket: str, question: bytes, seconds: float) -> bytes:
        """
        Send a question to a Unix socket on the board.

        @return the data received until the other end closed the connection
        @raise OSError with the board's errno
        """
        return self._served("ask", socket, b"\0" + question, seconds)

    def _served(self, verb: str, path: str, body: bytes, seconds: float) -> bytes:
        done = self._connections.agent.ask(verb, path.encode() + body, seconds)
        if done.status:
            raise OSError(done.status, f"on the board: {os.strerror(done.status)}", path)
        return done.output
