"""The chip's device and the modem's port: what may be in their place, and failing calls."""

from __future__ import annotations

from functools import partial

from faults.rows import Group, Row
from faults.trace import Call, Fault, launch, thrown
from faults.unseen import untouched_run
from panel.facts import CHIP_MARKER
from privateroot.operating import (alive, expect, leave, query_signal, signal_value,
                                   stored_root)
from privateroot.process import PrivateRoot

CHIP = "/dev/spidev1.0"
PORT = "/dev/ttyUSB0"
CHINESE = 1  # language of the chip
# A plain file answers what it holds behind the bytes that the query has written.
QUERY = "AAT+CSQ\r"
REPLY = "\r\n+CSQ: 17,99\r\n\r\nOK\r\n"
OPEN, FIRST, SECOND, SILENCE = (f"{step} error" for step in (
    "open ttyUSB0", "write ATZ", "write ttyUSB0", "read ttyUSB0"))
# What is in the chip's place, and what the program prints about it.
CHIPS: dict[str, tuple[str, list[str]]] = {
    "missing": ("", ["Can't open SPI device"]),
    "another device": ("/dev/null", [f"can't {query}" for query in (
        "get spi mode", "set spi mode", "get bits per word", "get max speed hz")]),
}
CHIP_CALLS = (Call("openat", 1), Call("pread64", 1))  # the device; the stand-in's block
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


def throw_chip(target: str, messages: list[str]) -> None:
    """No stand-in for the chip: what is there is opened and asked as it is."""
    with stored_root(chip=False) as root:
        root.write(CHIP_MARKER, b"")
        if target:
            root.host(CHIP).symlink_to(target)
        english(root.start())
        printed = root.content("/testrun/stdout").decode()
        for text in messages:
            expect(text in printed, f"{text}: {printed}")


def throw_chip_call(fault: Fault, inspected: bool) -> None:
    with stored_root(launch=launch(fault, (CHIP,)), inspected=inspected) as root:
        root.add_chip(CHINESE)
        if inspected:
            english(root.start())
        else:
            untouched_run(root)
        thrown(root)


def query(root: PrivateRoot, text: str) -> None:
    """Query the signal; the panel shows the text then."""
    query_signal(root)
    found = signal_value(root)["text"]
    expect(found == text, f"the signal is {found!r}, not {text!r}")


def throw_port_call(fault: Fault) -> None:
    """A query with a fault and a query after it."""
    once, ever = QUERY_CALLS[fault.call]
    with stored_root(launch=launch(fault, (PORT,))) as root:
        root.write(PORT, "." * len(QUERY) + REPLY)
        root.start()
        query(root, ever if fault.lasting and fault.call.name == "read" else once)
        thrown(root)
        if fault.call.name != "close":
            root.wait_until(lambda: PORT not in root.descriptors().values(), 2, "the port closed")
        query(root, ever if fault.lasting else REPLY)
        alive(root)
        leave(root)


def rows() -> list[Row]:
    once, interrupted = (partial(Fault, deed=f"error={error}") for error in ("EIO", "EINTR"))
    lasting = partial(once, lasting=True)
    return [
        *(Row(f"the chip's device is {name}", partial(throw_chip, *chip))
          for name, chip in CHIPS.items()),
        *(Row(f"chip: {make(call)}", partial(throw_chip_call, make(call), True),
              chosen=make is interrupted)
          for call in CHIP_CALLS for make in (once, lasting, interrupted)),
        *(Row(f"chip: {lasting(call)}, no inspector", partial(
            throw_chip_call, lasting(call), False)) for call in CHIP_CALLS),
        *(Row(f"signal query: {make(call)}", partial(throw_port_call, make(call)),
              chosen=make is once and call.name == "write")
          for call in QUERY_CALLS for make in (once, lasting, interrupted)),
    ]


GROUPS = [Group("devices", "F-RAM chip and modem port fail", rows)]
