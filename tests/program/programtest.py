"""What the tests of the whole program share."""

from __future__ import annotations

import difflib
import itertools
import os
import threading
import unittest
from collections.abc import Callable
from pathlib import Path
from typing import Any

from panel.patience import patient
from privateroot.operating import STEPPED, step_clock, stored_root
from privateroot.process import PrivateRoot
from privateroot.record import Call

EXPECTED = Path(__file__).resolve().parent.parent / "expected"
CLOCK = os.environ.get("CORVANTA_CLOCK", "")  # where the program's clock steps to, for ./torture


class ProgramTest(unittest.TestCase):
    """Makes private roots that are closed after their test."""

    def root(self, **how: Any) -> PrivateRoot:
        return self._kept(PrivateRoot, how)

    def stored_root(self, **how: Any) -> PrivateRoot:
        """Make a root in which parameters are stored."""
        return self._kept(stored_root, how)

    def started(self, **how: Any) -> PrivateRoot:
        """Start the program with stored parameters."""
        return self.stored_root(**how).start()

    def _kept(self, make: Callable[..., PrivateRoot], how: dict[str, Any]) -> PrivateRoot:
        root = self.enterContext(make(**(STEPPED if CLOCK else {}), **how))
        self.addCleanup(self._assert_no_report, root)  # called before the root is closed
        if CLOCK:
            over = threading.Event()
            stepper = threading.Thread(target=self._step, args=(root, over))
            stepper.start()
            self.addCleanup(stepper.join)
            self.addCleanup(over.set)
        return root

    def _step(self, root: PrivateRoot, over: threading.Event) -> None:
        """Have the program's clock step to and fro."""
        for moment in itertools.cycle(("+0", CLOCK)):
            step_clock(root, moment)
            if over.wait(0.7):
                return

    def _assert_no_report(self, root: PrivateRoot) -> None:
        """The sanitizers have reported nothing, however the test went."""
        self.assertEqual([line for line in root.errors()
                          if "Sanitizer" in line or "runtime error" in line], [])

    def assert_lasted(self, elapsed: float, seconds: float, late: float = 0.4) -> None:
        """@param late seconds of delay on a busy machine; patient() may make it more"""
        self.assertGreater(elapsed, seconds - 0.1)
        self.assertLess(elapsed, seconds + patient(late))

    def assert_period(self, calls: list[Call], seconds: float) -> None:
        """Calls follow each other by so many seconds; each may be late on a busy machine."""
        self.assertGreater(len(calls), 2)
        mean = (calls[-1].time - calls[0].time) / (len(calls) - 1)
        self.assertGreater(mean, 0.6 * seconds)
        self.assertLess(mean, seconds + patient(0.4))

    def assert_file(self, root: PrivateRoot, path: str, expected: str) -> None:
        """Compare a written file with one of tests/expected, byte for byte."""
        found, wanted = root.content(path), (EXPECTED / expected).read_bytes()
        self.assertEqual(found, wanted, "\n" + "".join(difflib.unified_diff(
            wanted.decode().splitlines(True), found.decode().splitlines(True), expected, path)))
