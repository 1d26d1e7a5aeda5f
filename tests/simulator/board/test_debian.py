"""The mirror of Debian's packages, failed downloads, and the cache of unpacked packages."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path
from unittest import mock

from host import programs
from host.errors import BoardError
from image import debian

SUITE = debian.suite()
SOURCES = {
    "one.list": f"deb-src http://src/debian {SUITE} main\n"
                f"# deb http://comment/debian {SUITE} main\n"
                f"deb http://security/debian {SUITE}-security main\n"
                f"deb http://contrib/debian {SUITE} contrib\n"
                f"deb [arch=amd64] http://list/debian {SUITE} contrib main",
    "two.sources": f"Enabled: no\nTypes: deb\nURIs: http://disabled\nSuites: {SUITE}\n"
                   "Components: main\n\n"
                   f"Types: deb deb-src\nURIs:\n http://stanza/debian\nSuites: {SUITE}-updates "
                   f"{SUITE}\nComponents: main"}
# Stand-in for mmdebstrap: makes a package, or fails as apt does if the file "down" exists.
MMDEBSTRAP = """#!/bin/bash
[[ ! -e $MIRROR/down ]] || { echo "E: the mirror is down" >&2; exit 25; }
root=${*: -2:1}
mkdir -p "$root"/{DEBIAN,usr/bin,usr/share/doc,var/lib/dpkg/info,var/cache/apt/archives}
printf 'Package: a\\nVersion: 1\\nArchitecture: all\\nMaintainer: b\\nDescription: c\\n' \
    >"$root/DEBIAN/control"
touch "$root/usr/bin/a"
dpkg-deb --build "$root" "$MIRROR/a.deb" >&2
rm -r "$root/DEBIAN"
cp "$MIRROR/a.deb" "$root/var/cache/apt/archives"
"""


class Debian(unittest.TestCase):
    def setUp(self) -> None:
        self.directory = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.enterContext(mock.patch.dict(os.environ, CORVANTA_CACHE=str(self.directory / "cache"),
                                          MIRROR=str(self.directory),
                                          CORVANTA_MIRROR="http://mirror"))

    def test_mirror_is_the_one_of_the_host(self) -> None:
        parts = self.directory / "sources.list.d"
        parts.mkdir()
        config = self.directory / "apt.conf"
        config.write_text(f'Dir::Etc "{self.directory}/"; Dir::State "{self.directory}/";')
        os.environ["APT_CONFIG"] = str(config)
        self.assertEqual(debian.find_mirror(), "http://mirror")
        del os.environ["CORVANTA_MIRROR"]
        with self.assertRaisesRegex(BoardError, "CORVANTA_MIRROR="):
            debian.find_mirror()
        for name, expected in (("two.sources", "http://stanza/debian/"),
                               ("one.list", "http://list/debian/")):
            (parts / name).write_text(SOURCES[name] + "\n")
            self.assertEqual(debian.find_mirror(), expected)

    def test_packages_are_fetched_once(self) -> None:
        stand_in = self.directory / "mmdebstrap"
        stand_in.write_text(MMDEBSTRAP)
        stand_in.chmod(0o755)
        self.enterContext(mock.patch.object(
            programs, "SEARCH_PATH", f"{self.directory}:{programs.SEARCH_PATH}"))
        (self.directory / "down").touch()
        with self.assertRaisesRegex(BoardError, r"(?s)http://mirror.*the mirror is down"):
            debian.unpacked("board")
        (self.directory / "down").unlink()
        tree = debian.unpacked("board")
        (self.directory / "down").touch()
        self.assertEqual(debian.unpacked("board"), tree)
        self.assertEqual(sorted(str(file.relative_to(tree)) for file in tree.rglob("*")
                                if file.is_file() and "dpkg" not in file.parts), ["usr/bin/a"])
        found = subprocess.run(["dpkg", f"--root={tree}", "--listfiles", "a"], check=True,
                               capture_output=True, text=True)
        self.assertIn("/usr/bin/a\n", found.stdout)


if __name__ == "__main__":
    unittest.main()
