"""The F-RAM chip at a simulated spidev node: the program's requests and the screen's language."""

from dataclasses import dataclass, field
from typing import Any

from boardtest import OperatedBoard
from panel.constants import LANGUAGE
from virtualboard.chip import SLOW_MS

SPEED = "Fram speed: 10000000 Hz (10000 KHz)\n"
NO_DEVICE = "Can't open SPI device ,load parameter by default!\n"
NO_QUERIES = ("can't get spi modecan't set spi modecan't get bits per wordcan't get max speed hz"
              "Fram speed: 20000000 Hz (20000 KHz)\n")
IDENTITY, ZEROS = "7f7f7f7f7f7fc22208", "00" * 9
CONNECT = {0: "Connect", 1: "連線", 2: "连线"}  # the button, by language


def block(language: int) -> str:
    """@return the log entry of a read of all parameters; all except the language are 0"""
    content = bytes(2 * LANGUAGE) + language.to_bytes(2, "little")
    return f"cycle 030004 r200 {content.hex():0<400}"


OPENED = ["open", "RD_MODE 0", "WR_MODE 0", "RD_BITS_PER_WORD 8", "RD_MAX_SPEED_HZ 10000000"]
IDENTIFIED = [*OPENED, f"cycle 9f r9 {IDENTITY}"]


@dataclass
class Start:
    """One start of the program with a chip that stores a Chinese language."""

    name: str
    language: int  # language parameter that the program reads
    log: list[str]  # entries of the chip's log
    chip: dict[str, Any] = field(default_factory=dict)  # arguments of Chip.put_in()
    opened: str = SPEED  # the program's output when it opens the device
    identity: str = IDENTITY  # identification in the program's output, in hexadecimal
    holds: int = 1  # language parameter in the chip

    def output(self) -> str:
        loaded = "true" if self.language else "false"
        return (f'{self.opened}RDID: "{self.identity}"\n'
                f"langid {self.language}\nload translator {loaded}\n")


STARTS = [
    Start("Traditional Chinese", 1, [*IDENTIFIED, block(1)]),
    Start("no device", 0, [], {"fault": "missing"}, NO_DEVICE, ZEROS),
    Start("queries fail", 1, [
        "open", "RD_MODE failed", "WR_MODE failed", "RD_BITS_PER_WORD failed",
        "RD_MAX_SPEED_HZ failed", IDENTIFIED[-1], block(1)], {"fault": "queries"}, NO_QUERIES),
]
SLOW = Start("slow", 2, [*IDENTIFIED, block(2)], {"fault": "slow"}, holds=2)


def check_start(board: OperatedBoard, start: Start) -> None:
    board.program.stop()
    board.chip.put_in({LANGUAGE: start.holds}, **start.chip)
    board.start_program()
    assert board.panel.button(CONNECT[start.language])["visible"]
    lines = [line for line in board.program.log().splitlines(keepends=True)
             if not line.startswith("QStandardPaths: ")]
    assert "".join(lines[:start.output().count("\n")]) == start.output()
    assert board.chip.log() == start.log


def test_starts(board: OperatedBoard) -> None:
    board.dongle.plug()
    for start in STARTS:
        check_start(board, start)
    check_start(board, SLOW)
    times = [time for time, _ in board.chip.timed_log()]
    assert 2 <= (times[-1] - times[0]) / (SLOW_MS / 1000) < 3
    # Later steps do not access the chip.
    board.panel.open_tab("其他设定", SLOW_MS / 1000)
    assert board.chip.log() == SLOW.log
