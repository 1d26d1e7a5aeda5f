"""Makes system calls of the program fail, and operates it without the inspector.

strace counts the calls of each name that concern the program's files. Up to the fault, a run with a
fault makes the same calls as a run without one, so both have the same call numbers. The inspector's
activity can hide the effect of a failure; without it, touches are sent through VNC.
"""

import re
from collections import Counter
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from functools import cache
from signal import SIGTERM, SIGUSR1
from typing import Any, NamedTuple

from host.sockets import connect
from panel.constants import APN, AUTO_CONNECT, CHAT_LOG, FILES, OLD_LOG, PARAMETERS, PPP_LOG, STORED
from panel.screen import centre
from privateroot.files import LAUNCH
from privateroot.operating import AUTO, SECONDS, alive, expect, leave, started, stored_root
from privateroot.process import PrivateRoot
from privateroot.viewer import SETUP, SOCKET, Viewer
from program.programtest import TYPED, TYPED_LAST, generated, type_and_connect, type_counts

TRACE = "/testrun/trace"
INJECTED = b"(INJECTED"  # strace's mark after a call with an injected fault
# A call's name and the file in its first argument, which is a descriptor or a path.
CALL = re.compile(r'(?:\d+ +)?(\w+)\((?:\d+<([^>]*)>|(?:AT_FDCWD<[^>]*>, )?"([^"]*)")?')
OWN = (*FILES, PPP_LOG, PPP_LOG + OLD_LOG, CHAT_LOG, CHAT_LOG + OLD_LOG,
       "/etc/ppp/chat", "/etc/ppp/peers", "/quenfold/configs")

# Files before a run. "everything" includes generated files with an earlier user name. The other
# stores have no generated files, as before the first Connect.
EARLIER = generated(STORED.replace(b"operator", b"earlier operator"))
STORES: dict[str, dict[str, bytes]] = {
    "nothing": {}, "parameters": {PARAMETERS: STORED, AUTO_CONNECT: AUTO},
    "everything": {PARAMETERS: STORED, AUTO_CONNECT: AUTO, **EARLIER}}


class Call(NamedTuple):
    """A system call: its name, its number among the calls of that name, and its file, if any."""

    name: str
    number: int
    path: str = ""


@dataclass
class Fault:
    """A fault that strace injects into a call.

    @ivar deed fault in the syntax of strace's inject option, such as "error=EIO" or "signal=KILL"
    @ivar lasting true when all later calls of that name have the fault, too
    @ivar repeated true when every second later call has it, so that a call made again succeeds
    """

    call: Call
    deed: str
    lasting: bool = False
    repeated: bool = False

    def __str__(self) -> str:
        file = self.call.path.rpartition("/")[2]
        return (f"{self.deed.partition('=')[2]} at {self.call.name} {self.call.number}"
                f"{f' of {file}' if file else ''}{' and later' if self.lasting else ''}"
                f"{' and every second one later' if self.repeated else ''}")

    def hits(self, calls: list[Call]) -> set[str]:
        """Return the files whose calls fail. Ignore close, whose failure has no effect."""
        name, number, _ = self.call
        return {call.path for call in calls if call.name == name != "close" and (
            call.number == number or self.lasting and call.number > number)}


def launch(fault: Fault | None = None, files: tuple[str, ...] = OWN, calls: str = "all") -> str:
    """Return the launch command with strace. @param calls system calls, separated by commas"""
    words = ["program", "/usr/bin/strace", "-D", "-y", "-o", TRACE, "-e", f"trace={calls}"]
    words += [word for file in files for word in ("-P", file)]
    if fault:
        when = f"{fault.call.number}{'+' if fault.lasting else '+2' if fault.repeated else ''}"
        words += ["-e", f"inject={fault.call.name}:{fault.deed}:when={when}"]
    return LAUNCH.replace("program", " ".join(words))


def calls_so_far(root: PrivateRoot) -> list[Call]:
    """Return the calls that strace has logged so far, in order."""
    counts: Counter[str] = Counter()
    calls = []
    for line in root.content(TRACE).decode(errors="replace").splitlines():
        if match := CALL.match(line):
            counts[match[1]] += 1
            calls.append(Call(match[1], counts[match[1]], match[2] or match[3] or ""))
    return calls


def first_of_each(calls: list[Call]) -> list[Call]:
    """Return the first call of each name."""
    return list({call.name: call for call in reversed(calls)}.values())


def logged_root(how: str, store: str = "parameters") -> PrivateRoot:
    """Return a root with a dial-up log and the files of a store, as after an earlier run.

    @param how launch command
    @param store key of STORES
    """
    root = stored_root(launch=how)
    lay(root, store)
    root.unwrap("ls")
    root.write(PPP_LOG, "log\n")
    return root


def lay(root: PrivateRoot, store: str) -> None:
    """Write the files of a store into a root, and delete all other files of the program."""
    for path in FILES:
        root.host(path).unlink(missing_ok=True)
    for path, content in STORES[store].items():
        root.write(path, content)


def edit_and_connect(root: PrivateRoot) -> None:
    """Edit both parameter files and touch Connect."""
    type_counts(root)
    type_and_connect(root)


def edit_again(root: PrivateRoot) -> None:
    """Change the counts and the APN again after Connect."""
    type_counts(root)
    root.panel.fill(APN, TYPED_LAST)


@cache
def phases(how: str, store: str = "parameters") -> dict[str, list[Call]]:
    """Return the calls of each phase of a run without a fault. It makes the same edits as the runs
    with a fault, because the calls of a save depend on the length of the values.

    @param how launch command with strace"""
    found: dict[str, list[Call]] = {}
    with logged_root(how, store) as root:
        steps: dict[str, Callable[[PrivateRoot], object]] = {
            "start": PrivateRoot.start, "connect": edit_and_connect, "check": alive,
            "edit": edit_again, "exit": leave}
        for name, step in steps.items():
            step(root)
            done = sum(map(len, found.values()))
            found[name] = calls_so_far(root)[done:]
    return found


def expect_injected(root: PrivateRoot) -> None:
    expect(INJECTED in root.content(TRACE), "the fault was injected")


@cache
def places() -> dict[str, tuple[int, int]]:
    """Return the positions of the APN field and the buttons, in pixels of the screen."""
    with started() as root:
        screen = root.panel.screen()
        return {APN: centre(screen.field(APN)),
                **{text: centre(screen.button(text)) for text in ("Connect", "Exit")}}


def unseen_root(setup: str = "", **how: Any) -> PrivateRoot:
    """Return a root with stored parameters and without the inspector, before the start."""
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
        viewer.touch(*where["Connect"])
        yield viewer


def leave_unseen(root: PrivateRoot, viewer: Viewer) -> None:
    """Touch Exit and check the exit status."""
    viewer.touch(*places()["Exit"])
    expect(root.wait_exit(SECONDS) == 0, f"exit status 0:\n{root.report()}")


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
    expect(root.content(PARAMETERS) == STORED, "the stored parameters are unchanged")
