#!/usr/bin/env python3
"""modemsim on a pseudo-terminal against the real chat, with the script that the program writes.

Usage: test_chat.py MODEMSIM [argument of unittest]...
"""

from __future__ import annotations

import os
import pty
import select
import subprocess
import sys
import tempfile
import time
import tty
import unittest
from pathlib import Path

CHAT = "/usr/sbin/chat"
EXPECTED = Path(__file__).resolve().parents[2] / "expected"
SECONDS = 30  # for what must happen, on a busy machine too

# chat's exit status: 0 done, 3 timeout, 4 and up the abort string that came, counted from 0.
DONE, TIMEOUT, BUSY, NO_CARRIER, ERROR = 0, 3, 4, 5, 11

# A network that does not end when told to. It says so: only then is it deaf.
DEAF = "trap '' TERM; printf '~deaf' >$1; while :; do sleep 1; done"


def script(pin: str = "", waits: bool = False, patience: int = SECONDS) -> str:
    """The script of the program; optionally with the usual last line that waits for the call."""
    text = (EXPECTED / ("chat-with-pin" if pin else "chat-without-pin")).read_text()
    text = text.replace("1234", pin).replace("TIMEOUT 3\n", f"TIMEOUT {patience}\n")
    return text + ("CONNECT ''\n" if waits else "")


class Dongle:
    """A running modemsim; its network is a shell script that gets the line as $1."""

    def __init__(self, folder: Path, network: str) -> None:
        self.folder = folder
        self.log = folder / "modem.log"
        self.log.unlink(missing_ok=True)
        program = folder / "network"
        program.write_text(f"#!/bin/sh\n{network}\n")
        program.chmod(0o755)
        self.terminal, line = pty.openpty()
        tty.setraw(line)
        self.process = subprocess.Popen(
            [modemsim, os.ttyname(line), str(folder), str(program)])
        self.wait_for("line open")
        os.close(line)

    def close(self) -> None:
        """Kills modemsim, with which its network must end."""
        if self.process.poll() is not None:
            return
        networks = [os.pidfd_open(int(child)) for child in self.children()]
        self.process.kill()
        self.process.wait()
        self.pull()
        for network in networks:
            ended, _, _ = select.select([network], [], [], SECONDS)
            os.close(network)
            if not ended:
                raise AssertionError("the network still runs")

    def pull(self) -> None:
        if self.terminal != -1:
            os.close(self.terminal)
            self.terminal = -1

    def read_until(self, end: bytes) -> None:
        seen = b""
        while not seen.endswith(end):
            ready, _, _ = select.select([self.terminal], [], [], SECONDS)
            if not ready:
                raise AssertionError(f"no {end!r} after {seen!r}")
            seen += os.read(self.terminal, 256)

    def wait_for(self, text: str, count: int = 1) -> str:
        end = time.monotonic() + SECONDS
        while (log := self.log.read_text() if self.log.exists() else "").count(text) < count:
            if time.monotonic() > end:
                raise AssertionError(f"no {text!r} in the log:\n{log}")
            time.sleep(0.01)
        return log

    def chat(self, text: str) -> tuple[int, str]:
        """Runs chat. @return its exit status, and what it and modemsim have seen"""
        path = self.folder / "script"
        path.write_text(text)
        ended = subprocess.run([CHAT, "-E", "-S", "-V", "-f", str(path)], stdin=self.terminal,
                               stdout=self.terminal, stderr=subprocess.PIPE,
                               timeout=2 * SECONDS)
        return ended.returncode, f"{ended.stderr!r}\n{self.log.read_text()}"

    def children(self) -> list[str]:
        pid = self.process.pid
        return Path(f"/proc/{pid}/task/{pid}/children").read_text().split()


class Chat(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def dongle(self, network: str = "exec sleep 60") -> Dongle:
        dongle = Dongle(self.folder, network)
        self.addCleanup(dongle.close)
        return dongle

    def chat(self, dongle: Dongle, text: str, status: int = DONE) -> None:
        """Runs chat, which ends with the status."""
        ended, seen = dongle.chat(text)
        self.assertEqual(ended, status, seen)

    def test_scripts(self) -> None:
        # name, scenario, PIN, is the call waited for, chat's exit status, what becomes of the call
        table = [
            ("echo", "answer=echo", "", True, DONE, "network started"),
            ("pieces", "answer=pieces", "", True, DONE, "network started"),
            ("slow", "answer=slow\ndelay_ms=4000", "", False, TIMEOUT, ""),
            ("silent", "answer=silent", "", False, TIMEOUT, ""),
            # A right PIN is not among them: chat waits to the end of its time for the ERROR.
            ("PIN wrong", "sim.pin=1111", "2222", False, ERROR, ""),
            ("PIN not asked for", "", "1111", False, DONE, "network started"),
            ("PIN missing", "sim.pin=1111", "", False, ERROR, ""),
            # The program's script ends with the dial command: chat does not see what becomes of it.
            ("busy, unseen", "dial=busy", "", False, DONE, "refused"),
            ("busy", "dial=busy", "", True, BUSY, "refused"),
            ("connect late", "dial_ms=1000", "", True, DONE, "network started"),
            ("APN refused", "apn=other", "", True, NO_CARRIER, "refused"),
        ]
        for name, scenario, pin, waits, status, outcome in table:
            with self.subTest(name):
                (self.folder / "scenario").write_text(scenario)
                dongle = self.dongle()
                patience = 1 if status == TIMEOUT else SECONDS
                self.chat(dongle, script(pin, waits, patience), status)
                log = dongle.wait_for(outcome)
                self.assertEqual("network started" in log, outcome == "network started")
                dongle.close()

    def test_call_after_call(self) -> None:
        # pppd's exit status: the caller failed to authenticate itself, or has hung up, in which
        # case NO CARRIER would greet the next one.
        for status, farewell in ((19, b"\r\nNO CARRIER\r\n"), (16, b"")):
            with self.subTest(status):
                dongle = self.dongle(f"exit {status}")
                for call in (1, 2):
                    self.chat(dongle, script(waits=True))
                    log = dongle.wait_for(f"network ended, exit {status}", call)
                    dongle.read_until(farewell)
                self.assertEqual("NO CARRIER" in log, farewell != b"")

    def test_caller_starts_over(self) -> None:
        dongle = self.dongle(DEAF)
        for call in (1, 2, 3):
            self.chat(dongle, script())
            log = dongle.wait_for("network started", call)
        self.assertEqual(log.count("caller starts over"), 2)
        self.assertNotIn("NO CARRIER", log)

    def test_pulled_during_a_call(self) -> None:
        dongle = self.dongle(DEAF)
        self.chat(dongle, script())
        dongle.read_until(b"~deaf")
        dongle.pull()
        log = dongle.wait_for("network ended, signal 9")
        self.assertLess(log.index("line lost"), log.index("network ended"))
        self.assertNotIn("NO CARRIER", log)
        self.assertEqual(dongle.children(), [])

    def test_killed_during_a_call(self) -> None:
        dongle = self.dongle(DEAF)
        self.chat(dongle, script())
        dongle.read_until(b"~deaf")
        self.assertEqual(len(dongle.children()), 1)
        dongle.close()


if __name__ == "__main__":
    modemsim = sys.argv.pop(1)
    unittest.main()
