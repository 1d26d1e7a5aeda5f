"""Unpacks Debian packages into a directory without installing them."""

import re
import subprocess
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from host import programs

# Directories of /usr/share that no program on the board reads.
LEFT_OUT = ("doc", "man", "locale", "bug", "lintian", "info", "gdb", "bash-completion", "icons",
            "initramfs-tools", "perl", "perl5")


def unpack(packages: list[Path], into: Path) -> None:
    """
    Unpack package files into one tree without running their maintainer scripts.

    @raise BoardError with the name of the package that cannot be unpacked
    """
    for name in ("bin", "sbin", "lib"):
        (into / "usr" / name).mkdir(parents=True, exist_ok=True)
        # Debian 12 has merged these directories, but packages still ship files under both names.
        (into / name).symlink_to(f"usr/{name}")
    with ThreadPoolExecutor(2) as pool:
        try:
            for done in [pool.submit(_unpack_one, package, into) for package in packages]:
                done.result()
        finally:
            # After a failure or Ctrl-C, do not unpack the other packages.
            pool.shutdown(cancel_futures=True)


def _unpack_one(package: Path, into: Path) -> None:
    tar = ["tar", "-C", str(into), "-x", "--keep-directory-symlink", "--no-same-owner", "-p",
           *(f"--exclude=./usr/share/{name}" for name in LEFT_OUT)]
    with subprocess.Popen(["dpkg-deb", "--fsys-tarfile", str(package)],
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          env=programs.environment()) as source:
        done = subprocess.run(tar, stdin=source.stdout, capture_output=True, check=False,
                              env=programs.environment())
        _, said = source.communicate()
    if done.returncode or source.returncode:
        raise programs.failure(f"unpacking {package.name}", "tar",
                               done.returncode or source.returncode,
                               said + done.stderr)


def relative_links(folder: Path) -> None:
    """Make absolute links in a sysroot relative, so that the linker stays inside it."""
    for link in folder.rglob("*"):
        if link.is_symlink() and link.readlink().is_absolute():
            inside = re.sub(r"^/+", "", str(link.readlink()))
            up = "../" * (len(link.relative_to(folder).parts) - 1)
            link.unlink()
            link.symlink_to(up + inside)
