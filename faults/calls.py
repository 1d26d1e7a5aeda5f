"""Every system call that the program makes for its own files fails: once, from then on, or because
a signal came. So does every call that starts a command."""

from __future__ import annotations

import time
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from functools import cache, partial

from faults.panel import (APN, EDITED, EDITED_LAST, TYPED, TYPED_LAST, alive, leave, repairable,
                          stored, stored_root, type_and_connect, untouched_run)
from faults.rows import Group, Row, expect
from faults.trace import INJECTED, OWN_FILES, TRACE, Call, Fault, calls_so_far, launch
from faults.unseen import connect_and_leave, connecting, thrown, unseen_root
from faults.unseen import leave as leave_unseen
from panel.facts import CHAT_SCRIPT, PEER_FILE, PPP_LOG, STORED, STORED_AUTO
from privateroot.process import PrivateRoot

ERRORS = {"openat": "EMFILE", "pwrite64": "ENOSPC", "fchmod": "EPERM"}  # EIO for the others
STARTING = "clone,clone3,fork,vfork,pipe2"  # of a process
SECONDS = 5  # for what a touch does
STARTS_OF_COMMANDS = 3  # that the start-up's last commands are
# What may be stored after a fault in a phase.
POSSIBLE = {"start": (STORED,), "connect": (STORED, EDITED), "check": (EDITED,),
            "exit": (EDITED, EDITED_LAST)}
GENERATED = {CHAT_SCRIPT: 16, PEER_FILE: 14}  # lines


@contextmanager
def logged_root(how: str) -> Iterator[PrivateRoot]:
    """A root with stored parameters and a dial-up log, as after a first run."""
    with stored_root(launch=how) as root:
        root.write(PPP_LOG, "log\n")
        yield root


@cache
def phases(how: str) -> dict[str, list[Call]]:
    """The calls of each phase of a run without a fault. @param how strace is to look"""
    found: dict[str, list[Call]] = {}
    with logged_root(how) as root:
        steps: dict[str, Callable[[], object]] = {
            "start": root.start, "connect": partial(type_and_connect, root),
            "check": partial(alive, root), "exit": partial(leave, root)}
        for name, step in steps.items():
            step()
            done = sum(map(len, found.values()))
            found[name] = calls_so_far(root)[done:]
    return found


def first_of_each(calls: list[Call]) -> list[Call]:
    """The first call of each name."""
    return list({call.name: call for call in reversed(calls)}.values())


def whole_or_missing(root: PrivateRoot) -> None:
    """The generated files have all their lines, and nothing new can be read by others."""
    for path, lines in GENERATED.items():
        content = root.read(path)
        expect(content is None or content.count(b"\n") == lines, f"{path} is whole: {content!r}")
    for path in OWN_FILES:
        content = root.read(path)
        expect(content in (None, STORED, STORED_AUTO) or root.mode(path) == "600",
               f"{path} is closed to others: {root.read(path)!r}")


def throw(phase: str, fault: Fault) -> None:
    """A run with a fault in one phase. In the start-up's, nobody types: that would be saved."""
    with logged_root(launch(fault)) as root:
        root.start()
        if phase != "start":
            type_and_connect(root)
            alive(root)
        if phase == "exit":
            root.panel.fill(APN, TYPED_LAST)
        leave(root)
        thrown(root)
        possible = POSSIBLE[phase]
        expect(stored(root) in possible, f"{stored(root)!r} is stored")
        whole_or_missing(root)
        repairable(root, *possible)


def throw_uninspected(fault: Fault) -> None:
    with stored_root(launch=launch(fault), inspected=False) as root:
        untouched_run(root)
        thrown(root)


def throw_unseen(fault: Fault) -> None:
    with unseen_root(launch(fault)) as root:
        connect_and_leave(root)
        thrown(root)
        expect(stored(root) in POSSIBLE["connect"], f"{stored(root)!r} is stored")
        whole_or_missing(root)
        repairable(root, *POSSIBLE["connect"])


def throw_folder() -> None:
    """The name of a file that was created lasts as its content does."""
    with logged_root(launch(calls="fsync")) as root:
        root.start()
        type_and_connect(root)
        trace = root.content(TRACE).decode()
        for path in GENERATED:
            folder = path.rpartition("/")[0]
            expect(f"<{folder}>)" in trace, f"{folder} is synced: {trace}")


def own_files() -> list[Row]:
    rows = []
    for phase, calls in phases(launch()).items():
        for at, call in enumerate(calls):
            error = f"error={ERRORS.get(call.name, 'EIO')}"
            for kind, fault in enumerate((Fault(call, error), Fault(call, error, lasting=True),
                                          Fault(call, "error=EINTR"))):
                chosen = phase == "start" or at % 4 == 0 if kind == 0 else call.name == "fchmod"
                rows.append(Row(f"{phase}: {fault}", partial(throw, phase, fault), chosen=chosen))
    for at, call in enumerate(phases(launch())["start"]):
        fault = Fault(call, "error=EIO")
        rows.append(Row(f"start: {fault}, no inspector", partial(throw_uninspected, fault),
                        chosen=at < 4))
    for call in first_of_each(phases(launch())["connect"]):
        fault = Fault(call, f"error={ERRORS.get(call.name, 'EIO')}", lasting=True)
        rows.append(Row(f"connect: {fault}, no inspector", partial(throw_unseen, fault),
                        chosen=call.name == "pwrite64"))
    return [*rows, Row("a new file's folder is synced", throw_folder, chosen=True)]


def throw_at_command(phase: str, fault: Fault) -> None:
    """A command does not start. The attempt may wait for a node that cannot be looked for."""
    with logged_root(launch(fault, (), STARTING)) as root:
        root.start()
        root.panel.fill(APN, TYPED)
        root.panel.press("Connect")
        deadline = time.monotonic() + 2
        while not root.calls("pppd") and time.monotonic() < deadline:
            time.sleep(0.02)
        leave(root)
        thrown(root)
        expect(stored(root) == EDITED, f"{stored(root)!r} is stored")
        repairable(root, EDITED)


def throw_unseen_at_command(fault: Fault) -> None:
    with unseen_root(launch(fault, (), STARTING)) as root:
        with connecting(root) as viewer:
            root.wait_until(lambda: stored(root) == EDITED, SECONDS, "the save")
            root.wait_until(lambda: INJECTED in root.content(TRACE), SECONDS, "the fault")
            leave_unseen(root, viewer)
        repairable(root, EDITED)


def commands() -> list[Row]:
    found = phases(launch(None, (), STARTING))
    last_of_start = [call for call in found["start"] if call.name != "pipe2"][-STARTS_OF_COMMANDS:]
    unseen = Fault(found["connect"][0], "error=EAGAIN")
    return [*(Row(f"{phase}: {fault}", partial(throw_at_command, phase, fault), chosen=at == 0)
              for phase, calls in (("start", last_of_start), ("connect", found["connect"]))
              for at, call in enumerate(calls)
              for fault in [Fault(call, "error=EAGAIN"),
                            *([Fault(call, "error=EMFILE", True)] if phase == "connect" else [])]),
            Row(f"{unseen}, no inspector", partial(throw_unseen_at_command, unseen))]


GROUPS = [
    Group("calls", "system calls for the program's own files fail", own_files),
    Group("processes", "commands cannot be started", commands),
]
