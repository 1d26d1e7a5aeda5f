"""What a run leaves behind: pictures of the panel and the board's logs, in the run's folder."""

from pathlib import Path

from machine import qemu
from machine.connections import Connections
from panel import facts
from virtualboard import chip, dongle, program
from virtualboard.guest import Guest

KERNEL_LOG, PROCESSES = "/run/dmesg.log", "/run/processes.log"
# Files of the board that are brought to the host, each under its own name.
PROGRAM_LOG = "/run/program/program.log"  # what its service has in the journal
LOGS = (PROGRAM_LOG, program.STATUS, dongle.MODEM_LOG, dongle.MODEM_OUTPUT, dongle.NETWORK_LOG,
        dongle.SCENARIO, *facts.LOGS, *(log + facts.OLD_LOG for log in facts.LOGS), chip.LOG,
        KERNEL_LOG, PROCESSES)


class Records:
    """
    Pictures and logs of one run.

    @param folder  the run's
    """

    def __init__(self, folder: Path, connections: Connections, guest: Guest) -> None:
        self._folder = folder
        self._connections = connections
        self._guest = guest

    def picture(self, file: str | Path) -> Path:
        """
        Photograph the panel as PNG.

        @param file  a relative name is one in the run's folder
        @return the picture's absolute path
        """
        path = self._folder / file
        self._connections.qmp.picture(path)
        return path

    def logs(self) -> list[Path]:
        """Bring the board's logs to the host. @return those that there are"""
        self._guest.run(f"dmesg >{KERNEL_LOG}; ps -eo pid,ppid,stat,etimes,args >{PROCESSES}; "
                        f"journalctl --quiet --output=short-monotonic --unit={program.UNIT} "
                        f">{PROGRAM_LOG}")
        found = []
        for log in LOGS:
            try:
                content = self._guest.read(log)
            except FileNotFoundError:
                continue
            path = self._folder / Path(log).name
            path.write_bytes(content)
            found.append(path)
        serial = self._folder / qemu.SERIAL_LOG
        return sorted([*found, serial] if serial.is_file() else found)
