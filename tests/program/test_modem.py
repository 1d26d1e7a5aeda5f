"""The signal query over the AT port, and the ping test."""

import time
from collections.abc import Callable

import pytest

from panel.facts import MISC
from privateroot.operating import call, leave, ping, query_signal, signal_value
from privateroot.process import PrivateRoot
from program.modem import Modem
from program.programtest import clocks, expect_lasted
from program.conftest import Roots

PLAIN_TEXT = 0
SILENCE = "read ttyUSB0 error"
QUERY = b"AAT+CSQ\r"
Modems = Callable[..., Modem]


def asked(roots: Roots, modem: Modem) -> PrivateRoot:
    """Start the program on a port of this modem."""
    root = roots.new(nodes=())
    root.add_node("ttyUSB0", modem.path)
    return root.start()


def bar(root: PrivateRoot) -> int:
    return root.panel.screen().orphans("QProgressBar")[0]["value"]


# What the modem sends, the seconds before each part, and what the label and the bar show of it.
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
    leave(root)


@clocks()
def test_silence(roots: Roots, modems: Modems) -> None:
    """The query ends after 3 s in which the panel answers; the bar keeps its value. A second query
    from within the wait ends, too."""
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
    leave(root)


def test_not_asked(roots: Roots) -> None:
    """With a flag that asks for no query, or without a node."""
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
    leave(root)


def test_dongle_pulled_while_asked(roots: Roots, modems: Modems) -> None:
    modem = modems()
    root = asked(roots, modem)

    def pull() -> None:
        root.wait(lambda screen: modem.heard == QUERY, 2, "the query")
        root.remove_node("ttyUSB0")
        modem.close()

    assert query_signal(root, pull) == -1
    assert signal_value(root)["text"] == SILENCE
    leave(root)


def test_ping(roots: Roots) -> None:
    root = roots.new().start()
    root.answer("ping", "echo one; echo bad >&2; echo '<b>two</b>'")
    # QTextEdit ends a paragraph for the output's own last newline, too.
    first = "oo\none\n<b>two</b>\n\nbad\n"
    assert ping(root) == first
    root.answer("ping", "printf 'seen\\0unseen'; exit 1")
    assert ping(root) == first + "\noo\nseen\n"
    assert [call.arguments for call in root.calls("ping")] == ["-c 3 168.95.1.1"] * 2
    leave(root)
