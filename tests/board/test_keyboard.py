#!/usr/bin/python3
"""Touch typing on the simulated board: real touches on the keys that are drawn."""

import unittest

from boardtest import (AUTO_CONNECT, FAILED, KEYBOARD, PARAMETERS, SOON, START_SECONDS,
                       BoardTest)

VALUES = {"APN NAME:": "web.Example-2", "Dial Num:": "*99***1#", "USER:": "guest@example",
          "PASSWORD:": "Pa5$w{rD!", "PinCode:": "0471"}
AUTH = "APN Auth Methods:"


class Typing(BoardTest):
    """An operator sets up a panel on which nothing was ever stored."""

    def setUp(self) -> None:
        super().setUp()
        self.board.plug()
        self.start_panel(keyboard=True)

    def test_every_value(self) -> None:
        for label, text in VALUES.items():
            self.panel.touch_in(label, text, SOON)
            self.board.shot(f"{label.strip(':').replace(' ', '-').lower()}.png")
            self.panel.put_keys_away(timeout=SOON)
        self.panel.choose(AUTH, "CHAP", SOON)
        self.panel.open_tab("Misc Setting", SOON)
        self.panel.press("YES")
        self.panel.touch_in("Counts:", "12", SOON)
        self.board.shot("counts.png")
        self.panel.put_keys_away("Enter", SOON)
        self.panel.press("Exit")
        self.assertEqual(self.board.wait_panel_end(SOON), 0)
        self.assertEqual(self.board.read(PARAMETERS),
                         "".join(f"{text}\n" for text in [*VALUES.values(), "2"]).encode())
        self.assertEqual(self.board.read(AUTO_CONNECT), b"0\n12\n")


class TypingSmall(Typing):
    size = (480, 272)


class TypingLarge(Typing):
    size = (1280, 800)


class Fingers(BoardTest):
    """A finger that stays on the screen while what is under it changes."""

    size = (480, 272)

    def setUp(self) -> None:
        super().setUp()
        self.board.plug()
        self.board.write(PARAMETERS, b"internet\n*99#\noperator\nsecret\n\n0\n")
        self.start_panel(keyboard=True)

    def hold(self, rect: list[int]) -> tuple[int, int]:
        x, y = rect[0] + rect[2] // 2, rect[1] + rect[3] // 2
        self.board.finger_down(x, y)
        self.board.sh("sleep 0.3")
        return x, y

    def test_a_finger_that_trembles_selects_nothing(self) -> None:
        """The window moves to the touched field only when the finger is lifted."""
        self.panel.raise_keys("PASSWORD:", SOON)
        before = self.panel.screen().main_window()["rect"]
        x, y = self.hold(self.panel.field("USER:")["rect"])
        self.assertEqual(self.panel.screen().main_window()["rect"], before)
        self.board.finger_move(x + 1, y + 1)
        self.board.finger_up()
        self.wait("the window moved", SOON,
                  lambda screen: screen.main_window()["rect"] != before)
        self.board.sh("sleep 0.5")
        self.panel.click(self.panel.screen().key("x"))
        self.wait("x typed at the end", SOON,
                  lambda screen: screen.field("USER:")["text"] == "operatorx")

    def test_held_while_a_dialog_opens(self) -> None:
        self.hold(self.panel.raise_keys("PinCode:", SOON).key("7")["rect"])
        self.panel.invoke("Makeup", "checkPPPMsg")
        self.wait("the notice", SOON, lambda screen: screen.dialog()["text"] == FAILED)
        screen = self.panel.screen()
        self.assertEqual(screen.keys, [])
        self.assertEqual(screen.cut_off(), [])
        self.board.shot("notice.png")
        self.board.finger_up()
        self.board.sh("sleep 0.5")
        self.assertTrue(self.panel.screen().has_dialog())
        self.panel.press("OK")
        self.wait("the notice gone", SOON, lambda now: not now.has_dialog())
        self.assertEqual(self.panel.field("PinCode:")["text"], "")
        self.panel.touch_in("PinCode:", "0471", SOON)  # and all goes on

    def test_held_while_the_program_ends(self) -> None:
        self.hold(self.panel.raise_keys("PinCode:", SOON).key("7")["rect"])
        self.panel.invoke("Makeup", "mClose")
        self.assertEqual(self.board.wait_panel_end(SOON), 0)
        self.board.finger_up()


class Drivers(BoardTest):
    """The ways a touch screen reaches the program, beside libinput, which every other test has."""

    size = (480, 272)

    def setUp(self) -> None:
        super().setUp()
        self.board.plug()

    def node(self, name: str) -> str:
        """The event device of that name."""
        return self.board.sh(f"cd /sys/class/input && grep -lx '{name}' event*/device/name | "
                             "sed 's|/device/name||; s|^|/dev/input/|'").strip()

    def check_typing(self, environment: dict[str, str]) -> None:
        self.board.start_panel(KEYBOARD | environment)
        self.wait("the main window", START_SECONDS, lambda screen: screen.main_window()["visible"])
        self.board.touch(20, 200)  # the kernel tells a coordinate only when it changes
        self.panel.touch_in("PinCode:", "0471", SOON)
        self.panel.put_keys_away(timeout=SOON)
        self.board.stop_panel()

    def test_evdev(self) -> None:
        node = self.node("panel touchscreen")
        self.check_typing({"QT_QPA_FB_NO_LIBINPUT": "1",
                           "QT_QPA_EVDEV_TOUCHSCREEN_PARAMETERS": node})

    def test_tslib(self) -> None:
        """A single-touch screen whose events tslib calibrates and hands on."""
        self.board.sh("killall touchd; "
                      "until ! grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
                      "setsid touchd {} {} single </dev/null >/dev/null 2>&1 & "
                      "until grep -q 'panel touch' /proc/bus/input/devices; do sleep 0.1; done; "
                      "udevadm settle".format(*self.size))
        self.board.write("/etc/ts.conf", b"module_raw input grab_events=1\n"
                         b"module pthres pmin=1\nmodule dejitter delta=100\nmodule linear\n")
        self.board.sh(f"ts_uinput -d -i {self.node('panel touchscreen')}; "
                      "until grep -q ts_uinput /proc/bus/input/devices; do sleep 0.1; done; "
                      "udevadm settle")
        self.check_typing({})


if __name__ == "__main__":
    unittest.main()
