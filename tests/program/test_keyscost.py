"""What the on-screen keys take from a board that has little.

Not under sanitizers: what they keep to find faults is not the program's.
"""

import time
import unittest

from privateroot.process import PrivateRoot
from privateroot.procfs import private_kib, wakeups
from programtest import ProgramTest


class Cost(ProgramTest):
    def started(self, size: tuple[int, int]) -> PrivateRoot:
        return self.stored_root(size=size, keys=True).start()

    def wake_ups(self, root: PrivateRoot) -> int:
        time.sleep(0.5)  # until it has done what was asked of it
        before = wakeups(root.pid)
        time.sleep(2)
        return wakeups(root.pid) - before

    def test_an_idle_board_sleeps(self) -> None:
        """With a focused field, too: before the keys have been up and after."""
        root = self.started((480, 272))
        root.panel.key("Tab")
        root.panel.wait(lambda screen: screen.field("APN NAME:")["focus"], 5, "the focus")
        self.assertEqual(self.wake_ups(root), 0)
        root.panel.raise_keys("PinCode:")
        self.assertLessEqual(self.wake_ups(root), 5)  # the caret
        root.panel.put_keys_away()
        self.assertEqual(self.wake_ups(root), 0)

    def test_hidden_keys_keep_little(self) -> None:
        root = self.started((1280, 800))
        time.sleep(1)  # until the start has come to its end
        root.panel.screen()
        before = private_kib(root.pid)
        for _ in range(5):
            root.panel.raise_keys("PinCode:")
            root.panel.put_keys_away()
        self.assertLess(private_kib(root.pid) - before, 1024)


if __name__ == "__main__":
    unittest.main()
