"""The files of a private root: those that the program reads, writes and runs."""

from __future__ import annotations

import shutil
import stat
import tempfile
from collections.abc import Iterable
from pathlib import Path

from panel.constants import CHIP_MARKER, DONGLE_PRODUCT, DONGLE_VENDOR, LANGUAGE

DONGLE = f"device {DONGLE_VENDOR:x} {DONGLE_PRODUCT:x}\n"
LINK_DOWN = "lo: flags=73\n"
LINK_UP = LINK_DOWN + "ppp0: flags=4305<UP,POINTOPOINT,RUNNING,NOARP,MULTICAST>  mtu 1500\n"

# Programs of the board that have a stand-in, and programs taken from the host.
STAND_INS = ("pppd", "killall", "ifconfig", "route", "ping", "ls")
TOOLS = ("sh", "grep", "ps", "cat", "sleep", "echo", "kill")
STAND_IN = "/testfakes/boardprogram"
DEVICES = ("null", "zero", "full", "random", "urandom")  # device nodes of the host
CHIP = "spidev1.0"
CHIP_BYTES = 32768
LAUNCH = "program </dev/null >/testrun/stdout 2>/testrun/stderr"
BLOCK_ADDRESS = 4  # address of the parameters in the chip, 2 bytes each


class RootFiles:
    """The directories of a private root on the host; remove() deletes them.

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
        self._fill_path()
        self.set_usb(usb)
        self.set_link(False)
        for name in (*DEVICES, *nodes):
            self.add_node(name)

    def _fill_path(self) -> None:
        for name in STAND_INS:
            self.run.joinpath("bin", name).symlink_to(STAND_IN)
            self.run.joinpath("answering", name).symlink_to("/testroot/answer")
        for name in TOOLS:
            self.run.joinpath("bin", name).symlink_to(f"/usr/bin/{name}")

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

    def add_chip(self, language: int) -> None:
        """Create the file that fakes/fakechip.c uses as the memory of the F-RAM chip."""
        memory = bytearray(CHIP_BYTES)
        at = BLOCK_ADDRESS + 2 * LANGUAGE
        memory[at:at + 2] = language.to_bytes(2, "little")
        self.write(f"/dev/{CHIP}", bytes(memory))
        self.write(CHIP_MARKER, b"")

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

    def remove(self) -> None:
        """Remove the directories, even if tests have removed their permissions."""
        for path in self.base.rglob("*"):
            if path.is_dir() and not path.is_symlink():
                path.chmod(0o700)
        shutil.rmtree(self.base, ignore_errors=True)
