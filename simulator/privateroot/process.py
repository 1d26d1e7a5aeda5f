"""The program's process in its private root.

bubblewrap (`bwrap`) makes the root. The host's /usr is mounted read-only. The directories that the
program writes to, its device nodes and the programs that it calls belong to the root, so nothing
outside is changed. close() kills all processes of the root.
"""

from __future__ import annotations

import os
import subprocess
from collections.abc import Callable, Iterable
from pathlib import Path
from signal import Signals
from typing import Any, Self

from panel.constants import WITHOUT_KEYS
from panel.panel import Panel, unix_request
from panel.patience import wait_until
from panel.screen import Screen
from privateroot.files import DEVICES, RootFiles
from privateroot.procfs import ENDED, children, descendants, process_name

HERE = Path(__file__).resolve().parent
# Names of processes that keep the root running (inside/session) or forward VNC connections, and of
# one that has just exited.
KEEPERS = ("session", "tail", "socat", "")
BUILD = Path(os.environ.get("CORVANTA_BUILD", HERE.parents[1] / "build/native"))


class PrivateRoot(RootFiles):
    """A run of the program.

    After construction, set up files with host() and write(). Then start() runs the program, and
    close() kills all processes that are left.

    @param size width and height of the panel in pixels
    @param preload paths of additional libraries to preload
    @param mounts additional arguments for bwrap, after all others
    @param inspected true to load the inspector, which `panel` needs
    @param keys true to enable the on-screen keyboard, which moves the window
    @param files arguments of RootFiles
    """

    def __init__(self, *, size: tuple[int, int] = (800, 480), preload: Iterable[str] = (),
                 mounts: Iterable[str] = (), keys: bool = False, inspected: bool = True,
                 **files: Any) -> None:
        super().__init__(**files)
        self.size = size
        self._mounts = list(mounts)
        self._preload = ["/testfakes/libfakeusb.so", *preload]
        self._keys = keys
        self._inspected = inspected
        self._bwrap: subprocess.Popen[bytes] | None = None
        self._init = 0
        self.pid = 0
        self.panel = Panel(unix_request(self.run / "inspector"))

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def _arguments(self) -> list[str]:
        base, usr = str(self.base), "/usr"
        arguments = ["bwrap", "--unshare-all", "--die-with-parent", "--new-session", "--uid", "0",
                     "--gid", "0", "--cap-drop", "ALL", "--tmpfs", "/", "--ro-bind", usr, usr,
                     "--proc", "/proc", "--perms", "0700", "--tmpfs", "/tmp",
                     "--bind", f"{base}/dev", "/dev", "--dev-bind", "/dev/pts", "/dev/pts"]
        for directory in ("bin", "sbin", "lib", "lib64"):
            arguments += ["--symlink", f"usr/{directory}", f"/{directory}"]
        for name in DEVICES:
            arguments += ["--dev-bind", f"/dev/{name}", f"/dev/{name}"]
        for path in ("/etc/fonts", "/etc/ld.so.cache", "/var/cache/fontconfig"):
            arguments += ["--ro-bind-try", path, path]
        arguments += ["--ro-bind", f"{base}/etc/passwd", "/etc/passwd",
                      "--ro-bind", str(HERE / "inside"), "/testroot"]
        for directory in ("/etc/ppp", "/quenfold", "/testrun"):
            arguments += ["--bind", str(self.host(directory)), directory]
        for built, inside in (("simulator/privateroot/fakes", "/testfakes"),
                              ("simulator/programs/inspector/plugins", "/testplugins"),
                              ("app/corvanta", "/app/corvanta")):
            arguments += ["--ro-bind", str(BUILD / built), inside]
        return arguments + self._mounts + ["--chdir", "/", "/testroot/session"]

    def _environment(self) -> dict[str, str]:
        width, height = self.size
        return {
            "HOME": "/tmp", "XDG_RUNTIME_DIR": "/tmp", "LC_ALL": "C.UTF-8",
            "PATH": os.environ["PATH"],
            "QT_QPA_PLATFORM": f"vnc:size={width}x{height}",
            "QT_QPA_GENERIC_PLUGINS": "inspector" if self._inspected else "",
            "QT_PLUGIN_PATH": "/testplugins", "QT_NO_XDG_DESKTOP_PORTAL": "1",
            **({} if self._keys else WITHOUT_KEYS),
            "CORVANTA_INSPECTOR_SOCKET": "/testrun/inspector",
            "CORVANTA_PRELOAD": ":".join(self._preload),
            "ASAN_OPTIONS": "verify_asan_link_order=0",
            "LSAN_OPTIONS": "suppressions=/testroot/leaks:print_suppressions=0",
        }

    def start(self, *, shown: bool = True, timeout: float = 10.0) -> Self:
        """Run the program.

        @param shown true to wait until the main window is shown
        @param timeout seconds for the start of the process, and for the window
        @raise AssertionError when the program does not start"""
        with open(self.run / "stderr", "wb") as errors:
            self._bwrap = subprocess.Popen(
                self._arguments(), env=self._environment(), stdin=subprocess.DEVNULL,
                stdout=errors, stderr=errors, start_new_session=True)
        self.wait_until(self._find_program, timeout, "the program running")
        if shown:
            self.wait_shown(timeout)
        return self

    def _find_program(self) -> bool:
        """Find bwrap's child, which is the first process of the root, and the program."""
        assert self._bwrap
        for self._init in children(self._bwrap.pid):
            for session in children(self._init):
                for pid in children(session):
                    if process_name(pid) == "corvanta":
                        self.pid = pid
        return self.pid != 0 or self.exit_status() is not None

    def wait_shown(self, timeout: float = 10.0) -> None:
        """Wait until the main window is shown."""
        self.wait(lambda screen: screen.main_window()["visible"], timeout, "the main window")

    def wait(self, predicate: Callable[[Screen], Any], timeout: float, what: str) -> None:
        with self.reported():
            self.panel.wait(predicate, timeout, what)

    def signal(self, number: Signals) -> None:
        os.kill(self.pid, number)

    def descriptors(self) -> dict[int, str]:
        """Return the program's open descriptors and their targets."""
        found = {}
        for entry in Path(f"/proc/{self.pid}/fd").iterdir():
            try:
                found[int(entry.name)] = os.readlink(entry)
            except FileNotFoundError:
                continue
        return found

    def descriptor_flags(self, number: int) -> int | None:
        """Return the flags of a descriptor, as in open(2), or None once it is closed."""
        try:
            text = Path(f"/proc/{self.pid}/fdinfo/{number}").read_text()
        except FileNotFoundError:
            return None
        return int(text.split("flags:")[1].split()[0], 8)

    def processes(self) -> list[str]:
        """Return the sorted names of the processes in the root, except for the program and those
        of KEEPERS."""
        names = (process_name(pid) for pid in descendants(self._init) if pid != self.pid)
        return sorted(name for name in names if name not in KEEPERS)

    def close(self) -> None:
        """Kill every process of the root and remove its files."""
        if self._bwrap is not None:
            self._bwrap.kill()
            self._bwrap.wait()
            wait_until(lambda: process_name(self._init) in ENDED, 10,
                       "the private root's processes exited")
            self._bwrap = None
        self.remove()
