"""The signal query over the AT port, and the ping test."""

import time
import unittest
from collections.abc import Iterable
from typing import NamedTuple

from modem import Modem
from panel.screen import Screen, Widget
from privateroot.process import PrivateRoot
from programtest import ProgramTest

PLAIN_TEXT = 0
SILENCE = "read ttyUSB0 error"
QUERY = b"AAT+CSQ\r"


class Reply(NamedTuple):
    """What the modem sends and what the panel's signal widgets show of it."""

    name: str
    chunks: list[bytes]
    text: str
    bar: int
    pause: float = 0.0


REPLIES = (
    Reply("17", [b"\r\n+CSQ: 17,99\r\n\r\nOK\r\n"], "\r\n+CSQ: 17,99\r\n\r\nOK\r\n", 54),
    Reply("99", [b"\r\n+CSQ: 99,99\r\n\r\nOK\r\n"], "No Signal", 0),
    Reply("in pieces", [b"\r\n+CSQ", b": 17,99\r\n"], "\r\n+CSQ", 0, 0.3),
    Reply("late", [b"\r\n+CSQ: 17,99\r\n"], "\r\n+CSQ: 17,99\r\n", 54, 2.0),
    Reply("markup", [b"\r\n<b>QQ:17,</b>\r\n"], "\r\n<b>QQ:17,</b>\r\n", 54),
    Reply("more than a read", [b"\r\n+CSQ: 17" + b"x" * 300], "\r\n+CSQ: 17" + "x" * 118, 54),
)


def signal_value(screen: Screen) -> Widget:
    """The label on no page that shows the signal."""
    return next(w for w in screen.orphans("QLabel") if w["text"] != "Signal Strength:")


def signal_bar(screen: Screen) -> int:
    return int(screen.orphans("QProgressBar")[0]["value"])


class SignalQuery(ProgramTest):
    def modem(self, chunks: Iterable[bytes] = (), pause: float = 0.0) -> Modem:
        modem = Modem(chunks, pause)
        self.addCleanup(modem.close)
        return modem

    def with_modem(self, modem: Modem) -> PrivateRoot:
        root = self.root(nodes=())
        root.add_node("ttyUSB0", modem.path)
        return root.start()

    def ask(self, root: PrivateRoot, flag: int = 1) -> int:
        return root.panel.invoke("Makeup", "checkSignalStrength", flag)

    def result(self, root: PrivateRoot, call: int, timeout: float = 5.0) -> int:
        """Waits for the end of an asked query. @return its result"""
        root.wait(lambda screen: not screen.invoked[call]["running"], timeout, "the query's end")
        return int(root.panel.screen().invoked[call].get("result", 0))

    def assert_port_closed(self, root: PrivateRoot, modem: Modem) -> None:
        self.assertNotIn(modem.path, root.descriptors().values())

    def test_replies(self) -> None:
        for reply in REPLIES:
            with self.subTest(reply.name):
                modem = self.modem(reply.chunks, reply.pause)
                root = self.with_modem(modem)
                self.assertEqual(self.result(root, self.ask(root)), 0)
                screen = root.panel.screen()
                self.assertEqual(signal_value(screen)["text"], reply.text)
                self.assertEqual(signal_value(screen)["format"], PLAIN_TEXT)
                self.assertEqual(signal_bar(screen), reply.bar)
                self.assertEqual(modem.heard, QUERY)
                self.assert_port_closed(root, modem)
                self.leave(root)

    def test_silence(self) -> None:
        """Given up after three seconds, in which the panel answers; the bar keeps its value."""
        root = self.with_modem(self.modem([b"\r\n+CSQ: 17,99\r\n"]))
        self.assertEqual(self.result(root, self.ask(root)), 0)
        silent = self.modem()
        root.remove_node("ttyUSB0")
        root.add_node("ttyUSB0", silent.path)
        begin = time.monotonic()
        call = self.ask(root)
        root.panel.open_tab("Misc Setting", 1)
        self.assertTrue(root.panel.screen().invoked[call]["running"])
        self.assertEqual(self.result(root, call), -1)
        self.assert_lasted(time.monotonic() - begin, 3.0)
        screen = root.panel.screen()
        self.assertEqual((signal_value(screen)["text"], signal_bar(screen)), (SILENCE, 54))
        self.assert_port_closed(root, silent)
        self.leave(root)

    def test_two_queries_at_once(self) -> None:
        """The second one is asked from within the first one's wait; both end."""
        modem = self.modem()
        root = self.with_modem(modem)
        calls = [self.ask(root), self.ask(root)]
        self.assertEqual([self.result(root, call, 8) for call in calls], [-1, -1])
        self.assertEqual(modem.heard, QUERY * 2)
        self.assert_port_closed(root, modem)
        self.leave(root)

    def test_port_that_cannot_be_used(self) -> None:
        table = (
            # name, nodes, target of ttyUSB0, flag, result (None: no meaning), text, ls calls
            ("no node", (), None, 1, 1, "", 1),
            ("only another node", ("ttyUSB3",), None, 1, -1, "open ttyUSB0 error", 1),
            ("takes no byte", (), "/dev/full", 1, -1, "write ATZ error", 1),
            ("flag 0", ("ttyUSB0",), None, 0, None, "", 0),
            ("flag 2", ("ttyUSB0",), None, 2, None, "", 0),
        )
        for name, nodes, target, flag, result, text, looks in table:
            with self.subTest(name):
                root = self.root(nodes=["ttyUSB9"]).start()
                root.remove_node("ttyUSB9")
                for node in nodes:
                    root.add_node(node)
                if target is not None:
                    root.add_node("ttyUSB0", target)
                before = len(root.calls("ls"))
                got = self.result(root, self.ask(root, flag))
                if result is not None:
                    self.assertEqual(got, result)
                self.assertEqual(signal_value(root.panel.screen())["text"], text)
                self.assertEqual(len(root.calls("ls")), before + looks)
                if target is None:
                    self.assertIn(root.read("/dev/ttyUSB0"), (None, b""))
                self.leave(root)

    def test_dongle_pulled_while_asked(self) -> None:
        modem = self.modem()
        root = self.with_modem(modem)
        call = self.ask(root)
        root.wait(lambda screen: modem.heard == QUERY, 2, "the query")
        root.remove_node("ttyUSB0")
        modem.drop()
        self.assertEqual(self.result(root, call), -1)
        self.assertEqual(signal_value(root.panel.screen())["text"], SILENCE)
        self.leave(root)


class Ping(ProgramTest):
    def ping(self, root: PrivateRoot) -> list[str]:
        call = root.panel.invoke("Makeup", "pinResponse")
        root.wait(lambda screen: not screen.invoked[call]["running"], 5, "the ping's end")
        return str(root.panel.screen().orphans("QTextEdit")[0]["text"]).split("\n")

    def test_output(self) -> None:
        root = self.root().start()
        root.answer("ping", "echo one; echo bad >&2; echo '<b>two</b>'")
        # QTextEdit ends a paragraph for the output's own last line feed, too.
        first = ["oo", "one", "<b>two</b>", "", "bad", ""]
        self.assertEqual(self.ping(root), first)
        root.answer("ping", "printf 'seen\\0unseen'; exit 1")
        self.assertEqual(self.ping(root), first + ["oo", "seen", ""])
        self.assertEqual([call.arguments for call in root.calls("ping")],
                         ["-c 3 168.95.1.1"] * 2)
        self.leave(root)


if __name__ == "__main__":
    unittest.main()
