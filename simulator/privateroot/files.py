"""The files of a private root: those that the program reads, writes and runs, and records of it."""

from __future__ import annotations

import shutil
import stat
import tempfile
from collections.abc import Callable, Iterable, Iterator
from contextlib import contextmanager
from pathlib import Path
from typing import NamedTuple

from panel.constants import DONGLE_PRODUCT, DONGLE_VENDOR
from panel.patience import wait_until

DONGLE = f"device {DONGLE_VENDOR:x} {DONGLE_PRODUCT:x}\n"
LINK_DOWN = "lo: flags=73\n"
LINK_UP = LINK_DOWN + "ppp0: flags=4305<UP,POINTOPOINT,RUNNING,NOARP,MULTICAST>  mtu 1500\n"

# Programs of the board that have a stand-in, and programs taken from the host.
STAND_INS = ("pppd", "killall", "ifconfig", "route", "ping", "ls")
TOOLS = ("sh", "grep", "ps", "cat", "sleep", "echo", "kill")
STAND_IN = "/testfakes/boardprogram"
DEVICES = ("null", "zero", "full", "random", "urandom")  # device nodes of the host
LAUNCH = "program </dev/null >/testrun/stdout 2>/testrun/stderr"
# Beginnings of lines that every start prints, from the platform plugin and about the chip.
USUAL_OUTPUT = ("QVncServer created on port", "RDID:", "langid", "load translator")


class Call(NamedTuple):
    """One call of a program of the board."""

    time: float  # seconds since the epoch
    name: str
    arguments: str

    def __str__(self) -> str:
        return f"{self.name} {self.arguments}".rstrip()


