#!/usr/bin/python3
"""Years on: a clock in 2040, files of 3 GB, and an ordered end in an attempt."""

import re
import subprocess
import time
import unittest

from boardtest import BoardTest
from host.paths import ARM
from panel.facts import CHECK_SECONDS, PARAMETERS, PPP_LOG, SOON_SECONDS, STORED

HUGE = 3 << 30  # bytes
# Functions of the C library that know neither large files nor late times on 32-bit boards.
NARROW = re.compile(r" U (stat|fstat|lstat|fstatat|open|openat|lseek|ftruncate|pread|pwrite|mmap|"
                    r"time|gettimeofday|clock_gettime|utimensat)(@|$)", re.MULTILINE)


class Future(BoardTest):
    size = (480, 272)

    def stored(self) -> bytes:
        return self.board.guest.read(PARAMETERS)

    def test_narrow_functions(self) -> None:
        """Nothing of ours calls them."""
        names = subprocess.run(["arm-linux-gnueabihf-nm", "-D", ARM / "app/corvanta"], check=True,
                               capture_output=True, text=True).stdout
        self.assertIn(" U ", names)
        self.assertEqual(NARROW.findall(names), [])

    def test_files_dated_2040(self) -> None:
        """Shown, and saved."""
        self.board.dongle.plug()
        self.board.guest.write(PARAMETERS, STORED)
        self.board.guest.sh(f"touch -d 2040-01-01 {PARAMETERS}")
        self.assertEqual(self.board.guest.sh(f"date -r {PARAMETERS} +%Y").strip(), "2040")
        self.start_program()
        self.assertEqual(self.panel.field("USER:")["text"], "operator")
        self.panel.fill("APN NAME:", "later")
        self.panel.press("Exit")
        self.assertEqual(self.board.program.wait_end(SOON_SECONDS), 0)
        self.assertEqual(self.stored(), STORED.replace(b"internet", b"later"))

    def test_large_files(self) -> None:
        """Parameters and a log of 3 GB: shown, saved and rotated."""
        self.board.dongle.plug()
        self.board.guest.write(PARAMETERS, STORED)
        self.board.guest.sh(f"truncate -s {HUGE} {PARAMETERS} {PPP_LOG}")
        self.start_program()
        self.assertEqual(self.panel.field("USER:")["text"], "operator")
        self.panel.fill("APN NAME:", "large")
        self.panel.press("Exit")
        self.assertEqual(self.board.program.wait_end(SOON_SECONDS), 0)
        self.assertEqual(self.stored(), STORED.replace(b"internet", b"large"))
        size = self.board.guest.sh(f"stat -c %s {PPP_LOG}.old; rm {PPP_LOG}.old").strip()
        self.assertEqual(int(size), HUGE)

    def test_ended_while_the_link_is_tried(self) -> None:
        """SIGTERM in an attempt: an ordered end, and nothing of what was typed is lost."""
        self.start(STORED)
        self.panel.fill("APN NAME:", "typed")
        self.panel.press("Connect")
        self.wait_board("pgrep -x pppd", CHECK_SECONDS)
        self.assertEqual(self.board.program.stop(), 0)
        self.assertIn(b"typed", self.stored())


class Step(BoardTest):
    """On a board of its own, which is of little use afterwards: Debian 12's systemd for 32 bits
    answers nothing in 2040."""

    size = (480, 272)

    def clear(self) -> None:
        pass

    def test_clock_steps_in_an_attempt(self) -> None:
        """The check comes, and the panel takes touches."""
        self.start(STORED)
        self.panel.fill("APN NAME:", "later")
        self.panel.press("Connect")
        self.wait_board("pgrep -x pppd")
        # The board's own shell and pppd are of no use then: their C library's old calls refuse
        # files of that date.
        self.addCleanup(self.board.guest.sh, f"date -s @{int(time.time())} >/dev/null")
        self.board.guest.sh("date -s 2040-01-01 >/dev/null")
        self.wait("the check", CHECK_SECONDS, lambda screen: screen.has_dialog()
                  or screen.button("Disconnect")["enabled"])
        self.assertIn(b"later", self.board.guest.read(PARAMETERS))


if __name__ == "__main__":
    unittest.main()
