"""Fails each system call of the program for its own files: once, from then on, or because of a
signal. Also fails each call that starts a command."""

from __future__ import annotations

import re
import time
from collections.abc import Callable
from functools import cache, partial

from faults.panel import (AUTO_EDITED, DEFAULT_COUNTS, DEFAULTS, EDITED, EDITED_LAST, STORED_COUNTS,
                          TYPED, TYPED_LAST, generated, repairable, shown, stored,
                          type_and_connect, type_counts)
from faults.rows import Group, Row
from faults.trace import (INJECTED, OWN_FILES, TRACE, Call, Fault, calls_so_far, launch, thrown)
from faults.unseen import (connect_and_leave, connecting, leave_unseen, unseen_root, untouched_run)
from panel.facts import APN, AUTO_CONNECT, COUNTS, PARAMETERS, PPP_LOG, STORED
from privateroot.operating import AUTO, SECONDS, alive, expect, leave, stored_root
from privateroot.process import PrivateRoot

ERRORS = {"openat": "EMFILE", "pwrite64": "ENOSPC", "fchmod": "EPERM"}  # EIO for the others
STARTING = "clone,clone3,fork,vfork,pipe2"  # system calls that start a process
STARTS_OF_COMMANDS = 3  # calls for the last commands of the start-up
INTERRUPTED = "error=EINTR"
UNCOUNTED = "connect, no counts typed"
# Content of each file after a phase, then what it may be if a call for the file has failed.
SAVED: dict[str, dict[str, tuple[bytes, ...]]] = {
    "start": {PARAMETERS: (STORED,), AUTO_CONNECT: (AUTO,)},
    "connect": {PARAMETERS: (EDITED, STORED), AUTO_CONNECT: (AUTO_EDITED, AUTO)},
    "exit": {PARAMETERS: (EDITED_LAST, EDITED), AUTO_CONNECT: (AUTO_EDITED, AUTO)},
    UNCOUNTED: {PARAMETERS: (EDITED, STORED), AUTO_CONNECT: (AUTO,)},
}
# Files before a run. Most runs start with parameters that were not used to dial yet.
EARLIER = generated(STORED.replace(b"operator", b"earlier operator"))
STORES: dict[str, dict[str, bytes]] = {
    "nothing": {}, "parameters": {PARAMETERS: STORED, AUTO_CONNECT: AUTO},
    "everything": {PARAMETERS: STORED, AUTO_CONNECT: AUTO, **EARLIER}}


def lay(root: PrivateRoot, store: str) -> None:
    """Write the files of a store into a root, and delete the program's other files."""
    for path in OWN_FILES:
        root.host(path).unlink(missing_ok=True)
    for path, content in STORES[store].items():
        root.write(path, content)


def logged_root(how: str, store: str = "parameters") -> PrivateRoot:
    """Return a root with stored files and a dial-up log, as after a first run."""
    root = stored_root(launch=how)
    lay(root, store)
    root.unwrap("ls")
    root.write(PPP_LOG, "log\n")
    return root


def edit_and_connect(root: PrivateRoot) -> None:
    """Edit both parameter files and touch Connect."""
    type_counts(root)
    type_and_connect(root)


def edit_again(root: PrivateRoot) -> None:
    """Type other values after a Connect."""
    type_counts(root)
    root.panel.fill(APN, TYPED_LAST)


def edit_and_leave(root: PrivateRoot) -> None:
    """Type other values and touch Exit."""
    edit_again(root)
    leave(root)


@cache
def phases(how: str, store: str = "parameters") -> dict[str, list[Call]]:
    """Return the calls of each phase of a run without a fault, which edits as the runs with a fault
    do: a save makes more calls for another length. @param how command with strace"""
    found: dict[str, list[Call]] = {}
    with logged_root(how, store) as root:
        steps: dict[str, Callable[[], object]] = {
            "start": root.start, "connect": partial(edit_and_connect, root),
            "check": partial(alive, root), "exit": partial(edit_and_leave, root)}
        for name, step in steps.items():
            step()
            done = sum(map(len, found.values()))
            found[name] = calls_so_far(root)[done:]
    return found


def first_of_each(calls: list[Call]) -> list[Call]:
    """Return the first call of each name."""
    return list({call.name: call for call in reversed(calls)}.values())


def error_of(call: Call) -> str:
    return f"error={ERRORS.get(call.name, 'EIO')}"


def failed(phase: str, fault: Fault) -> set[str]:
    """Return the files that a fault affects. An interrupted call affects none."""
    return set() if fault.deed == INTERRUPTED else fault.hits(phases(launch())[phase])


def possible(path: str, phase: str, missed: set[str]) -> tuple[bytes, ...]:
    """Return the possible contents of a file after a phase in which calls for some files failed."""
    return SAVED[phase][path] if path in missed else SAVED[phase][path][:1]


def whole(root: PrivateRoot, missed: set[str], *parameters: bytes) -> None:
    """Check that each generated file is of one of the parameters, or missing if a call failed."""
    for path in EARLIER:
        content = root.read(path)
        expect(content in [generated(one)[path] for one in parameters]
               or content is None and path in missed, f"{path} is whole: {content!r}")


def saved(root: PrivateRoot, phase: str, missed: set[str]) -> None:
    """Check the stored files, and that a second start shows them. Only the owner can read files
    that were written, unless the fault concerned them."""
    for path, found in ((PARAMETERS, stored(root)), (AUTO_CONNECT, root.content(AUTO_CONNECT))):
        expect(found in possible(path, phase, missed), f"{found!r} is stored")
    for path in set(OWN_FILES) - missed:
        content = root.read(path)
        expect(content in (None, STORED, AUTO) or root.mode(path) == "600",
               f"{path} is closed to others: {content!r}")
    repairable(root, *possible(PARAMETERS, phase, missed))