class RootFiles:
    """The directories of a private root on the host, with the output of the program and the log of
    its stand-ins; remove() deletes them.

    @param usb devices on the USB bus, in the format of fakes/fakeusb.c
    @param nodes names of device nodes in /dev, in addition to the usual ones
    @param setup shell commands to run in the private root before the program
    @param launch shell command that runs the program: "program", then a wrapper command, if any,
        then redirections
    """

    def __init__(self, *, usb: str = DONGLE, nodes: Iterable[str] = ("ttyUSB0",),
                 setup: str = "", launch: str = LAUNCH) -> None:
        self.base = Path(tempfile.mkdtemp(prefix="corvanta-"))
        self.run = self.base / "testrun"
        for directory in ("testrun/answers", "testrun/answering", "testrun/bin", "quenfold/configs",
                          "etc/ppp/peers", "etc/ppp/chat", "dev/pts", "dev/shm"):
            (self.base / directory).mkdir(parents=True)
        for file in ("calls", "stdout", "stderr"):
            (self.run / file).touch()
        self.run.joinpath("setup").write_text(setup)
        self.run.joinpath("launch").write_text(launch + "\n")
        self.base.joinpath("etc/passwd").write_text("root:x:0:0::/tmp:/bin/sh\n")
        for name in STAND_INS:
            self.run.joinpath("bin", name).symlink_to(STAND_IN)
            self.run.joinpath("answering", name).symlink_to("/testroot/answer")
        for name in TOOLS:
            self.run.joinpath("bin", name).symlink_to(f"/usr/bin/{name}")
        self.set_usb(usb)
        self.set_link(False)
        for name in (*DEVICES, *nodes):
            self.add_node(name)

    def host(self, path: str) -> Path:
        """Return the path on the host of a path in /dev, /etc/ppp, /quenfold or /testrun of the
        private root."""
        return self.base / path.removeprefix("/")

    def write(self, path: str, content: bytes | str) -> None:
        data = content.encode() if isinstance(content, str) else content
        self.host(path).write_bytes(data)

    def read(self, path: str) -> bytes | None:
        """Return a file's content, or None if the file does not exist."""
        try:
            return self.host(path).read_bytes()
        except FileNotFoundError:
            return None

    def content(self, path: str) -> bytes:
        """Return a file's content, empty if the file does not exist."""
        return self.read(path) or b""

    def mode(self, path: str) -> str:
        """Return the permission bits in octal, such as "600"."""
        return f"{stat.S_IMODE(self.host(path).stat().st_mode):o}"

    def add_node(self, name: str, target: str | None = None) -> None:
        """Create an entry of /dev: a symbolic link to the target, or an empty file."""
        path = self.host(f"/dev/{name}")
        if target is None:
            path.touch()
        else:
            path.symlink_to(target)

    def remove_node(self, name: str) -> None:
        self.host(f"/dev/{name}").unlink()

    def _replace(self, name: str, text: str) -> None:
        """Replace a control file atomically, so that readers never get incomplete content."""
        new = self.run / f"{name}.new"
        new.write_text(text)
        new.replace(self.run / name)

    def set_usb(self, text: str) -> None:
        self._replace("usb", text)

    def set_link(self, up: bool) -> None:
        """Add ppp0 to the list of interfaces, or remove it."""
        self._replace("interfaces", LINK_UP if up else LINK_DOWN)

    def answer(self, name: str, script: str) -> None:
        """Set the answer script, in shell, of the board's program `name`."""
        self._replace(f"answers/{name}", script)

    def answer_as_usual(self, name: str) -> None:
        """Remove the answer script of the board's program `name`, which then behaves as usual."""
        self.run.joinpath("answers", name).unlink(missing_ok=True)

    def unwrap(self, name: str, program: str = "") -> None:
        """Replace a stand-in with a faster program.

        @param program path in the private root; by default the host's, which logs no calls"""
        stand_in = self.run / "bin" / name
        stand_in.unlink()
        stand_in.symlink_to(program or f"/usr/bin/{name}")

    def calls(self, *names: str) -> list[Call]:
        """Return the calls of the board's programs so far, in order.

        @param names names of the programs; none for all"""
        calls = []
        for line in self.run.joinpath("calls").read_text().splitlines():
            moment, name, *rest = line.split(" ", 2)
            if not names or name in names:
                calls.append(Call(float(moment), name, "".join(rest).rstrip()))
        return calls

    def commands(self, since: int = 0) -> list[str]:
        """Return the calls as command lines, except for searches for a device node or the dongle.

        @param since number of calls to skip"""
        return [str(call) for call in self.calls()[since:] if call.name not in ("ls", "usb")]

    def wait_calls(self, name: str, count: int, timeout: float = 5.0) -> Call:
        """Wait until a program has been called `count` times. @return the last of these calls"""
        self.wait_until(lambda: len(self.calls(name)) >= count, timeout,
                        f"call {count} of {name}")
        return self.calls(name)[count - 1]

    def exit_status(self) -> int | None:
        """Return the program's exit status as a shell reports it, or None while it runs."""
        status = self.read("/testrun/status")
        return int(status) if status else None

    def wait_exit(self, timeout: float = 5.0) -> int | None:
        self.wait_until(lambda: self.exit_status() is not None, timeout, "the program has exited")
        return self.exit_status()

    def errors(self) -> list[str]:
        """Return the lines on standard error, except for those that every start prints."""
        lines = self.run.joinpath("stderr").read_text(errors="replace").splitlines()
        return [line for line in lines if not line.startswith(USUAL_OUTPUT)]

    def report(self) -> str:
        """Return the exit status, the last calls and the last errors, for a failure message."""
        calls = "\n".join(f"  {call}" for call in self.calls()[-20:])
        errors = "\n".join("  " + line for line in self.errors()[-20:])
        return f"exit status {self.exit_status()}\nlast calls:\n{calls}\nerrors:\n{errors}"

    @contextmanager
    def reported(self) -> Iterator[None]:
        """Add report() to the message of a failed wait."""
        try:
            yield
        except AssertionError as error:
            raise AssertionError(f"{error}\n{self.report()}") from None

    def wait_until(self, condition: Callable[[], object], timeout: float, what: str) -> None:
        with self.reported():
            wait_until(condition, timeout, what)

    def remove(self) -> None:
        """Remove the directories, even if tests have removed their permissions."""
        for path in self.base.rglob("*"):
            if path.is_dir() and not path.is_symlink():
                path.chmod(0o700)
        shutil.rmtree(self.base, ignore_errors=True)
