"""The simulated board itself: a board exits with its owner."""

import os
import select
import subprocess
import sys

from host.paths import SIMULATOR
from panel.constants import SOON_SECONDS

OWNER = """
import signal
from panel.constants import SIZES
from virtualboard.board import Board
with Board(SIZES[0], "test-owned") as board:
    print(board.machine.pid, flush=True)
    signal.pause()
"""


def test_board_exits_with_its_owner() -> None:
    with subprocess.Popen([sys.executable, "-B", "-c", OWNER], stdout=subprocess.PIPE,
                          env=os.environ | {"PYTHONPATH": str(SIMULATOR)}) as owner:
        assert owner.stdout
        machine = os.pidfd_open(int(owner.stdout.readline()))
        owner.kill()
        assert select.select([machine], [], [], SOON_SECONDS)[0]
        os.close(machine)
