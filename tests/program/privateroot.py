"""The unchanged program in a private root file system, with its real absolute paths.

`bwrap` makes the root: the machine's /usr read-only, and the folders that the program writes to,
its devices and the programs that it calls as the test wants them. No right of any kind is needed,
nothing outside is touched, and everything ends with the `PrivateRoot`.
"""

from __future__ import annotations

import json
import os
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Iterable
from pathlib import Path
from typing import NamedTuple

HERE = Path(__file__).resolve().parent
PROJECT = HERE.parent.parent
sys.path.insert(0, str(PROJECT / "simulator"))

from boardlib.panel import Panel, Screen, Widget, unix_request  # noqa: E402,F401

BUILD = Path(os.environ.get("CORVANTA_BUILD", PROJECT / "build" / "native"))
DONGLE = "device 12d1 1001\n"
PARAMETERS = "/quenfold/configs/3gparam"
AUTO_CONNECT = "/quenfold/configs/autoparam"
PEER_FILE = "/etc/ppp/peers/ppp-connect"
CHAT_SCRIPT = "/etc/ppp/chat/chat"
LINK_UP = "ppp0: flags=4305<UP,POINTOPOINT,RUNNING,NOARP,MULTICAST>  mtu 1500"

# Programs of the board that are answered by the test, and those that do their usual work.
STAND_INS = ("pppd", "killall", "ifconfig", "route", "ping", "ls")
TOOLS = ("sh", "grep", "ps", "cat", "sleep", "echo", "kill")
DEVICES = ("null", "zero", "full", "random", "urandom")
ANSWERS = {
    "ls": 'exec /usr/bin/ls "$@"\n',
    "ifconfig": "/usr/bin/cat /testrun/interfaces\n",
}
# Written on every start, by the platform plug-in and about the chip that the root does not have.
USUAL_OUTPUT = ("QVncServer created on port", "RDID:", "langid", "load translator")


class Call(NamedTuple):
    """One call of a program of the board."""

    time: float  # seconds since the epoch
    name: str
    arguments: str


class RootError(AssertionError):
    """The program did not do what the test waited for."""


def wait_until(condition: Callable[[], object], timeout: float, what: str) -> None:
    """Looks at the condition every 10 ms; RootError after `timeout` seconds."""
    deadline = time.monotonic() + timeout
    while not condition():
        if time.monotonic() > deadline:
            raise RootError(f"not within {timeout:g} s: {what}")
        time.sleep(0.01)


def _process(pid: int) -> tuple[str, int | None]:
    """The process's name, "<defunct>" for a zombie, and its parent; ("", None) once it is gone."""
    try:
        text = Path(f"/proc/{pid}/stat").read_text()
    except (FileNotFoundError, ProcessLookupError):
        return "", None
    name, _, fields = text.partition("(")[2].rpartition(")")
    state, parent, *_ = fields.split()
    return "<defunct>" if state == "Z" else name, int(parent)


def _children(parent: int) -> list[int]:
    pids = [int(entry) for entry in os.listdir("/proc") if entry.isdigit()]
    return [pid for pid in pids if _process(pid)[1] == parent]


