"""Writes the dpkg database for packages that were unpacked without dpkg."""

import re
import tempfile
from pathlib import Path

from host import programs

STATUS = "Status: install ok installed\n"
KEPT = ("shlibs", "symbols")  # control files that other tools read from the database


def write(packages: list[Path], root: Path, folder: Path | None = None) -> None:
    """
    Record packages as installed in the dpkg database.

    @param root  directory in which they were unpacked
    @param folder  prefix of the file paths in the records; None for the board's own root file
           system
    """
    info = root / "var/lib/dpkg/info"
    info.mkdir(parents=True, exist_ok=True)
    for name in ("alternatives", "parts", "triggers", "updates"):
        (root / "var/lib/dpkg" / name).mkdir(exist_ok=True)
    (info / "format").write_text("1\n")
    (root / "var/lib/dpkg/available").write_text("")
    stanzas = [_record(package, info, str(folder or "")) for package in packages]
    (root / "var/lib/dpkg/status").write_text("\n".join(stanzas), encoding="utf-8")


def _record(package: Path, info: Path, before: str) -> str:
    """Write a package's files of the database. @return its stanza of the status file"""
    with tempfile.TemporaryDirectory() as folder:
        programs.run(["dpkg-deb", "--control", package, folder], f"reading {package.name}")
        control = Path(folder, "control").read_text(encoding="utf-8").rstrip() + "\n"
        fields = dict(re.findall(r"^(\S+): (.*)$", control, re.MULTILINE))
        name = fields["Package"]
        if fields.get("Multi-Arch") == "same":
            name += f":{fields['Architecture']}"
        for kind in KEPT:
            if (kept := Path(folder, kind)).is_file():
                (info / f"{name}.{kind}").write_bytes(kept.read_bytes())
    contents = programs.run(["dpkg-deb", "--contents", package], f"reading {package.name}").decode()
    (info / f"{name}.list").write_text("/.\n" + "".join(
        f"{before}{path}\n" for path in _paths(contents)), encoding="utf-8")
    return re.sub(r"^(Package: .*\n)", rf"\1{STATUS}", control, count=1)


def _paths(contents: str) -> list[str]:
    """Return the absolute paths of a listing, with /bin, /sbin and /lib moved below /usr."""
    paths = [line.split(None, 5)[5].split(" -> ")[0].split(" link to ")[0].rstrip("/")[1:]
             for line in contents.splitlines()]
    return [re.sub(r"^/(bin|sbin|lib)/", r"/usr/\1/", path) for path in paths if path]
