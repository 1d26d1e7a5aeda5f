"""The parameter files: what the screen shows of them and what the next save leaves."""

import os
import unittest
from signal import SIGUSR1
from typing import NamedTuple

from panel.facts import (AUTH, AUTO_CONNECT, COUNTS, FIELDS, MISC, PARAMETERS, STORED, STORED_AUTO,
                         stored_parameters)
from privateroot.process import PrivateRoot
from programtest import NO_FILES, ProgramTest

EMPTY = ["", "", "", "", ""]
YES, NO, NEITHER = (True, False), (False, True), (False, False)
CONFIGS = "/quenfold/configs"
PAGE = os.sysconf("SC_PAGE_SIZE")  # bytes


class Parameters(NamedTuple):
    """One content of the parameter file."""

    name: str
    content: bytes | None  # None: no file
    fields: list[str]  # as the screen shows them
    auth: int  # index in the combo box
    saved: bytes


class AutoConnect(NamedTuple):
    """One content of the auto-connect file."""

    name: str
    content: bytes | None
    radios: tuple[bool, bool]  # YES, NO
    counts: str
    saved: bytes


PARAMETER_FILES = (
    Parameters("missing", None, EMPTY, 0, b"\n\n\n\n\n0\n"),
    Parameters("empty", b"", EMPTY, 0, b"\n\n\n\n\n0\n"),
    Parameters("whole", b"a\nb\nc\nd\n1234\n1\n", ["a", "b", "c", "d", "1234"], 1,
               b"a\nb\nc\nd\n1234\n1\n"),
    Parameters("no last line feed", b"a\nb\nc\nd\n\n2", ["a", "b", "c", "d", ""], 2,
               b"a\nb\nc\nd\n\n2\n"),
    Parameters("five lines", b"a\nb\nc\nd\ne\n", EMPTY, 0, b"\n\n\n\n\n0\n"),
    Parameters("nine lines", b"a\nb\nc\nd\ne\n0\nx\ny\nz\n", ["a", "b", "c", "d", "e"], 0,
               b"a\nb\nc\nd\ne\n0\n"),
    Parameters("very long", b"a\nb\nc\nd\ne\n1\n" + b"x\n" * 200000, ["a", "b", "c", "d", "e"], 1,
               b"a\nb\nc\nd\ne\n1\n"),
    Parameters("UTF-8", "gr\u00fcn\n\u4e2d\u6587\n\n\n\n0\n".encode(),
               ["gr\u00fcn", "\u4e2d\u6587", "", "", ""], 0,
               "gr\u00fcn\n\u4e2d\u6587\n\n\n\n0\n".encode()),
    Parameters("ISO 8859-1", b"gr\xfcn\n\xe4\xb8\n\xff\n\n\n0\n",
               ["gr\u00fcn", "\u00e4\u00b8", "\u00ff", "", ""], 0,
               "gr\u00fcn\n\u00e4\u00b8\n\u00ff\n\n\n0\n".encode()),
    Parameters("method beyond the list", b"\n\n\n\n\n3\n", EMPTY, -1, b"\n\n\n\n\n-1\n"),
    Parameters("negative method", b"\n\n\n\n\n-1\n", EMPTY, -1, b"\n\n\n\n\n-1\n"),
    Parameters("method is no number", b"\n\n\n\n\nPAP\n", EMPTY, 0, b"\n\n\n\n\n0\n"),
    Parameters("quotes and markup", b"it's\n\"q\"\n<b>x</b>\n%s\\n\n&amp;\n0\n",
               ["it's", '"q"', "<b>x</b>", "%s\\n", "&amp;"], 0,
               b"it's\n\"q\"\n<b>x</b>\n%s\\n\n&amp;\n0\n"),
)
AUTO_CONNECT_FILES = (
    AutoConnect("missing", None, NO, "5", b"1\n5\n"),
    AutoConnect("empty", b"", NEITHER, "", b"1\n\n"),
    AutoConnect("one line", b"0\n", NEITHER, "", b"1\n\n"),
    AutoConnect("yes", b"0\n7\n", YES, "7", b"0\n7\n"),
    AutoConnect("no", b"1\n7\n", NO, "7", b"1\n7\n"),
    AutoConnect("empty flag", b"\n7\n", YES, "7", b"0\n7\n"),
    AutoConnect("flag is no number", b"NO\n7\n", YES, "7", b"0\n7\n"),
    AutoConnect("other number", b"2\n many \nx\n", NO, "many", b"1\nmany\n"),
    AutoConnect("negative", b"-1\n\n", NO, "", b"1\n\n"),
)


