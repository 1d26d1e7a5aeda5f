"""What the tests of the whole program share."""

from __future__ import annotations

import difflib
import unittest
from pathlib import Path
from typing import Any

from privateroot import AUTO_CONNECT, CHAT_SCRIPT, PARAMETERS, PEER_FILE, PrivateRoot, wait_until

EXPECTED = Path(__file__).resolve().parent.parent / "expected"
FIELDS = ("APN NAME:", "Dial Num:", "USER:", "PASSWORD:", "PinCode:")
AUTH = "APN Auth Methods:"
SETTING, STATUS, MISC = "3G/4G Setting", "3G/4G Status", "Misc Setting"
STORED = b"internet\n*99#\noperator\nsecret\n\n0\n"
STORED_AUTO = b"1\n5\n"
FILES = (PARAMETERS, AUTO_CONNECT, PEER_FILE, CHAT_SCRIPT)
GREEN, RED = "color:green;", "color:red;"
FAILED = "Connect Fail! Please Check the Parameter And Try Again!"
UNDETECTED = "Undetected dongle,Please plugin and wait a moment!"


class ProgramTest(unittest.TestCase):
    """Makes private roots that end with their test."""

    def root(self, **how: Any) -> PrivateRoot:
        root = PrivateRoot(**how)
        self.addCleanup(root.close)
        return root

    def stored_root(self, **how: Any) -> PrivateRoot:
        """A root in which parameters have been stored."""
        root = self.root(**how)
        root.write(PARAMETERS, STORED)
        root.write(AUTO_CONNECT, STORED_AUTO)
        return root

    def leave(self, root: PrivateRoot, processes: list[str] | None = None) -> None:
        """Touches Exit and looks for what must not be left."""
        root.panel.press("Exit")
        self.assert_ended(root, processes)

    def assert_ended(self, root: PrivateRoot, processes: list[str] | None = None) -> None:
        """The program ends, orderly and leaving no process but those named."""
        self.assertEqual(root.wait_exit(), 0, root.report())
        # A pppd started last may take a moment to come to its own end.
        wait_until(lambda: root.processes() == (processes or []), 2,
                   f"only {processes or []} left, not {root.processes()}")
        self.assertNotIn("usb leak", [f"{call.name} {call.arguments}" for call in root.calls()])

    def assert_file(self, root: PrivateRoot, path: str, expected: str) -> None:
        """Compares a written file with one of tests/expected, byte for byte."""
        content = root.read(path)
        wanted = (EXPECTED / expected).read_bytes()
        if content != wanted:
            lines = difflib.unified_diff(
                wanted.decode().splitlines(True), (content or b"").decode().splitlines(True),
                expected, path)
            self.fail(f"{path} differs:\n{''.join(lines)}")

    def assert_link(self, root: PrivateRoot, up: bool) -> None:
        """Waits until buttons, setting page and PPP label show the link up or down."""
        def shown(screen: Any) -> bool:
            value = screen.value("PPP Status:")
            return (screen.button("Connect")["enabled"] is not up
                    and screen.button("Disconnect")["enabled"] is up
                    and screen.field("APN NAME:")["enabled"] is not up
                    and value["text"] == ("connected" if up else "disconnected")
                    and value["style"] == (GREEN if up else RED))

        root.wait(shown, 5, "link " + ("up" if up else "down"))
