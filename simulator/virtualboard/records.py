"""The records of a run: screenshots of the panel and the board's logs, in the run's directory."""

from contextlib import suppress
from pathlib import Path

from machine.guest import Guest
from machine.qmp import Qmp
from panel.constants import LOGS as PPP_LOGS
from panel.constants import OLD_LOG
from virtualboard import chip, dongle, program

KERNEL_LOG, PROCESSES = "/run/dmesg.log", "/run/processes.log"
# Files of the board that are copied to the host with the same names.
PROGRAM_LOG = "/run/program/program.log"  # the service's messages in the journal
LOGS = (PROGRAM_LOG, program.STATUS, dongle.MODEM_LOG, dongle.MODEM_OUTPUT, dongle.NETWORK_LOG,
        dongle.SCENARIO, *PPP_LOGS, *(log + OLD_LOG for log in PPP_LOGS), chip.LOG, KERNEL_LOG,
        PROCESSES)


class Records:
    """
    Screenshots and logs of a run.

    @param directory  the run's directory
    """

    def __init__(self, directory: Path, qmp: Qmp, guest: Guest) -> None:
        self._directory = directory
        self._qmp = qmp
        self._guest = guest

    def picture(self, file: str | Path) -> Path:
        """
        Write a screenshot of the panel as PNG.

        @param file  path of the screenshot; a relative one is below the run's directory
        @return the screenshot's absolute path
        """
        path = self._directory / file
        self._qmp.command("screendump", filename=str(path.absolute()), format="png")
        return path

    def logs(self) -> None:
        """Copy the board's logs to the run's directory."""
        self._guest.run(f"dmesg >{KERNEL_LOG}; ps -eo pid,ppid,stat,etimes,args >{PROCESSES}; "
                        f"journalctl --quiet --output=short-monotonic --unit={program.UNIT} "
                        f">{PROGRAM_LOG}")
        for log in LOGS:
            with suppress(FileNotFoundError):
                content = self._guest.read(log)
                (self._directory / Path(log).name).write_bytes(content)
