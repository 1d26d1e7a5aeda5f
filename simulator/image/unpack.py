"""Unpacking Debian packages into a folder, without installing them."""

import re
import subprocess
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from host import programs

# Nothing on a board reads these.
LEFT_OUT = ("doc", "man", "locale", "bug", "lintian", "info", "gdb", "bash-completion", "icons",
            "initramfs-tools", "perl", "perl5")


def unpack(packages: list[Path], into: Path) -> None:
    """
    Unpack package files over each other; no maintainer script runs.

    @raise BoardError with the name of the package that cannot be unpacked
    """
    for name in ("bin", "sbin", "lib"):
        (into / "usr" / name).mkdir(parents=True, exist_ok=True)
        # Debian 12 has merged these folders, but packages still ship files under both names.
        (into / name).symlink_to(f"usr/{name}")
    with ThreadPoolExecutor(2) as pool:
        try:
            for done in [pool.submit(_unpack_one, package, into) for package in packages]:
                done.result()
        finally:
            # After a failure or Ctrl-C nobody waits for the other packages.
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
    """Make absolute links below a folder relative: a linker follows them from outside."""
    for link in folder.rglob("*"):
        if link.is_symlink() and link.readlink().is_absolute():
            inside = re.sub(r"^/+", "", str(link.readlink()))
            up = "../" * (len(link.relative_to(folder).parts) - 1)
            link.unlink()
            link.symlink_to(up + inside)
