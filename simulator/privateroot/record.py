"""The record of a run: the program's calls of external commands, its output and exit status."""

from __future__ import annotations

from collections.abc import Callable
from typing import NamedTuple

from privateroot.files import RootFiles
from privateroot.waiting import RootError, wait_until

# Beginnings of lines that every start prints, from the platform plugin and about the chip.
USUAL_OUTPUT = ("QVncServer created on port", "RDID:", "langid", "load translator")


class Call(NamedTuple):
    """One call of a program of the board."""

    time: float  # seconds since the epoch
    name: str
    arguments: str

    def __str__(self) -> str:
        return f"{self.name} {self.arguments}".rstrip()


class RootRecord(RootFiles):
    """A private root's files, with the output of the program and the log of its stand-ins."""

    def calls(self, *names: str) -> list[Call]:
        """Return the calls of the board's programs so far, in order.

        @param names names of the programs; none for all"""
        calls = []
        for line in self.run.joinpath("calls").read_text().splitlines():
            moment, name, *rest = line.split(" ", 2)
            if not names or name in names:
                calls.append(Call(float(moment), name, "".join(rest).rstrip()))
        return calls

    def commands(self, since: int = 0) -> list[str]:
        """Return the calls as command lines, except for searches for a device node or the dongle.

        @param since number of calls to skip"""
        return [str(call) for call in self.calls()[since:] if call.name not in ("ls", "usb")]

    def wait_calls(self, name: str, count: int, timeout: float = 5.0) -> Call:
        """Wait until a program has been called `count` times. @return the last of these calls"""
        self.wait_until(lambda: len(self.calls(name)) >= count, timeout,
                        f"call {count} of {name}")
        return self.calls(name)[count - 1]

    def exit_status(self) -> int | None:
        """Return the program's exit status as a shell reports it, or None while it runs."""
        status = self.read("/testrun/status")
        return int(status) if status else None

    def wait_exit(self, timeout: float = 5.0) -> int | None:
        self.wait_until(lambda: self.exit_status() is not None, timeout, "the program has exited")
        return self.exit_status()

    def errors(self) -> list[str]:
        """Return the lines on standard error, except for those that every start prints."""
        lines = self.run.joinpath("stderr").read_text(errors="replace").splitlines()
        return [line for line in lines if not line.startswith(USUAL_OUTPUT)]

    def report(self) -> str:
        """Return the exit status, the last calls and the last errors, for a failure message."""
        calls = "\n".join(f"  {call}" for call in self.calls()[-20:])
        errors = "\n".join("  " + line for line in self.errors()[-20:])
        return f"exit status {self.exit_status()}\nlast calls:\n{calls}\nerrors:\n{errors}"

    def wait_until(self, condition: Callable[[], object], timeout: float, what: str) -> None:
        """Wait as wait_until() does. @raise RootError with report() after the timeout"""
        try:
            wait_until(condition, timeout, what)
        except AssertionError as error:
            raise RootError(f"{error}\n{self.report()}") from None
