#!/usr/bin/python3
"""The Debian package's life on a board: service, files, removal, and a boot with it."""

import subprocess
import time
import unittest
from pathlib import Path
from shlex import quote

from boardtest import BoardTest
from host.paths import ARM
from panel.facts import (CHAT_SCRIPT, CHIP_MARKER, FILES, PARAMETERS, SOON_SECONDS,
                         START_SECONDS, UNDETECTED, WITHOUT_KEYS, stored_parameters)
from virtualboard.board import Board
from virtualboard.program import UNIT

SETTINGS = "/etc/default/corvanta"
PACKAGE = "/app/corvanta.deb"
INSTALL_SECONDS = 120
LIMIT = 5  # failures within two minutes
# Each line of the console on its own; a blank one has only spaces.
CONSOLE = "fold -w $(stty -F /dev/tty1 size | cut -d' ' -f2) /dev/vcs1 | grep -o '[^ ].*[^ ]'"


class PackageTest(BoardTest):
    def active(self) -> str:
        return self.board.guest.run(f"systemctl is-active {UNIT}").text.strip()

    def await_window(self) -> None:
        self.wait("the main window", START_SECONDS, lambda screen: screen.main_window()["visible"])

    def choose_after_exit(self, choice: str) -> None:
        self.sh(f"sed -i 's/^CORVANTA_AFTER_EXIT=.*/CORVANTA_AFTER_EXIT={choice}/' {SETTINGS}")


class Service(PackageTest):
    """What the service does about the panel's end, and about the console."""

    size = (480, 272)

    def setUp(self) -> None:
        super().setUp()
        self.board.dongle.plug()
        self.start_program()

    def test_after_exit(self) -> None:
        """Exit ends the service, or starts the panel again where the integrator wants that; a stop
        is a stop."""
        self.panel.press("Exit")
        self.assertEqual(self.board.program.wait_end(SOON_SECONDS), 0)
        self.wait_board(f"[ $(systemctl is-active {UNIT}) = inactive ]")
        self.choose_after_exit("restart")
        self.addCleanup(self.choose_after_exit, "stay")
        self.start_program()
        before = self.board.program.pid()
        self.panel.press("Exit")
        self.wait_board(f"[ -e /run/program/pid ] && [ $(</run/program/pid) != {before} ]")
        self.await_window()
        self.board.program.stop()
        self.sh("sleep 3")
        self.assertEqual(self.active(), "inactive")

    def test_failures_end_in_a_message(self) -> None:
        """The panel comes back after a crash, up to the limit; then the console says so."""
        self.board.program.stop()
        dark = self.board.records.picture("dark.png").read_bytes()
        self.start_program()
        for number in range(LIMIT):
            pid = self.board.program.pid()
            self.assertEqual(self.active(), "active")
            last = number == LIMIT - 1
            self.sh(f"kill -KILL {pid}; until " + (
                f"[ $(systemctl is-active {UNIT}) = failed ]" if last else
                f"[ $(</run/program/pid) != {pid} ]") + "; do sleep 0.2; done")
        self.wait_board(f"{CONSOLE} | grep -q 'failed five times'")
        self.assertNotEqual(self.board.records.picture("given-up.png").read_bytes(), dark)
        self.assertIn("failed five times", self.sh("journalctl --quiet --identifier=corvanta"))

    def test_says_why(self) -> None:
        """One switch, and the journal has what pppd complains about."""
        self.board.program.stop()
        self.start_program(WITHOUT_KEYS | {"QT_LOGGING_RULES": "corvanta.*.warning=true"})
        self.panel.fill("USER:", "two words")
        self.panel.press("Connect")
        self.wait_board("journalctl --quiet --identifier=corvanta | grep -q \"option 'words'\"")

    def test_console_stays_away(self) -> None:
        """Neither a login, nor text on the console, nor the kernel's messages reach the panel; when
        the service stops, the screen is black."""
        clean = self.board.photograph("clean.png").read_bytes()
        self.sh("echo 'text on the console' >/dev/tty1; echo '<0>a message' >/dev/kmsg; sleep 1")
        self.assertEqual(self.board.photograph("disturbed.png").read_bytes(), clean)
        self.assertEqual(self.board.guest.run("systemctl is-active getty@tty1").text.strip(),
                         "inactive")
        self.board.program.stop()
        self.sh("sleep 1")
        dark = self.sh("od -An -v -tx1 /dev/fb0 | tr -d ' 0\\n' | head -c 8")
        # Pixels of four bytes, the last of which may say that they are opaque.
        self.assertEqual(dark.replace("f", ""), "")


