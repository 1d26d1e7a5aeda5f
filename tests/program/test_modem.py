"""The signal query over the AT port and the ping test, called as slots of the controller."""

import time
from collections.abc import Callable

from panel.constants import MISC
from privateroot.operating import ping, query_signal, signal_value
from privateroot.process import PrivateRoot
from program.modem import Modem
from program.programtest import clocks, expect_lasted
from program.conftest import Roots

PLAIN_TEXT = 0
QUERY = b"AAT+CSQ\r"
Modems = Callable[..., Modem]


def asked(roots: Roots, modem: Modem) -> PrivateRoot:
    """Start the program with this modem as its port."""
    root = roots.new(nodes=())
    root.add_node("ttyUSB0", modem.path)
    return root.start()


def test_response(roots: Roots, modems: Modems) -> None:
    """The label shows the first read of a late response as plain text. tst_csqresponse has other
    responses."""
    modem = modems(b"\r\n<b>QQ:17,</b>\r\n" + b"x" * 300, 1)
    root = asked(roots, modem)
    assert query_signal(root) == 0
    label = signal_value(root)
    assert label["text"] == "\r\n<b>QQ:17,</b>\r\n" + "x" * 111
    assert label["format"] == PLAIN_TEXT
    assert root.panel.screen().orphans("QProgressBar")[0]["value"] == 54
    assert modem.heard == QUERY
    assert modem.path not in root.descriptors().values()


@clocks()
def test_silence(roots: Roots, modems: Modems) -> None:
    """Without an answer the query fails after 3 s, during which the panel accepts touches."""
    modem = modems()
    root = asked(roots, modem)
    begin = time.monotonic()
    assert query_signal(root, lambda: root.panel.open_tab(MISC, 1)) == -1
    expect_lasted(time.monotonic() - begin, 3.0)
    assert signal_value(root)["text"] == "read ttyUSB0 error"
    assert modem.heard == QUERY
    assert modem.path not in root.descriptors().values()


def test_ping(roots: Roots) -> None:
    """The box gets both outputs as plain text, up to a zero byte, and of each the first 64 KiB."""
    root = roots.new().start()
    # QTextEdit appends a newline to the output, which already ends in one.
    for script, text in (
            ("echo one; echo bad >&2; echo '<b>two</b>'", "one\n<b>two</b>\n\nbad\n"),
            ("printf 'seen\\0unseen'; exit 1", "seen\n"),
            ("yes out | head -c 999999; yes err | head -c 999999 >&2",
             "out\n" * 16384 + "\n" + "err\n" * 16384)):
        root.answer("ping", f"PATH=/usr/bin; {script}")
        assert ping(root).endswith(f"oo\n{text}")
    assert {call.arguments for call in root.calls("ping")} == {"-c 3 168.95.1.1"}
