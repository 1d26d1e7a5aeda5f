"""The board's agent, at the end of a pseudo-terminal, and the host's side of the conversation."""

import errno
import os
import select
import subprocess
import tempfile
import time
import tty
import unittest
from pathlib import Path
from unittest import mock

from host.errors import BoardError
from host.paths import ROOT
from machine import agent
from machine.agent import Agent, Result

PROGRAM = os.environ.get("BOARD_AGENT",
                         str(ROOT / "build/native/simulator/programs/agent/board-agent"))


class Port:
    """A pseudo-terminal as the host sees the emulated port: with the methods of a socket."""

    def __init__(self, terminal: int) -> None:
        self.terminal = terminal

    def settimeout(self, seconds: float) -> None:
        self.seconds = seconds

    def sendall(self, data: bytes) -> None:
        while data:
            data = data[os.write(self.terminal, data):]

    def recv(self, length: int) -> bytes:
        if not select.select([self.terminal], [], [], self.seconds)[0]:
            raise TimeoutError
        return os.read(self.terminal, length)


class Agents(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        master, slave = os.openpty()
        self.addCleanup(os.close, master)
        tty.setraw(slave)
        self.process = subprocess.Popen([PROGRAM, os.ttyname(slave)])
        # It stays open here: a pseudo-terminal that nobody has open reads as failed.
        self.addCleanup(os.close, slave)
        self.addCleanup(self.process.wait)
        self.addCleanup(self.process.kill)
        self.port = Port(master)
        with mock.patch.object(agent, "connect", return_value=self.port):
            self.agent = Agent(self.folder)

    def run_shell(self, commands: str, seconds: float = 10) -> Result:
        return self.agent.ask("run", commands.encode(), seconds)

    def test_commands(self) -> None:
        for name, commands, expected in (
                ("both outputs", "echo a; echo b >&2; exit 3", Result(3, b"a\nb\n")),
                ("binary output", r"printf '\0\n\377%.0s' {1..40000}",
                 Result(0, b"\0\n\xff" * 40000)),
                ("no input", "cat", Result(0, b"")),
                ("inherits no port", "readlink /proc/$$/fd/* | grep pts", Result(1, b"")),
                ("killed by a signal", "kill -KILL $$", Result(137, b"")),
                ("its own limit", "timeout 0.1 sleep 60", Result(124, b""))):
            with self.subTest(name):
                self.assertEqual(self.run_shell(commands), expected)

    def test_too_long_a_command_is_killed_with_its_children(self) -> None:
        done = self.run_shell("sleep 600 & echo $!; wait", 5)
        self.assertEqual((done.status, done.late), (124, True))
        deadline = time.monotonic() + 30
        child = Path("/proc", done.text.strip(), "stat")
        while child.exists() and child.read_text().split()[2] != "Z":
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)

    def test_what_stays_in_the_background_does_not_hold_up(self) -> None:
        done = self.run_shell("setsid sleep 600 & echo $!")
        self.addCleanup(os.kill, int(done.output), 9)
        self.assertEqual(done.status, 0)

    def test_files(self) -> None:
        path, data = self.folder / "file", bytes(range(256)) * 300
        self.assertEqual(self.agent.ask("write", f"{path}\0".encode() + data, 10), Result(0, b""))
        self.assertEqual(self.agent.ask("read", str(path).encode(), 10), Result(0, data))
        for name, verb, body, error in (
                ("missing", "read", "/no/file", errno.ENOENT),
                ("folder", "read", "/etc", errno.EISDIR),
                ("no folder", "write", "/no/file\0x", errno.ENOENT),
                ("no socket", "ask", "/no/file\0x", errno.ENOENT),
                ("unknown verb", "dance", "", errno.EINVAL)):
            with self.subTest(name):
                self.assertEqual(self.agent.ask(verb, body.encode(), 10).status, error)

    def test_what_came_before_is_passed_over(self) -> None:
        for name, before in (("garbage", b"\n\nnonsense\nx run y z\n"),
                             ("a request whose answer nobody took", b"old run 30 6\necho x")):
            with self.subTest(name):
                self.port.sendall(before)
                self.assertEqual(self.run_shell("echo new"), Result(0, b"new\n"))

    def test_silence_is_an_error(self) -> None:
        self.process.kill()
        self.process.wait()
        for verb, said in (("run", "takes longer than 0.1 s"), ("read", "does not answer")):
            with (self.subTest(verb), mock.patch.object(agent, "GRACE_SECONDS", 0),
                  self.assertRaisesRegex(BoardError, said)):
                self.agent.ask(verb, b"", 0.1)


if __name__ == "__main__":
    unittest.main()
