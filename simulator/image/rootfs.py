"""Makes the board's disk image, initial RAM file system and kernel from Debian packages."""

import re
from pathlib import Path

from host import programs
from host.architecture import ARCH
from host.files import read_list, remove
from host.paths import GUEST, IMAGE_DATA, ROOT, SIMULATOR
from image import database, ext4
from image.unpack import unpack

IMAGE_SIZE = "400M"
KERNEL = "kernel"
INITRAMFS = "initramfs.cpio"
ROOT_IMAGE = "root.ext4"

# Debian's maintainer scripts, which would create these directories, do not run, and git cannot
# store empty ones. dpkg installs the program's own package on the running board.
FOLDERS = ("app", "dev", "etc/ppp/peers", "mnt", "proc", "root", "run", "sys", "tmp",
           "var/cache/fontconfig", "var/lib/dpkg/alternatives", "var/log")
UNITS = "/lib/systemd/system"
LINKS = {"etc/mtab": "/proc/mounts", "usr/bin/awk": "gawk", "usr/bin/sh": "dash",
         "var/run": "/run", "var/lock": "/run/lock",
         "etc/systemd/system/default.target": f"{UNITS}/multi-user.target",
         "etc/systemd/system/getty.target.wants/getty@tty1.service": f"{UNITS}/getty@.service",
         "etc/systemd/system/sysinit.target.wants/board-agent.service":
             "/etc/systemd/system/board-agent.service",
         # Masked: the board has no message bus, and no operator at a console.
         **{f"etc/systemd/system/{unit}.service": "/dev/null" for unit in
            ("systemd-logind", "getty-static", "serial-getty@ttyAMA0")}}
# Programs of the image; they are running in the saved machine states.
PROGRAMS = {"touchd": "programs/touch/touchd.cpp", "board-agent": "programs/agent/boardagent.cpp"}
EMPTY_FILES = ("etc/fstab", "etc/machine-id", "etc/resolv.conf")


def inputs() -> list[str | Path]:
    """Return the image's inputs other than its packages, for a fingerprint."""
    here = Path(__file__)
    return [here, here.with_name("ext4.py"), here.with_name("unpack.py"),
            here.with_name("database.py"), IMAGE_DATA, GUEST, IMAGE_SIZE,
            *(file for source in PROGRAMS.values() for file in _with_includes(SIMULATOR / source))]


def _with_includes(source: Path) -> list[Path]:
    """Return a C++ file and the project's headers that it includes, directly or indirectly."""
    found = [source]
    for file in found:
        names = re.findall(r'^#include "(.+)"', file.read_text(encoding="utf-8"), re.MULTILINE)
        found += [header for header in (ROOT / name for name in names) if header not in found]
    return found


def build(packages: list[Path], initramfs_packages: list[Path], sysroot: Path, into: Path) -> None:
    """
    Make the machine's three files: KERNEL, INITRAMFS and ROOT_IMAGE.

    @param into  directory for these files and for intermediate ones
    """
    root = into / "root"
    unpack(packages, root)
    kernel = next((root / "boot").glob("vmlinuz-*"))
    version = kernel.name.removeprefix("vmlinuz-")
    _build_initramfs(root, version, initramfs_packages, into)
    kernel.rename(into / KERNEL)
    _prune(root)
    _keep_modules(root, version)
    _configure(root, sysroot)
    database.write(packages, root)
    ext4.make(root, into / ROOT_IMAGE, IMAGE_SIZE)
    remove(root)


def _module_files(root: Path, version: str, names: list[str]) -> list[Path]:
    """Return the files of kernel modules and of their dependencies, in loading order."""
    files: list[Path] = []
    for name in names:
        out = programs.run(["modprobe", "-d", root, "-S", version, "--show-depends", name],
                           f"looking for the kernel module {name}").decode()
        for line in out.splitlines():
            kind, _, file = line.strip().partition(" ")
            if kind == "insmod" and Path(file) not in files:
                files.append(Path(file))
    return files


def _build_initramfs(root: Path, version: str, packages: list[Path], into: Path) -> None:
    tree = into / "initramfs"
    unpack(packages, tree)
    for name in ("changes", "dev", "image", "lib/modules", "mnt", "proc", "sys", "system"):
        (tree / name).mkdir(parents=True, exist_ok=True)
    programs.run(["depmod", "-b", root, version], "indexing the kernel's modules")
    modules = _module_files(root, version, read_list(IMAGE_DATA / "initramfs-modules.txt"))
    for module in modules:
        (tree / "lib/modules" / module.name).write_bytes(module.read_bytes())
    (tree / "modules").write_text("".join(f"{module.name}\n" for module in modules))
    init = tree / "init"
    init.write_bytes((IMAGE_DATA / "initramfs-init").read_bytes())
    init.chmod(0o755)
    for name in ("usr/share", "etc"):
        remove(tree / name)
    names = "\n".join(str(p.relative_to(tree)) for p in sorted(tree.rglob("*"))).encode()
    (into / INITRAMFS).write_bytes(
        programs.run(["cpio", "-o", "-H", "newc", "--quiet", "--owner", "0:0"],
                     "packing the initial RAM file system", stdin=names, cwd=tree))
    remove(tree)


def _prune(root: Path) -> None:
    for pattern in read_list(IMAGE_DATA / "prune.txt"):
        for found in list(root.glob(pattern)):
            remove(found)


def _keep_modules(root: Path, version: str) -> None:
    folder = root / "usr/lib/modules" / version
    wanted = _module_files(root, version, read_list(IMAGE_DATA / "modules.txt"))
    kept = {file.resolve() for file in wanted}
    for file in folder.rglob("*.ko*"):
        if file.resolve() not in kept:
            file.unlink()
    programs.run(["depmod", "-b", root, version], "indexing the kernel's modules")


def _configure(root: Path, sysroot: Path) -> None:
    """Do the work of the maintainer scripts and add the board's own files."""
    for name in FOLDERS:
        (root / name).mkdir(parents=True, exist_ok=True)
    for name, destination in LINKS.items():
        remove(root / name)
        (root / name).parent.mkdir(parents=True, exist_ok=True)
        (root / name).symlink_to(destination)
    for name in EMPTY_FILES:
        (root / name).write_text("")
    for file in sorted(GUEST.rglob("*")):
        target = root / file.relative_to(GUEST)
        if file.is_file():
            target.parent.mkdir(parents=True, exist_ok=True)
            remove(target)
            target.write_bytes(file.read_bytes())
            target.chmod(0o755 if file.stat().st_mode & 0o100 else 0o644)
    _add_programs(root, sysroot)
    for folder in [root, *(p for p in root.rglob("*") if p.is_dir() and not p.is_symlink())]:
        folder.chmod(0o755)
    (root / "tmp").chmod(0o1777)


def _add_programs(root: Path, sysroot: Path) -> None:
    # The simulated network's pppd has another name, so that "killall pppd" does not kill it.
    network_pppd = root / "usr/sbin/netpppd"
    network_pppd.write_bytes((root / "usr/sbin/pppd").read_bytes())
    network_pppd.chmod(0o755)
    for name, source in PROGRAMS.items():
        programs.run([f"{ARCH.triplet}-g++", f"--sysroot={sysroot}", "-std=c++17", "-O2",
                      "-I", ROOT, "-o", root / "usr/sbin" / name, SIMULATOR / source],
                     f"compiling the board's {name}")
