#!/usr/bin/python3
"""Typing on the simulated board: real touches on the on-screen keyboard."""

import re
import struct
import unittest
from pathlib import Path

from boardtest import BoardTest
from host.paths import ROOT
from panel.constants import (AUTO_CONNECT, BUTTON_GUARD_SECONDS, COUNTS, FAILED, MISC, PARAMETERS,
                             SOON_SECONDS)
from panel.screen import centre
from virtualboard.board import Board

VALUES = {"APN NAME:": "web.Example-2", "Dial Num:": "*99***1#", "USER:": "guest@example",
          "PASSWORD:": "Pa5$w{rD!", "PinCode:": "0471"}
TEXT = "the quick brown fox jumps over a lazy bookkeeper"
HALF_SECONDS = 0.04  # half of the time from one character to the next

# The kernel's input events (linux/input-event-codes.h).
EV_SYN, EV_KEY, EV_ABS, BTN_TOUCH = 0, 1, 3, 0x14a
SLOT, X, Y, TRACKING_ID = 0x2f, 0x35, 0x36, 0x39
FIRST_ID = 100  # tracking ID of the first touch


def event_node(board: Board) -> str:
    """@return the path of the touch screen's input device"""
    return board.guest.sh("cd /sys/class/input; grep -lx 'panel touchscreen' event*/device/name | "
                          "sed 's|/device/name||; s|^|/dev/input/|'").strip()


def documented_unit(name: str) -> str:
    """@return the text of a systemd unit in the integrator's guide"""
    guide = (ROOT / "docs/integrating.md").read_text()
    block = re.search(rf"^    # /etc/systemd/system/{re.escape(name)}\n((?:    .*\n)+)", guide,
                      re.MULTILINE)
    assert block, f"the guide has no {name}"
    return re.sub("^    ", "", block[1], flags=re.MULTILINE)


class KeysTest(BoardTest):
    """A panel with the on-screen keyboard and without stored parameters."""

    def setUp(self) -> None:
        super().setUp()
        self.board.dongle.plug()
        self.start_program({})


class Typing(KeysTest):
    def test_every_value(self) -> None:
        """Type every value. Enter moves to the next field, or hides the keyboard after the last."""
        for label, text in VALUES.items():
            self.panel.touch_in(label, text, SOON_SECONDS)
            self.panel.click(self.panel.screen().key("Enter"))
        self.wait("the keyboard is hidden", SOON_SECONDS, lambda screen: not screen.keys)
        self.panel.choose("APN Auth Methods:", "CHAP", SOON_SECONDS)
        self.panel.open_tab(MISC, SOON_SECONDS)
        self.panel.press("YES")
        self.panel.touch_in(COUNTS, "12", SOON_SECONDS)
        self.panel.put_keys_away("Enter", SOON_SECONDS)
        self.leave()
        self.assertEqual(self.board.guest.read(PARAMETERS),
                         "".join(f"{text}\n" for text in [*VALUES.values(), "2"]).encode())
        self.assertEqual(self.board.guest.read(AUTO_CONNECT), b"0\n12\n")


class Fingers(KeysTest):
    def test_held_while_a_dialog_opens(self) -> None:
        self.board.fingers.down(*centre(self.panel.raise_keys("PinCode:", SOON_SECONDS).key("7")))
        self.sh("sleep 0.3")
        self.panel.invoke("Makeup", "checkPPPMsg")
        self.wait("the notice", SOON_SECONDS, lambda screen: screen.dialog()["text"] == FAILED)
        self.assertEqual(self.panel.screen().keys, [])
        self.board.fingers.up()
        self.sh(f"sleep {BUTTON_GUARD_SECONDS}")
        self.assertTrue(self.panel.screen().has_dialog())
        self.panel.press("OK")
        self.wait("the notice closed", SOON_SECONDS, lambda now: not now.has_dialog())
        self.assertEqual(self.panel.field("PinCode:")["text"], "")

    def test_before_the_window_is_shown(self) -> None:
        """Touch the place of Exit while the program starts. The kernel queues these touches, but
        they must not end the program."""
        at_exit = centre(self.panel.button("Exit"))
        self.board.program.stop()
        self.board.program.start({})
        for _ in range(5):
            self.board.fingers.touch(*at_exit)
        self.await_window()
        self.board.fingers.touch(*at_exit)
        self.sh("sleep 1")
        self.leave()  # the program still runs, and Exit works


