"""What the tests of the whole program share."""

from __future__ import annotations

import difflib
import os
import unittest
from collections.abc import Callable
from pathlib import Path
from typing import Any

from panel.facts import AUTO_CONNECT, GREEN, LINK_STATUS, PARAMETERS, RED, STORED, STORED_AUTO
from panel.patience import patient
from panel.screen import Screen
from privateroot.process import PrivateRoot
from privateroot.record import Call

EXPECTED = Path(__file__).resolve().parent.parent / "expected"
# What may stand in a file's place.
NO_FILES: dict[str, Callable[[Path], None]] = {
    "directory": Path.mkdir,
    "FIFO": os.mkfifo,
    "device": lambda path: path.symlink_to("/dev/full"),
}
DIALLING = ["killall pppd", "pppd call ppp-connect"]  # the commands of a connect


class ProgramTest(unittest.TestCase):
    """Makes private roots that end with their test."""

    def root(self, **how: Any) -> PrivateRoot:
        root = PrivateRoot(**how)
        self.addCleanup(self.close, root)
        return root

    def stored_root(self, **how: Any) -> PrivateRoot:
        """A root in which parameters have been stored."""
        root = self.root(**how)
        root.write(PARAMETERS, STORED)
        root.write(AUTO_CONNECT, STORED_AUTO)
        return root

    def close(self, root: PrivateRoot) -> None:
        """Ends a root; what a sanitizer has found is a failure wherever the test had come to."""
        faults = [line for line in root.errors() if "Sanitizer" in line or "runtime error" in line]
        root.close()
        self.assertEqual(faults, [])

    def leave(self, root: PrivateRoot, processes: list[str] | None = None) -> None:
        """Touches Exit and looks for what must not be left."""
        root.panel.press("Exit")
        self.assert_ended(root, processes)

    def assert_ended(self, root: PrivateRoot, processes: list[str] | None = None) -> None:
        """The program ends, orderly and leaving no process but those named."""
        self.assertEqual(root.wait_exit(), 0, root.report())
        # A pppd started last may take a moment to come to its own end.
        root.wait_until(lambda: root.processes() == (processes or []), 2,
                        f"only {processes or []} left, not {root.processes()}")
        self.assertNotIn("usb leak", map(str, root.calls()))

    def assert_lasted(self, elapsed: float, seconds: float, late: float = 0.4) -> None:
        """A busy machine may be late.
        @param late seconds, of which patient() may make more"""
        self.assertGreater(elapsed, seconds - 0.1)
        self.assertLess(elapsed, seconds + patient(late))

    def assert_period(self, calls: list[Call], seconds: float) -> None:
        """Calls that follow each other by so many seconds; each may be late on a busy machine."""
        self.assertGreater(len(calls), 2)
        mean = (calls[-1].time - calls[0].time) / (len(calls) - 1)
        self.assertGreater(mean, 0.6 * seconds)
        self.assertLess(mean, seconds + patient(0.4))

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
        def shown(screen: Screen) -> bool:
            value = screen.value(LINK_STATUS)
            return (screen.button("Connect")["enabled"] is not up
                    and screen.button("Disconnect")["enabled"] is up
                    and screen.field("APN NAME:")["enabled"] is not up
                    and value["text"] == ("connected" if up else "disconnected")
                    and value["style"] == (GREEN if up else RED))

        root.wait(shown, 5, "link " + ("up" if up else "down"))
