"""The simulated board itself: touches reach the right pixels, and a board exits with its owner."""

import os
import select
import struct
import subprocess
import sys

from boardtest import OperatedBoard
from host.paths import SIMULATOR
from panel.constants import SOON_SECONDS

EVENT = struct.Struct("<IIHHi")  # input_event of a 32-bit kernel: s, µs, type, code, value
SYN, KEY, ABS = 0, 1, 3
TOUCH, X, Y = 0x14A, 0x35, 0x36
PLACES = [(479, 271), (0, 0), (240, 136), (240, 136)]
RECORDED = "/run/touches"
OWNER = """
import signal
from virtualboard.board import Board
from virtualboard.process import Process
with Board((480, 272), "test-owned") as board:
    print(Process.of(board.directory).pid, flush=True)
    signal.pause()
"""


def touched(events: bytes) -> list[tuple[int, int]]:
    """@return the pixel of each report in which a finger is down"""
    pixels, position, down = [], {X: -1, Y: -1}, False
    for _, _, kind, code, value in EVENT.iter_unpack(events):
        if kind == ABS and code in position:
            position[code] = value
        elif kind == KEY and code == TOUCH:
            down = bool(value)
        elif kind == SYN and down:
            pixels.append((position[X], position[Y]))
    return pixels


def test_touches_arrive_at_their_pixels(board: OperatedBoard) -> None:
    # The kernel reports only changed coordinates. Before the first touch all are 0, so the first
    # place has no zero.
    board.sh("node=/dev/input/$(grep -A5 'panel touchscreen' /proc/bus/input/devices "
             f"| grep -o 'event[0-9]*'); setsid cat $node >{RECORDED} & "
             "until readlink /proc/$!/fd/* | grep -q $node; do sleep 0.02; done; "
             "echo $! >/run/toucher")
    board.cleanups.callback(board.sh, "kill $(</run/toucher)")
    for place in PLACES:
        board.fingers.touch(*place)
    lifted = "01 00 4a 01 00"
    board.wait_for(f"[ $(od -An -v -w16 -tx1 {RECORDED} | grep -c '{lifted}') = {len(PLACES)} ]")
    assert touched(board.guest.read(RECORDED)) == PLACES


def test_board_exits_with_its_owner() -> None:
    with subprocess.Popen([sys.executable, "-B", "-c", OWNER], stdout=subprocess.PIPE,
                          env=os.environ | {"PYTHONPATH": str(SIMULATOR)}) as owner:
        assert owner.stdout
        machine = os.pidfd_open(int(owner.stdout.readline()))
        owner.kill()
        assert select.select([machine], [], [], SOON_SECONDS)[0]
        os.close(machine)
