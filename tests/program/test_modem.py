"""The signal query over the AT port, the ping test, and failing system calls for port and chip."""

import time
from collections.abc import Callable
from functools import partial

import pytest

from panel.constants import MISC
from privateroot.operating import (alive, call, expect, leave, ping, query_signal, signal_value,
                                   stored_root)
from privateroot.process import PrivateRoot
from program.injection import Call, Fault, expect_injected, launch, untouched_run
from program.modem import Modem
from program.programtest import clocks, expect_lasted, row
from program.conftest import Roots

PLAIN_TEXT = 0
QUERY = b"AAT+CSQ\r"
CHIP = "/dev/spidev1.0"
PORT = "/dev/ttyUSB0"
CHINESE = 1  # language parameter of the chip
# Content of a regular file used as the port: the query reads what follows the bytes that it writes.
REPLY = "\r\n+CSQ: 17,99\r\n\r\nOK\r\n"
OPEN, FIRST, SECOND, SILENCE = (f"{step} error" for step in (
    "open ttyUSB0", "write ATZ", "write ttyUSB0", "read ttyUSB0"))
CHIP_CALLS = (Call("openat", 1), Call("pread64", 1))  # of the device; of the stand-in's memory
# Text on the panel when the call fails once, and after the next query when all later calls fail.
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
Modems = Callable[..., Modem]


def asked(roots: Roots, modem: Modem) -> PrivateRoot:
    """Start the program with this modem as its port."""
    root = roots.new(nodes=())
    root.add_node("ttyUSB0", modem.path)
    return root.start()


def bar(root: PrivateRoot) -> int:
    return root.panel.screen().orphans("QProgressBar")[0]["value"]


# Parts that the modem sends, seconds before each part, text of the label, value of the bar.
@pytest.mark.parametrize("chunks, pause, text, value", (
    (["\r\n+CSQ: 17,99\r\n\r\nOK\r\n"], 0, "\r\n+CSQ: 17,99\r\n\r\nOK\r\n", 54),
    (["\r\n+CSQ: 99,99\r\n\r\nOK\r\n"], 0, "No Signal", 0),
    (["\r\n+CSQ", ": 17,99\r\n"], 0.3, "\r\n+CSQ", 0),
    (["\r\n+CSQ: 17,99\r\n"], 2, "\r\n+CSQ: 17,99\r\n", 54),
    (["\r\n<b>QQ:17,</b>\r\n"], 0, "\r\n<b>QQ:17,</b>\r\n", 54),
    (["\r\n+CSQ: 17" + "x" * 300], 0, "\r\n+CSQ: 17" + "x" * 118, 54)),
    ids=("signal", "no signal", "in two parts", "late", "markup", "more than a read"))
def test_replies(roots: Roots, modems: Modems, chunks: list[str], pause: float, text: str,
                 value: int) -> None:
    modem = modems(map(str.encode, chunks), pause)
    root = asked(roots, modem)
    assert query_signal(root) == 0
    label = signal_value(root)
    assert (label["text"], label["format"]) == (text, PLAIN_TEXT)
    assert bar(root) == value
    assert modem.heard == QUERY
    assert modem.path not in root.descriptors().values()


@clocks()
def test_silence(roots: Roots, modems: Modems) -> None:
    """Without an answer the query fails after 3 s, during which the panel accepts touches; the bar
    keeps its value. A second query during the wait fails, too."""
    root = asked(roots, modems([b"\r\n+CSQ: 17,99\r\n"]))
    assert query_signal(root) == 0
    silent = modems()
    root.remove_node("ttyUSB0")
    root.add_node("ttyUSB0", silent.path)

    def meanwhile() -> None:
        root.panel.open_tab(MISC, 1)
        assert query_signal(root) == -1

    begin = time.monotonic()
    assert query_signal(root) == -1
    expect_lasted(time.monotonic() - begin, 3.0)
    assert query_signal(root, meanwhile) == -1
    assert (signal_value(root)["text"], bar(root)) == (SILENCE, 54)
    assert silent.heard == QUERY * 3
    assert silent.path not in root.descriptors().values()


def test_not_asked(roots: Roots) -> None:
    """Call the slot with flags other than 1, then without a device node. It sends nothing."""
    root = roots.new().start()
    before = len(root.calls("ls"))
    for flag in (0, 2):
        call(root, "checkSignalStrength", flag)
    assert len(root.calls("ls")) == before
    assert root.read("/dev/ttyUSB0") == b""
    root.remove_node("ttyUSB0")
    assert query_signal(root) == 1
    assert len(root.calls("ls")) == before + 1
    assert signal_value(root)["text"] == ""


def test_dongle_pulled_while_asked(roots: Roots, modems: Modems) -> None:
    modem = modems()
    root = asked(roots, modem)

    def pull() -> None:
        root.wait(lambda screen: modem.heard == QUERY, 2, "the query")
        root.remove_node("ttyUSB0")
        modem.close()

    assert query_signal(root, pull) == -1
    assert signal_value(root)["text"] == SILENCE


def test_ping(roots: Roots) -> None:
    root = roots.new().start()
    root.answer("ping", "echo one; echo bad >&2; echo '<b>two</b>'")
    # QTextEdit appends a newline to the output, which already ends in one.
    first = "oo\none\n<b>two</b>\n\nbad\n"
    assert ping(root) == first
    root.answer("ping", "printf 'seen\\0unseen'; exit 1")
    assert ping(root) == first + "\noo\nseen\n"
    assert [call.arguments for call in root.calls("ping")] == ["-c 3 168.95.1.1"] * 2


@pytest.mark.parametrize("fault, inspected", [
    *(row(f"chip: {make(call)}", make(call), True, everyday=make is interrupted)
      for call in CHIP_CALLS for make in (once, lasting, interrupted)),
    *(row(f"chip: {lasting(call)}, no inspector", lasting(call), False) for call in CHIP_CALLS)])
def test_chip(fault: Fault, inspected: bool) -> None:
    """Make the chip's calls fail. The program starts in English, as on a board without a chip."""
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
def test_port(roots: Roots, fault: Fault) -> None:
    """Run a query with a fault, and a second query afterwards."""
    at_once, ever = QUERY_CALLS[fault.call]
    root = roots.stored(launch=launch(fault, (PORT,)))
    root.write(PORT, "." * len(QUERY) + REPLY)
    root.start()
    query(root, ever if fault.lasting and fault.call.name == "read" else at_once)
    expect_injected(root)
    if fault.call.name != "close":
        root.wait_until(lambda: PORT not in root.descriptors().values(), 2, "the port closed")
    query(root, ever if fault.lasting else REPLY)
    alive(root)
