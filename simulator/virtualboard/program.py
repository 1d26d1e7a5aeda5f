"""Starts, queries and stops the program's service on a simulated board."""

import json
import signal
from collections.abc import Mapping
from typing import Any

from machine.guest import SECONDS, Guest
from panel.constants import CHECK_SECONDS

UNIT = "corvanta.service"
PID = "/run/program/pid"
STATUS = "/run/program/status"
ENVIRONMENT = "/run/program/environment"
INSPECTOR = "/run/program/inspector"
KEEP_UP_SECONDS = 2.0
START_SECONDS = 60
STOP_SECONDS = 30
CHECK_AGE = 16  # run time of pppd in seconds after which Connect's link check is complete
SIGNALLED = 128  # 128 + N is the exit status of a program that signal N has killed


class Program:
    """The program under test: the service of the installed package."""

    def __init__(self, guest: Guest) -> None:
        self._guest = guest

    def start(self, environment: Mapping[str, str] | None = None) -> None:
        """
        Start the program and wait until its process runs; its window may not exist yet.

        @param environment  variables to add to the program's environment; values without quotes
        @raise BoardError when the service does not start
        """
        lines = "".join(f"{key}={value}\n" for key, value in (environment or {}).items())
        self._guest.write(ENVIRONMENT, lines.encode())
        self._guest.sh(f"systemctl start {UNIT}", START_SECONDS)

    def pid(self) -> int | None:
        """Return the program's process id on the board, or None if it does not run."""
        done = self._guest.run(f"[ ! -e {STATUS} ] && cat {PID} 2>/dev/null")
        return int(done.text) if done.status == 0 else None

    def load_address(self) -> str:
        """Return the load address of the running program in hexadecimal."""
        return self._guest.sh(f"grep -m 1 corvanta /proc/$(<{PID})/maps").partition("-")[0]

    def status(self) -> int | None:
        """Return the program's exit status, 128 + N for signal N; None until it has exited."""
        try:
            how, what = self._guest.read(STATUS).decode().split()  # "exited 0", "killed TERM"
        except FileNotFoundError:
            return None
        return int(what) if how == "exited" else SIGNALLED + signal.Signals[f"SIG{what}"]

    def log(self) -> str:
        """Return the program's output since its last start, from the journal."""
        return self._guest.sh(
            f"journalctl --quiet --output=cat --identifier=corvanta "
            f"_SYSTEMD_INVOCATION_ID=$(systemctl show --property=InvocationID --value {UNIT})")

    def wait_end(self, seconds: float) -> int | None:
        """
        Wait for the program to exit by itself.

        @return its exit status
        @raise BoardError after the timeout
        """
        self._guest.sh(f"until [ -e {STATUS} ]; do sleep 0.05; done", seconds)
        return self.status()

    def stop(self) -> int | None:
        """
        Stop the service: SIGTERM for the program, then SIGKILL if it does not exit.

        @return the program's exit status, or None if it has never run
        """
        self._guest.sh(f"systemctl stop {UNIT}", STOP_SECONDS)
        return self.status()

    def await_check(self) -> None:
        """
        Wait until Connect's link check, 15 s after the start of pppd, is over.

        The panel may show the link earlier, because the pppd hooks signal the program. If the link
        goes down before the check, the check reports a failed connection attempt.
        """
        # If pppd does not run, the comparison fails and the loop ends. Sleep for the remaining
        # time, because each run of ps uses 0.5 s of the host's CPU time.
        self._guest.sh("while age=$(ps -o etimes= -C pppd | sort -n | tail -n 1); "
                       f"[ \"$age\" -le {CHECK_AGE} ] 2>/dev/null; "
                       f"do sleep $(({CHECK_AGE} + 1 - age)); done", CHECK_SECONDS)

    def inspect(self, line: str) -> dict[str, Any]:
        """
        Send a request to the inspector in the program; inspector.cpp lists the requests.

        @raise OSError while the program does not answer
        """
        reply = self._guest.ask(INSPECTOR, f"{line}\n".encode(), SECONDS)
        if not reply.endswith(b"\n"):
            raise ConnectionError(f"incomplete reply to {line!r}: {reply!r}")
        answer: dict[str, Any] = json.loads(reply)
        return answer

    def keep_up(self) -> None:
        """Wait until the board and a running program have handled their input, at most
        KEEP_UP_SECONDS."""
        try:
            self._guest.ask(INSPECTOR, b"served\n", KEEP_UP_SECONDS)
        except OSError:
            pass  # The program does not run, but the board has answered.
