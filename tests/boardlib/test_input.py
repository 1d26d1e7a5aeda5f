"""Keys and touches: every character has a key, and every pixel can be touched."""

import string
import unittest

import support  # noqa: F401
from boardlib import keyboard
from boardlib.qemu import SIZES
from boardlib.qmp import AXIS_MAXIMUM, position


def pixel(value: int, pixels: int) -> int:
    """The touch screen's daemon computes in whole numbers: see touchd.cpp."""
    return (value * (pixels - 1) + AXIS_MAXIMUM // 2) // AXIS_MAXIMUM


class InputTest(unittest.TestCase):
    def test_every_pixel_comes_out_as_itself(self) -> None:
        for pixels in {side for size in SIZES for side in size}:
            with self.subTest(pixels):
                self.assertEqual([pixel(position(p, pixels), pixels) for p in range(pixels)],
                                 list(range(pixels)))

    def test_outside_is_refused(self) -> None:
        for place in (-1, 480):
            with self.subTest(place), self.assertRaises(ValueError):
                position(place, 480)

    def test_printable_characters_have_different_keys(self) -> None:
        printable = string.ascii_letters + string.digits + string.punctuation + " "
        self.assertEqual(len({tuple(keyboard.keys_of(c)) for c in printable}), len(printable))
        self.assertEqual(keyboard.keys_of("A"), ["shift", "a"])
        self.assertEqual(keyboard.keys_of('"'), ["shift", "apostrophe"])

    def test_others_are_refused(self) -> None:
        for character in "é²\x1b中":
            with self.subTest(character), self.assertRaises(ValueError):
                keyboard.keys_of(character)

    def test_chords(self) -> None:
        for name, expected in (("Ctrl+A", ["ctrl", "a"]), ("Del", ["delete"]), ("F5", ["f5"]),
                               ("Shift+Tab", ["shift", "tab"]), ("Escape", ["esc"]),
                               ("+", ["shift", "equal"]), ("Ctrl+/", ["ctrl", "slash"])):
            with self.subTest(name):
                self.assertEqual(keyboard.chord(name), expected)


if __name__ == "__main__":
    unittest.main()
