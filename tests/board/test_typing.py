#!/usr/bin/python3
"""Touch typing on the simulated board: real touches on the keys that are drawn."""

import re
import struct
import unittest
from pathlib import Path

from boardtest import BoardTest
from host.paths import ROOT
from panel.facts import (AUTO_CONNECT, COUNTS, FAILED, MISC, PARAMETERS, SOON_SECONDS,
                         START_SECONDS)
from panel.screen import centre
from virtualboard.board import Board

VALUES = {"APN NAME:": "web.Example-2", "Dial Num:": "*99***1#", "USER:": "guest@example",
          "PASSWORD:": "Pa5$w{rD!", "PinCode:": "0471"}
AUTH = "APN Auth Methods:"
SCREEN_NAME = "panel touchscreen"
SPEED = 12     # characters a second
OVERLAP = 1.5  # a thumb stays on its key until the other one is half through with the next

# The kernel's input events (linux/input-event-codes.h).
EV_SYN, EV_KEY, EV_ABS, BTN_TOUCH = 0, 1, 3, 0x14a
SLOT, X, Y, TRACKING_ID = 0x2f, 0x35, 0x36, 0x39

# Writes events at their microsecond; the second descriptor is there to wait on.
PLAYER = """
exec 3>{node} 4<> <(:)
started=${{EPOCHREALTIME/./}}
at() {{
    local rest=$(($1 - ${{EPOCHREALTIME/./}} + started)) pause
    printf -v pause '0.%06d' "$rest"
    ((rest > 0)) && read -t "$pause" -u 4
    printf "$2" >&3
}}
"""


def event_node(board: Board, name: str) -> str:
    """The path of the input device of that name."""
    return board.guest.sh(f"cd /sys/class/input && grep -lx '{name}' event*/device/name | "
                          "sed 's|/device/name||; s|^|/dev/input/|'").strip()


def documented_unit(name: str) -> str:
    """A systemd unit as the integrator's guide has it."""
    guide = (ROOT / "docs/integrating.md").read_text()
    block = re.search(rf"^    # /etc/systemd/system/{re.escape(name)}\n((?:    .*\n)+)", guide,
                      re.MULTILINE)
    assert block, f"the guide has no {name}"
    return re.sub("^    ", "", block[1], flags=re.MULTILINE)


class Typing(BoardTest):
    """An operator sets up a panel on which nothing was ever stored."""

    def setUp(self) -> None:
        super().setUp()
        self.board.dongle.plug()
        self.start_program({})

    def test_every_value(self) -> None:
        for label, text in VALUES.items():
            self.panel.touch_in(label, text, SOON_SECONDS)
            self.board.photograph(f"{label.strip(':').replace(' ', '-').lower()}.png")
            self.panel.put_keys_away(timeout=SOON_SECONDS)
        self.panel.choose(AUTH, "CHAP", SOON_SECONDS)
        self.panel.open_tab("Misc Setting", SOON_SECONDS)
        self.panel.press("YES")
        self.panel.touch_in("Counts:", "12", SOON_SECONDS)
        self.board.photograph("counts.png")
        self.panel.put_keys_away("Enter", SOON_SECONDS)
        self.panel.press("Exit")
        self.assertEqual(self.board.program.wait_end(SOON_SECONDS), 0)
        self.assertEqual(self.board.guest.read(PARAMETERS),
                         "".join(f"{text}\n" for text in [*VALUES.values(), "2"]).encode())
        self.assertEqual(self.board.guest.read(AUTO_CONNECT), b"0\n12\n")


class TypingSmall(Typing):
    size = (480, 272)


class TypingLarge(Typing):
    size = (1280, 800)


