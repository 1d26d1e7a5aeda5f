"""Unpacking Debian packages into a folder, without installing them."""

import re
import subprocess
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from .host import BoardError

# Nothing on a board reads these.
LEFT_OUT = ("doc", "man", "locale", "bug", "lintian", "info", "gdb", "bash-completion", "icons",
            "initramfs-tools", "perl", "perl5")


def unpack(packages: list[Path], into: Path) -> None:
    """
    Unpack package files over each other; no maintainer script runs.

    @raise BoardError naming the package that cannot be unpacked
    """
    for name in ("bin", "sbin", "lib"):
        (into / "usr" / name).mkdir(parents=True, exist_ok=True)
        # Debian 12 has these merged: packages still ship files under both names.
        (into / name).symlink_to(f"usr/{name}")
    with ThreadPoolExecutor(2) as pool:
        for done in [pool.submit(_unpack_one, package, into) for package in packages]:
            done.result()


def _unpack_one(package: Path, into: Path) -> None:
    tar = ["tar", "-C", str(into), "-x", "--keep-directory-symlink", "--no-same-owner", "-p",
           *(f"--exclude=./usr/share/{name}" for name in LEFT_OUT)]
    with subprocess.Popen(["dpkg-deb", "--fsys-tarfile", str(package)],
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE) as source:
        done = subprocess.run(tar, stdin=source.stdout, capture_output=True, check=False)
        _, said = source.communicate()
    if done.returncode or source.returncode:
        text = (said + done.stderr).decode(errors="replace").strip()
        raise BoardError(f"{package.name} cannot be unpacked: {text}")


def relative_links(folder: Path) -> None:
    """Point absolute links below a folder into that folder: a linker follows them from outside."""
    for link in folder.rglob("*"):
        if link.is_symlink() and link.readlink().is_absolute():
            inside = re.sub(r"^/+", "", str(link.readlink()))
            up = "../" * (len(link.relative_to(folder).parts) - 1)
            link.unlink()
            link.symlink_to(up + inside)
