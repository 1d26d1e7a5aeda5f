"""
Unpacks the board's Debian packages, with mmdebstrap, into directories of the cache.

Only the mirror and the settings for downloads come from the host's apt configuration. Adding the
board's architecture to it would need root and fail on mirrors whose security suite lacks it.
"""

import os
import platform
import re
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from host import programs
from host.architecture import ARCH
from host.errors import BoardError
from host.files import fingerprint, locked, read_list, remove, whole
from host.paths import IMAGE_DATA, cache

SUITES = ("bookworm", "trixie")  # Debian 12 and 13
COMPONENT = "main"
ARCHIVES = "var/cache/apt/archives"
# Globs of files that mmdebstrap makes for apt, or copies from the host.
LEFT_BEHIND = ("dev/*", "etc/apt", "etc/fstab", "etc/hostname", "etc/resolv.conf", "tmp/*",
               "var/cache/apt", "var/lib/apt", "var/lib/dpkg/arch", "var/log/apt")
PRUNED = IMAGE_DATA / "prune.txt"
# Debian 12 has merged these directories, but packages still ship files under both names.
MERGE_USR = 'cd "$1" && mkdir -p usr/bin usr/sbin usr/lib && ln -s usr/bin usr/sbin usr/lib .'


def suite() -> str:
    """Return the board's Debian release, which is that of the build host."""
    try:
        name = platform.freedesktop_os_release().get("VERSION_CODENAME", "")
    except OSError:
        name = ""
    if name not in SUITES:
        raise BoardError(f"this machine has neither Debian 12 nor 13: {name or 'no name'}")
    return name


def _wanted(kind: str) -> list[str]:
    """Return the package names of a list; words after a name are the suites or the architectures
    that have it."""
    lines = [line.split() for line in read_list(IMAGE_DATA / f"{kind}-packages.txt")]
    return [name for name, *only in lines if not only or {suite(), ARCH.name} & set(only)]


def find_mirror() -> str:
    """Return the mirror in CORVANTA_MIRROR, or else the host's own mirror for its release."""
    if named := os.environ.get("CORVANTA_MIRROR"):
        return named
    found = programs.run(
        ["apt-get", "indextargets", "--no-release-info", "--format=$(REPO_URI)",
         "Created-By: Packages", f"Release: {suite()}", f"Component: {COMPONENT}"],
        "reading the host's apt sources")
    if not found:
        raise BoardError(f"no mirror of Debian's {suite()} {COMPONENT} is in this host's apt "
                         "sources; name one: CORVANTA_MIRROR=http://.../debian")
    return found.decode().split()[0]


def acquire_settings() -> str:
    """Return the host's settings for apt's downloads (proxies, timeouts, certificates)."""
    dump = programs.run(["apt-config", "dump", "Acquire"],
                        "reading the host's apt settings").decode()
    lines = re.findall(r'^Acquire::(?:http|https|ftp)::?.* "[^"]+";$', dump, re.MULTILINE)
    return "\n".join(lines)


def directory(kind: str) -> Path:
    """
    Return the directory of unpacked(kind), which need not exist.

    Its name changes with the list of packages and with the way in which they are unpacked.

    @param kind  the list, as in image/data/KIND-packages.txt
    """
    key = fingerprint([suite(), *_wanted(kind), PRUNED, Path(__file__)])
    return cache() / f"{kind}-{ARCH.name}-{key[:16]}"


def unpacked(kind: str, for_host: bool = False) -> Path:
    """
    Return a directory with the packages of a list and with all that they depend on.

    They are recorded in its dpkg database; their maintainer scripts do not run.

    @param kind  as in directory()
    @param for_host  true when programs of the host use the directory where it is: its links become
           relative, and the database has its files' paths on the host
    @raise BoardError when the download fails
    """
    tree = directory(kind)
    with locked(tree.with_name(f"{kind}-{ARCH.name}.lock")):
        if not tree.is_dir():
            with whole(tree) as unfinished:
                _unpack(_wanted(kind), unfinished)
                _record_all(unfinished, str(tree) if for_host else "")
                for pattern in (*LEFT_BEHIND, *read_list(PRUNED)):
                    for path in unfinished.glob(pattern):
                        remove(path)
                if for_host:
                    _make_links_relative(unfinished)
    return tree


def _unpack(wanted: list[str], into: Path) -> None:
    mirror = find_mirror()
    with tempfile.NamedTemporaryFile("w", suffix=".conf") as config:
        config.write(f'{acquire_settings()}\nAcquire::Retries "3";\n')
        config.flush()
        # Extracting runs no program of the board, so neither root nor an emulator is needed.
        programs.run(["mmdebstrap", "--quiet", "--mode=chrootless", "--variant=extract",
                      f"--architectures={ARCH.name}", f"--aptopt={config.name}",
                      f"--include={','.join(wanted)}", f"--setup-hook={MERGE_USR}",
                      "--skip=cleanup,check/chrootless", suite(), into,
                      f"deb {mirror} {suite()} {COMPONENT}"],
                     f"fetching Debian packages from {mirror} (network, proxy or mirror at fault?)")


def _make_links_relative(tree: Path) -> None:
    """Make absolute links relative, so that the linker does not leave the directory."""
    for link in tree.rglob("*"):
        if link.is_symlink() and link.readlink().is_absolute():
            up = "../" * (len(link.relative_to(tree).parts) - 1)
            target = up + str(link.readlink()).lstrip("/")
            link.unlink()
            link.symlink_to(target)


def _record_all(root: Path, prefix: str) -> None:
    """Record packages as installed in the dpkg database of the directory that has their files."""
    packages = sorted((root / ARCHIVES).glob("*.deb"))
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        stanzas = pool.map(lambda package: _record(package, root, prefix), packages)
        (root / "var/lib/dpkg/status").write_text("\n".join(stanzas), encoding="utf-8")
    (root / "var/lib/dpkg/info/format").write_text("1\n")


def _record(package: Path, root: Path, prefix: str) -> str:
    """Write a package's files of the database. @return its stanza of the status file"""
    def ask(*question: str | Path) -> str:
        return programs.run(["dpkg-deb", *question], f"reading {package.name}").decode()

    info = root / "var/lib/dpkg/info"
    with tempfile.TemporaryDirectory() as extracted:
        ask("--control", package, extracted)
        control = Path(extracted, "control").read_text(encoding="utf-8").rstrip() + "\n"
        fields = dict(re.findall(r"^(\S+): (.*)$", control, re.MULTILINE))
        name = fields["Package"]
        if fields.get("Multi-Arch") == "same":
            name += f":{fields['Architecture']}"
        for kind in ("shlibs", "symbols"):  # dpkg-shlibdeps reads them
            if (kept := Path(extracted, kind)).is_file():
                (info / f"{name}.{kind}").write_bytes(kept.read_bytes())
    # Paths from the sixth column on, with /bin, /sbin and /lib moved below /usr.
    paths = re.findall(r"^(?:\S+ +){5}\.(/.*?)/?(?: -> .*| link to .*)?$",
                       ask("--contents", package), re.MULTILINE)
    (info / f"{name}.list").write_text("/.\n" + "".join(
        prefix + re.sub(r"^/(bin|sbin|lib)/", r"/usr/\1/", path) + "\n"
        for path in paths if path != "/"),
        encoding="utf-8")
    return control.replace("\n", "\nStatus: install ok installed\n", 1)
