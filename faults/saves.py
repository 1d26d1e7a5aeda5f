"""Sends the program a signal, such as SIGTERM or SIGKILL, at each system call of a save."""

from __future__ import annotations

from collections import Counter
from dataclasses import dataclass, field
from functools import partial
from itertools import dropwhile

from faults.calls import STORES, first_of_each, lay, logged_root, phases
from faults.panel import (AUTO_EDITED, DEFAULTS, EDITED, EDITED_LAST, TYPED, TYPED_COUNTS,
                          TYPED_LAST, generated, repairable, type_and_connect, type_counts)
from faults.rows import Group, Row
from faults.trace import TRACE, Call, Fault, launch
from faults.unseen import connecting, unseen_root
from panel.facts import (APN, AUTO_CONNECT, CHAT_SCRIPT, PARAMETERS, PEER_FILE, STORED_AUTO,
                         stored_parameters)
from privateroot.operating import AUTO, SECONDS, alive, expect
from privateroot.process import PrivateRoot

CUT = ("pwrite64", "ftruncate", "fsync")
KILL, TERM = "KILL", "TERM"
ORDERLY = (TERM, "INT", "HUP")  # one function handles them
ORDER = (PARAMETERS, AUTO_CONNECT, PEER_FILE, CHAT_SCRIPT)  # in which Connect saves the files
OLD, NEW, EMPTY = "old", "new", "empty"
TWO_FILES = ("SIGKILL between two files of one Connect leaves the previous chat script or peer "
             "file with the new parameters. The next edit updates them")
FIRST = ("SIGKILL during the first Connect leaves the chat script or peer file empty or missing. "
         "They are written after the next edit")


def contents(parameters: bytes, auto: bytes) -> dict[str, bytes]:
    """Return the contents of all four files for the same parameters."""
    return {PARAMETERS: parameters, AUTO_CONNECT: auto, **generated(parameters)}


@dataclass
class Save:
    """The contents before and after an uninterrupted save.

    @ivar store name in STORES of the files to write before the start
    @ivar loses known limitation if SIGKILL may leave generated files older than the parameters
    @ivar kills state of the files after each SIGKILL
    """

    store: str
    before: dict[str, bytes]
    after: dict[str, bytes]
    loses: str | None = None
    kills: list[str] = field(default_factory=list)


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


def throw(name: str, fault: Fault, signal: str) -> str | None:
    with logged_root(launch(fault), SAVES[name].store) as root:
        root.start()
        if name == "exit":
            type_and_connect(root)
            alive(root)
        type_counts(root)
        root.panel.fill(APN, TYPED_LAST if name == "exit" else TYPED)
        root.panel.press("Exit" if name == "exit" else "Connect")
        return ended(root, SAVES[name], signal)


def throw_unseen(name: str, fault: Fault, signal: str) -> str | None:
    with unseen_root(launch=launch(fault)) as root:
        lay(root, SAVES[name].store)
        with connecting(root):
            return ended(root, SAVES[name], signal)


def ended(root: PrivateRoot, save: Save, signal: str) -> str | None:
    """Check the files after a signal during the save: a clean exit has completed the save, SIGKILL
    has left each file old or new. @return the known limitation that applies, or None"""
    status, killed = root.wait_exit(SECONDS), signal == KILL
    expect(status == (137 if killed else 0), f"exit status {status}")
    expect(killed or f"SIG{signal} ".encode() in root.content(TRACE), "the signal came")
    left = {path: state(root, save, path, killed) for path in ORDER
            if save.before.get(path) != save.after[path]}
    rest = [*dropwhile(lambda found: found == NEW, left.values())]
    expect(set(rest[1:]) <= {OLD}, f"one file after the other is saved: {left}")
    for path in set(ORDER) - set(left):
        expect(root.read(path) == save.after[path], f"{path} stays: {root.read(path)!r}")
    old = save.before.get(PARAMETERS, DEFAULTS)
    repairable(root, *([old] if killed else []), save.after[PARAMETERS])
    behind = left[PARAMETERS] == NEW and {*left.values()} - {NEW} and save.loses
    if killed and save.loses:
        save.kills.append("behind" if behind else left[PARAMETERS])
    return behind or None


def state(root: PrivateRoot, save: Save, path: str, killed: bool) -> str:
    """Return the state of a file. SIGKILL may leave it new or old with newlines at the end or, if
    it did not exist before, empty."""
    content, before, after = root.read(path), save.before.get(path), save.after[path]
    if content == after or killed and content and content.rstrip(b"\n") == after.rstrip(b"\n"):
        return NEW
    old = (before or b"").rstrip(b"\n")
    expect(killed and (content is before is None or content is not None
                       and content.rstrip(b"\n") == old), f"{path} holds {content!r}")
    return OLD if content == before or old else EMPTY


def row(name: str, call: Call, signal: str) -> Row:
    fault, unseen = Fault(call, f"signal={signal}"), "inspector" in name
    return Row(f"{name}: {fault}", partial(throw_unseen if unseen else throw, name, fault, signal),
               chosen=call.name in (CUT[:1] if name == "first connect" else CUT)
               and not unseen and signal in (KILL, TERM))


def rows() -> list[Row]:
    found = phases(launch(), "everything")
    first = phases(launch(), "nothing")["connect"]
    return [*(row(name, call, signal) for name in ("connect", "exit")
              for call in found[name] for signal in (KILL, *ORDERLY)),
            *(row("first connect", call, KILL) for call in first),
            *(row("connect, no inspector", call, signal)
              for call in first_of_each(found["connect"]) for signal in (KILL, TERM))]


def figures() -> list[str]:
    found = []
    for name, save in SAVES.items():
        counts = Counter(save.kills)
        if save.kills:
            found.append(
                f"{len(save.kills)} times SIGKILL during a save ({name}): "
                f"{counts[OLD] + counts[EMPTY]} left all files old, {counts[NEW]} all four files "
                f"new, {counts['behind']} new parameters with an older generated file")
    return found


GROUPS = [Group("saves", "terminated or killed at each system call of a save", rows,
                figures=figures)]
