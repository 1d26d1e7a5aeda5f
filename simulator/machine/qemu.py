"""The emulated machine: an ARM board with panel, touch screen, keyboard and three disks."""

import os
import shlex
import subprocess
from pathlib import Path

from host import programs
from host.architecture import ARCH
from image.rootfs import INITRAMFS, KERNEL, ROOT_IMAGE

QMP_SOCKET = "qmp.sock"
AGENT_SOCKET = "agent.sock"
SERIAL_LOG = "serial.log"
QEMU_LOG = "qemu.log"
VNC_BASE = 5900
SPARE_BYTES = 12 << 20  # size of the third disk, /dev/vdc; all zeros unless start() gets an image
SPARE_LOG = "spare.log"  # writes and flushes of the third disk, in the format of blklogwrites
# Turn off protections that are slow on an emulated CPU. Address randomisation costs most, because
# QEMU translates code at a random address again in each process.
PROTECTIONS_OFF = ("mitigations=off", "init_on_alloc=0", "hardened_usercopy=off", "audit=0",
                   "apparmor=0", "norandmaps")
# While the dongle's port is open, its host controller's timer fires every 125 us and would keep a
# core of the host busy. Without high-resolution timers it follows the kernel's 4 ms tick.
COARSE_TIMERS = "highres=off"
KERNEL_OPTIONS = ("console=ttyAMA0", "quiet", "loglevel=4", "net.ifnames=0", COARSE_TIMERS,
                  *PROTECTIONS_OFF)


def devices(size: tuple[int, int], machine: Path, app_disk: Path) -> list[str]:
    """
    Return the emulator and its options for the machine's devices.

    A saved state fits exactly these devices; start() adds the options that differ between runs.
    """
    width, height = size
    return [
        *ARCH.qemu, "-accel", "tcg,thread=single,tb-size=256", "-smp", "1", "-m", "256",
        "-nodefaults",
        # The board's clock counts its instructions. On a busy host it slows down with the board, so
        # that the board can do the same work within the 15 s of a dial-up on every host.
        "-icount", "shift=3,sleep=on,align=off",
        "-kernel", str(machine / KERNEL), "-initrd", str(machine / INITRAMFS),
        "-append", " ".join(KERNEL_OPTIONS),
        "-drive", f"if=none,id=root,format=raw,readonly=on,file={machine / ROOT_IMAGE}",
        "-device", "virtio-blk-pci,drive=root",
        "-drive", f"if=none,id=app,format=raw,readonly=on,file={app_disk}",
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
            f"file.driver=file,file.filename={image},"
            f"log.driver=file,log.filename={SPARE_LOG}")


def start(size: tuple[int, int], directory: Path, machine: Path, app_disk: Path, *,
          state: Path | None = None, vnc_port: int | None = None,
          detached: bool = False, spare: Path | None = None) -> subprocess.Popen[bytes]:
    """
    Start a machine in a run's directory, which gets its sockets and logs.

    @param state  saved state to start from; None boots
    @param vnc_port  TCP port on the loopback for a live view
    @param detached  true when the machine outlives this process; otherwise it is killed with it
    @param spare  image of the third disk, SPARE_BYTES long, whose writes are logged
    """
    (directory / SPARE_LOG).touch()
    argv = [*devices(size, machine, app_disk), "-blockdev", _spare_disk(spare), "-no-reboot",
            "-display", "none", "-serial", f"file:{SERIAL_LOG}",
            "-qmp", f"unix:{QMP_SOCKET},server=on,wait=off"]
    if state is not None:
        argv += ["-incoming", "exec:cat " + shlex.quote(str(state))]
    # VNC's refresh timer runs QEMU's main loop every 3 s, even without a viewer. This limits the
    # sleep of an idle board after a missed wakeup, a known problem of -icount.
    argv += ["-vnc", "none" if vnc_port is None else f"127.0.0.1:{vnc_port - VNC_BASE}"]
    if not detached:
        argv = ["setpriv", "--pdeathsig", "KILL", "--", *argv]
    with open(directory / QEMU_LOG, "wb") as log:
        # Start a new session, so that Ctrl-C in the terminal does not reach QEMU.
        return subprocess.Popen(argv, cwd=directory, stdin=subprocess.DEVNULL, stdout=log,
                                stderr=log, start_new_session=True,
                                env=dict(os.environ, PATH=programs.SEARCH_PATH))
