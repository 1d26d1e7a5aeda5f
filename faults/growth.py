"""What a long life leaves behind: memory, descriptors and files, before and after.

A preloaded clock runs fast, so that the 15 s of an attempt are a moment.
"""

from __future__ import annotations

import time
from collections.abc import Callable
from pathlib import Path
from signal import SIGTERM, SIGUSR1

from faults.panel import at_rest, ended, stored_root
from faults.rows import Group, Row, expect
from panel.facts import FAILED, FIELDS
from privateroot.files import DONGLE, LAUNCH
from privateroot.process import PrivateRoot
from privateroot.procfs import is_pending, private_kib

FASTER = 600  # times, of the preloaded clock
CLOCK = "/usr/$LIB/faketime/libfaketime.so.1"
COUNTING = "/testfakes/countingsh"
CHECKS = 50  # at once: fewer than the program's socket holds
WARM_UP = 100  # times at most, before the first look at the memory
SETTLED_KIB = 128  # that the heap may take without any growth
PIN = FIELDS[-1]
SECONDS = 20  # for each thing that is waited for


def check(root: PrivateRoot) -> None:
    """Some link checks at once, each to its look at the interfaces, which is logged."""
    log = root.run / "calls"
    log.write_text("")
    for _ in range(CHECKS):
        root.signal(SIGUSR1)
        while is_pending(root.pid, SIGUSR1):
            time.sleep(0.001)
    deadline = time.monotonic() + SECONDS
    while log.read_text().count("ifconfig") < CHECKS:
        expect(time.monotonic() < deadline, "the link checks")
        time.sleep(0.01)


def replug(root: PrivateRoot) -> None:
    """Unplug and replug the dongle, with some link checks after each."""
    for usb in ("", DONGLE):
        root.set_usb(usb)
        check(root)


def fail(root: PrivateRoot) -> None:
    """One attempt that fails, and its notice."""
    root.panel.press("Connect")
    root.wait(lambda screen: screen.has_dialog(), SECONDS, "the notice")
    expect(root.panel.dialog()["text"] == FAILED, "it tells that it failed")
    root.panel.press("OK")
    root.wait(lambda screen: not screen.has_dialog() and screen.button("Connect")["enabled"],
              SECONDS, "the notice closed")


def dial(root: PrivateRoot) -> None:
    """One link, up and down again."""
    root.set_link(True)
    root.panel.press("Connect")
    root.wait(lambda screen: screen.button("Disconnect")["enabled"], SECONDS, "the link")
    root.set_link(False)
    root.panel.press("Disconnect")
    root.wait(lambda screen: screen.button("Connect")["enabled"], SECONDS, "the link down")


def raise_keys(root: PrivateRoot) -> None:
    root.panel.raise_keys(PIN)
    root.panel.put_keys_away()


def files_of(root: PrivateRoot) -> set[str]:
    return {str(path.relative_to(root.base)) for folder in ("quenfold", "ppp", "dev")
            for path in Path(root.base, folder).rglob("*")}


class Growth:
    """One thing that is done again and again.

    @param most KiB of private memory that each time may leave behind
    @param objects KiB of that which the objects need that stay by design, on amd64
    @param inspected whether the inspector is in the process
    @param times how many things are done each time
    @param shell whether commands are run; without it each is logged only
    """

    def __init__(self, once: Callable[[PrivateRoot], None], count: int, most: float,
                 objects: float = 0, inspected: bool = True, times: int = 1,
                 shell: bool = True) -> None:
        self.once, self.count, self.most, self.objects = once, count, most + objects, objects
        self.inspected, self.times, self.shell = inspected, times, shell
        self.figure = ""

    def throw(self) -> None:
        fast = LAUNCH.replace("program", f'program /usr/bin/env FAKETIME="+0 x{FASTER}"')
        with stored_root(launch=fast, preload=[CLOCK], keys=True,
                         inspected=self.inspected) as root:
            root.unwrap("ls")
            if not self.shell:
                root.unwrap("sh", COUNTING)
            root.start(shown=self.inspected)
            root.wait_calls("ifconfig", 1, SECONDS)
            for _ in range(min(self.count // 4, WARM_UP // self.times) + 2):
                self.once(root)
            memory, descriptors, files = self._state(root)
            for _ in range(self.count):
                self.once(root)
            after, descriptors_after, files_after = self._state(root)
            grown = max(after - memory, 0)
            done = self.count * self.times
            self.figure = (f"{grown} KiB, {grown / done:.1f} KiB each"
                           + (f"; objects kept by design: {self.objects} KiB each, measured over "
                              "300" if self.objects else ""))
            expect(grown <= self.most * self.count + SETTLED_KIB, f"grown by {self.figure}")
            expect(descriptors_after == descriptors, f"descriptors: {descriptors_after}")
            expect(files_after == files, f"files: {files_after ^ files}")
            if self.inspected:
                root.panel.press("Exit")
            else:
                root.signal(SIGTERM)
            ended(root)

    def _state(self, root: PrivateRoot) -> tuple[int, dict[int, str], set[str]]:
        at_rest(root)
        return private_kib(root.pid), root.descriptors(), files_of(root)


def rows() -> list[Row]:
    return [Row(name, growth.throw, chosen=name in CHOSEN) for name, growth in TABLE.items()]


CHOSEN = ("20 failed attempts", "20 times link up and down")
# What a closed notice and a busy bar take, measured over 300 made and closed alone. Each time, 63
# and 18 KiB are in use (malloc_stats), 10 KiB by Qt for each widget under a style sheet; the rest
# are gaps in the heap.
NOTICE_KIB, BAR_KIB = 72, 21
TABLE = {
    "300 failed attempts": Growth(fail, 300, 8, NOTICE_KIB + BAR_KIB),
    "10,000 link checks, no inspector": Growth(
        check, 10_000 // CHECKS, 0, inspected=False, times=CHECKS, shell=False),
    "50 unplugs and replugs of the dongle, no inspector": Growth(
        replug, 50, 0, inspected=False, shell=False),
    "20 failed attempts": Growth(fail, 20, 8, NOTICE_KIB + BAR_KIB),
    "keyboard shown 100 times": Growth(raise_keys, 100, 0.5),
    "20 times link up and down": Growth(dial, 20, 8, BAR_KIB),
}
GROUPS = [Group("growth", "memory growth over time", rows,
                figures=lambda: [f"{name}: {growth.figure}" for name, growth in TABLE.items()
                                 if growth.figure])]
