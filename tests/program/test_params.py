"""The parameter files: what the screen shows of them and what the next save leaves."""

import os
from collections.abc import Sequence

from panel.facts import (AUTH, AUTO_CONNECT, COUNTS, FIELDS, MISC, PARAMETERS, PASSWORD,
                         STORED, stored_parameters)
from privateroot.operating import AUTO, alive, leave
from privateroot.process import PrivateRoot
from programtest import ProgramTest

EMPTY = [""] * len(FIELDS)
YES, NO, NEITHER = [True, False], [False, True], [False, False]
CONFIGS = "/quenfold/configs"
PAGE = os.sysconf("SC_PAGE_SIZE")  # bytes

# name, content, texts of the fields, row of the method
PARAMETER_FILES: tuple[tuple[str, bytes | None, Sequence[str], int], ...] = (
    ("missing", None, EMPTY, 0),
    ("complete", b"a\nb\nc\nd\n1234\n1\n", ["a", "b", "c", "d", "1234"], 1),
    ("no last newline", b"a\nb\nc\nd\n\n2", ["a", "b", "c", "d", ""], 2),
    ("five lines", b"a\nb\nc\nd\ne\n", EMPTY, 0),
    ("very long", b"a\nb\nc\nd\ne\n1\n" + b"x\n" * 200000, list("abcde"), 1),
    ("UTF-8 and ISO 8859-1", b"gr\xc3\xbcn\n\xe4\xb8\n\xff\n\n\n0\n",
     ["gr\u00fcn", "\u00e4\u00b8", "\u00ff", "", ""], 0),
    ("method beyond the list", b"\n\n\n\n\n3\n", EMPTY, -1),
    ("method is no number", b"\n\n\n\n\nPAP\n", EMPTY, 0),
    ("quotes and markup", b"it's\n\"q\"\n<b>x</b>\n%s\\n\n&amp;\n0\n",
     ["it's", '"q"', "<b>x</b>", "%s\\n", "&amp;"], 0),
)
# name, content, radio buttons YES and NO, counts, content after a save
AUTO_CONNECT_FILES: tuple[tuple[str, bytes | None, list[bool], str, bytes], ...] = (
    ("missing", None, NO, "5", b"1\n5\n"),
    ("one line", b"0\n", NEITHER, "", b"1\n\n"),
    ("yes", b"0\n7\n", YES, "7", b"0\n7\n"),
    ("no", b"1\n7\n", NO, "7", b"1\n7\n"),
    ("flag is no number", b"NO\n7\n", YES, "7", b"0\n7\n"),
    ("other number", b"-2\n many \nx\n", NO, "many", b"1\nmany\n"),
)