class PrivateRoot:
    """One run of the program.

    Files and folders are arranged after construction, with host() and write(); start() runs the
    program; close() ends everything that is left.

    @param size the panel's width and height in pixels
    @param usb what is on the bus, in the words of fakes/fakeusb.c
    @param nodes names in /dev beside the usual ones
    @param missing programs that the board lacks
    @param preload further libraries of fakes/, by name
    @param mounts further arguments for bwrap, after all others
    @param setup shell commands run inside before the program
    @param locale value of LC_ALL
    @param keyboard whether the launch environment selects the on-screen keyboard
    """

    def __init__(self, *, size: tuple[int, int] = (800, 480), usb: str = DONGLE,
                 nodes: Iterable[str] = ("ttyUSB0",), missing: Iterable[str] = (),
                 preload: Iterable[str] = (), mounts: Iterable[str] = (), setup: str = "",
                 locale: str = "C.UTF-8", keyboard: bool = False) -> None:
        self.size = size
        self._mounts = list(mounts)
        self._preload = ["fakeusb", *preload]
        self._locale = locale
        self._keyboard = keyboard
        self._base = Path(tempfile.mkdtemp(prefix="corvanta-"))
        self._run = self._base / "testrun"
        self._bwrap: subprocess.Popen[bytes] | None = None
        self._init = 0
        self.pid = 0
        for folder in ("testrun/answers", "testrun/bin", "quenfold/configs", "ppp/peers",
                       "ppp/chat", "dev/pts", "dev/shm", "etc"):
            (self._base / folder).mkdir(parents=True)
        for file in ("calls", "interfaces", "stdout", "stderr"):
            (self._run / file).touch()
        self._run.joinpath("setup").write_text(setup)
        self._base.joinpath("etc/passwd").write_text("root:x:0:0::/tmp:/bin/sh\n")
        self._fill_path(set(missing))
        self.set_usb(usb)
        for name in DEVICES:
            (self._base / "dev" / name).touch()
        for name in nodes:
            self.add_node(name)
        self.panel = Panel(unix_request(self._run / "inspector"))

    def __enter__(self) -> PrivateRoot:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def _fill_path(self, missing: set[str]) -> None:
        for name in set(STAND_INS) - missing:
            self._run.joinpath("bin", name).symlink_to("/testroot/standin")
        for name in set(TOOLS) - missing:
            self._run.joinpath("bin", name).symlink_to(f"/usr/bin/{name}")
        for name, answer in ANSWERS.items():
            self.answer(name, answer)

    # What the program finds

    def host(self, path: str) -> Path:
        """Where a path of the private root is on this machine."""
        for inside, outside in (("/quenfold", "quenfold"), ("/etc/ppp", "ppp"), ("/dev", "dev"),
                                ("/testrun", "testrun")):
            if path == inside or path.startswith(inside + "/"):
                return self._base / outside / path[len(inside) + 1:]
        raise ValueError(path)

    def inner_read(self, path: str) -> bytes | None:
        """The content of a file on what is mounted only in the root; None when there is none."""
        try:
            return Path(f"/proc/{self._init}/root{path}").read_bytes()
        except FileNotFoundError:
            return None

    def write(self, path: str, content: bytes | str) -> None:
        data = content.encode() if isinstance(content, str) else content
        self.host(path).write_bytes(data)

    def read(self, path: str) -> bytes | None:
        """A file's content; None when there is no such file."""
        try:
            return self.host(path).read_bytes()
        except FileNotFoundError:
            return None

    def mode(self, path: str) -> str:
        """The permission bits in octal, such as "600"."""
        return f"{stat.S_IMODE(self.host(path).stat().st_mode):o}"

    def add_node(self, name: str, target: str | None = None) -> None:
        """Makes an entry of /dev: a link to the target, or an empty file."""
        path = self.host(f"/dev/{name}")
        if target is None:
            path.touch()
        else:
            path.symlink_to(target)

    def remove_node(self, name: str) -> None:
        self.host(f"/dev/{name}").unlink()

    def _replace(self, name: str, text: str) -> None:
        """Changes a control file in one step, so that no reader sees half of it."""
        new = self._run / f"{name}.new"
        new.write_text(text)
        new.replace(self._run / name)

    def set_usb(self, text: str) -> None:
        self._replace("usb", text)

    def set_link(self, up: bool) -> None:
        """Whether the list of interfaces has a ppp0."""
        self._replace("interfaces", "lo: flags=73\n" + (LINK_UP + "\n" if up else ""))

    def answer(self, name: str, script: str) -> None:
        """What the program of the board called `name` does from now on, in shell."""
        self._replace(f"answers/{name}", script)

    # Running

    def _arguments(self, info: int) -> list[str]:
        base, usr = str(self._base), "/usr"
        arguments = ["bwrap", "--unshare-all", "--die-with-parent", "--new-session", "--info-fd",
                     str(info), "--uid", "0", "--gid", "0", "--cap-drop", "ALL", "--tmpfs", "/",
                     "--ro-bind", usr, usr, "--proc", "/proc", "--perms", "0700",
                     "--tmpfs", "/tmp", "--bind", f"{base}/dev", "/dev",
                     "--dev-bind", "/dev/pts", "/dev/pts"]
        for folder in ("bin", "sbin", "lib", "lib32", "lib64"):
            if Path(usr, folder).exists():
                arguments += ["--symlink", f"usr/{folder}", f"/{folder}"]
        for name in DEVICES:
            arguments += ["--dev-bind", f"/dev/{name}", f"/dev/{name}"]
        for path in ("/etc/fonts", "/etc/ld.so.cache", "/var/cache/fontconfig"):
            arguments += ["--ro-bind-try", path, path]
        arguments += ["--ro-bind", f"{base}/etc/passwd", "/etc/passwd",
                      "--bind", f"{base}/quenfold", "/quenfold",
                      "--bind", f"{base}/ppp", "/etc/ppp",
                      "--bind", str(self._run), "/testrun",
                      "--ro-bind", str(HERE / "root"), "/testroot",
                      "--ro-bind", str(BUILD / "tests/program/fakes"), "/testfakes",
                      "--ro-bind", str(BUILD / "simulator/inspector/plugins"), "/testplugins",
                      "--ro-bind-try", str(BUILD / "platform/keyboard/plugins"),
                      "/testkeyboard",
                      "--ro-bind", str(BUILD / "app/corvanta"), "/app/corvanta"]
        return arguments + self._mounts + ["--chdir", "/", "/testroot/session"]

    def _environment(self) -> dict[str, str]:
        width, height = self.size
        return {
            "HOME": "/tmp", "XDG_RUNTIME_DIR": "/tmp", "LC_ALL": self._locale,
            "PATH": os.environ["PATH"],
            "QT_QPA_PLATFORM": f"vnc:size={width}x{height}",
            "QT_QPA_GENERIC_PLUGINS": "inspector", "QT_PLUGIN_PATH": "/testplugins:/testkeyboard",
            **({"QT_IM_MODULE": "qtvirtualkeyboard"} if self._keyboard else {}),
            "CORVANTA_INSPECTOR_SOCKET": "/testrun/inspector",
            "CORVANTA_FAKE_USB": "/testrun/usb", "CORVANTA_CALL_LOG": "/testrun/calls",
            "CORVANTA_PRELOAD": ":".join(f"/testfakes/lib{name}.so" for name in self._preload),
            "ASAN_OPTIONS": "verify_asan_link_order=0:detect_leaks=0",
        }

    def start(self, *, shown: bool = True, timeout: float = 10.0) -> PrivateRoot:
        """Runs the program.
        @param shown whether to wait until the main window is on the screen"""
        info_read, info_write = os.pipe()
        with open(info_read, "rb") as info, open(self._run / "bwrap", "wb") as errors:
            try:
                self._bwrap = subprocess.Popen(
                    self._arguments(info_write), env=self._environment(), stdin=subprocess.DEVNULL,
                    stdout=errors, stderr=errors, pass_fds=[info_write], start_new_session=True)
            finally:
                os.close(info_write)
            described = info.read()
        if not described:
            raise RootError("bwrap: " + self._run.joinpath("bwrap").read_text())
        self._init = json.loads(described)["child-pid"]
        wait_until(self._find_program, timeout, "the program running")
        if shown:
            self.wait_shown(timeout)
        return self

    def _find_program(self) -> bool:
        if self.exit_status() is not None:
            return True
        if self._bwrap.poll() is not None:
            raise RootError("bwrap: " + self._run.joinpath("bwrap").read_text())
        for session in _children(self._init):
            for pid in _children(session):
                if _process(pid)[0] == "corvanta":
                    self.pid = pid
        return self.pid != 0

    def wait_shown(self, timeout: float = 10.0) -> None:
        try:
            self.panel.wait(lambda screen: screen.main_window()["visible"], timeout,
                            "the main window")
        except AssertionError as error:
            raise RootError(f"{error}\n{self.report()}") from None

    def wait(self, predicate: Callable[[Screen], object], timeout: float, what: str) -> None:
        self.panel.wait(predicate, timeout, what)

    def close(self) -> None:
        """Ends every process of the root and removes its files."""
        if self._bwrap is not None:
            self._bwrap.kill()
            self._bwrap.wait()
            wait_until(lambda: _process(self._init)[0] in ("", "<defunct>"), 10,
                       "the private root's processes gone")
            self._bwrap = None
        for folder in self._base.rglob("*"):
            if folder.is_dir() and not folder.is_symlink():
                folder.chmod(0o700)
        shutil.rmtree(self._base, ignore_errors=True)

    # What came of it

    def calls(self, *names: str) -> list[Call]:
        """The calls of the board's programs so far, of these names or of all, in order."""
        calls = []
        for line in self._run.joinpath("calls").read_text().splitlines():
            moment, name, *rest = line.split(" ", 2)
            if not names or name in names:
                calls.append(Call(float(moment), name, "".join(rest).rstrip()))
        return calls

    def commands(self, since: int = 0) -> list[str]:
        """The calls as command lines, without those to look for a node or the stick."""
        lines = [f"{call.name} {call.arguments}".rstrip() for call in self.calls()[since:]]
        return [line for line in lines if not line.startswith(("ls ", "usb "))]

    def wait_calls(self, name: str, count: int, timeout: float = 5.0) -> Call:
        """Waits until a program has been called so often.
        @return the call of that number"""
        try:
            wait_until(lambda: len(self.calls(name)) >= count, timeout,
                       f"call {count} of {name}")
        except RootError as error:
            raise RootError(f"{error}\n{self.report()}") from None
        return self.calls(name)[count - 1]

    def signal(self, number: signal.Signals) -> None:
        os.kill(self.pid, number)

    def exit_status(self) -> int | None:
        """The program's exit status as a shell gives it; None while it runs."""
        try:
            return int(self._run.joinpath("status").read_text())
        except (FileNotFoundError, ValueError):
            return None

    def wait_exit(self, timeout: float = 5.0) -> int:
        try:
            wait_until(lambda: self.exit_status() is not None, timeout, "the program's end")
        except RootError as error:
            raise RootError(f"{error}\n{self.report()}") from None
        return self.exit_status()

    def errors(self) -> list[str]:
        """The lines on standard error, without those of every start."""
        lines = self._run.joinpath("stderr").read_text(errors="replace").splitlines()
        return [line for line in lines if not line.startswith(USUAL_OUTPUT)]

    def descriptors(self) -> dict[int, str]:
        """The program's open descriptors and what they lead to."""
        found = {}
        for entry in Path(f"/proc/{self.pid}/fd").iterdir():
            try:
                found[int(entry.name)] = os.readlink(entry)
            except FileNotFoundError:
                continue
        return found

    def processes(self) -> list[str]:
        """The names of the processes in the root beside the program and what keeps the root."""
        found = []
        waiting = _children(self._init)
        while waiting:
            pid = waiting.pop()
            waiting += _children(pid)
            name, _ = _process(pid)
            if name and pid != self.pid and not self._keeps_root(pid):
                found.append(name)
        return sorted(found)

    def _keeps_root(self, pid: int) -> bool:
        try:
            command = Path(f"/proc/{pid}/cmdline").read_bytes()
        except (FileNotFoundError, ProcessLookupError):
            return True
        return b"/testroot/session" in command or b"infinity" in command

    def report(self) -> str:
        """What there is to say about a failure."""
        calls = "\n".join(f"  {call.name} {call.arguments}" for call in self.calls()[-20:])
        errors = "\n".join("  " + line for line in self.errors()[-20:])
        return f"exit status {self.exit_status()}\nlast calls:\n{calls}\nerrors:\n{errors}"
