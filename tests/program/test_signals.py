"""SIGUSR1 in large numbers."""

import time
from contextlib import suppress
from signal import SIGUSR1

from panel.facts import STATUS
from privateroot.operating import connect, ended, leave
from privateroot.process import PrivateRoot
from privateroot.procfs import is_pending
from program.conftest import Roots

FLOOD = 2000
PENDING = 278  # capacity of the program's socket pair
SLOW_UNTIL_TOLD = """
while [ ! -e /testrun/go-on ]; do /usr/bin/sleep 0.02; done
/usr/bin/cat /testrun/interfaces
"""


def flood(root: PrivateRoot) -> None:
    """Keep the GUI thread busy with a command, send the signals one by one so that none merges
    with another, and end the command."""
    root.answer("ifconfig", SLOW_UNTIL_TOLD)
    root.signal(SIGUSR1)
    root.wait_calls("ifconfig", 2)
    for _ in range(FLOOD):
        root.signal(SIGUSR1)
        deadline = time.monotonic() + 2
        while is_pending(root.pid, SIGUSR1):
            assert time.monotonic() < deadline, "the handler does not return"
    root.write("/testrun/go-on", "")


def test_flood(roots: Roots) -> None:
    """The handler drops what the socket cannot hold; all else is served, and so is a touch."""
    root = roots.started()
    flood(root)
    root.panel.open_tab(STATUS, 5)
    connect(root)
    root.set_link(True)  # on a slow machine the notice would cover Exit
    root.wait_calls("ifconfig", 200, 60)
    leave(root)
    assert len(root.calls("ifconfig")) <= PENDING + 10


def test_exit_with_checks_pending(roots: Roots) -> None:
    root = roots.started()
    button = root.panel.button("Exit")
    flood(root)
    root.panel.click(button)
    ended(root)


def test_while_ending(roots: Roots) -> None:
    """The handler outlives the controller; late signals have no visible effect."""
    root = roots.started()
    root.panel.press("Exit")
    with suppress(ProcessLookupError):
        for _ in range(20000):
            root.signal(SIGUSR1)
    ended(root)
