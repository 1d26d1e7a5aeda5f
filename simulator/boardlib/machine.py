"""One simulated board: started from a saved machine state, driven, looked at, taken down."""

import json
import os
import re
import shlex
import signal
import subprocess
import tarfile
import time
from io import BytesIO
from pathlib import Path
from typing import Any
from urllib.parse import unquote

from . import appdisk, host, keyboard, qemu, rootfs
from .agent import Agent, Result
from .host import BoardError
from .panel import Panel
from .paths import MACHINE, RUNS
from .qmp import Qmp

STICK_PRODUCT = 0x1001
STICK_PORTS = 3
INSPECTOR = "/run/panel/inspector"
INSPECTOR_SECONDS = 30.0  # for an answer: the program's event loop may be busy
KEYBOARD = {"QT_IM_MODULE": "qtvirtualkeyboard"}  # selects the on-screen keyboard at a start
SCENARIO = "/run/stick/scenario"
RECORD = "board.json"
# What a run leaves behind: in the board, under the same names in the run's folder.
LOGS = ("/run/panel/panel.log", "/run/panel/status", "/run/stick/modem.log",
        "/run/stick/modemsim.out", "/run/stick/network.log", "/run/stick/scenario",
        "/etc/ppp/ppp.log", "/etc/ppp/ppp.log.old", "/etc/ppp/chat.log", "/etc/ppp/chat.log.old",
        "/run/chip/chip.log", "/run/dmesg.log", "/run/processes.log")
TOUCH_SECONDS = 0.08  # a finger's touch
LOOK_PAUSE = 0.4      # between two looks at the panel: each costs the board time that it dials in
# Keys pressed before the board must show that it keeps up: the kernel's queues hold 64 events, of
# which a shifted key makes 8. A touch makes 12.
KEYS_AHEAD = 4
KEEP_UP_SECONDS = 2.0


def state_file(machine: Path, size: tuple[int, int]) -> Path:
    return machine / f"state-{size[0]}x{size[1]}"


def _start_time(pid: int) -> str | None:
    """When a process started, in clock ticks since boot: tells it from a later one of that pid."""
    try:
        return Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rpartition(")")[2].split()[19]
    except OSError:
        return None