class Files(ProgramTest):
    def shown_fields(self, root: PrivateRoot) -> tuple[list[str], int]:
        screen = root.panel.screen()
        return [screen.field(label)["text"] for label in FIELDS], screen.field(AUTH)["index"]

    def shown_auto(self, root: PrivateRoot) -> tuple[tuple[bool, ...], str]:
        screen = root.panel.screen()
        radios = {radio["text"]: radio["checked"]
                  for radio in screen.all("QRadioButton", visible=False)}
        return (radios["YES"], radios["NO"]), screen.field("Counts:")["text"]

    def test_parameter_file(self) -> None:
        for case in PARAMETER_FILES:
            with self.subTest(case.name):
                root = self.root(locale="C")  # which decides no encoding
                if case.content is not None:
                    root.write(PARAMETERS, case.content)
                    root.host(PARAMETERS).chmod(0o644)
                root.start()
                self.assertEqual(self.shown_fields(root), (case.fields, case.auth))
                self.assertEqual(root.read(PARAMETERS), case.content)
                self.leave(root)
                self.assertEqual(root.read(PARAMETERS), case.saved)
                self.assertEqual(root.mode(PARAMETERS), "600")
                self.assertEqual(os.listdir(root.host("/etc/ppp/chat")), [])
                self.assertEqual(os.listdir(root.host("/etc/ppp/peers")), [])

    def test_auto_connect_file(self) -> None:
        for case in AUTO_CONNECT_FILES:
            with self.subTest(case.name):
                root = self.root()
                if case.content is not None:
                    root.write(AUTO_CONNECT, case.content)
                root.start()
                self.assertEqual(self.shown_auto(root), (case.radios, case.counts))
                self.assertEqual(root.read(AUTO_CONNECT), case.content)
                self.leave(root)
                self.assertEqual(root.read(AUTO_CONNECT), case.saved)
                self.assertEqual(root.mode(AUTO_CONNECT), "600")

    def test_paths_that_are_no_files(self) -> None:
        """They count as files that cannot be opened, and stay what they are."""
        dangling = {"dangling link": lambda path: path.symlink_to("/nowhere/at/all")}
        for name, make in (NO_FILES | dangling).items():
            with self.subTest(name):
                root = self.root()
                make(root.host(PARAMETERS))
                make(root.host(AUTO_CONNECT))
                before = [root.host(path).lstat().st_mode for path in (PARAMETERS, AUTO_CONNECT)]
                root.start()
                self.assertEqual(self.shown_fields(root), (EMPTY, 0))
                self.assertEqual(self.shown_auto(root), (NO, "5"))
                self.leave(root)
                after = [root.host(path).lstat().st_mode for path in (PARAMETERS, AUTO_CONNECT)]
                self.assertEqual(after, before)

    def edit_everything(self, root: PrivateRoot, text: str) -> None:
        """Leaves no line of either file as it was stored."""
        for label in FIELDS:
            root.panel.fill(label, text)
        root.panel.choose(AUTH, "CHAP")
        root.panel.open_tab(MISC)
        root.panel.press("YES")
        root.panel.fill(COUNTS, text)

    def test_unreadable_and_unwritable(self) -> None:
        """One file that cannot be used does not keep the other from being saved."""
        new, new_auto = b"new\nnew\nnew\nnew\nnew\n2\n", b"0\nnew\n"
        nothing, stored = (EMPTY, 0), (["internet", "*99#", "operator", "secret", ""], 0)
        table = (
            # name, mode of each file, what is shown, what is left
            ("unreadable parameters", 0o000, 0o644, nothing, STORED, new_auto),
            ("write-only parameters", 0o200, 0o644, nothing, STORED, new_auto),
            ("read-only parameters", 0o444, 0o644, stored, STORED, new_auto),
            ("unreadable settings", 0o644, 0o000, stored, new, STORED_AUTO),
        )
        for name, parameters, auto, shown, left, left_auto in table:
            with self.subTest(name):
                root = self.stored_root()
                root.host(PARAMETERS).chmod(parameters)
                root.host(AUTO_CONNECT).chmod(auto)
                root.start()
                self.assertEqual(self.shown_fields(root), shown)
                self.edit_everything(root, "new")
                self.leave(root)
                for path in (PARAMETERS, AUTO_CONNECT):
                    root.host(path).chmod(0o600)
                self.assertEqual(root.read(PARAMETERS), left)
                self.assertEqual(root.read(AUTO_CONNECT), left_auto)

    def test_missing_folder(self) -> None:
        root = self.root()
        root.host(CONFIGS).rmdir()
        root.start()
        self.assertEqual(self.shown_fields(root), (EMPTY, 0))
        self.leave(root)
        self.assertFalse(root.host(CONFIGS).exists())

    def test_full_file_system(self) -> None:
        """A save that finds no room keeps what was stored, and the program runs on. Each stored
        file fills a page, and its new content is a little longer."""
        parameters = stored_parameters(user="u" * (PAGE - len(stored_parameters())))
        auto = b"\n" + b"7" * (PAGE - 2) + b"\n"  # without a flag, which a save puts there
        fill = f"/usr/bin/cat /dev/zero >{CONFIGS}/filler 2>/dev/null\n"
        store = f"/usr/bin/cp /testrun/*param {CONFIGS}\n"
        for name, setup, left in (("empty disk, full", fill, [None, None]),
                                  ("stored, full", store + fill, [parameters, auto])):
            with self.subTest(name):
                root = self.root(setup=setup, mounts=["--size", str(4 * PAGE), "--tmpfs", CONFIGS])
                root.write("/testrun/3gparam", parameters)
                root.write("/testrun/autoparam", auto)
                root.start()
                root.panel.fill("PASSWORD:", "new")
                root.signal(SIGUSR1)
                root.wait_calls("ifconfig", 2)
                self.leave(root)
                self.assertEqual([root.inner_read(path) for path in (PARAMETERS, AUTO_CONNECT)],
                                 left)

    def test_edits_are_saved_trimmed_in_place(self) -> None:
        root = self.stored_root()
        root.host(PARAMETERS).chmod(0o644)
        before = root.host(PARAMETERS).stat().st_ino
        root.start()
        for label, text in zip(FIELDS, (" web ", "*99***1#", "\u00fcser", "p w", "0000")):
            root.panel.fill(label, text)
        root.panel.choose(AUTH, "CHAP")
        root.panel.open_tab(MISC)
        root.panel.press("YES")
        root.panel.fill(COUNTS, "\u00a012 ")
        self.leave(root)
        self.assertEqual(root.read(PARAMETERS),
                         "web\n*99***1#\n\u00fcser\np w\n0000\n2\n".encode())
        self.assertEqual(root.read(AUTO_CONNECT), "0\n\u00a012\n".encode())
        self.assertEqual(root.host(PARAMETERS).stat().st_ino, before, "rewritten in place")
        self.assertEqual(root.mode(PARAMETERS), "600")


if __name__ == "__main__":
    unittest.main()
