"""Exit: rotates the logs, saves the parameters and ends the program, in every state."""

from collections.abc import Callable
from signal import SIGTERM

import pytest

from panel.facts import (APN, CHAT_LOG, CHAT_SCRIPT, OLD_LOG, PARAMETERS, PEER_FILE, PPP_LOG,
                         STORED)
from privateroot.operating import check_link, connect, ended, leave
from program.modem import Modem
from program.conftest import Roots

LONG_PPPD = "/usr/bin/sleep 600\n:"  # the second command keeps the shell named pppd


@pytest.mark.parametrize("current", (False, True))
@pytest.mark.parametrize("old", (False, True))
def test_logs(roots: Roots, current: bool, old: bool) -> None:
    """A log is there or not, and so is its old copy; the state is never the same for both logs."""
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


def test_edits_without_connecting(roots: Roots) -> None:
    root = roots.stored()
    root.write(CHAT_SCRIPT, "old")
    root.start().panel.fill(APN, "other")
    leave(root)
    assert root.read(PARAMETERS) == STORED.replace(b"internet", b"other")
    assert root.read(CHAT_SCRIPT) == b"old"
    assert root.read(PEER_FILE) is None
    assert root.commands() == ["ifconfig"]


def test_pppd_stays(roots: Roots) -> None:
    root = roots.stored()
    root.answer("pppd", LONG_PPPD)
    root.set_link(True)
    check_link(root.start(), False)
    connect(root)
    leave(root, ["pppd", "sleep"])
    assert len(root.calls("killall")) == 1, "only the one before dialling"


@pytest.mark.parametrize("by_signal", (False, True), ids=("Exit", "SIGTERM"))
def test_several_waits_at_once(roots: Roots, modems: Callable[..., Modem],
                               by_signal: bool) -> None:
    """A Connect waits for the node from within the wait for the modem's answer."""
    root = roots.stored(nodes=())
    root.add_node("ttyUSB0", modems().path)
    asked = root.start().panel.invoke("Makeup", "checkSignalStrength", 1)
    root.wait(lambda screen: screen.invoked[asked]["running"], 2, "the modem asked")
    root.remove_node("ttyUSB0")
    root.panel.press("Connect")
    root.wait(lambda screen: screen.busy_bars(), 2, "the wait of Connect")
    if by_signal:
        root.signal(SIGTERM)
    else:
        root.panel.press("Exit")
    assert root.wait_exit(1) == 0
    ended(root)
    assert root.commands() == ["ifconfig"]
