"""Values and checks of the program tests."""

import re
import time
from functools import cache
from pathlib import Path
from typing import Any

import pytest

from panel.constants import (APN, AUTH, CHAT_SCRIPT, COUNTS, FAILED, FIELDS, FILES,
                             MISC, PARAMETERS, PEER_FILE, SETTING, STORED)
from panel.patience import patient
from privateroot.files import LAUNCH, Call
from privateroot.operating import AUTO, FAKETIME, SECONDS, connect, expect, leave
from privateroot.process import BUILD, PrivateRoot
from program.conftest import Roots

EXPECTED = Path(__file__).resolve().parent.parent / "expected"
PEERS = {b"0": "peer-auto", b"1": "peer-pap", b"2": "peer-chap"}  # expected files by method
TYPED, TYPED_LAST = "web", "last"  # the APN typed before Connect, and the one typed before Exit
EDITED, EDITED_LAST = (STORED.replace(b"internet", apn.encode()) for apn in (TYPED, TYPED_LAST))
DEFAULTS = b"\n\n\n\n\n0\n"
DEFAULT_COUNTS, STORED_COUNTS, TYPED_COUNTS = "5", "7", "9"
AUTO_EDITED = AUTO.replace(STORED_COUNTS.encode(), TYPED_COUNTS.encode())
STEPS = {"to 2040": "@2040-01-01 00:00:00", "to 1971": "@1971-01-01 00:00:00"}

LATE = "/testrun/late"  # written by PRINTS_LATE if its late output has not killed it
PRINTS_LATE = f"(/usr/bin/sleep 0.2; echo late; echo late >&2; echo survived >>{LATE}) &\n"
FAST: dict[str, Any] = {  # arguments of a root whose program has a clock 600 times as fast
    "launch": LAUNCH.replace("program", 'program /usr/bin/env FAKETIME="+0 x600"'),
    "preload": [FAKETIME]}


SAID = "/testrun/said"  # output of shell commands that run the command-line tools
DOCTOR, PROVISION = "/app/corvanta-doctor", "/app/corvanta-provision"
TOOLS = ("--ro-bind", str(BUILD / "app/doctor/corvanta-doctor"), DOCTOR,
         "--ro-bind", str(BUILD / "app/provision/corvanta-provision"), PROVISION,
         "--tmpfs", "/run")


def run_tools(roots: Roots, commands: str, *mounts: str) -> PrivateRoot:
    """Run shell commands to their end, in a new private root without the panel program."""
    root = roots.new(mounts=TOOLS + mounts, setup=commands, launch="true")
    root.start(shown=False, timeout=60).wait_exit(60)
    return root


def said(root: PrivateRoot) -> str:
    return root.content(SAID).decode()


def row(name: str, *values: object, everyday: bool = False) -> Any:
    """Return a row of a parametrized test. @param everyday true if ./test runs it; ./torture runs
    all rows"""
    return pytest.param(*values, id=name, marks=() if everyday else pytest.mark.torture)


def clocks(*everyday: str) -> pytest.MarkDecorator:
    """Run a test with a steady clock and with clocks that step.

    @param everyday keys of STEPS that ./test runs, too"""
    return pytest.mark.parametrize("clock", [row("steady", "", everyday=True), *(
        row(f"clock {name}", moment, everyday=name in everyday)
        for name, moment in STEPS.items())])


def expect_lasted(elapsed: float, seconds: float, late: float = 0.4) -> None:
    """Check the duration of a wait.

    @param elapsed measured duration in seconds
    @param seconds expected duration
    @param late permitted delay in seconds on a busy machine, scaled by patient()"""
    assert seconds - 0.1 < elapsed < seconds + patient(late)


def expect_period(calls: list[Call], seconds: float) -> None:
    """Check the mean interval between calls; single calls may be late on a busy machine."""
    assert len(calls) > 2
    mean = (calls[-1].time - calls[0].time) / (len(calls) - 1)
    assert 0.6 * seconds < mean < seconds + patient(0.4)


