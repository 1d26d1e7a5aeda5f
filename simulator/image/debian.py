"""
Fetches the board's Debian packages, with apt and a private apt root in the cache.

Only the mirror and the proxies come from the host's apt configuration. Adding the
board's architecture to it would need root and fail on mirrors whose security suite lacks it.
"""

import hashlib
import os
import platform
import re
from dataclasses import dataclass
from pathlib import Path

from host import programs
from host.architecture import ARCH
from host.errors import BoardError
from host.files import fingerprint, locked, read_list, remove, whole
from host.paths import cache

SUITES = ("bookworm", "trixie")  # Debian 12 and 13
COMPONENT = "main"
KEYRING = Path("/usr/share/keyrings/debian-archive-keyring.gpg")


def suite() -> str:
    """Return the board's Debian release, which is that of the build host."""
    try:
        name = platform.freedesktop_os_release().get("VERSION_CODENAME", "")
    except OSError:
        name = ""
    if name not in SUITES:
        raise BoardError(f"this machine has neither Debian 12 nor 13: {name or 'no name'}")
    return name


def package_list(file: Path) -> list[str]:
    """Return the package names of a list; words after a name are the suites or the architectures
    that have it."""
    lines = [line.split() for line in read_list(file)]
    return [name for name, *only in lines if not only or {suite(), ARCH.name} & set(only)]


@dataclass(frozen=True)
class Mirror:
    """A mirror of the suite, and the keyring that verifies its index."""

    uri: str
    keyring: Path = KEYRING


def mirrors_of_list(text: str) -> list[Mirror]:
    """Return the mirrors of the suite from text in one-line format (sources.list)."""
    found = []
    for line in text.splitlines():
        match = re.match(r"\s*deb\s+(?:\[([^]]*)\]\s+)?(\S+)\s+(\S+)\s+([^#]*)", line)
        if match and match[3] == suite() and COMPONENT in match[4].split():
            signed = re.search(r"signed-by=(/[^\s,]+)", match[1] or "", re.IGNORECASE)
            found.append(Mirror(match[2], Path(signed[1]) if signed else KEYRING))
    return found


def mirrors_of_stanzas(text: str) -> list[Mirror]:
    """Return the mirrors of the suite from text in deb822 format (*.sources)."""
    found = []
    text = "\n".join(line for line in text.splitlines() if not line.startswith("#"))
    for stanza in re.split(r"\n\s*\n", text):
        # A line that starts with a space or tab continues the field.
        fields = {name.lower(): value.split() for name, value in
                  re.findall(r"^([\w-]+):((?:.*)(?:\n[ \t].*)*)", stanza, re.MULTILINE)}
        if (fields.get("enabled", ["yes"])[0].lower() in ("no", "false")
                or "deb" not in fields.get("types", [])
                or suite() not in fields.get("suites", [])
                or COMPONENT not in fields.get("components", [])):
            continue
        signed = (fields.get("signed-by") or [""])[0]
        keyring = Path(signed) if signed.startswith("/") else KEYRING
        found += [Mirror(uri, keyring) for uri in fields.get("uris", [])]
    return found


def find_mirror(etc: Path = Path("/etc/apt")) -> Mirror:
    """Return the mirror in CORVANTA_MIRROR, or else the host's own mirror for its release."""
    named = os.environ.get("CORVANTA_MIRROR")
    if named:
        return Mirror(named)
    found: list[Mirror] = []
    for file in [etc / "sources.list", *sorted((etc / "sources.list.d").glob("*"))]:
        if file.is_file() and file.suffix in (".list", ".sources"):
            parse = mirrors_of_stanzas if file.suffix == ".sources" else mirrors_of_list
            found += parse(file.read_text(encoding="utf-8", errors="replace"))
    if not found:
        raise BoardError(f"no mirror of Debian's {suite()} {COMPONENT} is in this host's apt "
                         f"sources ({etc}); name one: CORVANTA_MIRROR=http://.../debian")
    return found[0]


def acquire_settings() -> str:
    """Return the host's settings for apt's downloads (proxies, timeouts, certificates)."""
    dump = programs.run(["apt-config", "dump", "Acquire"],
                        "reading the host's apt settings").decode()
    lines = re.findall(r'^Acquire::(?:http|https|ftp)::?.* "[^"]+";$', dump, re.MULTILINE)
    return "\n".join(lines)


@dataclass(frozen=True)
class Package:
    """One line of a manifest: a package file as the mirror's signed index describes it."""

    algorithm: str
    digest: str
    size: int
    name: str

    def intact_in(self, folder: Path) -> bool:
        file = folder / self.name
        if not file.is_file() or file.stat().st_size != self.size:
            return False
        with open(file, "rb") as data:
            return hashlib.file_digest(data, self.algorithm).hexdigest() == self.digest


