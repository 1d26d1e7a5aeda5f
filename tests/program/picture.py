"""What is really on the screen, as pixels."""

from privateroot.process import PrivateRoot


class Picture:
    """A picture of a running program's screen."""

    def __init__(self, root: PrivateRoot) -> None:
        root.panel.shot("/testrun/picture.ppm")
        magic, size, depth, pixels = root.content("/testrun/picture.ppm").split(b"\n", 3)
        assert (magic, depth) == (b"P6", b"255"), "a PPM file of 8 bits per colour"
        self.width = int(size.split()[0])
        self.pixels = pixels

    def colours(self) -> set[tuple[int, ...]]:
        return {tuple(self.pixels[at:at + 3]) for at in range(0, len(self.pixels), 3)}

    def part(self, rect: list[int]) -> bytes:
        """The pixels of a rectangle [x, y, width, height]."""
        x, y, width, height = rect
        rows = [3 * (row * self.width + x) for row in range(y, y + height)]
        return b"".join(self.pixels[start:start + 3 * width] for start in rows)
