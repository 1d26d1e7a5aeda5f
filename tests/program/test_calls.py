"""System calls of the program fail, one in each run: each call for its own files, and each call
that starts a command. The call fails once, permanently, or because a signal interrupts it."""

import re
import time
from typing import Any

import pytest

from panel.constants import APN, AUTO_CONNECT, COUNTS, FILES, PARAMETERS, STORED
from privateroot.operating import AUTO, alive, expect, leave, stored_root
from privateroot.process import PrivateRoot
from program.injection import (EARLIER, TRACE, Call, Fault, connecting, edit_again,
                               edit_and_connect, expect_injected, first_of_each, launch,
                               leave_unseen, logged_root, phases, unseen_root, untouched_run)
from program.programtest import (AUTO_EDITED, DEFAULT_COUNTS, DEFAULTS, EDITED, EDITED_LAST,
                                 STORED_COUNTS, TYPED, generated, repairable, row, shown, stored,
                                 type_and_connect)

ERRORS = {"openat": "EMFILE", "pwrite64": "ENOSPC", "fchmod": "EPERM"}  # EIO for the others
STARTING = "clone,clone3,fork,vfork,pipe2"  # system calls that start a process
STARTS_OF_COMMANDS = 3  # the last such calls of the start-up, into which faults are injected
INTERRUPTED = "error=EINTR"
UNCOUNTED = "connect, no counts typed"
# By phase and file: the content after the phase, then the other content that the file may have if a
# call for it has failed.
SAVED: dict[str, dict[str, tuple[bytes, ...]]] = {
    "start": {PARAMETERS: (STORED,), AUTO_CONNECT: (AUTO,)},
    "connect": {PARAMETERS: (EDITED, STORED), AUTO_CONNECT: (AUTO_EDITED, AUTO)},
    "exit": {PARAMETERS: (EDITED_LAST, EDITED), AUTO_CONNECT: (AUTO_EDITED, AUTO)},
    UNCOUNTED: {PARAMETERS: (EDITED, STORED), AUTO_CONNECT: (AUTO,)},
}


def error_of(call: Call) -> str:
    return f"error={ERRORS.get(call.name, 'EIO')}"


def failed(phase: str, fault: Fault) -> set[str]:
    """Return the files that a fault affects. An interrupted call affects none."""
    return set() if fault.deed == INTERRUPTED else fault.hits(phases(launch())[phase])


def possible(path: str, phase: str, missed: set[str]) -> tuple[bytes, ...]:
    """Return the possible contents of a file after a phase in which calls for some files failed."""
    return SAVED[phase][path] if path in missed else SAVED[phase][path][:1]


def expect_whole(root: PrivateRoot, missed: set[str], *parameters: bytes) -> None:
    """Check that each generated file is complete: it is the one for some of the given parameters.
    If a call for it has failed, it may be missing."""
    for path in EARLIER:
        content = root.read(path)
        expect(content in [generated(one)[path] for one in parameters]
               or content is None and path in missed, f"{path} is complete: {content!r}")


def expect_saved(root: PrivateRoot, phase: str, missed: set[str]) -> None:
    """Check the stored files, and that a second start shows their values. Written files must have
    mode 0600, except for those that the fault affects."""
    for path, found in ((PARAMETERS, stored(root)), (AUTO_CONNECT, root.content(AUTO_CONNECT))):
        expect(found in possible(path, phase, missed), f"{found!r} is stored")
    for path in set(FILES) - missed:
        content = root.read(path)
        expect(content in (None, STORED, AUTO) or root.mode(path) == "600",
               f"only the owner can read {path}: {content!r}")
    repairable(root, *possible(PARAMETERS, phase, missed))


def expect_directories_synced(root: PrivateRoot) -> None:
    """Check that the program has synced the directories of the generated files."""
    trace = root.content(TRACE).decode()
    for path in EARLIER:
        directory = path.rpartition("/")[0]
        expect(re.search(rf"fsync\(\d+<{directory}>\) += 0", trace), f"{directory} is synced")


