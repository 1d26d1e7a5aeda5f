"""The host's side: folders that appear whole or not at all, fingerprints, missing programs."""

import tempfile
import unittest
from collections.abc import Callable
from pathlib import Path
from unittest import mock

from host import programs
from host.errors import BoardError
from host.files import fingerprint, whole


class Host(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def test_what_fails_leaves_the_old_one(self) -> None:
        target = self.folder / "made"
        for text in ("first", "second"):
            with whole(target) as unfinished:
                unfinished.mkdir()
                (unfinished / "file").write_text(text)
        with self.assertRaises(RuntimeError), whole(target) as unfinished:
            unfinished.mkdir()
            raise RuntimeError
        self.assertEqual((target / "file").read_text(), "second")
        self.assertEqual([p.name for p in self.folder.iterdir()], ["made"])

    def test_leftovers_of_a_killed_run_are_replaced(self) -> None:
        stale = self.folder / "made.unfinished"
        (stale / "sub").mkdir(parents=True)
        (stale / "sub/file").touch()
        (stale / "sub").chmod(0o500)
        with whole(self.folder / "made") as unfinished:
            unfinished.write_text("new")
        self.assertEqual((self.folder / "made").read_text(), "new")

    def test_fingerprint_notices(self) -> None:
        tree = self.folder / "tree"
        tree.mkdir()
        file = tree / "file"
        file.write_text("1")
        seen = {fingerprint([tree])}
        changes: dict[str, Callable[[], object]] = {
            "contents": lambda: file.write_text("2"),
            "executable": lambda: file.chmod(0o755),
            "name": lambda: file.rename(tree / "other"),
            "another file": lambda: (tree / "more").touch()}
        for name, change in changes.items():
            change()
            with self.subTest(name):
                self.assertNotIn(fingerprint([tree]), seen)
            seen.add(fingerprint([tree]))
        self.assertNotEqual(fingerprint(["ab", "c"]), fingerprint(["a", "bc"]))

    def test_missing_programs_name_their_packages(self) -> None:
        (self.folder / "tar").touch(mode=0o755)
        with (mock.patch.object(programs, "SEARCH_PATH", str(self.folder)),
              self.assertRaisesRegex(BoardError, "apt-get install(?!.* tar).* qemu-system-arm")):
            programs.require_packages()


if __name__ == "__main__":
    unittest.main()
