"""The tools of the board, used wrongly or where they cannot work: what they say, how they end."""

import hashlib
import os
import signal
import subprocess
import tempfile
import unittest
from collections.abc import Mapping
from pathlib import Path
from typing import NamedTuple
from unittest import mock

from host.files import locked
from host.paths import BUILD, IMAGE_DATA, ROOT
from image import debian
from panel.facts import SOON_SECONDS

TOOL = "simulator/board"
SECONDS = 30


class Misuse(NamedTuple):
    """One command line, its exit status and what is said: a part of the last line."""

    name: str
    command: str
    status: int
    said: str


WRONG_WORDS = [
    Misuse("no verb", TOOL, 2, "the following arguments are required: VERB"),
    Misuse("unknown verb", f"{TOOL} dance", 2, "invalid choice: 'dance'"),
    Misuse("panel", f"{TOOL} boot --size 3x4", 2, "'3x4' is none of 480x272, 800x480, 1280x800"),
    Misuse("port", f"{TOOL} boot --vnc 80", 2, "'80' is not a number from 5900 to 65535"),
    Misuse("run", f"{TOOL} boot --run ../x", 2, "'../x' is no name for a run"),
    Misuse("no board", f"{TOOL} plug --run none", 1,
           "board: no board runs as none: simulator/board boot"),
    Misuse("product", f"{TOOL} plug --product 1234567", 2, "'1234567' is not a USB product id"),
    Misuse("no product", f"{TOOL} plug --product 10g1", 2, "'10g1' is not a USB product id"),
    Misuse("ports", f"{TOOL} plug --ports 4", 2, "'4' is not a number from 0 to 3"),
    Misuse("modem", f"{TOOL} modem busy", 2, "'busy' is not NAME=VALUE"),
    Misuse("parameter", f"{TOOL} chip --parameter a=b", 2, "'a=b' is not NUMBER=NUMBER"),
    Misuse("language", f"{TOOL} chip --language -1", 2, "'-1' is not a number from 0 to 65535"),
    Misuse("fault", f"{TOOL} chip --fault fire", 2, "invalid choice: 'fire'"),
    Misuse("seconds", f"{TOOL} sh --seconds 0 true", 2, "'0' is not a number of seconds"),
    Misuse("build", "tools/build-board now", 2, "tools/build-board takes no arguments"),
    Misuse("session's panel", "./run --size 3x4", 2, "'3x4' is none of 480x272"),
    Misuse("session's language", "./run --language 7", 2, "argument --language: invalid choice: "),
    Misuse("session's words", "./run faster", 2, "unrecognized arguments: faster"),
]
# Seen with a checkout that cannot be written to.
READ_ONLY = [
    Misuse("build", "tools/build-board", 1, f"Nothing can be written to {BUILD}: it is read-only"),
    Misuse("session", "./run", 1, f"Nothing can be written to {BUILD}: it is read-only"),
    Misuse("tool", f"{TOOL} app", 1, "app.lock: the file system is read-only"),
    Misuse("help", "./run --help", 0, "TCP port of the live view"),
]


class Misuses(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def check(self, misuse: Misuse, *around: str, env: Mapping[str, str] | None = None) -> None:
        """@param around  the program, with its arguments, that runs the command"""
        done = subprocess.run([*around, *misuse.command.split()], cwd=ROOT, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=SECONDS,
                              env={**os.environ, **(env or {})})
        self.assertEqual(done.returncode, misuse.status, done.stdout)
        self.assertIn(misuse.said, " ".join(done.stdout.splitlines()[-1].split()), done.stdout)
        self.assertNotIn("Traceback", done.stdout)

    def test_wrong_words(self) -> None:
        for misuse in WRONG_WORDS:
            with self.subTest(misuse.name):
                self.check(misuse)

    def test_read_only(self) -> None:
        BUILD.joinpath("board").mkdir(parents=True, exist_ok=True)
        for misuse in READ_ONLY:
            with self.subTest(misuse.name):
                self.check(misuse, "bwrap", "--dev-bind", "/", "/", "--ro-bind", str(ROOT),
                           str(ROOT))

    def package(self) -> Path:
        """Makes a cache with one package, of 1 MB, for the sysroot. @return the cache"""
        tree = self.folder / "tree"
        (tree / "DEBIAN").mkdir(parents=True)
        (tree / "DEBIAN/control").write_text("Package: big\nVersion: 1\nArchitecture: all\n"
                                             "Maintainer: nobody\nDescription: big\n")
        (tree / "content").write_bytes(bytes(1 << 20))
        cache = self.folder / "cache"
        (cache / "packages").mkdir(parents=True)
        file = cache / "packages/big.deb"
        subprocess.run(["dpkg-deb", "-b", "-Znone", tree, file], check=True, capture_output=True)
        digest = hashlib.md5(file.read_bytes()).hexdigest()
        with mock.patch.dict(os.environ, CORVANTA_CACHE=str(cache)):
            manifest = debian.manifest(debian.package_list(IMAGE_DATA / "sysroot-packages.txt"))
        manifest.write_text(f"md5 {digest} {file.stat().st_size} big.deb\n")
        return cache

    def test_full_disk(self) -> None:
        cache = self.package()
        self.check(Misuse("full", f"{TOOL} sysroot", 1,
                          "unpacking big.deb failed: the disk is full; a board is built in"),
                   "bwrap", "--dev-bind", "/", "/", "--size", "65536", "--tmpfs", str(BUILD),
                   env={"CORVANTA_CACHE": str(cache)})

    def test_interrupted_while_it_waits(self) -> None:
        """A tool that waits for another one says so, and ends at once on Ctrl-C."""
        env = {**os.environ, "CORVANTA_CACHE": str(self.folder)}
        lock = self.folder / "packages.lock"
        with locked(lock), subprocess.Popen([TOOL, "sysroot"], cwd=ROOT, env=env, text=True,
                                            stderr=subprocess.PIPE) as tool:
            assert tool.stderr
            self.assertEqual(tool.stderr.readline(), f"waiting for who holds {lock}\n")
            tool.send_signal(signal.SIGINT)
            self.assertIn("Interrupted: ", tool.stderr.read())
            self.assertEqual(tool.wait(SOON_SECONDS), 130)


if __name__ == "__main__":
    unittest.main()
