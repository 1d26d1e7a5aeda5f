"""The operator of a program that runs without the inspector, which hides what a failure would do to
the program alone: by VNC, at the places where an inspected run shows things."""

from __future__ import annotations

from collections.abc import Iterator
from contextlib import contextmanager
from functools import cache
from typing import Any

from faults.panel import APN, EXIT_SECONDS, TYPED, stored_root
from faults.rows import expect
from faults.trace import INJECTED, TRACE
from host.sockets import connect
from panel.facts import PPP_LOG
from panel.screen import centre
from privateroot.process import PrivateRoot
from privateroot.viewer import SETUP, SOCKET, Viewer

CONNECT, EXIT = "Connect", "Exit"
START_SECONDS = 10


@cache
def places() -> dict[str, tuple[int, int]]:
    """Where the field of the APN and the buttons are, in pixels of the screen."""
    with stored_root() as root:
        root.start()
        screen = root.panel.screen()
        return {APN: centre(screen.field(APN)),
                **{text: centre(screen.button(text)) for text in (CONNECT, EXIT)}}


@contextmanager
def unseen_root(launch: str, setup: str = "", **how: Any) -> Iterator[PrivateRoot]:
    """A root with stored parameters whose program will run alone in its process; not started."""
    with stored_root(launch=launch, setup=SETUP + setup, inspected=False, **how) as root:
        root.write(PPP_LOG, "log\n")
        yield root


@contextmanager
def connecting(root: PrivateRoot) -> Iterator[Viewer]:
    """Starts the program, types another APN and touches Connect."""
    where = places()
    root.start(shown=False)
    root.wait_calls("ifconfig", 1, START_SECONDS)  # once the window is there
    with Viewer(connect(root.run / SOCKET, START_SECONDS)) as viewer:
        viewer.touch(*where[APN])
        viewer.type(TYPED)
        viewer.touch(*where[CONNECT])
        yield viewer


def leave(root: PrivateRoot, viewer: Viewer) -> None:
    """Exit is touched."""
    viewer.touch(*places()[EXIT])
    expect(root.wait_exit(EXIT_SECONDS) == 0, f"exit status 0:\n{root.report()}")


def connect_and_leave(root: PrivateRoot) -> None:
    """Another APN, Connect and Exit; pppd was started."""
    with connecting(root) as viewer:
        root.wait_calls("pppd", 1)
        leave(root, viewer)


def thrown(root: PrivateRoot) -> None:
    """The run has come to its fault."""
    expect(INJECTED in root.content(TRACE), "the fault was thrown")
