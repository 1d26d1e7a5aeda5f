"""What is really on the screen, as pixels."""

from __future__ import annotations

from privateroot.process import PrivateRoot

Colour = tuple[int, ...]


class Picture:
    """A picture of the screen, from a binary PPM file."""

    def __init__(self, data: bytes) -> None:
        magic, size, depth, self.pixels = data.split(b"\n", 3)
        self.width, self.height = (int(number) for number in size.split())
        if magic != b"P6" or depth != b"255" or len(self.pixels) != 3 * self.width * self.height:
            raise ValueError("not a PPM file of 8 bits per colour")

    @classmethod
    def of(cls, root: PrivateRoot) -> Picture:
        """Takes a picture of a running program's screen."""
        root.panel.shot("/testrun/picture.ppm")
        return cls(root.content("/testrun/picture.ppm"))

    def colours(self) -> set[Colour]:
        return {tuple(self.pixels[i:i + 3]) for i in range(0, len(self.pixels), 3)}

    def part(self, rect: list[int]) -> bytes:
        """The pixels of a rectangle [x, y, width, height]."""
        x, y, width, height = rect
        rows = [3 * (row * self.width + x) for row in range(y, y + height)]
        return b"".join(self.pixels[start:start + 3 * width] for start in rows)
