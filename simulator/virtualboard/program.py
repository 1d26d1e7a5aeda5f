"""The program on a simulated board: started, asked for its state, ended."""

import json
import shlex
from collections.abc import Mapping
from typing import Any

from host.errors import BoardError
from image import appdisk
from virtualboard.guest import SECONDS, Guest

PID = "/run/program/pid"
STATUS = "/run/program/status"
LOG = "/run/program/program.log"
INSPECTOR = "/run/program/inspector"
KEEP_UP_SECONDS = 2.0
STOP_SECONDS = 5


class Program:
    """The program under test, which runs once at a time on a board."""

    def __init__(self, guest: Guest) -> None:
        self._guest = guest

    def start(self, environment: Mapping[str, str] | None = None) -> None:
        """
        Start the program. It runs when this returns, but may not have a window yet.

        @param environment  what is added to the program's environment
        @raise BoardError when it runs already or is not built
        """
        if self.running():
            raise BoardError("the program runs already")
        if self._guest.run("test -x /app/corvanta").status:
            raise BoardError("not everything is built for the board: run tools/build-board; "
                             "missing: " + ", ".join(appdisk.missing()))
        names = shlex.join(f"{key}={value}" for key, value in (environment or {}).items())
        self._guest.sh(f"rm -f {PID} {STATUS}; setsid program {names} </dev/null >>{LOG} 2>&1 & "
                       f"until [ -e {PID} ]; do sleep 0.02; done")

    def pid(self) -> int | None:
        """The program's process id on the board; None when it has ended or never ran."""
        done = self._guest.run(f"[ ! -e {STATUS} ] && cat {PID} 2>/dev/null")
        return int(done.text) if done.status == 0 else None

    def load_address(self) -> int:
        """Where the board has loaded the program. @raise BoardError when it does not run"""
        pid = self.pid()
        if pid is None:
            raise BoardError("the program does not run: simulator/board panel start")
        maps = self._guest.read(f"/proc/{pid}/maps").decode()
        first = next(line for line in maps.splitlines() if line.endswith("/app/corvanta"))
        return int(first.partition("-")[0], 16)

    def running(self) -> bool:
        return self.pid() is not None

    def status(self) -> int | None:
        """The program's exit status, 128 + N for signal N; None while it runs and before."""
        try:
            return int(self._guest.read(STATUS))
        except FileNotFoundError:
            return None

    def wait_end(self, seconds: float) -> int:
        """
        Wait for the program to end by itself.

        @return its exit status
        @raise BoardError when it takes longer
        """
        self._guest.sh(f"until [ -e {STATUS} ]; do sleep 0.05; done", seconds)
        return int(self._guest.read(STATUS))

    def stop(self) -> int | None:
        """
        End the program by SIGTERM, and by SIGKILL when that does not do.

        @return its exit status; None when it never ran
        """
        pid = self.pid()
        if pid is None:
            return self.status()
        self._guest.sh(f"kill {pid}; for i in $(seq {STOP_SECONDS * 20}); do "
                       f"[ -e {STATUS} ] && exit; sleep 0.05; done; kill -KILL {pid}")
        return self.wait_end(STOP_SECONDS)

    def kill(self) -> int | None:
        """End the program by SIGKILL. @return as stop()"""
        pid = self.pid()
        if pid is None:
            return self.status()
        self._guest.sh(f"kill -KILL {pid}")
        return self.wait_end(STOP_SECONDS)

    def inspect(self, line: str) -> dict[str, Any]:
        """
        Ask the inspector, inside the program; inspector.h has the requests and replies.

        @raise OSError while the program does not answer
        """
        reply = self._guest.ask(INSPECTOR, f"{line}\n".encode(), SECONDS)
        if not reply.endswith(b"\n"):
            raise ConnectionError(f"no whole reply to {line!r}: {reply!r}")
        answer: dict[str, Any] = json.loads(reply)
        return answer

    def keep_up(self) -> None:
        """Wait, within reason, until the board has served its input, and the program if it runs."""
        try:
            self._guest.ask(INSPECTOR, b"served\n", KEEP_UP_SECONDS)
        except OSError:
            pass  # No program answers: the board itself does.
