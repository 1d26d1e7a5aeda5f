"""One process on a panel of its own: started, touched, looked at, ended."""

import itertools
import os
import re
import signal
import struct
import subprocess
import time
from collections.abc import Callable, Mapping
from functools import cache
from mmap import PROT_READ, mmap
from pathlib import Path

from benchmark import estimate, journal
from benchmark.journal import Entry
from benchmark.root import BENCH, BUILT, PROJECT
from panel.facts import FIELDS, MISC, SETTING, STATUS
from panel.panel import Panel, unix_request
from panel.screen import PanelError, centre

PROGRAM = PROJECT / "build/release/app/corvanta"
INSPECTOR = PROJECT / "build/release/simulator/programs/inspector/plugins"
FLOOR = BUILT / "floor"
WIDTH, HEIGHT = 800, 480
FIELD = FIELDS[0]
HIDE = "Hide"  # a key; known only in a build with keys
KEPT_WAITS = 100_000
QUIET_SECONDS = 0.1  # a process that does nothing for so long is idle
LIMIT_SECONDS = 60

_numbers = itertools.count()


class Process:
    """@param program path of the executable
    @param extra variables of the environment beside the usual ones
    @param under a command that runs the program: valgrind and its options
    @param inspected whether the inspector is in the process: to find things, not to measure"""

    def __init__(self, program: Path = PROGRAM, extra: Mapping[str, str] | None = None,
                 under: tuple[str, ...] = (), inspected: bool = False) -> None:
        number = next(_numbers)
        self._fb = Path(f"/dev/fb{number}")
        self._touch = Path(f"/dev/input/event{number}")
        self._loop = BENCH / f"loop{number}"
        self._socket = BENCH / f"inspector{number}"
        self._fb.write_bytes(bytes(WIDTH * HEIGHT * 4))
        self._loop.touch()
        os.truncate(self._loop, journal.size(KEPT_WAITS))
        with open(self._loop, "rb") as file:
            self._journal = mmap(file.fileno(), 0, prot=PROT_READ)
        os.mkfifo(self._touch)
        self._finger = os.open(self._touch, os.O_RDWR)
        self._program = program
        self.panel = Panel(unix_request(self._socket))
        environment = self._environment() | dict(extra or {})
        if inspected:
            environment["QT_QPA_GENERIC_PLUGINS"] = "inspector"
        self.started = time.monotonic_ns()
        self._popen = subprocess.Popen(
            [*under, str(program)], env=environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def _environment(self) -> dict[str, str]:
        """The launch environment of linuxfb with an evdev touch screen."""
        return {
            "HOME": "/tmp", "XDG_RUNTIME_DIR": "/tmp", "LC_ALL": "C.UTF-8", "PATH": "/bench/bin",
            "QT_QPA_PLATFORM": f"linuxfb:fb={self._fb}", "QT_QPA_FB_HIDECURSOR": "1",
            "QT_QPA_FB_NO_LIBINPUT": "1", "QT_QPA_EVDEV_TOUCHSCREEN_PARAMETERS": str(self._touch),
            "SYSTEMD_DEVICE_VERIFY_SYSFS": "0",  # the tree of /sys is one of plain files
            "LD_PRELOAD": f"{BUILT}/libpanel.so:{BUILT}/libloop.so",
            "CORVANTA_BENCH_PANEL": f"{WIDTH}x{HEIGHT}", "CORVANTA_BENCH_FB": str(self._fb),
            "CORVANTA_BENCH_LOOP": str(self._loop), "QT_PLUGIN_PATH": str(INSPECTOR),
            "CORVANTA_INSPECTOR_SOCKET": str(self._socket),
        }

    def __enter__(self) -> "Process":
        return self

    def __exit__(self, *_: object) -> None:
        self._popen.kill()
        self._popen.wait()
        os.close(self._finger)
        self._journal.close()
        for file in (self._fb, self._touch, self._loop, self._socket):
            file.unlink(missing_ok=True)

    def waits(self) -> list[Entry]:
        """The main thread's waits so far."""
        return journal.read(self._journal)

    def until(self, condition: Callable[[], object], what: str) -> None:
        """Waits for something that this process does. @raise TimeoutError when it does not"""
        deadline = time.monotonic() + LIMIT_SECONDS
        while not condition():
            if time.monotonic() > deadline or self._popen.poll() is not None:
                raise TimeoutError(f"{self._program.name}: {what}")
            time.sleep(0.005)

    def settle(self, after: int = 0) -> Entry:
        """Waits until the process is idle. @param after number of its waits that do not count
        @return the wait that it is in"""
        def quiet() -> bool:
            waits = self.waits()
            age = time.monotonic() - (waits[-1].waits / 1e9 if waits else 0)
            return len(waits) > after and waits[-1].idle and not waits[-1].back \
                and age > QUIET_SECONDS
        self.until(quiet, "idle")
        return self.waits()[-1]

    def do(self, action: Callable[[], object]) -> Entry:
        """Does something to the process; the wait that it is in when it is idle again."""
        before = len(self.waits())
        action()
        return self.settle(before)

    def touch(self, name: str) -> None:
        """A finger comes down on a thing that places() knows, and goes up."""
        x, y = places(self._program)[name]
        for events in (((3, 0x2f, 0), (3, 0x39, 1), (3, 0x35, x), (3, 0x36, y), (0, 0, 0)),
                       ((3, 0x39, -1), (0, 0, 0))):
            os.write(self._finger, b"".join(struct.pack("=qqHHi", 0, 0, *event)
                                            for event in events))

    def signal(self) -> None:
        """Has the link checked."""
        self._popen.send_signal(signal.SIGUSR1)

    def end(self) -> None:
        """Waits for the process to end by itself. @raise RuntimeError when it has failed"""
        if self._popen.wait():
            raise RuntimeError(f"{self._program.name} ended with {self._popen.returncode}")

    def _proc(self, name: str) -> str:
        return Path(f"/proc/{self._popen.pid}/{name}").read_text()

    def memory(self) -> tuple[float, float]:
        """Resident and private anonymous memory in MiB, the panel and the journal left out."""
        resident, private = estimate.memory(self._proc("smaps"), ("/dev/fb", str(BENCH)))
        return resident / 1024, private / 1024

    def wake_ups(self) -> int:
        """How often any thread has gone to sleep so far."""
        tasks = os.listdir(f"/proc/{self._popen.pid}/task")
        found = (re.search(r"^voluntary\D+(\d+)", self._proc(f"task/{task}/status"), re.M)
                 for task in tasks)
        return sum(int(count[1]) for count in found if count)

    def libraries(self) -> int:
        """How many shared libraries are mapped, those of the bench left out."""
        return len({path for path in estimate.libraries(self._proc("maps"))
                    if not path.startswith(str(BUILT))})

    def pixel(self, name: str) -> bytes:
        """What the panel shows in the middle of a thing that places() knows."""
        x, y = places(self._program)[name]
        at = (y * WIDTH + x) * 4
        return self._fb.read_bytes()[at:at + 4]


@cache
def places(program: Path = PROGRAM) -> dict[str, tuple[int, int]]:
    """Where things are on the screen of the program or of the floor, in pixels."""
    with Process(program, inspected=True) as process:
        process.settle()
        panel = process.panel
        found = {text: centre(panel.tab(text)) for text in (SETTING, STATUS, MISC)}
        found |= {text: centre(panel.button(text)) for text in ("Connect", "Exit")}
        found[FIELD] = centre(panel.field(FIELD))
        try:
            found[HIDE] = centre(panel.raise_keys(FIELD, 10).key(HIDE))
            panel.put_keys_away()
        except PanelError:
            pass
        panel.open_tab(MISC)
        return found | {text: centre(panel.button(text)) for text in ("YES", "NO")}