def faults() -> list[Any]:
    """Return a row for each fault. ./test runs those of the start, and one for each name of a call
    in the later phases."""
    rows = []
    for phase, calls in phases(launch()).items():
        everyday = calls if phase == "start" else first_of_each(calls)
        found = [(Fault(call, error_of(call), lasting),
                  call in everyday and lasting == (call.name == "fchmod"))
                 for call in calls for lasting in (False, True)]
        # realpath(3) starts over when it is called again: with a fault at every second readlink it
        # might never succeed.
        found += [(Fault(call, INTERRUPTED, repeated=call.name != "readlink"), True)
                  for call in first_of_each(calls)]
        rows += [row(f"{phase}: {fault}", phase, fault, everyday=everyday)
                 for fault, everyday in found]
    return rows


@pytest.mark.parametrize("phase, fault", faults())
def test_own_files(phase: str, fault: Fault) -> None:
    """Inject a fault in one phase. During the start phase type nothing that Exit would save."""
    missed = failed(phase, fault)
    with logged_root(launch(fault)) as root:
        root.start()
        if phase == "start":
            expect(shown(root) == (DEFAULTS if PARAMETERS in missed else STORED),
                   f"{shown(root)!r} is on the screen")
            counts = DEFAULT_COUNTS if AUTO_CONNECT in missed else STORED_COUNTS
            expect(root.panel.field(COUNTS)["text"] == counts, f"the counts are {counts}")
        else:
            edit_and_connect(root) if phase == "connect" else type_and_connect(root)
            alive(root)
            expect_whole(root, missed, shown(root))
            if phase == "exit":
                edit_again(root)
        leave(root)
        expect_injected(root)
        if phase == "start":
            expect(root.read(PARAMETERS) == STORED, "the stored parameters are unchanged")
        elif fault.deed == INTERRUPTED:
            expect_directories_synced(root)
        expect_saved(root, phase, missed)


@pytest.mark.parametrize("fault", [
    row(f"start: {fault}, no inspector", fault, everyday=at < 4) for at, fault in enumerate(
        Fault(call, "error=EIO") for call in phases(launch())["start"])])
def test_start_unseen(fault: Fault) -> None:
    with stored_root(launch=launch(fault), inspected=False) as root:
        untouched_run(root)
        expect_injected(root)


@pytest.mark.parametrize("fault", [
    row(f"connect: {fault}, no inspector", fault, everyday=fault.call.name == "pwrite64")
    for fault in (Fault(call, error_of(call), lasting=True)
                  for call in first_of_each(phases(launch())["connect"]))])
def test_connect_unseen(fault: Fault) -> None:
    with unseen_root(launch=launch(fault)) as root:
        with connecting(root) as viewer:
            root.wait_calls("pppd", 1)
            leave_unseen(root, viewer)
        expect_injected(root)
        missed = failed("connect", fault)
        expect_whole(root, missed, *possible(PARAMETERS, UNCOUNTED, missed))
        expect_saved(root, UNCOUNTED, missed)


def starting() -> dict[str, list[Call]]:
    """Return by phase the calls that start the start-up's last commands and Connect's commands."""
    found = phases(launch(None, (), STARTING))
    return {"start": [call for call in found["start"]
                      if call.name != "pipe2"][-STARTS_OF_COMMANDS:], "connect": found["connect"]}


@pytest.mark.parametrize("fault", [
    row(f"{phase}: {fault}", fault, everyday=call == calls[0])
    for phase, calls in starting().items() for call in calls
    for fault in (Fault(call, "error=EAGAIN"), Fault(call, "error=EMFILE", lasting=True))
    if phase == "connect" or not fault.lasting])
def test_start_of_a_command(fault: Fault) -> None:
    """Make the start of a command fail. The connection attempt may then wait for a device node."""
    with logged_root(launch(fault, (), STARTING)) as root:
        root.start()
        root.panel.fill(APN, TYPED)
        root.panel.press("Connect")
        deadline = time.monotonic() + 2
        while not root.calls("pppd") and time.monotonic() < deadline:
            time.sleep(0.02)
        leave(root)
        expect_injected(root)
        expect_whole(root, {*EARLIER}, EDITED)
        expect_saved(root, UNCOUNTED, set())
