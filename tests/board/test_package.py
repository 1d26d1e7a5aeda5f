#!/usr/bin/python3
"""The Debian package: as it is built, its life on a board, and a boot with it."""

import os
import re
import subprocess
import time
import unittest
from pathlib import Path
from shlex import quote

from boardtest import EXPECTED, SETTINGS, BoardTest
from host.paths import ARM, ROOT
from panel.facts import (CHAT_LOG, CHAT_SCRIPT, CHIP_MARKER, FILES, LOGS, OLD_LOG, PARAMETERS,
                         PEER_FILE, PPP_LOG, START_SECONDS, UNDETECTED, stored_parameters)
from virtualboard.board import Board
from virtualboard.program import UNIT

PACKAGE = "/app/corvanta.deb"
INSTALL_SECONDS = 120
OTHERS = "/etc/ppp/ppp.login"  # beside the logs
OPTIONS = "/etc/ppp/options.ttyUSB0"


class Files(BoardTest):
    """What installing, removing and purging do with an operator's files. In this order."""

    MINE = stored_parameters(user="operator", password="secret")

    def test_fresh(self) -> None:
        modes = self.sh(f"stat -c '%a %U' /quenfold/configs /etc/ppp/chat {' '.join(LOGS)}")
        self.assertEqual(modes, "700 root\n" * 2 + "600 root\n" * 2)

    def test_reinstalled(self) -> None:
        """Parameters and an integrator's settings stay; the modes of his folders, too. A log that
        others could read is closed."""
        self.choose_after_exit("restart")
        self.board.guest.write(PARAMETERS, self.MINE)
        logs = f"{PPP_LOG} {PPP_LOG}{OLD_LOG}"
        self.sh(f"chmod 0750 /quenfold/configs; install -m 0644 /dev/null {PPP_LOG}; "
                f"cp {PPP_LOG} {PPP_LOG}{OLD_LOG}; setpriv --reuid=65534 --clear-groups "
                "corvanta-provision --show; [ $? = 77 ]")
        self.sh(f"dpkg --install --force-confold {PACKAGE}", INSTALL_SECONDS)
        self.assertEqual(self.board.guest.read(PARAMETERS), self.MINE)
        self.assertIn("CORVANTA_AFTER_EXIT=restart", self.sh(f"cat {SETTINGS}"))
        self.assertEqual(self.sh(f"stat -c %a /quenfold/configs {logs}"), "750\n600\n600\n")
        self.board.program.stop()

    def test_upgraded_options(self) -> None:
        """The file of an earlier version is replaced when nobody has changed it."""
        earlier = (EXPECTED / "options-0.1.0").read_bytes()
        for name, there, wanted in (("as shipped", earlier, self.sh(f"cat {OPTIONS}").encode()),
                                    ("changed", earlier + b"debug\n", earlier + b"debug\n")):
            with self.subTest(name):
                self.board.guest.write(OPTIONS, there)
                self.sh(f"dpkg --install {PACKAGE}", INSTALL_SECONDS)
                self.assertEqual(self.board.guest.read(OPTIONS), wanted)
        self.sh(f"cp /usr/share/corvanta/options.ttyUSB0 {OPTIONS}")

    def test_removed_and_purged(self) -> None:
        """Removing ends the panel and keeps what was stored; purging takes the secrets, too, also
        those behind a link, and leaves what others have put beside them, and in a link's end what
        is no secret."""
        self.board.dongle.plug()
        self.start_program()
        self.sh(f"corvanta-provision apn=internet; touch {CHIP_MARKER}; "
                f"mv {PARAMETERS} /var/secret; ln -s /var/secret {PARAMETERS}; "
                f"for log in {{{','.join(LOGS)}}}{{,{OLD_LOG}}}{{,.1}}; do echo log >$log; done; "
                f"ln -sf /dev/null {CHAT_LOG}{OLD_LOG}; echo log | tee {OTHERS} >/var/shared; "
                f"ln -sf /var/shared {PPP_LOG}{OLD_LOG}")
        self.sh("dpkg --remove corvanta", INSTALL_SECONDS)
        self.assertEqual(self.board.guest.run("pgrep -x corvanta").text, "")
        self.assertNotEqual(self.board.guest.run(f"systemctl cat {UNIT}").status, 0)
        for file in FILES:
            self.sh(f"test -s {quote(file)}")
        self.sh("dpkg --purge corvanta", INSTALL_SECONDS)
        left = self.sh(f"ls /quenfold/configs; ls -d /var/secret {CHAT_SCRIPT} /etc/ppp/peers/* "
                       f"{OPTIONS} {PPP_LOG}* {CHAT_LOG}* 2>/dev/null || true; "
                       "find / -xdev -name '*corvanta*'")
        # The last one is the simulated board's own.
        self.assertEqual(left.split(), [Path(CHIP_MARKER).name, OTHERS,
                                        "/etc/systemd/system/corvanta.service.d"])
        self.sh(f"test -c /dev/null; test -s /var/shared; rm /var/shared {OTHERS}; "
                f"dpkg --install {PACKAGE}", INSTALL_SECONDS)
        self.await_window()

    def test_then_over_an_operators_files(self) -> None:
        """A first installation on a board that has dialled before changes none of its files, and
        purging leaves the one that is no secret."""
        self.sh("dpkg --purge corvanta", INSTALL_SECONDS)
        for file in (PARAMETERS, PEER_FILE, OPTIONS):
            self.board.guest.write(file, self.MINE)
        self.sh("rmdir /etc/ppp/chat 2>/dev/null; ln -s /not/mounted/yet /etc/ppp/chat; "
                f"dpkg --install {PACKAGE}", INSTALL_SECONDS)
        self.board.dongle.plug()
        self.await_window()
        for file in (PARAMETERS, PEER_FILE, OPTIONS):
            self.assertEqual(self.board.guest.read(file), self.MINE)
        self.sh("dpkg --purge corvanta", INSTALL_SECONDS)
        self.assertEqual(self.board.guest.read(OPTIONS), self.MINE)
        self.sh(f"rm /etc/ppp/chat {OPTIONS}; dpkg --install {PACKAGE}; test -s {OPTIONS}",
                INSTALL_SECONDS)


