"""The chip's device and the modem's port: what may stand in their place, and failing calls."""

from __future__ import annotations

import os
from collections.abc import Callable
from functools import partial
from pathlib import Path
from signal import SIGTERM

from faults.panel import alive, ended, leave, stored_root, untouched_run
from faults.rows import Group, Row, expect
from faults.trace import Call, Fault, launch
from faults.unseen import thrown
from panel.facts import CHIP_MARKER
from panel.screen import Screen
from privateroot.process import PrivateRoot

CHIP = "/dev/spidev1.0"
PORT = "/dev/ttyUSB0"
CHINESE = 1  # language of the chip
KINDS: dict[str, Callable[[Path], object]] = {
    "missing": lambda path: None,
    "a folder": Path.mkdir,
    "a FIFO": os.mkfifo,
    "a file": lambda path: path.write_bytes(bytes(32768)),
    "no device of this kind": lambda path: path.symlink_to("/dev/null"),
    "a loop of links": lambda path: path.symlink_to(path.name),
}
CHIP_CALLS = (Call("openat", 1), Call("pread64", 1))  # the device; the stand-in's block
QUERIES = ("get spi mode", "set spi mode", "get bits per word", "get max speed hz")
# A plain file answers what it holds behind the bytes that the query has written.
QUERY = "AAT+CSQ\r"
REPLY = "\r\n+CSQ: 17,99\r\n\r\nOK\r\n"
OPEN, FIRST, SECOND, SILENCE = (f"{step} error" for step in (
    "open ttyUSB0", "write ATZ", "write ttyUSB0", "read ttyUSB0"))
KIND_TEXTS = {"missing": OPEN, "a folder": OPEN, "a FIFO": QUERY, "a file": "\0" * 128,
              "no device of this kind": SILENCE, "a loop of links": OPEN}
# What the panel shows when a call fails once, and the next query when all later ones fail, too.
QUERY_CALLS = {
    Call("openat", 1): (OPEN, OPEN),
    Call("fcntl", 1): (REPLY, REPLY),
    Call("write", 1): (FIRST, FIRST),
    Call("write", 2): (SECOND, FIRST),
    Call("read", 1): (REPLY, SILENCE),
    Call("close", 1): (REPLY, REPLY),
}


def english(root: PrivateRoot) -> None:
    """The panel is there, in the language of a board without a chip."""
    expect(root.panel.button("Connect"), "the English screen")
    alive(root)
    leave(root)


def throw_chip(kind: str) -> None:
    """No stand-in for the chip: what is there is opened and asked as it is."""
    with stored_root(chip=False) as root:
        root.write(CHIP_MARKER, b"")
        KINDS[kind](root.host(CHIP))
        root.start()
        english(root)
        printed = root.content("/testrun/stdout").decode()
        if kind in ("a FIFO", "a file", "no device of this kind"):
            expect(all(f"can't {query}" in printed for query in QUERIES), f"queries: {printed}")
        else:
            expect("Can't open SPI device" in printed, f"no device: {printed}")


def throw_chip_call(fault: Fault) -> None:
    with stored_root(launch=launch(fault, (CHIP,))) as root:
        root.add_chip(CHINESE)
        root.start()
        thrown(root)
        english(root)


def throw_unseen_chip_call(fault: Fault) -> None:
    with stored_root(launch=launch(fault, (CHIP,)), inspected=False) as root:
        root.add_chip(CHINESE)
        untouched_run(root)
        thrown(root)


def signal_value(screen: Screen) -> str:
    return next(label["text"] for label in screen.orphans("QLabel")
                if label["text"] != "Signal Strength:")


def ask(root: PrivateRoot, text: str, meanwhile: Callable[[], object] = lambda: None) -> None:
    """Asks for the signal until there is an answer or the query gives up; the panel shows the
    text then."""
    call = root.panel.invoke("Makeup", "checkSignalStrength", 1)
    meanwhile()
    root.wait(lambda screen: not screen.invoked[call]["running"], 10, "the query's end")
    found = signal_value(root.panel.screen())
    expect(found == text, f"the signal is {found!r}, not {text!r}")


def throw_port(kind: str) -> None:
    with stored_root(nodes=("ttyUSB1",)) as root:
        KINDS[kind](root.host(PORT))
        root.start()
        ask(root, KIND_TEXTS[kind])
        alive(root)
        leave(root)


def throw_port_call(fault: Fault) -> None:
    """A query with a fault and a query after it."""
    once, ever = QUERY_CALLS[fault.call]
    with stored_root(launch=launch(fault, (PORT,))) as root:
        root.write(PORT, "." * len(QUERY) + REPLY)
        root.start()
        ask(root, ever if fault.lasting and fault.call.name == "read" else once)
        thrown(root)
        if fault.call.name != "close":
            root.wait_until(lambda: PORT not in root.descriptors().values(), 2, "the port closed")
        ask(root, ever if fault.lasting else REPLY)
        alive(root)
        leave(root)


def throw_ended_while_asking() -> None:
    """A silent modem, and SIGTERM in the wait for its answer."""
    with stored_root(nodes=()) as root:
        root.add_node("ttyUSB0", "/dev/null")
        root.start()
        call = root.panel.invoke("Makeup", "checkSignalStrength", 1)
        expect(root.panel.screen().invoked[call]["running"], "it waits for the answer")
        root.signal(SIGTERM)
        ended(root)


def faults_of(call: Call) -> list[Fault]:
    return [Fault(call, "error=EIO"), Fault(call, "error=EIO", lasting=True),
            Fault(call, "error=EINTR")]


def rows() -> list[Row]:
    return [
        *(Row(f"the chip's device is {kind}", partial(throw_chip, kind)) for kind in KINDS),
        *(Row(f"chip: {fault}", partial(throw_chip_call, fault),
              chosen=fault.deed == "error=EINTR")
          for call in CHIP_CALLS for fault in faults_of(call)),
        *(Row(f"chip: {fault}, no inspector", partial(throw_unseen_chip_call, fault))
          for call in CHIP_CALLS for fault in faults_of(call)[1:2]),
        *(Row(f"the modem's port is {kind}", partial(throw_port, kind)) for kind in KINDS),
        *(Row(f"signal query: {fault}", partial(throw_port_call, fault),
              chosen=fault == Fault(Call("write", 2), "error=EIO"))
          for call in QUERY_CALLS for fault in faults_of(call)),
        Row("ended while the modem is silent", throw_ended_while_asking, chosen=True),
    ]


GROUPS = [Group("devices", "F-RAM chip and modem port fail", rows)]
