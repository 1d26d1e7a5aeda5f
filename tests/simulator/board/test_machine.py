"""The simulated board itself: its life and end, dongles, touches, what it leaves."""

import os
import select
import signal
import struct
import subprocess
import sys
import time
import unittest

from host.errors import BoardError
from host.paths import RUNS, SIMULATOR
from panel.facts import DONGLE_PRODUCT, SOON_SECONDS, START_SECONDS
from virtualboard.board import Board

TOOL = SIMULATOR / "board"
EVENT = struct.Struct("<IIHHi")  # input_event of a 32-bit kernel: seconds, microseconds, ...
SYN, KEY, ABS = 0, 1, 3
TOUCH, X, Y, TRACKING_ID = 0x14A, 0x35, 0x36, 0x39

OWNER = """
import signal
from virtualboard.board import Board
from virtualboard.process import Process
with Board(run="test-owned") as board:
    print(Process.of(board.folder).pid, flush=True)
    signal.pause()
"""


def wait_gone(pid: int) -> bool:
    """Whether a process, of whatever parent, ends soon."""
    try:
        handle = os.pidfd_open(pid)
    except ProcessLookupError:
        return True
    try:
        return bool(select.select([handle], [], [], SOON_SECONDS)[0])
    finally:
        os.close(handle)


class OneBoard(unittest.TestCase):
    board: Board

    @classmethod
    def setUpClass(cls) -> None:
        cls.board = Board((480, 272), "test-machine")
        cls.enterClassContext(cls.board)

    def test_files_of_the_image(self) -> None:
        sh = self.board.guest.sh
        self.assertEqual(sh("find /etc /usr /quenfold ! -uid 0 -o ! -gid 0"), "")
        self.assertEqual(sh("ls /etc/ppp/peers /etc/ppp/chat /quenfold/configs | grep -v :$ "
                            "| grep . || true"), "")
        self.assertEqual(sh("dpkg --verify corvanta; dpkg --list | sed 1,5d | grep -v ^ii || true"),
                         "")
        self.assertEqual(sh("sha256sum </usr/sbin/pppd"), sh("sha256sum </usr/sbin/netpppd"))

    def test_clock_is_right(self) -> None:
        # Seconds behind on a busy host are the board's way; a clock nobody has set is years behind.
        self.assertAlmostEqual(float(self.board.guest.sh("date +%s.%N")), time.time(), delta=60)

    def test_dongles(self) -> None:
        for product, ports in ((DONGLE_PRODUCT, 3), (DONGLE_PRODUCT, 0), (0x1002, 1),
                               (DONGLE_PRODUCT, 3), (DONGLE_PRODUCT, 3)):
            with self.subTest(product=hex(product), ports=ports):
                self.board.dongle.plug(product, ports)
                seen = self.board.guest.sh("cat /sys/bus/usb/devices/1-1/id{Vendor,Product}; "
                                           "find /dev -name 'ttyUSB*' -type c | wc -l")
                self.assertEqual(seen.split(), ["12d1", f"{product:04x}", str(ports)])
        self.board.dongle.unplug()
        self.assertEqual(self.board.guest.sh(
            "ls -d /dev/ttyUSB* /sys/bus/usb/devices/1-1 2>/dev/null || true"), "")
        self.board.dongle.unplug()

    def test_touches_arrive_at_their_pixels(self) -> None:
        # A reader waits in the background: its pid tells that it has the device open.
        self.board.guest.sh(
            "node=/dev/input/$(grep -A5 'panel touchscreen' /proc/bus/input/devices "
            "| grep -o 'event[0-9]*'); setsid cat $node >/run/touches & "
            "until readlink /proc/$!/fd/* | grep -q $node; do sleep 0.02; done; "
            "echo $! >/run/toucher")
        self.addCleanup(self.board.guest.sh, "kill $(</run/toucher)")
        places = [(0, 0), (479, 271), (240, 136), (240, 136)]
        for place in places:
            self.board.fingers.touch(*place)
        presses: list[tuple[int, ...]] = []
        position, down = [-1, -1], False
        deadline = time.monotonic() + 10
        while len(presses) < len(places) or down:
            self.assertLess(time.monotonic(), deadline, presses)
            presses, down = [], False
            for _, _, kind, code, value in EVENT.iter_unpack(self.board.guest.read("/run/touches")):
                if kind == ABS and code in (X, Y):
                    position[code - X] = value
                elif kind == KEY and code == TOUCH:
                    down = bool(value)
                elif kind == SYN and down:
                    presses.append(tuple(position))
        self.assertEqual(presses, places)

    def test_program_and_its_status(self) -> None:
        self.board.dongle.plug()
        self.board.program.start()
        with self.assertRaises(BoardError):
            self.board.program.start()
        self.board.panel.wait(lambda screen: screen.main_window()["visible"], START_SECONDS,
                              "the window")
        self.assertEqual(self.board.panel.screen().size, self.board.size)
        printable = "".join(map(chr, range(0x20, 0x7F)))
        self.board.panel.fill("USER:", printable)
        # SIGTERM ends it in order.
        self.assertEqual(self.board.program.stop(), 0)
        self.board.program.start()
        self.assertEqual(self.board.program.kill(), 128 + signal.SIGKILL)
        self.assertFalse(self.board.program.running())
        with self.assertRaises(OSError):
            self.board.panel.screen()

    def test_one_board_a_run(self) -> None:
        with self.assertRaisesRegex(BoardError, "has a board already"):
            Board(run="test-machine").start()
        for name in ("", "a/b", "../x", ".hidden"):
            with self.subTest(name), self.assertRaises(BoardError):
                Board(run=name)

    def test_several_at_once_share_nothing(self) -> None:
        self.board.guest.write("/etc/mine", b"here")
        with Board((1280, 800), "test-second") as second:
            self.assertEqual(second.guest.sh("cat /sys/class/graphics/fb0/virtual_size"),
                             "1280,800\n")
            with self.assertRaises(FileNotFoundError):
                second.guest.read("/etc/mine")
            folder = second.folder
        self.assertEqual({name for name in os.listdir(folder) if not name.endswith(".log")}, set())
        self.assertIn("Linux version", (folder / "dmesg.log").read_text())


