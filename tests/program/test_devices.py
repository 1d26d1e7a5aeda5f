"""System calls for the F-RAM chip's device and the modem's port fail."""

from functools import partial

import pytest

from privateroot.operating import (alive, expect, leave, query_signal, signal_value, stored_root)
from privateroot.process import PrivateRoot
from program.injection import Call, Fault, expect_injected, launch, untouched_run
from program.programtest import row

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
once, interrupted = (partial(Fault, deed=f"error={error}") for error in ("EIO", "EINTR"))
lasting = partial(once, lasting=True)


@pytest.mark.parametrize("fault, inspected", [
    *(row(f"chip: {make(call)}", make(call), True, everyday=make is interrupted)
      for call in CHIP_CALLS for make in (once, lasting, interrupted)),
    *(row(f"chip: {lasting(call)}, no inspector", lasting(call), False) for call in CHIP_CALLS)])
def test_chip(fault: Fault, inspected: bool) -> None:
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
        expect_injected(root)


def query(root: PrivateRoot, text: str) -> None:
    """Query the signal, and check the text on the panel."""
    query_signal(root)
    found = signal_value(root)["text"]
    expect(found == text, f"the signal is {found!r}, not {text!r}")


@pytest.mark.parametrize("fault", [
    row(f"signal query: {make(call)}", make(call), everyday=make is once and call.name == "write")
    for call in QUERY_CALLS for make in (once, lasting, interrupted)])
def test_port(fault: Fault) -> None:
    """Run a query with a fault and a query after it."""
    at_once, ever = QUERY_CALLS[fault.call]
    with stored_root(launch=launch(fault, (PORT,))) as root:
        root.write(PORT, "." * len(QUERY) + REPLY)
        root.start()
        query(root, ever if fault.lasting and fault.call.name == "read" else at_once)
        expect_injected(root)
        if fault.call.name != "close":
            root.wait_until(lambda: PORT not in root.descriptors().values(), 2, "the port closed")
        query(root, ever if fault.lasting else REPLY)
        alive(root)
        leave(root)
