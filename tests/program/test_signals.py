"""SIGUSR1 in numbers that no one sends on purpose."""

import time
import unittest
from signal import SIGUSR1

from panel.facts import STATUS
from privateroot.process import PrivateRoot
from privateroot.procfs import is_pending
from privateroot.waiting import wait_until
from programtest import ProgramTest

FLOOD = 2000
PENDING = 278  # what the bridge's socket holds
SLOW_UNTIL_TOLD = """
while [ ! -e /testrun/go-on ]; do /usr/bin/sleep 0.02; done
/usr/bin/cat /testrun/interfaces
"""


class Floods(ProgramTest):
    def flood(self, root: PrivateRoot) -> None:
        """Sends the signals so that none of them merges with another, then ends the command."""
        for _ in range(FLOOD):
            root.signal(SIGUSR1)
            deadline = time.monotonic() + 2
            while is_pending(root.pid, SIGUSR1):
                self.assertLess(time.monotonic(), deadline, "the handler does not return")
        root.write("/testrun/go-on", "")

    def busy_root(self) -> PrivateRoot:
        """A program whose GUI thread is in a slow command."""
        root = self.stored_root().start()
        self.keep_busy(root)
        return root

    def keep_busy(self, root: PrivateRoot) -> None:
        root.answer("ifconfig", SLOW_UNTIL_TOLD)
        root.signal(SIGUSR1)
        root.wait_calls("ifconfig", 2)

    def test_while_busy(self) -> None:
        """The handler drops what the socket cannot hold; all else is served, and so is a touch."""
        root = self.busy_root()
        self.flood(root)
        root.panel.open_tab(STATUS, 5)
        root.panel.press("Connect")
        root.wait_calls("pppd", 1)
        root.set_link(True)  # on a slow machine the notice would cover Exit
        root.wait_calls("ifconfig", 200, 60)
        self.leave(root)
        self.assertLessEqual(len(root.calls("ifconfig")), PENDING + 10)

    def test_exit_with_checks_pending(self) -> None:
        root = self.stored_root().start()
        button = root.panel.button("Exit")
        self.keep_busy(root)
        self.flood(root)
        root.panel.click(button)
        self.assert_ended(root)

    def test_while_ending(self) -> None:
        """The handler outlives the controller; late signals have no visible effect."""
        root = self.stored_root().start()
        root.panel.press("Exit")
        for _ in range(20000):
            if root.exit_status() is not None:
                break
            try:
                root.signal(SIGUSR1)
            except ProcessLookupError:
                break
        self.assert_ended(root)

    def test_one_at_a_time(self) -> None:
        """One signal, one check: no more and no less."""
        root = self.stored_root().start()
        for number in range(2, 12):
            root.signal(SIGUSR1)
            root.wait_calls("ifconfig", number)
            # The status label's look at /dev ends the check.
            wait_until(lambda: len(root.calls("ls")) == 1 + number, 2, "the check's end")
        self.leave(root)
        self.assertEqual(len(root.calls("ifconfig")), 11)

    def test_descriptors_and_processes_stay_few(self) -> None:
        """Checks, polls and touches by the hundred leave nothing open."""
        root = self.stored_root().start()
        before = len(root.descriptors())
        for number in range(60):
            root.signal(SIGUSR1)
            root.wait_calls("ifconfig", number + 2)
        wait_until(lambda: len(root.descriptors()) <= before + 1, 3, "the descriptors closed")
        wait_until(lambda: not root.processes(), 3, "the last check's commands gone")
        self.leave(root)


if __name__ == "__main__":
    unittest.main()