class Fingers(BoardTest):
    """A finger that stays on the screen while what is under it changes."""

    size = (480, 272)

    def setUp(self) -> None:
        super().setUp()
        self.board.dongle.plug()
        self.board.guest.write(PARAMETERS, b"internet\n*99#\noperator\nsecret\n\n0\n")
        self.start_program({})

    def hold(self, rect: list[int]) -> tuple[int, int]:
        x, y = rect[0] + rect[2] // 2, rect[1] + rect[3] // 2
        self.board.fingers.down(x, y)
        self.board.guest.sh("sleep 0.3")
        return x, y

    def test_a_finger_that_trembles_selects_nothing(self) -> None:
        """The window moves to the touched field only when the finger is lifted."""
        self.panel.raise_keys("PASSWORD:", SOON_SECONDS)
        before = self.panel.screen().main_window()["rect"]
        x, y = self.hold(self.panel.field("USER:")["rect"])
        self.assertEqual(self.panel.screen().main_window()["rect"], before)
        self.board.fingers.move(x + 1, y + 1)
        self.board.fingers.up()
        self.wait("the window moved", SOON_SECONDS,
                  lambda screen: screen.main_window()["rect"] != before)
        self.board.guest.sh("sleep 0.5")
        self.panel.click(self.panel.screen().key("x"))
        self.wait("x typed at the end", SOON_SECONDS,
                  lambda screen: screen.field("USER:")["text"] == "operatorx")

    def test_touched_again_late(self) -> None:
        """A second touch at the same place, long after the first, selects nothing that the next key
        would replace."""
        screen = self.panel.raise_keys("APN NAME:", SOON_SECONDS)
        x, y, _, height = screen.field("APN NAME:")["rect"]
        for _ in range(2):
            self.board.fingers.touch(x + 20, y + height // 2)
            self.board.guest.sh("sleep 3")
        self.panel.click(screen.key("q"))
        self.wait("q beside the whole name", SOON_SECONDS, lambda now:
                  sorted(now.field("APN NAME:")["text"]) == sorted("internetq"))

    def test_held_while_a_dialog_opens(self) -> None:
        self.hold(self.panel.raise_keys("PinCode:", SOON_SECONDS).key("7")["rect"])
        self.panel.invoke("Makeup", "checkPPPMsg")
        self.wait("the notice", SOON_SECONDS, lambda screen: screen.dialog()["text"] == FAILED)
        screen = self.panel.screen()
        self.assertEqual(screen.keys, [])
        self.assertEqual(screen.cut_off(), [])
        self.board.photograph("notice.png")
        self.board.fingers.up()
        self.board.guest.sh("sleep 0.5")
        self.assertTrue(self.panel.screen().has_dialog())
        self.panel.press("OK")
        self.wait("the notice gone", SOON_SECONDS, lambda now: not now.has_dialog())
        self.assertEqual(self.panel.field("PinCode:")["text"], "")
        self.panel.touch_in("PinCode:", "0471", SOON_SECONDS)  # and all goes on

    def test_held_while_the_program_ends(self) -> None:
        self.hold(self.panel.raise_keys("PinCode:", SOON_SECONDS).key("7")["rect"])
        self.panel.invoke("Makeup", "mClose")
        self.assertEqual(self.board.program.wait_end(SOON_SECONDS), 0)
        self.board.fingers.up()

    def test_slides_off_a_key(self) -> None:
        screen = self.panel.raise_keys("PinCode:", SOON_SECONDS)
        self.hold(screen.key("7")["rect"])
        self.board.fingers.move(*centre(screen.key("0")))
        self.board.fingers.up()
        self.panel.click(screen.key("5"))
        self.wait("5 alone", SOON_SECONDS, lambda now: now.field("PinCode:")["text"] == "5")

    def test_beside_a_real_keyboard(self) -> None:
        screen = self.panel.raise_keys("PinCode:", SOON_SECONDS)
        self.panel.click(screen.key("1"))
        self.board.keyboard.type("Ab")
        self.panel.click(screen.key("2"))
        self.wait("both typed", SOON_SECONDS, lambda now: now.field("PinCode:")["text"] == "1Ab2")
        self.board.keyboard.press("Esc")
        self.wait("the keys gone", SOON_SECONDS, lambda now: not now.keys)
        self.assertFalse(self.panel.field("PinCode:")["focus"])


class Thumbs(BoardTest):
    """Two thumbs in turn, fast: the next one comes down before the last is up."""

    TEXT = "the quick brown fox jumps over a lazy bookkeeper"

    def setUp(self) -> None:
        super().setUp()
        self.board.dongle.plug()
        self.start_program({})

    def script(self, positions: list[tuple[int, int]], node: str) -> str:
        """Commands that have two thumbs touch these pixels one after the other."""
        moments: list[tuple[float, bytes]] = []

        def add(moment: float, *events: tuple[int, int, int]) -> None:
            data = b"".join(
                struct.pack("<llHHi", 0, 0, kind, code, value + (value & 0xff == 0x0a))
                for kind, code, value in (*events, (EV_SYN, 0, 0)))
            assert b"\n" not in data, "the shell would write half of it"
            moments.append((moment / SPEED, data))

        for at, (x, y) in enumerate(positions):
            slot = (EV_ABS, SLOT, at % 2)
            add(at, slot, (EV_ABS, TRACKING_ID, at + 1), (EV_KEY, BTN_TOUCH, 1),
                (EV_ABS, X, x), (EV_ABS, Y, y))
            add(at + OVERLAP, slot, (EV_ABS, TRACKING_ID, -1))
        add(len(positions) + OVERLAP, (EV_KEY, BTN_TOUCH, 0))
        lines = [f"{int(moment * 1e6)} '" + "".join(f"\\x{byte:02x}" for byte in data) + "'"
                 for moment, data in sorted(moments)]
        return PLAYER.format(node=node) + "".join(f"at {line}\n" for line in lines)

    def test_no_character_is_lost_or_doubled(self) -> None:
        screen = self.panel.raise_keys("APN NAME:", SOON_SECONDS)
        positions = [centre(screen.key(character)) for character in self.TEXT]
        script = self.script(positions, event_node(self.board, SCREEN_NAME))
        self.board.guest.write("/run/thumbs", script.encode())
        self.board.guest.sh("bash /run/thumbs", 60)
        self.wait("every character once", SOON_SECONDS,
                  lambda now: now.field("APN NAME:")["text"] == self.TEXT)


class Drivers(BoardTest):
    """The ways a touch screen reaches the program, beside libinput, which every other test has."""

    size = (480, 272)

    def setUp(self) -> None:
        super().setUp()
        self.board.dongle.plug()

    def check_typing(self, environment: dict[str, str]) -> None:
        self.board.program.start(environment)
        self.wait("the main window", START_SECONDS, lambda screen: screen.main_window()["visible"])
        self.board.fingers.touch(20, 200)  # the kernel tells a coordinate only when it changes
        self.panel.touch_in("PinCode:", "0471", SOON_SECONDS)
        self.panel.put_keys_away(timeout=SOON_SECONDS)
        self.board.program.stop()

    def test_evdev(self) -> None:
        node = event_node(self.board, SCREEN_NAME)
        self.check_typing({"QT_QPA_FB_NO_LIBINPUT": "1",
                           "QT_QPA_EVDEV_TOUCHSCREEN_PARAMETERS": node})

    def test_tslib(self) -> None:
        """A single-touch screen whose events tslib calibrates and hands on."""
        self.board.guest.sh(
            "killall touchd; "
            "until ! grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
            "setsid touchd {} {} single </dev/null >/dev/null 2>&1 & "
            "until grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
            "udevadm settle".format(*self.size))
        self.board.guest.write("/etc/ts.conf", b"module_raw input grab_events=1\n"
                               b"module pthres pmin=1\nmodule dejitter delta=100\n"
                               b"module linear\n")
        node = event_node(self.board, SCREEN_NAME)
        unit = documented_unit("ts_uinput.service").replace("event0", Path(node).name)
        self.board.guest.write("/etc/systemd/system/ts_uinput.service", unit.encode())
        self.board.guest.sh("systemctl daemon-reload; systemctl start ts_uinput; "
                            "until grep -q ts_uinput /proc/bus/input/devices; do sleep 0.1; done; "
                            "udevadm settle")
        self.check_typing({})


class Turned(BoardTest):
    """A panel that is mounted upside down, and its touches."""

    size = (480, 272)
    TURNED = {"QT_QPA_PLATFORM": "linuxfb:fb=/dev/fb0:rotation=180"}
    RULE = "/etc/udev/rules.d/90-turned.rules"

    def check_touch(self, environment: dict[str, str]) -> None:
        self.board.dongle.plug()
        self.start_program(self.TURNED | environment)
        x, y = centre(self.panel.tab(MISC))
        self.board.fingers.touch(self.size[0] - 1 - x, self.size[1] - 1 - y)
        self.wait("the tab under the finger", SOON_SECONDS, lambda screen: screen.field(COUNTS))
        self.board.program.stop()

    def test_evdev(self) -> None:
        node = event_node(self.board, SCREEN_NAME)
        self.check_touch({"QT_QPA_FB_NO_LIBINPUT": "1",
                          "QT_QPA_EVDEV_TOUCHSCREEN_PARAMETERS": f"{node}:rotate=180"})

    def test_libinput(self) -> None:
        self.board.guest.write(self.RULE, b'SUBSYSTEM=="input", KERNEL=="event*", '
                               b'ENV{LIBINPUT_CALIBRATION_MATRIX}="-1 0 1 0 -1 1"\n')
        self.addCleanup(self.sh, f"rm {self.RULE}")
        self.sh("udevadm control --reload; udevadm trigger --subsystem-match=input; "
                "udevadm settle")
        self.check_touch({})


if __name__ == "__main__":
    unittest.main()
