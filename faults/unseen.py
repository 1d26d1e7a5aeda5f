"""Operates a program without the inspector, whose activity can hide the effect of a failure.
Touches go through VNC, at the positions that an earlier run with the inspector has shown."""

from __future__ import annotations

from collections.abc import Iterator
from contextlib import contextmanager
from functools import cache
from signal import SIGTERM, SIGUSR1
from typing import Any

from faults.panel import TYPED
from host.sockets import connect
from panel.facts import APN, PARAMETERS, PPP_LOG, STORED
from panel.screen import centre
from privateroot.operating import SECONDS, expect, started, stored_root
from privateroot.process import PrivateRoot
from privateroot.viewer import SETUP, SOCKET, Viewer

CONNECT, EXIT = "Connect", "Exit"


@cache
def places() -> dict[str, tuple[int, int]]:
    """Return the positions of the APN field and the buttons, in pixels of the screen."""
    with started() as root:
        screen = root.panel.screen()
        return {APN: centre(screen.field(APN)),
                **{text: centre(screen.button(text)) for text in (CONNECT, EXIT)}}


def unseen_root(setup: str = "", **how: Any) -> PrivateRoot:
    """Return a root with stored parameters and without the inspector; not started."""
    root = stored_root(setup=SETUP + setup, inspected=False, **how)
    root.write(PPP_LOG, "log\n")
    return root


@contextmanager
def connecting(root: PrivateRoot) -> Iterator[Viewer]:
    """Start the program, type another APN and touch Connect."""
    where = places()
    root.start(shown=False)
    root.wait_calls("ifconfig", 1, SECONDS)  # the window is shown by then
    with Viewer(connect(root.run / SOCKET, SECONDS)) as viewer:
        viewer.touch(*where[APN])
        viewer.type(TYPED)
        viewer.touch(*where[CONNECT])
        yield viewer


def leave_unseen(root: PrivateRoot, viewer: Viewer) -> None:
    """Touch Exit and check the exit status."""
    viewer.touch(*places()[EXIT])
    expect(root.wait_exit(SECONDS) == 0, f"exit status 0:\n{root.report()}")


def connect_and_leave(root: PrivateRoot) -> None:
    """Type another APN, touch Connect, wait for pppd and touch Exit."""
    with connecting(root) as viewer:
        root.wait_calls("pppd", 1)
        leave_unseen(root, viewer)


def terminate(root: PrivateRoot) -> None:
    root.signal(SIGTERM)
    expect(root.wait_exit(SECONDS) == 0, f"exit status 0:\n{root.report()}")


def untouched_run(root: PrivateRoot) -> None:
    """Start the program, request a link check, terminate it, and check the stored parameters."""
    root.start(shown=False)
    root.wait_calls("ifconfig", 1, SECONDS)
    root.signal(SIGUSR1)
    root.wait_calls("ifconfig", 2)
    terminate(root)
    expect(root.content(PARAMETERS) == STORED, "what is stored stays")