def throw(phase: str, fault: Fault) -> None:
    """Run with a fault in one phase. In a start-up run do not type, because Exit would save it."""
    missed = failed(phase, fault)
    with logged_root(launch(fault)) as root:
        root.start()
        if phase == "start":
            expect(shown(root) == (DEFAULTS if PARAMETERS in missed else STORED),
                   f"{shown(root)!r} is on the screen")
            counts = DEFAULT_COUNTS if AUTO_CONNECT in missed else STORED_COUNTS
            expect(root.panel.field(COUNTS)["text"] == counts, f"the counts are {counts}")
        else:
            connect_and_save(root, phase, missed)
        leave(root)
        thrown(root)
        if phase == "start":
            expect(root.read(PARAMETERS) == STORED, "what is stored stays")
        elif fault.deed == INTERRUPTED:
            directories_synced(root)
        saved(root, phase, missed)


def connect_and_save(root: PrivateRoot, phase: str, missed: set[str]) -> None:
    """Check that Connect writes the shown values to the files. Before Exit, type more."""
    if phase == "connect":
        edit_and_connect(root)
    else:
        type_and_connect(root)
    alive(root)
    whole(root, missed, shown(root))
    if phase == "exit":
        edit_again(root)


def directories_synced(root: PrivateRoot) -> None:
    """Check that the directory entry of a new file is synced like its content."""
    trace = root.content(TRACE).decode()
    for path in EARLIER:
        directory = path.rpartition("/")[0]
        expect(re.search(rf"fsync\(\d+<{directory}>\) += 0", trace), f"{directory} is synced")


def throw_uninspected(fault: Fault) -> None:
    with stored_root(launch=launch(fault), inspected=False) as root:
        untouched_run(root)
        thrown(root)


def throw_unseen(fault: Fault) -> None:
    with unseen_root(launch=launch(fault)) as root:
        connect_and_leave(root)
        thrown(root)
        missed = failed("connect", fault)
        whole(root, missed, *possible(PARAMETERS, UNCOUNTED, missed))
        saved(root, UNCOUNTED, missed)


def own_files() -> list[Row]:
    rows = []
    for phase, calls in phases(launch()).items():
        for at, call in enumerate(calls):
            for lasting in (False, True):
                fault = Fault(call, error_of(call), lasting)
                chosen = call.name == "fchmod" if lasting else phase == "start" or at % 4 == 0
                rows.append(Row(f"{phase}: {fault}", partial(throw, phase, fault), chosen=chosen))
        for call in first_of_each(calls):
            # realpath(3), if repeated, starts again with the first of its calls.
            fault = Fault(call, INTERRUPTED, repeated=call.name != "readlink")
            rows.append(Row(f"{phase}: {fault}", partial(throw, phase, fault), chosen=True))
    for at, call in enumerate(phases(launch())["start"]):
        fault = Fault(call, "error=EIO")
        rows.append(Row(f"start: {fault}, no inspector", partial(throw_uninspected, fault),
                        chosen=at < 4))
    for call in first_of_each(phases(launch())["connect"]):
        fault = Fault(call, error_of(call), lasting=True)
        rows.append(Row(f"connect: {fault}, no inspector", partial(throw_unseen, fault),
                        chosen=call.name == "pwrite64"))
    return rows


def throw_at_command(fault: Fault) -> None:
    """Fail the start of a command. The attempt may then wait for a device node."""
    with logged_root(launch(fault, (), STARTING)) as root:
        root.start()
        root.panel.fill(APN, TYPED)
        root.panel.press("Connect")
        deadline = time.monotonic() + 2
        while not root.calls("pppd") and time.monotonic() < deadline:
            time.sleep(0.02)
        leave(root)
        thrown(root)
        whole(root, {*EARLIER}, EDITED)
        saved(root, UNCOUNTED, set())


def throw_unseen_at_command(fault: Fault) -> None:
    with unseen_root(launch=launch(fault, (), STARTING)) as root:
        with connecting(root) as viewer:
            root.wait_until(lambda: stored(root) == EDITED, SECONDS, "the save")
            root.wait_until(lambda: INJECTED in root.content(TRACE), SECONDS, "the fault")
            leave_unseen(root, viewer)
        whole(root, {*EARLIER}, EDITED)
        saved(root, UNCOUNTED, set())


def commands() -> list[Row]:
    found = phases(launch(None, (), STARTING))
    of_start = [call for call in found["start"] if call.name != "pipe2"][-STARTS_OF_COMMANDS:]
    faults = [*(("start", Fault(call, "error=EAGAIN")) for call in of_start),
              *(("connect", Fault(call, error, error == "error=EMFILE"))
                for call in found["connect"] for error in ("error=EAGAIN", "error=EMFILE"))]
    unseen = Fault(found["connect"][0], "error=EAGAIN")
    return [*(Row(f"{phase}: {fault}", partial(throw_at_command, fault),
                  chosen=fault.call in (of_start[0], found["connect"][0]))
              for phase, fault in faults),
            Row(f"{unseen}, no inspector", partial(throw_unseen_at_command, unseen))]


GROUPS = [
    Group("calls", "system calls for the program's own files fail", own_files),
    Group("processes", "commands cannot be started", commands),
]
