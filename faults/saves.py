"""The program is told to end, or killed, at every system call of a save."""

from __future__ import annotations

from functools import partial

from faults.calls import POSSIBLE, first_of_each, logged_root, phases
from faults.panel import (APN, EXIT_SECONDS, TYPED, TYPED_LAST, alive, repairable, stored,
                          type_and_connect)
from faults.rows import Group, Row, expect
from faults.trace import Call, Fault, launch
from faults.unseen import connecting, unseen_root
from privateroot.process import PrivateRoot

CUT = ("ftruncate", "fsync", "pwrite64")
ORDERLY = ("TERM", "INT", "HUP")
TWO_FILES = ("a kill between two files of one Connect leaves the earlier script or peer file "
             "beside the new parameters: the next edit makes them agree again")


def throw(phase: str, fault: Fault, signal: str) -> None:
    with logged_root(launch(fault)) as root:
        root.start()
        if phase == "exit":
            type_and_connect(root)
            alive(root)
            root.panel.fill(APN, TYPED_LAST)
            root.panel.press("Exit")
        else:
            root.panel.fill(APN, TYPED)
            root.panel.press("Connect")
        ended(root, phase, signal)


def throw_unseen(phase: str, fault: Fault, signal: str) -> None:
    with unseen_root(launch(fault)) as root, connecting(root):
        ended(root, phase, signal)


def ended(root: PrivateRoot, phase: str, signal: str) -> None:
    """The signal has come in the phase: an ordered stop has saved first."""
    status = root.wait_exit(EXIT_SECONDS)
    expect(status == (137 if signal == "KILL" else 0), f"exit status {status}")
    possible = POSSIBLE[phase] if signal == "KILL" else POSSIBLE[phase][1:]
    expect(stored(root) in possible, f"{stored(root)!r} is stored")
    repairable(root, *possible)


def row(phase: str, call: Call, signal: str, unseen: bool) -> Row:
    fault = Fault(call, f"signal={signal}")
    return Row(f"{phase}: {fault}{', no inspector' if unseen else ''}",
               partial(throw_unseen if unseen else throw, phase, fault, signal),
               ordered=TWO_FILES if signal == "KILL" and phase == "connect" else None,
               chosen=call.name in CUT and signal in ("KILL", "TERM") and not unseen)


def rows() -> list[Row]:
    found = phases(launch())
    return [*(row(phase, call, signal, False) for phase in ("connect", "exit")
              for call in found[phase] for signal in ("KILL", *ORDERLY)),
            *(row("connect", call, signal, True) for call in first_of_each(found["connect"])
              for signal in ("KILL", "TERM"))]


GROUPS = [Group("saves", "ended or killed at every call of a save", rows)]
