"""A simulated board that starts from a saved machine state and is operated by the host."""

import re
import subprocess
import time
from contextlib import ExitStack, closing, suppress
from pathlib import Path
from typing import Any, Self
from urllib.parse import unquote

from host.errors import BoardError
from host.files import current, fingerprint, remove
from host.paths import ARM, BOARD, MACHINE, RUNS
from host.sockets import connect
from image import appdisk, rootfs
from machine import qemu
from machine.guest import Guest
from machine.qmp import Qmp
from panel.panel import Panel
from virtualboard.chip import Chip
from virtualboard.dongle import Dongle
from virtualboard.fingers import Fingers, Keyboard
from virtualboard.program import Program
from virtualboard.records import Records

RECORD = "size"  # file in the run's directory: width and height of the panel
UP_SECONDS = 300  # a boot takes 40 s of the board's clock, and longer on a busy host
INSTALL_SECONDS = 180
GDB_ADDRESS = "127.0.0.1:1234"
LOOK_PAUSE = 0.6  # seconds between two dumps of the screen, because each dump slows the board

# Installs the package as on any board, and stops the program until Program.start().
INSTALLING = "/run/installing"  # its change time is the start of the installation
INSTALL = f"""
set -e
touch {INSTALLING}
dpkg --install /app/{appdisk.PACKAGE} >/run/dpkg.log 2>&1 || {{ cat /run/dpkg.log; exit 1; }}
systemctl stop corvanta
rm -f /run/program/*
"""
# Drops all cached blocks of the program disk, because a saved state may be used with another disk.
FORGET = """
set -e
umount /app
blockdev --flushbufs /dev/vdb
echo 3 >/proc/sys/vm/drop_caches
"""


def state_file(machine: Path, size: tuple[int, int]) -> Path:
    """Return the file of the saved state with a panel of that size."""
    return machine / f"state-{size[0]}x{size[1]}"