class Ends(unittest.TestCase):
    def test_a_killed_owner_takes_its_board_along(self) -> None:
        for name, number in (("killed", signal.SIGKILL), ("terminated", signal.SIGTERM),
                             ("interrupted", signal.SIGINT)):
            with (self.subTest(name), subprocess.Popen(
                    [sys.executable, "-B", "-c", OWNER], stdout=subprocess.PIPE,
                    stderr=subprocess.DEVNULL) as owner):
                assert owner.stdout
                board = int(owner.stdout.readline())
                owner.send_signal(number)
                self.assertTrue(wait_gone(board))

    def test_from_the_command_line(self) -> None:
        def tool(*words: str) -> subprocess.CompletedProcess[str]:
            return subprocess.run([TOOL, *words], capture_output=True, text=True, check=False)

        run = ("--run", "test-tool")
        self.addCleanup(tool, "off", *run)
        booted = tool("boot", *run)
        self.assertEqual(booted.returncode, 0, booted)
        echoed = tool("sh", *run, "echo out; exit 7")
        self.assertEqual((echoed.returncode, echoed.stdout), (7, "out\n"))
        picture = RUNS / "test-tool/picture.png"
        self.assertEqual(tool("shot", *run, str(picture)).returncode, 0)
        self.assertEqual(picture.read_bytes()[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(tool("off", *run).returncode, 0)
        again = tool("off", *run)
        self.assertEqual((again.returncode, again.stderr.count("\n")), (1, 1))


if __name__ == "__main__":
    unittest.main()
