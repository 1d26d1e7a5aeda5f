"""Folders that appear whole or not at all, locks, fingerprints and messages about the host."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

import support
from boardlib import host
from boardlib.host import BoardError


class HostTest(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def test_what_fails_leaves_the_old_one(self) -> None:
        target = self.folder / "made"
        for text in ("first", "second"):
            with host.whole(target) as unfinished:
                unfinished.mkdir()
                (unfinished / "file").write_text(text)
        with self.assertRaises(RuntimeError), host.whole(target) as unfinished:
            unfinished.mkdir()
            raise RuntimeError
        self.assertEqual((target / "file").read_text(), "second")
        self.assertEqual([p.name for p in self.folder.iterdir()], ["made"])

    def test_leftovers_of_a_killed_run_are_replaced(self) -> None:
        stale = self.folder / "made.unfinished"
        (stale / "sub").mkdir(parents=True)
        (stale / "sub/file").touch()
        (stale / "sub").chmod(0o500)
        with host.whole(self.folder / "made") as unfinished:
            unfinished.write_text("new")
        self.assertEqual((self.folder / "made").read_text(), "new")

    def test_fingerprint_notices(self) -> None:
        tree = self.folder / "tree"
        tree.mkdir()
        file = tree / "file"
        file.write_text("1")
        changes = {
            "contents": lambda: file.write_text("2"),
            "executable": lambda: file.chmod(0o755),
            "name": lambda: file.rename(tree / "other"),
            "another file": lambda: (tree / "more").touch(),
        }
        seen = {host.fingerprint([tree])}
        for name, change in changes.items():
            change()
            with self.subTest(name):
                self.assertNotIn(host.fingerprint([tree]), seen)
            seen.add(host.fingerprint([tree]))
        (tree / "__pycache__").mkdir()
        (tree / "__pycache__/m.pyc").touch()
        self.assertIn(host.fingerprint([tree]), seen)
        self.assertNotEqual(host.fingerprint(["ab", "c"]), host.fingerprint(["a", "bc"]))

    def test_lock_waits_for_the_other_process_and_survives_its_death(self) -> None:
        lock = self.folder / "lock"
        holder = subprocess.Popen(
            [sys.executable, "-c", "import sys, time\n"
             f"sys.path.insert(0, {str(support.ROOT / 'simulator')!r})\n"
             "from pathlib import Path\nfrom boardlib import host\n"
             f"with host.locked(Path({str(lock)!r})):\n"
             "    print('held', flush=True)\n    sys.stdin.read()\n"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(holder.communicate)
        assert holder.stdout
        self.assertEqual(holder.stdout.readline(), b"held\n")
        waiter = subprocess.run(["flock", "--nonblock", lock, "true"], check=False)
        self.assertEqual(waiter.returncode, 1)
        holder.kill()
        with host.locked(lock):
            pass

    def test_failures_of_programs_are_messages(self) -> None:
        for argv, expected in ((["no-such-program"], "no-such-program does not start"),
                               (["sh", "-c", "echo why >&2; exit 3"], r"(?s)ended with 3.*why")):
            with self.subTest(argv), self.assertRaisesRegex(BoardError, expected):
                host.run(argv, "trying")

    def test_missing_programs_name_their_packages(self) -> None:
        with mock.patch.object(host, "SEARCH_PATH", str(self.folder)):
            (self.folder / "tar").touch(mode=0o755)
            missing = host.missing_packages()
            self.assertIn("qemu-system-arm", missing)
            self.assertNotIn("tar", missing)
            with self.assertRaisesRegex(BoardError, "apt-get install.* qemu-system-arm"):
                host.require_packages()


if __name__ == "__main__":
    unittest.main()
