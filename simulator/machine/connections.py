"""The host's connections to a machine: QEMU's control socket and the board's agent."""

from collections.abc import Callable
from pathlib import Path

from host.errors import BoardError
from machine import qemu
from machine.agent import Agent
from machine.qmp import Qmp


class Connections:
    """The two connections to one machine. Each end serves one process at a time."""

    def __init__(self) -> None:
        self._qmp: Qmp | None = None
        self._agent: Agent | None = None

    def open(self, directory: Path, alive: Callable[[], bool]) -> None:
        """
        Connect to the machine in a run's directory.

        @param alive  returns true while QEMU runs and its sockets may still appear
        @raise BoardError with QEMU's output if QEMU or the agent does not answer
        """
        try:
            self._qmp = Qmp(directory / qemu.QMP_SOCKET, alive)
            self._agent = Agent(directory / qemu.AGENT_SOCKET)
        except BoardError as error:
            said = (directory / qemu.QEMU_LOG).read_text(errors="replace").strip()
            raise BoardError(f"{error}\n{said}".strip()) from error

    def close(self) -> None:
        for connection in (self._qmp, self._agent):
            if connection:
                connection.close()
        self._qmp = self._agent = None

    @property
    def qmp(self) -> Qmp:
        """Return the connection to QEMU. @raise BoardError when the board is off"""
        if not self._qmp:
            raise BoardError("the board is off")
        return self._qmp

    @property
    def agent(self) -> Agent:
        """Return the connection to the agent. @raise BoardError when the board is off"""
        if not self._agent:
            raise BoardError("the board is off")
        return self._agent
