"""The private root of one measured process. Files simulate the panel, touch screen and USB bus.

The real libusb reads the bus. preload.c simulates the panel and records the event loop.
"""

import os
import struct
import time
from collections.abc import Callable
from functools import cache
from typing import NamedTuple

from panel.constants import (AUTO_CONNECT, DONGLE_PRODUCT, DONGLE_VENDOR, FIELDS, MISC, PARAMETERS,
                             SETTING, STATUS, STORED_AUTO, stored_parameters)
from panel.screen import centre
from privateroot.files import LAUNCH
from privateroot.process import BUILD, PrivateRoot
from privateroot.procfs import private_kib, resident_kib

PROGRAM, FLOOR = "app/corvanta", "tests/bench/floor"  # paths in BUILD
WIDTH, HEIGHT = 800, 480
PANEL_KIB = WIDTH * HEIGHT * 4 // 1024
FIELD, HIDE = FIELDS[0], "Hide"
LIMIT_SECONDS = 60
EXIT_SECONDS = 600  # timeout for the exit of a program under valgrind
QUIET_SECONDS = 0.1  # a process without activity for this time is idle
JOURNAL = "/testrun/loop"


class Wait(NamedTuple):
    """One wait of the main thread; times in nanoseconds since the epoch."""

    begin: int
    end: int  # 0 while the wait lasts
    cpu: int  # CPU time so far of the process and of the commands it has waited for
    idle: int  # 1 when the panel was painted and the process had no work