def report(*events: tuple[int, int, int]) -> str:
    """@return shell commands that write input events (type, code, value) and then wait"""
    data = b"".join(struct.pack("<llHHi", 0, 0, kind, code, value + (value & 0xff == 0x0a))
                    for kind, code, value in (*events, (EV_SYN, 0, 0)))
    assert b"\n" not in data, "the shell's printf would write the report in two parts"
    return "printf '" + "".join(f"\\x{byte:02x}" for byte in data) + "' >&3; rest\n"


class Thumbs(KeysTest):
    size = (1280, 800)

    def test_no_character_is_lost_or_doubled(self) -> None:
        """Type with two thumbs in turn. Each is lifted after the other has touched the next key."""
        screen = self.panel.raise_keys("APN NAME:", SOON_SECONDS)
        script = (f"exec 3>{event_node(self.board)} 4<> <(:)\n"
                  f"rest() {{ read -t {HALF_SECONDS} -u 4 || :; }}\n")
        for at, character in enumerate(TEXT):
            x, y = centre(screen.key(character))
            script += report((EV_ABS, SLOT, at % 2), (EV_ABS, TRACKING_ID, FIRST_ID + at),
                             (EV_KEY, BTN_TOUCH, 1), (EV_ABS, X, x), (EV_ABS, Y, y))
            if at:
                script += report((EV_ABS, SLOT, (at - 1) % 2), (EV_ABS, TRACKING_ID, -1))
        script += report((EV_ABS, SLOT, at % 2), (EV_ABS, TRACKING_ID, -1), (EV_KEY, BTN_TOUCH, 0))
        self.board.guest.write("/run/thumbs", script.encode())
        self.sh("bash /run/thumbs", 60)
        self.wait("every character once", SOON_SECONDS,
                  lambda now: now.field("APN NAME:")["text"] == TEXT)


class UnusualScreens(BoardTest):
    """Panels that are mounted upside down, and touch screens that are read without libinput.

    This class is the last of the module, because later tests cannot use its board.
    """

    TURNED = {"QT_QPA_PLATFORM": "linuxfb:fb=/dev/fb0:rotation=180"}
    RULE = "/etc/udev/rules.d/90-turned.rules"

    def setUp(self) -> None:
        super().setUp()
        self.board.dongle.plug()

    def check_turned(self, environment: dict[str, str]) -> None:
        self.start_program(self.TURNED | environment)
        x, y = centre(self.panel.tab(MISC))
        self.board.fingers.touch(self.size[0] - 1 - x, self.size[1] - 1 - y)
        self.wait("the tab under the finger", SOON_SECONDS, lambda screen: screen.field(COUNTS))

    def test_evdev_turned(self) -> None:
        node = event_node(self.board)
        self.check_turned({"QT_QPA_FB_NO_LIBINPUT": "1",
                           "QT_QPA_EVDEV_TOUCHSCREEN_PARAMETERS": f"{node}:rotate=180"})

    def test_libinput_turned(self) -> None:
        self.board.guest.write(self.RULE, b'SUBSYSTEM=="input", KERNEL=="event*", '
                               b'ENV{LIBINPUT_CALIBRATION_MATRIX}="-1 0 1 0 -1 1"\n')
        reload = ("udevadm control --reload; udevadm trigger --subsystem-match=input; "
                  "udevadm settle")
        self.sh(reload)
        self.addCleanup(self.sh, f"rm {self.RULE}; {reload}")
        self.check_turned({})

    def test_tslib(self) -> None:
        """Type on a single-touch screen whose events tslib calibrates and forwards."""
        self.reusable = False
        self.sh("killall touchd; "
                "until ! grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
                "setsid touchd {} {} single </dev/null >/dev/null 2>&1 & "
                "until grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
                "udevadm settle".format(*self.size))
        self.board.guest.write("/etc/ts.conf", b"module_raw input grab_events=1\n"
                               b"module pthres pmin=1\nmodule dejitter delta=100\n"
                               b"module linear\n")
        node = event_node(self.board)
        unit = documented_unit("ts_uinput.service").replace("event0", Path(node).name)
        self.board.guest.write("/etc/systemd/system/ts_uinput.service", unit.encode())
        self.sh("systemctl daemon-reload; systemctl start ts_uinput; "
                "until grep -q ts_uinput /proc/bus/input/devices; do sleep 0.1; done; "
                "udevadm settle")
        self.start_program({})
        self.board.fingers.touch(20, 200)  # the kernel reports a coordinate only when it changes
        self.panel.touch_in("PinCode:", "0471", SOON_SECONDS)


if __name__ == "__main__":
    unittest.main()
