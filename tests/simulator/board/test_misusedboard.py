"""The board's tool on a board that cannot do what is asked: what it says, and that all goes on."""

import subprocess
import unittest
from typing import NamedTuple

from host.paths import RUNS, SIMULATOR
from panel.facts import START_SECONDS

RUN = "test-misused"
MODEMSIM = r"""
printf '%s\n' '#!/bin/bash' 'echo "dial: there is no bosy"' "exit \$(grep -c bosy \$2)" >/run/stub
chmod +x /run/stub
mount --bind /run/stub /app/modemsim
"""


class Misuse(NamedTuple):
    """One verb with its words, what was done on the board before, and what is said."""

    name: str
    words: tuple[str, ...]
    said: str
    before: str = "true"
    status: int = 1


MISUSES = [
    Misuse("second board", ("boot",), f"the run {RUN} has a board already"),
    Misuse("touch without the program", ("touch", "Connect"), "the program does not run"),
    Misuse("pixel", ("touch", "800", "0"), "there is no pixel 800 on a side of 800 pixels"),
    Misuse("character", ("type", "\u00fc"), "a US keyboard has no key for '\u00fc'"),
    Misuse("key", ("key", "Foo"), "the keyboard has no key 'Foo'"),
    Misuse("picture's folder", ("shot", "/no/folder/x.png"), "No such file or directory"),
    Misuse("long command", ("sh", "--seconds", "1", "while :; do :; done"),
           "the command took longer than 1 s and was ended; the board lives on"),
    Misuse("dongle", ("sh", "dongle plug 0x1234567 3"), "there is no dongle 0x1234567 3",
           status=2),
    # modemsim's own judgement of a scenario has its test elsewhere: this one has a stand-in.
    Misuse("modem", ("modem", "dial=bosy"), "the modem cannot do that: dial: there is no bosy",
           before=MODEMSIM),
]
# What goes on, with its exit status 0: after each of these the verb works.
ALL_IS_WELL = [
    ("a command ended", "true", ("sh", "true")),
    ("a dongle half described", "mkdir -p /sys/kernel/config/usb_gadget/dongle/configs/c.1",
     ("plug",)),
    ("a modem that knows", MODEMSIM, ("modem", "dial=busy")),
    ("logs dated past 2038", "touch -d 2040-01-01 /run/program/program.log", ("off",)),
]


def tool(*words: str) -> subprocess.CompletedProcess[str]:
    verb, *others = words
    return subprocess.run([SIMULATOR / "board", verb, "--run", RUN, *others], text=True,
                          capture_output=True, check=False, timeout=START_SECONDS)


class MisusedBoard(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        booted = tool("boot")
        assert booted.returncode == 0, booted
        cls.addClassCleanup(tool, "off")

    def on_board(self, commands: str) -> str:
        done = tool("sh", commands)
        self.assertEqual(done.returncode, 0, done)
        return done.stdout

    def test_misuses(self) -> None:
        for misuse in MISUSES:
            with self.subTest(misuse.name):
                self.on_board(misuse.before)
                done = tool(*misuse.words)
                self.assertEqual(done.returncode, misuse.status, done)
                self.assertIn(misuse.said, done.stdout + done.stderr)
                self.assertLessEqual(done.stderr.count("\n"), 1, done.stderr)
        self.assertNotIn("bosy", self.on_board("cat /run/dongle/scenario; true"))

    def test_what_goes_on(self) -> None:
        for name, before, words in ALL_IS_WELL:
            with self.subTest(name):
                self.on_board(before)
                done = tool(*words)
                self.assertEqual((done.returncode, done.stderr), (0, ""), done)
        self.assertTrue((RUNS / RUN / "program.log").is_file())


if __name__ == "__main__":
    unittest.main()
