"""Exit rotates the logs. Floods of SIGUSR1 lose no touch and do not prevent the exit."""

import time
from contextlib import suppress
from signal import SIGUSR1

import pytest

from panel.constants import CHAT_LOG, OLD_LOG, PPP_LOG, STATUS
from privateroot.files import STAND_IN
from privateroot.operating import ended, leave
from privateroot.process import PrivateRoot
from privateroot.procfs import is_pending
from program.conftest import Roots

FLOOD = 600
PENDING = 278  # capacity of the program's socket pair
SLOW_UNTIL_TOLD = """
while [ ! -e /testrun/go-on ]; do /usr/bin/sleep 0.02; done
/usr/bin/cat /testrun/interfaces
"""


@pytest.mark.parametrize("current", (False, True))
@pytest.mark.parametrize("old", (False, True))
def test_logs(roots: Roots, current: bool, old: bool) -> None:
    """Rotate the logs. Each log and its old copy may exist or not; the two logs never have the same
    state, so that a mix-up fails."""
    root = roots.new()
    logs = {PPP_LOG: (current, old), CHAT_LOG: (old, not current)}
    for log, (has_current, has_old) in logs.items():
        if has_current:
            root.write(log, f"current {log}")
        if has_old:
            root.write(log + OLD_LOG, f"old {log}")
    leave(root.start())
    for log, (has_current, _) in logs.items():
        assert root.read(log) is None
        assert root.content(log + OLD_LOG) == (f"current {log}".encode() if has_current else b"")


def test_flood(root: PrivateRoot) -> None:
    """Send signals while a link check blocks the GUI thread. The handler drops those that do not
    fit into the socket. The program handles all others, and a touch and Exit in between."""
    root.answer("ifconfig", SLOW_UNTIL_TOLD)
    root.signal(SIGUSR1)
    root.wait_calls("ifconfig", 2)
    for _ in range(FLOOD):
        root.signal(SIGUSR1)
        deadline = time.monotonic() + 2
        while is_pending(root.pid, SIGUSR1):  # the kernel merges pending signals
            assert time.monotonic() < deadline, "the handler does not return"
    root.write("/testrun/go-on", "")
    root.unwrap("sh", STAND_IN)  # logs commands without running them, which is faster
    root.panel.open_tab(STATUS, 5)
    root.wait_calls("ifconfig", 200, 60)
    leave(root)
    assert len(root.calls("ifconfig")) <= PENDING + 10


def test_while_ending(root: PrivateRoot) -> None:
    """Send signals during the exit. They have no effect after the controller is destroyed."""
    root.panel.press("Exit")
    with suppress(ProcessLookupError):
        for _ in range(20000):
            root.signal(SIGUSR1)
    ended(root)
