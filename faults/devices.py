"""The chip's device and the modem's port: what may stand in their place, and failing calls."""

from __future__ import annotations

import os
from collections.abc import Callable
from functools import partial
from pathlib import Path
from signal import SIGTERM

from faults.panel import alive, leave, stored_root
from faults.rows import Group, Row, expect
from faults.trace import Call, Fault, launch
from panel.facts import CHIP_MARKER
from privateroot.process import PrivateRoot

CHIP = "/dev/spidev1.0"
PORT = "/dev/ttyUSB0"
KINDS: dict[str, Callable[[Path], object]] = {
    "missing": lambda path: None,
    "a folder": Path.mkdir,
    "a FIFO": os.mkfifo,
    "a file": lambda path: path.write_bytes(bytes(32768)),
    "no device of this kind": lambda path: path.symlink_to("/dev/null"),
    "a loop of links": lambda path: path.symlink_to(path.name),
}
CHIP_CALLS = (Call("openat", 1), Call("ioctl", 1), Call("ioctl", 5), Call("ioctl", 6),
              Call("ioctl", 7))
QUERY_CALLS = (Call("openat", 1), Call("fcntl", 1), Call("write", 1), Call("write", 2),
               Call("read", 1), Call("close", 1))


def english(root: PrivateRoot) -> None:
    """The panel is there, in the language of a board without a chip."""
    expect(root.panel.button("Connect"), "the English screen")
    alive(root)
    leave(root)


def throw_chip(make: Callable[[Path], object]) -> None:
    """No stand-in for the chip: what is there is opened and asked as it is."""
    with stored_root(chip=False) as root:
        root.write(CHIP_MARKER, b"")
        make(root.host(CHIP))
        english(root.start())


def throw_chip_call(fault: Fault) -> None:
    with stored_root(chip=False, launch=launch(fault, (CHIP,))) as root:
        root.write(CHIP_MARKER, b"")
        root.host(CHIP).write_bytes(bytes(32768))
        english(root.start())


def ask(root: PrivateRoot) -> None:
    """Asks for the signal until there is an answer or the query gives up."""
    call = root.panel.invoke("Makeup", "checkSignalStrength", 1)
    root.wait(lambda screen: not screen.invoked[call]["running"], 10, "the query's end")


def throw_port(make: Callable[[Path], object]) -> None:
    with stored_root(nodes=()) as root:
        make(root.host(PORT))
        if not os.path.lexists(root.host(PORT)):
            root.add_node("ttyUSB1")
        root.start()
        ask(root)
        alive(root)
        leave(root)


def throw_port_call(fault: Fault) -> None:
    with stored_root(launch=launch(fault, (PORT,))) as root:
        root.start()
        ask(root)
        if fault.call.name != "close":
            root.wait_until(lambda: PORT not in root.descriptors().values(), 2, "the port closed")
        alive(root)
        leave(root)


def throw_ended_while_asking() -> None:
    """A silent modem, and SIGTERM in the wait for its answer."""
    with stored_root(nodes=()) as root:
        os.mkfifo(root.host(PORT))
        root.start()
        root.panel.invoke("Makeup", "checkSignalStrength", 1)
        root.signal(SIGTERM)
        expect(root.wait_exit(10) == 0, f"exit status 0:\n{root.report()}")


def rows() -> list[Row]:
    return [
        *(Row(f"the chip's device is {name}", partial(throw_chip, make))
          for name, make in KINDS.items()),
        *(Row(f"chip: {fault}", partial(throw_chip_call, fault)) for call in CHIP_CALLS
          for fault in (Fault(call, "error=EIO"), Fault(call, "error=EINTR", lasting=True))),
        *(Row(f"the modem's port is {name}", partial(throw_port, make))
          for name, make in KINDS.items()),
        *(Row(f"signal query: {fault}", partial(throw_port_call, fault)) for call in QUERY_CALLS
          for fault in (Fault(call, "error=EIO"), Fault(call, "error=EINTR", lasting=True))),
        Row("ended while the modem is silent", throw_ended_while_asking, chosen=True),
    ]


GROUPS = [Group("devices", "the chip and the modem's port", rows)]
