"""Typing on the simulated board: real touches on the on-screen keyboard."""

import re
import struct
from pathlib import Path

import pytest

from boardtest import OperatedBoard
from host.paths import ROOT
from panel.constants import (AUTO_CONNECT, BUTTON_GUARD_SECONDS, COUNTS, FAILED, MISC, PARAMETERS,
                             SIZES, SOON_SECONDS)
from panel.screen import centre
from virtualboard.board import Board

VALUES = {"APN NAME:": "web.Example-2", "Dial Num:": "*99***1#", "USER:": "guest@example",
          "PASSWORD:": "Pa5$w{rD!", "PinCode:": "0471"}
TEXT = "the quick brown fox jumps over a lazy bookkeeper"
TURNED = {"QT_QPA_PLATFORM": "linuxfb:fb=/dev/fb0:rotation=180"}
RULE = "/etc/udev/rules.d/90-turned.rules"
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


@pytest.fixture
def keyed(board: OperatedBoard) -> OperatedBoard:
    """Provide a board whose program runs with the on-screen keyboard, without parameters."""
    board.dongle.plug()
    board.start_program({})
    return board


def test_every_value(keyed: OperatedBoard) -> None:
    """Type every value. Enter moves to the next field, or hides the keyboard after the last."""
    panel = keyed.panel
    for label, text in VALUES.items():
        panel.touch_in(label, text, SOON_SECONDS)
        panel.click(panel.screen().key("Enter"))
    keyed.wait("the keyboard is hidden", SOON_SECONDS, lambda screen: not screen.keys)
    panel.choose("APN Auth Methods:", "CHAP", SOON_SECONDS)
    panel.open_tab(MISC, SOON_SECONDS)
    panel.press("YES")
    panel.touch_in(COUNTS, "12", SOON_SECONDS)
    panel.put_keys_away("Enter", SOON_SECONDS)
    keyed.leave()
    assert keyed.guest.read(PARAMETERS).decode().splitlines() == [*VALUES.values(), "2"]
    assert keyed.guest.read(AUTO_CONNECT) == b"0\n12\n"


def test_held_while_a_dialog_opens(keyed: OperatedBoard) -> None:
    panel = keyed.panel
    keyed.fingers.down(*centre(panel.raise_keys("PinCode:", SOON_SECONDS).key("7")))
    keyed.sh("sleep 0.3")
    panel.invoke("Makeup", "checkPPPMsg")
    keyed.wait("the notice", SOON_SECONDS, lambda screen: screen.dialog()["text"] == FAILED)
    assert panel.screen().keys == []
    keyed.fingers.up()
    keyed.sh(f"sleep {BUTTON_GUARD_SECONDS}")
    assert panel.screen().has_dialog()
    panel.press("OK")
    keyed.wait("the notice closed", SOON_SECONDS, lambda screen: not screen.has_dialog())
    assert panel.field("PinCode:")["text"] == ""


def test_before_the_window_is_shown(keyed: OperatedBoard) -> None:
    """Touch the place of Exit while the program starts. The kernel queues these touches, but they
    must not end the program."""
    at_exit = centre(keyed.panel.button("Exit"))
    keyed.program.stop()
    keyed.program.start({})
    for _ in range(5):
        keyed.fingers.touch(*at_exit)
    keyed.await_window()
    keyed.fingers.touch(*at_exit)
    keyed.sh("sleep 1")
    keyed.leave()  # the program still runs, and Exit works


def report(*events: tuple[int, int, int]) -> str:
    """@return shell commands that write input events (type, code, value) and then wait"""
    data = b"".join(struct.pack("<llHHi", 0, 0, kind, code, value + (value & 0xff == 0x0a))
                    for kind, code, value in (*events, (EV_SYN, 0, 0)))
    assert b"\n" not in data, "the shell's printf would write the report in two parts"
    return "printf '" + "".join(f"\\x{byte:02x}" for byte in data) + "' >&3; rest\n"