class Board:
    """
    A board and its panel; a context manager that leaves its logs and takes the board down.

    @param size  the panel's, in pixels: one of qemu.SIZES
    @param run  name of the folder below build/runs that gets its logs and pictures
    @param fresh  boot instead of starting from the saved state
    @param vnc_port  loopback TCP port for a live view
    @param detached  the board lives until `off`, also after this process
    @param machine  folder of the image and of the saved states
    @param state  a saved state other than the panel's own
    @param screen  whether the panel is on when the board is up
    """

    def __init__(self, size: tuple[int, int] = (800, 480), run: str = "board", *,
                 fresh: bool = False, vnc_port: int | None = None, detached: bool = False,
                 machine: Path = MACHINE, state: Path | None = None, screen: bool = True) -> None:
        if size not in qemu.SIZES:
            raise BoardError("panels are " + ", ".join(f"{w}x{h}" for w, h in qemu.SIZES))
        if not re.fullmatch(r"[\w][\w.-]*", run):
            raise BoardError(f"{run!r} is no name for a run")
        self.size = size
        self.folder = RUNS / run
        self.panel = Panel(self.request, LOOK_PAUSE, lambda seconds: self.sh(f"sleep {seconds}"))
        self._machine, self._screen = machine, screen
        self._state = None if fresh else state or state_file(machine, size)
        self._vnc_port, self._detached = vnc_port, detached
        self._stands_still = False
        self._process: subprocess.Popen[bytes] | None = None
        self._qmp: Qmp | None = None
        self._agent: Agent | None = None

    # Life ----------------------------------------------------------------------------------------

    def __enter__(self) -> "Board":
        self.start()
        return self

    def __exit__(self, *_: object) -> None:
        try:
            if not self._stands_still:
                self.logs()
        except BoardError as error:
            (self.folder / "logs.error").write_text(f"{error}\n", encoding="utf-8")
        finally:
            self.off()

    def start(self) -> None:
        """Bring the board up to where the panel program can be started; no stick is plugged in."""
        host.require_packages()
        if not (self._state or self._machine / rootfs.KERNEL).is_file():
            raise BoardError("there is no image yet: run simulator/board image")
        disk = appdisk.ensure()
        with host.locked(RUNS / f".{self.folder.name}.lock"):
            if _recorded(self.folder):
                raise BoardError(f"the run {self.folder.name} has a board already: "
                                 "simulator/board off, or another --run")
            host.remove(self.folder)
            self.folder.mkdir(parents=True)
            self._process = qemu.start(self.size, self.folder, self._machine, disk,
                                       state=self._state, vnc_port=self._vnc_port,
                                       detached=self._detached)
            (self.folder / RECORD).write_text(json.dumps(
                {"pid": self._process.pid, "started": _start_time(self._process.pid),
                 "size": self.size}))
        try:
            self._connect()
            if self._state:
                self._qmp_now().resume()
            self.sh("set -e; blockdev --flushbufs /dev/vdb; mount -o ro /dev/vdb /app; "
                    + ("[ -e /dev/fb0 ] || screen; " if self._screen else "")
                    + f"date -s @{time.time():.3f} >/dev/null", seconds=120)
        except BaseException:
            self.off()
            raise

    @classmethod
    def attach(cls, run: str = "board") -> "Board":
        """The board that runs already under that name."""
        record = _recorded(RUNS / run)
        if not record:
            raise BoardError(f"no board runs as {run}: simulator/board boot")
        board = cls(tuple(record["size"]), run, detached=True)
        board._connect()
        return board

    def _connect(self) -> None:
        try:
            self._qmp = Qmp(self.folder / qemu.QMP_SOCKET)
            self._agent = Agent(self.folder / qemu.AGENT_SOCKET)
        except BoardError as error:
            said = (self.folder / qemu.QEMU_LOG).read_text(errors="replace").strip()
            raise BoardError(f"{error}\n{said}".strip()) from error

    def detach(self) -> None:
        """Let go of a board that lives on."""
        for connection in (self._qmp, self._agent):
            if connection:
                connection.close()
        self._qmp = self._agent = None

    def off(self) -> None:
        """End the machine at once, as if its power went; nothing of it is left but its folder."""
        record = _recorded(self.folder)
        self.detach()
        if record:
            os.kill(record["pid"], signal.SIGTERM)
            if not _gone(record, 5):
                os.kill(record["pid"], signal.SIGKILL)
        if self._process:
            self._process.wait()
            self._process = None
        elif record and not _gone(record, 5):
            raise BoardError(f"QEMU (process {record['pid']}) does not end")
        for name in (RECORD, qemu.QMP_SOCKET, qemu.AGENT_SOCKET):
            host.remove(self.folder / name)

    def save(self, file: Path) -> None:
        """Write the whole state of the machine, which then stands still."""
        self._qmp_now().save(file)
        self._stands_still = True

    def _qmp_now(self) -> Qmp:
        if not self._qmp:
            raise BoardError("the board is off")
        return self._qmp

    # Inside the board ----------------------------------------------------------------------------

    def run(self, commands: str, seconds: float = 30) -> Result:
        """Run shell commands as root, whatever their exit status."""
        return self._agent_now().ask("run", commands.encode(), seconds)

    def sh(self, commands: str, seconds: float = 30) -> str:
        """
        Run shell commands that must succeed; what they wrote.

        @raise BoardError with what they wrote, when they do not
        """
        done = self.run(commands, seconds)
        if done.status:
            raise BoardError(f"on the board: {commands}\nended with {done.status}: {done.text}")
        return done.text

    def read(self, path: str) -> bytes:
        """A file of the board. @raise OSError (FileNotFoundError, ...) as the board has it"""
        return self._ask("read", path.encode())

    def write(self, path: str, data: bytes) -> None:
        """Make a file of the board, whole at once."""
        self._ask("write", path.encode() + b"\0" + data)

    def _ask(self, verb: str, body: bytes, seconds: float = 30) -> bytes:
        done = self._agent_now().ask(verb, body, seconds)
        if done.status:
            path = body.partition(b"\0")[0].decode(errors="replace")
            raise OSError(done.status, f"on the board: {os.strerror(done.status)}", path)
        return done.output

    def _agent_now(self) -> Agent:
        if not self._agent:
            raise BoardError("the board is off")
        return self._agent

    # The stick -----------------------------------------------------------------------------------

    def plug(self, product: int = STICK_PRODUCT, ports: int = STICK_PORTS) -> None:
        """
        Plug in a stick; its ports are there, raw and without echo, when this returns.

        @param product  USB product id; the dial-up program knows 0x1001 alone
        @param ports  how many serial ports it has, 0 to 3
        """
        self.sh(f"stick plug {product:#06x} {ports}", seconds=60)

    def unplug(self) -> None:
        """Pull the stick out; the board has noticed when this returns."""
        self.sh("stick unplug", seconds=60)

    def modem(self, settings: dict[str, str] | None = None) -> None:
        """Tell the modem simulator how to behave; what is not named goes back to its default."""
        lines = "".join(f"{key}={value}\n" for key, value in (settings or {}).items())
        self.write(SCENARIO, lines.encode())

    # The panel program ---------------------------------------------------------------------------

    def start_panel(self, environment: dict[str, str] | None = None) -> None:
        """Start the panel program; it runs when this returns, but may not have a window yet."""
        if self.panel_running():
            raise BoardError("the panel program runs already")
        if self.run("test -x /app/corvanta").status:
            raise BoardError("the panel program is not built for the board: "
                             + ", ".join(appdisk.missing()))
        names = " ".join(shlex.quote(f"{k}={v}") for k, v in (environment or {}).items())
        self.sh("rm -f /run/panel/pid /run/panel/status; "
                f"setsid panel {names} </dev/null >>/run/panel/panel.log 2>&1 & "
                "until [ -e /run/panel/pid ]; do sleep 0.02; done")

    def panel_pid(self) -> int | None:
        """Process id of the panel program on the board; None when it has ended or never ran."""
        done = self.run("[ ! -e /run/panel/status ] && cat /run/panel/pid")
        return int(done.text) if done.status == 0 else None

    def panel_running(self) -> bool:
        return self.panel_pid() is not None

    def panel_status(self) -> int | None:
        """Exit status of the panel program, 128 + N for signal N; None while it runs."""
        done = self.run("cat /run/panel/status")
        return int(done.text) if done.status == 0 else None

    def wait_panel_end(self, seconds: float) -> int:
        """Exit status of the panel program, which must end within that time."""
        self.sh("until [ -e /run/panel/status ]; do sleep 0.05; done", seconds=seconds)
        status = self.panel_status()
        assert status is not None
        return status

    def stop_panel(self) -> int | None:
        """End the panel program by SIGTERM, by SIGKILL after 5 s; its exit status."""
        pid = self.panel_pid()
        if pid is None:
            return self.panel_status()
        self.sh(f"kill {pid}; for i in $(seq 100); do [ -e /run/panel/status ] && exit; "
                f"sleep 0.05; done; kill -KILL {pid}")
        return self.wait_panel_end(5)

    def request(self, line: str) -> dict[str, Any]:
        """
        What `Panel` asks: looks go to the inspector; touches and keys are real, pictures QEMU's.

        @raise OSError while the panel program does not answer
        """
        word, _, rest = line.partition(" ")
        if word == "click":
            self.touch(*map(int, rest.split()))
            self._keep_up()
        elif word == "key":
            self.key(rest)
        elif word == "type":
            self.type(unquote(rest))
        elif word == "shot":
            self.shot(rest)
        else:
            reply = self._ask("ask", f"{INSPECTOR}\0{line}\n".encode(), INSPECTOR_SECONDS)
            if not reply.endswith(b"\n"):
                raise ConnectionError(f"no whole reply to {line!r}: {reply!r}")
            return json.loads(reply)
        return {"ok": True}

    # Touch, keys, pictures -----------------------------------------------------------------------

    def touch(self, x: int, y: int, seconds: float = TOUCH_SECONDS) -> None:
        """Touch a pixel of the panel for a while."""
        self.finger_down(x, y)
        time.sleep(seconds)
        self.finger_up()

    def finger_down(self, x: int, y: int) -> None:
        self._qmp_now().point(x, y, self.size)
        self._qmp_now().button(True)

    def finger_move(self, x: int, y: int) -> None:
        self._qmp_now().point(x, y, self.size)

    def finger_up(self) -> None:
        self._qmp_now().button(False)

    def type(self, text: str) -> None:
        """Type a text on the keyboard. @raise ValueError, before the first key, if one has none"""
        for at, codes in enumerate([keyboard.keys_of(character) for character in text], 1):
            self._qmp_now().keys(codes)
            if at % KEYS_AHEAD == 0 or at == len(text):
                self._keep_up()

    def key(self, name: str) -> None:
        """Press a key or chord, such as "Tab" or "Ctrl+A"."""
        self._qmp_now().keys(keyboard.chord(name))
        self._keep_up()

    def _keep_up(self) -> None:
        """Wait, within reason, until the board, and the panel program if it runs, keeps up."""
        question = f"{INSPECTOR}\0served\n".encode()
        self._agent_now().ask("ask", question, KEEP_UP_SECONDS)

    def shot(self, file: str | Path) -> Path:
        """Photograph the panel as PNG; a relative name is one in the run's folder."""
        path = self.folder / file
        self._qmp_now().picture(path)
        return path

    # What is left --------------------------------------------------------------------------------

    def logs(self) -> list[Path]:
        """Bring the board's logs into the run's folder; those that there are."""
        done = self.run("dmesg >/run/dmesg.log; ps -eo pid,ppid,stat,etimes,args "
                        ">/run/processes.log; tar -C / -cf - --ignore-failed-read "
                        + " ".join(name[1:] for name in LOGS) + " 2>/dev/null", seconds=60)
        found = []
        with tarfile.open(fileobj=BytesIO(done.output)) as archive:
            for member in archive:
                source = archive.extractfile(member)
                if source:
                    path = self.folder / Path(member.name).name
                    path.write_bytes(source.read())
                    found.append(path)
        serial = self.folder / qemu.SERIAL_LOG
        return sorted([*found, serial] if serial.is_file() else found)


def _recorded(folder: Path) -> dict[str, Any] | None:
    """The record of the board that runs in a folder; None when none does."""
    try:
        record = json.loads((folder / RECORD).read_text(encoding="utf-8"))
        alive = _start_time(record["pid"]) == record["started"]
        return record if alive else None
    except (OSError, ValueError, KeyError):
        return None


def _gone(record: dict[str, Any], seconds: float) -> bool:
    """Whether a process ends within that time; one that only waits for its parent has ended."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        try:
            stat = Path(f"/proc/{record['pid']}/stat").read_text(encoding="ascii")
        except OSError:
            return True
        if stat.rpartition(")")[2].split()[0] == "Z":
            return True
        time.sleep(0.01)
    return False
