"""The F-RAM chip at a simulated spidev node: the program's requests and the screen's language."""

from boardtest import OperatedBoard
from panel.constants import LANGUAGE

IDENTITY = "7f7f7f7f7f7fc22208"
# Starts by the chip's fault: language parameter, the button Connect in that language, the program's
# output when it opens the device, and the queries in the chip's log.
STARTS = {
    "queries": (1, "連線", "can't get spi modecan't set spi modecan't get bits per wordcan't get max "
                "speed hzFram speed: 20000000 Hz (20000 KHz)\n",
                ["RD_MODE failed", "WR_MODE failed", "RD_BITS_PER_WORD failed",
                 "RD_MAX_SPEED_HZ failed"]),
    None: (2, "连线", "Fram speed: 10000000 Hz (10000 KHz)\n",
           ["RD_MODE 0", "WR_MODE 0", "RD_BITS_PER_WORD 8", "RD_MAX_SPEED_HZ 10000000"]),
}


def test_starts(board: OperatedBoard) -> None:
    board.dongle.plug()
    for fault, (language, connect, opened, queries) in STARTS.items():
        board.program.stop()
        board.chip.put_in({LANGUAGE: language}, fault)
        board.start_program()
        assert board.panel.button(connect)["visible"]
        assert (f'{opened}RDID: "{IDENTITY}"\nlangid {language}\nload translator true\n'
                in board.program.log())
        block = bytes(2 * LANGUAGE) + language.to_bytes(2, "little")
        log = ["open", *queries, f"cycle 9f r9 {IDENTITY}",
               f"cycle 030004 r200 {block.hex():0<400}"]
        assert board.chip.log() == log
    board.panel.open_tab("其他设定")
    assert board.chip.log() == log  # later steps do not access the chip