class Files(PackageTest):
    """What installing, removing and purging do with an operator's files. In this order."""

    size = (480, 272)
    MINE = stored_parameters(user="operator", password="secret")

    def test_fresh(self) -> None:
        self.assertEqual(self.sh("stat -c '%a %U' /quenfold/configs /etc/ppp/chat"),
                         "700 root\n700 root\n")

    def test_reinstalled(self) -> None:
        """Parameters and an integrator's settings stay; the modes of his folders, too."""
        self.choose_after_exit("restart")
        self.board.guest.write(PARAMETERS, self.MINE)
        self.sh("chmod 0750 /quenfold/configs")
        self.sh(f"dpkg --install --force-confold {PACKAGE}", INSTALL_SECONDS)
        self.assertEqual(self.board.guest.read(PARAMETERS), self.MINE)
        self.assertIn("CORVANTA_AFTER_EXIT=restart", self.sh(f"cat {SETTINGS}"))
        self.assertEqual(self.sh("stat -c %a /quenfold/configs"), "750\n")
        self.board.program.stop()

    def test_removed_and_purged(self) -> None:
        """Removing ends the panel and keeps what was stored; purging takes the secrets, too, and
        leaves what others have put beside them."""
        self.board.dongle.plug()
        self.start_program()
        self.sh(f"corvanta-provision apn=internet; touch {CHIP_MARKER}")
        self.sh("dpkg --remove corvanta", INSTALL_SECONDS)
        self.assertEqual(self.board.guest.run("pgrep -x corvanta").text, "")
        self.assertNotEqual(self.board.guest.run(f"systemctl cat {UNIT}").status, 0)
        for file in FILES:
            self.sh(f"test -s {quote(file)}")
        self.sh("dpkg --purge corvanta", INSTALL_SECONDS)
        left = self.sh("ls /quenfold/configs; ls -d /etc/*/*corvanta* /etc/*/*/*corvanta* "
                       f"/usr/*/*corvanta* {CHAT_SCRIPT} /etc/ppp/peers/* 2>/dev/null || true")
        # The last one is the simulated board's own.
        self.assertEqual(left.split(), [Path(CHIP_MARKER).name,
                                        "/etc/systemd/system/corvanta.service.d"])
        self.sh(f"dpkg --install {PACKAGE}", INSTALL_SECONDS)
        self.await_window()


class Built(unittest.TestCase):
    def test_lintian_is_content(self) -> None:
        done = subprocess.run(["lintian", "--allow-root", *ARM.glob("corvanta_*_armhf.deb")],
                              capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)


class Boot(unittest.TestCase):
    """A board on which the package was installed before its power went."""

    def test_panel_comes_by_itself(self) -> None:
        """The picture of a panel that somebody has started, without a start."""
        size = (480, 272)
        with Board(size, "test-boot-before") as board:
            board.program.start()
            board.panel.wait(lambda screen: screen.dialog()["text"] == UNDETECTED, START_SECONDS,
                             "the waiting dialog")
            wanted = board.photograph("wanted.png").read_bytes()
            board.program.stop()
            board.guest.sh("systemctl enable panel 2>/dev/null")
            changes = board.folder / "changes.tar"
            changes.write_bytes(board.stored())
        with Board(size, "test-boot", changes=changes, panel_on=False) as booted:
            deadline = time.monotonic() + START_SECONDS
            while booted.records.picture("booted.png").read_bytes() != wanted:
                self.assertLess(time.monotonic(), deadline, "the waiting dialog")
                time.sleep(1)
            state = booted.guest.sh(f"systemctl show --property=NRestarts --value {UNIT}; "
                                    "systemctl --failed --no-legend")
            self.assertEqual(state, "0\n")


if __name__ == "__main__":
    unittest.main()
