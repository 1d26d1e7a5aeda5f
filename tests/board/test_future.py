#!/usr/bin/python3
"""Years from now: a clock in 2040, and files of 3 GB."""

import re
import subprocess
import time
import unittest

from boardtest import BoardTest
from host.paths import ARM
from panel.facts import (AUTO_CONNECT, CHAT_SCRIPT, CHECK_SECONDS, COUNTS, LOGS, OLD_LOG,
                         PARAMETERS, PEER_FILE, PPP_LOG, STORED, STORED_AUTO)

HUGE = 3 << 30  # bytes
# Functions of the C library that know neither large files nor late times on 32-bit boards.
NARROW = re.compile(r" U (stat|fstat|lstat|fstatat|open|openat|lseek|ftruncate|pread|pwrite|mmap|"
                    r"time|gettimeofday|clock_gettime|utimensat)(@|$)", re.MULTILINE)


class Future(BoardTest):
    def stored(self) -> bytes:
        return self.board.guest.read(PARAMETERS)

    def test_narrow_functions(self) -> None:
        """Nothing of ours calls them."""
        for name in ("app/corvanta", "app/provision/corvanta-provision",
                     "app/plugins/corvanta/libcorvantahttpprobe.so"):
            with self.subTest(name):
                names = subprocess.run(["arm-linux-gnueabihf-nm", "-D", ARM / name], check=True,
                                       capture_output=True, text=True).stdout
                self.assertIn(" U ", names)
                self.assertEqual(NARROW.findall(names), [])

    def date_2040(self, *paths: str) -> None:
        for path in paths:
            self.sh(f"touch -d 2040-01-01 {path}")
            self.assertEqual(self.sh(f"date -r {path} +%Y"), "2040\n")

    def test_files_dated_2040(self) -> None:
        """All that the program reads and writes: shown, saved, generated, dialled and rotated."""
        old = {PARAMETERS: STORED, AUTO_CONNECT: STORED_AUTO, PEER_FILE: b"old\n",
               CHAT_SCRIPT: b"old\n"}
        for path, content in old.items():
            self.board.guest.write(path, content)
        self.date_2040(*old)
        self.board.dongle.plug()
        self.start_program()
        self.assertEqual(self.panel.field("USER:")["text"], "operator")
        self.assertEqual(self.panel.field(COUNTS)["text"], "5")
        self.panel.fill("APN NAME:", "later")
        self.panel.press("Connect")
        self.wait_up()
        saved = {PARAMETERS: STORED.replace(b"internet", b"later"), AUTO_CONNECT: STORED_AUTO}
        for path, content in saved.items():
            self.assertEqual(self.board.guest.read(path), content)
        self.assertIn(b"\nuser operator\n", self.board.guest.read(PEER_FILE))
        self.assertIn(b'"later"', self.board.guest.read(CHAT_SCRIPT))
        self.sh("killall pppd; until ! pgrep -x pppd; do sleep 0.1; done")
        self.wait_down()
        self.date_2040(*old, *LOGS)
        self.panel.press("Connect")  # the generated files are those of before, but for their date
        self.wait_up()
        self.sh("killall pppd; until ! pgrep -x pppd; do sleep 0.1; done")
        self.date_2040(*LOGS)
        self.leave()
        for log in LOGS:
            self.assertEqual(self.sh(f"ls {log}*; date -r {log}{OLD_LOG} +%Y"),
                             f"{log}{OLD_LOG}\n2040\n")
        for path, content in saved.items():
            self.assertEqual(self.board.guest.read(path), content)

    def test_large_files(self) -> None:
        """Parameters and a log of 3 GB: shown, saved and rotated."""
        self.board.dongle.plug()
        self.board.guest.write(PARAMETERS, STORED)
        self.sh(f"truncate -s {HUGE} {PARAMETERS} {PPP_LOG}")
        self.start_program()
        self.assertEqual(self.panel.field("USER:")["text"], "operator")
        self.panel.fill("APN NAME:", "large")
        self.leave()
        self.assertEqual(self.stored(), STORED.replace(b"internet", b"large"))
        size = self.sh(f"stat -c %s {PPP_LOG}.old; rm {PPP_LOG}.old").strip()
        self.assertEqual(int(size), HUGE)


class Step(BoardTest):
    """On a board of its own, which is of little use afterwards: Debian 12's systemd for 32 bits
    answers nothing in 2040."""

    reusable = False

    def test_clock_steps_in_an_attempt(self) -> None:
        """The check comes, and the panel takes touches."""
        self.start()
        self.panel.fill("APN NAME:", "later")
        self.panel.press("Connect")
        self.wait_board("pgrep -x pppd")
        # The board's own shell and pppd are of no use then: their C library's old calls refuse
        # files of that date.
        self.addCleanup(self.board.guest.sh, f"date -s @{int(time.time())} >/dev/null")
        self.sh("date -s 2040-01-01 >/dev/null")
        self.wait("the check", CHECK_SECONDS, lambda screen: screen.has_dialog()
                  or screen.button("Disconnect")["enabled"])
        self.assertIn(b"later", self.board.guest.read(PARAMETERS))


if __name__ == "__main__":
    unittest.main()