@pytest.mark.parametrize("size", SIZES[-1:], ids=str)
def test_no_character_is_lost_or_doubled(keyed: OperatedBoard) -> None:
    """Type with two thumbs in turn. Each is lifted after the other has touched the next key."""
    screen = keyed.panel.raise_keys("APN NAME:", SOON_SECONDS)
    script = (f"exec 3>{event_node(keyed)} 4<> <(:)\n"
              f"rest() {{ read -t {HALF_SECONDS} -u 4 || :; }}\n")
    for at, character in enumerate(TEXT):
        x, y = centre(screen.key(character))
        script += report((EV_ABS, SLOT, at % 2), (EV_ABS, TRACKING_ID, FIRST_ID + at),
                         (EV_KEY, BTN_TOUCH, 1), (EV_ABS, X, x), (EV_ABS, Y, y))
        if at:
            script += report((EV_ABS, SLOT, (at - 1) % 2), (EV_ABS, TRACKING_ID, -1))
    script += report((EV_ABS, SLOT, at % 2), (EV_ABS, TRACKING_ID, -1), (EV_KEY, BTN_TOUCH, 0))
    keyed.guest.write("/run/thumbs", script.encode())
    keyed.sh("bash /run/thumbs", 60)
    keyed.wait("every character once", SOON_SECONDS,
               lambda now: now.field("APN NAME:")["text"] == TEXT)


def check_turned(board: OperatedBoard, environment: dict[str, str]) -> None:
    """Touch a tab of a panel that is mounted upside down."""
    board.dongle.plug()
    board.start_program(TURNED | environment)
    x, y = centre(board.panel.tab(MISC))
    width, height = SIZES[0]
    board.fingers.touch(width - 1 - x, height - 1 - y)
    board.wait("the tab under the finger", SOON_SECONDS, lambda screen: screen.field(COUNTS))


def test_evdev_turned(board: OperatedBoard) -> None:
    """A touch screen that is read without libinput."""
    check_turned(board, {"QT_QPA_FB_NO_LIBINPUT": "1", "QT_QPA_EVDEV_TOUCHSCREEN_PARAMETERS":
                         f"{event_node(board)}:rotate=180"})


def test_libinput_turned(board: OperatedBoard) -> None:
    board.guest.write(RULE, b'SUBSYSTEM=="input", KERNEL=="event*", '
                      b'ENV{LIBINPUT_CALIBRATION_MATRIX}="-1 0 1 0 -1 1"\n')
    reload = "udevadm control --reload; udevadm trigger --subsystem-match=input; udevadm settle"
    board.sh(reload)
    board.cleanups.callback(board.sh, f"rm {RULE}; {reload}")
    check_turned(board, {})


def test_tslib(board: OperatedBoard) -> None:
    """Type on a single-touch screen whose events tslib calibrates and forwards. Later tests cannot
    use the board."""
    board.reusable = False
    board.dongle.plug()
    board.sh("killall touchd; "
             "until ! grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
             "setsid touchd {} {} single </dev/null >/dev/null 2>&1 & "
             "until grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
             "udevadm settle".format(*SIZES[0]))
    board.guest.write("/etc/ts.conf", b"module_raw input grab_events=1\n"
                      b"module pthres pmin=1\nmodule dejitter delta=100\nmodule linear\n")
    node = event_node(board)
    unit = documented_unit("ts_uinput.service").replace("event0", Path(node).name)
    board.guest.write("/etc/systemd/system/ts_uinput.service", unit.encode())
    board.sh("systemctl daemon-reload; systemctl start ts_uinput; "
             "until grep -q ts_uinput /proc/bus/input/devices; do sleep 0.1; done; "
             "udevadm settle")
    board.start_program({})
    board.fingers.touch(20, 200)  # the kernel reports a coordinate only when it changes
    board.panel.touch_in("PinCode:", "0471", SOON_SECONDS)
