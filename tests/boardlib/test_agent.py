"""The board's agent, at the end of a pseudo-terminal, and the host's side of the conversation."""

import errno
import os
import select
import socket
import subprocess
import tempfile
import threading
import time
import tty
import unittest
from pathlib import Path

import support
from boardlib.agent import Agent, Result
from boardlib.host import BoardError

PROGRAM = os.environ.get("BOARD_AGENT",
                         str(support.ROOT / "build/native/simulator/agent/board-agent"))


class AgentTest(unittest.TestCase):
    """A thread plays the emulated port: it joins whoever connects to the pseudo-terminal."""

    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.master, slave = os.openpty()
        self.addCleanup(os.close, self.master)
        tty.setraw(slave)
        self.process = subprocess.Popen([PROGRAM, os.ttyname(slave)])
        # It stays open here: a pseudo-terminal that nobody has open reads as failed.
        self.addCleanup(os.close, slave)
        self.addCleanup(self.process.wait)
        self.addCleanup(self.process.kill)
        self.server = self.enterContext(socket.socket(socket.AF_UNIX))
        self.server.bind(str(self.folder / "agent.sock"))
        self.server.listen()
        self.stopping = threading.Event()
        bridge = threading.Thread(target=self.bridge)
        bridge.start()
        self.addCleanup(bridge.join)
        self.addCleanup(self.stopping.set)
        self.agent = self.connect()

    def bridge(self) -> None:
        client: socket.socket | None = None
        while not self.stopping.is_set():
            watched = [client, self.master] if client else [self.server]
            for ready in select.select(watched, [], [], 0.05)[0]:
                if ready is self.server:
                    client = self.server.accept()[0]
                elif ready is self.master and client:
                    client.sendall(os.read(self.master, 4096))
                elif client and (data := client.recv(4096)):
                    os.write(self.master, data)
                elif client:
                    client.close()
                    client = None
                    break
        if client:
            client.close()

    def connect(self) -> Agent:
        agent = Agent(self.folder / "agent.sock", 5)
        self.addCleanup(agent.close)
        return agent

    def run_shell(self, commands: str, seconds: float = 5) -> Result:
        return self.agent.ask("run", commands.encode(), seconds)

    def test_commands(self) -> None:
        for name, commands, expected in (
                ("both outputs", "echo a; echo b >&2; exit 3", Result(3, b"a\nb\n")),
                ("binary output", r"printf '\0\n\377%.0s' {1..40000}",
                 Result(0, b"\0\n\xff" * 40000)),
                ("no input", "cat", Result(0, b"")),
                ("several lines, quotes", "for i in 1 2; do\n  echo \"'$i'\"\ndone",
                 Result(0, b"'1'\n'2'\n")),
                ("killed by a signal", "kill -KILL $$", Result(137, b""))):
            with self.subTest(name):
                self.assertEqual(self.run_shell(commands), expected)

    def test_too_long_a_command_is_killed_with_its_children(self) -> None:
        marker = self.folder / "pid"
        done = self.run_shell(f"echo before; sleep 60 & echo $! >{marker}; wait", 0.3)
        self.assertEqual(done, Result(124, b"before\n"))
        deadline = time.monotonic() + 5
        child = Path("/proc", marker.read_text().strip(), "stat")
        while child.exists() and child.read_text().split()[2] != "Z":
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)

    def test_what_stays_in_the_background_does_not_hold_up(self) -> None:
        started = time.monotonic()
        done = self.run_shell("setsid sleep 20 & echo $!", 10)
        self.addCleanup(os.kill, int(done.output), 9)
        self.assertLess(time.monotonic() - started, 5)

    def test_commands_inherit_nothing(self) -> None:
        self.assertEqual(self.run_shell("ls /proc/$$/fd | xargs").text.split()[:3], ["0", "1", "2"])
        self.assertNotIn("pts", self.run_shell("readlink /proc/$$/fd/*").text)

    def test_files(self) -> None:
        path, data = self.folder / "file", bytes(range(256)) * 300
        self.assertEqual(self.agent.ask("write", f"{path}\0".encode() + data, 5), Result(0, b""))
        self.assertEqual(path.read_bytes(), data)
        self.assertEqual(self.agent.ask("read", str(path).encode(), 5), Result(0, data))
        for name, verb, body, error in (
                ("missing", "read", "/no/file", errno.ENOENT),
                ("folder", "read", "/etc", errno.EISDIR),
                ("no folder", "write", "/no/file\0x", errno.ENOENT),
                ("unknown verb", "dance", "", errno.EINVAL)):
            with self.subTest(name):
                self.assertEqual(self.agent.ask(verb, body.encode(), 5).status, error)

    def test_asking_a_socket(self) -> None:
        path = self.folder / "peer"
        with socket.socket(socket.AF_UNIX) as peer:
            peer.bind(str(path))
            question = f"{path}\0dump\n".encode()
            self.assertEqual(self.agent.ask("ask", question, 5).status, errno.ECONNREFUSED)
            peer.listen()
            self.assertEqual(self.agent.ask("ask", question, 1).status, errno.EAGAIN)
            silent = peer.accept()[0]
            self.assertEqual(silent.recv(100), b"dump\n")
            silent.close()

            def answer() -> None:
                with peer.accept()[0] as connection:
                    connection.sendall(connection.recv(100).upper())
                    connection.sendall(b"more")
            thread = threading.Thread(target=answer)
            thread.start()
            self.assertEqual(self.agent.ask("ask", question, 5), Result(0, b"DUMP\nmore"))
            thread.join()

    def test_an_answer_that_nobody_took_is_passed_over(self) -> None:
        interrupted = self.agent
        interrupted._socket.sendall(b"old run 5 16\nsleep 0.3; echo x")
        time.sleep(0.1)
        interrupted.close()
        self.agent = self.connect()
        self.assertEqual(self.run_shell("echo new"), Result(0, b"new\n"))

    def test_garbage_does_not_stop_it(self) -> None:
        self.agent._socket.sendall(b"\n\nnonsense\nx run y z\n")
        self.assertEqual(self.run_shell("echo still"), Result(0, b"still\n"))

    def test_silence_and_end_are_errors(self) -> None:
        self.process.kill()
        self.process.wait()
        self.stopping.set()
        with self.assertRaises(BoardError):
            self.run_shell("true", -9.5)


if __name__ == "__main__":
    unittest.main()
