"""Where Debian's packages come from, and what is done about downloads that go wrong."""

import hashlib
import os
import tempfile
import unittest
from collections.abc import Callable
from pathlib import Path
from unittest import mock

from host import programs
from host.errors import BoardError
from image import debian
from image.debian import Archive, Mirror

SUITE = debian.suite()
ONE_LINE = [
    ("options", f"deb [arch=amd64 signed-by=/k.gpg] http://a/debian {SUITE} main contrib",
     [Mirror("http://a/debian", Path("/k.gpg"))]),
    ("source packages", f"deb-src http://a/debian {SUITE} main", []),
    ("commented out", f"# deb http://a/debian {SUITE} main", []),
    ("security suite", f"deb http://a/security {SUITE}-security main", []),
    ("other component", f"deb http://a/debian {SUITE} contrib # main", []),
]
STANZAS = [
    ("comment between fields, folded field", "Types: deb deb-src\n# old\nURIs:\n http://a/debian\n"
     f" http://b/debian\nSuites: {SUITE} {SUITE}-updates\nComponents: main\nSigned-By: /k.gpg",
     [Mirror("http://a/debian", Path("/k.gpg")), Mirror("http://b/debian", Path("/k.gpg"))]),
    ("disabled", f"Enabled: no\nTypes: deb\nURIs: http://a/debian\nSuites: {SUITE}\n"
     "Components: main", []),
    ("second stanza, key inside", f"Types: deb\nURIs: http://a/s\nSuites: {SUITE}-security\n"
     f"Components: main\n\nTypes: deb\nURIs: http://a/debian\nSuites: {SUITE}\nComponents: main\n"
     "Signed-By:\n -----BEGIN PGP PUBLIC KEY BLOCK-----\n .\n x", [Mirror("http://a/debian")]),
]

# Stands in for apt: its mirror is the folder $MIRROR, its index the lines of $MIRROR/index.
APT = """#!/bin/bash
case "$*" in
*--print-uris*) cat "$MIRROR/index" ;;
*--download-only*)
    [[ -e $MIRROR/down ]] && { echo "E: the mirror is down" >&2; exit 100; }
    for file in "$MIRROR"/*.deb; do cp -n "$file" "$ARCHIVES"; done ;;
esac
"""


class FindingTheMirror(unittest.TestCase):
    def test_both_formats(self) -> None:
        for parse, table in ((debian.mirrors_of_list, ONE_LINE),
                             (debian.mirrors_of_stanzas, STANZAS)):
            for name, text, expected in table:
                with self.subTest(name):
                    self.assertEqual(parse(text), expected)

    @mock.patch.dict(os.environ)
    def test_looks_into_every_file(self) -> None:
        os.environ.pop("CORVANTA_MIRROR", None)
        with tempfile.TemporaryDirectory() as etc:
            parts = Path(etc, "sources.list.d")
            parts.mkdir()
            (parts / "debian.sources.bak").write_text(STANZAS[-1][1])
            with self.assertRaisesRegex(BoardError, "CORVANTA_MIRROR="):
                debian.find_mirror(Path(etc))
            (parts / "debian.sources").write_text(STANZAS[-1][1])
            self.assertEqual(debian.find_mirror(Path(etc)).uri, "http://a/debian")


class Downloading(unittest.TestCase):
    def setUp(self) -> None:
        folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.mirror, self.cache, stand_ins = folder / "m", folder / "cache", folder / "bin"
        self.mirror.mkdir()
        stand_ins.mkdir()
        (stand_ins / "apt-get").write_text(APT)
        (stand_ins / "apt-get").chmod(0o755)
        self.archives = self.cache / "packages"
        self.enterContext(mock.patch.dict(os.environ, CORVANTA_CACHE=str(self.cache),
                                          MIRROR=str(self.mirror), ARCHIVES=str(self.archives)))
        self.enterContext(mock.patch.object(
            programs, "SEARCH_PATH", f"{stand_ins}:{programs.SEARCH_PATH}"))
        self.enterContext(mock.patch.object(
            debian, "find_mirror", lambda: Mirror("http://mirror", Path(__file__))))
        index = ""
        for name, data in (("a_1.deb", b"aaa"), ("b_1%3a2.deb", b"bbbb")):
            (self.mirror / name).write_bytes(data)
            digest = hashlib.md5(data).hexdigest()
            index += f"'http://mirror/{name}' {name} {len(data)} MD5Sum:{digest}\n"
        (self.mirror / "index").write_text(index)

    def fetch(self) -> dict[str, bytes]:
        return {file.name: file.read_bytes() for file in Archive().fetch(["a", "b"])}

    def test_second_time_asks_nobody(self) -> None:
        first = self.fetch()
        self.assertEqual(first, {"a_1.deb": b"aaa", "b_1%3a2.deb": b"bbbb"})
        (self.mirror / "down").touch()
        self.assertEqual(self.fetch(), first)

    def test_damage_in_the_cache_is_repaired(self) -> None:
        self.fetch()
        manifest, = self.cache.glob("manifest-*")
        file = self.archives / "a_1.deb"
        damages: dict[str, Callable[[], object]] = {
            "same size": lambda: file.write_bytes(b"aXa"),
            "cut short": lambda: file.write_bytes(b"a"),
            "gone": file.unlink,
            "empty manifest": lambda: manifest.write_text(""),
            "other manifest": lambda: manifest.write_text("md5 d no-size n\n")}
        for name, damage in damages.items():
            with self.subTest(name):
                damage()
                self.assertEqual(self.fetch(), {"a_1.deb": b"aaa", "b_1%3a2.deb": b"bbbb"})

    def test_failures_say_where_and_what(self) -> None:
        (self.mirror / "a_1.deb").write_bytes(b"aXa")
        with self.assertRaisesRegex(BoardError, r"http://mirror.*damaged or missing: a_1\.deb"):
            self.fetch()
        (self.mirror / "down").touch()
        with self.assertRaisesRegex(BoardError, r"(?s)http://mirror.*the mirror is down"):
            self.fetch()
        self.assertEqual(list(self.cache.glob("manifest-*")), [])


if __name__ == "__main__":
    unittest.main()
