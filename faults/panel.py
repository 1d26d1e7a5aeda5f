"""What the rows in the private root do with the panel, and what must hold whatever happens."""

from __future__ import annotations

import re
import time
from collections.abc import Iterator, Mapping
from contextlib import contextmanager
from pathlib import Path
from signal import SIGTERM, SIGUSR1
from typing import Any

from faults.rows import expect
from panel.facts import (AUTH, AUTO_CONNECT, CHAT_SCRIPT, COUNTS, FIELDS, MISC, PARAMETERS,
                         PEER_FILE, SETTING, STATUS, STORED)
from privateroot.process import PrivateRoot

EXPECTED = Path(__file__).resolve().parents[1] / "tests/expected"
PEERS = {b"0": "peer-auto", b"1": "peer-pap", b"2": "peer-chap"}  # by the method
APN = "APN NAME:"
TYPED = "web"  # the APN that a row's operator types
EDITED = STORED.replace(b"internet", TYPED.encode())
TYPED_LAST = "last"  # and before Exit
EDITED_LAST = STORED.replace(b"internet", TYPED_LAST.encode())
DEFAULTS = b"\n\n\n\n\n0\n"
AUTO = b"0\n7\n"  # what is stored beside STORED; not the defaults
DEFAULT_COUNTS, STORED_COUNTS, TYPED_COUNTS = "5", "7", "9"
AUTO_EDITED = AUTO.replace(STORED_COUNTS.encode(), TYPED_COUNTS.encode())
EXIT_SECONDS = 10


@contextmanager
def stored_root(**how: Any) -> Iterator[PrivateRoot]:
    """A private root in which parameters have been stored; not started."""
    with PrivateRoot(**how) as root:
        root.write(PARAMETERS, STORED)
        root.write(AUTO_CONNECT, AUTO)
        yield root


def generated(parameters: bytes) -> dict[str, bytes]:
    """The chat script and the peer file that a Connect makes of six lines of parameters."""
    apn, dial, user, password, pin, method = parameters.split(b"\n")[:6]
    values = {b"web.example": apn, b"*99***1#": dial, b"guest": user, b"pass word": password,
              b"1234": pin}  # by those of the expected files
    names = {CHAT_SCRIPT: "chat-with-pin" if pin else "chat-without-pin",
             PEER_FILE: PEERS.get(method, "peer-other")}
    pattern = b"|".join(map(re.escape, values))
    return {path: re.sub(pattern, lambda match: values[match[0]], (EXPECTED / name).read_bytes())
            for path, name in names.items()}


def shown(root: PrivateRoot) -> bytes:
    """The dial-up values on the screen, as a save would store them."""
    screen = root.panel.screen()
    lines = [screen.field(label)["text"] for label in FIELDS]
    return "".join(f"{line}\n" for line in [*lines, screen.field(AUTH)["index"]]).encode()


def alive(root: PrivateRoot) -> None:
    """It takes a touch and serves a link check."""
    root.panel.open_tab(STATUS)
    before = len(root.calls("ifconfig"))
    root.signal(SIGUSR1)
    root.wait_calls("ifconfig", before + 1)
    root.panel.open_tab(SETTING)


def untouched_run(root: PrivateRoot) -> None:
    """A run of the program alone in its process, without the inspector: it starts, checks the link
    when it is asked to, and ends when it is told to."""
    root.start(shown=False)
    root.wait_calls("ifconfig", 1, 10)
    root.signal(SIGUSR1)
    root.wait_calls("ifconfig", 2)
    root.signal(SIGTERM)
    expect(root.wait_exit(EXIT_SECONDS) == 0, f"exit status 0:\n{root.report()}")
    expect(root.content(PARAMETERS) == STORED, "what is stored stays")


def at_rest(root: PrivateRoot) -> None:
    """Waits until no command runs and none is waited for: its descriptors are closed."""
    def quiet() -> bool:
        return not root.processes() and not any(
            "[pidfd]" in target for target in root.descriptors().values())
    root.wait_until(quiet, 5, "the commands' end")
    time.sleep(0.5)  # a check has more than one
    root.wait_until(quiet, 5, "the last command's end")


def type_and_connect(root: PrivateRoot) -> None:
    """Types another APN and touches Connect; pppd is started."""
    dialled = len(root.calls("pppd"))
    root.panel.fill(APN, TYPED)
    root.panel.press("Connect")
    root.wait_calls("pppd", dialled + 1)


def type_counts(root: PrivateRoot) -> None:
    root.panel.open_tab(MISC)
    root.panel.fill(COUNTS, TYPED_COUNTS)
    root.panel.open_tab(SETTING)


def leave(root: PrivateRoot) -> None:
    """Exit is touched, and nothing is left."""
    root.panel.press("Exit")
    ended(root)


def ended(root: PrivateRoot) -> None:
    """The program ends in order, and nothing is left."""
    expect(root.wait_exit(EXIT_SECONDS) == 0, f"exit status 0:\n{root.report()}")
    root.wait_until(lambda: not root.processes(), EXIT_SECONDS, "no process left")


def stored(root: PrivateRoot) -> bytes:
    """The six lines of the parameter file that count; nothing when there are fewer."""
    lines = root.content(PARAMETERS).split(b"\n")[:-1][:6]
    return b"".join(line + b"\n" for line in lines) if len(lines) == 6 else b""


REPAIRED: dict[tuple[bytes | None, ...], bytes] = {}  # what a second start has shown of four files


def repairable(root: PrivateRoot, *expected: bytes) -> None:
    """A second start shows what is stored, one of those expected, and an edit and a Connect bring
    all four files to where they belong. The same four files are not tried twice."""
    contents = {path: root.read(path)
                for path in (PARAMETERS, AUTO_CONNECT, CHAT_SCRIPT, PEER_FILE)}
    found = tuple(contents.values())
    if found not in REPAIRED:
        REPAIRED[found] = repair(contents)
    expect(REPAIRED[found] in expected, f"{REPAIRED[found]!r} is one of {expected}")


def repair(contents: Mapping[str, bytes | None]) -> bytes:
    """@return what the second start shows of these files"""
    with PrivateRoot() as second:
        for path, content in contents.items():
            if content is not None:
                second.write(path, content)
        second.start()
        seen = shown(second)
        second.panel.fill(APN, "again")
        second.panel.press("Connect")
        second.wait_calls("pppd", 1)
        values = stored(second).decode().split("\n")[:-1]
        expect(values[0] == "again" and len(values) == 6, f"saved: {values}")
        for path, content in generated(stored(second)).items():
            expect(second.content(path) == content, f"{path} is new: {second.content(path)!r}")
        leave(second)
        return seen
