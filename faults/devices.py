"""Fails system calls for the chip's device and the modem's port."""

from __future__ import annotations

from functools import partial

from faults.rows import Group, Row
from faults.trace import Call, Fault, launch, thrown
from faults.unseen import untouched_run
from privateroot.operating import (alive, expect, leave, query_signal, signal_value,
                                   stored_root)
from privateroot.process import PrivateRoot

CHIP = "/dev/spidev1.0"
PORT = "/dev/ttyUSB0"
CHINESE = 1  # language parameter of the chip
# A regular file as the port returns its content after the bytes that the query has written.
QUERY = "AAT+CSQ\r"
REPLY = "\r\n+CSQ: 17,99\r\n\r\nOK\r\n"
OPEN, FIRST, SECOND, SILENCE = (f"{step} error" for step in (
    "open ttyUSB0", "write ATZ", "write ttyUSB0", "read ttyUSB0"))
CHIP_CALLS = (Call("openat", 1), Call("pread64", 1))  # the device; the stand-in's block
# Text on the panel when a call fails once, and of the next query when all later calls fail too.
QUERY_CALLS = {
    Call("openat", 1): (OPEN, OPEN),
    Call("fcntl", 1): (REPLY, REPLY),
    Call("write", 1): (FIRST, FIRST),
    Call("write", 2): (SECOND, FIRST),
    Call("read", 1): (REPLY, SILENCE),
    Call("close", 1): (REPLY, REPLY),
}


def throw_chip_call(fault: Fault, inspected: bool) -> None:
    """Check that the program starts in the language of a board without a chip."""
    with stored_root(launch=launch(fault, (CHIP,)), inspected=inspected) as root:
        root.add_chip(CHINESE)
        if inspected:
            root.start()
            expect(root.panel.button("Connect"), "the English screen")
            alive(root)
            leave(root)
        else:
            untouched_run(root)
        thrown(root)


def query(root: PrivateRoot, text: str) -> None:
    """Query the signal, and check the text on the panel."""
    query_signal(root)
    found = signal_value(root)["text"]
    expect(found == text, f"the signal is {found!r}, not {text!r}")


def throw_port_call(fault: Fault) -> None:
    """Run a query with a fault and a query after it."""
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
