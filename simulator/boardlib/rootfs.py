"""The board's disk image, initial RAM file system and kernel, out of Debian packages."""

from pathlib import Path

from . import host
from .paths import FONT_CONFIGURATION, GUEST, HEADERS, IMAGE_DATA, SIMULATOR
from .unpack import unpack

IMAGE_SIZE = "400M"
KERNEL = "kernel"
INITRAMFS = "initramfs.cpio"
ROOT_IMAGE = "root.ext4"

# Maintainer scripts, which do not run, and git, which keeps no empty folders, would have made them.
FOLDERS = ("app", "dev", "etc/ppp/chat", "etc/ppp/peers", "mnt", "proc", "quenfold/configs",
           "root", "run", "sys", "tmp", "var/cache/fontconfig", "var/log")
LINKS = {"etc/mtab": "/proc/mounts", "usr/bin/awk": "gawk", "usr/bin/sh": "dash",
         "var/run": "/run", "var/lock": "/run/lock"}
# The image's own programs: the saved machine states have them running.
PROGRAMS = {"touchd": "touch/touchd.cpp", "board-agent": "agent/board_agent.cpp"}
EMPTY_FILES = ("etc/fstab", "etc/machine-id", "etc/resolv.conf")


def inputs() -> list[str | Path]:
    """What the image depends on besides its packages, for a fingerprint."""
    here = Path(__file__)
    return [here, here.with_name("unpack.py"), IMAGE_DATA, GUEST, FONT_CONFIGURATION,
            HEADERS / "io/filedescriptor.h", IMAGE_SIZE,
            *(SIMULATOR / source for source in PROGRAMS.values())]


def build(packages: list[Path], initramfs_packages: list[Path], sysroot: Path, into: Path) -> None:
    """Make the three files of the machine in a folder; `into` is also used for the work on them."""
    root = into / "root"
    unpack(packages, root)
    kernel = next((root / "boot").glob("vmlinuz-*"))
    version = kernel.name.removeprefix("vmlinuz-")
    _build_initramfs(root, version, initramfs_packages, into)
    kernel.rename(into / KERNEL)
    _prune(root)
    _keep_modules(root, version)
    _configure(root, sysroot)
    make_ext4(root, into / ROOT_IMAGE, IMAGE_SIZE)
    host.remove(root)


def _module_files(root: Path, version: str, names: list[str]) -> list[Path]:
    """Files of kernel modules and of what they depend on, in the order of loading."""
    files: list[Path] = []
    for name in names:
        out = host.run(["modprobe", "-d", root, "-S", version, "--show-depends", name],
                       f"looking for the kernel module {name}").decode()
        for line in out.splitlines():
            kind, _, file = line.strip().partition(" ")
            if kind == "insmod" and Path(file) not in files:
                files.append(Path(file))
    return files


def _build_initramfs(root: Path, version: str, packages: list[Path], into: Path) -> None:
    tree = into / "initramfs"
    unpack(packages, tree)
    for name in ("changes", "dev", "image", "lib/modules", "proc", "sys", "system"):
        (tree / name).mkdir(parents=True, exist_ok=True)
    host.run(["depmod", "-b", root, version], "indexing the kernel's modules")
    modules = _module_files(root, version, host.read_list("initramfs-modules.txt"))
    for module in modules:
        (tree / "lib/modules" / module.name).write_bytes(module.read_bytes())
    (tree / "modules").write_text("".join(f"{module.name}\n" for module in modules))
    init = tree / "init"
    init.write_bytes((IMAGE_DATA / "initramfs-init").read_bytes())
    init.chmod(0o755)
    for name in ("usr/share", "etc"):
        host.remove(tree / name)
    names = "\n".join(str(p.relative_to(tree)) for p in sorted(tree.rglob("*"))).encode()
    (into / INITRAMFS).write_bytes(
        host.run(["cpio", "-o", "-H", "newc", "--quiet", "--owner", "0:0"],
                 "packing the initial RAM file system", stdin=names, cwd=tree))
    host.remove(tree)


def _prune(root: Path) -> None:
    for pattern in host.read_list("prune.txt"):
        for found in list(root.glob(pattern)):
            host.remove(found)


def _keep_modules(root: Path, version: str) -> None:
    folder = root / "usr/lib/modules" / version
    wanted = _module_files(root, version, host.read_list("modules.txt"))
    kept = {file.resolve() for file in wanted}
    for file in folder.rglob("*.ko*"):
        if file.resolve() not in kept:
            file.unlink()
    host.run(["depmod", "-b", root, version], "indexing the kernel's modules")


def _configure(root: Path, sysroot: Path) -> None:
    """What maintainer scripts would have done, and the board's own files."""
    for name in FOLDERS:
        (root / name).mkdir(parents=True, exist_ok=True)
    for name, target in LINKS.items():
        host.remove(root / name)
        (root / name).symlink_to(target)
    for name in EMPTY_FILES:
        (root / name).write_text("")
    for source in sorted(GUEST.rglob("*")):
        target = root / source.relative_to(GUEST)
        if source.is_file():
            target.parent.mkdir(parents=True, exist_ok=True)
            host.remove(target)
            target.write_bytes(source.read_bytes())
            target.chmod(0o755 if source.stat().st_mode & 0o100 else 0o644)
    (root / "etc/fonts/conf.d" / FONT_CONFIGURATION.name).write_bytes(
        FONT_CONFIGURATION.read_bytes())
    # The network's pppd goes by another name: the panel's "killall pppd" must never reach it.
    network_pppd = root / "usr/sbin/netpppd"
    network_pppd.write_bytes((root / "usr/sbin/pppd").read_bytes())
    network_pppd.chmod(0o755)
    for name, source in PROGRAMS.items():
        host.run(["arm-linux-gnueabihf-g++", f"--sysroot={sysroot}", "-std=c++17", "-O2",
                  "-I", HEADERS, "-o", root / "usr/sbin" / name, SIMULATOR / source],
                 f"compiling the board's {name}")
    for folder in [root, *(p for p in root.rglob("*") if p.is_dir() and not p.is_symlink())]:
        folder.chmod(0o755)
    (root / "tmp").chmod(0o1777)


def make_ext4(tree: Path, image: Path, size: str) -> None:
    """An ext4 image of a folder, all of it root's; the size as truncate spells it."""
    host.run(["truncate", "-s", size, image], "making a disk image")
    host.run(["fakeroot", "--", "mke2fs", "-q", "-F", "-t", "ext4", "-O", "^has_journal",
              "-m", "0", "-d", tree, image], "filling a disk image")
