"""Makes the board's disk image, initial RAM file system and kernel from Debian packages."""

import re
from pathlib import Path

from host import programs
from host.files import read_list, remove
from host.paths import ARM, GUEST, IMAGE_DATA
from image import debian, ext4

IMAGE_SIZE = "400M"
KERNEL = "kernel"
INITRAMFS = "initramfs.cpio"
ROOT_IMAGE = "root.ext4"
BUSYBOX = "usr/bin/busybox"  # the only program of the initial RAM file system

# Debian's maintainer scripts, which would create these directories, do not run, and git cannot
# store empty ones. dpkg installs the program's own package on the running board.
DIRECTORIES = ("app", "dev", "etc/ppp/peers", "mnt", "proc", "root", "run", "sys", "tmp",
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
# Programs of the cross build that are running in the saved machine states.
PROGRAMS = (ARM / "simulator/touchd", ARM / "simulator/board-agent")


def inputs() -> list[str | Path]:
    """Return all that the image is made of, for a fingerprint."""
    here = Path(__file__)
    return [here, here.with_name("ext4.py"), IMAGE_DATA, GUEST, debian.directory("board").name,
            *PROGRAMS]


def build(into: Path) -> None:
    """
    Make the machine's three files: KERNEL, INITRAMFS and ROOT_IMAGE.

    @param into  directory for these files and for intermediate ones
    """
    root = into / "root"
    programs.run(["cp", "-a", "--reflink=auto", debian.unpacked("board"), root],
                 "copying the unpacked packages")
    kernel = next((root / "boot").glob("vmlinuz-*"))
    version = kernel.name.removeprefix("vmlinuz-")
    kernel.rename(into / KERNEL)
    programs.run(["depmod", "-b", root, version], "indexing the kernel's modules")
    _build_initramfs(root, version, into)
    _keep_modules(root, version)
    _configure(root)
    ext4.make(root, into / ROOT_IMAGE, IMAGE_SIZE)
    remove(root)


def _module_files(root: Path, version: str, names: list[str]) -> list[Path]:
    """Return the files of kernel modules and of their dependencies, in loading order."""
    said = programs.run(["modprobe", "-d", root, "-S", version, "--show-depends", "-a", *names],
                        "looking for kernel modules").decode()
    files = re.findall(r"^insmod (.+\.ko\S*)", said, re.MULTILINE)
    return [Path(file) for file in dict.fromkeys(files)]


def _build_initramfs(root: Path, version: str, into: Path) -> None:
    tree = into / "initramfs"
    contents = {IMAGE_DATA / "initramfs-init": "init", root / BUSYBOX: "bin/busybox"}
    modules = _module_files(root, version, read_list(IMAGE_DATA / "initramfs-modules.txt"))
    contents |= {module: f"lib/modules/{module.name}" for module in modules}
    for source, target in contents.items():
        programs.run(["install", "-D", "-m", "755", source, tree / target],
                     f"copying {source.name}")
    (tree / "modules").write_text("".join(f"{module.name}\n" for module in modules))
    names = "\n".join(str(p.relative_to(tree)) for p in sorted(tree.rglob("*"))).encode()
    (into / INITRAMFS).write_bytes(
        programs.run(["cpio", "-o", "-H", "newc", "--quiet", "--owner", "0:0"],
                     "packing the initial RAM file system", stdin=names, cwd=tree))
    remove(tree)


def _keep_modules(root: Path, version: str) -> None:
    wanted = _module_files(root, version, read_list(IMAGE_DATA / "modules.txt"))
    kept = {file.resolve() for file in wanted}
    for file in (root / "usr/lib/modules" / version).rglob("*.ko*"):
        if file.resolve() not in kept:
            file.unlink()
    programs.run(["depmod", "-b", root, version], "indexing the kernel's modules")


def _configure(root: Path) -> None:
    """Do the work of the maintainer scripts and add the board's own files."""
    for name in DIRECTORIES:
        (root / name).mkdir(parents=True, exist_ok=True)
        (root / name).chmod(0o1777 if name == "tmp" else 0o755)
    for name, destination in LINKS.items():
        remove(root / name)
        (root / name).parent.mkdir(parents=True, exist_ok=True)
        (root / name).symlink_to(destination)
    own = root.with_name("guest")
    programs.run(["sh", "-c", 'cp -R "$1" "$2" && chmod -R u=rwX,go=rX "$2" && '
                  'cp -a --remove-destination "$2/." "$3"', "sh", GUEST, own, root],
                 "adding the board's own files")
    remove(own)
    # The simulated network's pppd has another name, so that "killall pppd" does not kill it.
    programs.run(["cp", root / "usr/sbin/pppd", root / "usr/sbin/netpppd"], "copying pppd")
    programs.run(["cp", *PROGRAMS, root / "usr/sbin"], "adding the programs of tools/build-board")
