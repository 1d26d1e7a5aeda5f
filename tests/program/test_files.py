"""The program's files have unexpected types, contents and owners, or a read-only file system."""

import os
from collections.abc import Callable
from pathlib import Path

import pytest

from panel.constants import AUTO_CONNECT, CHAT_SCRIPT, FILES, PARAMETERS, PEER_FILE, STORED
from privateroot.operating import AUTO, alive, expect, leave
from program.conftest import Roots
from program.injection import TRACE, Call, Fault, expect_injected, launch
from program.programtest import (DEFAULTS, EDITED, expect_stored, generated, row, shown,
                                 type_and_connect)

OTHERS_ID = 1000  # user id that does not exist in the private root
EARLIER = {PARAMETERS: STORED, CHAT_SCRIPT: b"earlier\n", PEER_FILE: b"earlier\n"}
Make = Callable[[Path], object]


def link(target: str) -> Make:
    return lambda path: path.symlink_to(target)


# Types that cannot be read or written. The program must not replace them.
KINDS: dict[str, Make] = {
    "a directory": Path.mkdir,
    "a FIFO": os.mkfifo,
    "a dangling link": link("/quenfold/none/at/all"),
    "a device that takes nothing": link("/dev/full"),
    "an endless device": link("/dev/zero"),
    "a loop of links": lambda path: path.symlink_to(path.name),
}


@pytest.mark.parametrize("placed, make, at_start", [
    row(f"{path}: {name}{'' if at_start else ' from Connect on'}", path, make, at_start,
        everyday=at_start == (name == "a loop of links") and path in (PARAMETERS, PEER_FILE))
    for path in FILES for name, make in KINDS.items() for at_start in (True, False)])
def test_kind(roots: Roots, placed: str, make: Make, at_start: bool) -> None:
    """Check that the program shows the file's defaults, writes all other files and starts pppd. If
    the parameters cannot be read again, it keeps the earlier ones.

    @param at_start true to replace the file before the start, false before Connect"""
    root = roots.stored()
    path = root.host(placed)
    if not at_start:
        root.start()
    path.unlink(missing_ok=True)
    make(path)
    before = path.lstat()
    if at_start:
        seen = shown(root.start())
        expect(seen == (DEFAULTS if placed == PARAMETERS else STORED), f"{seen!r} is shown")
    wanted = {AUTO_CONNECT: AUTO}
    if placed != PARAMETERS or not at_start:  # otherwise an edit would change the defaults
        type_and_connect(root)
        values = STORED if placed == PARAMETERS else EDITED
        wanted |= {PARAMETERS: values, **generated(values)}
    wanted.pop(placed, None)
    alive(root)
    for other, content in wanted.items():
        expect(root.content(other) == content, f"{other} holds {root.content(other)!r}")
    leave(root)
    for other, content in wanted.items():
        expect(root.content(other) == content, f"content after Exit: {root.content(other)!r}")
    after = path.lstat()
    expect((before.st_ino, before.st_mode) == (after.st_ino, after.st_mode), "its type is kept")


@pytest.mark.parametrize("directory, values, written", (
    row("parameters on a read-only file system", "/quenfold", STORED, True),
    row("scripts on a read-only file system", "/etc/ppp", EDITED, False, everyday=True)))
def test_read_only(roots: Roots, directory: str, values: bytes, written: bool) -> None:
    """Check that the program starts pppd and writes the files in the writable directory.

    @param values parameters that are stored afterwards
    @param written true if the generated files are written"""
    root = roots.started(mounts=["--remount-ro", directory])
    type_and_connect(root)
    alive(root)
    leave(root)
    expect_stored(root, values)
    for path, content in generated(values).items():
        expect(root.read(path) == (content if written else None), f"{path} is as expected")


@pytest.mark.parametrize("path", [
    row(f"{path}: of another owner", path, everyday=path == CHAT_SCRIPT) for path in EARLIER])
def test_owner(roots: Roots, path: str) -> None:
    """Run the program as another user, who does not own the files. The change of the owner fails in
    the private root, and the file is saved nevertheless."""
    fault = Fault(Call("getuid,geteuid", 1), f"retval={OTHERS_ID}", lasting=True)
    root = roots.stored(launch=launch(fault, (), "getuid,geteuid,fchown"))
    root.write(path, EARLIER[path])
    root.host(path).chmod(0o644)
    type_and_connect(root.start())
    alive(root)
    expect_injected(root)
    trace = root.content(TRACE).decode()
    expect(f"<{path}>, {OTHERS_ID}, " in trace, f"its owner is changed: {trace}")
    content = {PARAMETERS: EDITED, **generated(EDITED)}[path]
    expect(root.content(path) == content, f"its content: {root.content(path)!r}")
    expect(root.mode(path) == "600", f"its mode: {root.mode(path)}")
