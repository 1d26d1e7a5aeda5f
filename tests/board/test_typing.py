"""Typing on the simulated board: real touches on the on-screen keyboard."""

import re
import struct
from pathlib import Path

from boardtest import OperatedBoard
from host.paths import ROOT
from panel.constants import AUTO_CONNECT, COUNTS, MISC, PARAMETERS, SOON_SECONDS
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


def test_every_value(board: OperatedBoard) -> None:
    """Type every value. Enter moves to the next field, or hides the keyboard after the last."""
    board.dongle.plug()
    board.start_program({})
    panel = board.panel
    for label, text in VALUES.items():
        panel.touch_in(label, text)
        panel.click(panel.screen().key("Enter"))
    board.wait("the keyboard is hidden", SOON_SECONDS, lambda screen: not screen.keys)
    panel.choose("APN Auth Methods:", "CHAP")
    panel.open_tab(MISC)
    panel.press("YES")
    panel.touch_in(COUNTS, "12")
    panel.put_keys_away("Enter")
    board.leave()
    assert board.guest.read(PARAMETERS).decode().splitlines() == [*VALUES.values(), "2"]
    assert board.guest.read(AUTO_CONNECT) == b"0\n12\n"


def report(*events: tuple[int, int, int]) -> str:
    """@return shell commands that write input events (type, code, value) and then wait"""
    data = b"".join(struct.pack("<llHHi", 0, 0, kind, code, value + (value & 0xff == 0x0a))
                    for kind, code, value in (*events, (EV_SYN, 0, 0)))
    assert b"\n" not in data, "the shell's printf would write the report in two parts"
    return "printf '" + "".join(f"\\x{byte:02x}" for byte in data) + "' >&3; rest\n"


def test_no_character_is_lost_or_doubled(board: OperatedBoard) -> None:
    """Type with two thumbs in turn. Each is lifted after the other has touched the next key."""
    board.dongle.plug()
    board.start_program({})
    screen = board.panel.raise_keys("APN NAME:")
    script = (f"exec 3>{event_node(board)} 4<> <(:)\n"
              f"rest() {{ read -t {HALF_SECONDS} -u 4 || :; }}\n")
    for at, character in enumerate(TEXT):
        x, y = centre(screen.key(character))
        script += report((EV_ABS, SLOT, at % 2), (EV_ABS, TRACKING_ID, FIRST_ID + at),
                         (EV_KEY, BTN_TOUCH, 1), (EV_ABS, X, x), (EV_ABS, Y, y))
        if at:
            script += report((EV_ABS, SLOT, (at - 1) % 2), (EV_ABS, TRACKING_ID, -1))
    script += report((EV_ABS, SLOT, at % 2), (EV_ABS, TRACKING_ID, -1), (EV_KEY, BTN_TOUCH, 0))
    board.guest.write("/run/thumbs", script.encode())
    board.sh("bash /run/thumbs", 60)
    board.wait("every character once", SOON_SECONDS,
               lambda now: now.field("APN NAME:")["text"] == TEXT)


def test_tslib(board: OperatedBoard) -> None:
    """Type on a single-touch screen whose events tslib calibrates and forwards."""
    board.dongle.plug()
    board.sh("killall touchd; "
             "until ! grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
             "setsid touchd {} {} single </dev/null >/dev/null 2>&1 & "
             "until grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
             "udevadm settle".format(*board.size))
    board.guest.write("/etc/ts.conf", b"module_raw input grab_events=1\n"
                      b"module pthres pmin=1\nmodule dejitter delta=100\nmodule linear\n")
    # systemd ignores the indentation of the documented unit.
    documented = re.search(r"    # (/etc/systemd/system/ts_uinput.service)\n((?:    .*\n)+)",
                           (ROOT / "docs/integrating.md").read_text())
    assert documented
    unit = documented[2].replace("event0", Path(event_node(board)).name)
    board.guest.write(documented[1], unit.encode())
    board.sh("systemctl daemon-reload; systemctl start ts_uinput; "
             "until grep -q ts_uinput /proc/bus/input/devices; do sleep 0.1; done; "
             "udevadm settle")
    board.start_program({})
    board.fingers.touch(20, 200)  # the kernel reports a coordinate only when it changes
    board.panel.touch_in("PinCode:", "0471")