def manifest(wanted: list[str]) -> Path:
    """Return the cache file with the resolved package files of a list of packages."""
    return cache() / f"manifest-{fingerprint([suite(), ARCH.name, *wanted])[:16]}.txt"


class Archive:
    """Package files in the cache, with a manifest of the resolved files for each package list."""

    def __init__(self) -> None:
        self.folder = cache() / "packages"
        self.root = cache() / f"apt-{ARCH.name}"

    def fetch(self, wanted: list[str]) -> list[Path]:
        """
        Fetch these packages and their dependencies, unless they are in the cache.

        @return their package files, verified
        @raise BoardError when the download fails
        """
        with locked(cache() / "packages.lock"):
            packages = self._known(wanted)
            if packages is None or not all(p.intact_in(self.folder) for p in packages):
                packages = self._download(wanted)
        return [self.folder / p.name for p in packages]

    def _known(self, wanted: list[str]) -> list[Package] | None:
        try:
            lines = manifest(wanted).read_text(encoding="utf-8").splitlines()
            fields = [line.split() for line in lines]
            return [Package(kind, digest, int(size), name)
                    for kind, digest, size, name in fields] or None
        except (OSError, ValueError):
            return None

    def _download(self, wanted: list[str]) -> list[Package]:
        mirror = find_mirror()
        if not mirror.keyring.is_file():
            raise BoardError(f"{mirror.keyring} is missing; install the package "
                             "debian-archive-keyring")
        env = {"APT_CONFIG": str(self._apt_root(mirror))}
        install = ["apt-get", "-y", "install"]
        hint = f"fetching Debian packages from {mirror.uri} (network, proxy or mirror at fault?)"
        programs.run(["apt-get", "update", "-o", "APT::Update::Error-Mode=any"], hint, env=env)
        # apt omits files that its archives directory has, so name a directory without any.
        uris = programs.run(
            [*install, "-qq", "-o", f"Dir::Cache::archives={self.root}/none", "--print-uris",
             *wanted], hint, env=env).decode()
        packages = [Package(kind.removesuffix("Sum").lower(), digest, int(size), name)
                    for name, size, kind, digest in
                    re.findall(r"^'[^']+' (\S+) (\d+) (\w+):([0-9a-f]+)$", uris, re.MULTILINE)]
        # apt accepts a file of the right size without checking its digest.
        for package in packages:
            if not package.intact_in(self.folder):
                remove(self.folder / package.name)
        programs.run([*install, "-q", "--download-only", *wanted], hint, env=env)
        broken = [p.name for p in packages if not p.intact_in(self.folder)]
        if broken or not packages:
            raise BoardError(f"{hint}: damaged or missing: {', '.join(broken) or 'all of them'}")
        with whole(manifest(wanted)) as unfinished:
            unfinished.write_text("".join(
                f"{p.algorithm} {p.digest} {p.size} {p.name}\n" for p in packages))
        return packages

    def _apt_root(self, mirror: Mirror) -> Path:
        """Write an apt configuration without the host's packages. @return its file"""
        for folder in ("lists/partial", "etc/apt.conf.d", "etc/preferences.d", "log", "dpkg"):
            (self.root / folder).mkdir(parents=True, exist_ok=True)
        (self.folder / "partial").mkdir(parents=True, exist_ok=True)
        (self.root / "dpkg/status").write_text("")
        (self.root / "sources.list").write_text(
            f"deb [arch={ARCH.name} signed-by={mirror.keyring}] {mirror.uri} {suite()} {COMPONENT}\n")
        config = self.root / "apt.conf"
        config.write_text(f"""{acquire_settings()}
Acquire::Languages "none";
Acquire::Retries "3";
APT::Architecture "{ARCH.name}";
APT::Architectures {{ "{ARCH.name}"; }};
APT::Install-Recommends "false";
APT::Sandbox::User "";
Dir::Cache "{self.root}";
Dir::Cache::archives "{self.folder}";
Dir::Etc "{self.root}/etc";
Dir::Etc::sourcelist "{self.root}/sources.list";
Dir::Etc::trusted "/etc/apt/trusted.gpg";
Dir::Etc::trustedparts "/etc/apt/trusted.gpg.d";
Dir::Log "{self.root}/log";
Dir::State "{self.root}";
Dir::State::lists "{self.root}/lists";
Dir::State::status "{self.root}/dpkg/status";
""", encoding="utf-8")
        return config