class BenchRoot(PrivateRoot):
    """The private root of a measured process.

    @param program path in BUILD
    @param words shell words before the program: variables, then a wrapper command, if any
    @param argument argument of the program
    @param inspected true to load the inspector, which finds widgets but falsifies measurements
    """

    def __init__(self, program: str = PROGRAM, words: str = "", argument: str = "",
                 inspected: bool = False) -> None:
        fonts = "FONTCONFIG_SYSROOT=/testbench/fontroot" if program == PROGRAM else ""
        run = f"PATH=/testrun/bin LD_PRELOAD=/testbench/libpreload.so {fonts} {words} /app/corvanta"
        launch = LAUNCH.replace("program", f"{run} {argument}")
        super().__init__(setup="/usr/bin/fc-cache", keys=True, inspected=inspected,
                         launch=f"/usr/bin/date +%s%N >/testrun/started\n{launch}")
        built = BUILD / "tests/bench"
        for outside, inside in ((BUILD / program, "/app/corvanta"), (self.base / "sys", "/sys"),
                                (built, "/testbench"), (built / "fonts", "/usr/share/fonts"),
                                (built / "fontconfig", "/etc/fonts"),
                                (built / "fontcache", "/var/cache/fontconfig")):
            self._mounts += ["--bind", str(outside), inside]
        self.write(PARAMETERS, stored_parameters(user="user", password="secret", pin="1234"))
        self.write(AUTO_CONNECT, STORED_AUTO)
        self.unwrap("ls")
        self.write("/dev/fb0", bytes(WIDTH * HEIGHT * 4))
        self.write(JOURNAL, b"")
        os.mkfifo(self.host("/dev/touch"))
        self._finger = os.open(self.host("/dev/touch"), os.O_RDWR)
        self.host("/dev/bus/usb/001").mkdir(parents=True)
        self._add_device("usb1", 1, 0x1D6B, 0x0002)
        self._add_device("1-1", 2, DONGLE_VENDOR, DONGLE_PRODUCT)

    def close(self) -> None:
        os.close(self._finger)
        super().close()

    def _environment(self) -> dict[str, str]:
        return super()._environment() | {
            "QT_QPA_PLATFORM": "linuxfb:fb=/dev/fb0", "QT_QPA_FB_HIDECURSOR": "1",
            "QT_QPA_FB_NO_LIBINPUT": "1", "QT_QPA_EVDEV_TOUCHSCREEN_PARAMETERS": "/dev/touch",
            "SYSTEMD_DEVICE_VERIFY_SYSFS": "0"}  # /sys consists of regular files

    def _add_device(self, name: str, number: int, vendor: int, product: int) -> None:
        descriptors = struct.pack("<BBHBBBBHHHBBBB", 18, 1, 0x0200, 0, 0, 0, 64, vendor, product,
                                  0x0100, 0, 0, 0, 1)
        descriptors += struct.pack("<BBHBBBBB", 9, 2, 9, 0, 1, 0, 0xA0, 50)
        node = f"bus/usb/001/{number:03}"
        self.write(f"/dev/{node}", descriptors)
        device = self.base / "sys/bus/usb/devices" / name
        device.mkdir(parents=True)
        uevent = f"MAJOR=189\nMINOR={number - 1}\nDEVNAME={node}\nDEVTYPE=usb_device"
        for file, content in (("busnum", "1"), ("devnum", str(number)), ("speed", "480"),
                              ("bConfigurationValue", "1"), ("uevent", uevent)):
            (device / file).write_text(content + "\n")
        (device / "descriptors").write_bytes(descriptors)
        (device / "subsystem").symlink_to("/sys/bus/usb")

    def launch(self) -> Wait:
        """Start the program. @return the wait in which it is first idle"""
        self.start(shown=False, timeout=LIMIT_SECONDS)
        self.settle()
        return next(wait for wait in self.waits() if wait.idle)

    def run_to_end(self) -> None:
        """Run a program that exits by itself."""
        self.start(shown=False, timeout=EXIT_SECONDS)
        self.wait_exit(EXIT_SECONDS)

    def waits(self) -> list[Wait]:
        """Return the main thread's waits so far."""
        return [Wait(*fields) for fields in struct.iter_unpack("=4q", self.content(JOURNAL))]

    def settle(self, after: int = 0) -> Wait:
        """Wait until the process is idle.

        @param after number of waits to ignore
        @return the current wait"""
        def quiet() -> bool:
            waits = self.waits()
            return (len(waits) > after and bool(waits[-1].idle) and not waits[-1].end
                    and time.time() - waits[-1].begin / 1e9 > QUIET_SECONDS)
        self.wait_until(quiet, LIMIT_SECONDS, "idle")
        return self.waits()[-1]

    def do(self, action: Callable[..., object], *arguments: object) -> Wait:
        """Run an action and wait. @return the wait in which the process is idle again"""
        before = len(self.waits())
        action(*arguments)
        return self.settle(before)

    def touch(self, name: str) -> None:
        """Touch an item of places()."""
        x, y = places()[name]
        for events in (((3, 0x39, 1), (3, 0x35, x), (3, 0x36, y), (0, 0, 0)),
                       ((3, 0x39, -1), (0, 0, 0))):
            os.write(self._finger, b"".join(struct.pack("=qqHHi", 0, 0, *event)
                                            for event in events))

    def memory(self) -> tuple[float, float]:
        """Return resident memory without the frame buffer, and private anonymous memory, in MiB."""
        return (resident_kib(self.pid) - PANEL_KIB) / 1024, private_kib(self.pid) / 1024


@cache
def places() -> dict[str, tuple[int, int]]:
    """Return the positions of the items to touch, in pixels. Buttons and tabs are at the same
    positions in the baseline program."""
    with BenchRoot(inspected=True) as root:
        root.launch()
        panel = root.panel
        found = {text: centre(panel.tab(text)) for text in (SETTING, STATUS, MISC)}
        found |= {text: centre(panel.button(text)) for text in ("Connect", "Exit")}
        found[FIELD] = centre(panel.field(FIELD))
        found[HIDE] = centre(panel.raise_keys(FIELD).key(HIDE))
        panel.put_keys_away()
        panel.open_tab(MISC)
        return found | {"YES": centre(panel.button("YES"))}