class Files(ProgramTest):
    def shown_fields(self, root: PrivateRoot) -> tuple[list[str], int]:
        screen = root.panel.screen()
        return [screen.field(label)["text"] for label in FIELDS], screen.field(AUTH)["index"]

    def edit_everything(self, root: PrivateRoot, texts: Sequence[str], counts: str) -> None:
        """Leave no line of either file as it was stored."""
        for label, text in zip(FIELDS, texts, strict=True):
            root.panel.fill(label, text)
        root.panel.choose(AUTH, "CHAP")
        root.panel.open_tab(MISC)
        root.panel.press("NO")
        root.panel.fill(COUNTS, counts)

    def test_parameter_file(self) -> None:
        for name, content, texts, method in PARAMETER_FILES:
            with self.subTest(name):
                root = self.root(locale="C")  # which decides no encoding
                if content is not None:
                    root.write(PARAMETERS, content)
                    root.host(PARAMETERS).chmod(0o644)
                self.assertEqual(self.shown_fields(root.start()), (texts, method))
                self.assertEqual(root.read(PARAMETERS), content)
                leave(root)
                self.assertEqual(root.content(PARAMETERS).decode(),
                                 "".join(f"{line}\n" for line in (*texts, method)))
                self.assertEqual(root.mode(PARAMETERS), "600")
                for directory in ("/etc/ppp/chat", "/etc/ppp/peers"):
                    self.assertEqual(os.listdir(root.host(directory)), [])

    def test_auto_connect_file(self) -> None:
        for name, content, radios, counts, saved in AUTO_CONNECT_FILES:
            with self.subTest(name):
                root = self.root()
                if content is not None:
                    root.write(AUTO_CONNECT, content)
                screen = root.start().panel.screen()
                self.assertEqual([radio["checked"] for radio in
                                  screen.all("QRadioButton", visible=False)], radios)
                self.assertEqual(screen.field(COUNTS)["text"], counts)
                leave(root)
                self.assertEqual(root.read(AUTO_CONNECT), saved)
                self.assertEqual(root.mode(AUTO_CONNECT), "600")

    def test_unreadable_and_unwritable(self) -> None:
        """One file that cannot be used does not keep the other from being saved."""
        new, new_auto = b"new\nnew\nnew\nnew\nnew\n2\n", b"1\nnew\n"
        nothing, stored = (EMPTY, 0), (["internet", "*99#", "operator", "secret", ""], 0)
        table = (
            # name, mode of each file, what is shown, what is left
            ("unreadable parameters", 0o000, 0o644, nothing, STORED, new_auto),
            ("write-only parameters", 0o200, 0o644, nothing, STORED, new_auto),
            ("read-only parameters", 0o444, 0o644, stored, STORED, new_auto),
            ("unreadable settings", 0o644, 0o000, stored, new, AUTO),
        )
        for name, parameters, auto, shown, left, left_auto in table:
            with self.subTest(name):
                root = self.stored_root()
                root.host(PARAMETERS).chmod(parameters)
                root.host(AUTO_CONNECT).chmod(auto)
                self.assertEqual(self.shown_fields(root.start()), shown)
                self.edit_everything(root, ["new"] * len(FIELDS), "new")
                leave(root)
                for path in (PARAMETERS, AUTO_CONNECT):
                    root.host(path).chmod(0o600)
                self.assertEqual(root.read(PARAMETERS), left)
                self.assertEqual(root.read(AUTO_CONNECT), left_auto)

    def test_missing_directory(self) -> None:
        root = self.root()
        root.host(CONFIGS).rmdir()
        self.assertEqual(self.shown_fields(root.start()), (EMPTY, 0))
        leave(root)
        self.assertFalse(root.host(CONFIGS).exists())

    def test_full_file_system(self) -> None:
        """A save that finds no room keeps what was stored. Each stored file fills a page, and its
        new content is a little longer."""
        parameters = stored_parameters(user="u" * (PAGE - len(stored_parameters())))
        auto = b"\n" + b"7" * (PAGE - 2) + b"\n"  # without a flag, which a save puts there
        fill = f"/usr/bin/cat /dev/zero >{CONFIGS}/filler 2>/dev/null\n"
        store = f"/usr/bin/cp /testrun/*param {CONFIGS}\n"
        for setup, left in ((fill, [None, None]), (store + fill, [parameters, auto])):
            with self.subTest(setup):
                root = self.root(setup=setup, mounts=["--size", str(4 * PAGE), "--tmpfs", CONFIGS])
                root.write("/testrun/3gparam", parameters)
                root.write("/testrun/autoparam", auto)
                root.start().panel.fill(PASSWORD, "new")
                alive(root)
                leave(root)
                self.assertEqual([root.inner_read(path) for path in (PARAMETERS, AUTO_CONNECT)],
                                 left)

    def test_edits_are_saved_trimmed_in_place(self) -> None:
        root = self.stored_root()
        before = root.host(PARAMETERS).stat().st_ino
        self.edit_everything(root.start(), (" web ", "*99***1#", "\u00fcser", "p w", "0000"),
                             "\u00a012 ")
        leave(root)
        self.assertEqual(root.read(PARAMETERS), "web\n*99***1#\n\u00fcser\np w\n0000\n2\n".encode())
        self.assertEqual(root.read(AUTO_CONNECT), "1\n\u00a012\n".encode())
        self.assertEqual(root.host(PARAMETERS).stat().st_ino, before, "rewritten in place")