class Board:
    """
    A board and its panel: a context manager that copies the logs and switches the board off.

    Once it has started, operate it through its parts: `guest`, `dongle`, `chip`, `program`,
    `panel`, `fingers`, `keyboard` and `records`.

    @param size  panel size in pixels
    @param run  name of the directory below build/runs for its logs and screenshots
    @param fresh  true to boot instead of starting from a saved state
    @param vnc_port  loopback TCP port for a live view
    @param detached  true when the board outlives this process
    @param machine  directory of the image and of the saved states
    @param state  saved state to use instead of the one with the program installed
    @param panel_on  true to turn the panel on at the start
    @param changes  archive that stored() of an earlier board has returned: boot with these files
    @param spare  image of the third disk, as in machine.qemu.start()
    """

    def __init__(self, size: tuple[int, int] = (800, 480), run: str = "board", *,
                 fresh: bool = False, vnc_port: int | None = None, detached: bool = False,
                 machine: Path = MACHINE, state: Path | None = None,
                 panel_on: bool = True, changes: Path | None = None,
                 spare: Path | None = None) -> None:
        if not re.fullmatch(r"\w[\w.-]*", run):
            raise BoardError(f"invalid name of a run (letters, digits, . - _): {run!r}")
        self.size = size
        self.directory = RUNS / run
        self._connections = ExitStack()
        self._image, self._panel_on = machine, panel_on
        self._state, self._fresh, self._changes = state, fresh or changes is not None, changes
        self._spare, self._vnc_port, self._detached = spare, vnc_port, detached
        self._stands_still = self._power_cut = False
        self.machine: subprocess.Popen[bytes] | None = None  # None for an attached board

    def __enter__(self) -> Self:
        self.start()
        return self

    def __exit__(self, kind: type[BaseException] | None, *_: object) -> None:
        try:
            # After Ctrl-C or a signal, which do not raise an Exception, exit without the logs.
            interrupted = kind is not None and not issubclass(kind, Exception)
            if not interrupted and not self._stands_still:
                with suppress(BoardError, OSError):  # The machine may have stopped.
                    self.records.logs()
        finally:
            self.off()

    def start(self) -> None:
        """Start the board and wait until the program can be started.

        The dongle is not plugged in."""
        if not (self._image / rootfs.KERNEL).is_file():
            raise BoardError("no image: run simulator/board image")
        state = None if self._fresh else self._state or installed_state(self.size)
        self._start_qemu(state)
        try:
            self._set_up(state)
        except BaseException:
            self.off()
            raise

    def _start_qemu(self, state: Path | None) -> None:
        disk = appdisk.ensure()
        if self._is_running():
            raise BoardError(f"a board named {self.directory.name} is already running")
        remove(self.directory)
        self.directory.mkdir(parents=True)
        if self._changes:
            disk = self.directory / "app.ext4"
            appdisk.with_changes(self._changes, disk)
        self.machine = qemu.start(self.size, self.directory, self._image, disk, state=state,
                                  vnc_port=self._vnc_port, detached=self._detached,
                                  spare=self._spare)
        width, height = self.size
        (self.directory / RECORD).write_text(f"{width} {height}\n")

    def _is_running(self) -> bool:
        with suppress(OSError):
            connect(self.directory / qemu.QMP_SOCKET).close()
            return True
        return False

    def _set_up(self, state: Path | None) -> None:
        """Resume or boot the machine, mount the disk with the programs, turn on the panel."""
        if self._power_cut:
            raise BoardError("the board's power was cut")
        self._connect()
        if state:
            self._qmp.resume()
        self.guest.sh("set -e; blockdev --flushbufs /dev/vdb; mount -o ro /dev/vdb /app; "
                      + ("[ -e /dev/fb0 ] || panel; " if self._panel_on else "")
                      + f"date -s @{time.time():.3f} >/dev/null", UP_SECONDS)

    def _connect(self) -> None:
        """Connect to QEMU and to the agent, and make the parts that use these connections.

        @raise BoardError with QEMU's output if one of them does not answer"""
        try:
            self._qmp = self._connections.enter_context(
                closing(Qmp(self.directory / qemu.QMP_SOCKET)))
            self.guest = self._connections.enter_context(
                closing(Guest(self.directory / qemu.AGENT_SOCKET)))
        except BoardError as error:
            said = (self.directory / qemu.QEMU_LOG).read_text(errors="replace").strip()
            raise BoardError(f"{error}\n{said}".strip()) from error
        self.dongle = Dongle(self.guest)
        self.chip = Chip(self.guest)
        self.program = Program(self.guest)
        self.fingers = Fingers(self._qmp, self.size)
        self.keyboard = Keyboard(self._qmp, self.program.keep_up)
        self.records = Records(self.directory, self._qmp, self.guest)
        self.panel = Panel(self._request, LOOK_PAUSE,
                           lambda seconds: self.guest.sh(f"sleep {seconds}"))

    @classmethod
    def attach(cls, run: str = "board") -> Self:
        """Return the running board of that name. @raise BoardError when there is none"""
        board = cls(run=run)
        if not board._is_running():
            raise BoardError(f"no board named {run} runs: start one with simulator/board boot")
        width, height = map(int, (board.directory / RECORD).read_text().split())
        board.size = width, height
        board._connect()
        return board

    def detach(self) -> None:
        """Close the connections to a board that keeps running."""
        self._connections.close()

    def off(self) -> None:
        """Kill the machine, as in a power cut, but keep its directory."""
        if self.machine:
            self.machine.kill()
            self.machine.wait()
        else:
            self._qmp.quit()
        self._connections.close()

    def cut_power(self) -> None:
        """Kill the machine, from any thread. Waiting calls soon raise a BoardError."""
        self._power_cut = True
        if self.machine:
            self.machine.kill()

    def save(self, file: Path) -> None:
        """Stop the machine and write its complete state to a file."""
        self._qmp.save(file)
        self._stands_still = True

    def stored(self) -> bytes:
        """Return a tar archive of all files of the board that have changed since the installation
        of the package began."""
        self.guest.sh(f"find / -xdev -cnewer {INSTALLING} ! -path '/tmp/*' | "
                      "tar -c -f /run/changes.tar --no-recursion -T - 2>/dev/null", UP_SECONDS)
        return self.guest.read("/run/changes.tar")

    def photograph(self, file: str | Path) -> Path:
        """Take a screenshot, as Records.picture() does, after the program has painted."""
        for _ in range(2):  # painting reaches the panel in the next iteration of the event loop
            self.program.keep_up()
        return self.records.picture(file)

    def serve_debugger(self) -> str:
        """Let gdb-multiarch connect to the machine at GDB_ADDRESS.
        @return command line of gdb-multiarch for the running program"""
        address = self.program.load_address()
        said = self._qmp.command("human-monitor-command",
                                 **{"command-line": f"gdbserver tcp:{GDB_ADDRESS}"})
        if "Waiting" not in said:
            raise BoardError(f"QEMU: {said.strip()}")
        return (f"gdb-multiarch -ex 'symbol-file {ARM / 'app/corvanta'} -o 0x{address}' "
                f"-ex 'target remote {GDB_ADDRESS}'")

    def _request(self, line: str) -> dict[str, Any]:
        """Serve a request of `Panel`. QEMU makes touches and key presses; the inspector serves all
        other requests."""
        word, _, rest = line.partition(" ")
        if word == "click":
            x, y = map(int, rest.split())
            self.fingers.touch(x, y)
            self.program.keep_up()
        elif word == "key":
            self.keyboard.press(rest)
        elif word == "type":
            self.keyboard.type(unquote(rest))
        else:
            return self.program.inspect(line)
        return {"ok": True}


def installed_state(size: tuple[int, int]) -> Path:
    """
    Return the saved state with a panel of that size and the program's package installed.

    If the package or the image has changed, make the state again, which takes some seconds.
    """
    def make(file: Path) -> None:
        plain = state_file(MACHINE, size)
        with Board(size, f"install-{plain.name}", state=plain) as board:
            board.guest.sh(INSTALL + FORGET, INSTALL_SECONDS)
            board.save(file)

    key = fingerprint([appdisk.key(), str(MACHINE.resolve()), INSTALL])
    return current(state_file(BOARD / "installed", size), key, make)
