#!/usr/bin/env python3
"""modemsim on a pseudo-terminal against the real chat, with the script that the panel writes."""

from __future__ import annotations

import os
import pty
import select
import signal
import subprocess
import sys
import tempfile
import threading
import time
import tty
import unittest
from pathlib import Path

MODEMSIM = os.environ.get("MODEMSIM", "modemsim")
CHAT = os.environ.get("CHAT", "chat")

ABORTS = ("'BUSY'", "'NO CARRIER'", "'VOICE'", "'NO DIALTONE'", "'NO DIAL TONE'", "'NO ANSWER'",
          "'DELAYED'", "  ERROR")
# chat's exit status: 0 done, 3 timeout, 4 and up the abort string that came, counted from 0.
DONE, TIMEOUT, BUSY, NO_CARRIER, NO_DIALTONE, ERROR = 0, 3, 4, 5, 7, 11


def chat_script(pin: str = "", wait_for_connect: bool = False) -> str:
    """The script of the panel; optionally with the usual last line that waits for the call."""
    lines = [f"ABORT {text}" for text in ABORTS] + ["REPORT  CONNECT", "TIMEOUT 3", "'' ''"]
    if pin:
        lines += [f"'' 'AT+CPIN=\"{pin}\"'", "'ERROR-AT-OK' 'ATZ'"]
    else:
        lines += ["'' 'ATZ'"]
    lines += ["'OK' 'ATI'", "'OK' 'AT+COPS?'", "'OK' 'AT+CGDCONT=1,\"IP\",\"internet\"'",
              "'OK' '\"ATD*99#\"'"]
    if wait_for_connect:
        lines += ["CONNECT ''"]
    return "\n".join(lines) + "\n"


class Stick:
    """A running modemsim; its network is a script that writes its arguments down."""

    def __init__(self, folder: Path, network: str = "exec sleep 30") -> None:
        self.folder = folder
        self.log = folder / "modem.log"
        self.scenario_file = folder / "scenario"
        program = folder / "network"
        program.write_text(f"#!/bin/sh\necho \"$@\" >{folder}/arguments\n{network}\n")
        program.chmod(0o755)
        self.terminal, line = pty.openpty()
        tty.setraw(line)
        self.process = subprocess.Popen(
            [MODEMSIM, "--port", os.ttyname(line), "--scenario", str(self.scenario_file),
             "--log", str(self.log), "--network", str(program), "--namespace", ""])
        self.wait_for("line open")
        os.close(line)

    def close(self) -> None:
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.pull()

    def pull(self) -> None:
        if self.terminal != -1:
            os.close(self.terminal)
            self.terminal = -1

    def read_until(self, end: bytes, length: int = 0) -> bytes:
        seen = b""
        while not seen.endswith(end) or len(seen) < length:
            ready, _, _ = select.select([self.terminal], [], [], 10)
            if not ready:
                raise AssertionError(f"no {end!r} after {seen!r}")
            seen += os.read(self.terminal, 256)
        return seen

    def tell(self, *lines: str) -> None:
        new = self.folder / "scenario.new"
        new.write_text("\n".join(lines) + "\n")
        new.rename(self.scenario_file)

    def text(self) -> str:
        return self.log.read_text() if self.log.exists() else ""

    def wait_for(self, text: str, timeout: float = 10, count: int = 1) -> str:
        end = time.monotonic() + timeout
        while self.text().count(text) < count:
            if time.monotonic() > end:
                raise AssertionError(f"no {text!r} in the log:\n{self.text()}")
            time.sleep(0.01)
        return self.text()

    def chat(self, script: str) -> int:
        path = self.folder / "script"
        path.write_text(script)
        return subprocess.run([CHAT, "-t5", "-E", "-f", str(path)], stdin=self.terminal,
                              stdout=self.terminal, stderr=subprocess.DEVNULL,
                              timeout=30).returncode

    def heard(self) -> list[str]:
        entries = (line.split(" ", 2) for line in self.text().splitlines())
        return [text[1:-1].replace('\\"', '"') for _, kind, text in entries if kind == "heard"]

    def children(self) -> list[str]:
        pid = self.process.pid
        return Path(f"/proc/{pid}/task/{pid}/children").read_text().split()


class ChatTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def stick(self, network: str = "exec sleep 30") -> Stick:
        stick = Stick(self.folder, network)
        self.addCleanup(stick.close)
        return stick

    def test_script_of_the_panel(self) -> None:
        # name, scenario, PIN, chat's exit status, does the network start
        table = [
            ("connect", (), "", DONE, True),
            ("echo", ("answer=echo",), "", DONE, True),
            ("pieces", ("answer=pieces", "delay_ms=5"), "", DONE, True),
            ("slow", ("answer=slow", "delay_ms=400"), "", DONE, True),
            ("too slow", ("answer=slow", "delay_ms=4000"), "", TIMEOUT, False),
            ("silent", ("answer=silent",), "", TIMEOUT, False),
            ("PIN right", ("sim.pin=1234",), "1234", DONE, True),
            ("PIN wrong", ("sim.pin=1234",), "1111", ERROR, False),
            ("PIN not asked for", (), "1234", DONE, True),
            ("PIN missing", ("sim.pin=1234",), "", ERROR, False),
            ("no SIM", ("sim.present=no",), "", ERROR, False),
            # The script ends with the dial command: chat does not see what becomes of it.
            ("busy", ("dial=busy",), "", DONE, False),
            ("no carrier", ("dial=no-carrier",), "", DONE, False),
        ]
        for name, scenario, pin, status, connected in table:
            with self.subTest(name):
                self.check(scenario, chat_script(pin), status, connected)

    def test_script_that_waits_for_the_call(self) -> None:
        table = [
            ("connect", (), DONE, True),
            ("connect late", ("dial_ms=1000",), DONE, True),
            ("busy", ("dial=busy",), BUSY, False),
            ("no carrier", ("dial=no-carrier",), NO_CARRIER, False),
            ("no dial tone", ("dial=no-dialtone",), NO_DIALTONE, False),
            ("error", ("dial=error",), ERROR, False),
            ("APN refused", ("apn=other",), NO_CARRIER, False),
        ]
        for name, scenario, status, connected in table:
            with self.subTest(name):
                self.check(scenario, chat_script(wait_for_connect=True), status, connected)

    def check(self, scenario: tuple[str, ...], script: str, status: int, connected: bool) -> None:
        self.log_away()
        stick = self.stick()
        stick.tell(*scenario)
        self.assertEqual(stick.chat(script), status, stick.text())
        if status == DONE:
            outcome = "network started" if connected else "refused"
            stick.wait_for(outcome)
            self.assertEqual(stick.heard()[-1], '"ATD*99#"')
        self.assertEqual("network started" in stick.text(), connected)
        stick.close()

    def log_away(self) -> None:
        (self.folder / "modem.log").unlink(missing_ok=True)

    def test_three_wrong_pins_need_the_puk(self) -> None:
        stick = self.stick()
        stick.tell("sim.pin=1234", "sim.puk=11223344")
        for _ in range(3):
            self.assertEqual(stick.chat(chat_script("1111")), ERROR)
        self.assertEqual(stick.chat(chat_script("1234")), ERROR)
        ask = "ABORT ERROR TIMEOUT 3 '' AT+CPIN? 'SIM PUK' '\\c' OK '%s' OK '\\c'\n"
        self.assertEqual(stick.chat(ask % 'AT+CPIN="11223344","4321"'), DONE, stick.text())
        self.assertEqual(stick.chat(chat_script()), DONE, stick.text())
        stick.wait_for("network started")

    def test_call_after_call(self) -> None:
        stick = self.stick("exit 19")  # pppd: the caller failed to authenticate itself
        for call in range(1, 4):
            self.assertEqual(stick.chat(chat_script(wait_for_connect=True)), DONE)
            stick.read_until(b"\r\nNO CARRIER\r\n")
            self.assertEqual(stick.text().count("network ended, exit 19"), call)

    def test_caller_who_hung_up_leaves_nothing_to_the_next(self) -> None:
        stick = self.stick("exit 16")  # pppd: the modem hung up
        for call in range(1, 4):
            self.assertEqual(stick.chat(chat_script()), DONE)
            stick.wait_for("network ended, exit 16", count=call)
        self.assertNotIn("NO CARRIER", stick.text())

    def test_bytes_cross_during_a_call(self) -> None:
        stick = self.stick("exec 3<>$1; printf '~hello~' >&3; exec cat <&3 >&3")
        self.assertEqual(stick.chat(chat_script()), DONE)
        stick.read_until(b"~hello~")
        for payload in (b"~" + bytes(set(range(256)) - {0x7e}) + b"~", b"~" + b"x" * 20000 + b"~"):
            writer = threading.Thread(target=os.write, args=(stick.terminal, payload))
            writer.start()
            self.assertEqual(stick.read_until(b"~", length=len(payload)), payload)
            writer.join()

    def test_caller_starts_over(self) -> None:
        stick = self.stick("printf '~frame' >$1; trap '' TERM; while :; do sleep 1; done")
        for call in range(1, 4):
            self.assertEqual(stick.chat(chat_script()), DONE, stick.text())
            stick.wait_for("network started", count=call)
        self.assertEqual(stick.text().count("caller starts over"), 2)
        self.assertNotIn("NO CARRIER", stick.text())

    def test_network_drops_the_call(self) -> None:
        stick = self.stick()
        stick.tell("drop_after_s=1")
        self.assertEqual(stick.chat(chat_script()), DONE)
        stick.wait_for("network ended, signal 15")
        stick.wait_for("NO CARRIER")

    def test_missing_network_program_ends_the_call(self) -> None:
        stick = self.stick()
        (self.folder / "network").unlink()
        self.assertEqual(stick.chat(chat_script()), DONE)
        stick.wait_for("network ended, exit 127")

    def test_pulled_during_a_call(self) -> None:
        stick = self.stick("trap '' TERM; while :; do sleep 1; done")
        self.assertEqual(stick.chat(chat_script()), DONE)
        stick.wait_for("network started")
        stick.pull()
        log = stick.wait_for("network ended, signal 9")
        self.assertLess(log.index("line lost"), log.index("network ended"))
        self.assertNotIn("NO CARRIER", log)
        self.assertEqual(stick.children(), [])

    def test_told_to_stop_during_a_call(self) -> None:
        for number in (signal.SIGTERM, signal.SIGINT):
            self.log_away()
            stick = self.stick()
            self.assertEqual(stick.chat(chat_script()), DONE)
            stick.wait_for("network started")
            child = stick.children()[0]
            stick.process.send_signal(number)
            self.assertEqual(stick.process.wait(10), 0)
            self.assertFalse(Path(f"/proc/{child}").exists())
            stick.close()

    def test_peer_that_never_reads(self) -> None:
        stick = self.stick()
        os.set_blocking(stick.terminal, False)
        sent = 0
        end = time.monotonic() + 20
        while sent < 3000 and time.monotonic() < end:
            try:
                os.write(stick.terminal, b"ATI\r")
                sent += 1
            except BlockingIOError:
                time.sleep(0.01)
        self.assertEqual(sent, 3000, "the stick stopped listening")
        stick.process.terminate()
        self.assertEqual(stick.process.wait(10), 0)


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=1))
