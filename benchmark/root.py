"""The private root: a file system in which the program finds its absolute paths.

`bwrap` makes it, once for a run of the bench; nothing outside is touched, and every process in it
ends with it. The USB bus is a tree of files that the real libusb reads, panels and touch screens
are files (fakes/panel.c), and the board's own commands are one small program (fakes/standin.c).
"""

import os
import pty
import shutil
import struct
import subprocess
import tty
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

from panel import facts

PROJECT = Path(__file__).resolve().parents[1]
BUILT = PROJECT / "build/release/benchmark"
PARAMETERS = Path(facts.PARAMETERS)
AUTO_CONNECT = Path(facts.AUTO_CONNECT)
BENCH = Path("/bench")
DIALLED = BENCH / "dialled"  # when pppd was started
MODEM = Path("/dev/ttyUSB0")
BUS = Path("/sys/bus/usb")
HUB = Path("/sys/devices/usb1")
DONGLE = HUB / "1-1"
FONTS = "/usr/share/fonts"  # of this machine's, only those of the simulated board are there
FOLDERS = ("/bench/bin", "/quenfold/configs", "/etc/ppp/peers", "/etc/ppp/chat", "/dev/input",
           "/dev/bus/usb/001", "/sys/class", "/sys/bus/usb/devices", "/var/cache/fontconfig")


def command(*inside: str) -> list[str]:
    """What runs a command in a new private root."""
    words = ["bwrap", "--unshare-all", "--die-with-parent", "--uid", "0", "--gid", "0",
             "--cap-drop", "ALL", "--tmpfs", "/", "--ro-bind", "/usr", "/usr", "--proc", "/proc",
             "--dev", "/dev", "--perms", "0700", "--tmpfs", "/tmp", "--setenv", "HOME", "/tmp",
             "--ro-bind", "/etc/fonts", "/machine-fonts", "--tmpfs", FONTS]
    for folder in ("bin", "sbin", "lib", "lib32", "lib64"):
        if Path("/usr", folder).exists():
            words += ["--symlink", f"usr/{folder}", f"/{folder}"]
    for path in ("/etc/ld.so.cache", f"{FONTS}/truetype/dejavu", f"{FONTS}/truetype/wqy",
                 str(PROJECT)):
        words += ["--ro-bind", path, path]
    return [*words, "--chdir", str(PROJECT), *inside]


def furnish() -> None:
    """Makes what the program finds. Called once, inside."""
    for folder in FOLDERS:
        Path(folder).mkdir(parents=True)
    Path("/etc/passwd").write_text("root:x:0:0::/tmp:/bin/sh\n")
    shutil.copytree("/machine-fonts", "/etc/fonts")
    shutil.copy(PROJECT / "resources/fontconfig/64-corvanta.conf", "/etc/fonts/conf.d")
    subprocess.run(["/usr/bin/fc-cache"], check=True)
    for name in ("sh", "ls", "grep"):
        (BENCH / "bin" / name).symlink_to(f"/usr/bin/{name}")
    for name in ("pppd", "killall", "ifconfig", "route"):
        (BENCH / "bin" / name).symlink_to(BUILT / "standin")
    PARAMETERS.write_bytes(facts.stored_parameters(user="user", password="secret", pin="1234"))
    AUTO_CONNECT.write_text("1\n5\n")
    _add_device(HUB, 1, 0x1d6b, 0x0002)
    plug()
    set_link(False)


def set_link(up: bool) -> None:
    """Whether the board's list of interfaces has a ppp0."""
    (BENCH / "interfaces").write_text("lo: flags=73\n" + ("ppp0: flags=4305\n" if up else ""))


def plug() -> None:
    """Puts the dongle on the bus, with its serial node."""
    _add_device(DONGLE, 2, facts.DONGLE_VENDOR, facts.DONGLE_PRODUCT)
    MODEM.touch()


def pull() -> None:
    """Takes the dongle away."""
    MODEM.unlink()
    (BUS / "devices" / DONGLE.name).unlink()
    Path("/dev/bus/usb/001/002").unlink()
    shutil.rmtree(DONGLE)


def _add_device(path: Path, number: int, vendor: int, product: int) -> None:
    device = struct.pack("<BBHBBBBHHHBBBB", 18, 1, 0x0200, 0, 0, 0, 64, vendor, product, 0x0100,
                         0, 0, 0, 1)
    configuration = struct.pack("<BBHBBBBB", 9, 2, 9, 0, 1, 0, 0xa0, 50)
    node = f"bus/usb/001/{number:03}"
    path.mkdir(parents=True)
    for name, content in (("busnum", "1"), ("devnum", number), ("speed", "480"),
                          ("bConfigurationValue", "1"),
                          ("uevent", f"MAJOR=189\nMINOR={number - 1}\nDEVNAME={node}\n"
                                     "DEVTYPE=usb_device")):
        (path / name).write_text(f"{content}\n")
    (path / "descriptors").write_bytes(device + configuration)
    Path("/dev", node).write_bytes(device + configuration)
    (path / "subsystem").symlink_to(BUS)
    (BUS / "devices" / path.name).symlink_to(path)


@contextmanager
def no_dongle() -> Iterator[None]:
    """A board whose dongle is not there."""
    pull()
    yield
    plug()


@contextmanager
def no_node() -> Iterator[None]:
    """A board whose dongle has no serial node yet."""
    MODEM.unlink()
    yield
    MODEM.touch()


@contextmanager
def silent_modem() -> Iterator[None]:
    """A modem that answers nothing."""
    ours, theirs = pty.openpty()
    tty.setraw(theirs)
    MODEM.unlink()
    MODEM.symlink_to(os.ttyname(theirs))
    yield
    MODEM.unlink()
    MODEM.touch()
    os.close(ours)
    os.close(theirs)
