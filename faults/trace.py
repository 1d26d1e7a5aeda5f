"""Runs the program under strace to list the system calls for its own files and to make them fail.

strace numbers the calls of each name for the files. A run with a fault equals a run without one up
to the fault, so the call numbers of a run without a fault apply to both.
"""

from __future__ import annotations

import re
from collections import Counter
from dataclasses import dataclass
from typing import NamedTuple

from panel.facts import AUTO_CONNECT, CHAT_LOG, CHAT_SCRIPT, OLD_LOG, PARAMETERS, PEER_FILE, PPP_LOG
from privateroot.files import LAUNCH
from privateroot.operating import expect
from privateroot.process import PrivateRoot

TRACE = "/testrun/trace"
INJECTED = b"(INJECTED"  # strace's mark after a call with an injected fault
OWN_FILES = (PARAMETERS, AUTO_CONNECT, CHAT_SCRIPT, PEER_FILE)
# A call's name and the file of its first argument: a descriptor, or a path.
CALL = re.compile(r'(?:\d+ +)?(\w+)\((?:\d+<([^>]*)>|(?:AT_FDCWD<[^>]*>, )?"([^"]*)")?')
LOGS = (PPP_LOG, PPP_LOG + OLD_LOG, CHAT_LOG, CHAT_LOG + OLD_LOG)
FOLDERS = ("/etc/ppp/chat", "/etc/ppp/peers", "/quenfold/configs")


class Call(NamedTuple):
    """A system call: its name, its number among the calls of that name, and its file, if any."""

    name: str
    number: int
    path: str = ""


@dataclass
class Fault:
    """A fault that strace injects into a call.

    @ivar deed fault in the syntax of strace's inject, such as "error=EIO" or "signal=KILL"
    @ivar lasting true when every later call of that name has the same fault
    @ivar repeated true when every second one has it, so that a repeated call succeeds
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
        """Return the files whose calls fail. A failed close does no harm and is not counted."""
        name, number, _ = self.call
        return {call.path for call in calls if call.name == name != "close" and (
            call.number == number or self.lasting and call.number > number)}


def launch(fault: Fault | None = None, files: tuple[str, ...] = OWN_FILES + LOGS + FOLDERS,
           calls: str = "all") -> str:
    """Return the launch command with strace. @param calls names, separated by commas"""
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


def thrown(root: PrivateRoot) -> None:
    """Check that strace has injected the fault."""
    expect(INJECTED in root.content(TRACE), "the fault was thrown")
