"""Touches: every pixel of every panel can be touched."""

import unittest

from machine.qmp import AXIS_MAXIMUM, position
from panel.facts import SIZES


def pixel(value: int, pixels: int) -> int:
    """The touch screen's daemon computes in whole numbers: see touchd.cpp."""
    return (value * (pixels - 1) + AXIS_MAXIMUM // 2) // AXIS_MAXIMUM


class Input(unittest.TestCase):
    def test_every_pixel_comes_out_as_itself(self) -> None:
        for pixels in {side for size in SIZES for side in size}:
            with self.subTest(pixels):
                self.assertEqual([pixel(position(p, pixels), pixels) for p in range(pixels)],
                                 list(range(pixels)))


if __name__ == "__main__":
    unittest.main()
