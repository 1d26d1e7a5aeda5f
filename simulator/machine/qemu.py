"""The emulated machine: a 32-bit ARM board with panel, touch screen, keyboard and three disks."""

import os
import shlex
import subprocess
from pathlib import Path

from host import programs
from host.files import remove
from image.rootfs import INITRAMFS, KERNEL, ROOT_IMAGE

QMP_SOCKET = "qmp.sock"
AGENT_SOCKET = "agent.sock"
SERIAL_LOG = "serial.log"
QEMU_LOG = "qemu.log"
VNC_BASE = 5900
SPARE_BYTES = 12 << 20  # of the third disk, /dev/vdc: empty unless start() is given another
SPARE_LOG = "spare.log"  # each write and flush of the third disk, as QEMU's blklogwrites has them
# Protections that cost an emulated processor much time are off. Above all: code at a random address
# is translated anew in each process.
PROTECTIONS_OFF = ("mitigations=off", "init_on_alloc=0", "hardened_usercopy=off", "audit=0",
                   "apparmor=0", "norandmaps")
# While the dongle's port is open, its host controller's timer runs every 125 us: 8000 interrupts a
# second, which would keep a core of the host busy. It follows the kernel's tick of 4 ms so.
COARSE_TIMERS = "highres=off"
KERNEL_OPTIONS = ("console=ttyAMA0", "quiet", "loglevel=4", "net.ifnames=0", COARSE_TIMERS,
                  *PROTECTIONS_OFF)


def devices(size: tuple[int, int], machine: Path, app_disk: Path) -> list[str]:
    """
    QEMU's options for what the machine consists of.

    A saved state fits exactly these devices; options that differ from run to run are start()'s.
    """
    width, height = size
    return [
        "-M", "virt,highmem=off,gic-version=2", "-cpu", "cortex-a15",
        "-accel", "tcg,thread=single,tb-size=256", "-smp", "1", "-m", "256", "-nodefaults",
        # The board's clock counts its instructions. On a busy host it slows down with the board, so
        # that a dial-up with 15 s to succeed has the same chance on every host.
        "-icount", "shift=3,sleep=on,align=off",
        "-kernel", str(machine / KERNEL), "-initrd", str(machine / INITRAMFS),
        "-append", " ".join(KERNEL_OPTIONS),
        "-drive", f"if=none,id=root,format=raw,readonly=on,file={_escaped(machine / ROOT_IMAGE)}",
        "-device", "virtio-blk-pci,drive=root",
        "-drive", f"if=none,id=app,format=raw,readonly=on,file={_escaped(app_disk)}",
        "-device", "virtio-blk-pci,drive=app",
        "-device", "virtio-blk-pci,drive=spare",
        "-device", f"virtio-gpu-pci,xres={width},yres={height}",
        "-device", "virtio-tablet-pci", "-device", "virtio-keyboard-pci",
        "-device", "virtio-rng-pci", "-device", "virtio-serial-pci",
        "-chardev", f"socket,id=agent,path={AGENT_SOCKET},server=on,wait=off",
        "-device", "virtserialport,chardev=agent,name=board.agent",
    ]


def _spare_disk(image: Path | None) -> str:
    if image is None:
        return f"driver=null-co,node-name=spare,size={SPARE_BYTES},read-zeroes=on"
    return ("driver=blklogwrites,node-name=spare,log-sector-size=512,"
            f"file.driver=file,file.filename={_escaped(image)},"
            f"log.driver=file,log.filename={SPARE_LOG}")


def _escaped(path: Path) -> str:
    """A file name inside one of QEMU's comma-separated options."""
    return str(path).replace(",", ",,")


def start(size: tuple[int, int], folder: Path, machine: Path, app_disk: Path, *,
          state: Path | None = None, vnc_port: int | None = None,
          detached: bool = False, spare: Path | None = None) -> subprocess.Popen[bytes]:
    """
    Start a machine in a run's folder, where its sockets and logs appear.

    @param state  saved state to start from; None boots
    @param vnc_port  TCP port on the loopback for a live view
    @param detached  whether the machine outlives this process; if not, it dies with it
    @param spare  image of the third disk, SPARE_BYTES long, whose writes are logged
    """
    for name in (QMP_SOCKET, AGENT_SOCKET):
        remove(folder / name)
    (folder / SPARE_LOG).touch()
    argv = ["qemu-system-arm", "-blockdev", _spare_disk(spare),
            *devices(size, machine, app_disk), "-no-reboot", "-display", "none", "-serial",
            f"file:{SERIAL_LOG}", "-qmp", f"unix:{QMP_SOCKET},server=on,wait=off"]
    if state is not None:
        argv += ["-incoming", "exec:cat " + shlex.quote(str(state))]
    # Also without a viewer, its refreshing turns QEMU's main loop every three seconds. That bounds
    # the sleep of an idle board whose wake-up was missed, which counted instructions are known for.
    argv += ["-vnc", "none" if vnc_port is None else f"127.0.0.1:{vnc_port - VNC_BASE}"]
    if not detached:
        argv = ["setpriv", "--pdeathsig", "KILL", "--", *argv]
    with open(folder / QEMU_LOG, "wb") as log:
        # A session of its own: the terminal's Ctrl-C is for the one who drives the board.
        return subprocess.Popen(argv, cwd=folder, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                start_new_session=True,
                                env=dict(os.environ, PATH=programs.SEARCH_PATH))
