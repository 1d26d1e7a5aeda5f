"""The real chat runs the program's chat script against modemsim on a pseudo-terminal."""

import os
import pty
import subprocess
import time
import tty
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("CORVANTA_BUILD", ROOT / "build/native"))
EXPECTED = ROOT / "tests/expected"
SECONDS = 30  # timeout for expected events, long enough for a busy machine
# Exit statuses of chat: 0 success, 3 timeout, 4 + N the abort string with index N was received.
DONE, TIMEOUT, BUSY, NO_CARRIER, ERROR = 0, 3, 4, 5, 11
STARTED, REFUSED = "network started", "refused"
# Scenario, PIN, true to add a wait for CONNECT to the script, chat's exit status, text in the
# modem's log. Without that wait, the script ends with the dial command and chat ignores the result.
SCRIPTS = {
    "echo": ("answer=echo", "", True, DONE, STARTED),
    "pieces": ("answer=pieces", "", True, DONE, STARTED),
    "slow": ("answer=slow\ndelay_ms=4000", "", False, TIMEOUT, ""),
    "silent": ("answer=silent", "", False, TIMEOUT, ""),
    # There is no row with the right PIN, because chat would wait for an ERROR until its timeout.
    "PIN wrong": ("sim.pin=1111", "2222", False, ERROR, ""),
    "PIN not required": ("", "1111", False, DONE, STARTED),
    "PIN missing": ("sim.pin=1111", "", False, ERROR, ""),
    "busy, unseen": ("dial=busy", "", False, DONE, REFUSED),
    "busy": ("dial=busy", "", True, BUSY, REFUSED),
    "late": ("dial_ms=1000", "", True, DONE, STARTED),
    "another APN": ("apn=other", "", True, NO_CARRIER, REFUSED),
}


def script(pin: str, waits: bool, patience: int) -> str:
    text = (EXPECTED / ("chat-with-pin" if pin else "chat-without-pin")).read_text()
    text = text.replace("1234", pin).replace("TIMEOUT 3\n", f"TIMEOUT {patience}\n")
    return text + ("CONNECT ''\n" if waits else "")


def wait_for(log: Path, text: str) -> str:
    end = time.monotonic() + SECONDS
    while text not in (logged := log.read_text() if log.exists() else ""):
        assert time.monotonic() < end, logged
        time.sleep(0.01)
    return logged


@contextmanager
def modem(directory: Path, scenario: str) -> Iterator[int]:
    """Run modemsim with a network that only sleeps.

    @return descriptor of the terminal at its line"""
    (directory / "scenario").write_text(scenario)
    network = directory / "network"
    network.write_text("#!/bin/sh\nexec sleep 60\n")
    network.chmod(0o755)
    terminal, line = pty.openpty()
    tty.setraw(line)
    with subprocess.Popen([BUILD / "simulator/modemsim", os.ttyname(line), directory,
                           network]) as process:
        try:
            wait_for(directory / "modem.log", "line open")
            os.close(line)
            yield terminal
        finally:
            process.kill()
            os.close(terminal)


@pytest.mark.parametrize("scenario, pin, waits, status, outcome", SCRIPTS.values(), ids=SCRIPTS)
def test_script(tmp_path: Path, scenario: str, pin: str, waits: bool, status: int,
                outcome: str) -> None:
    file = tmp_path / "script"
    file.write_text(script(pin, waits, 1 if status == TIMEOUT else SECONDS))
    with modem(tmp_path, scenario) as terminal:
        ended = subprocess.run(["/usr/sbin/chat", "-E", "-S", "-V", "-f", file], stdin=terminal,
                               stdout=terminal, stderr=subprocess.PIPE, timeout=2 * SECONDS)
        log = wait_for(tmp_path / "modem.log", outcome)
        assert ended.returncode == status, log
        assert (STARTED in log) == (outcome == STARTED)
