"""Sends SIGKILL or a termination signal to the program at each system call of a save."""

from collections.abc import Callable
from dataclasses import dataclass
from itertools import dropwhile
from typing import Any

import pytest

from panel.constants import APN, AUTO_CONNECT, FILES, PARAMETERS, STORED_AUTO, stored_parameters
from privateroot.operating import AUTO, SECONDS, alive, expect
from privateroot.process import PrivateRoot
from program.injection import (STORES, TRACE, Call, Fault, connecting, first_of_each, launch, lay,
                               logged_root, phases, unseen_root)
from program.programtest import (AUTO_EDITED, DEFAULTS, EDITED, EDITED_LAST, TYPED, TYPED_COUNTS,
                                 TYPED_LAST, generated, repairable, row, type_and_connect,
                                 type_counts)

KILL, TERM = "KILL", "TERM"
EVERYDAY = {KILL: ("pwrite64", "ftruncate", "fsync"), TERM: ("pwrite64",)}  # calls by signal
ORDERLY = (TERM, "INT", "HUP")  # one signal handler exits cleanly on all of them
OLD, NEW, EMPTY = "all files old", "all four files new", "empty"
BEHIND = "new parameters with an older generated file"
TWO_FILES = ("SIGKILL between two files of one Connect leaves the previous chat script or peer "
             "file with the new parameters. The next edit updates them")
FIRST = ("SIGKILL during the first Connect leaves the chat script or peer file empty or missing. "
         "They are written after the next edit")
Record = Callable[[str, object], None]


def contents(parameters: bytes, auto: bytes) -> dict[str, bytes]:
    """Return the contents of all four files for the same parameters."""
    return {PARAMETERS: parameters, AUTO_CONNECT: auto, **generated(parameters)}


@dataclass
class Save:
    """The contents before and after an uninterrupted save.

    @ivar store key in STORES of the files to write before the start
    @ivar before contents before the save, by path
    @ivar after contents after it
    @ivar loses text of the known limitation if SIGKILL may leave generated files older than the
        parameters; otherwise ""
    """

    store: str
    before: dict[str, bytes]
    after: dict[str, bytes]
    loses: str = ""


SAVES = {
    "connect": Save("everything", STORES["everything"], contents(EDITED, AUTO_EDITED), TWO_FILES),
    "connect, no inspector": Save(
        "everything", STORES["everything"], contents(EDITED, AUTO), TWO_FILES),
    "first connect": Save("nothing", {}, contents(
        stored_parameters(TYPED, dial=""), STORED_AUTO.replace(b"5", TYPED_COUNTS.encode())),
        FIRST),
    "exit": Save("everything", contents(EDITED, AUTO),
                 {**contents(EDITED, AUTO_EDITED), PARAMETERS: EDITED_LAST}),
}


def state(root: PrivateRoot, save: Save, path: str, killed: bool) -> str:
    """Return the state of a file: NEW, OLD or EMPTY. After SIGKILL, the new or old content may have
    additional newlines at its end, and a file that did not exist before may be empty."""
    content, before, after = root.read(path), save.before.get(path), save.after[path]
    if content == after or killed and content and content.rstrip(b"\n") == after.rstrip(b"\n"):
        return NEW
    old = (before or b"").rstrip(b"\n")
    expect(killed and (content is before is None or content is not None
                       and content.rstrip(b"\n") == old), f"{path} holds {content!r}")
    return OLD if content == before or old else EMPTY


def expect_ended(root: PrivateRoot, name: str, signal: str, record: Record) -> None:
    """Check the files after a signal during the save. Before a clean exit the program completes the
    save; SIGKILL leaves each file old or new. Record the state after SIGKILL.

    @param name key of SAVES
    @param record record_property() of pytest"""
    save, status, killed = SAVES[name], root.wait_exit(SECONDS), signal == KILL
    expect(status == (137 if killed else 0), f"exit status {status}")
    expect(killed or f"SIG{signal} ".encode() in root.content(TRACE), "the signal was delivered")
    left = {path: state(root, save, path, killed) for path in FILES
            if save.before.get(path) != save.after[path]}
    rest = [*dropwhile(lambda found: found == NEW, left.values())]
    expect(set(rest[1:]) <= {OLD}, f"the files are saved one after the other: {left}")
    for path in set(FILES) - set(left):
        expect(root.read(path) == save.after[path], f"{path} is unchanged: {root.read(path)!r}")
    old = save.before.get(PARAMETERS, DEFAULTS)
    repairable(root, *([old] if killed else []), save.after[PARAMETERS])
    behind = left[PARAMETERS] == NEW and {*left.values()} != {NEW}
    if killed and save.loses:
        record(f"SIGKILL during a save ({name})",
               BEHIND if behind else NEW if left[PARAMETERS] == NEW else OLD)
        if behind:
            record("limitation", save.loses)


def rows(name: str, calls: list[Call], signals: tuple[str, ...],
         everyday: dict[str, tuple[str, ...]]) -> list[Any]:
    """@param everyday names of the calls at which ./test sends each signal"""
    return [row(f"{name}: {fault}", name, fault, signal,
                everyday=call.name in everyday.get(signal, ()))
            for call in calls for signal in signals
            for fault in (Fault(call, f"signal={signal}"),)]


def saves() -> list[Any]:
    found = phases(launch(), "everything")
    return [*rows("connect", found["connect"], (KILL, *ORDERLY), EVERYDAY),
            *rows("exit", found["exit"], (KILL, *ORDERLY), EVERYDAY),
            *rows("first connect", phases(launch(), "nothing")["connect"], (KILL,),
                  {KILL: ("pwrite64",)})]


@pytest.mark.parametrize("name, fault, signal", saves())
def test_save(record_property: Record, name: str, fault: Fault, signal: str) -> None:
    with logged_root(launch(fault), SAVES[name].store) as root:
        root.start()
        if name == "exit":
            type_and_connect(root)
            alive(root)
        type_counts(root)
        root.panel.fill(APN, TYPED_LAST if name == "exit" else TYPED)
        root.panel.press("Exit" if name == "exit" else "Connect")
        expect_ended(root, name, signal, record_property)


@pytest.mark.parametrize("name, fault, signal", rows(
    "connect, no inspector", first_of_each(phases(launch(), "everything")["connect"]),
    (KILL, TERM), {}))
def test_save_unseen(record_property: Record, name: str, fault: Fault, signal: str) -> None:
    with unseen_root(launch=launch(fault)) as root:
        lay(root, SAVES[name].store)
        with connecting(root):
            expect_ended(root, name, signal, record_property)
