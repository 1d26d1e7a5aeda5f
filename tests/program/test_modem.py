"""The signal query over the AT port, and the ping test."""

import time
from collections.abc import Iterable

from modem import Modem
from panel.facts import MISC
from privateroot.operating import call, leave, ping, query_signal, signal_value
from privateroot.process import PrivateRoot
from programtest import ProgramTest

PLAIN_TEXT = 0
SILENCE = "read ttyUSB0 error"
QUERY = b"AAT+CSQ\r"


# What the modem sends after which pause in seconds each, and what the label and the bar show of it.
REPLIES: tuple[tuple[list[bytes], float, str, int], ...] = (
    ([b"\r\n+CSQ: 17,99\r\n\r\nOK\r\n"], 0, "\r\n+CSQ: 17,99\r\n\r\nOK\r\n", 54),
    ([b"\r\n+CSQ: 99,99\r\n\r\nOK\r\n"], 0, "No Signal", 0),
    ([b"\r\n+CSQ", b": 17,99\r\n"], 0.3, "\r\n+CSQ", 0),
    ([b"\r\n+CSQ: 17,99\r\n"], 2, "\r\n+CSQ: 17,99\r\n", 54),
    ([b"\r\n<b>QQ:17,</b>\r\n"], 0, "\r\n<b>QQ:17,</b>\r\n", 54),
    ([b"\r\n+CSQ: 17" + b"x" * 300], 0, "\r\n+CSQ: 17" + "x" * 118, 54),  # more than a read
)


class SignalQuery(ProgramTest):
    def asked(self, chunks: Iterable[bytes] = (), pause: float = 0.0) -> tuple[Modem, PrivateRoot]:
        """Start the program on a port of this modem."""
        modem = Modem(chunks, pause)
        self.addCleanup(modem.close)
        root = self.root(nodes=())
        root.add_node("ttyUSB0", modem.path)
        return modem, root.start()

    def bar(self, root: PrivateRoot) -> int:
        return root.panel.screen().orphans("QProgressBar")[0]["value"]

    def test_replies(self) -> None:
        for chunks, pause, text, bar in REPLIES:
            with self.subTest(chunks):
                modem, root = self.asked(chunks, pause)
                self.assertEqual(query_signal(root), 0)
                value = signal_value(root)
                self.assertEqual((value["text"], value["format"]), (text, PLAIN_TEXT))
                self.assertEqual(self.bar(root), bar)
                self.assertEqual(modem.heard, QUERY)
                self.assertNotIn(modem.path, root.descriptors().values())
                leave(root)

    def test_silence(self) -> None:
        """Given up after 3 s in which the panel answers; the bar keeps its value. A second query
        from within the wait ends, too."""
        _, root = self.asked([b"\r\n+CSQ: 17,99\r\n"])
        self.assertEqual(query_signal(root), 0)
        silent = Modem()
        self.addCleanup(silent.close)
        root.remove_node("ttyUSB0")
        root.add_node("ttyUSB0", silent.path)

        def meanwhile() -> None:
            root.panel.open_tab(MISC, 1)
            self.assertEqual(query_signal(root), -1)

        begin = time.monotonic()
        self.assertEqual(query_signal(root), -1)
        self.assert_lasted(time.monotonic() - begin, 3.0)
        self.assertEqual(query_signal(root, meanwhile), -1)
        self.assertEqual((signal_value(root)["text"], self.bar(root)), (SILENCE, 54))
        self.assertEqual(silent.heard, QUERY * 3)
        self.assertNotIn(silent.path, root.descriptors().values())
        leave(root)

    def test_not_asked(self) -> None:
        """With a flag that asks for no query, or without a node."""
        root = self.root().start()
        before = len(root.calls("ls"))
        for flag in (0, 2):
            call(root, "checkSignalStrength", flag)
        self.assertEqual(len(root.calls("ls")), before)
        self.assertEqual(root.read("/dev/ttyUSB0"), b"")
        root.remove_node("ttyUSB0")
        self.assertEqual(query_signal(root), 1)
        self.assertEqual(len(root.calls("ls")), before + 1)
        self.assertEqual(signal_value(root)["text"], "")
        leave(root)

    def test_dongle_pulled_while_asked(self) -> None:
        modem, root = self.asked()

        def pull() -> None:
            root.wait(lambda screen: modem.heard == QUERY, 2, "the query")
            root.remove_node("ttyUSB0")
            modem.close()

        self.assertEqual(query_signal(root, pull), -1)
        self.assertEqual(signal_value(root)["text"], SILENCE)
        leave(root)

    def test_ping(self) -> None:
        root = self.root().start()
        root.answer("ping", "echo one; echo bad >&2; echo '<b>two</b>'")
        # QTextEdit ends a paragraph for the output's own last newline, too.
        first = "oo\none\n<b>two</b>\n\nbad\n"
        self.assertEqual(ping(root), first)
        root.answer("ping", "printf 'seen\\0unseen'; exit 1")
        self.assertEqual(ping(root), first + "\noo\nseen\n")
        self.assertEqual([call.arguments for call in root.calls("ping")], ["-c 3 168.95.1.1"] * 2)
        leave(root)