def generated(parameters: bytes) -> dict[str, bytes]:
    """Return the chat script and peer file that Connect generates from six parameter lines."""
    apn, dial, user, password, pin, method = parameters.split(b"\n")[:6]
    values = {b"web.example": apn, b"*99***1#": dial, b"guest": user, b"pass word": password,
              b"1234": pin}  # the keys are the values in the expected files
    names = {CHAT_SCRIPT: "chat-with-pin" if pin else "chat-without-pin",
             PEER_FILE: PEERS.get(method, "peer-other")}
    pattern = b"|".join(map(re.escape, values))
    return {path: re.sub(pattern, lambda match: values[match[0]], (EXPECTED / name).read_bytes())
            for path, name in names.items()}


def shown(root: PrivateRoot) -> bytes:
    """Return the dial-up values on the screen, in the format of the parameter file."""
    screen = root.panel.screen()
    lines = [screen.field(label)["text"] for label in FIELDS]
    return "".join(f"{line}\n" for line in [*lines, screen.field(AUTH)["index"]]).encode()


def stored(root: PrivateRoot) -> bytes:
    """Return the first six lines of the parameter file, or nothing if it has fewer."""
    lines = root.content(PARAMETERS).split(b"\n")[:-1][:6]
    return b"".join(line + b"\n" for line in lines) if len(lines) == 6 else b""


def expect_stored(root: PrivateRoot, parameters: bytes) -> None:
    expect(stored(root) == parameters, f"{stored(root)!r} is stored")


def wait_until_idle(root: PrivateRoot) -> None:
    """Wait until no command runs and the program has closed the descriptors of all commands."""
    def quiet() -> bool:
        return not root.processes() and not any(
            "[pidfd]" in target for target in root.descriptors().values())
    root.wait_until(quiet, 5, "all commands exited")
    time.sleep(0.5)  # a link check runs several commands
    root.wait_until(quiet, 5, "the last command exited")


def type_and_connect(root: PrivateRoot) -> None:
    """Type another APN, touch Connect and wait for pppd."""
    root.panel.fill(APN, TYPED)
    connect(root)


def press_fast(root: PrivateRoot, button: str) -> None:
    """Touch a button in a FAST root after 50 ms, which are 30 s for the program. Then its button
    guard has ended."""
    time.sleep(0.05)
    root.panel.press(button)


def fail(root: PrivateRoot) -> None:
    """Make a failed attempt in a FAST root and close its notice."""
    press_fast(root, "Connect")
    root.wait(lambda screen: screen.has_dialog(), SECONDS, "the notice")
    expect(root.panel.dialog()["text"] == FAILED, "the notice has the text of a failed attempt")
    press_fast(root, "OK")
    root.wait(lambda screen: not screen.has_dialog() and screen.button("Connect")["enabled"],
              SECONDS, "the notice closed")


def type_counts(root: PrivateRoot) -> None:
    root.panel.open_tab(MISC)
    root.panel.fill(COUNTS, TYPED_COUNTS)
    root.panel.open_tab(SETTING)


def repairable(root: PrivateRoot, *expected: bytes) -> None:
    """Check that a second start shows one of the expected values, and that all four files are up to
    date after an edit and Connect."""
    found = repair(*map(root.read, FILES))
    expect(found in expected, f"{found!r} is one of {expected}")


@cache
def repair(*contents: bytes | None) -> bytes:
    """Start the program with these contents of FILES, edit the APN, connect, and check all files.

    @return the values that the screen shows after the start"""
    with PrivateRoot() as second:
        for path, content in zip(FILES, contents, strict=True):
            if content is not None:
                second.write(path, content)
        seen = shown(second.start())
        second.panel.fill(APN, "again")
        connect(second)
        expect(stored(second).startswith(b"again\n"), f"saved: {stored(second)!r}")
        for path, content in generated(stored(second)).items():
            expect(second.content(path) == content, f"{path} is new: {second.content(path)!r}")
        leave(second)
        return seen


def screenshot(root: PrivateRoot) -> bytes:
    """Return the pixels of the program's screen, 3 bytes each."""
    root.panel.shot("/testrun/screenshot.ppm")
    return root.content("/testrun/screenshot.ppm").split(b"\n", 3)[3]  # after a header of 3 lines
