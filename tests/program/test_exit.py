"""Exit rotates the logs. A flood of SIGUSR1 does not prevent the exit."""

from contextlib import suppress
from signal import SIGUSR1

import pytest

from panel.constants import CHAT_LOG, OLD_LOG, PPP_LOG
from privateroot.operating import ended, leave
from privateroot.process import PrivateRoot
from program.conftest import Roots


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


def test_while_ending(root: PrivateRoot) -> None:
    """Send signals during the exit. They have no effect after the controller is destroyed."""
    root.panel.press("Exit")
    with suppress(ProcessLookupError):
        for _ in range(20000):
            root.signal(SIGUSR1)
    ended(root)
