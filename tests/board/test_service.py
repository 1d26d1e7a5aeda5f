#!/usr/bin/python3
"""The panel's service: what it does about the panel's end, and about its devices and console."""

import re
import unittest

from boardtest import BoardTest
from panel.facts import CHECK_SECONDS, WITHOUT_KEYS
from virtualboard.program import UNIT

LIMIT = 5  # failures, after which the panel is not started again
MOUNT = "/run/systemd/system/quenfold-configs.mount"
CGROUP = f"/sys/fs/cgroup/system.slice/{UNIT}/cgroup.procs"
# Each line of the console on its own; a blank one has only spaces.
CONSOLE = "fold -w $(stty -F /dev/tty1 size | cut -d' ' -f2) /dev/vcs1 | grep -o '[^ ].*[^ ]'"


class Service(BoardTest):
    """What the service does about the panel's end, and about the console."""

    def setUp(self) -> None:
        super().setUp()
        self.board.dongle.plug()
        self.start_program()

    def active(self) -> str:
        return self.board.guest.run(f"systemctl is-active {UNIT}").text.strip()

    def test_after_exit(self) -> None:
        """Exit ends the service, or starts the panel again where the integrator wants that; a stop
        is a stop."""
        self.leave()
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

    def test_ordered_starts_are_no_failures(self) -> None:
        """However often an integrator tries a setting."""
        for _ in range(LIMIT + 1):
            self.sh(f"systemctl restart {UNIT}")
        self.await_window()

    def test_no_framebuffer(self) -> None:
        """Waited for at each start, and then a failure like any other."""
        self.board.program.stop()
        wait = self.seconds("dev-fb0.device", "JobTimeout")
        self.assertGreater(self.seconds(UNIT, "StartLimitInterval"), (wait + 5) * LIMIT)
        self.sh("cd /run/systemd/system; mkdir -p dev-fb7.device.d corvanta.service.d\n"
                "printf '[Unit]\\nJobTimeoutSec=1\\n' >dev-fb7.device.d/short.conf\n"
                "printf '[Unit]\\nWants=dev-fb7.device\\nAfter=dev-fb7.device\\n' "
                ">corvanta.service.d/fb7.conf; systemctl daemon-reload")
        self.addCleanup(self.sh, "rm -r /run/systemd/system/corvanta.service.d; "
                        "systemctl daemon-reload")
        self.board.program.start({"QT_QPA_PLATFORM": "linuxfb:fb=/dev/fb7"})
        self.wait_board(f"[ $(systemctl is-active {UNIT}) = failed ]", CHECK_SECONDS)
        said = self.sh("journalctl --quiet --output=cat --identifier=corvanta --since=-60")
        self.assertEqual(said.count("no display"), LIMIT, said)

    def seconds(self, unit: str, what: str) -> int:
        """A span of time among a unit's properties."""
        text = self.sh(f"systemctl show --property={what}USec --value {unit}").strip()
        found = re.fullmatch(r"(?:(\d+)min ?)?(?:(\d+)s)?", text)
        assert found, text
        minutes, rest = found.groups("0")
        return int(minutes) * 60 + int(rest)

    def test_environment(self) -> None:
        """What the program and all that it starts rely on; and nobody else talks to the modem."""
        found = self.sh(f"tr '\\0' '\\n' </proc/{self.board.program.pid()}/environ").splitlines()
        for line in ("PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                     "HOME=/root", "XDG_RUNTIME_DIR=/run/corvanta"):
            self.assertIn(line, found)
        self.assertEqual(self.sh("stat -c %a /run/corvanta"), "700\n")
        port = self.sh("udevadm info --query=property --name=/dev/ttyUSB0").splitlines()
        self.assertIn("ID_MM_PORT_IGNORE=1", port)
        self.assertIn("ID_MM_DEVICE_IGNORE=1", port)

    def test_never_suspended(self) -> None:
        """Whatever a power tool's rule says when the dongle is plugged."""
        self.sh("echo 'ACTION==\"add\", SUBSYSTEM==\"usb\", TEST==\"power/control\", "
                "ATTR{power/control}=\"auto\"' >/run/udev/rules.d/85-power.rules; "
                "udevadm control --reload")
        self.addCleanup(self.sh, "rm /run/udev/rules.d/85-power.rules; udevadm control --reload")
        self.board.dongle.unplug()
        self.board.dongle.plug()
        self.assertEqual(self.sh("cd /sys/bus/usb/devices; cat $(dirname "
                                 "$(grep -l 12d1 */idVendor))/power/control"), "on\n")

    def test_mounts_come_first(self) -> None:
        """The parameters' mount point is mounted before the panel looks for them."""
        self.board.program.stop()
        self.sh(f"printf '[Mount]\\nWhat=tmpfs\\nType=tmpfs\\n' >{MOUNT}; "
                "systemctl daemon-reload")
        self.addCleanup(self.sh, f"systemctl stop {UNIT} quenfold-configs.mount; rm {MOUNT}; "
                        "systemctl daemon-reload")
        self.start_program()
        self.sh("mountpoint /quenfold/configs")

    def test_killed_child(self) -> None:
        """The kernel is short of memory and kills a process of the unit: the panel stays."""
        before = self.board.program.pid()
        self.sh(f"(echo $BASHPID >{CGROUP}; echo 1000 >/proc/self/oom_score_adj; exec sleep 600) & "
                "until [ $(</proc/$!/comm) = sleep ]; do sleep 0.1; done; "
                "echo f >/proc/sysrq-trigger; wait $! || true; "
                f"until journalctl -q --unit={UNIT} | grep -q 'OOM killer'; do sleep 0.1; done")
        self.assertEqual((self.active(), self.board.program.pid()), ("active", before))

    def test_second_copy(self) -> None:
        """Started by the launch line of other init systems, a panel is not disturbed by the
        service."""
        shown = self.board.photograph("service.png").read_bytes()
        self.board.program.stop()
        self.sh("set -a; . /etc/default/corvanta; HOME=/root XDG_RUNTIME_DIR=/run setsid "
                "/usr/libexec/corvanta/launch </dev/null >/run/launched 2>&1 &")
        self.addCleanup(self.sh, "killall corvanta; until ! pgrep -x corvanta; do sleep 0.1; done")
        self.assert_soon(lambda: self.board.records.picture("launched.png").read_bytes() == shown,
                         "the panel")
        self.sh(f"systemctl start {UNIT}; "
                f"until [ $(systemctl is-active {UNIT}) = inactive ]; do sleep 0.2; done; sleep 2")
        self.assertEqual(self.active(), "inactive")
        self.assertIn("another instance", self.board.program.log())
        self.assertEqual(self.board.records.picture("beside.png").read_bytes(), shown)

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
        pixels = self.sh("od -An -v -w4 -tx4 /dev/fb0 | sort -u").split()
        # The highest byte may say that a pixel is opaque.
        self.assertLessEqual(set(pixels), {"00000000", "ff000000"})


if __name__ == "__main__":
    unittest.main()