class Logs(BoardTest):
    def test_bounded(self) -> None:
        """A log that pppd writes, too, when Exit has renamed it."""
        for name in (PPP_LOG, PPP_LOG + OLD_LOG):
            with self.subTest(name):
                self.addCleanup(self.sh, f"rm -f {PPP_LOG}*")
                sizes = self.sh(
                    f"exec 9>>{PPP_LOG}; head -c 2000000 /dev/zero >&9\n"
                    f"[ -e {name} ] || mv {PPP_LOG} {name}\n"
                    "logrotate -s /run/rotated /etc/logrotate.d/corvanta\n"
                    f"echo more >&9; stat -c %s {name} {name}.1; rm {PPP_LOG}*")
                self.assertEqual(sizes.split(), ["5", "2000000"])


def packed(folder: str) -> Path:
    """The package of a build, made anew."""
    made = subprocess.run([ROOT / "tools/make-package", folder], capture_output=True, text=True,
                          check=True)
    return ROOT / made.stdout.strip()


class Built(unittest.TestCase):
    """The packages, as both commands make them."""

    def test_lintian_is_content(self) -> None:
        for package in (next(ARM.glob("corvanta_*.deb")), packed("native")):
            with self.subTest(package.name):
                done = subprocess.run(["lintian", "--allow-root", package], capture_output=True,
                                      text=True, check=False)
                self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)

    def test_hardened(self) -> None:
        """What runs as root has what Debian's flags make."""
        for program in ("app/corvanta", "app/provision/corvanta-provision"):
            found = subprocess.run(["readelf", "-Wlds", ARM / program], capture_output=True,
                                   text=True, check=True).stdout
            for mark in ("GNU_RELRO", "BIND_NOW", "PIE", "__stack_chk_fail", "_chk@GLIBC"):
                self.assertIn(mark, found, program)

    def test_same_bytes(self) -> None:
        """On another day, and under another umask."""
        first = packed("native").read_bytes()
        earlier = os.umask(0o077)
        self.addCleanup(os.umask, earlier)
        time.sleep(1)  # the next second of the files' dates
        self.assertEqual(packed("native").read_bytes(), first)

    def test_fields_and_files(self) -> None:
        package = next(ARM.glob("corvanta_*.deb"))
        found = re.search(r"project\(corvanta VERSION (\S+)",
                          (ROOT / "CMakeLists.txt").read_text())
        assert found
        version = found[1]

        def tell(*arguments: str | Path) -> str:
            return subprocess.run(arguments, capture_output=True, text=True, check=True).stdout
        self.assertEqual(tell("dpkg-deb", "--field", package, "Version").strip(), version)
        files = tell("dpkg-deb", "--contents", package)
        self.assertNotIn("/etc/ppp/peers", files)
        for name in ("changelog.gz", "corvanta.8.gz", "corvanta-provision.8.gz"):
            path = next(line.split()[-1] for line in files.splitlines() if line.endswith(name))
            text = tell("sh", "-c", 'dpkg-deb --fsys-tarfile "$0" | tar -xO "$1" | zcat',
                        package, path)
            self.assertIn(version, text, name)


# On a busy host the simulated board's boot takes longer than the service waits for a framebuffer.
LATE_PANEL = """
set -e
systemctl enable panel 2>/dev/null
mkdir /etc/systemd/system/dev-fb0.device.d
printf '[Unit]\\nJobTimeoutSec=120\\n' >/etc/systemd/system/dev-fb0.device.d/late.conf
"""


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
            board.guest.sh(LATE_PANEL)
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
